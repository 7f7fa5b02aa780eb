// Ratio tests of the primal simplex.
//
// Phase two is the two-pass test of Harris (1973): the first pass finds the largest step under bounds widened by
// tolfeas, the second takes the largest pivot among those whose true ratio is within it. Phase one passes break points
// of the piecewise linear infeasibility as long as the slope stays negative (long step; Maros 2003), then walks back
// until the pivot is large enough against the largest seen.
// Cost: proportional to the nonzeros of the pivot column, plus a heap over the break points that are passed.
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double swapslack = 1e-12; // the entering variable's own bound wins when it is this close
constexpr double nearties = 1.01;   // ratios within this multiple of the least tie with it
constexpr int32_t manyties = 4;
constexpr double goodscore = 5;
constexpr double pivotweight = 0.8, lengthweight = 0.2; // in a score: by the pivot, by the column that leaves
constexpr double drawshare = 0.1;                       // a draw over it is added to 1 and makes a score larger
// A tie that scores well may not have a far smaller pivot than the best; a tiny one hardly any smaller.
constexpr double tinypivot = 0.001, tinytimes = 1.1, tietimes = 2;
constexpr double farsmaller = 0.1, farlarger = 10; // pivots to each other, when a stalled run draws among them
// Tiny pivots must be nearly the largest. The last limit is the strictest, so that a large pivot has no free pass over
// much larger ones.
constexpr pivot_limit limits[] = {{0.001, 3}, {0.01, 5}, {1, 50}, {10, 1000}, {100, 5}};
constexpr double flatslope = 1e-9; // of the first slope: from here on the infeasibility does not fall any more

struct harris_result {
  double tmax;
  int32_t num; // in s.ratio.near: all positions whose true ratio is within tmax are among them
};

harris_result harris_limit(const primal_state& s, buffer<int32_t>& blocking, double sigma) {
  harris_result r{bound_infinity, 0};
  const double tolpiv = psimplex_leastpivot(s), tolfeas = s.tolfeas;
  const int32_t* const idx = s.aq.idx.data();
  const double* const aq = s.aq.val.data();
  const basic_entry* const basics = s.basics.data();
  int32_t* const near = blocking.data();
  for (int32_t p = 0, count = s.aq.count; p < count; p++) {
    const int32_t k = idx[p];
    const double rate = -sigma * aq[k], size = std::fabs(rate);
    if (size <= tolpiv) continue;
    const basic_entry& b = basics[k];
    const double bound = rate < 0 ? b.lo : b.up;
    if (std::fabs(bound) >= bound_infinity) continue;
    const double gap = rate < 0 ? b.x - bound : bound - b.x;
    if (!(gap <= r.tmax * size)) continue;
    near[r.num++] = k;
    // What has drifted out further than the tolerance blocks at once; a negative limit would let all others pass.
    if (gap + tolfeas < r.tmax * size) r.tmax = std::max(0.0, gap + tolfeas) / size;
  }
  return r;
}

// Among many near ties the leaving variable is drawn: the first, from a random place in a random direction, whose pivot
// is not far below the largest and whose column is not among the shortest. The largest takes over from a poor one.
ratio_result settle_ties(const primal_state& s, buffer<int32_t>& near, const ratio_result& best, double sigma,
                         harris_result h, int32_t& random) {
  double least = bound_infinity;
  const auto ratio_at = [&](int32_t k) {
    const double rate = -sigma * s.aq.val[k];
    const basic_entry& b = s.basics[k];
    return std::max(0.0, (rate < 0 ? b.x - b.lo : b.up - b.x) / std::fabs(rate));
  };
  int32_t ties = 0;
  for (int32_t p = 0; p < h.num; p++) least = std::min(least, ratio_at(near[p]));
  const double limit = std::min(h.tmax, std::max(nearties * least, best.step));
  for (int32_t p = 0; p < h.num; p++)
    if (ratio_at(near[p]) <= limit) near[ties++] = near[p];
  if (ties < manyties) return best;
  int32_t at = static_cast<int32_t>(TVN_simplex_random(random) * ties);
  const int32_t by = TVN_simplex_random(random) < 0.5 ? 1 : ties - 1;
  for (int32_t seen = 0; seen < ties; seen++, at = (at + by) % ties) {
    const int32_t k = near[at];
    const double p = std::fabs(s.aq.val[k]), count = static_cast<double>(s.work.colcount(s.fac.head[k]));
    const double score =
        (pivotweight * best.pivot / p + lengthweight * static_cast<double>(s.price.maxcollen) / count) *
        (1 + TVN_simplex_random(random) / drawshare);
    if (!(score < goodscore)) continue;
    if ((p < tinypivot && best.pivot / p > tinytimes) || best.pivot / p > tietimes) return best;
    return {k, ratio_at(k), -sigma * s.aq.val[k] > 0, false, p};
  }
  return best;
}

} // namespace

