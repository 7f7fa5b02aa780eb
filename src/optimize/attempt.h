// One attempt at a linear problem by the homogeneous optimizer: a problem in the form that the optimizer gets, the way
// back from its points, and the status that residuals on the user's data support.
#pragma once

#include "dualize/dualize.h"
#include "optimize/optslv.h"
#include "optimize/prepare.h"
#include "prslv/reduced.h"
#include "verify/verify.h"

#include <optional>

namespace tvn {

struct ipm_run {
  sysenv& sys;
  const problem_view& lp;   // the user's
  const problem_view& near; // what is solved
  const ipm_param& param;
  ipm_info& info;
  const ipm_progress& progress;
  solution_view& sol;
  run_watch& watch;
  basis_run* basis; // or null
};

// A run that ends like this makes no other attempt and claims nothing.
inline bool is_stop(hs_code code) {
  return code == hs_code::max_time || code == hs_code::user_stop || code == hs_code::peer_stop ||
         code == hs_code::nonconvex;
}

// The claim without its doubt: it is looked at with wider tolerances instead.
inline int32_t exact_claim(int32_t solsta) {
  switch (solsta) {
  case sol_near_optimal: return sol_optimal;
  case sol_near_prim_infeas_cer: return sol_prim_infeas_cer;
  case sol_near_dual_infeas_cer: return sol_dual_infeas_cer;
  default: return solsta;
  }
}

inline int32_t near_form(int32_t solsta) {
  switch (solsta) {
  case sol_optimal: return sol_near_optimal;
  case sol_prim_infeas_cer: return sol_near_prim_infeas_cer;
  case sol_dual_infeas_cer: return sol_near_dual_infeas_cer;
  default: return solsta;
  }
}

// An optimum or a certificate, exact.
inline bool is_answer(int32_t solsta) {
  return solsta == sol_optimal || solsta == sol_prim_infeas_cer || solsta == sol_dual_infeas_cer;
}

struct attempt {
  const ipm_run& run;
  prslv_context* ctx = nullptr; // of presolve, when it took part
  editable_problem edited;
  reduced_problem reduced;
  std::optional<dualizer> dual;
  prepared_problem prepared;
  hs_point point;
  bool accepted = false; // run.sol holds the point of the loop, which is what it claims to be
  double since = -1;     // when a stop was seen on the way back

  explicit attempt(const ipm_run& r) : run(r) {}
  ~attempt() {
    if (ctx) TVN_prslv_delete(ctx);
  }
  attempt(const attempt&) = delete;
  attempt& operator=(const attempt&) = delete;

  const problem_view& given() const { return ctx ? reduced.lp : run.near; }
  // False when it was stopped, or nothing is left for the optimizer: decided with a certificate in run.sol.
  bool presolve();
  bool prepare(); // false: stopped
  void solve();
  // The point of the loop, which has the claim solsta there, as solution of the user's problem. False: stopped.
  bool carry(int32_t solsta);
  bool walk_back(int32_t claim);
  // The status of run.sol: what its residuals support of the claim in run.info.hs.
  void settle();
  // The trial of the simplex, when one is wanted: the factor of the loop tells how long it may take. True: it has
  // solved the problem, and run.sol is its solution.
  bool try_simplex(const kktfac_info& fac) noexcept;
  // A proof needs no vertex: the basic solution is run.sol, with the basis of the logicals.
  void keep_certificate();
  // The basis of the problem without its far bounds as a start for the user's; true: with an answer.
  bool bring_far_bounds_back(const simplex_progress& progress);
  // The step to a basis, when one is wanted after such an end.
  void identify_basis();

  lp_verdict verdict(int32_t claim, double factor) const; // with tolerances times the factor

private:
  void choose_form();
};

} // namespace tvn
