// The public names of processors against the internal codes of the layers below.
#pragma once

#include "cpub/sysenv.h"

namespace tvn {

// Fills the machine record. code: internal processor code or 0; a code that does not belong to this kind of machine is
// replaced by the detected one, and a negative cache size by the detected size; a size of 0 stays 0.
void init_machine_info(machinfo& mach, int32_t code, int32_t sizel1, int32_t sizel2) noexcept;

// Public TVN_CPU_* value and internal code; 0 for what has no counterpart.
int32_t internal_cpu_code(int32_t cputype) noexcept;
int32_t public_cpu_type(int32_t code) noexcept;

} // namespace tvn
