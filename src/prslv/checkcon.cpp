// The rows and columns that are due, one by one. Rows: empty ones, singletons, doubletons, and what the activity tells.
// Columns, when no row is due: see TVN_prslv_checkvar.
//
// A test fires on the running activity and is believed only on one formed afresh.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

struct row_state {
  bool infeaslow, infeasupp, redlow, redupp, forcelow, forceupp;
  bool haslow, hasupp, equality;
  bool all_redundant() const { return (redlow || !haslow) && (redupp || !hasupp); }
  bool one_redundant() const { return !equality && ((redlow && hasupp) || (redupp && haslow)); }
  bool any() const { return infeaslow || infeasupp || all_redundant() || one_redundant() || forcelow || forceupp; }
};

// noise: what rounding may have done to the activities.
row_state judge_row(const prslv_context& x, int32_t i, double noise) {
  const double bl = con_lower(x, i), bu = con_upper(x, i), tol = x.param.tolx;
  const double tl = tol * std::max(1.0, std::fabs(bl)), tu = tol * std::max(1.0, std::fabs(bu));
  const bool haslow = bl > -prslv_inf, hasupp = bu < prslv_inf, lowok = x.act.numlower[i] == 0,
             uppok = x.act.numupper[i] == 0;
  row_state s{};
  s.haslow = haslow;
  s.hasupp = hasupp;
  s.equality = bl == bu;
  s.infeaslow = haslow && uppok && x.act.upper[i] < bl - tl - noise;
  s.infeasupp = hasupp && lowok && x.act.lower[i] > bu + tu + noise;
  // Redundant without leaning on the tolerance: a breach would be the user's to see.
  s.redlow = haslow && lowok && x.act.lower[i] >= bl - leanshare * tl;
  s.redupp = hasupp && uppok && x.act.upper[i] <= bu + leanshare * tu;
  s.forcelow = haslow && uppok && x.act.upper[i] <= bl + leanshare * tl;
  s.forceupp = hasupp && lowok && x.act.lower[i] >= bu - leanshare * tu;
  return s;
}

double rounding(const prslv_context& x, int32_t i) {
  double size = 0;
  auto add = [&](double a, double b) { size += std::isinf(b) ? 0 : std::fabs(a * b); };
  for_row(x, i, [&](int32_t j, double a) {
    add(a, var_lower(x, j));
    add(a, var_upper(x, j));
  });
  return noiseshare * size;
}

void check_activity(prslv_context& x, int32_t i) {
  if (!judge_row(x, i, 0.0).any()) return;
  TVN_prslv_conactivity(x, i, x.act);
  TVN_prslv_stopped(x.run, x.connz[i]);
  const row_state s = judge_row(x, i, rounding(x, i));
  if (s.infeaslow || s.infeasupp) return TVN_prslv_coninfeasax(x, i, s.infeaslow);
  if (s.all_redundant()) return TVN_prslv_conrelax(x, i);
  if (s.forcelow && TVN_prslv_conforce(x, i, true)) return;
  if (s.forceupp && TVN_prslv_conforce(x, i, false)) return;
  if (s.one_redundant()) TVN_prslv_dropside(x, i, s.redupp);
}

// One look at row i.
void check_row(prslv_context& x, int32_t i) {
  if (x.p.bkc[i] == bk_fr) return TVN_prslv_conrelax(x, i);
  if (x.connz[i] == 0) return TVN_prslv_conempty(x, i);
  if (x.connz[i] == 1) {
    const auto [j, a] = TVN_prslv_getconsin(x, i);
    if (may_bound_by(x, i, j) && std::fabs(a) > leastsingleton) return TVN_prslv_consin(x, i);
  }
  if (x.connz[i] == 2 && con_lower(x, i) == con_upper(x, i) && prslv_doubletoncon(x, i)) return;
  check_activity(x, i);
}

} // namespace

prslv_code TVN_prslv_checkconlist(prslv_context& x) {
  while (x.status == prs_undecided && !x.run.stop) {
    if (const int32_t i = TVN_prslv_poplist(x.due.rows); i >= 0) {
      if (!x.conlive[i] || !x.conlin[i]) continue;
      check_row(x, i);
      TVN_prslv_stopped(x.run, 1);
    } else if (const int32_t j = TVN_prslv_poplist(x.due.cols); j >= 0) {
      if (x.varlive[j]) TVN_prslv_checkvar(x, j);
      TVN_prslv_stopped(x.run, x.col.len[j]);
    } else {
      break;
    }
  }
  TVN_prslv_emptylist(x.due.rows);
  TVN_prslv_emptylist(x.due.cols);
  return x.run.stop ? prslv_code::stopped : prslv_code::ok;
}

} // namespace tvn
