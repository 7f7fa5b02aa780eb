// The Newton step of the linear model: s, sup, xup and kappa eliminated, then found again.
//
// With hup = sup / xup: H = s / x + hup, c1 = c - hup u, c2 = c + hup u, g = kappa / tau + u' hup u.
#include "homo/homint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

newton_code hom_factor(const hom_data& d, const hom_point& p, double rho, double delta, newton& w) {
  constexpr double free_rho = 1e-8; // of columns without H
  double corner = p.kappa / p.tau;
  for (int32_t j = 0; j < d.n; j++) {
    w.h[j] = j < d.npos ? p.s[j] / p.x[j] : 0.0;
    w.rp[j] = j < d.npos ? rho : std::max(rho, free_rho);
    w.c1[j] = w.c2[j] = d.c[j];
  }
  for (int32_t k = 0; k < d.nup; k++) {
    const double hup = p.sup[k] / p.xup[k];
    const int32_t j = d.up0() + k;
    w.h[j] += hup;
    w.c1[j] -= hup * d.u[k];
    w.c2[j] += hup * d.u[k];
    corner += d.u[k] * hup * d.u[k];
  }
  std::fill(w.rd.begin(), w.rd.end(), delta);
  w.corner = corner;
  w.b = d.b.data();
  const newton_code code = newton_factor(w);
  return code == newton_code::ok ? newton_fixed(w) : code;
}

newton_code hom_search(const hom_data& d, const hom_point& p, const hom_residual& r, const hom_aim& aim, newton& w,
                       hom_point& dir) noexcept {
  for (int32_t j = 0; j < d.n; j++) dir.x[j] = aim.feas * r.rd[j] + (j < d.npos ? aim.xs[j] / p.x[j] : 0.0);
  for (int32_t i = 0; i < d.m; i++) dir.y[i] = -aim.feas * r.rp[i];
  double t = -aim.feas * r.rg + aim.tk / p.tau;
  for (int32_t k = 0; k < d.nup; k++) {
    const double up = (aim.xsup[k] + p.sup[k] * aim.feas * r.ru[k]) / p.xup[k];
    dir.x[d.up0() + k] -= up;
    t += d.u[k] * up;
  }
  const newton_code code = newton_solve(w, dir.x, dir.y, t);
  if (code == newton_code::stopped || code == newton_code::failed) return code;
  dir.tau = t;
  dir.kappa = (aim.tk - p.kappa * t) / p.tau;
  for (int32_t j = 0; j < d.npos; j++) dir.s[j] = (aim.xs[j] - p.s[j] * dir.x[j]) / p.x[j];
  for (int32_t k = 0; k < d.nup; k++) {
    dir.xup[k] = d.u[k] * t - aim.feas * r.ru[k] - dir.x[d.up0() + k];
    dir.sup[k] = (aim.xsup[k] - p.sup[k] * dir.xup[k]) / p.xup[k];
  }
  return code;
}

} // namespace tvn
