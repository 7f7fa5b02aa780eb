// Postsolve: the records undone, newest first; and the certificate that presolve itself found.
//
// The walk needs no matrix: each record holds the coefficients its undo uses. After a record is undone, the live part
// of the solution at that depth satisfies the conditions of the problem at that depth; the costs that undos use are
// those at the death of a column, which the problem's vector still holds. Keys say where an item rests in the walk for
// bases only. In the other walks values count: an interior point may be off the bound that its key names, and what is
// restored makes up for it, so that no residual arises in a row that had none.
#include "prslv/prslvstk.h"

namespace tvn {

void TVN_prslv_splitdual(double d, int32_t key, double& sl, double& su) {
  sl = su = 0;
  if (key == sk_low)
    sl = d;
  else if (key == sk_upr)
    su = -d;
  else
    (d >= 0 ? sl : su) = std::fabs(d);
}

int32_t TVN_prslv_sidekey(int32_t bk, double d) {
  switch (bk) {
  case bk_fx: return sk_fix;
  case bk_lo: return sk_low;
  case bk_up: return sk_upr;
  case bk_ra: return d >= 0 ? sk_low : sk_upr;
  default: return sk_supbas;
  }
}

namespace {

constexpr const char* label = "src/prslv/postsolv";

void undo(prslv_post& w, int32_t rtype) {
  switch (rtype) {
  case rt_conrelax:
  case rt_initialfreecon: return prslv_undoconrelax(w);
  case rt_consin:
  case rt_initialconsin: return prslv_undoconsin(w);
  case rt_conforce: return prslv_undoconforce(w);
  case rt_varfix:
  case rt_initialvarfix: return prslv_undovarfix(w, rt_varfix);
  case rt_blkfix:
  case rt_varfixlow:
  case rt_varfixupr:
  case rt_varfixfree: return prslv_undovarfix(w, rtype);
  case rt_elimination: return prslv_undoelimination(w);
  case rt_doubleton: return prslv_undodoubleton(w);
  case rt_varslack: return prslv_undovarslack(w);
  case rt_varforce: return prslv_undovarforce(w);
  case rt_confixlow:
  case rt_confixupr: return prslv_undoconfix(w, rtype);
  case rt_dupcon: return prslv_undodupcon(w);
  case rt_dupvar: return prslv_undodupvar(w);
  case rt_coneapex: return prslv_undoconeapex(w);
  case rt_conesigns: return prslv_undoconesigns(w);
  case rt_conebound: return prslv_undoconebound(w);
  case rt_conehead: return prslv_undoconehead(w);
  case rt_conemember:
  case rt_conerelax:
  case rt_droplow: // the duals of what was dropped are 0
  case rt_dropupp:
  case rt_varrelaxlow:
  case rt_varrelaxupp:
  case rt_varrelaxboth: return;
  default: TVN_sysenv_stopdbg(w.x.sys, label, __LINE__, "Unknown rtype: %d", rtype);
  }
}

void postsetup(prslv_post& w, int32_t solsta) {
  switch (solsta) {
  case sol_unknown:
  case sol_optimal:
  case sol_prim_and_dual_feas:
  case sol_near_optimal:
  case sol_near_prim_and_dual_feas: break;
  case sol_prim_feas:
  case sol_near_prim_feas: w.df = 0; break;
  case sol_dual_feas:
  case sol_near_dual_feas: w.pf = 0; break;
  case sol_prim_infeas_cer:
  case sol_near_prim_infeas_cer:
    w.pf = w.df = 0;
    w.walk = prslv_walk::prim_certificate;
    break;
  case sol_dual_infeas_cer:
  case sol_near_dual_infeas_cer:
    w.pf = w.df = 0;
    w.walk = prslv_walk::dual_certificate;
    break;
  default: TVN_sysenv_stopdbg(w.x.sys, label, __LINE__, "solsta=%d", solsta);
  }
}

prslv_code walk_back(prslv_context& x, prslv_stats& stats, int32_t solsta, solution_view& sol, prslv_walk walk,
                     const prslv_progress& progress) {
  x.run.stats = &stats;
  x.run.progress = progress;
  x.run.stop = false;
  const prslv_clock clock(x, task_post);
  prslv_post w{x, sol, walk, 1, 1};
  postsetup(w, solsta);
  TVN_prslv_initpopstk(x.stk);
  while (x.stk.poptype > x.stk.numsnapshots) {
    const int32_t rtype = TVN_prslv_popstk(x.stk);
    undo(w, rtype);
    if (x.audit.fn) x.audit.fn(x.audit.handle, x, true, rtype, &sol);
    if (TVN_prslv_stopped(x.run, x.stk.items.size() / static_cast<int64_t>(sizeof(prslv_entry))))
      return prslv_code::stopped;
  }
  TVN_ASSERT(x.sys, label, x.stk.popbyte == x.stk.snapshotbytes);
  stats.numpostsolves++;
  return prslv_code::ok;
}

} // namespace

prslv_code TVN_prslv_postsolve(prslv_context& x, prslv_stats& stats, int32_t solsta, solution_view& sol,
                               const prslv_progress& progress) {
  return walk_back(x, stats, solsta, sol, prslv_walk::interior, progress);
}

prslv_code TVN_prslv_postsolvebasis(prslv_context& x, prslv_stats& stats, int32_t solsta, solution_view& sol,
                                    const prslv_progress& progress) {
  return walk_back(x, stats, solsta, sol, prslv_walk::basis, progress);
}

void TVN_prslv_getcertificate(const prslv_context& x, solution_view& sol) {
  for (int32_t i = 0; i < x.p.numcon; i++) {
    sol.skc[i] = sk_bas;
    sol.xc[i] = sol.y[i] = sol.slc[i] = sol.suc[i] = 0;
  }
  for (int32_t j = 0; j < x.p.numvar; j++) {
    sol.skx[j] = TVN_prslv_sidekey(x.p.bkx[j], 0.0);
    sol.xx[j] = sol.slx[j] = sol.sux[j] = 0;
    if (x.cone.num > 0) sol.snx[j] = 0;
  }
  if (x.cert.crossing) {
    const bool row = x.cert.row >= 0;
    (row ? sol.slc : sol.slx)[row ? x.cert.row : x.cert.col] = 1;
    (row ? sol.suc : sol.sux)[row ? x.cert.row : x.cert.col] = 1;
  } else if (x.status == prs_prim_infeas) {
    auto weigh = [&](int32_t i, double y) {
      sol.y[i] = y;
      TVN_prslv_splitdual(y, sk_unk, sol.slc[i], sol.suc[i]);
    };
    if (x.cert.row >= 0) weigh(x.cert.row, x.cert.rowval);
    for (int64_t k = 0; k < x.cert.rows.size(); k++) weigh(x.cert.rows[k], x.cert.vals[k]);
    for (int32_t j = 0; j < x.p.numvar; j++) {
      if (!x.varlive[j]) continue;
      double d = 0;
      for_col(x, j, [&](int32_t i, double a) { d -= a * sol.y[i]; });
      TVN_prslv_splitdual(d, sk_unk, sol.slx[j], sol.sux[j]);
    }
  } else {
    auto move = [&](int32_t j, double v) {
      if (j < 0) return;
      sol.xx[j] = v;
      for_col(x, j, [&](int32_t i, double a) { sol.xc[i] += a * v; });
    };
    move(x.cert.col, x.cert.colval);
    move(x.cert.col2, x.cert.col2val);
  }
}

} // namespace tvn
