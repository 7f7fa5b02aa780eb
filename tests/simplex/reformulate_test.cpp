// If this failed in the field: a model that writes free variables or deviations as a difference of two columns would
// get a wrong status, a basis of the wrong size or a lost start, only because the pair ran as one column.
#include "simplex/reformulate.h"
#include "support/rational.h"
#include "support/run.h"

using namespace tvntest;

namespace {

// Multiples of columns, mostly opposite ones of cancelling cost, with the bounds that modellers give them.
void add_pairs(lp_case& p, uint64_t seed, int32_t num, bool anyfactor) {
  std::mt19937_64 rng(seed);
  for (int32_t added = 0; added < num; added++) {
    const size_t j = rng() % static_cast<size_t>(p.n);
    const double f = anyfactor ? (rng() % 2 == 0 ? -1 : 1) * (rng() % 2 == 0 ? 2 : 1) : -1;
    const int64_t gap = rng() % 3 == 0 ? static_cast<int64_t>(rng() % 5) - 2 : 0; // 0: the costs cancel
    const double lo = rng() % 2 == 0 ? 0 : static_cast<double>(rng() % 3) - 1;
    if (rng() % 3 == 0) p.blx[j] = 0, p.bux[j] = 1e30;
    const double lower = rng() % 6 == 0 ? -1e30 : lo;
    const double upper = rng() % 2 == 0 ? 1e30 : lo + static_cast<double>(rng() % 3);
    p.add_multiple(j, f, f * p.c[j] + static_cast<double>(gap), lower, upper);
  }
}

int32_t basics(const lp_point& s) {
  return static_cast<int32_t>(std::count(s.skc.begin(), s.skc.end(), tvn::sk_bas) +
                              std::count(s.skx.begin(), s.skx.end(), tvn::sk_bas));
}

tvn::simplex_param drawn_param(uint64_t seed) {
  tvn::simplex_param param = direct_param();
  param.optimizer = static_cast<int32_t>(seed % 3);
  param.presolve = seed % 4 == 0;
  param.reformulation = std::array<int32_t, 3>{tvn::reform_on, tvn::reform_free, tvn::reform_aggressive}[seed / 3 % 3];
  return param;
}

// Two columns on one row, x0 - x1 = 1 with costs c0, c1.
lp_case one_pair(double c0, double c1) {
  return {1, 2, 0, {c0, c1}, {0, 1, 2}, {0, 0}, {1, -1}, {-1}, {-1}, {0, 0}, {1e30, 1e30}, {}, {}};
}

} // namespace

TEST(Reformulation, GivesTheExactAnswerInABasisOfTheUsersProblem) {
  std::array<int32_t, 7> met{};
  int32_t compared = 0, merged = 0, rested = 0;
  for (uint64_t seed = 1; seed <= 4000 && !HasFailure(); seed++) {
    SCOPED_TRACE(seed);
    lp_case p = nasty_case(seed);
    add_pairs(p, seed, static_cast<int32_t>(1 + seed % 6), seed % 5 == 0);
    exact_result exact{exact_status::infeasible, 0};
    try {
      exact = solve_exactly(p);
    } catch (const std::overflow_error&) { continue; }
    lp_point s(p);
    tvn::simplex_param param = drawn_param(seed);
    {
      const checked_env sys;
      tvn::solution_view sol = s.view();
      tvn::reformulation r;
      (void)tvn::TVN_simplex_reformulate(*sys, p.view(), param, sol, r);
      merged += r.nummerged > 0;
      rested += r.numrested > 0;
    }
    const tvn::simplex_info info = run_simplex(p, param, s);
    ASSERT_EQ(info.response, tvn::simplex_code::ok);
    expect_proved(p, s, info.solsta, exact.objective);
    if (param.presolve == 0) {
      EXPECT_EQ(basics(s), p.m); // a certificate that presolve finds comes without a basis
      EXPECT_EQ(info.cleanups, 0) << "what came back needed repair";
    }
    met[size_t(info.solsta)]++;
    compared++;
    EXPECT_EQ(info.solsta == tvn::sol_optimal, exact.status == exact_status::optimal);
    if (exact.status == exact_status::unbounded) { EXPECT_EQ(info.solsta, tvn::sol_dual_infeas_cer); }
  }
  EXPECT_GT(compared, 3000);
  EXPECT_GT(merged, 1000);
  EXPECT_GT(rested, 200);
  EXPECT_GT(met[tvn::sol_optimal], 300);
  EXPECT_GT(met[tvn::sol_prim_infeas_cer], 100);
  EXPECT_GT(met[tvn::sol_dual_infeas_cer], 100);
}

// A start loses nothing: from an optimal basis no run needs an iteration, whoever made the basis, but for what stands
// between its bounds off the basis: a free column at 0 may be the difference of two that cannot both be on a bound.
TEST(Reformulation, KeepsAStart) {
  int32_t optimal = 0;
  for (uint64_t seed = 1; seed <= 600 && !HasFailure(); seed++) {
    SCOPED_TRACE(seed);
    lp_case p = seed % 2 == 0 ? nasty_case(seed) : optimal_case(seed, 20, 30, 0.15, 0.3).p;
    add_pairs(p, seed, static_cast<int32_t>(1 + seed % 9), seed % 5 == 0);
    lp_point s(p);
    tvn::simplex_param param = drawn_param(seed);
    param.presolve = 0;
    tvn::simplex_param without = param;
    without.reformulation = tvn::reform_off;
    const tvn::simplex_info first = run_simplex(p, seed % 3 == 0 ? without : param, s);
    if (first.solsta != tvn::sol_optimal) continue;
    optimal++;
    param.hotstart = 6;
    const int64_t superbasics = std::count(s.skx.begin(), s.skx.end(), tvn::sk_supbas);
    const tvn::simplex_info again = run_simplex(p, param, s);
    ASSERT_EQ(again.solsta, tvn::sol_optimal);
    if (superbasics == 0) { EXPECT_EQ(iterations(again), 0); }
    EXPECT_EQ(again.cleanups, 0);
    expect_optimal(p, s, first.objective, 1e-8);
  }
  EXPECT_GT(optimal, 200);
}

