// Fresh factor, point, phase and reduced costs of the primal simplex, and what a bad event does.
//
// A bad event is a pivot, a column or a factor that proved wrong. It counts, the factor is made anew, and where events
// repeat the tolerances of pivots rise, columns are banned until the next return to the true bounds, and in the end
// the run gives up. In calm periods the tolerance falls again to what the user set.
#include "simplex/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double tolpivmax = 1e-4, tolcareful = 0.1; // the most that tolpiv and the factor's absolute one may rise to
constexpr double careful = 1000;                     // times tolpiv is the factor's absolute tolerance after a refusal
constexpr double feasibleshift = 10;   // times tolfeas: infeasibility that a shift of the working bound absorbs
constexpr double smallprogress = 1e-9; // of the objective, between two fresh values far apart
enum : int32_t { key_absolute = 1, key_relative = 2 }; // tolerances of the factor

} // namespace

loop_state psimplex_finish(primal_state& s, simplex_code code, int32_t solsta) {
  s.stop = code;
  s.info.solsta = solsta;
  return loop_state::finished;
}

void psimplex_setobjective(primal_state& s) {
  s.info.objective = TVN_simplex_pointobjective(s.base);
  s.info.sumpinf = s.phase == 1 ? s.suminf : 0.0;
  s.info.phase = s.phase;
}

void psimplex_ban(primal_state& s, int32_t q) {
  s.banned[q] = 1;
  s.numbanned++;
  psimplex_setcandidate(s, q);
}

loop_state psimplex_setback(primal_state& s) {
  s.refactor = true;
  auto& count = s.info.count[kind_primal];
  count.setbacks = ++s.setbacks;
  s.tries = s.iter == s.triesiter ? s.tries + 1 : 1;
  s.triesiter = s.iter;
  if (s.setbacks <= s.param.maxsetbacks) return loop_state::recompute;
  TVN_simplex_tell(s.base, 1, "Too many (%d) bad events\n", static_cast<int>(s.setbacks));
  return psimplex_finish(s, simplex_code::max_setbacks, sol_unknown);
}

loop_state psimplex_losepivot(primal_state& s) {
  constexpr int32_t recent = 5; // updates: the factor is not to blame
  if (s.fac.since <= recent) s.tolpiv = std::min(tolpivmax, 10 * s.tolpiv);
  return psimplex_setback(s);
}

loop_state psimplex_refusedupdate(primal_state& s, int32_t position) {
  // The new basis stands and is factored afresh, with care.
  lu& f = s.fac.factor;
  s.fac.usable = false;
  s.careful = true;
  TVN_lu_puttol(f, key_relative, std::min(1.5 * TVN_lu_gettol(f, key_relative), 0.1));
  TVN_simplex_tell(s.base, 2, "%-20s: %-d\n", "Pivot row", static_cast<int>(position));
  TVN_simplex_tell(s.base, 2, "%-20s: %-.2e\n", "Pivot", s.aq.val[position]);
  TVN_simplex_tell(s.base, 2, "%-20s: %-.2e\n", "||aj||", std::sqrt(s.colnorm));
  return psimplex_losepivot(s);
}

void psimplex_calm(primal_state& s) {
  if (s.setbacks == s.calmsetbacks) s.tolpiv = std::min(s.tolpiv, std::max(s.param.tolabspiv, 0.1 * s.tolpiv));
  s.calmsetbacks = s.setbacks;
}

