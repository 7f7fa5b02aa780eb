// Compressed vectors: transposition by count, prefix and scatter, and the sorting of vectors. See spmat.h.
//
// A transposition visits the vectors in order, so each vector of the result has ascending indexes; two of them sort.
// Cost: entries + vectors + vector length (Gustavson 1978).
#include "misc/spmat.h"

#include <utility>

namespace tvn {

namespace {

const char label[] = "src/misc/spmattra";

void prepare(sysenv& sys, const spmat& a, spmat& at) {
  const int64_t numnz = TVN_spmat_getnz(a);
  if (!at.sys) {
    spmat fresh;
    TVN_spmat_make(sys, a.vlen, a.nvec, fresh);
    TVN_spmat_ialloc(fresh, numnz);
    at = std::move(fresh);
  }
  TVN_spmat_init(at, a.vlen, a.nvec);
  if (at.fpos + numnz > at.maxsze)
    TVN_sysenv_stopdbg(&sys, label, __LINE__, "inplace: %d at->ffree>at->maxsze i.e. %lld>%lld", 0,
                       static_cast<long long>(at.fpos + numnz), static_cast<long long>(at.maxsze));
}

void transpose_listed(sysenv& sys, const spmat& a, const int32_t* perm, bool nocopyvalues, spmat& at) {
  prepare(sys, a, at);
  std::fill_n(at.ptre, a.vlen, 0);
  for (int32_t j = 0; j < a.nvec; j++)
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) at.ptre[a.sub[p]]++;
  for (int32_t i = 0; i < a.vlen; i++) {
    at.ptrb[i] = at.ffree;
    at.ffree += at.ptre[i];
    at.ptre[i] = at.ptrb[i];
  }
  for (int32_t k = 0; k < a.nvec; k++) {
    const int32_t j = perm ? perm[k] : k;
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      const int64_t to = at.ptre[a.sub[p]]++;
      at.sub[to] = k;
      if (!nocopyvalues) at.val[to] = a.val[p];
    }
  }
}

struct entries {
  int32_t* sub;
  double* val;
  void swap(int64_t p, int64_t q) const noexcept {
    std::swap(sub[p], sub[q]);
    std::swap(val[p], val[q]);
  }
};

void insertion_sort(entries e, int64_t len) noexcept {
  for (int64_t p = 1; p < len; p++)
    for (int64_t q = p; q > 0 && e.sub[q - 1] > e.sub[q]; q--) e.swap(q - 1, q);
}

void sift_down(entries e, int64_t root, int64_t len) noexcept {
  for (int64_t child = 2 * root + 1; child < len; child = 2 * root + 1) {
    if (child + 1 < len && e.sub[child + 1] > e.sub[child]) child++;
    if (e.sub[child] <= e.sub[root]) return;
    e.swap(root, child);
    root = child;
  }
}

void heap_sort(entries e, int64_t len) noexcept {
  for (int64_t root = len / 2 - 1; root >= 0; root--) sift_down(e, root, len);
  for (int64_t end = len - 1; end > 0; end--) {
    e.swap(0, end);
    sift_down(e, 0, end);
  }
}

} // namespace

void TVN_spmat_transpose(sysenv& sys, const spmat& a, bool nocopyvalues, spmat& at) {
  transpose_listed(sys, a, nullptr, nocopyvalues, at);
}

void TVN_spmat_transposeperm(sysenv& sys, const spmat& a, const int32_t* perm, bool nocopyvalues, spmat& at) {
  transpose_listed(sys, a, perm, nocopyvalues, at);
}

void TVN_spmat_sortvecs(spmat& a) {
  spmat at;
  TVN_spmat_transpose(*a.sys, a, false, at);
  // Scattered back to where each vector stands, gaps and all.
  std::copy_n(a.ptrb, a.nvec, a.ptre);
  for (int32_t i = 0; i < at.nvec; i++)
    for (int64_t p = at.ptrb[i]; p < at.ptre[i]; p++) {
      const int64_t to = a.ptre[at.sub[p]]++;
      a.sub[to] = i;
      a.val[to] = at.val[p];
    }
}

void TVN_spmat_sortvecs2(spmat& a) noexcept {
  constexpr int64_t shortvector = 16; // below, insertion is faster
  for (int32_t j = 0; j < a.nvec; j++) {
    const entries e{a.sub + a.ptrb[j], a.val + a.ptrb[j]};
    const int64_t len = TVN_spmat_getnzi(a, j);
    if (std::is_sorted(e.sub, e.sub + len)) continue;
    if (len <= shortvector)
      insertion_sort(e, len);
    else
      heap_sort(e, len);
  }
}

} // namespace tvn
