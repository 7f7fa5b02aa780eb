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
    double c = 0;
    for (int32_t i = j; i < n; i++) {
      const double a = entry(i, j);
      p.put(i, a);
      act[size_t(i)] += a * x[size_t(j)];
      c += a * y[size_t(i)];
    }
    p.end_column(c, -1e30, 1e30);
  }
  p.blc = p.buc = act;
  return p;
}

// Up to 40 rows and 60 columns: free, fixed and one-sided ones, ranges of width 1e-9, copies of rows and columns, six
// decades of scales. veryfar: share of the bounds that do not bind and lie 1e9 to 1e20 away.
struct wide_draw {
  std::mt19937_64 rng;
  std::uniform_real_distribution<double> unit{0, 1};
  double free = 0, fixed = 0, narrow = 0, degenerate = 0, veryfar = 0; // shares

  double draw() { return unit(rng); }
  int pick(int num) { return static_cast<int>(rng() % static_cast<uint64_t>(num)); }
  double decades(double most) { return std::pow(10, most * (2 * draw() - 1)); }
  // Bounds around v, returns a reduced cost that fits them. Distances are of the size of `scale`.
  double bounds(double v, double scale, double& lo, double& up) {
    const double kind = draw(), width = 1e-9 * (1 + std::fabs(v));
    double far = scale * (1 + 5 * draw());
    if (veryfar > 0 && draw() < veryfar) far = std::pow(10, 9 + 11 * draw());
    lo = -1e30;
    up = 1e30;
    if (kind < free) return 0;
    const double size = draw() < degenerate ? 0 : draw();
    if (kind < free + fixed) {
      lo = up = v;
      return 2 * size - 1;
    }
    const bool isnarrow = kind < free + fixed + narrow;
    const int side = pick(isnarrow ? 2 : 3);
    if (side != 1) lo = side == 0 ? v : v - far;
    if (side != 0) up = side == 1 ? v : v + far;
    if (isnarrow) (side == 0 ? up : lo) = side == 0 ? v + width : v - width;
    if (!isnarrow && side != 2 && pick(2) == 0) (side == 0 ? up : lo) = side == 0 ? v + far : v - far;
    return side == 0 ? size : side == 1 ? -size : 0;
  }
};

inline lp_case wide_case(uint64_t seed, double veryfar = 0) {
  wide_draw w{std::mt19937_64(seed)};
  w.veryfar = veryfar;
  w.free = 0.3 * w.draw();
  w.fixed = 0.2 * w.draw();
  w.narrow = 0.3 * w.draw();
  w.degenerate = w.draw();
  lp_case p;
  p.m = 1 + w.pick(40);
  p.n = 1 + w.pick(60);
  const auto m = size_t(p.m), n = size_t(p.n);
  const double density = 0.1 + 0.5 * w.draw(), rowspread = w.pick(2) * 3 * w.draw(),
               colspread = w.pick(2) * 3 * w.draw();
  std::vector<double> r(m), s(n), x(n), y(m), act(m, 0.0), a(m * n, 0.0);
  for (double& v : r) v = w.decades(rowspread);
  for (double& v : s) v = w.decades(colspread);
  for (double& v : a)
    if (w.draw() < density) v = w.pick(2) ? w.pick(9) - 4 : 4 * w.draw() - 2;
  if (w.pick(2))
    for (size_t copies = 0; copies < 1 + m / 5; copies++) {
      const auto from = size_t(w.pick(p.m)), to = size_t(w.pick(p.m));
      const double by = w.pick(2) ? 1 : -2;
      for (size_t j = 0; j < n; j++) a[to * n + j] = by * a[from * n + j];
      const auto first = size_t(w.pick(p.n)), second = size_t(w.pick(p.n));
      for (size_t i = 0; i < m; i++) a[i * n + second] = a[i * n + first];
    }
  for (size_t j = 0; j < n; j++) x[j] = (w.pick(3) ? w.pick(11) - 5 : 10 * w.draw() - 5) / s[j];
  for (size_t i = 0; i < m; i++)
    for (size_t j = 0; j < n; j++) act[i] += (a[i * n + j] *= r[i] * s[j]) * x[j];
  for (auto* b : {&p.blc, &p.buc}) b->resize(m);
  for (auto* b : {&p.blx, &p.bux}) b->resize(n);
  for (size_t i = 0; i < m; i++) y[i] = w.bounds(act[i], 5 * r[i], p.blc[i], p.buc[i]) / r[i];
  for (size_t j = 0; j < n; j++) {
    double c = s[j] * w.bounds(x[j], 5 / s[j], p.blx[j], p.bux[j]);
    for (size_t i = 0; i < m; i++) {
      p.put(static_cast<int32_t>(i), a[i * n + j]);
      c += a[i * n + j] * y[i];
    }
    p.c.push_back(c);
    p.end_column();
  }
  return p;
}

} // namespace tvntest
