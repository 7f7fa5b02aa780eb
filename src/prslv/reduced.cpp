// Copies around presolve. See reduced.h.
#include "prslv/reduced.h"

#include "verify/verify.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// Cuts consecutive pieces out of one buffer.
template <class T> struct cutter {
  T* at;
  T* take(int64_t n) {
    T* p = at;
    at += n;
    return p;
  }
};

void number_live(sysenv& sys, const prslv_context& ctx, const prslv_problem& p, reduced_problem& r,
                 buffer<int32_t>& newrow) {
  newrow.reset(sys, p.numcon, -1);
  r.con2user.reset(sys, p.numcon);
  r.var2user.reset(sys, p.numvar);
  for (int32_t i = 0; i < p.numcon; i++)
    if (TVN_prslv_conislive(ctx, i)) {
      r.con2user[r.lp.numcon] = i;
      newrow[i] = r.lp.numcon++;
    }
  for (int32_t j = 0; j < p.numvar; j++)
    if (TVN_prslv_varislive(ctx, j)) r.var2user[r.lp.numvar++] = j;
}

void copy_matrix(sysenv& sys, const prslv_context& ctx, const prslv_problem& p, const buffer<int32_t>& newrow,
                 int64_t nz, reduced_problem& r) {
  buffer<int32_t> sub(sys, p.numcon + 1);
  buffer<double> val(sys, p.numcon + 1);
  r.ptr.reset(sys, r.lp.numvar + 1);
  r.sub.reset(sys, nz);
  r.val.reset(sys, nz);
  int64_t at = 0;
  for (int32_t k = 0; k < r.lp.numvar; k++) {
    r.ptr[k] = at;
    const int32_t num = TVN_prslv_getasimple(ctx, false, r.var2user[k], sub.data(), val.data());
    for (int32_t q = 0; q < num; q++) {
      r.sub[at] = newrow[sub[q]];
      r.val[at++] = val[q];
    }
  }
  r.ptr[r.lp.numvar] = at;
}

void copy_quadratic(sysenv& sys, const prslv_context& ctx, const sym_view& q, reduced_problem& r) {
  if (!q.any()) return;
  buffer<int32_t> newcol(sys, q.n, -1);
  for (int32_t k = 0; k < r.lp.numvar; k++) newcol[r.var2user[k]] = k;
  r.q.make(sys, r.lp.numvar, q.beg[q.n]);
  int64_t at = 0;
  for (int32_t k = 0; k < r.lp.numvar; k++) {
    const int32_t j = r.var2user[k];
    for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++) {
      if (!TVN_prslv_varislive(ctx, q.sub[p])) continue;
      r.q.sub[at] = newcol[q.sub[p]];
      r.q.val[at++] = q.val[p];
    }
    r.q.beg[k + 1] = at;
  }
  r.lp.q = r.q.view();
}

void copy_cones(sysenv& sys, const prslv_context& ctx, reduced_problem& r) {
  const cone_view from = TVN_prslv_getcones(ctx);
  int32_t num = 0, nummembers = 0;
  for (int32_t k = 0; k < from.num; k++) num += from.size(k) > 0, nummembers += from.size(k);
  if (num == 0) return;
  buffer<int32_t> newcol(sys, TVN_prslv_getproblem(ctx).numvar, -1);
  for (int32_t k = 0; k < r.lp.numvar; k++) newcol[r.var2user[k]] = k;
  r.cones.reset(sys, 2 * int64_t{num} + 1 + nummembers);
  cutter<int32_t> cut{r.cones.data()};
  int32_t *type = cut.take(num), *ptr = cut.take(num + 1), *sub = cut.take(nummembers), at = 0;
  *ptr = 0;
  r.lp.cone = {num, type, ptr, ptr + 1, sub};
  for (int32_t k = 0; k < from.num; k++) {
    if (from.size(k) == 0) continue;
    for (int32_t q = 0; q < from.size(k); q++) sub[at++] = newcol[from.members(k)[q]];
    *type++ = from.type[k];
    *++ptr = at;
  }
}

} // namespace

