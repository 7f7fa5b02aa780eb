// If these failed in the field: a basis would be missing, or be none, or be worse than the interior point it comes
// from, or the interior point would suffer from the step.
#include "optimize/optslv.h"
#include "support/oracle.h"

using namespace tvntest;

namespace {

struct answer {
  lp_point interior, basic;
  tvn::ipm_info info;
  tvn::basis_run basis;
  explicit answer(const lp_case& p) : interior(p), basic(p) {}
};

struct BasisStep : testing::Test {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  ~BasisStep() override { EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak"; }

  tvn::ipm_param param;
  tvn::basis_run wanted;

  // k: presolve or not, free, primal or dual form.
  void set_form(int32_t k) {
    param.presolve = k % 2 != 0;
    param.form = static_cast<tvn::ipm_form>(k / 2 % 3);
    param.hs.refine = 1e-2;
  }
  answer solve(lp_case& p, bool withbasis = true) {
    answer a(p);
    a.basis = wanted;
    a.basis.sol = a.basic.view();
    tvn::solution_view sol = a.interior.view();
    tvn::TVN_opt_ipmslv(*sys, p.view(), param, a.info, {}, sol, withbasis ? &a.basis : nullptr);
    return a;
  }
};

int64_t clean_iterations(const tvn::simplex_info& info) {
  return info.count[tvn::kind_primal].iterations + info.count[tvn::kind_dual].iterations;
}

// An optimal face without corners nearby: few rows count, most columns cost nothing or come many times.
lp_case flat_case(uint64_t seed) {
  known_case k = optimal_case(seed, 20, 60, 0.2, 0.5);
  lp_case& p = k.p;
  for (size_t j = 0; j < p.c.size(); j++) p.c[j] = seed % 3 == 0 ? 0 : std::round(p.c[j] / 8) * 8;
  for (size_t j = 0; j < p.c.size(); j++)
    if (p.blx[j] <= -1e30 && p.bux[j] >= 1e30) p.blx[j] = -50; // bounded, whatever the costs are now
  for (size_t j = 0; j < p.c.size(); j++) {
    if (p.blx[j] <= -1e30) p.blx[j] = p.bux[j] - 100;
    if (p.bux[j] >= 1e30) p.bux[j] = p.blx[j] + 100;
  }
  return p;
}

bool same_values(const lp_point& a, const lp_point& b) {
  return a.xc == b.xc && a.xx == b.xx && a.y == b.y && a.slc == b.slc && a.suc == b.suc && a.slx == b.slx &&
         a.sux == b.sux;
}

} // namespace

TEST_F(BasisStep, EndsInAVertexOfTheSameValue) {
  int64_t iterations = 0;
  for (int32_t k = 0; k < 120; k++) {
    SCOPED_TRACE(k);
    set_form(k);
    const auto seed = static_cast<uint64_t>(k);
    lp_case p = k % 2 ? optimal_case(seed, 5 + k, 10 + 2 * k, 0.15, 0.4).p : flat_case(seed);
    const answer a = solve(p), alone = solve(p, false);
    ASSERT_EQ(a.info.solsta, tvn::sol_optimal);
    ASSERT_TRUE(a.basis.made);
    ASSERT_EQ(a.basis.info.solsta, tvn::sol_optimal);
    expect_optimal(p, a.basic, a.info.objective, 1e-7);
    EXPECT_TRUE(judge(p, a.basic).objective <= judge_values(p, a.interior).objective + 1e-6);
    EXPECT_TRUE(same_values(a.interior, alone.interior)) << "the step has touched the interior point";
    iterations += clean_iterations(a.basis.info);
  }
  EXPECT_LE(iterations, 60) << "the pushes leave too much to the clean-up";
}

// Every other one with a trial of the simplex, some of which end early: the answers are alike, and those of the trial
// stand in both places.
TEST_F(BasisStep, AgreesWithTheSimplexOnNastyProblems) {
  int32_t solved = 0, left = 0;
  for (int32_t k = 0; k < 1500; k++) {
    SCOPED_TRACE(k);
    set_form(k / 2);
    wanted.trialiterations = k % 2 == 0 ? 0 : k % 6 == 1 ? 3 : 10000000;
    lp_case p = nasty_case(static_cast<uint64_t>(k / 2) + 90000);
    const answer a = solve(p);
    solved += a.basis.bytrial;
    left += k % 2 != 0 && !a.basis.bytrial && a.info.hs.iter > 0;
    EXPECT_EQ(a.info.solsta, a.basis.info.solsta);
    if (a.basis.bytrial) { EXPECT_TRUE(same_values(a.interior, a.basic)); }
    lp_point s(p);
    tvn::solution_view sol = s.view();
    tvn::simplex_info info;
    tvn::TVN_simplex_optimize(*sys, p.view(), direct_param(), info, {}, sol);
    ASSERT_TRUE(a.basis.made);
    switch (a.basis.info.solsta) {
    case tvn::sol_optimal:
      EXPECT_EQ(info.solsta, tvn::sol_optimal);
      expect_optimal(p, a.basic, info.objective, 1e-7);
      break;
    case tvn::sol_prim_infeas_cer: EXPECT_LE(judge_infeasible(p, a.basic), 1e-6); break;
    case tvn::sol_dual_infeas_cer: EXPECT_LE(judge_unbounded(p, a.basic), 1e-6); break;
    default: ADD_FAILURE() << a.basis.info.solsta;
    }
    EXPECT_EQ(std::count(a.basic.skc.begin(), a.basic.skc.end(), tvn::sk_bas) +
                  std::count(a.basic.skx.begin(), a.basic.skx.end(), tvn::sk_bas),
              p.m);
  }
  EXPECT_GT(solved, 100);
  EXPECT_GT(left, 0);
}

// A trial that is stopped from outside ends the run; one that is slow leaves the loop as if it had not been.
TEST_F(BasisStep, TrialHearsTheUserAndKnowsItsRival) {
  lp_case slow = optimal_case(7, 150, 300, 0.5, 0.5).p; // dense: iterations are dear
  wanted.trialiterations = 10000000;
  param.presolve = false;
  const answer tried = solve(slow);
  wanted.trialiterations = 0;
  const answer alone = solve(slow);
  ASSERT_FALSE(tried.basis.bytrial);
  EXPECT_TRUE(same_values(tried.interior, alone.interior) && same_values(tried.basic, alone.basic));
  wanted.trialiterations = 10000000;
  struct stopper {
    bool armed;
    static int32_t ask(void* handle, tvn::ipm_event event, const tvn::ipm_info&) {
      bool& armed = static_cast<stopper*>(handle)->armed;
      armed = armed || event == tvn::ipm_event::end_order;
      return armed && event == tvn::ipm_event::poll ? 1 : 0;
    }
  } stop{false};
  lp_case p = optimal_case(3, 400, 700, 0.01, 0.5).p;
  answer a(p);
  a.basis = wanted;
  a.basis.sol = a.basic.view();
  tvn::solution_view sol = a.interior.view();
  tvn::TVN_opt_ipmslv(*sys, p.view(), param, a.info, {&stop, stopper::ask}, sol, &a.basis);
  EXPECT_TRUE(a.info.response == tvn::hs_code::user_stop || a.basis.bytrial);
  EXPECT_TRUE(a.info.solsta == tvn::sol_unknown || a.basis.bytrial);
}

// A run that was cut short, or without a clean-up, leaves what it has: honest, finite, the interior answer whole.
TEST_F(BasisStep, LimitsLeaveTheInteriorAnswer) {
  struct stopper {
    int32_t left;
    static int32_t ask(void* handle, tvn::simplex_event, const tvn::simplex_info&) {
      return --static_cast<stopper*>(handle)->left < 0 ? 1 : 0;
    }
  };
  for (int32_t k = 0; k < 60; k++) {
    SCOPED_TRACE(k);
    set_form(k);
    lp_case p = flat_case(static_cast<uint64_t>(k) + 500);
    const answer whole = solve(p);
    stopper stop{k / 2};
    wanted.progress = {&stop, stopper::ask};
    wanted.param.maxiterations = k % 3 == 0 ? 0 : 10000000;
    const answer a = solve(p);
    wanted = {};
    EXPECT_EQ(a.info.solsta, tvn::sol_optimal);
    EXPECT_TRUE(same_values(a.interior, whole.interior));
    for (const auto* v : {&a.basic.xc, &a.basic.xx, &a.basic.y, &a.basic.slx, &a.basic.sux})
      EXPECT_TRUE(std::all_of(v->begin(), v->end(), [](double x) { return std::isfinite(x); }));
    if (a.basis.info.solsta == tvn::sol_optimal) expect_optimal(p, a.basic, whole.info.objective, 1e-7);
  }
}

TEST_F(BasisStep, IsMadeAfterTheRunsThatTheWishNames) {
  lp_case good = flat_case(1), bad = good, crossed = good;
  bad.blc[0] = bad.buc[0] = 1e6; // no point
  crossed.blx[0] = crossed.bux[0] + 1;
  for (const auto wish : {tvn::basis_wish::always, tvn::basis_wish::no_error, tvn::basis_wish::if_feasible})
    for (const bool ignore : {false, true}) {
      wanted = {};
      wanted.wish = wish;
      wanted.ignoremaxiter = ignore;
      param = {};
      EXPECT_TRUE(solve(good).basis.made);
      EXPECT_EQ(solve(bad).basis.made, wish != tvn::basis_wish::if_feasible);
      EXPECT_EQ(solve(crossed).basis.made, wish != tvn::basis_wish::if_feasible);
      param.hs.maxiterations = 3;
      EXPECT_EQ(solve(good).basis.made,
                wish == tvn::basis_wish::always || (wish == tvn::basis_wish::no_error && ignore));
    }
}
