// Compressed vectors: copies. See spmat.h.
#include "misc/spmat.h"

namespace tvn {

namespace {

const char label[] = "src/misc/spmatcpy";

// Vectors as a list without storing one: vector(k) for k < num.
template <class F> int64_t entries_of(const spmat& a, int32_t num, F vector) {
  int64_t total = 0;
  for (int32_t k = 0; k < num; k++) total += TVN_spmat_getnzi(a, vector(k));
  return total;
}

template <class F> void copy_into(const spmat& a, int32_t num, F vector, spmat& to) {
  TVN_spmat_init(to, num, a.vlen);
  for (int32_t k = 0; k < num; k++) {
    const int32_t j = vector(k);
    const int64_t len = TVN_spmat_getnzi(a, j);
    if (len > 0) std::copy_n(a.sub + a.ptrb[j], len, to.sub + to.ffree);
    if (len > 0) std::copy_n(a.val + a.ptrb[j], len, to.val + to.ffree);
    to.ptrb[k] = to.ffree;
    to.ptre[k] = to.ffree += len;
  }
}

template <class F> void copy_new(const spmat& a, int32_t maxnvec, int64_t size, int32_t num, F vector, spmat& to) {
  spmat fresh;
  TVN_spmat_make(*a.sys, maxnvec, a.maxvlen, fresh);
  TVN_spmat_ialloc(fresh, size);
  copy_into(a, num, vector, fresh);
  to = std::move(fresh);
}

template <class F> void copy_listed(const spmat& a, int32_t num, F vector, spmat& to) {
  const int64_t numnz = entries_of(a, num, vector);
  const bool fits = to.sys && to.maxnvec >= num && to.maxvlen >= a.vlen && to.maxsze - to.fpos >= numnz;
  if (fits && to.ptrb != a.ptrb)
    copy_into(a, num, vector, to);
  else
    copy_new(a, num, numnz, num, vector, to);
}

} // namespace

void TVN_spmat_bigcopy(const spmat& a, int64_t size, spmat& to) {
  TVN_ASSERT(a.sys, label, size >= TVN_spmat_getnz(a));
  copy_new(
      a, a.maxnvec, size, a.nvec, [](int32_t k) { return k; }, to);
}

void TVN_spmat_copy(const spmat& a, spmat& to) { TVN_spmat_slicecopy(a, 0, a.nvec, to); }

void TVN_spmat_copyasub(const spmat& a, int32_t num, const int32_t* list, spmat& to) {
  copy_listed(
      a, num, [=](int32_t k) { return list[k]; }, to);
}

void TVN_spmat_slicecopy(const spmat& a, int32_t first, int32_t last, spmat& to) {
  TVN_ASSERT(a.sys, label, first >= 0 && first <= last && last <= a.nvec);
  copy_listed(
      a, last - first, [=](int32_t k) { return first + k; }, to);
}

} // namespace tvn
