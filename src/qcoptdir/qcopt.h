// The optimizer for quadratic objectives by their separable form:
//
//     minimise t't/2 + c'x   with   A x and x as given,   t = L'x,   Q = L L'
//
// so that the diagonal of t is merged into the normal equations. It pays where L has fewer entries than the factor of
// the big system. L comes from the sparse factor of Q scaled to a unit diagonal; rows of pivots that are 0 are left
// out. A diagonal Q is in that form already.
#pragma once

#include "optimize/optslv.h"

namespace tvn {

// Like TVN_opt_ipmslv.
void TVN_qcopt_slv(sysenv& sys, const problem_view& lp, const ipm_param& param, ipm_info& info,
                   const ipm_progress& progress, solution_view& sol);

} // namespace tvn
