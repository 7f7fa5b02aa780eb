// Newton steps on the optimality conditions of a problem with quadratic rows, from a point near its optimum.
//
// With t = L'x for all roots, weights w_i = -sign_i y_i of the terms (1 for the objective) and the products of duals
// and distances to become a tenth, a step solves
//
//     [ S    L    A' ] [ dx ]     S, W, D diagonal: S of the bounds of x, duals over distances; W the weights of t;
//     [ L'  -I    0  ] [ .. ]     D of the rows, distances over duals; the rows of A have sign_i t_i behind them
//
// which is as sparse as the conic problem, and needs no guess of what is active. It takes the residual of the gradient
// to its square. Cost: a factorisation a step.
#include "kfac/kktfac.h"
#include "prslv/reduced.h"
#include "qcoptdir/qcqo.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr int32_t maxsteps = 20;
constexpr double away = 1e3;    // of the largest x, beside 1
constexpr int32_t patience = 4; // steps that make nothing better
constexpr double most = 1e16;   // distance over dual: such a row is out of it
constexpr double regular = 1e-12;
constexpr double share = 0.1; // of a product that a step leaves

// The worst figure, in units of its tolerance.
double worst(const lp_residuals& r, const lp_tolerances& tol) {
  double w = r.gap / tol.gap;
  for (const double v : {r.bound, r.row, r.cone, r.activity})
    if (!(v / tol.x <= w)) w = v / tol.x;
  for (const double v : {r.dualeq, r.dualsign, r.dualcone, r.comp})
    if (!(v / tol.s <= w)) w = v / tol.s;
  return w;
}

struct polisher {
  sysenv& sys;
  const problem_view& lp;
  const qcone_form& f;
  int32_t m, n, numroot;
  buffer<int64_t> ptr;
  buffer<int32_t> sub;
  buffer<double> val;
  buffer<int64_t> place; // [numroot] entry of its t in the quadratic row, -1: of the objective
  buffer<double> t;      // [numroot]
  buffer<double> h, d;   // [n + numroot], [m + numroot]
  buffer<double> rp, rd; // regularisation
  buffer<double> dx, dy; // right sides, then the step; dy is that of -y
  buffer<long double> gradient;
  kktfac k;

  polisher(sysenv& s, const problem_view& p, const qcone_form& form, const sfk_progress& progress)
      : sys(s), lp(p), f(form), m(p.numcon), n(p.numvar), numroot(form.roots.num) {
    put_columns();
    place_terms();
    h.reset(sys, n + numroot), d.reset(sys, m + numroot), t.reset(sys, numroot);
    rp.reset(sys, n + numroot, regular), rd.reset(sys, m + numroot, regular);
    dx.reset(sys, n + numroot), dy.reset(sys, m + numroot);
    kktfac_params params;
    params.ktpe = kkt_form::sqdt;
    params.progress = progress;
    TVN_kktfac_make(sys, m + numroot, n + numroot, params, k);
  }

  // The form's columns without w and h, whose rows hold sign t in their place.
  void put_columns() {
    int64_t entries = 0;
    for (int32_t j = 0; j < n; j++) entries += f.ptr[j + 1] - f.ptr[j];
    ptr.reset(sys, int64_t{n} + numroot + 1);
    sub.reset(sys, entries + 2 * int64_t{numroot});
    val.reset(sys, entries + 2 * int64_t{numroot});
    std::copy_n(f.ptr.data(), n + 1, ptr.data());
    std::copy_n(f.sub.data(), entries, sub.data());
    std::copy_n(f.val.data(), entries, val.data());
  }
  void place_terms() {
    place.reset(sys, numroot);
    for (const qcone_part& p : f.parts)
      for (int32_t r = p.root; r < p.root + p.num; r++) {
        int64_t at = ptr[n + r];
        place[r] = p.row >= 0 ? at : -1;
        if (p.row >= 0) sub[at++] = p.row;
        sub[at] = m + r;
        val[at++] = -1;
        ptr[n + r + 1] = at;
      }
  }

