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

} // namespace

void newton_make(sysenv& sys, int32_t m, int32_t n, const kktfac_params& params, newton& w) {
  w.m = m;
  w.n = n;
  const int32_t more = w.cones.numown;
  for (buffer<double>* v : {&w.h, &w.rp, &w.px}) v->reset(sys, n + more, 0.0);
  for (buffer<double>* v : {&w.rd, &w.py}) v->reset(sys, m + more, 0.0);
  if (w.cones.any()) {
    w.bx.reset(sys, n + more);
    w.by.reset(sys, m + more);
    w.vpx.reset(sys, n - w.cones.first);
  }
  TVN_kktfac_make(sys, m + more, n + more, params, w.k);
}

newton_code newton_analyse(newton& w, const kkt_columns& a, const kkt_quadratic& q) {
  return code_of(TVN_kktfac_autosetup(w.k, a, q));
}

newton_code newton_factor(newton& w) {
  kktfac_numbers numbers;
  numbers.h = w.h.data();
  numbers.rp = w.rp.data();
  numbers.rd = w.rd.data();
  numbers.hoff = w.hoff;
  w.worst = 0;
  return code_of(TVN_kktfac_numfac(w.k, numbers));
}

namespace {

newton_code solve_system(newton& w, double* x, double* y) noexcept {
  const auto target = w.proximal ? kkt_target::regularised : kkt_target::exact;
  const newton_code code = code_of(TVN_kktfac_solve(w.k, target, 1, x, y));
  if (code != newton_code::ok) return code;
  for (int32_t i = 0; i < w.m; i++) y[i] = -y[i];
  w.worst = std::max(w.worst, w.k.info.residual);
  return w.k.info.residual <= w.trusted ? newton_code::ok : newton_code::inaccurate;
}

} // namespace

newton_code newton_block(newton& w, double* x, double* y) noexcept {
  if (!w.cones.any()) return solve_system(w, x, y);
  const int32_t more = w.cones.numown;
  cone_system_over(w.cones, x);
  std::copy_n(x, w.n, w.bx.data());
  std::copy_n(y, w.m, w.by.data());
  std::fill_n(w.bx.data() + w.n, more, 0.0);
  std::fill_n(w.by.data() + w.m, more, 0.0);
  const newton_code code = solve_system(w, w.bx.data(), w.by.data());
  std::copy_n(w.bx.data(), w.n, x);
  std::copy_n(w.by.data(), w.m, y);
  cone_system_over(w.cones, x);
  return code;
}

newton_code newton_fixed(newton& w) noexcept {
  const newton_code code = newton_block(w, w.px.data(), w.py.data());
  if (w.cones.any()) newton_scaled(w, w.vpx.data());
  return code;
}

void newton_scaled(const newton& w, double* v) noexcept {
  std::copy_n(w.bx.data() + w.cones.first, w.cones.nummember(), v);
}

double newton_proximal(const newton& w) noexcept {
  if (!w.proximal) return 0;
  double sum = 0;
  const double* const x = w.cones.any() ? w.bx.data() : w.px.data(); // the fixed direction is the last solution
  for (int32_t j = 0; j < w.n; j++) sum += w.rp[j] * x[j] * x[j];
  for (int32_t i = 0; i < w.m; i++) sum += w.rd[i] * w.py[i] * w.py[i];
  return sum;
}

void newton_addtau(const newton& w, double t, double* x, double* y) noexcept {
  for (int32_t j = 0; j < w.n; j++) x[j] += w.px[j] * t;
  for (int32_t i = 0; i < w.m; i++) y[i] += w.py[i] * t;
}

} // namespace tvn
