// If this failed in the field: a start that a caller made up, or took from another problem, would end in a wrong
// answer, a crash or an endless run instead of a slower one.
#include "simplex/base/keptbasis.h"
#include "support/run.h"

using namespace tvntest;

namespace {

struct starter {
  checked_env sys;
  tvn::kept_basis kept;
  tvn::simplex_info solve(lp_case& p, lp_point& s, const tvn::simplex_param& param) {
    first = std::nan("");
    return run_simplex(*sys, p.view(), param, s, {this, note_first}, &kept);
  }
  double first = 0; // objective of the first line of the last run
  static int32_t note_first(void* handle, tvn::simplex_event event, const tvn::simplex_info& info) {
    auto& run = *static_cast<starter*>(handle);
    if (event == tvn::simplex_event::iteration && std::isnan(run.first)) run.first = info.objective;
    return 0;
  }
};

bool is_certificate(int32_t solsta) { return solsta == tvn::sol_prim_infeas_cer || solsta == tvn::sol_dual_infeas_cer; }

// Keys of every kind and beyond, values of every kind.
void make_wild(lp_point& s, std::mt19937_64& rng, int basicsoften) {
  const auto wild = [&](std::vector<int32_t>& keys) {
    for (int32_t& k : keys)
      k = static_cast<int32_t>(rng() % 10) < basicsoften ? static_cast<int32_t>(tvn::sk_bas)
                                                         : static_cast<int32_t>(rng() % 9) - 1;
  };
  wild(s.skc);
  wild(s.skx);
  for (auto* v : {&s.xc, &s.xx, &s.y, &s.slx})
    for (double& x : *v) x = rng() % 3 == 0 ? std::nan("") : rng() % 2 == 0 ? 1e300 : -7;
}

} // namespace

TEST(Start, MayBeAnything) {
  for (uint64_t seed = 1; seed <= 400; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    lp_case p = seed % 2 == 0 ? nasty_case(seed) : optimal_case(seed, 12, 18, 0.3, 0.4).p;
    starter run;
    tvn::simplex_param param = direct_param();
    lp_point cold(p), hot(p);
    const tvn::simplex_info want = run.solve(p, cold, param);
    make_wild(hot, rng, static_cast<int>(seed % 10));
    param.hotstart = 4 + static_cast<int32_t>(seed % 3);
    param.optimizer = static_cast<int32_t>(seed / 3 % 3);
    param.presolve = static_cast<int32_t>(seed / 9 % 3);
    param.savelu = seed % 4 == 0;
    const tvn::simplex_info have = run.solve(p, hot, param);
    ASSERT_EQ(have.response, tvn::simplex_code::ok);
    if (is_certificate(want.solsta)) {
      EXPECT_TRUE(is_certificate(have.solsta)); // both may hold
      continue;
    }
    ASSERT_EQ(have.solsta, tvn::sol_optimal);
    expect_optimal(p, hot, judge(p, cold).objective, 1e-7);
  }
}

namespace {

// A point inside the bounds of the columns, all of them superbasic but one that is basic in place of row 0.
void make_inside(const lp_case& p, lp_point& s, std::mt19937_64& rng) {
  std::uniform_real_distribution<double> unit(0, 1);
  for (size_t j = 0; j < s.xx.size(); j++) {
    const double lo = std::max(p.blx[j], std::min(p.bux[j], 0.0) - 5), up = std::min(p.bux[j], lo + 10);
    s.xx[j] = lo + (up - lo) * (0.1 + 0.8 * unit(rng));
    s.skx[j] = lo < up ? tvn::sk_supbas : tvn::sk_fix;
  }
  s.xc = activities(p, s.xx);
  std::fill(s.skc.begin(), s.skc.end(), static_cast<int32_t>(tvn::sk_bas));
  if (!(p.blc[0] < s.xc[0] && s.xc[0] < p.buc[0])) return;
  for (int32_t j = 0; j < p.n; j++)
    for (int64_t e = p.beg[size_t(j)]; e < p.beg[size_t(j) + 1]; e++)
      if (p.sub[size_t(e)] == 0 && s.skc[0] == tvn::sk_bas && s.skx[size_t(j)] == tvn::sk_supbas) {
        s.skc[0] = tvn::sk_supbas;
        s.skx[size_t(j)] = tvn::sk_bas;
      }
}

} // namespace

