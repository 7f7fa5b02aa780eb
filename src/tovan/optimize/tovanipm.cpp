// The interior-point road: settings and views for the layer below, its result into the interior slot.
#include "tovan/optimize/tovanipm.h"
#include "cpub/machinfo.h"
#include "qcoptdir/qcopt.h"
#include "tovan/data/data.h"
#include "tovan/optimize/minimised.h"
#include "tovan/optimize/optimize.h"
#include "tovan/optimize/presolvelog.h"
#include "tovan/optimize/tovanbilog.h"
#include "tovan/optimize/tovanipmlog.h"
#include "tovan/optimize/tovansimlog.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanipm";

kkt_form factor_form(int32_t value) {
  switch (value) {
  case 1: return kkt_form::adat;
  case 2: return kkt_form::sqdt;
  default: return kkt_form::free;
  }
}

hs_startpoint start_point(int32_t value) {
  switch (value) {
  case TVN_STARTING_POINT_GUESS: return hs_startpoint::guess;
  case TVN_STARTING_POINT_CONSTANT: return hs_startpoint::constant;
  case TVN_STARTING_POINT_SATISFY_BOUNDS: return hs_startpoint::satisfy_bounds;
  default: return hs_startpoint::free;
  }
}

ipm_form solve_form(int32_t value) {
  switch (value) {
  case TVN_SOLVE_PRIMAL: return ipm_form::primal;
  case TVN_SOLVE_DUAL: return ipm_form::dual;
  default: return ipm_form::free;
  }
}

sorder_method order_method(int32_t value) {
  switch (value) {
  case TVN_ORDER_METHOD_APPMINLOC1: return sorder_method::appminloc1;
  case TVN_ORDER_METHOD_APPMINLOC2: return sorder_method::appminloc2;
  case TVN_ORDER_METHOD_GRAPHPAR1: return sorder_method::graphpar1;
  case TVN_ORDER_METHOD_GRAPHPAR2: return sorder_method::graphpar2;
  case TVN_ORDER_METHOD_NONE: return sorder_method::none;
  default: return sorder_method::free;
  }
}

} // namespace

hs_param TVN_homogeneousparam(const task& t, bool maximize) {
  hs_param p;
  const auto& iv = t.params.ival;
  const auto& dv = t.params.dval;
  p.maxiterations = iv[TVN_IPAR_INTPNT_MAX_ITERATIONS];
  p.watchconvexity = iv[TVN_IPAR_CHECK_CONVEXITY] != TVN_CHECK_CONVEXITY_FULL;
  p.maxcorrectors = iv[TVN_IPAR_INTPNT_MAX_NUM_COR];
  p.maxrefinements = iv[TVN_IPAR_INTPNT_MAX_NUM_REFINEMENT_STEPS];
  p.diffstep = iv[TVN_IPAR_INTPNT_DIFF_STEP] != 0;
  p.regularization = iv[TVN_IPAR_INTPNT_REGULARIZATION_USE] != 0;
  p.scaling = iv[TVN_IPAR_INTPNT_SCALING] != TVN_SCALING_NONE;
  p.start = start_point(iv[TVN_IPAR_INTPNT_STARTING_POINT]);
  p.tolpfeas = dv[TVN_DPAR_INTPNT_TOL_PFEAS];
  p.toldfeas = dv[TVN_DPAR_INTPNT_TOL_DFEAS];
  p.tolgap = dv[TVN_DPAR_INTPNT_TOL_REL_GAP];
  p.tolinfeas = dv[TVN_DPAR_INTPNT_TOL_INFEAS];
  p.tolpath = dv[TVN_DPAR_INTPNT_TOL_PATH];
  p.tolstepsize = dv[TVN_DPAR_INTPNT_TOL_STEP_SIZE];
  p.tolrelstep = dv[TVN_DPAR_INTPNT_TOL_REL_STEP];
  p.psafe = dv[TVN_DPAR_INTPNT_TOL_PSAFE];
  p.dsafe = dv[TVN_DPAR_INTPNT_TOL_DSAFE];
  p.form = factor_form(iv[TVN_IPAR_INTPNT_FACTOR_METHOD]);
  p.order = order_method(iv[TVN_IPAR_INTPNT_ORDER_METHOD]);
  p.densecol = iv[TVN_IPAR_INTPNT_OFF_COL_TRH];
  if (iv[TVN_IPAR_CPU_TYPE] == TVN_CPU_GENERIC) p.isa = matker_isa::baseline;
  p.cuts = TVN_minimisedcuts(t, maximize);
  return p;
}