void TVN_prslv_copyreduced(sysenv& sys, const prslv_context& ctx, reduced_problem& r) {
  const prslv_problem& p = TVN_prslv_getproblem(ctx);
  buffer<int32_t> newrow;
  number_live(sys, ctx, p, r, newrow);
  copy_matrix(sys, ctx, p, newrow, TVN_prslv_getnz(ctx), r);
  copy_quadratic(sys, ctx, p.q, r);
  copy_cones(sys, ctx, r);
  const int64_t m = r.lp.numcon, n = r.lp.numvar;
  r.keys.reset(sys, 2 * (m + n));
  r.reals.reset(sys, 7 * m + 7 * n);
  cutter<int32_t> keys{r.keys.data()};
  cutter<double> reals{r.reals.data()};
  int32_t *bkc = keys.take(m), *bkx = keys.take(n);
  double *blc = reals.take(m), *buc = reals.take(m), *cc = reals.take(m), *blx = reals.take(n), *bux = reals.take(n),
         *c = reals.take(n);
  for (int64_t i = 0; i < m; i++) {
    const int32_t u = r.con2user[i];
    bkc[i] = p.bkc[u];
    blc[i] = has_lower(bkc[i]) ? p.blc[u] : -bound_infinity;
    buc[i] = has_upper(bkc[i]) ? p.buc[u] : bound_infinity;
    cc[i] = p.cc[u];
  }
  for (int64_t j = 0; j < n; j++) {
    const int32_t u = r.var2user[j];
    bkx[j] = p.bkx[u];
    blx[j] = has_lower(bkx[j]) ? p.blx[u] : -bound_infinity;
    bux[j] = has_upper(bkx[j]) ? p.bux[u] : bound_infinity;
    c[j] = p.c[u];
  }
  r.lp.cfix = p.cfix;
  r.lp.cslack = cc;
  r.lp.c = c;
  r.lp.ptrb = r.ptr.data();
  r.lp.ptre = r.ptr.data() + 1;
  r.lp.sub = r.sub.data();
  r.lp.val = r.val.data();
  r.lp.bkc = bkc;
  r.lp.bkx = bkx;
  r.lp.blc = blc;
  r.lp.buc = buc;
  r.lp.blx = blx;
  r.lp.bux = bux;
  r.sol.skc = keys.take(m);
  r.sol.skx = keys.take(n);
  for (double** v : {&r.sol.xc, &r.sol.y, &r.sol.slc, &r.sol.suc}) *v = reals.take(m);
  for (double** v : {&r.sol.xx, &r.sol.slx, &r.sol.sux, &r.sol.snx}) *v = reals.take(n);
}

void TVN_prslv_spreadreduced(const reduced_problem& r, int32_t numcon, int32_t numvar, solution_view& sol) {
  for (double* v : {sol.xc, sol.y, sol.slc, sol.suc}) std::fill_n(v, numcon, 0.0);
  for (double* v : {sol.xx, sol.slx, sol.sux}) std::fill_n(v, numvar, 0.0);
  if (sol.snx) std::fill_n(sol.snx, numvar, 0.0);
  std::fill_n(sol.skc, numcon, static_cast<int32_t>(sk_unk));
  std::fill_n(sol.skx, numvar, static_cast<int32_t>(sk_unk));
  for (int32_t i = 0; i < r.lp.numcon; i++) {
    const int32_t u = r.con2user[i];
    sol.skc[u] = r.sol.skc[i];
    sol.xc[u] = r.sol.xc[i];
    sol.y[u] = r.sol.y[i];
    sol.slc[u] = r.sol.slc[i];
    sol.suc[u] = r.sol.suc[i];
  }
  for (int32_t j = 0; j < r.lp.numvar; j++) {
    const int32_t u = r.var2user[j];
    sol.skx[u] = r.sol.skx[j];
    sol.xx[u] = r.sol.xx[j];
    sol.slx[u] = r.sol.slx[j];
    sol.sux[u] = r.sol.sux[j];
    if (r.lp.cone.any()) sol.snx[u] = r.sol.snx[j];
  }
}

