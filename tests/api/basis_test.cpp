// If these failed in the field: callers who build cuts, sensitivity or decomposition on the basis would compute with a
// wrong inverse, a wrong sign, or the basis of another problem.
#include "api/envtask.h"
#include "api/lptask.h"
#include "support/basiscase.h"

using namespace apitest;
using tvntest::basis_matrix;
using tvntest::solve_with_basis;

namespace {

constexpr double tolsolve = 1e-10; // relative to the terms of the products; the bases here are well conditioned

struct Basis : EnvTask {
  std::string errors;
  static void keep(void* handle, const char* text) { *static_cast<std::string*>(handle) += text; }
  void SetUp() override {
    EnvTask::SetUp();
    ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &errors, keep), TVN_RES_OK);
  }
  // Rows by columns, dense; keys of constraints and variables.
  void enter(const std::vector<std::vector<double>>& a, const std::vector<int32_t>& skc,
             const std::vector<int32_t>& skx) {
    ASSERT_EQ(TVN_resizetask(task, 0, 0, 0, 0, 0), TVN_RES_OK);
    append(static_cast<int32_t>(skc.size()), static_cast<int32_t>(skx.size()));
    for (size_t i = 0; i < skc.size(); i++)
      for (size_t j = 0; j < skx.size(); j++)
        if (a[i][j] != 0) { ASSERT_EQ(TVN_putaij(task, int32_t(i), int32_t(j), a[i][j]), TVN_RES_OK); }
    put_keys(skc, skx);
  }
  void put_keys(const std::vector<int32_t>& skc, const std::vector<int32_t>& skx) {
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_BAS, skc.data(), skx.data(), nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr, nullptr),
              TVN_RES_OK);
  }
  void expect_solution(bool transposed, const std::vector<double>& right, const std::vector<double>& want) {
    const auto o = solve_with_basis(task, transposed, right);
    ASSERT_EQ(o.code, TVN_RES_OK);
    for (size_t k = 0; k < want.size(); k++) EXPECT_DOUBLE_EQ(o.x[k], want[k]) << k;
  }
};

constexpr int32_t B = TVN_SK_BAS, L = TVN_SK_LOW;

} // namespace

TEST_F(Basis, SlacksCountAsMinusOneOrPlusOne) {
  enter({{2, 5}, {3, 7}}, {L, B}, {B, L}); // basis: slack of row 1, variable 0
  int32_t head[] = {-1, -1};
  ASSERT_EQ(TVN_initbasissolve(task, head), TVN_RES_OK);
  EXPECT_EQ(head[0], 1);
  EXPECT_EQ(head[1], 2);
  // 2 v = 4, 3 v - s = 1.
  expect_solution(false, {4, 1}, {5, 2});
  // -y1 = 3, 2 y0 + 3 y1 = 1.
  expect_solution(true, {3, 1}, {5, -3});
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_BASIS_SOLVE_USE_PLUS_ONE, 1), TVN_RES_OK);
  expect_solution(false, {4, 1}, {-5, 2});
  expect_solution(true, {3, 1}, {-4, 3});
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
}

TEST_F(Basis, OfRandomOptimaSolvesBothSystemsAndGivesTheOptimum) {
  for (uint64_t seed = 1; seed <= 40; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const int32_t m = 5 + static_cast<int32_t>(seed) * 4, n = m + static_cast<int32_t>(seed % 3) * m / 2;
    lp_case p = tvntest::optimal_case(seed, m, n, 4.0 / m, 0.3).p;
    ASSERT_EQ(TVN_resizetask(task, 0, 0, 0, 0, 0), TVN_RES_OK);
    ASSERT_EQ(input(task, p), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_BASIS_SOLVE_USE_PLUS_ONE, seed % 2), TVN_RES_OK);
    basis_matrix b;
    b.slack = seed % 2 ? 1 : -1;
    ASSERT_TRUE(b.fetch(task)) << last_message();
    tvntest::expect_solves(task, b, seed, tolsolve);
    // A x - xc = 0: the basics from the nonbasics.
    const lp_point s = basic_solution(task, p).point;
    std::vector<double> right(size_t(m), 0), want(size_t(m), 0);
    for (int32_t i = 0; i < m; i++)
      if (s.skc[size_t(i)] != B) right[size_t(i)] += s.xc[size_t(i)];
    for (int32_t j = 0; j < n; j++)
      for (int64_t e = p.beg[size_t(j)]; s.skx[size_t(j)] != B && e < p.beg[size_t(j) + 1]; e++)
        right[size_t(p.sub[size_t(e)])] -= p.val[size_t(e)] * s.xx[size_t(j)];
    for (size_t k = 0; k < size_t(m); k++)
      want[k] = b.head[k] < m ? -b.slack * s.xc[size_t(b.head[k])] : s.xx[size_t(b.head[k] - m)];
    const auto o = solve_with_basis(task, false, right);
    ASSERT_EQ(o.code, TVN_RES_OK);
    for (size_t k = 0; k < size_t(m); k++) EXPECT_NEAR(o.x[k], want[k], 1e-7 * (1 + std::fabs(want[k])));
  }
}

