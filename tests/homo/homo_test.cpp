// If these failed in the field: wrong statuses and objectives from the interior-point road, certificates that prove
// nothing, runs that never end or leave half a point behind.
#include "homcase.h"

#include <gtest/gtest.h>
#include <string>

using namespace tvn;
using namespace tvntest;

namespace {

double largest(const std::vector<double>& v) {
  double most = 0;
  for (const double t : v) most = std::max(most, std::fabs(t));
  return most;
}

// An optimum within the tolerances asked for, by the oracle.
void expect_optimal(const hom_case& p, const hom_answer& a, double tol = 1e-7) {
  ASSERT_EQ(a.info.solsta, sol_optimal);
  EXPECT_EQ(a.info.response, hs_code::ok);
  const hom_breach r = measure(p, a, 1);
  EXPECT_TRUE(r.finite);
  EXPECT_LE(r.primal, tol * (1 + std::max(largest(p.b), largest(p.up))));
  EXPECT_LE(r.dual, tol * (1 + largest(p.c)));
  EXPECT_LE(r.sign, 0);
  EXPECT_LE(std::fabs(r.pobj - p.objective), tol * (1 + std::fabs(p.objective)));
  EXPECT_LE(std::fabs(r.dobj - p.objective), tol * (1 + std::fabs(p.objective)));
}

// The side that proves proves by itself, normalised, and the other one is 0.
void expect_certificate(const hom_case& p, const hom_answer& a, int32_t solsta) {
  ASSERT_EQ(a.info.solsta, solsta);
  const hom_breach r = measure(p, a, 0);
  EXPECT_TRUE(r.finite);
  EXPECT_LE(r.sign, 0);
  if (solsta == sol_prim_infeas_cer) {
    EXPECT_NEAR(r.dobj, 1, 1e-6);
    EXPECT_LE(r.dual * std::max(1.0, largest(p.b)), 1e-6 * std::max(1.0, largest(p.val)));
    EXPECT_EQ(largest(a.x), 0);
  } else {
    EXPECT_NEAR(largest(a.x), 1, 1e-12);
    EXPECT_LT(r.pobj, 0);
    EXPECT_LE(r.primal * largest(p.c), 1e-6 * -r.pobj * std::max(1.0, largest(p.val)));
    EXPECT_EQ(largest(a.y) + largest(a.s) + largest(a.sup), 0);
  }
}

// Every row once more, times -1, and `by` away from what it was.
hom_case doubled(const hom_case& p, double by) {
  hom_case q = p;
  q.m *= 2;
  q.sub.clear();
  q.val.clear();
  q.beg.assign(1, 0);
  for (size_t j = 0; j < p.c.size(); j++) {
    for (const int32_t side : {0, 1})
      for (auto k = static_cast<size_t>(p.beg[j]); k < static_cast<size_t>(p.beg[j + 1]); k++) {
        q.sub.push_back(p.sub[k] + side * p.m);
        q.val.push_back(side ? -p.val[k] : p.val[k]);
      }
    q.beg.push_back(static_cast<int64_t>(q.sub.size()));
  }
  for (const double b : p.b) q.b.push_back(-b - by);
  return q;
}

} // namespace

TEST(Optlp, FindsKnownOptimaFromEveryStartInEveryForm) {
  for (uint64_t seed = 1; seed <= 60; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const auto m = static_cast<int32_t>(3 + seed % 40);
    const hom_case p = optimal_hom(seed, m, 3 * m, seed % 3 ? 0.1 : 0, seed % 2 ? 0.3 : 0, seed % 5 ? 0 : 3);
    hs_param param;
    param.start = static_cast<hs_startpoint>(seed % 4);
    param.form = static_cast<kkt_form>(seed / 4 % 3);
    param.diffstep = seed % 7 != 0;
    param.scaling = seed % 11 != 0;
    param.maxcorrectors = seed % 6 ? -1 : static_cast<int32_t>(seed % 4);
    const hom_answer a = solve(p, param);
    expect_optimal(p, a);
    EXPECT_LE(a.info.iter, 30);
  }
}