void TVN_prslv_gatherkeys(const solution_view& sol, reduced_problem& r) {
  for (int32_t i = 0; i < r.lp.numcon; i++) {
    const int32_t key = sol.skc[r.con2user[i]];
    r.sol.skc[i] = key == sk_supbas ? static_cast<int32_t>(sk_unk) : key; // its activity may be another one now
  }
  for (int32_t j = 0; j < r.lp.numvar; j++) {
    r.sol.skx[j] = sol.skx[r.var2user[j]];
    r.sol.xx[j] = sol.xx[r.var2user[j]];
  }
}

void TVN_prslv_copyeditable(sysenv& sys, const problem_view& lp, editable_problem& e) {
  const int64_t m = lp.numcon, n = lp.numvar;
  e.keys.reset(sys, m + n);
  e.reals.reset(sys, 3 * (m + n));
  cutter<int32_t> keys{e.keys.data()};
  cutter<double> reals{e.reals.data()};
  auto copy = [](auto* to, const auto* from, int64_t num) {
    std::copy_n(from, num, to);
    return to;
  };
  prslv_problem& p = e.p;
  p.numcon = lp.numcon;
  p.numvar = lp.numvar;
  p.ptrb = lp.ptrb;
  p.ptre = lp.ptre;
  p.sub = lp.sub;
  p.val = lp.val;
  p.bkc = copy(keys.take(m), lp.bkc, m);
  p.bkx = copy(keys.take(n), lp.bkx, n);
  p.blc = copy(reals.take(m), lp.blc, m);
  p.buc = copy(reals.take(m), lp.buc, m);
  p.blx = copy(reals.take(n), lp.blx, n);
  p.bux = copy(reals.take(n), lp.bux, n);
  p.c = copy(reals.take(n), lp.c, n);
  p.cc = reals.take(m);
  if (lp.cslack)
    std::copy_n(lp.cslack, m, p.cc);
  else
    std::fill_n(p.cc, m, 0.0);
  p.cfix = lp.cfix;
  p.q = lp.q;
  p.cone = lp.cone;
}

namespace {

constexpr double farout = 1e9;

// Key without the far sides that the start does not rest on.
int32_t without_far(int32_t bk, double bl, double bu, int32_t key) {
  if (bk == bk_fx) return bk;
  const bool lower = has_lower(bk) && (bl >= -farout || key == sk_low),
             upper = has_upper(bk) && (bu <= farout || key == sk_upr);
  if (lower == has_lower(bk) && upper == has_upper(bk)) return bk;
  return lower ? bk_lo : upper ? bk_up : bk_fr;
}

int32_t without_width(int32_t bk, double bl, double bu) {
  return bk == bk_ra && bl == bu ? static_cast<int32_t>(bk_fx) : bk;
}

} // namespace

near_problem::near_problem(sysenv& sys, const problem_view& p, const solution_view* keys)
    : rekeyed_problem(
          sys, p, [&](int32_t i) { return without_far(p.bkc[i], p.blc[i], p.buc[i], keys ? keys->skc[i] : sk_unk); },
          [&](int32_t j) { return without_far(p.bkx[j], p.blx[j], p.bux[j], keys ? keys->skx[j] : sk_unk); }) {}

plain_problem::plain_problem(sysenv& sys, const problem_view& p)
    : rekeyed_problem(
          sys, p, [&](int32_t i) { return without_width(p.bkc[i], p.blc[i], p.buc[i]); },
          [&](int32_t j) { return without_width(p.bkx[j], p.blx[j], p.bux[j]); }) {}

double TVN_prslv_foldedcost(const problem_view& lp, int32_t j) {
  long double c = lp.c[j];
  if (lp.cslack)
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) c += static_cast<long double>(lp.cslack[lp.sub[p]]) * lp.val[p];
  return static_cast<double>(c);
}

