// The frame: presolve or not, the way back, and the proof on the user's problem.
//
// With presolve: edit a copy of the vectors -> solve what is left as a problem of its own -> undo the records ->
// residuals on the user's data. A basic solution that fails them is the start of a clean-up on the user's problem; a
// certificate that fails them is looked for again without presolve. Before that, on request, opposite columns become
// one, with a proof of the same kind afterwards.
#include "simplex/frame.h"

#include "dualize/dualize.h"
#include "prslv/reduced.h"
#include "simplex/direct.h"
#include "simplex/reformulate.h"
#include "verify/verify.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t shortrun = 50; // iterations below which presolve does not pay

// Does the start say more than that all logicals are basic?
bool is_good_start(const problem_view& lp, const simplex_param& param, const solution_view& sol) {
  for (int32_t j = 0; j < lp.numvar; j++) {
    const bool inside = sol.skx[j] == sk_supbas && !param.keysonly && (lp.bkx[j] != bk_fr || sol.xx[j] != 0);
    if (sol.skx[j] == sk_bas || inside) return true;
  }
  return false;
}

// A good start is worth more than presolve unless presolve is asked for.
bool presolve_wanted(const problem_view& lp, const simplex_param& param, const solution_view& sol) {
  if (param.presolve != 2) return param.presolve != 0;
  return param.maxiterations > shortrun && (param.hotstart == start_none || !is_good_start(lp, param, sol));
}

struct prslv_owner {
  prslv_context* ctx;
  ~prslv_owner() { TVN_prslv_delete(ctx); }
};

struct presolve_run {
  const simplex_run& run;
  prslv_context* ctx;

  simplex_code reduce();
  void solve_reduced(reduced_problem& r);
  bool back();
};

void print_line(void* handle, const char* line) {
  const simplex_run& run = *static_cast<const simplex_run*>(handle);
  run.info.line = line;
  run.progress(simplex_event::presolve_line, run.info);
  run.info.line = nullptr;
}

simplex_code presolve_run::reduce() {
  run.progress(simplex_event::begin_presolve, run.info);
  simplex_run told = run;
  TVN_prslv_putsink(*ctx, {&told, print_line});
  const prslv_code code = TVN_prslv_reduce(*ctx, run.param.prslv, run.info.prslv, {&run.watch, TVN_runwatch_poll});
  run.progress(simplex_event::end_presolve, run.info);
  return code == prslv_code::stopped ? TVN_simplex_stopcode(run.watch.stop) : simplex_code::ok;
}

// Solution of what presolve left, in the live places of sol.
void presolve_run::solve_reduced(reduced_problem& r) {
  simplex_param inner = run.param;
  inner.judged = false;
  inner.savelu = false; // a factor of the reduced basis is of no use to the next run
  kept_basis left;
  TVN_simplex_solvedirectly(
      {run.sys, r.lp, inner, run.info, run.progress, r.sol, run.kept ? &left : nullptr, run.watch});
  if (run.kept) {
    TVN_simplex_renamebasis(left, r.con2user.data(), r.var2user.data());
    *run.kept = std::move(left);
  }
  TVN_prslv_spreadreduced(r, run.lp.numcon, run.lp.numvar, run.sol);
}

// A stop during the walk back leaves time to finish it, for otherwise what the run has reached would be lost.
struct walk_watch {
  run_watch& watch;
  double since = -1; // when the stop was seen
};

int32_t poll_walk(void* handle, int32_t) {
  constexpr double grace = 0.08; // seconds
  auto& w = *static_cast<walk_watch*>(handle);
  if (!w.watch.stopped()) return 0;
  const double now = TVN_sysenv_gettime();
  if (w.since < 0) w.since = now;
  return now - w.since > grace ? 1 : 0;
}

// False when the walk was stopped.
bool presolve_run::back() {
  simplex_info& info = run.info;
  const int32_t claim = info.solsta;
  walk_watch w{run.watch};
  const prslv_code code =
      TVN_prslv_postsolvebasis(*ctx, info.prslv, claim == sol_prim_feas || claim == sol_dual_feas ? sol_unknown : claim,
                               run.sol, {&w, poll_walk});
  if (code == prslv_code::stopped && info.response == simplex_code::ok)
    info.response = TVN_simplex_stopcode(run.watch.stop);
  if (code != prslv_code::ok) return false;
  TVN_prslv_refresh(run.sys, run.lp, claim, run.sol);
  return true;
}

