// What the roads to the homogeneous optimizer share.
#pragma once

#include "optimize/optslv.h"
#include "tovan/task/task.h"

namespace tvn {

ipm_param TVN_interiorparam(const task& t, bool maximize);
// More threads than there are processors gain nothing.
int32_t TVN_usedthreads(const task& t);
// Statuses of a run to the interior slot.
void TVN_putinterior(task& t, const ipm_info& info);

} // namespace tvn
