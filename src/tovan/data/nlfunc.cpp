// The user's nonlinear functions. See nlfunc.h.
#include "tovan/data/nlfunc.h"

#include "tovan/task/api.h"
#include "tovan/solution/sol.h"

#include <cstdio>

namespace tvn {

namespace {

const char label[] = "src/tovan/nlfunc";

TVNrescodee bad_structure(task& t, const char* what, int32_t item, int32_t value) {
  char text[96];
  std::snprintf(text, sizeof text, "%s %d of item %d", what, value, item);
  return report(t, label, __LINE__, TVN_RES_ERR_USER_NLO_EVAL, text);
}

TVNrescodee gradient_length(task& t, int32_t item, int32_t& numgrdnz) {
  numgrdnz = 0;
  if (const TVNrescodee code = TVN_nlgetsp(t, item, &numgrdnz, nullptr, nullptr, nullptr, nullptr)) return code;
  return numgrdnz < 0 ? bad_structure(t, "invalid gradient length", item, numgrdnz) : TVN_RES_OK;
}

TVNrescodee gradient_pattern(task& t, int32_t item, int64_t length, int32_t* sub) {
  auto numgrdnz = static_cast<int32_t>(length);
  if (const TVNrescodee code = TVN_nlgetsp(t, item, &numgrdnz, sub, nullptr, nullptr, nullptr)) return code;
  if (numgrdnz != length) return bad_structure(t, "changed gradient length", item, numgrdnz);
  for (int64_t p = 0; p < length; p++)
    if (sub[p] < 0 || sub[p] >= t.prob.numvar) return bad_structure(t, "invalid gradient subscript", item, sub[p]);
  return TVN_RES_OK;
}

TVNrescodee put_nlfunc(task& t, const nl_hook& hook) {
  if (!hook.getsp != !hook.getva)
    return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, hook.getsp ? "nlgetva" : "nlgetsp");
  t.nl = hook;
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

} // namespace

TVNrescodee TVN_nlgetsp(task& t, int32_t item, int32_t* numgrdnz, int32_t* grdsub, int32_t* numhesnz, int32_t* hessubi,
                        int32_t* hessubj) {
  const int32_t answer = call_user(
      t.running.nonlinear, [&] { return t.nl.getsp(t.nl.handle, item, numgrdnz, grdsub, numhesnz, hessubi, hessubj); });
  return answer == 0 ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_USER_NLO_FUNC);
}

TVNrescodee TVN_nlgetva(task& t, const double* xx, double yo, const double* yc, double* objval, double* conval,
                        double* grdval, double* hesval) {
  const int32_t answer = call_user(t.running.nonlinear,
                                   [&] { return t.nl.getva(t.nl.handle, xx, yo, yc, objval, conval, grdval, hesval); });
  return answer == 0 ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_USER_NLO_FUNC);
}

TVNrescodee nl_evaluate(task& t, const double* xx, nl_values& v) {
  const int32_t numcon = t.prob.numcon;
  if (t.running.nonlinear > 0)
    return report(t, label, __LINE__, TVN_RES_ERR_INTERNAL, "a nonlinear function may not ask for its own values");
  v.begin.reset(*t.sys, int64_t{numcon} + 2, 0);
  for (int32_t item = -1; item < numcon; item++) {
    int32_t length = 0;
    if (const TVNrescodee code = gradient_length(t, item, length)) return code;
    v.begin[item + 2] = v.begin[item + 1] + length;
  }
  v.grdsub.reset(*t.sys, v.begin[numcon + 1], 0);
  v.grdval.reset(*t.sys, v.begin[numcon + 1], 0.0);
  v.conval.reset(*t.sys, numcon, 0.0);
  for (int32_t item = -1; item < numcon; item++) {
    const int64_t at = v.begin[item + 1], length = v.begin[item + 2] - at;
    if (length == 0) continue;
    if (const TVNrescodee code = gradient_pattern(t, item, length, v.grdsub.data() + at)) return code;
  }
  return TVN_nlgetva(t, xx, 0.0, nullptr, &v.objval, v.conval.data(), v.grdval.data(), nullptr);
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putnlfunc(TVNtask_t task, void* nlhandle, TVN_nlgetspfunc nlgetsp, TVN_nlgetvafunc nlgetva) {
  return api_change(task, [&](tvn::task& t) { return put_nlfunc(t, {nlhandle, nlgetsp, nlgetva}); });
}

TVNrescodee TVN_getnlfunc(TVNtask_t task, void** nlhandle, TVN_nlgetspfunc* nlgetsp, TVN_nlgetvafunc* nlgetva) {
  return api(task, [&](tvn::task& t) {
    if (nlhandle) *nlhandle = t.nl.handle;
    if (nlgetsp) *nlgetsp = t.nl.getsp;
    if (nlgetva) *nlgetva = t.nl.getva;
    return TVN_RES_OK;
  });
}
