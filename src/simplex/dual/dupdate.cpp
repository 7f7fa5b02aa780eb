// Update of the dual simplex after a step: flips, values, reduced costs, weights and the header.
//
// Steepest-edge weights are 1 plus the squared norm of a row of the inverse. With tau = B^-1 rho the recurrence of
// Forrest and Goldfarb (1992) keeps them exact; the approximate form leaves the product term out, and so does devex
// with its weights in a reference framework.
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double maxweight = 1e20;
constexpr double noise = 1e-8;
constexpr double faintweight = 1e10; // weights that come down from above it are differences of large numbers

// Weights are kept within [1, 1e20]; a little noise keeps ties apart.
double bounded(int32_t& random, double w) {
  if (!(w >= 1)) return 1 + noise * TVN_simplex_random(random);
  return w > maxweight ? maxweight * (1 - noise * TVN_simplex_random(random)) : w;
}

} // namespace

void dsimplex_setmove(const dual_state& s, buffer<int8_t>& move, int32_t j) noexcept {
  move[j] = s.fac.pos[j] >= 0 || s.lo[j] == s.up[j] ? int8_t{0}
            : s.key[j] == sk_low                    ? int8_t{1}
            : s.key[j] == sk_upr                    ? int8_t{-1}
                                                    : int8_t{2};
}

void dsimplex_flip(dual_state& s, int32_t numflips) {
  if (numflips == 0) return;
  const simplex_work& w = s.work;
  spvec& sum = s.colrow;
  auto add = [&](int32_t i, double v) {
    if (!sum.mark[i]) {
      sum.mark[i] = 1;
      sum.idx[sum.count++] = i;
    }
    sum.val[i] += v;
  };
  for (int32_t p = 0; p < numflips; p++) {
    const int32_t j = s.ratio.cand[p].j;
    const bool to_upper = s.key[j] == sk_low;
    const double by = to_upper ? s.up[j] - s.lo[j] : s.lo[j] - s.up[j];
    s.key[j] = to_upper ? sk_upr : sk_low;
    s.x[j] = to_upper ? s.up[j] : s.lo[j];
    s.move[j] = static_cast<int8_t>(-s.move[j]);
    if (w.is_logical(j)) {
      add(j, -by);
      continue;
    }
    for (int64_t e = w.colbeg[j - w.m]; e < w.colbeg[j - w.m + 1]; e++) add(w.colsub[e], by * w.colval[e]);
  }
  for (int32_t p = 0; p < sum.count; p++) sum.mark[sum.idx[p]] = 0;
  TVN_lu_ftranl(s.fac.factor, sum);
  TVN_lu_ftranus(s.fac.factor, sum, s.unit, 0.0, dropforward);
  for (int32_t p = 0; p < s.unit.count; p++) {
    const int32_t k = s.unit.idx[p];
    s.basic[k].x -= s.unit.val[k];
    dsimplex_notechange(s.price, s.tolfeas, k, s.basic[k]);
  }
  s.unit.clear();
  s.info.count[kind_dual].boundswaps += numflips;
}

void dsimplex_updateduals(dual_state& s, int32_t q, int32_t leaving, double theta) {
  if (theta != 0) {
    double* __restrict const a = s.alpha.val.data();
    double* __restrict const d = s.d.data();
    for (int32_t p = 0; p < s.alpha.count; p++) {
      const int32_t j = s.alpha.idx[p];
      d[j] -= theta * a[j];
      a[j] = 0; // the row is not wanted any more: one pass less over it
    }
    s.alpha.count = 0;
  }
  s.d[q] = 0;
  s.d[leaving] = -theta;
}

void dsimplex_updatebasics(dual_state& s, int32_t r, double step, double pivot) {
  const double* const aq = s.aq.val.data();
  const double* const tau = s.tau.val.data();
  const bool exact = s.price.method == sel_se, edges = exact || s.price.method == sel_ase;
  const bool weighted = edges || s.price.method == sel_devex;
  // Steepest edge keeps 1 + norm, devex a reference weight of at least 1.
  const double own = edges ? 1.0 : 0.0, norm = s.basic[r].weight - own;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    dual_basic& b = s.basic[k];
    b.x -= step * aq[k];
    if (weighted) {
      const double ratio = aq[k] / pivot;
      const double w =
          exact ? b.weight + ratio * (ratio * norm - 2 * tau[k]) : std::max(b.weight, own + ratio * ratio * norm);
      b.weight = w >= 1 && w <= maxweight ? w : bounded(s.info.randomstate, w);
    }
    dsimplex_notechange(s.price, s.tolfeas, k, b);
  }
  if (!weighted) return;
  s.basic[r].weight = bounded(s.info.randomstate, own + norm / (pivot * pivot));
  if (s.basic[r].weight > faintweight) s.price.exactweights = false;
}

void dsimplex_exchange(dual_state& s, int32_t r, int32_t q, bool to_upper) {
  const int32_t leaving = s.fac.head[r];
  s.fac.head[r] = q;
  s.fac.pos[q] = r;
  s.fac.pos[leaving] = -1;
  s.x[leaving] = to_upper ? s.up[leaving] : s.lo[leaving];
  const bool fixed = s.work.is_fixed(leaving);
  s.key[leaving] = fixed ? sk_fix : to_upper ? sk_upr : sk_low;
  s.key[q] = sk_bas;
  s.move[q] = 0;
  dsimplex_setmove(s, s.move, leaving);
  TVN_simplex_setlisted(s.base, q, false);
  if (!fixed) TVN_simplex_setlisted(s.base, leaving, true);
  s.basic[r].lo = s.lo[q];
  s.basic[r].up = s.up[q];
}

} // namespace tvn
