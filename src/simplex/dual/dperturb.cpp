// Cost perturbation of the dual simplex and its removal.
//
// Dual degenerate vertices are taken apart by moving the costs of nonbasics away from zero reduced cost, by a random
// part of their own size (Koberstein 2005, chapter 6). A move never makes a dual infeasibility: up at a lower bound,
// down at an upper one. The true costs come back before any verdict of optimality; what is then dual infeasible is for
// the primal simplex to mend.
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double relsize = 5e-6;     // of 1 + |cost|
constexpr double ordinarycost = 100; // beyond it the fourth root of the largest cost counts, too
constexpr double aggressivefirst = 10, aggressivekick = 5, minimumfirst = 0.01; // times the size, by the user's mode
constexpr double tightgap = 100;                      // reduced costs up to so many tolerances or kicks are kicked
constexpr double narrowtimes = 10, largeshare = 0.01; // of a kick: in a narrow range, at a large cost

double outward(const dual_state& s, int32_t j) {
  const bool haslo = s.work.lower[j] > -bound_infinity, hasup = s.work.upper[j] < bound_infinity;
  if (haslo && hasup) return s.d[j] > 0 || (s.d[j] == 0 && s.move[j] > 0) ? 1.0 : -1.0;
  return haslo ? 1.0 : hasup ? -1.0 : 0.0;
}

void shift(dual_state& s, int32_t j, double by) {
  s.cost[j] += by;
  s.d[j] += by;
  s.perturbed = true;
}

} // namespace

void dsimplex_perturb(dual_state& s, double factor) {
  const simplex_work& w = s.work;
  double largest = 0;
  for (int32_t j = 0; j < w.total; j++) largest = std::max(largest, std::fabs(w.cost[j]));
  double size = factor * relsize * (largest > ordinarycost ? std::sqrt(std::sqrt(largest)) : 1.0);
  if (s.param.degen == degen_aggressive) size *= aggressivefirst;
  if (s.param.degen == degen_minimum) size *= minimumfirst;
  for (int32_t j = 0; j < w.total; j++) {
    if (!s.inlist[j] || w.is_free(j)) continue;
    shift(s, j,
          outward(s, j) * size * (1 + std::fabs(w.cost[j])) * (0.5 + 0.5 * TVN_simplex_random(s.info.randomstate)));
  }
}

void dsimplex_kick(dual_state& s, int32_t level) {
  constexpr double sizes[] = {0, 1e-8, 1e-6, 1e-5};
  constexpr double largecost = 100, hugecost = 1e6; // from the latter on a cost is left alone
  constexpr double narrow = 1e-4;                   // range of a variable that may move further
  const double depth = 1 + static_cast<double>(s.iter) / (1.0 + s.work.total);
  const double e = (s.param.degen == degen_aggressive ? aggressivekick : 1) * sizes[level] * depth;
  for (int32_t j = 0; j < s.work.total; j++) {
    if (!s.inlist[j] || s.move[j] == 0 || s.move[j] == 2 || !(std::fabs(s.d[j]) <= tightgap * std::max(s.tol.dual, e)))
      continue;
    const double c = std::fabs(s.work.cost[j]);
    if (c >= hugecost) continue;
    const double size = s.up[j] - s.lo[j] < narrow ? std::min(narrowtimes * e, narrow)
                        : c >= largecost           ? largeshare * e
                                                   : e;
    shift(s, j, s.move[j] * size * (0.5 + TVN_simplex_random(s.info.randomstate)));
  }
}

void dsimplex_restorecosts(dual_state& s) {
  std::copy(s.work.cost.begin(), s.work.cost.end(), s.cost.begin());
  s.perturbed = false;
}

} // namespace tvn
