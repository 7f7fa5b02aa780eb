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
void solve_positions(kktfac& k, int32_t num, const double* const* rhs) noexcept {
  double *const z = k.work.position.data(), *const front = k.work.front.data();
  k.stopped = !kktfac_goeson(k) || !TVN_sfk_LX(k.factor, num, z, front, k.params.progress);
  for (int32_t c = 0; !k.stopped && c < num; c++) {
    double* const x = z + int64_t{c} * k.n;
    if (k.schur.num > 0) {
      double* const u = k.work.beside.data() + int64_t{c} * k.schur.maxcol;
      kktfac_besiderhs(k, rhs[c], u);
      TVN_sc_solve(k.factor, k.schur, x, u);
    } else {
      TVN_sfk_InvmulD(k.factor, x);
    }
    k.stopped = !kktfac_goeson(k);
  }
  if (k.stopped) return;
  k.stopped = !TVN_sfk_LtX(k.factor, num, z, front, k.params.progress) || !kktfac_goeson(k);
}

// Rows of `to` take the right side of the positions before they take y.
void begin_adat(kktfac& k, const double* rhs, double* to, double* z) noexcept {
  const int32_t n = k.numcol;
  const int32_t* const invp = k.structure.invp.data();
  const kkt_columns a = k.a;
  double* const y = to + n;
  kktfac_pieces(k, k.numrow, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) to[n + i] = -rhs[n + i];
  });
  kktfac_pieces(k, n, [&](int32_t from, int32_t end) {
    kktfac_others(k, from, end, [&](int32_t j) {
      const double t = rhs[j] * k.invh[j];
      for (int64_t p = a.beg[j], last = a.end[j]; p < last; p++) y[a.sub[p]] += a.val[p] * t;
    });
  });
  kktfac_pieces(k, k.numrow, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) z[invp[i]] = k.scale[i] * to[n + i];
  });
}

// Columns that are apart get their x from the Schur part: found from y, it would lose what their small H multiplies.
void end_adat(kktfac& k, const double* rhs, const double* z, const double* u, double* to) noexcept {
  const int32_t n = k.numcol;
  const int32_t* const invp = k.structure.invp.data();
  const kkt_columns a = k.a;
  const double* const y = to + n;
  kktfac_pieces(k, k.numrow, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) to[n + i] = k.scale[i] * z[invp[i]];
  });
  kktfac_pieces(k, n, [&](int32_t from, int32_t end) {
    kktfac_others(k, from, end, [&](int32_t j) {
      double t = rhs[j];
      for (int64_t p = a.beg[j], last = a.end[j]; p < last; p++) t -= a.val[p] * y[a.sub[p]];
      to[j] = k.invh[j] == 0 ? 0.0 : t * k.invh[j];
    });
  });
  kktfac_besidex(k, u, to);
}

void begin_sqdt(kktfac& k, const double* rhs, double* z) noexcept {
  const int32_t* const invp = k.structure.invp.data();
  kktfac_pieces(k, k.n, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) z[invp[i]] = i < k.numcol && k.invh[i] == 0 ? 0.0 : k.scale[i] * rhs[i];
  });
}

void end_sqdt(kktfac& k, const double* z, double* to) noexcept {
  const int32_t* const invp = k.structure.invp.data();
  kktfac_pieces(k, k.n, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) to[i] = k.scale[i] * z[invp[i]];
  });
}

struct refinement {
  kkt_vectors w;
  kkt_residual at;
  bool gains = true;
};

// One step for those that want it; false when none does.
bool correct(kktfac& k, kkt_target target, int32_t num, refinement* all) noexcept {
  const int64_t size = int64_t{k.numcol} + k.numrow;
  refinement* wanting[micro_wide];
  const double* from[micro_wide];
  double* to[micro_wide];
  int32_t count = 0;
  for (refinement* r = all; r != all + num; r++) {
    if (!r->gains || !(r->at.worst > k.params.tolrefine)) continue;
    from[count] = r->w.remainder;
    to[count] = r->w.correction;
    wanting[count++] = r;
  }
  if (count == 0 || !kktfac_goeson(k)) return false;
  kktfac_apply(k, count, from, to);
  for (int32_t c = 0; c < count && kktfac_goeson(k); c++) {
    refinement& r = *wanting[c];
    double* const v = r.w.solution;
    std::copy_n(v, size, r.w.best);
    for (int64_t i = 0; i < size; i++) v[i] += r.w.correction[i];
    const kkt_residual now = kktfac_residual(k, target, r.w.rhs, v, r.w.remainder);
    k.info.numrefine++;
    r.gains = now.worst < r.at.worst / 2;
    if (now.worst < r.at.worst) {
      r.at = now;
    } else {
      std::copy_n(r.w.best, size, v);
      r.at = kktfac_residual(k, target, r.w.rhs, v, r.w.remainder);
    }
  }
  return !k.stopped;
}

void combine(kktfac& k, kkt_target target, refinement& r) noexcept {
  r.gains = true;
  for (int32_t t = 0; r.gains && t < max_restarts && k.params.maxrefine > 0 && r.at.worst > k.params.tolkrylov; t++) {
    const double before = r.at.worst;
    kktfac_combine(k, target, r.w, r.at);
    if (k.stopped) return;
    r.gains = r.at.worst < before / 10;
  }
}

} // namespace

