// A problem with cones owned by a test, its generator, other forms of the same problem, and the judge of answers.
#pragma once

#include "oracle.h"

#include <numeric>

namespace tvntest {

struct cone_case {
  lp_case p;
  std::vector<int32_t> type;
  std::vector<std::vector<int32_t>> members;
  std::vector<int32_t> beg, end, sub; // filled by view()

  tvn::problem_view view() {
    tvn::problem_view v = p.view();
    beg.clear(), end.clear(), sub.clear();
    for (const auto& m : members) {
      beg.push_back(int32_t(sub.size()));
      sub.insert(sub.end(), m.begin(), m.end());
      end.push_back(int32_t(sub.size()));
    }
    v.cone = {int32_t(type.size()), type.data(), beg.data(), end.data(), sub.data()};
    return v;
  }
  // How far v lies outside of cone k.
  double outside(size_t k, const std::vector<double>& v) const {
    const std::vector<int32_t>& m = members[k];
    const size_t heads = type[k] == tvn::ct_rquad ? 2 : 1;
    long double rest = 0;
    for (size_t q = heads; q < m.size(); q++) rest += static_cast<long double>(v[size_t(m[q])]) * v[size_t(m[q])];
    const long double a = v[size_t(m[0])];
    if (heads == 1) return double(std::max(0.0L, std::sqrt(rest) - a));
    const long double b = v[size_t(m[1])];
    return double(std::max(0.0L, (std::sqrt((a - b) * (a - b) + 2 * rest) - a - b) / std::sqrt(2.0L)));
  }
  double worst_outside(const std::vector<double>& v) const {
    double worst = 0;
    for (size_t k = 0; k < members.size(); k++) widen(worst, outside(k, v));
    return worst;
  }
  double worst(const lp_point& s) const {
    double cost = 1, size = 1;
    for (size_t j = 0; j < s.xx.size(); j++) {
      cost = std::max(cost, 1 + std::fabs(p.c[j]));
      size = std::max(size, 1 + std::fabs(s.xx[j]));
    }
    const verdict v = judge_values(p, s);
    const double product = std::inner_product(s.xx.begin(), s.xx.end(), s.snx.begin(), 0.0);
    const double objective = std::inner_product(s.xx.begin(), s.xx.end(), p.c.begin(), p.cfix);
    return std::max({v.primal, v.dual / cost, v.comp, std::fabs(product) / (1 + std::fabs(objective)),
                     worst_outside(s.xx) / size, worst_outside(s.snx) / cost});
  }
  // With the duals of the cones beside those of the bounds.
  double worst_infeasible(const lp_point& s) const {
    double dual = 0, obj = 0;
    std::vector<double> d = s.snx;
    for (size_t j = 0; j < d.size(); j++) {
      d[j] += s.slx[j] - s.sux[j];
      for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) d[j] += p.val[size_t(e)] * s.y[size_t(p.sub[size_t(e)])];
      widen(dual, std::fabs(d[j]));
    }
    const auto side = [&](double lo, double up, double sl, double su) {
      lo > -1e30 ? obj += sl * lo : (widen(dual, std::fabs(sl)), 0.0);
      up < 1e30 ? obj -= su * up : (widen(dual, std::fabs(su)), 0.0);
      widen(dual, std::max(-sl, -su));
    };
    for (size_t i = 0; i < s.y.size(); i++) {
      side(p.blc[i], p.buc[i], s.slc[i], s.suc[i]);
      widen(dual, std::fabs(s.y[i] - s.slc[i] + s.suc[i]));
    }
    for (size_t j = 0; j < d.size(); j++) side(p.blx[j], p.bux[j], s.slx[j], s.sux[j]);
    widen(dual, worst_outside(s.snx));
    return obj > 0 ? dual / obj : INFINITY;
  }
  double worst_unbounded(const lp_point& s) const {
    double fall = 0;
    for (size_t j = 0; j < s.xx.size(); j++) fall -= p.c[j] * s.xx[j];
    return std::max(judge_unbounded(p, s), worst_outside(s.xx) / fall);
  }
};

