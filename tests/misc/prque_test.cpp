// If these fail, the pivot search and the presolve queues skip elements or walk lists of removed ones.
#include "misc/prque.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

using namespace tvn;

namespace {

struct PrQue : testing::Test {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok); }
};

} // namespace

TEST_F(PrQue, AgreesWithAPlainModelUnderRandomCalls) {
  constexpr int32_t n = 30, maxp = 12;
  std::mt19937 gen(5);
  pq q;
  TVN_pq_make(*sys, n, maxp, q);
  std::vector<std::vector<int32_t>> bucket(maxp + 1); // newest last
  const auto drop = [&](int32_t e) {
    for (auto& b : bucket) std::erase(b, e);
  };
  for (int32_t step = 0; step < 5000; step++) {
    const auto e = static_cast<int32_t>(gen() % n);
    if (gen() % 3 == 0) {
      TVN_pq_remove(q, e);
      drop(e);
    } else {
      const auto p = static_cast<int32_t>(gen() % (maxp + 1));
      TVN_pq_putp(q, e, p);
      drop(e);
      bucket[static_cast<size_t>(p)].push_back(e);
    }
    std::vector<int32_t> want, got;
    for (const auto& b : bucket) want.insert(want.end(), b.rbegin(), b.rend());
    for (bool on = TVN_pq_tomin(q); on; on = TVN_pq_tonext(q)) got.push_back(q.current);
    ASSERT_EQ(got, want) << "step " << step;
    ASSERT_EQ(q.count, static_cast<int32_t>(want.size()));
    std::vector<int32_t> heads, visited;
    for (int32_t p = 0; p <= maxp; p++) {
      const auto& b = bucket[static_cast<size_t>(p)];
      ASSERT_EQ(TVN_pq_top(q, p), b.empty() ? n : b.back());
      if (!b.empty()) heads.push_back(b.back());
    }
    for (bool on = TVN_pq_tomin(q); on; on = TVN_pq_tonextp(q)) visited.push_back(q.current);
    ASSERT_EQ(visited, heads);
    const auto at = std::find(want.begin(), want.end(), e);
    ASSERT_EQ(TVN_pq_toe(q, e), at != want.end());
    ASSERT_EQ(q.current, at != want.end() ? e : n);
    if (at == want.end()) continue;
    ASSERT_EQ(TVN_pq_tonext(q) ? q.current : n, at + 1 != want.end() ? at[1] : n);
  }
}

TEST_F(PrQue, IsEmptyAfterClearingAndHoldsNoMemoryAfterDeleting) {
  pq q;
  TVN_pq_make(*sys, 6, 3, q);
  for (int32_t round = 0; round < 2; round++) {
    for (int32_t e = 0; e < 6; e++) TVN_pq_putp(q, e, (e + round) % 4);
    ASSERT_TRUE(TVN_pq_tomin(q));
    EXPECT_EQ(q.current, round == 0 ? 4 : 3);
    TVN_pq_clear(q);
    EXPECT_EQ(q.current, 6); // the cursor left with the elements
    EXPECT_FALSE(TVN_pq_tomin(q));
    for (int32_t e = 0; e < 6; e++) EXPECT_EQ(TVN_pq_get(q, e), -1);
    for (int32_t p = 0; p <= 3; p++) EXPECT_EQ(TVN_pq_top(q, p), 6);
  }
  TVN_pq_delete(q);
  size_t most = 0, now = 1;
  TVN_memman_getmemusage(*sys->mman, most, now);
  EXPECT_EQ(now, 0u);
  std::vector<int32_t> area(static_cast<size_t>(TVN_pq_space(2, 1)), 77);
  ASSERT_TRUE(TVN_pq_setup(q, *sys, 2, 1, area));
  TVN_pq_putp(q, 1, 1);
  TVN_pq_delete(q); // space of the caller stays his
  EXPECT_EQ(area[1], 1);
}

TEST_F(PrQue, MovesTheCursorOnWhenItsElementGoes) {
  std::vector<int32_t> area(static_cast<size_t>(TVN_pq_space(5, 4)));
  pq q;
  EXPECT_FALSE(TVN_pq_setup(q, *sys, 5, 4, std::span(area).first(area.size() - 1)));
  ASSERT_TRUE(TVN_pq_setup(q, *sys, 5, 4, area));
  EXPECT_FALSE(TVN_pq_tomin(q));
  EXPECT_EQ(q.current, 5);
  TVN_pq_putp(q, 0, 1);
  TVN_pq_putp(q, 1, 1); // head of bucket 1
  TVN_pq_putp(q, 2, 4);
  ASSERT_TRUE(TVN_pq_tomin(q));
  EXPECT_EQ(q.current, 1);
  TVN_pq_remove(q, 1);
  EXPECT_EQ(q.current, 0);
  TVN_pq_remove(q, 0);
  EXPECT_EQ(q.current, 2);
  TVN_pq_remove(q, 2);
  EXPECT_EQ(q.current, 5);
  TVN_pq_putp(q, 3, 2);
  TVN_pq_incp(q, 3, 2);
  EXPECT_EQ(TVN_pq_get(q, 3), 4);
  TVN_pq_decp(q, 3, 3);
  EXPECT_EQ(TVN_pq_gettonextp(q, 0), 1);
  EXPECT_EQ(TVN_pq_gettonextp(q, 2), -1);
}

TEST_F(PrQue, AWalkThatRemovesWhatItMeetsVisitsEachElementOnceInRisingPriority) {
  std::mt19937 gen(12);
  for (int32_t trial = 0; trial < 200; trial++) {
    const auto n = static_cast<int32_t>(gen() % 20 + 1);
    std::vector<int32_t> area(gen() % 2 ? static_cast<size_t>(TVN_pq_space(n, 7)) : 3);
    pq q;
    TVN_pq_make2(*sys, n, 7, area, q);
    EXPECT_EQ(q.ownsarrays, area.size() == 3 && TVN_pq_space(n, 7) > 3);
    for (int32_t e = 0; e < n; e++) TVN_pq_putp(q, e, static_cast<int32_t>(gen() % 8));
    int32_t seen = 0, last = 0;
    for (bool on = TVN_pq_tomin(q); on; seen++) {
      const int32_t e = q.current, p = TVN_pq_get(q, e);
      ASSERT_GE(p, last);
      last = p;
      if (gen() % 2) {
        TVN_pq_remove(q, e); // the cursor moves on by itself
        on = q.current != q.maxe;
      } else {
        on = TVN_pq_tonext(q);
      }
    }
    EXPECT_EQ(seen, n);
    TVN_pq_remove(q, 0);
    TVN_pq_incp(q, 0, 3); // absent: stays out
    EXPECT_EQ(TVN_pq_get(q, 0), -1);
  }
}

TEST_F(PrQue, StopsOnAPriorityOutOfRange) {
  pq q;
  TVN_pq_make(*sys, 3, 2, q);
  EXPECT_DEATH(TVN_pq_putp(q, 3, 0), "0 <= e=3 <= maxe=3  && 0 <= p=0 <= maxp=2");
  EXPECT_DEATH(TVN_pq_putp(q, 0, 3), "p=3");
  q.count = 1; // the lists are empty
  EXPECT_DEATH(TVN_pq_tomin(q), "Queue holds 1 elements");
}
