// One table for all interior-point roads: a line at the start of each iteration, in the user's units and sense.
#include "tovan/optimize/tovanipmlog.h"

#include "tovan/optimize/optimize.h"
#include "tovan/optimize/presolvelog.h"
#include "tovan/solution/sol.h"
#include "tovan/tables/rescode.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"

#include <limits>

namespace tvn {

namespace {

int32_t narrowed(int64_t v) { return static_cast<int32_t>(std::min<int64_t>(v, std::numeric_limits<int32_t>::max())); }

void log_begin(task& t, const ipm_info& info) {
  echo(t, TVN_STREAM_MSG, "Interior-point optimizer started.\n");
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %*s\n", -10, "Optimizer", -16, "threads", -16,
       t.info.intg[TVN_IINF_INTPNT_NUM_THREADS], -16, "form", -16, info.dualform ? "dual" : "primal");
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %*d\n", -10, "Optimizer", -16, "constraints", -16, info.numcon, -16,
       "variables", -16, info.numvar);
}

// The factor, once its order is known; and the head of the table.
void log_factor(task& t, const ipm_info& info) {
  const kktfac_info& f = info.hs.fac;
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*s  %*s : %*d\n", -10, "Factor", -16, "system", -16,
       f.form == kkt_form::sqdt ? "augmented" : "normal equations", -16, "columns apart", -16, f.numdense);
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*.2f  %*s : %*.2f\n", -10, "Factor", -16, "order time", -16, f.ordertime, -16,
       "setup time", -16, f.setuptime);
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*lld  %*s : %*lld\n", -10, "Factor", -16, "nonzeros before", -16,
       static_cast<long long>(f.nnzpattern), -16, "nonzeros", -16, static_cast<long long>(f.nnzl));
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*.2e\n", -10, "Factor", -16, "flops", -16,
       f.fflops + f.adaflops + f.schurflops);
  echo(t, TVN_STREAM_MSG, "%-4s %-17s %-17s %-9s %-8s %-8s %-8s %-8s %-8s\n", "ITE", "POBJ", "DOBJ", "KAP/TAU", "PFEAS",
       "DFEAS", "GAP", "MU", "TIME");
}

void log_iteration(const ipm_view& view, const ipm_info& info) {
  const hs_info& h = info.hs;
  echo(*view.t, TVN_STREAM_MSG, "%-4d %-17.9e %-17.9e %-9.1e %-8.1e %-8.1e %-8.1e %-8.1e %-8.2f\n", h.iter,
       view.sense * h.pobj, view.sense * h.dobj, h.kaptau, h.pfeas, h.dfeas, h.gap, h.mu,
       TVN_sysenv_gettime() - view.start);
}

// What the run did and where its time went, for those who raise the log level.
void log_tail(task& t, const ipm_info& info) {
  constexpr int32_t taillevel = 4;
  if (!is_logged(t, TVN_IPAR_LOG_INTPNT, taillevel)) return;
  const hs_info& h = info.hs;
  const kktfac_info& f = h.fac;
  const auto counts = [&](const char* first, int64_t a, const char* second, int64_t b) {
    echo(t, TVN_STREAM_MSG, "%*s - %*s : %*lld  %*s : %*lld\n", -10, "Summary", -16, first, -16,
         static_cast<long long>(a), -16, second, -16, static_cast<long long>(b));
  };
  const auto times = [&](const char* first, double a, const char* second, double b) {
    echo(t, TVN_STREAM_MSG, "%*s - %*s : %*.3f  %*s : %*.3f\n", -10, "Summary", -16, first, -16, a, -16, second, -16,
         b);
  };
  counts("factorisations", f.numfac, "solves", f.numsolve);
  counts("refinements", f.numrefine, "correctors", h.numcorrectors);
  counts("highest level", h.maxlevel, "turned down", h.numjudged);
  times("form time", f.formtime, "factor time", f.factime);
  times("columns apart", f.schurtime, "solve time", f.solvetime);
}

