// School arithmetic on 16-bit limbs. See bigint.h.
#include "cpub/bigint.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace tvn {
namespace {

constexpr int32_t maxlimbs = 16;
constexpr uint32_t limbmask = 0xFFFFu;

void bigint_trim(bigint& a) {
  while (a.numlimbs > 0 && a.limb[a.numlimbs - 1] == 0) a.numlimbs--;
  if (a.numlimbs == 0) a.sign = 1;
}

uint32_t bigint_limb(const bigint& a, int32_t k) { return k < a.numlimbs ? a.limb[k] : 0; }

int32_t bigint_comparemag(const bigint& a, const bigint& b) {
  if (a.numlimbs != b.numlimbs) return a.numlimbs < b.numlimbs ? -1 : 1;
  for (int32_t k = a.numlimbs - 1; k >= 0; k--)
    if (a.limb[k] != b.limb[k]) return a.limb[k] < b.limb[k] ? -1 : 1;
  return 0;
}

void bigint_addmag(bigint& a, const bigint& b) {
  uint32_t carry = 0;
  const int32_t n = a.numlimbs > b.numlimbs ? a.numlimbs : b.numlimbs;
  for (int32_t k = 0; k < n; k++) {
    const uint32_t s = bigint_limb(a, k) + bigint_limb(b, k) + carry;
    a.limb[k] = s & limbmask;
    carry = s >> 16;
  }
  a.numlimbs = static_cast<int16_t>(n);
  if (carry == 0) return;
  if (n == maxlimbs) {
    a.overflow = 1;
    return;
  }
  a.limb[n] = carry;
  a.numlimbs++;
}

// a = |big| - |small|, where the caller knows which is larger; a may be either.
void bigint_submag(bigint& a, const bigint& big, const bigint& small) {
  uint32_t borrow = 0;
  const int16_t n = big.numlimbs;
  for (int32_t k = 0; k < n; k++) {
    const uint32_t d = big.limb[k] + 0x10000u - bigint_limb(small, k) - borrow;
    a.limb[k] = d & limbmask;
    borrow = 1 - (d >> 16);
  }
  a.numlimbs = n;
}

void bigint_addsigned(bigint& a, const bigint& b, int16_t bsign) {
  a.overflow |= b.overflow;
  if (a.sign == bsign) {
    bigint_addmag(a, b);
  } else if (bigint_comparemag(a, b) >= 0) {
    bigint_submag(a, a, b);
  } else {
    bigint_submag(a, b, a);
    a.sign = bsign;
  }
  bigint_trim(a);
}

// Divides the magnitude by a value below 2^16 and returns the remainder.
uint32_t bigint_divlimb(bigint& a, uint32_t d) {
  uint32_t rest = 0;
  for (int32_t k = a.numlimbs - 1; k >= 0; k--) {
    const uint32_t cur = (rest << 16) | a.limb[k];
    a.limb[k] = cur / d;
    rest = cur % d;
  }
  bigint_trim(a);
  return rest;
}

// a = 2 a + bit
void bigint_shiftin(bigint& a, uint32_t bit) {
  for (int32_t k = 0; k < a.numlimbs; k++) {
    const uint32_t v = (a.limb[k] << 1) | bit;
    a.limb[k] = v & limbmask;
    bit = v >> 16;
  }
  if (bit == 0) return;
  if (a.numlimbs < maxlimbs)
    a.limb[a.numlimbs++] = bit;
  else
    a.overflow = 1;
}

bigint bigint_from(size_t value) {
  bigint a;
  TVN_bigint_assignsizet(a, value);
  return a;
}

} // namespace

void TVN_bigint_assign0(bigint& a) { a = bigint{}; }
void TVN_bigint_assign(bigint& a, const bigint& b) { a = b; }

void TVN_bigint_assignsizet(bigint& a, size_t value) {
  a = bigint{};
  for (; value > 0; value >>= 16) a.limb[a.numlimbs++] = static_cast<uint32_t>(value & limbmask);
}

void TVN_bigint_add(bigint& a, const bigint& b) { bigint_addsigned(a, b, b.sign); }
void TVN_bigint_sub(bigint& a, const bigint& b) { bigint_addsigned(a, b, static_cast<int16_t>(-b.sign)); }

