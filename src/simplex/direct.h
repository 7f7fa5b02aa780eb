// The pieces of the simplex frame that its files share.
#pragma once

#include "prslv/reduced.h"
#include "simplex/base/keptbasis.h"
#include "simplex/frame.h"

namespace tvn {

// What a run works on; settings are exchanged from one attempt to the next, the rest goes through all of them.
struct simplex_run {
  sysenv& sys;
  const problem_view& lp;
  const simplex_param& param;
  simplex_info& info;
  const simplex_progress& progress;
  solution_view& sol;
  kept_basis* kept; // or null
  run_watch& watch; // one for all that the run does

  simplex_run with(const simplex_param& other) const { return {sys, lp, other, info, progress, sol, kept, watch}; }
  simplex_run on(const problem_view& other) const { return {sys, other, param, info, progress, sol, kept, watch}; }
};

// The road without presolve, with the ladder of repairs; sol holds the keys of a start when param.hotstart is set.
void TVN_simplex_solvedirectly(const simplex_run& run);

// An optimizer found no way on; another start or road may have one.
bool TVN_simplex_gaveup(simplex_code code);

// An optimum whose residuals are within the tolerances and no rounding: a few iterations with tolerances of 1e-9, or
// none with fresh values, leave it better, or it stays as it is.
void TVN_simplex_sharpen(const simplex_run& run);

// For a near optimum that is right but for its gap: a few iterations with a tighter dual tolerance close it, or it
// stays as it is.
void TVN_simplex_closegap(const simplex_run& run);

// Factors the basis that the keys in run.sol name and keeps it, when it has a full factor. run.kept is not null.
void TVN_simplex_keepfactor(const simplex_run& run);

// Replaces the claim info.solsta by what the residuals of sol on the user's problem support; false when an optimizer's
// claim is not supported.
bool TVN_simplex_settlestatus(const simplex_run& run);

} // namespace tvn
