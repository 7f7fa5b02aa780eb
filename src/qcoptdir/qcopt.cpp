// See qcopt.h.
#include "qcoptdir/qcopt.h"

#include "misc/solcopy.h"
#include "prslv/reduced.h"
#include "qcoptdir/qroot.h"
#include "verify/verify.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

bool is_diagonal(const sym_view& q) noexcept {
  for (int32_t j = 0; j < q.n; j++)
    for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++)
      if (q.sub[p] != j && q.val[p] != 0) return false;
  return true;
}

// The problem with t and its rows behind what was there.
struct separable_problem {
  problem_view lp;
  solution_room room;
  buffer<int64_t> ptr;
  buffer<int32_t> sub, bkc, bkx;
  buffer<double> val, cslack, c, blc, buc, blx, bux;
  sym_matrix q;

  separable_problem(sysenv& sys, const problem_view& from, const qroot_rows& rows) {
    const int32_t m = from.numcon + rows.num, n = from.numvar + rows.num;
    lp.numcon = m;
    lp.numvar = n;
    lp.cfix = from.cfix;
    const auto longer = [&](buffer<double>& to, const double* v, int32_t num, int32_t all, double rest) {
      to.reset(sys, all, rest);
      if (v) std::copy_n(v, num, to.data());
      return to.data();
    };
    const auto keyed = [&](buffer<int32_t>& to, const int32_t* v, int32_t num, int32_t all, int32_t rest) {
      to.reset(sys, all, rest);
      std::copy_n(v, num, to.data());
      return to.data();
    };
    lp.cslack = longer(cslack, from.cslack, from.numcon, m, 0);
    lp.c = longer(c, from.c, from.numvar, n, 0);
    lp.blc = longer(blc, from.blc, from.numcon, m, 0);
    lp.buc = longer(buc, from.buc, from.numcon, m, 0);
    lp.blx = longer(blx, from.blx, from.numvar, n, -bound_infinity);
    lp.bux = longer(bux, from.bux, from.numvar, n, bound_infinity);
    lp.bkc = keyed(bkc, from.bkc, from.numcon, m, bk_fx);
    lp.bkx = keyed(bkx, from.bkx, from.numvar, n, bk_fr);
    put_columns(sys, from, rows);
    q.make(sys, n, rows.num);
    for (int32_t j = 0; j < n; j++) {
      const bool t = j >= from.numvar;
      q.beg[j + 1] = q.beg[j] + t;
      if (!t) continue;
      q.sub[q.beg[j]] = j;
      q.val[q.beg[j]] = 1;
    }
    lp.q = q.view();
    room.make(sys, m, n);
  }
  separable_problem(const separable_problem&) = delete;
  separable_problem& operator=(const separable_problem&) = delete;

private:
  void put_columns(sysenv& sys, const problem_view& from, const qroot_rows& rows) {
    ptr.reset(sys, int64_t{lp.numvar} + 1, 0);
    for (int32_t j = 0; j < from.numvar; j++) ptr[j + 1] = from.ptre[j] - from.ptrb[j];
    for (const int32_t j : rows.sub) ptr[j + 1]++;
    for (int32_t j = 0; j < lp.numvar; j++) ptr[j + 1] += ptr[j] + (j >= from.numvar ? 1 : 0);
    sub.reset(sys, ptr[lp.numvar]);
    val.reset(sys, ptr[lp.numvar]);
    buffer<int64_t> at(sys, lp.numvar);
    std::copy_n(ptr.data(), lp.numvar, at.data());
    const auto put = [&](int32_t i, int32_t j, double v) {
      sub[at[j]] = i;
      val[at[j]++] = v;
    };
    for (int32_t j = 0; j < from.numvar; j++)
      for (int64_t p = from.ptrb[j]; p < from.ptre[j]; p++) put(from.sub[p], j, from.val[p]);
    for (int32_t k = 0; k < rows.num; k++) {
      for (int64_t p = rows.beg[k]; p < rows.beg[k + 1]; p++) put(from.numcon + k, rows.sub[p], rows.val[p]);
      put(from.numcon + k, from.numvar + k, -1);
    }
    lp.ptrb = ptr.data();
    lp.ptre = ptr.data() + 1;
    lp.sub = sub.data();
    lp.val = val.data();
  }
};

struct poll_view {
  const ipm_progress& progress;
  const ipm_info& info;
};

} // namespace

void TVN_qcopt_slv(sysenv& sys, const problem_view& lp, const ipm_param& param, ipm_info& info,
                   const ipm_progress& progress, solution_view& sol) {
  if (!lp.q.any() || is_diagonal(lp.q)) return TVN_opt_ipmslv(sys, lp, param, info, progress, sol);
  info = {};
  poll_view poll{progress, info};
  run_watch watch;
  watch.starttime = param.starttime;
  watch.maxtime = param.maxtime;
  watch.handle = &poll;
  watch.ask = [](void* handle) {
    const poll_view& p = *static_cast<poll_view*>(handle);
    return p.progress(ipm_event::poll, p.info);
  };
  qroot_rows rows(sys);
  if (TVN_qroot_make(sys, lp.q, param.hs.watchconvexity, {&watch, TVN_runwatch_ask}, rows) != qroot_code::ok)
    return TVN_opt_ipmslv(sys, lp, param, info, progress, sol);
  separable_problem separable(sys, lp, rows);
  TVN_opt_ipmslv(sys, separable.lp, param, info, progress, separable.room.sol);
  copy_solution(lp.numcon, lp.numvar, separable.room.sol, sol);
  if (info.solsta != sol_optimal && info.solsta != sol_prim_infeas_cer && info.solsta != sol_dual_infeas_cer) {
    if (info.response != hs_code::ok && info.response != hs_code::stall && info.response != hs_code::numerical) return;
  } else {
    TVN_prslv_refresh(sys, lp, info.solsta, sol, false);
    const lp_verdict v = TVN_verify_claim(sys, lp, sol, info.solsta, TVN_opt_tolerances(param.hs, 1));
    info.objective = v.objective;
    info.primalviol = v.primalviol;
    info.dualviol = v.dualviol;
    if (v.holds && v.solsta == info.solsta) return;
  }
  TVN_opt_ipmslv(sys, lp, param, info, progress, sol);
}

} // namespace tvn
