// See qcone.h.
#include "qcoptdir/qcone.h"

#include "prslv/reduced.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// One quadratic term on the columns that it has.
struct local_terms {
  vec<int32_t> cols, subi, subj;
  vec<double> val;
  buffer<int32_t> place; // by column of the problem, -1: not in cols

  local_terms(sysenv& sys, int32_t n) : cols(sys), subi(sys), subj(sys), val(sys), place(sys, n, -1) {}

  int32_t local(int32_t j) {
    if (place[j] < 0) {
      place[j] = static_cast<int32_t>(cols.size());
      cols.push_back(j);
    }
    return place[j];
  }
  void add(int32_t i, int32_t j, double v) {
    if (v == 0) return;
    subi.push_back(local(i));
    subj.push_back(local(j));
    val.push_back(v);
  }
  void clear() {
    for (const int32_t j : cols) place[j] = -1;
    cols.clear(), subi.clear(), subj.clear(), val.clear();
  }
};

struct reformer {
  sysenv& sys;
  const problem_view& from;
  bool check;
  const sfk_progress& progress;
  qcone_form& f;
  local_terms terms;

  // A row of x, times what is in `terms`.
  qroot_code append_con(int32_t row, int32_t sign) {
    const int32_t first = f.roots.num;
    const int64_t firstentry = f.roots.sub.size();
    qroot_code code = qroot_code::ok;
    if (terms.val.size() > 0) {
      sym_matrix q;
      TVN_sym_fromtriplets(sys, static_cast<int32_t>(terms.cols.size()), terms.val.size(), terms.subi.data(),
                           terms.subj.data(), terms.val.data(), sign, q);
      code = TVN_qroot_make(sys, q.view(), check, progress, f.roots);
    }
    if (code != qroot_code::ok) f.badrow = row;
    for (int64_t e = firstentry; e < f.roots.sub.size(); e++) f.roots.sub[e] = terms.cols[f.roots.sub[e]];
    if (f.roots.num > first) f.parts.push_back({row, sign, first, f.roots.num - first, 0});
    terms.clear();
    return code;
  }

  qroot_code factor_all() {
    for (int32_t j = 0; from.q.any() && j < from.numvar; j++)
      for (int64_t p = from.q.beg[j]; p < from.q.beg[j + 1]; p++) terms.add(from.q.sub[p], j, from.q.val[p]);
    qroot_code code = append_con(-1, 1);
    const qrow_view& q = from.qrow;
    for (int32_t i = 0; q.any() && code == qroot_code::ok && i < from.numcon; i++) {
      const int32_t bk = from.bkc[i];
      if (!q.has(i) || bk == bk_fr) continue;
      for (int64_t p = q.beg[i]; p < q.end[i]; p++) terms.add(q.subi[p], q.subj[p], q.val[p]);
      code = append_con(i, has_upper(bk) ? 1 : -1);
    }
    return code;
  }

  void copy_vectors() {
    int32_t n = from.numvar;
    for (qcone_part& p : f.parts) {
      p.var = n;
      n += 2 + p.num;
    }
    const int32_t m = from.numcon + f.roots.num;
    f.lp.numcon = m;
    f.lp.numvar = n;
    f.lp.cfix = from.cfix;
    const auto longer = [&](auto& to, const auto* v, int32_t num, int32_t all, auto rest) {
      to.reset(sys, all, rest);
      if (v) std::copy_n(v, num, to.data());
      return to.data();
    };
    double* const c = longer(f.c, from.c, from.numvar, n, 0.0);
    int32_t* const bkx = longer(f.bkx, from.bkx, from.numvar, n, int32_t{bk_fr});
    double *const blx = longer(f.blx, from.blx, from.numvar, n, -bound_infinity), *const bux = longer(f.bux, from.bux,
                                                                                                      from.numvar, n,
                                                                                                      bound_infinity);
    for (const qcone_part& p : f.parts) {
      if (p.row < 0) c[p.var] = 1;
      bkx[p.var + 1] = bk_fx;
      blx[p.var + 1] = bux[p.var + 1] = 1;
    }
    f.lp.c = c, f.lp.bkx = bkx, f.lp.blx = blx, f.lp.bux = bux;
    if (from.cslack) f.lp.cslack = longer(f.cslack, from.cslack, from.numcon, m, 0.0);
    f.lp.bkc = longer(f.bkc, from.bkc, from.numcon, m, int32_t{bk_fx});
    f.lp.blc = longer(f.blc, from.blc, from.numcon, m, 0.0);
    f.lp.buc = longer(f.buc, from.buc, from.numcon, m, 0.0);
    f.room.make(sys, m, n);
  }

  void put_columns() {
    const int32_t n = f.lp.numvar;
    f.ptr.reset(sys, int64_t{n} + 1, 0);
    for (int32_t j = 0; j < from.numvar; j++) f.ptr[j + 1] = from.ptre[j] - from.ptrb[j];
    for (const int32_t j : f.roots.sub) f.ptr[j + 1]++;
    for (const qcone_part& p : f.parts) {
      f.ptr[p.var + 1] = p.row >= 0;
      std::fill_n(f.ptr.data() + p.var + 3, p.num, 1);
    }
    for (int32_t j = 0; j < n; j++) f.ptr[j + 1] += f.ptr[j];
    f.sub.reset(sys, f.ptr[n]);
    f.val.reset(sys, f.ptr[n]);
    buffer<int64_t> at(sys, n);
    std::copy_n(f.ptr.data(), n, at.data());
    const auto put = [&](int32_t i, int32_t j, double v) {
      f.sub[at[j]] = i;
      f.val[at[j]++] = v;
    };
    for (int32_t j = 0; j < from.numvar; j++)
      for (int64_t p = from.ptrb[j]; p < from.ptre[j]; p++) put(from.sub[p], j, from.val[p]);
    for (const qcone_part& p : f.parts) {
      if (p.row >= 0) put(p.row, p.var, p.sign);
      for (int32_t k = 0; k < p.num; k++) {
        const int32_t r = p.root + k, i = from.numcon + r;
        for (int64_t e = f.roots.beg[r]; e < f.roots.beg[r + 1]; e++) put(i, f.roots.sub[e], f.roots.val[e]);
        put(i, p.var + 2 + k, -1);
      }
    }
    f.lp.ptrb = f.ptr.data(), f.lp.ptre = f.ptr.data() + 1, f.lp.sub = f.sub.data(), f.lp.val = f.val.data();
  }

