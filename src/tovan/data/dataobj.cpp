// The linear objective and its sense.
#include "tovan/task/api.h"
#include "tovan/task/convert.h"
#include "tovan/data/data.h"
#include "tovan/task/names.h"
#include "tovan/solution/sol.h"

#include <charconv>
#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/tovan/dataobj";

} // namespace

TVNrescodee put_cj(task& t, int32_t j, double cj) {
  problem& p = t.prob;
  const auto& dpar = t.params.dval;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j)) return code;
  const double size = std::fabs(cj);
  if (size > dpar[TVN_DPAR_DATA_TOL_C_HUGE])
    return report(t, label, __LINE__, TVN_RES_ERR_HUGE_C, item_name(t, TVN_PI_VAR, j), cj, TVN_userindex(t, j));
  if (size > dpar[TVN_DPAR_DATA_TOL_CJ_LARGE]) {
    const TVNrescodee code =
        report(t, label, __LINE__, TVN_RES_WRN_LARGE_CJ, cj, item_name(t, TVN_PI_VAR, j), TVN_userindex(t, j));
    if (code) return code;
  }
  if (!(p.c[j] == cj)) TVN_updsolstaftercchg(t);
  p.c[j] = cj;
  return TVN_RES_OK;
}

TVNrescodee TVN_checkobjectivesense(task& t) {
  const int32_t sense = TVN_getoptobjsense(t);
  if (sense == TVN_OBJECTIVE_SENSE_MINIMIZE || sense == TVN_OBJECTIVE_SENSE_MAXIMIZE) return TVN_RES_OK;
  return report(t, label, __LINE__, TVN_RES_ERR_UNDEFINED_OBJECTIVE_SENSE);
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putobjsense(TVNtask_t task, int32_t sense) {
  return api_change(task, [&](tvn::task& t) {
    if (sense >= TVN_OBJECTIVE_SENSE_UNDEFINED && sense <= TVN_OBJECTIVE_SENSE_MAXIMIZE) {
      const int32_t before = TVN_getoptobjsense(t);
      t.prob.objsense = sense;
      if (TVN_getoptobjsense(t) != before) TVN_updsolstaftercchg(t); // as if all costs changed their sign
      return TVN_RES_OK;
    }
    char text[16] = {};
    std::to_chars(text, text + sizeof text - 1, sense);
    (void)report(t, label, __LINE__, TVN_RES_ERR_INVALID_OBJECTIVE_SENSE, text);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getobjsense(TVNtask_t task, int32_t* sense) {
  return api(task, [&](tvn::task& t) {
    if (sense) *sense = t.prob.objsense;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putcj(TVNtask_t task, int32_t j, double cj) {
  return api_change(task, [&](tvn::task& t) { return put_cj(t, j, cj); });
}

TVNrescodee TVN_putclist(TVNtask_t task, int32_t num, const int32_t* subj, const double* val) {
  return api_change(task, [&](tvn::task& t) {
    TVNrescodee code = check_arrays(t, label, __LINE__, num, {{subj, "subj"}, {val, "val"}});
    for (int32_t k = 0; k < num && !code; k++) {
      code = check_entry(t, label, __LINE__, "subj", k, TVN_PI_VAR, subj[k]);
      if (!code) code = put_cj(t, subj[k], val[k]);
    }
    return code;
  });
}

TVNrescodee TVN_getcslice(TVNtask_t task, int32_t first, int32_t last, double* c) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_slice(t, label, __LINE__, first, last, t.prob.numvar)) return code;
    if (first >= last) return TVN_RES_OK;
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, c, "c")) return code;
    std::copy(t.prob.c.data() + first, t.prob.c.data() + last, c);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getc(TVNtask_t task, double* c) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_arrays(t, label, __LINE__, t.prob.numvar, {{c, "c"}})) return code;
    std::copy_n(t.prob.c.data(), t.prob.numvar, c);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putcfix(TVNtask_t task, double cfix) {
  return api_change(task, [&](tvn::task& t) {
    t.prob.cfix = cfix;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getcfix(TVNtask_t task, double* cfix) {
  return api(task, [&](tvn::task& t) {
    if (cfix) *cfix = t.prob.cfix;
    return TVN_RES_OK;
  });
}
