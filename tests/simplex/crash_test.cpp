// If this failed in the field: a crash basis would be singular, or leave a variable without a place, and the run would
// start with repairs instead of a lead.
#include "simplex/start/crash.h"
#include "support/simplexbench.h"

using namespace tvntest;

namespace {

struct crash_run {
  int32_t crashed = -1;
  bool regular = false, triangular = false;
};

// Crashes the slack basis of a problem and checks what must hold of every result.
crash_run crash(lp_case& p, int32_t percent) {
  bench b(p);
  b.param.primalcrash = percent;
  tvn::simplex_state& s = *b.state;
  const tvn::simplex_work& w = b.work;
  crash_run r;
  r.crashed = tvn::TVN_simplex_primalcrash(s);
  int32_t structurals = 0;
  for (int32_t k = 0; k < w.m; k++) {
    EXPECT_EQ(s.fac.pos[s.fac.head[k]], k);
    structurals += s.fac.head[k] >= w.m;
  }
  EXPECT_EQ(structurals, r.crashed);
  for (int32_t j = 0; j < w.total; j++) {
    EXPECT_EQ(s.fac.pos[j] >= 0, s.key[j] == tvn::sk_bas) << j;
    if (s.fac.pos[j] >= 0 || s.key[j] == tvn::sk_supbas) continue;
    EXPECT_TRUE(s.x[j] == w.lower[j] || s.x[j] == w.upper[j]) << j;
  }
  r.regular = tvn::TVN_simplex_factor(s.fac) == tvn::factor_result::full;
  r.triangular = s.fac.factor.run.numtriangular > 0;
  return r;
}

} // namespace

TEST(Crash, GivesARegularTriangularBasis) {
  int64_t crashed = 0, rows = 0;
  for (uint64_t seed = 1; seed <= 300; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    lp_case tiny = nasty_case(seed);
    EXPECT_TRUE(crash(tiny, 90).regular);
    const int32_t m = 5 + static_cast<int32_t>(seed % 60);
    lp_case p = optimal_case(seed, m, m + static_cast<int32_t>(seed % 7) * 9, 2.0 / m, 0.3).p;
    const crash_run r = crash(p, 90);
    EXPECT_TRUE(r.regular);
    EXPECT_TRUE(r.triangular);
    crashed += r.crashed;
    rows += m;
  }
  EXPECT_GT(20 * crashed, rows) << "a crash that finds next to nothing is none";
}

TEST(Crash, IsLeftOutBeyondAllPercent) {
  lp_case p = optimal_case(1, 60, 90, 0.03, 0.3).p;
  EXPECT_EQ(crash(p, 101).crashed, 0);
  EXPECT_GT(crash(p, 100).crashed, 0);
}
