// The pieces of the simplex frame that its files share.
#pragma once

#include "simplex/keptbasis.h"
#include "simplex/simplex.h"

namespace tvn {

void TVN_simplex_clearduals(const lp_view& lp, lp_solution& sol);
void TVN_simplex_clearsolution(const lp_view& lp, lp_solution& sol); // logical basis, all values 0

// The road without presolve, with the ladder of repairs; sol holds the keys of a start when param.hotstart is set.
void TVN_simplex_solvedirectly(sysenv& sys, const lp_view& lp, const simplex_param& param, simplex_info& info,
                               const simplex_progress& progress, lp_solution& sol, kept_basis* kept);

// An optimizer found no way on; another start or road may have one.
bool TVN_simplex_gaveup(simplex_code code);

// For a near optimum that is right but for its gap: a few iterations with a tighter dual tolerance close it, or it
// stays as it is.
void TVN_simplex_closegap(sysenv& sys, const lp_view& lp, const simplex_param& param, simplex_info& info,
                          const simplex_progress& progress, lp_solution& sol, kept_basis* kept);

// Factors the basis that the keys in sol name and keeps it, when it has a full factor.
void TVN_simplex_keepfactor(sysenv& sys, const lp_view& lp, const simplex_param& param, simplex_info& info,
                            const simplex_progress& progress, const lp_solution& sol, kept_basis& kept);

// Replaces the claim info.solsta by what the residuals of sol on the user's problem support; false when an optimizer's
// claim is not supported.
bool TVN_simplex_settlestatus(sysenv& sys, const lp_view& lp, const simplex_param& param, simplex_info& info,
                              const lp_solution& sol);

} // namespace tvn
