// See optslv.h: attempts until one stands, and the best of them.
#include "misc/solcopy.h"
#include "optimize/attempt.h"
#include "optimize/polish.h"

#include <algorithm>

namespace tvn {

namespace {

// From the problem to a solution with a status. False: another attempt is to be made.
bool attempt_once(const ipm_run& run) {
  const bool presolve = run.param.presolve;
  attempt a(run);
  ipm_info& info = run.info;
  info.response = hs_code::ok;
  info.hs = {};
  const bool reduced = !presolve || a.presolve();
  if (info.prslv.status == prs_dual_infeas && presolve) return false; // a ray says nothing of feasible points
  bool carried = reduced ? a.prepare() : info.response == hs_code::ok && a.walk_back(sol_prim_infeas_cer);
  if (!carried) { // stopped before there was a point
    if (info.response == hs_code::ok) info.response = static_cast<hs_code>(run.watch.stop);
    TVN_prslv_clearsolution(run.lp, run.sol);
    info.solsta = info.prosta = 0;
    return true;
  }
  if (reduced) {
    a.solve();
    if (run.basis && run.basis->bytrial) return true;
    carried = a.accepted || a.carry(a.dual ? TVN_dualize_solsta(info.hs.solsta) : info.hs.solsta);
    if (!carried) info.hs.solsta = sol_unknown;
  }
  a.settle();
  const bool stands = is_answer(info.solsta) || info.response == hs_code::max_iterations || is_stop(info.response);
  if (stands) a.identify_basis();
  return stands;
}

int32_t rank_of(int32_t solsta) {
  if (is_answer(solsta)) return 3;
  if (is_answer(exact_claim(solsta))) return 2;
  return solsta == sol_unknown ? 0 : 1;
}

// Attempts until one stands: without the far bounds, as given, from another start in the primal form, without presolve.
// The best of them is kept.
struct attempts {
  const ipm_run& run;
  std::optional<solution_room> kept;
  ipm_info best;

  // False when another one is to be made.
  bool make(const problem_view& lp, const ipm_param& param) {
    ipm_info& info = run.info;
    if (kept.has_value() || info.numruns > 0) keep();
    const bool stands = attempt_once({run.sys, run.lp, lp, param, info, run.progress, run.sol, run.watch, run.basis});
    if (kept.has_value() && rank_of(info.solsta) < rank_of(best.solsta)) restore();
    return stands;
  }

private:
  void keep() {
    kept.emplace(run.sys, run.lp.numcon, run.lp.numvar);
    copy_solution(run.lp.numcon, run.lp.numvar, run.sol, kept->sol);
    best = run.info;
  }
  void restore() {
    copy_solution(run.lp.numcon, run.lp.numvar, kept->sol, run.sol);
    best.numiter = run.info.numiter;
    best.numruns = run.info.numruns;
    if (is_stop(run.info.response)) best.response = run.info.response;
    run.info = best;
  }
};

int32_t ask_user(void* handle) {
  const ipm_run& run = *static_cast<const ipm_run*>(handle);
  return run.progress(ipm_event::poll, run.info);
}

// Keys of an interior point: what nobody has guessed goes by the nearer of value and dual.
int32_t key_by_values(int32_t bk, double v, double bl, double bu, double sl, double su) {
  if (bk == bk_fx) return sk_fix;
  if (has_lower(bk) && v - bl < sl) return sk_low;
  if (has_upper(bk) && bu - v < su) return sk_upr;
  return bk == bk_fr || (v - bl > 0 && bu - v > 0) ? sk_bas : has_lower(bk) && !(v - bl > 0) ? sk_low : sk_upr;
}

void put_keys(const problem_view& lp, solution_view& sol) {
  for (int32_t i = 0; i < lp.numcon; i++)
    if (sol.skc[i] == sk_unk)
      sol.skc[i] = key_by_values(lp.bkc[i], sol.xc[i], lp.blc[i], lp.buc[i], sol.slc[i], sol.suc[i]);
  for (int32_t j = 0; j < lp.numvar; j++)
    if (sol.skx[j] == sk_unk)
      sol.skx[j] = key_by_values(lp.bkx[j], sol.xx[j], lp.blx[j], lp.bux[j], sol.slx[j], sol.sux[j]);
}

} // namespace

void TVN_opt_ipmslv(sysenv& sys, const problem_view& given, const ipm_param& wanted, ipm_info& info,
                    const ipm_progress& progress, solution_view& sol, basis_run* basis) {
  ipm_param param = wanted;
  const plain_problem own(sys, given);
  const problem_view& lp = own.lp;
  info = {};
  TVN_prslv_clearsolution(lp, sol);
  run_watch watch;
  watch.starttime = param.starttime;
  watch.maxtime = param.maxtime;
  const near_problem near(sys, lp, nullptr);
  const ipm_run run{sys, lp, lp, param, info, progress, sol, watch, basis};
  watch.handle = const_cast<ipm_run*>(&run);
  watch.ask = ask_user;
  if (const int32_t item = TVN_verify_crossingitem(lp); item >= 0) {
    TVN_verify_provecrossing(lp, item, sol);
    info.prosta = pro_prim_infeas;
    info.solsta = sol_prim_infeas_cer;
    return attempt(run).identify_basis();
  }
  attempts tries{run, {}, {}};
  ipm_param direct = param, other = param; // what may work where the settings do not
  direct.presolve = false;
  bool stands = near.numchanged > 0 && tries.make(near.lp, param);
  if (!stands && near.numchanged > 0 && info.numruns == 0) stands = tries.make(near.lp, direct);
  if (!stands) stands = tries.make(lp, param);
  if (!stands && info.numruns == 0) stands = tries.make(lp, direct); // presolve has seen that there is no dual point
  other.hs.start = hs_startpoint::constant;
  other.hs.heedq = false; // beside far bounds it makes the costs too small
  if (info.dualform) other.form = ipm_form::primal;
  if (!stands) stands = tries.make(lp, other);
  other.presolve = false;
  if (!stands && param.presolve) (void)tries.make(lp, other);
  if (info.solsta == sol_optimal && TVN_opt_polish(sys, lp, param.hs, watch, sol)) {
    const lp_verdict v = TVN_verify_claim(sys, lp, sol, sol_optimal, TVN_opt_tolerances(param.hs, 1));
    info.objective = v.objective;
    info.primalviol = v.primalviol;
    info.dualviol = v.dualviol;
  }
  if (basis && !basis->made) attempt(run).identify_basis(); // of what there is
  put_keys(lp, sol);
}

} // namespace tvn
