// See polish.h. What the way back through presolve, or a loop in units of its own, has left in the rows and signs is
// more than rounding for some problems. The larger side of each pair tells what is active; with that fixed,
//
//     [ Q_FF  A_WF' ] [  dx ]   [ -(c + Qx - A'y)_F ]
//     [ A_WF    0   ] [ -dy ] = [   (b - Ax)_W      ]      F: columns off their bounds, W: rows at theirs
//
// is the step to the solution. It is solved with a proximal term, for the rows of W may be dependent and Q_FF singular;
// right sides in long double, some rounds on one factor. Cost: an analysis, a factorisation, a few solves; only where
// residuals, or duals without bound, ask for it. (Stellato et al. 2020; Goulart and Chen 2024.)
#include "optimize/polish.h"

#include "misc/solcopy.h"
#include "prslv/reduced.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// Residuals below it need no polish: at 1e-11 it would begin for 13 of 82 problems, not for 3.
constexpr double enough = 1e-9;
constexpr double same_objective = 1e-6;
constexpr int32_t max_rounds = 3;
constexpr double most_exact = enough / 1e-15; // y above it, far along a ray of duals, has no such digits in doubles
constexpr double proximal = 1e-9;             // beside the largest of Q, or of A of a row

double largest(const double* v, int32_t num) {
  double most = 0;
  for (int32_t i = 0; i < num; i++) most = std::max(most, std::fabs(v[i]));
  return most;
}

struct figures {
  lp_residuals r;
  double worst = 0;
  double length = 0; // of y beyond what is exact enough, else 0

  figures(sysenv& sys, const problem_view& lp, const solution_view& sol) : r(TVN_verify_residuals(sys, lp, sol)) {
    for (const double v : {r.bound, r.row, r.dualeq, r.dualsign}) worst = v <= worst ? worst : v;
    length = largest(sol.y, lp.numcon);
    if (!(length > most_exact * (1 + largest(lp.c, lp.numvar)))) length = 0;
  }
  bool good() const { return !(worst > enough || length > 0); }
  // Nothing with a NaN is.
  bool better_than(const figures& o) const {
    const auto held = [](double now, double before) { return now <= std::max(before, enough); };
    // Along what only rounding holds a step may go far, and the residuals drown in that of their terms.
    const bool stays = std::fabs(r.objective - o.r.objective) <= same_objective * (1 + std::fabs(o.r.objective));
    return stays && (worst < o.worst || length < o.length / 2) && held(r.bound, o.r.bound) && held(r.row, o.r.row) &&
           held(r.dualeq, o.r.dualeq) && held(r.dualsign, o.r.dualsign) && held(r.comp, o.r.comp) &&
           held(r.gap, o.r.gap);
  }
};

double slack_cost(const problem_view& lp, int32_t i) { return lp.cslack ? lp.cslack[i] : 0.0; }

// The bound that is active at a value with these duals, or NaN.
double active_bound(int32_t bk, double v, double bl, double bu, double sl, double su) {
  if (bk == bk_fx || (has_lower(bk) && sl > v - bl)) return bl;
  return has_upper(bk) && su > bu - v ? bu : std::nan("");
}

// The equations of what is active.
struct active_system {
  sysenv& sys;
  const problem_view& lp;
  buffer<double> target;           // [numcon] active bound of a row, else NaN
  buffer<int32_t> place, rowplace; // of columns and rows, else -1
  int32_t n = 0, m = 0;
  buffer<int64_t> beg, qbeg;
  buffer<int32_t> sub, qsub;
  buffer<double> val, qval, h, rp, rd, x, y;
  buffer<long double> gradient, activity;
  kktfac k;

  active_system(sysenv& s, const problem_view& l) : sys(s), lp(l) {}

  void choose(solution_view& sol);
  void put_matrix();
  void put_quadratic();
  void put_proximal();
  bool factor(const hs_param& param, run_watch& watch);
  bool step(solution_view& sol);
};

// Columns at a bound are set on it, duals of rows that are not active to 0.
void active_system::choose(solution_view& sol) {
  target.reset(sys, lp.numcon);
  rowplace.reset(sys, lp.numcon);
  place.reset(sys, lp.numvar);
  for (int32_t i = 0; i < lp.numcon; i++) {
    target[i] = active_bound(lp.bkc[i], sol.xc[i], lp.blc[i], lp.buc[i], sol.slc[i], sol.suc[i]);
    rowplace[i] = std::isnan(target[i]) ? -1 : m++;
    if (rowplace[i] < 0) sol.y[i] = 0.0 - slack_cost(lp, i);
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    const double at = active_bound(lp.bkx[j], sol.xx[j], lp.blx[j], lp.bux[j], sol.slx[j], sol.sux[j]);
    place[j] = std::isnan(at) ? n++ : -1;
    if (place[j] < 0) sol.xx[j] = at;
  }
}

void active_system::put_matrix() {
  beg.reset(sys, int64_t{n} + 1);
  int64_t num = 0;
  const auto each = [&](auto f) {
    for (int32_t j = 0; j < lp.numvar; j++) {
      if (place[j] < 0) continue;
      beg[place[j]] = num;
      for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++)
        if (rowplace[lp.sub[p]] >= 0 && lp.val[p] != 0) f(p);
    }
  };
  each([&](int64_t) { num++; });
  sub.reset(sys, num);
  val.reset(sys, num);
  num = 0;
  each([&](int64_t p) {
    sub[num] = rowplace[lp.sub[p]];
    val[num++] = lp.val[p];
  });
  beg[n] = num;
}

