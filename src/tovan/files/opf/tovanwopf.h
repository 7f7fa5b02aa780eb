// The OPF writer.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task/task.h"

namespace tvn {

// What no OPF file can hold, reported before a file is touched.
TVNrescodee check_opf_problem(task& t);

// The sections that are written.
struct opf_options {
  bool hints, parameters, header, problem, solutions;
  bool solution[3]; // by TVN_SOL_*
  int32_t maxterms; // of a line
};
opf_options opf_options_of(const task& t) noexcept;

// Writes the open file. generic: names are c1, x1, k1 and obj.
TVNrescodee TVN_writeopf(task& t, bool generic, const opf_options& options, sysfile& file, const char* filename);

} // namespace tvn
