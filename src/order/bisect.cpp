// A vertex separator by levels: coarsen, separate the small graph in several ways, refine on the way back.
//
// Cost: O(edges), most of it in the coarsening. Source: Hendrickson and Rothberg 1998; Karypis and Kumar 1998.
#include "order/partition.h"

namespace tvn {

namespace {

constexpr int32_t coarsestsize = 50, numtries = 4;
constexpr int32_t coarsepasses = 3, finepasses = 3;
// Sides of unequal weight often have the lighter separator.
constexpr double growratio[] = {0.4, 0.6, 0.5, 0.8};

void copy_bisection(const bisection& from, bisection& to) {
  std::copy(from.where.begin(), from.where.end(), to.where.begin());
  std::copy_n(from.weight, 3, to.weight);
}

bool separate_coarsest(const sgraph& g, const partition_weights& w, sorder_watch& watch, partition_space& space,
                       bisection& b) {
  bisection trial{{space.sys, g.n}};
  double best = 0;
  for (int32_t k = 0; k < numtries; k++) {
    if (!grow_separator(g, growratio[k % 4], watch, space, trial)) return false;
    if (!refine_separator(g, w, coarsepasses, watch, space, trial)) return false;
    const double cost = bisection_cost(w, trial.weight[0], trial.weight[1], trial.weight[2]);
    if (k > 0 && cost >= best) continue;
    best = cost;
    copy_bisection(trial, b);
  }
  return true;
}

bool bisect_by_levels(const sgraph& g, const partition_weights& w, sorder_watch& watch, partition_space& space,
                      bisection& b) {
  b.where.reset(space.sys, g.n);
  if (g.n > coarsestsize) {
    const int64_t maxnodew = std::max<int64_t>(1, 3 * g.weight / (2 * coarsestsize));
    sgraph coarse;
    buffer<int32_t> fine2coarse;
    if (!coarsen_graph(g, static_cast<int32_t>(maxnodew), watch, space, fine2coarse, coarse)) return false;
    if (coarse.n < g.n - g.n / 20) {
      bisection c;
      if (!bisect_by_levels(coarse, w, watch, space, c)) return false;
      for (int32_t i = 0; i < g.n; i++) b.where[i] = c.where[fine2coarse[i]];
      std::copy_n(c.weight, 3, b.weight);
      return refine_separator(g, w, finepasses, watch, space, b);
    }
  }
  return separate_coarsest(g, w, watch, space, b);
}

} // namespace

bool bisect_graph(const sgraph& g, const partition_weights& w, sorder_watch& watch, partition_space& space,
                  bisection& b) {
  if (!bisect_by_levels(g, w, watch, space, b)) return false;
  if (!w.smooth || b.weight[side_a] == 0 || b.weight[side_b] == 0) return true;
  bool better = false;
  if (!smooth_separator(g, w, watch, space, b, better)) return false;
  return !better || refine_separator(g, w, 1, watch, space, b);
}

} // namespace tvn