// From the claim for the reduced problem, with its solution in the live places of sol, to one that holds for the
// user's; false as below.
bool prove_presolved(presolve_run& presolved, simplex_param& again) {
  const simplex_run& run = presolved.run;
  simplex_info& info = run.info;
  if (!presolved.back()) {
    TVN_prslv_clearsolution(run.lp, run.sol);
    info.solsta = sol_unknown;
    info.prosta = pro_unknown;
    return true;
  }
  const int32_t claim = info.solsta;
  if (TVN_simplex_settlestatus(run) || info.response != simplex_code::ok) {
    if (run.kept && run.param.savelu && info.solsta == sol_optimal) TVN_simplex_keepfactor(run);
    return true;
  }
  if (claim == sol_optimal || claim == sol_near_optimal) { // not for the user's problem: go on from the basis
    again.hotstart = start_other;
    again.cleaning = true;
    again.optimizer = run.param.cleanoptimizer; // free: by the infeasibilities that the undo has left
  }
  return false;
}

// With presolve; false when the direct road has to go on: from the keys in sol when `again.hotstart` is set.
bool solve_with_presolve(const simplex_run& run, simplex_param& again) {
  simplex_info& info = run.info;
  editable_problem e;
  TVN_prslv_copyeditable(run.sys, run.lp, e);
  const prslv_owner owner{TVN_prslv_make(run.sys, e.p)};
  presolve_run presolved{run, owner.ctx};
  info.response = presolved.reduce();
  if (info.response != simplex_code::ok) {
    if (run.param.hotstart == start_none) TVN_prslv_clearsolution(run.lp, run.sol);
    info.solsta = sol_unknown;
    return true;
  }
  if (info.prslv.status == prs_dual_infeas) return false; // a ray says nothing of feasible points
  if (info.prslv.status == prs_prim_infeas) {
    info.solsta = sol_prim_infeas_cer;
    TVN_prslv_getcertificate(*presolved.ctx, run.sol);
    return prove_presolved(presolved, again);
  }
  reduced_problem r;
  TVN_prslv_copyreduced(run.sys, *presolved.ctx, r);
  TVN_prslv_keeprecords(*presolved.ctx);
  if (run.param.hotstart != start_none) TVN_prslv_gatherkeys(run.sol, r);
  presolved.solve_reduced(r);
  // What could not be proven there may well be without presolve.
  if (TVN_simplex_gaveup(info.response)) return false;
  if (info.solsta == sol_unknown && info.response == simplex_code::ok) return false;
  return prove_presolved(presolved, again);
}

// The direct road on the user's problem after another one whose claim did not stand there.
void clean_up(const simplex_run& run) {
  simplex_info& info = run.info;
  info.response = simplex_code::ok;
  const auto before = info.count;
  TVN_simplex_solvedirectly(run);
  info.cleanups++;
  for (size_t kind = 0; kind < before.size(); kind++)
    info.cleaniterations[kind] += info.count[kind].iterations - before[kind].iterations;
}

void solve_as_given(const simplex_run& run) {
  if (!presolve_wanted(run.lp, run.param, run.sol)) return TVN_simplex_solvedirectly(run);
  simplex_param again = run.param;
  again.presolve = 0;
  again.hotstart = start_none;
  if (!solve_with_presolve(run, again)) clean_up(run.with(again));
}

void tell_reformulation(const simplex_run& run, const reformulation& r) {
  char line[100];
  std::snprintf(line, sizeof line, "Reformulation - merged : %-10d rested at a bound: %d\n", r.nummerged, r.numrested);
  run.info.line = line;
  run.info.linelevel = 1;
  (void)run.progress(simplex_event::message, run.info);
  run.info.line = nullptr;
}