double psimplex_ownrange(const primal_state& s, int32_t q, double sigma) {
  const double bound = sigma > 0 ? s.up[q] : s.lo[q];
  return std::fabs(bound) >= bound_infinity ? bound_infinity : std::max(0.0, sigma * (bound - s.x[q]));
}

ratio_result psimplex_stepsize(const primal_state& s, primal_ratio& w, double sigma, double range, int32_t& random) {
  ratio_result r;
  const auto [tmax, num] = harris_limit(s, w.near, sigma);
  int32_t drawn = 0;
  for (int32_t p = 0; p < num; p++) {
    const int32_t k = w.near[p];
    const double rate = -sigma * s.aq.val[k], size = std::fabs(rate);
    if (size <= r.pivot && !w.random) continue;
    const basic_entry& b = s.basics[k];
    const double gap = rate < 0 ? b.x - b.lo : b.up - b.x;
    const double ratio = std::max(0.0, gap / size);
    if (ratio > tmax) continue;
    // When stalled, any candidate whose pivot is not far smaller may win, the n-th with probability 1/n.
    if (w.random && drawn > 0 && size < farlarger * r.pivot &&
        (size < farsmaller * r.pivot || TVN_simplex_random(random) * ++drawn > 1))
      continue;
    drawn = std::max(drawn, 1);
    r = {k, ratio, rate > 0, false, size};
  }
  if (num >= manyties && r.position >= 0 && !w.random) r = settle_ties(s, w.near, r, sigma, {tmax, num}, random);
  if (range < bound_infinity && (r.position < 0 || range <= r.step + swapslack))
    r = {-1, std::max(0.0, range), false, true, 1.0};
  return r;
}

namespace {

// Break points of the infeasibility along the direction, in no order; returns their number.
int32_t collect_breakpoints(const primal_state& s, buffer<primal_breakpoint>& breaks, double sigma) {
  const double tolpiv = psimplex_leastpivot(s);
  int32_t num = 0;
  auto add = [&](double ratio, int32_t k, double slope, bool upper) {
    breaks[num++] = {std::max(0.0, ratio), k, slope, upper};
  };
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const double rate = -sigma * s.aq.val[k], size = std::fabs(rate);
    if (size <= tolpiv) continue;
    const basic_entry& b = s.basics[k];
    const bool haslo = b.lo > -bound_infinity, hasup = b.up < bound_infinity;
    if (rate < 0) {
      if (s.infeas[k] > 0) add((b.x - b.up) / size, k, size, true);
      if (s.infeas[k] >= 0 && haslo) add((b.x - b.lo) / size, k, size, false);
    } else {
      if (s.infeas[k] < 0) add((b.lo - b.x) / size, k, size, false);
      if (s.infeas[k] <= 0 && hasup) add((b.up - b.x) / size, k, size, true);
    }
  }
  return num;
}

} // namespace

ratio_result psimplex_stepsize_phaseone(const primal_state& s, primal_ratio& w, int32_t q, double sigma, double slope) {
  using breakpoint = primal_breakpoint;
  const auto later = [](const breakpoint& a, const breakpoint& b) {
    return a.ratio > b.ratio || (a.ratio == b.ratio && a.position > b.position);
  };
  const double range = psimplex_ownrange(s, q, sigma);
  const int32_t num = collect_breakpoints(s, w.breaks, sigma);
  breakpoint* const first = w.breaks.begin();
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
    if (TVN_simplex_isacceptable(limits, b->slope, largest)) return {b->position, b->ratio, b->upper, false, b->slope};
  }
  return r;
}

} // namespace tvn
