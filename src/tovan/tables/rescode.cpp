// Lookups in the table of response codes.
//
// The table is the text of def/rescode.def, sorted by value, which the compiler checks; a code is found by bisection.
// A code says its class by its value alone, so codes that do not exist have a class too.
#include "tovan/tables/rescode.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace tvn {

namespace {

constexpr rescode_entry table[] = {
#define TVN_RESCODE(name, value, text, description) {value, "TVN_RES_" #name, text, description},
#include "tovan/def/rescode.def"
#undef TVN_RESCODE
};

constexpr size_t text_size = 1024; // of every text buffer of the callers

static_assert(std::is_sorted(std::begin(table), std::end(table),
                             [](const rescode_entry& a, const rescode_entry& b) { return a.value < b.value; }));

} // namespace

const rescode_entry* find_rescode(int32_t code) noexcept {
  const auto* at = std::lower_bound(std::begin(table), std::end(table), code,
                                    [](const rescode_entry& e, int32_t value) { return e.value < value; });
  return at != std::end(table) && at->value == code ? at : nullptr;
}

const rescode_entry* find_rescode(const char* name) noexcept {
  for (const rescode_entry& e : table)
    if (std::strcmp(e.name, name) == 0) return &e;
  return nullptr;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getresponseclass(TVNrescodee code, int32_t* responseclass) {
  if (!responseclass) return TVN_RES_ERR_NULL_POINTER;
  *responseclass = code == TVN_RES_OK ? TVN_RESPONSE_OK
                   : code < 1000      ? TVN_RESPONSE_WRN
                   : code > 3999      ? TVN_RESPONSE_TRM
                                      : TVN_RESPONSE_ERR;
  return TVN_RES_OK;
}

TVNrescodee TVN_getresmes(TVNrescodee code, char* buffer) {
  if (!buffer) return TVN_RES_OK;
  const rescode_entry* e = find_rescode(code);
  std::snprintf(buffer, text_size, "%s", e ? e->text : "No message for this code.");
  return TVN_RES_OK;
}

TVNrescodee TVN_getcodedesc(TVNrescodee code, char* symname, char* description) {
  const rescode_entry ok{TVN_RES_OK, "TVN_RES_OK", "", "No error occurred."};
  const rescode_entry* e = code == TVN_RES_OK ? &ok : find_rescode(code);
  if (symname) std::snprintf(symname, text_size, "%s", e ? e->name : "");
  if (description) std::snprintf(description, text_size, "%s", e ? e->description : "");
  return e ? TVN_RES_OK : TVN_RES_ERR_IN_ARGUMENT;
}

TVNrescodee TVN_getcodedisc(TVNrescodee code, char* symname, char* description) {
  TVN_getcodedesc(code, symname, description);
  return TVN_RES_OK;
}
