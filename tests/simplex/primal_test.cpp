// If this failed in the field: the primal simplex would leave a point that is no vertex, call a widened bound a proof,
// circle on a degenerate problem, or break off where a caller only wanted a feasible basis.
#include "simplex/primal/pstate.h"
#include "simplex/start/crash.h"
#include "support/simplexbench.h"

#include <functional>
#include <map>
#include <string>

using namespace tvntest;

namespace {

int32_t collect_lines(void* handle, tvn::simplex_event event, const tvn::simplex_info& info) {
  if (event == tvn::simplex_event::message) *static_cast<std::string*>(handle) += info.line;
  return 0;
}

tvn::simplex_param primal(int32_t selection = 0) {
  tvn::simplex_param param = param_by(tvn::kind_primal);
  param.selection = selection;
  return param;
}

// Runs `body` on a state with the slack basis, nonbasics at their bounds.
void with_state(lp_case& p, const tvn::simplex_param& param, const std::function<void(tvn::simplex_state&)>& body) {
  bench b(p);
  b.param = param;
  body(*b.state);
}

// Lifts nonbasics off their bounds.
void make_superbasics(tvn::simplex_state& s, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.fac.pos[j] >= 0 || s.work.is_fixed(j) || unit(rng) < 0.3) continue;
    s.key[j] = tvn::sk_supbas;
    s.x[j] = std::max(s.lo[j], -9.0) + unit(rng) * (std::min(s.up[j], 9.0) - std::max(s.lo[j], -9.0));
    s.x[j] = std::min(s.up[j], std::max(s.lo[j], s.x[j]));
  }
}

double worst_row(const tvn::simplex_state& s) {
  std::vector<double> act(static_cast<size_t>(s.work.m));
  for (int32_t k = 0; k < s.work.n; k++)
    for (int64_t e = s.work.colbeg[k]; e < s.work.colbeg[k + 1]; e++)
      act[size_t(s.work.colsub[e])] += s.work.colval[e] * s.x[s.work.m + k];
  double worst = 0;
  for (int32_t i = 0; i < s.work.m; i++)
    worst = std::max(worst, std::fabs(act[size_t(i)] - s.x[i]) / (1 + std::fabs(s.x[i])));
  return worst;
}

} // namespace

TEST(Superbasics, AllGoToABoundOrIntoTheBasis) {
  for (uint64_t seed = 1; seed <= 120; seed++) {
    SCOPED_TRACE(seed);
    const auto m = static_cast<int32_t>(2 + seed % 40);
    known_case k = optimal_case(seed, m, m + static_cast<int32_t>(seed % 50), 2.5 / m, 0.3);
    const tvn::simplex_param param = primal(static_cast<int32_t>(seed % 6));
    with_state(k.p, param, [&](tvn::simplex_state& s) {
      make_superbasics(s, seed);
      s.cold = false;
      tvn::primal_state p(s);
      tvn::psimplex_optimize(p);
      ASSERT_EQ(s.info.solsta, tvn::sol_optimal);
      EXPECT_NEAR(tvn::TVN_simplex_pointobjective(s), k.objective, 1e-6 * (1 + std::fabs(k.objective)));
      EXPECT_EQ(tvn::psimplex_findsuperbasic(p), -1);
      for (int32_t j = 0; j < s.work.total; j++) {
        if (s.fac.pos[j] >= 0) continue;
        const bool resting =
            s.x[j] == s.work.lower[j] || s.x[j] == s.work.upper[j] || (s.work.is_free(j) && s.x[j] == 0);
        EXPECT_TRUE(resting) << j;
      }
      EXPECT_LE(worst_row(s), 1e-9);
    });
  }
}

TEST(PrimalFeasibility, IsFoundExactlyWhenThereIsAFeasiblePoint) {
  int32_t feasible = 0, infeasible = 0;
  for (uint64_t seed = 1; seed <= 3000; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = nasty_case(seed);
    tvn::simplex_param param = primal();
    param.degen = static_cast<int32_t>(seed % 5);
    const run_result whole = run_simplex(p, param);
    if (whole.info.prosta == tvn::pro_prim_infeas) {
      bool crossing = false;
      for (size_t j = 0; j < p.blx.size(); j++) crossing = crossing || p.blx[j] > p.bux[j];
      for (size_t i = 0; i < p.blc.size(); i++) crossing = crossing || p.blc[i] > p.buc[i];
      if (crossing) continue;
    }
    with_state(p, param, [&](tvn::simplex_state& s) {
      make_superbasics(s, seed);
      s.cold = false;
      const bool found = tvn::TVN_simplex_primalfeas(s);
      if (whole.info.prosta == tvn::pro_prim_infeas) {
        infeasible++;
        EXPECT_FALSE(found);
        return;
      }
      feasible++;
      ASSERT_TRUE(found);
      EXPECT_LE(worst_row(s), 1e-9);
      for (int32_t j = 0; j < s.work.total; j++) {
        EXPECT_GE(s.x[j], s.work.lower[j] - 1e-7) << j;
        EXPECT_LE(s.x[j], s.work.upper[j] + 1e-7) << j;
      }
    });
  }
  EXPECT_GT(feasible, 300);
  EXPECT_GT(infeasible, 100);
}

