// A simplex run as the user sees it. The head of an optimizer tells its problem and its start; a line goes out every so
// many iterations and at each change of phase.
#include "tovan/optimize/tovansimlog.h"

#include "tovan/optimize/optimize.h"
#include "tovan/optimize/presolvelog.h"
#include "tovan/solution/sol.h"
#include "tovan/tables/rescode.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"

#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr int32_t taillevel = 4; // of the figures at the end of a run

void log_head(task& t) {
  echo(t, TVN_STREAM_MSG, "%-8s  %-10s  %-10s  %-10s  %-20s  %-20s  %-8s  %-8s\n", "ITER", "DEGITER(%)", "PFEAS",
       "DFEAS", "POBJ", "DOBJ", "TIME", "TOTTIME");
}

// Problem and start of the optimizer that begins.
void log_start(task& t, const simplex_info& info) {
  const auto line = [&](const char* first, int32_t a, const char* second, int32_t b) {
    echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %*d\n", -10, "Optimizer", -16, first, -16, a, -16, second, -16, b);
  };
  line("constraints", info.numcon, "variables", info.numvar);
  if (info.hotstart == 0) return;
  line("Num. basic", info.numbasics, "Basis rank", info.basisrank);
  line("hotstart", info.hotstart, "Valid bas. fac.", info.warmfactor ? 1 : 0);
}

// The dual is minimised as the negative of the primal.
double user_objective(const sim_run& run, const simplex_info& info) {
  return (info.dualform ? -run.sense : run.sense) * info.objective;
}

void log_line(sim_run& run, const simplex_info& info) {
  const auto& count = info.count[info.kind];
  run.lineiteration = count.iterations;
  run.lineobjective = info.objective;
  const double iters = static_cast<double>(std::max<int64_t>(1, count.iterations)), now = TVN_sysenv_gettime();
  const double degenerate = 100.0 * static_cast<double>(count.degenerate) / iters, obj = user_objective(run, info);
  const auto iterations = static_cast<int>(count.iterations);
  if (info.kind == kind_dual)
    echo(*run.t, TVN_STREAM_MSG, "%-8d  %-10.2f  %-10.2e  %-10.2e  %-20.10e  %-20.10e  %-8.2f  %-8.2f\n", iterations,
         degenerate, info.sumpinf, info.sumdinf, obj, obj, now - run.start, now - run.t->optstart);
  else
    echo(*run.t, TVN_STREAM_MSG, "%-8d  %-10.2f  %-10.2e  %-10.2s  %-20.10e  %-20s  %-8.2f  %-8.2f\n", iterations,
         degenerate, info.sumpinf, "NA", obj, "NA", now - run.start, now - run.t->optstart);
}

void tail_line(task& t, const char* what, int64_t value) {
  echo(t, TVN_STREAM_MSG, "%-20s: %-lld\n", what, static_cast<long long>(value));
}

void TVN_simplex_printluinfo(task& t, const simplex_info& info) {
  tail_line(t, "nz(L)", info.lnz);
  tail_line(t, "nz(U)", info.unz);
  echo(t, TVN_STREAM_MSG, "%-20s: %-.2e\n", "max(abs(Uii))", info.maxdiag);
  echo(t, TVN_STREAM_MSG, "%-20s: %-.2e\n", "min(abs(Uii))", info.mindiag);
}

// What a run did, for those who raise the log level.
void TVN_simplex_printtail(task& t, const simplex_info& info) {
  const auto& count = info.count[info.kind];
  tail_line(t, "Iterations", count.iterations);
  tail_line(t, "Deg. iterations", count.degenerate);
  tail_line(t, "Inf. iterations", count.infeasible);
  tail_line(t, "Init. bas rank", info.basisrank);
  tail_line(t, "Init. bas. number", info.numbasics);
  tail_line(t, "Init. LU is factored", info.warmfactor ? 1 : 0);
  tail_line(t, "Problem status", info.prosta);
  tail_line(t, "Solution status", info.solsta);
  tail_line(t, "Solver status", static_cast<int64_t>(info.response));
  TVN_simplex_printluinfo(t, info);
}

