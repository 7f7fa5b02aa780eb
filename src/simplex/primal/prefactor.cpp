// Fresh factor, point, phase and reduced costs of the primal simplex, and what a bad event does.
//
// A bad event is a pivot, a column or a factor that proved wrong. It counts, the factor is made anew, and where events
// repeat the tolerances of pivots rise, columns are banned until the next return to the true bounds, and in the end
// the run gives up. In calm periods the tolerance falls again to what the user set.
#include "simplex/primal/pstate.h"

#include <cmath>
#include <utility>

namespace tvn {

namespace {

constexpr int64_t maxfutile = 40;                    // setbacks without a better point between them
constexpr double tolpivmax = 1e-4, tolcareful = 0.1; // the most that tolpiv and the factor's absolute one may rise to
constexpr double careful = 1000;                     // times tolpiv is the factor's absolute tolerance after a refusal
constexpr double feasibleshift = 10;   // times tolfeas: infeasibility that a shift of the working bound absorbs
constexpr double realgain = 0.01;      // of the gain that steps of phase one claim: less is rounding,
constexpr double maxnoise = 1e-4;      // which may hide reduced costs up to this
constexpr int32_t maxstalls = 30;      // rounds without progress that a run may have
constexpr double smallprogress = 1e-9; // of the objective, between two fresh values far apart

} // namespace

void psimplex_setobjective(const primal_state& s, simplex_info& info) {
  info.objective = TVN_simplex_pointobjective(s.base);
  info.sumpinf = s.phase == 1 ? s.inf.sum : 0.0;
  info.phase = s.phase;
}

void psimplex_ban(primal_state& s, int32_t q) {
  s.price.banned[q] = 1;
  s.price.numbanned++;
  psimplex_setcandidate(s, q);
}

bool psimplex_askdual(primal_state& s) {
  if (s.alone || s.base.repairs == 0) return false;
  s.base.repairs--;
  s.handover = true;
  TVN_simplex_finish(s.base, simplex_code::ok, sol_unknown);
  return true;
}

namespace {

loop_state count_setback(primal_state& s) {
  s.info.count[kind_primal].setbacks = ++s.bad.setbacks;
  if (s.bad.setbacks - s.stall.bestsetbacks > maxfutile && psimplex_askdual(s)) return loop_state::finished;
  if (s.bad.setbacks <= s.param.maxsetbacks) return loop_state::recompute;
  TVN_simplex_tell(s.base, 1, "Too many (%d) bad events\n", static_cast<int>(s.bad.setbacks));
  return TVN_simplex_finish(s.base, simplex_code::max_setbacks, sol_unknown);
}

} // namespace

loop_state psimplex_setback(primal_state& s) {
  TVN_simplex_recompute(s.base, recompute_why::setback);
  s.bad.tries = s.iter == s.bad.triesiter ? s.bad.tries + 1 : 1;
  s.bad.triesiter = s.iter;
  return count_setback(s);
}

loop_state psimplex_losepivot(primal_state& s) {
  constexpr int32_t recent = 5; // updates: the factor is not to blame
  if (s.fac.since <= recent) s.tol.piv = TVN_simplex_raised(s.tol.piv, tolpivmax);
  return psimplex_setback(s);
}

loop_state psimplex_refusedupdate(primal_state& s, int32_t position) {
  // The new basis stands and is factored afresh, with care.
  lu& f = s.fac.factor;
  s.fac.usable = false;
  s.bad.careful = true;
  TVN_simplex_raisepivots(f, raisetimes, raiserefused);
  TVN_simplex_tell(s.base, 2, "%-20s: %-d\n", "Pivot row", static_cast<int>(position));
  TVN_simplex_tell(s.base, 2, "%-20s: %-.2e\n", "Pivot", s.aq.val[position]);
  TVN_simplex_tell(s.base, 2, "%-20s: %-.2e\n", "||aj||", std::sqrt(s.ratio.colnorm));
  return psimplex_losepivot(s);
}

void psimplex_calm(primal_trouble& bad, primal_tolerances& tol, lu& factor, const simplex_param& param) {
  if (bad.setbacks == bad.calmsetbacks) {
    tol.piv = std::min(tol.piv, std::max(param.tolabspiv, 0.1 * tol.piv));
    TVN_simplex_calmpivots(factor, param.tolrelpiv);
  }
  bad.calmsetbacks = bad.setbacks;
}

namespace {

// A variable that a repair threw out rests at its nearest bound and may not come back before the next reset.
void rest_at_bound(simplex_state& s, int32_t j) {
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
loop_state follow_repair(primal_state& s, array_view<const basis_exchange> exchanges) {
  for (const auto [leaving, entering] : exchanges) {
    rest_at_bound(s.base, leaving);
    psimplex_leavebasis(s, leaving);
    psimplex_enterbasis(s, entering);
    if (s.iter > 0 && !s.price.banned[leaving]) {
      s.price.banned[leaving] = 1;
      s.price.numbanned++;
    }
  }
  s.info.count[kind_primal].artificials += static_cast<int64_t>(exchanges.size());
  TVN_simplex_tell(s.base, 2,
                   "LU decomposition has been recomputed at iteration: %d Artficials. Current: %d Total: %d.\n",
                   static_cast<int>(s.iter), static_cast<int>(exchanges.size()),
                   static_cast<int>(s.info.count[kind_primal].artificials));
  if (++s.bad.successive > 1) {
    if (s.bad.successive == 2) TVN_simplex_tell(s.base, 2, "Singular basis in two succesive iterations.\n");
    s.tol.piv = TVN_simplex_raised(s.tol.piv, tolpivmax);
    TVN_simplex_raisepivots(s.fac.factor, 2, 0.5);
  }
  return !exchanges.empty() && s.iter > 0 ? psimplex_setback(s) : loop_state::go_on;
}

loop_state refactor(primal_state& s) {
  buffer<basis_exchange> exchanges(s.sys, s.work.m);
  s.effort.factor += TVN_lu_getupdatework(s.fac.factor);
  lu& f = s.fac.factor;
  const double absolute = TVN_lu_gettol(f, tol_abspivot);
  if (s.bad.careful) TVN_lu_puttol(f, tol_abspivot, std::max(absolute, std::min(careful * s.tol.piv, tolcareful)));
  const int32_t num = TVN_simplex_refactor(s.base, kind_primal, exchanges);
  TVN_lu_puttol(f, tol_abspivot, absolute);
  s.bad.careful = false;
  if (num < 0) return loop_state::finished;
  s.effort.factor += TVN_lu_getfactorwork(s.fac.factor);
  const loop_state state = num > 0 ? follow_repair(s, {exchanges.data(), num}) : loop_state::go_on;
  s.base.recompute = {};
  return state == loop_state::finished ? state : loop_state::go_on;
}

} // namespace

// Small infeasibilities of a point that was feasible are rounding: the working bound gives way to them.
// `relative` is to the bound in the user's units.
bool psimplex_absorb(primal_state& s, double relative) {
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    const double below = s.lo[j] - s.x[j], above = s.x[j] - s.up[j], f = s.work.factor(j);
    const double limit = std::max(std::min(feasibleshift * s.tolfeas, relaxedshare * s.param.tolx),
                                  relative * (1 / f + std::fabs(below > above ? s.lo[j] : s.up[j])));
    if (std::max(below, above) > limit) return false;
  }
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    s.lo[j] = std::min(s.lo[j], s.x[j]);
    s.up[j] = std::max(s.up[j], s.x[j]);
  }
  s.perturb.on = true;
  psimplex_countinf(s, s.inf, s.infeas);
  return true;
}

