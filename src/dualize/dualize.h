// The dual of a linear problem as an ordinary problem, and its solution as one of the primal.
//
// Minimise c'x + cc'(A x) + cfix with rows and columns between bounds. Each row that has a bound gives a column y_i,
// free for an equality, of one sign for one side, and two columns, slc_i and suc_i, for two sides, unless a column with
// no other entry says of which sign y_i must be: that one moves, at no cost, until the row keeps its other side. Each
// column that is not fixed gives a row: slx_j and sux_j are its slacks, and between two bounds sux_j is a column. Costs
// of rows carry the bounds of the columns: -bl slx = -bl c + bl (A'y). The dual is minimised: its objective is the
// negative of that of the primal.
#pragma once

#include "cpub/buffer.h"
#include "misc/optdef.h"

namespace tvn {

struct dual_size {
  int32_t numcon = 0, numvar = 0;
  int64_t numanz = 0;
};

// Where the parts of a primal went.
struct dual_layout {
  dual_size size;
  buffer<int32_t> lowcol; // [numcon] column of y_i or slc_i, -1: none
  buffer<int32_t> uppcol; // [numcon] column of suc_i, -1: none
  buffer<int32_t> mover;  // [numcon] column that says of which sign y_i is and saves a column, -1: none
  int32_t nummovers = 0;
  buffer<int32_t> row;    // [numvar] row, -1: fixed
  buffer<int32_t> suxcol; // [numvar] column of sux_j, -1: none
};

struct dualizer {
  dual_layout at;
  problem_view dual;
  solution_view sol; // room for its solution
  buffer<int64_t> ptr;
  buffer<int32_t> sub, keys;
  buffer<double> val, reals;
};

// The size of the dual, without forming it. Cost: O(nonzeros).
dual_size TVN_dualize_getdualsize(sysenv& sys, const problem_view& lp);
// Throws out_of_memory. Cost: O(nonzeros).
void TVN_dualize_formdual(sysenv& sys, const problem_view& lp, dualizer& d);
// sol: of lp, from d.sol, which has the claim `solsta` on the dual. Keys are those of a basis when it is one.
void TVN_dualize_getprimal(sysenv& sys, const problem_view& lp, const dualizer& d, int32_t solsta, bool basic,
                           solution_view& sol);
// What a status of the one problem says of the other.
int32_t TVN_dualize_solsta(int32_t solsta) noexcept;
int32_t TVN_dualize_prosta(int32_t prosta) noexcept;

} // namespace tvn
