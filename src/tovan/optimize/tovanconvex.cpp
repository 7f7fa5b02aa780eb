// The check of convexity before an optimizer runs: the sense and the bound keys say which sign each Q must have.
#include "convex/checkdef.h"
#include "misc/runwatch.h"
#include "tovan/data/data.h"
#include "tovan/optimize/optimize.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanconvex";

struct convex_run {
  task& t;
  run_watch watch;
  TVNrescodee trm = TVN_RES_OK; // of the user's functions

  explicit convex_run(task& task_) : t(task_) {
    watch.starttime = t.optstart;
    watch.maxtime = t.params.dval[TVN_DPAR_OPTIMIZER_MAX_TIME];
    watch.handle = this;
    watch.ask = [](void* handle) {
      convex_run& run = *static_cast<convex_run*>(handle);
      run.trm = TVN_tovanlog(&run.t, TVN_CALLBACK_IM_FULL_CONVEXITY_CHECK);
      return run.trm == TVN_RES_OK ? 0 : 1;
    };
  }
  TVNrescodee stopcode() const {
    return trm != TVN_RES_OK ? trm : TVN_oresptomrespdbg(static_cast<int32_t>(watch.stop));
  }
};

// Why the matrix is refused, for who raises the log level.
void TVN_log_convexity_debug(task& t, const convex_result& found) {
  if (!is_logged(t, TVN_IPAR_LOG_CHECK_CONVEXITY) || found.sub < 0) return;
  const char* const name = item_name(t, TVN_PI_VAR, found.sub);
  const int width = std::max(4, static_cast<int>(std::strlen(name)));
  echo(t, TVN_STREAM_MSG, "Convexity check report begin.\n");
  echo(t, TVN_STREAM_MSG, "    %-*s %-8s %s\n", width, "NAME", "INDEX", "PIVOT");
  echo(t, TVN_STREAM_MSG, "    %-*s %-8d %-12.4e\n", width, name, found.sub, found.value);
  echo(t, TVN_STREAM_MSG, "Convexity check report end.\n");
}

// Terms of a region that should have this sign; refused: with what code.
template <class Refuse>
TVNrescodee check_region(convex_run& run, int64_t begin, int64_t end, double sign, Refuse refuse) {
  task& t = run.t;
  const qterms& q = t.prob.q;
  const auto ask = [](void* handle, int32_t, int64_t, double) {
    return static_cast<run_watch*>(handle)->stopped() ? 1 : 0;
  };
  const auto level = static_cast<convex_level>(t.params.ival[TVN_IPAR_CHECK_CONVEXITY]);
  const convex_terms terms{end - begin, q.subi.data() + begin, q.subj.data() + begin, q.val.data() + begin};
  const convex_result found = TVN_symmat_checkdef(*t.sys, terms, sign, level,
                                                  t.params.dval[TVN_DPAR_CHECK_CONVEXITY_REL_TOL], {&run.watch, ask});
  if (found.code == convex_code::stopped) return run.stopcode();
  if (found.code == convex_code::ok) return TVN_RES_OK;
  const TVNrescodee code = refuse();
  TVN_log_convexity_debug(t, found);
  return code;
}

TVNrescodee check_objective(convex_run& run) {
  task& t = run.t;
  const bool maximize = TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE;
  return check_region(run, t.prob.q.objbegin, t.prob.q.objend, maximize ? -1 : 1, [&] {
    return report(t, label, __LINE__, maximize ? TVN_RES_ERR_OBJ_Q_NOT_NSD : TVN_RES_ERR_OBJ_Q_NOT_PSD);
  });
}

TVNrescodee check_row(convex_run& run, int32_t i) {
  task& t = run.t;
  const qterms& q = t.prob.q;
  const int32_t bk = t.prob.bkc[i];
  if (q.conbegin[i] == q.conend[i] || bk == TVN_BK_FR) return TVN_RES_OK;
  const auto refuse = [&](TVNrescodee code) {
    return report(t, label, __LINE__, code, item_name(t, TVN_PI_CON, i), i);
  };
  if (bk == TVN_BK_FX) return refuse(TVN_RES_ERR_NONLINEAR_EQUALITY);
  if (bk == TVN_BK_RA) return refuse(TVN_RES_ERR_NONLINEAR_RANGED);
  const bool upper = bk == TVN_BK_UP;
  return check_region(run, q.conbegin[i], q.conend[i], upper ? 1 : -1,
                      [&] { return refuse(upper ? TVN_RES_ERR_CON_Q_NOT_PSD : TVN_RES_ERR_CON_Q_NOT_NSD); });
}

} // namespace

TVNrescodee TVN_checkconvexity(task& t) {
  if (t.params.ival[TVN_IPAR_CHECK_CONVEXITY] == TVN_CHECK_CONVEXITY_NONE) return TVN_RES_OK;
  if (const TVNrescodee code = TVN_tovanlog(&t, TVN_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK)) return code;
  convex_run run(t);
  TVNrescodee code = check_objective(run);
  for (int32_t i = 0; !t.prob.q.conbegin.empty() && code == TVN_RES_OK && i < t.prob.numcon; i++)
    code = run.watch.stopped() ? run.stopcode() : check_row(run, i);
  const TVNrescodee ended = TVN_tovanlog(&t, TVN_CALLBACK_END_FULL_CONVEXITY_CHECK);
  return code != TVN_RES_OK ? code : ended;
}

} // namespace tvn
