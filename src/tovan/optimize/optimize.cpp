// The optimize driver: reset, choice of the road, conversion of results.
//
// Roads whose optimizer is not part of the library answer with an error before the solutions are touched. A linear
// problem under the free choice goes to the interior point and from there to a basis, unless the simplex is surely
// faster, which the log says.
#include "tovan/optimize/optimize.h"

#include "misc/solcopy.h"
#include "tovan/data/data.h"
#include "tovan/measures/solinf.h"
#include "tovan/optimize/minimised.h"
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"
#include "tovan/task/convert.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanopt";

bool is_simplex(int32_t optimizer) {
  return optimizer == TVN_OPTIMIZER_PRIMAL_SIMPLEX || optimizer == TVN_OPTIMIZER_DUAL_SIMPLEX ||
         optimizer == TVN_OPTIMIZER_PRIMAL_DUAL_SIMPLEX || optimizer == TVN_OPTIMIZER_FREE_SIMPLEX;
}

TVNrescodee sort_columns(task& t) {
  // Two transpositions leave the indices of each column ascending.
  if (t.prob.a.made()) {
    TVN_sprmat_viewrows(t.prob.a);
    TVN_sprmat_viewcols(t.prob.a);
  }
  return TVN_RES_OK;
}

} // namespace

TVNrescodee TVN_inittaskbeforeoptimize(task& t) {
  const int32_t sense = TVN_getoptobjsense(t);
  if (sense != TVN_OBJECTIVE_SENSE_MINIMIZE && sense != TVN_OBJECTIVE_SENSE_MAXIMIZE)
    return report(t, label, __LINE__, TVN_RES_ERR_UNDEFINED_OBJECTIVE_SENSE);
  t.logheadprinted = 0;
  auto& info = t.info;
  info.intg[TVN_IINF_OPT_NUMCON] = t.prob.numcon;
  info.intg[TVN_IINF_OPT_NUMVAR] = t.prob.numvar;
  for (size_t k = 0; k < info.lint.size(); k++)
    if (k != TVN_LIINF_RD_NUMANZ && k != TVN_LIINF_RD_NUMQNZ) info.lint[k] = 0; // those two are of the last read
  info.private_dou.fill(0);
  info.private_intg.fill(0);
  info.private_lint.fill(0);
  for (const int32_t item :
       {TVN_DINF_BI_CLEAN_DUAL_TIME, TVN_DINF_BI_CLEAN_PRIMAL_DUAL_TIME, TVN_DINF_BI_CLEAN_PRIMAL_TIME,
        TVN_DINF_BI_CLEAN_TIME, TVN_DINF_BI_DUAL_TIME, TVN_DINF_BI_PRIMAL_TIME, TVN_DINF_BI_TIME, TVN_DINF_INTPNT_TIME,
        TVN_DINF_INTPNT_ORDER_TIME, TVN_DINF_INTPNT_FACTOR_NUM_FLOPS, TVN_DINF_PRESOLVE_TIME})
    info.dou[item] = 0;
  for (const int32_t item : {TVN_IINF_INTPNT_ITER, TVN_IINF_INTPNT_FACTOR_NUM_OFFCOL, TVN_IINF_SIM_PRIMAL_ITER,
                             TVN_IINF_SIM_DUAL_ITER, TVN_IINF_SIM_PRIMAL_DUAL_ITER})
    info.intg[item] = 0;
  return t.params.ival[TVN_IPAR_AUTO_SORT_A_BEFORE_OPT] ? sort_columns(t) : TVN_RES_OK;
}

TVNrescodee missing_optimizer(task& t, const char* name) {
  const TVNrescodee code = report(t, label, __LINE__, TVN_RES_ERR_INV_OPTIMIZER, t.params.ival[TVN_IPAR_OPTIMIZER]);
  echo(t, TVN_STREAM_ERR, "This version of the library has no %s.\n", name);
  return code;
}