  // L'x, the weights of t, and what t does to its row.
  void put_terms(const solution_view& s) {
    for (const qcone_part& p : f.parts)
      for (int32_t r = p.root; r < p.root + p.num; r++) {
        double sum = 0;
        for (int64_t e = f.roots.beg[r]; e < f.roots.beg[r + 1]; e++) sum += f.roots.val[e] * s.xx[f.roots.sub[e]];
        t[r] = sum;
        h[n + r] = p.row < 0 ? 1.0 : std::max(0.0, -p.sign * s.y[p.row]);
        if (place[r] >= 0) val[place[r]] = p.sign * sum;
        dx[n + r] = 0;
        d[m + r] = dy[m + r] = 0;
      }
  }

  void put_columns_of(const solution_view& s) {
    TVN_verify_gradient(sys, lp, s.xx, s.y, true, gradient);
    constexpr double never = std::numeric_limits<double>::infinity();
    const auto weight = [](double dual, double dist) { return !(dual > 0) ? 0.0 : dist > 0 ? dual / dist : never; };
    for (int32_t j = 0; j < n; j++) {
      h[j] = (has_lower(lp.bkx[j]) ? weight(s.slx[j], s.xx[j] - lp.blx[j]) : 0.0) +
             (has_upper(lp.bkx[j]) ? weight(s.sux[j], lp.bux[j] - s.xx[j]) : 0.0);
      if (lp.bkx[j] == bk_fx || std::isnan(h[j])) h[j] = std::numeric_limits<double>::infinity();
      dx[j] = share * (s.slx[j] - s.sux[j]) - TVN_verify_reducedcost(lp, j, gradient[j], s.y);
    }
    hold_cones();
  }

  // Members of a cone with a multiplier stay: its dual takes up what is left of their gradients. Others are free.
  void hold_cones() {
    constexpr double none = 1e-4; // of a multiplier, to 1 + max|c|
    double largest = 0;
    for (int32_t j = 0; j < n; j++) largest = std::max(largest, std::fabs(lp.c[j]));
    for (int32_t c = 0; c < lp.cone.num; c++) {
      const array_view<const int32_t> member(lp.cone.members(c), lp.cone.size(c));
      const bool active = std::any_of(member.begin(), member.end(),
                                      [&](int32_t j) { return std::fabs(f.room.sol.snx[j]) > none * (1 + largest); });
      if (!active) continue;
      for (const int32_t j : member) h[j] = std::numeric_limits<double>::infinity();
    }
  }

  void put_rows(const solution_view& s) {
    for (int32_t i = 0; i < m; i++) {
      const bool lower = has_lower(lp.bkc[i]), upper = has_upper(lp.bkc[i]);
      const double low = lower ? s.xc[i] - lp.blc[i] : 0, upp = upper ? lp.buc[i] - s.xc[i] : 0;
      dy[i] = 0;
      if (lp.bkc[i] == bk_fx || (lower && low < 0) || (upper && upp < 0)) {
        d[i] = 0;
        dy[i] = lower && !(upper && upp < 0) ? -low : upp;
        continue;
      }
      const double pull = (lower && s.slc[i] > 0 ? s.slc[i] / std::max(low, 1 / most) : 0.0) +
                          (upper && s.suc[i] > 0 ? s.suc[i] / std::max(upp, 1 / most) : 0.0);
      d[i] = pull > 1 / most ? 1 / pull : most;
      if (pull > 1 / most) dy[i] = -(1 - share) * d[i] * (s.slc[i] - s.suc[i]);
    }
  }

