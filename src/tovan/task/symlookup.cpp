// The lookups of constants that are exported.
#include "tovan/tables/symcon.h"
#include "tovan/task/api.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/symcon";

int32_t num_symcons() noexcept { return static_cast<int32_t>(all_symcons().size()); }

size_t longest_name() noexcept {
  size_t longest = 0;
  for (const symcon_entry& e : all_symcons()) longest = std::max(longest, e.name.size());
  return longest;
}

// All text buffers of callers hold at least TVN_MAX_STR_LEN bytes.
void copy_text(char* to, std::string_view from) noexcept { std::memcpy(to, from.data(), from.size() + 1); }

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getsymbcondim(TVNenv_t env, int32_t* num, size_t* maxlen) {
  return api(env, [&](tvn::env&) {
    if (num) *num = num_symcons();
    if (maxlen) *maxlen = longest_name();
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getsymbcon(TVNtask_t task, int32_t i, int32_t sizevalue, char* name, int32_t* value) {
  return api(task, [&](tvn::task& t) {
    if (i < 0) return report(t, label, __LINE__, TVN_RES_ERR_INDEX_IS_TOO_SMALL, i, "i");
    if (i >= num_symcons()) return report(t, label, __LINE__, TVN_RES_ERR_INDEX_IS_TOO_LARGE, i, "i");
    const symcon_entry& e = all_symcons()[i];
    if (value) *value = e.value;
    if (!name || sizevalue <= 0) return TVN_RES_OK;
    std::snprintf(name, static_cast<size_t>(sizevalue), "%s", e.name.data());
    const auto len = static_cast<int32_t>(e.name.size());
    return len < sizevalue ? TVN_RES_OK : report_result(t, label, __LINE__, TVN_RES_WRN_NAME_MAX_LEN, len, sizevalue);
  });
}

int32_t TVN_symnamtovalue(const char* name, char* value) {
  if (value) value[0] = '\0';
  const symcon_entry* e = name ? find_symcon(name) : nullptr;
  if (!e) return 0;
  if (value) *std::to_chars(value, value + 12, e->value).ptr = '\0';
  return 1;
}

TVNrescodee TVN_iparvaltosymnam(TVNenv_t env, int32_t param, int32_t value, char* buffer) {
  return api(env, [&](tvn::env&) {
    if (!buffer) return TVN_RES_ERR_NULL_POINTER;
    const symcon_entry* e = find_symcon(iparam_family(param), value);
    copy_text(buffer, e ? e->name : "");
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_iparvaltostr(TVNenv_t env, int32_t param, int32_t value, char* buffer) {
  return api(env, [&](tvn::env&) {
    if (!buffer) return TVN_RES_ERR_NULL_POINTER;
    const symcon_entry* e = find_symcon(iparam_family(param), value);
    copy_text(buffer, e ? e->symbol : "");
    return TVN_RES_OK;
  });
}
