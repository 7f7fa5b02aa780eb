// See dualize.h.
#include "dualize/dualize.h"

#include "prslv/reduced.h"

#include <algorithm>
#include <limits>

namespace tvn {

namespace {

double cslack(const problem_view& lp, int32_t i) { return lp.cslack ? lp.cslack[i] : 0.0; }

bool is_ranged(int32_t bk) { return has_lower(bk) && has_upper(bk) && bk != bk_fx; }

// Columns with a single entry that forbid a sign to the dual of their row, -1: none.
struct row_sign {
  int32_t nopos = -1, noneg = -1;
};

void narrow(const problem_view& lp, int32_t j, row_sign& sign) {
  const int64_t p = lp.ptrb[j];
  const double a = lp.val[p], c = lp.c[j] + cslack(lp, lp.sub[p]) * a; // a y <= c, >= c or = c
  const int32_t bk = lp.bkx[j];
  if (a == 0 || bk == bk_fx || bk == bk_ra) return;
  if ((bk == bk_lo || bk == bk_fr) && c <= 0) (a > 0 ? sign.nopos : sign.noneg) = j;
  if ((bk == bk_up || bk == bk_fr) && c >= 0) (a > 0 ? sign.noneg : sign.nopos) = j;
}

void lay_out(sysenv& sys, const problem_view& lp, dual_layout& at) {
  buffer<row_sign> sign(sys, lp.numcon, row_sign{});
  buffer<int64_t> length(sys, lp.numcon, int64_t{0});
  at.lowcol.reset(sys, lp.numcon, -1);
  at.uppcol.reset(sys, lp.numcon, -1);
  at.mover.reset(sys, lp.numcon, -1);
  at.nummovers = 0;
  at.row.reset(sys, lp.numvar, -1);
  at.suxcol.reset(sys, lp.numvar, -1);
  dual_size& size = at.size = {};
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (lp.ptre[j] - lp.ptrb[j] == 1) narrow(lp, j, sign[lp.sub[lp.ptrb[j]]]);
    if (lp.bkx[j] == bk_fx) continue;
    at.row[j] = size.numcon++;
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) length[lp.sub[p]]++;
  }
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t bk = lp.bkc[i];
    const bool two = is_ranged(bk), one = two && (sign[i].nopos < 0) != (sign[i].noneg < 0);
    if (bk != bk_fr && !(one && sign[i].nopos >= 0)) at.lowcol[i] = size.numvar++;
    if (two && !(one && sign[i].noneg >= 0)) at.uppcol[i] = size.numvar++;
    if (one) at.mover[i] = std::max(sign[i].nopos, sign[i].noneg), at.nummovers++;
    size.numanz += length[i] * ((at.lowcol[i] >= 0) + (at.uppcol[i] >= 0));
  }
  for (int32_t j = 0; j < lp.numvar; j++)
    if (is_ranged(lp.bkx[j])) at.suxcol[j] = size.numvar++, size.numanz++;
}

struct dual_data {
  int32_t *bkc, *bkx;
  double *blc, *buc, *cslack, *blx, *bux, *c;
};

dual_data allocate(sysenv& sys, dualizer& d) {
  const int64_t m = d.at.size.numcon, n = d.at.size.numvar;
  d.ptr.reset(sys, n + 1, int64_t{0});
  d.sub.reset(sys, d.at.size.numanz);
  d.val.reset(sys, d.at.size.numanz);
  d.keys.reset(sys, 2 * (m + n), static_cast<int32_t>(sk_unk));
  d.reals.reset(sys, 7 * m + 6 * n, 0.0);
  int32_t* key = d.keys.data();
  double* real = d.reals.data();
  const auto keys = [&](int64_t num) { return (key += num) - num; };
  const auto reals = [&](int64_t num) { return (real += num) - num; };
  dual_data v{keys(m), keys(n), reals(m), reals(m), reals(m), reals(n), reals(n), reals(n)};
  d.sol.skc = keys(m);
  d.sol.skx = keys(n);
  for (double** to : {&d.sol.xc, &d.sol.y, &d.sol.slc, &d.sol.suc}) *to = reals(m);
  for (double** to : {&d.sol.xx, &d.sol.slx, &d.sol.sux}) *to = reals(n);
  problem_view& w = d.dual;
  w = {};
  w.numcon = d.at.size.numcon;
  w.numvar = d.at.size.numvar;
  w.cslack = v.cslack;
  w.c = v.c;
  w.ptrb = d.ptr.data();
  w.ptre = d.ptr.data() + 1;
  w.sub = d.sub.data();
  w.val = d.val.data();
  w.bkc = v.bkc;
  w.bkx = v.bkx;
  w.blc = v.blc;
  w.buc = v.buc;
  w.blx = v.blx;
  w.bux = v.bux;
  return v;
}