ipm_param TVN_interiorparam(const task& t, bool maximize) {
  ipm_param p;
  p.hs = TVN_homogeneousparam(t, maximize);
  p.hs.numthr = t.info.intg[TVN_IINF_INTPNT_NUM_THREADS];
  p.presolve = t.params.ival[TVN_IPAR_PRESOLVE_USE] != TVN_PRESOLVE_MODE_OFF;
  p.prslv = TVN_presolveparam(t);
  p.prslv.cliques = true;
  p.form = solve_form(t.params.ival[TVN_IPAR_INTPNT_SOLVE_FORM]);
  p.maxtime = t.params.dval[TVN_DPAR_OPTIMIZER_MAX_TIME];
  p.starttime = t.optstart;
  return p;
}

int32_t TVN_usedthreads(const task& t) {
  const int32_t asked = t.params.ival[TVN_IPAR_INTPNT_NUM_THREADS];
  if (asked == 1) return 1; // to count cores takes longer than a small problem
  const int32_t cores = std::max(1, TVN_sysenv_getnumcores(t.sys->mach));
  return asked <= 0 ? cores : std::min(asked, cores);
}

void TVN_putinterior(task& t, const ipm_info& info) {
  t.sols.defined[TVN_SOL_ITR] = 1;
  t.sols.prosta[TVN_SOL_ITR] = TVN_convertprosta(info.prosta);
  t.sols.solsta[TVN_SOL_ITR] = TVN_convertsolsta(info.solsta);
}

namespace {

basis_wish wish_of(int32_t value) {
  switch (value) {
  case TVN_BI_NO_ERROR: return basis_wish::no_error;
  case TVN_BI_IF_FEASIBLE: return basis_wish::if_feasible;
  default: return basis_wish::always;
  }
}

// What the parameters say of the step to a basis.
basis_run wanted_basis(task& t, basis_view& view) {
  basis_run b;
  const auto& iv = t.params.ival;
  b.wish = wish_of(iv[TVN_IPAR_INTPNT_BASIS]);
  b.ignoremaxiter = iv[TVN_IPAR_BI_IGNORE_MAX_ITER] != 0;
  b.ignorenumerror = iv[TVN_IPAR_BI_IGNORE_NUM_ERROR] != 0;
  b.param = TVN_simplexparam(t, view.sense < 0);
  b.param.optimizer = b.param.cleanoptimizer;
  const objective_cuts cuts = std::exchange(b.param.cuts, {}); // the interior run looks at them
  b.param.basislogfreq = iv[TVN_IPAR_LOG_BI_FREQ];
  b.param.maxiterations = iv[TVN_IPAR_BI_MAX_ITERATIONS];
  const bool cut = iv[TVN_IPAR_OPTIMIZER] != TVN_OPTIMIZER_FREE || cuts.uselow || cuts.useupp;
  b.trialiterations = cut ? 0 : iv[TVN_IPAR_SIM_MAX_ITERATIONS];
  b.progress = {&view, TVN_basisprogress};
  b.sol = TVN_slotarrays(t, TVN_SOL_BAS);
  return b;
}

// The code of a step to a basis after an interior run without one.
TVNrescodee basis_code(const basis_run& b, const basis_view& view) {
  if (view.trm != TVN_RES_OK) return view.trm;
  const simplex_code c = b.info.response;
  if (c == simplex_code::max_iterations && b.ignoremaxiter) return TVN_RES_OK;
  if (c != simplex_code::max_iterations && c != simplex_code::max_time && b.ignorenumerror) return TVN_RES_OK;
  return TVN_oresptomrespdbg(static_cast<int32_t>(c));
}

// Has the step been cut short without a result?
bool was_cut(const simplex_info& info) {
  const simplex_code c = info.response;
  return info.solsta == sol_unknown && (c == simplex_code::user_stop || c == simplex_code::peer_stop ||
                                        c == simplex_code::max_time || c == simplex_code::no_memory);
}

void put_basis(task& t, const basis_run& b, const basis_view& view) {
  t.sols.defined[TVN_SOL_BAS] = !was_cut(b.info); // else the slot would be taken for a start
  t.sols.prosta[TVN_SOL_BAS] = TVN_convertprosta(b.info.prosta);
  t.sols.solsta[TVN_SOL_BAS] = TVN_convertsolsta(b.info.solsta);
  if (b.bytrial) update_simplexitems({&t, view.sense, TVN_sysenv_gettime() - b.trialtime, TVN_RES_OK}, b.info);
  update_basisitems(view, b.info);
  t.info.dou[TVN_DINF_INTPNT_TIME] -= t.info.dou[TVN_DINF_BI_TIME];
  log_basisend(view, b.info);
}

} // namespace

