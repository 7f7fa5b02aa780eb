// Forward solves B y = x: L by columns, row etas in the order of creation, U by columns.
//
// The sparse forms run along the nonzeros of the right-hand side; see lusolve.h for the choice between the agenda and
// the full pass. A result list holds each position that may be nonzero exactly once.
#include "lu/lusolve.h"

#include <cmath>

namespace tvn {
namespace {

constexpr const char* label = "src/lu/lufslv";

// x -= v * column, where the column lies at [b, e) of the column store.
inline void subtract_column(double* __restrict x, double v, const int32_t* __restrict row, const double* __restrict val,
                            int32_t b, int32_t e) {
  for (int32_t p = b; p < e; p++) x[row[p]] -= v * val[p];
}

inline void add_lcol(double* __restrict x, double t, const int32_t* __restrict row, const double* __restrict val,
                     int32_t b, int32_t e) {
  for (int32_t q = b; q < e; q++) x[row[q]] += t * val[q];
}

inline double dot(const double* __restrict x, const int32_t* __restrict ind, const double* __restrict val, int32_t b,
                  int32_t e) {
  double s0 = 0.0, s1 = 0.0;
  int32_t q = b;
  for (; q + 1 < e; q += 2) {
    s0 += val[q] * x[ind[q]];
    s1 += val[q + 1] * x[ind[q + 1]];
  }
  if (q < e) s0 += val[q] * x[ind[q]];
  return s0 + s1;
}

int64_t solve_l_full(const lu& f, double* x) {
  int64_t work = f.l.num;
  for (int32_t k = 0; k < f.l.num; k++) {
    const int32_t r = f.l.order[k];
    if (x[r] == 0.0) continue;
    add_lcol(x, x[r], f.sto.rcol.data(), f.sto.rval.data(), f.l.beg[r], f.l.beg[r] + f.l.len[r]);
    work += f.l.len[r];
  }
  return work;
}

// By columns of L. A row without an L column is listed when it is first met, the others when they are visited.
void solve_l_agenda(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& x) {
  double* __restrict val = x.val.data();
  int32_t* __restrict mark = tmp.mark.data();
  int32_t* __restrict met = tmp.topo.data();
  const int32_t* __restrict lplace = f.l.place.data();
  const int32_t* __restrict row = f.sto.rcol.data();
  const double* __restrict mult = f.sto.rval.data();
  int32_t nummet = 0;
  int64_t work = 0;
  lu_agenda agenda(tmp);
  const auto meet = [&](int32_t i) {
    if (lplace[i] >= 0) {
      agenda.add(lplace[i]);
    } else if (mark[i] == 0) {
      mark[i] = 1;
      met[nummet++] = i;
    }
  };
  for (int32_t k = 0; k < x.count; k++) meet(x.idx[k]);
  agenda.ascend([&](int32_t k) {
    const int32_t r = f.l.order[k];
    const double t = val[r];
    if (t == 0.0) return;
    met[nummet++] = r;
    const int32_t b = f.l.beg[r], e = b + f.l.len[r];
    for (int32_t q = b; q < e; q++) {
      val[row[q]] += t * mult[q];
      meet(row[q]);
    }
    work += e - b;
  });
  int32_t count = 0;
  for (int32_t k = 0; k < nummet; k++) {
    const int32_t r = met[k];
    mark[r] = 0;
    if (val[r] != 0.0) x.idx[count++] = r;
  }
  x.count = count;
  acc.work[lt_fsparse] += work + nummet;
}

void solve_l(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& x) {
  const int32_t n = x.count;
  if (expects_dense(f, lk_ftranl, n)) {
    acc.work[lt_fdense] += solve_l_full(f, x.val.data()) + f.nrow;
    relist(x, f.nrow);
  } else {
    solve_l_agenda(f, acc, tmp, x);
  }
  note_result(acc, lk_ftranl, n, x.count, f.nrow);
}

void drop_zeros(spvec& x) {
  int32_t count = 0;
  for (int32_t k = 0; k < x.count; k++)
    if (x.val[x.idx[k]] != 0.0) x.idx[count++] = x.idx[k];
  x.count = count;
}

// Every listed value is nonzero on entry. A row that an eta fills in is marked, so that it is listed once even when a
// later eta cancels and another one refills it.
void solve_etas(const lu& f, lu_account& acc, lu_scratch& tmp, spvec& x) {
  double* val = x.val.data();
  int32_t numtouched = 0;
  for (int32_t k = 0; k < f.eta.numetas; k++) {
    const double s = dot(val, f.sto.rcol.data(), f.sto.rval.data(), f.eta.etabeg[k + 1], f.eta.etabeg[k]);
    if (s == 0.0) continue;
    const int32_t p = f.eta.etarow[k];
    if (tmp.mark[p] == 0) {
      if (val[p] == 0.0) x.idx[x.count++] = p;
      tmp.mark[p] = 1;
      tmp.topo[numtouched++] = p;
    }
    val[p] += s;
  }
  for (int32_t t = 0; t < numtouched; t++) tmp.mark[tmp.topo[t]] = 0;
  acc.work[lt_etas] += f.eta.etabeg[0] - f.eta.etabeg[f.eta.numetas] + f.eta.numetas;
}

// One row of U: takes x[r], gives the value of its column. touch(i): x[i] was changed.
template <class Touch>
inline void eliminate_row(const lu& f, double* __restrict x, int32_t r, spvec& y, double tol1, double tol2,
                          int64_t& work, Touch touch) {
  double t = x[r];
  x[r] = 0.0;
  if (!(std::fabs(t) > tol1)) return;
  t /= f.u.diag[r];
  if (!(std::fabs(t) > tol2)) return;
  const int32_t j = f.piv.rowpivcol[r], b = f.sto.cbeg[j], e = b + f.sto.clen[j];
  y.push(j, t);
  const int32_t* __restrict row = f.sto.crow.data();
  const double* __restrict val = f.sto.cval.data();
  for (int32_t p = b; p < e; p++) {
    x[row[p]] -= t * val[p];
    touch(row[p]);
  }
  work += e - b;
}

} // namespace

void TVN_lu_ftranl(lu& f, spvec& x) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored);
  if (x.count == 0) return;
  if (f.l.num > 0)
    solve_l(f, f.acc, f.tmp, x);
  else
    drop_zeros(x);
  if (f.eta.numetas > 0) solve_etas(f, f.acc, f.tmp, x);
}

