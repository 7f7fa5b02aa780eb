// The loop of the primal simplex: price, solve, ratio, check, update; recomputation and recovery around it.
//
// Each named step answers go on, recompute (the factor, x and d are made fresh before the next pricing) or finished
// (s.stop and s.info.solsta say how). A verdict is reached only on fresh data and on the true bounds; it is a verdict
// on the working problem, and the frame proves it on the user's data.
#include "simplex/primal/pstate.h"

#include <cmath>
#include <utility>

namespace tvn {

namespace {

constexpr int64_t budgetreserve = 40; // iterations left: no more perturbation
constexpr int32_t maxupdates = 500;   // on one factor, whatever the cost of a solve says
constexpr int64_t stallplain = 200;   // degenerate steps in a row before random edges
constexpr int64_t calmperiod = 1000;  // iterations between looks at the pivot tolerance
constexpr int64_t listperiod = 5000;  // and between two fillings of a restricted list
constexpr int32_t maxtries = 10;      // setbacks at one iteration: its column is banned
constexpr double smallstep = 1e-12;   // steps up to this count as degenerate,
constexpr double smallgain = 1e-11;   // and gains up to this part of the objective as standing still
constexpr double tightshare = 1e-3;   // of the optimality tolerance, where phase one finds no way on
constexpr double minshare = 1e-9;     // of the largest entry of its column: a smaller pivot is rounding
constexpr double smallpivot = 1e-5;   // wants a factor with no more than
constexpr int32_t fewupdates = 5;
constexpr double signshare = 0.1;    // of the optimality tolerance: with less of the right sign d was rounding
constexpr double sizable = 0.01;     // smaller reduced costs tell nothing by a relative difference
constexpr double leastpivot = 1e-12; // to which the pivot tolerance falls before a ray is believed
constexpr double perturbshare = 0.8; // of the iterations allowed, from which on nothing is perturbed any more,
constexpr int64_t perturbstart = 20; // but in the first few
constexpr int64_t switchlook = 100;  // iterations between looks at the pricing rule,
constexpr int64_t cutlook = 64;      // and at the objective beside its cut

double direction(const primal_state& s, int32_t q, double d) {
  if (s.key[q] == sk_low) return 1.0;
  if (s.key[q] == sk_upr) return -1.0;
  return d < 0 ? 1.0 : -1.0;
}

// Clock, user and limits.
loop_state check_limits(primal_state& s) {
  const auto figures = [&] {
    if (s.phase == 1) psimplex_countinf(s, s.inf, s.infeas);
    psimplex_setobjective(s, s.info);
  };
  if (TVN_simplex_checklimits(s.base, s.iter, figures) == loop_state::finished) return loop_state::finished;
  if (s.phase == 2 && s.param.cuts.uselow && s.iter % cutlook == 0) {
    psimplex_setobjective(s, s.info);
    if (s.info.objective < s.param.cuts.low)
      return TVN_simplex_finish(s.base, simplex_code::objective_range, sol_unknown);
  }
  return loop_state::go_on;
}

// An optimum is reached, but some nonbasics stand between their bounds.
loop_state remove_superbasics(primal_state& s) {
  for (int32_t j = psimplex_findsuperbasic(s); j >= 0; j = psimplex_findsuperbasic(s, j + 1)) {
    const loop_state state = psimplex_rmsuperbasic(s, j);
    TVN_simplex_clearvectors(s.base);
    if (state == loop_state::finished || check_limits(s) == loop_state::finished) return loop_state::finished;
    if (state == loop_state::recompute || s.base.recompute.soon) break;
  }
  return TVN_simplex_recompute(s.base, recompute_why::superbasics);
}

// Phase one is at its end with no bound widened. What the user's tolerance allows is no infeasibility; reduced costs
// within theirs can hide one of their size. False: neither is left.
bool doubt_infeasibility(primal_state& s) {
  if (TVN_simplex_relax(s.tolfeas, s.param.tolx, s.param.tolx)) return true;
  if (!s.perturb.accepting && psimplex_absorb(s, s.param.tolx)) {
    s.perturb.accepting = true;
    s.perturb.allow = false;
    return true;
  }
  const double tight = tightshare * s.param.tols;
  if (s.tol.phaseone <= tight) return false;
  s.tol.phaseone = tight;
  return true;
}

// The pricing found nothing.
loop_state end_of_pricing(primal_state& s) {
  if (!s.freshd || s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::verdict);
  if (s.price.numbanned > 0) {
    for (int32_t j = 0; j < s.work.total; j++) s.price.banned[j] = 0;
    s.price.numbanned = 0;
    s.ratio.lenient = true;
    return psimplex_setback(s);
  }
  if (s.phase == 1 && !s.perturb.on) {
    if (doubt_infeasibility(s)) return TVN_simplex_recompute(s.base, recompute_why::tolerance);
    if (s.inf.noise > 0 && psimplex_askdual(s)) return loop_state::finished; // rounding proves nothing
    return TVN_simplex_finish(s.base, simplex_code::ok, sol_prim_infeas_cer);
  }
  if (s.phase == 2 && !s.perturb.on && psimplex_findsuperbasic(s) >= 0) return remove_superbasics(s);
  if (s.phase == 2 && (!s.perturb.on || s.perturb.accepting)) {
    if (s.perturb.accepting) {
      psimplex_variablereset(s);
      TVN_simplex_formxb(s.fac, s.x);
    }
    return TVN_simplex_finish(s.base, simplex_code::ok, sol_optimal);
  }
  const bool optimal = s.phase == 2 && psimplex_findsuperbasic(s) < 0;
  psimplex_variablereset(s);
  if (++s.perturb.resets >= maxresets) s.perturb.allow = false;
  s.info.count[kind_primal].resets = s.perturb.resets;
  s.info.forcelog = true;
  if (optimal && psimplex_askdual(s)) return loop_state::finished;
  // From here the phase is decided anew on the true bounds, with no bound giving way.
  s.phase = 1;
  return TVN_simplex_recompute(s.base, recompute_why::true_data);
}

} // namespace

double psimplex_columnreducedcost(const primal_state& s, primal_ratio& w, int32_t q) {
  const double* const aq = s.aq.val.data();
  const bool first = s.phase == 1;
  double d = s.cost(q), norm = 0, largest = 0;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const double a = aq[k];
    d -= a * (first ? static_cast<double>(s.infeas[k]) : s.basics[k].cost);
    norm += a * a;
    largest = std::max(largest, std::fabs(a));
  }
  w.colnorm = norm;
  w.colmax = largest;
  return d;
}

