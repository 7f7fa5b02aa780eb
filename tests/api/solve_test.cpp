// If these failed in the field: a wrong optimum or status handed out as proven, a caller's costs changed behind his
// back, a run that cannot be stopped, or a task that is of no use after one that was.
#include "envtask.h"
#include "lptask.h"
#include "support/rational.h"

#include <chrono>
#include <cstring>

using namespace apitest;
using tvntest::known_case;

namespace {

struct Solve : EnvTask {
  void set(int32_t param, int32_t value) { ASSERT_EQ(TVN_putintparam(task, param, value), TVN_RES_OK); }
  void set(int32_t param, double value) { ASSERT_EQ(TVN_putdouparam(task, param, value), TVN_RES_OK); }
  void fresh_task() {
    ASSERT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    ASSERT_EQ(TVN_putresponsefunc(task, respond, this), TVN_RES_OK);
  }
  void expect_costs(const lp_case& p) {
    std::vector<double> c(p.c.size());
    double cfix = 0;
    ASSERT_EQ(TVN_getc(task, c.data()), TVN_RES_OK);
    ASSERT_EQ(TVN_getcfix(task, &cfix), TVN_RES_OK);
    EXPECT_EQ(std::memcmp(c.data(), p.c.data(), c.size() * sizeof(double)), 0) << "costs were changed";
    EXPECT_EQ(cfix, p.cfix);
  }
  void expect_optimum(const lp_case& p, double objective, bool maximize = false) {
    const outcome a = basic_solution(task, p);
    ASSERT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
    EXPECT_EQ(a.prosta, TVN_PRO_STA_PRIM_AND_DUAL_FEAS);
    if (maximize)
      expect_optimal(negated(p), with_negated_duals(a.point), -objective, 1e-7);
    else
      expect_optimal(p, a.point, objective, 1e-7);
    double primal = 0, dual = 0;
    ASSERT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &primal), TVN_RES_OK);
    ASSERT_EQ(TVN_getdualobj(task, TVN_SOL_BAS, &dual), TVN_RES_OK);
    EXPECT_NEAR(primal, objective, 1e-7 * (1 + std::fabs(objective)));
    EXPECT_NEAR(dual, objective, 1e-7 * (1 + std::fabs(objective)));
    expect_costs(p);
  }
};

known_case with_offset(uint64_t seed, int32_t m, int32_t n, double density) {
  known_case k = tvntest::optimal_case(seed, m, n, density, 0.3);
  k.p.cfix = 3.25;
  k.objective += k.p.cfix;
  return k;
}

bool same_bits(const lp_point& a, const lp_point& b) {
  const auto same = [](const auto& u, const auto& v) {
    return u.size() == v.size() && std::memcmp(u.data(), v.data(), u.size() * sizeof(u[0])) == 0;
  };
  return same(a.skc, b.skc) && same(a.skx, b.skx) && same(a.xc, b.xc) && same(a.xx, b.xx) && same(a.y, b.y) &&
         same(a.slc, b.slc) && same(a.suc, b.suc) && same(a.slx, b.slx) && same(a.sux, b.sux);
}

// Counts its calls and answers nonzero from one of them on.
struct stopper {
  int32_t calls = 0, stopat = 0;
  static int32_t call(TVNtask_t task, void* handle, int32_t) {
    auto& self = *static_cast<stopper*>(handle);
    int32_t value = 0;
    EXPECT_EQ(TVN_getintinf(task, TVN_IINF_SIM_PRIMAL_ITER, &value), TVN_RES_OK);
    return ++self.calls == self.stopat ? 7 : 0;
  }
};

} // namespace

