// Wide integer for work counters: sixteen limbs of 16 bits with a sign.
//
// Wide enough (256 bits) for products of work sums, where 64 bits could overflow on long runs. Going beyond sixteen
// limbs sets `overflow` instead of failing; the value is then meaningless. Invariant: the top limb in use is not zero;
// zero has no limbs and sign 1. All operations change their first argument in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tvn {

struct bigint {
  uint32_t limb[16] = {}; // lowest first, 16 bits used of each
  int16_t numlimbs = 0;
  int16_t sign = 1;      // 1 or -1
  uint32_t overflow = 0; // 1: the value was too large
};

void TVN_bigint_assign0(bigint& a);
void TVN_bigint_assign(bigint& a, const bigint& b);
void TVN_bigint_assignsizet(bigint& a, size_t value);

void TVN_bigint_add(bigint& a, const bigint& b);
void TVN_bigint_sub(bigint& a, const bigint& b);
void TVN_bigint_mul(bigint& a, const bigint& b);
// Quotient rounded towards zero; a division by zero sets the overflow flag.
void TVN_bigint_div(bigint& a, const bigint& b);
void TVN_bigint_addsizet(bigint& a, size_t value);
void TVN_bigint_subsizet(bigint& a, size_t value);
void TVN_bigint_mulsizet(bigint& a, size_t value);
void TVN_bigint_divsizet(bigint& a, size_t value);
void TVN_bigint_sum(bigint& a, std::span<const bigint> terms);

// Negative, 0 or positive as a < b, a == b, a > b.
int32_t TVN_bigint_compare(const bigint& a, const bigint& b);
// Floor of the base-2 logarithm of the magnitude, -1 for zero.
int32_t TVN_bigint_log2(const bigint& a);
double TVN_bigint_2double(const bigint& a); // correctly rounded
// Decimal text with sign, cut to size - 1 characters and always terminated.
void TVN_bigint_str(const bigint& a, size_t size, char* str);

} // namespace tvn
