// If this failed in the field: presolve would drop a row that says something of its own, or prove a problem infeasible
// by a combination that is none; or dependent rows would stay.
#include "math/lindep2.h"
#include "support/rational.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

using namespace tvntest;

namespace {

using int_rows = std::vector<std::vector<int>>; // dense, small integers

int rank_of(const int_rows& rows) {
  std::vector<std::vector<fraction>> a;
  for (const auto& r : rows) a.emplace_back(r.begin(), r.end());
  size_t rank = 0;
  for (size_t j = 0; rank < a.size() && j < a[0].size(); j++) {
    size_t p = rank;
    while (p < a.size() && a[p][j].sign() == 0) p++;
    if (p == a.size()) continue;
    std::swap(a[p], a[rank]);
    for (size_t i = rank + 1; i < a.size(); i++) {
      const fraction f = a[i][j] / a[rank][j];
      for (size_t k = j; k < a[i].size() && f.sign() != 0; k++) a[i][k] = a[i][k] - f * a[rank][k];
    }
    rank++;
  }
  return static_cast<int>(rank);
}

// Random sparse rows; some are combinations of others, some are there twice, some empty.
int_rows random_rows(uint64_t seed) {
  std::mt19937_64 rng(seed);
  const auto pick = [&](int lo, int hi) { return lo + static_cast<int>(rng() % uint64_t(hi - lo + 1)); };
  const int n = pick(2, 9), free = pick(1, 6), dependent = pick(0, 4);
  int_rows rows;
  for (int i = 0; i < free; i++) {
    rows.emplace_back(n, 0);
    for (int e = pick(0, 4); e > 0; e--) rows.back()[size_t(pick(0, n - 1))] = pick(1, 2) * (pick(0, 1) ? 1 : -1);
  }
  for (int i = 0; i < dependent; i++) {
    const auto a = rows[size_t(pick(0, free - 1))], b = rows[size_t(pick(0, free - 1))];
    const int s = pick(-2, 2), t = pick(-1, 2);
    rows.emplace_back(n, 0);
    for (size_t j = 0; j < a.size(); j++) rows.back()[j] = s * a[j] + t * b[j];
  }
  std::shuffle(rows.begin(), rows.end(), rng);
  return rows;
}

struct finder {
  const int_rows& rows;
  std::set<int32_t> dropped;
  static bool take(void* handle, int32_t row, int32_t num, const int32_t* sub, const double* y) {
    auto& f = *static_cast<finder*>(handle);
    EXPECT_TRUE(f.dropped.insert(row).second);
    double own = 0;
    for (size_t j = 0; j < f.rows[0].size(); j++) {
      double sum = 0;
      for (int32_t k = 0; k < num; k++) sum += y[k] * f.rows[size_t(sub[k])][j];
      EXPECT_NEAR(sum, 0, 1e-9);
    }
    for (int32_t k = 0; k < num; k++) own += sub[k] == row ? y[k] : 0;
    EXPECT_EQ(own, 1);
    return true;
  }
};

// Entries by row (or by column) of the dense rows.
struct sparse {
  std::vector<int64_t> beg{0};
  std::vector<int32_t> sub;
  std::vector<double> val;
  sparse(const int_rows& rows, bool bycolumn) {
    const size_t m = rows.size(), n = rows[0].size();
    for (size_t k = 0; k < (bycolumn ? n : m); k++) {
      for (size_t l = 0; l < (bycolumn ? m : n); l++)
        if (const int a = bycolumn ? rows[l][k] : rows[k][l]) {
          sub.push_back(static_cast<int32_t>(l));
          val.push_back(a);
        }
      beg.push_back(static_cast<int64_t>(sub.size()));
    }
  }
};

tvn::lindep2_code check(const int_rows& rows, finder& f) {
  const sparse r(rows, false), c(rows, true);
  const tvn::lindep2_system a{static_cast<int32_t>(rows.size()),
                              static_cast<int32_t>(rows[0].size()),
                              c.beg.data(),
                              r.beg.data(),
                              c.sub.data(),
                              r.sub.data(),
                              c.val.data(),
                              r.val.data()};
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  tvn::lindep2_stats stats;
  const tvn::lindep2_code code = tvn::TVN_lindep2_check(*sys, {}, a, {&f, finder::take}, {}, stats);
  EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak";
  return code;
}

} // namespace

TEST(DependentRows, AreThoseBeyondTheRankWithProofsAndTheRestKeepsIt) {
  int found = 0, clean = 0;
  for (uint64_t seed = 1; seed <= 2000; seed++) {
    SCOPED_TRACE(seed);
    const int_rows rows = random_rows(seed);
    finder f{rows, {}};
    ASSERT_EQ(check(rows, f), tvn::lindep2_code::ok);
    int_rows kept;
    for (size_t i = 0; i < rows.size(); i++)
      if (!f.dropped.count(static_cast<int32_t>(i))) kept.push_back(rows[i]);
    const int rank = rank_of(rows);
    ASSERT_EQ(static_cast<int>(kept.size()), rank);
    ASSERT_TRUE(kept.empty() || rank_of(kept) == rank);
    (f.dropped.empty() ? clean : found)++;
    if (HasFailure()) break;
  }
  EXPECT_GT(found, 500);
  EXPECT_GT(clean, 100);
}
