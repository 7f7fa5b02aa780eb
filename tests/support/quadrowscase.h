// A problem with convex quadratic rows owned by a test, its generator, and what is known of its answer.
#pragma once

#include "qpcase.h"

#include <numeric>

namespace tvntest {

// Rows of p with 1/2 x'Q_i x beside them, on the side where they are convex.
struct quadrows_case {
  qp_case k;
  std::vector<std::vector<std::vector<double>>> rowq; // empty: linear
  std::vector<int64_t> beg, end;
  std::vector<int32_t> subi, subj;
  std::vector<double> val;

  tvn::problem_view view() {
    tvn::problem_view v = k.view();
    beg.clear(), end.clear(), subi.clear(), subj.clear(), val.clear();
    for (const auto& q : rowq) {
      beg.push_back(int64_t(val.size()));
      for (size_t i = 0; i < q.size(); i++)
        for (size_t j = 0; j <= i; j++)
          if (q[i][j] != 0) subi.push_back(int32_t(i)), subj.push_back(int32_t(j)), val.push_back(q[i][j]);
      end.push_back(int64_t(val.size()));
    }
    v.qrow = {beg.data(), end.data(), subi.data(), subj.data(), val.data()};
    return v;
  }
  std::vector<double> gradient(size_t i, const std::vector<double>& x) const {
    std::vector<double> g(x.size());
    for (size_t a = 0; a < rowq[i].size(); a++)
      for (size_t b = 0; b < x.size(); b++) g[a] += rowq[i][a][b] * x[b];
    return g;
  }
  double value(size_t i, const std::vector<double>& x) const {
    const std::vector<double> g = gradient(i, x);
    return std::inner_product(g.begin(), g.end(), x.begin(), 0.0) / 2;
  }
  // Adds sign Q to row i; x keeps its distance to the bound.
  void curve(size_t i, std::vector<std::vector<double>> q, const std::vector<double>& x) {
    const double sign = k.p.buc[i] < 1e30 ? 1 : -1;
    for (auto& r : q)
      for (double& v : r) v *= sign;
    rowq[i] = q;
    (sign > 0 ? k.p.buc : k.p.blc)[i] += value(i, x);
  }
  // The linear problem that touches this one at x: there the conditions of both are the same.
  lp_case tangent(const std::vector<double>& x) const {
    lp_case t = k.tangent(x), to = t;
    to.beg.clear(), to.sub.clear(), to.val.clear();
    std::vector<std::vector<double>> g;
    for (size_t i = 0; i < rowq.size(); i++) {
      g.push_back(gradient(i, x));
      const double shift = value(i, x); // g'x - value
      if (to.blc[i] > -1e30) to.blc[i] += shift;
      if (to.buc[i] < 1e30) to.buc[i] += shift;
    }
    to.beg.push_back(0);
    for (size_t j = 0; j < x.size(); j++) {
      std::vector<double> col(rowq.size());
      for (int64_t e = t.beg[j]; e < t.beg[j + 1]; e++) col[size_t(t.sub[size_t(e)])] = t.val[size_t(e)];
      for (size_t i = 0; i < col.size(); i++)
        if (const double a = col[i] + g[i][j]; a != 0) to.sub.push_back(int32_t(i)), to.val.push_back(a);
      to.beg.push_back(int64_t(to.sub.size()));
    }
    return to;
  }
  double worst(lp_point s) const {
    for (size_t i = 0; i < rowq.size(); i++) s.xc[i] += value(i, s.xx);
    const verdict v = judge_values(tangent(s.xx), s);
    double cost = 1;
    for (const double c : k.p.c) cost = std::max(cost, 1 + std::fabs(c));
    return std::max({v.primal, v.dual / cost, v.comp});
  }
};

struct known_quadrows {
  quadrows_case k;
  double objective = 0;
};

// An optimum of the linear problem stays one when rows and objective are bent around it and the costs follow.
inline known_quadrows optimal_quadrows(uint64_t seed, int32_t m, int32_t n) {
  std::mt19937_64 rng(seed + 999);
  known_case lp = optimal_case(seed, m, n, 0.2, 0.3);
  known_quadrows k;
  k.k.k.p = lp.p;
  k.objective = lp.objective;
  lp_case& p = k.k.k.p;
  k.k.k.put(random_q(rng, size_t(n), static_cast<q_kind>(seed % 4)));
  const std::vector<double> qx = k.k.k.times(lp.x);
  for (size_t j = 0; j < size_t(n); j++) p.c[j] -= qx[j], k.objective -= qx[j] * lp.x[j] / 2;
  k.k.rowq.resize(size_t(m));
  for (size_t i = 0; i < size_t(m); i++) {
    if ((p.blc[i] > -1e30) == (p.buc[i] < 1e30) || rng() % 3 == 0) continue;
    k.k.curve(i, random_q(rng, size_t(n), static_cast<q_kind>(rng() % 5)), lp.x);
    const std::vector<double> g = k.k.gradient(i, lp.x);
    for (size_t j = 0; j < size_t(n); j++) {
      p.c[j] += lp.y[i] * g[j];
      k.objective += lp.y[i] * g[j] * lp.x[j];
    }
  }
  return k;
}

} // namespace tvntest
