// See attempt.h. Presolve -> primal or dual form -> standard form -> loop; each proposal of the loop is carried back to
// the user's problem and judged there, so that the loop can go on when it does not hold.
#include "optimize/attempt.h"

#include "kfac/kktorder.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// Residuals on the user's data are relative to each bound, those of the loop to the largest one.
constexpr double reltol = 100, relgap = 10;
constexpr double leasttol = 1e-9; // rounding of the data allows no smaller one

void presolve_line(void* handle, const char* line) {
  const ipm_run& run = *static_cast<const ipm_run*>(handle);
  run.info.line = line;
  run.progress(ipm_event::presolve_line, run.info);
  run.info.line = nullptr;
}

} // namespace

lp_tolerances TVN_opt_tolerances(const hs_param& p, double factor) {
  lp_tolerances tol{factor * std::max(leasttol, reltol * p.tolpfeas), factor * std::max(leasttol, reltol * p.toldfeas)};
  tol.gap = factor * std::max(leasttol, relgap * p.tolgap);
  return tol;
}

bool attempt::presolve() {
  TVN_prslv_copyeditable(run.sys, run.near, edited);
  ctx = TVN_prslv_make(run.sys, edited.p);
  run.progress(ipm_event::begin_presolve, run.info);
  ipm_run told = run;
  TVN_prslv_putsink(*ctx, {&told, presolve_line});
  const prslv_code code = TVN_prslv_reduce(*ctx, run.param.prslv, run.info.prslv, {&run.watch, TVN_runwatch_poll});
  TVN_prslv_putsink(*ctx, {});
  run.progress(ipm_event::end_presolve, run.info);
  if (code == prslv_code::stopped) {
    run.info.response = static_cast<hs_code>(run.watch.stop);
    return false;
  }
  if (run.info.prslv.status == prs_prim_infeas) {
    TVN_prslv_getcertificate(*ctx, run.sol);
    run.info.hs.solsta = sol_prim_infeas_cer;
    return false;
  }
  TVN_prslv_copyreduced(run.sys, *ctx, reduced);
  TVN_prslv_keeprecords(*ctx);
  return true;
}

namespace {

// Entries that A A' or A'A may have.
struct clique_bounds {
  double rows = 0, cols = 0;
};

clique_bounds bound_cliques(sysenv& sys, const problem_view& lp) {
  buffer<int64_t> length(sys, lp.numcon, int64_t{0});
  clique_bounds b;
  for (int32_t j = 0; j < lp.numvar; j++) {
    const auto len = static_cast<double>(lp.ptre[j] - lp.ptrb[j]);
    b.cols += len * len;
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) length[lp.sub[p]]++;
  }
  for (int32_t i = 0; i < lp.numcon; i++) b.rows += static_cast<double>(length[i]) * static_cast<double>(length[i]);
  return b;
}

double predicted_seconds(const ipm_run& run, const hs_problem& hs) {
  kktfac_params p;
  p.ktpe = run.param.hs.form;
  p.densecol = run.param.hs.densecol;
  p.ordtpe = sorder_method::appminloc2;
  p.progress = {&run.watch, TVN_runwatch_ask};
  kkt_plan plan;
  if (TVN_kktfac_order(run.sys, hs.a, {}, p, false, plan) != sfk_code::ok) return HUGE_VAL;
  return plan.seconds;
}

} // namespace

// The dual form has to promise half of the time. Where columns are many its factor is large, and what few long columns
// cost the primal, the factor of that takes apart.
void attempt::choose_form() {
  constexpr double margin = 2, flat = 2;
  // The dual of a Q has columns for it, that of a cone as many rows as members.
  if (run.param.form == ipm_form::primal || given().q.any() || given().cone.any()) return;
  if (run.param.form == ipm_form::free) {
    if (given().numvar > flat * given().numcon) return;
    const clique_bounds b = bound_cliques(run.sys, given());
    if (!(margin * b.rows < b.cols)) return;
  }
  dual.emplace();
  TVN_dualize_formdual(run.sys, given(), *dual);
  if (run.param.form == ipm_form::dual) return;
  prepared_problem other;
  TVN_opt_prepare(run.sys, given(), prepared);
  TVN_opt_prepare(run.sys, dual->dual, other);
  if (!(margin * predicted_seconds(run, other.hs) < predicted_seconds(run, prepared.hs))) dual.reset();
}

