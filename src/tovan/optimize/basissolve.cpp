// Linear systems with the basis matrix of the basic solution, for callers.
//
// The basis object lives in the task from TVN_initbasissolve on and holds no part of A: changes of the problem leave
// its factor as it was, and only another number of constraints makes it useless. An argument that is refused, or a
// result that overflows, leaves the caller's arrays untouched.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/solution/sol.h"

#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/tovan/basissolve";

TVNrescodee setup_basis(task& t) {
  if (is_made(t.basis) && t.params.ival[TVN_IPAR_SIM_HOTSTART_LU] == 0) TVN_simplex_deletebasis(t.basis);
  if (!is_made(t.basis)) TVN_simplex_makebasis(*t.sys, t.basis);
  return TVN_RES_OK;
}

basis_source basis_columns(task& t) {
  const sprmat_view a = TVN_sprmat_viewcols(get_a(t));
  const sol_ptrs s = TVN_getsolptrs(t, TVN_SOL_BAS);
  return {t.prob.numcon, t.prob.numvar, a.ptrb, a.ptre, a.sub, a.val, s.skc, s.skx};
}

TVNrescodee report_count(task& t) {
  const sol_ptrs s = TVN_getsolptrs(t, TVN_SOL_BAS);
  const int32_t num = static_cast<int32_t>(std::count(s.skc, s.skc + t.prob.numcon, TVN_SK_BAS) +
                                           std::count(s.skx, s.skx + t.prob.numvar, TVN_SK_BAS));
  return report(t, label, __LINE__, TVN_RES_ERR_BASIS, num, t.prob.numcon);
}

TVNrescodee report_singular(task& t) {
  const TVNrescodee code = report(t, label, __LINE__, TVN_RES_ERR_BASIS_SINGULAR);
  const simplex_basis& b = t.basis;
  const int32_t item = b.idx[b.firstlacking];
  const bool con = item < b.m;
  const int32_t i = con ? item : item - b.m;
  echo(t, TVN_STREAM_ERR, "The rank of the basis is %d, %d less than needed. %s '%s' (%d) depends on the others.\n",
       b.rank, b.m - b.rank, con ? "The slack of constraint" : "Variable",
       item_name(t, con ? TVN_PI_CON : TVN_PI_VAR, i), TVN_userindex(t, i));
  return code;
}

TVNrescodee init_basis(task& t, int32_t* basis) {
  TVN_lu_invfac(t.basis.factor); // no failure leaves the factor of an earlier basis
  if (!TVN_solutiondef(t, TVN_SOL_BAS)) return report(t, label, __LINE__, TVN_RES_ERR_NO_BASIS_SOL);
  if (const TVNrescodee code = setup_basis(t)) return code;
  switch (TVN_simplex_verifybasis(basis_columns(t), t.basis)) {
  case simplex_code::ok: break;
  case simplex_code::bad_basis: return report_count(t);
  case simplex_code::singular: return report_singular(t);
  default: return report(t, label, __LINE__, TVN_RES_ERR_INTERNAL);
  }
  const int32_t bnumcon = TVN_simplex_getbasisnumcon(t.basis);
  if (bnumcon != t.prob.numcon)
    TVN_stoptask(t, label, __LINE__, "Unexpected bnumcon. bnumcon: %d numcon: %d", bnumcon, t.prob.numcon);
  if (basis) std::copy_n(TVN_simplex_getbasisidx(t.basis).data(), bnumcon, basis);
  return TVN_RES_OK;
}

TVNrescodee check_basis(task& t) {
  const int32_t have = is_made(t.basis) ? TVN_simplex_getbasisnumcon(t.basis) : -1;
  if (have != t.prob.numcon) return report(t, label, __LINE__, TVN_RES_ERR_BASIS, std::max(have, 0), t.prob.numcon);
  if (TVN_simplex_getbasislu(t.basis).state != lu_factored) return report(t, label, __LINE__, TVN_RES_ERR_BASIS_FACTOR);
  return TVN_RES_OK;
}

