// Audit of the primal simplex state, recomputed from the working problem and the basis header alone.
//
// At check level 2 it runs after every recomputation, at 3 in every iteration as well; release builds have level 0. A
// breach stops with its name, the index, the iteration and the two values. Cost: O(nonzeros) and one backward solve.
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double tolactivity = 1e-6; // residual of a row, relative to 1 + its largest term
constexpr double tolduals = 1e-5;    // kept against fresh reduced cost, relative to 1 + largest cost and dual term

[[noreturn]] void breach(const primal_state& s, const char* what, int32_t index, double got, double want) {
  TVN_sysenv_stopdbg(&s.sys, "src/simplex/primal/pcheck", __LINE__, "%s: index %d iteration %lld got %.17g want %.17g",
                     what, index, static_cast<long long>(s.iter), got, want);
}

void check_header(const primal_state& s) {
  for (int32_t k = 0; k < s.work.m; k++)
    if (s.fac.pos[s.fac.head[k]] != k) breach(s, "header and position", k, s.fac.pos[s.fac.head[k]], k);
  int32_t basics = 0;
  for (int32_t j = 0; j < s.work.total; j++) {
    const bool basic = s.fac.pos[j] >= 0;
    basics += basic;
    if (basic != (s.key[j] == sk_bas)) breach(s, "key of a basic", j, s.key[j], sk_bas);
  }
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    const basic_entry& b = s.basics[k];
    if (b.x != s.x[j] || b.lo != s.lo[j] || b.up != s.up[j] || b.cost != s.work.cost[j])
      breach(s, "entry of a basic", j, b.x, s.x[j]);
  }
  if (basics != s.work.m) breach(s, "number of basics", -1, basics, s.work.m);
}

void check_nonbasics(const primal_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    const double at = s.key[j] == sk_low ? s.lo[j] : s.key[j] == sk_upr ? s.up[j] : s.x[j];
    if (s.x[j] != at) breach(s, "nonbasic off its bound", j, s.x[j], at);
    if (s.key[j] == sk_fix && !s.work.is_fixed(j)) breach(s, "fixed key", j, s.lo[j], s.up[j]);
    if (s.lo[j] > s.work.lower[j] || s.up[j] < s.work.upper[j])
      breach(s, "narrowed bound", j, s.lo[j], s.work.lower[j]);
  }
}

void check_rows(primal_state& s) {
  buffer<long double> act(s.sys, s.work.m);
  buffer<double> largest(s.sys, s.work.m, 0.0);
  for (int32_t i = 0; i < s.work.m; i++) act[i] = -s.x[i];
  for (int32_t k = 0; k < s.work.n; k++)
    for (int64_t p = s.work.colbeg[k]; p < s.work.colbeg[k + 1]; p++) {
      const double term = s.work.colval[p] * s.x[s.work.m + k];
      act[s.work.colsub[p]] += term;
      largest[s.work.colsub[p]] = std::max(largest[s.work.colsub[p]], std::fabs(term));
    }
  for (int32_t i = 0; i < s.work.m; i++)
    if (!(std::fabs(static_cast<double>(act[i])) <= tolactivity * (1 + largest[i])))
      breach(s, "row equation", i, static_cast<double>(act[i]), 0);
}

void check_duals(primal_state& s) {
  if (s.method == sel_partial) return;
  buffer<double> y(s.sys, s.work.m);
  double scale = 1;
  for (int32_t k = 0; k < s.work.m; k++) {
    s.fac.rhs[k] = static_cast<double>(s.infeas[k]) + s.cost(s.fac.head[k]);
    scale = std::max(scale, std::fabs(s.fac.rhs[k]));
  }
  TVN_simplex_formy(s.fac, y);
  for (const double v : y) scale = std::max(scale, std::fabs(v));
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.fac.pos[j] >= 0 || !s.inlist[j]) continue;
    const double want = s.cost(j) - TVN_simplex_columndot(s.work, j, y.data());
    if (!(std::fabs(s.d[j] - want) <= tolduals * (scale + std::fabs(want)))) breach(s, "reduced cost", j, s.d[j], want);
  }
}

void check_lists(const primal_state& s) {
  for (int32_t p = 0; p < s.numcand; p++)
    if (s.candpos[s.cand[p]] != p) breach(s, "candidate list", p, s.candpos[s.cand[p]], p);
  for (int32_t p = 0; p < s.numshort; p++)
    if (!(s.side[s.shortlist[p]] & side_short)) breach(s, "short list", p, s.shortlist[p], -1);
  for (int32_t p = 0; p < s.numcand; p++) {
    const int32_t j = s.cand[p];
    const bool wanted = s.d[j] * s.d[j] >= s.cutoff * s.weight[j];
    if (wanted && !(s.side[j] & side_short)) breach(s, "candidate above the cutoff", j, s.d[j], s.cutoff);
  }
  for (const spvec* v : {&s.spike, &s.colrow, &s.aq, &s.unit, &s.rho, &s.tau, &s.alpha}) {
    if (v->count != 0) breach(s, "scratch vector in use", -1, v->count, 0);
    for (int64_t i = 0; i < v->val.size(); i++)
      if (v->val[i] != 0 || v->mark[i] != 0) breach(s, "scratch not clean", static_cast<int32_t>(i), v->val[i], 0);
  }
  for (int32_t i = 0; i < s.work.m; i++)
    for (int64_t e = s.work.rowbeg[i]; e < s.work.rowbeg[i + 1]; e++) {
      const bool active = e < s.work.rowend[i];
      const int32_t j = s.work.m + s.work.rowcol[e];
      if (active != (s.inlist[j] && s.fac.pos[j] < 0)) breach(s, "active part of a row", i, active, s.inlist[j]);
      if (s.work.col2row[s.work.row2col[e]] != e) breach(s, "cross pointers", i, 0, 0);
    }
}

} // namespace

void psimplex_check(primal_state& s) {
  if (!TVN_simplex_isfinite(s.work)) return; // such data end without a verdict, and every figure here would be NaN
  check_header(s);
  check_nonbasics(s);
  check_rows(s);
  check_lists(s);
  check_duals(s);
}

} // namespace tvn
