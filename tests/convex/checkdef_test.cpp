// If these failed in the field: a problem that is not convex would be called solved at a point that is no optimum, or a
// convex one would be refused.
#include "convex/checkdef.h"

#include <gtest/gtest.h>
#include <random>

using namespace tvn;

namespace {

using matrix = std::vector<std::vector<double>>;

struct CheckDef : testing::Test {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  ~CheckDef() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "leak"; }

  convex_result check(const matrix& q, convex_level level = convex_level::full, double sign = 1, double tol = 1e-10) {
    std::vector<int32_t> subi, subj;
    std::vector<double> val;
    for (size_t i = 0; i < q.size(); i++)
      for (size_t j = 0; j <= i; j++)
        if (q[i][j] != 0) subi.push_back(int32_t(3 * i)), subj.push_back(int32_t(3 * j)), val.push_back(q[i][j]);
    return TVN_symmat_checkdef(*sys, {int64_t(val.size()), subi.data(), subj.data(), val.data()}, sign, level, tol, {});
  }
  bool passes(const matrix& q, convex_level level = convex_level::full, double sign = 1, double tol = 1e-10) {
    return check(q, level, sign, tol).code == convex_code::ok;
  }
};

// Of the rows and columns in the set, by expansion; exact for small integers.
double minor_of(const matrix& q, std::vector<size_t> set) {
  std::vector<size_t> cols = set;
  double sum = 0, sign = 1;
  std::sort(cols.begin(), cols.end());
  do {
    double term = 1;
    size_t inversions = 0;
    for (size_t a = 0; a < cols.size(); a++) {
      term *= q[set[a]][cols[a]];
      for (size_t b = 0; b < a; b++) inversions += cols[b] > cols[a];
    }
    sign = inversions % 2 ? -1 : 1;
    sum += sign * term;
  } while (std::next_permutation(cols.begin(), cols.end()));
  return sum;
}

// No principal minor of up to so many rows is negative.
bool semidefinite(const matrix& q, size_t most) {
  for (size_t mask = 1; mask < size_t{1} << q.size(); mask++) {
    std::vector<size_t> set;
    for (size_t i = 0; i < q.size(); i++)
      if (mask >> i & 1) set.push_back(i);
    if (set.size() <= most && minor_of(q, set) < 0) return false;
  }
  return true;
}

// L L' with rows in {-2..2}, plus a change of one place half of the time.
matrix random_matrix(std::mt19937_64& rng) {
  const size_t n = 1 + rng() % 5, rank = rng() % (n + 1);
  matrix l(n, std::vector<double>(rank)), q(n, std::vector<double>(n, 0.0));
  for (auto& row : l)
    for (double& v : row) v = double(int(rng() % 5)) - 2;
  for (size_t i = 0; i < n; i++)
    for (size_t j = 0; j < n; j++)
      for (size_t k = 0; k < rank; k++) q[i][j] += l[i][k] * l[j][k];
  const size_t i = rng() % n, j = rng() % n;
  const double by = rng() % 2 ? double(int(rng() % 3)) - 1 : 0;
  q[i][j] += by;
  if (i != j) q[j][i] += by;
  return q;
}

} // namespace

TEST_F(CheckDef, AgreesWithTheSignsOfAllMinors) {
  int convex = 0;
  for (uint64_t seed = 0; seed < 4000; seed++) {
    std::mt19937_64 rng(seed);
    matrix q = random_matrix(rng);
    const bool expected = semidefinite(q, q.size());
    convex += expected;
    // Other units of the variables.
    std::vector<double> unit(q.size());
    for (double& u : unit) u = std::ldexp(1, int(rng() % 41) - 20);
    matrix scaled = q, negative = q;
    for (size_t i = 0; i < q.size(); i++)
      for (size_t j = 0; j < q.size(); j++) scaled[i][j] *= unit[i] * unit[j], negative[i][j] = -q[i][j];
    EXPECT_EQ(passes(scaled), expected) << seed;
    EXPECT_EQ(passes(negative, convex_level::full, -1), expected) << seed;
    EXPECT_EQ(passes(q, convex_level::simple), semidefinite(q, 2)) << seed;
  }
  EXPECT_GT(convex, 1000);
  EXPECT_LT(convex, 3500);
}

TEST_F(CheckDef, ZeroPivotNeedsAZeroRest) {
  EXPECT_FALSE(passes({{0, 1}, {1, 0}}, convex_level::simple));
  EXPECT_FALSE(passes({{0, 2, 0}, {2, 0, 0}, {0, 0, 1}}));
  EXPECT_FALSE(passes({{1e-12, 1e-3}, {1e-3, 1}}));
  // The zero comes by elimination: of Q + tol I within the tolerance, and beyond it.
  EXPECT_TRUE(passes({{1, 1, 1}, {1, 1, 1 + 5e-6}, {1, 1 + 5e-6, 4}}));
  EXPECT_FALSE(passes({{1, 1, 1}, {1, 1, 1 + 5e-5}, {1, 1 + 5e-5, 4}}));
  EXPECT_TRUE(passes({{0, 1}, {1, 0}}, convex_level::none));
  EXPECT_FALSE(passes({{1, NAN}, {NAN, 1}}));
}

TEST_F(CheckDef, LowRankIsToldFromIndefiniteInManyRows) {
  for (uint64_t seed = 0; seed < 20; seed++) {
    std::mt19937_64 rng(seed);
    std::normal_distribution<double> normal;
    const size_t n = 60, rank = 1 + seed % 10;
    matrix l(n, std::vector<double>(rank)), q(n, std::vector<double>(n));
    for (auto& row : l)
      for (double& v : row) v = rng() % 3 ? normal(rng) : 0;
    const auto dot = [&](size_t i, size_t j) {
      double sum = 0;
      for (size_t k = 0; k < rank; k++) sum += l[i][k] * l[j][k];
      return sum;
    };
    for (size_t i = 0; i < n; i++)
      for (size_t j = 0; j < n; j++) q[i][j] = dot(i, j);
    EXPECT_TRUE(passes(q)) << seed;
    size_t i = 0;
    while (q[i][i] == 0) i++;
    q[i][i] -= 1e-5 * q[i][i]; // a kernel of so many dimensions sees every direction
    EXPECT_FALSE(passes(q)) << seed;
    EXPECT_TRUE(passes(q, convex_level::full, 1, 1e-3)) << seed;
  }
}
