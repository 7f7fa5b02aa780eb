// A problem as the homogeneous optimizer sees it, and the way back.
//
// Each column counts from its nearer bound, upwards or, from an upper one, downwards; rows that are no equalities get a
// column of their own; fixed columns and free rows are left out. Row costs go into the column costs: cc'(A x) =
// (A'cc)'x, and y of the problem is that of the optimizer less cc. Q counts from the same values of the columns: what
// it does there is added to costs and constant.
#pragma once

#include "homo/hslv.h"

namespace tvn {

struct prepared_problem {
  hs_problem hs; // views of what follows
  int32_t numslack = 0;
  buffer<int32_t> row2con, col2var; // [hs.a.numrow] [hs.a.numcol - numslack]; the slacks come last
  buffer<int32_t> slackrow;         // [numslack] row of the optimizer
  buffer<double> base;              // [hs.a.numcol] value of the column where its variable is 0
  buffer<int8_t> down;              // [hs.a.numcol] nonzero: the column is its base less the variable
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
