// Ratio tests of the primal simplex.
//
// Phase two is the two-pass test of Harris (1973): the first pass finds the largest step under bounds widened by
// tolfeas, the second takes the largest pivot among those whose true ratio is within it. Phase one passes break points
// of the piecewise linear infeasibility as long as the slope stays negative (long step; Maros 2003), then walks back
// until the pivot is large enough against the largest seen.
// Cost: proportional to the nonzeros of the pivot column, plus a heap over the break points that are passed.
#include "simplex/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double swapslack = 1e-12; // the entering variable's own bound wins when it is this close
constexpr double flatslope = 1e-9;  // of the first slope: from here on the infeasibility does not fall any more

// The step at which the entering variable meets its other bound.
double own_range(const primal_state& s, int32_t q) {
  const double range = s.up[q] - s.lo[q];
  return s.key[q] == sk_supbas || range >= bound_infinity ? bound_infinity : range;
}

double harris_limit(const primal_state& s, double sigma) {
  double tmax = bound_infinity;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const double rate = -sigma * s.aq.val[k];
    if (std::fabs(rate) <= s.tolpiv) continue;
    const int32_t j = s.fac.head[k];
    if (rate < 0) {
      if (s.lo[j] > -bound_infinity) tmax = std::min(tmax, (s.x[j] - s.lo[j] + s.tolfeas) / -rate);
    } else if (s.up[j] < bound_infinity) {
      tmax = std::min(tmax, (s.up[j] - s.x[j] + s.tolfeas) / rate);
    }
  }
  return tmax;
}

// Is a pivot of magnitude p good enough beside the largest candidate? All tests must hold; the last is the strictest,
// so that a large pivot has no free pass over much larger ones.
bool acceptable(double p, double largest) {
  const double ratio = largest / p;
  return (p >= 0.001 || ratio <= 3) && (p >= 0.01 || ratio <= 5) && (p >= 1 || ratio <= 50) &&
         (p >= 10 || ratio <= 1000) && (p >= 100 || ratio <= 5);
}

} // namespace

ratio_result psimplex_stepsize(primal_state& s, int32_t q, double sigma) {
  ratio_result r;
  const double tmax = harris_limit(s, sigma), range = own_range(s, q);
  int32_t drawn = 0;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const double rate = -sigma * s.aq.val[k], size = std::fabs(rate);
    if (size <= s.tolpiv || (size <= r.pivot && !s.random)) continue;
    const int32_t j = s.fac.head[k];
    const double gap = rate < 0 ? s.x[j] - s.lo[j] : s.up[j] - s.x[j];
    if (gap >= bound_infinity) continue;
    const double ratio = std::max(0.0, gap / size);
    if (ratio > tmax) continue;
    // When stalled, any candidate whose pivot is not far smaller may win, the n-th with probability 1/n.
    if (s.random && drawn > 0 && size < 10 * r.pivot &&
        (size < 0.1 * r.pivot || TVN_simplex_random(s.info.randomstate) * ++drawn > 1))
      continue;
    drawn = std::max(drawn, 1);
    r = {k, ratio, rate > 0, false, size};
  }
  if (range < bound_infinity && (r.position < 0 || range <= r.step + swapslack))
    r = {-1, std::max(0.0, range), false, true, 1.0};
  return r;
}

namespace {

// Break points of the infeasibility along the direction, in no order; returns their number.
int32_t collect_breakpoints(primal_state& s, double sigma) {
  int32_t num = 0;
  auto add = [&](double ratio, int32_t k, double slope, bool upper) {
    s.breaks[num++] = {std::max(0.0, ratio), k, slope, upper};
  };
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const double rate = -sigma * s.aq.val[k], size = std::fabs(rate);
    if (size <= s.tolpiv) continue;
    const int32_t j = s.fac.head[k];
    const bool haslo = s.lo[j] > -bound_infinity, hasup = s.up[j] < bound_infinity;
    if (rate < 0) {
      if (s.infeas[k] > 0) add((s.x[j] - s.up[j]) / size, k, size, true);
      if (s.infeas[k] >= 0 && haslo) add((s.x[j] - s.lo[j]) / size, k, size, false);
    } else {
      if (s.infeas[k] < 0) add((s.lo[j] - s.x[j]) / size, k, size, false);
      if (s.infeas[k] <= 0 && hasup) add((s.up[j] - s.x[j]) / size, k, size, true);
    }
  }
  return num;
}

} // namespace

ratio_result psimplex_stepsize_phaseone(primal_state& s, int32_t q, double sigma, double slope) {
  using breakpoint = primal_state::breakpoint;
  const auto later = [](const breakpoint& a, const breakpoint& b) {
    return a.ratio > b.ratio || (a.ratio == b.ratio && a.position > b.position);
  };
  const double range = own_range(s, q);
  const int32_t num = collect_breakpoints(s, sigma);
  breakpoint* const first = s.breaks.begin();
  breakpoint* last = first + num; // [first, last) is the heap, [last, first + num) the passed ones, newest first
  std::make_heap(first, last, later);
  double largest = 0;
  const double flat = flatslope * slope;
  while (last != first && slope < flat && first->ratio < range) {
    slope += first->slope;
    largest = std::max(largest, first->slope);
    std::pop_heap(first, last, later);
    --last;
  }
  if (slope < flat && range < bound_infinity) return {-1, range, false, true, 1.0};
  ratio_result r;
  for (const breakpoint* b = last; b != first + num; ++b) {
    if (r.position < 0 || b->slope > r.pivot) r = {b->position, b->ratio, b->upper, false, b->slope};
    if (acceptable(b->slope, largest)) return {b->position, b->ratio, b->upper, false, b->slope};
  }
  return r;
}

} // namespace tvn
