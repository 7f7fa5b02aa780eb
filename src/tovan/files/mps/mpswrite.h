// The MPS writer.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task/task.h"

namespace tvn {

// Writes the problem to the open file. generic: names are c1, x1, k1 and obj instead of the task's own.
// TVN_RES_ERR_WRITE_MPS_INVALID_NAME for a name that no reader could take apart again, or the code of the file layer.
TVNrescodee TVN_writemps(task& t, bool generic, sysfile& file, const char* filename);

// A number as the writer prints it, into at least 40 bytes; returns its length. Digits after trailing zeros are cut.
int32_t realtostr(int32_t precision, double value, char* to) noexcept;

} // namespace tvn
