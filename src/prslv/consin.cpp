// A row with one column is a bound on that column (Brearley, Mitra and Williams 1975).
//
// The feasible set stays, so optima do. Undo: when the column rests on a bound that the row gave it, its reduced cost d
// is the row's: y_i grows by d/a, the column becomes basic and the row takes the place at its bound; otherwise the row
// is basic. Either way one more basic item for the row that is back.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

// Row i with a x_j alone, its key and cost, and which bounds of the column it tightened.
struct consin_record {
  static constexpr prslv_type types[] = {rt_consin, rt_initialconsin};
  int32_t i, j, rowkey;
  bool low, upp;
  double a, cost;
};

} // namespace

void TVN_prslv_consin(prslv_context& x, int32_t i, int32_t rtype) {
  const auto [j, a] = TVN_prslv_getconsin(x, i);
  const double bl = con_lower(x, i), bu = con_upper(x, i), l = var_lower(x, j), u = var_upper(x, j);
  double newl = a > 0 ? bl / a : bu / a, newu = a > 0 ? bu / a : bl / a;
  if (!(std::fabs(newl) < bound_infinity)) newl = -prslv_inf;
  if (!(std::fabs(newu) < bound_infinity)) newu = prslv_inf;
  const bool low = newl > l, upp = newu < u;
  TVN_prslv_beginpushstk(x, rtype);
  TVN_prslv_endpushstk(x, rtype, consin_record{i, j, x.p.bkc[i], low, upp, a, x.p.cc[i]});
  x.p.c[j] += x.p.cc[i] * a;
  newl = std::max(newl, l);
  newu = std::min(newu, u);
  if (newl > newu && !TVN_prslv_isinfeasible(x, newl, newu)) { // within tolerance: the bound of the row gives way
    if (low)
      newl = newu;
    else
      newu = newl;
  }
  TVN_prslv_killcon(x, i);
  if (low || upp) TVN_prslv_putvarbounds(x, j, newl, newu);
  if (newl > newu) {
    x.status = prs_prim_infeas;
    x.cert.col = j;
    x.cert.crossing = true;
  } else if (TVN_prslv_canbefixed(x, newl, newu) && may_fix(x, j, newl)) {
    TVN_prslv_varfix(x, j, newl, rt_varfix);
  }
}

void prslv_undoconsin(prslv_post& w) {
  const auto r = TVN_prslv_poprecord<consin_record>(w.x.stk);
  const int32_t i = r.i, j = r.j; // names that a lambda may take, which the parts of a binding are not
  const double a = r.a;
  solution_view& s = w.s;
  s.y[i] = -w.df * r.cost;
  s.slc[i] = s.suc[i] = 0;
  s.xc[i] = a * s.xx[j];
  s.skc[i] = w.rest();
  int32_t side = s.skx[j];
  if (side == sk_fix) side = s.slx[j] < s.sux[j] ? sk_upr : sk_low; // fixed by bounds from two sides
  // What the column's bound bore goes to the row; the key follows where the column rests on that bound.
  auto take = [&](bool lower) {
    double& d = lower ? s.slx[j] : s.sux[j];
    const double move = (lower ? d : -d) / a; // into y
    s.y[i] += move;
    (lower == (a > 0) ? s.slc[i] : s.suc[i]) += std::fabs(move) * (d < 0 ? -1 : 1);
    d = 0;
    if (w.certificate() || side != (lower ? sk_low : sk_upr)) return;
    s.skx[j] = w.rest();
    s.skc[i] = r.rowkey == bk_fx ? sk_fix : lower == (a > 0) ? sk_low : sk_upr;
  };
  const bool all = w.walk != prslv_walk::basis;
  if (r.low && (all || side == sk_low)) take(true);
  if (r.upp && (all || side == sk_upr)) take(false);
  if (!w.certificate() && s.skx[j] == sk_fix) s.skx[j] = side;
}

} // namespace tvn
