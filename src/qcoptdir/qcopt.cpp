// See qcopt.h.
#include "qcoptdir/qcopt.h"

#include "convex/checkdef.h"
#include "misc/solcopy.h"
#include "prslv/reduced.h"
#include "verify/verify.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double zero_pivot = 1e-13; // of Q with a unit diagonal

bool is_diagonal(const sym_view& q) noexcept {
  for (int32_t j = 0; j < q.n; j++)
    for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++)
      if (q.sub[p] != j && q.val[p] != 0) return false;
  return true;
}

// Rows of L', by rows.
struct root_rows {
  int32_t num = 0;
  vec<int64_t> beg;
  vec<int32_t> sub;
  vec<double> val;
};

// The factor of Q, scaled to a unit diagonal.
struct root_factor {
  buffer<double> scale;
  sfk_structure structure;
  sfk_factor f;
  buffer<double> added;

  // False when it was stopped, or a number was not finite.
  bool make(sysenv& sys, const sym_view& q, const sfk_progress& progress) {
    const sorder_graph graph = {q.n, q.beg, q.beg + 1, q.sub};
    buffer<int32_t> perm(sys, q.n), invp(sys, q.n);
    gp_sorder_stats stats;
    if (TVN_sorder_bymethod(sys, sorder_method::free, graph, nullptr, {}, progress, perm.data(), invp.data(), stats) !=
            sorder_code::ok ||
        TVN_sfk_setupL(sys, graph, perm.data(), progress, structure) != sfk_code::ok)
      return false;
    scale.reset(sys, q.n, 1.0);
    for (int32_t j = 0; j < q.n; j++)
      if (q.beg[j] < q.beg[j + 1] && q.sub[q.beg[j]] == j && q.val[q.beg[j]] > 0)
        scale[j] = 1 / std::sqrt(q.val[q.beg[j]]);
    TVN_sfk_allocLval(sys, structure, TVN_matker_make(matker_isa::avx512), f);
    if (!TVN_sfk_clear(f, progress)) return false;
    for (int32_t j = 0; j < q.n; j++)
      for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++) {
        const double v = scale[q.sub[p]] * q.val[p] * scale[j];
        f.val[q.sub[p] == j ? structure.diagdest[j] : structure.dest[p]] += v;
      }
    added.reset(sys, q.n, 0.0);
    sfk_pivots pivots;
    pivots.tolpiv = zero_pivot;
    pivots.added = added.data();
    return TVN_ch_calfac(f, pivots, progress) == sfk_code::ok;
  }

  void get_rows(sysenv& sys, root_rows& rows) const {
    const sfk_structure& s = structure;
    rows.beg.attach(sys), rows.sub.attach(sys), rows.val.attach(sys);
    for (int32_t node = 0; node < s.numsn; node++) {
      const int64_t height = s.rowbeg[node + 1] - s.rowbeg[node];
      const int32_t* const row = s.rows.data() + s.rowbeg[node];
      for (int32_t k = s.snbeg[node]; k < s.snbeg[node + 1]; k++) {
        if (added[k] != 0) continue;
        const double* const column = f.val.data() + s.valbeg[node] + (k - s.snbeg[node]) * height;
        const double root = std::sqrt(f.d[k]);
        rows.beg.push_back(rows.sub.size());
        rows.num++;
        for (int64_t r = k - s.snbeg[node]; r < height; r++) {
          const double l = row[r] == k ? 1.0 : column[r];
          if (l == 0) continue;
          const int32_t j = s.perm[row[r]];
          rows.sub.push_back(j);
          rows.val.push_back(root * l / scale[j]);
        }
      }
    }
    rows.beg.push_back(rows.sub.size());
  }
};

// The problem with t and its rows behind what was there.
struct separable_problem {
  problem_view lp;
  solution_room room;
  buffer<int64_t> ptr;
  buffer<int32_t> sub, bkc, bkx;
  buffer<double> val, cslack, c, blc, buc, blx, bux;
  sym_matrix q;

  separable_problem(sysenv& sys, const problem_view& from, const root_rows& rows) {
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
  void put_columns(sysenv& sys, const problem_view& from, const root_rows& rows) {
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
  root_rows rows;
  {
    constexpr double tolconvex = 1e-6; // as of the loop, which has the last word
    root_factor root;
    const bool convex = !param.hs.watchconvexity ||
                        TVN_symmat_checkcolumns(sys, lp.q, tolconvex, {&watch, TVN_runwatch_ask}) == convex_code::ok;
    if (!convex || !root.make(sys, lp.q, {&watch, TVN_runwatch_ask}))
      return TVN_opt_ipmslv(sys, lp, param, info, progress, sol);
    root.get_rows(sys, rows);
  }
  separable_problem separable(sys, lp, rows);
  TVN_opt_ipmslv(sys, separable.lp, param, info, progress, separable.room.sol);
  copy_solution(lp.numcon, lp.numvar, separable.room.sol, sol);
  if (info.solsta != sol_optimal && info.solsta != sol_prim_infeas_cer && info.solsta != sol_dual_infeas_cer) {
    if (info.response != hs_code::ok) return;
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
