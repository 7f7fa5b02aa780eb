// The working problem of a simplex run: compressed and scaled copies of A, bounds and cost in the joined index space.
//
// Free rows without cost and fixed columns are left out (they come back with keys basic and fixed); the fixed columns'
// share of the row activities is moved into the row bounds. Scaling is by powers of two, so it is exact:
// x_user = colscale * x, xc_user = xc / rowscale, y_user = rowscale * y, with activities shifted back by `shift`.
// A is held by columns and by rows. In a row the entries of active columns stand first (rowbeg .. rowend-1): active are
// the columns that pricing wants in the pivot row (Hall and McKinnon 2005), and a column changes side in time
// proportional to its length through the cross pointers.
#pragma once

#include "simplex/base/types.h"

namespace tvn {

struct kept_basis;

struct simplex_work {
  int32_t m = 0, n = 0, total = 0; // rows, columns, m + n
  buffer<int64_t> colbeg;          // [n+1]
  buffer<int32_t> colsub;          // row per entry
  buffer<double> colval;
  buffer<int64_t> col2row;        // position of the same entry in the row copy
  buffer<int64_t> rowbeg, rowend; // [m+1], [m] end of the active part
  buffer<int32_t> rowcol;         // column (0 .. n-1) per entry
  buffer<double> rowval;
  buffer<int64_t> row2col;            // position of the same entry in the column copy
  buffer<double> lower, upper;        // [total] scaled bounds, +-infinity where none
  buffer<double> cost;                // [total] scaled
  buffer<double> rowscale, colscale;  // [m], [n] powers of two
  double offset = 0;                  // objective of what was left out, cfix included
  buffer<double> shift;               // [m] activity of the fixed columns, user units
  buffer<int32_t> row2user, col2user; // [m], [n]
  buffer<int32_t> user2row, user2col; // [numcon], [numvar], -1: left out

  bool is_logical(int32_t j) const noexcept { return j < m; }
  int64_t colcount(int32_t j) const noexcept { return j < m ? 1 : colbeg[j - m + 1] - colbeg[j - m]; }
  bool is_fixed(int32_t j) const noexcept { return lower[j] == upper[j]; }
  bool is_free(int32_t j) const noexcept { return lower[j] == -bound_infinity && upper[j] == bound_infinity; }
  // Unscaled value of x_j = factor(j) * scaled value; reduced costs divide by it.
  double factor(int32_t j) const noexcept { return j < m ? 1.0 / rowscale[j] : colscale[j - m]; }
};

struct scale_request {
  bool on = false;
  bool choose = true;       // leave it when it is not worth it
  bool equilibrate = false; // a last pass to maximum 1
  int32_t passes = 0;
  const kept_basis* kept = nullptr; // scales as these were, in place of all the above
};

// Builds the working copy; scaling factors are computed when asked for and found worth it. False: stopped on the way.
// keys: of a start, or null. A column that they call basic and a row that they call nonbasic stay whatever their
// bounds, so that a start keeps its number of basics.
bool TVN_simplex_compressproblem(sysenv& sys, const problem_view& lp, const scale_request& scale, run_watch& watch,
                                 simplex_work& work, const solution_view* keys = nullptr);
bool TVN_simplex_keepsrow(const problem_view& lp, const solution_view* keys, int32_t i) noexcept;

// Moves column j (0 .. n-1) into or out of the active part of its rows. The caller knows on which side it stands.
void TVN_simplex_activate(simplex_work& work, int32_t j) noexcept;
void TVN_simplex_deactivate(simplex_work& work, int32_t j) noexcept;

// No NaN in the data, and no infinity but in bounds: what the audits can judge.
bool TVN_simplex_isfinite(const simplex_work& w);

} // namespace tvn
