// Small problems with a known optimal point and duals of moderate size, made hard for the digits: a proof of
// infeasibility or a ray is always wrong, so the judge needs no second solver.
//
// A point x and duals y are drawn, rows and bounds are set around x, costs to A'y plus reduced costs of the right sign.
#pragma once

#include "oracle.h"

namespace tvntest {

// Square and triangular, all variables free, all rows equations: x spans ten decades, y up to four, and the inverse of
// the matrix grows with its size. Odd seeds are a chain of growing numbers, even ones a dense triangle.
inline lp_case triangular_case(uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  const auto sign = [&] { return unit(rng) < 0.5 ? -1.0 : 1.0; };
  const int32_t n = 4 + static_cast<int32_t>(seed / 3 % 14);
  lp_case p;
  p.m = p.n = n;
  std::vector<double> x, y, act(size_t(n), 0.0);
  for (int32_t j = 0; j < n; j++) {
    const double along = 10.0 * j / n - 5;
    x.push_back(sign() * std::pow(10.0, seed % 3 == 0 ? -along : seed % 3 == 1 ? along : 10 * unit(rng) - 5));
    y.push_back(sign() * std::pow(10.0, static_cast<double>(seed % 5) * (unit(rng) - 0.5)));
  }
  const auto entry = [&](int32_t i, int32_t j) {
    if (seed % 2 != 0) return i == j ? 1.0 : i == j + 1 ? -(8 + 4 * unit(rng)) : 0.0;
    return i == j ? 0.1 * (1 + unit(rng)) : unit(rng) < 0.6 ? std::round(6 * unit(rng) - 3) : 0.0;
  };
  for (int32_t j = 0; j < n; j++) {
    p.beg.push_back(static_cast<int64_t>(p.sub.size()));
    double c = 0;
    for (int32_t i = j; i < n; i++) {
      const double a = entry(i, j);
      if (a == 0) continue;
      p.sub.push_back(i);
      p.val.push_back(a);
      act[size_t(i)] += a * x[size_t(j)];
      c += a * y[size_t(i)];
    }
    p.c.push_back(c);
    p.blx.push_back(-1e30);
    p.bux.push_back(1e30);
  }
  p.beg.push_back(static_cast<int64_t>(p.sub.size()));
  p.blc = p.buc = act;
  return p;
}

} // namespace tvntest
