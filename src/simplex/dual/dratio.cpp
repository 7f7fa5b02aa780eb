// The ratio test of the dual simplex: long steps through bound flips, with a tolerance on the reduced costs.
//
// Let t be the dual step. Along it the dual objective rises with the infeasibility of the leaving variable as slope;
// each reduced cost that reaches zero lowers the slope by the range of its variable times the pivot, for that variable
// can go to its other bound (Fourer 1994; Maros 2003). Breakpoints are taken in groups: a group holds all whose ratio
// is within the least ratio relaxed by the tolerance (Harris 1973), and the largest pivot of a group may enter. The
// last group that keeps the slope positive on entry is tried first; when its pivot is small beside the largest one of
// all groups, earlier groups are tried (Koberstein 2005). Small entries stay out at
// first (docs/decisions/007-end-of-the-dual.md).
// Cost: one pass over the pivot row, a few over the candidates that the step can pass, and a sort of the rest.
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double growstep = 8; // between two attempts to bound the step
constexpr double firststep = 1e-7;
constexpr double leastpivot = 1e-5; // of a candidate, as long as those left out
constexpr double lefterror = 1e-5;  // lose no more than this of their reduced costs
constexpr pivot_limit limits[] = {{0.0001, 5}, {0.001, 10}, {1, 50}, {10, 1000}}; // tiny ones nearly the largest

// Candidates whose ratio is at most the limit, and free variables. They hold the distance of the reduced cost from zero
// as ratio until it is divided by the pivot. The sign of the move is looked up only where the magnitudes allow a
// candidate: most entries of a long row end at that first test.
int32_t collect(const dual_state& s, dual_ratio_work& w, double sigma, double tolpiv, double limit) {
  const double* const alpha = s.alpha.val.data();
  const double* const d = s.d.data();
  const int32_t* const idx = s.alpha.idx.data();
  const double slack = 10 * s.tol.dual;
  int32_t num = 0;
  for (int32_t p = 0; p < s.alpha.count; p++) {
    const int32_t j = idx[p];
    if (!(std::fabs(d[j]) <= limit * std::fabs(alpha[j]) + slack)) continue;
    const double mv = s.move[j], a = mv * sigma * alpha[j], reduced = mv * d[j];
    if ((a > tolpiv && reduced <= limit * a) || mv == 2) w.cand[num++] = {reduced, a, j};
  }
  return num;
}

// Free variables and data that are not finite, which collect passes unseen.
int32_t mend(const dual_state& s, dual_ratio_work& w, double tolpiv, int32_t num) {
  int32_t kept = 0;
  for (int32_t p = 0; p < num; p++) {
    dual_candidate c = w.cand[p];
    if (s.move[c.j] == 2) {
      c.ratio = 0;
      c.pivot = std::fabs(0.5 * c.pivot);
    }
    if (c.pivot > tolpiv && c.ratio < bound_infinity) w.cand[kept++] = c;
  }
  return kept;
}

double slope_loss(const dual_state& s, const dual_candidate& c) {
  const double range = s.up[c.j] - s.lo[c.j];
  return range >= bound_infinity ? HUGE_VAL : range * c.pivot;
}

// Brings the candidates that a step with positive slope can pass, and a few more, to the front; returns their number.
int32_t reduce(const dual_state& s, dual_ratio_work& w, int32_t num, double slope) {
  dual_candidate* const cand = w.cand.data();
  int32_t kept = 0;
  double limit = std::max(firststep, w.laststep);
  while (kept < num) {
    for (int32_t p = kept; p < num; p++) {
      if (cand[p].ratio > limit * cand[p].pivot) continue;
      slope -= slope_loss(s, cand[p]);
      std::swap(cand[p], cand[kept++]);
    }
    if (slope < 0 || kept == num) break;
    double next = HUGE_VAL;
    for (int32_t p = kept; p < num; p++) next = std::min(next, cand[p].ratio / cand[p].pivot);
    limit = growstep * std::max(limit, next);
  }
  return kept;
}

// The candidates that a step with positive slope can pass are few, and seldom beyond a multiple of the last step: only
// when those do not use up the slope are all of them collected.
int32_t collect_passable(const dual_state& s, dual_ratio_work& w, double sigma, double tolpiv, double slope) {
  const int32_t num = mend(s, w, tolpiv, collect(s, w, sigma, tolpiv, growstep * std::max(firststep, w.laststep)));
  double left = slope;
  for (int32_t p = 0; p < num; p++) left -= slope_loss(s, w.cand[p]);
  return left < 0 ? num : reduce(s, w, mend(s, w, tolpiv, collect(s, w, sigma, tolpiv, HUGE_VAL)), slope);
}

bool earlier(const dual_candidate& a, const dual_candidate& b) {
  return a.ratio < b.ratio || (a.ratio == b.ratio && a.j < b.j);
}

// Among the entries of the row above tolpiv.
dual_ratio long_step(const dual_state& s, dual_ratio_work& w, double sigma, double tolpiv, double delta) {
  const int32_t num = collect_passable(s, w, sigma, tolpiv, delta);
  dual_candidate* const c = w.cand.data();
  for (int32_t p = 0; p < num; p++) c[p].ratio /= c[p].pivot;
  std::sort(c, c + num, earlier);
  double least = HUGE_VAL;
  for (int32_t p = num - 1; p >= 0; p--) {
    least = std::min(least, c[p].ratio + s.tol.ratio / c[p].pivot);
    w.relaxed[p] = least;
  }
  int32_t groups = 0;
  double slope = delta, largest = 0;
  w.groupend[0] = 0;
  for (int32_t p = 0; p < num && slope >= 0;) {
    const double limit = w.relaxed[p];
    for (; p < num && c[p].ratio <= limit; p++) {
      slope -= slope_loss(s, c[p]);
      largest = std::max(largest, c[p].pivot);
    }
    w.groupend[++groups] = p;
  }
  dual_ratio best;
  // What is left of the infeasibility when all that can move has moved: beyond the tolerance no point is feasible.
  if (slope > s.tolfeas || groups == 0) return best;
  double bestpivot = 0;
  for (int32_t g = groups - 1; g >= 0; g--) {
    int32_t choice = w.groupend[g];
    for (int32_t p = choice + 1; p < w.groupend[g + 1]; p++)
      if (c[p].pivot > c[choice].pivot) choice = p;
    if (c[choice].pivot > bestpivot) {
      bestpivot = c[choice].pivot;
      best = {c[choice].j, std::max(0.0, c[choice].ratio), w.groupend[g]};
    }
    if (TVN_simplex_isacceptable(limits, c[choice].pivot, largest))
      return {c[choice].j, std::max(0.0, c[choice].ratio), w.groupend[g]};
  }
  return best;
}

} // namespace

dual_ratio dsimplex_minratio(const dual_state& s, dual_ratio_work& w, double sigma, double delta) {
  const double careful = std::max(10 * s.tol.piv, leastpivot);
  const dual_ratio first = long_step(s, w, sigma, careful, delta);
  return first.q >= 0 && first.step * careful <= lefterror ? first : long_step(s, w, sigma, s.tol.piv, delta);
}

} // namespace tvn
