// If this failed in the field: a start basis would be singular in its pattern though the caller's columns are not, or a
// long chain of columns would overflow the stack or take for ever.
#include "order/blkord.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <vector>

namespace {

using namespace tvn;

struct pattern {
  int32_t nrow = 0;
  std::vector<std::vector<int32_t>> cols;
};

struct matching {
  std::vector<int32_t> col2row, row2col;
  int32_t num = 0;
  explicit matching(const pattern& a) : col2row(a.cols.size(), -1), row2col(static_cast<size_t>(a.nrow), -1) {}
  int32_t matched_rows(const std::vector<int32_t>& rank, int32_t below) const {
    int32_t n = 0;
    for (size_t i = 0; i < row2col.size(); i++) n += row2col[i] >= 0 && rank[i] < below;
    return n;
  }
};

struct Transversal : testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "leak"; }

  // Calls fn on the pattern with gaps between its columns, and checks what every matching must be.
  template <class F> void run(const pattern& a, matching& m, F fn) {
    std::vector<int64_t> beg, end;
    std::vector<int32_t> sub;
    for (const auto& c : a.cols) {
      sub.push_back(-1);
      beg.push_back(static_cast<int64_t>(sub.size()));
      sub.insert(sub.end(), c.begin(), c.end());
      end.push_back(static_cast<int64_t>(sub.size()));
    }
    const matching before = m;
    m.num = fn(blkord_pattern{a.nrow, static_cast<int32_t>(a.cols.size()), beg.data(), end.data(), sub.data()},
               blkord_matching{m.col2row, m.row2col});
    int32_t num = 0;
    for (size_t k = 0; k < a.cols.size(); k++) {
      const int32_t i = m.col2row[k];
      EXPECT_TRUE(i >= 0 || before.col2row[k] < 0) << "column " << k << " lost its row";
      if (i < 0) continue;
      num++;
      ASSERT_EQ(m.row2col[static_cast<size_t>(i)], static_cast<int32_t>(k));
      EXPECT_NE(std::find(a.cols[k].begin(), a.cols[k].end(), i), a.cols[k].end()) << "no entry there";
    }
    EXPECT_EQ(num, m.num);
    EXPECT_EQ(num, std::count_if(m.row2col.begin(), m.row2col.end(), [](int32_t k) { return k >= 0; }));
    for (size_t i = 0; i < m.row2col.size(); i++)
      EXPECT_TRUE(m.row2col[i] >= 0 || before.row2col[i] < 0) << "row " << i << " lost its column";
  }
  int32_t maximum(const pattern& a) {
    matching m(a);
    run(a, m, [&](const blkord_pattern& p, blkord_matching out) { return TVN_blkord_maxtran(*sys, p, out); });
    return m.num;
  }
};

// The largest matching by all sets of rows that the columns so far can take.
int32_t brute_force(const pattern& a, uint32_t rows) {
  std::vector<bool> reached(size_t{1} << a.nrow);
  reached[0] = true;
  for (const auto& c : a.cols)
    for (size_t set = reached.size(); set-- > 0;)
      for (const int32_t i : c)
        if (reached[set] && (rows >> i & 1) && !(set >> i & 1)) reached[set | size_t{1} << i] = true;
  int32_t best = 0;
  for (size_t set = 0; set < reached.size(); set++)
    if (reached[set]) best = std::max(best, __builtin_popcountll(set));
  return best;
}

pattern random_pattern(std::mt19937_64& rng, int32_t nrow, int32_t ncol, double percolumn) {
  pattern a;
  a.nrow = nrow;
  a.cols.resize(static_cast<size_t>(ncol));
  for (auto& c : a.cols)
    for (int32_t i = 0; i < nrow; i++)
      if (std::uniform_real_distribution<double>(0, nrow)(rng) < percolumn) c.push_back(i);
  return a;
}

uint64_t num_seeds(uint64_t usual) {
  const char* s = std::getenv("TOVAN_SEEDS");
  return s ? std::strtoull(s, nullptr, 10) : usual;
}

} // namespace