namespace {

// A choice that cannot take problems of this type.
TVNrescodee wrong_optimizer(task& t) {
  return report(t, label, __LINE__, TVN_RES_ERR_INV_OPTIMIZER, t.params.ival[TVN_IPAR_OPTIMIZER]);
}

// Does the basic slot say more than that all logicals are basic? A run that was stopped leaves no more.
bool is_start(task& t) {
  if (!t.sols.defined[TVN_SOL_BAS]) return false;
  if (t.sols.solsta[TVN_SOL_BAS] != TVN_SOL_STA_UNKNOWN) return true;
  const int32_t* const skx = TVN_slotarrays(t, TVN_SOL_BAS).skx;
  return std::any_of(skx, skx + t.prob.numvar, [](int32_t key) { return key == TVN_SK_BAS; });
}

// Why the simplex is surely the faster one on a linear problem; null: it is not.
const char* simplex_reason(task& t) {
  constexpr int32_t few = 50, notmany = 5000; // up to there it takes half of the time of the interior point, or less
  if (is_start(t) && t.params.ival[TVN_IPAR_SIM_HOTSTART] != TVN_SIM_HOTSTART_NONE)
    return "there is a basis to start from";
  const auto [least, most] = std::minmax(t.prob.numcon, t.prob.numvar);
  if (least <= few && most <= notmany) return "the problem is small";
  return nullptr;
}

// The interior slot holds the vertex, too: who leaves the choice to us finds both slots filled.
void copy_to_interior(task& t) {
  if (!t.sols.defined[TVN_SOL_BAS] || t.sols.solsta[TVN_SOL_BAS] == TVN_SOL_STA_UNKNOWN) return;
  TVN_makesolution(t, TVN_SOL_ITR);
  copy_solution(t.prob.numcon, t.prob.numvar, TVN_slotarrays(t, TVN_SOL_BAS), TVN_slotarrays(t, TVN_SOL_ITR));
  t.sols.defined[TVN_SOL_ITR] = 1;
  t.sols.prosta[TVN_SOL_ITR] = t.sols.prosta[TVN_SOL_BAS];
  t.sols.solsta[TVN_SOL_ITR] = t.sols.solsta[TVN_SOL_BAS];
}

// The free choice for a linear problem: interior point, and from there to a basis.
TVNrescodee choose_linear(task& t) {
  const bool alone = t.params.ival[TVN_IPAR_INTPNT_BASIS] == TVN_BI_NEVER; // the interior solution is what is wanted
  const char* const reason = alone ? nullptr : simplex_reason(t);
  if (!reason) return TVN_interioroptimizer(t);
  if (is_logged(t, TVN_IPAR_LOG_OPTIMIZER))
    echo(t, TVN_STREAM_MSG, "The linear problem is solved by the simplex optimizer: %s.\n", reason);
  const TVNrescodee code = TVN_simplexoptimizer(t);
  copy_to_interior(t);
  return code;
}

// Quadratic terms and nothing else that is not linear, cones excepted.
bool is_quadratic(const task& t) { return !has_nlfunc(t) && (has_qobj(t.prob) || has_qcon(t.prob)); }

} // namespace

TVNrescodee TVN_contoptimizer(task& t) {
  const int32_t optimizer = t.params.ival[TVN_IPAR_OPTIMIZER], type = problem_type(t);
  const bool free = optimizer == TVN_OPTIMIZER_FREE;
  if (optimizer == TVN_OPTIMIZER_CONIC || (free && t.prob.numcone > 0))
    if (is_quadratic(t)) return TVN_qcqooptimizer(t);
  if (optimizer == TVN_OPTIMIZER_CONIC || (free && type == TVN_PROBTYPE_CONIC)) return TVN_conicoptimizer(t);
  if (is_simplex(optimizer)) return type == TVN_PROBTYPE_LO ? TVN_simplexoptimizer(t) : wrong_optimizer(t);
  if (type == TVN_PROBTYPE_MIXED) return report(t, label, __LINE__, TVN_RES_ERR_MIXED_PROBLEM);
  if (type == TVN_PROBTYPE_CONIC) return wrong_optimizer(t);
  if (type == TVN_PROBTYPE_QCQO) return TVN_qcqooptimizer(t);
  if (type == TVN_PROBTYPE_QO) {
    const TVNrescodee code = TVN_checkconvexity(t);
    return code != TVN_RES_OK ? code : TVN_interioroptimizer(t);
  }
  if (type != TVN_PROBTYPE_LO) return missing_optimizer(t, "interior-point optimizer for nonlinear problems");
  return free ? choose_linear(t) : TVN_interioroptimizer(t);
}