namespace {

// A variable that a repair threw out rests at its nearest bound and may not come back before the next reset.
void rest_at_bound(primal_state& s, int32_t j) {
  const double lo = s.lo[j], up = s.up[j];
  if (lo <= -bound_infinity && up >= bound_infinity) {
    s.key[j] = sk_supbas;
  } else if (s.work.is_fixed(j)) {
    s.key[j] = sk_fix;
    s.x[j] = s.work.lower[j];
  } else if (up >= bound_infinity || (lo > -bound_infinity && std::fabs(s.x[j] - lo) <= std::fabs(up - s.x[j]))) {
    s.key[j] = sk_low;
    s.x[j] = lo;
  } else {
    s.key[j] = sk_upr;
    s.x[j] = up;
  }
}

// Keys, lists and bans after a repair of the basis.
loop_state follow_repair(primal_state& s, std::span<const basis_exchange> exchanges) {
  for (const auto [leaving, entering] : exchanges) {
    rest_at_bound(s, leaving);
    psimplex_leavebasis(s, leaving);
    psimplex_enterbasis(s, entering);
    if (s.iter > 0 && !s.banned[leaving]) {
      s.banned[leaving] = 1;
      s.numbanned++;
    }
  }
  s.info.count[kind_primal].artificials += static_cast<int64_t>(exchanges.size());
  TVN_simplex_tell(s.base, 2,
                   "LU decomposition has been recomputed at iteration: %d Artficials. Current: %d Total: %d.\n",
                   static_cast<int>(s.iter), static_cast<int>(exchanges.size()),
                   static_cast<int>(s.info.count[kind_primal].artificials));
  if (++s.successive > 1) {
    if (s.successive == 2) TVN_simplex_tell(s.base, 2, "Singular basis in two succesive iterations.\n");
    s.tolpiv = std::min(tolpivmax, 10 * s.tolpiv);
    TVN_lu_puttol(s.fac.factor, key_relative, std::min(0.5, 2 * TVN_lu_gettol(s.fac.factor, key_relative)));
  }
  return !exchanges.empty() && s.iter > 0 ? psimplex_setback(s) : loop_state::go_on;
}

loop_state refactor(primal_state& s) {
  buffer<basis_exchange> exchanges(s.sys, s.work.m);
  s.workfactor += TVN_lu_getupdatework(s.fac.factor);
  lu& f = s.fac.factor;
  const double absolute = TVN_lu_gettol(f, key_absolute);
  if (s.careful) TVN_lu_puttol(f, key_absolute, std::max(absolute, std::min(careful * s.tolpiv, tolcareful)));
  const int32_t num = TVN_simplex_refactor(s.base, kind_primal, exchanges);
  TVN_lu_puttol(f, key_absolute, absolute);
  s.careful = false;
  if (num < 0) return loop_state::finished;
  s.workfactor += TVN_lu_getfactorwork(s.fac.factor);
  const loop_state state = num > 0 ? follow_repair(s, {exchanges.data(), static_cast<size_t>(num)}) : loop_state::go_on;
  s.refactor = s.soon = false;
  return state == loop_state::finished ? state : loop_state::go_on;
}

} // namespace

// Small infeasibilities of a point that was feasible are rounding: the working bound gives way to them.
// `relative` is to the bound in the user's units.
bool psimplex_absorb(primal_state& s, double relative) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    const double below = s.lo[j] - s.x[j], above = s.x[j] - s.up[j], f = s.work.factor(j);
    const double limit =
        std::max(feasibleshift * s.tolfeas, relative * (1 / f + std::fabs(below > above ? s.lo[j] : s.up[j])));
    if (std::max(below, above) > limit) return false;
  }
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    s.lo[j] = std::min(s.lo[j], s.x[j]);
    s.up[j] = std::max(s.up[j], s.x[j]);
  }
  s.perturbed = true;
  psimplex_countinf(s);
  return true;
}

namespace {

// Steps can gain what the next recomputation takes back. Over many steps only the fresh objective tells progress.
void watch_progress(primal_state& s) {
  const double now = s.phase == 1 ? s.suminf : s.info.objective;
  if (s.phase != s.bestphase || s.resets != s.bestresets || now < s.best - smallprogress * s.objscale) {
    s.best = now;
    s.bestiter = s.iter;
    s.bestphase = s.phase;
    s.bestresets = s.resets;
  } else if (s.iter - s.bestiter > stallperturbed + 2 * s.work.m) {
    s.random = !psimplex_unstall(s);
    s.bestphase = 0; // begin anew
  }
}

} // namespace

// Fresh factor, x, phase and d.
loop_state psimplex_recompute(primal_state& s) {
  if (s.resetmode && s.perturbed && s.iter > 0 && s.resets < maxresets) {
    psimplex_variablereset(s);
    s.info.count[kind_primal].resets = ++s.resets;
    s.phase = 1;
  }
  if (refactor(s) == loop_state::finished) return loop_state::finished;
  TVN_simplex_formxb(s.fac, s.x);
  psimplex_countinf(s);
  const bool wasfeasible = s.phase == 2;
  if (wasfeasible && s.numinf > 0 && s.allowperturb) psimplex_absorb(s, 0);
  psimplex_gatherbasics(s);
  s.phase = s.numinf > 0 ? 1 : 2;
  if (wasfeasible != (s.phase == 2)) s.info.forcelog = true;
  if (wasfeasible && s.phase == 1) s.setbacks++;
  psimplex_setobjective(s);
  s.objscale = 1 + std::fabs(s.phase == 1 ? s.suminf : s.info.objective);
  watch_progress(s);
  psimplex_formd(s);
  psimplex_rebuildcandidates(s);
#if TVN_CHECK_LEVEL >= 2
  psimplex_check(s);
#endif
  return loop_state::go_on;
}

} // namespace tvn