// Keys and values of every kind: at worst the start is lost.
TEST(Reformulation, TakesAnyStart) {
  for (uint64_t seed = 1; seed <= 600 && !HasFailure(); seed++) {
    SCOPED_TRACE(seed);
    std::mt19937_64 rng(seed);
    lp_case p = nasty_case(seed);
    add_pairs(p, seed, static_cast<int32_t>(1 + seed % 6), seed % 5 == 0);
    lp_point cold(p), hot(p);
    tvn::simplex_param param = direct_param();
    const tvn::simplex_info want = run_simplex(p, param, cold);
    for (auto* keys : {&hot.skc, &hot.skx})
      for (int32_t& key : *keys) key = rng() % 3 == 0 ? tvn::sk_bas : static_cast<int32_t>(rng() % 9) - 1;
    for (double& x : hot.xx) x = rng() % 3 == 0 ? std::nan("") : 1e300;
    param.hotstart = 4 + static_cast<int32_t>(seed % 3);
    param.optimizer = static_cast<int32_t>(seed / 3 % 3);
    param.reformulation = seed % 2 == 0 ? tvn::reform_on : tvn::reform_aggressive;
    const tvn::simplex_info have = run_simplex(p, param, hot);
    ASSERT_EQ(have.response, tvn::simplex_code::ok);
    EXPECT_EQ(basics(hot), p.m);
    EXPECT_EQ(have.solsta == tvn::sol_optimal, want.solsta == tvn::sol_optimal);
    expect_proved(p, hot, have.solsta, want.objective);
  }
}

// A run cut short, at once or later, still leaves as many basics as rows and the sums of what it had.
TEST(Reformulation, LeavesABasisWhereALimitEndsTheRun) {
  for (uint64_t seed = 1; seed <= 100; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = optimal_case(seed, 20, 30, 0.15, 0.3).p;
    add_pairs(p, seed, 8, false);
    lp_point s(p);
    tvn::simplex_param param = drawn_param(seed);
    param.presolve = 0;
    param.maxiterations = static_cast<int32_t>(seed % 12);
    (void)run_simplex(p, param, s);
    EXPECT_EQ(basics(s), p.m);
    param.maxiterations = 10000;
    param.hotstart = 6;
    lp_point cold(p);
    const tvn::simplex_info have = run_simplex(p, param, s);
    param.hotstart = 0;
    param.reformulation = tvn::reform_off;
    const tvn::simplex_info want = run_simplex(p, param, cold);
    ASSERT_EQ(have.solsta, want.solsta);
    expect_proved(p, s, have.solsta, want.objective);
  }
}

TEST(Reformulation, TakesOnlyStepsThatKeepEverySolution) {
  const checked_env sys;
  tvn::simplex_param param = direct_param();
  const auto take = [&](lp_case p, int32_t how, int32_t presolve = 0, int32_t hotstart = 0) {
    lp_point s(p);
    tvn::solution_view sol = s.view();
    tvn::reformulation r;
    param.reformulation = how;
    param.presolve = presolve;
    param.hotstart = hotstart;
    const bool changed = tvn::TVN_simplex_reformulate(*sys, p.view(), param, sol, r);

    if (changed && r.nummerged > 0) {
      EXPECT_EQ(r.bkx[0], tvn::bk_fr);
      EXPECT_EQ(r.bkx[1], tvn::bk_fx);
    }
    return changed ? 10 * r.nummerged + r.numrested : 0;
  };
  const lp_case difference = one_pair(3, -3), absolute = one_pair(1, 1);
  EXPECT_EQ(take(difference, tvn::reform_on), 10);
  EXPECT_EQ(take(difference, tvn::reform_on, 2, 0), 10);
  EXPECT_EQ(take(difference, tvn::reform_free), 10);
  EXPECT_EQ(take(difference, tvn::reform_free, 1), 0); // presolve does it
  lp_case wide = difference;
  for (; wide.n < 21; wide.n++) wide.end_column(0, 0, 1);
  EXPECT_EQ(take(wide, tvn::reform_on), 10);
  EXPECT_EQ(take(wide, tvn::reform_free), 0); // too few to gain by it
  EXPECT_EQ(take(difference, tvn::reform_free, 0, 6), 0);
  EXPECT_EQ(take(difference, tvn::reform_off), 0);
  EXPECT_EQ(take(absolute, tvn::reform_aggressive), 0); // a kink
  EXPECT_EQ(take(one_pair(-1, 0), tvn::reform_on), 0);  // a ray
  lp_case dominated = absolute;
  dominated.blx[0] = -1e30;
  EXPECT_EQ(take(dominated, tvn::reform_on), 1);
  lp_case multiple = difference;
  multiple.val[1] = -2;
  multiple.c[1] = -6;
  EXPECT_EQ(take(multiple, tvn::reform_on), 0);
  EXPECT_EQ(take(multiple, tvn::reform_aggressive), 10);
  lp_case nearly = difference;
  nearly.c[1] = -3 - 1e-9; // neither the same cost nor surely another one
  EXPECT_EQ(take(nearly, tvn::reform_aggressive), 0);
}
