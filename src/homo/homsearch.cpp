// The Newton step of the model: s, sup, xup and kappa eliminated, then found again.
//
// On cones H is W^2. With hup = sup / xup and v = x / tau: H = Q + s / x + hup, c1 = c - hup u, c2 = c + 2 Q v + hup u,
// g = kappa / tau + v'Qv + u' hup u, and what the elimination of x and y leaves of g is
// kappa / tau + sum (s / x) px^2 + sum hup (u - px)^2 + (px - v)'Q(px - v).
#include "homo/homint.h"
#include "homo/quadcone.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

void put_diagonal(const hom_data& d, const hom_point& p, double rho, double delta, newton& w) noexcept {
  constexpr double free_rho = 1e-8; // of columns without H
  for (int32_t j = 0; j < d.n; j++) {
    w.h[j] = j < d.npos ? p.s[j] / p.x[j] : 0.0;
    w.rp[j] = j < d.npos || j >= d.cone0() ? rho : std::max(rho, free_rho);
  }
  for (int32_t k = 0; k < d.nup; k++) w.h[d.up0() + k] += p.sup[k] / p.xup[k];
  for (int32_t j = 0; d.q.any() && j < d.n; j++) {
    w.h[j] += d.q.diag[j];
    if (d.q.diag[j] > 0) w.rp[j] = rho;
  }
  std::fill_n(w.rd.data(), d.m, delta);
  cone_system_put(w.cones, w.h.data());
}

// Members of cones, v := W v or W^-1 v by F.
template <class F> void scale_members(const hom_data& d, const cone_system& c, double* v, F times) noexcept {
  for (int32_t k = 0; k < d.numcone; k++) times(c.theta[k], c.scaling(k), c.size(k), v + (d.conebeg[k] - d.cone0()));
}

// Of a ranged column when tau changes and y stays: how far x goes with its bounds, and how far xup does.
struct ranged_share {
  double x, xup;
};

ranged_share share_of(const hom_data& d, const hom_point& p, const newton& w, int32_t k) noexcept {
  const int32_t j = d.up0() + k;
  const double own = d.q.any() ? p.s[j] / p.x[j] + d.q.diag[j] : p.s[j] / p.x[j];
  return {d.u[k] * (p.sup[k] / p.xup[k] / w.h[j]), d.u[k] * (own / w.h[j])};
}

// The column of tau in x is -c + hup u, large where xup is small, and xup then takes what is left of u - px: both
// would drown in rounding. So w.px holds what is left of it beside x of ranged_share.
void put_fixed(const hom_data& d, const hom_point& p, newton& w) noexcept {
  for (int32_t j = 0; j < d.n; j++) w.px[j] = -d.c[j];
  std::copy_n(d.b.data(), d.m, w.py.data());
  std::fill(w.px.begin() + d.n, w.px.end(), 0.0);
  std::fill(w.py.begin() + d.m, w.py.end(), 0.0);
  for (int32_t k = 0; k < d.nup; k++) {
    const int32_t j = d.up0() + k;
    const double at = share_of(d, p, w, k).x;
    for (int64_t q = d.beg[j]; q < d.beg[j + 1]; q++) w.py[d.sub[q]] -= d.val[q] * at;
  }
  if (d.q.beg.empty()) return;
  double* const share = w.work.data();
  std::fill_n(share, d.n, 0.0);
  for (int32_t k = 0; k < d.nup; k++) share[d.up0() + k] = share_of(d, p, w, k).x;
  for (int32_t j = 0; j < d.n; j++)
    for (int64_t q = d.q.beg[j]; q < d.q.beg[j + 1]; q++) {
      w.px[j] -= d.q.val[q] * share[d.q.sub[q]];
      w.px[d.q.sub[q]] -= d.q.val[q] * share[j];
    }
}

double tau_pivot(const hom_data& d, const hom_point& p, newton& w) noexcept {
  double sum = p.kappa / p.tau + newton_proximal(w);
  for (int32_t j = 0; j < d.up0(); j++) sum += p.s[j] / p.x[j] * w.px[j] * w.px[j];
  for (int32_t k = 0; k < d.nup; k++) {
    const int32_t j = d.up0() + k;
    const ranged_share share = share_of(d, p, w, k);
    const double x = w.px[j] + share.x, xup = share.xup - w.px[j];
    sum += p.s[j] / p.x[j] * x * x + p.sup[k] / p.xup[k] * xup * xup;
  }
  for (const double v : w.vpx) sum += v * v;
  if (!d.q.any()) return sum;
  for (int32_t j = 0; j < d.n; j++) {
    const bool ranged = j >= d.up0() && j < d.npos;
    w.work[j] = (ranged ? w.px[j] + share_of(d, p, w, j - d.up0()).x : w.px[j]) - p.x[j] / p.tau;
  }
  return sum + d.q.form(w.work.data());
}

