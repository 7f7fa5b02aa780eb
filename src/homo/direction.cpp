// See direction.h.
#include "homo/direction.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

newton_code code_of(kktfac_code code) noexcept {
  switch (code) {
  case kktfac_code::ok: return newton_code::ok;
  case kktfac_code::stopped: return newton_code::stopped;
  case kktfac_code::space:
  case kktfac_code::failed: break;
  }
  return newton_code::failed;
}

newton_code solve_once(newton& w, double* x, double* y) noexcept {
  const auto target = w.proximal ? kkt_target::regularised : kkt_target::exact;
  const newton_code code = code_of(TVN_kktfac_solve(w.k, target, 1, x, y));
  if (code != newton_code::ok) return code;
  return w.k.info.residual <= w.trusted ? newton_code::ok : newton_code::inaccurate;
}

// What is left of the row of tau once x and y are eliminated: a sum of squares but for c2 - c1, in long double since
// on ranged columns large terms of the corner cancel.
double tau_pivot(const newton& w) noexcept {
  long double sum = w.corner;
  for (int32_t j = 0; j < w.n; j++) {
    const double h = w.h[j] + (w.proximal ? w.rp[j] : 0.0);
    sum += static_cast<long double>(w.px[j]) * (static_cast<long double>(h) * w.px[j] - (w.c2[j] - w.c1[j]));
  }
  for (int32_t i = 0; w.proximal && i < w.m; i++) sum += static_cast<long double>(w.rd[i]) * w.py[i] * w.py[i];
  return static_cast<double>(sum);
}

} // namespace

void newton_make(sysenv& sys, int32_t m, int32_t n, const kktfac_params& params, newton& w) {
  w.m = m;
  w.n = n;
  for (buffer<double>* v : {&w.h, &w.rp, &w.c1, &w.c2, &w.px, &w.keepx}) v->reset(sys, n, 0.0);
  for (buffer<double>* v : {&w.rd, &w.py, &w.keepy}) v->reset(sys, m, 0.0);
  TVN_kktfac_make(sys, m, n, params, w.k);
}

newton_code newton_analyse(newton& w, const kkt_columns& a) { return code_of(TVN_kktfac_autosetup(w.k, a, {})); }

newton_code newton_factor(newton& w) {
  kktfac_numbers numbers;
  numbers.h = w.h.data();
  numbers.rp = w.rp.data();
  numbers.rd = w.rd.data();
  w.worst = 0;
  return code_of(TVN_kktfac_numfac(w.k, numbers));
}

newton_code newton_block(newton& w, double* x, double* y) noexcept {
  std::copy_n(x, w.n, w.keepx.data());
  std::copy_n(y, w.m, w.keepy.data());
  newton_code code = solve_once(w, x, y);
  if (code == newton_code::inaccurate && !w.proximal) {
    std::copy_n(w.keepx.data(), w.n, x);
    std::copy_n(w.keepy.data(), w.m, y);
    w.proximal = true;
    code = solve_once(w, x, y);
  }
  w.worst = std::max(w.worst, w.k.info.residual);
  for (int32_t i = 0; i < w.m; i++) y[i] = -y[i];
  return code;
}

newton_code newton_fixed(newton& w) noexcept {
  for (int32_t j = 0; j < w.n; j++) w.px[j] = -w.c1[j];
  std::copy_n(w.b, w.m, w.py.data());
  const newton_code code = newton_block(w, w.px.data(), w.py.data());
  w.pivot = tau_pivot(w);
  if (code == newton_code::ok && !(w.pivot > 0 && std::isfinite(w.pivot))) return newton_code::inaccurate;
  return code;
}

newton_code newton_solve(newton& w, double* x, double* y, double& t) noexcept {
  const newton_code code = newton_block(w, x, y);
  if (code == newton_code::stopped || code == newton_code::failed) return code;
  long double sum = t;
  for (int32_t j = 0; j < w.n; j++) sum += static_cast<long double>(w.c2[j]) * x[j];
  for (int32_t i = 0; i < w.m; i++) sum -= static_cast<long double>(w.b[i]) * y[i];
  t = static_cast<double>(sum) / w.pivot;
  for (int32_t j = 0; j < w.n; j++) x[j] += w.px[j] * t;
  for (int32_t i = 0; i < w.m; i++) y[i] += w.py[i] * t;
  return std::isfinite(t) ? code : newton_code::failed;
}

} // namespace tvn
