// Parameters by name, and a value given as text.
//
// Names are full constants and exact to the case. Each family is sorted, so a lookup bisects; a name is tried as a
// double, an integer and a string parameter, in that order. The text of an integer parameter may be any symbolic
// constant. Two functions by name differ from their twins on purpose, since callers rely on it: TVN_putnadouparam does
// not pass a refusal on, and TVN_getnadouparam takes an unknown name for a bad index.
#include "tovan/task/param.h"

#include "misc/numtext.h"
#include "tovan/tables/symcon.h"
#include "tovan/task/api.h"
#include "tovan/task/index.h"
#include "tovan/task/report.h"

#include <cstring>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/paramname";

// The families in the order in which a name is looked up.
void find_param(const task& t, std::string_view name, int32_t& partype, int32_t& param) noexcept {
  const param_tables& tables = t.env->params;
  partype = TVN_PAR_DOU_TYPE;
  if ((param = find_dparam(tables, name)) < num_dparam) return;
  partype = TVN_PAR_INT_TYPE;
  if ((param = find_iparam(tables, name)) < num_iparam) return;
  partype = TVN_PAR_STR_TYPE;
  if ((param = find_sparam(tables, name)) < num_sparam) return;
  partype = TVN_PAR_INVALID_TYPE;
  param = -1;
}

TVNrescodee find_max(task& t, int32_t partype, int32_t* max) noexcept {
  *max = partype == TVN_PAR_DOU_TYPE   ? num_dparam
         : partype == TVN_PAR_INT_TYPE ? num_iparam
         : partype == TVN_PAR_STR_TYPE ? num_sparam
                                       : -1;
  return *max >= 0 ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_PARAM_TYPE, partype);
}

const char* type_word(int32_t partype) noexcept {
  return partype == TVN_PAR_DOU_TYPE ? "double" : partype == TVN_PAR_INT_TYPE ? "integer" : "string";
}

const char* param_name_at(const param_tables& tables, int32_t partype, int32_t param) noexcept {
  return partype == TVN_PAR_DOU_TYPE   ? tables.dname[param].data()
         : partype == TVN_PAR_INT_TYPE ? tables.iname[param].data()
                                       : tables.sname[param].data();
}

TVNrescodee bad_text(task& t, const char* name, const char* value) noexcept {
  return report(t, label, __LINE__, TVN_RES_ERR_PARAM_VALUE_STR, value, name);
}

// A number or the name of a constant.
bool parse_integer(const char* value, int32_t& number) noexcept {
  if (TVN_strtointeger(value, number)) return true;
  const symcon_entry* e = find_symcon(trim(value));
  if (e) number = e->value;
  return e != nullptr;
}

// Index of a known name in `param`, the code of the family otherwise.
TVNrescodee find_named(task& t, const char* name, TVNrescodee unknown, int32_t count,
                       int32_t (*find)(const param_tables&, std::string_view), int32_t& param) noexcept {
  if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
  param = find(t.env->params, name);
  return param < count ? TVN_RES_OK : report(t, label, __LINE__, unknown, name);
}

TVNrescodee find_integer(task& t, const char* name, int32_t& param) noexcept {
  return find_named(t, name, TVN_RES_ERR_PARAM_NAME_INT, num_iparam, find_iparam, param);
}
TVNrescodee find_double(task& t, const char* name, int32_t& param) noexcept {
  return find_named(t, name, TVN_RES_ERR_PARAM_NAME_DOU, num_dparam, find_dparam, param);
}
TVNrescodee find_string(task& t, const char* name, int32_t& param) noexcept {
  return find_named(t, name, TVN_RES_ERR_PARAM_NAME_STR, num_sparam, find_sparam, param);
}

TVNrescodee is_name(tvn::task& t, const char* name, int32_t* index,
                    int32_t (*find)(const param_tables&, std::string_view)) noexcept {
  if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
  if (const TVNrescodee bad = check_pointer(t, label, __LINE__, index, "index")) return bad;
  *index = find(t.env->params, name);
  return TVN_RES_OK;
}

} // namespace

TVNrescodee put_param_text(task& t, int32_t partype, int32_t param, const char* name, const char* value) {
  double real = 0;
  int32_t integer = 0;
  switch (partype) {
  case TVN_PAR_DOU_TYPE:
    if (!TVN_strtoreal(value, real)) return bad_text(t, name, value);
    return TVN_putdouparam(&t, param, real);
  case TVN_PAR_INT_TYPE:
    if (!parse_integer(value, integer)) return bad_text(t, name, value);
    return TVN_putintparam(&t, param, integer);
  case TVN_PAR_STR_TYPE: return TVN_putstrparam(&t, param, value);
  default: return report(t, label, __LINE__, TVN_RES_ERR_PARAM_NAME, name);
  }
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getparammax(TVNtask_t task, int32_t partype, int32_t* max) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, max, "max")) return bad;
    return find_max(t, partype, max);
  });
}

