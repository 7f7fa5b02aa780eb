// What the roads to the homogeneous optimizer share.
#pragma once

#include "optimize/optslv.h"
#include "tovan/optimize/tovanipmlog.h"
#include "tovan/task/task.h"

namespace tvn {

ipm_param TVN_interiorparam(const task& t, bool maximize);
// More threads than there are processors gain nothing.
int32_t TVN_usedthreads(const task& t);
// Statuses of a run to the interior slot.
void TVN_putinterior(task& t, const ipm_info& info);
// Problems with cones or quadratic terms, or neither, by the loop for cones.
TVNrescodee TVN_runconic(task& t);
// A problem with convex quadratic terms by their cones. Not 0: reported, and nothing was solved.
TVNrescodee TVN_solveqcqo(ipm_view& view, const problem_view& lp, const ipm_param& param, ipm_info& info,
                          solution_view& sol);

} // namespace tvn
