// Bounds on the row duals through column bounds that rows imply, and what they decide: tight rows, fixed columns.
//
// Andersen and Andersen 1995; Gondzio 1997; Meszaros and Suhl 2003. A column bound that a row implies may be dropped:
// the feasible set stays, and each optimal dual of the problem without the bound is one of the problem with it. The
// column's reduced cost then has a sign, which bounds the duals of its rows; one without both bounds is implied free,
// and where it stands in one row alone it fixes that row's dual. Bounds lead to more bounds through longer columns.
//
// Let D(S) be the set of dual feasible points without the column bounds S, a convex set given by one condition for each
// row and column.
// - A bound on y_i remembers the column that gave it and when. Its reasons are the dropped bounds of that column and of
//   the columns behind the bounds that were known before: with these in S it holds on D(S). A bound that stands is not
//   replaced, so no bound is its own reason.
// - A strict sign of d_j or cc_i + y_i on D(S) makes the condition of that column or row redundant in D(S); a weak one
//   does so when no reason of it is that condition or one that has been removed. The column then goes to its bound, the
//   row becomes an equality, and D(S) stays the same set.
// - S is dropped in the problem that is left, bound by bound, each proven afresh while those before it are gone. So the
//   optimizer's duals lie in D(S), and the undo of what was decided finds the right signs. The undo of a dropped bound
//   is that its dual is 0.
// Bounds that serve nothing stay. Cost: a few passes over the entries; the reasons have a budget of as many.
#include "prslv/prslvint.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr int32_t sweeps = 2;        // over the columns, for bounds behind bounds
constexpr int32_t manyreasons = 100; // beyond, more bounds would be lost than is gained
constexpr int64_t budget = 10;       // entries looked at for reasons, times those of the problem
constexpr int64_t leastwork = 1000;  // and so many more

// Side 2 k is the lower and 2 k + 1 the upper one of row or column k.
struct deductions {
  buffer<int32_t> impliedby;  // [2 numvar] row that implies the bound, -1: the bound counts
  buffer<char> lost;          // [2 numcon] the least (largest) activity has a term whose bound may be dropped
  buffer<double> yl, yu;      // [numcon] bounds on y
  buffer<int32_t> from, time; // [2 numcon] the column that gave one, -1: the row's own sign; when
  buffer<int32_t> weakly;     // [2 numcon] a column that gives what the row's own sign says, -1: none
  int32_t now = 0;
};

bool is_judged(const prslv_context& x, int32_t j) { return x.varlive[j] && x.varnz[j] > 0 && may_use_dual(x, j); }

// --- bounds that may be dropped

// A row implies a bound only while all bounds that it leans on stay; `lost` tells. Running activities point at the row,
// which is asked afresh before a bound is really dropped.
void find_implied(const prslv_context& x, int32_t j, buffer<double>& rowmax, deductions& w) {
  const double l = var_lower(x, j), u = var_upper(x, j);
  int32_t low = -1, upp = -1;
  for_col(x, j, [&](int32_t i, double a) {
    if (!x.conlin[i] || (low >= 0 && upp >= 0)) return;
    double lo, up;
    TVN_prslv_impliedvarbound(x, a, i, j, lo, up);
    const bool positive = a > 0; // then the lower bound leans on the largest activity of the others
    if (low < 0 && l > -prslv_inf && lo >= l && !w.lost[2 * i + positive] && is_decent(x, i, a, rowmax)) low = i;
    if (upp < 0 && u < prslv_inf && up <= u && !w.lost[2 * i + !positive] && is_decent(x, i, a, rowmax)) upp = i;
  });
  w.impliedby[2 * j] = low;
  w.impliedby[2 * j + 1] = upp;
  if (low < 0 && upp < 0) return;
  for_col(x, j, [&](int32_t i, double a) {
    if (low >= 0) w.lost[2 * i + (a < 0)] = 1;
    if (upp >= 0) w.lost[2 * i + (a > 0)] = 1;
  });
}

