// Rows that are multiples of one another: a_k = t a_r. Row r takes the tighter bounds, row k goes.
//
// Tomlin and Welch 1986. The feasible set stays. Undo: when row r rests on a bound that came from k, the dual slack d
// of that bound becomes d/t on row k, which rests there, and r is basic; otherwise k is basic.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

// Row k = t row r went: keys and costs of both, and which bounds of r came from k.
struct dupcon_record {
  static constexpr prslv_type types[] = {rt_dupcon};
  int32_t r, k, keyr, keyk;
  bool low, upp;
  double t, costr, costk;
};

void TVN_prslv_dupcon(prslv_context& x, int32_t r, int32_t k, double t) {
  const double l = con_lower(x, r), u = con_upper(x, r);
  const double lk = (t > 0 ? con_lower(x, k) : con_upper(x, k)) / t,
               uk = (t > 0 ? con_upper(x, k) : con_lower(x, k)) / t;
  const bool low = lk > l, upp = uk < u;
  double newl = std::max(l, lk), newu = std::min(u, uk);
  if (newl > newu && !TVN_prslv_isinfeasible(x, newl, newu)) (low ? newl : newu) = low ? newu : newl;
  TVN_prslv_beginpushstk(x, rt_dupcon);
  TVN_prslv_endpushstk(x, rt_dupcon, dupcon_record{r, k, x.p.bkc[r], x.p.bkc[k], low, upp, t, x.p.cc[r], x.p.cc[k]});
  x.p.cc[r] += t * x.p.cc[k];
  TVN_prslv_killcon(x, k);
  TVN_prslv_putconbounds(x.p, r, newl, newu);
  TVN_prslv_updatelist(x.due.rows, r);
  make_columns_due(x, r, x.due);
  x.run.stats->numdupdropped++;
  if (newl <= newu) return;
  x.status = prs_prim_infeas;
  x.cert.row = r;
  x.cert.crossing = true;
}

} // namespace

prslv_code TVN_prslv_checkdupcon(prslv_context& x) {
  const prslv_clock clock(x, task_dupcon);
  prslv_multiples found;
  TVN_prslv_findmultiples(x, true, found);
  if (x.run.stop) return prslv_code::stopped;
  for (int32_t k = 0; k < x.p.numcon && x.status == prs_undecided; k++) {
    const int32_t r = found.first[k];
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
    if (r == k || !x.conlive[k] || !x.conlive[r] || !x.conlin[k] || !x.conlin[r] || x.connz[k] == 0) continue;
    TVN_prslv_dupcon(x, r, k, found.scale[k]);
  }
  return prslv_code::ok;
}

void prslv_undodupcon(prslv_post& w) {
  const auto [r, k, keyr, keyk, low, upp, t, costr, costk] = TVN_prslv_poprecord<dupcon_record>(w.x.stk);
  solution_view& s = w.s;
  const double ccr = w.df * costr, cck = w.df * costk;
  int32_t side = s.skc[r];
  if (side == sk_fix) side = s.slc[r] < s.suc[r] ? sk_upr : sk_low;
  const bool all = w.walk != prslv_walk::basis;
  const bool takelow = low && (all || side == sk_low), takeupp = upp && (all || side == sk_upr);
  const double moved = (takelow ? s.slc[r] : 0.0) - (takeupp ? s.suc[r] : 0.0);
  if (takelow) s.slc[r] = 0;
  if (takeupp) s.suc[r] = 0;
  s.y[r] = s.slc[r] - s.suc[r] - ccr;
  s.y[k] = moved / t - cck;
  TVN_prslv_splitdual(moved / t, sk_unk, s.slc[k], s.suc[k]);
  s.xc[k] = t * s.xc[r];
  if ((takelow && side == sk_low) || (takeupp && side == sk_upr)) {
    s.skc[k] = keyk == bk_fx ? sk_fix : (side == sk_low) == (t > 0) ? sk_low : sk_upr;
    s.skc[r] = w.rest();
  } else {
    if (s.skc[r] == sk_fix && keyr != bk_fx) s.skc[r] = side;
    s.skc[k] = w.rest();
  }
}

} // namespace tvn
