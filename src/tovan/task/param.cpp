// Parameters by index: the put tests the rule of the kind, the get copies.
//
// A value that stands already passes untested, so a default outside its rule can be put back. A refused value leaves
// the old one. Strings are owned by the task and copied in and out; a get into a buffer that is too short cuts and
// warns. The library's own accessors (TVNP_) stop on an index that does not exist: it is a fault of ours.
#include "tovan/task/param.h"

#include "cpub/format.h"
#include "cpub/machinfo.h"
#include "tovan/task/api.h"
#include "tovan/task/index.h"
#include "tovan/task/report.h"

#include <cstring>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/param";

size_t at(const task& t, int32_t param, int32_t count) noexcept {
  TVN_ASSERT(t.sys, label, param >= 0 && param < count);
  return static_cast<size_t>(param);
}

bool is_index(int32_t param, int32_t count) noexcept { return param >= 0 && param < count; }

TVNrescodee bad_index(task& t, int32_t param, const char* kind) noexcept {
  return report(t, label, __LINE__, TVN_RES_ERR_PARAM_INDEX, param, kind);
}

// The values of one family of numbers in a task, with their rules.
template <class T> struct number_family {
  int32_t count;
  T* values;
  const int32_t* kind;
  const T *min, *max;
  const param_name* name;
  const char *word, *format;
};

number_family<int32_t> integers(task& t) noexcept {
  const param_tables& p = t.env->params;
  return {num_iparam,    t.params.ival.data(), p.ikind.data(), p.imin.data(),
          p.imax.data(), p.iname.data(),       "integer",      "%d"};
}

number_family<double> doubles(task& t) noexcept {
  const param_tables& p = t.env->params;
  return {num_dparam,    t.params.dval.data(), p.dkind.data(), p.dmin.data(),
          p.dmax.data(), p.dname.data(),       "double",       "%g"};
}

template <class T> TVNrescodee put_number(task& t, const number_family<T>& f, int32_t param, T value) noexcept {
  if (!is_index(param, f.count)) return bad_index(t, param, f.word);
  if (f.values[param] == value) return TVN_RES_OK;
  if (is_valid_param(f.kind[param], value, f.min[param], f.max[param])) {
    f.values[param] = value;
    return TVN_RES_OK;
  }
  char text[32];
  format_text(text, sizeof text, f.format, value);
  const bool tests_minimum = static_cast<param_kind>(f.kind[param]) != param_kind::at_most;
  const bool toosmall = tests_minimum && !(value >= f.min[param]);
  return report(t, label, __LINE__, toosmall ? TVN_RES_ERR_PARAM_IS_TOO_SMALL : TVN_RES_ERR_PARAM_IS_TOO_LARGE, text,
                f.name[param].data());
}

template <class T> TVNrescodee get_number(task& t, const number_family<T>& f, int32_t param, T* value) noexcept {
  if (const TVNrescodee bad = check_pointer(t, label, __LINE__, value, "value")) return bad;
  if (!is_index(param, f.count)) return bad_index(t, param, f.word);
  *value = f.values[param];
  return TVN_RES_OK;
}

// The text between the opening quote and the first closing one that no backslash escapes.
void assign_quoted(text& to, sysenv& sys, const char* value) {
  vec<char> plain(sys);
  plain.reserve(static_cast<int64_t>(std::strlen(value)));
  for (const char* p = value + 1; *p && *p != '"'; p++) {
    if (p[0] == '\\' && p[1] == '"') p++;
    plain.push_back(*p);
  }
  to.assign({plain.data(), static_cast<size_t>(plain.size())});
}

TVNrescodee put_string(task& t, int32_t param, const char* value) {
  if (!is_index(param, num_sparam)) return bad_index(t, param, "string");
  text& to = t.params.sval[param];
  if (value && value[0] == '"') {
    assign_quoted(to, *t.sys, value);
  } else {
    to.assign(value ? value : "");
  }
  return TVN_RES_OK;
}

// Copies as much as fits with its end mark.
TVNrescodee copy_string(task& t, std::string_view from, int64_t maxlen, char* value) noexcept {
  if (!value || maxlen <= 0) return TVN_RES_OK;
  const size_t n = std::min(from.size(), static_cast<size_t>(maxlen) - 1);
  std::memcpy(value, from.data(), n);
  value[n] = '\0';
  return n == from.size() ? TVN_RES_OK : report_result(t, label, __LINE__, TVN_RES_WRN_SPAR_MAX_LEN);
}

} // namespace

