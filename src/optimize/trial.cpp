// The free choice on a linear problem: the order of the factor tells what the loop will take, and before its first
// factorisation the dual simplex may try to take less. No figure known before tells a multicommodity flow, which the
// simplex solves in a hundredth of the time, from a flight schedule, for which it needs four times as much; the first
// iterations do: docs/decisions/015-trial-of-the-simplex.md.
#include "misc/solcopy.h"
#include "optimize/attempt.h"
#include "simplex/frame.h"

#include <algorithm>

namespace tvn {

namespace {

// What the loop and the step to a basis take, within 30 percent on problems of 10 to 10,000 rows on one core.
double predicted_seconds(const ipm_run& run, const kktfac_info& fac) {
  constexpr double iterations = 14;
  constexpr double second_iteration = 1e-4, second_column = 4e-7, second_nonzero = 1.5e-8, second_flop = 4e-11;
  const auto nonzeros = static_cast<double>(run.info.numanz + fac.nnzl);
  return iterations *
         (second_iteration + second_column * run.info.numvar + second_nonzero * nonzeros + second_flop * fac.fflops);
}

int32_t ask_user(void* handle, simplex_event event, const simplex_info&) {
  const ipm_run& run = *static_cast<const ipm_run*>(handle);
  return event == simplex_event::poll ? run.progress(ipm_event::poll, run.info) : 0;
}

simplex_param trial_param(const ipm_run& run, const problem_view& given, const kktfac_info& fac) {
  constexpr int64_t perrow = 2, spare = 200; // iterations
  simplex_param param = run.basis->param;
  param.maxiterations =
      static_cast<int32_t>(std::min<int64_t>(run.basis->trialiterations, perrow * given.numcon + spare));
  param.rival = predicted_seconds(run, fac);
  return param;
}

void tell_outcome(const ipm_run& run, const simplex_info& info, bool solved) {
  char line[120];
  std::snprintf(line, sizeof line, "Trial      - dual iterations  : %-16lld  outcome          : %s\n",
                static_cast<long long>(info.count[kind_dual].iterations), solved ? "solved" : "left to the interior");
  run.info.line = line;
  run.info.linelevel = 1;
  (void)run.progress(ipm_event::line, run.info);
  run.info.line = nullptr;
}

bool is_stop(simplex_code code) {
  return code == simplex_code::max_time || code == simplex_code::user_stop || code == simplex_code::peer_stop;
}

} // namespace

bool attempt::try_simplex(const kktfac_info& fac) noexcept {
  basis_run& b = *run.basis;
  b.info = {};
  const double begun = TVN_sysenv_gettime();
  try {
    const simplex_progress progress{const_cast<ipm_run*>(&run), ask_user};
    const simplex_param param = trial_param(run, given(), fac);
    b.bytrial = TVN_simplex_tryreduced(run.sys, run.near, param, b.info, progress, b.sol, ctx, ctx ? &reduced : nullptr,
                                       b.kept);
    if (b.bytrial && &run.near != &run.lp) b.bytrial = bring_far_bounds_back(progress);
  } catch (const out_of_memory&) { // the loop needs less
    b.bytrial = false;
  }
  b.trialtime = TVN_sysenv_gettime() - begun;
  if (is_stop(b.info.response)) run.watch.stop = static_cast<run_stop>(b.info.response);
  tell_outcome(run, b.info, b.bytrial);
  if (!b.bytrial) {
    TVN_prslv_clearsolution(run.lp, b.sol);
    b.info = {};
    return false;
  }
  b.made = true;
  copy_solution(run.lp.numcon, run.lp.numvar, b.sol, run.sol);
  run.info.prosta = b.info.prosta;
  run.info.solsta = b.info.solsta;
  run.info.objective = b.info.objective;
  run.info.primalviol = b.info.primalviol;
  run.info.dualviol = b.info.dualviol;
  if (is_certificate(run.info.solsta)) keep_certificate();
  return true;
}

} // namespace tvn
