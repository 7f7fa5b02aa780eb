// The simplex road: settings and views for the simplex frame, its result into the basic slot.
//
// A is lent by the store and locked for the run, by a guard that ends the loan on every exit path. The slots are the
// run's own, undefined until it is over.
#include "tovan/data/data.h"
#include "tovan/optimize/minimised.h"
#include "tovan/optimize/optimize.h"
#include "tovan/optimize/presolvelog.h"
#include "tovan/optimize/tovansimlog.h"
#include "tovan/solution/sol.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

#include "simplex/frame.h"

namespace tvn {

namespace {

// Public pricing constants to the internal numbers.
int32_t selection_number(int32_t value) {
  switch (value) {
  case TVN_SIM_SELECTION_FULL: return sel_full;
  case TVN_SIM_SELECTION_ASE: return sel_ase;
  case TVN_SIM_SELECTION_DEVEX: return sel_devex;
  case TVN_SIM_SELECTION_SE: return sel_se;
  case TVN_SIM_SELECTION_PARTIAL: return sel_partial;
  default: return sel_free;
  }
}

// This one goes through as it is.
static_assert(int{degen_none} == TVN_SIM_DEGEN_NONE && int{degen_free} == TVN_SIM_DEGEN_FREE &&
              int{degen_aggressive} == TVN_SIM_DEGEN_AGGRESSIVE && int{degen_moderate} == TVN_SIM_DEGEN_MODERATE &&
              int{degen_minimum} == TVN_SIM_DEGEN_MINIMUM);

int32_t scaling_number(int32_t value) {
  switch (value) {
  case TVN_SCALING_NONE: return scaling_none;
  case TVN_SCALING_MODERATE: return scaling_moderate;
  case TVN_SCALING_AGGRESSIVE: return scaling_aggressive;
  default: return scaling_free;
  }
}

int32_t dupvec_number(int32_t value) {
  switch (value) {
  case TVN_SIM_EXPLOIT_DUPVEC_ON: return 2;
  case TVN_SIM_EXPLOIT_DUPVEC_FREE: return 1;
  default: return 0;
  }
}

int32_t reformulation_number(int32_t value) {
  switch (value) {
  case TVN_SIM_REFORMULATION_ON: return reform_on;
  case TVN_SIM_REFORMULATION_FREE: return reform_free;
  case TVN_SIM_REFORMULATION_AGGRESSIVE: return reform_aggressive;
  default: return reform_off;
  }
}

simplex_kind optimizer_number(int32_t value) {
  switch (value) {
  case TVN_OPTIMIZER_PRIMAL_SIMPLEX: return kind_primal;
  case TVN_OPTIMIZER_DUAL_SIMPLEX: return kind_dual;
  default: return kind_free;
  }
}

} // namespace

simplex_param TVN_simplexparam(const task& t, bool maximize) {
  simplex_param p;
  const auto& iv = t.params.ival;
  const auto& dv = t.params.dval;
  p.optimizer = optimizer_number(iv[TVN_IPAR_OPTIMIZER]);
  p.cleanoptimizer = optimizer_number(iv[TVN_IPAR_BI_CLEAN_OPTIMIZER]);
  p.dualform = iv[TVN_IPAR_SIM_SOLVE_FORM] == TVN_SOLVE_DUAL;
  p.presolve = iv[TVN_IPAR_PRESOLVE_USE];
  p.prslv = TVN_presolveparam(t);
  p.degen = iv[TVN_IPAR_SIM_DEGEN];
  p.scaling = scaling_number(iv[TVN_IPAR_SIM_SCALING]);
  p.scalingmethod =
      iv[TVN_IPAR_SIM_SCALING_METHOD] == TVN_SCALING_METHOD_FREE ? scaling_equilibrated : scaling_geometric;
  p.savelu = iv[TVN_IPAR_SIM_SAVE_LU] != 0;
  p.uselu = iv[TVN_IPAR_SIM_BASIS_FACTOR_USE] != 0;
  p.nonsingular = iv[TVN_IPAR_SIM_NON_SINGULAR] != 0;
  p.selection = selection_number(iv[TVN_IPAR_SIM_PRIMAL_SELECTION]);
  p.dualselection = selection_number(iv[TVN_IPAR_SIM_DUAL_SELECTION]);
  p.primalcrash = iv[TVN_IPAR_SIM_PRIMAL_CRASH];
  p.dualcrash = iv[TVN_IPAR_SIM_DUAL_CRASH];
  p.dualphaseone = iv[TVN_IPAR_SIM_DUAL_PHASEONE_METHOD];
  p.dupvec = dupvec_number(iv[TVN_IPAR_SIM_EXPLOIT_DUPVEC]);
  p.reformulation = reformulation_number(iv[TVN_IPAR_SIM_REFORMULATION]);
  p.restrictpct = iv[TVN_IPAR_SIM_PRIMAL_RESTRICT_SELECTION];
  p.maxiterations = iv[TVN_IPAR_SIM_MAX_ITERATIONS];
  p.maxsetbacks = iv[TVN_IPAR_SIM_MAX_NUM_SETBACKS];
  p.refactorfreq = iv[TVN_IPAR_SIM_REFACTOR_FREQ];
  p.logfreq = iv[TVN_IPAR_LOG_SIM_FREQ];
  p.tolx = dv[TVN_DPAR_BASIS_TOL_X];
  p.tols = dv[TVN_DPAR_BASIS_TOL_S];
  p.tolabspiv = dv[TVN_DPAR_SIMPLEX_ABS_TOL_PIV];
  p.tolrelpiv = dv[TVN_DPAR_SIM_LU_TOL_REL_PIV];
  p.maxtime = dv[TVN_DPAR_OPTIMIZER_MAX_TIME];
  p.starttime = t.optstart;
  // The primal objective falls through the lower cut, the dual objective rises through the upper one.
  p.cuts = TVN_minimisedcuts(t, maximize);
  return p;
}

namespace {

// How the stored basic solution may start the run.
int32_t hotstart_mode(const task& t) {
  const int32_t wish = t.params.ival[TVN_IPAR_SIM_HOTSTART];
  if (!t.sols.defined[TVN_SOL_BAS] || wish == TVN_SIM_HOTSTART_NONE) return start_none;
  const int32_t solsta = t.sols.solsta[TVN_SOL_BAS];
  if (solsta == TVN_SOL_STA_PRIM_FEAS || wish == TVN_SIM_HOTSTART_STATUS_KEYS) return start_primal;
  return solsta == TVN_SOL_STA_DUAL_FEAS ? start_dual : start_other;
}

void reset_items(task& t) {
  for (const int32_t item : {TVN_DINF_OPTIMIZER_TIME, TVN_DINF_SIM_TIME, TVN_DINF_SIM_OBJ, TVN_DINF_SIM_FEAS,
                             TVN_DINF_SIM_PRIMAL_TIME, TVN_DINF_SIM_DUAL_TIME, TVN_DINF_SIM_PRIMAL_DUAL_TIME})
    t.info.dou[item] = 0;
  for (const int32_t item : {TVN_IINF_SIM_PRIMAL_ITER, TVN_IINF_SIM_DUAL_ITER, TVN_IINF_SIM_PRIMAL_DUAL_ITER,
                             TVN_IINF_SIM_PRIMAL_DEG_ITER, TVN_IINF_SIM_DUAL_DEG_ITER, TVN_IINF_SIM_PRIMAL_INF_ITER,
                             TVN_IINF_SIM_DUAL_INF_ITER, TVN_IINF_SIM_PRIMAL_HOTSTART, TVN_IINF_SIM_DUAL_HOTSTART,
                             TVN_IINF_SIM_PRIMAL_HOTSTART_LU, TVN_IINF_SIM_DUAL_HOTSTART_LU})
    t.info.intg[item] = 0;
}

} // namespace

TVNrescodee TVN_simplexoptimizer(task& t) {
  reset_items(t);
  const bool maximize = TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE;
  const int32_t optimizer = t.params.ival[TVN_IPAR_OPTIMIZER];
  if (optimizer == TVN_OPTIMIZER_PRIMAL_DUAL_SIMPLEX) return missing_optimizer(t, "primal-dual simplex optimizer");
  sim_run run{&t, maximize ? -1.0 : 1.0, TVN_sysenv_gettime(), TVN_RES_OK, -1, 0, {}};
  if (const TVNrescodee code = TVN_tovanlog(&t, TVN_CALLBACK_BEGIN_SIMPLEX)) return code;

  TVN_makesolution(t, TVN_SOL_BAS);
  TVN_lu_invfac(t.basis.factor); // of a basis that the run leaves
  if (t.params.ival[TVN_IPAR_SIM_HOTSTART_LU] == 0) t.kept = kept_basis{};
  simplex_param param = TVN_simplexparam(t, maximize);
  param.hotstart = hotstart_mode(t);
  param.keysonly = t.params.ival[TVN_IPAR_SIM_HOTSTART] == TVN_SIM_HOTSTART_STATUS_KEYS;
  solution_view sol = TVN_slotarrays(t, TVN_SOL_BAS);
  const minimised_costs costs(t, maximize);
  TVN_invalidallsol(t);
  simplex_info info;
  {
    const lent_matrix matrix(t);
    if (param.hotstart != 0) TVN_turnduals(t, maximize, sol);
    const simplex_progress progress{&run, TVN_simplexprogress};
    TVN_simplex_optimize(*t.sys, TVN_minimisedview(t, costs, matrix.a), param, info, progress, sol, &t.kept);
    TVN_turnduals(t, maximize, sol);
  }
  t.sols.defined[TVN_SOL_BAS] = 1;
  t.sols.prosta[TVN_SOL_BAS] = TVN_convertprosta(info.prosta);
  t.sols.solsta[TVN_SOL_BAS] = TVN_convertsolsta(info.solsta);
  update_simplexitems(run, info);
  const TVNrescodee code = run.trm != TVN_RES_OK ? run.trm : TVN_oresptomrespdbg(static_cast<int32_t>(info.response));
  log_simplexend(run, info, code);
  if (const TVNrescodee c = TVN_tovanlog(&t, TVN_CALLBACK_END_SIMPLEX); code == TVN_RES_OK) return c;
  return code;
}

} // namespace tvn
