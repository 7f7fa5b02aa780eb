// Audit of the dual simplex state, recomputed from the working problem and the basis header alone, and the check of a
// proof of infeasibility.
//
// At check level 2 the audit runs after every recomputation, at 3 in every iteration as well; release builds have level
// 0. A breach stops with its name, the index, the iteration and the two values. Cost: O(nonzeros) and two backward
// solves.
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double tolactivity = 1e-6; // residual of a row, relative to 1 + its largest term
constexpr double tolduals = 1e-5;    // kept against fresh reduced cost, relative to 1 + largest cost and dual term
constexpr double tolweight = 0.5;    // kept against true weight, relative, while no lost digits have shown
constexpr int64_t weightiterations = 1000; // updates after which rounding alone may make the difference
constexpr double tolproof = 1e-9;          // gap of a proof, relative to its terms

[[noreturn]] void breach(const dual_state& s, const char* what, int32_t index, double got, double want) {
  TVN_sysenv_stopdbg(&s.sys, "src/simplex/dual/dcheck", __LINE__, "%s: index %d iteration %lld got %.17g want %.17g",
                     what, index, static_cast<long long>(s.iter), got, want);
}

void check_header(const dual_state& s) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    if (s.fac.pos[j] != k) breach(s, "header and position", k, s.fac.pos[j], k);
    if (s.key[j] != sk_bas || s.inlist[j] || s.move[j] != 0) breach(s, "key of a basic", j, s.key[j], sk_bas);
    if (s.basic[k].lo != s.lo[j] || s.basic[k].up != s.up[j]) breach(s, "bounds of a basic", k, s.basic[k].lo, s.lo[j]);
  }
}

void check_nonbasics(const dual_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.fac.pos[j] >= 0) continue;
    const double at = s.key[j] == sk_low || s.key[j] == sk_fix ? s.lo[j] : s.key[j] == sk_upr ? s.up[j] : 0.0;
    if (s.x[j] != at) breach(s, "nonbasic off its bound", j, s.x[j], at);
    if (s.inlist[j] == static_cast<uint8_t>(s.work.is_fixed(j))) breach(s, "listed", j, s.inlist[j], 1);
    const double wrong = s.move[j] == 2 ? std::fabs(s.d[j]) : -s.move[j] * s.d[j];
    if (!(wrong <= 1e3 * s.told * (1 + std::fabs(s.cost[j])))) breach(s, "sign of a reduced cost", j, s.d[j], 0);
  }
}

void check_rows(const dual_state& s) {
  const simplex_work& w = s.work;
  buffer<long double> act(s.sys, w.m);
  buffer<double> largest(s.sys, w.m, 0.0);
  const auto value = [&](int32_t j) { return s.fac.pos[j] >= 0 ? s.basic[s.fac.pos[j]].x : s.x[j]; };
  for (int32_t i = 0; i < w.m; i++) act[i] = -value(i);
  for (int32_t k = 0; k < w.n; k++)
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) {
      const double term = w.colval[p] * value(w.m + k);
      act[w.colsub[p]] += term;
      largest[w.colsub[p]] = std::max(largest[w.colsub[p]], std::fabs(term));
    }
  for (int32_t i = 0; i < w.m; i++)
    if (!(std::fabs(static_cast<double>(act[i])) <= tolactivity * (1 + largest[i])))
      breach(s, "row equation", i, static_cast<double>(act[i]), 0);
}

void check_duals(dual_state& s) {
  const simplex_work& w = s.work;
  buffer<double> y(s.sys, w.m);
  double scale = 1;
  for (int32_t k = 0; k < w.m; k++) {
    s.fac.rhs[k] = s.cost[s.fac.head[k]];
    scale = std::max(scale, std::fabs(s.fac.rhs[k]));
  }
  TVN_simplex_formy(s.fac, y);
  for (const double v : y) scale = std::max(scale, std::fabs(v));
  for (int32_t j = 0; j < w.total; j++) {
    if (!s.inlist[j]) continue;
    const double want = s.cost[j] - TVN_simplex_columndot(w, j, y.data());
    if (!(std::fabs(s.d[j] - want) <= tolduals * (scale + std::fabs(want)))) breach(s, "reduced cost", j, s.d[j], want);
  }
}