TEST_F(Solve, FindsKnownOptimaBothWaysRoundAndLeavesTheDataAlone) {
  for (uint64_t seed = 1; seed <= 12; seed++) {
    SCOPED_TRACE(seed);
    fresh_task();
    known_case k = with_offset(seed, 20 + 4 * static_cast<int32_t>(seed), 40, 0.15);
    ASSERT_EQ(seed % 2 ? input(task, k.p) : append_and_put(task, k.p), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    expect_optimum(k.p, k.objective);

    lp_case up = negated(k.p);
    ASSERT_EQ(input(task, up), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    expect_optimum(up, -k.objective, true);
    // Again from the optimal basis: the stored duals change their signs on the way in and out.
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    expect_optimum(up, -k.objective, true);
    EXPECT_EQ(simplex_iterations(task), 0);
  }
}

TEST_F(Solve, AgreesWithExactArithmeticAndProvesWhatHasNoOptimum) {
  int32_t seen[3] = {0, 0, 0};
  for (uint64_t seed = 1; seed <= 600 && !HasFailure(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    lp_case p = tvntest::nasty_case(seed);
    const bool maximize = seed % 2 == 0;
    tvntest::exact_result exact{};
    try {
      exact = solve_exactly(p);
    } catch (const std::overflow_error&) { continue; }
    lp_case asked = maximize ? negated(p) : p;
    ASSERT_EQ(input(task, asked), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, maximize ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE),
              TVN_RES_OK);
    constexpr int32_t optimizers[] = {TVN_OPTIMIZER_PRIMAL_SIMPLEX, TVN_OPTIMIZER_DUAL_SIMPLEX,
                                      TVN_OPTIMIZER_FREE_SIMPLEX};
    set(TVN_IPAR_OPTIMIZER, optimizers[seed % 3]);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    seen[static_cast<int>(exact.status)]++;
    if (exact.status == tvntest::exact_status::optimal) {
      expect_optimum(asked, maximize ? -exact.objective : exact.objective, maximize);
      continue;
    }
    outcome a = basic_solution(task, asked);
    if (maximize) a.point = with_negated_duals(a.point);
    // What has neither a point nor a bound may be proven either way when the dual simplex meets the ray first.
    const bool ray = seed % 3 != 0 && a.solsta == TVN_SOL_STA_DUAL_INFEAS_CER;
    if (exact.status == tvntest::exact_status::infeasible && !ray) {
      ASSERT_EQ(a.solsta, TVN_SOL_STA_PRIM_INFEAS_CER);
      EXPECT_EQ(a.prosta, TVN_PRO_STA_PRIM_INFEAS);
      EXPECT_LE(judge_infeasible(p, a.point), 1e-9);
    } else {
      ASSERT_EQ(a.solsta, TVN_SOL_STA_DUAL_INFEAS_CER);
      EXPECT_EQ(a.prosta, TVN_PRO_STA_DUAL_INFEAS);
      EXPECT_LE(judge_unbounded(p, a.point), 1e-9);
    }
  }
  for (const int32_t n : seen) EXPECT_GT(n, 20) << "the seeds no longer meet every status";
}

TEST_F(Solve, AnIterationLimitAndATimeLimitEndTheRunWithTheirCodes) {
  known_case k = with_offset(5, 60, 90, 0.1);
  ASSERT_EQ(input(task, k.p), TVN_RES_OK);
  TVNrescodee trm = -1;
  set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE_SIMPLEX);
  set(TVN_IPAR_SIM_MAX_ITERATIONS, 3);
  EXPECT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
  EXPECT_EQ(trm, TVN_RES_TRM_MAX_ITERATIONS);
  EXPECT_EQ(simplex_iterations(task), 3);
  EXPECT_NE(basic_solution(task, k.p).solsta, TVN_SOL_STA_OPTIMAL);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_TRM_MAX_ITERATIONS) << "the plain call returns the termination itself";
  set(TVN_IPAR_SIM_MAX_ITERATIONS, 0);
  EXPECT_EQ(TVN_optimizetrm(task, nullptr), TVN_RES_OK);
  EXPECT_EQ(simplex_iterations(task), 0);

  set(TVN_IPAR_SIM_MAX_ITERATIONS, 10000000);
  set(TVN_DPAR_OPTIMIZER_MAX_TIME, 0.0);
  EXPECT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
  EXPECT_EQ(trm, TVN_RES_TRM_MAX_TIME);
  expect_costs(k.p);
  set(TVN_DPAR_OPTIMIZER_MAX_TIME, -1.0);
  EXPECT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
  EXPECT_EQ(trm, TVN_RES_OK);
  expect_optimum(k.p, k.objective);
}

