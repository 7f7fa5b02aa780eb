// The layer between a problem and the homogeneous interior-point optimizer: presolve, form, the way back, and the proof
// on the user's data.
#pragma once

#include "homo/hslv.h"
#include "prslv/prslv.h"
#include "simplex/base/types.h"
#include "verify/verify.h"

namespace tvn {

struct kept_basis; // simplex/base/keptbasis.h

enum class ipm_form : int32_t { free = 0, primal = 1, dual = 2 };

struct ipm_param {
  hs_param hs;
  bool presolve = true;
  prslv_param prslv;
  ipm_form form = ipm_form::free; // which problem is given to the optimizer: free: the dearer one is not
  double maxtime = -1;            // seconds from `starttime`, negative: none
  double starttime = 0;           // clock reading
};

struct ipm_info {
  hs_code response = hs_code::ok;
  int32_t prosta = pro_unknown, solsta = sol_unknown;
  bool dualform = false;
  int32_t numcon = 0, numvar = 0; // of the optimizer
  int64_t numanz = 0;
  hs_info hs;          // figures are those of the problem, not of its dual, whichever is solved
  int32_t numiter = 0; // of all runs of the optimizer
  int32_t numruns = 0; // more than one when the first claims did not stand
  prslv_stats prslv;
  double objective = 0, primalviol = 0, dualviol = 0; // on the user's data, set at the end
  const char* line = nullptr;                         // with presolve_line and line
  int32_t linelevel = 0;                              // with line: the log level from which on it is wanted
};

enum class ipm_event : int32_t {
  begin_presolve,
  end_presolve,
  presolve_line,
  begin,       // of the optimizer: form and sizes are known
  begin_order, // and analysis
  end_order,
  iteration,
  line,
  poll,
  end, // of the optimizer
};

// After which runs a basis is wanted.
enum class basis_wish : int32_t { always, no_error, if_feasible };

// What is wanted of the step to a basis, and what it gave.
struct basis_run {
  basis_wish wish = basis_wish::always;
  int32_t trialiterations = 0; // of the dual simplex, which may solve the problem while the loop waits; 0: no trial
  bool ignoremaxiter = false, ignorenumerror = false; // with no_error: run after these all the same
  simplex_param param;
  simplex_progress progress;
  kept_basis* kept = nullptr; // or null
  solution_view sol;
  simplex_info info;
  bool made = false;    // sol and info are those of a run
  bool bytrial = false; // and that is the trial: the interior solution is a copy
  double trialtime = 0; // seconds
};

// Nonzero stops the run: 1 the user, 2 a peer.
struct ipm_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle, ipm_event event, const ipm_info& info) = nullptr;
  int32_t operator()(ipm_event event, const ipm_info& info) const { return fn ? fn(handle, event, info) : 0; }
};

// What the tolerances of the loop, times a factor, are on the user's data.
lp_tolerances TVN_opt_tolerances(const hs_param& p, double factor);

// Minimises lp; all arrays of sol are set. The statuses rest on the residuals of sol on lp itself: what the optimizer
// proposes and they do not support is tightened, tried again without presolve, or not claimed. Then the step to a
// basis, unless basis is null; it leaves sol and info alone. Throws out_of_memory.
void TVN_opt_ipmslv(sysenv& sys, const problem_view& lp, const ipm_param& param, ipm_info& info,
                    const ipm_progress& progress, solution_view& sol, basis_run* basis = nullptr);

} // namespace tvn