TEST_F(Basis, BadArgumentsLeaveTheArraysAndTheFactor) {
  enter({{2, 0}, {3, 7}}, {L, L}, {B, B});
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  const auto refused = [&](int32_t num, std::vector<int32_t> sub, std::vector<double> val, TVNrescodee want) {
    const auto subbefore = sub;
    const auto valbefore = val;
    const int32_t before = num;
    for (const int32_t transp : {0, 1}) {
      EXPECT_EQ(TVN_solvewithbasis(task, transp, &num, sub.data(), val.data()), want);
      EXPECT_EQ(last_report(), want);
    }
    EXPECT_EQ(num, before);
    EXPECT_EQ(sub, subbefore);
    EXPECT_TRUE(std::memcmp(val.data(), valbefore.data(), val.size() * sizeof(double)) == 0);
  };
  refused(-1, {0, 1}, {1, 2}, TVN_RES_ERR_IN_ARGUMENT);
  refused(3, {0, 1, 0}, {1, 2}, TVN_RES_ERR_IN_ARGUMENT);
  refused(2, {0, -1}, {1, 2}, TVN_RES_ERR_INDEX_ARR_IS_TOO_SMALL);
  refused(2, {2, 0}, {1, 2}, TVN_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  refused(2, {0, 1}, {1, NAN}, TVN_RES_ERR_NAN_IN_DOUBLE_DATA);
  refused(1, {1, 0}, {1, -INFINITY}, TVN_RES_ERR_NAN_IN_DOUBLE_DATA);
  int32_t num = 1, sub[] = {0, 0};
  double val[] = {1, 0};
  EXPECT_EQ(TVN_solvewithbasis(task, 0, nullptr, sub, val), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, nullptr, val), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, sub, nullptr), TVN_RES_ERR_NULL_POINTER);
  expect_solution(false, {2, 10}, {1, 1});
  // An index that occurs twice is one entry; entries that are 0 are none.
  int32_t twice[] = {1, 1};
  double seven[] = {0, 7};
  num = 2;
  ASSERT_EQ(TVN_solvewithbasis(task, 0, &num, twice, seven), TVN_RES_OK);
  EXPECT_EQ(num, 1);
  EXPECT_EQ(seven[1], 1);
  num = 0;
  EXPECT_EQ(TVN_solvewithbasis(task, 1, &num, twice, seven), TVN_RES_OK);
  EXPECT_EQ(num, 0);
  enter({{0.01, 0}, {0, 0.01}}, {L, L}, {B, B});
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  refused(2, {1, 0}, {1, 1e308}, TVN_RES_ERR_OVERFLOW);
  expect_solution(true, {1, 2}, {100, 200});
}

TEST_F(Basis, ThatIsNoneSaysWhy) {
  append(2, 3);
  int32_t num = 0, sub[3] = {};
  double val[3] = {}, norm = 0;
  EXPECT_EQ(TVN_initbasissolve(nullptr, nullptr), TVN_RES_ERR_NULL_TASK);
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, sub, val), TVN_RES_ERR_BASIS);
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_ERR_NO_BASIS_SOL);
  EXPECT_EQ(TVN_basiscond(task, &norm, &norm), TVN_RES_ERR_NO_BASIS_SOL);
  EXPECT_EQ(TVN_setupbasis(task), TVN_RES_OK);
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, sub, val), TVN_RES_ERR_BASIS);

  const std::vector<std::vector<double>> a = {{0.1, 0.3, 1}, {0.3, 0.9, 2}, {0, 0, 4}};
  enter(a, {L, L, L}, {B, B, B});
  ASSERT_EQ(TVN_putname(task, TVN_PI_VAR, 0, "first"), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(task, TVN_PI_VAR, 1, "second"), TVN_RES_OK);
  errors.clear();
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_ERR_BASIS_SINGULAR);
  EXPECT_NE(errors.find("The rank of the basis is 2, 1 less than needed."), std::string::npos) << errors;
  EXPECT_TRUE(errors.find("'first'") != std::string::npos || errors.find("'second'") != std::string::npos) << errors;
  EXPECT_EQ(TVN_basiscond(task, &norm, &norm), TVN_RES_ERR_BASIS_SINGULAR);
  num = 1;
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, sub, val), TVN_RES_ERR_BASIS_FACTOR);

  put_keys({B, L, L}, {B, L, L});
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_ERR_BASIS);
  EXPECT_NE(last_message().find("2 number of basis variables are specified. 3 are expected."), std::string::npos);
  put_keys({B, B, L}, {B, L, B});
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_ERR_BASIS);
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, sub, val), TVN_RES_ERR_BASIS_FACTOR);
  put_keys({B, B, L}, {L, L, B});
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, sub, val), TVN_RES_OK);
}

