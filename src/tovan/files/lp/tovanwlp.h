// The LP writer.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task/task.h"

namespace tvn {

// What no LP file can hold, reported before a file is touched. generic: names are c1, x1 and obj.
TVNrescodee check_lp_problem(task& t, bool generic);
// Writes the problem to the open file; it has passed the check.
TVNrescodee TVN_writelpfile(task& t, bool generic, sysfile& file, const char* filename);

} // namespace tvn
