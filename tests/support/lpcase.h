// A small linear problem owned by a test, and the generators of such problems.
#pragma once

#include "simplex/frame.h"

#include <cstdint>
#include <random>
#include <vector>

namespace tvntest {

// Settings as a user has them, without presolve.
inline tvn::simplex_param direct_param() {
  tvn::simplex_param param;
  param.presolve = 0;
  return param;
}

struct lp_case {
  int32_t m = 0, n = 0;
  double cfix = 0;
  std::vector<double> c;
  std::vector<int64_t> beg; // n + 1
  std::vector<int32_t> sub;
  std::vector<double> val;
  std::vector<double> blc, buc, blx, bux; // +-1e30 where there is no bound

  std::vector<int32_t> bkc, bkx; // filled by view()

  struct cone {
    int32_t type;
    std::vector<int32_t> members;
  };
  std::vector<cone> cones = {};
  std::vector<int32_t> conetype = {}, conebeg = {}, conesub = {}; // filled by view()

  // Columns are made one after the other: entries, then the end.
  void put(int32_t i, double a) {
    if (a == 0) return;
    sub.push_back(i);
    val.push_back(a);
  }
  void end_column() {
    if (beg.empty()) beg.push_back(0);
    beg.push_back(static_cast<int64_t>(sub.size()));
  }
  void end_column(double cost, double lo, double up) {
    end_column();
    c.push_back(cost);
    blx.push_back(lo);
    bux.push_back(up);
  }
  // One more column, f times column j.
  void add_multiple(size_t j, double f, double cost, double lo, double up) {
    for (int64_t e = beg[j], end = beg[j + 1]; e < end; e++) put(sub[size_t(e)], f * val[size_t(e)]);
    end_column(cost, lo, up);
    n++;
  }

