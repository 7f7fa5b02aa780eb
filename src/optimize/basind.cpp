// The step from an interior solution to a basic one: whether it is to be made, and what it starts from.
#include "optimize/attempt.h"
#include "simplex/frame.h"

#include <algorithm>

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

void copy_solution(const lp_view& lp, const lp_solution& from, const lp_solution& to) {
  std::copy_n(from.skc, lp.numcon, to.skc);
  std::copy_n(from.skx, lp.numvar, to.skx);
  for (auto v : {&lp_solution::xc, &lp_solution::y, &lp_solution::slc, &lp_solution::suc})
    std::copy_n(from.*v, lp.numcon, to.*v);
  for (auto v : {&lp_solution::xx, &lp_solution::slx, &lp_solution::sux}) std::copy_n(from.*v, lp.numvar, to.*v);
}

} // namespace

void attempt::identify_basis() {
  if (!run.basis || !basis_wanted(*run.basis, run.info)) return;
  basis_run& b = *run.basis;
  copy_solution(run.lp, run.sol, b.sol);
  b.info = {};
  b.made = true;
  TVN_simplex_identifybasis(run.sys, run.near, b.param, b.info, b.progress, b.sol, ctx, ctx ? &reduced : nullptr,
                            b.kept);
}

} // namespace tvn