void TVN_bigint_mul(bigint& a, const bigint& b) {
  uint32_t product[2 * maxlimbs] = {};
  for (int32_t i = 0; i < a.numlimbs; i++) {
    uint32_t carry = 0;
    for (int32_t k = 0; k < b.numlimbs; k++) {
      const uint32_t s = a.limb[i] * b.limb[k] + product[i + k] + carry;
      product[i + k] = s & limbmask;
      carry = s >> 16;
    }
    product[i + b.numlimbs] = carry;
  }
  bigint r;
  r.overflow = a.overflow | b.overflow;
  r.sign = a.sign == b.sign ? 1 : -1;
  for (int32_t k = maxlimbs; k < 2 * maxlimbs; k++)
    if (product[k] != 0) r.overflow = 1;
  std::memcpy(r.limb, product, sizeof r.limb);
  r.numlimbs = maxlimbs;
  bigint_trim(r);
  a = r;
}

void TVN_bigint_div(bigint& a, const bigint& b) {
  if (b.numlimbs == 0) {
    a.overflow = 1;
    return;
  }
  bigint quotient, rest;
  for (int32_t bit = TVN_bigint_log2(a); bit >= 0; bit--) {
    bigint_shiftin(rest, (a.limb[bit / 16] >> (bit % 16)) & 1u);
    const bool fits = bigint_comparemag(rest, b) >= 0;
    if (fits) {
      bigint_submag(rest, rest, b);
      bigint_trim(rest);
    }
    bigint_shiftin(quotient, fits ? 1u : 0u);
  }
  quotient.overflow = a.overflow | b.overflow;
  quotient.sign = a.sign == b.sign ? 1 : -1;
  bigint_trim(quotient);
  a = quotient;
}

void TVN_bigint_addsizet(bigint& a, size_t value) { TVN_bigint_add(a, bigint_from(value)); }
void TVN_bigint_subsizet(bigint& a, size_t value) { TVN_bigint_sub(a, bigint_from(value)); }
void TVN_bigint_mulsizet(bigint& a, size_t value) { TVN_bigint_mul(a, bigint_from(value)); }
void TVN_bigint_divsizet(bigint& a, size_t value) { TVN_bigint_div(a, bigint_from(value)); }

void TVN_bigint_sum(bigint& a, std::span<const bigint> terms) {
  TVN_bigint_assign0(a);
  for (const bigint& t : terms) TVN_bigint_add(a, t);
}

int32_t TVN_bigint_compare(const bigint& a, const bigint& b) {
  if (a.sign != b.sign) return a.sign < b.sign ? -1 : 1;
  return a.sign * bigint_comparemag(a, b);
}

int32_t TVN_bigint_log2(const bigint& a) {
  if (a.numlimbs == 0) return -1;
  return 16 * (a.numlimbs - 1) + static_cast<int32_t>(std::bit_width(a.limb[a.numlimbs - 1])) - 1;
}

// The top 64 bits, the lowest of them set if any bit below is, so that the one rounding of the conversion is right.
double TVN_bigint_2double(const bigint& a) {
  const int32_t shift = std::max(0, TVN_bigint_log2(a) - 63);
  uint64_t top = 0;
  bool below = false;
  for (int32_t k = a.numlimbs - 1; k >= 0; k--) {
    const int32_t at = 16 * k - shift; // position of the limb's lowest bit in `top`
    const uint64_t limb = a.limb[k];
    top |= at >= 0 ? limb << at : at > -16 ? limb >> -at : 0;
    below |= at < 0 && (limb & ((uint64_t{1} << std::min(-at, 16)) - 1)) != 0;
  }
  return a.sign * std::ldexp(static_cast<double>(top | (below ? 1 : 0)), shift);
}

void TVN_bigint_str(const bigint& a, size_t size, char* str) {
  if (size == 0) return;
  char digits[80]; // 256 bits take 78
  size_t n = 0;
  bigint rest = a;
  do { digits[n++] = static_cast<char>('0' + bigint_divlimb(rest, 10)); } while (rest.numlimbs > 0);
  if (a.sign < 0) digits[n++] = '-';
  const size_t len = n < size ? n : size - 1;
  for (size_t k = 0; k < len; k++) str[k] = digits[n - 1 - k];
  str[len] = '\0';
}

} // namespace tvn