namespace {

// Compares two values of one quantity; the more digits agree the more updates the factor may carry: by the number of
// digits, none to seven.
bool wants_refactor(const primal_state& s, double a, double b) {
  constexpr int32_t mostupdates[] = {10, 10, 15, 30, 100, 100, 150, 150};
  constexpr double alldigits = 1e-15;
  const double e = std::max(std::fabs(a - b) / (std::fabs(b) + 1), alldigits);
  const auto digits = static_cast<int32_t>(-std::floor(std::log10(e)));
  return digits < static_cast<int32_t>(std::size(mostupdates)) && s.fac.since > mostupdates[std::max(0, digits)];
}

// No blocking bound.
loop_state unbounded(primal_state& s, int32_t q, double sigma) {
  if (s.phase == 1) {
    // The composite objective is bounded below, so the column has lost its digits.
    psimplex_ban(s, q);
    return psimplex_setback(s);
  }
  if (s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::verdict);
  if (s.perturb.on) {
    psimplex_variablereset(s);
    s.phase = 1;
    return psimplex_setback(s);
  }
  if (s.tol.piv > s.param.tolabspiv) {
    s.tol.piv = std::max(leastpivot, 0.1 * s.tol.piv);
    return TVN_simplex_recompute(s.base, recompute_why::tolerance);
  }
  for (int32_t j = 0; j < s.work.total; j++) s.x[j] = 0;
  s.x[q] = sigma;
  for (int32_t p = 0; p < s.aq.count; p++) s.x[s.fac.head[s.aq.idx[p]]] = -sigma * s.aq.val[s.aq.idx[p]];
  return TVN_simplex_finish(s.base, simplex_code::ok, sol_dual_infeas_cer);
}

void swap_bound(primal_state& s, int32_t q, double sigma, double step) {
  psimplex_movebasics(s, sigma, step);
  s.key[q] = sigma > 0 ? sk_upr : sk_low;
  s.x[q] = sigma > 0 ? s.up[q] : s.lo[q];
  psimplex_setcandidate(s, q);
  s.info.count[kind_primal].boundswaps++;
}

// The leaving variable rests where the step put it: on its bound, which gives way by the tolerance when it must.
void settle_leaving(primal_state& s, int32_t j, bool upper) {
  double& bound = upper ? s.up[j] : s.lo[j];
  const bool outside = upper ? s.x[j] > bound : s.x[j] < bound;
  if (outside && s.perturb.allow && s.phase == 2 && !s.work.is_fixed(j)) {
    bound = s.x[j];
    s.perturb.on = true;
  }
  s.x[j] = bound;
  s.key[j] = s.work.is_fixed(j) ? sk_fix : upper ? sk_upr : sk_low;
}

loop_state update_factor(primal_state& s, int32_t position) {
  switch (TVN_lu_supd(s.fac.factor, position, s.spike)) {
  case lu_code::done: break;
  case lu_code::refactor_advised: TVN_simplex_recomputesoon(s.base, recompute_why::factor_advised); break;
  case lu_code::no_update_room: // which says nothing against the pivot
    s.fac.usable = false;
    return TVN_simplex_recompute(s.base, recompute_why::no_room);
  default: return psimplex_refusedupdate(s, position);
  }
  if (++s.fac.since >= maxupdates) TVN_simplex_recomputesoon(s.base, recompute_why::many_updates);
  return loop_state::go_on;
}

// On a fresh factor the column itself is bad.
loop_state lose_pivot(primal_state& s, int32_t q) {
  if (s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::lost_pivot);
  psimplex_ban(s, q);
  return psimplex_losepivot(s);
}

void steepest_edge_vector(primal_state& s) {
  if (s.price.method != sel_se && s.price.method != sel_se + sel_restrict) return;
  const double before = TVN_lu_getupdatework(s.fac.factor);
  for (int32_t p = 0; p < s.aq.count; p++) s.unit.push(s.aq.idx[p], s.aq.val[s.aq.idx[p]]);
  TVN_lu_btrans(s.fac.factor, s.unit, s.tau, dropbackward, dropbackward);
  s.effort.edge += TVN_lu_getupdatework(s.fac.factor) - before;
}

} // namespace

