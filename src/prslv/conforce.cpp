// A forcing row can be met only with every column at the bound where the row's activity is extreme.
//
// Andersen and Andersen 1995. No feasible point is lost. The row goes first, its columns then go to their bounds as
// fixed ones. Undo, when the columns are back with reduced costs d_j formed without the row: move y_i in the direction
// that the row's side allows until every d_j has the sign of its column's bound. The column that asks most becomes
// basic and the row rests on its side; when none asks, the row is basic.
#include "prslv/prslvint.h"

namespace tvn {

// lower: the largest activity is the row's lower bound. False when the row has a column that must stay.
// Record: row, side, key, n, columns; lower, upper, cost, coefficients.
bool TVN_prslv_conforce(prslv_context& x, int32_t i, bool lower) {
  int32_t n = 0;
  bool ok = true;
  auto end = [&](int32_t j, double a) { return (a > 0) == lower ? var_upper(x, j) : var_lower(x, j); };
  for_row(x, i, [&](int32_t j, double a) {
    x.subwork[n++] = j;
    ok = ok && may_fix(x, j, end(j, a));
  });
  if (!ok) return false;
  const double cc = x.p.cc[i];
  TVN_prslv_beginpushstk(x, rt_conforce);
  push_int(x, i);
  push_int(x, lower ? 1 : 0);
  push_int(x, x.p.bkc[i]);
  push_int(x, n);
  push_real(x, x.p.blc[i]);
  push_real(x, x.p.buc[i]);
  push_real(x, cc);
  for_row(x, i, [&](int32_t j, double a) {
    push_int(x, j);
    push_real(x, a);
    x.p.c[j] += cc * a;
    x.valwork[j] = a;
  });
  TVN_prslv_endpushstk(x, rt_conforce);
  TVN_prslv_killcon(x, i);
  for (int32_t k = 0; k < n; k++) {
    const int32_t j = x.subwork[k];
    TVN_prslv_varfix(x, j, end(j, x.valwork[j]), rt_blkfix);
    if (TVN_prslv_stopped(x, x.col.len[j])) break;
  }
  return true;
}

void prslv_undoconforce(prslv_post& w) {
  prslv_reader r(w.x);
  lp_solution& s = w.s;
  const int32_t i = r.i();
  const bool lower = r.i() != 0;
  const int32_t key = r.i(), n = r.i();
  r.r();
  r.r();
  const double cc = r.r();
  // y_i = step - df cc_i with step >= 0 at the lower side, <= 0 at the upper.
  double step = 0, act = 0;
  int32_t basic = -1;
  const prslv_reader entries = r;
  for (int32_t k = 0; k < n; k++) {
    const int32_t j = r.i();
    const double a = r.r(), need = (s.slx[j] - s.sux[j]) / a;
    act += a * s.xx[j];
    if (!(lower ? need > step : need < step)) continue;
    step = need;
    basic = j;
  }
  s.xc[i] = act;
  s.y[i] = step - w.df * cc;
  s.skc[i] = basic < 0 ? w.rest() : key == bk_fx ? sk_fix : lower ? sk_low : sk_upr;
  s.slc[i] = std::max(step, 0.0);
  s.suc[i] = std::max(-step, 0.0);
  r = entries;
  for (int32_t k = 0; k < n; k++) {
    const int32_t j = r.i();
    const double d = s.slx[j] - s.sux[j] - r.r() * step;
    if (j == basic) {
      if (!w.certificate()) s.skx[j] = w.rest();
      s.slx[j] = s.sux[j] = 0;
    } else {
      TVN_prslv_splitdual(d, w.certificate() ? static_cast<int32_t>(sk_unk) : s.skx[j], s.slx[j], s.sux[j]);
    }
  }
}

} // namespace tvn
