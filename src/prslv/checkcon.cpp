// The rows that are due, one by one: slack columns, empty rows, singletons, doubletons, and what the activity tells.
//
// A test fires on the running activity and is believed only on one formed afresh.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

// Takes columns of one row into row i.
void take_slacks(prslv_context& x, int32_t i) {
  double biggest = -1;
  for (int64_t p = x.row.beg[i], e = p + x.row.len[i]; p < e && x.connz[i] > 1; p++) {
    const int32_t j = x.row.sub[p];
    if (!x.varlive[j] || x.varnz[j] != 1 || !may_substitute(x, j)) continue;
    if (biggest < 0) for_row(x, i, [&](int32_t, double v) { biggest = std::max(biggest, std::fabs(v)); });
    TVN_prslv_linvarsininlineq(x, i, j, x.row.val[p], biggest);
    if (TVN_prslv_stopped(x, 1)) return;
  }
}

struct row_state {
  bool infeaslow, infeasupp, redlow, redupp, forcelow, forceupp;
  bool any() const { return infeaslow || infeasupp || redlow || redupp || forcelow || forceupp; }
};

row_state judge_row(const prslv_context& x, int32_t i) {
  const double bl = con_lower(x, i), bu = con_upper(x, i), tol = x.param.tolx;
  const double tl = tol * std::max(1.0, std::fabs(bl)), tu = tol * std::max(1.0, std::fabs(bu));
  const bool haslow = bl > -prslv_inf, hasupp = bu < prslv_inf, lowok = x.ncilax[i] == 0, uppok = x.nciuax[i] == 0;
  row_state s{};
  s.infeaslow = haslow && uppok && x.uax[i] < bl - tl;
  s.infeasupp = hasupp && lowok && x.lax[i] > bu + tu;
  // Redundant without leaning on the tolerance: a breach would be the user's to see.
  s.redlow = haslow && lowok && x.lax[i] >= bl - 1e-3 * tl;
  s.redupp = hasupp && uppok && x.uax[i] <= bu + 1e-3 * tu;
  s.forcelow = haslow && uppok && x.uax[i] <= bl + 1e-3 * tl;
  s.forceupp = hasupp && lowok && x.lax[i] >= bu - 1e-3 * tu;
  return s;
}

void check_activity(prslv_context& x, int32_t i) {
  if (!judge_row(x, i).any()) return;
  TVN_prslv_conactivity(x, i);
  TVN_prslv_stopped(x, x.connz[i]);
  const row_state s = judge_row(x, i);
  const bool haslow = con_lower(x, i) > -prslv_inf, hasupp = con_upper(x, i) < prslv_inf;
  if (s.infeaslow || s.infeasupp) return TVN_prslv_coninfeasax(x, i, s.infeaslow);
  if ((s.redlow || !haslow) && (s.redupp || !hasupp)) return TVN_prslv_conrelax(x, i);
  if (s.forcelow && TVN_prslv_conforce(x, i, true)) return;
  if (s.forceupp && TVN_prslv_conforce(x, i, false)) return;
  if (con_lower(x, i) == con_upper(x, i)) return;
  if (s.redlow && hasupp) return TVN_prslv_dropside(x, i, false);
  if (s.redupp && haslow) return TVN_prslv_dropside(x, i, true);
}

// One look at row i.
void check_row(prslv_context& x, int32_t i) {
  take_slacks(x, i);
  if (TVN_prslv_stopped(x, x.row.len[i])) return;
  if (x.p.bkc[i] == bk_fr) return TVN_prslv_conrelax(x, i);
  if (x.connz[i] == 0) return TVN_prslv_conempty(x, i);
  if (x.connz[i] == 1) {
    const auto [j, a] = TVN_prslv_getconsin(x, i);
    if (may_substitute(x, j) && std::fabs(a) > 1e-9) return TVN_prslv_consin(x, i);
  }
  if (x.connz[i] == 2 && con_lower(x, i) == con_upper(x, i) && prslv_doubletoncon(x, i)) return;
  check_activity(x, i);
}

} // namespace

prslv_code TVN_prslv_checkconlist(prslv_context& x) {
  for (int32_t i = TVN_prslv_poplist(x.list); i >= 0; i = TVN_prslv_poplist(x.list)) {
    if (!x.conlive[i] || !x.conlin[i]) continue;
    if (TVN_prslv_stopped(x, x.connz[i])) return prslv_code::stopped;
    check_row(x, i);
    if (x.status != prs_undecided) break;
  }
  TVN_prslv_emptylist(x.list);
  return prslv_code::ok;
}

} // namespace tvn
