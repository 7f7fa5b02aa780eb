// Reading solutions.
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/solget";

template <class T> void copy_out(const T* from, int32_t count, T* to) noexcept {
  if (from && to) std::copy_n(from, count, to);
}

struct item_block {
  const double* values = nullptr; // null: the slot has no such item
  int32_t count = 0;
};

item_block solution_item(const sol_ptrs& s, const problem& p, int32_t solitem) noexcept {
  switch (solitem) {
  case TVN_SOL_ITEM_XC: return {s.xc, p.numcon};
  case TVN_SOL_ITEM_XX: return {s.xx, p.numvar};
  case TVN_SOL_ITEM_Y: return {s.y, p.numcon};
  case TVN_SOL_ITEM_SLC: return {s.slc, p.numcon};
  case TVN_SOL_ITEM_SUC: return {s.suc, p.numcon};
  case TVN_SOL_ITEM_SLX: return {s.slx, p.numvar};
  case TVN_SOL_ITEM_SUX: return {s.sux, p.numvar};
  case TVN_SOL_ITEM_SNX: return {s.snx, p.numvar};
  default: return {};
  }
}

TVNrescodee get_slice(task& t, int32_t whichsol, int32_t solitem, int32_t first, int32_t last, double* values) {
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  const item_block item = solution_item(TVN_getsolptrs(t, whichsol), t.prob, solitem);
  if (!item.values) {
    // A task without items has no storage either: an empty slice of an existing item is no fault.
    const bool exists = solitem >= TVN_SOL_ITEM_XC && solitem <= TVN_SOL_ITEM_SNX;
    if (exists && t.sols.keys[whichsol].empty() && first == 0 && last == 0) return TVN_RES_OK;
    return report(t, label, __LINE__, TVN_RES_ERR_SOLITEM, solitem, whichsol);
  }
  if (const TVNrescodee code = check_slice(t, label, __LINE__, first, last, item.count)) return code;
  if (first == last) return TVN_RES_OK;
  if (const TVNrescodee code = check_pointer(t, label, __LINE__, values, "values")) return code;
  copy_out(item.values + first, last - first, values);
  return TVN_RES_OK;
}

TVNrescodee get_key_slice(task& t, int32_t accmode, int32_t whichsol, int32_t first, int32_t last, int32_t* sk) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  const bool con = accmode == TVN_ACC_CON;
  const int32_t count = con ? t.prob.numcon : t.prob.numvar;
  if (const TVNrescodee code = check_slice(t, label, __LINE__, first, last, count)) return code;
  if (first == last) return TVN_RES_OK;
  if (const TVNrescodee code = check_pointer(t, label, __LINE__, sk, "sk")) return code;
  copy_out((con ? s.skc : s.skx) + first, last - first, sk);
  return TVN_RES_OK;
}

double entry(const double* values, int32_t i) noexcept { return values ? values[i] : 0.0; }

TVNrescodee get_reduced_costs(task& t, int32_t whichsol, int32_t first, int32_t last, double* redcosts) {
  if (const TVNrescodee code = check_whichsol(t, whichsol)) return code;
  if (whichsol == TVN_SOL_ITG) return report(t, label, __LINE__, TVN_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  if (const TVNrescodee code = check_slice(t, label, __LINE__, first, last, t.prob.numvar)) return code;
  if (first >= last) return TVN_RES_OK;
  if (const TVNrescodee code = check_pointer(t, label, __LINE__, redcosts, "redcosts")) return code;
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  for (int32_t j = first; j < last; j++) redcosts[j - first] = s.slx[j] - s.sux[j];
  return TVN_RES_OK;
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getsolution(TVNtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta, int32_t* skc,
                            int32_t* skx, int32_t* skn, double* xc, double* xx, double* y, double* slc, double* suc,
                            double* slx, double* sux, double* snx) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_defined(t, whichsol)) return code;
    const problem& p = t.prob;
    const sol_ptrs s = TVN_getsolptrs(t, whichsol);
    put_out(prosta, t.sols.prosta[whichsol]);
    put_out(solsta, t.sols.solsta[whichsol]);
    copy_out(s.skc, p.numcon, skc);
    copy_out(s.skx, p.numvar, skx);
    copy_out(s.skn, p.numcone, skn);
    copy_out(s.xc, p.numcon, xc);
    copy_out(s.xx, p.numvar, xx);
    copy_out(s.y, p.numcon, y);
    copy_out(s.slc, p.numcon, slc);
    copy_out(s.suc, p.numcon, suc);
    copy_out(s.slx, p.numvar, slx);
    copy_out(s.sux, p.numvar, sux);
    copy_out(s.snx, p.numvar, snx);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getsolutionincallback(TVNtask_t task, int32_t where, int32_t whichsol, int32_t* prosta, int32_t* solsta,
                                      int32_t* skc, int32_t* skx, int32_t* skn, double* xc, double* xx, double* y,
                                      double* slc, double* suc, double* slx, double* sux, double* snx) {
  return api(task, [&](tvn::task& t) -> TVNrescodee {
    const bool allowed = where == TVN_CALLBACK_IM_MIO || where == TVN_CALLBACK_NEW_INT_MIO;
    if (!allowed || whichsol != TVN_SOL_ITG || !tvn::TVN_solutiondef(t, TVN_SOL_ITG))
      return TVN_RES_ERR_NO_SOLUTION_IN_CALLBACK;
    return TVN_getsolution(task, whichsol, prosta, solsta, skc, skx, skn, xc, xx, y, slc, suc, slx, sux, snx);
  });
}

TVNrescodee TVN_getsolutioni(TVNtask_t task, int32_t accmode, int32_t i, int32_t whichsol, int32_t* sk, double* x,
                             double* sl, double* su, double* sn) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_accmode(t, accmode)) return code;
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", accmode, i)) return code;
    if (const TVNrescodee code = check_defined(t, whichsol)) return code;
    const sol_ptrs s = TVN_getsolptrs(t, whichsol);
    const bool con = accmode == TVN_ACC_CON;
    put_out(sk, con ? s.skc[i] : s.skx[i]);
    put_out(x, con ? s.xc[i] : s.xx[i]);
    put_out(sl, entry(con ? s.slc : s.slx, i));
    put_out(su, entry(con ? s.suc : s.sux, i));
    put_out(sn, con ? 0.0 : entry(s.snx, i));
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getsolutionslice(TVNtask_t task, int32_t whichsol, int32_t solitem, int32_t first, int32_t last,
                                 double* values) {
  return api(task, [&](tvn::task& t) { return get_slice(t, whichsol, solitem, first, last, values); });
}

TVNrescodee TVN_getsolutionstatuskeyslice(TVNtask_t task, int32_t accmode, int32_t whichsol, int32_t first,
                                          int32_t last, int32_t* sk) {
  return api(task, [&](tvn::task& t) { return get_key_slice(t, accmode, whichsol, first, last, sk); });
}

TVNrescodee TVN_getsolutionstatus(TVNtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_defined(t, whichsol)) return code;
    put_out(prosta, t.sols.prosta[whichsol]);
    put_out(solsta, t.sols.solsta[whichsol]);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getreducedcosts(TVNtask_t task, int32_t whichsol, int32_t first, int32_t last, double* redcosts) {
  return api(task, [&](tvn::task& t) { return get_reduced_costs(t, whichsol, first, last, redcosts); });
}
