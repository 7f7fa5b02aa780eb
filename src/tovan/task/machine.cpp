// One table, read in both directions; the detection itself belongs to the machine layer.
#include "tovan/task/machine.h"

#include "cpub/machinfo.h"

namespace tvn {

namespace {

// By TVN_CPU_*.
constexpr int32_t internal_codes[] = {0, 10, 1000, 1001, 10001, 20000, 5000, 10002, 30000, 1002, 2000};
constexpr int32_t num_codes = static_cast<int32_t>(sizeof internal_codes / sizeof internal_codes[0]);

} // namespace

void init_machine_info(machinfo& mach, int32_t code, int32_t sizel1, int32_t sizel2) noexcept {
  TVN_sysenv_initmachinfo(mach, code, sizel1, sizel2);
}

int32_t internal_cpu_code(int32_t cputype) noexcept {
  return cputype >= 0 && cputype < num_codes ? internal_codes[cputype] : 0;
}

int32_t public_cpu_type(int32_t code) noexcept {
  for (int32_t k = 0; k < num_codes; k++)
    if (internal_codes[k] == code) return k;
  return 0;
}

} // namespace tvn