loop_state psimplex_pivot(primal_state& s, int32_t q, double sigma, double dq, const ratio_result& r) {
  const int32_t leaving = s.fac.head[r.position];
  const double a = s.aq.val[r.position], theta = dq / a;
  TVN_simplex_rowofinverse(s.base, r.position);
  const double arow = TVN_simplex_columndot(s.work, q, s.rho.val.data());
  if (TVN_simplex_ispivotlost(arow, a, psimplex_leastpivot(s))) return lose_pivot(s, q);
  if (wants_refactor(s, arow, a)) TVN_simplex_recomputesoon(s.base, recompute_why::digits);
  const bool full = s.price.method != sel_partial;
  if (full) {
    steepest_edge_vector(s);
    s.effort.price += static_cast<double>(TVN_simplex_formrow(s.base)) + s.alpha.count;
    s.price.rowcount = (7 * s.price.rowcount + s.alpha.count) / 8;
  } else {
    s.effort.price += s.rho.count;
    for (int32_t p = 0; p < s.rho.count; p++) s.y[s.rho.idx[p]] += theta * s.rho.val[s.rho.idx[p]];
  }
  const auto oldcost = static_cast<double>(s.infeas[r.position]); // 0 in phase two
  psimplex_movebasics(s, sigma, r.step);
  // The leaving variable's own change of status goes with it.
  for (int32_t p = 0; p < s.inf.numchanged; p++) {
    if (s.inf.changed[p] != r.position) continue;
    s.inf.changed[p] = s.inf.changed[--s.inf.numchanged];
    s.inf.delta[p] = s.inf.delta[s.inf.numchanged];
    break;
  }
  if (s.infeas[r.position] != 0) s.inf.num--;
  settle_leaving(s, leaving, r.to_upper);
  s.x[q] += sigma * r.step;
  if (full) {
    psimplex_updateduals(s, q, leaving, a, dq);
    s.d[leaving] -= oldcost; // a nonbasic has no phase-one cost
  }
  s.fac.head[r.position] = q;
  s.basics[r.position] = {s.x[q], s.lo[q], s.up[q], s.work.cost[q]};
  s.fac.pos[q] = r.position;
  s.fac.pos[leaving] = -1;
  s.infeas[r.position] = 0;
  psimplex_enterbasis(s, q);
  psimplex_leavebasis(s, leaving);
  s.freshd = false;
  return update_factor(s, r.position);
}