namespace {

// A point that was feasible is so no more. Where the digits do not suffice for the tolerance it gives way, up to half
// of what the user asked for: else the run would swing between the phases for ever.
loop_state lose_feasibility(primal_state& s) {
  if (TVN_simplex_relax(s.tolfeas, s.param.tolx, 2 * s.tolfeas)) psimplex_countinf(s, s.inf, s.infeas);
  if (s.inf.num == 0) return loop_state::go_on;
  TVN_simplex_raisepivots(s.fac.factor, 2, 0.5);
  return count_setback(s);
}

// Steps can gain what the next recomputation takes back. Over many steps only the fresh objective tells progress.
// A feasible point lost is none, so a swing between the phases is a stall too.
loop_state watch_progress(primal_state& s) {
  const double now = s.phase == 1 ? s.inf.sum : s.info.objective;
  const bool better = s.phase == s.stall.bestphase ? now < s.stall.best - smallprogress * s.stall.objscale
                                                   : s.phase > s.stall.bestphase;
  if (better || s.perturb.resets != s.stall.bestresets) {
    s.stall.best = now;
    s.stall.bestiter = s.iter;
    s.stall.bestsetbacks = s.bad.setbacks;
    s.stall.bestphase = s.phase;
    s.stall.bestresets = s.perturb.resets;
  } else if (s.iter - s.stall.bestiter > stallperturbed + 2 * s.work.m) {
    if (++s.stall.rounds > maxstalls) return TVN_simplex_finish(s.base, simplex_code::stall, sol_unknown);
    s.ratio.random = !psimplex_unstall(s);
    s.stall.bestphase = 0; // begin anew
  }
  return loop_state::go_on;
}

// Phase one stands still though its steps claim a gain: their reduced costs are rounding.
void watch_rounding(primal_infeas& inf, int32_t phase, double toldual) {
  const double claimed = std::exchange(inf.gain, 0.0), before = std::exchange(inf.lastsum, inf.sum);
  if (phase == 1 && claimed > 0 && before - inf.sum < realgain * claimed) inf.noise = std::min(10 * toldual, maxnoise);
  if (phase == 1) return;
  inf.lastsum = HUGE_VAL;
  inf.noise = 0;
}

} // namespace

