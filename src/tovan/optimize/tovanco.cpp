// The conic road: problems with cones, linear ones, and quadratic terms by their cones, into the interior slot. No step
// to a basis follows.
#include "tovan/data/data.h"
#include "tovan/optimize/minimised.h"
#include "tovan/optimize/optimize.h"
#include "tovan/optimize/tovanipm.h"
#include "tovan/optimize/tovanipmlog.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanco";

ipm_param conic_param(const task& t, bool maximize) {
  ipm_param p = TVN_interiorparam(t, maximize);
  const auto& dv = t.params.dval;
  p.form = ipm_form::primal;
  p.hs.tolpfeas = dv[TVN_DPAR_INTPNT_CO_TOL_PFEAS];
  p.hs.toldfeas = dv[TVN_DPAR_INTPNT_CO_TOL_DFEAS];
  p.hs.tolgap = dv[TVN_DPAR_INTPNT_CO_TOL_REL_GAP];
  p.hs.tolinfeas = dv[TVN_DPAR_INTPNT_CO_TOL_INFEAS];
  p.hs.nearrel = dv[TVN_DPAR_INTPNT_CO_TOL_NEAR_REL];
  return p;
}

} // namespace

TVNrescodee TVN_conicoptimizer(task& t) {
  const int32_t type = problem_type(t);
  if (type != TVN_PROBTYPE_CONIC && type != TVN_PROBTYPE_LO)
    return report(t, label, __LINE__, TVN_RES_ERR_INV_OPTIMIZER, t.params.ival[TVN_IPAR_OPTIMIZER]);
  return TVN_runconic(t);
}

TVNrescodee TVN_runconic(task& t) {
  const bool maximize = TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE;
  t.info.intg[TVN_IINF_INTPNT_NUM_THREADS] = TVN_usedthreads(t);
  TVN_makesolution(t, TVN_SOL_ITR);
  solution_view sol = TVN_slotarrays(t, TVN_SOL_ITR);
  const minimised_costs costs(t, maximize);
  const ipm_param param = conic_param(t, maximize);
  TVN_invalidallsol(t);
  ipm_view view{&t, maximize ? -1.0 : 1.0, TVN_sysenv_gettime(), TVN_RES_OK};
  view.conic = true;
  ipm_info info;
  TVNrescodee refused = TVN_RES_OK;
  {
    const lent_matrix matrix(t);
    const problem_view lp = TVN_minimisedview(t, costs, matrix.a);
    if (lp.q.any() || lp.qrow.any())
      refused = TVN_solveqcqo(view, lp, param, info, sol);
    else
      TVN_opt_ipmslv(*t.sys, lp, param, info, {&view, TVN_interiorprogress}, sol);
    TVN_turnduals(t, maximize, sol);
  }
  if (refused != TVN_RES_OK) return refused;
  TVN_putinterior(t, info);
  update_interioritems(view, info);
  const TVNrescodee code = view.trm != TVN_RES_OK ? view.trm : TVN_oresptomrespdbg(static_cast<int32_t>(info.response));
  log_interiorend(view, code);
  return code;
}

} // namespace tvn
