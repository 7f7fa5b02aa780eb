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

// One column of U': takes x[c], gives the value of its row.
inline void eliminate_column(lu& f, double* __restrict x, int32_t c, spvec& y, double tol1, double tol2,
                             int64_t& work) {
  double v = x[c];
  x[c] = 0.0;
  if (!(std::fabs(v) > tol1)) return;
  const int32_t r = f.colpivrow[c];
  v /= f.diag[r];
  if (!(std::fabs(v) > tol2)) return;
  y.push(r, v);
  axpy(x, -v, f.rcol.data(), f.rval.data(), f.rbeg[r], f.rbeg[r] + f.rlen[r]);
  work += f.rlen[r];
}

void solve_u_sparse(lu& f, spvec& x, spvec& y, double tol1, double tol2) {
  const int32_t* pivrow = f.colpivrow.data();
  const int32_t* rbeg = f.rbeg.data();
  const int32_t* rlen = f.rlen.data();
  const lu_reach s = try_reach(
      f, lk_btranu, x.idx.data(), x.count, f.rcol.data(), [=](int32_t c) { return rbeg[pivrow[c]]; },
      [=](int32_t c) { return rlen[pivrow[c]]; });
  double* val = x.val.data();
  int64_t work = 0;
  x.count = 0;
  if (s.complete) {
    for (int32_t k = s.count - 1; k >= 0; k--) {
      f.mark[f.topo[k]] = 0;
      eliminate_column(f, val, f.topo[k], y, tol1, tol2, work);
    }
    f.work[lt_bsparse] += work + s.count;
  } else {
    for (int32_t k = 0; k < f.uend; k++) {
      const int32_t r = f.uorder[k];
      if (r < 0) continue;
      if (const int32_t c = f.rowpivcol[r]; val[c] != 0.0) eliminate_column(f, val, c, y, tol1, tol2, work);
    }
    f.work[lt_bdense] += work + f.uend;
  }
}

// Every listed value is nonzero on entry; rows that etas change are marked, so that none is listed twice.
void solve_etas(lu& f, spvec& y) {
  double* val = y.val.data();
  int32_t numtouched = 0;
  int64_t work = f.numetas;
  for (int32_t k = f.numetas - 1; k >= 0; k--) {
    const double t = val[f.etarow[k]];
    if (t == 0.0) continue;
    for (int32_t q = f.etabeg[k + 1]; q < f.etabeg[k]; q++) {
      const int32_t r = f.rcol[q];
      if (f.mark[r] == 0) {
        if (val[r] == 0.0) y.idx[y.count++] = r;
        f.mark[r] = 1;
        f.topo[numtouched++] = r;
      }
      val[r] += t * f.rval[q];
    }
    work += f.etabeg[k] - f.etabeg[k + 1];
  }
  for (int32_t t = 0; t < numtouched; t++) f.mark[f.topo[t]] = 0;
  f.work[lt_etas] += work;
}

// x[r] += sum over the L column of r, from the last pivot to the first.
int64_t solve_l_full(const lu& f, double* __restrict x) {
  for (int32_t k = f.numl - 1; k >= 0; k--) {
    const int32_t r = f.lorder[k], b = f.lbeg[r], e = b + f.llen[r];
    double s = 0.0;
    for (int32_t q = b; q < e; q++) s += f.rval[q] * x[f.rcol[q]];
    x[r] += s;
  }
  return f.numl + f.wsze - f.lbegin;
}

void solve_l_sparse(lu& f, spvec& y) {
  const int32_t* ltbeg = f.ltbeg.data();
  const int32_t* ltlen = f.ltlen.data();
  const lu_reach s = try_reach(
      f, lk_btranl, y.idx.data(), y.count, f.crow.data(), [=](int32_t r) { return ltbeg[r]; },
      [=](int32_t r) { return ltlen[r]; });
  if (!s.complete) {
    f.work[lt_bdense] += solve_l_full(f, y.val.data()) + f.nrow;
    relist(y, f.nrow);
    return;
  }
  double* __restrict val = y.val.data();
  int32_t count = 0;
  for (int32_t k = s.count - 1; k >= 0; k--) {
    const int32_t r = f.topo[k];
    f.mark[r] = 0;
    if (val[r] == 0.0) continue;
    y.idx[count++] = r;
    if (ltlen[r] > 0) axpy(val, val[r], f.crow.data(), f.cval.data(), ltbeg[r], ltbeg[r] + ltlen[r]);
  }
  y.count = count;
  f.work[lt_bsparse] += s.visited + s.count;
}

} // namespace

void TVN_lu_btrans(lu& f, spvec& x, spvec& y, double droptol1, double droptol2) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && y.count == 0);
  if (x.count == 0) return;
  solve_u_sparse(f, x, y, droptol1, droptol2);
  if (f.numetas > 0) solve_etas(f, y);
  if (f.numl > 0) solve_l_sparse(f, y);
}

void TVN_lu_btran(lu& f, std::span<double> x, std::span<double> y) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && f.nrow == f.ncol);
  double* __restrict val = x.data();
  double* __restrict out = y.data();
  int64_t work = f.uend;
  for (int32_t k = 0; k < f.uend; k++) {
    const int32_t r = f.uorder[k];
    if (r < 0) continue;
    const int32_t c = f.rowpivcol[r];
    const double v = val[c] / f.diag[r];
    val[c] = 0.0;
    out[r] = v;
    if (v == 0.0) continue;
    axpy(val, -v, f.rcol.data(), f.rval.data(), f.rbeg[r], f.rbeg[r] + f.rlen[r]);
    work += f.rlen[r];
  }
  for (int32_t k = f.numetas - 1; k >= 0; k--) {
    const double t = out[f.etarow[k]];
    if (t != 0.0) axpy(out, t, f.rcol.data(), f.rval.data(), f.etabeg[k + 1], f.etabeg[k]);
  }
  work += f.etabeg[0] - f.etabeg[f.numetas];
  work += solve_l_full(f, out);
  f.work[lt_bdense] += work;
}

} // namespace tvn