double stored_bound(const prslv_context& x, int32_t side) {
  return side % 2 ? var_upper(x, side / 2) : var_lower(x, side / 2);
}
bool is_missing(const prslv_context& x, const deductions& w, int32_t side) {
  return w.impliedby[side] >= 0 || std::isinf(stored_bound(x, side));
}

// --- bounds on y

// Takes the bound v on one side of a row from column j when it is the first one that says more than the row's sign.
void put_bound(const prslv_context& x, int32_t side, double v, int32_t j, deductions& w) {
  const bool upper = side % 2;
  if (!(std::fabs(v) < bound_infinity) || w.from[side] >= 0) return;
  double& y = (upper ? w.yu : w.yl)[side / 2];
  const double gain = upper ? y - v : v - y;
  if (gain > x.param.tols * (1 + std::fabs(v))) {
    y = v;
    w.from[side] = j;
    w.time[side] = ++w.now;
  } else if (gain >= 0 && w.weakly[side] < 0) {
    w.weakly[side] = j;
  }
}

void derive(const prslv_context& x, int32_t j, deductions& w) {
  const bool nolow = is_missing(x, w, 2 * j), noupp = is_missing(x, w, 2 * j + 1);
  if (!noupp && !nolow) return;
  const prslv_dualsum s = TVN_prslv_sumduals(x, j, w.yl.data(), w.yu.data());
  const double c = x.p.c[j];
  if (s.size > lostdigits * (1 + std::fabs(c))) return; // the digits are gone
  for_col(x, j, [&](int32_t i, double a) {
    if (std::fabs(a) <= x.param.tols) return;
    const bool positive = a > 0;
    const double lo = a * (positive ? w.yl[i] : w.yu[i]), up = a * (positive ? w.yu[i] : w.yl[i]);
    const bool ownlo = std::isinf(lo), ownup = std::isinf(up);
    if (noupp && s.numlo == (ownlo ? 1 : 0)) put_bound(x, 2 * i + positive, (c - (s.lo - (ownlo ? 0 : lo))) / a, j, w);
    if (nolow && s.numup == (ownup ? 1 : 0)) put_bound(x, 2 * i + !positive, (c - (s.up - (ownup ? 0 : up))) / a, j, w);
  });
}

// False when there is nothing to go by, or the bounds cross: then there is no dual point.
bool deduce(prslv_context& x, deductions& w) {
  sysenv& sys = *x.sys;
  const int64_t m = x.p.numcon, n = x.p.numvar;
  w.impliedby.reset(sys, 2 * n, -1);
  w.lost.reset(sys, 2 * m, 0);
  bool any = false;
  for (int32_t j = 0; j < n; j++) {
    if (!is_judged(x, j)) continue;
    find_implied(x, j, x.rowmax, w);
    any = any || w.impliedby[2 * j] >= 0 || w.impliedby[2 * j + 1] >= 0;
    if (TVN_prslv_stopped(x.run, 2 * x.varnz[j])) return false;
  }
  if (!any) return false;
  for (auto* b : {&w.from, &w.weakly}) b->reset(sys, 2 * m, -1);
  w.time.reset(sys, 2 * m, 0);
  for (auto* b : {&w.yl, &w.yu}) b->reset(sys, m);
  for (int32_t i = 0; i < m; i++) {
    w.yl[i] = x.conlive[i] && con_upper(x, i) == prslv_inf ? -x.p.cc[i] : -prslv_inf;
    w.yu[i] = x.conlive[i] && con_lower(x, i) == -prslv_inf ? -x.p.cc[i] : prslv_inf;
  }
  for (int32_t sweep = 0; sweep <= sweeps; sweep++)
    for (int32_t j = 0; j < n; j++) {
      if (!is_judged(x, j) || (sweep == 0 && x.varnz[j] > 1)) continue;
      derive(x, j, w);
      if (TVN_prslv_stopped(x.run, 2 * x.varnz[j])) return false;
    }
  for (int32_t i = 0; i < m; i++)
    if (!(w.yl[i] <= w.yu[i] + x.param.tols * (1 + std::fabs(w.yu[i])))) return false;
  return true;
}

