// An equality of two columns, a_1 x_1 + a_2 x_2 = b, makes one of them a multiple of the other.
//
// Brearley, Mitra and Williams 1975; chains of such rows collapse one link at a time, the shorter column into the
// longer, so that a chain costs no more than a sort. x_2 is substituted and leaves its bounds to x_1: no point is lost.
// Undo: x_2 from the row; when x_1 rests on a bound that came from x_2, then x_2 rests there and x_1 is basic, else x_2
// is basic. With d the part of x_1's reduced cost that belongs to such a bound, x_2 gets -(a_2/a_1) d, and y_i follows
// from x_2's column.
#include "prslv/prslvstk.h"

namespace tvn {

// --- pivots, which eliminations share

prslv_pivot TVN_prslv_pushpivot(prslv_context& x, int32_t i, int32_t j, double aij, double b) {
  push_row(x, i, x.stk, j);
  push_col(x, j, x.stk, i);
  return {i, j, x.connz[i] - 1, x.varnz[j] - 1, aij, b, x.p.c[j], x.p.cc[i]};
}

prslv_pivot_back prslv_popp(prslv_post& w, const prslv_pivot& r, array_view<const prslv_entry> entries) {
  solution_view& s = w.s;
  const double b = w.pf * r.b, cj = w.df * r.cj;
  long double rest = 0, red = cj;
  for (const auto& [j, a] : entries.first(r.numrow)) rest += static_cast<long double>(a) * s.xx[j];
  for (const auto& [i, a] : entries.subspan(r.numrow)) {
    red -= static_cast<long double>(a) * s.y[i];
    s.xc[i] += a / r.aij * b;
  }
  return {r.i, r.j, r.aij, b, w.df * r.cci, static_cast<double>(red), static_cast<double>(rest)};
}

// --- doubletons

namespace {

// The pivot, the column that stays with its coefficient, and which of its bounds came from the other.
struct doubleton_record {
  static constexpr prslv_type types[] = {rt_doubleton};
  using item = prslv_entry;
  prslv_pivot pivot;
  int32_t keep;
  bool low, upp;
  double akeep;
  int64_t numitems() const { return pivot.numitems(); }
};

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

// True when the row went. Activities follow where they are in use.
bool prslv_doubletoncon(prslv_context& x, int32_t i, bool active) {
  const pair_entry e = choose_pair(x, i);
  if (!may_move(x, e.keep) || !may_substitute(x, e.go) || std::fabs(e.ago) < x.param.pivlimit * std::fabs(e.akeep) ||
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
  const prslv_pivot pivot = TVN_prslv_pushpivot(x, i, e.go, e.ago, b);
  TVN_prslv_endpushstk(x, rt_doubleton, doubleton_record{pivot, e.keep, low, upp, e.akeep});
  TVN_prslv_substitute(x, i, e.go, e.ago, b);
  if (low || upp) {
    if (active)
      TVN_prslv_putvarbounds(x, e.keep, newl, newu);
    else
      TVN_prslv_setvarbounds(x.p, e.keep, newl, newu);
  }
  if (newl > newu) {
    x.status = prs_prim_infeas;
    x.cert.col = e.keep;
    x.cert.crossing = true;
  } else if (TVN_prslv_canbefixed(x, newl, newu) && may_fix(x, e.keep, newl)) {
    TVN_prslv_varfix(x, e.keep, newl, rt_varfix);
  }
  return true;
}

prslv_code TVN_prslv_doubletoncons(prslv_context& x) {
  for (int32_t i = 0; i < x.p.numcon && x.status == prs_undecided; i++) {
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
    if (!x.conlive[i] || !x.conlin[i] || x.connz[i] != 2 || con_lower(x, i) != con_upper(x, i)) continue;
    prslv_doubletoncon(x, i, false);
  }
  return prslv_code::ok;
}

void prslv_undodoubleton(prslv_post& w) {
  const auto [r, entries] = TVN_prslv_poprecord<doubleton_record>(w.x.stk);
  solution_view& s = w.s;
  const prslv_pivot_back v = prslv_popp(w, r.pivot, entries);
  const int32_t keep = r.keep;
  const double akeep = r.akeep;
  int32_t side = s.skx[keep];
  if (side == sk_fix) side = s.slx[keep] < s.sux[keep] ? sk_upr : sk_low;
  const bool all = w.walk != prslv_walk::basis;
  const bool takelow = r.low && (all || side == sk_low), takeupp = r.upp && (all || side == sk_upr);
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