// With opposite columns as one, when that is asked for and pays.
void optimize_reformulated(const simplex_run& run) {
  reformulation r;
  if (!TVN_simplex_reformulate(run.sys, run.lp, run.param, run.sol, r)) return solve_as_given(run);
  tell_reformulation(run, r);
  solve_as_given(run.on(r.lp));
  const int32_t claim = run.info.solsta;
  TVN_simplex_reformulatepostsolve(r, claim, run.sol);
  TVN_prslv_refresh(run.sys, run.lp, claim, run.sol);
  if (TVN_simplex_settlestatus(run) || run.info.response != simplex_code::ok) return;
  simplex_param again = run.param;
  again.presolve = 0;
  again.hotstart = start_none;
  if (claim == sol_optimal || claim == sol_near_optimal) {
    again.hotstart = start_other;
    again.optimizer = run.param.cleanoptimizer;
  }
  clean_up(run.with(again));
}

// Without the far bounds first, when there are any. Their violations are mended from the basis found; where there is
// none, all is done again with them. A nonbasic between two far bounds keeps the key of a free one.
void optimize_near(const simplex_run& run) {
  simplex_info& info = run.info;
  const near_problem near(run.sys, run.lp, run.param.hotstart != start_none ? &run.sol : nullptr);
  optimize_reformulated(run.on(near.lp));
  if (near.numchanged == 0) return;
  const int32_t claim = info.solsta;
  const bool holds = TVN_simplex_settlestatus(run);
  // A bound of the objective from the duals holds with more bounds, too; a point must be one of the user's.
  const bool infeasible = info.solsta == sol_unknown || (info.solsta == sol_dual_feas && !run.param.cuts.useupp);
  const bool cutwrongly = info.response == simplex_code::objective_range && infeasible;
  if (info.response != simplex_code::ok && info.response != simplex_code::numerical && !cutwrongly) return;
  if (holds && (claim == sol_prim_infeas_cer || claim == sol_optimal)) return;
  if (info.solsta == sol_near_optimal) return TVN_simplex_closegap(run);
  simplex_param again = run.param;
  again.hotstart = start_none;
  if (claim != sol_optimal && claim != sol_near_optimal) {
    info.response = simplex_code::ok;
    return optimize_reformulated(run.with(again));
  }
  again.presolve = 0;
  again.hotstart = start_other;
  again.optimizer = run.param.cleanoptimizer;
  clean_up(run.with(again));
}

// By the dual as a problem of its own. Its basis is one of the primal; what is wrong with it there, the direct road
// mends.
void optimize_dual(const simplex_run& run) {
  simplex_info& info = run.info;
  dualizer d;
  TVN_dualize_formdual(run.sys, run.lp, d);
  simplex_param param = run.param;
  param.cuts = run.param.cuts.negated(); // the objective of the dual is the negative of that of the primal
  info.dualform = true;
  optimize_near({run.sys, d.dual, param, info, run.progress, d.sol, nullptr, run.watch});
  info.dualform = false;
  const int32_t claim = TVN_dualize_solsta(info.solsta);
  TVN_dualize_getprimal(run.sys, run.lp, d, info.solsta, true, run.sol);
  if (run.kept) *run.kept = kept_basis{};
  info.solsta = claim;
  if (TVN_simplex_settlestatus(run) || info.response != simplex_code::ok) return;
  simplex_param again = run.param;
  again.presolve = 0;
  again.hotstart = claim == sol_optimal || claim == sol_near_optimal ? start_other : start_none;
  clean_up(run.with(again));
}

// A run that was cut short may have reached what it was after; one whose numbers have overflown has nothing to show.
void settle_end(const problem_view& lp, simplex_info& info, solution_view& sol) {
  const auto r = info.response;
  const bool cut = r == simplex_code::max_iterations || r == simplex_code::max_setbacks || r == simplex_code::stall ||
                   r == simplex_code::numerical;
  if (info.solsta == sol_optimal && cut) info.response = simplex_code::ok;
  if (info.solsta == sol_prim_infeas_cer) { // the point beside the proof says nothing
    const auto tidy = [](double& x) { x = std::isfinite(x) ? x : 0; };
    std::for_each(sol.xc, sol.xc + lp.numcon, tidy);
    std::for_each(sol.xx, sol.xx + lp.numvar, tidy);
  }
  if (TVN_prslv_isfinite(lp, sol)) return;
  TVN_prslv_clearsolution(lp, sol);
  info.solsta = sol_unknown;
  info.prosta = pro_unknown;
  info.objective = 0;
  if (r == simplex_code::ok) info.response = simplex_code::numerical;
}

int32_t ask_user(void* handle) {
  const simplex_run& run = *static_cast<const simplex_run*>(handle);
  return run.progress(simplex_event::poll, run.info);
}

