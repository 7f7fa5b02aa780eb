// Measures of a solution, recomputed from the problem.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

// Worst violations and objective values of one slot. Without a dual the dual ones stay 0.
struct solution_measures {
  double primalobj = 0, maxpbi = 0, maxpcni = 0, maxpeqi = 0, maxinti = 0;
  double dualobj = 0, maxdbi = 0, maxdcni = 0, maxdeqi = 0;
};
TVNrescodee solution_infeasibility(task& t, int32_t whichsol, solution_measures& m);
TVNrescodee TVN_updatesolutioninfo(task& t, int32_t whichsol);

} // namespace tvn
