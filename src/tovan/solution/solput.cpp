// Writing solutions, as a start for an optimizer or from a file. A slot that does not exist is made.
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/solput";

template <class T> void copy_in(const T* from, int32_t count, T* to) noexcept {
  if (!to) return;
  if (from)
    std::copy_n(from, count, to);
  else
    std::fill_n(to, count, T{});
}

void make_if_undefined(task& t, int32_t whichsol) {
  if (!TVN_solutiondef(t, whichsol)) TVN_makesolutionstatusunknown(t, whichsol);
}

void put_entry(double* values, int32_t i, double value) noexcept {
  if (values) values[i] = value;
}

TVNrescodee check_key(task& t, int32_t sk) {
  if (sk >= TVN_SK_UNK && sk <= TVN_SK_INF) return TVN_RES_OK;
  return report(t, label, __LINE__, TVN_RES_ERR_INV_SK, sk);
}

TVNrescodee check_keys(task& t, TVNrescodee code, const int32_t* sk, int32_t count) {
  for (int32_t i = 0; sk && i < count; i++)
    if (sk[i] < TVN_SK_UNK || sk[i] > TVN_SK_INF) return report(t, label, __LINE__, code, TVN_userindex(t, i));
  return TVN_RES_OK;
}

int32_t count_basic(const int32_t* sk, int32_t count) noexcept {
  return sk ? static_cast<int32_t>(std::count(sk, sk + count, TVN_SK_BAS)) : 0;
}

// The arrays that are taken in; null ones store 0.
struct sol_input {
  const int32_t *skc, *skx, *skn;
  const double *xc, *xx, *y, *slc, *suc, *slx, *sux, *snx;
};

TVNrescodee check_input(task& t, int32_t whichsol, const sol_input& in) {
  const problem& p = t.prob;
  if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
  if (p.numcon > 0)
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, in.skc, "skc")) return code;
  if (p.numvar > 0)
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, in.skx, "skx")) return code;
  if (const TVNrescodee code = check_keys(t, TVN_RES_ERR_INV_SKC, in.skc, p.numcon)) return code;
  if (const TVNrescodee code = check_keys(t, TVN_RES_ERR_INV_SKX, in.skx, p.numvar)) return code;
  return whichsol == TVN_SOL_ITR ? check_keys(t, TVN_RES_ERR_INV_SKN, in.skn, p.numcone) : TVN_RES_OK;
}

TVNrescodee put_solution(task& t, int32_t whichsol, const sol_input& in) {
  if (const TVNrescodee code = check_input(t, whichsol, in)) return code;
  const problem& p = t.prob;
  make_if_undefined(t, whichsol);
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  copy_in(in.skc, p.numcon, s.skc);
  copy_in(in.skx, p.numvar, s.skx);
  copy_in(in.skn, p.numcone, s.skn);
  copy_in(in.xc, p.numcon, s.xc);
  copy_in(in.xx, p.numvar, s.xx);
  copy_in(in.y, p.numcon, s.y);
  copy_in(in.slc, p.numcon, s.slc);
  copy_in(in.suc, p.numcon, s.suc);
  copy_in(in.slx, p.numvar, s.slx);
  copy_in(in.sux, p.numvar, s.sux);
  copy_in(in.snx, p.numvar, s.snx);
  t.sols.prosta[whichsol] = TVN_PRO_STA_UNKNOWN;
  t.sols.solsta[whichsol] = TVN_SOL_STA_UNKNOWN;
  t.sols.defined[whichsol] = 1;
  if (whichsol == TVN_SOL_BAS) t.sols.numbaskeys = count_basic(in.skc, p.numcon) + count_basic(in.skx, p.numvar);
  return TVN_RES_OK;
}

// One of the three numbers of a slot, which is made when it is missing.
TVNrescodee put_raw(TVNtask_t task, int32_t whichsol, numbered<int32_t, 3> solution_store::*numbers, int32_t value) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    TVN_makesolution(t, whichsol);
    (t.sols.*numbers)[whichsol] = value;
    return TVN_RES_OK;
  });
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putsolution(TVNtask_t task, int32_t whichsol, const int32_t* skc, const int32_t* skx,
                            const int32_t* skn, const double* xc, const double* xx, const double* y, const double* slc,
                            const double* suc, const double* slx, const double* sux, const double* snx) {
  return api_change(task, [&](tvn::task& t) {
    return put_solution(t, whichsol, {skc, skx, skn, xc, xx, y, slc, suc, slx, sux, snx});
  });
}

TVNrescodee TVN_putsolutioni(TVNtask_t task, int32_t accmode, int32_t i, int32_t whichsol, int32_t sk, double x,
                             double sl, double su, double sn) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_accmode(t, accmode)) return code;
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", accmode, i)) return code;
    if (const TVNrescodee code = check_key(t, sk)) return code;
    make_if_undefined(t, whichsol);
    const sol_ptrs s = TVN_getsolptrs(t, whichsol);
    const bool con = accmode == TVN_ACC_CON;
    (con ? s.skc : s.skx)[i] = sk;
    put_entry(con ? s.xc : s.xx, i, x);
    put_entry(con ? s.slc : s.slx, i, sl);
    put_entry(con ? s.suc : s.sux, i, su);
    if (!con) put_entry(s.snx, i, sn);
    t.sols.solsta[whichsol] = TVN_SOL_STA_UNKNOWN;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putsolutionyi(TVNtask_t task, int32_t i, int32_t whichsol, double y) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", TVN_PI_CON, i)) return code;
    make_if_undefined(t, whichsol);
    put_entry(TVN_getsolptrs(t, whichsol).y, i, y);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putsolini(TVNtask_t task, int32_t whichsol, int32_t flag) {
  return put_raw(task, whichsol, &solution_store::defined, flag != 0);
}

TVNrescodee TVN_putprosta(TVNtask_t task, int32_t whichsol, int32_t prosta) {
  return put_raw(task, whichsol, &solution_store::prosta, prosta);
}

TVNrescodee TVN_putsolsta(TVNtask_t task, int32_t whichsol, int32_t solsta) {
  return put_raw(task, whichsol, &solution_store::solsta, solsta);
}

TVNrescodee TVN_makesolutionstatusunknown(TVNtask_t task, int32_t whichsol) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
    tvn::TVN_makesolutionstatusunknown(t, whichsol);
    return TVN_RES_OK;
  });
}