// A column and its negative without upper bounds, cheaper together than nothing: a ray, whatever bounds are widened.
TEST(Unbounded, IsProvedOnTheTrueBoundsUnderEveryPerturbation) {
  for (uint64_t seed = 1; seed <= 60; seed++) {
    const auto m = static_cast<int32_t>(4 + seed % 30), n = static_cast<int32_t>(m + seed % 20);
    lp_case p = optimal_case(seed, m, n, 3.0 / m, 0.8).p;
    const size_t j = seed % p.c.size();
    p.bux[j] = 1e30;
    p.add_multiple(j, -1, -p.c[j] - 1, 0, 1e30);
    for (int32_t degen = 0; degen <= 4; degen++) {
      SCOPED_TRACE(std::to_string(seed) + " degen " + std::to_string(degen));
      tvn::simplex_param param = primal(static_cast<int32_t>(seed % 6));
      param.degen = degen;
      const run_result o = run_simplex(p, param);
      ASSERT_EQ(o.info.solsta, tvn::sol_dual_infeas_cer);
      EXPECT_LE(judge_unbounded(p, o.point), 1e-7);
    }
  }
}

namespace {

// Beale 1955 and Marshall and Suurballe 1969: the rule of the largest reduced cost circles without a remedy.
lp_case circling(bool first) {
  lp_case p;
  p.m = 3;
  p.n = 4;
  const std::vector<std::vector<double>> a =
      first ? std::vector<std::vector<double>>{{0.25, -60, -0.04, 9}, {0.5, -90, -0.02, 3}, {0, 0, 1, 0}}
            : std::vector<std::vector<double>>{{0.5, -5.5, -2.5, 9}, {0.5, -1.5, -0.5, 1}, {1, 0, 0, 0}};
  p.c = first ? std::vector<double>{-0.75, 150, -0.02, 6} : std::vector<double>{-10, 57, 9, 24};
  for (size_t j = 0; j < 4; j++) {
    for (size_t i = 0; i < 3; i++) p.put(static_cast<int32_t>(i), a[i][j]);
    p.end_column();
  }
  p.blc.assign(3, -1e30);
  p.buc = {0, 0, 1};
  p.blx.assign(4, 0);
  p.bux.assign(4, 1e30);
  return p;
}

// Assignment with few different costs: every vertex is degenerate and every step a tie.
lp_case assignment(uint64_t seed, int32_t size) {
  std::mt19937_64 rng(seed);
  lp_case p;
  p.m = 2 * size;
  p.n = size * size;
  for (int32_t i = 0; i < size; i++)
    for (int32_t j = 0; j < size; j++) {
      for (const int32_t row : {i, size + j}) p.put(row, 1);
      p.end_column(static_cast<double>(1 + rng() % 4), 0, seed % 2 ? 1e30 : 1);
    }
  p.blc.assign(size_t(p.m), 1);
  p.buc.assign(size_t(p.m), 1);
  return p;
}

} // namespace

TEST(Degenerate, ProblemsEndUnderEveryRuleWithPerturbationAndWithout) {
  for (int32_t selection = 0; selection <= 5; selection++)
    for (int32_t degen = 0; degen <= 4; degen++) {
      SCOPED_TRACE(std::to_string(selection) + " degen " + std::to_string(degen));
      tvn::simplex_param param = primal(selection);
      param.degen = degen;
      param.primalcrash = 101;
      param.maxiterations = 20000;
      for (const bool first : {true, false}) {
        lp_case p = circling(first);
        const run_result o = run_simplex(p, param);
        ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
        expect_optimal(p, o.point, first ? -0.05 : -1, 1e-9);
      }
      lp_case p = assignment(static_cast<uint64_t>(1 + selection), 14);
      tvn::simplex_param other = param;
      other.optimizer = tvn::kind_dual;
      const run_result o = run_simplex(p, param), d = run_simplex(p, other);
      ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
      expect_optimal(p, o.point, d.info.objective, 1e-9);
    }
}

