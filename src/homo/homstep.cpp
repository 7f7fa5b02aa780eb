// Step lengths.
#include "homo/homint.h"
#include "homo/quadcone.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tvn {

namespace {

// Largest a <= 1 with v + a (d + omega e) >= 0, as the largest -d/v: one division a pair.
struct blocker {
  double worst = 1; // largest decrease relative to the value; step 1 / worst
  void see(double v, double d) noexcept { raise(-d / v); }
  void raise(double r) noexcept { worst = r > worst ? r : worst; }
};

// The same for some weights at a time.
struct blockers {
  array_view<const double> omega;
  double low, high; // of them
  std::array<blocker, hom_most_weights> b;

  explicit blockers(array_view<const double> o)
      : omega(o), low(*std::min_element(o.begin(), o.end())), high(*std::max_element(o.begin(), o.end())) {}
  void see(double v, double d, double e) noexcept {
    for (int64_t t = 0; t < omega.size(); t++) b[t].see(v, d + omega[t] * e);
  }
  double least() const noexcept {
    double worst = b[0].worst;
    for (int64_t t = 1; t < omega.size(); t++) worst = std::min(worst, b[t].worst);
    return worst;
  }
  // Few pairs block: a product tells of the others that they do not, whatever the weight, at a fifth of what a division
  // costs.
  void see(int64_t num, const double* v, const double* d, const double* e) noexcept {
    constexpr double sure = 1 - 1e-15; // whatever the product and the quotient are rounded to
    constexpr int64_t some = 16;
    for (int64_t from = 0; from < num; from += some) {
      const int64_t end = std::min(num, from + some);
      const double bar = sure * least();
      int32_t any = 0;
      for (int64_t k = from; k < end; k++)
        any |= static_cast<int32_t>(-(d[k] + low * e[k]) > bar * v[k]) |
               static_cast<int32_t>(-(d[k] + high * e[k]) > bar * v[k]);
      for (int64_t k = from; any && k < end; k++) see(v[k], d[k], e[k]);
    }
  }
};

} // namespace

void hom_maxsteps(const hom_data& d, const hom_point& p, const hom_point& dir, const hom_point& e,
                  array_view<const double> omega, hom_steps* a) noexcept {
  blockers x(omega);
  x.see(p.tau, dir.tau, e.tau);
  x.see(p.kappa, dir.kappa, e.kappa);
  blockers s = x;
  x.see(d.npos, p.x, dir.x, e.x);
  x.see(d.nup, p.xup, dir.xup, e.xup);
  s.see(d.npos, p.s, dir.s, e.s);
  s.see(d.nup, p.sup, dir.sup, e.sup);
  for (int64_t t = 0; t < omega.size(); t++) {
    d.each_cone([&](int32_t v, int32_t, int32_t size) {
      x.b[t].raise(quadcone_decrease(p.vx + v, dir.vx + v, e.vx + v, omega[t], size));
      s.b[t].raise(quadcone_decrease(p.vs + v, dir.vs + v, e.vs + v, omega[t], size));
    });
    if (d.onestep()) x.b[t].worst = s.b[t].worst = std::max(x.b[t].worst, s.b[t].worst);
    a[t] = {1 / x.b[t].worst, 1 / s.b[t].worst};
  }
}

hom_steps hom_maxsteps(const hom_data& d, const hom_point& p, const hom_point& dir) noexcept {
  const double none = 0;
  hom_steps a;
  hom_maxsteps(d, p, dir, dir, {&none, 1}, &a);
  return a;
}

