// Compressed vectors: gaps, renumbering and the order of the vectors. See spmat.h.
//
// The forms in place need the order in which the vectors stand, which is sorted out in nvec integers; entries move
// once.
#include "misc/spmat.h"

#include <algorithm>

namespace tvn {

namespace {

const char label[] = "src/misc/spmatpack";

// Empty vectors stand first among those of one position, so that they never lie inside another.
void order_by_position(const spmat& a, buffer<int32_t>& order) {
  order.reset(*a.sys, a.nvec);
  for (int32_t j = 0; j < a.nvec; j++) order[j] = j;
  std::sort(order.begin(), order.end(), [&](int32_t j, int32_t k) {
    if (a.ptrb[j] != a.ptrb[k]) return a.ptrb[j] < a.ptrb[k];
    return a.ptre[j] != a.ptre[k] ? a.ptre[j] < a.ptre[k] : j < k;
  });
}

void move_vector(spmat& a, int32_t j, int64_t begin) noexcept {
  const int64_t len = TVN_spmat_getnzi(a, j);
  if (len > 0 && begin != a.ptrb[j]) {
    std::memmove(a.sub + begin, a.sub + a.ptrb[j], static_cast<size_t>(len) * sizeof(int32_t));
    std::memmove(a.val + begin, a.val + a.ptrb[j], static_cast<size_t>(len) * sizeof(double));
  }
  a.ptrb[j] = begin;
  a.ptre[j] = begin + len;
}

void pack_ordered(spmat& a, const buffer<int32_t>& order) noexcept {
  a.ffree = a.fpos;
  for (const int32_t j : order) {
    move_vector(a, j, a.ffree);
    a.ffree = a.ptre[j];
  }
}

} // namespace

void TVN_spmat_pack(spmat& a) { TVN_spmat_bigcopy(a, TVN_spmat_getnz(a), a); }

void TVN_spmat_packinplace(spmat& a) {
  buffer<int32_t> order;
  order_by_position(a, order);
  pack_ordered(a, order);
}

void TVN_spmat_unpack(spmat& a, int64_t space) {
  spmat fresh;
  TVN_spmat_bigcopy(a, TVN_spmat_getnz(a) + space * a.nvec, fresh);
  const bool fits = TVN_spmat_unpackinplace(fresh, space);
  TVN_ASSERT(a.sys, label, fits);
  a = std::move(fresh);
}

bool TVN_spmat_unpackinplace(spmat& a, int64_t space) {
  buffer<int32_t> order;
  order_by_position(a, order);
  pack_ordered(a, order);
  if (a.ffree + space * a.nvec > a.maxsze) return false;
  for (int32_t k = a.nvec - 1; k >= 0; k--) move_vector(a, order[k], a.ptrb[order[k]] + space * k);
  a.ffree += space * a.nvec;
  return true;
}

int64_t TVN_spmat_compress(spmat& a, const int32_t* old2new, int32_t newvlen) noexcept {
  int64_t dropped = 0;
  for (int32_t j = 0; j < a.nvec; j++) {
    int64_t to = a.ptrb[j];
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      const int32_t i = old2new[a.sub[p]];
      if (i < 0) continue;
      a.sub[to] = i;
      a.val[to++] = a.val[p];
    }
    dropped += a.ptre[j] - to;
    a.ptre[j] = to;
  }
  a.vlen = newvlen;
  return dropped;
}

void TVN_spmat_uncompress(spmat& a, const int32_t* new2old, int32_t oldvlen) noexcept {
  TVN_ASSERT(a.sys, label, oldvlen <= a.maxvlen);
  for (int32_t j = 0; j < a.nvec; j++)
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) a.sub[p] = new2old[a.sub[p]];
  a.vlen = oldvlen;
}

void TVN_spmat_permutevec(spmat& a, const int32_t* perm) {
  buffer<int64_t> ptrb(*a.sys, a.nvec), ptre(*a.sys, a.nvec);
  for (int32_t k = 0; k < a.nvec; k++) {
    ptrb[k] = a.ptrb[perm[k]];
    ptre[k] = a.ptre[perm[k]];
  }
  std::copy_n(ptrb.data(), a.nvec, a.ptrb);
  std::copy_n(ptre.data(), a.nvec, a.ptre);
}

} // namespace tvn
