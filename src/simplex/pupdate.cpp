// Update of the primal simplex after a step: reduced costs and weights, values of the basics.
//
// Weights: devex (Forrest and Goldfarb 1992, reference framework), steepest edge (Goldfarb and Reid 1977) and its
// approximation that drops the product term.
#include "simplex/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double maxweight = 1e20;

// Norm of the entering column in the terms of the method: the weight that the entering variable should have.
double true_weight(const primal_state& s, int32_t q) {
  const bool devex = s.method == sel_devex || s.method == sel_devex + sel_restrict;
  double sum = devex ? (s.inframe[q] ? 1.0 : 0.0) : 1.0;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    if (!devex || s.inframe[s.fac.head[k]]) sum += s.aq.val[k] * s.aq.val[k];
  }
  return std::max(sum, 1e-4);
}

bool is_method(const primal_state& s, int32_t base) { return s.method == base || s.method == base + sel_restrict; }

} // namespace

void psimplex_updateduals(primal_state& s, int32_t q, int32_t leaving, double pivot, double dq) {
  const double theta = dq / pivot;
  const double wq = true_weight(s, q);
  const bool se = is_method(s, sel_se), weighted = !is_method(s, sel_full);
  if (weighted && s.weight[q] > 3 * wq) s.weighterrors++;
  for (int32_t p = 0; p < s.alpha.count; p++) {
    const int32_t j = s.alpha.idx[p];
    const double a = s.alpha.val[j];
    if (j == q || a == 0.0) continue;
    s.d[j] -= theta * a;
    if (weighted) {
      const double ratio = a / pivot, grown = ratio * ratio * wq;
      double wj = s.weight[j];
      if (se) {
        wj += -2 * ratio * TVN_simplex_columndot(s.work, j, s.tau.val.data()) + grown;
        wj = std::max(wj, 1 + ratio * ratio);
      } else {
        wj = std::max(wj, grown);
      }
      s.weight[j] = std::min(wj, maxweight);
    }
    psimplex_setcandidate(s, j);
  }
  s.d[q] = 0;
  s.d[leaving] = -theta;
  if (weighted) s.weight[leaving] = std::min(std::max(wq / (pivot * pivot), 1.0), maxweight);
}

void psimplex_movebasics(primal_state& s, double sigma, double step) {
  s.numchanged = 0;
  const bool watch = s.phase == 1;
  if (step == 0 && !watch) return;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p], j = s.fac.head[k];
    s.x[j] -= sigma * step * s.aq.val[k];
    if (!watch) continue;
    const int8_t now = s.lo[j] - s.x[j] > s.tolfeas ? -1 : s.x[j] - s.up[j] > s.tolfeas ? 1 : 0;
    if (now == s.infeas[k]) continue;
    s.changed[s.numchanged] = k;
    s.delta[s.numchanged++] = static_cast<int8_t>(now - s.infeas[k]);
    s.numinf += (now != 0) - (s.infeas[k] != 0);
    s.infeas[k] = now;
  }
}

} // namespace tvn
