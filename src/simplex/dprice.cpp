// Pricing of the dual simplex: the list of infeasible positions, weights, and the choice of the leaving row.
//
// Each position that becomes infeasible is put on an unordered list; a position that is feasible again leaves it when
// the list is next read. The choice maximises squared infeasibility over weight (Forrest and Goldfarb 1992), so it
// costs the length of the list.
#include "simplex/dstate.h"

#include <cmath>

namespace tvn {

void dsimplex_notechange(dual_state& s, int32_t k) noexcept {
  const double below = s.lb[k] - s.xb[k], above = s.xb[k] - s.ub[k], v = std::max(below, above);
  if (!(v > s.tolfeas)) {
    s.infeas[k] = 0;
    return;
  }
  s.infeas[k] = v * v;
  if (s.listed[k]) return;
  s.listed[k] = 1;
  s.list[s.numlist++] = k;
}

void dsimplex_rebuildlist(dual_state& s) noexcept {
  std::fill(s.listed.begin(), s.listed.end(), uint8_t{0});
  s.numlist = 0;
  for (int32_t k = 0; k < s.work.m; k++) dsimplex_notechange(s, k);
}

int32_t dsimplex_select(dual_state& s) {
  int32_t kept = 0, best = -1;
  double bestscore = 0;
  for (int32_t p = 0; p < s.numlist; p++) {
    const int32_t k = s.list[p];
    const double v = s.infeas[k];
    if (v == 0) {
      s.listed[k] = 0;
      continue;
    }
    s.list[kept++] = k;
    // The score is v / weight; the comparison by products saves the division.
    if (v > bestscore * s.weight[k]) {
      bestscore = v / s.weight[k];
      best = k;
    }
  }
  s.numlist = kept;
  return best;
}

void dsimplex_resetweights(dual_state& s) {
  s.weighterrors = 0;
  s.exactweights = true;
  for (const int32_t j : s.fac.head) s.exactweights = s.exactweights && s.work.is_logical(j);
  std::fill(s.weight.begin(), s.weight.end(), s.method == sel_se || s.method == sel_ase ? 2.0 : 1.0);
}

} // namespace tvn
