// Solves: the factor with the columns beside it, and refinement to the system wanted.
//
// Residuals are those of the whole system. In double they become as small as rounding allows (Skeel 1980); in long
// double x and y gain digits beside (Wilkinson 1963). Where corrections gain too little, because pivots were raised or
// the system wanted is not the one factored, several are combined (kktkrylov.cpp). What does not make the residual
// smaller is not kept. Cost of a step: 4 nnz(L), 4 nnz(A).
#include "kfac/kktint.h"

#include "cpub/timer.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t max_restarts = 3;

// The factored matrix on work.position, scaled.
void solve_positions(kktfac& k) noexcept {
  double *const z = k.work.position.data(), *const front = k.work.front.data();
  k.stopped = !kktfac_goeson(k) || !TVN_sfk_Lx(k.factor, z, front, k.params.progress);
  if (k.stopped) return;
  if (k.schur.num > 0)
    TVN_sc_solve(k.factor, k.schur, z);
  else
    TVN_sfk_InvmulD(k.factor, z);
  k.stopped = !kktfac_goeson(k) || !TVN_sfk_Ltx(k.factor, z, front, k.params.progress) || !kktfac_goeson(k);
}

// Columns that are apart get their x from the Schur part: found from y, it would lose what their small H multiplies.
void apply_adat(kktfac& k, const double* rhs, double* to) noexcept {
  const int32_t n = k.numcol;
  double* const z = k.work.position.data();
  const int32_t* const invp = k.structure.invp.data();
  kktfac_besiderhs(k, rhs);
  for (int32_t i = 0; i < k.numrow; i++) to[n + i] = -rhs[n + i];
  kktfac_others(k, [&](int32_t j) {
    const double t = rhs[j] * k.invh[j];
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) to[n + k.a.sub[p]] += k.a.val[p] * t;
  });
  for (int32_t i = 0; i < k.numrow; i++) z[invp[i]] = k.scale[i] * to[n + i];
  solve_positions(k);
  for (int32_t i = 0; i < k.numrow; i++) to[n + i] = k.scale[i] * z[invp[i]];
  kktfac_others(k, [&](int32_t j) {
    double t = rhs[j];
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) t -= k.a.val[p] * to[n + k.a.sub[p]];
    to[j] = k.invh[j] == 0 ? 0.0 : t * k.invh[j];
  });
  kktfac_besidex(k, to);
}

void apply_sqdt(kktfac& k, const double* rhs, double* to) noexcept {
  double* const z = k.work.position.data();
  const int32_t* const invp = k.structure.invp.data();
  kktfac_besiderhs(k, rhs);
  for (int32_t i = 0; i < k.n; i++) z[invp[i]] = i < k.numcol && k.invh[i] == 0 ? 0.0 : k.scale[i] * rhs[i];
  solve_positions(k);
  for (int32_t i = 0; i < k.n; i++) to[i] = k.scale[i] * z[invp[i]];
}

} // namespace

void kktfac_apply(kktfac& k, const double* rhs, double* to) noexcept {
  k.form == kkt_form::adat ? apply_adat(k, rhs, to) : apply_sqdt(k, rhs, to);
}

void kktfac_refine(kktfac& k, kkt_target target, double* v) noexcept {
  const int64_t all = int64_t{k.numcol} + k.numrow;
  double *const rhs = k.work.rhs.data(), *const step = k.work.correction.data(), *const r = k.work.remainder.data(),
                *const best = k.work.best.data();
  std::copy_n(v, all, rhs);
  kktfac_apply(k, rhs, v);
  if (!kktfac_goeson(k)) return;
  kkt_residual at = kktfac_residual(k, target, rhs, v, r);
  bool gains = true;
  for (int32_t t = 0; gains && t < k.params.maxrefine && at.worst > k.params.tolrefine; t++) {
    std::copy_n(v, all, best);
    if (kktfac_goeson(k)) kktfac_apply(k, r, step);
    if (!kktfac_goeson(k)) return;
    for (int64_t i = 0; i < all; i++) v[i] += step[i];
    const kkt_residual now = kktfac_residual(k, target, rhs, v, r);
    k.info.numrefine++;
    gains = now.worst < at.worst / 2;
    if (now.worst < at.worst) {
      at = now;
    } else {
      std::copy_n(best, all, v);
      at = kktfac_residual(k, target, rhs, v, r);
    }
  }
  gains = true;
  for (int32_t t = 0; gains && t < max_restarts && k.params.maxrefine > 0 && at.worst > k.params.tolkrylov; t++) {
    const double before = at.worst;
    kktfac_combine(k, target, v, at);
    if (k.stopped) return;
    gains = at.worst < before / 10;
  }
  k.info.residual = at.worst;
}

kktfac_code TVN_kktfac_solve(kktfac& k, kkt_target target, int32_t num, double* x, double* y) noexcept {
  const double start = TVN_sysenv_gettime();
  const int64_t n = k.numcol, m = k.numrow;
  double worst = 0;
  bool finite = true;
  k.stopped = false;
  for (int32_t c = 0; c < num; c++) {
    const sfk_progress& user = k.params.progress;
    if (user.fn && user.fn(user.handle, 8, c, -1.0) != 0) return kktfac_code::stopped;
    double* const v = k.work.solution.data();
    std::copy_n(x + c * n, n, v);
    std::copy_n(y + c * m, m, v + n);
    kktfac_refine(k, target, v);
    if (k.stopped) return kktfac_code::stopped;
    std::copy_n(v, n, x + c * n);
    std::copy_n(v + n, m, y + c * m);
    for (int64_t i = 0; i < n + m; i++) finite = finite && std::isfinite(v[i]);
    worst = std::max(worst, k.info.residual);
  }
  k.info.residual = worst;
  k.info.numsolve += num;
  k.info.solvetime += TVN_sysenv_gettime() - start;
  return finite ? kktfac_code::ok : kktfac_code::failed;
}

} // namespace tvn