TEST_F(Solve, ACallbackStopsTheRunAtAnyCallAndTheTaskSolvesAfterwards) {
  known_case k = with_offset(8, 50, 70, 0.12);
  lp_case up = negated(k.p);
  ASSERT_EQ(input(task, up), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  set(TVN_IPAR_LOG_SIM_FREQ, 10);
  stopper s;
  ASSERT_EQ(TVN_putcallbackfunc(task, stopper::call, &s), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  const int32_t all = s.calls;
  ASSERT_GT(all, 6);
  for (int32_t at = 1; at <= all; at++) {
    SCOPED_TRACE(at);
    s = {0, at};
    ASSERT_EQ(TVN_deletesolution(task, TVN_SOL_BAS), TVN_RES_OK);
    TVNrescodee trm = -1;
    ASSERT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
    if (s.calls < at) break; // polls follow the clock, so another run may have fewer of them
    EXPECT_EQ(trm, TVN_RES_TRM_USER_CALLBACK);
    expect_costs(up);
  }
  ASSERT_EQ(TVN_putcallbackfunc(task, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  expect_optimum(up, -k.objective, true);
}

TEST_F(Solve, AStopIsHeardSoonInALongRun) {
  using clock = std::chrono::steady_clock;
  struct watch {
    clock::time_point begin, last;
    double gap = 0;
    static double seconds(clock::duration d) { return std::chrono::duration<double>(d).count(); }
    static int32_t call(TVNtask_t, void* handle, int32_t) {
      auto& w = *static_cast<watch*>(handle);
      const auto now = clock::now();
      w.gap = std::max(w.gap, seconds(now - w.last));
      w.last = now;
      return seconds(now - w.begin) > 0.7;
    }
  } w;
  known_case k = with_offset(3, 1500, 2200, 0.03);
  ASSERT_EQ(input(task, k.p), TVN_RES_OK);
  ASSERT_EQ(TVN_putcallbackfunc(task, watch::call, &w), TVN_RES_OK);
  w.begin = w.last = clock::now();
  const TVNrescodee code = TVN_optimize(task);
  const double after = watch::seconds(clock::now() - w.last);
  ASSERT_EQ(code, TVN_RES_TRM_USER_CALLBACK) << "the problem is too easy for this test";
  // A tenth of a second is the aim; ten times that is a fault on any machine.
  EXPECT_LT(w.gap, 1.0) << "between two calls";
  EXPECT_LT(after, 1.0) << "from the answer of the callback to the end";
}

TEST_F(Solve, TheSameProblemTakesTheSamePathToTheSameBits) {
  known_case k = with_offset(21, 90, 130, 0.08);
  ASSERT_EQ(input(task, k.p), TVN_RES_OK);
  set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE_SIMPLEX);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  const int32_t iterations = simplex_iterations(task);
  const lp_point first = basic_solution(task, k.p).point;
  ASSERT_GT(iterations, 20);

  ASSERT_EQ(TVN_deletesolution(task, TVN_SOL_BAS), TVN_RES_OK);
  set(TVN_IPAR_LOG, 0);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_EQ(simplex_iterations(task), iterations);
  EXPECT_TRUE(same_bits(first, basic_solution(task, k.p).point)) << "without log";

  set(TVN_IPAR_SIM_HOTSTART, TVN_SIM_HOTSTART_NONE);
  set(TVN_IPAR_LOG_SIM_FREQ, 1);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_EQ(simplex_iterations(task), iterations) << "no hot start means from the beginning";
  EXPECT_TRUE(same_bits(first, basic_solution(task, k.p).point));

  // Another environment, without guards around its blocks.
  TVNenv_t other = nullptr;
  TVNtask_t twin = nullptr;
  ASSERT_EQ(TVN_makeenv(&other, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(other), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(other, &twin), TVN_RES_OK);
  ASSERT_EQ(input(twin, k.p), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(twin, TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE_SIMPLEX), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(twin), TVN_RES_OK);
  EXPECT_EQ(simplex_iterations(twin), iterations);
  EXPECT_TRUE(same_bits(first, basic_solution(twin, k.p).point)) << "in other memory";
  EXPECT_EQ(TVN_deletetask(&twin), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&other), TVN_RES_OK);
}

TEST_F(Solve, AChangedProblemStartsFromTheOldBasis) {
  known_case k = with_offset(31, 100, 140, 0.08);
  lp_case& p = k.p;
  ASSERT_EQ(input(task, p), TVN_RES_OK);
  set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE_SIMPLEX);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  const int32_t cold = simplex_iterations(task);
  lp_point s = basic_solution(task, p).point;
  const auto resolve = [&](const char* change, int32_t below) {
    SCOPED_TRACE(change);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    EXPECT_LT(simplex_iterations(task), below);
    // The same problem from the beginning, in a task of its own, is the judge of the optimum.
    TVNtask_t fresh = nullptr;
    double objective = 0;
    ASSERT_EQ(TVN_makeemptytask(env, &fresh), TVN_RES_OK);
    ASSERT_EQ(input(fresh, p), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(fresh), TVN_RES_OK);
    ASSERT_EQ(TVN_getprimalobj(fresh, TVN_SOL_BAS, &objective), TVN_RES_OK);
    ASSERT_EQ(TVN_deletetask(&fresh), TVN_RES_OK);
    expect_optimum(p, objective);
    s = basic_solution(task, p).point;
  };
  resolve("nothing", 1);

  // A basic variable made dearer; a nonbasic one made cheap enough to enter.
  size_t j = 0;
  while (s.skx[j] != TVN_SK_BAS) j++;
  p.c[j] += 2;
  ASSERT_EQ(TVN_putcj(task, static_cast<int32_t>(j), p.c[j]), TVN_RES_OK);
  resolve("a cost", cold / 2);

  // A row with a slack activity is tightened to cut the optimum off a little.
  size_t i = 0;
  while (s.skc[i] != TVN_SK_BAS || p.buc[i] - p.blc[i] < 1 || p.blc[i] <= -1e30) i++;
  p.blc[i] = s.xc[i] + std::min(0.25, (p.buc[i] - s.xc[i]) / 2);
  ASSERT_EQ(TVN_chgbound(task, TVN_ACC_CON, static_cast<int32_t>(i), 1, 1, p.blc[i]), TVN_RES_OK);
  resolve("a bound", cold); // the basis has lost its feasibility, so the gain is smaller

  // A new row that the optimum does not satisfy: sum of the first columns at most a little less than now.
  lp_case wider = p;
  wider.m++;
  wider.beg.assign(1, 0);
  wider.sub.clear();
  wider.val.clear();
  std::vector<int32_t> sub;
  double now = 0;
  for (int32_t col = 0; col < p.n; col++) {
    for (int64_t e = p.beg[size_t(col)]; e < p.beg[size_t(col) + 1]; e++) {
      wider.sub.push_back(p.sub[size_t(e)]);
      wider.val.push_back(p.val[size_t(e)]);
    }
    if (s.skx[size_t(col)] == TVN_SK_BAS && sub.size() < 5) {
      sub.push_back(col);
      now += s.xx[size_t(col)];
      wider.sub.push_back(p.m);
      wider.val.push_back(1);
    }
    wider.beg.push_back(static_cast<int64_t>(wider.sub.size()));
  }
  wider.blc.push_back(-1e30);
  wider.buc.push_back(now - 0.125);
  const std::vector<double> ones(sub.size(), 1.0);
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 1), TVN_RES_OK);
  ASSERT_EQ(TVN_putavec(task, TVN_ACC_CON, p.m, static_cast<int32_t>(sub.size()), sub.data(), ones.data()), TVN_RES_OK);
  ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, p.m, TVN_BK_UP, -1e30, wider.buc.back()), TVN_RES_OK);
  p = wider;
  resolve("a row", cold);
}