bool attempt::prepare() {
  choose_form();
  if (run.watch.stopped()) return false;
  TVN_opt_prepare(run.sys, dual ? dual->dual : given(), prepared);
  point = prepared.point();
  run.info.dualform = dual.has_value();
  run.info.numcon = prepared.hs.a.numrow;
  run.info.numvar = prepared.hs.a.numcol;
  run.info.numanz = prepared.ptr[run.info.numvar];
  return !run.watch.stopped();
}

namespace {

// Figures of the loop as those of the problem.
void take_figures(const ipm_run& run, const hs_info& hs) {
  hs_info& to = run.info.hs;
  to = hs;
  if (!run.info.dualform) return;
  to.pobj = 0.0 - hs.dobj;
  to.dobj = 0.0 - hs.pobj;
  to.pfeas = hs.dfeas;
  to.dfeas = hs.pfeas;
  to.solsta = TVN_dualize_solsta(hs.solsta);
}

constexpr int32_t solved_elsewhere = 2;

// The order is known: the moment for a trial of the simplex.
int32_t end_order(attempt& a) {
  const ipm_run& run = a.run;
  if (const int32_t answer = run.progress(ipm_event::end_order, run.info)) return answer;
  const bool wanted = run.basis && run.basis->trialiterations > 0 && run.info.numruns == 0;
  return wanted && a.try_simplex(run.info.hs.fac) ? solved_elsewhere : 0;
}

int32_t tell_event(void* handle, hs_event event, const hs_info& hs) {
  attempt& a = *static_cast<attempt*>(handle);
  const ipm_run& run = a.run;
  take_figures(run, hs);
  switch (event) {
  case hs_event::begin_order: return run.progress(ipm_event::begin_order, run.info);
  case hs_event::end_order: return end_order(a);
  case hs_event::iteration: return run.progress(ipm_event::iteration, run.info);
  case hs_event::line: break;
  }
  run.info.line = hs.line;
  run.info.linelevel = hs.linelevel;
  (void)run.progress(ipm_event::line, run.info);
  run.info.line = nullptr;
  return 0;
}

hs_verdict judge_point(void* handle, const hs_info& hs, const hs_point&) {
  attempt& a = *static_cast<attempt*>(handle);
  const int32_t claim = a.dual ? TVN_dualize_solsta(hs.solsta) : hs.solsta;
  if (!a.carry(hs.solsta)) return hs_verdict::accept; // stopped: there is no time to go on
  a.accepted = a.verdict(claim, 1).holds;
  return a.accepted ? hs_verdict::accept : hs_verdict::tighten;
}

} // namespace

void attempt::solve() {
  run.progress(ipm_event::begin, run.info);
  hs_info hs;
  TVN_hs_optlp(run.sys, prepared.hs, run.param.hs, run.watch, {this, tell_event}, {this, judge_point}, point, hs);
  take_figures(run, hs);
  run.info.response = run.basis && run.basis->bytrial ? hs_code::ok : hs.response;
  run.info.numiter += hs.iter;
  run.info.numruns++;
  run.progress(ipm_event::end, run.info);
}

namespace {

// A stop on the way back leaves time to finish it, for otherwise what the run has reached would be lost.
int32_t poll_walk(void* handle, int32_t) {
  constexpr double grace = 0.08; // seconds
  auto& a = *static_cast<attempt*>(handle);
  if (!a.run.watch.stopped()) return 0;
  const double now = TVN_sysenv_gettime();
  if (a.since < 0) a.since = now;
  return now - a.since > grace ? 1 : 0;
}

// Far out a dual is nothing but rounding.
void drop_far(const problem_view& near, const problem_view& lp, solution_view& sol) {
  for (int32_t i = 0; i < lp.numcon; i++) {
    if (has_lower(lp.bkc[i]) != has_lower(near.bkc[i])) sol.slc[i] = 0;
    if (has_upper(lp.bkc[i]) != has_upper(near.bkc[i])) sol.suc[i] = 0;
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (has_lower(lp.bkx[j]) != has_lower(near.bkx[j])) sol.slx[j] = 0;
    if (has_upper(lp.bkx[j]) != has_upper(near.bkx[j])) sol.sux[j] = 0;
  }
}

// A value that the way back has left outside its own bounds is set on them: what it makes of the rows is judged. True
// when there was one.
bool keep_bounds(const problem_view& lp, solution_view& sol) {
  bool moved = false;
  for (int32_t j = 0; j < lp.numvar; j++) {
    const double x = sol.xx[j];
    if (has_lower(lp.bkx[j]) && x < lp.blx[j]) sol.xx[j] = lp.blx[j];
    if (has_upper(lp.bkx[j]) && x > lp.bux[j]) sol.xx[j] = lp.bux[j];
    moved = moved || sol.xx[j] != x;
  }
  return moved;
}

} // namespace

