// Audit of the dual simplex state, recomputed from the working problem and the basis header alone, and the check of a
// proof of infeasibility.
//
// At check level 2 the audit runs after every recomputation, at 3 in every iteration as well; release builds have level
// 0. A breach stops with its name, the index, the iteration and the two values. Cost: O(nonzeros) and two backward
// solves.
#include "simplex/base/audit.h"
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double tolweight = 0.5;          // kept against true weight, relative, while no lost digits have shown
constexpr int64_t weightiterations = 1000; // updates after which rounding alone may make the difference
constexpr double tolproof = 1e-9;          // gap of a proof, relative to its terms

audit_site site(const dual_state& s) { return {s.sys, "src/simplex/dual/dcheck", s.iter}; }

void check_basics(const dual_state& s) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    if (s.inlist[j] || s.move[j] != 0) TVN_simplex_breach(site(s), "basic on the list", j, s.inlist[j], 0);
    if (s.basic[k].lo != s.lo[j] || s.basic[k].up != s.up[j])
      TVN_simplex_breach(site(s), "bounds of a basic", k, s.basic[k].lo, s.lo[j]);
  }
}

void check_nonbasics(const dual_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.fac.pos[j] >= 0) continue;
    const double at = s.key[j] == sk_low || s.key[j] == sk_fix ? s.lo[j] : s.key[j] == sk_upr ? s.up[j] : 0.0;
    if (s.x[j] != at) TVN_simplex_breach(site(s), "nonbasic off its bound", j, s.x[j], at);
    if (s.inlist[j] == static_cast<uint8_t>(s.work.is_fixed(j)))
      TVN_simplex_breach(site(s), "listed", j, s.inlist[j], 1);
    const double wrong = s.move[j] == 2 ? std::fabs(s.d[j]) : -s.move[j] * s.d[j];
    if (!(wrong <= 1e3 * s.tol.dual * (1 + std::fabs(s.cost[j]))))
      TVN_simplex_breach(site(s), "sign of a reduced cost", j, s.d[j], 0);
  }
}

void check_rows(const dual_state& s) {
  buffer<double> x(s.sys, s.work.total);
  for (int32_t j = 0; j < s.work.total; j++) x[j] = s.fac.pos[j] >= 0 ? s.basic[s.fac.pos[j]].x : s.x[j];
  TVN_simplex_checkrows(site(s), s.work, x);
}

void check_duals(dual_state& s) {
  for (int32_t k = 0; k < s.work.m; k++) s.fac.rhs[k] = s.cost[s.fac.head[k]];
  TVN_simplex_checkduals(site(s), s.base, [&](int32_t j) { return s.cost[j]; });
}

// One row, another in each iteration.
void check_weight(dual_state& s) {
  if (s.work.m == 0 || s.price.method != sel_se || !s.price.exactweights || s.iter > weightiterations) return;
  const auto k = static_cast<int32_t>(s.iter * 7919 % s.work.m);
  if (s.basic[k].weight >= bannedweight) return;
  TVN_simplex_rowofinverse(s.base, k);
  const double norm = dsimplex_rownorm(s);
  s.rho.clear();
  if (!(std::fabs(s.basic[k].weight - norm) <= tolweight * norm))
    TVN_simplex_breach(site(s), "weight", k, s.basic[k].weight, norm);
}

void check_lists(const dual_state& s) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const dual_basic& b = s.basic[k];
    const double v = std::max(b.lo - b.x, b.x - b.up), want = v > s.tolfeas ? v * v : 0.0;
    if (b.infeas != want) TVN_simplex_breach(site(s), "infeasibility", k, b.infeas, want);
    if (want > 0 && !(b.listed & on_list)) TVN_simplex_breach(site(s), "list of infeasibilities", k, 0, 1);
    if (want > 0 && want >= s.price.cutoff * b.weight && !(b.listed & on_top))
      TVN_simplex_breach(site(s), "short list", k, want, s.price.cutoff);
  }
}

} // namespace

void dsimplex_check(dual_state& s) {
  if (!TVN_simplex_isfinite(s.work)) return; // such data end without a verdict, and every figure here would be NaN
  TVN_simplex_checkheader(site(s), s.base);
  check_basics(s);
  check_nonbasics(s);
  check_rows(s);
  check_lists(s);
  TVN_simplex_checkscratch(site(s), s.base);
  TVN_simplex_checkactive(site(s), s.base, [&](int32_t j) { return s.inlist[j] != 0; });
  check_duals(s);
  check_weight(s);
}

bool dsimplex_checkcertificate(const dual_state& s, int32_t r, double sigma) {
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
      if (std::fabs(a) > s.tol.piv) return false;
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
