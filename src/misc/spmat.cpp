// Compressed vectors: storage, sizes and the audit. See spmat.h.
#include "misc/spmat.h"

namespace tvn {

namespace {

const char label[] = "src/misc/spmat";

void own_pointers(spmat& a, int32_t maxnvec) {
  buffer<int64_t> ptrb(*a.sys, maxnvec, 0), ptre(*a.sys, maxnvec, 0);
  a.ownptrb.swap(ptrb);
  a.ownptre.swap(ptre);
  a.ptrb = a.ownptrb.data();
  a.ptre = a.ownptre.data();
}

// Whether two vectors use one position.
bool shares_entries(const spmat& a) {
  buffer<int32_t> order(*a.sys, a.nvec);
  for (int32_t j = 0; j < a.nvec; j++) order[j] = j;
  std::sort(order.begin(), order.end(), [&](int32_t j, int32_t k) { return a.ptrb[j] < a.ptrb[k]; });
  int64_t end = a.fpos;
  for (const int32_t j : order) {
    if (a.ptrb[j] == a.ptre[j]) continue;
    if (a.ptrb[j] < end) return true;
    end = a.ptre[j];
  }
  return false;
}

} // namespace

void TVN_spmat_make(sysenv& sys, int32_t maxnvec, int32_t maxvlen, spmat& a) {
  spmat fresh;
  fresh.sys = &sys;
  own_pointers(fresh, maxnvec);
  fresh.maxnvec = maxnvec;
  fresh.maxvlen = maxvlen;
  a = std::move(fresh);
}

void TVN_spmat_emake(sysenv& sys, int32_t nvec, int32_t vlen, int64_t maxsze, int64_t* ptrb, int64_t* ptre,
                     int32_t* sub, double* val, spmat& a) {
  spmat fresh;
  fresh.sys = &sys;
  fresh.maxnvec = fresh.nvec = nvec;
  fresh.maxvlen = fresh.vlen = vlen;
  fresh.maxsze = maxsze;
  fresh.ptrb = ptrb;
  fresh.ptre = ptre;
  fresh.sub = sub;
  fresh.val = val;
  for (int32_t j = 0; j < nvec; j++) fresh.ffree = std::max(fresh.ffree, ptre[j]);
  a = std::move(fresh);
}

void TVN_spmat_ialloc(spmat& a, int64_t size) {
  buffer<int32_t> sub(*a.sys, size);
  buffer<double> val(*a.sys, size);
  a.ownsub.swap(sub);
  a.ownval.swap(val);
  a.sub = a.ownsub.data();
  a.val = a.ownval.data();
  a.maxsze = size;
  TVN_spmat_init(a, a.nvec, a.vlen);
}

void TVN_spmat_ealloc(spmat& a, int64_t size, int32_t* sub, double* val) {
  a.ownsub.clear();
  a.ownval.clear();
  a.sub = sub;
  a.val = val;
  a.maxsze = size;
  TVN_spmat_init(a, a.nvec, a.vlen);
}

void TVN_spmat_delete(spmat& a) noexcept {
  spmat gone;
  std::swap(a, gone);
}

void TVN_spmat_init(spmat& a, int32_t nvec, int32_t vlen) noexcept {
  TVN_ASSERT(a.sys, label, nvec <= a.maxnvec && vlen <= a.maxvlen);
  a.nvec = nvec;
  a.vlen = vlen;
  a.ffree = a.fpos;
  std::fill_n(a.ptrb, nvec, a.fpos);
  std::fill_n(a.ptre, nvec, a.fpos);
}

bool TVN_spmat_vresize(spmat& a, int32_t j, int64_t len) noexcept {
  const int64_t old = a.ptre[j] - a.ptrb[j];
  if (len <= old) {
    a.ptre[j] = a.ptrb[j] + len;
    return true;
  }
  const bool last = old > 0 && a.ptre[j] == a.ffree;
  const int64_t begin = last ? a.ptrb[j] : a.ffree;
  if (begin + len > a.maxsze) return false;
  if (!last) {
    std::copy_n(a.sub + a.ptrb[j], old, a.sub + begin);
    std::copy_n(a.val + a.ptrb[j], old, a.val + begin);
  }
  a.ptrb[j] = begin;
  a.ptre[j] = a.ffree = begin + len;
  return true;
}

int64_t TVN_spmat_getnz(const spmat& a) noexcept {
  int64_t total = 0;
  for (int32_t j = 0; j < a.nvec; j++) total += a.ptre[j] - a.ptrb[j];
  return total;
}

void TVN_spmat_getvnz(const spmat& a, int64_t* numnz) noexcept {
  for (int32_t j = 0; j < a.nvec; j++) numnz[j] = TVN_spmat_getnzi(a, j);
}

int32_t TVN_spmat_check(const spmat& a) {
  if (a.nvec > a.maxnvec || a.vlen > a.maxvlen || a.ffree > a.maxsze || a.fpos > a.ffree) return 1;
  buffer<int32_t> mark(*a.sys, a.vlen, -1);
  for (int32_t j = 0; j < a.nvec; j++) {
    if (a.ptrb[j] < a.fpos || a.ptre[j] < a.ptrb[j] || a.ptre[j] > a.ffree) return 2;
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      if (a.sub[p] < 0 || a.sub[p] >= a.vlen) return 3;
      if (mark[a.sub[p]] == j) return 4;
      mark[a.sub[p]] = j;
    }
  }
  return shares_entries(a) ? 5 : 0;
}

} // namespace tvn
