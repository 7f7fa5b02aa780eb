// Pairs of columns that are one variable in disguise, run as one column; and the way back.
#pragma once

#include "prslv/pair.h"
#include "simplex/base/types.h"

namespace tvn {

// One step: a merge of pair.k into pair.j, or the rest of pair.k on the bound that restkey names.
struct reformulation_step {
  column_pair pair;
  int32_t restkey = sk_unk; // sk_unk: a merge
};

// The problem with edited bounds of columns: what has gone is fixed. Matrix, costs and rows are the user's.
struct reformulation {
  problem_view lp;
  buffer<int32_t> bkx;
  buffer<double> blx, bux;
  vec<reformulation_step> stack;
  int32_t nummerged = 0, numrested = 0;
};

// False, with sol as it was, when it is not wanted or too few pairs are found. With a start (param.hotstart) only those
// steps are taken that lose nothing of it; keys and values in sol then are those of the new problem.
bool TVN_simplex_reformulate(sysenv& sys, const problem_view& lp, const simplex_param& param, solution_view& sol,
                             reformulation& r);

// Keys, values and duals of all columns from those of the new problem, newest step first. Rows do not change.
void TVN_simplex_reformulatepostsolve(const reformulation& r, int32_t solsta, solution_view& sol);

} // namespace tvn
