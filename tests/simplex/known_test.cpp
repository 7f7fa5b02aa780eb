// If this failed in the field: a problem and its permuted, rescaled or negated twin would get different answers, a
// limit or a stop would not be heard, or two runs would differ.
#include "support/run.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

using namespace tvntest;

namespace {

struct recorder {
  int64_t calls = 0, stop_at = -1;
  uint64_t requests_seen = 0;
  int64_t factorizations = -1, moved = 0;
  tvn::simplex_kind kind = tvn::kind_free;
  tvn::sysenv* sys = nullptr;
  static int32_t progress(void* handle, tvn::simplex_event event, const tvn::simplex_info& info) {
    auto& r = *static_cast<recorder*>(handle);
    if (event != tvn::simplex_event::iteration) return 0;
    // Between two iterations of an optimizer on one factor nothing may be allocated.
    const uint64_t now = r.sys->mman->numrequests;
    const int64_t factorizations =
        info.count[tvn::kind_primal].factorizations + info.count[tvn::kind_dual].factorizations;
    if (r.calls > 1 && info.kind == r.kind && factorizations == r.factorizations && now != r.requests_seen) r.moved++;
    r.requests_seen = now;
    r.factorizations = factorizations;
    r.kind = info.kind;
    return ++r.calls == r.stop_at;
  }
};

struct outcome {
  tvn::simplex_info info;
  lp_point point;
  recorder seen;
};

constexpr tvn::simplex_kind kinds[] = {tvn::kind_free, tvn::kind_primal, tvn::kind_dual};

outcome solve(lp_case& p, tvn::simplex_param param = direct_param(), int64_t stop_at = -1,
              const lp_point* start = nullptr, int32_t logfreq = 1) {
  const checked_env sys;
  outcome o{{}, start ? *start : lp_point(p), {}};
  o.seen.sys = &*sys;
  o.seen.stop_at = stop_at;
  param.logfreq = logfreq;
  o.info = run_simplex(*sys, p.view(), param, o.point, {&o.seen, recorder::progress});
  return o;
}

// Rows and columns in another order and scaled by powers of two.
lp_case transformed(const lp_case& p, uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<int32_t> rows(static_cast<size_t>(p.m)), cols(static_cast<size_t>(p.n));
  std::iota(rows.begin(), rows.end(), 0);
  std::iota(cols.begin(), cols.end(), 0);
  std::shuffle(rows.begin(), rows.end(), rng);
  std::shuffle(cols.begin(), cols.end(), rng);
  std::vector<double> rs(rows.size()), cs(cols.size());
  for (double& s : rs) s = std::exp2(static_cast<double>(rng() % 13) - 6);
  for (double& s : cs) s = std::exp2(static_cast<double>(rng() % 13) - 6);
  const auto scaled = [](double b, double by) { return std::fabs(b) >= 1e30 ? b : b * by; };
  lp_case q;
  q.m = p.m;
  q.n = p.n;
  q.cfix = p.cfix;
  q.blc.resize(rows.size());
  q.buc.resize(rows.size());
  for (size_t i = 0; i < rows.size(); i++) {
    q.blc[size_t(rows[i])] = scaled(p.blc[i], rs[i]);
    q.buc[size_t(rows[i])] = scaled(p.buc[i], rs[i]);
  }
  for (size_t k = 0; k < cols.size(); k++) {
    const auto j = size_t(cols[k]);
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) {
      const auto i = size_t(p.sub[size_t(e)]);
      q.put(rows[i], p.val[size_t(e)] * rs[i] * cs[j]);
    }
    q.end_column(p.c[j] * cs[j], scaled(p.blx[j], 1 / cs[j]), scaled(p.bux[j], 1 / cs[j]));
  }
  return q;
}

} // namespace

TEST(KnownOptimum, IsFoundForTheProblemAndItsTwins) {
  for (uint64_t seed = 1; seed <= 40; seed++) {
    const auto m = static_cast<int32_t>(10 + 7 * (seed % 12)), n = static_cast<int32_t>(m + m * (seed % 5) / 2 + 3);
    known_case k = optimal_case(seed, m, n, 3.0 / m, 0.1 * static_cast<double>(seed % 10));
    lp_case twin = transformed(k.p, seed);
    for (const auto kind : kinds) {
      SCOPED_TRACE(std::to_string(seed) + " by " + std::to_string(kind));
      const outcome o = solve(k.p, param_by(kind));
      ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
      expect_optimal(k.p, o.point, k.objective, 1e-8);
#if TVN_CHECK_LEVEL < 3 // the audit of every iteration takes memory
      EXPECT_EQ(o.seen.moved, 0);
#endif
      const outcome t = solve(twin, param_by(kind));
      ASSERT_EQ(t.info.solsta, tvn::sol_optimal);
      EXPECT_NEAR(t.info.objective, k.objective, 1e-8 * (1 + std::fabs(k.objective)));
    }
  }
}

