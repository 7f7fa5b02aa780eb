// If these failed in the field: the directions of an interior-point run would be wrong, or it would crash on a pattern
// nobody thought of.
#include "kfac/sfk.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <vector>

using namespace tvn;

namespace {

// A symmetric matrix with each edge once, at either end, and known signs of its pivots in any order.
struct system_case {
  int32_t n = 0;
  std::vector<int64_t> beg;
  std::vector<int32_t> sub;
  std::vector<double> val, diag;
  std::vector<int8_t> sign;
  sorder_graph graph() const { return {n, beg.data(), beg.data() + 1, sub.data()}; }
};

// Quasi-definite: the blocks of both signs dominate their own rows, entries between them are free.
system_case random_system(uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> unit(-1, 1);
  system_case c;
  c.n = static_cast<int32_t>(rng() % (seed % 10 == 0 ? 400 : 40));
  std::set<std::pair<int32_t, int32_t>> edges;
  const auto add = [&](int32_t i, int32_t j) {
    if (i != j) edges.insert({std::min(i, j), std::max(i, j)});
  };
  const auto node = [&] { return static_cast<int32_t>(rng() % static_cast<uint64_t>(c.n)); };
  if (c.n > 0)
    for (uint64_t k = rng() % static_cast<uint64_t>(3 * c.n); k > 0; k--) add(node(), node());
  if (c.n > 0 && seed % 3 == 0) // cliques, as columns of A make them
    for (int32_t k = 0; k < c.n / 6; k++) {
      std::vector<int32_t> members;
      for (int q = 0; q < 5; q++) members.push_back(node());
      for (const int32_t i : members)
        for (const int32_t j : members) add(i, j);
    }
  if (c.n > 0 && seed % 7 == 0)
    for (int32_t i = 1; i < c.n; i++) add(0, i); // a full row
  std::vector<std::vector<int32_t>> lists(static_cast<size_t>(c.n));
  for (const auto& [i, j] : edges) {
    if (rng() % 2)
      lists[size_t(i)].push_back(j);
    else
      lists[size_t(j)].push_back(i);
  }
  c.diag.assign(size_t(c.n), 0.0);
  c.sign.assign(size_t(c.n), 1);
  for (auto& s : c.sign) s = seed % 2 && rng() % 3 == 0 ? -1 : 1;
  for (int32_t j = 0; j < c.n; j++) {
    c.beg.push_back(static_cast<int64_t>(c.sub.size()));
    for (const int32_t i : lists[size_t(j)]) {
      c.sub.push_back(i);
      c.val.push_back(unit(rng));
      if (c.sign[size_t(i)] != c.sign[size_t(j)]) continue;
      c.diag[size_t(i)] += std::fabs(c.val.back());
      c.diag[size_t(j)] += std::fabs(c.val.back());
    }
  }
  c.beg.push_back(static_cast<int64_t>(c.sub.size()));
  for (int32_t j = 0; j < c.n; j++) c.diag[size_t(j)] = c.sign[size_t(j)] * (c.diag[size_t(j)] + 0.1);
  return c;
}

struct solver {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  sfk_structure structure;
  sfk_factor factor;
  ~solver() {
    structure = sfk_structure{};
    factor = sfk_factor{};
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "leak";
  }
  void analyse(const system_case& c, const int32_t* perm, int32_t numthreads = 1) {
    ASSERT_EQ(TVN_sfk_setupL(*sys, c.graph(), perm, {}, structure), sfk_code::ok);
    TVN_sfk_allocLval(*sys, structure, TVN_matker_make(matker_isa::avx512), factor, numthreads);
  }
  sfk_code calculate(const system_case& c, const sfk_pivots& pivots = {}, const sfk_progress& progress = {}) {
    TVN_sfk_clear(factor);
    for (size_t p = 0; p < c.val.size(); p++) factor.val[structure.dest[static_cast<int64_t>(p)]] += c.val[p];
    for (int32_t j = 0; j < c.n; j++) factor.val[structure.diagdest[j]] += c.diag[size_t(j)];
    sfk_pivots own = pivots;
    own.sign = c.sign.data();
    return TVN_ch_calfac(factor, own, progress);
  }
  std::vector<double> solve(std::vector<double> b) {
    std::vector<double> work(static_cast<size_t>(structure.n + structure.maxfront));
    TVN_sfk_solve(factor, b.data(), work.data());
    return b;
  }
};

// Largest residual of K x = b, relative to the sums of terms.
double residual(const system_case& c, const std::vector<double>& x, const std::vector<double>& b) {
  std::vector<long double> r(b.begin(), b.end()), size(b.size(), 0.0L);
  const auto term = [&](size_t row, long double t) {
    r[row] -= t;
    size[row] += std::fabs(t);
  };
  for (int32_t j = 0; j < c.n; j++) {
    term(size_t(j), static_cast<long double>(c.diag[size_t(j)]) * x[size_t(j)]);
    for (int64_t p = c.beg[size_t(j)]; p < c.beg[size_t(j) + 1]; p++) {
      const auto i = size_t(c.sub[size_t(p)]);
      term(i, static_cast<long double>(c.val[size_t(p)]) * x[size_t(j)]);
      term(size_t(j), static_cast<long double>(c.val[size_t(p)]) * x[i]);
    }
  }
  double worst = 0;
  for (size_t k = 0; k < r.size(); k++)
    worst = std::max(worst, static_cast<double>(std::fabs(r[k]) / (1 + std::fabs(b[k]) + size[k])));
  return worst;
}

} // namespace

