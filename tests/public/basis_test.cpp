// If this failed in the field: systems with the basis of an optimum, on the user's unscaled numbers, would be solved
// wrongly, or refused although the optimizer has just used that basis.
#include "support/basiscase.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr double tolsolve = 1e-11; // of the largest sum of terms: the backward error of the solves
constexpr double tolpoint = 1e-6;  // of the basics, relative
constexpr uintmax_t maxbytes = 60000;

// -N x of the nonbasics, and the values that belong to the positions.
void point_of(TVNtask_t task, const tvntest::basis_matrix& b, std::vector<double>& right, std::vector<double>& want) {
  int32_t n = 0;
  TVN_getnumvar(task, &n);
  const auto m = static_cast<size_t>(b.m);
  std::vector<double> xc(m + 1), xx(size_t(n) + 1);
  ASSERT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_XC, 0, b.m, xc.data()), TVN_RES_OK);
  ASSERT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_XX, 0, n, xx.data()), TVN_RES_OK);
  std::vector<char> basic(m + size_t(n), 0);
  for (const int32_t item : b.head) basic[size_t(item)] = 1;
  right.assign(m, 0);
  want.assign(m, 0);
  for (size_t i = 0; i < m; i++)
    if (!basic[i]) right[i] = xc[i];
  std::vector<int32_t> sub(m + 1);
  std::vector<double> val(m + 1);
  for (int32_t j = 0; j < n; j++) {
    if (basic[m + size_t(j)]) continue;
    int32_t num = 0;
    TVN_getavec(task, TVN_ACC_VAR, j, &num, sub.data(), val.data());
    for (size_t p = 0; p < size_t(num); p++) right[size_t(sub[p])] -= val[p] * xx[size_t(j)];
  }
  for (size_t k = 0; k < m; k++) want[k] = b.head[k] < b.m ? xc[size_t(b.head[k])] : xx[size_t(b.head[k] - b.m)];
}

void expect_basis(const std::string& path) {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  ASSERT_EQ(TVN_readdata(task, path.c_str()), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  tvntest::basis_matrix b;
  EXPECT_TRUE(b.fetch(task));
  if (!testing::Test::HasFailure()) {
    tvntest::expect_solves(task, b, 1, tolsolve);
    std::vector<double> right, want;
    point_of(task, b, right, want);
    const auto o = tvntest::solve_with_basis(task, false, right);
    EXPECT_EQ(o.code, TVN_RES_OK);
    double size = 1;
    for (const double x : want) size = std::max(size, std::fabs(x));
    for (size_t k = 0; k < want.size(); k++) EXPECT_NEAR(o.x[k], want[k], tolpoint * size) << "position " << k;
    double norm = -1, inverse = -1;
    EXPECT_EQ(TVN_basiscond(task, &norm, &inverse), TVN_RES_OK);
    EXPECT_GE(norm * inverse, 1 - 1e-9);
  }
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
}

} // namespace

TEST(PublicBasis, OfEachSmallOptimumSolvesBothSystemsAndGivesTheOptimum) {
  const char* folder = std::getenv("TOVAN_DATA");
  if (!folder || !fs::is_directory(fs::path(folder) / "lp")) GTEST_SKIP() << "SKIPPED: TOVAN_DATA names no folder with lp";
  int count = 0;
  for (const auto& file : fs::directory_iterator(fs::path(folder) / "lp")) {
    if (!file.path().string().ends_with(".mps.gz") || file.file_size() > maxbytes) continue;
    SCOPED_TRACE(file.path().filename().string());
    expect_basis(file.path().string());
    count++;
  }
  EXPECT_GT(count, 20);
}
