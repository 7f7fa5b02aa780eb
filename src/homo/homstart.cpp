// Starting points.
//
// CONSTANT: psafe and dsafe everywhere. SATISFY_BOUNDS: the same, but halfway where bounds are too close for it. GUESS:
// least squares of both sides, shifted into the orthant (Mehrotra 1992).
// FREE: GUESS, unless CONSTANT has less of infeasibilities times gap, as with forplan (19 iterations against 30).
#include "homo/homint.h"
#include "homo/quadcone.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

void start_constant(const hom_data& d, const hs_param& param, hom_point& p) noexcept {
  std::fill(p.all.begin(), p.all.end(), 0.0);
  std::fill_n(p.x, d.npos, param.psafe);
  std::fill_n(p.s, d.npos, param.dsafe);
  d.each_cone([&](int32_t, int32_t j, int32_t) {
    p.x[j] = param.psafe;
    p.s[j] = param.dsafe;
  });
  std::fill_n(p.xup, d.nup, param.psafe);
  std::fill_n(p.sup, d.nup, param.dsafe);
  p.tau = p.kappa = 1;
}

void satisfy_bounds(const hom_data& d, hom_point& p) noexcept {
  constexpr double least_room = 1e-6;
  for (int32_t k = 0; k < d.nup; k++) {
    double& x = p.x[d.up0() + k];
    x = std::min(x, std::max(d.u[k] / 2, least_room));
    p.xup[k] = std::max(d.u[k] - x, least_room);
  }
}

// Both halves of a side: values of the columns and of their upper bounds.
struct side {
  double *v, *up;
};

double least_of(const hom_data& d, side a) noexcept {
  double least = HUGE_VAL;
  for (int32_t j = 0; j < d.npos; j++) least = std::min(least, a.v[j]);
  for (int32_t k = 0; k < d.nup; k++) least = std::min(least, a.up[k]);
  d.each_cone([&](int32_t, int32_t j, int32_t size) { least = std::min(least, quadcone_least(a.v + j, size)); });
  return least;
}

double sum_of(const hom_data& d, side a) noexcept {
  double sum = 0;
  for (int32_t j = 0; j < d.npos; j++) sum += a.v[j];
  for (int32_t k = 0; k < d.nup; k++) sum += a.up[k];
  d.each_cone([&](int32_t, int32_t j, int32_t) { sum += a.v[j]; });
  return sum;
}

void shift(const hom_data& d, side a, double by) noexcept {
  for (int32_t j = 0; j < d.npos; j++) a.v[j] += by;
  for (int32_t k = 0; k < d.nup; k++) a.up[k] += by;
  d.each_cone([&](int32_t, int32_t j, int32_t) { a.v[j] += by; });
}

double product(const hom_data& d, const hom_point& p) noexcept {
  double sum = 0;
  for (int32_t j = 0; j < d.npos; j++) sum += p.x[j] * p.s[j];
  for (int32_t k = 0; k < d.nup; k++) sum += p.xup[k] * p.sup[k];
  d.each_cone([&](int32_t, int32_t j, int32_t size) { sum += quadcone_dot(p.x + j, p.s + j, size); });
  return sum;
}

void push_inside(const hom_data& d, const hs_param& param, hom_point& p) noexcept {
  constexpr double least_safe = 1e-3;
  const side x = {p.x, p.xup}, s = {p.s, p.sup};
  shift(d, x, std::max(-1.5 * least_of(d, x), 0.0));
  shift(d, s, std::max(-1.5 * least_of(d, s), 0.0));
  const double xs = product(d, p), sx = sum_of(d, x), ss = sum_of(d, s);
  shift(d, x, std::max(ss > 0 ? 0.5 * xs / ss : 0.0, least_safe * param.psafe));
  shift(d, s, std::max(sx > 0 ? 0.5 * xs / sx : 0.0, least_safe * param.dsafe));
}

// The cones are not scaled yet. min |x|^2 + |xup|^2 on the equations of x, and min |s|^2 + |sup|^2 on those of the
// duals.
newton_code start_guess(const hom_data& d, const hs_param& param, newton& w, hom_point& p) {
  constexpr double delta = 1e-10, free_rho = 1e-4;
  std::fill(w.h.begin(), w.h.end(), 0.0);
  std::fill_n(w.h.data(), d.npos, 1.0);
  std::fill(w.rp.begin(), w.rp.end(), 0.0);
  std::fill_n(w.rp.data() + d.npos, d.cone0() - d.npos, free_rho);
  std::fill_n(w.rd.data(), d.m, delta);
  cone_system_put(w.cones, w.h.data());
  for (int32_t k = 0; k < d.nup; k++) w.h[d.up0() + k] = 2;
  for (int32_t j = 0; d.q.any() && j < d.n; j++) w.h[j] += d.q.diag[j];
  newton_code code = newton_factor(w);
  if (code != newton_code::ok) return code;
  std::fill(p.all.begin(), p.all.end(), 0.0);
  for (int32_t k = 0; k < d.nup; k++) p.x[d.up0() + k] = d.u[k];
  std::copy_n(d.b.data(), d.m, p.y);
  code = newton_block(w, p.x, p.y);
  if (code == newton_code::failed || code == newton_code::stopped) return code;
  if (d.q.any())
    d.q.multiply(p.x, p.s);
  else
    std::fill_n(p.s, d.n, 0.0);
  for (int32_t j = 0; j < d.n; j++) p.s[j] += d.c[j];
  std::fill_n(p.y, d.m, 0.0);
  code = newton_block(w, p.s, p.y);
  if (code == newton_code::failed || code == newton_code::stopped) return code;
  for (int32_t i = 0; i < d.m; i++) p.y[i] = -p.y[i];
  for (int32_t k = 0; k < d.nup; k++) {
    p.xup[k] = d.u[k] - p.x[d.up0() + k];
    p.sup[k] = -p.s[d.up0() + k];
  }
  std::fill_n(p.s + d.npos, d.cone0() - d.npos, 0.0);
  push_inside(d, param, p);
  p.tau = 1;
  p.kappa = product(d, p) / static_cast<double>(d.numpairs() - 1);
  if (!(p.kappa > 0)) p.kappa = 1;
  return newton_code::ok;
}

// Of the three that have to vanish, each relative to the other point's.
double merit(const hom_data& d, const hom_point& p, hom_residual& r) noexcept {
  constexpr double least = 1e-8;
  hom_figures f;
  hom_measure(d, p, r, f);
  return (f.pfeas + least) * (f.dfeas + least) * (f.gap + least);
}

} // namespace

newton_code hom_start(const hom_data& d, const hs_param& param, newton& w, hom_residual& r, hom_point& other,
                      hom_point& p) {
  start_constant(d, param, p);
  if (param.start == hs_startpoint::satisfy_bounds) satisfy_bounds(d, p);
  if (param.start == hs_startpoint::constant || param.start == hs_startpoint::satisfy_bounds) return newton_code::ok;
  other.copy(p);
  const newton_code code = start_guess(d, param, w, p);
  if (code == newton_code::stopped) return code;
  const bool constant = param.start == hs_startpoint::free && merit(d, other, r) < merit(d, p, r);
  if (code != newton_code::ok || constant) p.copy(other);
  return newton_code::ok;
}

} // namespace tvn
