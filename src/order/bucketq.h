// Nodes by the size of a 64-bit key: insert, remove, and a node of the smallest bucket.
//
// Keys below 256 have buckets of their own; above, each power of two is cut into 128, so that a bucket holds keys that
// differ by less than one percent and the number of buckets does not depend on the keys. A node enters at the head of
// its bucket and leaves from there: newest first, no search within. Bits tell which buckets hold nodes. Constant time
// but for the scan of the bits, which starts where the last one ended or a smaller key came in.
#pragma once

#include "cpub/buffer.h"

#include <bit>

namespace tvn {

struct bucketq {
  bucketq(sysenv& sys, int32_t n) : head(sys, numbuckets, -1), prev(sys, n), next(sys, n), where(sys, n, -1) {
    std::fill_n(bits, numbuckets / 64, uint64_t{0});
  }

  void insert(int32_t i, int64_t key) {
    const int32_t b = bucket_of(key);
    where[i] = b;
    prev[i] = -1;
    next[i] = head[b];
    if (next[i] >= 0) prev[next[i]] = i;
    head[b] = i;
    bits[b >> 6] |= uint64_t{1} << (b & 63);
    low = std::min(low, b >> 6);
  }
  bool contains(int32_t i) const { return where[i] >= 0; }
  void remove(int32_t i) {
    const int32_t b = where[i];
    if (prev[i] >= 0)
      next[prev[i]] = next[i];
    else
      head[b] = next[i];
    if (next[i] >= 0) prev[next[i]] = prev[i];
    if (head[b] < 0) bits[b >> 6] &= ~(uint64_t{1} << (b & 63));
    where[i] = -1;
  }
  // -1: empty
  int32_t smallest() {
    while (low < numbuckets / 64 && bits[low] == 0) low++;
    return low < numbuckets / 64 ? head[low * 64 + std::countr_zero(bits[low])] : -1;
  }

private:
  static constexpr int32_t mantissa = 7;
  static constexpr int32_t numbuckets = (64 - mantissa + 1) << mantissa;
  static int32_t bucket_of(int64_t key) {
    const auto k = static_cast<uint64_t>(key);
    const int32_t shift = std::max(0, static_cast<int32_t>(std::bit_width(k)) - mantissa - 1);
    return (shift << mantissa) + static_cast<int32_t>(k >> shift);
  }
  buffer<int32_t> head;              // [numbuckets] -1: empty
  buffer<int32_t> prev, next, where; // [n] neighbours in the bucket; the bucket, -1: none
  uint64_t bits[numbuckets / 64];
  int32_t low = 0; // no smaller word of bits is set
};

} // namespace tvn