void kktfac_apply(kktfac& k, int32_t num, const double* const* rhs, double* const* to) noexcept {
  const bool adat = k.form == kkt_form::adat;
  const auto position = [&](int32_t c) { return k.work.position.data() + int64_t{c} * k.n; };
  for (int32_t c = 0; c < num && kktfac_goeson(k); c++)
    adat ? begin_adat(k, rhs[c], to[c], position(c)) : begin_sqdt(k, rhs[c], position(c));
  if (!k.stopped) solve_positions(k, num, rhs);
  for (int32_t c = 0; c < num && kktfac_goeson(k); c++) {
    const double* const u = k.work.beside.data() + int64_t{c} * k.schur.maxcol;
    adat ? end_adat(k, rhs[c], position(c), u, to[c]) : end_sqdt(k, position(c), to[c]);
  }
}

void kktfac_refine(kktfac& k, kkt_target target, int32_t num) noexcept {
  refinement all[micro_wide];
  const double* from[micro_wide] = {};
  double* to[micro_wide] = {};
  for (int32_t c = 0; c < num; c++) {
    all[c].w = kktfac_vectors(k, c);
    from[c] = all[c].w.rhs;
    to[c] = all[c].w.solution;
  }
  for (int32_t c = 0; c < num; c++)
    kktfac_pieces(k, k.numcol + k.numrow,
                  [&](int32_t first, int32_t end) { std::copy(to[c] + first, to[c] + end, all[c].w.rhs + first); });
  if (!k.stopped) kktfac_apply(k, num, from, to);
  for (int32_t c = 0; c < num && kktfac_goeson(k); c++)
    all[c].at = kktfac_residual(k, target, from[c], to[c], all[c].w.remainder);
  for (int32_t t = 0; t < k.params.maxrefine && !k.stopped && correct(k, target, num, all);) t++;
  k.info.residual = 0;
  for (int32_t c = 0; c < num && !k.stopped; c++) {
    combine(k, target, all[c]);
    if (!(all[c].at.worst <= k.info.residual)) k.info.residual = all[c].at.worst;
  }
}

namespace {

// Right sides of a group and their solutions in the caller's arrays.
struct group_view {
  int32_t num;
  double *x, *y;
};

void get_rhs(kktfac& k, const group_view& g) noexcept {
  const int64_t n = k.numcol, m = k.numrow;
  double* v = k.work.solution.data();
  for (int64_t q = 0; q < g.num; q++, v += n + m) {
    kktfac_pieces(k, k.numcol,
                  [&](int32_t from, int32_t end) { std::copy_n(g.x + q * n + from, end - from, v + from); });
    kktfac_pieces(k, k.numrow,
                  [&](int32_t from, int32_t end) { std::copy_n(g.y + q * m + from, end - from, v + n + from); });
  }
}

// False for what is not finite.
bool put_solutions(const kktfac& k, const group_view& g) noexcept {
  const int64_t n = k.numcol, m = k.numrow;
  const double* v = k.work.solution.data();
  bool finite = true;
  for (int64_t q = 0; q < g.num; q++, v += n + m) {
    std::copy_n(v, n, g.x + q * n);
    std::copy_n(v + n, m, g.y + q * m);
    for (int64_t i = 0; i < n + m; i++) finite = finite && std::isfinite(v[i]);
  }
  return finite;
}

// The solutions of the best of the floors under D that are tried. Its factor stays where it is good enough.
kktfac_code solve_group(kktfac& k, kkt_target target, const group_view& g, double& residual) noexcept {
  const int64_t all = g.num * (int64_t{k.numcol} + k.numrow);
  get_rhs(k, g);
  if (!k.stopped) kktfac_refine(k, target, g.num);
  if (k.stopped) return kktfac_code::stopped;
  bool finite = put_solutions(k, g);
  residual = k.info.residual;
  const int32_t first = k.floor.level;
  while (!(residual <= k.params.tolkrylov) && kktfac_nextfloor(k)) {
    if (k.factored) {
      std::copy_n(k.work.rhs.data(), all, k.work.solution.data());
      kktfac_refine(k, target, g.num);
    }
    if (k.stopped) return kktfac_code::stopped;
    if (!k.factored || !(k.info.residual < residual)) continue;
    finite = put_solutions(k, g);
    residual = k.info.residual;
  }
  if (!(residual <= k.params.tolkrylov) && first != k.floor.level) kktfac_usefloor(k, first);
  if (k.stopped) return kktfac_code::stopped;
  kktfac_endfloors(k, residual);
  return finite ? kktfac_code::ok : kktfac_code::failed;
}

} // namespace

kktfac_code TVN_kktfac_solve(kktfac& k, kkt_target target, int32_t num, double* x, double* y) noexcept {
  if (!k.ready || !k.factored) return kktfac_code::failed;
  const double start = TVN_sysenv_gettime();
  const int64_t n = k.numcol, m = k.numrow;
  double worst = 0;
  kktfac_code code = kktfac_code::ok;
  k.stopped = false;
  for (int32_t c = 0, group; c < num; c += group) {
    group = std::min(k.params.maxrhs, num - c);
    const sfk_progress& user = k.params.progress;
    if (user.fn && user.fn(user.handle, 8, c, -1.0) != 0) return kktfac_code::stopped;
    double residual = 0;
    const kktfac_code one = solve_group(k, target, {group, x + c * n, y + c * m}, residual);
    if (one == kktfac_code::stopped) return one;
    if (one != kktfac_code::ok) code = one;
    if (!(residual <= worst)) worst = residual;
  }
  k.info.residual = worst;
  k.info.inexact = !(worst <= k.params.tolkrylov);
  k.info.numsolve += num;
  k.info.solvetime += TVN_sysenv_gettime() - start;
  return code;
}

} // namespace tvn