  // The longest step up to 1 that keeps distances and duals.
  double step_length(const solution_view& s) const {
    constexpr double rest = 0.05;
    double a = 1;
    const auto keep = [&](double v, double dv) {
      if (v > 0 && v + a * dv < rest * v) a = -(1 - rest) * v / dv;
    };
    for (int32_t j = 0; j < n; j++) {
      if (has_lower(lp.bkx[j])) keep(s.xx[j] - lp.blx[j], dx[j]);
      if (has_upper(lp.bkx[j])) keep(lp.bux[j] - s.xx[j], -dx[j]);
    }
    for (int32_t i = 0; i < m; i++)
      if (lp.bkc[i] == bk_lo || lp.bkc[i] == bk_up) keep(std::fabs(s.y[i]), s.y[i] > 0 ? -dy[i] : dy[i]);
    return a;
  }

  // False: there is no step.
  bool step(solution_view& s) {
    put_terms(s);
    put_columns_of(s);
    put_rows(s);
    kktfac_numbers numbers;
    numbers.h = h.data(), numbers.rp = rp.data(), numbers.d = d.data(), numbers.rd = rd.data();
    if (TVN_kktfac_numfac(k, numbers) != kktfac_code::ok ||
        TVN_kktfac_solve(k, kkt_target::exact, 1, dx.data(), dy.data()) != kktfac_code::ok)
      return false;
    const double a = step_length(s);
    for (int32_t j = 0; j < n; j++) {
      s.xx[j] += a * dx[j];
      if (has_lower(lp.bkx[j])) s.xx[j] = std::max(lp.blx[j], s.xx[j]);
      if (has_upper(lp.bkx[j])) s.xx[j] = std::min(lp.bux[j], s.xx[j]);
    }
    for (int32_t i = 0; i < m; i++) {
      s.y[i] -= a * dy[i];
      s.slc[i] = std::max(0.0, s.y[i]);
      s.suc[i] = std::max(0.0, -s.y[i]);
    }
    TVN_prslv_refresh(sys, lp, sol_optimal, s, false);
    return true;
  }
};

} // namespace

namespace {

double largest_value(int32_t num, const double* v) {
  double largest = 0;
  for (int32_t j = 0; j < num; j++) largest = std::max(largest, std::fabs(v[j]));
  return largest;
}

} // namespace

bool TVN_qcqo_polish(sysenv& sys, const problem_view& lp, const qcone_form& form, const lp_tolerances& tol,
                     const sfk_progress& progress, solution_view& sol) {
  solution_room room(sys, lp.numcon, lp.numvar);
  copy_solution(lp.numcon, lp.numvar, sol, room.sol);
  for (int32_t j = 0; j < lp.numvar; j++) { // those that the run had: their products are small
    room.sol.slx[j] = form.room.sol.slx[j];
    room.sol.sux[j] = form.room.sol.sux[j];
  }
  polisher p(sys, lp, form, progress);
  const kkt_columns a{p.m + p.numroot, p.n + p.numroot, p.ptr.data(), p.ptr.data() + 1, p.sub.data(), p.val.data()};
  if (TVN_kktfac_autosetup(p.k, a, {}) != kktfac_code::ok) return false;
  double best = worst(TVN_verify_residuals(sys, lp, sol), tol);
  int32_t numworse = 0;
  // Along what only rounding holds, a step goes so far that the measures drown in their own rounding.
  const double farthest = away * (1 + largest_value(lp.numvar, sol.xx));
  for (int32_t step = 0; step < maxsteps && p.step(room.sol); step++) {
    if (!(largest_value(lp.numvar, room.sol.xx) <= farthest)) break;
    const double now = worst(TVN_verify_residuals(sys, lp, room.sol), tol);
    if (!(now < best)) {
      if (++numworse > patience) break;
      continue;
    }
    best = now;
    copy_solution(lp.numcon, lp.numvar, room.sol, sol);
    const lp_verdict v = TVN_verify_claim(sys, lp, sol, sol_optimal, tol);
    if (v.holds && v.solsta == sol_optimal) return true;
  }
  return false;
}

} // namespace tvn
