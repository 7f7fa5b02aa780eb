// Compressed vectors: sums, first the pattern and then the values. See spmat.h.
//
// The pattern is made once for many sums with other factors. Indexes of a vector of the sum stand in the order in which
// they are met, those of `a` first. Cost: the entries of both, and one pass over the vector length.
#include "misc/spmat.h"

namespace tvn {

namespace {

const char label[] = "src/misc/spmatadd";

// Calls take(i) once for each index in a_j or b_j, those of a first.
template <class F> void for_union(const spmat& a, const spmat& b, int32_t j, buffer<int32_t>& mark, F take) {
  for (const spmat* m : {&a, &b})
    for (int64_t p = m->ptrb[j]; p < m->ptre[j]; p++) {
      if (mark[m->sub[p]] == j) continue;
      mark[m->sub[p]] = j;
      take(m->sub[p]);
    }
}

} // namespace

void TVN_spmat_symmatadd(sysenv& sys, const spmat& a, const spmat& b, spmat& c) {
  TVN_ASSERT(&sys, label, a.nvec == b.nvec && a.vlen == b.vlen);
  buffer<int32_t> mark(sys, a.vlen, -1);
  int64_t numnz = 0;
  for (int32_t j = 0; j < a.nvec; j++) for_union(a, b, j, mark, [&](int32_t) { numnz++; });
  spmat fresh;
  TVN_spmat_make(sys, a.nvec, a.vlen, fresh);
  fresh.nvec = a.nvec;
  fresh.vlen = a.vlen;
  TVN_spmat_ialloc(fresh, numnz);
  std::fill(mark.begin(), mark.end(), -1);
  for (int32_t j = 0; j < a.nvec; j++) {
    fresh.ptrb[j] = fresh.ffree;
    for_union(a, b, j, mark, [&](int32_t i) {
      fresh.val[fresh.ffree] = 0.0;
      fresh.sub[fresh.ffree++] = i;
    });
    fresh.ptre[j] = fresh.ffree;
  }
  c = std::move(fresh);
}

void TVN_spmat_nummatadd(double alpha, const spmat& a, double beta, const spmat& b, spmat& c) {
  TVN_ASSERT(a.sys, label, a.nvec == b.nvec && c.nvec == a.nvec && c.vlen == a.vlen && a.vlen == b.vlen);
  buffer<double> sum(*a.sys, a.vlen, 0.0);
  for (int32_t j = 0; j < a.nvec; j++) {
    TVN_spmat_aipy(a, j, alpha, sum.data());
    TVN_spmat_aipy(b, j, beta, sum.data());
    for (int64_t p = c.ptrb[j]; p < c.ptre[j]; p++) {
      c.val[p] = sum[c.sub[p]];
      sum[c.sub[p]] = 0.0;
    }
  }
}

} // namespace tvn
