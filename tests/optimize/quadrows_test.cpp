// If these failed in the field: a problem with quadratic rows would be called optimal where it is not, get multipliers
// of its cones instead of its own, or no answer where there is one.
#include "qcoptdir/qcqo.h"
#include "support/quadrowscase.h"
#include "support/run.h"

using namespace tvntest;

namespace {

struct QuadraticRows : testing::Test {
  checked_env sys;
  tvn::ipm_info info;

  lp_point solve(quadrows_case& k, const tvn::ipm_param& param) {
    lp_point s(k.k.p);
    tvn::solution_view sol = s.view();
    tvn::qcone_form form(*sys);
    const tvn::problem_view lp = k.view();
    EXPECT_EQ(tvn::TVN_qcqo_reform(*sys, lp, param, info, {}, form), tvn::qroot_code::ok);
    tvn::TVN_qcqo_slv(*sys, lp, form, param, info, {}, sol);
    return s;
  }
};

tvn::ipm_param varied(uint64_t seed) {
  tvn::ipm_param p;
  p.form = tvn::ipm_form::primal;
  p.presolve = seed % 2 == 0;
  return p;
}

// A ball in each of its coordinates: |x - center|^2 <= radius^2, times half; by rows of its own.
quadrows_case balls(size_t n, const std::vector<std::vector<double>>& centers, const std::vector<double>& radius) {
  quadrows_case k;
  lp_case& p = k.k.p;
  p.m = int32_t(centers.size()), p.n = int32_t(n);
  for (size_t j = 0; j < n; j++) {
    for (size_t i = 0; i < centers.size(); i++) p.put(int32_t(i), -centers[i][j]);
    p.end_column(0, -1e30, 1e30);
  }
  std::vector<std::vector<double>> unit(n, std::vector<double>(n));
  for (size_t j = 0; j < n; j++) unit[j][j] = 1;
  for (size_t i = 0; i < centers.size(); i++) {
    const double c2 = std::inner_product(centers[i].begin(), centers[i].end(), centers[i].begin(), 0.0);
    p.blc.push_back(-1e30), p.buc.push_back((radius[i] * radius[i] - c2) / 2);
    k.rowq.push_back(unit);
  }
  k.k.put(std::vector<std::vector<double>>(n, std::vector<double>(n)));
  return k;
}

} // namespace

TEST_F(QuadraticRows, KnownOptimumIsFoundWithItsMultipliers) {
  const uint64_t seeds = num_seeds(300);
  uint64_t solved = 0;
  double worst = 0;
  for (uint64_t seed = first_seed(); seed < first_seed() + seeds; seed++) {
    SCOPED_TRACE(seed);
    known_quadrows k = optimal_quadrows(seed, int32_t(2 + seed % 9), int32_t(3 + seed % 13));
    const lp_point s = solve(k.k, varied(seed));
    EXPECT_NE(info.solsta, tvn::sol_prim_infeas_cer);
    EXPECT_NE(info.solsta, tvn::sol_dual_infeas_cer);
    if (info.solsta != tvn::sol_optimal) {
      std::printf("seed %d: %d\n", int(seed), info.solsta);
      continue;
    }
    solved++;
    worst = std::max(worst, k.k.worst(s));
    EXPECT_NEAR(info.objective, k.objective, 1e-6 * (1 + std::fabs(k.objective)));
  }
  std::printf("%d of %d, worst %.1e\n", int(solved), int(seeds), worst);
  EXPECT_LE(worst, 2e-6);
  EXPECT_GE(solved, seeds - seeds / 100);
}

// Two balls that touch, overlap or lie apart; a ball of no radius; the gradient of the objective decides nothing.
TEST_F(QuadraticRows, BallsMeetOrAreProvedApart) {
  for (const size_t n : {size_t{1}, size_t{2}, size_t{30}}) {
    for (const double apart : {0.5, 1.9, 2.1, 40.0}) {
      for (const bool presolve : {true, false}) {
        SCOPED_TRACE(std::to_string(n) + " " + std::to_string(apart));
        std::vector<double> far(n, apart / std::sqrt(double(n)));
        quadrows_case k = balls(n, {std::vector<double>(n), far}, {1, 1});
        k.k.p.c[0] = 1;
        const lp_point s = solve(k, varied(presolve ? 0 : 1));
        if (apart < 2) {
          ASSERT_EQ(info.solsta, tvn::sol_optimal);
          EXPECT_LE(k.worst(s), 2e-6);
        } else
          EXPECT_EQ(info.solsta, tvn::sol_prim_infeas_cer);
      }
    }
    quadrows_case point = balls(n, {std::vector<double>(n, 2.0)}, {0});
    point.k.p.c[0] = 0; // no multiplier is needed there
    const lp_point s = solve(point, varied(0));
    EXPECT_NEAR(s.xx[0], 2, 1e-3);
  }
}

// min -x0 over x1^2 / 2 <= x0 has no end; over x0^2 / 2 <= x1 it has none either, but along no line.
TEST_F(QuadraticRows, RayIsFoundWhereThereIsOne) {
  for (const bool line : {true, false}) {
    quadrows_case k = balls(2, {{0, 0}}, {0});
    k.rowq[0][line ? 0 : 1][line ? 0 : 1] = 0;
    k.k.p.beg.clear(), k.k.p.sub.clear(), k.k.p.val.clear();
    for (int j = 0; j < 2; j++) k.k.p.put(0, j == (line ? 0 : 1) ? -1 : 0), k.k.p.end_column();
    k.k.p.c = {-1, 0};
    const lp_point s = solve(k, varied(1));
    if (line) {
      EXPECT_EQ(info.solsta, tvn::sol_dual_infeas_cer);
      EXPECT_NEAR(s.xx[1], 0, 1e-5 * s.xx[0]);
    } else
      EXPECT_TRUE(info.solsta != tvn::sol_optimal && info.solsta != tvn::sol_prim_infeas_cer) << info.solsta;
  }
}

// A Q of rank one in free variables, whose costs are its multiple but for rounding: along what is left no point is told
// from another, and one at 1e10 looked as good as any.
TEST_F(QuadraticRows, PointStaysWhereOnlyRoundingWouldMoveIt) {
  quadrows_case k;
  lp_case& p = k.k.p;
  p.m = 1, p.n = 4, p.c = {0.06814103743821064, -0.6728338945938518, -0.04173771399529408, 0.012542223211295351};
  for (size_t j = 0; j < 4; j++) {
    p.put(0, j == 2 ? -1.602287669151595 : 0);
    p.end_column();
  }
  p.blc = {-0.37045220671416235}, p.buc = {1e30};
  p.blx = {-1e30, -1e30, -1e30, -1e30}, p.bux = {1e30, 0.008, 1e30, 1e30};
  k.rowq.resize(1);
  k.k.put({{1.7201959085920981, 0.9387184041256575, -1.053653533141414, 0.3166239004253948},
           {0.9387184041256575, 0.5122627241715956, -0.5749833249756936, 0.1727830423446532},
           {-1.053653533141414, -0.5749833249756936, 0.6453833324193995, -0.19393831231308917},
           {0.3166239004253948, 0.1727830423446532, -0.19393831231308917, 0.05827864943745909}});
  const lp_point s = solve(k, {});
  EXPECT_EQ(info.solsta, tvn::sol_optimal);
  EXPECT_NEAR(info.objective, -0.0070297640, 1e-8);
  for (const double x : s.xx) EXPECT_LE(std::fabs(x), 1e3);
}
