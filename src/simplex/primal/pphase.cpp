// Phases of the primal simplex: infeasibilities, reduced costs from scratch, in-place change of the phase-one cost.
//
// Phase one minimises the sum of infeasibilities: a basic below its lower bound costs -1, one above its upper +1, all
// else 0. When a pivot changes the status of a few basics only their change of cost goes through a backward solve, so
// the reduced costs are never recomputed for it (Maros 2003, chapter 9).
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double roundoff = 1e-15; // of the largest dual: reduced costs of phase one below it are rounding

} // namespace

void psimplex_gatherbasics(const primal_state& s, buffer<basic_entry>& basics) noexcept {
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    basics[k] = {s.x[j], s.lo[j], s.up[j], s.work.cost[j]};
  }
}

void psimplex_countinf(const primal_state& s, primal_infeas& inf, buffer<int8_t>& infeas) {
  inf.num = 0;
  inf.sum = 0;
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    const double below = s.lo[j] - s.x[j], above = s.x[j] - s.up[j];
    infeas[k] = below > s.tolfeas ? -1 : above > s.tolfeas ? 1 : 0;
    if (infeas[k] == 0) continue;
    inf.num++;
    inf.sum += std::max(below, above);
  }
}

void psimplex_formd(primal_state& s) {
  const simplex_work& w = s.work;
  for (int32_t k = 0; k < w.m; k++) s.fac.rhs[k] = static_cast<double>(s.infeas[k]) + s.cost(s.fac.head[k]);
  TVN_simplex_formy(s.fac, s.y);
  double largest = 0;
  for (const double v : s.y) largest = std::max(largest, std::fabs(v));
  for (int32_t j = 0; j < w.total; j++) {
    if (s.fac.pos[j] >= 0) {
      s.d[j] = 0;
      continue;
    }
    if (w.is_fixed(j)) continue;
    s.d[j] = s.cost(j) - TVN_simplex_columndot(w, j, s.y.data());
  }
  s.tol.dual = s.phase == 1 ? std::max({s.tol.phaseone, s.inf.noise, roundoff * largest}) : s.param.tols;
  s.freshd = true;
}

void psimplex_updatephasecost(primal_state& s) {
  const int32_t num = s.inf.numchanged;
  s.inf.numchanged = 0;
  if (num == 0) return;
  for (int32_t p = 0; p < num; p++) s.unit.push(s.inf.changed[p], static_cast<double>(s.inf.delta[p]));
  TVN_lu_btrans(s.fac.factor, s.unit, s.rho, dropbackward, dropbackward);
  if (s.price.method == sel_partial) {
    for (int32_t p = 0; p < s.rho.count; p++) s.y[s.rho.idx[p]] += s.rho.val[s.rho.idx[p]];
  } else {
    TVN_simplex_formrow(s.base);
    for (int32_t p = 0; p < s.alpha.count; p++) {
      const int32_t j = s.alpha.idx[p];
      s.d[j] -= s.alpha.val[j];
      psimplex_reprice(s.price, j, s.d[j], s.tol.dual);
    }
    s.alpha.clear();
  }
  s.rho.clear();
}

} // namespace tvn
