// Compressed vectors: which of them are copies of others. See spmat.h.
//
// Each vector gets a hash that does not depend on the order of its entries: of the indexes alone, or of indexes and
// values over the value at its lowest index, rounded to 32 bits. Vectors of one hash are then compared by scattering
// one of them, so a hit is never a mistake of the hash. Expected cost: a few passes over the entries.
#include "misc/spmat.h"

#include <bit>
#include <cmath>

namespace tvn {

namespace {

// Finaliser of a 64-bit mixing hash (Steele, Lea and Flood 2014).
uint64_t mix(uint64_t x) noexcept {
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
  return x ^ (x >> 31);
}

uint64_t rounded_bits(double ratio) noexcept {
  constexpr uint64_t half = uint64_t{1} << 19;
  return (std::bit_cast<uint64_t>(ratio + 0.0) + half) >> 20; // -0 and 0 are one
}

// The value by which a vector is scaled: that of its lowest index with a value that is not zero.
double reference(const spmat& a, int32_t j) noexcept {
  int32_t lowest = INT32_MAX;
  double value = 1.0;
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++)
    if (a.val[p] != 0.0 && a.sub[p] < lowest) {
      lowest = a.sub[p];
      value = a.val[p];
    }
  return value;
}

// ref: the scale of the vector, 0 for the pattern alone.
uint64_t hash_of(const spmat& a, int32_t j, double ref) noexcept {
  uint64_t h = static_cast<uint64_t>(TVN_spmat_getnzi(a, j));
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
    const uint64_t value = ref == 0.0 ? 0 : mix(rounded_bits(a.val[p] / ref));
    h += mix(static_cast<uint64_t>(a.sub[p]) ^ value);
  }
  return h;
}

struct scattered {
  buffer<int32_t> mark; // [vlen] the vector whose value stands here, or -1
  buffer<double> val;   // [vlen]
  scattered(sysenv& sys, int32_t vlen) : mark(sys, vlen, -1), val(sys, vlen) {}
  void put(const spmat& a, int32_t j) noexcept {
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      mark[a.sub[p]] = j;
      val[a.sub[p]] = a.val[p];
    }
  }
};

// Whether c has the pattern of the scattered vector j, and its values up to the scales unless they are 0.
bool matches(const spmat& a, int32_t c, double refc, const scattered& s, int32_t j, double refj, double tol) noexcept {
  if (TVN_spmat_getnzi(a, c) != TVN_spmat_getnzi(a, j)) return false;
  for (int64_t p = a.ptrb[c]; p < a.ptre[c]; p++) {
    if (s.mark[a.sub[p]] != j) return false;
    if (refj == 0.0) continue;
    const double x = a.val[p] / refc, y = s.val[a.sub[p]] / refj;
    if (!(std::fabs(x - y) <= tol * std::fabs(x))) return false;
  }
  return true;
}

// ref(j): the scale of vector j, or 0.
template <class F> void find_copies(const spmat& a, double tol, F ref, int32_t* first, const spmat_poll& poll) {
  const int64_t numbuckets = static_cast<int64_t>(std::bit_ceil(2 * static_cast<uint64_t>(a.nvec) + 1));
  buffer<int32_t> head(*a.sys, numbuckets, -1), next(*a.sys, a.nvec);
  buffer<uint64_t> hash(*a.sys, a.nvec);
  scattered s(*a.sys, a.vlen);
  for (int32_t j = 0; j < a.nvec; j++) {
    if (poll.fn && poll.fn(poll.handle, 3 * TVN_spmat_getnzi(a, j))) return;
    hash[j] = hash_of(a, j, ref(j));
    int32_t& bucket = head[static_cast<int64_t>(hash[j] & static_cast<uint64_t>(numbuckets - 1))];
    int32_t c = bucket;
    if (c >= 0) s.put(a, j);
    while (c >= 0 && !(hash[c] == hash[j] && matches(a, c, ref(c), s, j, ref(j), tol))) c = next[c];
    first[j] = c >= 0 ? c : j;
    if (c >= 0) continue;
    next[j] = bucket;
    bucket = j;
  }
}

} // namespace

void TVN_spmat_dupvecsparsity(const spmat& a, int32_t* first) {
  find_copies(a, 0.0, [](int32_t) { return 0.0; }, first, {});
}

void TVN_spmat_dupvec(const spmat& a, double tol, int32_t* first, double* scale, const spmat_poll& poll) {
  for (int32_t j = 0; j < a.nvec; j++) scale[j] = reference(a, j);
  find_copies(
      a, tol, [=](int32_t j) { return scale[j]; }, first, poll);
  if (poll.fn && poll.fn(poll.handle, 0)) return;
  // From the last vector on: the scale of first[j] <= j is still its own value when j needs it.
  for (int32_t j = a.nvec - 1; j >= 0; j--) scale[j] /= scale[first[j]];
}

} // namespace tvn
