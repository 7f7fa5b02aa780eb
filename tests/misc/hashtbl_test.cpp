// If this fails, names are lost or two items share one: a file is read with columns mixed up.
#include "misc/hashtbl.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace tvn;

struct HashTable : testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok); }
};

TEST_F(HashTable, HashIsTheFixedOneWithSignedCharacters) {
  EXPECT_EQ(TVN_strhash(""), 0U);
  // One step by hand for "a" (97): 97 * 17 = 1649, 1649 ^ 25 = 1640, * 9 = 14760, ^ 7 = 14767, * 32769.
  EXPECT_EQ(TVN_strhash("a"), 14767U * 32769U);
  EXPECT_NE(TVN_strhash("x1"), TVN_strhash("1x"));
  const uint32_t minusone = [] {
    uint32_t h = 0U - 1U;
    h *= 17U;
    h ^= h >> 6;
    h *= 9U;
    h ^= h >> 11;
    return h * 32769U;
  }();
  EXPECT_EQ(TVN_strhash("\xff"), minusone);
}

TEST_F(HashTable, RefusesDuplicatesAndIndicesOutOfRange) {
  const std::string pool("\0one\0two\0one\0", 13);
  const int64_t offset[] = {1, 5, 9};
  htbl t;
  TVN_htbl_make(*sys, 3, 1, t);
  EXPECT_EQ(t.numbuckets, 16);
  EXPECT_TRUE(TVN_htbl_assign(t, offset, pool.data(), 0));
  EXPECT_TRUE(TVN_htbl_assign(t, offset, pool.data(), 1));
  EXPECT_FALSE(TVN_htbl_assign(t, offset, pool.data(), 2));
  EXPECT_FALSE(TVN_htbl_assign(t, offset, pool.data(), 3));
  EXPECT_FALSE(TVN_htbl_assign(t, offset, pool.data(), -1));
  int64_t index = -7;
  EXPECT_TRUE(TVN_htbl_compute(t, offset, pool.data(), "one", index));
  EXPECT_EQ(index, 0);
  EXPECT_TRUE(TVN_htbl_unassign(t, offset, pool.data(), 2)); // cuts item 0 out: the strings are equal
  EXPECT_FALSE(TVN_htbl_isassigned(t, offset, pool.data(), "one"));
  EXPECT_FALSE(TVN_htbl_unassign(t, offset, pool.data(), 2));
}

TEST_F(HashTable, FollowsAPlainMapThroughRandomEdits) {
  std::mt19937 rng(7);
  const int n = 500;
  std::string pool(1, '\0');
  std::vector<int64_t> offset;
  for (int k = 0; k < n; k++) {
    offset.push_back(static_cast<int64_t>(pool.size()));
    pool += "v" + std::to_string(rng() % 300);
    pool.push_back('\0');
  }
  htbl t;
  TVN_htbl_make(*sys, n, 1, t);
  std::map<std::string, int64_t> model;
  for (int step = 0; step < 20000; step++) {
    const int64_t k = static_cast<int64_t>(rng() % n);
    const std::string name = pool.data() + offset[static_cast<size_t>(k)];
    if (rng() % 2)
      EXPECT_EQ(TVN_htbl_assign(t, offset.data(), pool.data(), k), model.emplace(name, k).second);
    else
      EXPECT_EQ(TVN_htbl_unassign(t, offset.data(), pool.data(), k), model.erase(name) > 0);
  }
  for (const auto& [name, item] : model) {
    int64_t index = -1;
    ASSERT_TRUE(TVN_htbl_compute(t, offset.data(), pool.data(), name.c_str(), index));
    EXPECT_EQ(index, item);
  }
  const htbl_stats s = TVN_htbl_getstat(t);
  EXPECT_EQ(s.numused, static_cast<int64_t>(model.size()));
  EXPECT_LT(s.longest, 6);
  EXPECT_GE(s.meanlen, 1.0);
}

TEST_F(HashTable, ADeletedTableHoldsNoMemoryAndMayBeMadeAgain) {
  const std::string pool("one\0two\0", 8);
  const int64_t offset[] = {0, 4};
  htbl t;
  TVN_htbl_delete(t); // never made
  for (int64_t items : {100, 2}) {
    TVN_htbl_make(*sys, items, 1, t);
    EXPECT_EQ(TVN_htbl_getstat(t).numused, 0);
    EXPECT_TRUE(TVN_htbl_assign(t, offset, pool.data(), 1));
    TVN_htbl_delete(t);
    EXPECT_FALSE(t.made());
    size_t most = 0, now = 1;
    TVN_memman_getmemusage(*sys->mman, most, now);
    EXPECT_EQ(now, 0u);
  }
}

} // namespace