TEST(Repair, OfASingularStartIsTold) {
  known_case k = optimal_case(4, 12, 30, 0.2, 0.3);
  lp_case& p = k.p;
  p.add_multiple(0, 1, p.c[0], 0, 0.5); // two equal columns, both basic
  lp_point start(p);
  for (int32_t& key : start.skx) key = tvn::sk_low;
  for (int32_t& key : start.skc) key = tvn::sk_bas;
  start.skx.front() = start.skx.back() = tvn::sk_bas;
  start.skc[size_t(p.sub[0])] = start.skc[size_t(p.sub[0] == 1 ? 2 : 1)] = tvn::sk_low;
  tvn::simplex_param param = primal();
  param.hotstart = 6;
  std::string lines;
  EXPECT_EQ(run_simplex(p, param, start, {&lines, collect_lines}).solsta, tvn::sol_optimal);
  EXPECT_NE(lines.find("Artficials. Current: 1 Total: 1."), std::string::npos) << lines;
}

// Thousands of candidates, pivot rows that meet few of them: choices come from the short list.
TEST(ShortList, OfCandidatesLeadsToTheOptimum) {
  known_case k = optimal_case(3, 700, 5000, 0.0015, 0.5);
  for (const int32_t selection : {3, 4, 5}) {
    SCOPED_TRACE(selection);
    tvn::simplex_param param = primal(selection);
    param.presolve = 0;
    const run_result o = run_simplex(k.p, param);
    ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
    expect_optimal(k.p, o.point, k.objective, 1e-8);
  }
}

namespace {

// Appends multiples of some columns, with bounds of their own.
void add_duplicates(lp_case& p, uint64_t seed, int32_t num) {
  std::mt19937_64 rng(seed * 31 + 7);
  const auto from = p.c.size();
  for (int32_t q = 0; q < num; q++) {
    const size_t j = rng() % from;
    const double f = std::vector<double>{-2, -1, -0.5, 1, 1, 3}[rng() % 6];
    const double lo = static_cast<double>(rng() % 3) - 1, lower = rng() % 5 == 0 ? -1e30 : lo;
    p.add_multiple(j, f, f * p.c[j], lower, rng() % 3 == 0 ? 1e30 : lo + static_cast<double>(rng() % 3));
  }
}

} // namespace

TEST(DuplicateColumns, AsOneGiveTheSameAnswerAndAProof) {
  std::map<int32_t, int32_t> met;
  for (uint64_t seed = 1; seed <= 3000; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = seed % 10 == 0 ? optimal_case(seed, 30, 40, 0.1, 0.3).p : nasty_case(seed);
    add_duplicates(p, seed, static_cast<int32_t>(1 + seed % 9));
    tvn::simplex_param param = primal(static_cast<int32_t>(seed % 6));
    param.primalcrash = seed % 4 == 0 ? 90 : 101;
    const run_result plain = run_simplex(p, param);
    param.dupvec = seed % 3 == 0 ? 1 : 2;
    const run_result o = run_simplex(p, param);
    ASSERT_EQ(o.info.prosta, plain.info.prosta);
    ASSERT_EQ(o.info.solsta, plain.info.solsta);
    expect_proved(p, o.point, o.info.solsta, plain.info.objective);
    met[o.info.solsta]++;
  }
  EXPECT_GT(met[tvn::sol_optimal], 300);
  EXPECT_GT(met[tvn::sol_prim_infeas_cer], 100);
  EXPECT_GT(met[tvn::sol_dual_infeas_cer], 100);
}

TEST(SteepestEdge, BeginsWithTheNormsOfItsStart) {
  lp_case p = optimal_case(3, 60, 90, 0.08, 0.2).p;
  bench b(p);
  tvn::simplex_state& s = *b.state;
  b.param.primalcrash = 0;
  tvn::TVN_simplex_primalcrash(s);
  b.param.selection = tvn::sel_se;
  b.param.maxiterations = 0;
  tvn::primal_state run(s);
  tvn::psimplex_optimize(run);
  int32_t structurals = 0;
  for (const int32_t j : s.fac.head) structurals += !b.work.is_logical(j);
  EXPECT_GT(structurals, 0);
  for (int32_t j = 0; j < b.work.total; j++) {
    if (s.fac.pos[j] >= 0 || b.work.is_fixed(j)) continue;
    tvn::TVN_simplex_solvecolumn(s, j);
    double norm = 1;
    for (int32_t k = 0; k < b.work.m; k++) norm += s.aq.val[k] * s.aq.val[k];
    EXPECT_NEAR(run.price.weight[j], norm, 1e-9 * norm) << j;
    s.spike.clear();
    s.aq.clear();
  }
}
