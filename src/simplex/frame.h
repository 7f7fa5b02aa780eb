// The frame of the simplex optimizers: from the user's linear problem to a proven basic solution.
#pragma once

#include "simplex/base/types.h"

namespace tvn {

struct kept_basis;      // keptbasis.h
struct reduced_problem; // prslv/reduced.h

// Minimises lp. On entry with param.hotstart != 0 the keys in sol tell the start; on return all arrays of sol are set,
// and info holds response, problem and solution status. The statuses rest on the residuals of sol on lp itself:
// an optimum or certificate that fails them is repaired by a second run on the unscaled problem, or not claimed.
// kept: what the last run on this problem left for this one, which leaves its own; or null.
// Throws out_of_memory.
void TVN_simplex_optimize(sysenv& sys, const problem_view& lp, const simplex_param& param, simplex_info& info,
                          const simplex_progress& progress, solution_view& sol, kept_basis* kept = nullptr);

// A basic solution of lp from an interior one: pushes to a basis, then the optimizer that mends what is left of
// infeasibilities. ctx and reduced: the presolve that the point went through and the reduced problem with the point of
// it, which becomes the basic one; or null, then sol holds the point. All else as above.
void TVN_simplex_identifybasis(sysenv& sys, const problem_view& lp, const simplex_param& param, simplex_info& info,
                               const simplex_progress& progress, solution_view& sol, prslv_context* ctx,
                               reduced_problem* reduced, kept_basis* kept);

// A trial of the simplex on what presolve has left, or with null on lp itself, from the basis of the logicals; see
// simplex_param::rival. True: sol is an optimum or a certificate of lp, with the basis.
bool TVN_simplex_tryreduced(sysenv& sys, const problem_view& lp, const simplex_param& param, simplex_info& info,
                            const simplex_progress& progress, solution_view& sol, prslv_context* ctx,
                            reduced_problem* reduced, kept_basis* kept);

} // namespace tvn