TVNrescodee TVN_interioroptimizer(task& t) {
  constexpr double basisrefine = 1e-2; // a better point saves pushes and clean-up iterations
  const bool maximize = TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE;
  t.info.intg[TVN_IINF_INTPNT_NUM_THREADS] = TVN_usedthreads(t);
  const bool wantbasis = t.params.ival[TVN_IPAR_INTPNT_BASIS] != TVN_BI_NEVER && !has_qobj(t.prob);
  TVN_makesolution(t, TVN_SOL_ITR);
  if (wantbasis) TVN_makesolution(t, TVN_SOL_BAS);
  solution_view sol = TVN_slotarrays(t, TVN_SOL_ITR);
  const minimised_costs costs(t, maximize);
  ipm_param param = TVN_interiorparam(t, maximize);
  if (wantbasis) param.hs.refine = basisrefine;
  TVN_invalidallsol(t);
  ipm_view view{&t, maximize ? -1.0 : 1.0, TVN_sysenv_gettime(), TVN_RES_OK};
  view.separable = t.params.ival[TVN_IPAR_OPTIMIZER] == TVN_OPTIMIZER_QCONE;
  ipm_info info;
  basis_view basisview{&t, view.sense};
  basis_run basis = wantbasis ? wanted_basis(t, basisview) : basis_run{};
  {
    const lent_matrix matrix(t);
    const problem_view lp = TVN_minimisedview(t, costs, matrix.a);
    if ((view.separable || t.params.ival[TVN_IPAR_QO_SEPARABLE_REFORMULATION] == TVN_ON) && lp.q.any())
      TVN_qcopt_slv(*t.sys, lp, param, info, {&view, TVN_interiorprogress}, sol);
    else
      TVN_opt_ipmslv(*t.sys, lp, param, info, {&view, TVN_interiorprogress}, sol, wantbasis ? &basis : nullptr);
    TVN_turnduals(t, maximize, sol);
    if (basis.made) TVN_turnduals(t, maximize, basis.sol);
  }
  TVN_putinterior(t, info);
  update_interioritems(view, info);
  TVNrescodee code = view.trm != TVN_RES_OK ? view.trm : TVN_oresptomrespdbg(static_cast<int32_t>(info.response));
  log_interiorend(view, code);
  if (code == TVN_RES_ERR_NONCONVEX) return report(t, label, __LINE__, code);
  if (!basis.made) return code;
  put_basis(t, basis, basisview);
  return code == TVN_RES_OK ? basis_code(basis, basisview) : code;
}

} // namespace tvn
