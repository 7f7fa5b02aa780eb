// Residuals of a solution on the user's own data: the only ground on which a status is given.
//
// Nothing that an optimizer kept is used: activities, reduced costs and both objectives are formed anew from c, A, the
// bounds and the arrays of the solution, with sums in long double. A residual is measured against the size of what it
// is a difference of, and what the rounding of its terms explains is none, so that a status does not depend on units.
// The violation of a certificate is divided by its own objective. Cost: O(nonzeros) for each question.
#pragma once

#include "cpub/buffer.h"
#include "misc/optdef.h"

namespace tvn {

// Worst breaches, relative as told; what is rounding beside the terms of its row is none. A NaN anywhere makes the
// figure NaN, so tests are written !(figure <= tolerance).
struct lp_residuals {
  double bound = 0;     // x outside its bounds, to 1 + |bound|
  double row = 0;       // row activity outside its bounds, to 1 + |bound|
  double cone = 0;      // x outside its cones, to 1 + |members without the head|
  double activity = 0;  // |xc - A x| to 1 + largest term of the row
  double dualeq = 0;    // |c + Q x - A'y - sum y_i Q_i x - slx + sux - snx| and |cslack + y - slc + suc|, to 1 + max|c|
  double dualsign = 0;  // dual of wrong sign or at an infinite bound, to 1 + max|c|
  double dualcone = 0;  // snx outside the dual cones, or not 0 at a variable in none, to 1 + max|c|
  double comp = 0;      // dual times distance to its bound, x'snx of a cone, to 1 + |objective|
  double gap = 0;       // by which the duals leave room below the objective, to 1 + |objective|
  double objective = 0; // primal, cfix included
};

lp_residuals TVN_verify_residuals(sysenv& sys, const problem_view& lp, const solution_view& sol);

// Violation of a certificate divided by the certificate's own objective; infinity when that is not positive or is
// nothing but rounding beside its terms. That of a primal one is for points as large as the bounds that it adds up.
// Primal: y, slc, suc, slx, sux, snx prove that no point is feasible; with quadratic rows xx is the point at which the
// sum of the constraints that they weigh is least. Dual: xx is a ray along which the objective falls; with quadratic
// terms, infinity when it does so for less than 1e10 times its length.
double TVN_verify_primalcertificate(sysenv& sys, const problem_view& lp, const solution_view& sol);
double TVN_verify_dualcertificate(sysenv& sys, const problem_view& lp, const solution_view& sol);

// cj - A_j'y in long double.
double TVN_verify_reducedcost(const problem_view& lp, int32_t j, long double cj, const double* y);
// c + Q x - sum y_i Q_i x at x; without c + Q x where the objective does not count.
void TVN_verify_gradient(sysenv& sys, const problem_view& lp, const double* x, const double* y, bool objective,
                         buffer<long double>& gradient);
// A x with what quadratic rows add.
void TVN_verify_rows(sysenv& sys, const problem_view& lp, const double* x, double* act);

// What the residuals support of an optimizer's claim (sol_status). An optimum within the tolerances whose duals leave
// room below its objective is a near optimum.
struct lp_verdict {
  int32_t prosta = pro_unknown, solsta = sol_unknown;
  bool holds = false;                  // the claim stands, or was none that residuals could refute
  double objective = 0;                // of a point
  double primalviol = 0, dualviol = 0; // the worst ones; of a certificate the one that it has
};

// For the figures above.
struct lp_tolerances {
  double x, s;               // primal, dual
  double gap = 1e-9;         // room below the objective of an optimum
  double certificate = 1e-7; // violation
};

lp_verdict TVN_verify_claim(sysenv& sys, const problem_view& lp, const solution_view& sol, int32_t claim,
                            const lp_tolerances& tol);

// The first item whose bounds cross, rows before columns, -1: none. It proves infeasibility by itself: both its duals
// become 1.
int32_t TVN_verify_crossingitem(const problem_view& lp);
void TVN_verify_provecrossing(const problem_view& lp, int32_t item, solution_view& sol);

} // namespace tvn