// One row, another in each iteration.
void check_weight(dual_state& s) {
  if (s.work.m == 0 || s.method != sel_se || !s.exactweights || s.iter > weightiterations) return;
  const auto k = static_cast<int32_t>(s.iter * 7919 % s.work.m);
  if (s.basic[k].weight >= 1e15) return;
  TVN_simplex_rowofinverse(s.base, k);
  const double norm = dsimplex_rownorm(s);
  s.rho.clear();
  if (!(std::fabs(s.basic[k].weight - norm) <= tolweight * norm)) breach(s, "weight", k, s.basic[k].weight, norm);
}

void check_lists(const dual_state& s) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const dual_basic& b = s.basic[k];
    const double v = std::max(b.lo - b.x, b.x - b.up), want = v > s.tolfeas ? v * v : 0.0;
    if (b.infeas != want) breach(s, "infeasibility", k, b.infeas, want);
    if (want > 0 && !(b.listed & on_list)) breach(s, "list of infeasibilities", k, 0, 1);
    if (want > 0 && want >= s.cutoff * b.weight && !(b.listed & on_top)) breach(s, "short list", k, want, s.cutoff);
  }
  for (const spvec* v : {&s.spike, &s.colrow, &s.aq, &s.unit, &s.rho, &s.tau, &s.alpha}) {
    if (v->count != 0) breach(s, "scratch vector in use", -1, v->count, 0);
    for (int64_t i = 0; i < v->val.size(); i++)
      if (v->val[i] != 0 || v->mark[i] != 0) breach(s, "scratch not clean", static_cast<int32_t>(i), v->val[i], 0);
  }
  for (int32_t i = 0; i < s.work.m; i++)
    for (int64_t e = s.work.rowbeg[i]; e < s.work.rowbeg[i + 1]; e++) {
      const bool active = e < s.work.rowend[i];
      if (active != (s.inlist[s.work.m + s.work.rowcol[e]] != 0)) breach(s, "active part of a row", i, active, 0);
      if (s.work.col2row[s.work.row2col[e]] != e) breach(s, "cross pointers", i, 0, 0);
    }
}

} // namespace

void dsimplex_check(dual_state& s) {
  if (!TVN_simplex_isfinite(s.work)) return; // such data end without a verdict, and every figure here would be NaN
  check_header(s);
  check_nonbasics(s);
  check_rows(s);
  check_lists(s);
  check_duals(s);
  check_weight(s);
}

bool dsimplex_checkcertificate(dual_state& s, int32_t r, double sigma) {
  // x_r = -sum of alpha_j x_j over the nonbasics; the best that bounds allow must fall short of the violated bound.
  const simplex_work& w = s.work;
  const double* const rho = s.rho.val.data();
  long double best = 0, terms = 0;
  double largest = 0;
  for (int32_t j = 0; j < w.total; j++) {
    if (s.fac.pos[j] >= 0) continue;
    const double a = sigma * TVN_simplex_columndot(w, j, rho);
    largest = std::max(largest, std::fabs(a));
    if (a == 0) continue;
    const double bound = a > 0 ? w.upper[j] : w.lower[j];
    if (std::fabs(bound) >= bound_infinity) {
      if (std::fabs(a) > s.tolpiv) return false;
      continue;
    }
    best += static_cast<long double>(a) * bound;
    terms += std::fabs(static_cast<long double>(a) * bound);
  }
  // sigma x_r = -sum of a_j x_j >= -best must exceed sigma times the bound.
  const int32_t j = s.fac.head[r];
  const long double want = sigma > 0 ? w.upper[j] : -w.lower[j];
  return largest > 0 ? -best - want > tolproof * (1 + terms + std::fabs(want)) : -best - want > 0;
}

} // namespace tvn
