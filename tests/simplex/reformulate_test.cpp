// If this failed in the field: a model that writes free variables or deviations as a difference of two columns would
// get a wrong status, a basis of the wrong size or a lost start, only because the pair ran as one column.
#include "simplex/reformulate.h"
#include "support/oracle.h"
#include "support/rational.h"

using namespace tvntest;

namespace {

// Multiples of columns, mostly opposite ones of cancelling cost, with the bounds that modellers give them.
void add_pairs(lp_case& p, uint64_t seed, int32_t num, bool anyfactor) {
  std::mt19937_64 rng(seed);
  for (int32_t added = 0; added < num; added++) {
    const size_t j = rng() % static_cast<size_t>(p.n);
    const double f = anyfactor ? (rng() % 2 == 0 ? -1 : 1) * (rng() % 2 == 0 ? 2 : 1) : -1;
    for (int64_t e = p.beg[j], end = p.beg[j + 1]; e < end; e++) {
      p.sub.push_back(p.sub[size_t(e)]);
      p.val.push_back(f * p.val[size_t(e)]);
    }
    p.beg.push_back(static_cast<int64_t>(p.sub.size()));
    const int64_t gap = rng() % 3 == 0 ? static_cast<int64_t>(rng() % 5) - 2 : 0; // 0: the costs cancel
    p.c.push_back(f * p.c[j] + static_cast<double>(gap));
    const double lo = rng() % 2 == 0 ? 0 : static_cast<double>(rng() % 3) - 1;
    if (rng() % 3 == 0) p.blx[j] = 0, p.bux[j] = 1e30;
    p.blx.push_back(rng() % 6 == 0 ? -1e30 : lo);
    p.bux.push_back(rng() % 2 == 0 ? 1e30 : lo + static_cast<double>(rng() % 3));
    p.n++;
  }
}

struct workbench {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  ~workbench() { EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak"; }
  tvn::simplex_info solve(lp_case& p, lp_point& s, const tvn::simplex_param& param) {
    tvn::simplex_info info;
    tvn::lp_solution sol = s.view();
    tvn::TVN_simplex_optimize(*sys, p.view(), param, info, {}, sol);
    return info;
  }
};

int32_t basics(const lp_point& s) {
  return static_cast<int32_t>(std::count(s.skc.begin(), s.skc.end(), tvn::sk_bas) +
                              std::count(s.skx.begin(), s.skx.end(), tvn::sk_bas));
}

int64_t iterations(const tvn::simplex_info& i) {
  return i.count[tvn::kind_primal].iterations + i.count[tvn::kind_dual].iterations;
}

tvn::simplex_param drawn_param(uint64_t seed) {
  tvn::simplex_param param = direct_param();
  param.optimizer = static_cast<int32_t>(seed % 3);
  param.presolve = seed % 4 == 0;
  param.reformulation = std::array<int32_t, 3>{tvn::reform_on, tvn::reform_free, tvn::reform_aggressive}[seed / 3 % 3];
  return param;
}

void expect_status(lp_case& p, const lp_point& s, int32_t solsta, double objective) {
  switch (solsta) {
  case tvn::sol_optimal: return expect_optimal(p, s, objective, 1e-8);
  case tvn::sol_prim_infeas_cer: EXPECT_LE(judge_infeasible(p, s), 1e-7); break;
  case tvn::sol_dual_infeas_cer: EXPECT_LE(judge_unbounded(p, s), 1e-7); break;
  default: ADD_FAILURE() << "no answer"; break;
  }
}

// Two columns on one row, x0 - x1 = 1 with costs c0, c1.
lp_case one_pair(double c0, double c1) {
  lp_case p;
  p.m = 1;
  p.n = 2;
  p.c = {c0, c1};
  p.beg = {0, 1, 2};
  p.sub = {0, 0};
  p.val = {1, -1};
  p.blc = {-1};
  p.buc = {-1};
  p.blx = {0, 0};
  p.bux = {1e30, 1e30};
  return p;
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
    workbench w;
    lp_point s(p);
    tvn::simplex_param param = drawn_param(seed);
    {
      tvn::lp_solution sol = s.view();
      tvn::reformulation r;
      (void)tvn::TVN_simplex_reformulate(*w.sys, p.view(), param, sol, r);
      merged += r.nummerged > 0;
      rested += r.numrested > 0;
    }
    const tvn::simplex_info info = w.solve(p, s, param);
    ASSERT_EQ(info.response, tvn::simplex_code::ok);
    expect_status(p, s, info.solsta, exact.objective);
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
    workbench w;
    lp_point s(p);
    tvn::simplex_param param = drawn_param(seed);
    param.presolve = 0;
    tvn::simplex_param without = param;
    without.reformulation = tvn::reform_off;
    const tvn::simplex_info first = w.solve(p, s, seed % 3 == 0 ? without : param);
    if (first.solsta != tvn::sol_optimal) continue;
    optimal++;
    param.hotstart = 6;
    const int64_t superbasics = std::count(s.skx.begin(), s.skx.end(), tvn::sk_supbas);
    const tvn::simplex_info again = w.solve(p, s, param);
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
    workbench w;
    lp_point cold(p), hot(p);
    tvn::simplex_param param = direct_param();
    const tvn::simplex_info want = w.solve(p, cold, param);
    for (auto* keys : {&hot.skc, &hot.skx})
      for (int32_t& key : *keys) key = rng() % 3 == 0 ? tvn::sk_bas : static_cast<int32_t>(rng() % 9) - 1;
    for (double& x : hot.xx) x = rng() % 3 == 0 ? std::nan("") : 1e300;
    param.hotstart = 4 + static_cast<int32_t>(seed % 3);
    param.optimizer = static_cast<int32_t>(seed / 3 % 3);
    param.reformulation = seed % 2 == 0 ? tvn::reform_on : tvn::reform_aggressive;
    const tvn::simplex_info have = w.solve(p, hot, param);
    ASSERT_EQ(have.response, tvn::simplex_code::ok);
    EXPECT_EQ(basics(hot), p.m);
    EXPECT_EQ(have.solsta == tvn::sol_optimal, want.solsta == tvn::sol_optimal);
    expect_status(p, hot, have.solsta, want.objective);
  }
}

// A run cut short, at once or later, still leaves as many basics as rows and the sums of what it had.
TEST(Reformulation, LeavesABasisWhereALimitEndsTheRun) {
  for (uint64_t seed = 1; seed <= 100; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = optimal_case(seed, 20, 30, 0.15, 0.3).p;
    add_pairs(p, seed, 8, false);
    workbench w;
    lp_point s(p);
    tvn::simplex_param param = drawn_param(seed);
    param.presolve = 0;
    param.maxiterations = static_cast<int32_t>(seed % 12);
    (void)w.solve(p, s, param);
    EXPECT_EQ(basics(s), p.m);
    param.maxiterations = 10000;
    param.hotstart = 6;
    lp_point cold(p);
    const tvn::simplex_info have = w.solve(p, s, param);
    param.hotstart = 0;
    param.reformulation = tvn::reform_off;
    const tvn::simplex_info want = w.solve(p, cold, param);
    ASSERT_EQ(have.solsta, want.solsta);
    expect_status(p, s, have.solsta, want.objective);
  }
}

TEST(Reformulation, TakesOnlyStepsThatKeepEverySolution) {
  workbench w;
  tvn::simplex_param param = direct_param();
  const auto take = [&](lp_case p, int32_t how, int32_t presolve = 0, int32_t hotstart = 0) {
    lp_point s(p);
    tvn::lp_solution sol = s.view();
    tvn::reformulation r;
    param.reformulation = how;
    param.presolve = presolve;
    param.hotstart = hotstart;
    const bool changed = tvn::TVN_simplex_reformulate(*w.sys, p.view(), param, sol, r);

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
  for (; wide.n < 21; wide.n++) {
    wide.c.push_back(0);
    wide.beg.push_back(wide.beg.back());
    wide.blx.push_back(0);
    wide.bux.push_back(1);
  }
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
