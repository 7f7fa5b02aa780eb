// The user's nonlinear functions: the hook of a task, and what the library asks of it.
//
// The nonlinear part adds f(x) to the objective and g_i(x) to the activity of constraint i. Its structure is asked for
// item by item, its values at a point in one call; tovan.h tells the contract. Every answer is tested before use: the
// functions are as foreign as a file.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

// Values and gradients at one point. Item 0 is the objective, item i + 1 constraint i; the gradient of an item lies in
// begin[item] to begin[item + 1] - 1 and may name a variable more than once.
struct nl_values {
  double objval = 0;
  buffer<double> conval;  // [numcon]
  buffer<int64_t> begin;  // [numcon + 2]
  buffer<int32_t> grdsub; // variables
  buffer<double> grdval;
};

// Asks the structure of one item, the objective for item -1; a failure is reported.
TVNrescodee TVN_nlgetsp(task& t, int32_t item, int32_t* numgrdnz, int32_t* grdsub, int32_t* numhesnz, int32_t* hessubi,
                        int32_t* hessubj);
// Evaluates at xx; a failure is reported. Null outputs are not asked for.
TVNrescodee TVN_nlgetva(task& t, const double* xx, double yo, const double* yc, double* objval, double* conval,
                        double* grdval, double* hesval);

// Structure and values of everything but the Hessian. The task has a hook.
TVNrescodee nl_evaluate(task& t, const double* xx, nl_values& v);

} // namespace tvn
