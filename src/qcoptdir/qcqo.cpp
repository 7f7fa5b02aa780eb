// See qcqo.h.
#include "qcoptdir/qcqo.h"

#include "optimize/attempt.h"
#include "prslv/reduced.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr double widening = 100; // of the tolerances for a near optimum
constexpr double tighter = 1e-2; // of the next run's
// The first run is not scaled: of 40 random problems 7 stall with the columns of a cone scaled and none without, where
// h = 1 and w stand together. Where that gives no answer, the next one is.
constexpr int32_t maxruns = 3;

struct asked_watch {
  const ipm_progress& progress;
  const ipm_info& info;
  run_watch watch;

  asked_watch(const ipm_param& param, const ipm_progress& progress_, const ipm_info& info_)
      : progress(progress_), info(info_) {
    watch.starttime = param.starttime;
    watch.maxtime = param.maxtime;
    watch.handle = this;
    watch.ask = [](void* handle) {
      const asked_watch& w = *static_cast<asked_watch*>(handle);
      return w.progress(ipm_event::poll, w.info);
    };
  }
  asked_watch(const asked_watch&) = delete;
  asked_watch& operator=(const asked_watch&) = delete;
};

void take_verdict(const lp_verdict& v, int32_t solsta, ipm_info& info) {
  info.prosta = v.prosta;
  info.solsta = solsta;
  info.objective = v.objective;
  info.primalviol = v.primalviol;
  info.dualviol = v.dualviol;
}

// The claim on the problem as given; false: it does not hold there.
bool judge(sysenv& sys, const problem_view& lp, const ipm_param& param, int32_t claim, const solution_view& sol,
           ipm_info& info) {
  lp_verdict v = TVN_verify_claim(sys, lp, sol, claim, TVN_opt_tolerances(param.hs, 1));
  take_verdict(v, v.solsta, info);
  if (!v.holds || v.solsta != claim) return false;
  if (!is_stop(info.response)) info.response = hs_code::ok;
  return true;
}

// What is left of a claim that no run makes good.
void settle(sysenv& sys, const problem_view& lp, const ipm_param& param, int32_t claim, const solution_view& sol,
            ipm_info& info) {
  const lp_verdict v = TVN_verify_claim(sys, lp, sol, claim, TVN_opt_tolerances(param.hs, widening));
  if (v.solsta == claim || v.solsta == sol_near_optimal)
    take_verdict(v, near_form(claim), info);
  else if (info.response == hs_code::ok)
    info.response = hs_code::numerical;
}

} // namespace

qroot_code TVN_qcqo_reform(sysenv& sys, const problem_view& lp, const ipm_param& param, ipm_info& info,
                           const ipm_progress& progress, qcone_form& form) {
  info = {};
  asked_watch asked(param, progress, info);
  const qroot_code code = TVN_reformqcqo(sys, lp, param.hs.watchconvexity, {&asked.watch, TVN_runwatch_ask}, form);
  if (asked.watch.stopped())
    info.response = static_cast<hs_code>(asked.watch.stop);
  else if (code != qroot_code::ok)
    info.response = code == qroot_code::nonconvex ? hs_code::nonconvex : hs_code::numerical;
  return code;
}

void TVN_qcqo_slv(sysenv& sys, const problem_view& lp, qcone_form& form, const ipm_param& param, ipm_info& info,
                  const ipm_progress& progress, solution_view& sol) {
  asked_watch asked(param, progress, info);
  ipm_param inner = param;
  inner.hs.scaling = false;
  int32_t iterations = 0;
  for (int32_t run = 0; run < maxruns; run++) {
    TVN_opt_ipmslv(sys, form.lp, inner, info, progress, form.room.sol);
    info.numiter = iterations += info.numiter;
    const int32_t given = exact_claim(info.solsta);
    const bool cut = asked.watch.stopped() || is_stop(info.response);
    TVN_setqcqosol(sys, lp, form, given, asked.watch, sol);
    if (cut && !is_answer(given)) return;
    const int32_t claim = is_answer(given) ? given : sol_optimal;
    if (judge(sys, lp, param, claim, sol, info)) return;
    const lp_tolerances tol = TVN_opt_tolerances(param.hs, 1);
    const bool polished =
        claim == sol_optimal && TVN_qcqo_polish(sys, lp, form, tol, {&asked.watch, TVN_runwatch_ask}, sol);
    if (polished && judge(sys, lp, param, claim, sol, info)) return;
    const bool other = given != claim && param.hs.scaling && !inner.hs.scaling;
    if (cut || asked.watch.stopped() || (given != claim && !other) || run + 1 == maxruns) {
      settle(sys, lp, param, claim, sol, info);
      if (asked.watch.stopped()) info.response = static_cast<hs_code>(asked.watch.stop);
      return;
    }
    inner.hs.scaling = param.hs.scaling;
    if (!other)
      for (double* t : {&inner.hs.tolpfeas, &inner.hs.toldfeas, &inner.hs.tolgap, &inner.hs.tolinfeas}) *t *= tighter;
  }
}

} // namespace tvn