void put_bound(int32_t* bk, double* bl, double* bu, int32_t k, int32_t key, double value) {
  bk[k] = key;
  bl[k] = key == bk_lo || key == bk_fx ? value : -bound_infinity;
  bu[k] = key == bk_up || key == bk_fx ? value : bound_infinity;
}

// Columns from the rows of the primal: bounds and costs.
void put_columns(const problem_view& lp, const dual_layout& at, const dual_data& v) {
  const auto put = [&](int32_t k, int32_t key, double cost) {
    put_bound(v.bkx, v.blx, v.bux, k, key, 0.0);
    v.c[k] = cost;
  };
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t bk = lp.bkc[i];
    if (at.uppcol[i] >= 0) put(at.uppcol[i], bk_lo, lp.buc[i]);
    if (at.lowcol[i] < 0) continue;
    if (bk == bk_up)
      put(at.lowcol[i], bk_up, 0.0 - lp.buc[i]);
    else
      put(at.lowcol[i], bk == bk_fx ? bk_fr : bk_lo, 0.0 - lp.blc[i]);
  }
  for (int32_t j = 0; j < lp.numvar; j++)
    if (at.suxcol[j] >= 0) put(at.suxcol[j], bk_lo, lp.bux[j]);
}

// Rows from the columns of the primal; what fixed ones cost.
double put_rows(const problem_view& lp, const dual_layout& at, const dual_data& v) {
  long double cfix = -static_cast<long double>(lp.cfix);
  for (int32_t j = 0; j < lp.numvar; j++) {
    const int32_t bk = lp.bkx[j], r = at.row[j];
    const double c = TVN_prslv_foldedcost(lp, j), rest = has_lower(bk) ? lp.blx[j] : has_upper(bk) ? lp.bux[j] : 0.0;
    cfix -= static_cast<long double>(rest) * c;
    if (r >= 0) {
      put_bound(v.bkc, v.blc, v.buc, r, bk == bk_fr ? bk_fx : has_lower(bk) ? bk_up : bk_lo, c);
      v.cslack[r] = rest;
      continue;
    }
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      const int32_t low = at.lowcol[lp.sub[p]], upp = at.uppcol[lp.sub[p]];
      if (low >= 0) v.c[low] += rest * lp.val[p];
      if (upp >= 0) v.c[upp] -= rest * lp.val[p];
    }
  }
  return static_cast<double>(cfix);
}

void put_matrix(const problem_view& lp, dualizer& d) {
  const dual_layout& at = d.at;
  int64_t* const place = d.ptr.data();
  // Lengths into the place behind their column, then where each column is to go on.
  const auto count = [&](int32_t k) {
    if (k >= 0) place[k + 1]++;
  };
  for (int32_t j = 0; j < lp.numvar; j++) {
    count(at.suxcol[j]);
    if (at.row[j] < 0) continue;
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      count(at.lowcol[lp.sub[p]]);
      count(at.uppcol[lp.sub[p]]);
    }
  }
  for (int32_t k = 0; k < at.size.numvar; k++) place[k + 1] += place[k];
  const auto put = [&](int32_t k, int32_t r, double a) {
    if (k < 0) return;
    d.sub[place[k]] = r;
    d.val[place[k]++] = a;
  };
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (at.row[j] < 0) continue;
    put(at.suxcol[j], at.row[j], -1.0);
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      put(at.lowcol[lp.sub[p]], at.row[j], lp.val[p]);
      put(at.uppcol[lp.sub[p]], at.row[j], 0.0 - lp.val[p]);
    }
  }
  for (int32_t k = at.size.numvar; k > 0; k--) place[k] = place[k - 1];
  place[0] = 0;
}

} // namespace

dual_size TVN_dualize_getdualsize(sysenv& sys, const problem_view& lp) {
  dual_layout at;
  lay_out(sys, lp, at);
  return at.size;
}

void TVN_dualize_formdual(sysenv& sys, const problem_view& lp, dualizer& d) {
  lay_out(sys, lp, d.at);
  const dual_data v = allocate(sys, d);
  put_columns(lp, d.at, v);
  d.dual.cfix = put_rows(lp, d.at, v);
  put_matrix(lp, d);
}

