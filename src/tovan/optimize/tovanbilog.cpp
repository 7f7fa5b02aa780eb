// Each phase has a table of its own; the clean-up is a simplex run under other names.
#include "tovan/optimize/tovanbilog.h"

#include "tovan/optimize/optimize.h"
#include "tovan/tables/rescode.h"
#include "tovan/task/log.h"

namespace tvn {

namespace {

constexpr int32_t summarylevel = 4;

void log_phasehead(task& t, int32_t phase) {
  echo(t, TVN_STREAM_MSG, "%-8s  %-10s  %-20s  %-s\n", "ITER", phase == 1 ? "PFEAS" : "DFEAS",
       phase == 1 ? "POBJ" : "DOBJ", "TIME");
}

void log_phaseline(const basis_view& view, const simplex_info& info) {
  const basis_info& b = info.basis;
  echo(*view.t, TVN_STREAM_MSG, "%-8lld  %-10.2e  %-20.10e  %-.2f\n",
       static_cast<long long>(view.phase == 1 ? b.primaliter : b.dualiter), b.feas, view.sense * b.obj,
       TVN_sysenv_gettime() - view.phasestart);
}

void log_cleanhead(task& t) {
  echo(t, TVN_STREAM_MSG, "%-8s  %-10s  %-10s  %-10s  %-20s  %-20s  %-8s\n", "ITER", "DEGITER(%)", "PFEAS", "DFEAS",
       "POBJ", "DOBJ", "TIME");
}

void log_cleanline(const basis_view& view, const simplex_info& info) {
  const auto& count = info.count[info.kind];
  const double iters = static_cast<double>(std::max<int64_t>(1, count.iterations));
  const double degenerate = 100.0 * static_cast<double>(count.degenerate) / iters, obj = view.sense * info.objective;
  const double time = TVN_sysenv_gettime() - view.phasestart;
  const auto iterations = static_cast<int>(count.iterations);
  if (info.kind == kind_dual)
    echo(*view.t, TVN_STREAM_MSG, "%-8d  %-10.2f  %-10.2e  %-10.2e  %-20.10e  %-20.10e  %-8.2f\n", iterations,
         degenerate, info.sumpinf, info.sumdinf, obj, obj, time);
  else
    echo(*view.t, TVN_STREAM_MSG, "%-8d  %-10.2f  %-10.2e  %-10s  %-20.10e  %-20s  %-8.2f\n", iterations, degenerate,
         info.sumpinf, "NA", obj, "NA", time);
}

// The catalogue has lines for the start and the end of each phase; here are the tables.
void log_event(const basis_view& view, simplex_event event, const simplex_info& info) {
  switch (event) {
  case simplex_event::begin_primalpush:
  case simplex_event::begin_dualpush: return log_phasehead(*view.t, view.phase);
  case simplex_event::push: return log_phaseline(view, info);
  case simplex_event::end_setup: return log_cleanhead(*view.t);
  case simplex_event::iteration:
  case simplex_event::end: return log_cleanline(view, info);
  default: return;
  }
}

int32_t event_code(const basis_view& view, simplex_event event, bool dual) {
  switch (event) {
  case simplex_event::begin_basis: return TVN_CALLBACK_BEGIN_BI;
  case simplex_event::end_basis: return TVN_CALLBACK_END_BI;
  case simplex_event::begin_primalpush: return TVN_CALLBACK_BEGIN_PRIMAL_BI;
  case simplex_event::end_primalpush: return TVN_CALLBACK_END_PRIMAL_BI;
  case simplex_event::begin_dualpush: return TVN_CALLBACK_BEGIN_DUAL_BI;
  case simplex_event::end_dualpush: return TVN_CALLBACK_END_DUAL_BI;
  case simplex_event::push: return view.phase == 1 ? TVN_CALLBACK_UPDATE_PRIMAL_BI : TVN_CALLBACK_UPDATE_DUAL_BI;
  case simplex_event::begin: return dual ? TVN_CALLBACK_BEGIN_DUAL_SIMPLEX_BI : TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX_BI;
  case simplex_event::end: return dual ? TVN_CALLBACK_END_DUAL_SIMPLEX_BI : TVN_CALLBACK_END_PRIMAL_SIMPLEX_BI;
  case simplex_event::begin_setup: return dual ? TVN_CALLBACK_BEGIN_DUAL_SETUP_BI : TVN_CALLBACK_BEGIN_PRIMAL_SETUP_BI;
  case simplex_event::end_setup: return dual ? TVN_CALLBACK_END_DUAL_SETUP_BI : TVN_CALLBACK_END_PRIMAL_SETUP_BI;
  case simplex_event::iteration:
    return dual ? TVN_CALLBACK_UPDATE_DUAL_SIMPLEX_BI : TVN_CALLBACK_UPDATE_PRIMAL_SIMPLEX_BI;
  default: break;
  }
  constexpr int32_t inside[] = {TVN_CALLBACK_IM_BI, TVN_CALLBACK_IM_PRIMAL_BI, TVN_CALLBACK_IM_DUAL_BI,
                                TVN_CALLBACK_IM_SIMPLEX_BI};
  return inside[view.phase];
}

void note_phase(basis_view& view, simplex_event event, const simplex_info& info) {
  const double now = TVN_sysenv_gettime();
  const auto begin = [&](int32_t phase) {
    view.phase = phase;
    view.phasestart = now;
  };
  if (event == simplex_event::begin_basis) view.start = now;
  if (event == simplex_event::begin_primalpush) begin(1);
  if (event == simplex_event::begin_dualpush) begin(2);
  if (event == simplex_event::begin) begin(3);
  if (event == simplex_event::end) view.seconds[info.kind] += now - view.phasestart;
}

bool is_end(simplex_event event) {
  return event == simplex_event::end || event == simplex_event::end_primalpush ||
         event == simplex_event::end_dualpush || event == simplex_event::end_basis;
}

void log_summary(const basis_view& view, const simplex_info& info) {
  task& t = *view.t;
  const basis_info& b = info.basis;
  const auto &primal = info.count[kind_primal], &dual = info.count[kind_dual];
  echo(t, TVN_STREAM_MSG, "%-16s\n", "Summary");
  echo(t, TVN_STREAM_MSG, "%-16s: %d\n", "Problem status", info.prosta);
  echo(t, TVN_STREAM_MSG, "%-16s: %d\n", "Solution status", info.solsta);
  echo(t, TVN_STREAM_MSG, "%-16s: %d constraints, %d variables\n", "Size", info.numcon, info.numvar);
  echo(t, TVN_STREAM_MSG, "%-16s: %d columns, %d rejected\n", "Crash", b.crashed, b.rejected);
  echo(t, TVN_STREAM_MSG, "\n%-10s: %-10s %-10s %-10s\n", "Step", "Primal", "Dual", "Clean");
  echo(t, TVN_STREAM_MSG, "%-10s: %-10.2f %-10.2f %-10.2f\n", "Time", b.primaltime, b.dualtime,
       view.seconds[kind_primal] + view.seconds[kind_dual]);
  echo(t, TVN_STREAM_MSG, "%-10s: %-10lld %-10lld %-10lld\n", "Iter.", static_cast<long long>(b.primaliter),
       static_cast<long long>(b.dualiter), static_cast<long long>(primal.iterations + dual.iterations));
  echo(t, TVN_STREAM_MSG, "%-10s: %-10lld %-10lld\n", "Moves", static_cast<long long>(b.primalmoves),
       static_cast<long long>(b.dualmoves));
}

} // namespace

void update_basisitems(const basis_view& view, const simplex_info& info) {
  if (view.start < 0) return;
  auto& items = view.t->info;
  const basis_info& b = info.basis;
  const auto &primal = info.count[kind_primal], &dual = info.count[kind_dual];
  items.dou[TVN_DINF_BI_TIME] = TVN_sysenv_gettime() - view.start;
  items.dou[TVN_DINF_BI_PRIMAL_TIME] = b.primaltime;
  items.dou[TVN_DINF_BI_DUAL_TIME] = b.dualtime;
  items.dou[TVN_DINF_BI_CLEAN_PRIMAL_TIME] = view.seconds[kind_primal];
  items.dou[TVN_DINF_BI_CLEAN_DUAL_TIME] = view.seconds[kind_dual];
  items.dou[TVN_DINF_BI_CLEAN_TIME] = view.seconds[kind_primal] + view.seconds[kind_dual];
  items.lint[TVN_LIINF_BI_PRIMAL_ITER] = b.primaliter;
  items.lint[TVN_LIINF_BI_DUAL_ITER] = b.dualiter;
  items.lint[TVN_LIINF_BI_CLEAN_PRIMAL_ITER] = primal.iterations;
  items.lint[TVN_LIINF_BI_CLEAN_PRIMAL_DEG_ITER] = primal.degenerate;
  items.lint[TVN_LIINF_BI_CLEAN_DUAL_ITER] = dual.iterations;
  items.lint[TVN_LIINF_BI_CLEAN_DUAL_DEG_ITER] = dual.degenerate;
  items.private_dou[TVNP_DINF_BI_CRASH_TIME] = b.crashtime;
  items.private_lint[TVNP_LIINF_BI_ITER] = b.primaliter + b.dualiter;
}

int32_t TVN_basisprogress(void* handle, simplex_event event, const simplex_info& info) {
  auto& view = *static_cast<basis_view*>(handle);
  task& t = *view.t;
  if (event == simplex_event::message) {
    if (is_logged(t, TVN_IPAR_LOG_BI, info.linelevel)) echo(t, TVN_STREAM_MSG, "%s", info.line);
    return 0;
  }
  if (view.trm != TVN_RES_OK && !is_end(event)) return stop_answer(view.trm);
  note_phase(view, event, info);
  update_basisitems(view, info);
  const bool logged = is_logged(t, TVN_IPAR_LOG_BI);
  if (logged && is_end(event)) log_event(view, event, info);
  const TVNrescodee code = TVN_tovanlog(&t, event_code(view, event, info.kind == kind_dual));
  if (logged && !is_end(event)) log_event(view, event, info);
  if (view.trm == TVN_RES_OK) view.trm = code;
  if (event == simplex_event::end_primalpush || event == simplex_event::end_dualpush) view.phase = 0;
  return view.trm == TVN_RES_OK ? 0 : stop_answer(view.trm);
}

void log_basisend(const basis_view& view, const simplex_info& info) {
  task& t = *view.t;
  if (view.start >= 0 && is_logged(t, TVN_IPAR_LOG_BI, summarylevel)) log_summary(view, info);
}

} // namespace tvn
