// Bounds on the row duals, and what they decide: dominated columns, rows that are tight, rows that a column satisfies.
//
// Andersen and Andersen 1995. Dual feasibility bounds each y_i: by the sign of a one-sided row, by a column of one row,
// and by longer columns through the bounds of the other rows. Let d_j range over [dlo, dup] under such bounds.
// - A strict sign of d_j (or of cc_i + y_i) over all dual feasible points makes the column's (row's) own sign condition
//   redundant, however the bounds were found: the dual feasible set is convex, so it cannot leave through d_j = 0.
//   The column goes to its bound, the row becomes an equality; the dual problem, hence the optimal value, stays.
// - A weak sign (0 allowed) is believed only from bounds that stand on row signs and singleton columns, which are not
//   the column itself.
// Integer columns bound no dual and are not decided by one.
// Undo: the value comes back, d_j from the rows has the right sign by the same argument.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

struct confix_record {
  static constexpr prslv_type types[] = {rt_confixlow, rt_confixupr};
  int32_t i;
};

// A row that column j satisfies by itself: its coefficient and the side that x_j must meet.
struct forced_row {
  int32_t i;
  double a, side;
};

// A column that satisfies all its rows by moving up (sign 1) or down (-1), and its bound at the other end.
struct varforce_record {
  static constexpr prslv_type types[] = {rt_varforce};
  using item = forced_row;
  int32_t j, sign, num;
  double bound;
  int64_t numitems() const { return num; }
};

} // namespace

prslv_dualsum TVN_prslv_sumduals(const prslv_context& x, int32_t j, const double* yl, const double* yu) {
  prslv_dualsum s;
  for_col(x, j, [&](int32_t i, double a) {
    const double lo = a > 0 ? a * yl[i] : a * yu[i], up = a > 0 ? a * yu[i] : a * yl[i];
    if (std::isinf(lo)) {
      s.numlo++;
    } else {
      s.lo += lo;
      s.size += std::fabs(lo);
    }
    if (std::isinf(up)) {
      s.numup++;
    } else {
      s.up += up;
      s.size += std::fabs(up);
    }
  });
  return s;
}

