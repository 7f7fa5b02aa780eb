// Factorisation of a basis: set-up, pivot loop, finish; and the completion of a singular one.
//
// On success the object is factored: rows of U at the front of the row store, columns of U in pivot order at the front
// of the column store, L by columns at the top of the one and by rows at the top of the other. With rank < nrow it
// stays in the factoring state, which TVN_lu_insart expects. Nothing is allocated.
#include "lu/luint.h"

#include <cinttypes>

namespace tvn {
namespace {

constexpr const char* label = "src/lu/lufac";
constexpr int32_t gathershare = 8;
constexpr int64_t reportstep = 100000; // units of search and elimination between two reports

int32_t report(const lu& f, int32_t code, int32_t pivots) {
  return f.set.progress ? f.set.progress(f.set.progresshandle, code, pivots) : 0;
}

bool is_complete(const lu& f) { return f.piv.stpf + f.piv.stpb == f.nrow; }

// Queues over the active rows and columns. The first ncol integers are the marks; lists follow the queues.
void make_active(lu& f, array_view<int32_t> iwork, array_view<double> rwork, lu_active& a) {
  const int64_t n = f.ncol, m = f.nrow;
  a.mark = iwork.data();
  a.collist = a.mark + n;
  a.rowlist = a.collist + n;
  array_view<int32_t> rest = iwork.subspan(2 * n + m);
  const int64_t rowspace = TVN_pq_space(f.nrow, f.ncol);
  const bool fits = TVN_pq_setup(a.rowq, *f.sys, f.nrow, f.ncol, rest.first(rowspace)) &&
                    TVN_pq_setup(a.colq, *f.sys, f.ncol, f.nrow, rest.subspan(rowspace));
  TVN_ASSERT(f.sys, label, fits);
  a.rowmax = rwork.data();
  a.colmax = a.rowmax + m;
  a.dense = a.colmax + n;
  std::fill_n(a.mark, n, 0);
  std::fill_n(a.rowmax, m, -1.0);
  std::fill_n(a.colmax, n, -1.0);
  std::fill_n(a.dense, n, 0.0);
  for (int32_t k = f.piv.stpf; k < f.nrow - f.piv.stpb; k++)
    if (const int32_t i = f.piv.prow[k]; f.sto.rlen[i] > 0) TVN_pq_putp(a.rowq, i, f.sto.rlen[i]);
  for (int32_t j = 0; j < f.ncol; j++)
    if (f.sto.clen[j] > 0) TVN_pq_putp(a.colq, j, f.sto.clen[j]);
  f.acc.work[lt_queues] += f.ncol;
}

lu_code pivot_loop(lu& f, lu_active& a) {
  int64_t nextreport = reportstep;
  while (!is_complete(f)) {
    const int64_t work = f.acc.work[lt_eliminate] + f.acc.work[lt_search];
    if (f.set.maxwork >= 0 && work > f.set.maxwork) return lu_code::work_limit;
    if (work >= nextreport) {
      nextreport = work + reportstep;
      if (report(f, le_pivots, f.piv.stpf + f.piv.stpb) != 0) return lu_code::stopped;
    }
    const lu_pivot piv = TVN_lu_choosepiv(f, a);
    if (piv.i == f.nrow) return lu_code::done;
    if (const lu_code code = TVN_lu_dopivot(f, a, piv); code != lu_code::done) return code;
  }
  return lu_code::done;
}

lu_code factor_active(lu& f, array_view<int32_t> iwork, array_view<double> rwork) {
  if (is_complete(f)) {
    f.run.numtriangular++;
    return lu_code::done;
  }
  if (const lu_code code = TVN_lu_buildcoldbg(f, f.piv.stpf, f.nrow - f.piv.stpb); code != lu_code::done) return code;
  lu_active a;
  make_active(f, iwork, rwork, a);
  const int32_t numactive = f.nrow - f.piv.stpb - f.piv.stpf;
  const lu_code code = pivot_loop(f, a);
  // The rows of a small nucleus may lie where they are; those of a large one are brought into pivot order.
  if (code == lu_code::done && numactive > f.nrow / gathershare) lu_gather(f);
  return code;
}

// L by rows at the top of the column store, in the order of the row index.
void transpose_l(lu& f) {
  std::fill_n(f.l.tlen.data(), f.nrow, 0);
  for (int32_t q = f.sto.lbegin; q < f.sto.wsze; q++) f.l.tlen[f.sto.rcol[q]]++;
  int32_t pos = f.sto.lbegin;
  for (int32_t i = 0; i < f.nrow; i++) {
    f.l.tbeg[i] = pos;
    pos += f.l.tlen[i];
    f.l.tlen[i] = 0;
  }
  for (int32_t k = 0; k < f.l.num; k++) {
    const int32_t r = f.l.order[k];
    for (int32_t q = f.l.beg[r], e = q + f.l.len[r]; q < e; q++) {
      const int32_t i = f.sto.rcol[q], p = f.l.tbeg[i] + f.l.tlen[i]++;
      f.sto.crow[p] = r;
      f.sto.cval[p] = f.sto.rval[q];
    }
  }
}

// From rows in pivot order to the factored state.
lu_code finish(lu& f) {
  TVN_ASSERT(f.sys, label, f.piv.rank == f.nrow);
  f.state = lu_factored;
  f.eta.numetas = 0;
  f.sto.lbegin = f.sto.lubot;
  f.eta.etabeg[0] = f.sto.lbegin;
  f.u.end = f.nrow;
  f.sto.unz = 0;
  for (int32_t k = 0; k < f.nrow; k++) {
    const int32_t i = f.piv.prow[k];
    f.u.order[k] = i;
    f.u.place[i] = k;
    f.u.colplace[f.piv.rowpivcol[i]] = k;
    f.sto.unz += f.sto.rlen[i];
  }
  TVN_lu_initupdate(f);
  std::fill_n(f.l.place.data(), f.nrow, -1);
  for (int32_t k = 0; k < f.l.num; k++) f.l.place[f.l.order[k]] = k;
  transpose_l(f);
  f.acc.work[lt_finish] += f.sto.unz + f.sto.wsze - f.sto.lubot + f.nrow;
  TVN_lu_resetufre(f.sto);
  if (TVN_lu_buildcoldbg(f, 0, f.u.end) != lu_code::done) {
    f.run.incwsze = true;
    f.state = lu_unusable;
    return lu_code::no_storage;
  }
  f.run.lastmethod = f.set.pivotmethod;
  f.run.lastlfill = f.run.lcount;
  f.run.lastufill = f.run.ucount;
#if TVN_CHECK_LEVEL >= 2
  lu_audit(f, label, __LINE__);
#endif
  return lu_code::done;
}

lu_code factor_steps(lu& f, array_view<int32_t> iwork, array_view<double> rwork) {
  lu_code code = lu_setup(f, iwork, rwork);
  if (code == lu_code::done) code = factor_active(f, iwork, rwork);
  f.piv.rank = f.piv.stpf + f.piv.stpb;
  if (code == lu_code::done && ((f.run.runsdropl && !f.set.dropl) || (f.run.runsdropu && !f.set.dropu)))
    code = lu_code::no_storage;
  if (code == lu_code::no_storage || code == lu_code::column_refused) f.run.incwsze = true;
  if (code != lu_code::done || f.piv.rank < f.nrow || f.nrow < f.ncol || f.set.dropl || f.set.dropu) return code;
  return finish(f);
}

} // namespace

void TVN_lu_getfactorspace(int32_t nrow, int32_t ncol, int64_t& isize, int64_t& rsize) {
  isize = 5 * int64_t{nrow} + 6 * int64_t{ncol} + 2;
  rsize = int64_t{nrow} + 2 * int64_t{ncol};
}

lu_code TVN_lu_factor(lu& f, array_view<int32_t> iwork, array_view<double> rwork) {
  TVN_ASSERT(f.sys, label, f.state == lu_initialised);
  int64_t isize = 0, rsize = 0;
  TVN_lu_getfactorspace(f.nrow, f.ncol, isize, rsize);
  if (static_cast<int64_t>(iwork.size()) < isize) return lu_code::short_int_work;
  if (static_cast<int64_t>(rwork.size()) < rsize) return lu_code::short_real_work;
  if (report(f, le_begin, 0) != 0) return lu_code::stopped;
  const lu_code code = factor_steps(f, iwork, rwork);
  if (report(f, le_end, f.piv.rank) != 0 && code == lu_code::done) return lu_code::stopped;
  return code;
}

lu_code TVN_lu_insart(lu& f, array_view<int32_t> colmap, array_view<int32_t>, double value) {
  TVN_ASSERT(f.sys, label, f.state == lu_factoring && f.piv.rank < f.nrow && f.nrow == f.ncol);
  std::fill_n(colmap.begin(), f.ncol, f.nrow);
  for (int32_t i = 0; i < f.nrow; i++) { // columns without pivot leave all rows
    const int32_t b = f.sto.rbeg[i], e = b + f.sto.rlen[i];
    int32_t to = b;
    for (int32_t q = b; q < e; q++) {
      if (f.piv.colpivrow[f.sto.rcol[q]] == f.nrow) continue;
      f.sto.rcol[to] = f.sto.rcol[q];
      f.sto.rval[to++] = f.sto.rval[q];
    }
    f.sto.rlen[i] = to - b;
  }
  int32_t j = 0;
  for (int32_t i = 0; i < f.nrow; i++) {
    if (f.piv.rowpivcol[i] != f.ncol) continue;
    while (f.piv.colpivrow[j] != f.nrow) j++;
    colmap[j] = i;
    TVN_lu_apivot(f, i, j, value, true);
  }
  f.piv.rank = f.piv.stpf + f.piv.stpb;
  return finish(f);
}

} // namespace tvn
