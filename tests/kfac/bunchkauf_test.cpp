// If these failed in the field: an interior-point run with long columns would take wrong steps, since what was added to
// small pivots would not come out again.
#include "densecase.h"
#include "kfac/bunchkauf.h"

#include <gtest/gtest.h>
#include <random>

using namespace tvn;
using namespace tvntest;

namespace {

struct indefinite {
  dense full;
  std::vector<double> lower;
  std::vector<int32_t> piv;
  bunchkauf_inertia inertia;
  size_t n() const { return full.size(); }

  bool factor(double toldrop, const bunchkauf_hook& hook = {}) {
    lower.assign(n() * n(), NAN);
    for (size_t j = 0; j < n(); j++)
      for (size_t i = j; i < n(); i++) lower[i + j * n()] = static_cast<double>(full[i][j]);
    piv.assign(n(), 0);
    const auto k = static_cast<int64_t>(n());
    return TVN_bunchkauf_factor(k, lower.data(), k, toldrop, hook, piv.data(), inertia);
  }
  std::vector<double> solve(std::vector<double> b) const {
    TVN_bunchkauf_solve(static_cast<int64_t>(n()), lower.data(), static_cast<int64_t>(n()), piv.data(), b.data());
    return b;
  }
};

// Small integers, many zeros, often on the whole diagonal.
indefinite random_indefinite(std::mt19937_64& rng) {
  indefinite c;
  const size_t n = rng() % 30;
  c.full.assign(n, std::vector<long double>(n, 0.0L));
  const bool hollow = rng() % 3 == 0;
  for (size_t i = 0; i < n; i++)
    for (size_t j = 0; j <= i; j++) {
      const auto v = static_cast<long double>(static_cast<int>(rng() % 9) - 4);
      if ((i == j && hollow) || rng() % 3 == 0) continue;
      c.full[i][j] = c.full[j][i] = v;
    }
  return c;
}

} // namespace

TEST(BunchKaufman, SolvesAndCountsLikeEigenvalues) {
  std::mt19937_64 rng(7);
  int32_t regular = 0;
  for (int t = 0; t < 500; t++) {
    SCOPED_TRACE(t);
    indefinite c = random_indefinite(rng);
    const std::vector<long double> values = eigenvalues(c.full);
    long double least = INFINITY;
    for (const long double v : values) least = std::min(least, std::fabs(v));
    ASSERT_TRUE(c.factor(0));
    if (least < 1e-6L) continue;
    regular++;
    EXPECT_EQ(c.inertia.positive, std::count_if(values.begin(), values.end(), [](long double v) { return v > 0; }));
    EXPECT_EQ(c.inertia.positive + c.inertia.negative, static_cast<int64_t>(c.n()));
    std::vector<double> b(c.n());
    for (double& v : b) v = static_cast<double>(rng() % 100) - 50;
    EXPECT_LE(relative_residual(c.full, c.solve(b), b), 1e-14);
  }
  EXPECT_GT(regular, 250);
}

TEST(BunchKaufman, DropsWhatDependsAndSolvesTheRest) {
  std::mt19937_64 rng(11);
  for (int t = 0; t < 300; t++) {
    SCOPED_TRACE(t);
    // B B' of rank r: the rest is dropped, and a consistent system is solved.
    const size_t n = 2 + rng() % 20, rank = 1 + rng() % (n - 1);
    dense b(n, std::vector<long double>(rank));
    for (auto& row : b)
      for (auto& v : row) v = static_cast<long double>(rng() % 2001) / 1000 - 1;
    indefinite c;
    c.full.assign(n, std::vector<long double>(n, 0.0L));
    std::vector<double> rhs(n, 0.0);
    for (size_t i = 0; i < n; i++)
      for (size_t j = 0; j < n; j++) {
        for (size_t q = 0; q < rank; q++) c.full[i][j] += (q % 2 ? -1 : 1) * b[i][q] * b[j][q];
        rhs[i] += static_cast<double>(c.full[i][j]);
      }
    ASSERT_TRUE(c.factor(1e-9));
    EXPECT_EQ(c.inertia.positive, static_cast<int64_t>((rank + 1) / 2));
    EXPECT_EQ(c.inertia.negative, static_cast<int64_t>(rank / 2));
    EXPECT_EQ(c.inertia.dropped, static_cast<int64_t>(n - rank));
    EXPECT_LE(relative_residual(c.full, c.solve(rhs), rhs), 1e-8);
  }
}

TEST(BunchKaufman, StopsWhenAsked) {
  indefinite c;
  c.full.assign(500, std::vector<long double>(500, 1.0L));
  for (size_t i = 0; i < 500; i++) c.full[i][i] = static_cast<long double>(i) - 200;
  EXPECT_FALSE(c.factor(0, {nullptr, [](void*) { return false; }}));
}