// (a, b) -> ((a + b), (a - b)) / sqrt 2, which turns a quadratic cone into a rotated one and back.
inline void turn(double& a, double& b) {
  const double u = (a + b) / std::sqrt(2.0), v = (a - b) / std::sqrt(2.0);
  a = u, b = v;
}

// x and s in the cone with x's = 0: at the apex, on the border, inside; degenerate ones too.
inline void complementary_pair(std::mt19937_64& rng, size_t size, std::vector<double>& x, std::vector<double>& s) {
  std::uniform_real_distribution<double> unit(0, 1);
  x.assign(size, 0), s.assign(size, 0);
  std::vector<double> u(size);
  double length = 0;
  for (size_t i = 1; i < size; i++) u[i] = std::round(8 * (unit(rng) - 0.5)) + 0.25, length += u[i] * u[i];
  length = std::sqrt(length);
  const auto put = [&](std::vector<double>& v, double sign, double more) {
    const double f = 0.25 + std::round(3 * unit(rng));
    v[0] = f * length + more;
    for (size_t i = 1; i < size; i++) v[i] = sign * f * u[i];
  };
  const int kind = int(rng() % 12);
  if (kind < 3) put(s, -1, 1 + 4 * unit(rng));             // x at the apex
  if (kind >= 3 && kind < 6) put(x, 1, 1 + 4 * unit(rng)); // inside
  if (kind >= 6 && kind < 11 && kind != 9) put(x, 1, 0);   // on the border; alone: degenerate
  if (kind >= 6 && kind < 10) put(s, -1, 0);
}

struct known_cones {
  cone_case k;
  double objective = 0;
};

// Columns of a linear problem with a known optimum become members: rows, bounds and costs follow.
inline known_cones optimal_cones(uint64_t seed, int32_t m, int32_t n, int32_t most) {
  std::mt19937_64 rng(seed + 777);
  known_case lp = optimal_case(seed, m, n, 0.2, 0.2);
  known_cones to;
  lp_case& p = to.k.p = lp.p;
  std::vector<int32_t> order(static_cast<size_t>(n));
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), rng);
  const size_t used = order.size() * (1 + rng() % 4) / 4;
  std::vector<double> x, s;
  for (size_t at = 0; at < used;) {
    const bool turned = rng() % 3 == 0;
    const size_t size = std::min(used - at, 1 + rng() % size_t(most));
    if (turned && size < 2) break;
    complementary_pair(rng, size, x, s);
    if (turned) turn(x[0], x[1]), turn(s[0], s[1]);
    to.k.type.push_back(turned ? tvn::ct_rquad : tvn::ct_quad);
    to.k.members.emplace_back(order.begin() + int64_t(at), order.begin() + int64_t(at + size));
    for (size_t q = 0; q < size; q++) {
      const auto j = size_t(order[at + q]);
      const int kind = int(rng() % 12);
      const double dual = kind == 0 ? double(rng() % 4) : kind == 1 ? double(rng() % 5) - 2 : 0;
      p.blx[j] = kind < 2 ? x[q] : kind == 2 ? x[q] - 1 : -1e30; // active, fixed, loose, none
      p.bux[j] = kind == 1 ? x[q] : kind == 2 ? x[q] + 2 : 1e30;
      p.c[j] = s[q] + dual;
      for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) {
        const auto i = size_t(p.sub[size_t(e)]);
        const double shift = p.val[size_t(e)] * (x[q] - lp.x[j]);
        if (p.blc[i] > -1e30) p.blc[i] += shift;
        if (p.buc[i] < 1e30) p.buc[i] += shift;
        p.c[j] += p.val[size_t(e)] * lp.y[i];
      }
      lp.x[j] = x[q];
    }
    at += size;
  }
  to.objective = std::inner_product(p.c.begin(), p.c.end(), lp.x.begin(), p.cfix);
  return to;
}

