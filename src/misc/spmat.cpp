// Compressed vectors. See spmat.h.
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

void TVN_spmat_bigcopy(const spmat& a, int64_t size, spmat& to) {
  const int64_t numnz = TVN_spmat_getnz(a);
  TVN_ASSERT(a.sys, label, size >= numnz);
  spmat fresh;
  TVN_spmat_make(*a.sys, a.maxnvec, a.maxvlen, fresh);
  fresh.nvec = a.nvec;
  fresh.vlen = a.vlen;
  TVN_spmat_ialloc(fresh, size);
  for (int32_t j = 0; j < a.nvec; j++) {
    const int64_t len = a.ptre[j] - a.ptrb[j];
    std::copy_n(a.sub + a.ptrb[j], len, fresh.sub + fresh.ffree);
    std::copy_n(a.val + a.ptrb[j], len, fresh.val + fresh.ffree);
    fresh.ptrb[j] = fresh.ffree;
    fresh.ptre[j] = fresh.ffree += len;
  }
  to = std::move(fresh);
}

void TVN_spmat_transpose(sysenv& sys, const spmat& a, bool nocopyvalues, spmat& at) {
  const int64_t numnz = TVN_spmat_getnz(a);
  if (!at.sys) {
    TVN_spmat_make(sys, a.vlen, a.nvec, at);
    TVN_spmat_ialloc(at, numnz);
  }
  TVN_spmat_init(at, a.vlen, a.nvec);
  if (at.fpos + numnz > at.maxsze)
    TVN_sysenv_stopdbg(&sys, label, __LINE__, "inplace: %d at->ffree>at->maxsze i.e. %lld>%lld", 0,
                       static_cast<long long>(at.fpos + numnz), static_cast<long long>(at.maxsze));
  std::fill_n(at.ptre, a.vlen, 0);
  for (int32_t j = 0; j < a.nvec; j++)
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) at.ptre[a.sub[p]]++;
  for (int32_t i = 0; i < a.vlen; i++) {
    at.ptrb[i] = at.ffree;
    at.ffree += at.ptre[i];
    at.ptre[i] = at.ptrb[i];
  }
  for (int32_t j = 0; j < a.nvec; j++) {
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      const int64_t to = at.ptre[a.sub[p]]++;
      at.sub[to] = j;
      if (!nocopyvalues) at.val[to] = a.val[p];
    }
  }
}

int64_t TVN_spmat_getnz(const spmat& a) noexcept {
  int64_t total = 0;
  for (int32_t j = 0; j < a.nvec; j++) total += a.ptre[j] - a.ptrb[j];
  return total;
}

double TVN_spmat_doti(const spmat& a, int32_t j, const double* x) noexcept {
  double sum = 0;
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) sum += a.val[p] * x[a.sub[p]];
  return sum;
}

void TVN_spmat_aipy(const spmat& a, int32_t j, double alpha, double* y) noexcept {
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) y[a.sub[p]] += alpha * a.val[p];
}

void TVN_spmat_scali(spmat& a, int32_t j, double alpha) noexcept {
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) a.val[p] *= alpha;
}

void TVN_spmat_gemv(const spmat& a, bool transposed, double alpha, const double* x, double beta, double* y) noexcept {
  const int32_t leny = transposed ? a.nvec : a.vlen;
  for (int32_t k = 0; k < leny; k++) y[k] = beta == 0.0 ? 0.0 : beta * y[k];
  for (int32_t j = 0; j < a.nvec; j++) {
    if (transposed)
      y[j] += alpha * TVN_spmat_doti(a, j, x);
    else if (x[j] != 0.0)
      TVN_spmat_aipy(a, j, alpha * x[j], y);
  }
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
  return 0;
}

} // namespace tvn