int32_t TVNP_getintparam(const task& t, int32_t param) noexcept { return t.params.ival[at(t, param, num_iparam)]; }
double TVNP_getdouparam(const task& t, int32_t param) noexcept { return t.params.dval[at(t, param, num_dparam)]; }
std::string_view TVNP_getstrparam(const task& t, int32_t param) noexcept {
  return t.params.sval[at(t, param, num_sparam)].view();
}

bool TVNP_validateintparam(const task& t, int32_t param, int32_t value) noexcept {
  const size_t k = at(t, param, num_iparam);
  const param_tables& tables = t.env->params;
  return is_valid_param(tables.ikind[k], value, tables.imin[k], tables.imax[k]);
}

bool TVNP_validatedouparam(const task& t, int32_t param, double value) noexcept {
  const size_t k = at(t, param, num_dparam);
  const param_tables& tables = t.env->params;
  return is_valid_param(tables.dkind[k], value, tables.dmin[k], tables.dmax[k]);
}

void TVN_copyparam(const task& from, task& to) { copy_param_values(to.params, from.params); }

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putintparam(TVNtask_t task, int32_t param, int32_t value) {
  return api_change(task, [&](tvn::task& t) { return put_number(t, integers(t), param, value); });
}

TVNrescodee TVN_putdouparam(TVNtask_t task, int32_t param, double value) {
  return api_change(task, [&](tvn::task& t) { return put_number(t, doubles(t), param, value); });
}

TVNrescodee TVN_putstrparam(TVNtask_t task, int32_t param, const char* value) {
  return api_change(task, [&](tvn::task& t) { return put_string(t, param, value); });
}

TVNrescodee TVN_getintparam(TVNtask_t task, int32_t param, int32_t* value) {
  return api(task, [&](tvn::task& t) { return get_number(t, integers(t), param, value); });
}

TVNrescodee TVN_getdouparam(TVNtask_t task, int32_t param, double* value) {
  return api(task, [&](tvn::task& t) { return get_number(t, doubles(t), param, value); });
}

TVNrescodee TVN_getstrparam64(TVNtask_t task, int32_t param, int64_t maxlen, int64_t* len, char* value) {
  return api(task, [&](tvn::task& t) {
    if (!is_index(param, num_sparam)) return bad_index(t, param, "string");
    const std::string_view from = TVNP_getstrparam(t, param);
    if (len) *len = static_cast<int64_t>(from.size());
    return copy_string(t, from, maxlen, value);
  });
}

TVNrescodee TVN_getstrparam(TVNtask_t task, int32_t param, int32_t maxlen, int32_t* len, char* value) {
  return api(task, [&](tvn::task& t) {
    if (!is_index(param, num_sparam)) return bad_index(t, param, "string");
    const std::string_view from = TVNP_getstrparam(t, param);
    if (len) {
      const TVNrescodee bad = TVN_int64to32dbg(t, label, __LINE__, len, static_cast<int64_t>(from.size()));
      if (bad) return bad;
    }
    return copy_string(t, from, maxlen, value);
  });
}

TVNrescodee TVN_getstrparamal(TVNtask_t task, int32_t param, int32_t extra, char** value) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, value, "value")) return bad;
    if (!is_index(param, num_sparam)) return bad_index(t, param, "string");
    if (extra < 0) return report(t, label, __LINE__, TVN_RES_ERR_IN_ARGUMENT, "extra");
    const std::string_view from = TVNP_getstrparam(t, param);
    const size_t size = static_cast<size_t>(extra) + from.size() + 1;
    auto* copy = static_cast<char*>(t.sys->alloc(size, label, __LINE__));
    std::memcpy(copy, from.data(), from.size());
    std::memset(copy + from.size(), 0, size - from.size());
    *value = copy;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getintpntnumthreads(TVNtask_t task, int32_t* num) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, num, "num")) return bad;
    const int32_t asked = TVNP_getintparam(t, TVN_IPAR_INTPNT_NUM_THREADS);
    *num = asked > 0 ? asked : TVN_sysenv_getnumcores(t.sys->mach);
    return TVN_RES_OK;
  });
}
