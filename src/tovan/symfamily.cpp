// Lookups of one family of constants each: TVN_<family>nametovalue and TVN_get<family>name, all of one form.
#include "tovan/symcon.h"

#include <cstring>

namespace tvn {

namespace {

int32_t name_to_value(std::string_view family, const char* name, int32_t* value) noexcept {
  const symcon_entry* e = name ? find_symcon(name) : nullptr;
  if (!e || e->family != family) return 0;
  if (value) *value = e->value;
  return 1;
}

int32_t value_to_name(std::string_view family, int32_t value, char* buffer) noexcept {
  const symcon_entry* e = find_symcon(family, value);
  const std::string_view name = e ? e->name : "";
  if (buffer) std::memcpy(buffer, name.data(), name.size() + 1);
  return e ? 1 : 0;
}

} // namespace

} // namespace tvn

#define TVN_SYMFAMILY(word, family)                                                                                    \
  int32_t TVN_##word##nametovalue(const char* name, int32_t* value) {                                                  \
    return tvn::name_to_value(family, name, value);                                                                    \
  }                                                                                                                    \
  int32_t TVN_get##word##name(int32_t value, char* buffer) { return tvn::value_to_name(family, value, buffer); }

TVN_SYMFAMILY(boundkey, "bound_key")
TVN_SYMFAMILY(conetype, "cone_type")
TVN_SYMFAMILY(problemtype, "problem_type")
TVN_SYMFAMILY(stakey, "status_key")
TVN_SYMFAMILY(solitem, "sol_item")
TVN_SYMFAMILY(soltype, "sol_type")
TVN_SYMFAMILY(prosta, "pro_status")
TVN_SYMFAMILY(solsta, "sol_status")
TVN_SYMFAMILY(objsense, "objective_sense")
TVN_SYMFAMILY(variabletype, "var_type")
TVN_SYMFAMILY(optimizertype, "optimizer")
TVN_SYMFAMILY(cputype, "cpu_type")
TVN_SYMFAMILY(dataformat, "data_format")
TVN_SYMFAMILY(compresstype, "compress")
TVN_SYMFAMILY(language, "language")
TVN_SYMFAMILY(callbackcode, "callback_code")
TVN_SYMFAMILY(rescode, "rescode")
TVN_SYMFAMILY(iparam, "iparam")
TVN_SYMFAMILY(dparam, "dparam")
TVN_SYMFAMILY(sparam, "sparam")
TVN_SYMFAMILY(iinfitem, "iinf_item")
TVN_SYMFAMILY(dinfitem, "dinf_item")
TVN_SYMFAMILY(liinfitem, "liinf_item")