int32_t event_code(const sim_run& run, simplex_event event, bool dual) {
  switch (event) {
  case simplex_event::begin: return dual ? TVN_CALLBACK_BEGIN_DUAL_SIMPLEX : TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX;
  case simplex_event::end: return dual ? TVN_CALLBACK_END_DUAL_SIMPLEX : TVN_CALLBACK_END_PRIMAL_SIMPLEX;
  case simplex_event::iteration: return dual ? TVN_CALLBACK_UPDATE_DUAL_SIMPLEX : TVN_CALLBACK_UPDATE_PRIMAL_SIMPLEX;
  case simplex_event::begin_presolve: return TVN_CALLBACK_BEGIN_PRESOLVE;
  case simplex_event::end_presolve: return TVN_CALLBACK_END_PRESOLVE;
  case simplex_event::begin_setup:
  case simplex_event::end_setup:
  case simplex_event::presolve_line:
  case simplex_event::message:
  case simplex_event::begin_basis:
  case simplex_event::begin_primalpush:
  case simplex_event::end_primalpush:
  case simplex_event::begin_dualpush:
  case simplex_event::end_dualpush:
  case simplex_event::push:
  case simplex_event::end_basis:
  case simplex_event::poll: break;
  }
  if (run.presolving) return TVN_CALLBACK_IM_PRESOLVE;
  return dual ? TVN_CALLBACK_IM_DUAL_SIMPLEX : TVN_CALLBACK_IM_PRIMAL_SIMPLEX;
}

// What the start of an optimizer was, once it is known.
void update_startitems(task& t, const simplex_info& info) {
  const bool dual = info.kind == kind_dual;
  auto& items = t.info;
  items.intg[dual ? TVN_IINF_SIM_DUAL_HOTSTART : TVN_IINF_SIM_PRIMAL_HOTSTART] = info.hotstart != 0;
  items.intg[dual ? TVN_IINF_SIM_DUAL_HOTSTART_LU : TVN_IINF_SIM_PRIMAL_HOTSTART_LU] = info.warmfactor;
  items.private_intg[dual ? TVNP_IINF_SIM_DUAL_HOTSTART_NUM_BASICS : TVNP_IINF_SIM_PRIMAL_HOTSTART_NUM_BASICS] =
      info.numbasics;
  items.private_intg[dual ? TVNP_IINF_SIM_DUAL_HOTSTART_BASIS_RANK : TVNP_IINF_SIM_PRIMAL_HOTSTART_BASIS_RANK] =
      info.basisrank;
}

void note_phase(sim_run& run, simplex_event event) {
  if (event == simplex_event::begin) run.lineiteration = -1;
  if (event == simplex_event::begin_presolve) run.presolving = true;
  if (event == simplex_event::end_presolve) run.presolving = false;
}

// Lines of the table: as the optimizer asks for them, and the point at which it ends.
bool line_due(const sim_run& run, simplex_event event, const simplex_info& info) {
  if (event == simplex_event::iteration) return true;
  return event == simplex_event::end && run.t->params.ival[TVN_IPAR_LOG_SIM_FREQ] > 0 &&
         (run.lineiteration != info.count[info.kind].iterations || run.lineobjective != info.objective);
}

void log_event(sim_run& run, simplex_event event, const simplex_info& info) {
  task& t = *run.t;
  const char* const name = info.kind == kind_dual ? "Dual" : "Primal";
  if (event == simplex_event::begin_setup) echo(t, TVN_STREAM_MSG, "%s simplex optimizer setup started.\n", name);
  if (event == simplex_event::end_setup) {
    log_start(t, info);
    echo(t, TVN_STREAM_MSG, "%s simplex optimizer setup terminated.\n", name);
    log_head(t);
  }
  if (line_due(run, event, info)) log_line(run, info);
}

void note_times(sim_run& run, simplex_event event, const simplex_info& info) {
  if (event == simplex_event::begin) {
    run.running = info.kind;
    run.begun = TVN_sysenv_gettime();
  } else if (event == simplex_event::end) {
    run.seconds[info.kind] += TVN_sysenv_gettime() - run.begun;
    run.running = -1;
  }
}

} // namespace

