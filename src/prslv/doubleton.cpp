// An equality of two columns, a_1 x_1 + a_2 x_2 = b, makes one of them a multiple of the other.
//
// Brearley, Mitra and Williams 1975; chains of such rows collapse one link at a time, the shorter column into the
// longer, so that a chain costs no more than a sort. x_2 is substituted and leaves its bounds to x_1: no point is lost.
// Undo: x_2 from the row; when x_1 rests on a bound that came from x_2, then x_2 rests there and x_1 is basic, else x_2
// is basic. With d the part of x_1's reduced cost that belongs to such a bound, x_2 gets -(a_2/a_1) d, and y_i follows
// from x_2's column.
#include "prslv/prslvint.h"

namespace tvn {

// --- pivots, which eliminations share

// Record: row, column, key of the row, entries of row and column without the pivot; pivot, right-hand side, costs.
void TVN_prslv_pushpivot(prslv_context& x, int32_t i, int32_t j, double aij, double b) {
  push_int(x, i);
  push_int(x, j);
  push_int(x, x.p.bkc[i]);
  push_int(x, x.connz[i] - 1);
  push_int(x, x.varnz[j] - 1);
  push_real(x, aij);
  push_real(x, b);
  push_real(x, x.p.c[j]);
  push_real(x, x.p.cc[i]);
  for_row(x, i, [&](int32_t l, double a) {
    if (l == j) return;
    push_int(x, l);
    push_real(x, a);
  });
  for_col(x, j, [&](int32_t k, double a) {
    if (k == i) return;
    push_int(x, k);
    push_real(x, a);
  });
}

prslv_pivot prslv_popp(prslv_post& w, prslv_reader& r) {
  lp_solution& s = w.s;
  prslv_pivot v{};
  v.i = r.i();
  v.j = r.i();
  v.rowkey = r.i();
  const int32_t nrow = r.i(), ncol = r.i();
  v.aij = r.r();
  v.b = w.pf * r.r();
  v.cj = w.df * r.r();
  v.cci = w.df * r.r();
  long double rest = 0, red = v.cj;
  for (int32_t k = 0; k < nrow; k++) {
    const int32_t l = r.i();
    rest += static_cast<long double>(r.r()) * s.xx[l];
  }
  for (int32_t k = 0; k < ncol; k++) {
    const int32_t i = r.i();
    const double a = r.r();
    red -= static_cast<long double>(a) * s.y[i];
    s.xc[i] += a / v.aij * v.b;
  }
  v.rowrest = static_cast<double>(rest);
  v.redcost = static_cast<double>(red);
  return v;
}

// --- doubletons

namespace {

struct pair_entry {
  int32_t keep = -1, go = -1;
  double akeep = 0, ago = 0;
};

// Which of the two goes: the shorter column, unless its coefficient is small beside the other, or it must stay.
pair_entry choose_pair(const prslv_context& x, int32_t i) {
  pair_entry e;
  for_row(x, i, [&](int32_t j, double a) {
    if (e.keep < 0) {
      e.keep = j;
      e.akeep = a;
    } else {
      e.go = j;
      e.ago = a;
    }
  });
  const double keep = std::fabs(e.akeep), go = std::fabs(e.ago);
  bool swap = x.varnz[e.go] > x.varnz[e.keep] || (x.varnz[e.go] == x.varnz[e.keep] && go < keep);
  const double chosen = swap ? keep : go, other = swap ? go : keep;
  if (chosen < x.param.pivlimit * other) swap = !swap;
  if (!may_substitute(x, swap ? e.keep : e.go)) swap = !swap;
  if (swap) {
    std::swap(e.keep, e.go);
    std::swap(e.akeep, e.ago);
  }
  return e;
}

} // namespace

// Record: as a pivot, then the column that stays, whether its lower and its upper bound came from the other, and its
// coefficient. True when the row went. Activities follow where they are in use.
bool prslv_doubletoncon(prslv_context& x, int32_t i, bool active) {
  const pair_entry e = choose_pair(x, i);
  if (!x.varlin[e.keep] || !may_substitute(x, e.go) || std::fabs(e.ago) < x.param.pivlimit * std::fabs(e.akeep) ||
      !TVN_prslv_pivotroom(x, i, e.go))
    return false;
  const double b = con_lower(x, i), l = var_lower(x, e.keep), u = var_upper(x, e.keep), lg = var_lower(x, e.go),
               ug = var_upper(x, e.go);
  const bool same = (e.akeep > 0) == (e.ago > 0);
  double newl = (b - e.ago * (same ? ug : lg)) / e.akeep, newu = (b - e.ago * (same ? lg : ug)) / e.akeep;
  if (std::isinf(newl) || newl < -bound_infinity) newl = -prslv_inf;
  if (std::isinf(newu) || newu > bound_infinity) newu = prslv_inf;
  const bool low = newl > l, upp = newu < u;
  newl = std::max(newl, l);
  newu = std::min(newu, u);
  if (newl > newu && !TVN_prslv_isinfeasible(x, newl, newu)) (low ? newl : newu) = low ? newu : newl;
  TVN_prslv_beginpushstk(x, rt_doubleton);
  TVN_prslv_pushpivot(x, i, e.go, e.ago, b);
  push_int(x, e.keep);
  push_int(x, low);
  push_int(x, upp);
  push_real(x, e.akeep);
  TVN_prslv_endpushstk(x, rt_doubleton);
  TVN_prslv_substitute(x, i, e.go, e.ago, b);
  if (low || upp) (active ? TVN_prslv_putvarbounds : TVN_prslv_setvarbounds)(x, e.keep, newl, newu);
  if (newl > newu) {
    x.status = prs_prim_infeas;
    x.certcol = e.keep;
    x.certcrossing = true;
  } else if (TVN_prslv_canbefixed(x, newl, newu) && may_fix(x, e.keep, newl)) {
    TVN_prslv_varfix(x, e.keep, newl, rt_varfix);
  }
  return true;
}

prslv_code TVN_prslv_doubletoncons(prslv_context& x) {
  for (int32_t i = 0; i < x.p.numcon && x.status == prs_undecided; i++) {
    if (TVN_prslv_stopped(x, 1)) return prslv_code::stopped;
    if (!x.conlive[i] || !x.conlin[i] || x.connz[i] != 2 || con_lower(x, i) != con_upper(x, i)) continue;
    prslv_doubletoncon(x, i, false);
  }
  return prslv_code::ok;
}

void prslv_undodoubleton(prslv_post& w) {
  prslv_reader r(w.x);
  lp_solution& s = w.s;
  const prslv_pivot v = prslv_popp(w, r);
  const int32_t keep = r.i();
  const bool low = r.i() != 0, upp = r.i() != 0;
  const double akeep = r.r();
  int32_t side = s.skx[keep];
  if (side == sk_fix) side = s.slx[keep] < s.sux[keep] ? sk_upr : sk_low;
  const bool all = w.walk != prslv_walk::basis;
  const bool takelow = low && (all || side == sk_low), takeupp = upp && (all || side == sk_upr);
  const double d = (takelow ? s.slx[keep] : 0.0) - (takeupp ? s.sux[keep] : 0.0), dgo = -(v.aij / akeep) * d;
  if (takelow) s.slx[keep] = 0;
  if (takeupp) s.sux[keep] = 0;
  s.xx[v.j] = (v.b - v.rowrest) / v.aij;
  s.xc[v.i] = v.b;
  s.y[v.i] = (v.redcost - dgo) / v.aij;
  s.skc[v.i] = sk_fix;
  TVN_prslv_splitdual(v.cci + s.y[v.i], sk_unk, s.slc[v.i], s.suc[v.i]);
  TVN_prslv_splitdual(dgo, sk_unk, s.slx[v.j], s.sux[v.j]);
  const bool swap = (takelow && side == sk_low) || (takeupp && side == sk_upr);
  if (swap) { // x_2 rests where x_1 rested
    const bool same = (akeep > 0) == (v.aij > 0);
    s.skx[v.j] = (side == sk_low) == same ? sk_upr : sk_low;
    s.skx[keep] = w.rest();
  } else {
    if (s.skx[keep] == sk_fix) s.skx[keep] = side;
    s.skx[v.j] = w.rest();
  }
}

} // namespace tvn
