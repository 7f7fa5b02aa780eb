// Basis, factor and the solution pieces that come from them: what all simplex optimizers share.
#pragma once

#include "lu/lu.h"
#include "simplex/base/work.h"

namespace tvn {

// The basis of a working problem with its factor. Position k holds variable head[k]; pos is the inverse, -1 nonbasic.
struct simplex_fac {
  sysenv* sys = nullptr;
  const simplex_work* work = nullptr;
  buffer<int32_t> head; // [m]
  buffer<int32_t> pos;  // [total]
  lu factor;
  buffer<int32_t> iwork; // factor space, also the column map of a repair
  buffer<double> rwork;
  buffer<double> rhs, sol; // [m] dense right-hand side and result, no contents between calls
  buffer<long double> acc; // [m] residuals
  int32_t since = 0;       // updates since the last factorisation
  bool usable = false;     // the factor is that of head
};

// Entries of a sparse forward or backward solve up to these are rounding and left out. Working problems are scaled, so
// that entries that count are of order 1.
inline constexpr double dropforward = 1e-16, dropbackward = 1e-18;

// The relative pivot tolerance of the factor rises by this factor when a pivot was lost or refused, up to a limit.
inline constexpr double raisetimes = 1.5, raiserefused = 0.1, raiselost = 0.5;

enum class factor_result : int32_t { full, singular, failed, stopped };

// A column that a repair took out of the basis (-1: the position was open) and the logical that stands there now.
struct basis_exchange {
  int32_t leaving, entering;
};

void TVN_simplex_makefac(sysenv& sys, const simplex_work& work, simplex_fac& f);
// Logicals in all positions.
void TVN_simplex_slackbasis(simplex_fac& f) noexcept;

// Factors a square matrix with nz entries through its column function. Storage grows as long as the factor asks for it.
[[nodiscard]] factor_result TVN_simplex_factorlu(lu& f, int64_t nz, array_view<int32_t> iwork,
                                                 array_view<double> rwork);
// The same for head. A position with head -1 is open: an empty column, for which a repair puts in a logical.
[[nodiscard]] factor_result TVN_simplex_factor(simplex_fac& f);
// After `singular`: completes the factor with logicals and tells the exchanges; returns their number.
int32_t TVN_simplex_insertlogicals(simplex_fac& f, array_view<basis_exchange> exchanges);
// Raises the pivot method and threshold when the fresh factor looks unstable; true: factor again.
bool TVN_simplex_improvelu(lu& f);
inline bool TVN_simplex_improvelu(simplex_fac& f) { return TVN_simplex_improvelu(f.factor); }
// The relative pivot tolerance becomes `times` as large, up to a limit; it never falls here.
void TVN_simplex_raisepivots(lu& f, double times, double limit);
// In calm times: half way back to the tolerance asked for, and the first pivot method again.
void TVN_simplex_calmpivots(lu& f, double asked);

// Column j of the joined space, by row, into an empty vector.
void TVN_simplex_loadcolumn(const simplex_work& w, int32_t j, spvec& col) noexcept;
double TVN_simplex_columndot(const simplex_work& w, int32_t j, const double* y) noexcept;

// x of the basics from x of the nonbasics, with one step of refinement; returns the largest residual before it.
double TVN_simplex_formxb(simplex_fac& f, array_view<double> x);
// y from the costs by position in f.rhs (destroyed); y by row.
void TVN_simplex_formy(simplex_fac& f, array_view<double> y);

} // namespace tvn