// The lines of the optimizer of separable forms: sizes, presolve, order, a table of its own.
void log_separable(const ipm_view& view, ipm_event event, const ipm_info& info) {
  task& t = *view.t;
  constexpr const char* orders[] = {" = gp", " = kamf", " = eamf", " = gp", " = gp", " = ext"};
  const auto sizes = [&](const char* when, const prslv_bndcount& con, const prslv_bndcount& var, int64_t nz) {
    const auto all = [](const prslv_bndcount& b) { return b.lower + b.upper + b.fixed + b.free + b.ranged; };
    echo(t, TVN_STREAM_MSG, "\n %s   %8u     %8u   %8u   %8u", when, static_cast<unsigned>(all(con)),
         static_cast<unsigned>(all(var)), static_cast<unsigned>(nz), 0U);
  };
  const prslv_stats& p = info.prslv;
  const hs_info& h = info.hs;
  switch (event) {
  case ipm_event::begin_presolve:
    echo(t, TVN_STREAM_MSG, "\n\n  nrow=%8u  ncol=%8u  nqpc's=%6u ", static_cast<unsigned>(t.prob.numcon),
         static_cast<unsigned>(t.prob.numvar), 0U);
    return echo(t, TVN_STREAM_MSG, "\n\n begin presolving \n");
  case ipm_event::end_presolve:
    echo(t, TVN_STREAM_MSG, "\n type       nrow         ncol       Annz      numqc");
    sizes("init", p.conbefore, p.varbefore, p.nzbefore);
    sizes("endp", p.conafter, p.varafter, p.nzafter);
    return echo(t, TVN_STREAM_MSG, "\n");
  case ipm_event::begin:
    return echo(t, TVN_STREAM_MSG, "\n rnrow=%8u rncol=%8u rnqpc's=%6u ", static_cast<unsigned>(info.numcon),
                static_cast<unsigned>(info.numvar), 0U);
  case ipm_event::begin_order:
    return echo(t, TVN_STREAM_MSG, "\n\n CALCUL: sym(AHA') \n CALCUL: ORDER%s",
                orders[std::clamp(t.params.ival[TVN_IPAR_INTPNT_ORDER_METHOD], 0, 5)]);
  case ipm_event::end_order:
    echo(t, TVN_STREAM_MSG, "\n CALCUL: sym(L)");
    return echo(t, TVN_STREAM_MSG, "\n\n ITE  mu            pobj              dobj           dgap  pfea  dfea    ");
  case ipm_event::iteration:
    return echo(t, TVN_STREAM_MSG, "\n %3u  %-1.0e   %+-16.10e  %+-16.10e   %-1.0e %-1.0e %-1.0e",
                static_cast<unsigned>(h.iter), h.mu, view.sense * h.pobj, view.sense * h.dobj, h.gap, h.pfeas, h.dfeas);
  case ipm_event::end:
    if (info.response == hs_code::max_iterations) echo(t, TVN_STREAM_MSG, "\n Stopped at maxiter");
    if (info.response == hs_code::stall) echo(t, TVN_STREAM_MSG, "\n Stall");
    return echo(t, TVN_STREAM_MSG, "\n");
  case ipm_event::presolve_line:
  case ipm_event::line:
  case ipm_event::poll: return;
  }
}

void log_event(const ipm_view& view, ipm_event event, const ipm_info& info) {
  task& t = *view.t;
  if (view.separable) return log_separable(view, event, info);
  if (event == ipm_event::end) log_tail(t, info);
  if (event == ipm_event::begin) log_begin(t, info);
  if (event == ipm_event::begin_order && is_logged(t, TVN_IPAR_LOG_ORDER))
    echo(t, TVN_STREAM_MSG, "Ordering started.\n");
  if (event == ipm_event::end_order) log_factor(t, info);
  if (event == ipm_event::iteration) log_iteration(view, info);
}

int32_t event_code(const ipm_view& view, ipm_event event) {
  switch (event) {
  case ipm_event::begin_presolve: return TVN_CALLBACK_BEGIN_PRESOLVE;
  case ipm_event::end_presolve: return TVN_CALLBACK_END_PRESOLVE;
  case ipm_event::begin: return view.conic ? TVN_CALLBACK_BEGIN_CONIC : TVN_CALLBACK_BEGIN_INTPNT;
  case ipm_event::iteration: return view.conic ? TVN_CALLBACK_CONIC : TVN_CALLBACK_INTPNT;
  case ipm_event::end: return view.conic ? TVN_CALLBACK_END_CONIC : TVN_CALLBACK_END_INTPNT;
  case ipm_event::begin_order:
  case ipm_event::end_order: return TVN_CALLBACK_IM_ORDER;
  case ipm_event::presolve_line:
  case ipm_event::line:
  case ipm_event::poll: break;
  }
  if (view.presolving) return TVN_CALLBACK_IM_PRESOLVE;
  return view.conic ? TVN_CALLBACK_IM_CONIC : TVN_CALLBACK_IM_INTPNT;
}

