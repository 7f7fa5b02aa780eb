// If these fail, a greedy choice takes another candidate than the best one.
#include "temp/bheap.h"
#include "temp/prbheap.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <vector>

using namespace tvn;

namespace {

// Few different keys, so that ties are common.
template <class K> struct Heap : testing::Test {
  static constexpr int32_t n = 60;
  std::mt19937 gen{2};
  int32_t num = -1;
  std::vector<int32_t> heap = std::vector<int32_t>(n, -7), pos = std::vector<int32_t>(n, -7);
  std::vector<K> key = std::vector<K>(n);
  std::set<int32_t> inside;
  K random_key() { return static_cast<K>(static_cast<int32_t>(gen() % 9) - 4); }
  K largest() const {
    return key[static_cast<size_t>(*std::max_element(inside.begin(), inside.end(), [&](int32_t a, int32_t b) {
      return key[static_cast<size_t>(a)] < key[static_cast<size_t>(b)];
    }))];
  }
};
using Keys = testing::Types<int32_t, int64_t, double>;
TYPED_TEST_SUITE(Heap, Keys);

} // namespace

TYPED_TEST(Heap, DeletesALargestKeyEachTime) {
  TVN_bheapmax_init(this->num);
  for (int32_t step = 0; step < 20000; step++) {
    const auto e = static_cast<int32_t>(this->gen() % this->n);
    if (this->gen() % 2 && !this->inside.contains(e)) {
      this->key[static_cast<size_t>(e)] = this->random_key();
      TVN_bheapmax_insert(this->num, this->heap.data(), this->key.data(), e);
      this->inside.insert(e);
    } else if (!this->inside.empty()) {
      const TypeParam want = this->largest();
      const int32_t got = TVN_bheapmax_delete(this->num, this->heap.data(), this->key.data());
      ASSERT_EQ(this->key[static_cast<size_t>(got)], want);
      ASSERT_EQ(this->inside.erase(got), 1u);
    }
    ASSERT_EQ(this->num, static_cast<int32_t>(this->inside.size()));
  }
}

TYPED_TEST(Heap, KeepsPositionsInStepWhileKeysChange) {
  TVN_prbheapmax_init(this->num, this->n, this->pos.data());
  auto* order = this->heap.data();
  auto* place = this->pos.data();
  for (int32_t step = 0; step < 20000; step++) {
    const auto e = static_cast<int32_t>(this->gen() % this->n);
    const bool present = place[e] >= 0;
    ASSERT_EQ(present, this->inside.contains(e));
    if (present && this->gen() % 3) {
      TVN_prbheapmax_changekey(this->num, order, place, this->key.data(), e, this->random_key());
    } else if (!present && this->gen() % 2) {
      this->key[static_cast<size_t>(e)] = this->random_key();
      TVN_prbheapmax_insert(this->num, order, place, this->key.data(), e);
      this->inside.insert(e);
    } else if (this->num > 0) {
      const TypeParam want = this->largest();
      const int32_t got = TVN_prbheapmax_delete(this->num, order, place, this->key.data());
      ASSERT_EQ(this->key[static_cast<size_t>(got)], want);
      ASSERT_EQ(this->inside.erase(got), 1u);
      ASSERT_EQ(place[got], -1);
    }
    for (int32_t i = 0; i < this->num; i++) {
      ASSERT_EQ(place[order[i]], i);
      ASSERT_GE(this->key[static_cast<size_t>(order[(i - 1) / 2])], this->key[static_cast<size_t>(order[i])]);
    }
  }
}

TYPED_TEST(Heap, LeavesEqualKeysWhereTheyStand) {
  TVN_bheapmax_init(this->num);
  for (int32_t e = 0; e < 5; e++) TVN_bheapmax_insert(this->num, this->heap.data(), this->key.data(), e);
  EXPECT_EQ(std::vector<int32_t>(this->heap.begin(), this->heap.begin() + 5), (std::vector<int32_t>{0, 1, 2, 3, 4}));
  EXPECT_EQ(TVN_bheapmax_delete(this->num, this->heap.data(), this->key.data()), 0);
  EXPECT_EQ(std::vector<int32_t>(this->heap.begin(), this->heap.begin() + 4), (std::vector<int32_t>{4, 1, 2, 3}));
}