bool TVN_prslv_isfinite(const problem_view& lp, const solution_view& sol) {
  const auto all = [](const double* v, int32_t n) {
    return std::all_of(v, v + n, [](double x) { return std::isfinite(x); });
  };
  for (const double* v : {sol.xc, sol.y, sol.slc, sol.suc})
    if (!all(v, lp.numcon)) return false;
  return all(sol.xx, lp.numvar) && all(sol.slx, lp.numvar) && all(sol.sux, lp.numvar) &&
         (!lp.cone.any() || all(sol.snx, lp.numvar));
}

void TVN_prslv_clearduals(const problem_view& lp, solution_view& sol) {
  for (double* v : {sol.y, sol.slc, sol.suc}) std::fill_n(v, lp.numcon, 0.0);
  for (double* v : {sol.slx, sol.sux}) std::fill_n(v, lp.numvar, 0.0);
  if (sol.snx) std::fill_n(sol.snx, lp.numvar, 0.0);
}

void TVN_prslv_clearsolution(const problem_view& lp, solution_view& sol) {
  std::fill_n(sol.skc, lp.numcon, static_cast<int32_t>(sk_bas));
  std::fill_n(sol.xc, lp.numcon, 0.0);
  for (int32_t j = 0; j < lp.numvar; j++)
    sol.skx[j] = has_lower(lp.bkx[j]) ? sk_low : has_upper(lp.bkx[j]) ? sk_upr : sk_supbas;
  std::fill_n(sol.xx, lp.numvar, 0.0);
  TVN_prslv_clearduals(lp, sol);
}

namespace {

// Takes the dual of its cone from a column's reduced cost; what is left and has no bound to hold it goes there too.
double without_cone(const problem_view& lp, int32_t j, double d, double& snx) {
  const double rest = d - snx;
  if (rest > 0 ? has_lower(lp.bkx[j]) : has_upper(lp.bkx[j])) return rest;
  snx = d;
  return 0;
}

} // namespace

void TVN_prslv_refresh(sysenv& sys, const problem_view& lp, int32_t solsta, solution_view& sol, bool basic) {
  const bool certificate = is_certificate(solsta);
  const bool keyed = basic && !certificate;
  TVN_verify_rows(sys, lp, sol.xx, sol.xc);
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t key = keyed ? sol.skc[i] : static_cast<int32_t>(sk_unk);
    if (key == sk_low || key == sk_fix) sol.xc[i] = lp.blc[i];
    if (key == sk_upr) sol.xc[i] = lp.buc[i];
  }
  if (solsta == sol_dual_infeas_cer || solsta == sol_near_dual_infeas_cer) return TVN_prslv_clearduals(lp, sol);
  buffer<long double> gradient;
  if ((lp.q.any() && !certificate) || lp.qrow.any())
    TVN_verify_gradient(sys, lp, sol.xx, sol.y, !certificate, gradient);
  buffer<char> member(sys, lp.cone.any() ? lp.numvar : 0, char{0});
  for (int32_t k = 0; k < lp.cone.num; k++)
    for (int32_t q = 0; q < lp.cone.size(k); q++) member[lp.cone.members(k)[q]] = 1;
  for (int32_t j = 0; j < lp.numvar; j++) {
    const long double cost = !gradient.empty() ? gradient[j] : certificate ? 0.0L : lp.c[j];
    double d = TVN_verify_reducedcost(lp, j, cost, sol.y);
    if (!member.empty() && member[j]) d = without_cone(lp, j, d, sol.snx[j]);
    if (certificate && sol.slx[j] > 0 && sol.sux[j] > 0) continue; // crossing bounds
    const int32_t key = keyed ? sol.skx[j] : static_cast<int32_t>(sk_unk);
    const bool between = key == sk_bas || key == sk_supbas;
    sol.slx[j] = key == sk_low ? d : key == sk_upr || between ? 0 : std::max(d, 0.0);
    sol.sux[j] = key == sk_upr ? -d : key == sk_low || between ? 0 : std::max(-d, 0.0);
  }
}

} // namespace tvn