void TVN_lu_ftranus(lu& f, spvec& x, spvec& y, double droptol1, double droptol2) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && y.count == 0);
  double* val = x.val.data();
  int64_t work = 0;
  const int32_t n = x.count;
  x.count = 0;
  if (expects_dense(f, lk_ftranu, n)) {
    for (int32_t k = f.u.end - 1; k >= 0; k--)
      if (const int32_t r = f.u.order[k]; r >= 0 && val[r] != 0.0)
        eliminate_row(f, val, r, y, droptol1, droptol2, work, [](int32_t) {});
    f.acc.work[lt_fdense] += work + f.u.end;
  } else {
    lu_agenda agenda(f.tmp);
    const int32_t* __restrict uplace = f.u.place.data();
    for (int32_t k = 0; k < n; k++) agenda.add(uplace[x.idx[k]]);
    agenda.descend([&](int32_t k) {
      eliminate_row(f, val, f.u.order[k], y, droptol1, droptol2, work, [&](int32_t i) { agenda.add(uplace[i]); });
    });
    f.acc.work[lt_fsparse] += work + y.count;
  }
  note_result(f.acc, lk_ftranu, n, y.count, f.nrow);
}

namespace {

// U part of the dense solves, by columns: zeros are common and cost nothing. False when a right-hand value reaches
// limit times its diagonal.
bool solve_u_full(const lu& f, lu_account& acc, double* __restrict x, double* __restrict y, double limit) {
  int64_t work = f.u.end;
  const bool limited = limit < HUGE_VAL;
  bool safe = true;
  for (int32_t k = f.u.end - 1; k >= 0; k--) {
    const int32_t r = f.u.order[k];
    if (r < 0) continue;
    const int32_t j = f.piv.rowpivcol[r];
    const double t = x[r];
    y[j] = 0.0;
    if (t == 0.0) continue;
    x[r] = 0.0;
    if (limited && std::fabs(t) >= limit * std::fabs(f.u.diag[r])) {
      safe = false;
      break;
    }
    const double v = t / f.u.diag[r];
    y[j] = v;
    subtract_column(x, v, f.sto.crow.data(), f.sto.cval.data(), f.sto.cbeg[j], f.sto.cbeg[j] + f.sto.clen[j]);
    work += f.sto.clen[j];
  }
  acc.work[lt_fdense] += work;
  return safe;
}

bool solve_full(const lu& f, lu_account& acc, array_view<double> x, array_view<double> y, double limit) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && f.nrow == f.ncol);
  const int64_t work = solve_l_full(f, x.data());
  for (int32_t k = 0; k < f.eta.numetas; k++)
    x[f.eta.etarow[k]] += dot(x.data(), f.sto.rcol.data(), f.sto.rval.data(), f.eta.etabeg[k + 1], f.eta.etabeg[k]);
  acc.work[lt_fdense] += work + f.eta.etabeg[0] - f.eta.etabeg[f.eta.numetas];
  return solve_u_full(f, acc, x.data(), y.data(), limit);
}

} // namespace

void TVN_lu_ftran(lu& f, array_view<double> x, array_view<double> y) { solve_full(f, f.acc, x, y, HUGE_VAL); }

lu_code TVN_lu_ftransafe(lu& f, array_view<double> x, array_view<double> y, double limit) {
  return solve_full(f, f.acc, x, y, limit) ? lu_code::done : lu_code::growth_limit;
}

} // namespace tvn
