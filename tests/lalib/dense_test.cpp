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

// Odd sizes, none and one, at any alignment: every tile with whole and partial rows and columns is met.
TEST(Matker, SubtractsProductsOfAllShapesAndTouchesNothingElse) {
  std::mt19937_64 rng(1);
  for (const matker_isa isa : sets) {
    const matker ker = TVN_matker_make(isa);
    std::vector<double> pack(static_cast<size_t>(TVN_matker_packsize(ker)));
    for (int round = 0; round < 150; round++) {
      const auto size = [&](int64_t most) { return static_cast<int64_t>(rng() % static_cast<uint64_t>(most + 1)); };
      const bool lower = round % 2, large = round % 75 == 0, scaled = round % 3 == 0;
      const int64_t n = size(large ? 1100 : 40), m = lower ? n + size(50) : size(large ? 500 : 60),
                    k = size(large ? 300 : 20);
      SCOPED_TRACE(std::to_string(m) + " " + std::to_string(n) + " " + std::to_string(k));
      block a(m, k, round % 3, rng), b(n, k, round % 4, rng), c(m, n, round % 5, rng), d(k, 1, 0, rng), old = c;
      std::fill(pack.begin(), pack.end(), std::nan(""));
      TVN_matker_mm_cecmab(
          ker, {m, n, k, a.data(), a.ld, b.data(), b.ld, scaled ? d.data() : nullptr, c.data(), c.ld, lower},
          pack.data());
      double worst = 0;
      for (int64_t j = 0; j < n; j++)
        for (int64_t i = 0; i < m; i++) {
          if (lower && i < j) {
            old.at(i, j) = i >= j / ker.micro.nr * ker.micro.nr ? c.at(i, j) : old.at(i, j);
            continue;
          }
          long double want = old.at(i, j);
          for (int64_t p = 0; p < k; p++)
            want -= static_cast<long double>(a.at(i, p)) * b.at(j, p) * (scaled ? d.at(p, 0) : 1.0);
          worst = std::max(worst, std::fabs(static_cast<double>(want - c.at(i, j))));
          old.at(i, j) = c.at(i, j);
        }
      ASSERT_TRUE(worst <= 1e-15 * static_cast<double>(k + 1)) << worst;
      ASSERT_EQ(old.v, c.v) << "written beside the block";
    }
  }
}

// Dot products of up to nr columns, with one and with several vectors, of every length and at any alignment.
TEST(Matker, DotsAreThoseOfLongDouble) {
  std::mt19937_64 rng(3);
  for (const matker_isa isa : sets) {
    const matker ker = TVN_matker_make(isa);
    for (int64_t n = 0; n <= 37; n++)
      for (int64_t cols = 1; cols <= ker.micro.nr; cols++) {
        block l(n, cols, n % 3, rng), y(n, 1, 0, rng), rows(micro_wide, n, 0, rng);
        double one[maxmicrocols], wide[maxmicrocols * micro_wide];
        ker.micro.dots[cols - 1](n, l.data(), l.ld, y.data(), one);
        ker.micro.dotsx[cols - 1](n, l.data(), l.ld, rows.data(), wide);
        for (int64_t j = 0; j < cols; j++)
          for (int64_t q = -1; q < micro_wide; q++) {
            long double want = 0;
            for (int64_t i = 0; i < n; i++)
              want += static_cast<long double>(l.at(i, j)) * (q < 0 ? y.at(i, 0) : rows.at(q, i));
            const double got = q < 0 ? one[j] : wide[j * micro_wide + q];
            ASSERT_TRUE(std::fabs(static_cast<double>(want) - got) <= 1e-15 * static_cast<double>(n + 1))
                << n << ' ' << q;
          }
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
  static bool goeson(void* handle, double) {
    auto& r = *static_cast<rule*>(handle);
    return r.asked++ != r.stopat;
  }
};

} // namespace

namespace {

// A front whose columns and update stand apart, with sentinels around.
struct front_case {
  int64_t n, w;
  block a;
  std::vector<double> update, d, work;
  front_case(const matker& ker, int64_t rows, int64_t cols, int32_t numthreads, std::mt19937_64& rng)
      : n(rows), w(cols), a(rows, cols, 3, rng), update(size_t(TVN_dfac_updatesize(rows - cols)) + 1, guard),
        d(size_t(cols) + 1, guard), work(size_t(TVN_dfac_worksize(ker, rows, cols, numthreads)) + 1, std::nan("")) {
    std::uniform_real_distribution<double> unit(-1, 1);
    work.back() = guard;
    for (int64_t j = 0; j < n; j++)
      for (int64_t i = j; i < n; i++)
        at(i, j) = i == j ? (j % 2 ? -1.0 : 1.0) * static_cast<double>(n + 2) : unit(rng); // known signs
  }
  double& at(int64_t i, int64_t j) { return j < w ? a.at(i, j) : TVN_dfac_column(update.data(), n - w, j - w)[i - w]; }
  bool factor(const matker& ker, rule& r, thread_team* team) {
    return TVN_dfac_factor(ker, {n, w, a.data(), a.ld, update.data(), d.data()}, {&r, rule::pivot, rule::goeson},
                           TVN_dfac_space(ker, n, w, work.data()), team);
  }
};

} // namespace

// The rest after w columns equals the Schur complement, and L D L' the columns, in long double; a team has the same
// bits.
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
                               {300, 170},
                               {520, 1},
                               {600, 320}}) {
      SCOPED_TRACE(std::to_string(n) + " " + std::to_string(w));
      front_case f(ker, n, w, 3, rng), old = f, shared = f;
      rule r, s;
      ASSERT_TRUE(f.factor(ker, r, nullptr));
      ASSERT_EQ(static_cast<int64_t>(r.seen.size()), w);
      double worst = 0, differ = 0;
      std::vector<long double> sum(size_t(n), 0.0L);
      {
        thread_team team(3, {});
        ASSERT_TRUE(shared.factor(ker, s, &team));
      }
      for (int64_t j = 0; j < n; j++) {
        for (int64_t i = j; i < n; i++) sum[size_t(i)] = j < w ? 0.0L : static_cast<long double>(f.at(i, j));
        for (int64_t p = 0; p <= std::min(j, w - 1); p++) {
          const long double t = (p == j ? 1.0L : static_cast<long double>(f.at(j, p))) * f.d[size_t(p)];
          for (int64_t i = j; i < n; i++) sum[size_t(i)] += t * (i == p ? 1.0 : f.at(i, p));
        }
        for (int64_t i = j; i < n; i++) {
          worst = std::max(worst, std::fabs(static_cast<double>(sum[size_t(i)] - old.at(i, j))));
          differ += i > j && f.at(i, j) != shared.at(i, j);
        }
      }
      EXPECT_TRUE(worst <= 1e-14 * static_cast<double>(n + 1)) << worst;
      EXPECT_EQ(differ, 0) << "bits of the team";
      EXPECT_EQ(f.d, shared.d);
      for (int64_t k = 0; k < w; k++) EXPECT_EQ(f.d[size_t(k)] > 0, k % 2 == 0) << "inertia";
      EXPECT_EQ(f.d.back(), guard);
      EXPECT_EQ(f.work.back(), guard);
      EXPECT_EQ(f.update.back(), guard);
      if (w <= 256) continue;
      rule stop;
      stop.stopat = 1;
      EXPECT_FALSE(old.factor(ker, stop, nullptr));
    }
  }
}