namespace {

bool is_basic(const int32_t* keys, int32_t k) { return k >= 0 && keys[k] == sk_bas; }

// Complements: what is basic in the dual rests in the primal.
void put_keys(const problem_view& lp, const dual_layout& at, const solution_view& dual, solution_view& sol) {
  for (int32_t i = 0; i < lp.numcon; i++) {
    const bool low = is_basic(dual.skx, at.lowcol[i]), upp = is_basic(dual.skx, at.uppcol[i]);
    const int32_t side = lp.bkc[i] == bk_fx ? sk_fix : upp || lp.bkc[i] == bk_up ? sk_upr : sk_low;
    sol.skc[i] = low || upp ? side : static_cast<int32_t>(sk_bas);
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    const int32_t bk = lp.bkx[j];
    const bool slack = is_basic(dual.skc, at.row[j]), upp = is_basic(dual.skx, at.suxcol[j]);
    const int32_t side = bk == bk_fr ? sk_supbas : upp || bk == bk_up ? sk_upr : sk_low;
    sol.skx[j] = bk == bk_fx ? sk_fix : slack || upp ? side : static_cast<int32_t>(sk_bas);
  }
}

// Rows of which the dual knew one side only keep the other one by a move of the column that said so, which costs
// nothing or gains.
void keep_sides(sysenv& sys, const problem_view& lp, const dual_layout& at, bool certificate, solution_view& sol) {
  if (at.nummovers == 0) return;
  buffer<long double> act(sys, lp.numcon, 0.0L);
  for (int32_t j = 0; j < lp.numvar; j++)
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) act[lp.sub[p]] += static_cast<long double>(lp.val[p]) * sol.xx[j];
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t j = at.mover[i];
    if (j < 0) continue;
    const bool low = at.lowcol[i] < 0;
    const double bound = certificate ? 0.0 : (low ? lp.blc : lp.buc)[i];
    const auto short_by = static_cast<double>(bound - act[i]);
    if (low ? !(short_by > 0) : !(short_by < 0)) continue;
    sol.xx[j] += short_by / lp.val[lp.ptrb[j]];
    if (sol.skc[i] != sk_bas) continue;
    sol.skc[i] = low ? sk_low : sk_upr;
    sol.skx[j] = sk_bas;
  }
}

} // namespace

void TVN_dualize_getprimal(sysenv& sys, const problem_view& lp, const dualizer& d, int32_t solsta, bool basic,
                           solution_view& sol) {
  const bool certificate = is_certificate(solsta);
  const solution_view& dual = d.sol;
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t low = d.at.lowcol[i], upp = d.at.uppcol[i];
    const double y = (low >= 0 ? dual.xx[low] : 0.0) - (upp >= 0 ? dual.xx[upp] : 0.0);
    sol.y[i] = certificate ? y : y - cslack(lp, i);
    sol.slc[i] = std::max(y, 0.0);
    sol.suc[i] = std::max(0.0 - y, 0.0);
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    const int32_t r = d.at.row[j];
    sol.xx[j] = r >= 0 ? 0.0 - dual.y[r] : certificate ? 0.0 : lp.blx[j];
    sol.slx[j] = sol.sux[j] = 0;
  }
  put_keys(lp, d.at, dual, sol);
  keep_sides(sys, lp, d.at, certificate, sol);
  TVN_prslv_refresh(sys, lp, TVN_dualize_solsta(solsta), sol, basic);
}

int32_t TVN_dualize_solsta(int32_t solsta) noexcept {
  switch (solsta) {
  case sol_prim_feas: return sol_dual_feas;
  case sol_dual_feas: return sol_prim_feas;
  case sol_prim_infeas_cer: return sol_dual_infeas_cer;
  case sol_dual_infeas_cer: return sol_prim_infeas_cer;
  case sol_near_prim_feas: return sol_near_dual_feas;
  case sol_near_dual_feas: return sol_near_prim_feas;
  case sol_near_prim_infeas_cer: return sol_near_dual_infeas_cer;
  case sol_near_dual_infeas_cer: return sol_near_prim_infeas_cer;
  default: return solsta;
  }
}

int32_t TVN_dualize_prosta(int32_t prosta) noexcept {
  switch (prosta) {
  case pro_prim_feas: return pro_dual_feas;
  case pro_dual_feas: return pro_prim_feas;
  case pro_prim_infeas: return pro_dual_infeas;
  case pro_dual_infeas: return pro_prim_infeas;
  default: return prosta;
  }
}

} // namespace tvn
