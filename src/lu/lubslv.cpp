// Backward solves B'y = x: U by rows, row etas from the last to the first, L by rows.
//
// The mirror of the forward solves. The right-hand side comes by basis position, the result goes by row.
#include "lu/lusolve.h"

#include <cmath>

namespace tvn {
namespace {

constexpr const char* label = "src/lu/lubslv";

inline void axpy(double* __restrict x, double t, const int32_t* __restrict ind, const double* __restrict val, int32_t b,
                 int32_t e) {
  for (int32_t q = b; q < e; q++) x[ind[q]] += t * val[q];
}

// One column of U', pivoted on row r: takes x[c], gives the value of its row. touch(j): x[j] was changed.
template <class Touch>
inline void eliminate_column(const lu& f, double* __restrict x, int32_t r, spvec& y, double tol1, double tol2,
                             int64_t& work, Touch touch) {
  const int32_t c = f.piv.rowpivcol[r];
  double v = x[c];
  x[c] = 0.0;
  if (!(std::fabs(v) > tol1)) return;
  v /= f.u.diag[r];
  if (!(std::fabs(v) > tol2)) return;
  y.push(r, v);
  const int32_t* __restrict col = f.sto.rcol.data();
  const double* __restrict val = f.sto.rval.data();
  const int32_t b = f.sto.rbeg[r], e = b + f.sto.rlen[r];
  for (int32_t q = b; q < e; q++) {
    x[col[q]] -= v * val[q];
    touch(col[q]);
  }
  work += e - b;
}

void solve_u(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& x, spvec& y, double tol1, double tol2) {
  double* val = x.val.data();
  int64_t work = 0;
  const int32_t n = x.count;
  x.count = 0;
  if (expects_dense(f, lk_btranu, n)) {
    for (int32_t k = 0; k < f.u.end; k++)
      if (const int32_t r = f.u.order[k]; r >= 0 && val[f.piv.rowpivcol[r]] != 0.0)
        eliminate_column(f, val, r, y, tol1, tol2, work, [](int32_t) {});
    acc.work[lt_bdense] += work + f.u.end;
  } else {
    lu_agenda agenda(tmp);
    const int32_t* __restrict colplace = f.u.colplace.data();
    for (int32_t k = 0; k < n; k++) agenda.add(colplace[x.idx[k]]);
    agenda.ascend([&](int32_t k) {
      eliminate_column(f, val, f.u.order[k], y, tol1, tol2, work, [&](int32_t j) { agenda.add(colplace[j]); });
    });
    acc.work[lt_bsparse] += work + y.count;
  }
  note_result(acc, lk_btranu, n, y.count, f.nrow);
}

// Every listed value is nonzero on entry; rows that etas change are marked, so that none is listed twice.
void solve_etas(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& y) {
  double* val = y.val.data();
  int32_t numtouched = 0;
  int64_t work = f.eta.numetas;
  for (int32_t k = f.eta.numetas - 1; k >= 0; k--) {
    const double t = val[f.eta.etarow[k]];
    if (t == 0.0) continue;
    for (int32_t q = f.eta.etabeg[k + 1]; q < f.eta.etabeg[k]; q++) {
      const int32_t r = f.sto.rcol[q];
      if (tmp.mark[r] == 0) {
        if (val[r] == 0.0) y.idx[y.count++] = r;
        tmp.mark[r] = 1;
        tmp.topo[numtouched++] = r;
      }
      val[r] += t * f.sto.rval[q];
    }
    work += f.eta.etabeg[k] - f.eta.etabeg[k + 1];
  }
  for (int32_t t = 0; t < numtouched; t++) tmp.mark[tmp.topo[t]] = 0;
  acc.work[lt_etas] += work;
}

// x[r] += sum over the L column of r, from the last pivot to the first.
int64_t solve_l_full(const lu& f, double* __restrict x) {
  for (int32_t k = f.l.num - 1; k >= 0; k--) {
    const int32_t r = f.l.order[k], b = f.l.beg[r], e = b + f.l.len[r];
    double s = 0.0;
    for (int32_t q = b; q < e; q++) s += f.sto.rval[q] * x[f.sto.rcol[q]];
    x[r] += s;
  }
  return f.l.num + f.sto.wsze - f.sto.lbegin;
}

// By rows of L. Rows without an L column have their value from the start, the others follow from the last to the first.
void solve_l_agenda(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& y) {
  double* __restrict val = y.val.data();
  const int32_t* __restrict lplace = f.l.place.data();
  const int32_t* __restrict row = f.sto.crow.data();
  const double* __restrict mult = f.sto.cval.data();
  const int32_t n = y.count;
  int32_t count = 0;
  int64_t work = 0;
  lu_agenda agenda(tmp);
  const auto spread = [&](int32_t r) {
    y.idx[count++] = r;
    const double t = val[r];
    const int32_t b = f.l.tbeg[r], e = b + f.l.tlen[r];
    for (int32_t q = b; q < e; q++) {
      val[row[q]] += t * mult[q];
      agenda.add(lplace[row[q]]);
    }
    work += e - b;
  };
  for (int32_t k = 0; k < n; k++) {
    const int32_t r = y.idx[k];
    if (lplace[r] < 0)
      spread(r);
    else
      agenda.add(lplace[r]);
  }
  agenda.descend([&](int32_t k) {
    if (const int32_t r = f.l.order[k]; val[r] != 0.0) spread(r);
  });
  y.count = count;
  acc.work[lt_bsparse] += work + count;
}

void solve_l(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& y) {
  const int32_t n = y.count;
  if (expects_dense(f, lk_btranl, n)) {
    acc.work[lt_bdense] += solve_l_full(f, y.val.data()) + f.nrow;
    relist(y, f.nrow);
  } else {
    solve_l_agenda(f, acc, tmp, y);
  }
  note_result(acc, lk_btranl, n, y.count, f.nrow);
}

} // namespace

void TVN_lu_btrans(lu& f, spvec& x, spvec& y, double droptol1, double droptol2) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && y.count == 0);
  if (x.count == 0) return;
  solve_u(f, f.acc, f.tmp, x, y, droptol1, droptol2);
  if (f.eta.numetas > 0) solve_etas(f, f.acc, f.tmp, y);
  if (f.l.num > 0) solve_l(f, f.acc, f.tmp, y);
}

void TVN_lu_btran(lu& f, array_view<double> x, array_view<double> y) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && f.nrow == f.ncol);
  double* __restrict val = x.data();
  double* __restrict out = y.data();
  int64_t work = f.u.end;
  for (int32_t k = 0; k < f.u.end; k++) {
    const int32_t r = f.u.order[k];
    if (r < 0) continue;
    const int32_t c = f.piv.rowpivcol[r];
    const double v = val[c] / f.u.diag[r];
    val[c] = 0.0;
    out[r] = v;
    if (v == 0.0) continue;
    axpy(val, -v, f.sto.rcol.data(), f.sto.rval.data(), f.sto.rbeg[r], f.sto.rbeg[r] + f.sto.rlen[r]);
    work += f.sto.rlen[r];
  }
  for (int32_t k = f.eta.numetas - 1; k >= 0; k--) {
    const double t = out[f.eta.etarow[k]];
    if (t != 0.0) axpy(out, t, f.sto.rcol.data(), f.sto.rval.data(), f.eta.etabeg[k + 1], f.eta.etabeg[k]);
  }
  work += f.eta.etabeg[0] - f.eta.etabeg[f.eta.numetas];
  work += solve_l_full(f, out);
  f.acc.work[lt_bdense] += work;
}

} // namespace tvn
