// The LP reader.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task/task.h"

namespace tvn {

// Reads the open file, whose name stands in messages. What stands before a fault is entered.
TVNrescodee TVN_readlpfile(task& t, sysfile& file, const char* name);

// How the writer's own files begin, and how they tell the name of the variable that is the constant of the objective
// when that is not the usual one.
inline constexpr const char lp_first_line[] = "\\ Created by TOVAN version";
inline constexpr const char lp_constant_line[] = "\\ Constant of the objective:";
inline constexpr const char lp_constant_name[] = "CFIX";

} // namespace tvn
