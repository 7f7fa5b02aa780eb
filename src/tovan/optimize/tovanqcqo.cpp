// Quadratic terms on their way to the optimizer for cones: what is refused, and the reformulation as the user sees it.
// The run is the task's own, with its parameters, callbacks and limits; the solution and its duals are those of the
// task's problem.
#include "prslv/reduced.h"
#include "qcoptdir/qcqo.h"
#include "tovan/data/data.h"
#include "tovan/optimize/optimize.h"
#include "tovan/optimize/tovanipm.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanqcqo";

// Rows that no check of convexity may let pass: they are not convex whatever their terms are.
TVNrescodee refuse_rows(task& t) {
  const qterms& q = t.prob.q;
  for (int32_t i = 0; !q.conbegin.empty() && i < t.prob.numcon; i++) {
    const int32_t bk = t.prob.bkc[i];
    if (q.conbegin[i] == q.conend[i] || (bk != TVN_BK_FX && bk != TVN_BK_RA)) continue;
    const TVNrescodee code = bk == TVN_BK_FX ? TVN_RES_ERR_NONLINEAR_EQUALITY : TVN_RES_ERR_NONLINEAR_RANGED;
    return report(t, label, __LINE__, code, item_name(t, TVN_PI_CON, i), i);
  }
  return TVN_RES_OK;
}

// What the roots have found where the user asked for no check.
TVNrescodee refuse_terms(task& t, int32_t row) {
  if (row < 0) {
    const bool maximize = TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE;
    return report(t, label, __LINE__, maximize ? TVN_RES_ERR_OBJ_Q_NOT_NSD : TVN_RES_ERR_OBJ_Q_NOT_PSD);
  }
  const bool upper = t.prob.bkc[row] == TVN_BK_UP;
  return report(t, label, __LINE__, upper ? TVN_RES_ERR_CON_Q_NOT_PSD : TVN_RES_ERR_CON_Q_NOT_NSD,
                item_name(t, TVN_PI_CON, row), row);
}

} // namespace

TVNrescodee TVN_qcqooptimizer(task& t) {
  if (const TVNrescodee code = TVN_checkconvexity(t)) return code;
  if (const TVNrescodee code = refuse_rows(t)) return code;
  return TVN_runconic(t);
}

TVNrescodee TVN_solveqcqo(ipm_view& view, const problem_view& lp, const ipm_param& param, ipm_info& info,
                          solution_view& sol) {
  task& t = *view.t;
  const double start = TVN_sysenv_gettime();
  const ipm_progress progress{&view, TVN_interiorprogress};
  if (const TVNrescodee code = TVN_tovanlog(&t, TVN_CALLBACK_BEGIN_QCQO_REFORMULATE)) return code;
  qcone_form form(*t.sys);
  const qroot_code made = TVN_qcqo_reform(*t.sys, lp, param, info, progress, form);
  t.info.dou[TVN_DINF_QCQO_REFORMULATE_TIME] = TVN_sysenv_gettime() - start;
  const TVNrescodee ended = TVN_tovanlog(&t, TVN_CALLBACK_END_QCQO_REFORMULATE);
  if (made == qroot_code::nonconvex) return refuse_terms(t, form.badrow);
  if (ended != TVN_RES_OK) return ended;
  if (made == qroot_code::ok)
    TVN_qcqo_slv(*t.sys, lp, form, param, info, progress, sol);
  else
    TVN_prslv_clearsolution(lp, sol);
  return TVN_RES_OK;
}

} // namespace tvn