// A row whose dual slack is strictly positive (negative) rests on its lower (upper) bound.
void TVN_prslv_confixatbounddbg(prslv_context& x, int32_t i, bool lower) {
  const int32_t rtype = lower ? rt_confixlow : rt_confixupr;
  TVN_prslv_beginpushstk(x, rtype);
  TVN_prslv_endpushstk(x, rtype, confix_record{i});
  const double b = lower ? x.p.blc[i] : x.p.buc[i];
  TVN_prslv_putconbounds(x.p, i, b, b);
  TVN_prslv_updatelist(x.due.rows, i);
  make_columns_due(x, i, x.due); // a slack may go now
}
namespace {

constexpr int32_t tightenpasses = 2;

struct range {
  double lo, up;
};

void meet(double v, bool upper, double& yl, double& yu) {
  if (upper)
    yu = std::min(yu, v);
  else
    yl = std::max(yl, v);
}

// Signs of one-sided rows, then columns of one row: a y_i <= c without an upper bound, >= c without a lower one.
void start_bounds(const prslv_context& x, prslv_dualbounds& y) {
  for (int32_t i = 0; i < x.p.numcon; i++) {
    y.yl[i] = -prslv_inf;
    y.yu[i] = prslv_inf;
    if (!x.conlive[i]) continue;
    if (con_upper(x, i) == prslv_inf) y.yl[i] = -x.p.cc[i];
    if (con_lower(x, i) == -prslv_inf) y.yu[i] = -x.p.cc[i];
  }
  for (int32_t j = 0; j < x.p.numvar; j++) {
    if (!x.varlive[j] || x.varnz[j] != 1 || !may_use_dual(x, j)) continue;
    const auto [i, a] = TVN_prslv_getvarsin(x, j);
    const double v = x.p.c[j] / a;
    if (var_upper(x, j) == prslv_inf) meet(v, a > 0, y.yl[i], y.yu[i]);
    if (var_lower(x, j) == -prslv_inf) meet(v, a < 0, y.yl[i], y.yu[i]);
  }
  std::copy_n(y.yl.data(), x.p.numcon, y.tyl.data());
  std::copy_n(y.yu.data(), x.p.numcon, y.tyu.data());
}

// a_j'y <= c (no upper bound) and a_j'y >= c (no lower bound) bound each y_i through the others.
void tighten_by_column(const prslv_context& x, int32_t j, prslv_dualbounds& y) {
  const bool noupp = var_upper(x, j) == prslv_inf, nolow = var_lower(x, j) == -prslv_inf;
  if (!noupp && !nolow) return;
  const prslv_dualsum s = TVN_prslv_sumduals(x, j, y.tyl.data(), y.tyu.data());
  const double c = x.p.c[j];
  if (s.size > lostdigits * (1 + std::fabs(c))) return; // the digits are gone
  for_col(x, j, [&](int32_t i, double a) {
    const double lo = a > 0 ? a * y.tyl[i] : a * y.tyu[i], up = a > 0 ? a * y.tyu[i] : a * y.tyl[i];
    if (std::fabs(a) <= x.param.tols) return;
    const bool ownlo = std::isinf(lo), ownup = std::isinf(up);
    if (noupp && s.numlo == (ownlo ? 1 : 0)) meet((c - (s.lo - (ownlo ? 0 : lo))) / a, a > 0, y.tyl[i], y.tyu[i]);
    if (nolow && s.numup == (ownup ? 1 : 0)) meet((c - (s.up - (ownup ? 0 : up))) / a, a < 0, y.tyl[i], y.tyu[i]);
  });
}

range reduced_cost(const prslv_context& x, int32_t j, const double* yl, const double* yu, double& size) {
  const prslv_dualsum s = TVN_prslv_sumduals(x, j, yl, yu);
  size = s.size + std::fabs(x.p.c[j]);
  return {s.numup ? -prslv_inf : x.p.c[j] - s.up, s.numlo ? prslv_inf : x.p.c[j] - s.lo};
}

// Fixes column j when its reduced cost has a sign.
void try_dominated(prslv_context& x, int32_t j) {
  double size = 0;
  const range strict = reduced_cost(x, j, x.dual.tyl.data(), x.dual.tyu.data(), size);
  const double tol = x.param.tols * (1 + std::fabs(x.p.c[j])) + dualnoiseshare * size;
  bool low = strict.lo > tol, upp = strict.up < -tol;
  if (!low && !upp && x.varnz[j] >= 2) {
    const range weak = reduced_cost(x, j, x.dual.yl.data(), x.dual.yu.data(), size);
    low = weak.lo >= -cancelledshare * size && size < weaksize;
    upp = weak.up <= cancelledshare * size && size < weaksize;
  }
  if (low && var_lower(x, j) > -prslv_inf)
    TVN_prslv_varfix(x, j, var_lower(x, j), rt_varfixlow);
  else if (upp && var_upper(x, j) < prslv_inf)
    TVN_prslv_varfix(x, j, var_upper(x, j), rt_varfixupr);
}

void try_tight_row(prslv_context& x, int32_t i) {
  const double l = con_lower(x, i), u = con_upper(x, i), cc = x.p.cc[i];
  if (l == u) return;
  const double tol = x.param.tols * (1 + std::fabs(cc));
  auto strict = [&](double d, double y) { return d > tol + rownoiseshare * std::fabs(y); };
  if (l > -prslv_inf && strict(x.dual.tyl[i] + cc, x.dual.tyl[i]))
    TVN_prslv_confixatbounddbg(x, i, true);
  else if (u < prslv_inf && strict(-(x.dual.tyu[i] + cc), x.dual.tyu[i]))
    TVN_prslv_confixatbounddbg(x, i, false);
}

// Whether moving x_j up (sign 1) or down (-1) without end hurts no row and no bound.
bool helps_all_rows(const prslv_context& x, int32_t j, int32_t sign) {
  if ((sign > 0 ? var_upper(x, j) : -var_lower(x, j)) < prslv_inf) return false;
  bool ok = true;
  for_col(x, j, [&](int32_t i, double a) {
    ok = ok && x.conlin[i] && (sign * a > 0 ? con_upper(x, i) == prslv_inf : con_lower(x, i) == -prslv_inf);
  });
  return ok;
}

// x_j satisfies all its rows by itself and costs nothing: the rows go, x_j afterwards takes the value that they need.
// Achterberg and others 2020 (dual fixing at infinity). When it even earns, moving it is a ray.
void try_varforce(prslv_context& x, int32_t j) {
  for (const int32_t sign : {1, -1}) {
    if (!helps_all_rows(x, j, sign)) continue;
    double c = x.p.c[j], size = std::fabs(c);
    for_col(x, j, [&](int32_t i, double a) {
      c += a * x.p.cc[i];
      size += std::fabs(a * x.p.cc[i]);
    });
    if (sign * c < -x.param.tols * (1 + size)) {
      x.status = prs_dual_infeas;
      x.cert.col = j;
      x.cert.colval = sign;
      return;
    }
    if (!(std::fabs(c) <= cancelledshare * size)) continue;
    TVN_prslv_beginpushstk(x, rt_varforce);
    int32_t n = 0;
    for_col(x, j, [&](int32_t i, double a) {
      push_item(x.stk, forced_row{i, a, sign * a > 0 ? x.p.blc[i] : x.p.buc[i]});
      x.tmp.subwork[n++] = i;
    });
    const double bound = sign > 0 ? var_lower(x, j) : var_upper(x, j);
    TVN_prslv_endpushstk(x, rt_varforce, varforce_record{j, sign, n, bound});
    TVN_prslv_killvar(x, j, 0.0);
    for (int32_t k = 0; k < n; k++) x.p.bkc[x.tmp.subwork[k]] = bk_fr;
    for (int32_t k = 0; k < n && !TVN_prslv_stopped(x.run, x.row.len[x.tmp.subwork[k]]); k++)
      TVN_prslv_conrelax(x, x.tmp.subwork[k]);
    return;
  }
}

// The one row that keeps x_j from moving down (sign -1) or up (sign 1); -1: none or several. `a` is its coefficient.
int32_t only_lock(const prslv_context& x, int32_t j, int32_t sign, double& a) {
  int32_t row = -1, num = 0;
  for_col(x, j, [&](int32_t i, double v) {
    const bool free = sign * v > 0 ? con_upper(x, i) == prslv_inf : con_lower(x, i) == -prslv_inf;
    if (free && x.conlin[i]) return;
    num++;
    row = i;
    a = v;
  });
  return num == 1 && x.conlin[row] ? row : -1;
}

// Cost and all rows but one want x_j down (up), and that row keeps it above its bound: then the row is tight, and the
// bound may go. With d_j >= 0 no longer asked for, the dual slack of the row is c_j minus terms of the right sign, so
// it has the right sign by itself. Achterberg and others 2020 (a single lock).
void try_onelock(prslv_context& x, int32_t j) {
  constexpr int32_t longest = 4; // beyond, the equality is used for no substitution
  if (x.varnz[j] > longest) return;
  double c = x.p.c[j], size = std::fabs(c);
  for_col(x, j, [&](int32_t i, double a) {
    c += a * x.p.cc[i];
    size += std::fabs(a * x.p.cc[i]);
  });
  for (const int32_t sign : {-1, 1}) {
    if (!(sign * c <= cancelledshare * size)) continue;
    double a = 0;
    const int32_t i = only_lock(x, j, sign, a);
    if (i < 0 || con_lower(x, i) == con_upper(x, i)) continue;
    const bool down = sign < 0;
    if (std::isinf(down == (a > 0) ? con_lower(x, i) : con_upper(x, i))) continue; // a coefficient that is not a number
    const double own = down ? var_lower(x, j) : var_upper(x, j);
    if (!std::isinf(own)) {
      double lo, up;
      TVN_prslv_impliedvarbound(x, a, i, j, lo, up);
      if (!(down ? lo >= own : up <= own) || !is_decent(x, i, a, x.rowmax)) continue;
      TVN_prslv_conactivity(x, i, x.act); // believed only afresh
      TVN_prslv_stopped(x.run, x.connz[i]);
      TVN_prslv_impliedvarbound(x, a, i, j, lo, up);
      if (!(down ? lo >= own : up <= own)) continue;
      TVN_prslv_varrelax(x, j, down, !down);
    }
    TVN_prslv_confixatbounddbg(x, i, down == (a > 0));
    return;
  }
}

// Fixes column j when the signs of its rows' duals alone give its reduced cost a sign, 0 allowed.
void try_signs(prslv_context& x, int32_t j) {
  double lo = x.p.c[j], up = lo, size = std::fabs(lo);
  for_col(x, j, [&](int32_t i, double a) {
    const double t = a * x.p.cc[i]; // y_i is at least, or at most, -cc_i where the row has one side
    const bool low = con_upper(x, i) == prslv_inf, upp = con_lower(x, i) == -prslv_inf;
    lo = (a > 0 ? upp : low) ? lo + t : -prslv_inf;
    up = (a > 0 ? low : upp) ? up + t : prslv_inf;
    size += std::fabs(t);
  });
  if (!(size < weaksize)) return;
  if (lo >= -cancelledshare * size && var_lower(x, j) > -prslv_inf)
    TVN_prslv_varfix(x, j, var_lower(x, j), rt_varfixlow);
  else if (up <= cancelledshare * size && var_upper(x, j) < prslv_inf)
    TVN_prslv_varfix(x, j, var_upper(x, j), rt_varfixupr);
}

} // namespace

