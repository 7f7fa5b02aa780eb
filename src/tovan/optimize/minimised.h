// The task's problem with linear rows as optimizers see it: a minimisation. A is lent by the store; a maximisation
// gives negated copies of the costs, so that the user's functions read the task as it is during the run; Q is copied
// into columns. No other array is.
#pragma once

#include "misc/optdef.h"
#include "tovan/solution/sol.h"
#include "tovan/task/task.h"

namespace tvn {

struct minimised_costs {
  bool maximize;
  buffer<double> c, cslack; // empty for a minimisation
  sym_matrix q;             // empty for a linear objective
  minimised_costs(task& t, bool maximize);
};

problem_view TVN_minimisedview(const task& t, const minimised_costs& costs, const sprmat_view& a);
// Duals between the user's sense and that of the optimizers; in either no zero keeps a sign.
void TVN_turnduals(const task& t, bool maximize, const solution_view& s) noexcept;
solution_view TVN_slotarrays(task& t, int32_t which);

// The user's objective cuts as those of the minimisation.
objective_cuts TVN_minimisedcuts(const task& t, bool maximize);

} // namespace tvn