void update_factoritems(task& t, const kktfac_info& f) {
  auto& items = t.info;
  items.intg[TVN_IINF_INTPNT_FACTOR_NUM_OFFCOL] = f.numdense;
  items.lint[TVN_LIINF_INTPNT_FACTOR_NUM_NZ] = f.nnzl;
  items.dou[TVN_DINF_INTPNT_FACTOR_NUM_FLOPS] = f.fflops;
  items.dou[TVN_DINF_INTPNT_ORDER_TIME] = f.ordertime;
  auto& dou = items.private_dou;
  dou[TVNP_DINF_INTPNT_FACTOR_NUM_ADA_FLOPS] = f.adaflops;
  dou[TVNP_DINF_INTPNT_FACTOR_NUM_DENSE_FLOPS] = f.schurflops;
  dou[TVNP_DINF_INTPNT_FACTOR_SETUP_TIME] = f.setuptime;
  dou[TVNP_DINF_INTPNT_FACTOR_ADA_TIME] = f.formtime;
  dou[TVNP_DINF_INTPNT_FACTOR_TIME] = f.factime;
  dou[TVNP_DINF_INTPNT_FACTOR_DENSE_TIME] = f.schurtime;
  dou[TVNP_DINF_INTPNT_FACTOR_SOLVE_TIME] = f.solvetime;
  auto& intg = items.private_intg;
  intg[TVNP_IINF_INTPNT_FACTOR_NUM] = narrowed(f.numfac);
  intg[TVNP_IINF_INTPNT_FACTOR_NUM_SOLVE] = narrowed(f.numsolve);
  intg[TVNP_IINF_INTPNT_NUM_REF_STEPS] = narrowed(f.numrefine);
  intg[TVNP_IINF_INTPNT_GP_ORDER_USED] = f.partitioned ? 1 : 0;
}

} // namespace

void update_interioritems(const ipm_view& view, const ipm_info& info) {
  task& t = *view.t;
  auto& items = t.info;
  const hs_info& h = info.hs;
  items.intg[TVN_IINF_INTPNT_ITER] = h.iter;
  items.intg[TVN_IINF_INTPNT_SOLVE_DUAL] = info.dualform ? 1 : 0;
  items.dou[TVN_DINF_INTPNT_PRIMAL_OBJ] = view.sense * h.pobj;
  items.dou[TVN_DINF_INTPNT_DUAL_OBJ] = view.sense * h.dobj;
  items.dou[TVN_DINF_INTPNT_PRIMAL_FEAS] = h.pfeas;
  items.dou[TVN_DINF_INTPNT_DUAL_FEAS] = h.dfeas;
  items.dou[TVN_DINF_INTPNT_KAP_DIV_TAU] = h.kaptau;
  items.dou[TVN_DINF_INTPNT_TIME] = TVN_sysenv_gettime() - view.start;
  items.private_dou[TVNP_DINF_INTPNT_COMP_GAP] = h.gap;
  items.private_dou[TVNP_DINF_INTPNT_MU] = h.mu;
  items.private_intg[TVNP_IINF_INTPNT_NUMCON] = info.numcon;
  items.private_intg[TVNP_IINF_INTPNT_NUMVAR] = info.numvar;
  update_factoritems(t, h.fac);
}

int32_t TVN_interiorprogress(void* handle, ipm_event event, const ipm_info& info) {
  auto& view = *static_cast<ipm_view*>(handle);
  task& t = *view.t;
  if (event == ipm_event::line) {
    if (is_logged(t, TVN_IPAR_LOG_INTPNT, info.linelevel)) echo(t, TVN_STREAM_MSG, "%s", info.line);
    return 0;
  }
  const bool closing = event == ipm_event::end || event == ipm_event::end_presolve;
  if (view.trm != TVN_RES_OK && !closing) return stop_answer(view.trm);
  if (event == ipm_event::begin_presolve) view.presolving = true;
  update_interioritems(view, info);
  if (event == ipm_event::presolve_line) TVN_logpresolveline(t, info.line);
  if (event == ipm_event::end_presolve) TVN_logendpresolve(t, info.prslv);
  if (is_logged(t, TVN_IPAR_LOG_INTPNT)) log_event(view, event, info);
  const TVNrescodee code = TVN_tovanlog(&t, event_code(view, event));
  if (event == ipm_event::end_presolve) view.presolving = false;
  if (view.trm == TVN_RES_OK) view.trm = code;
  return view.trm == TVN_RES_OK ? 0 : stop_answer(view.trm);
}

void log_interiorend(const ipm_view& view, TVNrescodee code) {
  task& t = *view.t;
  if (!is_logged(t, TVN_IPAR_LOG_INTPNT)) return;
  char word[TVN_MAX_STR_LEN] = "";
  const rescode_entry* const stopped = find_rescode(code);
  if (!stopped) TVN_solstatostr(&t, t.sols.solsta[TVN_SOL_ITR], word);
  echo(t, TVN_STREAM_MSG, "Interior-point optimizer terminated. Time: %-.2f. %s\n", TVN_sysenv_gettime() - view.start,
       stopped ? stopped->name : word);
}

} // namespace tvn
