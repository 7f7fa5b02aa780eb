// If this failed in the field: a second run on the same task would begin with the factor of another basis, and give
// wrong answers or none; or it would pay for a factor that it already has.
#include "simplex/base/keptbasis.h"
#include "support/run.h"

using namespace tvntest;

namespace {

struct kept_run {
  checked_env sys;
  tvn::kept_basis kept;
  tvn::simplex_param param = direct_param();
  tvn::simplex_info info;

  kept_run() { param.savelu = true; }
  void solve(lp_case& p, lp_point& s, int32_t hotstart) {
    param.hotstart = hotstart;
    info = run_simplex(*sys, p.view(), param, s, {}, &kept);
  }
  int64_t factors() const {
    int64_t num = 0;
    for (const auto& c : info.count) num += c.factorizations;
    return num;
  }
};

// Coefficients of every size, so that scaling has something to do.
void spread_rows(lp_case& p) {
  for (size_t e = 0; e < p.val.size(); e++) {
    const double f = std::exp2(3 * (p.sub[e] % 7));
    p.val[e] *= f;
  }
  for (size_t i = 0; i < p.blc.size(); i++) {
    const double f = std::exp2(3 * (static_cast<int>(i) % 7));
    if (p.blc[i] > -1e30) p.blc[i] *= f;
    if (p.buc[i] < 1e30) p.buc[i] *= f;
  }
}

void expect_same_answer(lp_case& p, const lp_point& s, const tvn::simplex_info& info) {
  const run_result fresh = run_simplex(p, direct_param());
  ASSERT_EQ(info.response, tvn::simplex_code::ok);
  ASSERT_EQ(info.solsta, fresh.info.solsta);
  if (info.solsta != tvn::sol_optimal) return;
  const double objective = judge(p, fresh.point).objective;
  expect_optimal(p, s, objective, 1e-6 * (1 + std::fabs(objective)));
}

} // namespace

TEST(KeptBasis, MakesAnUnchangedProblemFree) {
  for (uint64_t seed = 1; seed <= 60; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    lp_case p = optimal_case(seed, 20 + static_cast<int32_t>(seed % 30), 60, 0.15, 0.3).p;
    if (seed % 3 == 0) spread_rows(p);
    kept_run run;
    run.param.optimizer = seed % 4 < 2 ? tvn::kind_primal : tvn::kind_dual;
    run.param.presolve = seed % 2 == 0 ? 2 : 0;
    lp_point s(p);
    run.solve(p, s, 0);
    ASSERT_EQ(run.info.solsta, tvn::sol_optimal);
    const double objective = judge(p, s).objective;
    for (int again = 0; again < 2; again++) {
      run.solve(p, s, 6);
      ASSERT_EQ(run.info.solsta, tvn::sol_optimal);
      EXPECT_TRUE(run.info.warmfactor);
      EXPECT_EQ(iterations(run.info), 0);
      EXPECT_EQ(run.factors(), 0);
      expect_optimal(p, s, objective, 1e-9 * (1 + std::fabs(objective)));
    }
    run.param.uselu = false;
    run.solve(p, s, 6);
    EXPECT_FALSE(run.info.warmfactor);
    EXPECT_EQ(run.factors(), 1);
  }
}

TEST(KeptBasis, HoldsUnderChangesOfTheProblem) {
  int warm = 0, cold = 0;
  for (uint64_t seed = 1; seed <= 60; seed++) {
    std::mt19937_64 rng(seed);
    const auto below = [&](size_t n) { return static_cast<size_t>(rng() % n); };
    lp_case p = optimal_case(seed, 25, 40, 0.2, 0.3).p;
    if (seed % 2 == 0) spread_rows(p);
    kept_run run;
    run.param.savelu = seed % 5 != 0;
    lp_point s(p);
    run.solve(p, s, 0);
    for (int change = 0; change < 8; change++) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " change " + std::to_string(change));
      const size_t i = below(p.blc.size()), j = below(p.c.size());
      switch (rng() % 6) {
      case 0: p.c[j] += 1; break;
      case 1: p.blx[j] = p.bux[j] = std::round(s.xx[j]); break; // fix, basic or not
      case 2: p.blc[i] = -1e30, p.buc[i] = 1e30; break;         // free a row, binding or not
      case 3: p.val[below(p.val.size())] *= 1.5; break;         // of a basic column or another
      case 4: p.buc[i] = std::max(p.blc[i], s.xc[i] - 1), p.blc[i] = std::min(p.blc[i], p.buc[i]); break;
      default: p.blx[j] = std::min(p.blx[j], -1.0), p.bux[j] = std::max(p.bux[j], 3.0);
      }
      run.solve(p, s, 6);
      (run.info.warmfactor ? warm : cold)++;
      expect_same_answer(p, s, run.info);
      if (HasFatalFailure() || run.info.solsta != tvn::sol_optimal) break;
    }
  }
  EXPECT_GT(warm, 50);
  EXPECT_GT(cold, 50);
}

// Fixing a basic variable and making a binding row free must not cost the start its number of basics.
TEST(KeptBasis, KeepsItsNumberOfBasicsWhenBoundsChange) {
  lp_case p = optimal_case(7, 30, 50, 0.2, 0.2).p;
  kept_run run;
  run.param.presolve = 0;
  lp_point s(p);
  run.solve(p, s, 0);
  ASSERT_EQ(run.info.solsta, tvn::sol_optimal);
  size_t basic = 0, binding = 0;
  while (s.skx[basic] != tvn::sk_bas) basic++;
  while (s.skc[binding] == tvn::sk_bas) binding++;
  p.blx[basic] = p.bux[basic] = s.xx[basic];
  p.blc[binding] = -1e30;
  p.buc[binding] = 1e30;
  run.solve(p, s, 6);
  EXPECT_EQ(run.info.numbasics, run.info.numcon);
  EXPECT_TRUE(run.info.warmfactor);
  expect_same_answer(p, s, run.info);
}
