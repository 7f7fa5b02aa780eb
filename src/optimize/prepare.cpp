// See prepare.h. Cost: O(nonzeros), sums in long double.
#include "optimize/prepare.h"

#include "prslv/reduced.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvn {

namespace {

// One column of the optimizer between these bounds.
void put_bounds(prepared_problem& p, int32_t k, int32_t bk, double bl, double bu) {
  const bool lower = has_lower(bk), upper = has_upper(bk);
  const bool down = upper && (!lower || std::fabs(bu) < std::fabs(bl));
  p.down[k] = down;
  p.base[k] = down ? bu : lower ? bl : 0.0;
  p.bk[k] = lower && upper ? bk_ra : lower || upper ? bk_lo : bk_fr;
  p.up[k] = lower && upper ? bu - bl : std::numeric_limits<double>::infinity();
}

struct preparation {
  sysenv& sys;
  const problem_view& lp;
  prepared_problem& p;
  buffer<int32_t> newrow; // -1: free
  buffer<long double> rhs;

  preparation(sysenv& s, const problem_view& l, prepared_problem& q)
      : sys(s), lp(l), p(q), newrow(s, l.numcon, -1), rhs(s, l.numcon, 0.0L) {}

  void number();
  void allocate(int64_t nz);
  void put_column(int32_t k, int32_t j);
  void put_rows();
  void put_quadratic(long double& cfix);
};

void preparation::number() {
  int32_t rows = 0, cols = 0, slacks = 0;
  for (int32_t i = 0; i < lp.numcon; i++) {
    if (lp.bkc[i] == bk_fr) continue;
    newrow[i] = rows++;
    slacks += lp.bkc[i] != bk_fx ? 1 : 0;
  }
  int64_t nz = slacks;
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (lp.bkx[j] == bk_fx) continue;
    cols++;
    for (int64_t q = lp.ptrb[j]; q < lp.ptre[j]; q++) nz += newrow[lp.sub[q]] >= 0 && lp.val[q] != 0 ? 1 : 0;
  }
  p.numslack = slacks;
  p.hs.a.numrow = rows;
  p.hs.a.numcol = cols + slacks;
  allocate(nz);
}

void preparation::allocate(int64_t nz) {
  const int32_t m = p.hs.a.numrow, n = p.hs.a.numcol;
  p.row2con.reset(sys, m);
  p.col2var.reset(sys, n - p.numslack);
  p.slackrow.reset(sys, p.numslack);
  p.down.reset(sys, n);
  p.ptr.reset(sys, n + 1);
  p.sub.reset(sys, nz);
  p.val.reset(sys, nz);
  p.bk.reset(sys, n);
  p.skx.reset(sys, n, static_cast<int32_t>(sk_unk));
  for (buffer<double>* v : {&p.base, &p.c, &p.up}) v->reset(sys, n);
  for (buffer<double>* v : {&p.x, &p.s, &p.sup}) v->reset(sys, n, 0.0);
  p.b.reset(sys, m);
  p.y.reset(sys, m, 0.0);
}

// Column j as the k-th one; what its base adds to rows and costs.
void preparation::put_column(int32_t k, int32_t j) {
  put_bounds(p, k, lp.bkx[j], lp.blx[j], lp.bux[j]);
  const double sign = p.down[k] ? -1 : 1;
  p.col2var[k] = j;
  p.c[k] = sign * TVN_prslv_foldedcost(lp, j);
  int64_t at = p.ptr[k];
  for (int64_t q = lp.ptrb[j]; q < lp.ptre[j]; q++) {
    if (newrow[lp.sub[q]] < 0 || lp.val[q] == 0) continue;
    p.sub[at] = newrow[lp.sub[q]];
    p.val[at++] = sign * lp.val[q];
  }
  p.ptr[k + 1] = at;
}

void preparation::put_rows() {
  int32_t k = p.hs.a.numcol - p.numslack;
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t r = newrow[i];
    if (r < 0) continue;
    p.row2con[r] = i;
    if (lp.bkc[i] == bk_fx) {
      p.b[r] = static_cast<double>(lp.blc[i] - rhs[i]);
      continue;
    }
    put_bounds(p, k, lp.bkc[i], lp.blc[i], lp.buc[i]); // of the activity
    p.b[r] = static_cast<double>(p.base[k] - rhs[i]);
    p.base[k] = 0;
    p.slackrow[k - (p.hs.a.numcol - p.numslack)] = r;
    p.c[k] = 0;
    p.sub[p.ptr[k]] = r;
    p.val[p.ptr[k]] = p.down[k] ? 1 : -1;
    p.ptr[k + 1] = p.ptr[k] + 1;
    k++;
  }
}

