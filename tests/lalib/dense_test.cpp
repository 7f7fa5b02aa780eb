// If these failed in the field: every interior-point run would stop on wrong directions, or crash on a machine with
// other instructions than the one it was tried on.
#include "lalib/dfac.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

using namespace tvn;

namespace {

constexpr matker_isa sets[] = {matker_isa::baseline, matker_isa::avx2, matker_isa::avx512};
constexpr double guard = -7.25; // of what may not be written

struct block {
  int64_t rows, cols, ld;
  size_t shift; // the first element stands off any alignment
  std::vector<double> v;
  block(int64_t m, int64_t n, int64_t pad, std::mt19937_64& rng)
      : rows(m), cols(n), ld(m + pad), shift(rng() % 5), v(shift + static_cast<size_t>(ld * n) + 8, guard) {
    std::uniform_real_distribution<double> unit(-1, 1);
    for (int64_t j = 0; j < n; j++)
      for (int64_t i = 0; i < m; i++) at(i, j) = unit(rng);
  }
  double* data() { return v.data() + shift; }
  double& at(int64_t i, int64_t j) { return v[shift + static_cast<size_t>(i + j * ld)]; }
};

} // namespace

TEST(Matker, SubtractsProductsOfAllShapesAndTouchesNothingElse) {
  std::mt19937_64 rng(1);
  for (const matker_isa isa : sets) {
    const matker ker = TVN_matker_make(isa);
    std::vector<double> pack(static_cast<size_t>(TVN_matker_packsize(ker)));
    for (int round = 0; round < 150; round++) {
      const auto size = [&](int64_t most) { return static_cast<int64_t>(rng() % static_cast<uint64_t>(most + 1)); };
      const bool lower = round % 2, large = round % 30 == 0;
      const int64_t n = size(large ? 1100 : 40), m = lower ? n + size(50) : size(large ? 500 : 60),
                    k = size(large ? 300 : 20);
      SCOPED_TRACE(std::to_string(m) + " " + std::to_string(n) + " " + std::to_string(k));
      block a(m, k, round % 3, rng), b(n, k, round % 4, rng), c(m, n, round % 5, rng), old = c;
      std::fill(pack.begin(), pack.end(), std::nan(""));
      (lower ? TVN_matker_mm_sym_cecmab : TVN_matker_mm_cecmab)(ker, m, n, k, a.data(), a.ld, b.data(), b.ld, c.data(),
                                                                c.ld, pack.data());
      double worst = 0;
      for (int64_t j = 0; j < n; j++)
        for (int64_t i = 0; i < m; i++) {
          long double want = old.at(i, j);
          if (!lower || i >= j)
            for (int64_t p = 0; p < k; p++) want -= static_cast<long double>(a.at(i, p)) * b.at(j, p);
          worst = std::max(worst, std::fabs(static_cast<double>(want - c.at(i, j))));
          old.at(i, j) = c.at(i, j);
        }
      ASSERT_TRUE(worst <= 1e-15 * static_cast<double>(k + 1)) << worst;
      ASSERT_EQ(old.v, c.v) << "written beside the block";
    }
  }
}

namespace {

struct rule {
  std::vector<double> seen;
  int64_t asked = 0, stopat = -1;
  static double pivot(void* handle, int64_t k, double q) {
    auto& r = *static_cast<rule*>(handle);
    EXPECT_EQ(k, static_cast<int64_t>(r.seen.size())) << "columns come in order";
    r.seen.push_back(q);
    return q == 0 ? 1.0 : q;
  }
  static bool goeson(void* handle) {
    auto& r = *static_cast<rule*>(handle);
    return r.asked++ != r.stopat;
  }
};

} // namespace

// The rest after w columns equals the Schur complement, and L D L' the columns, in long double.
TEST(Dfac, FactorsLeadingColumnsAndUpdatesTheRest) {
  std::mt19937_64 rng(2);
  for (const matker_isa isa : sets) {
    const matker ker = TVN_matker_make(isa);
    for (const auto& [n, w] : {std::pair<int64_t, int64_t>{0, 0},
                               {1, 1},
                               {1, 0},
                               {5, 3},
                               {17, 17},
                               {40, 16},
                               {97, 33},
                               {130, 130},
                               {300, 270},
                               {600, 520}}) {
      SCOPED_TRACE(std::to_string(n) + " " + std::to_string(w));
      block a(n, n, 3, rng);
      for (int64_t j = 0; j < n; j++) a.at(j, j) = (j % 2 ? -1.0 : 1.0) * static_cast<double>(n + 2); // known signs
      const block old = a;
      std::vector<double> d(static_cast<size_t>(w) + 1), work(static_cast<size_t>(TVN_dfac_worksize(ker, n)));
      rule r;
      ASSERT_TRUE(TVN_dfac_factor(ker, n, w, a.data(), a.ld, d.data(), {&r, rule::pivot, rule::goeson}, work.data()));
      ASSERT_EQ(static_cast<int64_t>(r.seen.size()), w);
      block b = old;
      double worst = 0;
      for (int64_t j = 0; j < n; j++)
        for (int64_t i = j; i < n; i++) {
          const auto l = [&](int64_t row, int64_t col) { return row == col ? 1.0 : a.at(row, col); };
          long double sum = j < w ? 0.0L : static_cast<long double>(a.at(i, j));
          for (int64_t p = 0; p <= std::min(j, w - 1); p++)
            sum += static_cast<long double>(l(i, p)) * l(j, p) * d[static_cast<size_t>(p)];
          worst = std::max(worst, std::fabs(static_cast<double>(sum - b.at(i, j))));
        }
      EXPECT_TRUE(worst <= 1e-14 * static_cast<double>(n + 1)) << worst;
      for (int64_t j = 0; j < n; j++)
        for (int64_t i = 0; i < j; i++) ASSERT_EQ(a.at(i, j), b.at(i, j)) << "above the diagonal";
      for (int64_t k = 0; k < w; k++) EXPECT_EQ(d[static_cast<size_t>(k)] > 0, k % 2 == 0) << "inertia";
      if (w <= 256) continue;
      rule stop;
      stop.stopat = 1;
      a = old;
      EXPECT_FALSE(
          TVN_dfac_factor(ker, n, w, a.data(), a.ld, d.data(), {&stop, rule::pivot, rule::goeson}, work.data()));
    }
  }
}
