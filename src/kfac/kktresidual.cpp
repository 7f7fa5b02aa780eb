// Residuals of the whole system. See kktint.h.
#include "kfac/kktint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// The matrix wanted.
struct target_system {
  const kktfac& k;
  const double *h, *d;
};

// T: how it is summed.
template <class T> kkt_residual residual_of(const target_system& s, const double* rhs, const double* v, T* r) noexcept {
  const kktfac& k = s.k;
  const int32_t n = k.numcol, m = k.numrow;
  const double* const y = v + n;
  kkt_residual found;
  double* const term = found.term;
  double worst[2] = {0, 0};
  const auto see = [](double& most, double value) {
    value = std::fabs(value);
    most = value > most ? value : most;
  };
  for (int32_t i = 0; i < m; i++) {
    const T t = static_cast<T>(s.d[i]) * y[i];
    see(term[1], static_cast<double>(t));
    see(term[1], rhs ? rhs[n + i] : 0.0);
    r[n + i] = (rhs ? rhs[n + i] : 0.0) + t;
  }
  for (int32_t j = 0; j < n; j++) {
    if (k.invh[j] == 0) {
      r[j] = 0;
      continue;
    }
    const T t = static_cast<T>(s.h[j]) * v[j];
    see(term[0], rhs ? rhs[j] : 0.0);
    see(term[0], static_cast<double>(t));
    T sum = (rhs ? rhs[j] : 0.0) - t;
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) {
      const int32_t i = k.a.sub[p];
      const T down = static_cast<T>(k.a.val[p]) * y[i], across = static_cast<T>(k.a.val[p]) * v[j];
      sum -= down;
      r[n + i] -= across;
      see(term[0], static_cast<double>(down));
      see(term[1], static_cast<double>(across));
    }
    r[j] = sum;
  }
  for (int32_t j = 0; k.q.beg && j < n; j++)
    for (int64_t p = k.q.beg[j]; p < k.q.end[j]; p++) {
      const int32_t i = k.q.sub[p];
      if (i == j || k.invh[i] == 0 || k.invh[j] == 0) continue;
      r[i] -= static_cast<T>(k.hoff[p]) * v[j];
      r[j] -= static_cast<T>(k.hoff[p]) * v[i];
    }
  for (int32_t c = 0; c < k.numlow; c++) {
    const double* const low = k.low.data() + int64_t{c} * n;
    T sum = 0;
    for (int32_t j = 0; j < n; j++) sum += static_cast<T>(low[j]) * v[j];
    for (int32_t j = 0; j < n; j++) {
      const T t = k.sigma[c] * sum * low[j];
      see(term[0], static_cast<double>(t));
      r[j] -= t;
    }
  }
  for (int32_t i = 0; i < n + m; i++) {
    const double value = std::fabs(static_cast<double>(r[i]));
    if (!(value <= worst[i >= n])) worst[i >= n] = value; // a NaN stays
  }
  const auto ratio = [&](int part) { return worst[part] == 0 ? 0.0 : worst[part] / term[part]; };
  const double first = ratio(0), second = ratio(1);
  found.worst = first >= second || std::isnan(first) ? first : second;
  return found;
}

} // namespace

kkt_residual kktfac_residual(kktfac& k, kkt_target target, const double* rhs, const double* v, double* to) noexcept {
  const bool exact = target == kkt_target::exact;
  const target_system s{k, exact ? k.h.data() : k.hfac.data(), exact ? k.d.data() : k.dfac.data()};
  if (!k.params.useprecision) return residual_of(s, rhs, v, to);
  const kkt_residual found = residual_of(s, rhs, v, k.work.residual.data());
  for (int64_t i = 0; i < k.work.residual.size(); i++) to[i] = static_cast<double>(k.work.residual[i]);
  return found;
}

} // namespace tvn