// Does it have a basis, and no value between bounds beside it?
bool is_vertex(const problem_view& lp, const solution_view& sol) {
  int64_t basics = 0;
  for (int32_t i = 0; i < lp.numcon; i++) basics += sol.skc[i] == sk_bas;
  for (int32_t j = 0; j < lp.numvar; j++) {
    basics += sol.skx[j] == sk_bas;
    if (sol.skx[j] == sk_supbas && (lp.bkx[j] != bk_fr || sol.xx[j] != 0)) return false;
  }
  return basics == lp.numcon;
}

// Clock and user of a run.
void watch_user(const simplex_run& run) {
  run.watch.starttime = run.param.starttime;
  run.watch.maxtime = run.param.maxtime;
  run.watch.handle = const_cast<simplex_run*>(&run);
  run.watch.ask = ask_user;
}

// A run on what an earlier presolve has left, and the way back; without one, on the problem itself. False: without an
// answer, a trial is over before the way back.
bool solve_presolved(const simplex_run& run, prslv_context* ctx, reduced_problem* reduced) {
  if (!ctx) {
    TVN_simplex_solvedirectly(run);
    return run.info.response != simplex_code::outpaced;
  }
  presolve_run presolved{run, ctx};
  presolved.solve_reduced(*reduced);
  if (run.param.rival > 0 && run.info.response != simplex_code::ok) return false;
  simplex_param again = run.param;
  if (!prove_presolved(presolved, again)) clean_up(run.with(again));
  return true;
}

} // namespace

void TVN_simplex_identifybasis(sysenv& sys, const problem_view& lp, const simplex_param& param, simplex_info& info,
                               const simplex_progress& progress, solution_view& sol, prslv_context* ctx,
                               reduced_problem* reduced, kept_basis* kept) {
  info.response = simplex_code::ok;
  simplex_param own = param;
  own.hotstart = start_interior;
  own.cleaning = true;
  own.presolve = 0;
  run_watch watch;
  const simplex_run run{sys, lp, own, info, progress, sol, kept, watch};
  watch_user(run);
  progress(simplex_event::begin_basis, info);
  if (solve_presolved(run, ctx, reduced)) TVN_simplex_sharpen(run);
  settle_end(lp, info, sol);
  if (!is_vertex(lp, sol)) { // stopped on the way
    TVN_prslv_clearsolution(lp, sol);
    info.prosta = pro_unknown;
    info.solsta = sol_unknown;
  }
  progress(simplex_event::end_basis, info);
}

bool TVN_simplex_tryreduced(sysenv& sys, const problem_view& lp, const simplex_param& param, simplex_info& info,
                            const simplex_progress& progress, solution_view& sol, prslv_context* ctx,
                            reduced_problem* reduced, kept_basis* kept) {
  info.response = simplex_code::ok;
  simplex_param own = param;
  own.hotstart = start_none;
  own.optimizer = kind_dual;
  own.presolve = 0;
  run_watch watch;
  const simplex_run run{sys, lp, own, info, progress, sol, kept, watch};
  watch_user(run);
  if (!solve_presolved(run, ctx, reduced)) return false;
  TVN_simplex_sharpen(run);
  settle_end(lp, info, sol);
  const bool answers =
      info.solsta == sol_optimal || info.solsta == sol_prim_infeas_cer || info.solsta == sol_dual_infeas_cer;
  return answers && info.response == simplex_code::ok;
}

void TVN_simplex_optimize(sysenv& sys, const problem_view& lp, const simplex_param& param, simplex_info& info,
                          const simplex_progress& progress, solution_view& sol, kept_basis* kept) {
  info.response = simplex_code::ok;
  if (const int32_t item = TVN_verify_crossingitem(lp); item >= 0) {
    TVN_prslv_clearsolution(lp, sol);
    TVN_verify_provecrossing(lp, item, sol);
    info.prosta = pro_prim_infeas;
    info.solsta = sol_prim_infeas_cer;
    return;
  }
  run_watch watch;
  const simplex_run run{sys, lp, param, info, progress, sol, kept, watch};
  watch_user(run);
  if (param.dualform && param.hotstart == start_none)
    optimize_dual(run);
  else
    optimize_near(run);
  settle_end(lp, info, sol);
}

} // namespace tvn