TEST(Optlp, ProvesThatNothingIsFeasibleOrBounded) {
  for (uint64_t seed = 1; seed <= 40; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const auto m = static_cast<int32_t>(3 + seed % 20);
    hom_case p = optimal_hom(seed, m, 3 * m, 0.05, 0.2);
    if (seed % 2) {
      // A row that adds up columns to something negative.
      for (double& c : p.c) c = static_cast<double>(rng() % 5) - 1;
      p = doubled(p, 1 + static_cast<double>(seed % 3));
      expect_certificate(p, solve(p), sol_prim_infeas_cer);
    } else {
      // Two columns that cancel in the rows and gain together.
      p.add({{0, 1.0}, {1, -2.0}}, 1);
      p.add({{0, -1.0}, {1, 2.0}}, -1.5);
      expect_certificate(p, solve(p), sol_dual_infeas_cer);
    }
  }
}

// A ray must not be forgiven its residual for a large b: feasible, bounded, and called unbounded at the start
// otherwise.
TEST(Optlp, LargeRightSidesProveNoRay) {
  for (const double size : {3e8, 1e12}) {
    hom_case p;
    p.m = 2;
    p.b = {size, size / 2};
    p.add({{0, 1.0}, {1, 1.0}}, -1);
    p.add({{0, 1.0}}, 0);
    p.add({{1, 1.0}}, 0);
    p.objective = -size / 2;
    expect_optimal(p, solve(p));
  }
}

TEST(Optlp, ContradictoryCopiesEndInACertificateAndEqualOnesDoNot) {
  for (const double by : {0.0, 1e-12, 1e-4, 1.0}) {
    SCOPED_TRACE(by);
    const hom_case p = doubled(optimal_hom(5, 12, 30, 0.1, 0.3), by);
    const hom_answer a = solve(p);
    if (by < 1e-9) {
      expect_optimal(p, a);
    } else {
      expect_certificate(p, a, sol_prim_infeas_cer);
      EXPECT_LE(a.info.iter, 12);
    }
  }
}

TEST(Optlp, TinyAndEmptyProblemsHaveTheirAnswers) {
  const auto one = [](int32_t m, double b, double c, int32_t bk, double up, bool entry) {
    hom_case p;
    p.m = m;
    if (m > 0) p.b = {b};
    if (entry)
      p.add({{0, 1.0}}, c, bk, up);
    else if (bk >= 0)
      p.add({}, c, bk, up);
    return p;
  };
  EXPECT_EQ(solve(one(0, 0, 0, -1, 0, false)).info.solsta, sol_optimal);         // nothing
  EXPECT_EQ(solve(one(1, 0, 0, -1, 0, false)).info.solsta, sol_optimal);         // an empty row
  EXPECT_EQ(solve(one(1, 2, 0, -1, 0, false)).info.solsta, sol_prim_infeas_cer); // with a right side
  EXPECT_EQ(solve(one(0, 0, 1, bk_lo, 0, false)).info.solsta, sol_optimal);      // no rows
  EXPECT_EQ(solve(one(0, 0, -1, bk_lo, 0, false)).info.solsta, sol_dual_infeas_cer);
  EXPECT_EQ(solve(one(0, 0, 1, bk_fr, 0, false)).info.solsta, sol_dual_infeas_cer);
  EXPECT_EQ(solve(one(1, 0, 0, bk_lo, 0, true)).info.solsta, sol_optimal); // b = c = 0
  EXPECT_EQ(solve(one(1, -1, 1, bk_lo, 0, true)).info.solsta, sol_prim_infeas_cer);
  EXPECT_EQ(solve(one(1, 3, 1, bk_ra, 2, true)).info.solsta, sol_prim_infeas_cer);
  hom_case p = one(1, 1, -1, bk_ra, 1, true); // no interior
  p.objective = -1;
  expect_optimal(p, solve(p));
}

