// Words for the values of single families: status keys, bound keys, cone types, statuses, problem types, optimizers and
// callback codes.
//
// Words that files and logs show stand in small tables by value; bound keys, cone types and callback codes answer with
// their constant. A caller's text buffer holds at least TVN_MAX_STR_LEN bytes.
#include "tovan/task/symcontext.h"

#include "tovan/task/api.h"
#include "tovan/task/report.h"
#include "tovan/tables/symcon.h"

#include <cstdio>
#include <cstring>
#include <iterator>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/symcontext";

constexpr const char* status_keys[] = {"UN", "BS", "SB", "LL", "UL", "EQ", "**"};
constexpr const char* cone_types[] = {"QUAD", "RQUAD"};
constexpr const char* problem_statuses[] = {"UNKNOWN",
                                            "PRIMAL_AND_DUAL_FEASIBLE",
                                            "PRIMAL_FEASIBLE",
                                            "DUAL_FEASIBLE",
                                            "PRIMAL_INFEASIBLE",
                                            "DUAL_INFEASIBLE",
                                            "PRIMAL_AND_DUAL_INFEASIBLE",
                                            "ILL_POSED",
                                            "NEAR_PRIMAL_AND_DUAL_FEASIBLE",
                                            "NEAR_PRIMAL_FEASIBLE",
                                            "NEAR_DUAL_FEASIBLE",
                                            "PRIMAL_INFEASIBLE_OR_UNBOUNDED"};
constexpr const char* solution_statuses[] = {"UNKNOWN",
                                             "OPTIMAL",
                                             "PRIMAL_FEASIBLE",
                                             "DUAL_FEASIBLE",
                                             "PRIMAL_AND_DUAL_FEASIBLE",
                                             "PRIMAL_INFEASIBLE_CERTIFICATE",
                                             "DUAL_INFEASIBLE_CERTIFICATE",
                                             nullptr,
                                             "NEAR_OPTIMAL",
                                             "NEAR_PRIMAL_FEASIBLE",
                                             "NEAR_DUAL_FEASIBLE",
                                             "NEAR_PRIMAL_AND_DUAL_FEASIBLE",
                                             "NEAR_PRIMAL_INFEASIBLE_CERTIFICATE",
                                             "NEAR_DUAL_INFEASIBLE_CERTIFICATE",
                                             "INTEGER_OPTIMAL",
                                             "NEAR_INTEGER_OPTIMAL"};
constexpr const char* problem_types[] = {"LO (linear optimization problem)",
                                         "QO (quadratic optimization problem)",
                                         "QCQO (quadratically constrained optimization problem)",
                                         "GECO (general convex optimization problem)",
                                         "CONIC (conic optimization problem)",
                                         "MIXED (conic and nonlinear optimization problem)"};
constexpr const char* optimizers[] = {
    "free",         "interior-point", "conic",     "qcone",     "primal simplex", "dual simplex", "primal-dual simplex",
    "free simplex", "mixed integer",  "nonconvex", "concurrent"};

template <size_t N> const char* word(const char* const (&words)[N], int32_t value) noexcept {
  return value >= 0 && value < static_cast<int32_t>(N) ? words[value] : nullptr;
}

void put(char* to, const char* text) noexcept { std::memcpy(to, text, std::strlen(text) + 1); }

void put_word(char* to, const char* text, const char* unknown, int32_t value) noexcept {
  if (text) {
    put(to, text);
  } else {
    std::snprintf(to, TVN_MAX_STR_LEN, unknown, value);
  }
}

} // namespace

const char* status_key_word(int32_t sk) noexcept { return word(status_keys, sk); }
const char* cone_type_word(int32_t ct) noexcept { return word(cone_types, ct); }
const char* problem_status_word(int32_t prosta) noexcept { return word(problem_statuses, prosta); }
const char* solution_status_word(int32_t solsta) noexcept { return word(solution_statuses, solsta); }
const char* problem_type_word(int32_t probtype) noexcept { return word(problem_types, probtype); }
const char* optimizer_word(int32_t optimizer) noexcept { return word(optimizers, optimizer); }

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_sktostr(TVNtask_t task, int32_t sk, char* str) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    const char* text = status_key_word(sk);
    put(str, text ? text : "");
    return text ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_INV_SK, sk);
  });
}

TVNrescodee TVN_strtosk(TVNtask_t task, const char* str, int32_t* sk) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    for (size_t k = 0; k < std::size(status_keys); k++) {
      if (std::strcmp(status_keys[k], str) != 0) continue;
      if (sk) *sk = static_cast<int32_t>(k);
      return TVN_RES_OK;
    }
    return report(t, label, __LINE__, TVN_RES_ERR_INV_SK_STR, str);
  });
}

TVNrescodee TVN_bktostr(TVNtask_t task, int32_t bk, char* str) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    const symcon_entry* e = find_symcon("bound_key", bk);
    put(str, e ? e->name.data() : "");
    return e ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_INV_BK, bk);
  });
}

TVNrescodee TVN_conetypetostr(TVNtask_t task, int32_t conetype, char* str) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    const symcon_entry* e = find_symcon("cone_type", conetype);
    put(str, e ? e->name.data() : "");
    return e ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_CONE_TYPE, conetype);
  });
}

TVNrescodee TVN_strtoconetype(TVNtask_t task, const char* str, int32_t* conetype) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    for (size_t k = 0; k < std::size(cone_types); k++) {
      const auto value = static_cast<int32_t>(k);
      if (find_symcon("cone_type", value)->name != str && std::strcmp(cone_types[k], str) != 0) continue;
      if (conetype) *conetype = value;
      return TVN_RES_OK;
    }
    return report(t, label, __LINE__, TVN_RES_ERR_INV_CONE_TYPE_STR, str);
  });
}

TVNrescodee TVN_prostatostr(TVNtask_t task, int32_t prosta, char* str) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    put_word(str, problem_status_word(prosta), "INVALID CODE(%d)", prosta);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_solstatostr(TVNtask_t task, int32_t solsta, char* str) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    put_word(str, solution_status_word(solsta), "INVALID code(%d)", solsta);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_probtypetostr(TVNtask_t task, int32_t probtype, char* str) {
  return api(task, [&](tvn::task& t) {
    if (!str) return report(t, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "str");
    put_word(str, problem_type_word(probtype), "INVALID CODE(%d)", probtype);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_callbackcodetostr(int32_t code, char* str) {
  if (!str) return TVN_RES_ERR_NULL_POINTER;
  const symcon_entry* e = find_symcon("callback_code", code);
  put_word(str, e ? e->name.data() : nullptr, "INVALID CODE(%d)", code);
  return TVN_RES_OK;
}

TVNrescodee TVN_optimizertostr(int32_t optimizer, size_t size, char* str) {
  if (!str) return TVN_RES_ERR_NULL_POINTER;
  if (size == 0) return TVN_RES_OK;
  const char* text = optimizer_word(optimizer);
  std::snprintf(str, size, "%s", text ? text : "unknown");
  return TVN_RES_OK;
}