TEST(SymmetricFactor, SolvesRandomSystemsInAnyOrder) {
  for (uint64_t seed = 0; seed < 600; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const system_case c = random_system(seed);
    std::mt19937_64 rng(seed);
    std::vector<int32_t> perm(static_cast<size_t>(c.n));
    for (int32_t k = 0; k < c.n; k++) perm[size_t(k)] = k;
    std::shuffle(perm.begin(), perm.end(), rng);
    solver s;
    sorder_figures figures;
    if (seed % 3 == 1) {
      ASSERT_EQ(TVN_amf_sorder(*s.sys, c.graph(), nullptr, {}, perm.data(), figures), sorder_code::ok);
    }
    s.analyse(c, seed % 3 == 2 ? nullptr : perm.data());
    ASSERT_EQ(s.calculate(c), sfk_code::ok);
    EXPECT_EQ(s.factor.numrepair, 0);
    EXPECT_EQ(s.factor.numnegative, std::count(c.sign.begin(), c.sign.end(), -1)) << "inertia";
    std::vector<double> b(static_cast<size_t>(c.n));
    std::uniform_real_distribution<double> unit(-1, 1);
    for (double& v : b) v = unit(rng);
    EXPECT_TRUE(residual(c, s.solve(b), b) <= 1e-13);
    // Once more on the same structure, with the same bits.
    const std::vector<double> first = s.solve(b);
    ASSERT_EQ(s.calculate(c), sfk_code::ok);
    EXPECT_EQ(first, s.solve(b));
    EXPECT_GE(s.structure.stored, s.structure.nnzl);
    sfk_structure bare;
    ASSERT_EQ(TVN_sfk_setupL(*s.sys, c.graph(), s.structure.perm.data(), {}, bare, sfk_places::diagonal), sfk_code::ok);
    EXPECT_TRUE(bare.dest.empty());
    EXPECT_TRUE(std::equal(bare.diagdest.begin(), bare.diagdest.end(), s.structure.diagdest.begin()));
    // Several at once.
    const int32_t num = 1 + static_cast<int32_t>(seed % 19);
    std::vector<double> all, work(static_cast<size_t>(TVN_sfk_worksize(s.structure, num)), std::nan(""));
    for (int32_t k = 0; k < num; k++)
      for (const double v : b) all.push_back(v * (k + 1));
    TVN_sfk_solve_X(s.factor, num, all.data(), work.data());
    for (int32_t k = 0; k < num; k++) {
      std::vector<double> x(all.begin() + k * c.n, all.begin() + (k + 1) * c.n), scaled = b;
      for (double& v : scaled) v *= k + 1;
      EXPECT_TRUE(residual(c, x, scaled) <= 1e-13) << k;
    }
  }
}

