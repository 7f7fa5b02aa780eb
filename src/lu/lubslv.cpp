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
  const int32_t c = f.rowpivcol[r];
  double v = x[c];
  x[c] = 0.0;
  if (!(std::fabs(v) > tol1)) return;
  v /= f.diag[r];
  if (!(std::fabs(v) > tol2)) return;
  y.push(r, v);
  const int32_t* __restrict col = f.rcol.data();
  const double* __restrict val = f.rval.data();
  const int32_t b = f.rbeg[r], e = b + f.rlen[r];
  for (int32_t q = b; q < e; q++) {
    x[col[q]] -= v * val[q];
    touch(col[q]);
  }
  work += e - b;
}

void solve_u(lu& f, spvec& x, spvec& y, double tol1, double tol2) {
  double* val = x.val.data();
  int64_t work = 0;
  const int32_t n = x.count;
  x.count = 0;
  if (expects_dense(f, lk_btranu, n)) {
    for (int32_t k = 0; k < f.uend; k++)
      if (const int32_t r = f.uorder[k]; r >= 0 && val[f.rowpivcol[r]] != 0.0)
        eliminate_column(f, val, r, y, tol1, tol2, work, [](int32_t) {});
    f.work[lt_bdense] += work + f.uend;
  } else {
    lu_agenda agenda(f);
    const int32_t* __restrict colplace = f.colplace.data();
    for (int32_t k = 0; k < n; k++) agenda.add(colplace[x.idx[k]]);
    agenda.ascend([&](int32_t k) {
      eliminate_column(f, val, f.uorder[k], y, tol1, tol2, work, [&](int32_t j) { agenda.add(colplace[j]); });
    });
    f.work[lt_bsparse] += work + y.count;
  }
  note_result(f, lk_btranu, n, y.count);
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

// By rows of L. Rows without an L column have their value from the start, the others follow from the last to the first.
void solve_l_agenda(lu& f, spvec& y) {
  double* __restrict val = y.val.data();
  const int32_t* __restrict lplace = f.lplace.data();
  const int32_t* __restrict row = f.crow.data();
  const double* __restrict mult = f.cval.data();
  const int32_t n = y.count;
  int32_t count = 0;
  int64_t work = 0;
  lu_agenda agenda(f);
  const auto spread = [&](int32_t r) {
    y.idx[count++] = r;
    const double t = val[r];
    const int32_t b = f.ltbeg[r], e = b + f.ltlen[r];
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
    if (const int32_t r = f.lorder[k]; val[r] != 0.0) spread(r);
  });
  y.count = count;
  f.work[lt_bsparse] += work + count;
}

void solve_l(lu& f, spvec& y) {
  const int32_t n = y.count;
  if (expects_dense(f, lk_btranl, n)) {
    f.work[lt_bdense] += solve_l_full(f, y.val.data()) + f.nrow;
    relist(y, f.nrow);
  } else {
    solve_l_agenda(f, y);
  }
  note_result(f, lk_btranl, n, y.count);
}

} // namespace

void TVN_lu_btrans(lu& f, spvec& x, spvec& y, double droptol1, double droptol2) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && y.count == 0);
  if (x.count == 0) return;
  solve_u(f, x, y, droptol1, droptol2);
  if (f.numetas > 0) solve_etas(f, y);
  if (f.numl > 0) solve_l(f, y);
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