// x'Qx/2 with x = base + sign x' is base'Q base/2 + (sign Q base)'x' + x'(sign Q sign)x'/2.
void preparation::put_quadratic(long double& cfix) {
  if (!lp.q.any()) return;
  buffer<int32_t> place(sys, lp.numvar, -1);
  buffer<double> base(sys, lp.numvar);
  for (int32_t j = 0; j < lp.numvar; j++) base[j] = lp.bkx[j] == bk_fx ? lp.blx[j] : 0.0;
  const int32_t structurals = p.hs.a.numcol - p.numslack;
  for (int32_t k = 0; k < structurals; k++) {
    place[p.col2var[k]] = k;
    base[p.col2var[k]] = p.base[k];
  }
  buffer<long double> qx(sys, lp.numvar);
  TVN_sym_multiply(lp.q, base.data(), qx.data());
  for (int32_t j = 0; j < lp.numvar; j++) {
    cfix += qx[j] * base[j] / 2;
    if (const int32_t k = place[j]; k >= 0) p.c[k] = static_cast<double>(p.c[k] + (p.down[k] ? -qx[j] : qx[j]));
  }
  const int64_t most = lp.q.beg[lp.numvar];
  buffer<int32_t> subi(sys, most), subj(sys, most);
  buffer<double> val(sys, most);
  int64_t num = 0;
  for (int32_t j = 0; j < lp.numvar; j++)
    for (int64_t q = lp.q.beg[j]; q < lp.q.beg[j + 1]; q++) {
      const int32_t a = place[lp.q.sub[q]], b = place[j];
      if (a < 0 || b < 0 || lp.q.val[q] == 0) continue;
      subi[num] = a;
      subj[num] = b;
      val[num++] = p.down[a] != p.down[b] ? -lp.q.val[q] : lp.q.val[q];
    }
  TVN_sym_fromtriplets(sys, p.hs.a.numcol, num, subi.data(), subj.data(), val.data(), 1, p.q);
  p.hs.q = p.q.view();
}

} // namespace

void TVN_opt_prepare(sysenv& sys, const problem_view& lp, prepared_problem& p) {
  preparation prep(sys, lp, p);
  prep.number();
  long double cfix = lp.cfix;
  int32_t k = 0;
  p.ptr[0] = 0;
  for (int32_t j = 0; j < lp.numvar; j++) {
    double base = lp.blx[j];
    if (lp.bkx[j] != bk_fx) {
      prep.put_column(k, j);
      base = p.base[k++];
    }
    if (base == 0) continue;
    cfix += static_cast<long double>(TVN_prslv_foldedcost(lp, j)) * base;
    for (int64_t q = lp.ptrb[j]; q < lp.ptre[j]; q++) prep.rhs[lp.sub[q]] += static_cast<long double>(lp.val[q]) * base;
  }
  prep.put_rows();
  prep.put_quadratic(cfix);
  p.hs.a.beg = p.ptr.data();
  p.hs.a.end = p.ptr.data() + 1;
  p.hs.a.sub = p.sub.data();
  p.hs.a.val = p.val.data();
  p.hs.c = p.c.data();
  p.hs.b = p.b.data();
  p.hs.bk = p.bk.data();
  p.hs.up = p.up.data();
  p.hs.cfix = static_cast<double>(cfix);
}

namespace {

int32_t turned(int32_t key, bool down) {
  return !down           ? key
         : key == sk_low ? static_cast<int32_t>(sk_upr)
         : key == sk_upr ? static_cast<int32_t>(sk_low)
                         : key;
}

} // namespace

void TVN_opt_reverse(sysenv& sys, const problem_view& lp, const prepared_problem& p, const hs_point& point,
                     int32_t solsta, solution_view& sol) {
  const bool certificate = is_certificate(solsta);
  for (int32_t j = 0; j < lp.numvar; j++) {
    sol.xx[j] = lp.bkx[j] == bk_fx && !certificate ? lp.blx[j] : 0;
    sol.skx[j] = lp.bkx[j] == bk_fx ? sk_fix : sk_unk;
    sol.slx[j] = sol.sux[j] = 0;
  }
  for (int32_t i = 0; i < lp.numcon; i++) {
    sol.y[i] = lp.cslack && !certificate ? 0.0 - lp.cslack[i] : 0.0;
    sol.skc[i] = lp.bkc[i] == bk_fx ? sk_fix : sk_bas;
  }
  for (int32_t r = 0; r < p.hs.a.numrow; r++) sol.y[p.row2con[r]] += point.y[r];
  const int32_t structurals = p.hs.a.numcol - p.numslack;
  for (int32_t k = 0; k < structurals; k++) {
    const int32_t j = p.col2var[k];
    const double base = certificate ? 0.0 : p.base[k];
    sol.xx[j] = p.down[k] ? base - point.x[k] : base + point.x[k];
    sol.skx[j] = turned(point.skx[k], p.down[k] != 0);
  }
  for (int32_t k = 0; k < p.numslack; k++)
    sol.skc[p.row2con[p.slackrow[k]]] = turned(point.skx[structurals + k], p.down[structurals + k] != 0);
  for (int32_t i = 0; i < lp.numcon; i++) {
    const double d = sol.y[i] + (lp.cslack && !certificate ? lp.cslack[i] : 0.0);
    sol.slc[i] = std::max(d, 0.0);
    sol.suc[i] = std::max(-d, 0.0);
  }
  TVN_prslv_refresh(sys, lp, solsta, sol, false);
}

} // namespace tvn
