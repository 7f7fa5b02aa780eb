// If this failed in the field: a wrong status or objective on problems with repeated rows, opposite bounds, free
// variables or nothing to do, which modelling languages produce all the time.
#include "support/rational.h"
#include "support/run.h"

using namespace tvntest;

namespace {

void expect_exact(uint64_t seed, const tvn::simplex_param& param) {
  lp_case p = nasty_case(seed);
  exact_result exact{exact_status::infeasible, 0};
  try {
    exact = solve_exactly(p);
  } catch (const std::overflow_error&) { return; }
  const run_result r = run_simplex(p, param);
  SCOPED_TRACE("reproduce with seed " + std::to_string(seed));
  ASSERT_EQ(r.info.response, tvn::simplex_code::ok);
  const int32_t want = exact.status == exact_status::optimal      ? tvn::sol_optimal
                       : exact.status == exact_status::infeasible ? tvn::sol_prim_infeas_cer
                                                                  : tvn::sol_dual_infeas_cer;
  // The dual simplex may meet the proof that no optimum exists first; the primal one looks for a point first.
  const bool mayfall = want == tvn::sol_prim_infeas_cer && param.optimizer != tvn::kind_primal;
  if (!(mayfall && r.info.solsta == tvn::sol_dual_infeas_cer)) { ASSERT_EQ(r.info.solsta, want); }
  expect_proved(p, r.point, r.info.solsta, exact.objective, 1e-9, 1e-9);
}

void expect_all_exact(tvn::simplex_kind kind, uint64_t usual) {
  const uint64_t num = num_seeds(usual), first = first_seed();
  std::printf("seeds %llu to %llu\n", static_cast<unsigned long long>(first),
              static_cast<unsigned long long>(first + num - 1));
  for (uint64_t seed = first; seed < first + num && !::testing::Test::HasFailure(); seed++) {
    tvn::simplex_param param = direct_param();
    param.optimizer = kind;
    param.selection = param.dualselection =
        static_cast<int32_t>(seed % 6); // free, partial, full, ase, steepest edge, devex
    param.degen = static_cast<int32_t>(seed / 6 % 5);
    param.restrictpct = seed % 7 == 0 ? 80 : 50;
    param.refactorfreq = seed % 11 == 0 ? 1 : 0;
    param.presolve = static_cast<int32_t>(seed % 2);
    expect_exact(seed, param);
  }
}

} // namespace

TEST(NastyProblems, AgreeWithExactArithmeticUnderAllPrimalRules) { expect_all_exact(tvn::kind_primal, 4000); }

TEST(NastyProblems, AgreeWithExactArithmeticUnderAllDualRules) { expect_all_exact(tvn::kind_dual, 4000); }

TEST(NastyProblems, AgreeWithExactArithmeticUnderTheFreeChoice) { expect_all_exact(tvn::kind_free, 2000); }
