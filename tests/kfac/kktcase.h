// Systems of an interior-point method.
#pragma once

#include "densecase.h"
#include "kfac/kktfac.h"

namespace tvntest {

struct kkt_case {
  int32_t m = 0, n = 0;
  std::vector<int64_t> beg{0}, qbeg;
  std::vector<int32_t> sub, qsub;
  std::vector<double> val, hoff, h, d, low, sigma;

  tvn::kkt_columns a() const { return {m, n, beg.data(), beg.data() + 1, sub.data(), val.data()}; }
  tvn::kkt_quadratic q() const {
    return qbeg.empty() ? tvn::kkt_quadratic{} : tvn::kkt_quadratic{qbeg.data(), qbeg.data() + 1, qsub.data()};
  }
  tvn::kktfac_numbers numbers() const {
    tvn::kktfac_numbers x;
    x.h = h.data();
    x.d = d.data();
    x.hoff = hoff.data();
    x.numlow = static_cast<int32_t>(sigma.size());
    x.low = low.data();
    x.sigma = sigma.data();
    return x;
  }
  void put(int32_t i, double v) {
    sub.push_back(i);
    val.push_back(v);
  }
  void end_column(double hj) {
    beg.push_back(static_cast<int64_t>(sub.size()));
    h.push_back(hj);
    n++;
  }
};

inline dense matrix_of(const kkt_case& c) {
  const auto n = static_cast<size_t>(c.n), all = n + static_cast<size_t>(c.m);
  dense k(all, std::vector<long double>(all, 0.0L));
  const auto put = [&](size_t i, size_t j, double v) { k[i][j] = k[j][i] = k[i][j] + static_cast<long double>(v); };
  for (size_t j = 0; j < n; j++) {
    put(j, j, c.h[j]);
    for (auto p = static_cast<size_t>(c.beg[j]); p < static_cast<size_t>(c.beg[j + 1]); p++)
      put(n + static_cast<size_t>(c.sub[p]), j, c.val[p]);
    if (c.qbeg.empty()) continue;
    for (auto p = static_cast<size_t>(c.qbeg[j]); p < static_cast<size_t>(c.qbeg[j + 1]); p++)
      put(static_cast<size_t>(c.qsub[p]), j, c.hoff[p]);
  }
  for (size_t q = 0; q < c.sigma.size(); q++)
    for (size_t i = 0; i < n; i++)
      for (size_t j = 0; j < n; j++)
        k[i][j] += static_cast<long double>(c.sigma[q]) * c.low[q * n + i] * c.low[q * n + j];
  for (size_t i = n; i < all; i++) k[i][i] -= static_cast<long double>(c.d[i - n]);
  return k;
}

} // namespace tvntest