// Fresh factor, x, phase and d.
loop_state psimplex_recompute(primal_state& s) {
  if (s.perturb.resetmode && s.perturb.on && s.iter > 0 && s.perturb.resets < maxresets) {
    psimplex_variablereset(s);
    s.info.count[kind_primal].resets = ++s.perturb.resets;
    s.phase = 1;
  }
  if (refactor(s) == loop_state::finished) return loop_state::finished;
  TVN_simplex_formxb(s.fac, s.x);
  if (TVN_simplex_poll(s.base)) return loop_state::finished;
  psimplex_countinf(s, s.inf, s.infeas);
  const bool wasfeasible = s.phase == 2;
  if (wasfeasible && s.inf.num > 0 && s.perturb.allow) psimplex_absorb(s, 0);
  if (wasfeasible && s.inf.num > 0 && lose_feasibility(s) == loop_state::finished) return loop_state::finished;
  psimplex_gatherbasics(s, s.basics);
  // Within what the user allows, and no better since the last look.
  const bool forgiven = s.inf.num > 0 && !s.perturb.on && s.inf.sum <= relaxedshare * s.param.tolx;
  if (forgiven && s.inf.forgiven && TVN_simplex_relax(s.tolfeas, s.param.tolx, s.inf.sum))
    psimplex_countinf(s, s.inf, s.infeas);
  s.inf.forgiven = forgiven;
  s.phase = s.inf.num > 0 ? 1 : 2;
  if (wasfeasible != (s.phase == 2)) s.info.forcelog = true;
  psimplex_setobjective(s, s.info);
  s.stall.objscale = 1 + std::fabs(s.phase == 1 ? s.inf.sum : s.info.objective);
  watch_rounding(s.inf, s.phase, s.tol.dual);
  if (watch_progress(s) == loop_state::finished) return loop_state::finished;
  psimplex_formd(s);
  psimplex_rebuildcandidates(s);
#if TVN_CHECK_LEVEL >= 2
  psimplex_check(s);
#endif
  return loop_state::go_on;
}

} // namespace tvn
