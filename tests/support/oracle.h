// The one judge of end-to-end tests: what a solution or certificate claims, recomputed from the problem's data.
//
// Nothing of the library's own figures is used. Sign convention for a minimisation: c - A'y - slx + sux = 0,
// y = slc - suc, all s >= 0.
#pragma once

#include "lpcase.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace tvntest {

inline void widen(double& worst, double v) {
  if (!std::isnan(worst) && !(v <= worst)) worst = v; // a NaN wins and stays
}

inline std::vector<double> activities(const lp_case& p, const std::vector<double>& x) {
  std::vector<double> act(static_cast<size_t>(p.m));
  for (size_t j = 0; j < x.size(); j++)
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) act[size_t(p.sub[size_t(e)])] += p.val[size_t(e)] * x[j];
  return act;
}

struct verdict {
  double primal = 0, dual = 0, comp = 0, gap = 0, objective = 0;
  int32_t basics = 0;
};

// By how much v is outside a cone.
inline double outside_cone(const lp_case::cone& k, const std::vector<double>& v) {
  const bool rotated = k.type == tvn::ct_rquad && k.members.size() > 1;
  double squares = 0, head = v[size_t(k.members[0])];
  if (rotated) {
    const double other = v[size_t(k.members[1])];
    squares = (head - other) * (head - other) / 2;
    head = (head + other) / std::sqrt(2.0);
  }
  for (size_t q = rotated ? 2 : 1; q < k.members.size(); q++)
    squares += v[size_t(k.members[q])] * v[size_t(k.members[q])];
  return std::sqrt(squares) - head;
}

inline verdict judge(const lp_case& p, const lp_point& s) {
  verdict v;
  const std::vector<double> act = activities(p, s.xx);
  double dualobj = p.cfix;
  v.objective = p.cfix;
  for (size_t j = 0; j < s.xx.size(); j++) v.objective += p.c[j] * s.xx[j];
  auto side = [&](double value, double lo, double up, double sl, double su, int32_t sk) {
    if (lo > -1e30) {
      widen(v.primal, (lo - value) / (1 + std::fabs(lo)));
      widen(v.comp, std::fabs(sl * (value - lo)));
      dualobj += sl * lo;
    } else {
      widen(v.dual, std::fabs(sl));
    }
    if (up < 1e30) {
      widen(v.primal, (value - up) / (1 + std::fabs(up)));
      widen(v.comp, std::fabs(su * (up - value)));
      dualobj -= su * up;
    } else {
      widen(v.dual, std::fabs(su));
    }
    widen(v.dual, -sl);
    widen(v.dual, -su);
    v.basics += sk == tvn::sk_bas;
    // A nonbasic rests on the bound that its key names.
    if (sk == tvn::sk_low || sk == tvn::sk_fix) widen(v.primal, std::fabs(value - lo) / (1 + std::fabs(lo)));
    if (sk == tvn::sk_upr || sk == tvn::sk_fix) widen(v.primal, std::fabs(value - up) / (1 + std::fabs(up)));
  };
  for (size_t i = 0; i < act.size(); i++) {
    side(act[i], p.blc[i], p.buc[i], s.slc[i], s.suc[i], s.skc[i]);
    widen(v.dual, std::fabs(s.y[i] - s.slc[i] + s.suc[i]));
    widen(v.primal, std::fabs(s.xc[i] - act[i]) / (1 + std::fabs(act[i])));
  }
  for (const lp_case::cone& k : p.cones) {
    double product = 0;
    for (const int32_t j : k.members) product += s.xx[size_t(j)] * s.snx[size_t(j)];
    widen(v.primal, outside_cone(k, s.xx));
    widen(v.dual, outside_cone(k, s.snx));
    widen(v.comp, std::fabs(product));
  }
  for (size_t j = 0; j < s.xx.size(); j++) {
    side(s.xx[j], p.blx[j], p.bux[j], s.slx[j], s.sux[j], s.skx[j]);
    double d = p.c[j] - s.slx[j] + s.sux[j] - s.snx[j];
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) d -= p.val[size_t(e)] * s.y[size_t(p.sub[size_t(e)])];
    widen(v.dual, std::fabs(d));
  }
  v.comp /= 1 + std::fabs(v.objective);
  v.gap = std::fabs(v.objective - dualobj) / (1 + std::fabs(v.objective));
  return v;
}

// Violation of an infeasibility proof relative to its own objective.
inline double judge_infeasible(const lp_case& p, const lp_point& s) {
  double worst = 0, obj = 0;
  auto side = [&](double lo, double up, double sl, double su) {
    if (lo > -1e30)
      obj += sl * lo;
    else
      widen(worst, std::fabs(sl));
    if (up < 1e30)
      obj -= su * up;
    else
      widen(worst, std::fabs(su));
    widen(worst, -sl);
    widen(worst, -su);
  };
  for (size_t i = 0; i < s.y.size(); i++) {
    side(p.blc[i], p.buc[i], s.slc[i], s.suc[i]);
    widen(worst, std::fabs(s.y[i] - s.slc[i] + s.suc[i]));
  }
  for (size_t j = 0; j < s.slx.size(); j++) {
    side(p.blx[j], p.bux[j], s.slx[j], s.sux[j]);
    double d = s.slx[j] - s.sux[j];
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) d += p.val[size_t(e)] * s.y[size_t(p.sub[size_t(e)])];
    widen(worst, std::fabs(d));
  }
  return obj > 0 ? worst / obj : INFINITY;
}

// Violation of a ray relative to the fall of the objective along it.
inline double judge_unbounded(const lp_case& p, const lp_point& s) {
  double worst = 0, fall = 0;
  auto side = [&](double v, double lo, double up) {
    if (lo > -1e30) widen(worst, -v);
    if (up < 1e30) widen(worst, v);
  };
  const std::vector<double> act = activities(p, s.xx);
  for (size_t i = 0; i < act.size(); i++) side(act[i], p.blc[i], p.buc[i]);
  for (size_t j = 0; j < s.xx.size(); j++) {
    side(s.xx[j], p.blx[j], p.bux[j]);
    fall -= p.c[j] * s.xx[j];
  }
  return fall > 0 ? worst / fall : INFINITY;
}

// Judges the values of a point that is not basic: its keys are guesses.
inline verdict judge_values(const lp_case& p, lp_point s) {
  for (auto* keys : {&s.skc, &s.skx}) std::fill(keys->begin(), keys->end(), tvn::sk_bas);
  return judge(p, s);
}

// Asserts that an optimal point is optimal and basic.
inline void expect_optimal(const lp_case& p, const lp_point& s, double objective, double tol) {
  const verdict v = judge(p, s);
  EXPECT_TRUE(v.primal <= tol) << v.primal;
  EXPECT_TRUE(v.dual <= tol) << v.dual;
  EXPECT_TRUE(v.comp <= tol) << v.comp;
  EXPECT_TRUE(v.gap <= tol) << v.gap;
  EXPECT_TRUE(std::fabs(v.objective - objective) <= tol * (1 + std::fabs(objective)))
      << v.objective << " " << objective;
  EXPECT_EQ(v.basics, p.m);
}

} // namespace tvntest
