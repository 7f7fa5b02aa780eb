// A problem as the homogeneous optimizer sees it, and the way back.
//
// Each column counts from its nearer bound, upwards or, from an upper one, downwards; rows that are no equalities get a
// column of their own; fixed columns and free rows are left out. Row costs go into the column costs: cc'(A x) =
// (A'cc)'x, and y of the problem is that of the optimizer less cc. Q counts from the same values of the columns: what
// it does there is added to costs and constant.
//
// Cones come last and are all quadratic: a rotated one is turned, u = (x1 + x2) / sqrt 2 and v = (x1 - x2) / sqrt 2,
// and a cone of one member, or a rotated one of two, is x >= 0. Their members count from 0. Where one has bounds of its
// own that its cone does not imply, a row says x_j - w = 0 with a bounded w, or x_j = b.
#pragma once

#include "homo/hslv.h"

namespace tvn {

struct prepared_problem {
  hs_problem hs;                       // views of what follows
  int32_t numslack = 0, nummember = 0; // columns: others, slacks, members of cones
  buffer<int32_t> row2con;             // [hs.a.numrow] row, or -1 - j: bounds of member j
  buffer<int32_t> col2var;             // [hs.a.numcol - numslack] without the slacks
  buffer<int32_t> slackrow;            // [numslack] row of the optimizer
  buffer<int8_t> halfline;             // [columns before the slacks] nonzero: its s is a cone's
  buffer<int8_t> rotated;              // [hs.numcone] nonzero: turned
  buffer<int32_t> conebeg;             // [hs.numcone + 1]
  buffer<double> base;                 // [hs.a.numcol] value of the column where its variable is 0
  buffer<int8_t> down;                 // [hs.a.numcol] nonzero: the column is its base less the variable
  buffer<int64_t> ptr;
  buffer<int32_t> sub, bk;
  buffer<double> val, c, b, up;
  sym_matrix q;

  // Room for a solution.
  buffer<double> x, s, sup, y;
  buffer<int32_t> skx;
  hs_point point() { return {x.data(), s.data(), sup.data(), y.data(), skx.data()}; }
};

void TVN_opt_prepare(sysenv& sys, const problem_view& lp, prepared_problem& p);
// The point as solution of lp: values, duals and guesses of keys; of a certificate without what is fixed.
void TVN_opt_reverse(sysenv& sys, const problem_view& lp, const prepared_problem& p, const hs_point& point,
                     int32_t solsta, solution_view& sol);

} // namespace tvn
