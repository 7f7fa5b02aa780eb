// The table of all constants and the lookups of names and values.
//
// One constant table is built by the compiler from all .def files, about 1100 entries. Lookups scan it: they serve
// people and parameter files, a scan costs some microseconds, and the order of the tables stays that of the header.
#include "tovan/tables/symcon.h"

#include <algorithm>
#include <array>

namespace tvn {

namespace {

constexpr symcon_entry entry(const char* family, std::string_view name, size_t prefix, int32_t value) {
  return {name, name.substr(prefix), family, value};
}

constexpr std::string_view iparam_families[] = {
#define TVN_IPARAM(name, dflt, kind, min, max, family) #family,
#include "tovan/def/iparam.def"
#undef TVN_IPARAM
};

constexpr symcon_entry table[] = {
#define TVN_CON(family, prefix, symbol, value) entry(#family, #prefix #symbol, sizeof(#prefix) - 1, value),
#include "tovan/def/symcon.def"
#undef TVN_CON
#define TVN_IPARAM(name, dflt, kind, min, max, family) entry("iparam", "TVN_IPAR_" #name, 9, TVN_IPAR_##name),
#include "tovan/def/iparam.def"
#undef TVN_IPARAM
#define TVN_DPARAM(name, dflt, kind, min, max) entry("dparam", "TVN_DPAR_" #name, 9, TVN_DPAR_##name),
#include "tovan/def/dparam.def"
#undef TVN_DPARAM
#define TVN_SPARAM(name, dflt) entry("sparam", "TVN_SPAR_" #name, 9, TVN_SPAR_##name),
#include "tovan/def/sparam.def"
#undef TVN_SPARAM
#define TVN_DINF_ITEM(name) entry("dinf_item", "TVN_DINF_" #name, 9, TVN_DINF_##name),
#include "tovan/def/dinf.def"
#undef TVN_DINF_ITEM
#define TVN_IINF_ITEM(name) entry("iinf_item", "TVN_IINF_" #name, 9, TVN_IINF_##name),
#include "tovan/def/iinf.def"
#undef TVN_IINF_ITEM
#define TVN_LIINF_ITEM(name) entry("liinf_item", "TVN_LIINF_" #name, 10, TVN_LIINF_##name),
#include "tovan/def/liinf.def"
#undef TVN_LIINF_ITEM
    entry("rescode", "TVN_RES_OK", 8, 0),
#define TVN_RESCODE(name, value, text, description) entry("rescode", "TVN_RES_" #name, 8, value),
#include "tovan/def/rescode.def"
#undef TVN_RESCODE
#define TVN_CALLBACK_CODE(name, value) entry("callback_code", "TVN_CALLBACK_" #name, 13, value),
#include "tovan/def/callback.def"
#undef TVN_CALLBACK_CODE
};

} // namespace

std::span<const symcon_entry> all_symcons() noexcept { return table; }

const symcon_entry* find_symcon(std::string_view name) noexcept {
  const auto* at = std::find_if(std::begin(table), std::end(table), [&](const auto& e) { return e.name == name; });
  return at == std::end(table) ? nullptr : at;
}

const symcon_entry* find_symcon(std::string_view family, int32_t value) noexcept {
  for (const symcon_entry& e : table)
    if (e.value == value && e.family == family) return &e;
  return nullptr;
}

std::string_view iparam_family(int32_t param) noexcept {
  if (param < 0 || param >= static_cast<int32_t>(std::size(iparam_families))) return "none";
  return iparam_families[param];
}

} // namespace tvn