namespace {

// `gain` is the fall of the objective of the phase.
void count_iteration(primal_state& s, double step, double gain) {
  auto& count = s.info.count[kind_primal];
  s.iter++;
  count.iterations++;
  if (s.phase == 1) count.infeasible++;
  if (step <= smallstep) {
    count.degenerate++;
    s.perturb.perioddeg++;
  }
  s.inf.gain += s.phase == 1 ? gain : 0;
  s.stall.steps = gain <= smallgain * s.stall.objscale ? s.stall.steps + 1 : 0;
  // Perturbation ends most stalls. Where it may not act, or has not, bounds are widened all the same, and after many
  // such rounds random edges end the stall with probability one.
  if (s.stall.steps == 0) {
    s.ratio.random = false;
  } else if (s.stall.steps > (s.perturb.allow ? stallperturbed + 2 * s.work.m : stallplain + s.work.m / 4)) {
    s.ratio.random = !psimplex_unstall(s);
    s.stall.steps = 1;
  }
  s.bad.successive = 0;
  s.ratio.lenient = false;
  const int64_t done = TVN_simplex_totaliterations(s.info);
  const double share = static_cast<double>(done) / std::max(1, s.param.maxiterations);
  if ((share > perturbshare && s.iter > perturbstart) || s.param.maxiterations - done < budgetreserve)
    s.perturb.allow = false;
}

loop_state iterate(primal_state& s) {
  const price_result price = psimplex_select(s);
  if (price.j < 0) return end_of_pricing(s);
  const int32_t q = price.j;
  if (s.iter == s.bad.triesiter && s.bad.tries > maxtries) {
    s.bad.tries = 0;
    psimplex_ban(s, q);
    return loop_state::go_on;
  }
  TVN_simplex_solvecolumn(s.base, q);
  const double dq = psimplex_columnreducedcost(s, s.ratio, q), sigma = direction(s, q, dq);
  s.d[q] = dq;
  if (dq * sigma > -signshare * s.tol.dual) {
    // The sign is gone: the reduced cost was rounding.
    if (s.fac.since > 0 || !s.freshd) return psimplex_setback(s);
    psimplex_ban(s, q);
    return loop_state::go_on;
  }
  if (std::fabs(price.d) > sizable && wants_refactor(s, price.d, dq))
    TVN_simplex_recomputesoon(s.base, recompute_why::digits);
  const ratio_result r = s.phase == 1
                             ? psimplex_stepsize_phaseone(s, s.ratio, q, sigma, -std::fabs(dq))
                             : psimplex_stepsize(s, s.ratio, sigma, psimplex_ownrange(s, q, sigma), s.info.randomstate);
  if (r.position < 0 && !r.swap) return unbounded(s, q, sigma);
  if (!r.swap && r.pivot < smallpivot && s.fac.since > fewupdates)
    return TVN_simplex_recompute(s.base, recompute_why::small_pivot);
  if (!r.swap && r.pivot < minshare * s.ratio.colmax && !s.ratio.lenient) {
    if (s.fac.since > fewupdates) return TVN_simplex_recompute(s.base, recompute_why::small_pivot);
    psimplex_ban(s, q);
    return loop_state::go_on;
  }
  loop_state state = loop_state::go_on;
  if (r.swap)
    swap_bound(s, q, sigma, r.step);
  else
    state = psimplex_pivot(s, q, sigma, dq, r);
  // Swaps leave the factor fresh, so that nothing else brings them before the eyes of those who watch progress.
  s.bad.swaps = r.swap ? s.bad.swaps + 1 : 0;
  if (s.bad.swaps >= maxupdates) {
    s.bad.swaps = 0;
    TVN_simplex_recomputesoon(s.base, recompute_why::many_updates);
  }
  if (!r.swap && s.fac.pos[q] < 0) return state; // refused
  count_iteration(s, r.step, std::fabs(dq) * r.step);
  if (state != loop_state::go_on) return state;
  if (s.phase == 1) {
    s.rho.clear();
    s.alpha.clear();
    psimplex_updatephasecost(s);
    if (s.inf.num == 0) return TVN_simplex_recompute(s.base, recompute_why::feasible);
  }
  return loop_state::go_on;
}

} // namespace

bool TVN_simplex_primalfeas(simplex_state& s) {
  primal_state p(s);
  p.tofeasible = true;
  psimplex_optimize(p);
  return s.stop == simplex_code::ok && s.info.solsta == sol_prim_feas;
}

