// The direction of an iteration: predictor, corrector, further correctors.
//
// The corrector is solved for by itself and added with the weight that allows the longest step (Colombo and Gondzio
// 2008): where second order terms of a short predictor are wild, a part of them helps. Further ones push products that
// would lie far from the mean after a longer step back towards it (Gondzio 1996), and are kept while the step grows.
#include "homo/homint.h"
#include "homo/quadcone.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double centweight = 0.1, most_gamma = 0.5, least_gamma = 1e-14;
constexpr double low_pair = 0.1, high_pair = 10; // of the products aimed at
constexpr double longer = 1.5, more = 0.3;       // what a further corrector aims at
constexpr double least_gain = 0.02;              // of the gain aimed at
constexpr double least_weight = 0.5;

// At most 0.5: more, after a bad predictor, makes the next one no better.
double centring(double a) noexcept {
  return std::clamp((1 - a) * (1 - a) * std::max(centweight, 1 - a), least_gamma, most_gamma);
}

void aim_affine(const hom_data& d, const hom_point& p, hom_aim& aim) noexcept {
  aim.feas = 1;
  for (int32_t j = 0; j < d.npos; j++) aim.xs[j] = -p.x[j] * p.s[j];
  for (int32_t k = 0; k < d.nup; k++) aim.xsup[k] = -p.xup[k] * p.sup[k];
  d.each_cone([&](int32_t v, int32_t, int32_t size) {
    double* const to = aim.cone.data() + v;
    quadcone_product(p.vx + v, p.vs + v, size, to);
    for (int32_t i = 0; i < size; i++) to[i] = -to[i];
  });
  aim.tk = -p.tau * p.kappa;
}

// What the corrector adds: centring, and the second order terms of the predictor. The residuals stay aimed at 0, not at
// gamma times themselves: they should not lag behind mu.
void aim_corrector(const hom_data& d, const hom_point& dir, double gamma, double mu, double second,
                   hom_aim& aim) noexcept {
  aim.feas = 0;
  for (int32_t j = 0; j < d.npos; j++) aim.xs[j] = gamma * mu - second * dir.x[j] * dir.s[j];
  for (int32_t k = 0; k < d.nup; k++) aim.xsup[k] = gamma * mu - second * dir.xup[k] * dir.sup[k];
  d.each_cone([&](int32_t v, int32_t, int32_t size) {
    double* const to = aim.cone.data() + v;
    quadcone_product(dir.vx + v, dir.vs + v, size, to);
    for (int32_t i = 0; i < size; i++) to[i] *= -second;
    to[0] += gamma * mu;
  });
  aim.tk = gamma * mu - second * dir.tau * dir.kappa;
}

// Products after steps a, brought back between low_pair and high_pair times the target. work: its vx and vs are.
void aim_central(const hom_data& d, const hom_point& p, const hom_point& dir, hom_steps a, double target, hom_aim& aim,
                 hom_point& work) noexcept {
  const double low = low_pair * target, high = high_pair * target;
  const auto back = [&](double v, double s) {
    const double product = v * s;
    return product < low ? low - product : product > high ? std::max(high - product, -high) : 0.0;
  };
  aim.feas = 0;
  for (int32_t j = 0; j < d.npos; j++) aim.xs[j] = back(p.x[j] + a.p * dir.x[j], p.s[j] + a.d * dir.s[j]);
  for (int32_t k = 0; k < d.nup; k++) aim.xsup[k] = back(p.xup[k] + a.p * dir.xup[k], p.sup[k] + a.d * dir.sup[k]);
  for (int32_t i = 0; i < d.nummember(); i++) {
    work.vx[i] = p.vx[i] + a.p * dir.vx[i];
    work.vs[i] = p.vs[i] + a.d * dir.vs[i];
  }
  d.each_cone([&](int32_t v, int32_t, int32_t size) {
    quadcone_back(work.vx + v, work.vs + v, low, high, size, aim.cone.data() + v);
  });
  const double least = a.least();
  aim.tk = back(p.tau + least * dir.tau, p.kappa + least * dir.kappa);
}

double worth(hom_steps a) noexcept { return a.p * a.d; }

struct weighing {
  double omega = 0;
  hom_steps a;
};

// The weight in [from, 1] of cor with the longest steps.
weighing choose_weight(const hom_data& d, const hom_point& p, const hom_move& v, double from) noexcept {
  weighing best;
  best.omega = 1;
  hom_maxsteps(d, p, v.dir, v.cor, {&best.omega, 1}, &best.a);
  if (best.a.least() >= 0.9) return best;
  double omega[hom_most_weights];
  hom_steps a[hom_most_weights];
  for (int32_t t = 0; t < hom_most_weights; t++) omega[t] = 1 - (1 - from) * (t + 1) / hom_most_weights;
  hom_maxsteps(d, p, v.dir, v.cor, {omega, hom_most_weights}, a);
  for (int32_t t = 0; t < hom_most_weights && best.a.least() < 0.9; t++)
    if (worth(a[t]) > worth(best.a)) best = {omega[t], a[t]};
  return best;
}

void take(const weighing& chosen, hom_move& v) noexcept {
  v.dir.add(chosen.omega, v.cor);
  v.a = chosen.a;
}

newton_code correct_centrality(const hom_data& d, const hom_point& p, const hom_residual& r, double target, newton& w,
                               hom_move& v, bool& gains) noexcept {
  const hom_steps aimed = {std::min(1.0, longer * v.a.p + more), std::min(1.0, longer * v.a.d + more)};
  aim_central(d, p, v.dir, aimed, target, v.aim, v.cor);
  const newton_code code = hom_search(d, p, r, v.aim, w, v.cor);
  if (code != newton_code::ok) return code;
  const weighing chosen = choose_weight(d, p, v, v.a.least());
  gains = chosen.a.p + chosen.a.d >= v.a.p + v.a.d + least_gain * (aimed.p + aimed.d - v.a.p - v.a.d);
  if (gains) take(chosen, v);
  return code;
}

} // namespace

void hom_move::make(sysenv& sys, const hom_data& d) {
  dir.make(sys, d);
  cor.make(sys, d);
  aim.xs.reset(sys, d.npos);
  aim.xsup.reset(sys, d.nup);
  aim.cone.reset(sys, d.nummember());
}

newton_code hom_choosemove(const hom_data& d, const hom_point& p, const hom_residual& r, const hom_figures& f,
                           int32_t maxcor, newton& w, hom_move& v) noexcept {
  v.numcor = 0;
  aim_affine(d, p, v.aim);
  newton_code code = hom_search(d, p, r, v.aim, w, v.dir);
  if (code != newton_code::ok) return code;
  v.affine = v.a = hom_maxsteps(d, p, v.dir);
  v.gamma = centring(v.affine.least());
  aim_corrector(d, v.dir, v.gamma, f.mu, 1, v.aim);
  code = hom_search(d, p, r, v.aim, w, v.cor);
  if (code != newton_code::ok) return code;
  take(choose_weight(d, p, v, std::min(v.affine.least(), least_weight)), v);
  for (bool gains = true; gains && code == newton_code::ok && v.numcor < maxcor && v.a.least() < 0.95;) {
    code = correct_centrality(d, p, r, v.gamma * f.mu, w, v, gains);
    if (gains) v.numcor++;
  }
  return code;
}

} // namespace tvn
