// What the problem alone can tell. See problem.h.
#include "tovan/task/problem.h"

#include <algorithm>

namespace tvn {

bound_value get_bound(const problem& p, int32_t accmode, int32_t i) noexcept {
  const bool con = accmode == TVN_ACC_CON;
  const int32_t bk = con ? p.bkc[i] : p.bkx[i];
  return {bk, has_lower(bk) ? (con ? p.blc[i] : p.blx[i]) : -bound_infinity,
          has_upper(bk) ? (con ? p.buc[i] : p.bux[i]) : bound_infinity};
}

bool has_qobj(const problem& p) noexcept { return p.q.objend > p.q.objbegin; }

bool has_qcon(const problem& p) noexcept {
  if (p.q.conbegin.empty()) return false;
  for (int32_t k = 0; k < p.numcon; k++)
    if (p.q.conend[k] > p.q.conbegin[k]) return true;
  return false;
}

int64_t num_qcon_terms(const problem& p, int32_t k) noexcept {
  return p.q.conbegin.empty() ? 0 : p.q.conend[k] - p.q.conbegin[k];
}

int32_t count_integers(const problem& p) noexcept {
  if (p.vartype.empty()) return 0;
  return static_cast<int32_t>(std::count(p.vartype.data(), p.vartype.data() + p.numvar, TVN_VAR_TYPE_INT));
}

} // namespace tvn
