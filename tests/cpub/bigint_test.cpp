// If these fail, the work totals of long runs are wrong.
#include "cpub/bigint.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace tvn;

namespace {

std::string text(const bigint& a) {
  char s[100];
  TVN_bigint_str(a, sizeof s, s);
  return s;
}

bigint big(int64_t v) {
  bigint a;
  TVN_bigint_assignsizet(a, static_cast<size_t>(v < 0 ? -v : v));
  if (v < 0)
    TVN_bigint_mul(a, [] {
      bigint minus;
      TVN_bigint_subsizet(minus, 1);
      return minus;
    }());
  return a;
}

} // namespace

TEST(BigInt, AgreesWithTheWidestMachineIntegers) {
  using wide = __int128;
  std::mt19937_64 gen(17);
  const auto make = [](wide v) {
    const bool negative = v < 0;
    const auto magnitude = negative ? -static_cast<unsigned __int128>(v) : static_cast<unsigned __int128>(v);
    bigint a, zero, high;
    TVN_bigint_assignsizet(high, static_cast<size_t>(magnitude >> 64));
    for (int k = 0; k < 2; k++) TVN_bigint_mulsizet(high, size_t{1} << 32);
    TVN_bigint_assignsizet(a, static_cast<size_t>(magnitude));
    TVN_bigint_add(a, high);
    TVN_bigint_assign0(zero);
    if (negative) TVN_bigint_sub(zero, a);
    return negative ? zero : a;
  };
  const auto random = [&](uint64_t maxbits) {
    const uint64_t bits = gen() % (maxbits + 1);
    const wide v = static_cast<wide>((static_cast<unsigned __int128>(gen()) << 64 | gen()) >> 1);
    return bits == 0 ? wide{0} : (gen() % 2 ? -1 : 1) * (v >> (127 - bits));
  };
  const auto same = [&](const bigint& a, wide v) { return TVN_bigint_compare(a, make(v)) == 0 && a.overflow == 0; };
  for (int32_t trial = 0; trial < 5000; trial++) {
    const wide x = random(125), y = random(125), s = random(60), t = random(60);
    bigint a = make(x);
    TVN_bigint_add(a, make(y));
    ASSERT_TRUE(same(a, x + y));
    TVN_bigint_sub(a, make(y));
    TVN_bigint_sub(a, make(y));
    ASSERT_TRUE(same(a, x - y));
    a = make(s);
    TVN_bigint_mul(a, make(t));
    ASSERT_TRUE(same(a, s * t));
    ASSERT_EQ(TVN_bigint_2double(a), static_cast<double>(s * t)) << trial;
    if (y == 0) continue;
    a = make(x);
    TVN_bigint_div(a, make(y));
    ASSERT_TRUE(same(a, x / y));
    const auto unit = static_cast<size_t>(gen() >> 1);
    a = make(x);
    TVN_bigint_subsizet(a, unit);
    ASSERT_TRUE(same(a, x - static_cast<wide>(unit)));
  }
  bigint a = make(static_cast<wide>(1) << 100);
  TVN_bigint_add(a, a); // onto itself
  EXPECT_EQ(TVN_bigint_log2(a), 101);
  TVN_bigint_sub(a, a);
  EXPECT_EQ(text(a), "0");
}

TEST(BigInt, HoldsTwoHundredAndFiftySixBitsAndFlagsMore) {
  bigint a = big(1);
  for (int32_t k = 0; k < 255; k++) TVN_bigint_mulsizet(a, 2);
  EXPECT_EQ(TVN_bigint_log2(a), 255);
  EXPECT_EQ(text(a), "57896044618658097711785492504343953926634992332820282019728792003956564819968");
  EXPECT_EQ(a.overflow, 0u);
  bigint b = a;
  TVN_bigint_add(b, a);
  EXPECT_EQ(b.overflow, 1u);
  TVN_bigint_mulsizet(a, 2);
  EXPECT_EQ(a.overflow, 1u);
  bigint c = big(5);
  TVN_bigint_divsizet(c, 0);
  EXPECT_EQ(c.overflow, 1u);
}

TEST(BigInt, WritesWithinTheGivenSize) {
  char s[8] = "xxxxxxx";
  TVN_bigint_str(big(0), sizeof s, s);
  EXPECT_STREQ(s, "0");
  TVN_bigint_str(big(-12345), 4, s);
  EXPECT_STREQ(s, "-12");
  TVN_bigint_str(big(7), 1, s);
  EXPECT_STREQ(s, "");
  const bigint terms[] = {big(1), big(-5), big(70000)};
  bigint sum = big(99);
  TVN_bigint_sum(sum, terms);
  TVN_bigint_addsizet(sum, 4);
  EXPECT_EQ(text(sum), "70000");
}