namespace {

TVNrescodee TVN_globaloptimizer(task& t) {
  const TVNrescodee code = report(t, label, __LINE__, TVN_RES_ERR_MIO_NO_OPTIMIZER);
  if (count_integers(t.prob) > 0)
    echo(t, TVN_STREAM_ERR, "TVN_IPAR_MIO_MODE set to TVN_MIO_MODE_IGNORED solves the relaxation.\n");
  return code;
}

TVNrescodee run_road(task& t) {
  const int32_t optimizer = t.params.ival[TVN_IPAR_OPTIMIZER];
  if (optimizer == TVN_OPTIMIZER_CONCURRENT) return missing_optimizer(t, "concurrent optimizer");
  const bool integer = count_integers(t.prob) > 0 && t.params.ival[TVN_IPAR_MIO_MODE] != TVN_MIO_MODE_IGNORED;
  if (integer || optimizer == TVN_OPTIMIZER_NONCONVEX) return TVN_globaloptimizer(t);
  return TVN_contoptimizer(t);
}

TVNrescodee update_solution_items(task& t) {
  TVNrescodee code = TVN_RES_OK;
  for (int32_t which = 0; which < 3; which++) {
    if (!TVN_solutiondef(t, which)) continue;
    if (const TVNrescodee c = TVN_updatesolutioninfo(t, which); code == TVN_RES_OK) code = c;
  }
  return code;
}

TVNrescodee optimize(task& t) {
  t.optstart = TVN_sysenv_gettime();
  t.numoptimize++;
  if (const TVNrescodee code = TVN_tovanlogr(&t, TVN_CALLBACK_BEGIN_OPTIMIZER)) return code;
  TVNrescodee code = t.params.ival[TVN_IPAR_CHECK_TASK_DATA] ? TVN_checkdata(t) : TVN_RES_OK;
  if (code == TVN_RES_OK) {
    TVN_markbuffersfordelete(t.buffers);
    code = TVN_inittaskbeforeoptimize(t);
  }
  if (code == TVN_RES_OK) {
    if (is_logged(t, TVN_IPAR_LOG_OPTIMIZER)) tell_ineffective_parameters(t);
    code = run_road(t);
    if (t.params.ival[TVN_IPAR_AUTO_UPDATE_SOL_INFO])
      if (const TVNrescodee c = update_solution_items(t); code == TVN_RES_OK) code = c;
  }
  t.optstop = TVN_sysenv_gettime();
  if (const TVNrescodee c = TVN_tovanlogr(&t, TVN_CALLBACK_END_OPTIMIZER); code == TVN_RES_OK) code = c;
  t.info.intg[TVN_IINF_OPTIMIZE_RESPONSE] = code;
  return code;
}

} // namespace
} // namespace tvn

TVNrescodee TVN_optimize(TVNtask_t task) {
  return tvn::api_change(task, [](tvn::task& t) { return tvn::optimize(t); });
}

TVNrescodee TVN_optimizetrm(TVNtask_t task, TVNrescodee* trmcode) {
  const TVNrescodee code = TVN_optimize(task);
  const bool termination = code > 3999;
  if (trmcode) *trmcode = termination ? code : TVN_RES_OK;
  return termination ? TVN_RES_OK : code;
}
