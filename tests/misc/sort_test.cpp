// If these fail, candidates are tried in a wrong order, or a sort of equal keys takes for ever.
#include "misc/sort.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

using namespace tvn;

namespace {

struct Sort : testing::Test {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  std::mt19937 gen{6};
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok); }

  void sort(std::vector<int32_t>& keys, int32_t* aux, std::vector<int32_t>& stack) {
    TVN_sort_ints(*sys, static_cast<int32_t>(keys.size()), keys.data(), aux, 0, stack.data());
  }
  void sort(std::vector<double>& keys, int32_t* aux, std::vector<int32_t>& stack) {
    TVN_sort_reals(*sys, static_cast<int32_t>(keys.size()), keys.data(), aux, 0, stack.data());
  }
  template <class K> void agrees(const std::vector<K>& input) {
    std::vector<K> want = input, keys = input, alone = input;
    std::sort(want.begin(), want.end());
    std::vector<int32_t> aux(input.size()), stack(input.size());
    std::iota(aux.begin(), aux.end(), 0);
    sort(keys, aux.data(), stack);
    sort(alone, nullptr, stack);
    ASSERT_EQ(keys, want);
    ASSERT_EQ(alone, want);
    std::vector<bool> seen(input.size());
    for (size_t k = 0; k < aux.size(); k++) {
      const auto from = static_cast<size_t>(aux[k]);
      ASSERT_EQ(input[from], keys[k]); // the companion went along
      ASSERT_FALSE(seen[from]);
      seen[from] = true;
    }
  }
};

} // namespace

TEST_F(Sort, AgreesWithTheStandardOneOnOrdersOfAllKinds) {
  for (size_t n : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 16u, 100u, 1000u}) {
    std::vector<int32_t> up(n), organ(n);
    std::iota(up.begin(), up.end(), -5);
    for (size_t k = 0; k < n; k++) organ[k] = static_cast<int32_t>(std::min(k, n - k));
    agrees(up);
    agrees(std::vector<int32_t>(up.rbegin(), up.rend()));
    agrees(organ);
    agrees(std::vector<int32_t>(n, 3));
    for (const uint32_t range : {2u, 10u, 1000000u})
      for (int trial = 0; trial < 20; trial++) {
        std::vector<int32_t> ints(n);
        std::vector<double> reals(n);
        for (int32_t& k : ints) k = static_cast<int32_t>(gen() % range) - static_cast<int32_t>(range / 2);
        for (double& r : reals) r = static_cast<double>(gen() % range) / 7 - 1;
        agrees(ints);
        agrees(reals);
      }
  }
  agrees(std::vector<int32_t>{INT32_MAX, INT32_MIN, 0, INT32_MIN, INT32_MAX});
  agrees(std::vector<double>{1, -std::numeric_limits<double>::infinity(), 0.0, -0.0,
                             std::numeric_limits<double>::infinity()});
}

TEST_F(Sort, AMillionEqualKeysTakeOnePass) {
  std::vector<int32_t> keys(1000000, 4), stack(keys.size());
  sort(keys, nullptr, stack);
  EXPECT_EQ(std::count(keys.begin(), keys.end(), 4), 1000000);
}

TEST_F(Sort, PutsNumbersThatAreNoneBehindTheOthers) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (int trial = 0; trial < 200; trial++) {
    std::vector<double> keys;
    for (int k = 0; k < 20; k++) keys.push_back(gen() % 3 ? static_cast<double>(gen() % 5) : nan);
    std::vector<int32_t> stack(keys.size());
    const auto numbers = std::count_if(keys.begin(), keys.end(), [](double x) { return x == x; });
    sort(keys, nullptr, stack);
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.begin() + numbers));
    for (auto k = static_cast<size_t>(numbers); k < keys.size(); k++) EXPECT_NE(keys[k], keys[k]);
  }
}