namespace {

void allocate(primal_state& s) {
  sysenv& sys = s.sys;
  const int64_t m = s.work.m, total = s.work.total;
  s.price.weight.reset(sys, total, 0.0);
  for (auto* b : {&s.price.inframe, &s.price.banned, &s.price.side}) b->reset(sys, total, uint8_t{0});
  s.price.cand.reset(sys, total);
  s.price.shortlist.reset(sys, total);
  s.price.candpos.reset(sys, total, -1);
  s.price.plist.reset(sys, 64);
  s.ratio.breaks.reset(sys, 2 * m);
  s.ratio.near.reset(sys, m);
  s.basics.reset(sys, m);
  s.inf.changed.reset(sys, m);
  s.inf.delta.reset(sys, m);
}

} // namespace

namespace {

// Feasible within the working bounds: the answer when these are the true ones, which else come back now.
loop_state rest_feasible(primal_state& s) {
  if (!s.perturb.on) return TVN_simplex_finish(s.base, simplex_code::ok, sol_prim_feas);
  psimplex_variablereset(s);
  s.perturb.allow = false;
  s.phase = 1;
  return TVN_simplex_recompute(s.base, recompute_why::true_data);
}

void run_loop(primal_state& s) {
  allocate(s);
  s.tol.piv = s.param.tolabspiv;
  s.tol.dual = s.tol.phaseone = s.param.tols;
  TVN_lu_puttol(s.fac.factor, tol_relpivot, s.param.tolrelpiv);
  TVN_lu_puttrh(s.fac.factor, trh_refactor, s.param.refactorfreq);
  const bool cold = s.base.cold;
  s.perturb.allow = s.param.degen != degen_none && s.param.maxiterations >= budgetreserve;
  psimplex_choosepricing(s, s.price, s.perturb.resetmode);
  s.perturb.mode = !s.perturb.allow                 ? kick_mode::never
                   : s.param.degen == degen_minimum ? kick_mode::late
                   : cold                           ? kick_mode::early
                   : s.perturb.resetmode            ? kick_mode::late
                                                    : kick_mode::medium;
  if (s.perturb.allow && cold) psimplex_perturbinit(s);
  psimplex_resetweights(s, s.price, s.info.randomstate);
  // Who asks for steepest edge gets its norms, after a crash or from any other start too.
  bool wantnorms = s.price.method == sel_se || s.price.method == sel_se + sel_restrict;
  s.info.forcelog = true;
  s.phase = 1;
  TVN_simplex_recompute(s.base, recompute_why::start);
  for (;;) {
    if (s.base.recompute.any()) {
      if (psimplex_recompute(s) == loop_state::finished) break;
      if (std::exchange(wantnorms, false)) {
        if (!psimplex_exactweights(s)) break;
        psimplex_rebuildcandidates(s);
      }
      if (s.tofeasible && s.phase == 2 && rest_feasible(s) == loop_state::finished) break;
      continue;
    }
    if (check_limits(s) == loop_state::finished) break;
    if (s.iter - s.perturb.periodstart >= s.perturb.period) psimplex_kick(s);
    if (s.iter % switchlook == 0 && !psimplex_choosepricingswitch(s)) break;
    if (s.iter % calmperiod == 0) psimplex_calm(s.bad, s.tol, s.fac.factor, s.param);
    if (s.price.restricted && s.iter - s.price.listed >= listperiod) {
      psimplex_formd(s);
      psimplex_rebuildcandidates(s);
    }
    if (s.price.weighterrors > 3) psimplex_resetweights(s, s.price, s.info.randomstate);
    const loop_state state = iterate(s);
    TVN_simplex_clearvectors(s.base);
#if TVN_CHECK_LEVEL >= 3
    if (state == loop_state::go_on && !s.base.recompute.now) psimplex_check(s);
#endif
    if (state == loop_state::finished) break;
  }
  TVN_simplex_clearvectors(s.base);
  psimplex_setobjective(s, s.info);
}

} // namespace

void psimplex_optimize(primal_state& s) {
  dupvec_groups groups;
  psimplex_groupdupvec(s, groups);
  s.alone = groups.num > 0 || s.tofeasible;
  run_loop(s);
  if (groups.num > 0) psimplex_dupvecfeasible(s, groups);
}

} // namespace tvn