void TVN_prslv_checkvar(prslv_context& x, int32_t j) {
  if (x.varnz[j] == 0) return;
  if (x.varnz[j] == 1 && may_substitute(x, j)) {
    const auto [i, a] = TVN_prslv_getvarsin(x, j);
    if (x.conlin[i] && x.connz[i] > 1 && TVN_prslv_linvarsininlineq(x, i, j, a)) return;
  }
  if (x.param.keepprimal || !may_use_dual(x, j)) return;
  try_signs(x, j);
  if (x.varlive[j]) try_varforce(x, j);
  if (x.varlive[j] && x.status == prs_undecided && !x.param.keepdual) try_onelock(x, j);
}

prslv_code TVN_prslv_dualbounds(prslv_context& x) {
  const prslv_clock clock(x, task_domvar);
  start_bounds(x, x.dual);
  for (int32_t pass = 0; pass < tightenpasses; pass++)
    for (int32_t j = 0; j < x.p.numvar; j++) {
      if (!x.varlive[j] || x.varnz[j] < 2 || !may_use_dual(x, j)) continue;
      tighten_by_column(x, j, x.dual);
      if (TVN_prslv_stopped(x.run, 2 * x.varnz[j])) return prslv_code::stopped;
    }
  // Bounds that cross say that the problem has no dual point; the optimizer finds the ray.
  for (int32_t i = 0; i < x.p.numcon; i++)
    if (x.conlive[i] && !(x.dual.tyl[i] <= x.dual.tyu[i] + x.param.tols * (1 + std::fabs(x.dual.tyu[i]))))
      return prslv_code::ok;
  for (int32_t j = 0; j < x.p.numvar && x.status == prs_undecided; j++) {
    if (!x.varlive[j] || !may_use_dual(x, j) || x.varnz[j] == 0) continue;
    if (TVN_prslv_stopped(x.run, 2 * x.varnz[j])) return prslv_code::stopped;
    try_dominated(x, j);
  }
  for (int32_t i = 0; i < x.p.numcon; i++)
    if (x.conlive[i] && x.conlin[i]) try_tight_row(x, i);
  return prslv_code::ok;
}

