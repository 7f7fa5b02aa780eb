// Problems for the interior-point loop whose answer is known by construction, and the oracle for what it answers.
#pragma once

#include "homo/hslv.h"

#include <cmath>
#include <random>
#include <vector>

namespace tvntest {

struct hom_case {
  int32_t m = 0;
  std::vector<int64_t> beg{0};
  std::vector<int32_t> sub, bk;
  std::vector<double> val, c, b, up;
  double objective = 0;

  int32_t n() const { return static_cast<int32_t>(c.size()); }
  void add(std::initializer_list<std::pair<int32_t, double>> column, double cost, int32_t key = tvn::bk_lo,
           double bound = 0) {
    for (const auto& [i, v] : column) {
      sub.push_back(i);
      val.push_back(v);
    }
    beg.push_back(static_cast<int64_t>(sub.size()));
    c.push_back(cost);
    bk.push_back(key);
    up.push_back(bound);
  }
  tvn::hs_problem view() const {
    tvn::hs_problem p;
    p.a = {m, n(), beg.data(), beg.data() + 1, sub.data(), val.data()};
    p.c = c.data();
    p.b = b.data();
    p.bk = bk.data();
    p.up = up.data();
    return p;
  }
};

// Strictly complementary points first, b and c around them. decades: of the values, both sides of 1.
inline hom_case optimal_hom(uint64_t seed, int32_t m, int32_t n, double free, double ranged, double decades = 0) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  const auto size = [&] { return (0.5 + unit(rng)) * std::pow(10, decades * (2 * unit(rng) - 1)); };
  hom_case p;
  p.m = m;
  std::vector<double> x, y;
  for (int32_t i = 0; i < m; i++) y.push_back(2 * unit(rng) - 1);
  p.b.assign(static_cast<size_t>(m), 0.0);
  for (int32_t j = 0; j < n; j++) {
    const double kind = unit(rng), place = unit(rng);
    const int32_t key = kind < free ? tvn::bk_fr : kind < free + ranged ? tvn::bk_ra : tvn::bk_lo;
    const double u = size();
    const bool low = key != tvn::bk_fr && place < 0.4, high = key == tvn::bk_ra && place > 0.8;
    const double xj = key == tvn::bk_fr ? size() * (unit(rng) < 0.5 ? -1 : 1)
                      : low             ? 0
                      : high            ? u
                                        : u * (0.1 + 0.8 * unit(rng));
    double cost = low ? 0.1 + unit(rng) : high ? -0.1 - unit(rng) : 0;
    for (int32_t i = 0; i < m; i++)
      if (i == j % m || unit(rng) < 3.0 / m) {
        p.sub.push_back(i);
        p.val.push_back(std::round(8 * (unit(rng) - 0.5)) + 0.5);
        p.b[size_t(i)] += p.val.back() * xj;
        cost += p.val.back() * y[size_t(i)];
      }
    p.add({}, cost, key, u);
    p.objective += cost * xj;
  }
  return p;
}

struct hom_answer {
  std::vector<double> x, s, sup, y;
  std::vector<int32_t> skx;
  tvn::hs_info info;
};

inline hom_answer solve(const hom_case& p, const tvn::hs_param& param = {}, tvn::run_watch watch = {},
                        const tvn::hs_judge& judge = {}, const tvn::hs_progress& progress = {}) {
  hom_answer a;
  const double unset = std::nan("");
  for (auto* v : {&a.x, &a.s, &a.sup}) v->assign(p.c.size(), unset);
  a.y.assign(p.b.size(), unset);
  a.skx.assign(p.c.size(), -1);
  tvn::hs_point point{a.x.data(), a.s.data(), a.sup.data(), a.y.data(), a.skx.data()};
  tvn::sysenv* sys = tvn::TVN_sysenv_make(2, nullptr, nullptr, nullptr);
  TVN_hs_optlp(*sys, p.view(), param, watch, progress, judge, point, a.info);
  if (TVN_sysenv_delete(&sys) != tvn::sys_code::ok) a.x.clear(); // memory is left
  return a;
}

// Worst breaches of an answer, by its own arithmetic. tau: 1 for a point, 0 for the rows and columns of certificates.
struct hom_breach {
  double primal = 0, dual = 0, sign = 0; // absolute
  double pobj = 0, dobj = 0;
  bool finite = true;
};

inline hom_breach measure(const hom_case& p, const hom_answer& a, double tau) {
  hom_breach r;
  std::vector<long double> row(p.b.size());
  long double pobj = 0, dobj = 0;
  r.finite = a.x.size() == p.c.size();
  if (!r.finite) return r;
  const auto see = [&](double& worst, long double v) {
    worst = std::max(worst, static_cast<double>(v));
    r.finite = r.finite && std::isfinite(static_cast<double>(v));
  };
  for (size_t j = 0; j < p.c.size(); j++) {
    long double d = static_cast<long double>(a.s[j]) - a.sup[j] - tau * p.c[j];
    for (auto q = static_cast<size_t>(p.beg[j]); q < static_cast<size_t>(p.beg[j + 1]); q++) {
      d += static_cast<long double>(p.val[q]) * a.y[size_t(p.sub[q])];
      row[size_t(p.sub[q])] += static_cast<long double>(p.val[q]) * a.x[j];
    }
    see(r.dual, std::fabs(d));
    pobj += static_cast<long double>(p.c[j]) * a.x[j];
    if (p.bk[j] == tvn::bk_fr) continue;
    see(r.sign, -std::min({a.x[j], a.s[j], a.sup[j]}));
    if (p.bk[j] != tvn::bk_ra) continue;
    see(r.primal, a.x[j] - tau * p.up[j]);
    dobj -= static_cast<long double>(p.up[j]) * a.sup[j];
  }
  for (size_t i = 0; i < p.b.size(); i++) {
    see(r.primal, std::fabs(row[i] - tau * p.b[i]));
    dobj += static_cast<long double>(p.b[i]) * a.y[i];
  }
  r.pobj = static_cast<double>(pobj);
  r.dobj = static_cast<double>(dobj);
  return r;
}

} // namespace tvntest