TVNrescodee check_vector(task& t, const int32_t* numnz, const int32_t* sub, const double* val) {
  if (const TVNrescodee code = check_pointer(t, label, __LINE__, numnz, "numnz")) return code;
  // Room for the result is needed even when the right-hand side is empty.
  const int64_t room = *numnz < 0 ? *numnz : t.prob.numcon;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, room, {{sub, "sub"}, {val, "val"}})) return code;
  if (*numnz > t.prob.numcon) return report(t, label, __LINE__, TVN_RES_ERR_IN_ARGUMENT, "numnz");
  if (const TVNrescodee code = TVN_checkindicies(t, "sub", 0, t.prob.numcon, *numnz, sub)) return code;
  for (int32_t k = 0; k < *numnz; k++)
    if (!std::isfinite(val[sub[k]])) return report(t, label, __LINE__, TVN_RES_ERR_NAN_IN_DOUBLE_DATA, "val");
  return TVN_RES_OK;
}

// An index that occurs twice is one entry.
void load(const int32_t* sub, const double* val, int32_t num, spvec& x) noexcept {
  for (int32_t k = 0; k < num; k++)
    if (x.val[sub[k]] == 0.0 && val[sub[k]] != 0.0) x.push(sub[k], val[sub[k]]);
}

void negate_slacks(const simplex_basis& b, spvec& x) noexcept {
  for (int32_t p = 0; p < x.count; p++)
    if (const int32_t k = x.idx[p]; b.idx[k] < b.m) x.val[k] = -x.val[k];
}

bool is_finite(const spvec& x) noexcept {
  return std::all_of(x.idx.data(), x.idx.data() + x.count, [&](int32_t k) { return std::isfinite(x.val[k]); });
}

void store(const spvec& x, int32_t* numnz, int32_t* sub, double* val) noexcept {
  for (int32_t k = 0; k < *numnz; k++) val[sub[k]] = 0.0;
  *numnz = 0;
  for (int32_t p = 0; p < x.count; p++) {
    const int32_t k = x.idx[p];
    if (x.val[k] == 0.0) continue;
    sub[(*numnz)++] = k;
    val[k] = x.val[k];
  }
}

TVNrescodee solve(task& t, bool transposed, int32_t* numnz, int32_t* sub, double* val) {
  if (const TVNrescodee code = check_basis(t)) return code;
  if (const TVNrescodee code = check_vector(t, numnz, sub, val)) return code;
  const bool plusone = t.params.ival[TVN_IPAR_BASIS_SOLVE_USE_PLUS_ONE] != 0;
  simplex_basis& b = t.basis;
  spvec &right = transposed ? b.byposition : b.byrow, &result = transposed ? b.byrow : b.byposition;
  load(sub, val, *numnz, right);
  if (transposed && plusone) negate_slacks(b, right);
  if (transposed)
    TVN_simplex_solvebasistransposed(b);
  else
    TVN_simplex_solvebasis(b);
  if (!transposed && plusone) negate_slacks(b, result);
  const bool usable = is_finite(result);
  if (usable) store(result, numnz, sub, val);
  result.clear();
  return usable ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_OVERFLOW);
}

TVNrescodee condition(task& t, double* nrmbasis, double* nrminvbasis) {
  if (const TVNrescodee code = init_basis(t, nullptr)) return code;
  double norm = 0, inverse = 0;
  if (!TVN_simplex_estimatenormofbasisinverse(t.basis, inverse) ||
      !TVN_simplex_estimatenormofbasis(basis_columns(t), t.basis, norm))
    return report(t, label, __LINE__, TVN_RES_ERR_OVERFLOW);
  if (nrmbasis) *nrmbasis = norm;
  if (nrminvbasis) *nrminvbasis = inverse;
  return TVN_checkmemtask(&t, label, __LINE__);
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_setupbasis(TVNtask_t task) {
  return api_change(task, [](tvn::task& t) { return setup_basis(t); });
}

TVNrescodee TVN_initbasissolve(TVNtask_t task, int32_t* basis) {
  return api_change(task, [&](tvn::task& t) { return init_basis(t, basis); });
}

TVNrescodee TVN_solvewithbasis(TVNtask_t task, int32_t transp, int32_t* numnz, int32_t* sub, double* val) {
  return api_change(task, [&](tvn::task& t) { return solve(t, transp != 0, numnz, sub, val); });
}

TVNrescodee TVN_basiscond(TVNtask_t task, double* nrmbasis, double* nrminvbasis) {
  return api_change(task, [&](tvn::task& t) { return condition(t, nrmbasis, nrminvbasis); });
}