namespace {

// Of the pairs that would block: a step that leaves the first one product of `target`, as a share of the largest.
struct share_finder {
  double a_own, a_other, target;
  double least = 1;
  // v blocks with a_own; its partner moves with a_other.
  void see(int64_t num, const double* v, const double* dv, const double* s, const double* ds) noexcept {
    for (int64_t k = 0; k < num; k++) {
      if (!(v[k] + a_own * dv[k] <= 1e-9 * v[k])) continue;
      const double partner = s[k] + a_other * ds[k];
      const double f = (v[k] - target / partner) / (-a_own * dv[k]);
      least = f < least ? f : least;
    }
  }
  // The eigenvalue that vanishes at l + a d is such a v, and its partner that of the same eigenvector in m + a e.
  void see_cone(int32_t num, const double* l, const double* dl, const double* m, const double* dm) noexcept {
    long double square = 0;
    double fall = 0, partner = 0;
    for (int32_t i = 1; i < num; i++) {
      const double v = l[i] + a_own * dl[i];
      square += static_cast<long double>(v) * v;
      fall += v * dl[i];
      partner += v * (m[i] + a_other * dm[i]);
    }
    const auto rest = static_cast<double>(std::sqrt(square));
    if (!(l[0] + a_own * dl[0] - rest <= 1e-9 * l[0])) return;
    fall = (rest > 0 ? fall / rest : 0) - dl[0];
    partner = m[0] + a_other * dm[0] - (rest > 0 ? partner / rest : 0);
    const double f = 1 - target / partner / (a_own * fall);
    least = f < least ? f : least;
  }
};

} // namespace

hom_steps hom_shorten(const hom_data& d, const hom_point& p, const hom_point& dir, hom_steps a, double most,
                      double gamma) noexcept {
  double sum = 0;
  for (int32_t j = 0; j < d.npos; j++) sum += (p.x[j] + a.p * dir.x[j]) * (p.s[j] + a.d * dir.s[j]);
  for (int32_t k = 0; k < d.nup; k++) sum += (p.xup[k] + a.p * dir.xup[k]) * (p.sup[k] + a.d * dir.sup[k]);
  for (int32_t i = 0; i < d.nummember(); i++) sum += (p.vx[i] + a.p * dir.vx[i]) * (p.vs[i] + a.d * dir.vs[i]);
  const double target = gamma * sum / static_cast<double>(d.numpairs());
  share_finder x{a.p, a.d, target}, s{a.d, a.p, target};
  x.see(d.npos, p.x, dir.x, p.s, dir.s);
  x.see(d.nup, p.xup, dir.xup, p.sup, dir.sup);
  s.see(d.npos, p.s, dir.s, p.x, dir.x);
  s.see(d.nup, p.sup, dir.sup, p.xup, dir.xup);
  d.each_cone([&](int32_t v, int32_t, int32_t size) {
    x.see_cone(size, p.vx + v, dir.vx + v, p.vs + v, dir.vs + v);
    s.see_cone(size, p.vs + v, dir.vs + v, p.vx + v, dir.vx + v);
  });
  if (d.onestep()) x.least = s.least = std::min(x.least, s.least);
  const auto frac = [&](double share) { return std::clamp(share, 1 - gamma, most); };
  return {a.p < 1 ? a.p * frac(x.least) : a.p, a.d < 1 ? a.d * frac(s.least) : a.d};
}

void hom_update(const hom_data& d, const hom_point& dir, hom_steps a, hom_point& p) noexcept {
  if (a.p == a.d) {
    p.add(a.p, dir);
    return;
  }
  const double taup = p.tau + a.p * dir.tau, taud = p.tau + a.d * dir.tau, tau = std::min(taup, taud);
  const double fp = tau / taup, fd = tau / taud;
  const auto move = [](int64_t num, double step, double factor, const double* by, double* v) {
    for (int64_t k = 0; k < num; k++) v[k] = factor * (v[k] + step * by[k]);
  };
  move(d.n, a.p, fp, dir.x, p.x);
  move(d.nup, a.p, fp, dir.xup, p.xup);
  move(d.n, a.d, fd, dir.s, p.s);
  move(d.nup, a.d, fd, dir.sup, p.sup);
  move(d.m, a.d, fd, dir.y, p.y);
  p.kappa = (p.kappa + a.least() * dir.kappa) * fp * fd;
  p.tau = tau;
}

} // namespace tvn
