// Residuals and figures of a point.
#include "homo/homint.h"
#include "homo/quadcone.h"

#include <algorithm>
#include <cmath>

namespace tvn {

void hom_point::make(sysenv& sys, const hom_data& d) {
  all.reset(sys, 2 * (int64_t{d.n} + d.nup + d.nummember()) + d.m, 0.0);
  x = all.data();
  s = x + d.n;
  xup = s + d.n;
  sup = xup + d.nup;
  vx = sup + d.nup;
  vs = vx + d.nummember();
  y = vs + d.nummember();
}

void hom_point::copy(const hom_point& from) noexcept {
  std::copy(from.all.begin(), from.all.end(), all.begin());
  tau = from.tau;
  kappa = from.kappa;
}

void hom_point::add(double factor, const hom_point& d) noexcept {
  double* const to = all.data();
  const double* const from = d.all.data();
  for (int64_t k = 0; k < all.size(); k++) to[k] += factor * from[k];
  tau += factor * d.tau;
  kappa += factor * d.kappa;
}

namespace {

// A NaN stays.
void see(double& most, double v) noexcept {
  v = std::fabs(v);
  if (!(v <= most)) most = v;
}

// Of A'y at the members of a cone, one after the other: after the last one how far it lies from what -s may be.
struct cone_ray {
  int32_t k = 0;
  double head = 0, rest = 0;

  double member(const hom_data& d, int32_t j, double v) noexcept {
    if (j == d.conebeg[k]) {
      head = v;
      rest = 0;
    } else {
      rest += v * v;
    }
    if (j + 1 < d.conebeg[k + 1]) return 0;
    k++;
    return std::max(head + std::sqrt(rest), 0.0) * d.sunit[j];
  }
};

void measure_columns(const hom_data& d, const hom_point& p, hom_residual& r, hom_figures& f) noexcept {
  double cx = 0;
  cone_ray cones;
  if (d.q.any()) d.q.multiply(p.x, r.qx.data());
  for (int32_t j = 0; j < d.n; j++) {
    const int32_t k = j < d.npos ? j - d.up0() : -1;
    double sum = 0;
    const double xj = p.x[j];
    for (int64_t q = d.beg[j]; q < d.beg[j + 1]; q++) {
      sum += d.val[q] * p.y[d.sub[q]];
      r.rp[d.sub[q]] += d.val[q] * xj;
    }
    if (j >= d.cone0())
      see(f.rayy, cones.member(d, j, sum));
    else if (k >= 0)
      f.rayby -= d.u[k] * std::max(sum, 0.0);
    else
      see(f.rayy, (j < d.npos ? std::max(sum, 0.0) : sum) * d.sunit[j]);
    sum += p.s[j] - (k >= 0 ? p.sup[k] : 0.0);
    if (d.q.any()) {
      sum -= r.qx[j];
      f.xqx += p.x[j] * r.qx[j];
      see(f.rayq, r.qx[j] * d.sunit[j]);
    }
    r.rd[j] = sum - d.c[j] * p.tau;
    see(f.dfeas, r.rd[j] * d.sunit[j]);
    cx += d.c[j] * xj;
  }
  f.cx = cx;
}
void measure_rows(const hom_data& d, const hom_point& p, hom_residual& r, hom_figures& f) noexcept {
  double by = 0;
  for (int32_t i = 0; i < d.m; i++) {
    see(f.rayx, r.rp[i] * d.rowunit[i]);
    r.rp[i] -= d.b[i] * p.tau;
    see(f.pfeas, r.rp[i] * d.rowunit[i]);
    by += d.b[i] * p.y[i];
    f.rayby += d.b[i] * p.y[i];
  }
  for (int32_t k = 0; k < d.nup; k++) {
    const double sum = p.x[d.up0() + k] + p.xup[k], unit = d.xunit[d.up0() + k];
    see(f.rayx, sum * unit);
    r.ru[k] = sum - d.u[k] * p.tau;
    see(f.pfeas, r.ru[k] * unit);
    by -= d.u[k] * p.sup[k];
  }
  f.by = by;
}

void measure_pairs(const hom_data& d, const hom_point& p, hom_figures& f) noexcept {
  double sum = 0, least = p.tau * p.kappa;
  const auto pair = [&](double v) {
    sum += v;
    least = v < least ? v : least;
  };
  for (int32_t j = 0; j < d.npos; j++) pair(p.x[j] * p.s[j]);
  for (int32_t k = 0; k < d.nup; k++) pair(p.xup[k] * p.sup[k]);
  d.each_cone([&](int32_t, int32_t j, int32_t size) {
    const double both = quadcone_dot(p.x + j, p.s + j, size), det = quadcone_dets(p.x + j, p.s + j, size);
    sum += both;
    const double low = det / (both + std::sqrt(std::max(both * both - det, 0.0))); // least eigenvalue of W x o W^-1 s
    least = low < least ? low : least;
  });
  f.comp = sum;
  f.mu = (sum + p.tau * p.kappa) / static_cast<double>(d.numpairs());
  f.minpair = least;
}

} // namespace

bool hom_inside(const hom_data& d, const hom_point& p) noexcept {
  bool inside = true;
  d.each_cone([&](int32_t, int32_t j, int32_t size) {
    inside = inside && quadcone_least(p.x + j, size) > 0 && quadcone_least(p.s + j, size) > 0;
  });
  return inside;
}

bool hom_scalecones(const hom_data& d, cone_system& c, hom_point& p) noexcept {
  for (int32_t k = 0; k < d.numcone; k++) {
    const int32_t j = d.conebeg[k], v = j - d.cone0(), size = c.size(k);
    if (!quadcone_scale(p.x + j, p.s + j, size, c.theta[k], c.scaling(k), p.vx + v)) return false;
  }
  std::copy_n(p.vx, d.nummember(), p.vs);
  return true;
}

void hom_measure(const hom_data& d, const hom_point& p, hom_residual& r, hom_figures& f) noexcept {
  f = {};
  std::fill(r.rp.begin(), r.rp.end(), 0.0);
  measure_columns(d, p, r, f);
  measure_rows(d, p, r, f);
  measure_pairs(d, p, f);
  r.rg = f.by - f.cx - p.kappa - f.xqx / p.tau;
  f.pfeas /= p.tau;
  f.dfeas /= p.tau;
  f.kaptau = p.kappa / p.tau * d.objunit;
  f.pobj = (f.cx / p.tau + f.xqx / p.tau / p.tau / 2) * d.objunit;
  f.dobj = (f.by / p.tau - f.xqx / p.tau / p.tau / 2) * d.objunit;
  const double size = 1 + std::min(std::fabs(f.pobj), std::fabs(f.dobj));
  f.gap = std::max(std::fabs(f.pobj - f.dobj), f.comp / p.tau / p.tau * d.objunit) / size;
}

} // namespace tvn