void update_simplexitems(const sim_run& run, const simplex_info& info) {
  auto& items = run.t->info;
  const auto narrow = [](int64_t v) {
    return static_cast<int32_t>(std::min<int64_t>(v, std::numeric_limits<int32_t>::max()));
  };
  const auto &primal = info.count[kind_primal], &dual = info.count[kind_dual];
  items.intg[TVN_IINF_SIM_PRIMAL_ITER] = narrow(primal.iterations);
  items.intg[TVN_IINF_SIM_PRIMAL_DEG_ITER] = narrow(primal.degenerate);
  items.intg[TVN_IINF_SIM_PRIMAL_INF_ITER] = narrow(primal.infeasible);
  items.intg[TVN_IINF_SIM_DUAL_ITER] = narrow(dual.iterations);
  items.intg[TVN_IINF_SIM_DUAL_DEG_ITER] = narrow(dual.degenerate);
  items.intg[TVN_IINF_SIM_DUAL_INF_ITER] = narrow(dual.infeasible);
  items.intg[TVN_IINF_SIM_NUMCON] = info.numcon;
  items.intg[TVN_IINF_SIM_NUMVAR] = info.numvar;
  items.private_intg[TVNP_IINF_NUM_LU_FACTORIZATIONS] =
      narrow(primal.factorizations + dual.factorizations + info.count[kind_free].factorizations);
  items.private_intg[TVNP_IINF_SIM_PRIMAL_NUM_SETBACKS] = narrow(primal.setbacks);
  items.private_intg[TVNP_IINF_SIM_DUAL_NUM_SETBACKS] = narrow(dual.setbacks);
  items.private_intg[TVNP_IINF_SIM_NUM_PRIMAL_BOUNDSWAPS] = narrow(primal.boundswaps);
  items.lint[TVN_LIINF_BI_CLEAN_PRIMAL_ITER] = info.cleaniterations[kind_primal];
  items.lint[TVN_LIINF_BI_CLEAN_DUAL_ITER] = info.cleaniterations[kind_dual];
  items.dou[TVN_DINF_SIM_OBJ] = user_objective(run, info);
  if (info.dualform) items.intg[TVN_IINF_SIM_SOLVE_DUAL] = 1;
  items.dou[TVN_DINF_SIM_FEAS] = info.kind == kind_dual ? info.sumdinf : info.sumpinf;
  const double now = TVN_sysenv_gettime();
  items.dou[TVN_DINF_SIM_TIME] = now - run.start;
  items.dou[TVN_DINF_SIM_PRIMAL_TIME] = run.seconds[kind_primal] + (run.running == kind_primal ? now - run.begun : 0);
  items.dou[TVN_DINF_SIM_DUAL_TIME] = run.seconds[kind_dual] + (run.running == kind_dual ? now - run.begun : 0);
}

int32_t TVN_simplexprogress(void* handle, simplex_event event, const simplex_info& info) {
  auto& run = *static_cast<sim_run*>(handle);
  task& t = *run.t;
  if (event == simplex_event::message) {
    if (is_logged(t, TVN_IPAR_LOG_SIM, info.linelevel)) echo(t, TVN_STREAM_MSG, "%s", info.line);
    return 0;
  }
  const bool closing = event == simplex_event::end || event == simplex_event::end_presolve;
  if (run.trm != TVN_RES_OK && !closing) return stop_answer(run.trm);
  note_phase(run, event);
  note_times(run, event, info);
  update_simplexitems(run, info);
  if (event == simplex_event::end_setup) update_startitems(t, info);
  if (event == simplex_event::presolve_line) TVN_logpresolveline(t, info.line);
  if (event == simplex_event::end_presolve) TVN_logendpresolve(t, info.prslv);
  if (is_logged(t, TVN_IPAR_LOG_SIM)) log_event(run, event, info);
  const TVNrescodee code = TVN_tovanlog(&t, event_code(run, event, info.kind == kind_dual));
  if (run.trm == TVN_RES_OK) run.trm = code;
  return run.trm == TVN_RES_OK ? 0 : stop_answer(run.trm);
}

namespace {

// The optimum as it came out, when pivots without lines and postsolve have moved it since the last one.
void log_optimum(sim_run& run, const simplex_info& info) {
  constexpr double same = 1e-10; // relative: about the digits of a line
  const double moved = std::fabs(info.objective - run.lineobjective);
  if (info.solsta != sol_optimal || run.t->params.ival[TVN_IPAR_LOG_SIM_FREQ] <= 0 || run.lineiteration < 0 ||
      moved <= same * (1 + std::fabs(info.objective)))
    return;
  simplex_info last = info;
  last.sumpinf = last.sumdinf = 0;
  log_line(run, last);
}

} // namespace

void log_simplexend(sim_run& run, const simplex_info& info, TVNrescodee code) {
  task& t = *run.t;
  if (is_logged(t, TVN_IPAR_LOG_SIM)) log_optimum(run, info);
  if (is_logged(t, TVN_IPAR_LOG_SIM, taillevel)) TVN_simplex_printtail(t, info);
  if (!is_logged(t, TVN_IPAR_LOG_SIM)) return;
  if (info.cleanups > 0)
    echo(t, TVN_STREAM_MSG, "%*s - %*s : %*lld\n", -10, "Optimizer", -16, "clean-up iter.", -16,
         static_cast<long long>(info.cleaniterations[kind_primal] + info.cleaniterations[kind_dual]));
  char word[TVN_MAX_STR_LEN] = "";
  const rescode_entry* const stopped = find_rescode(code);
  if (!stopped) TVN_solstatostr(&t, t.sols.solsta[TVN_SOL_BAS], word);
  echo(t, TVN_STREAM_MSG, "Simplex optimizer terminated. Time: %-.2f. %s\n", TVN_sysenv_gettime() - run.start,
       stopped ? stopped->name : word);
}

} // namespace tvn
