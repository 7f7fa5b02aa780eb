// Violations and objective values of a stored solution, item by item, from the problem alone.
//
// For a problem status that says infeasible the solution is a certificate, and the right-hand sides and costs count 0
// (factor f). Sums run in long double or in pairs of doubles: these are the figures that a user judges a solution by.
// A NaN anywhere shows in the measure that it spoils.
#pragma once

#include "tovan/data/data.h"
#include "tovan/solution/sol.h"
#include "tovan/task/scratch.h"

namespace tvn {

// The larger of two, a NaN winning.
double worse(double a, double b) noexcept;

// A slot under test. The pointers stay valid while the task is not changed.
struct measured_solution {
  sol_ptrs s;
  double f = 1.0;        // of bounds and costs: 0 for a certificate
  double sign = -1.0;    // of the duals that are wrong: -1 when minimising, 1 when maximising
  double constant = 0.0; // cfix, or 0 for a certificate
};
measured_solution make_measured(task& t, int32_t whichsol);

// What the nonlinear terms, quadratic and of the user, add at a solution. Lagrangian: f times the objective's terms
// minus the sum of y_i times those of constraint i; y counts 0 where the slot has none.
struct nonlinear_terms {
  bool any = false;
  double objective = 0.0;  // at xx
  double lagrangian = 0.0; // L(xx) - xx' grad L(xx)
  buffer<double> row;      // [numcon], empty when no constraint has terms
  buffer<double> gradient; // [numvar] of L, empty when there are no terms
};
enum class nonlinear_kind { user, all };
TVNrescodee nonlinear_at(task& t, const measured_solution& m, nonlinear_kind kind, nonlinear_terms& nl);

// One side of the problem with the part of a solution that belongs to it.
struct side_view {
  bound_arrays b;
  const double *x, *sl, *su;
};
side_view side_of(task& t, const sol_ptrs& s, int32_t accmode) noexcept;

double bound_violation(const side_view& v, int32_t i, double f, bool normalize) noexcept;
double dual_bound_violation(const side_view& v, int32_t i, double sign) noexcept;

// Residual of xc against the activity, and the largest term of each row, or 1. A running sum is kept as an unevaluated
// pair of doubles, so that the terms of a row may come in any order without loss. Cost: one pass over A.
struct row_sums {
  scratch<double> high, low, scale; // [numcon]

  row_sums(task& t, const sol_ptrs& s, const nonlinear_terms& nl);
  double residual(int32_t i) noexcept;
  void subtract(int32_t i, long double term) noexcept;
};

double dual_row_residual(const problem& p, const measured_solution& m, int32_t i, bool normalize) noexcept;
double dual_column_residual(const problem& p, const sprmat_view& a, const measured_solution& m,
                            const nonlinear_terms& nl, int32_t j, bool normalize) noexcept;
// sign: -1 for the duals of a maximisation, which are minus those of a minimisation.
double cone_violation(const cones& c, const double* x, int32_t k, double sign = 1) noexcept;
double integer_violation(double x) noexcept;

double primal_objective(const task& t, const measured_solution& m, const nonlinear_terms& nl) noexcept;
double dual_objective(task& t, const measured_solution& m, const nonlinear_terms& nl) noexcept;

} // namespace tvn