// Without fractions: after step k element (i, j) of the rest is the minor of rows 0 .. k, i and columns 0 .. k, j,
// which gives L and D as quotients of whole numbers (Bareiss 1968).
TEST(SymmetricFactor, IsTheExactOneOfIntegerMatrices) {
  int32_t judged = 0;
  for (uint64_t seed = 0; seed < 3000; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    system_case c = random_system(seed);
    if (c.n == 0 || c.n > 12) continue;
    judged++;
    const auto n = size_t(c.n);
    std::vector<std::vector<__int128>> a(n, std::vector<__int128>(n, 0));
    solver s;
    s.analyse(c, nullptr);
    const int32_t* const place = s.structure.invp.data();
    for (size_t j = 0; j < n; j++) c.diag[j] = c.sign[j];
    for (size_t j = 0; j < n; j++)
      for (auto p = size_t(c.beg[j]); p < size_t(c.beg[j + 1]); p++) {
        const auto i = size_t(c.sub[p]);
        c.val[p] = std::round(3 * c.val[p]);
        const auto high = size_t(std::max(place[i], place[j])), low = size_t(std::min(place[i], place[j]));
        a[high][low] = static_cast<int64_t>(c.val[p]);
        if (c.sign[i] != c.sign[j]) continue;
        for (const size_t k : {i, j}) c.diag[k] += c.sign[k] * std::fabs(c.val[p]);
      }
    for (size_t j = 0; j < n; j++) a[size_t(place[j])][size_t(place[j])] = static_cast<int64_t>(c.diag[j]);
    ASSERT_EQ(s.calculate(c), sfk_code::ok);
    EXPECT_EQ(s.factor.numrepair, 0);
    __int128 before = 1;
    for (size_t k = 0; k < n; before = a[k][k], k++) {
      const double d = static_cast<double>(a[k][k]) / static_cast<double>(before);
      EXPECT_NEAR(s.factor.d[int64_t(k)], d, 1e-13 * std::fabs(d));
      for (size_t i = k + 1; i < n; i++)
        for (size_t j = k + 1; j <= i; j++) a[i][j] = (a[i][j] * a[k][k] - a[i][k] * a[j][k]) / before;
    }
    for (int32_t k = 0; k < s.structure.numsn; k++)
      for (int64_t q = s.structure.rowbeg[k]; q < s.structure.rowbeg[k + 1]; q++) {
        const int32_t row = s.structure.rows[q], first = s.structure.snbeg[k];
        const int64_t height = s.structure.rowbeg[k + 1] - s.structure.rowbeg[k], at = q - s.structure.rowbeg[k];
        for (int32_t j = first; j < std::min(row, s.structure.snbeg[k + 1]); j++) {
          const double l =
              static_cast<double>(a[size_t(row)][size_t(j)]) / static_cast<double>(a[size_t(j)][size_t(j)]);
          EXPECT_NEAR(s.factor.val[s.structure.valbeg[k] + (j - first) * height + at], l, 1e-13 * (1 + std::fabs(l)));
        }
      }
  }
  EXPECT_GT(judged, 500);
}

TEST(SymmetricFactor, NeverFailsOnZerosOfTheDiagonalAndTellsNaN) {
  for (uint64_t seed = 0; seed < 40; seed++) {
    system_case c = random_system(seed);
    solver s;
    s.analyse(c, nullptr);
    std::fill(c.diag.begin(), c.diag.end(), 0.0);
    std::vector<double> added(size_t(c.n), 0.0);
    sfk_pivots pivots;
    pivots.added = added.data();
    ASSERT_EQ(s.calculate(c, pivots), sfk_code::ok);
    EXPECT_EQ(s.factor.numrepair > 0, c.n > 0);
    EXPECT_EQ(s.factor.numrepair, c.n - std::count(added.begin(), added.end(), 0.0));
    // It is the exact factor of the matrix with what was added.
    const std::vector<double> b(size_t(c.n), 1.0);
    for (int32_t k = 0; k < c.n; k++) c.diag[size_t(s.structure.perm[k])] += added[size_t(k)];
    EXPECT_TRUE(residual(c, s.solve(b), b) <= 1e-12);
    if (c.n == 0) continue;
    c.diag[size_t(c.n) / 2] = std::nan("");
    EXPECT_EQ(s.calculate(c), sfk_code::failed);
  }
}

namespace {

// A cube with a shifted difference operator: large fronts over many subtrees.
system_case cube(int32_t side) {
  system_case c;
  c.n = side * side * side;
  std::mt19937_64 rng(1);
  std::uniform_real_distribution<double> unit(-1, 1);
  for (int32_t i = 0; i < c.n; i++) {
    c.beg.push_back(static_cast<int64_t>(c.sub.size()));
    for (const int32_t step : {1, side, side * side})
      if (i / step % side > 0) {
        c.sub.push_back(i - step);
        c.val.push_back(unit(rng));
      }
  }
  c.beg.push_back(static_cast<int64_t>(c.sub.size()));
  c.diag.assign(size_t(c.n), 4.0);
  c.sign.assign(size_t(c.n), 1);
  return c;
}

// Ends at the given question, and sees that only its own thread asks.
struct patience {
  int32_t left;
  int32_t calls = 0;
  pthread_t self = pthread_self();
  static int32_t ask(void* handle, int32_t, int64_t, double fraction) {
    auto& p = *static_cast<patience*>(handle);
    EXPECT_TRUE(pthread_equal(p.self, pthread_self()));
    EXPECT_LE(fraction, 1.0);
    return ++p.calls > p.left;
  }
};

} // namespace

