// Audit of the primal simplex state, recomputed from the working problem and the basis header alone.
//
// At check level 2 it runs after every recomputation, at 3 in every iteration as well; release builds have level 0. A
// breach stops with its name, the index, the iteration and the two values. Cost: O(nonzeros) and one backward solve.
#include "simplex/base/audit.h"
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

audit_site site(const primal_state& s) { return {s.sys, "src/simplex/primal/pcheck", s.iter}; }

void check_basics(const primal_state& s) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    const basic_entry& b = s.basics[k];
    if (b.x != s.x[j] || b.lo != s.lo[j] || b.up != s.up[j] || b.cost != s.work.cost[j])
      TVN_simplex_breach(site(s), "entry of a basic", j, b.x, s.x[j]);
  }
}

void check_nonbasics(const primal_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    const double at = s.key[j] == sk_low ? s.lo[j] : s.key[j] == sk_upr ? s.up[j] : s.x[j];
    if (s.x[j] != at) TVN_simplex_breach(site(s), "nonbasic off its bound", j, s.x[j], at);
    if (s.key[j] == sk_fix && !s.work.is_fixed(j)) TVN_simplex_breach(site(s), "fixed key", j, s.lo[j], s.up[j]);
    if (s.lo[j] > s.work.lower[j] || s.up[j] < s.work.upper[j])
      TVN_simplex_breach(site(s), "narrowed bound", j, s.lo[j], s.work.lower[j]);
  }
}

void check_duals(primal_state& s) {
  if (s.price.method == sel_partial) return;
  for (int32_t k = 0; k < s.work.m; k++) s.fac.rhs[k] = static_cast<double>(s.infeas[k]) + s.cost(s.fac.head[k]);
  TVN_simplex_checkduals(site(s), s.base, [&](int32_t j) { return s.cost(j); });
}

void check_lists(const primal_state& s) {
  for (int32_t p = 0; p < s.price.numcand; p++)
    if (s.price.candpos[s.price.cand[p]] != p)
      TVN_simplex_breach(site(s), "candidate list", p, s.price.candpos[s.price.cand[p]], p);
  for (int32_t p = 0; p < s.price.numshort; p++)
    if (!(s.price.side[s.price.shortlist[p]] & side_short))
      TVN_simplex_breach(site(s), "short list", p, s.price.shortlist[p], -1);
  for (int32_t p = 0; p < s.price.numcand; p++) {
    const int32_t j = s.price.cand[p];
    const bool wanted = s.d[j] * s.d[j] >= s.price.cutoff * s.price.weight[j];
    if (wanted && !(s.price.side[j] & side_short))
      TVN_simplex_breach(site(s), "candidate above the cutoff", j, s.d[j], s.price.cutoff);
  }
}

} // namespace

void psimplex_check(primal_state& s) {
  if (!TVN_simplex_isfinite(s.work)) return; // such data end without a verdict, and every figure here would be NaN
  TVN_simplex_checkheader(site(s), s.base);
  check_basics(s);
  check_nonbasics(s);
  TVN_simplex_checkrows(site(s), s.work, s.x);
  check_lists(s);
  TVN_simplex_checkscratch(site(s), s.base);
  TVN_simplex_checkactive(site(s), s.base, [&](int32_t j) { return s.inlist[j] && s.fac.pos[j] < 0; });
  check_duals(s);
}

} // namespace tvn
