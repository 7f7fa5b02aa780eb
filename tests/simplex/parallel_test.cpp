// If this failed in the field: rows or columns that are the same but for their last digits, which come from data that
// was rounded on its way, would keep a run going for minutes, or end it without an answer.
#include "support/parallelcase.h"
#include "support/run.h"

using namespace tvntest;

namespace {

constexpr double gapallowed = 1e-6;   // of the objective above its lower bound, relative: wrong signs within tolerance
constexpr int64_t slower = 20;        // than without the copies, in iterations, at most
constexpr int64_t fewiterations = 20; // count as this many

run_result solve(lp_case& p, tvn::simplex_kind kind, int32_t presolve, int64_t limit) {
  tvn::simplex_param param = param_by(kind, presolve);
  param.maxiterations = static_cast<int32_t>(limit);
  return run_simplex(p, param);
}

// Near optimal is right where the digits do not suffice for more; the gap is judged all the same.
void expect_right(const lp_case& p, const run_result& o) {
  EXPECT_EQ(o.info.response, tvn::simplex_code::ok);
  EXPECT_TRUE(o.info.solsta == tvn::sol_optimal || o.info.solsta == tvn::sol_near_optimal) << o.info.solsta;
  const verdict v = judge(p, o.point);
  EXPECT_TRUE(v.primal <= 1e-6) << v.primal;
  EXPECT_TRUE(v.objective - lower_bound(p, o.point.y) <= gapallowed * (1 + std::fabs(v.objective)));
}

} // namespace

// TOVAN_SEEDS asks for more of them.
TEST(NearlyParallel, RowsAndColumnsCostNoMoreThanAFewTimesTheIterations) {
  const uint64_t num = num_seeds(25);
  uint64_t numnear = 0;
  for (uint64_t seed = 1; seed <= num && !HasFailure(); seed++) {
    parallel_family family = random_family(seed);
    lp_case p = parallel_case(seed, family);
    family.without = true;
    lp_case plain = parallel_case(seed, family);
    for (const auto kind : {tvn::kind_primal, tvn::kind_dual, tvn::kind_free}) {
      for (const int32_t presolve : {0, 1}) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " optimizer " + std::to_string(kind) + " presolve " +
                     std::to_string(presolve));
        const int64_t usual = std::max(iterations(solve(plain, kind, presolve, 1000000).info), fewiterations);
        const run_result o = solve(p, kind, presolve, slower * usual);
        expect_right(p, o);
        numnear += o.info.solsta == tvn::sol_near_optimal;
      }
    }
  }
  EXPECT_LE(numnear, num / 10) << "of six runs a seed";
}

// Small ones swap bounds round and round on a fresh factor, where nothing else asks whether the run gets on.
TEST(NearlyParallel, SmallProblemsDoNotSwapForEver) {
  for (uint64_t seed = 1; seed <= 300 && !HasFailure(); seed++) {
    parallel_family family = random_family(seed);
    family.m = 30;
    family.n = 40;
    lp_case p = parallel_case(seed, family);
    for (const auto kind : {tvn::kind_primal, tvn::kind_dual}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " optimizer " + std::to_string(kind));
      EXPECT_LT(iterations(solve(p, kind, static_cast<int32_t>(seed % 2), 100000).info), 20000);
    }
  }
}
