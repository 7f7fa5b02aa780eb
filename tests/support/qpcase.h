// A problem with a convex quadratic objective owned by a test, its generators, and what is known of its answer.
#pragma once

#include "oracle.h"
#include "rational.h"

namespace tvntest {

// p with 1/2 x'Qx added, Q = L L' for an L of small integers.
struct qp_case {
  lp_case p;
  std::vector<std::vector<double>> q; // dense
  std::vector<int64_t> beg;           // lower triangle by columns
  std::vector<int32_t> sub;
  std::vector<double> val;

  void put(const std::vector<std::vector<double>>& full) {
    q = full;
    beg.assign(1, 0), sub.clear(), val.clear();
    for (size_t j = 0; j < q.size(); j++) {
      for (size_t i = j; i < q.size(); i++)
        if (q[i][j] != 0) sub.push_back(static_cast<int32_t>(i)), val.push_back(q[i][j]);
      beg.push_back(static_cast<int64_t>(sub.size()));
    }
  }
  tvn::problem_view view() {
    tvn::problem_view v = p.view();
    v.q = {p.n, beg.data(), sub.data(), val.data()};
    return v;
  }
  std::vector<double> times(const std::vector<double>& x) const {
    std::vector<double> to(x.size());
    for (size_t i = 0; i < x.size(); i++)
      for (size_t j = 0; j < x.size(); j++) to[i] += q[i][j] * x[j];
    return to;
  }
  // The linear problem that touches this one at x: the same optimum there, and the same duals.
  lp_case tangent(const std::vector<double>& x) const {
    lp_case t = p;
    const std::vector<double> qx = times(x);
    for (size_t j = 0; j < x.size(); j++) t.c[j] += qx[j], t.cfix -= qx[j] * x[j] / 2;
    return t;
  }
};

enum class q_kind { zero, diagonal, sparse, lowrank, dense };

inline std::vector<std::vector<double>> random_q(std::mt19937_64& rng, size_t n, q_kind kind) {
  const auto entry = [&] { return double(int(rng() % 5)) - 2; };
  std::vector<std::vector<double>> q(n, std::vector<double>(n));
  if (kind == q_kind::zero) return q;
  const size_t rank = kind == q_kind::lowrank ? 1 + rng() % 3 : kind == q_kind::diagonal ? n : n / 2 + 1;
  for (size_t k = 0; k < rank; k++) {
    std::vector<double> l(n);
    const bool full = kind == q_kind::dense || kind == q_kind::lowrank;
    if (kind == q_kind::diagonal)
      l[k] = entry();
    else
      for (size_t t = 0; t < (full ? n : 3); t++) l[full ? t : rng() % n] = entry();
    for (size_t i = 0; i < n; i++)
      for (size_t j = 0; j < n; j++) q[i][j] += l[i] * l[j];
  }
  return q;
}

struct known_qp {
  qp_case p;
  double objective = 0;
};

// The optimum of a linear problem stays one when Q is added and Q x taken from the costs.
inline known_qp optimal_qp(uint64_t seed, int32_t m, int32_t n, q_kind kind) {
  std::mt19937_64 rng(seed + 12345);
  known_case lp = optimal_case(seed, m, n, 0.2, 0.3);
  known_qp k;
  k.p.p = lp.p;
  k.p.put(random_q(rng, size_t(n), kind));
  const std::vector<double> qx = k.p.times(lp.x);
  k.objective = lp.objective;
  for (size_t j = 0; j < size_t(n); j++) {
    k.p.p.c[j] -= qx[j];
    k.objective -= qx[j] * lp.x[j] / 2;
  }
  return k;
}

// Exact: whether a point is feasible, and whether a ray of the rows and of Q's kernel lowers the costs.
inline exact_status status_of(const qp_case& k) {
  lp_case point = k.p, ray = k.p;
  for (double& v : point.c) v = 0;
  if (solve_exactly(point).status == exact_status::infeasible) return exact_status::infeasible;
  ray.cfix = 0;
  const auto recede = [](std::vector<double>& lo, std::vector<double>& up) {
    for (double& v : lo) v = v > -1e30 ? 0 : v;
    for (double& v : up) v = v < 1e30 ? 0 : v;
  };
  recede(ray.blc, ray.buc);
  recede(ray.blx, ray.bux);
  ray.beg.clear(), ray.sub.clear(), ray.val.clear();
  for (size_t j = 0; j < size_t(k.p.n); j++) {
    ray.beg.push_back(static_cast<int64_t>(ray.sub.size()));
    for (int64_t e = k.p.beg[j]; e < k.p.beg[j + 1]; e++)
      ray.sub.push_back(k.p.sub[size_t(e)]), ray.val.push_back(k.p.val[size_t(e)]);
    for (size_t i = 0; i < size_t(k.p.n); i++)
      if (k.q[i][j] != 0) ray.sub.push_back(k.p.m + int32_t(i)), ray.val.push_back(k.q[i][j]);
  }
  ray.beg.push_back(static_cast<int64_t>(ray.sub.size()));
  ray.m += k.p.n;
  ray.blc.resize(size_t(ray.m), 0), ray.buc.resize(size_t(ray.m), 0);
  return solve_exactly(ray).status == exact_status::unbounded ? exact_status::unbounded : exact_status::optimal;
}

// Values of an optimal point: those of the tangent problem, whose duals prove it.
inline verdict judge_qp(const qp_case& k, const lp_point& s) {
  return judge_values(k.p.n > 0 ? k.tangent(s.xx) : k.p, s);
}

// With what Q does along the ray.
inline double judge_qp_unbounded(const qp_case& k, const lp_point& s) {
  double worst = judge_unbounded(k.p, s), fall = 0;
  for (size_t j = 0; j < s.xx.size(); j++) fall -= k.p.c[j] * s.xx[j];
  for (const double v : k.times(s.xx)) widen(worst, std::fabs(v) / fall);
  return worst;
}

} // namespace tvntest