// Units and signs of rows are the user's business; and the same bits come from any number of threads.
TEST(Optlp, TakesTheSameIterationsInOtherUnits) {
  for (uint64_t seed = 1; seed <= 8; seed++) {
    const hom_case p = optimal_hom(seed, 60, 150, 0.05, 0.3, 1);
    const hom_answer a = solve(p);
    hom_case q = p;
    for (size_t k = 0; k < q.val.size(); k++) q.val[k] = std::ldexp(q.val[k], static_cast<int>(q.sub[k] % 7) - 3);
    for (int32_t i = 0; i < q.m; i++) q.b[size_t(i)] = std::ldexp(q.b[size_t(i)], i % 7 - 3 + 5);
    for (double& u : q.up) u = std::ldexp(u, 5);
    for (double& c : q.c) c = std::ldexp(c, -9);
    q.objective = std::ldexp(p.objective, -4);
    const hom_answer b = solve(q);
    expect_optimal(q, b);
    EXPECT_NEAR(a.info.iter, b.info.iter, 1); // 1 + |b| of the tolerances is not in units
    hs_param two;
    two.numthr = 2;
    const hom_answer c = solve(p, two);
    EXPECT_EQ(a.x, c.x);
    EXPECT_EQ(a.y, c.y);
  }
}

TEST(Optlp, LeavesAWholePointWhereverItIsStopped) {
  const hom_case p = optimal_hom(3, 200, 500, 0.05, 0.3);
  struct asker {
    int32_t left;
    static int32_t ask(void* h) { return --static_cast<asker*>(h)->left < 0 ? 1 : 0; }
    static int32_t event(void* h, hs_event, const hs_info&) { return ask(h); }
  };
  for (int32_t k = 0; k < 20; k++) {
    asker by{k};
    const hom_answer a = solve(p, {}, {}, {}, {&by, asker::event});
    EXPECT_TRUE(measure(p, a, 1).finite);
    EXPECT_EQ(a.info.response, by.left < 0 ? hs_code::user_stop : hs_code::ok);
    run_watch watch;
    watch.starttime = TVN_sysenv_gettime();
    watch.maxtime = 1e-4 * k;
    const hom_answer t = solve(p, {}, watch);
    EXPECT_TRUE(measure(p, t, 1).finite);
    EXPECT_TRUE(t.info.response == hs_code::max_time || t.info.solsta == sol_optimal);
  }
  hs_param few;
  few.maxiterations = 3;
  const hom_answer a = solve(p, few);
  EXPECT_EQ(a.info.response, hs_code::max_iterations);
  EXPECT_EQ(a.info.iter, 3);
  EXPECT_EQ(a.info.solsta, sol_unknown);
}

TEST(Optlp, GoesOnTwiceWhenAProposalIsTurnedDown) {
  const hom_case p = optimal_hom(4, 30, 80, 0.1, 0.3);
  std::vector<double> gaps;
  const hs_judge never{&gaps, [](void* h, const hs_info& info, const hs_point&) {
                         static_cast<std::vector<double>*>(h)->push_back(info.gap);
                         return hs_verdict::tighten;
                       }};
  const hom_answer a = solve(p, {}, {}, never);
  expect_optimal(p, a);
  ASSERT_EQ(gaps.size(), 2u);
  EXPECT_LE(a.info.gap, 1e-12);
}

TEST(Optlp, EndsAtCutsThatAreProved) {
  const hom_case p = optimal_hom(6, 30, 80, 0.1, 0.3);
  for (const bool upper : {false, true}) {
    hs_param param;
    (upper ? param.cuts.useupp : param.cuts.uselow) = true;
    (upper ? param.cuts.upp : param.cuts.low) = p.objective + (upper ? -1 : 1) * 0.5 * (1 + std::fabs(p.objective));
    EXPECT_EQ(solve(p, param).info.response, hs_code::objective_range);
    (upper ? param.cuts.upp : param.cuts.low) = p.objective + (upper ? 1 : -1) * 0.5 * (1 + std::fabs(p.objective));
    expect_optimal(p, solve(p, param));
  }
}

TEST(Optlp, GuessesKeysOfStrictlyComplementaryOptima) {
  const hom_case p = optimal_hom(9, 40, 100, 0, 0.4);
  const hom_answer a = solve(p);
  expect_optimal(p, a);
  for (size_t j = 0; j < p.c.size(); j++)
    EXPECT_EQ(a.skx[j], a.s[j] > 1e-3 ? sk_low : a.sup[j] > 1e-3 ? sk_upr : sk_bas) << j;
}
