// Types and branching data of the variables, and the type of the problem.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/task/names.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/datatype";

TVNrescodee put_vartype(task& t, int32_t j, int32_t vartype) {
  problem& p = t.prob;
  if (p.vartype.empty() && vartype != TVN_VAR_TYPE_CONT && p.maxnumvar > 0)
    p.vartype.reset(*t.sys, p.maxnumvar, TVN_VAR_TYPE_CONT);
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j)) return code;
  if (p.vartype.empty()) return TVN_RES_OK;
  if (p.vartype[j] == TVN_VAR_TYPE_INT) p.numintvar--;
  if (vartype != TVN_VAR_TYPE_CONT && vartype != TVN_VAR_TYPE_INT)
    return report(t, label, __LINE__, TVN_RES_ERR_INV_VAR_TYPE, vartype, item_name(t, TVN_PI_VAR, j),
                  TVN_userindex(t, j), "vartype");
  p.vartype[j] = vartype;
  p.numintvar += vartype == TVN_VAR_TYPE_INT;
  return TVN_RES_OK;
}

TVNrescodee put_branch_order(task& t, int32_t j, int32_t priority, int32_t direction) {
  problem& p = t.prob;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j)) return code;
  if (priority < 0) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_BRANCH_PRIORITY, priority);
  if (direction < TVN_BRANCH_DIR_FREE || direction > TVN_BRANCH_DIR_DOWN)
    return report(t, label, __LINE__, TVN_RES_ERR_INVALID_BRANCH_DIRECTION, direction);
  if (p.branchpri.empty()) {
    buffer<int32_t> pri(*t.sys, p.maxnumvar, 0), dir(*t.sys, p.maxnumvar, TVN_BRANCH_DIR_FREE);
    p.branchpri.swap(pri);
    p.branchdir.swap(dir);
  }
  p.branchpri[j] = priority;
  p.branchdir[j] = direction;
  return TVN_RES_OK;
}

TVNrescodee get_value(task& t, const buffer<int32_t>& from, int32_t j, int32_t* value) {
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j)) return code;
  if (value) *value = from.empty() ? 0 : from[j];
  return TVN_RES_OK;
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putvartype(TVNtask_t task, int32_t j, int32_t vartype) {
  return api_change(task, [&](tvn::task& t) { return put_vartype(t, j, vartype); });
}

TVNrescodee TVN_putvartypelist(TVNtask_t task, int32_t num, const int32_t* subj, const int32_t* vartype) {
  return api_change(task, [&](tvn::task& t) {
    TVNrescodee code = check_arrays(t, label, __LINE__, num, {{subj, "subj"}, {vartype, "vartype"}});
    for (int32_t k = 0; k < num && !code; k++) {
      code = check_entry(t, label, __LINE__, "subj", k, TVN_PI_VAR, subj[k]);
      if (!code) code = put_vartype(t, subj[k], vartype[k]);
    }
    return code;
  });
}

TVNrescodee TVN_getvartype(TVNtask_t task, int32_t j, int32_t* vartype) {
  return api(task, [&](tvn::task& t) { return get_value(t, t.prob.vartype, j, vartype); });
}

TVNrescodee TVN_getvartypelist(TVNtask_t task, int32_t num, const int32_t* subj, int32_t* vartype) {
  return api(task, [&](tvn::task& t) {
    TVNrescodee code = check_arrays(t, label, __LINE__, num, {{subj, "subj"}, {vartype, "vartype"}});
    for (int32_t k = 0; k < num && !code; k++) {
      code = check_entry(t, label, __LINE__, "subj", k, TVN_PI_VAR, subj[k]);
      if (!code) code = get_value(t, t.prob.vartype, subj[k], vartype + k);
    }
    return code;
  });
}

TVNrescodee TVN_putvarbranchorder(TVNtask_t task, int32_t j, int32_t priority, int32_t direction) {
  return api_change(task, [&](tvn::task& t) { return put_branch_order(t, j, priority, direction); });
}

TVNrescodee TVN_getvarbranchorder(TVNtask_t task, int32_t j, int32_t* priority, int32_t* direction) {
  return api(task, [&](tvn::task& t) {
    const TVNrescodee code = get_value(t, t.prob.branchpri, j, priority);
    return code ? code : get_value(t, t.prob.branchdir, j, direction);
  });
}

TVNrescodee TVN_getvarbranchpri(TVNtask_t task, int32_t j, int32_t* priority) {
  return api(task, [&](tvn::task& t) { return get_value(t, t.prob.branchpri, j, priority); });
}

TVNrescodee TVN_getvarbranchdir(TVNtask_t task, int32_t j, int32_t* direction) {
  return api(task, [&](tvn::task& t) { return get_value(t, t.prob.branchdir, j, direction); });
}

TVNrescodee TVN_getprobtype(TVNtask_t task, int32_t* probtype) {
  return api(task, [&](tvn::task& t) {
    if (probtype) *probtype = problem_type(t);
    return TVN_RES_OK;
  });
}
