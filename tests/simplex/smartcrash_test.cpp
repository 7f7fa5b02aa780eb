// If this failed in the field: a basis that is all but optimal would be called optimal with a violation left, or would
// be left in a state from which the optimizer that follows goes wrong.
#include "simplex/start/smartcrash.h"

#include "simplex/primal/pstate.h"
#include "support/simplexbench.h"

#include <cmath>

using namespace tvntest;

namespace {

void run_primal(tvn::simplex_state& s) {
  tvn::primal_state p(s);
  tvn::psimplex_optimize(p);
}

// An optimal basis with its factor.
struct solved_bench : bench {
  explicit solved_bench(lp_case& p) : bench(p) {
    run_primal(*state);
    EXPECT_EQ(info.solsta, tvn::sol_optimal);
    state->cold = false;
    info.solsta = tvn::sol_unknown;
  }

  // Costs of nonbasics, and bounds that basics stand within, are moved past where they are.
  void spoil(std::mt19937_64& rng, int32_t num, bool costs, bool bounds) {
    tvn::simplex_state& s = *state;
    for (int32_t e = 0; e < num; e++) {
      const auto j = static_cast<int32_t>(rng() % static_cast<uint64_t>(work.total));
      if (costs && s.key[j] == tvn::sk_low) work.cost[j] -= std::fabs(s.d[j]) + 0.5;
      if (costs && s.key[j] == tvn::sk_upr) work.cost[j] += std::fabs(s.d[j]) + 0.5;
      if (bounds && s.key[j] == tvn::sk_bas && work.upper[j] - s.x[j] < 1e20 && work.lower[j] < s.x[j] - 1)
        work.upper[j] = s.up[j] = s.x[j] - 0.5;
    }
  }
};

// What a run from the same header would be told of the point and the duals, from a fresh factor.
void expect_clean(solved_bench& b) {
  tvn::simplex_state& s = *b.state;
  EXPECT_LE(b.dual_infeasibility(), 1e-6 * b.work.total); // factors the header afresh
  tvn::TVN_simplex_formxb(s.fac, s.x);
  for (int32_t j = 0; j < b.work.total; j++) {
    EXPECT_EQ(s.key[j] == tvn::sk_bas, s.fac.pos[j] >= 0);
    EXPECT_GE(s.x[j], b.work.lower[j] - 1e-7);
    EXPECT_LE(s.x[j], b.work.upper[j] + 1e-7);
  }
}

} // namespace

TEST(SmartCrash, LeavesAnOptimalBasisAlone) {
  for (uint64_t seed = 1; seed <= 20; seed++) {
    lp_case p = optimal_case(seed, 40, 60, 0.08, 0.3).p;
    solved_bench b(p);
    const int64_t before = iterations(b.info);
    EXPECT_TRUE(tvn::TVN_simplex_smartcrash(*b.state));
    EXPECT_EQ(b.info.solsta, tvn::sol_optimal);
    EXPECT_EQ(iterations(b.info), before);
  }
}

// Mended or not, an optimizer ends from there at the optimum of the spoilt problem.
TEST(SmartCrash, MendsFewViolationsOrLeavesASoundBasis) {
  int32_t mended = 0, handed = 0;
  for (uint64_t seed = 1; seed <= 300; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    lp_case p = optimal_case(seed, 60, 90, 0.06, 0.3).p;
    solved_bench b(p);
    b.spoil(rng, 3, seed % 3 != 0, seed % 3 != 1);
    if (tvn::TVN_simplex_smartcrash(*b.state)) {
      mended++;
      ASSERT_EQ(b.info.solsta, tvn::sol_optimal);
      expect_clean(b);
      const double objective = b.info.objective;
      run_primal(*b.state);
      ASSERT_EQ(b.info.solsta, tvn::sol_optimal);
      EXPECT_NEAR(b.info.objective, objective, 1e-6 * (1 + std::fabs(objective)));
      continue;
    }
    handed++;
    for (int32_t j = 0; j < b.work.total; j++) EXPECT_EQ(b.state->key[j] == tvn::sk_bas, b.state->fac.pos[j] >= 0);
    b.state->factorready = b.state->fac.usable;
    run_primal(*b.state);
    EXPECT_NE(b.info.solsta, tvn::sol_unknown);
  }
  EXPECT_GT(mended, 100);
  EXPECT_GT(handed, 5);
}

TEST(SmartCrash, LeavesManyViolationsToAnOptimizer) {
  std::mt19937_64 rng(1);
  lp_case p = optimal_case(7, 60, 90, 0.06, 0.3).p;
  solved_bench b(p);
  b.spoil(rng, 1000, true, true);
  const int64_t before = iterations(b.info);
  EXPECT_FALSE(tvn::TVN_simplex_smartcrash(*b.state));
  EXPECT_EQ(iterations(b.info), before);
}

TEST(SmartCrash, KeepsToTheIterationLimit) {
  std::mt19937_64 rng(4);
  lp_case p = optimal_case(4, 60, 90, 0.06, 0.3).p;
  solved_bench b(p);
  b.spoil(rng, 3, true, true);
  b.param.maxiterations = static_cast<int32_t>(iterations(b.info));
  const int64_t before = iterations(b.info);
  EXPECT_FALSE(tvn::TVN_simplex_smartcrash(*b.state));
  EXPECT_EQ(iterations(b.info), before);
}