bool attempt::carry(int32_t solsta) {
  solution_view& to = ctx ? reduced.sol : run.sol;
  int32_t claim = solsta;
  if (dual) {
    TVN_opt_reverse(run.sys, dual->dual, prepared, point, solsta, dual->sol);
    TVN_dualize_getprimal(run.sys, given(), *dual, solsta, false, to);
    claim = TVN_dualize_solsta(solsta);
  } else
    TVN_opt_reverse(run.sys, given(), prepared, point, solsta, to);
  if (ctx) {
    TVN_prslv_spreadreduced(reduced, run.lp.numcon, run.lp.numvar, run.sol);
    if (!walk_back(claim)) return false;
  }
  if (!is_certificate(claim) && keep_bounds(run.near, run.sol))
    TVN_prslv_refresh(run.sys, run.near, claim, run.sol, false);
  drop_far(run.near, run.lp, run.sol);
  return true;
}

bool attempt::walk_back(int32_t claim) {
  const prslv_code code = TVN_prslv_postsolve(*ctx, run.info.prslv, claim, run.sol, {this, poll_walk});
  if (code != prslv_code::ok) {
    if (run.info.response == hs_code::ok) run.info.response = static_cast<hs_code>(run.watch.stop);
    return false;
  }
  TVN_prslv_refresh(run.sys, run.near, claim, run.sol, false);
  return true;
}

// An optimum of fewer bounds that keeps the others is one of them all, and is judged without them: far out, what is
// rounding in a dual would count.
lp_verdict attempt::verdict(int32_t claim, double factor) const {
  const lp_tolerances tol = TVN_opt_tolerances(run.param.hs, factor);
  if (&run.near == &run.lp || claim == sol_prim_infeas_cer || claim == sol_dual_infeas_cer)
    return TVN_verify_claim(run.sys, run.lp, run.sol, claim, tol);
  lp_verdict v = TVN_verify_claim(run.sys, run.near, run.sol, claim, tol);
  const lp_residuals far = TVN_verify_residuals(run.sys, run.lp, run.sol);
  v.primalviol = std::max({v.primalviol, far.bound, far.row});
  if (far.bound <= tol.x && far.row <= tol.x) return v;
  v.solsta = v.prosta = 0;
  v.holds = false;
  return v;
}

void attempt::settle() {
  ipm_info& info = run.info;
  const int32_t claim = exact_claim(info.hs.solsta);
  if (claim == sol_unknown && is_stop(info.response)) { // there is no time to see what stands
    if (!TVN_prslv_isfinite(run.lp, run.sol)) TVN_prslv_clearsolution(run.lp, run.sol);
    return;
  }
  lp_verdict v = verdict(claim, 1);
  if (!is_answer(v.solsta)) {
    const lp_verdict wide = verdict(claim, run.param.hs.nearrel);
    if (is_answer(wide.solsta)) {
      v = wide;
      v.solsta = near_form(v.solsta);
    }
  }
  info.prosta = v.prosta;
  info.solsta = v.solsta;
  info.objective = v.objective;
  info.primalviol = v.primalviol;
  info.dualviol = v.dualviol;
  if (!TVN_prslv_isfinite(run.lp, run.sol)) {
    TVN_prslv_clearsolution(run.lp, run.sol);
    info.solsta = info.prosta = 0;
  }
  if (is_answer(info.solsta) && !is_stop(info.response)) info.response = hs_code::ok;
  if (!is_answer(exact_claim(info.solsta)) && info.response == hs_code::ok) info.response = hs_code::numerical;
  if (is_answer(info.solsta) || !(is_stop(info.response) || info.response == hs_code::max_iterations)) return;
  info.prosta = pro_unknown; // of a run that was cut short nothing is said
  info.solsta = sol_unknown;
}

} // namespace tvn