// W (lambda \ r) to the right side.
void begin_members(const hom_data& d, const hom_point& p, const hom_aim& aim, const cone_system& c,
                   hom_point& dir) noexcept {
  const int32_t num = d.nummember(), first = d.cone0();
  if (num == 0) return;
  std::copy_n(aim.cone.data(), num, dir.vx);
  d.each_cone([&](int32_t v, int32_t, int32_t size) { quadcone_divide(p.vx + v, size, dir.vx + v); });
  scale_members(d, c, dir.vx, quadcone_times);
  for (int32_t i = 0; i < num; i++) dir.x[first + i] += dir.vx[i];
}

// ds from the equations of the duals: as W (lambda \ r - W dx) it would leave in them the rounding of W^2, which near
// the border is larger than they are.
void end_members(const hom_data& d, const hom_residual& r, double feas, const newton& w, hom_point& dir) noexcept {
  const int32_t num = d.nummember(), first = d.cone0();
  if (num == 0) return;
  newton_scaled(w, dir.vx);
  for (int32_t i = 0; i < num; i++) dir.vx[i] += w.vpx[i] * dir.tau;
  for (int32_t j = first; j < d.n; j++) {
    double sum = d.c[j] * dir.tau - feas * r.rd[j];
    for (int64_t q = d.beg[j]; q < d.beg[j + 1]; q++) sum -= d.val[q] * dir.y[d.sub[q]];
    dir.s[j] = sum;
  }
  std::copy_n(dir.s + first, num, dir.vs);
  scale_members(d, w.cones, dir.vs, quadcone_over);
}

} // namespace

newton_code hom_factor(const hom_data& d, const hom_point& p, double rho, double delta, newton& w) {
  put_diagonal(d, p, rho, delta, w);
  newton_code code = newton_factor(w);
  if (code != newton_code::ok) return code;
  put_fixed(d, p, w);
  code = newton_fixed(w);
  w.pivot = tau_pivot(d, p, w);
  return code == newton_code::ok && !std::isfinite(w.pivot) ? newton_code::inaccurate : code;
}

newton_code hom_search(const hom_data& d, const hom_point& p, const hom_residual& r, const hom_aim& aim, newton& w,
                       hom_point& dir) noexcept {
  for (int32_t j = 0; j < d.n; j++) dir.x[j] = aim.feas * r.rd[j] + (j < d.npos ? aim.xs[j] / p.x[j] : 0.0);
  for (int32_t k = 0; k < d.nup; k++) dir.x[d.up0() + k] -= (aim.xsup[k] + p.sup[k] * aim.feas * r.ru[k]) / p.xup[k];
  begin_members(d, p, aim, w.cones, dir);
  for (int32_t i = 0; i < d.m; i++) dir.y[i] = -aim.feas * r.rp[i];
  const newton_code code = newton_block(w, dir.x, dir.y);
  if (code == newton_code::stopped || code == newton_code::failed) return code;
  double t = aim.tk / p.tau - aim.feas * r.rg;
  for (int32_t j = 0; j < d.n; j++) t += d.c[j] * dir.x[j];
  for (int32_t j = 0; d.q.any() && j < d.n; j++) t += 2 * (r.qx[j] / p.tau) * dir.x[j];
  for (int32_t i = 0; i < d.m; i++) t -= d.b[i] * dir.y[i];
  // sup as it is without tau: its terms alone would cancel with those of c2.
  for (int32_t k = 0; k < d.nup; k++)
    t += d.u[k] * (aim.xsup[k] + p.sup[k] * (aim.feas * r.ru[k] + dir.x[d.up0() + k])) / p.xup[k];
  t /= w.pivot;
  for (int32_t k = 0; k < d.nup; k++) {
    const int32_t j = d.up0() + k;
    const ranged_share share = share_of(d, p, w, k);
    dir.xup[k] = (share.xup - w.px[j]) * t - aim.feas * r.ru[k] - dir.x[j];
    dir.sup[k] = (aim.xsup[k] - p.sup[k] * dir.xup[k]) / p.xup[k];
    dir.x[j] += share.x * t;
  }
  newton_addtau(w, t, dir.x, dir.y);
  dir.tau = t;
  dir.kappa = (aim.tk - p.kappa * t) / p.tau;
  for (int32_t j = 0; j < d.npos; j++) dir.s[j] = (aim.xs[j] - p.s[j] * dir.x[j]) / p.x[j];
  end_members(d, r, aim.feas, w, dir);
  return std::isfinite(t) ? code : newton_code::failed;
}

} // namespace tvn