TEST_F(Transversal, IsTheLargestThatAnySearchFinds) {
  for (uint64_t seed = 1; seed <= num_seeds(3000); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const auto size = [&] { return static_cast<int32_t>(rng() % 10); };
    const int32_t nrow = size(), ncol = size();
    const pattern a = random_pattern(rng, nrow, ncol, 1 + static_cast<double>(rng() % 3));
    const uint32_t all = (1u << nrow) - 1;
    const int32_t want = brute_force(a, all);
    ASSERT_EQ(maximum(a), want);

    matching cheap(a);
    run(a, cheap, [&](const blkord_pattern& p, blkord_matching m) { return TVN_blkord_appmaxtran(*sys, p, m); });
    EXPECT_GE(2 * cheap.num, want) << "it takes a row wherever there is one";
    run(a, cheap, [&](const blkord_pattern& p, blkord_matching m) { return TVN_blkord_maxtran(*sys, p, m); });
    EXPECT_EQ(cheap.num, want) << "from where the cheap one ended";

    // Rank by rank: of the lower ranks as many rows as alone.
    std::vector<int32_t> rank(static_cast<size_t>(nrow));
    for (int32_t& r : rank) r = static_cast<int32_t>(rng() % 3);
    matching ranked(a);
    for (int32_t below = 1; below <= 3; below++) {
      uint32_t rows = 0;
      for (int32_t i = 0; i < nrow; i++) rows |= rank[static_cast<size_t>(i)] < below ? 1u << i : 0u;
      run(a, ranked, [&](const blkord_pattern& p, blkord_matching m) {
        return TVN_blkord_maxtranwithrowtrh(*sys, p, rank.data(), below, m);
      });
      ASSERT_EQ(ranked.num, brute_force(a, rows));
      EXPECT_EQ(ranked.matched_rows(rank, below), ranked.num);
    }
    EXPECT_EQ(ranked.num, want);
  }
}

TEST_F(Transversal, HasOneSizeInEveryOrder) {
  for (uint64_t seed = 1; seed <= 30; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const int32_t n = 300 + static_cast<int32_t>(seed) * 10;
    pattern a = random_pattern(rng, n, n - static_cast<int32_t>(rng() % 20), 2.0), b = a;
    std::vector<int32_t> place(static_cast<size_t>(n));
    std::iota(place.begin(), place.end(), 0);
    std::shuffle(place.begin(), place.end(), rng);
    std::shuffle(b.cols.begin(), b.cols.end(), rng);
    for (auto& c : b.cols) {
      for (int32_t& i : c) i = place[static_cast<size_t>(i)];
      std::shuffle(c.begin(), c.end(), rng);
    }
    EXPECT_EQ(maximum(a), maximum(b));
  }
}

// Column k holds rows k-1 and k and has the former: the column in front, which wants row 0, moves all the others. With
// the chain full a thousand more columns that want row 0 must not walk along it one after the other.
TEST_F(Transversal, MovesAChainOfAnyLength) {
  constexpr int32_t n = 200000;
  pattern a;
  a.nrow = n;
  a.cols.push_back({0});
  for (int32_t k = 1; k < n; k++) a.cols.push_back({k - 1, k});
  matching m(a);
  for (int32_t k = 1; k < n; k++) {
    m.col2row[static_cast<size_t>(k)] = k - 1;
    m.row2col[static_cast<size_t>(k - 1)] = k;
  }
  matching left = m;
  run(a, left, [&](const blkord_pattern& p, blkord_matching out) { // one long path, and a user who will not wait
    return TVN_blkord_maxtran(*sys, p, out, {nullptr, [](void*) -> int32_t { return 1; }});
  });
  EXPECT_EQ(left.num, n - 1);
  const auto maxtran = [&](const blkord_pattern& p, blkord_matching out) { return TVN_blkord_maxtran(*sys, p, out); };
  run(a, m, maxtran);
  EXPECT_EQ(m.num, n);
  EXPECT_EQ(m.col2row.front(), 0);
  EXPECT_EQ(m.col2row.back(), n - 1);
  a.cols.insert(a.cols.end(), 100000, {0});
  m.col2row.resize(a.cols.size(), -1);
  run(a, m, maxtran);
  EXPECT_EQ(m.num, n);
}
