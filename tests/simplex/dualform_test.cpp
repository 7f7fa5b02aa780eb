// If this failed in the field: a model solved through its dual would come back with another optimum, a basis of the
// wrong size, or a certificate of the wrong problem.
#include "dualize/dualize.h"
#include "support/run.h"

using namespace tvntest;

namespace {

tvn::simplex_info solve(const tvn::problem_view& lp, lp_point& s, bool dualform, int32_t seed) {
  const checked_env sys;
  tvn::simplex_param param = param_by(static_cast<tvn::simplex_kind>(seed % 3), seed % 2);
  param.dualform = dualform;
  return run_simplex(*sys, lp, param, s);
}

// `other` is the answer of the primal form, which other tests prove.
void expect_same(lp_case& p, const tvn::simplex_info& other, const tvn::simplex_info& dual, const lp_point& s) {
  if (other.solsta == tvn::sol_optimal) { ASSERT_EQ(dual.solsta, tvn::sol_optimal); } // both certificates may exist
  expect_proved(p, s, dual.solsta, other.objective);
}

TEST(DualForm, AnswersAsThePrimalDoes) {
  int64_t mended = 0, optimal = 0;
  for (int32_t seed = 0; seed < 3000; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = seed % 10 != 0 ? nasty_case(static_cast<uint64_t>(seed))
                               : optimal_case(static_cast<uint64_t>(seed), 12, 20, 0.3, 0.3).p;
    lp_point s(p), d(p);
    const tvn::simplex_info other = solve(p.view(), s, false, seed), dual = solve(p.view(), d, true, seed);
    expect_same(p, other, dual, d);
    optimal += dual.solsta == tvn::sol_optimal;
    mended += dual.cleanups > 0 && seed % 2 == 0; // presolve has clean-ups of its own
  }
  EXPECT_GT(optimal, 800);
  EXPECT_EQ(mended, 0) << "what comes back does not stand";
}

// Costs of rows are the same as their sums on the columns.
TEST(DualForm, CarriesTheCostsOfRows) {
  std::mt19937_64 rng(7);
  for (int32_t seed = 0; seed < 300; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = optimal_case(static_cast<uint64_t>(seed), 5, 9, 0.4, 0.2).p;
    lp_point s(p), d(p);
    const double objective = solve(p.view(), s, false, seed).objective;
    std::vector<double> cc;
    for (int32_t i = 0; i < p.m; i++) cc.push_back(static_cast<double>(rng() % 7) - 3);
    for (size_t j = 0; j + 1 < p.beg.size(); j++)
      for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++)
        p.c[j] -= cc[static_cast<size_t>(p.sub[size_t(e)])] * p.val[size_t(e)];
    tvn::problem_view v = p.view();
    v.cslack = cc.data();
    const tvn::simplex_info dual = solve(v, d, true, seed);
    ASSERT_EQ(dual.solsta, tvn::sol_optimal);
    EXPECT_NEAR(dual.objective, objective, 1e-8 * (1 + std::fabs(objective)));
  }
}

// What its columns and rows are, and that the count made beforehand is that of the problem made.
TEST(DualForm, SavesAColumnWhereASingletonTellsTheSign) {
  const checked_env sys;
  lp_case p; // -1 <= x + s <= 4, x free, s >= 0 alone in the row and without cost: y <= 0
  p.m = 1;
  p.n = 2;
  p.c = {1, 0};
  p.beg = {0, 1, 2};
  p.sub = {0, 0};
  p.val = {1, 1};
  p.blc = {-1}, p.buc = {4};
  p.blx = {-5, 0}, p.bux = {5, 1e30};
  const auto columns = [&] { return tvn::TVN_dualize_getdualsize(*sys, p.view()).numvar; };
  EXPECT_EQ(columns(), 2); // suc, sux of x
  p.c[1] = 1;
  EXPECT_EQ(columns(), 3);
  p.blx[0] = -1e30, p.bux[0] = 1e30;
  EXPECT_EQ(columns(), 1); // x alone says y = 1
  tvn::dualizer d;
  tvn::TVN_dualize_formdual(*sys, p.view(), d);
  EXPECT_EQ(d.ptr[d.dual.numvar], d.at.size.numanz);
  EXPECT_EQ(d.dual.bkc[0], tvn::bk_fx);
}

} // namespace
