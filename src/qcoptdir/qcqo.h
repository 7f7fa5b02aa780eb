// The optimizer for convex quadratic rows, by their cones (qcone.h). What the conic problem proves is judged on the
// problem as given: a cone whose gap is e leaves a residual of the size of sqrt(e) there. So an optimum is polished by
// Newton steps on its own conditions before it counts, and solved anew to smaller tolerances where that is not enough.
#pragma once

#include "optimize/optslv.h"
#include "qcoptdir/qcone.h"

namespace tvn {

// The form of lp. Where it is stopped or lp is not convex, info.response says so, and form.badrow where.
[[nodiscard]] qroot_code TVN_qcqo_reform(sysenv& sys, const problem_view& lp, const ipm_param& param, ipm_info& info,
                                         const ipm_progress& progress, qcone_form& form);

// Like TVN_opt_ipmslv, with the form of lp.
void TVN_qcqo_slv(sysenv& sys, const problem_view& lp, qcone_form& form, const ipm_param& param, ipm_info& info,
                  const ipm_progress& progress, solution_view& sol);

// A few Newton steps from sol, an optimum of form within its tolerances, with duals as in form.room; kept while the
// figures of lp get better. True when its residuals are within tol.
bool TVN_qcqo_polish(sysenv& sys, const problem_view& lp, const qcone_form& form, const lp_tolerances& tol,
                     const sfk_progress& progress, solution_view& sol);

} // namespace tvn
