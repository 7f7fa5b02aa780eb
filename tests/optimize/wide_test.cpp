// If these failed in the field: bounds that modellers put far out for "none" would cost digits, or a problem with an
// optimum would be called one without.
#include "optimize/optslv.h"
#include "support/parallelcase.h"
#include "support/widecase.h"

using namespace tvntest;

namespace {

struct Wide : testing::Test {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  ~Wide() override { EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak"; }

  // Optimal, and as good as weak duality says; 1 when it is.
  int32_t solves(lp_case p, int32_t seed) {
    lp_point s(p);
    tvn::solution_view sol = s.view();
    tvn::ipm_param param;
    param.presolve = seed % 2 != 0;
    param.form = static_cast<tvn::ipm_form>(seed / 2 % 3);
    tvn::ipm_info info;
    tvn::TVN_opt_ipmslv(*sys, p.view(), param, info, {}, sol);
    EXPECT_NE(info.solsta, tvn::sol_prim_infeas_cer) << seed;
    EXPECT_NE(info.solsta, tvn::sol_dual_infeas_cer) << seed;
    if (info.solsta != tvn::sol_optimal) return 0;
    const verdict v = judge_values(p, s);
    EXPECT_TRUE(v.primal <= 2e-6) << seed << ": " << v.primal;
    EXPECT_TRUE(v.gap <= 1e-5) << seed << ": " << v.gap;
    return 1;
  }
};

} // namespace

TEST_F(Wide, BoundsFarOutTakeNoDigits) {
  int32_t solved = 0;
  for (int32_t seed = 0; seed < 600; seed++) solved += solves(wide_case(static_cast<uint64_t>(seed), 0.3), seed);
  std::printf("%d of 600\n", solved);
  EXPECT_GE(solved, 590);
}

TEST_F(Wide, ScalesAndTrianglesAreSolved) {
  int32_t solved = 0;
  for (int32_t seed = 0; seed < 300; seed++) {
    solved += solves(wide_case(static_cast<uint64_t>(seed) + 1000), seed);
    solved += solves(triangular_case(static_cast<uint64_t>(seed)), seed);
  }
  std::printf("%d of 600\n", solved);
  EXPECT_GE(solved, 595);
}

TEST_F(Wide, NearlyParallelLinesEndInTime) {
  int32_t solved = 0;
  for (int32_t seed = 0; seed < 60; seed++) {
    const auto k = static_cast<uint64_t>(seed);
    solved += solves(parallel_case(k, random_family(k)), seed);
  }
  std::printf("%d of 60\n", solved);
  EXPECT_GE(solved, 50);
}