TEST(SymmetricFactor, HasTheSameBitsForAnyNumberOfThreads) {
  const system_case c = cube(20);
  std::vector<int32_t> perm(size_t(c.n));
  solver one;
  sorder_figures figures;
  ASSERT_EQ(TVN_amf_sorder(*one.sys, c.graph(), nullptr, {}, perm.data(), figures), sorder_code::ok);
  one.analyse(c, perm.data());
  ASSERT_EQ(one.calculate(c), sfk_code::ok);
  for (const int32_t numthreads : {2, 3, 5}) {
    solver many;
    many.analyse(c, perm.data(), numthreads);
    ASSERT_EQ(many.factor.numthreads, numthreads);
    for (int round = 0; round < 3; round++) {
      ASSERT_EQ(many.calculate(c), sfk_code::ok);
      EXPECT_TRUE(std::equal(one.factor.d.begin(), one.factor.d.end(), many.factor.d.begin()));
      const std::vector<double> b(size_t(c.n), 1.0);
      EXPECT_EQ(one.solve(b), many.solve(b));
    }
    sfk_pivots all_replaced;
    all_replaced.tolpiv = 1e6;
    ASSERT_EQ(many.calculate(c, all_replaced), sfk_code::ok);
    EXPECT_EQ(many.factor.numrepair, c.n) << "counts of all threads";
    patience whole{1 << 30};
    ASSERT_EQ(many.calculate(c, {}, {&whole, patience::ask}), sfk_code::ok);
    for (int32_t k = 0; k < whole.calls; k += 1 + whole.calls / 20) {
      patience p{k};
      const sfk_code code = many.calculate(c, {}, {&p, patience::ask}); // how often is chance
      EXPECT_EQ(code, p.calls > k ? sfk_code::stopped : sfk_code::ok) << k;
      EXPECT_LE(p.calls, k + 1) << "asked again after the answer";
    }
    ASSERT_EQ(many.calculate(c), sfk_code::ok) << "a stop leaves nothing behind";
  }
}

// Each request of the analysis and of the room for the values fails in turn; what comes after takes nothing.
TEST(SymmetricFactor, ExhaustedMemoryIsReportedAndLeavesNothing) {
  struct budget {
    int64_t left = 0;
  } pool;
  const auto take = [](void* p, size_t size) -> void* {
    return static_cast<budget*>(p)->left-- > 0 ? std::malloc(size) : nullptr;
  };
  const auto give = [](void*, void* memory) { std::free(memory); };
  const system_case c = cube(14);
  bool done = false;
  for (int64_t allowed = 0; !done; allowed++) {
    pool.left = INT64_MAX;
    sysenv* sys = TVN_sysenv_make(10, &pool, take, give);
    pool.left = allowed;
    try {
      sfk_structure structure;
      sfk_factor factor;
      ASSERT_EQ(TVN_sfk_setupL(*sys, c.graph(), nullptr, {}, structure), sfk_code::ok);
      TVN_sfk_allocLval(*sys, structure, TVN_matker_make(matker_isa::avx512), factor, 2);
      EXPECT_EQ(factor.numthreads, 2);
      pool.left = 0;
      TVN_sfk_clear(factor);
      for (int32_t j = 0; j < c.n; j++) factor.val[structure.diagdest[j]] = 1.0;
      EXPECT_EQ(TVN_ch_calfac(factor, {}, {}), sfk_code::ok);
      done = true;
    } catch (const out_of_memory&) {}
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "leak after " << allowed;
  }
}

TEST(SymmetricFactor, StopsWhereItIsTold) {
  const system_case c = random_system(30);
  solver s;
  int32_t calls = 0;
  const sfk_progress at_once{&calls,
                             [](void* handle, int32_t, int64_t, double) { return ++*static_cast<int32_t*>(handle); }};
  EXPECT_EQ(TVN_sfk_setupL(*s.sys, c.graph(), nullptr, at_once, s.structure), sfk_code::stopped);
  EXPECT_GT(calls, 0);
  s.analyse(c, nullptr);
  EXPECT_EQ(s.calculate(c), sfk_code::ok);
  // Millions of values are not cleared without a question.
  constexpr int32_t leaves = 2300; // all of them meet once the hub has gone
  system_case star;
  star.n = leaves + 1;
  for (int32_t i = 1; i <= leaves; i++) star.sub.push_back(i);
  star.beg.assign(size_t(star.n) + 1, leaves);
  star.beg[0] = 0;
  s.analyse(star, nullptr);
  EXPECT_FALSE(TVN_sfk_clear(s.factor, at_once));
  EXPECT_TRUE(TVN_sfk_clear(s.factor));
}