TEST(KnownOptimum, IsTheSameUnderEveryRuleAndScaling) {
  known_case k = optimal_case(77, 120, 260, 0.03, 0.5);
  for (const auto kind : kinds)
    for (int32_t selection = 0; selection <= 5; selection++)
      for (const int32_t scaling : {0, 1, 4}) {
        SCOPED_TRACE(std::to_string(kind) + " " + std::to_string(selection) + " " + std::to_string(scaling));
        tvn::simplex_param param = param_by(kind);
        param.selection = param.dualselection = selection;
        param.scaling = scaling;
        param.restrictpct = scaling == 4 ? 90 : 50;
        param.presolve = scaling == 1;
        const outcome o = solve(k.p, param);
        ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
        expect_optimal(k.p, o.point, k.objective, 1e-8);
      }
}

TEST(KnownOptimum, SurvivesBadUnitsWithAndWithoutPerturbation) {
  for (uint64_t seed = 1; seed <= 150; seed++) {
    SCOPED_TRACE(seed);
    std::mt19937_64 rng(seed * 7919);
    const auto m = static_cast<int32_t>(5 + rng() % 90),
               n = static_cast<int32_t>(m / 2 + 1 + static_cast<int32_t>(rng() % 200));
    known_case k =
        optimal_case(seed, m, n, (1.0 + static_cast<double>(rng() % 5)) / m, 0.1 * static_cast<double>(rng() % 11));
    lp_case& p = k.p;
    std::uniform_real_distribution<double> decades(-8, 8);
    std::vector<double> rs(static_cast<size_t>(m)), cs(static_cast<size_t>(n));
    for (double& v : rs) v = std::pow(10, decades(rng));
    for (double& v : cs) v = std::pow(10, decades(rng) / 2);
    const auto scaled = [](double b, double by) { return std::fabs(b) >= 1e30 ? b : b * by; };
    for (size_t j = 0; j < cs.size(); j++) {
      for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) p.val[size_t(e)] *= rs[size_t(p.sub[size_t(e)])] * cs[j];
      p.c[j] *= cs[j];
      p.blx[j] = scaled(p.blx[j], 1 / cs[j]);
      p.bux[j] = scaled(p.bux[j], 1 / cs[j]);
    }
    for (size_t i = 0; i < rs.size(); i++) {
      p.blc[i] = scaled(p.blc[i], rs[i]);
      p.buc[i] = scaled(p.buc[i], rs[i]);
    }
    for (const auto kind : {tvn::kind_primal, tvn::kind_dual}) {
      SCOPED_TRACE(kind);
      tvn::simplex_param param = param_by(kind);
      param.selection = param.dualselection = static_cast<int32_t>(seed % 6);
      param.degen = static_cast<int32_t>(seed / 6 % 5);
      param.maxiterations = 50000; // a stall shows as the limit
      param.presolve = seed % 3 == 0;
      const outcome o = solve(p, param);
      ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
      EXPECT_NEAR(o.info.objective, k.objective, 1e-6 * (1 + std::fabs(k.objective)));
    }
  }
}

TEST(TwoRuns, GiveTheSameIterationsAndBitsWithLinesOrWithout) {
  known_case k = optimal_case(5, 150, 300, 0.03, 0.7);
  for (const auto kind : kinds) {
    SCOPED_TRACE(kind);
    const outcome a = solve(k.p, param_by(kind));
    for (const int32_t logfreq : {1, 0}) {
      const outcome b = solve(k.p, param_by(kind), -1, nullptr, logfreq);
      EXPECT_EQ(iterations(a.info), iterations(b.info));
      EXPECT_EQ(0, std::memcmp(a.point.xx.data(), b.point.xx.data(), a.point.xx.size() * sizeof(double)));
      EXPECT_EQ(0, std::memcmp(a.point.y.data(), b.point.y.data(), a.point.y.size() * sizeof(double)));
    }
  }
}

// Else the counts by reason, from which a run in trouble is judged, hide what made the factor.
TEST(Recomputations, HaveAReasonForEachFactor) {
  for (uint64_t seed = 1; seed <= 40; seed++) {
    SCOPED_TRACE(seed);
    lp_case p = optimal_case(seed, 40, 60, 0.1, 0.3).p;
    const tvn::simplex_info info = solve(p, param_by(kinds[1 + seed % 2])).info;
    const auto& why = info.recomputes;
    const int64_t factors = info.count[tvn::kind_primal].factorizations + info.count[tvn::kind_dual].factorizations;
    EXPECT_GE(why[size_t(tvn::recompute_why::start)], 1);
    EXPECT_GE(std::accumulate(why.begin(), why.end(), int64_t{0}), factors);
  }
}

