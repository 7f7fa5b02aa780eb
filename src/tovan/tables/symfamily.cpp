// Lookups of one family of constants each: TVN_<family>nametovalue and TVN_get<family>name, all of one form.
#include "tovan/tables/symcon.h"

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
TVN_SYMFAMILY(accmode, "accmode")
TVN_SYMFAMILY(adop, "ad_op")
TVN_SYMFAMILY(adoptype, "ad_optype")
TVN_SYMFAMILY(basisident, "basis_ident")
TVN_SYMFAMILY(branchdir, "branch_dir")
TVN_SYMFAMILY(checkconvexity, "check_convexity")
TVN_SYMFAMILY(feasrepairoptimize, "feasrepair_optimize")
TVN_SYMFAMILY(inftype, "inf_type")
TVN_SYMFAMILY(iomode, "iomode")
TVN_SYMFAMILY(mark, "mark")
TVN_SYMFAMILY(messagekey, "message_key")
TVN_SYMFAMILY(miocontsol, "mio_cont_sol")
TVN_SYMFAMILY(miomode, "mio_mode")
TVN_SYMFAMILY(mionodeselection, "mio_node_selection")
TVN_SYMFAMILY(mpsformat, "mps_format")
TVN_SYMFAMILY(networkdetect, "network_detect")
TVN_SYMFAMILY(onoff, "on_off")
TVN_SYMFAMILY(ordermethod, "order_method")
TVN_SYMFAMILY(parametertype, "parameter_type")
TVN_SYMFAMILY(presolvemode, "presolve_mode")
TVN_SYMFAMILY(problemitem, "problem_item")
TVN_SYMFAMILY(qread, "q_read")
TVN_SYMFAMILY(responseclass, "response_class")
TVN_SYMFAMILY(scaling, "scaling")
TVN_SYMFAMILY(scalingmethod, "scaling_method")
TVN_SYMFAMILY(sensitivitytype, "sensitivity_type")
TVN_SYMFAMILY(simdegen, "sim_degen")
TVN_SYMFAMILY(simexploitdupvec, "sim_exploit_dupvec")
TVN_SYMFAMILY(simhotstart, "sim_hotstart")
TVN_SYMFAMILY(simreformulation, "sim_reformulation")
TVN_SYMFAMILY(simselection, "sim_selection")
TVN_SYMFAMILY(solveform, "solve_form")
TVN_SYMFAMILY(startingpoint, "starting_point")
TVN_SYMFAMILY(stream, "stream")
TVN_SYMFAMILY(xmlmode, "xml_mode")
TVN_SYMFAMILY(callbackcode, "callback_code")
TVN_SYMFAMILY(rescode, "rescode")
TVN_SYMFAMILY(iparam, "iparam")
TVN_SYMFAMILY(dparam, "dparam")
TVN_SYMFAMILY(sparam, "sparam")
TVN_SYMFAMILY(iinfitem, "iinf_item")
TVN_SYMFAMILY(dinfitem, "dinf_item")
TVN_SYMFAMILY(liinfitem, "liinf_item")
