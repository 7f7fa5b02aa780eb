// Information items: access by index and name.
//
// The three families share one description each: size, constants, and the codes of a bad index and a bad name. Values
// are plain arrays of the task; the library writes them through the TVNP_ accessors, users only read.
#include "tovan/task/param.h"

#include "tovan/tables/symcon.h"
#include "tovan/task/api.h"
#include "tovan/task/index.h"
#include "tovan/task/report.h"

#include <cstring>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/infitems";

struct inf_family {
  int32_t max;
  std::string_view family; // of the constants
  TVNrescodee badindex, badname;
};

constexpr inf_family families[] = {
    {num_dinf, "dinf_item", TVN_RES_ERR_INF_DOU_INDEX, TVN_RES_ERR_INF_DOU_NAME},
    {num_iinf, "iinf_item", TVN_RES_ERR_INF_INT_INDEX, TVN_RES_ERR_INF_INT_NAME},
    {num_liinf, "liinf_item", TVN_RES_ERR_INF_LINT_INDEX, TVN_RES_ERR_INF_LINT_NAME},
};

TVNrescodee check_item(task& t, int32_t inftype, int32_t item) noexcept {
  const inf_family& f = families[inftype];
  return item >= 0 && item < f.max ? TVN_RES_OK : report(t, label, __LINE__, f.badindex, item);
}

TVNrescodee check_type(task& t, int32_t inftype) noexcept {
  return inftype >= TVN_INF_DOU_TYPE && inftype <= TVN_INF_LINT_TYPE
             ? TVN_RES_OK
             : report(t, label, __LINE__, TVN_RES_ERR_INF_TYPE, inftype);
}

TVNrescodee find_item(task& t, int32_t inftype, const char* name, int32_t& item) noexcept {
  if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
  const inf_family& f = families[inftype];
  const symcon_entry* e = find_symcon(name);
  if (!e || e->family != f.family) return report(t, label, __LINE__, f.badname, name);
  item = e->value;
  return TVN_RES_OK;
}

template <class T, size_t N> T& slot(sysenv* sys, numbered<T, N>& items, int32_t item) noexcept {
  TVN_ASSERT(sys, label, item >= 0 && item < static_cast<int32_t>(N));
  return items[item];
}
template <class T, size_t N> T value_of(sysenv* sys, const numbered<T, N>& items, int32_t item) noexcept {
  TVN_ASSERT(sys, label, item >= 0 && item < static_cast<int32_t>(N));
  return items[item];
}

} // namespace

TVNrescodee TVN_putintinf(task& t, int32_t item, int32_t value) noexcept {
  if (const TVNrescodee bad = check_item(t, TVN_INF_INT_TYPE, item)) return bad;
  TVNP_putintinf(t, item, value);
  return TVN_RES_OK;
}

TVNrescodee TVN_putlintinf(task& t, int32_t item, int64_t value) noexcept {
  if (const TVNrescodee bad = check_item(t, TVN_INF_LINT_TYPE, item)) return bad;
  TVNP_putlintinf(t, item, value);
  return TVN_RES_OK;
}

double TVNP_getdouinf(const task& t, int32_t item) noexcept { return value_of(t.sys, t.info.dou, item); }
int32_t TVNP_getintinf(const task& t, int32_t item) noexcept { return value_of(t.sys, t.info.intg, item); }
int64_t TVNP_getlintinf(const task& t, int32_t item) noexcept { return value_of(t.sys, t.info.lint, item); }
void TVNP_putdouinf(task& t, int32_t item, double value) noexcept { slot(t.sys, t.info.dou, item) = value; }
void TVNP_putintinf(task& t, int32_t item, int32_t value) noexcept { slot(t.sys, t.info.intg, item) = value; }
void TVNP_putlintinf(task& t, int32_t item, int64_t value) noexcept { slot(t.sys, t.info.lint, item) = value; }

double TVNP_getprivatedouinf(const task& t, int32_t item) noexcept { return value_of(t.sys, t.info.private_dou, item); }
int32_t TVNP_getprivateintinf(const task& t, int32_t item) noexcept {
  return value_of(t.sys, t.info.private_intg, item);
}
int64_t TVNP_getprivatelintinf(const task& t, int32_t item) noexcept {
  return value_of(t.sys, t.info.private_lint, item);
}
void TVNP_putprivatedouinf(task& t, int32_t item, double value) noexcept {
  slot(t.sys, t.info.private_dou, item) = value;
}
void TVNP_putprivateintinf(task& t, int32_t item, int32_t value) noexcept {
  slot(t.sys, t.info.private_intg, item) = value;
}
void TVNP_putprivatelintinf(task& t, int32_t item, int64_t value) noexcept {
  slot(t.sys, t.info.private_lint, item) = value;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getdouinf(TVNtask_t task, int32_t item, double* value) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, value, "value")) return bad;
    if (const TVNrescodee bad = check_item(t, TVN_INF_DOU_TYPE, item)) return bad;
    *value = TVNP_getdouinf(t, item);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getintinf(TVNtask_t task, int32_t item, int32_t* value) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, value, "value")) return bad;
    if (const TVNrescodee bad = check_item(t, TVN_INF_INT_TYPE, item)) return bad;
    *value = TVNP_getintinf(t, item);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getlintinf(TVNtask_t task, int32_t item, int64_t* value) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, value, "value")) return bad;
    if (const TVNrescodee bad = check_item(t, TVN_INF_LINT_TYPE, item)) return bad;
    *value = TVNP_getlintinf(t, item);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getnadouinf(TVNtask_t task, const char* name, double* value) {
  return api(task, [&](tvn::task& t) {
    int32_t item = 0;
    if (const TVNrescodee bad = find_item(t, TVN_INF_DOU_TYPE, name, item)) return bad;
    return TVN_getdouinf(task, item, value);
  });
}

TVNrescodee TVN_getnaintinf(TVNtask_t task, const char* name, int32_t* value) {
  return api(task, [&](tvn::task& t) {
    int32_t item = 0;
    if (const TVNrescodee bad = find_item(t, TVN_INF_INT_TYPE, name, item)) return bad;
    return TVN_getintinf(task, item, value);
  });
}

TVNrescodee TVN_getinfindex(TVNtask_t task, int32_t inftype, const char* name, int32_t* index) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, index, "index")) return bad;
    if (const TVNrescodee bad = check_type(t, inftype)) return bad;
    return find_item(t, inftype, name, *index);
  });
}

TVNrescodee TVN_getinfname(TVNtask_t task, int32_t inftype, int32_t index, char* name) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, name, "name")) return bad;
    if (const TVNrescodee bad = check_type(t, inftype)) return bad;
    if (const TVNrescodee bad = check_item(t, inftype, index)) return bad;
    const symcon_entry* e = find_symcon(families[inftype].family, index);
    std::memcpy(name, e->name.data(), e->name.size() + 1);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getinfmax(TVNtask_t task, int32_t inftype, int32_t* max) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, max, "max")) return bad;
    if (const TVNrescodee bad = check_type(t, inftype)) return bad;
    *max = families[inftype].max;
    return TVN_RES_OK;
  });
}