// Dense columns of p, changed by f, put back.
template <class F> void change_columns(lp_case& p, F f) {
  std::vector<std::vector<double>> a(size_t(p.n), std::vector<double>(size_t(p.m)));
  for (size_t j = 0; j < a.size(); j++)
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) a[j][size_t(p.sub[size_t(e)])] += p.val[size_t(e)];
  f(a);
  p.beg.clear(), p.sub.clear(), p.val.clear();
  for (const auto& column : a) {
    for (size_t i = 0; i < column.size(); i++) p.put(int32_t(i), column[i]);
    p.end_column();
  }
}

// Every cone of two members and more whose heads have no bounds by the other kind.
inline cone_case turned(cone_case k) {
  change_columns(k.p, [&](auto& a) {
    for (size_t c = 0; c < k.members.size(); c++) {
      if (k.members[c].size() < 2) continue;
      const auto i = size_t(k.members[c][0]), j = size_t(k.members[c][1]);
      if (std::max({k.p.blx[i], k.p.blx[j], -k.p.bux[i], -k.p.bux[j]}) > -1e30) continue;
      k.type[c] = 1 - k.type[c];
      for (size_t r = 0; r < a[i].size(); r++) turn(a[i][r], a[j][r]);
      turn(k.p.c[i], k.p.c[j]);
    }
  });
  return k;
}

// Members behind the heads in another order; rows, and the columns of a cone together, times powers of two.
inline cone_case scaled(cone_case k, uint64_t seed) {
  std::mt19937_64 rng(seed);
  const auto power = [&] { return std::ldexp(1.0, int(rng() % 9) - 4); };
  std::vector<double> col(size_t(k.p.n), 1.0), row(size_t(k.p.m));
  for (double& r : row) r = power();
  for (size_t c = 0; c < k.members.size(); c++) {
    std::vector<int32_t>& m = k.members[c];
    std::shuffle(m.begin() + std::min<int64_t>(int64_t(m.size()), 2 - (k.type[c] == tvn::ct_quad)), m.end(), rng);
    const double f = power();
    for (const int32_t j : m) col[size_t(j)] = f;
  }
  change_columns(k.p, [&](auto& a) {
    for (size_t j = 0; j < a.size(); j++)
      for (size_t i = 0; i < row.size(); i++) a[j][i] *= row[i] * col[j];
  });
  const auto move = [](double& v, double f) { v = std::fabs(v) < 1e30 ? v * f : v; };
  for (size_t i = 0; i < row.size(); i++) move(k.p.blc[i], row[i]), move(k.p.buc[i], row[i]);
  for (size_t j = 0; j < col.size(); j++) {
    move(k.p.blx[j], 1 / col[j]), move(k.p.bux[j], 1 / col[j]);
    k.p.c[j] *= col[j];
  }
  return k;
}

// A quadratic cone of four members and more as two: the length of its second half is a column and, by a row, another.
inline cone_case split(cone_case k) {
  for (size_t c = 0, num = k.members.size(); c < num; c++) {
    if (k.type[c] != tvn::ct_quad || k.members[c].size() < 4) continue;
    std::vector<int32_t>& m = k.members[c];
    std::vector<int32_t> half(m.begin() + int64_t(m.size() / 2), m.end());
    m.resize(m.size() / 2);
    m.push_back(k.p.n++);
    half.insert(half.begin(), k.p.n++);
    for (const double a : {1.0, -1.0}) {
      k.p.put(k.p.m, a);
      k.p.end_column(0, -1e30, 1e30);
    }
    k.p.m++;
    k.p.blc.push_back(0), k.p.buc.push_back(0);
    k.type.push_back(tvn::ct_quad);
    k.members.push_back(half);
  }
  return k;
}

} // namespace tvntest
