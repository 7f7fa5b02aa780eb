// A forcing row can be met only with every column at the bound where the row's activity is extreme.
//
// Andersen and Andersen 1995. No feasible point is lost. The row goes first, its columns then go to their bounds as
// fixed ones. Undo, when the columns are back with reduced costs d_j formed without the row: move y_i in the direction
// that the row's side allows until every d_j has the sign of its column's bound. The column that asks most becomes
// basic and the row rests on its side; when none asks, the row is basic.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

// A row that was met at its lower or upper side, with its key, cost and entries.
struct conforce_record {
  static constexpr prslv_type types[] = {rt_conforce};
  using item = prslv_entry;
  int32_t i, key, num;
  bool lower;
  double cost;
  int64_t numitems() const { return num; }
};

} // namespace

// lower: the largest activity is the row's lower bound. False when the row has a column that must stay.
bool TVN_prslv_conforce(prslv_context& x, int32_t i, bool lower) {
  int32_t n = 0;
  bool ok = true;
  auto end = [&](int32_t j, double a) { return (a > 0) == lower ? var_upper(x, j) : var_lower(x, j); };
  for_row(x, i, [&](int32_t j, double a) {
    x.tmp.subwork[n++] = j;
    ok = ok && may_fix(x, j, end(j, a));
  });
  if (!ok) return false;
  const double cc = x.p.cc[i];
  TVN_prslv_beginpushstk(x, rt_conforce);
  push_row(x, i, x.stk);
  TVN_prslv_endpushstk(x, rt_conforce, conforce_record{i, x.p.bkc[i], n, lower, cc});
  for_row(x, i, [&](int32_t j, double a) {
    x.p.c[j] += cc * a;
    x.tmp.valwork[j] = a;
  });
  TVN_prslv_killcon(x, i);
  for (int32_t k = 0; k < n; k++) {
    const int32_t j = x.tmp.subwork[k];
    TVN_prslv_varfix(x, j, end(j, x.tmp.valwork[j]), rt_blkfix);
    if (TVN_prslv_stopped(x.run, x.col.len[j])) break;
  }
  return true;
}

void prslv_undoconforce(prslv_post& w) {
  const auto [r, row] = TVN_prslv_poprecord<conforce_record>(w.x.stk);
  solution_view& s = w.s;
  // y_i = step - df cc_i with step >= 0 at the lower side, <= 0 at the upper.
  double step = 0, act = 0;
  int32_t basic = -1;
  for (const auto& [j, a] : row) {
    const double need = (s.slx[j] - s.sux[j]) / a;
    act += a * s.xx[j];
    if (!(r.lower ? need > step : need < step)) continue;
    step = need;
    basic = j;
  }
  s.xc[r.i] = act;
  s.y[r.i] = step - w.df * r.cost;
  s.skc[r.i] = basic < 0 ? w.rest() : r.key == bk_fx ? sk_fix : r.lower ? sk_low : sk_upr;
  s.slc[r.i] = std::max(step, 0.0);
  s.suc[r.i] = std::max(-step, 0.0);
  for (const auto& [j, a] : row) {
    const double d = s.slx[j] - s.sux[j] - a * step;
    if (j == basic) {
      if (!w.certificate()) s.skx[j] = w.rest();
      s.slx[j] = s.sux[j] = 0;
    } else {
      TVN_prslv_splitdual(d, w.certificate() ? static_cast<int32_t>(sk_unk) : s.skx[j], s.slx[j], s.sux[j]);
    }
  }
}

} // namespace tvn