TVNrescodee TVN_getnumparam(TVNtask_t task, int32_t partype, int32_t* num) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, num, "num")) return bad;
    // Callers rely on 67 for the integer family; TVN_getparammax tells its size.
    return find_max(t, partype == TVN_PAR_INT_TYPE ? TVN_PAR_DOU_TYPE : partype, num);
  });
}

TVNrescodee TVN_getparamname(TVNtask_t task, int32_t partype, int32_t param, char* name) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
    int32_t max = 0;
    if (const TVNrescodee bad = find_max(t, partype, &max)) return bad;
    if (param < 0 || param >= max)
      return report(t, label, __LINE__, TVN_RES_ERR_PARAM_INDEX, param, type_word(partype));
    const char* from = param_name_at(t.env->params, partype, param);
    std::memcpy(name, from, std::strlen(from) + 1);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_isdouparname(TVNtask_t task, const char* name, int32_t* index) {
  return api(task, [&](tvn::task& t) { return is_name(t, name, index, find_dparam); });
}

TVNrescodee TVN_isintparname(TVNtask_t task, const char* name, int32_t* index) {
  return api(task, [&](tvn::task& t) { return is_name(t, name, index, find_iparam); });
}

TVNrescodee TVN_isstrparname(TVNtask_t task, const char* name, int32_t* index) {
  return api(task, [&](tvn::task& t) { return is_name(t, name, index, find_sparam); });
}

TVNrescodee TVN_whichparam(TVNtask_t task, const char* name, int32_t* partype, int32_t* param) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
    int32_t type = 0, index = 0;
    find_param(t, name, type, index);
    if (partype) *partype = type;
    if (param) *param = index;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putparam(TVNtask_t task, const char* name, const char* value) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, value, "value")) return bad;
    char buffer[TVN_MAX_STR_LEN];
    const std::string_view plain = trim(name).substr(0, sizeof buffer - 1);
    buffer[plain.copy(buffer, plain.size())] = '\0';
    int32_t partype = 0, param = 0;
    find_param(t, plain, partype, param);
    return put_param_text(t, partype, param, buffer, value);
  });
}

TVNrescodee TVN_putnaintparam(TVNtask_t task, const char* name, int32_t value) {
  return api_change(task, [&](tvn::task& t) {
    int32_t param = 0;
    if (const TVNrescodee bad = find_integer(t, name, param)) return bad;
    return TVN_putintparam(task, param, value);
  });
}

TVNrescodee TVN_putnadouparam(TVNtask_t task, const char* name, double value) {
  return api_change(task, [&](tvn::task& t) {
    int32_t param = 0;
    if (const TVNrescodee bad = find_double(t, name, param)) return bad;
    TVN_putdouparam(task, param, value); // a rejected value has been reported and is not passed on
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putnastrparam(TVNtask_t task, const char* name, const char* value) {
  return api_change(task, [&](tvn::task& t) {
    int32_t param = 0;
    if (const TVNrescodee bad = find_string(t, name, param)) return bad;
    return TVN_putstrparam(task, param, value);
  });
}

TVNrescodee TVN_getnaintparam(TVNtask_t task, const char* name, int32_t* value) {
  return api(task, [&](tvn::task& t) {
    int32_t param = 0;
    if (const TVNrescodee bad = find_integer(t, name, param)) return bad;
    return TVN_getintparam(task, param, value);
  });
}

TVNrescodee TVN_getnadouparam(TVNtask_t task, const char* name, double* value) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
    return TVN_getdouparam(task, find_dparam(t.env->params, name), value); // an unknown name is a bad index there
  });
}

TVNrescodee TVN_getnastrparam(TVNtask_t task, const char* name, int32_t maxlen, int32_t* len, char* value) {
  return api(task, [&](tvn::task& t) {
    int32_t param = 0;
    if (const TVNrescodee bad = find_string(t, name, param)) return bad;
    return TVN_getstrparam(task, param, maxlen, len, value);
  });
}

TVNrescodee TVN_getnastrparamal(TVNtask_t task, const char* name, int32_t extra, char** value) {
  return api(task, [&](tvn::task& t) {
    int32_t param = 0;
    if (const TVNrescodee bad = find_string(t, name, param)) return bad;
    return TVN_getstrparamal(task, param, extra, value);
  });
}