void active_system::put_quadratic() {
  h.reset(sys, n, 0.0);
  qbeg.reset(sys, int64_t{n} + 1, int64_t{0});
  qsub.reset(sys, lp.q.beg[lp.q.n]);
  qval.reset(sys, lp.q.beg[lp.q.n]);
  int64_t num = 0;
  for (int32_t j = 0; j < lp.q.n; j++) {
    if (place[j] < 0) continue;
    for (int64_t p = lp.q.beg[j]; p < lp.q.beg[j + 1]; p++) {
      const int32_t i = place[lp.q.sub[p]];
      if (i == place[j]) h[i] = lp.q.val[p];
      if (i < 0 || i == place[j] || lp.q.val[p] == 0) continue;
      qsub[num] = i;
      qval[num++] = lp.q.val[p];
    }
    qbeg[place[j] + 1] = num;
  }
}

void active_system::put_proximal() {
  const double q = std::max(1e-30, *std::max_element(h.begin(), h.end()));
  rp.reset(sys, n, proximal * q);
  rd.reset(sys, m, 1e-30);
  for (int64_t p = 0; p < beg[n]; p++) rd[sub[p]] = std::max(rd[sub[p]], proximal * val[p] * val[p] / q);
}

bool active_system::factor(const hs_param& param, run_watch& watch) {
  put_matrix();
  put_quadratic();
  put_proximal();
  x.reset(sys, n);
  y.reset(sys, m);
  gradient.reset(sys, lp.numvar);
  activity.reset(sys, lp.numcon);
  kktfac_params p;
  p.isa = param.isa;
  p.numthr = param.numthr;
  p.ordtpe = param.order;
  p.progress = {&watch, TVN_runwatch_ask};
  TVN_kktfac_make(sys, m, n, p, k);
  const kkt_quadratic q{qbeg.data(), qbeg.data() + 1, qsub.data()};
  const kkt_columns a{m, n, beg.data(), beg.data() + 1, sub.data(), val.data()};
  if (TVN_kktfac_autosetup(k, a, qbeg[n] > 0 ? q : kkt_quadratic{}) != kktfac_code::ok) return false;
  kktfac_numbers numbers;
  numbers.h = h.data();
  numbers.rp = rp.data();
  numbers.rd = rd.data();
  numbers.hoff = qval.data();
  return TVN_kktfac_numfac(k, numbers) == kktfac_code::ok;
}

bool active_system::step(solution_view& sol) {
  TVN_verify_gradient(sys, lp, sol.xx, sol.y, true, gradient);
  std::fill(activity.begin(), activity.end(), 0.0L);
  for (int32_t j = 0; j < lp.numvar; j++) {
    long double d = gradient[j];
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      d -= static_cast<long double>(lp.val[p]) * sol.y[lp.sub[p]];
      activity[lp.sub[p]] += static_cast<long double>(lp.val[p]) * sol.xx[j];
    }
    if (place[j] >= 0) x[place[j]] = static_cast<double>(-d);
  }
  for (int32_t i = 0; i < lp.numcon; i++)
    if (rowplace[i] >= 0) y[rowplace[i]] = static_cast<double>(target[i] - activity[i]);
  if (TVN_kktfac_solve(k, kkt_target::regularised, 1, x.data(), y.data()) != kktfac_code::ok) return false;
  for (int32_t j = 0; j < lp.numvar; j++)
    if (place[j] >= 0) sol.xx[j] += x[place[j]];
  for (int32_t i = 0; i < lp.numcon; i++)
    if (rowplace[i] >= 0) sol.y[i] -= y[rowplace[i]];
  return true;
}

// Back along a ray of optimal duals; what leaves it is for the steps that follow.
void shorten_duals(const problem_view& lp, double length, solution_view& sol) {
  const double by = std::exp2(std::floor(std::log2(most_exact / length)));
  for (int32_t i = 0; i < lp.numcon; i++)
    if (std::fabs(sol.y[i]) > most_exact) sol.y[i] *= by;
}

// Duals of bounds and activities that follow from x and y.
void follow(sysenv& sys, const problem_view& lp, solution_view& sol) {
  for (int32_t i = 0; i < lp.numcon; i++) {
    const double d = sol.y[i] + slack_cost(lp, i);
    sol.slc[i] = std::max(d, 0.0);
    sol.suc[i] = std::max(-d, 0.0);
  }
  TVN_prslv_refresh(sys, lp, sol_optimal, sol, false);
}

} // namespace

bool TVN_opt_polish(sysenv& sys, const problem_view& lp, const hs_param& param, run_watch& watch, solution_view& sol) {
  if (!lp.q.any()) return false;
  figures best(sys, lp, sol);
  if (best.good()) return false;
  solution_room room(sys, lp.numcon, lp.numvar);
  copy_solution(lp.numcon, lp.numvar, sol, room.sol);
  active_system s(sys, lp);
  s.choose(room.sol);
  if (s.n == 0 || !s.factor(param, watch)) return false;
  const auto improve = [&] {
    bool changed = false;
    for (int32_t round = 0; round < max_rounds && !best.good() && s.step(room.sol); round++) {
      follow(sys, lp, room.sol);
      const figures now(sys, lp, room.sol);
      if (!now.better_than(best)) break;
      best = now;
      changed = true;
      copy_solution(lp.numcon, lp.numvar, room.sol, sol);
    }
    return changed;
  };
  if (best.length == 0) return improve();
  solution_room start(sys, lp.numcon, lp.numvar);
  copy_solution(lp.numcon, lp.numvar, room.sol, start.sol);
  shorten_duals(lp, best.length, room.sol);
  if (improve()) return true;
  copy_solution(lp.numcon, lp.numvar, start.sol, room.sol);
  return improve();
}

} // namespace tvn
