// Phases of the dual simplex: reduced costs from scratch, signs that fit, and the boxed problem of phase one.
//
// A basis is dual feasible when each nonbasic rests on the side that the sign of its reduced cost asks for. What has
// two bounds can always be flipped. When something else is wrong the boxed problem is solved first: all bounds become
// 0 or about +-1 in the directions that are open (free variables get a wide box), so every basis is dual feasible on
// it, its objective is minus the weighted sum of dual infeasibilities, and its optimum is either 0, which gives a
// dual feasible basis, or a ray along which the objective falls for ever (Koberstein and Suhl 2007; the box is that of
// Fourer 1994).
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double freebox = 10000; // half width of the box of a free variable

bool is_boxed(const dual_state& s, int32_t j) { return s.lo[j] > -bound_infinity && s.up[j] < bound_infinity; }

void copy_bounds_of_basics(const dual_state& s, buffer<dual_basic>& basic) {
  for (int32_t k = 0; k < s.work.m; k++) {
    basic[k].lo = s.lo[s.fac.head[k]];
    basic[k].up = s.up[s.fac.head[k]];
  }
}

// The side that the sign of d asks for; where d says nothing, the side where it stands.
uint8_t side(const dual_state& s, int32_t j) {
  const bool haslo = s.lo[j] > -bound_infinity, hasup = s.up[j] < bound_infinity;
  if (!haslo && !hasup) return sk_supbas;
  if (s.work.is_fixed(j)) return sk_fix;
  if (haslo && hasup && std::fabs(s.d[j]) <= s.tol.dual) return s.key[j] == sk_upr ? sk_upr : sk_low;
  if (haslo && hasup) return s.d[j] > 0 ? sk_low : sk_upr;
  return haslo ? sk_low : sk_upr;
}

} // namespace

double dsimplex_trueinfeasibility(const simplex_work& w, int32_t j, double d) {
  const bool haslo = w.lower[j] > -bound_infinity, hasup = w.upper[j] < bound_infinity;
  if (haslo && hasup) return 0;
  if (haslo) return std::max(0.0, -d);
  return hasup ? std::max(0.0, d) : std::fabs(d);
}

void dsimplex_formd(dual_state& s) {
  const simplex_work& w = s.work;
  for (int32_t k = 0; k < w.m; k++) s.fac.rhs[k] = s.cost[s.fac.head[k]];
  TVN_simplex_formy(s.fac, s.y);
  const double* const y = s.y.data();
  for (int32_t j = 0; j < w.total; j++) s.d[j] = s.inlist[j] ? s.cost[j] - TVN_simplex_columndot(w, j, y) : 0.0;
}

void dsimplex_correctsigns(dual_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    const int8_t mv = s.move[j];
    if (mv == 0) continue;
    const double wrong = mv == 2 ? std::fabs(s.d[j]) : -mv * s.d[j];
    if (!(wrong > s.tol.dual)) continue;
    if (is_boxed(s, j)) {
      s.key[j] = mv > 0 ? sk_upr : sk_low;
      s.x[j] = mv > 0 ? s.up[j] : s.lo[j];
      dsimplex_setmove(s, s.move, j);
    } else {
      s.cost[j] -= s.d[j];
      s.d[j] = 0;
      s.perturbed = true;
    }
  }
}

void dsimplex_countinf(const dual_state& s, dual_infeas& inf) {
  inf.num = 0;
  inf.sum = 0;
  for (int32_t j = 0; j < s.work.total; j++) {
    if (!s.inlist[j]) continue;
    const double v = dsimplex_trueinfeasibility(s.work, j, s.d[j]);
    if (!(v > s.tol.dual)) continue;
    inf.num++;
    inf.sum += v;
  }
}

void dsimplex_restnonbasics(dual_state& s) {
  for (int32_t j = 0; j < s.work.total; j++)
    if (s.fac.pos[j] < 0) s.key[j] = side(s, j);
  dsimplex_placenonbasics(s);
}

void dsimplex_placenonbasics(dual_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    dsimplex_setmove(s, s.move, j);
    if (s.fac.pos[j] < 0) s.x[j] = s.key[j] == sk_supbas ? 0.0 : s.key[j] == sk_upr ? s.up[j] : s.lo[j];
  }
  copy_bounds_of_basics(s, s.basic);
}

void dsimplex_setphaseone(dual_state& s) {
  const simplex_work& w = s.work;
  int32_t& state = s.info.randomstate;
  for (int32_t j = 0; j < w.total; j++) {
    const bool haslo = w.lower[j] > -bound_infinity, hasup = w.upper[j] < bound_infinity;
    s.lo[j] = s.up[j] = 0;
    if (!haslo && !hasup) {
      s.lo[j] = -freebox * (1 + TVN_simplex_random(state));
      s.up[j] = freebox * (1 + TVN_simplex_random(state));
    } else if (!hasup) {
      s.up[j] = 1 + TVN_simplex_random(state);
    } else if (!haslo) {
      s.lo[j] = -1 - TVN_simplex_random(state);
    }
  }
  s.phase = 1;
  dsimplex_restnonbasics(s);
}

void dsimplex_setphasetwo(dual_state& s) {
  std::copy(s.work.lower.begin(), s.work.lower.end(), s.lo.begin());
  std::copy(s.work.upper.begin(), s.work.upper.end(), s.up.begin());
  s.phase = 2;
  dsimplex_restnonbasics(s);
}

void dsimplex_formxb(dual_state& s) {
  TVN_simplex_formxb(s.fac, s.x);
  for (int32_t k = 0; k < s.work.m; k++) s.basic[k].x = s.x[s.fac.head[k]];
  dsimplex_rebuildlist(s.price, s.basic, s.tolfeas);
}

} // namespace tvn
