// The roads of an optimizer run.
#pragma once

#include "homo/hslv.h"
#include "simplex/base/types.h"
#include "tovan/task/task.h"

namespace tvn {

// Items of the last run to zero, sizes noted, log head allowed again. Undefined objective sense is an error.
TVNrescodee TVN_inittaskbeforeoptimize(task& t);
// Names the parameters that are set and have no effect yet, on the message stream.
void tell_ineffective_parameters(task& t) noexcept;
// What a progress function answers to end a run for the code of a callback: a stop by a peer or by the user.
inline int32_t stop_answer(TVNrescodee code) noexcept { return code == TVN_RES_TRM_INTERNAL ? 2 : 1; }
// A road that ends before its optimizer: the code that says the choice does not work, and why.
TVNrescodee missing_optimizer(task& t, const char* name);
// Continuous problems.
TVNrescodee TVN_contoptimizer(task& t);
// What the parameters of the task say to a simplex optimizer; the frame minimises.
simplex_param TVN_simplexparam(const task& t, bool maximize);
// Linear problems by a simplex optimizer, into the basic slot.
TVNrescodee TVN_simplexoptimizer(task& t);
// What the parameters say to a homogeneous optimizer.
hs_param TVN_homogeneousparam(const task& t, bool maximize);
// Linear problems and those with a quadratic objective by the interior-point optimizer, into the interior slot.
TVNrescodee TVN_interioroptimizer(task& t);
// Linear problems and those with cones by the conic optimizer, into the interior slot.
TVNrescodee TVN_conicoptimizer(task& t);
// Convex quadratic terms, with cones or without, by cones, into the interior slot.
TVNrescodee TVN_qcqooptimizer(task& t);
// Whether objective and rows have quadratic terms of the right sign: the level of the check is a parameter.
TVNrescodee TVN_checkconvexity(task& t);

} // namespace tvn