  static int32_t key(double lo, double up) {
    if (lo <= -1e30) return up >= 1e30 ? tvn::bk_fr : tvn::bk_up;
    return up >= 1e30 ? tvn::bk_lo : lo == up ? tvn::bk_fx : tvn::bk_ra;
  }
  tvn::problem_view view() {
    bkc.resize(static_cast<size_t>(m));
    bkx.resize(static_cast<size_t>(n));
    for (size_t i = 0; i < bkc.size(); i++) bkc[i] = key(blc[i], buc[i]);
    for (size_t j = 0; j < bkx.size(); j++) bkx[j] = key(blx[j], bux[j]);
    tvn::problem_view v;
    v.numcon = m;
    v.numvar = n;
    v.cfix = cfix;
    v.c = c.data();
    v.ptrb = beg.data();
    v.ptre = beg.data() + 1;
    v.sub = sub.data();
    v.val = val.data();
    v.bkc = bkc.data();
    v.bkx = bkx.data();
    v.blc = blc.data();
    v.buc = buc.data();
    v.blx = blx.data();
    v.bux = bux.data();
    conetype.clear(), conebeg = {0}, conesub.clear();
    for (const cone& k : cones) {
      conetype.push_back(k.type);
      conesub.insert(conesub.end(), k.members.begin(), k.members.end());
      conebeg.push_back(static_cast<int32_t>(conesub.size()));
    }
    v.cone = {static_cast<int32_t>(cones.size()), conetype.data(), conebeg.data(), conebeg.data() + 1, conesub.data()};
    return v;
  }
};

// Storage of a solution.
struct lp_point {
  std::vector<int32_t> skc, skx;
  std::vector<double> xc, xx, y, slc, suc, slx, sux, snx;
  explicit lp_point(const lp_case& p)
      : skc(size_t(p.m)), skx(size_t(p.n)), xc(size_t(p.m)), xx(size_t(p.n)), y(size_t(p.m)), slc(size_t(p.m)),
        suc(size_t(p.m)), slx(size_t(p.n)), sux(size_t(p.n)), snx(size_t(p.n)) {}
  tvn::solution_view view() {
    return {skc.data(), skx.data(), xc.data(),  xx.data(),  y.data(),
            slc.data(), suc.data(), slx.data(), sux.data(), snx.data()};
  }
};

// Tiny and nasty: coefficients of {-2,-1,1,2}, bounds of {-inf,-2..2,inf}, repeated and opposite rows and columns.
inline lp_case nasty_case(uint64_t seed) {
  std::mt19937_64 rng(seed);
  auto pick = [&](int lo, int hi) { return static_cast<int>(rng() % static_cast<uint64_t>(hi - lo + 1)) + lo; };
  lp_case p;
  p.m = pick(1, 6);
  p.n = pick(1, 7);
  std::vector<std::vector<int>> a(size_t(p.m), std::vector<int>(size_t(p.n), 0));
  for (auto& row : a)
    for (int& v : row)
      if (pick(0, 9) < 5) v = pick(0, 1) ? pick(1, 2) : -pick(1, 2);
  if (p.m > 1 && pick(0, 3) == 0) {
    const int from = pick(0, p.m - 2), sign = pick(0, 1) ? 1 : -1;
    for (int j = 0; j < p.n; j++) a[size_t(p.m - 1)][size_t(j)] = sign * a[size_t(from)][size_t(j)];
  }
  if (p.n > 1 && pick(0, 3) == 0)
    for (auto& row : a) row[size_t(p.n - 1)] = row[0];
  auto bounds = [&](std::vector<double>& lo, std::vector<double>& up) {
    const int kind = pick(0, 5), x = pick(-2, 2), y = pick(-2, 2);
    lo.push_back(kind == 0 || kind == 1 ? -1e30 : kind == 5 && pick(0, 15) != 0 ? std::min(x, y) : x);
    up.push_back(kind == 1 || kind == 2          ? 1e30
                 : kind == 3                     ? x
                 : kind == 5 && pick(0, 15) != 0 ? std::max(x, y)
                                                 : std::max(x, y));
    if (kind == 4) lo.back() = 0, up.back() = 1e30;
  };
  for (int i = 0; i < p.m; i++) bounds(p.blc, p.buc);
  for (int j = 0; j < p.n; j++) bounds(p.blx, p.bux);
  for (int j = 0; j < p.n; j++) p.c.push_back(pick(-2, 2));
  p.cfix = pick(-3, 3);
  for (int j = 0; j < p.n; j++) {
    for (int i = 0; i < p.m; i++) p.put(i, a[size_t(i)][size_t(j)]);
    p.end_column();
  }
  return p;
}

// Sparse and feasible with a known optimal value: a point and complementary duals are drawn first, then bounds and
// costs are set around them. `degenerate` is the share of basic variables that stand on a bound.
struct known_case {
  lp_case p;
  double objective = 0;
  std::vector<double> x, y;
};
inline known_case optimal_case(uint64_t seed, int32_t m, int32_t n, double density, double degenerate) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  known_case k;
  lp_case& p = k.p;
  p.m = m;
  p.n = n;
  std::vector<double> act(static_cast<size_t>(m), 0), &x = k.x, &y = k.y;
  x.resize(static_cast<size_t>(n));
  y.resize(static_cast<size_t>(m));
  for (double& v : x) v = std::round(10 * (unit(rng) - 0.3));
  for (int32_t j = 0; j < n; j++) {
    for (int32_t i = 0; i < m; i++)
      if (unit(rng) < density || i == j % m) {
        p.put(i, std::round(8 * (unit(rng) - 0.5)) + 0.5);
        act[size_t(i)] += p.val.back() * x[size_t(j)];
      }
    p.end_column();
  }
  // Sign of the dual says which side is tight; 0 with a bound at the value makes a degenerate place.
  auto place = [&](double v, double& dual, std::vector<double>& lo, std::vector<double>& up, bool binding) {
    const bool lower = unit(rng) < 0.6;
    dual = binding ? (lower ? 1 : -1) * std::round(1 + 5 * unit(rng)) : 0;
    const double tight = binding || unit(rng) < degenerate ? 0 : 1 + std::floor(4 * unit(rng));
    const double loose = unit(rng) < 0.3 ? 3 + std::floor(9 * unit(rng)) : 1e30;
    lo.push_back(lower ? v - tight : loose < 1e30 ? v - loose : -1e30);
    up.push_back(lower ? (loose < 1e30 ? v + loose : 1e30) : v + tight);
    if (binding && unit(rng) < 0.2) lo.back() = up.back() = v;
  };
  for (int32_t i = 0; i < m; i++) place(act[size_t(i)], y[size_t(i)], p.blc, p.buc, unit(rng) < 0.6);
  for (int32_t j = 0; j < n; j++) {
    double d = 0;
    place(x[size_t(j)], d, p.blx, p.bux, unit(rng) < 0.6);
    for (int64_t e = p.beg[size_t(j)]; e < p.beg[size_t(j) + 1]; e++)
      d += p.val[size_t(e)] * y[size_t(p.sub[size_t(e)])];
    p.c.push_back(d);
    k.objective += d * x[size_t(j)];
  }
  return k;
}

} // namespace tvntest
