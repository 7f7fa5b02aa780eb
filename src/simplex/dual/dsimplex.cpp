// The loop of the dual simplex: price, row, ratio, column, check, update; recomputation and recovery around it.
//
// Each named step answers go on, recompute (the factor, values and d are made fresh before the next pricing) or
// finished (s.base.stop and s.info.solsta say how). A verdict is reached only on fresh data; optimality on the true
// costs, and when those have become dual infeasible the primal simplex is asked to finish. It is a verdict on the
// working problem, and the frame proves it on the user's data.
#include "simplex/dual/dstate.h"

#include <cmath>
#include <limits>
#include <utility>

namespace tvn {

namespace {

constexpr int64_t budgetreserve = 40; // iterations left: no more perturbation
constexpr int64_t tightreserve = 100; // iterations left: smaller tolerance of the ratio test
constexpr double tolpivmin = 1e-10;
constexpr double smallpivot = 1e-5;  // below it a pivot is taken on a fresh factor only
constexpr double smallstep = 1e-12;  // dual steps up to this count as degenerate
constexpr double weightslack = 0.25; // a weight below this part of the true one is put right before the row may leave
constexpr double worseerror = 1e-7;  // difference between the two values of a pivot at which weights lose digits too
constexpr double sizable = 0.01;     // smaller pivots tell nothing by a relative difference
constexpr int64_t stalliterations = 2000;
constexpr double badloss = 0.1;     // of the objective between two fresh values: steps gain what recomputing takes back
constexpr double smallgain = 1e-9;  // of it, below which a run stands still
constexpr double tightratio = 0.01; // of the optimality tolerance, for the ratio test when few iterations are left
constexpr double usualratio = 0.3;  // and otherwise
constexpr double tightestdual = 1e-7; // optimality tolerance at work, at most that of the user
constexpr int32_t maxkicks = 8;
constexpr int64_t triallook = 4;    // iterations from look to look at a trial
constexpr int64_t trialleast = 16;  // of them, before their cost is compared
constexpr double trialfree = 0.03;  // of the rival's time, which a trial has in any case
constexpr double trialshare = 0.45; // of it, which the trial has to promise
constexpr double trialrows = 2;     // iterations that are expected for each row

void store_xb(const dual_state& s, buffer<double>& x) {
  for (int32_t k = 0; k < s.work.m; k++) x[s.fac.head[k]] = s.basic[k].x;
}

double primal_infeasibility(const dual_state& s) {
  double sum = 0;
  for (int32_t k = 0; k < s.work.m; k++) {
    const dual_basic& b = s.basic[k];
    const double v = std::max(b.lo - b.x, b.x - b.up);
    if (v > s.tolfeas) sum += v;
  }
  return sum;
}

// The figures of a line of the log: objective and sums of infeasibilities, on the true bounds but for the box.
void set_objective(dual_state& s) {
  store_xb(s, s.x);
  s.info.objective = TVN_simplex_pointobjective(s.base);
  s.info.sumpinf = primal_infeasibility(s);
  dsimplex_countinf(s, s.inf);
  s.info.sumdinf = s.phase == 1 ? s.inf.sum : 0.0;
  s.info.phase = s.phase;
}

// Seconds that the run has taken so far, from counts, so that a trial ends alike on any machine. Within 30 percent of
// the clock on problems of 10 to 10,000 rows.
double predicted_seconds(const dual_state& s) {
  constexpr double second_iteration = 4.6e-6, second_row = 4e-10, second_factor = 1.9e-9, second_entry = 2e-9;
  const double factor = s.effort.factor + TVN_lu_getfactorwork(s.fac.factor) + TVN_lu_getupdatework(s.fac.factor);
  return static_cast<double>(s.iter) * (second_iteration + second_row * s.work.m) + second_factor * factor +
         second_entry * s.effort.rows;
}

// Would a usual number of iterations, each as dear as the last half of those so far, take more than the trial may?
bool is_outpaced(dual_state& s) {
  if (s.param.rival <= 0 || s.iter % triallook != 0 || s.iter == 0) return false;
  const dual_effort::mark now = {s.iter, predicted_seconds(s)};
  dual_effort& e = s.effort;
  if (now.iter >= 2 * std::max(e.late.iter, int64_t{trialleast})) e.early = std::exchange(e.late, now);
  if (now.seconds <= trialfree * s.param.rival) return false;
  const double each = (now.seconds - e.early.seconds) / static_cast<double>(now.iter - e.early.iter);
  const double left = trialrows * s.work.m - static_cast<double>(now.iter);
  return now.seconds + each * std::max(left, 0.0) > trialshare * s.param.rival;
}

// Clock, user and limits.
loop_state check_limits(dual_state& s) {
  const int64_t left = TVN_simplex_iterationsleft(s.base);
  if (left < tightreserve) s.tol.ratio = tightratio * s.tol.dual;
  if (left < budgetreserve) s.allowperturb = false;
  if (is_outpaced(s)) return TVN_simplex_finish(s.base, simplex_code::outpaced, sol_unknown);
  return TVN_simplex_checklimits(s.base, s.iter, [&] { set_objective(s); });
}

// Working objective: that of the perturbed problem, which alone rises without fail.
double working_objective(const dual_state& s) {
  double sum = 0;
  for (int32_t j = 0; j < s.work.total; j++) sum += s.cost[j] * s.x[j];
  return sum;
}

// Runs of many times the rows are those of degenerate problems whose ties the first perturbation is too small for; a
// thousand times it brings qap12 from 160,000 iterations to 50,000, and the primal simplex to 2,400 more.
constexpr int32_t longrows = 4, longleast = 500;
constexpr double longfactor = 1000;

bool is_long(const dual_state& s) {
  return s.phase == 2 && !s.stall.longrun && s.allowperturb &&
         s.iter - s.stall.phasestart > longleast + static_cast<int64_t>(longrows) * s.work.m;
}

loop_state perturb_far(dual_state& s) {
  s.stall.longrun = true;
  dsimplex_perturb(s, longfactor);
  s.stall.lastobj = s.stall.bestobj = -HUGE_VAL; // of other costs
  return loop_state::go_on;
}

// Objectives that are fresh tell whether the run gets on. Steps can gain what the next recomputation takes back.
loop_state watch_progress(dual_state& s) {
  const double now = working_objective(s), scale = 1 + std::fabs(now);
  if (now < s.stall.lastobj - badloss * std::max(std::fabs(now), std::fabs(s.stall.lastobj))) {
    if (++s.stall.losses >= 2) {
      s.stall.losses = 0;
      s.stall.lastobj = now;
      if (dsimplex_countsetback(s) == loop_state::finished) return loop_state::finished;
    }
  } else {
    s.stall.losses = 0;
  }
  s.stall.lastobj = now;
  if (is_long(s)) return perturb_far(s);
  if (now > s.stall.bestobj + smallgain * scale) {
    s.stall.bestobj = now;
    s.stall.bestiter = s.iter;
    s.stall.bestsetbacks = s.bad.setbacks;
    return loop_state::go_on;
  }
  if (s.iter - s.stall.bestiter <= stalliterations + 2 * s.work.m) return loop_state::go_on;
  s.stall.bestiter = s.iter;
  if (++s.stall.kicks > maxkicks) return dsimplex_handover(s);
  if (s.param.degen != degen_none) dsimplex_kick(s, static_cast<int32_t>(std::min<int64_t>(s.stall.kicks, 3)));
  return loop_state::go_on;
}

// The dual objective bounds every point from below, but only on the true costs.
loop_state check_cut(dual_state& s) {
  if (!s.param.cuts.useupp || s.phase != 2 || !(working_objective(s) + s.work.offset > s.param.cuts.upp))
    return loop_state::go_on;
  if (!s.perturbed) return TVN_simplex_finish(s.base, simplex_code::objective_range, sol_unknown);
  // Once only: what has to be shifted again says nothing of the cut.
  if (!s.allowperturb) return loop_state::go_on;
  s.allowperturb = false;
  dsimplex_restorecosts(s);
  TVN_simplex_recompute(s.base, recompute_why::true_data);
  return loop_state::go_on;
}

void begin_phase(dual_state& s, int32_t phase) {
  if (phase == 1)
    dsimplex_setphaseone(s);
  else
    dsimplex_setphasetwo(s);
  s.stall.lastobj = s.stall.bestobj = -HUGE_VAL;
  s.stall.bestiter = s.stall.phasestart = s.iter;
  s.stall.losses = 0;
  s.info.forcelog = true;
}

// Shifted costs make any basis dual feasible; the primal simplex finishes on the true ones.

loop_state first_phase(dual_state& s) {
  dsimplex_countinf(s, s.inf);
  // After another optimizer what is wrong is within the tolerance.
  const bool shifts = s.param.dualphaseone == phaseone_shifted || s.info.hotstart == start_handover;
  const bool boxed = s.inf.num > 0 && (s.feasonly || !shifts);
  begin_phase(s, boxed ? 1 : 2);
  if (s.feasonly && !boxed) return TVN_simplex_finish(s.base, simplex_code::ok, sol_dual_feas);
  if (s.allowperturb && s.base.cold) dsimplex_perturb(s, 1);
  return loop_state::go_on;
}

// Fresh factor, d, signs and values.
loop_state recompute(dual_state& s) {
  if (s.iter > 0) s.effort.factor += TVN_lu_getfactorwork(s.fac.factor) + TVN_lu_getupdatework(s.fac.factor);
  if (dsimplex_refactor(s) == loop_state::finished) return loop_state::finished;
  dsimplex_formd(s);
  if (s.phase == 0 && first_phase(s) == loop_state::finished) return loop_state::finished;
  dsimplex_correctsigns(s);
  if (TVN_simplex_poll(s.base)) return loop_state::finished;
  dsimplex_formxb(s);
  dsimplex_savebasis(s, s.saved);
  dsimplex_notecalm(s.bad, s.tol, s.fac.factor, s.param.tolrelpiv);
  s.fresh = true;
  if (check_cut(s) == loop_state::finished || watch_progress(s) == loop_state::finished) return loop_state::finished;
  if (s.base.recompute.now) return loop_state::recompute;
#if TVN_CHECK_LEVEL >= 2
  dsimplex_check(s);
#endif
  return loop_state::go_on;
}

// No row is infeasible in the box: dual feasible, or never.
loop_state end_of_phaseone(dual_state& s) {
  const bool waschanged = s.perturbed;
  if (waschanged) {
    dsimplex_restorecosts(s);
    dsimplex_formd(s);
  }
  dsimplex_countinf(s, s.inf);
  if (s.inf.num > 0 && !waschanged) return TVN_simplex_finish(s.base, simplex_code::ok, sol_dual_infeas_cer);
  TVN_simplex_recompute(s.base, recompute_why::feasible);
  if (s.inf.num > 0) return loop_state::recompute; // on the true costs the box may have more to give
  begin_phase(s, 2);
  if (s.feasonly) return TVN_simplex_finish(s.base, simplex_code::ok, sol_dual_feas);
  if (s.allowperturb) dsimplex_perturb(s, 1);
  return loop_state::recompute;
}

// The pricing found nothing.
loop_state end_of_pricing(dual_state& s) {
  if (!s.fresh || s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::verdict);
  if (s.phase == 1) return end_of_phaseone(s);
  if (!s.perturbed && dsimplex_rmsuperbasics(s) > 0) return loop_state::recompute;
  if (s.base.stop != simplex_code::ok) return loop_state::finished;
  if (!s.perturbed) return TVN_simplex_finish(s.base, simplex_code::ok, sol_optimal);
  dsimplex_restorecosts(s);
  return dsimplex_handover(s);
}

// No entering variable: a proof, or lost digits.
loop_state infeasible(dual_state& s, int32_t r, double sigma) {
  if (s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::verdict);
  if (s.phase == 2 && dsimplex_checkcertificate(s, r, sigma)) {
    std::fill(s.base.infeas.begin(), s.base.infeas.end(), int8_t{0});
    s.base.infeas[r] = sigma > 0 ? 1 : -1;
    return TVN_simplex_finish(s.base, simplex_code::ok, sol_prim_infeas_cer);
  }
  if (s.tol.piv > tolpivmin) {
    s.tol.piv = tolpivmin;
    TVN_simplex_raisepivots(s.fac.factor, 2, 0.5);
  } else {
    s.basic[r].weight = bannedweight;
  }
  return dsimplex_setback(s);
}

// The leaving row: rho is formed on the way, and a weight that was far too small costs the row its place.
int32_t choose_row(dual_state& s) {
  for (;;) {
    const int32_t r = dsimplex_select(s.price, s.basic, s.tolfeas, s.info.randomstate);
    if (r < 0) return r;
    TVN_simplex_rowofinverse(s.base, r);
    if (s.price.method != sel_se && s.price.method != sel_ase) return r;
    const double norm = dsimplex_rownorm(s), kept = s.basic[r].weight;
    if (kept < bannedweight || kept < norm) s.basic[r].weight = norm;
    if (kept >= weightslack * norm || s.price.method == sel_ase) return r;
    s.price.exactweights = false;
    s.rho.clear();
  }
}

// A third to two thirds of the work in the factor, and worth it in any share: docs/decisions/007-end-of-the-dual.md.
void steepest_edge_vector(dual_state& s) {
  if (s.price.method != sel_se) return;
  s.colrow.copy(s.rho);
  TVN_lu_ftranl(s.fac.factor, s.colrow);
  TVN_lu_ftranus(s.fac.factor, s.colrow, s.tau, 0.0, dropforward);
}

// What the difference between the two values of a pivot asks for: by its decade, the number of updates above which the
// factor is renewed before the pivot is taken, and that from which on it is renewed soon. A factor with few updates has
// no better values to give.
struct pivot_rule {
  int32_t now, soon;
};
constexpr int32_t never = std::numeric_limits<int32_t>::max();

pivot_rule rule_of(double error) {
  constexpr pivot_rule rules[] = {{5, 11}, {5, 11}, {15, 16}, {30, 31}, {30, 71}, {30, 71}};
  constexpr double alldigits = 1e-15;
  const double decade = -std::floor(std::log10(std::max(error, alldigits)));
  return decade > 5 ? pivot_rule{never, never} : rules[decade < 1 ? 0 : static_cast<size_t>(decade)];
}

// A small pivot is not worth an infeasibility that the user allows.
bool forgives(dual_state& s, int32_t r) {
  const double v = 1.001 * std::sqrt(s.basic[r].infeas); // the tolerance has to be above it
  if (v > relaxedshare * s.param.tolx) return false;
  (void)TVN_simplex_relax(s.tolfeas, s.param.tolx, v);
  dsimplex_rebuildlist(s.price, s.basic, s.tolfeas);
  return true;
}

// Compares the pivot of the row with that of the column, and either with what a sound basis needs.
loop_state check_pivot(dual_state& s, int32_t r, double arow, double acol) {
  const double error = std::fabs(arow - acol), size = std::min(std::fabs(arow), std::fabs(acol));
  const bool lost = TVN_simplex_ispivotlost(arow, acol, s.tol.piv);
  if (error > worseerror * (1 + size)) s.price.exactweights = false; // their updates share these digits
  if (!lost) {
    if (size < smallpivot && s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::small_pivot);
    if (size < smallpivot && forgives(s, r)) return loop_state::recompute;
    if (std::fabs(arow) <= sizable) return loop_state::go_on;
    const pivot_rule rule = rule_of(error / (std::fabs(arow) + 1));
    if (s.fac.since > rule.now) return TVN_simplex_recompute(s.base, recompute_why::digits);
    if (s.fac.since >= rule.soon) TVN_simplex_recomputesoon(s.base, recompute_why::digits);
    return loop_state::go_on;
  }
  if (s.fac.since > 0) return TVN_simplex_recompute(s.base, recompute_why::lost_pivot);
  // On a fresh factor the row itself is bad; a second time all others are, or there are none.
  if (s.basic[r].weight >= bannedweight) return dsimplex_handover(s);
  s.basic[r].weight = bannedweight;
  dsimplex_notebadpivot(s.bad, s.tol);
  TVN_simplex_raisepivots(s.fac.factor, raisetimes, raiselost);
  return dsimplex_setback(s);
}

// Refused: the new basis is factored afresh. A second failure asks for more care in the factor; one on a fresh factor
// speaks against the pivot, and its row does not come back soon.
loop_state refused_update(dual_state& s, int32_t position) {
  s.fac.usable = false;
  if (s.bad.failedupdates++ > 0) TVN_simplex_raisepivots(s.fac.factor, raisetimes, raiserefused);
  if (s.fac.since == 0) {
    dsimplex_notebadpivot(s.bad, s.tol);
    s.basic[position].weight = bannedweight;
  }
  return dsimplex_setback(s);
}

loop_state update_factor(dual_state& s, int32_t position) {
  lu& f = s.fac.factor;
  const double tolabs = TVN_lu_gettol(f, tol_abspivot);
  TVN_lu_puttol(f, tol_abspivot, std::min(0.1 * s.tol.piv, tolabs));
  const lu_code code = TVN_lu_supd(f, position, s.spike);
  TVN_lu_puttol(f, tol_abspivot, tolabs);
  if (code == lu_code::no_update_room) { // which says nothing against the pivot
    s.fac.usable = false;
    return TVN_simplex_recompute(s.base, recompute_why::no_room);
  }
  if (code != lu_code::done && code != lu_code::refactor_advised) return refused_update(s, position);
  s.fac.since++;
  if (code == lu_code::refactor_advised) TVN_simplex_recomputesoon(s.base, recompute_why::factor_advised);
  if (s.fac.since >= s.bad.updatelimit) TVN_simplex_recomputesoon(s.base, recompute_why::many_updates);
  return loop_state::go_on;
}

void count_iteration(dual_state& s, double step) {
  auto& count = s.info.count[kind_dual];
  s.iter++;
  count.iterations++;
  if (s.phase == 1) count.infeasible++;
  if (step <= smallstep) count.degenerate++;
}

loop_state iterate(dual_state& s) {
  const int32_t r = choose_row(s);
  if (r < 0) return end_of_pricing(s);
  dual_basic& b = s.basic[r];
  const double below = b.lo - b.x, above = b.x - b.up, sigma = below > above ? -1.0 : 1.0;
  s.effort.rows += static_cast<double>(TVN_simplex_formrow(s.base)) + s.alpha.count;
  const dual_ratio ratio = dsimplex_minratio(s, s.ratio, sigma, std::max(below, above));
  if (ratio.q < 0) return infeasible(s, r, sigma);
  s.ratio.laststep = ratio.step;
  const int32_t q = ratio.q, leaving = s.fac.head[r];
  TVN_simplex_solvecolumn(s.base, q);
  const double arow = s.alpha.val[q], pivot = s.aq.val[r];
  if (const loop_state state = check_pivot(s, r, arow, pivot); state != loop_state::go_on) return state;
  steepest_edge_vector(s);
  dsimplex_flip(s, ratio.numflips);
  if (ratio.step == 0 && s.d[q] != 0) { // no negative step: the cost gives way
    s.cost[q] -= s.d[q];
    s.d[q] = 0;
    s.perturbed = true;
  }
  dsimplex_updateduals(s, q, leaving, s.d[q] / arow);
  const double step = (b.x - (sigma > 0 ? b.up : b.lo)) / pivot;
  dsimplex_updatebasics(s, r, step, pivot);
  dsimplex_exchange(s, r, q, sigma > 0);
  b.x = s.x[q] + step;
  dsimplex_notechange(s.price, s.tolfeas, r, b);
  s.fresh = false;
  count_iteration(s, ratio.step);
  return update_factor(s, r);
}

void allocate(dual_state& s) {
  sysenv& sys = s.sys;
  const int64_t m = s.work.m, total = s.work.total;
  s.cost.reset(sys, total);
  s.move.reset(sys, total, int8_t{0});
  s.basic.reset(sys, m, dual_basic{});
  s.price.top.reset(sys, m);
  s.price.list.reset(sys, m);
  s.ratio.cand.reset(sys, total);
  s.ratio.relaxed.reset(sys, total);
  s.ratio.groupend.reset(sys, total + 1);
  s.exchanges.reset(sys, m);
  s.saved.head.reset(sys, m);
  s.saved.key.reset(sys, total);
  s.saved.weight.reset(sys, m);
  if (s.base.dualweight.size() != total) s.base.dualweight.reset(sys, total, 0.0);
}

void start(dual_state& s) {
  allocate(s);
  s.tol.dual = std::min(tightestdual, s.param.tols);
  s.tol.ratio = usualratio * s.tol.dual;
  s.tol.piv = s.param.tolabspiv;
  TVN_lu_puttol(s.fac.factor, tol_relpivot, s.param.tolrelpiv);
  TVN_lu_puttrh(s.fac.factor, trh_refactor, s.param.refactorfreq);
  s.price.method = s.param.dualselection == sel_free ? sel_se : s.param.dualselection;
  s.allowperturb = s.param.degen != degen_none && TVN_simplex_iterationsleft(s.base) >= budgetreserve;
  dsimplex_restorecosts(s);
  if (s.base.cold) TVN_dsimplex_dualcrash(s);
  for (int32_t j = 0; j < s.work.total; j++) TVN_simplex_setlisted(s.base, j, s.fac.pos[j] < 0 && !s.work.is_fixed(j));
  if (!dsimplex_takeweights(s, s.price, s.basic)) dsimplex_resetweights(s, s.price, s.basic);
  s.info.forcelog = true;
  s.bad.updatelimit = dual_maxupdates;
  s.phase = 0; // undecided until the first reduced costs
  TVN_simplex_recompute(s.base, recompute_why::start);
}

} // namespace

void dsimplex_optimize(dual_state& s) {
  start(s);
  for (;;) {
    if (s.base.recompute.any()) {
      if (recompute(s) == loop_state::finished) break;
      continue;
    }
    if (check_limits(s) == loop_state::finished) break;
    const loop_state state = iterate(s);
    TVN_simplex_clearvectors(s.base);
#if TVN_CHECK_LEVEL >= 3
    if (state == loop_state::go_on && !s.base.recompute.now) dsimplex_check(s);
#endif
    if (state == loop_state::finished) break;
  }
  TVN_simplex_clearvectors(s.base);
  store_xb(s, s.x);
  dsimplex_leaveweights(s, s.base);
  // A run that ends before the true bounds have come back leaves a basic point of the true problem all the same.
  if (s.phase != 2 && s.info.solsta != sol_dual_infeas_cer) {
    dsimplex_setphasetwo(s);
    if (s.fac.usable) dsimplex_formxb(s);
  }
  set_objective(s);
}

bool TVN_simplex_dualfeas(simplex_state& base) {
  dual_state s(base);
  s.feasonly = true;
  dsimplex_optimize(s);
  return base.stop == simplex_code::ok && base.info.solsta == sol_dual_feas;
}

} // namespace tvn