TEST(HotStart, FromTheOptimalKeysNeedsNoPivotAndFromWildKeysStillSolves) {
  known_case k = optimal_case(9, 80, 160, 0.05, 0.3);
  const outcome cold = solve(k.p);
  ASSERT_EQ(cold.info.solsta, tvn::sol_optimal);
  for (const auto kind : kinds) {
    tvn::simplex_param param = param_by(kind);
    param.hotstart = 4;
    const outcome hot = solve(k.p, param, -1, &cold.point);
    EXPECT_EQ(hot.info.solsta, tvn::sol_optimal);
    EXPECT_EQ(iterations(hot.info), 0);
    // Keys that contradict the bounds, too many and too few basics, a singular choice.
    for (uint64_t seed = 1; seed <= 20; seed++) {
      SCOPED_TRACE(std::to_string(kind) + " " + std::to_string(seed));
      std::mt19937_64 rng(seed);
      lp_point start = cold.point;
      for (int32_t& sk : start.skx) sk = static_cast<int32_t>(rng() % (seed % 2 ? 7 : 2));
      for (int32_t& sk : start.skc) sk = static_cast<int32_t>(rng() % 7);
      for (double& x : start.xx) x = seed % 3 == 0 ? std::numeric_limits<double>::quiet_NaN() : 1e9;
      param.presolve = seed % 4 == 1; // the keys of what is left, repaired
      param.hotstart = 6;
      const outcome o = solve(k.p, param, -1, &start);
      ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
      expect_optimal(k.p, o.point, k.objective, 1e-8);
    }
  }
}

// After a small change the old basis is near the new optimum: by geometric mean at most a fifth of the iterations.
TEST(HotStart, AfterAChangeOfBoundsOrCostsTakesFewIterations) {
  double logratio = 0;
  int32_t num = 0;
  for (uint64_t seed = 1; seed <= 30; seed++) {
    SCOPED_TRACE(seed);
    known_case k = optimal_case(seed, 120, 240, 0.03, 0.3);
    const outcome first = solve(k.p);
    ASSERT_EQ(first.info.solsta, tvn::sol_optimal);
    std::mt19937_64 rng(seed);
    lp_case& p = k.p;
    for (int32_t change = 0; change < 2; change++) { // a hundredth of the columns
      const size_t j = rng() % p.c.size();
      if (seed % 2)
        p.c[j] += 0.1 * (1 + std::fabs(p.c[j]));
      else if (p.bux[j] < 1e30)
        p.bux[j] += 0.5;
      else if (p.blx[j] > -1e30)
        p.blx[j] -= 0.5;
    }
    const outcome cold = solve(p);
    tvn::simplex_param param = direct_param();
    param.hotstart = 6;
    const outcome hot = solve(p, param, -1, &first.point);
    ASSERT_EQ(cold.info.solsta, tvn::sol_optimal);
    ASSERT_EQ(hot.info.solsta, tvn::sol_optimal);
    EXPECT_NEAR(hot.info.objective, cold.info.objective, 1e-8 * (1 + std::fabs(cold.info.objective)));
    logratio += std::log((1.0 + static_cast<double>(iterations(hot.info))) /
                         (1.0 + static_cast<double>(iterations(cold.info))));
    num++;
  }
  EXPECT_LE(std::exp(logratio / num), 0.2);
}

TEST(Limits, AreRespectedAndNeverCalledOptimal) {
  known_case k = optimal_case(3, 200, 400, 0.03, 0.3);
  for (const auto kind : kinds) {
    SCOPED_TRACE(kind);
    tvn::simplex_param param = param_by(kind);
    param.maxiterations = 17;
    const outcome few = solve(k.p, param);
    EXPECT_EQ(few.info.response, tvn::simplex_code::max_iterations);
    EXPECT_LE(iterations(few.info), 17);
    EXPECT_NE(few.info.solsta, tvn::sol_optimal);
    param = param_by(kind);
    param.maxtime = 0;
    EXPECT_EQ(solve(k.p, param).info.response, tvn::simplex_code::max_time);
    const outcome stopped = solve(k.p, param_by(kind), 25);
    EXPECT_EQ(stopped.info.response, tvn::simplex_code::user_stop);
    EXPECT_EQ(stopped.seen.calls, 25);
  }
}

// The dual objective rises to the optimum: a cut below it ends the run, one above it does not.
TEST(Limits, AnObjectiveCutEndsTheDualSimplexOnlyWhenItIsReached) {
  known_case k = optimal_case(11, 100, 200, 0.03, 0.3);
  tvn::simplex_param param = param_by(tvn::kind_dual);
  param.cuts.useupp = true;
  param.refactorfreq = 1; // the objective is looked at when it is fresh
  param.cuts.upp = k.objective - 0.01 * (1 + std::fabs(k.objective));
  const outcome cut = solve(k.p, param);
  EXPECT_EQ(cut.info.response, tvn::simplex_code::objective_range);
  EXPECT_NE(cut.info.solsta, tvn::sol_optimal);
  param.cuts.upp = k.objective + 0.01 * (1 + std::fabs(k.objective));
  EXPECT_EQ(solve(k.p, param).info.solsta, tvn::sol_optimal);
}

