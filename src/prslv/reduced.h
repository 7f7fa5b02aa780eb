// What an optimizer needs around presolve: a copy that it may edit, a compact copy of what it leaves, and the way back.
//
// Road of a run: copyeditable -> presolve of it -> copyreduced -> an optimizer -> spreadreduced -> undo -> refresh.
// Only vectors are copied twice; the matrix of what is left is copied once, in the order of its live columns. The last
// step recomputes activities and reduced costs on the user's problem, because those that came through the records carry
// their rounding. Cost: O(rows + columns + live nonzeros) a step.
#pragma once

#include "prslv/prslv.h"

namespace tvn {

// The live problem with rows and columns renumbered, and room for its solution.
struct reduced_problem {
  problem_view lp;
  solution_view sol;
  buffer<int32_t> con2user, var2user; // reduced index -> index before presolve
  buffer<int64_t> ptr;                // [numvar + 1]
  buffer<int32_t> sub, keys;
  buffer<double> val, reals;
  sym_matrix q;
  buffer<int32_t> cones; // types, ends, members
};

void TVN_prslv_copyreduced(sysenv& sys, const prslv_context& ctx, reduced_problem& r);
// Solution of the reduced problem into the live places of the full one; the others become 0.
void TVN_prslv_spreadreduced(const reduced_problem& r, int32_t numcon, int32_t numvar, solution_view& sol);
// Keys of the full problem at the live places, for a start of the reduced one.
void TVN_prslv_gatherkeys(const solution_view& sol, reduced_problem& r);

// The vectors of a problem that presolve may edit, with the view of it. The matrix is not copied.
struct editable_problem {
  prslv_problem p;
  buffer<int32_t> keys;
  buffer<double> reals;
};

void TVN_prslv_copyeditable(sysenv& sys, const problem_view& lp, editable_problem& e);

// The problem with bound keys of its own.
struct rekeyed_problem {
  problem_view lp;
  buffer<int32_t> bkc, bkx;
  int64_t numchanged = 0;

  // forrow, forcol: the key for row i, column j.
  template <class R, class C>
  rekeyed_problem(sysenv& sys, const problem_view& given, R forrow, C forcol)
      : lp(given), bkc(sys, given.numcon), bkx(sys, given.numvar) {
    for (int32_t i = 0; i < lp.numcon; i++) numchanged += (bkc[i] = forrow(i)) != given.bkc[i];
    for (int32_t j = 0; j < lp.numvar; j++) numchanged += (bkx[j] = forcol(j)) != given.bkx[j];
    lp.bkc = bkc.data();
    lp.bkx = bkx.data();
  }
};

// The problem without its far bounds, but for those that a start rests on: an item that rests so far out leaves no
// digits to the others. What is optimal for it and keeps them is optimal, and what proves it infeasible proves the
// other so. keys: of a start, or null.
struct near_problem : rekeyed_problem {
  near_problem(sysenv& sys, const problem_view& given, const solution_view* keys);
};

// The problem with ranges of width 0 as what they are: inside them is no room.
struct plain_problem : rekeyed_problem {
  plain_problem(sysenv& sys, const problem_view& given);
};

// c_j with its share of the costs of rows: cc'(A x) = (A'cc)'x.
double TVN_prslv_foldedcost(const problem_view& lp, int32_t j);
void TVN_prslv_clearsolution(const problem_view& lp, solution_view& sol);  // logical basis, all values 0
bool TVN_prslv_isfinite(const problem_view& lp, const solution_view& sol); // all values
void TVN_prslv_clearduals(const problem_view& lp, solution_view& sol);
// Activities and reduced costs of the user's problem from x and y, so that the identities hold to the last digit. In a
// basic solution what its key says rests there. Duals of cones stay, but where nothing else takes up the last digits.
void TVN_prslv_refresh(sysenv& sys, const problem_view& lp, int32_t solsta, solution_view& sol, bool basic = true);

} // namespace tvn