void prslv_undoconfix(prslv_post& w, int32_t rtype) {
  const auto [i] = TVN_prslv_poprecord<confix_record>(w.x.stk);
  solution_view& s = w.s;
  if (s.skc[i] == sk_fix) s.skc[i] = rtype == rt_confixlow ? sk_low : sk_upr;
  // An interior point has duals on both sides of an equality; one side is gone.
  if (!w.certificate()) TVN_prslv_splitdual(s.slc[i] - s.suc[i], sk_unk, s.slc[i], s.suc[i]);
}

void prslv_undovarforce(prslv_post& w) {
  const auto [r, rows] = TVN_prslv_poprecord<varforce_record>(w.x.stk);
  solution_view& s = w.s;
  const int32_t j = r.j, sign = r.sign;
  // The bound at the far end, or the row that asks most.
  double best = w.bound(r.bound);
  int32_t row = -1;
  bool lower = false;
  for (const auto& [i, a, side] : rows) {
    const double need = (w.bound(side) - s.xc[i]) / a;
    if (!(sign * need > sign * best)) continue;
    best = need;
    row = i;
    lower = sign * a > 0;
  }
  s.xx[j] = best;
  s.slx[j] = s.sux[j] = 0;
  s.skx[j] = row >= 0 ? w.rest() : sign > 0 ? sk_low : sk_upr;
  for (const auto& [i, a, side] : rows) {
    s.xc[i] += a * best;
    if (i != row) continue;
    s.xc[i] = w.bound(side);
    s.skc[i] = lower ? sk_low : sk_upr;
  }
}

} // namespace tvn