TEST_F(Basis, OfOneProblemIsNotTakenForThatOfAnother) {
  int32_t num = 0, sub[4] = {};
  double val[4] = {};
  const auto solve = [&] { return TVN_solvewithbasis(task, 0, &num, sub, val); };
  enter({{2, 0}, {3, 7}}, {L, L}, {B, B});
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  // A change of A, of bounds or of variables leaves the factor, one of the number of constraints does not.
  ASSERT_EQ(TVN_putaij(task, 0, 0, 5.0), TVN_RES_OK);
  expect_solution(false, {2, 10}, {1, 1});
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 1), TVN_RES_OK);
  EXPECT_EQ(solve(), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 1), TVN_RES_OK);
  EXPECT_EQ(solve(), TVN_RES_ERR_BASIS);
  const int32_t last[] = {2};
  ASSERT_EQ(TVN_remove(task, TVN_ACC_CON, 1, last), TVN_RES_OK);
  put_keys({L, L}, {B, B, L});
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  TVNtask_t clone = nullptr;
  ASSERT_EQ(TVN_clonetask(task, &clone), TVN_RES_OK);
  EXPECT_EQ(TVN_solvewithbasis(clone, 0, &num, sub, val), TVN_RES_ERR_BASIS);
  EXPECT_EQ(TVN_deletetask(&clone), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_EQ(solve(), TVN_RES_ERR_BASIS_FACTOR);
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_HOTSTART_LU, 0), TVN_RES_OK);
  ASSERT_EQ(TVN_setupbasis(task), TVN_RES_OK);
  EXPECT_EQ(solve(), TVN_RES_ERR_BASIS) << "deleted";
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_undefsolution(task, TVN_SOL_BAS), TVN_RES_OK);
  EXPECT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_ERR_NO_BASIS_SOL);
  EXPECT_EQ(solve(), TVN_RES_ERR_BASIS_FACTOR);
  ASSERT_EQ(TVN_deletetaskdata(task), TVN_RES_OK);
  EXPECT_EQ(solve(), TVN_RES_ERR_BASIS);
}

TEST_F(Basis, WithoutConstraintsHasNothingToSolve) {
  append(0, 2);
  ASSERT_EQ(TVN_makesolutionstatusunknown(task, TVN_SOL_BAS), TVN_RES_OK);
  ASSERT_EQ(TVN_initbasissolve(task, nullptr), TVN_RES_OK);
  int32_t num = 0;
  EXPECT_EQ(TVN_solvewithbasis(task, 0, &num, nullptr, nullptr), TVN_RES_OK);
  double norm = -1, inverse = -1;
  EXPECT_EQ(TVN_basiscond(task, &norm, &inverse), TVN_RES_OK);
  EXPECT_EQ(norm, 0);
  EXPECT_EQ(inverse, 0);
}

TEST_F(Basis, WithTinyElementsIsFactoredAndItsConditionTold) {
  double norm = 0, inverse = 0;
  enter({{4, 0}, {-3, 7}}, {B, L}, {L, B}); // columns (-1, 0) and (0, 7)
  ASSERT_EQ(TVN_basiscond(task, &norm, &inverse), TVN_RES_OK);
  EXPECT_DOUBLE_EQ(norm, 7);
  EXPECT_DOUBLE_EQ(inverse, 1);
  ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_DATA_TOL_AIJ, 1e-16), TVN_RES_OK);
  enter({{1e-9, 0}, {1, 2}}, {L, L}, {B, B});
  ASSERT_EQ(TVN_basiscond(task, &norm, &inverse), TVN_RES_OK);
  EXPECT_DOUBLE_EQ(norm, 2);
  EXPECT_NEAR(inverse, 1.5e9, 1);
  expect_solution(true, {1, 2}, {0, 1});
  enter({{1e-9, 0, 0}, {1, 1e4, 1e10}, {0, 3e10, 1e9}}, {L, L, L}, {B, B, B});
  basis_matrix b;
  ASSERT_TRUE(b.fetch(task));
  tvntest::expect_solves(task, b, 1, 1e-14);
  ASSERT_EQ(TVN_basiscond(task, &norm, &inverse), TVN_RES_OK);
  EXPECT_DOUBLE_EQ(norm, 3e10 + 1e4);
  EXPECT_NEAR(inverse, 1e9 + 0.31 / 3, 1e-4); // the first column by hand
}