// --- reasons

struct explanation {
  prslv_context& x;
  const deductions& w;
  bool weak = false, ok = true;
  int32_t row = -1, col = -1;  // whose own condition is in question
  vec<int32_t> todo, reasons;  // sides of rows, twice, odd for the row's own sign; sides of columns
  buffer<char> seen, isreason; // [4 numcon], [2 numvar] clean between uses
  int64_t work = 0;            // left
};

// The bound on a side of a row as it was known at `when`.
void explain_row(int32_t side, int32_t when, explanation& e) {
  const bool own = e.w.from[side] < 0 || e.w.time[side] >= when;
  const int32_t q = 2 * side + own;
  if (e.seen[q]) return;
  e.seen[q] = 1;
  e.todo.push_back(q);
}

// The missing bound of a column, and the bounds on y that its condition met at `when` beside row `except`.
void explain_column(int32_t side, int32_t except, int32_t when, explanation& e) {
  const prslv_context& x = e.x;
  const int32_t j = side / 2;
  if (!x.varlive[j]) { // fixed since: its sign is that of the condition
    e.ok = e.ok && !e.weak;
    return;
  }
  e.ok = e.ok && !(e.weak && j == e.col);
  if (!std::isinf(stored_bound(x, side)) && !e.isreason[side]) {
    e.isreason[side] = 1;
    e.reasons.push_back(side);
  }
  e.work -= x.col.len[j];
  for_col(x, j, [&](int32_t i, double a) {
    if (i != except) explain_row(2 * i + ((a > 0) != (side % 2 == 1)), when, e);
  });
}

// The side of a column whose missing bound gave that of a row: c >= a'y without an upper bound bounds positive terms
// from above.
int32_t giving_side(const prslv_context& x, int32_t j, int32_t side) {
  double a = 0;
  for_col(x, j, [&](int32_t i, double v) {
    if (i == side / 2) a = v;
  });
  return 2 * j + ((a > 0) == (side % 2 == 1));
}

void follow(explanation& e) {
  const prslv_context& x = e.x;
  for (int64_t k = 0; k < e.todo.size() && e.ok; k++) {
    const int32_t side = e.todo[k] / 2, i = side / 2;
    if (e.todo[k] % 2) { // the row's own sign must be there, and not be what is asked for
      const bool there = x.conlive[i] && std::isinf(side % 2 ? con_lower(x, i) : con_upper(x, i));
      e.ok = !e.weak || (there && i != e.row);
    } else {
      explain_column(giving_side(x, e.w.from[side], side), i, e.w.time[side], e);
    }
    e.ok = e.ok && e.work > 0 && e.reasons.size() <= manyreasons;
  }
}

void clear(explanation& e) {
  for (int64_t k = 0; k < e.todo.size(); k++) e.seen[e.todo[k]] = 0;
  for (int64_t k = 0; k < e.reasons.size(); k++) e.isreason[e.reasons[k]] = 0;
  e.todo.clear();
  e.reasons.clear();
  e.ok = true;
}

// Drops the bounds that are reasons, in the order in which they were found to be implied. False when a proof fails; the
// bounds that are gone were not needed.
bool drop_reasons(explanation& e) {
  prslv_context& x = e.x;
  int32_t* r = e.reasons.data();
  std::sort(r, r + e.reasons.size());
  for (int64_t k = 0; k < e.reasons.size(); k++) {
    const int32_t j = r[k] / 2, i = e.w.impliedby[r[k]];
    const bool upper = r[k] % 2;
    e.work -= x.row.len[i];
    if (!x.conlive[i] || !TVN_prslv_rowimplies(x, i, j, !upper, stored_bound(x, r[k]))) return false;
    TVN_prslv_varrelax(x, j, !upper, upper);
  }
  return true;
}

// --- decisions