TEST_F(Solve, IntegerVariablesNeedAnOptimizerOfTheirOwnOrToBeIgnored) {
  known_case k = with_offset(2, 20, 30, 0.2);
  ASSERT_EQ(input(task, k.p), TVN_RES_OK);
  ASSERT_EQ(TVN_putvartype(task, 4, TVN_VAR_TYPE_INT), TVN_RES_OK);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_ERR_MIO_NO_OPTIMIZER);
  // A refused type costs the count one, and the variable stays integer.
  int32_t counted = -1;
  EXPECT_EQ(TVN_putvartype(task, 4, 7), TVN_RES_ERR_INV_VAR_TYPE);
  EXPECT_EQ(TVN_getnumintvar(task, &counted), TVN_RES_OK);
  EXPECT_EQ(counted, 0);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_ERR_MIO_NO_OPTIMIZER);
  int32_t defined = -1;
  EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_BAS, &defined), TVN_RES_OK);
  EXPECT_EQ(defined, 0);
  set(TVN_IPAR_MIO_MODE, TVN_MIO_MODE_IGNORED);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_OK);
  expect_optimum(k.p, k.objective);
}

TEST_F(Solve, AnOptimizerThatCannotTakeTheProblemLeavesTheSolution) {
  known_case k = with_offset(4, 20, 30, 0.2);
  ASSERT_EQ(input(task, k.p), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  const lp_point before = basic_solution(task, k.p).point;
  for (const int32_t optimizer : {TVN_OPTIMIZER_CONCURRENT, TVN_OPTIMIZER_PRIMAL_DUAL_SIMPLEX}) {
    SCOPED_TRACE(optimizer);
    set(TVN_IPAR_OPTIMIZER, optimizer);
    TVNrescodee trm = -1;
    EXPECT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_ERR_INV_OPTIMIZER);
    EXPECT_EQ(trm, TVN_RES_OK);
    const outcome a = basic_solution(task, k.p);
    EXPECT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
    EXPECT_TRUE(same_bits(before, a.point));
  }
  set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_DUAL_SIMPLEX);
  const int32_t sub[] = {0};
  const double val[] = {1};
  ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_UP, 0, 1), TVN_RES_OK);
  ASSERT_EQ(TVN_putqconk(task, 0, 1, sub, sub, val), TVN_RES_OK);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_ERR_INV_OPTIMIZER) << "a quadratic row";
}

TEST_F(Solve, CrossedBoundsAreProvenInfeasible) {
  known_case k = with_offset(6, 12, 15, 0.3);
  for (const bool row : {true, false}) {
    lp_case p = k.p;
    (row ? p.blc : p.blx)[3] = 5;
    (row ? p.buc : p.bux)[3] = 4;
    ASSERT_EQ(input(task, p), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    const outcome a = basic_solution(task, p);
    EXPECT_EQ(a.prosta, TVN_PRO_STA_PRIM_INFEAS);
    ASSERT_EQ(a.solsta, TVN_SOL_STA_PRIM_INFEAS_CER);
    EXPECT_LE(judge_infeasible(p, a.point), 1e-9);
  }
  ASSERT_EQ(input(task, k.p), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  expect_optimum(k.p, k.objective);
}
