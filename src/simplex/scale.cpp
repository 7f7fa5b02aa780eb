// Geometric scaling by powers of two (Fulkerson and Wolfe 1962; Tomlin 1975).
//
// A pass sets each row's factor to 1/sqrt(min*max) of its scaled magnitudes, then each column's. Factors are clipped to
// [1e-5, 1e5] and rounded to powers of two, so that scaling and unscaling are exact. The result is dropped, leaving all
// factors 1, when nine tenths of the columns already lie within a factor of 100 of the largest element, or when it does
// not narrow the spread of the elements. Cost: O(nonzeros) a pass.
#include "simplex/scale.h"

#include "simplex/keptbasis.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double minfactor = 1e-5, maxfactor = 1e5;
constexpr double evenspread = 100; // a column within this of the largest element counts as even
constexpr double evenshare = 0.9;  // of the columns: no scaling

struct spread {
  double smallest = 1e300, largest = 0;
};

void widen(spread& s, double magnitude) {
  s.smallest = std::min(s.smallest, magnitude);
  s.largest = std::max(s.largest, magnitude);
}

spread matrix_spread(const simplex_work& w) {
  spread s;
  for (int32_t k = 0; k < w.n; k++)
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++)
      widen(s, std::fabs(w.colval[p]) * w.rowscale[w.colsub[p]] * w.colscale[k]);
  return s;
}

bool is_even(const simplex_work& w, double largest) {
  int64_t even = 0;
  for (int32_t k = 0; k < w.n; k++) {
    bool ok = true;
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) ok = ok && std::fabs(w.colval[p]) * evenspread >= largest;
    even += ok;
  }
  return static_cast<double>(even) >= evenshare * w.n;
}

double clip(double f) { return std::min(maxfactor, std::max(minfactor, f)); }
double power_of_two(double f) { return std::exp2(std::round(std::log2(clip(f)))); }

void row_pass(simplex_work& w, buffer<double>& lo, buffer<double>& hi) {
  for (int32_t i = 0; i < w.m; i++) lo[i] = 1e300, hi[i] = 0;
  for (int32_t k = 0; k < w.n; k++)
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) {
      const double a = std::fabs(w.colval[p]) * w.colscale[k];
      lo[w.colsub[p]] = std::min(lo[w.colsub[p]], a);
      hi[w.colsub[p]] = std::max(hi[w.colsub[p]], a);
    }
  for (int32_t i = 0; i < w.m; i++)
    if (hi[i] > 0) w.rowscale[i] = clip(1.0 / std::sqrt(lo[i] * hi[i]));
}

void col_pass(simplex_work& w, bool to_maximum) {
  for (int32_t k = 0; k < w.n; k++) {
    spread s;
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) widen(s, std::fabs(w.colval[p]) * w.rowscale[w.colsub[p]]);
    if (s.largest > 0) w.colscale[k] = clip(1.0 / (to_maximum ? s.largest : std::sqrt(s.smallest * s.largest)));
  }
}

} // namespace

void TVN_simplex_scalecolumns(simplex_work& w) {
  col_pass(w, false);
  for (int32_t k = 0; k < w.n; k++) w.colscale[k] = power_of_two(w.colscale[k]);
}

bool TVN_simplex_computescaling(sysenv& sys, const scale_request& scale, simplex_watch& watch, simplex_work& w) {
  if (scale.kept) {
    TVN_simplex_scaleaskept(*scale.kept, w);
    return true;
  }
  if (!scale.on) return false;
  const spread before = matrix_spread(w);
  if (before.largest == 0 || is_even(w, before.largest)) return false;
  buffer<double> lo(sys, w.m), hi(sys, w.m);
  for (int32_t pass = 0; pass < scale.passes && !watch.stopped(); pass++) {
    row_pass(w, lo, hi);
    col_pass(w, scale.equilibrate && pass + 1 == scale.passes);
  }
  for (int32_t i = 0; i < w.m; i++) w.rowscale[i] = power_of_two(w.rowscale[i]);
  for (int32_t k = 0; k < w.n; k++) w.colscale[k] = power_of_two(w.colscale[k]);
  const spread after = matrix_spread(w);
  if (after.largest / after.smallest < before.largest / before.smallest) return true;
  std::fill(w.rowscale.begin(), w.rowscale.end(), 1.0);
  std::fill(w.colscale.begin(), w.colscale.end(), 1.0);
  return false;
}

} // namespace tvn
