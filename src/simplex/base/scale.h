// Scale factors of the working problem.
#pragma once

#include "simplex/base/work.h"

namespace tvn {

// Fills w.rowscale and w.colscale with powers of two; false: factors all 1. Bounds and costs of w are not scaled yet.
// Asks the watch between its passes and ends early when that says stop.
bool TVN_simplex_computescaling(sysenv& sys, const scale_request& scale, run_watch& watch, simplex_work& w);
// Column factors alone, for the row factors that stand.
void TVN_simplex_scalecolumns(simplex_work& w);

} // namespace tvn
