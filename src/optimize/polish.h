// The last digits of an optimum with a quadratic objective, on the user's data.
#pragma once

#include "homo/hslv.h"
#include "verify/verify.h"

namespace tvn {

// sol: an optimum, all arrays but the keys. It changes only for the better: no residual gets worse beyond what is
// enough, the worst of them gets smaller. True when it has changed. Throws out_of_memory.
bool TVN_opt_polish(sysenv& sys, const problem_view& lp, const hs_param& param, run_watch& watch, solution_view& sol);

} // namespace tvn