// The run begins at the point, also in a scaled problem; its end is a basic solution.
TEST(Start, KeepsTheValuesOfSuperbasics) {
  int rows = 0;
  for (uint64_t seed = 1; seed <= 200; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    known_case k = optimal_case(seed, 15, 25, 0.3, 0.3);
    starter run;
    tvn::simplex_param param = direct_param();
    param.hotstart = 6;
    param.scaling = 4;
    param.optimizer = seed % 3 == 0 ? tvn::kind_dual : seed % 3 == 1 ? tvn::kind_primal : tvn::kind_free;
    param.presolve = seed % 7 == 0 ? 1 : 2; // which leaves a good start alone
    param.keysonly = seed % 5 == 0;
    lp_point s(k.p);
    make_inside(k.p, s, rng);
    rows += s.skc[0] == tvn::sk_supbas;
    const double objective = judge(k.p, s).objective;
    ASSERT_EQ(run.solve(k.p, s, param).solsta, tvn::sol_optimal);
    expect_optimal(k.p, s, k.objective, 1e-7);
    if (param.optimizer == tvn::kind_dual || param.presolve == 1) continue;
    EXPECT_EQ(std::fabs(run.first - objective) <= 1e-9 * (1 + std::fabs(objective)), !param.keysonly)
        << run.first << " " << objective;
  }
  EXPECT_GT(rows, 20);
}

TEST(Start, MayLackRowsOrColumns) {
  for (const auto kind : {tvn::kind_free, tvn::kind_primal, tvn::kind_dual})
    for (const int32_t presolve : {0, 1}) {
      starter run;
      tvn::simplex_param param = param_by(kind, presolve);
      param.savelu = true;
      lp_case norows{0, 2, 0, {1, -1}, {0, 0, 0}, {}, {}, {}, {}, {-3, 0}, {1e30, 5}, {}, {}};
      lp_case nocolumns{1, 0, 0, {}, {0}, {}, {}, {-1}, {1}, {}, {}, {}, {}};
      lp_point s(norows), t(nocolumns);
      for (const int32_t hotstart : {0, 6}) {
        param.hotstart = hotstart;
        EXPECT_EQ(run.solve(norows, s, param).solsta, tvn::sol_optimal);
        expect_optimal(norows, s, -8, 1e-12);
      }
      norows.bux[1] = 1e30; // now it falls without end
      EXPECT_EQ(run.solve(norows, s, param).solsta, tvn::sol_dual_infeas_cer);
      for (const int32_t hotstart : {0, 6}) {
        param.hotstart = hotstart;
        EXPECT_EQ(run.solve(nocolumns, t, param).solsta, tvn::sol_optimal);
        expect_optimal(nocolumns, t, 0, 1e-12);
      }
    }
}

// What one problem left must not disturb another.
TEST(Start, MayComeWithTheBasisOfAnotherProblem) {
  for (uint64_t seed = 1; seed <= 60; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    lp_case p = optimal_case(seed, 20, 25, 0.2, 0.3).p;
    known_case k = optimal_case(seed + 1000, 10 + static_cast<int32_t>(seed % 20), 30, 0.2, 0.3);
    starter run;
    tvn::simplex_param param = direct_param();
    param.savelu = true;
    param.presolve = static_cast<int32_t>(seed % 2);
    lp_point s(p), t(k.p);
    ASSERT_EQ(run.solve(p, s, param).solsta, tvn::sol_optimal);
    std::mt19937_64 rng(seed);
    make_wild(t, rng, 5);
    param.hotstart = 6;
    ASSERT_EQ(run.solve(k.p, t, param).solsta, tvn::sol_optimal);
    expect_optimal(k.p, t, k.objective, 1e-7);
  }
}

// Runs of a few iterations each, one after the other, come to the end as one run does.
TEST(Start, GoesOnWhereALimitEndedTheRun) {
  for (const bool savelu : {false, true})
    for (const auto kind : {tvn::kind_primal, tvn::kind_dual}) {
      SCOPED_TRACE(std::to_string(savelu) + " by " + std::to_string(kind));
      known_case k = optimal_case(11, 60, 90, 0.08, 0.3);
      starter run;
      tvn::simplex_param param = direct_param();
      param.optimizer = kind;
      param.savelu = savelu;
      param.maxiterations = 15;
      lp_point s(k.p);
      tvn::simplex_info info = run.solve(k.p, s, param);
      param.hotstart = 6;
      int runs = 1;
      for (; info.response == tvn::simplex_code::max_iterations && runs < 60; runs++) {
        info = run.solve(k.p, s, param);
        EXPECT_EQ(info.warmfactor, savelu);
      }
      EXPECT_GT(runs, 2);
      ASSERT_EQ(info.solsta, tvn::sol_optimal);
      expect_optimal(k.p, s, k.objective, 1e-7);
    }
}