  void put_cones() {
    const cone_view& own = from.cone;
    const auto num = static_cast<int32_t>(own.num + f.parts.size());
    int64_t members = f.lp.numvar - from.numvar;
    for (int32_t k = 0; k < own.num; k++) members += own.size(k);
    f.cones.reset(sys, 2 * int64_t{num} + 1 + members);
    int32_t *type = f.cones.data(), *end = type + num + 1, *sub = end + num, at = 0;
    f.lp.cone = {num, type, end - 1, end, sub};
    end[-1] = 0;
    for (int32_t k = 0; k < own.num; k++) {
      std::copy_n(own.members(k), own.size(k), sub + at);
      at += own.size(k);
      *type++ = own.type[k], *end++ = at;
    }
    for (const qcone_part& p : f.parts) {
      for (int32_t q = 0; q < p.num + 2; q++) sub[at++] = p.var + q;
      *type++ = ct_rquad, *end++ = at;
    }
  }
};

} // namespace

qroot_code TVN_reformqcqo(sysenv& sys, const problem_view& lp, bool check, const sfk_progress& progress,
                          qcone_form& form) {
  reformer r{sys, lp, check, progress, form, {sys, lp.numvar}};
  const qroot_code code = r.factor_all();
  if (code != qroot_code::ok) return code;
  r.copy_vectors();
  r.put_columns();
  r.put_cones();
  return code;
}

namespace {

// sum over parts of weight (L'x)'(L'x) / 2 + g'L'x, least in x: the point of a proof. Conjugate gradients from 0
// (Hestenes and Stiefel 1952), which stay in the span of the L.
struct least_point {
  const problem_view& lp;
  const qcone_form& f;
  buffer<double> r, d, hd, lt;

  least_point(sysenv& sys, const problem_view& p, const qcone_form& form)
      : lp(p), f(form), r(sys, p.numvar, 0.0), d(sys, p.numvar), hd(sys, p.numvar), lt(sys, form.roots.num) {}

  double dot(const buffer<double>& a, const buffer<double>& b) const {
    long double sum = 0;
    for (int32_t j = 0; j < lp.numvar; j++) sum += static_cast<long double>(a[j]) * b[j];
    return static_cast<double>(sum);
  }
  template <class W> void add_back(W weight, buffer<double>& to) const {
    for (const qcone_part& p : f.parts)
      for (int32_t k = 0; k < p.num; k++) {
        const double v = weight(p, k);
        for (int64_t e = f.roots.beg[p.root + k]; e < f.roots.beg[p.root + k + 1]; e++)
          to[f.roots.sub[e]] += v * f.roots.val[e];
      }
  }
  void multiply() { // hd = H d
    for (int32_t k = 0; k < f.roots.num; k++) {
      double sum = 0;
      for (int64_t e = f.roots.beg[k]; e < f.roots.beg[k + 1]; e++) sum += f.roots.val[e] * d[f.roots.sub[e]];
      lt[k] = sum;
    }
    std::fill(hd.begin(), hd.end(), 0.0);
    const double* const snx = f.room.sol.snx;
    add_back([&](const qcone_part& p, int32_t k) { return snx[p.var] * lt[p.root + k]; }, hd);
  }
  void find(run_watch& watch, double* x) {
    constexpr double small = 1e-24; // of the squared residual
    const double* const snx = f.room.sol.snx;
    std::fill_n(x, lp.numvar, 0.0);
    add_back([&](const qcone_part& p, int32_t k) { return -snx[p.var + 2 + k]; }, r);
    std::copy(r.begin(), r.end(), d.begin());
    double rr = dot(r, r);
    const double limit = small * rr;
    for (int64_t step = 0; step < 2 * int64_t{f.roots.num} + 20 && rr > limit && !watch.stopped(); step++) {
      multiply();
      const double curve = dot(d, hd);
      if (!(curve > 0)) return;
      for (int32_t j = 0; j < lp.numvar; j++) {
        x[j] += rr / curve * d[j];
        r[j] -= rr / curve * hd[j];
      }
      const double next = dot(r, r);
      for (int32_t j = 0; j < lp.numvar; j++) d[j] = r[j] + next / rr * d[j];
      rr = next;
    }
  }
};

} // namespace

void TVN_setqcqosol(sysenv& sys, const problem_view& lp, const qcone_form& form, int32_t solsta, run_watch& watch,
                    solution_view& sol) {
  copy_solution(lp.numcon, lp.numvar, form.room.sol, sol);
  if (sol.snx && !lp.cone.any()) std::fill_n(sol.snx, lp.numvar, 0.0);
  if (solsta == sol_prim_infeas_cer || solsta == sol_near_prim_infeas_cer)
    least_point(sys, lp, form).find(watch, sol.xx);
  TVN_prslv_refresh(sys, lp, solsta, sol, false);
}

} // namespace tvn
