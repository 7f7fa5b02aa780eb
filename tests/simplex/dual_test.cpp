// If this failed in the field: a start made by the crash or taken over from an earlier run would be singular or send
// the dual simplex a long way round, free variables would be left between their bounds, and a run in trouble would not
// end.
#include "simplex/dual/dstate.h"
#include "support/simplexbench.h"

#include <cmath>
#include <cstring>

using namespace tvntest;

namespace {

// A state as the loop's setup leaves it for the crash.
struct crash_bench : bench {
  tvn::dual_state dual;
  explicit crash_bench(lp_case& p) : bench(p), dual(*state) {}
};

// Free columns and negative costs: dual infeasible from the slacks.
lp_case hard_start(uint64_t seed) {
  lp_case p = optimal_case(seed, 40, 60, 0.08, 0.3).p;
  for (size_t j = seed % 3; j < p.blx.size(); j += 3) {
    p.blx[j] = -1e30;
    if (j % 2 == 0) p.bux[j] = 1e30;
  }
  return p;
}

} // namespace

TEST(DualCrash, GivesARegularBasisThatIsNoFurtherFromDualFeasibility) {
  int32_t crashed = 0;
  for (uint64_t seed = 1; seed <= 60; seed++) {
    lp_case p = seed % 2 ? hard_start(seed) : nasty_case(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    crash_bench b(p);
    const double before = b.dual_infeasibility();
    const int32_t num = tvn::TVN_dsimplex_dualcrash(b.dual);
    crashed += num;
    int32_t structurals = 0;
    for (int32_t k = 0; k < b.work.m; k++) {
      EXPECT_EQ(b.state->fac.pos[b.state->fac.head[k]], k);
      structurals += !b.work.is_logical(b.state->fac.head[k]);
    }
    EXPECT_EQ(structurals, num);
    EXPECT_LE(b.dual_infeasibility(), before * (1 + 1e-12) + 1e-9);
  }
  EXPECT_GT(crashed, 100);
}

TEST(DualCrash, IsLeftOutWhenThePercentageSaysSo) {
  lp_case p = hard_start(3);
  crash_bench b(p);
  b.param.dualcrash = 101;
  EXPECT_EQ(tvn::TVN_dsimplex_dualcrash(b.dual), 0);
}

TEST(DualFeasibility, IsReachedOrRefusedByPhaseOneAlone) {
  int32_t feasible = 0, refused = 0;
  for (uint64_t seed = 1; seed <= 200; seed++) {
    lp_case p = seed % 2 ? hard_start(seed) : nasty_case(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    bench b(p);
    if (tvn::TVN_simplex_dualfeas(*b.state)) {
      feasible++;
      EXPECT_LE(b.dual_infeasibility(), 1e-6);
      for (int32_t j = 0; j < b.work.total; j++) EXPECT_EQ(b.state->key[j] == tvn::sk_bas, b.state->fac.pos[j] >= 0);
    } else {
      refused++;
      EXPECT_EQ(b.info.solsta, tvn::sol_dual_infeas_cer);
    }
  }
  EXPECT_GT(feasible, 20);
  EXPECT_GT(refused, 20);
}

TEST(DualStart, EveryWayToDualFeasibilityEndsAtTheSameAnswer) {
  for (uint64_t seed = 1; seed <= 150; seed++) {
    lp_case p = seed % 3 ? hard_start(seed) : nasty_case(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    tvn::simplex_param param = param_by(tvn::kind_primal);
    lp_point point(p);
    const tvn::simplex_info want = run_simplex(p, param, point);
    param.optimizer = tvn::kind_dual;
    for (const int32_t method : {0, 1, 2})
      for (const int32_t crash : {90, 101}) {
        param.dualphaseone = method;
        param.dualcrash = crash;
        const tvn::simplex_info got = run_simplex(p, param, point);
        const bool either = want.solsta >= tvn::sol_prim_infeas_cer && got.solsta >= tvn::sol_prim_infeas_cer;
        EXPECT_TRUE(either || got.solsta == want.solsta) << "method " << method << " crash " << crash;
        if (want.solsta == tvn::sol_optimal) {
          EXPECT_NEAR(got.objective, want.objective, 1e-7 * (1 + std::fabs(want.objective)));
        }
      }
  }
}

// The weights that a run leaves are those of its last basis, and a run from there begins with them.
TEST(DualWeights, PassFromOneRunToTheNext) {
  for (uint64_t seed = 1; seed <= 30; seed++) {
    lp_case p = optimal_case(seed, 40, 60, 0.08, 0.3).p;
    SCOPED_TRACE("seed " + std::to_string(seed));
    bench b(p);
    b.param.dualcrash = 101;
    tvn::simplex_state& s = *b.state;
    {
      tvn::dual_state first(s);
      tvn::dsimplex_optimize(first);
    }
    ASSERT_EQ(s.dualweightkind, tvn::sel_se);
    ASSERT_EQ(s.dualweight.size(), b.work.total);
    ASSERT_EQ(tvn::TVN_simplex_factor(s.fac), tvn::factor_result::full);
    tvn::dual_state next(s);
    next.basic.reset(*b.sys, b.work.m, tvn::dual_basic{});
    ASSERT_TRUE(tvn::dsimplex_takeweights(next, next.price, next.basic));
    for (int32_t k = 0; k < b.work.m; k++) {
      tvn::TVN_simplex_rowofinverse(s, k);
      const double norm = tvn::dsimplex_rownorm(next);
      s.rho.clear();
      EXPECT_NEAR(next.basic[k].weight, norm, 1e-6 * norm);
    }
    next.price.method = tvn::sel_devex;
    EXPECT_FALSE(tvn::dsimplex_takeweights(next, next.price, next.basic));
  }
}

// A covering problem, dual feasible from the slacks, with free columns without cost in rows that do not bind: nothing
// gives them a reason to enter.
TEST(DualEnd, BringsSuperbasicsIntoTheBasis) {
  int32_t solved = 0;
  for (uint64_t seed = 1; seed <= 40; seed++) {
    lp_case p = optimal_case(seed, 15, 25, 0.2, 0.5).p;
    for (double& v : p.val) v = std::fabs(v);
    for (size_t j = 0; j < 25; j++) p.blx[j] = 0, p.bux[j] = 1e30, p.c[j] = 1 + static_cast<double>(j % 7);
    for (size_t i = 0; i < 15; i++) p.blc[i] = 1 + static_cast<double>(i % 3), p.buc[i] = 1e30;
    for (int32_t extra = 0; extra < 3; extra++) { // a new loose row over an old column and the free one
      const int32_t old = extra * 7 % 25;
      const auto at = static_cast<size_t>(p.beg[static_cast<size_t>(old) + 1]);
      p.sub.insert(p.sub.begin() + static_cast<std::ptrdiff_t>(at), p.m);
      p.val.insert(p.val.begin() + static_cast<std::ptrdiff_t>(at), 1.0);
      for (size_t j = static_cast<size_t>(old) + 1; j < p.beg.size(); j++) p.beg[j]++;
      p.put(p.m++, 2);
      p.end_column(0, -1e30, 1e30);
      p.n++;
      p.blc.push_back(-1000);
      p.buc.push_back(extra == 1 ? 1e30 : 1000);
    }
    SCOPED_TRACE("seed " + std::to_string(seed));
    crash_bench b(p);
    b.param.dualcrash = 101; // a crash would take them first
    b.param.degen = 0;
    tvn::dsimplex_optimize(b.dual);
    if (b.dual.handover) continue; // shifted costs leave the end to the primal simplex
    ASSERT_EQ(b.info.solsta, tvn::sol_optimal);
    for (int32_t j = 0; j < b.work.total; j++) EXPECT_NE(b.state->key[j], tvn::sk_supbas);
    solved++;
  }
  EXPECT_GT(solved, 20);
}

// Whatever is done to the costs, signs stay right, huge costs stay, and the true costs come back.
TEST(DualPerturbation, NeverMakesADualInfeasibility) {
  for (uint64_t seed = 1; seed <= 60; seed++) {
    lp_case p = seed % 2 ? hard_start(seed) : nasty_case(seed);
    p.c[0] = 2e6;
    SCOPED_TRACE("seed " + std::to_string(seed));
    crash_bench b(p);
    b.param.degen = static_cast<int32_t>(seed % 5);
    tvn::dual_state& s = b.dual;
    tvn::dsimplex_optimize(s);
    if (b.state->stop != tvn::simplex_code::ok || !s.fac.usable || s.phase != 2) continue;
    tvn::dsimplex_restorecosts(s);
    tvn::dsimplex_formd(s);
    tvn::dsimplex_correctsigns(s);
    const double huge = s.cost[b.work.m];
    for (const int32_t level : {1, 2, 3}) tvn::dsimplex_kick(s, level);
    EXPECT_EQ(s.cost[b.work.m], huge);
    tvn::dsimplex_perturb(s, 1000);
    for (int32_t j = 0; j < b.work.total; j++) {
      if (!s.inlist[j] || s.move[j] == 0) continue;
      EXPECT_LE(s.move[j] == 2 ? std::fabs(s.d[j]) : -s.move[j] * s.d[j], s.tol.dual) << j;
    }
    tvn::dsimplex_restorecosts(s);
    EXPECT_EQ(std::memcmp(s.cost.data(), b.work.cost.data(), sizeof(double) * size_t(b.work.total)), 0);
  }
}

TEST(DualTrouble, HandsOverWithALineWhenThereAreTooManyBadEvents) {
  lp_case p = hard_start(5);
  crash_bench b(p);
  b.param.maxsetbacks = 2;
  EXPECT_EQ(tvn::dsimplex_setback(b.dual), tvn::loop_state::recompute);
  EXPECT_EQ(tvn::dsimplex_setback(b.dual), tvn::loop_state::recompute);
  EXPECT_EQ(b.line, "");
  EXPECT_EQ(tvn::dsimplex_setback(b.dual), tvn::loop_state::finished);
  EXPECT_EQ(b.line, "Too many (3) bad events\n");
  EXPECT_EQ(b.state->stop, tvn::simplex_code::ok);
  EXPECT_TRUE(b.dual.handover);
}

TEST(DualTrouble, MovesThePivotToleranceWithinItsLimits) {
  lp_case p = hard_start(5);
  crash_bench b(p);
  b.dual.tol.piv = 1e-7;
  for (int i = 0; i < 5; i++) tvn::dsimplex_notebadpivot(b.dual.bad, b.dual.tol);
  EXPECT_EQ(b.dual.tol.piv, 1e-7);
  tvn::dsimplex_notebadpivot(b.dual.bad, b.dual.tol);
  EXPECT_DOUBLE_EQ(b.dual.tol.piv, 1e-6);
  for (int i = 0; i < 100; i++) tvn::dsimplex_notebadpivot(b.dual.bad, b.dual.tol);
  EXPECT_EQ(b.dual.tol.piv, 1e-5);
  for (int i = 0; i < 5; i++) tvn::dsimplex_notecalm(b.dual.bad, b.dual.tol, b.dual.fac.factor, b.param.tolrelpiv);
  EXPECT_EQ(b.dual.tol.piv, 1e-5);
  b.dual.bad.setbacks++; // not calm any more
  for (int i = 0; i < 6; i++) tvn::dsimplex_notecalm(b.dual.bad, b.dual.tol, b.dual.fac.factor, b.param.tolrelpiv);
  EXPECT_EQ(b.dual.tol.piv, 1e-5);
  for (int i = 0; i < 200; i++) tvn::dsimplex_notecalm(b.dual.bad, b.dual.tol, b.dual.fac.factor, b.param.tolrelpiv);
  EXPECT_DOUBLE_EQ(b.dual.tol.piv, 1e-10);
  b.dual.tol.piv = 1e-3; // the user's own
  for (int i = 0; i < 12; i++) tvn::dsimplex_notebadpivot(b.dual.bad, b.dual.tol);
  EXPECT_EQ(b.dual.tol.piv, 1e-3);
}

TEST(DualTrouble, HealsInCalmTimes) {
  lp_case p = hard_start(5);
  crash_bench b(p);
  tvn::lu& f = b.state->fac.factor;
  tvn::TVN_lu_puttol(f, tvn::tol_relpivot, b.param.tolrelpiv);
  tvn::TVN_simplex_raisepivots(f, 400, 0.5);
  tvn::TVN_lu_putpivotmethod(f, tvn::pivots_byboth);
  b.dual.bad.updatelimit = tvn::dual_minupdates;
  for (int i = 0; i < 12; i++) tvn::dsimplex_notecalm(b.dual.bad, b.dual.tol, b.dual.fac.factor, b.param.tolrelpiv);
  EXPECT_EQ(b.dual.bad.updatelimit, 4 * tvn::dual_minupdates);
  EXPECT_DOUBLE_EQ(tvn::TVN_lu_gettol(f, tvn::tol_relpivot), 0.5 / 4);
  for (int i = 0; i < 120; i++) tvn::dsimplex_notecalm(b.dual.bad, b.dual.tol, b.dual.fac.factor, b.param.tolrelpiv);
  EXPECT_EQ(b.dual.bad.updatelimit, tvn::dual_maxupdates);
  EXPECT_EQ(tvn::TVN_lu_gettol(f, tvn::tol_relpivot), b.param.tolrelpiv);
}
