// The step from an interior solution to a basic one: whether it is to be made, and what it starts from.
#include "misc/solcopy.h"
#include "optimize/attempt.h"
#include "simplex/frame.h"

namespace tvn {

namespace {

// Does the end of the interior run allow the step to a basis?
bool basis_wanted(const basis_run& basis, const ipm_info& info) {
  const hs_code c = info.response;
  const bool iter = c == hs_code::max_iterations, error = c == hs_code::stall || c == hs_code::numerical;
  if (c != hs_code::ok && !iter && !error) return false;
  switch (basis.wish) {
  case basis_wish::always: return true;
  case basis_wish::no_error:
    return c == hs_code::ok || (iter && basis.ignoremaxiter) || (error && basis.ignorenumerror);
  case basis_wish::if_feasible: return c == hs_code::ok && !is_certificate(info.solsta);
  }
  return false;
}

} // namespace

void attempt::keep_certificate() {
  basis_run& b = *run.basis;
  TVN_prslv_clearsolution(run.lp, b.sol);
  copy_values(run.lp.numcon, run.lp.numvar, run.sol, b.sol);
  b.info.prosta = run.info.prosta;
  b.info.solsta = run.info.solsta;
  b.info.primalviol = run.info.primalviol;
  b.info.dualviol = run.info.dualviol;
}

bool attempt::bring_far_bounds_back(const simplex_progress& progress) {
  basis_run& b = *run.basis;
  simplex_param param = b.param;
  param.hotstart = start_other;
  param.presolve = 0;
  TVN_simplex_optimize(run.sys, run.lp, param, b.info, progress, b.sol, b.kept);
  return b.info.response == simplex_code::ok && is_answer(b.info.solsta);
}

void attempt::identify_basis() {
  if (!run.basis || !basis_wanted(*run.basis, run.info)) return;
  if (run.progress(ipm_event::poll, run.info) != 0) return; // the user has had enough
  basis_run& b = *run.basis;
  b.info = {};
  b.made = true;
  if (is_certificate(run.info.solsta)) return keep_certificate();
  copy_solution(run.lp.numcon, run.lp.numvar, run.sol, b.sol);
  try {
    TVN_simplex_identifybasis(run.sys, run.near, b.param, b.info, b.progress, b.sol, ctx, ctx ? &reduced : nullptr,
                              b.kept);
    if (&run.near != &run.lp && b.info.response == simplex_code::ok) (void)bring_far_bounds_back(b.progress);
  } catch (const out_of_memory&) { // what the interior run has found stands
    TVN_prslv_clearsolution(run.lp, b.sol);
    b.info.response = simplex_code::no_memory;
    b.info.prosta = pro_unknown;
    b.info.solsta = sol_unknown;
  }
}

} // namespace tvn
