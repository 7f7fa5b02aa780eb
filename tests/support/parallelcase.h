// Boxed, feasible problems with rows or columns that are nearly parallel: copies with a little noise on each entry.
//
// Bounds of rows are drawn around a point that all rows allow, so a solution exists whatever the noise does. All
// columns and rows have two bounds, so any y at all gives a lower bound of the objective (weak duality): the judge
// needs no second solver, and holds where the vertices are too close for floating point to tell them apart.
#pragma once

#include "oracle.h"

namespace tvntest {

enum class copied { rows, columns };

struct parallel_family {
  copied what = copied::rows;
  double noise = 1e-8;  // relative, of each entry of a copy
  double share = 0.05;  // of the rows or columns that are copies
  bool without = false; // the same problem, the copies left out
  double spread = 0;    // decades by which rows and columns are scaled up or down
  double tight = 0.5;   // share of the rows with one side at the point
  int32_t m = 120, n = 160;
};

// Noise from 1e-6 to 1e-12: half of the copies are neither equal to their originals nor different, to the tolerances.
inline parallel_family random_family(uint64_t seed) {
  std::mt19937_64 rng(7919 * seed);
  std::uniform_real_distribution<double> unit(0, 1);
  parallel_family f;
  f.what = unit(rng) < 0.6 ? copied::rows : copied::columns;
  f.noise = std::pow(10.0, -6 - 6 * unit(rng));
  f.share = 0.02 + 0.48 * unit(rng);
  f.spread = unit(rng) < 0.5 ? 0 : 3 * unit(rng);
  f.tight = unit(rng) < 0.5 ? 0.5 : unit(rng);
  return f;
}

inline lp_case parallel_case(uint64_t seed, const parallel_family& f) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  const auto pick = [&](int32_t num) { return static_cast<int32_t>(rng() % static_cast<uint64_t>(num)); };
  const auto m = size_t(f.m), n = size_t(f.n);
  std::vector<double> dense(m * n);
  const auto at = [&](size_t i, size_t j) -> double& { return dense[i * n + j]; };
  for (size_t j = 0; j < n; j++)
    for (size_t i = 0; i < m; i++)
      if (unit(rng) < 0.08 || i == j % m) at(i, j) = 4 * unit(rng) - 2;
  const bool rows = f.what == copied::rows;
  const size_t lines = rows ? m : n, copies = std::max<size_t>(1, size_t(f.share * double(lines)));
  const size_t kept = lines - copies;
  for (size_t k = kept; k < lines; k++) {
    const auto from = size_t(pick(int32_t(kept)));
    const double by = unit(rng) < 0.5 ? 1 : -2;
    for (size_t e = 0; e < (rows ? n : m); e++) {
      const double v = rows ? at(from, e) : at(e, from);
      (rows ? at(k, e) : at(e, k)) = by * v * (1 + f.noise * (2 * unit(rng) - 1));
    }
  }
  lp_case p;
  const size_t useM = rows && f.without ? kept : m, useN = !rows && f.without ? kept : n;
  p.m = int32_t(useM);
  p.n = int32_t(useN);
  std::vector<double> rowscale(m), colscale(n), x(n);
  for (double& v : rowscale) v = std::pow(10.0, f.spread * (2 * unit(rng) - 1));
  for (double& v : colscale) v = std::pow(10.0, f.spread * (2 * unit(rng) - 1));
  for (size_t j = 0; j < n; j++) {
    const double up = 1 + 9 * unit(rng), cost = 20 * unit(rng) - 10;
    x[j] = unit(rng) < 0.4 ? 0 : up * unit(rng);
    if (j >= useN) continue;
    p.blx.push_back(0);
    p.bux.push_back(up / colscale[j]);
    p.c.push_back(cost * colscale[j]);
  }
  for (size_t i = 0; i < useM; i++) {
    double act = 0;
    for (size_t j = 0; j < useN; j++) act += at(i, j) * x[j];
    const double below = unit(rng) < f.tight ? 0 : 3 * unit(rng), above = 3 * unit(rng);
    p.blc.push_back((act - below) * rowscale[i]);
    p.buc.push_back((act + above) * rowscale[i]);
  }
  for (size_t j = 0; j < useN; j++) {
    for (size_t i = 0; i < useM; i++) p.put(int32_t(i), at(i, j) * rowscale[i] * colscale[j]);
    p.end_column();
  }
  return p;
}

// The least objective that any point within the bounds can have, by the duals alone (weak duality): -inf where a dual
// leans on a bound that does not exist.
inline double lower_bound(const lp_case& p, const std::vector<double>& y) {
  long double bound = p.cfix;
  const auto least = [&](long double d, double lo, double up) {
    if (d == 0) return;
    const double at = d > 0 ? lo : up;
    bound += std::fabs(at) >= 1e30 ? -HUGE_VALL : d * at;
  };
  for (size_t i = 0; i < y.size(); i++) least(y[i], p.blc[i], p.buc[i]);
  for (size_t j = 0; j < p.c.size(); j++) {
    long double d = p.c[j];
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++)
      d -= static_cast<long double>(p.val[size_t(e)]) * y[size_t(p.sub[size_t(e)])];
    least(d, p.blx[j], p.bux[j]);
  }
  return static_cast<double>(bound);
}

} // namespace tvntest
