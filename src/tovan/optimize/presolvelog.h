// Presolve as the drivers show it: settings from the parameters, lines of the log, information items.
#pragma once

#include "prslv/prslv.h"
#include "tovan/task/task.h"

namespace tvn {

prslv_param TVN_presolveparam(const task& t);
void TVN_logpresolveline(task& t, const char* line);
void TVN_logendpresolve(task& t, const prslv_stats& stats); // sets the items too, and warns of shortages

} // namespace tvn