TEST(NotFinite, DataNeverGiveAnOptimum) {
  for (uint64_t seed = 1; seed <= 200; seed++) {
    SCOPED_TRACE(seed);
    std::mt19937_64 rng(seed);
    const auto m = static_cast<int32_t>(3 + rng() % 30), n = static_cast<int32_t>(3 + rng() % 60);
    known_case k = optimal_case(seed, m, n, 3.0 / m, 0.3);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    if (seed % 2)
      k.p.c[rng() % k.p.c.size()] = seed % 4 == 1 ? nan : std::numeric_limits<double>::infinity();
    else
      k.p.val[rng() % k.p.val.size()] = nan;
    tvn::simplex_param param = param_by(kinds[seed / 4 % 3]);
    param.maxiterations = 5000;
    param.presolve = static_cast<int32_t>(seed / 12 % 2);
    EXPECT_NE(solve(k.p, param).info.solsta, tvn::sol_optimal);
  }
}

TEST(Trivial, ProblemsWithoutRowsOrColumnsAndCrossingBoundsAreSettled) {
  for (const int32_t presolve : {0, 1}) {
    const auto settled = [&](lp_case& p) {
      tvn::simplex_param param = direct_param();
      param.presolve = presolve;
      return solve(p, param);
    };
    lp_case none;
    none.beg = {0};
    EXPECT_EQ(settled(none).info.solsta, tvn::sol_optimal);
    lp_case free_rows = none;
    free_rows.m = 2;
    free_rows.blc = {-1e30, -1};
    free_rows.buc = {1e30, 1};
    EXPECT_EQ(settled(free_rows).info.solsta, tvn::sol_optimal);
    lp_case columns;
    columns.n = 3;
    columns.beg = {0, 0, 0, 0};
    columns.c = {1, -1, 0};
    columns.blx = {2, -5, -1e30};
    columns.bux = {1e30, 4, 1e30};
    const outcome o = settled(columns);
    ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
    EXPECT_DOUBLE_EQ(o.info.objective, -2);
    columns.bux[1] = 1e30;
    EXPECT_EQ(settled(columns).info.solsta, tvn::sol_dual_infeas_cer);
    columns.bux[1] = -6;
    const outcome crossed = settled(columns);
    EXPECT_EQ(crossed.info.solsta, tvn::sol_prim_infeas_cer);
    EXPECT_TRUE(judge_infeasible(columns, crossed.point) <= 1e-12);
  }
}

namespace {

// Columns with room of a million and reduced costs of 1e-8 at the optimum, half of them at their upper bound there.
void add_wide_columns(known_case& k, uint64_t seed) {
  constexpr double room = 1e6;
  std::mt19937_64 rng(seed);
  lp_case& p = k.p;
  std::vector<double> shift(static_cast<size_t>(p.m));
  for (int32_t added = 0; added < 20; added++) {
    const bool up = rng() % 2;
    double cost = (up ? -1e-8 : 1e-8) * static_cast<double>(1 + rng() % 9);
    for (size_t i = rng() % 3; i < shift.size(); i += 1 + rng() % 6) {
      p.put(static_cast<int32_t>(i), rng() % 2 ? 1 : -1);
      cost += p.val.back() * k.y[i];
      if (up) shift[i] += p.val.back() * room;
    }
    p.end_column(cost, 0, room);
    p.n++;
    if (up) k.objective += cost * room;
  }
  for (size_t i = 0; i < shift.size(); i++) {
    if (p.blc[i] > -1e30) p.blc[i] += shift[i];
    if (p.buc[i] < 1e30) p.buc[i] += shift[i];
  }
}

} // namespace

// A reduced cost within the tolerance is worth what its column may move.
TEST(KnownOptimum, IsAsGoodAsItsGap) {
  for (uint64_t seed = 1; seed <= 60; seed++)
    for (const auto kind : kinds) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " by " + std::to_string(kind));
      known_case k = optimal_case(seed, 20, 30, 0.2, 0.3);
      add_wide_columns(k, seed);
      tvn::simplex_param param = param_by(kind);
      param.presolve = static_cast<int32_t>(seed % 2);
      const outcome o = solve(k.p, param);
      ASSERT_EQ(o.info.solsta, tvn::sol_optimal);
      const double have = judge(k.p, o.point).objective;
      EXPECT_TRUE(std::fabs(have - k.objective) <= 2e-9 * (1 + std::fabs(k.objective))) << have << " " << k.objective;
    }
}
