// Superbasics at the end of the dual simplex: free nonbasics, whose reduced costs are zero at an optimum.
//
// Along such a variable the objective does not change, so it can move until a basic reaches a bound and then takes its
// place. Primal feasibility is kept by the ratio test, the duals stay as they are because d is zero. What no basic
// stops in either direction stays where it is. Cost: one forward solve for each superbasic.
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double minpivot = 1e-7; // magnitude of an entry whose basic may leave

struct stop_record {
  int32_t position = -1;
  double step = HUGE_VAL; // of the superbasic, with its sign
  bool to_upper = false;
};

// The first basic to reach a bound when the superbasic moves by direction; the larger entry wins a tie.
stop_record first_stop(const dual_state& s, double direction) {
  stop_record best;
  double least = HUGE_VAL;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const dual_basic& b = s.basic[k];
    const double slope = -direction * s.aq.val[k], bound = slope > 0 ? b.up : b.lo;
    if (std::fabs(slope) <= minpivot || std::fabs(bound) >= bound_infinity) continue;
    const double t = std::max(0.0, (bound - b.x) / slope);
    if (!(t < least || (t == least && std::fabs(slope) > std::fabs(s.aq.val[best.position])))) continue;
    least = t;
    best = {k, direction * t, slope > 0};
  }
  return best;
}

// The shorter of the two ways.
stop_record choose_stop(const dual_state& s) {
  const stop_record up = first_stop(s, 1), down = first_stop(s, -1);
  if (down.position < 0) return up;
  return up.position < 0 || std::fabs(down.step) < std::fabs(up.step) ? down : up;
}

} // namespace

int32_t dsimplex_rmsuperbasics(dual_state& s) {
  int32_t removed = 0;
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.move[j] != 2 || !s.fac.usable) continue;
    if (TVN_simplex_poll(s.base)) break;
    TVN_simplex_solvecolumn(s.base, j);
    if (const stop_record stop = choose_stop(s); stop.position >= 0) {
      for (int32_t p = 0; p < s.aq.count; p++) s.basic[s.aq.idx[p]].x -= stop.step * s.aq.val[s.aq.idx[p]];
      const double value = s.x[j] + stop.step;
      dsimplex_exchange(s, stop.position, j, stop.to_upper);
      s.basic[stop.position].x = value;
      s.d[j] = 0;
      if (TVN_lu_supd(s.fac.factor, stop.position, s.spike) == lu_code::done)
        s.fac.since++;
      else
        s.fac.usable = false;
      removed++;
    }
    TVN_simplex_clearvectors(s.base);
  }
  if (removed > 0) {
    TVN_simplex_recompute(s.base, recompute_why::superbasics);
    s.price.exactweights = false; // they have not followed
  }
  return removed;
}

} // namespace tvn