void try_column(prslv_context& x, int32_t j, const deductions& w, explanation& e) {
  const prslv_dualsum s = TVN_prslv_sumduals(x, j, w.yl.data(), w.yu.data());
  const double c = x.p.c[j], size = s.size + std::fabs(c),
               tol = x.param.tols * (1 + std::fabs(c)) + dualnoiseshare * size;
  const double dlo = s.numup ? -prslv_inf : c - s.up, dup = s.numlo ? prslv_inf : c - s.lo;
  e.weak = !(dlo > tol || dup < -tol);
  if (e.weak && !(size < weaksize)) return;
  const double least = e.weak ? -cancelledshare * size : tol;
  const bool low = dlo >= least, upp = !low && dup <= -least;
  const int32_t side = 2 * j + upp;
  if ((!low && !upp) || std::isinf(stored_bound(x, side))) return;
  bool derived = !e.weak; // row signs alone were asked before
  for_col(x, j, [&](int32_t i, double a) { derived = derived || w.from[2 * i + ((a > 0) == low)] >= 0; });
  if (!derived) return;
  e.row = -1;
  e.col = j;
  for_col(x, j, [&](int32_t i, double a) { explain_row(2 * i + ((a > 0) == low), w.now + 1, e); });
  follow(e);
  if (e.ok && !e.isreason[side] && drop_reasons(e)) {
    TVN_prslv_varfix(x, j, stored_bound(x, side), low ? rt_varfixlow : rt_varfixupr);
    x.run.stats->numdualfixed++;
  }
  clear(e);
}

void try_row(prslv_context& x, int32_t i, bool upper, const deductions& w, explanation& e) {
  const double cc = x.p.cc[i], tol = x.param.tols * (1 + std::fabs(cc)), y = upper ? w.yu[i] : w.yl[i];
  const int32_t side = 2 * i + upper;
  if (std::isinf(upper ? con_upper(x, i) : con_lower(x, i)) || con_lower(x, i) == con_upper(x, i)) return;
  const double d = upper ? -(y + cc) : y + cc;
  e.weak = !(d > tol + rownoiseshare * std::fabs(y));
  const bool isplain = w.from[side] < 0;
  if (e.weak && (isplain ? w.weakly[side] < 0 : !(d >= 0))) return;
  e.row = i;
  e.col = -1;
  if (isplain)
    explain_column(giving_side(x, w.weakly[side], side), i, w.now + 1, e);
  else
    explain_row(side, w.now + 1, e);
  follow(e);
  if (e.ok && drop_reasons(e)) {
    TVN_prslv_confixatbounddbg(x, i, !upper);
    x.run.stats->numdualtight++;
  }
  clear(e);
}

} // namespace

prslv_code TVN_prslv_impliedduals(prslv_context& x) {
  const prslv_clock clock(x, task_domvar);
  deductions w;
  if (!deduce(x, w)) return x.run.stop ? prslv_code::stopped : prslv_code::ok;
  explanation e{x, w, false, true, -1, -1, vec<int32_t>(*x.sys), vec<int32_t>(*x.sys), {}, {}, 0};
  e.seen.reset(*x.sys, 4 * static_cast<int64_t>(x.p.numcon), 0);
  e.isreason.reset(*x.sys, 2 * static_cast<int64_t>(x.p.numvar), 0);
  e.work = budget * (TVN_prslv_getnz(x) + leastwork);
  for (int32_t j = 0; j < x.p.numvar && e.work > 0; j++) {
    if (!is_judged(x, j)) continue;
    try_column(x, j, w, e);
    if (TVN_prslv_stopped(x.run, x.varnz[j])) return prslv_code::stopped;
  }
  for (int32_t i = 0; i < x.p.numcon && e.work > 0; i++) {
    if (!x.conlive[i] || !x.conlin[i]) continue;
    for (const bool upper : {false, true}) try_row(x, i, upper, w, e);
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
  }
  return prslv_code::ok;
}

} // namespace tvn
