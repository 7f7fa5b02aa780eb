// Detection of the processor by CPUID and of the cache sizes by the C library.
#include "tovan/machine.h"

#include <cpuid.h>
#include <cstring>
#include <unistd.h>

namespace tvn {

namespace {

// By TVN_CPU_*.
constexpr int32_t internal_codes[] = {0, 10, 1000, 1001, 10001, 20000, 5000, 10002, 30000, 1002, 2000};
constexpr int32_t num_codes = static_cast<int32_t>(sizeof internal_codes / sizeof internal_codes[0]);

bool is_known(int32_t code) noexcept {
  switch (code) {
  case 10:
  case 1000:
  case 1001:
  case 1002:
  case 10001:
  case 10002: return true;
  default: return false;
  }
}

struct cpu_caps {
  int32_t code = 10;
  bool sse2 = false, sse3 = false;
};

// Family 6 of Intel spans the Pentium III to the present; SSE3 parts the old ones from the Core line.
int32_t intel_code(unsigned family, bool sse2, bool sse3) noexcept {
  if (family == 15) return 1001;
  if (family != 6) return 10;
  if (sse3) return 2000;
  return sse2 ? 1002 : 1000;
}

cpu_caps detect_base() noexcept {
  cpu_caps caps;
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(0, &a, &b, &c, &d)) return caps;
  char vendor[12];
  std::memcpy(vendor, &b, 4);
  std::memcpy(vendor + 4, &d, 4);
  std::memcpy(vendor + 8, &c, 4);
  if (!__get_cpuid(1, &a, &b, &c, &d)) return caps;
  caps.sse2 = (d & bit_SSE2) != 0;
  caps.sse3 = (c & bit_SSE3) != 0;
  const unsigned family = (a >> 8) & 15U;
  if (std::strncmp(vendor, "AuthenticAMD", 12) == 0)
    caps.code = family >= 15 ? 10002 : 10001;
  else if (std::strncmp(vendor, "GenuineIntel", 12) == 0)
    caps.code = intel_code(family, caps.sse2, caps.sse3);
  return caps;
}

int32_t cache_size(int name) noexcept {
  const long size = sysconf(name);
  return size > 0 && size <= INT32_MAX ? static_cast<int32_t>(size) : -1;
}

} // namespace

void init_machine_info(machinfo& mach, int32_t code, int32_t sizel1, int32_t sizel2) noexcept {
  mach.cpucode = code;
  mach.sizel1 = sizel1;
  mach.sizel2 = sizel2;
  if (is_known(code) && sizel1 >= 1 && sizel2 >= 1) return;
  const cpu_caps caps = detect_base();
  if (!is_known(code)) mach.cpucode = caps.code;
  if (sizel1 < 0) mach.sizel1 = cache_size(_SC_LEVEL1_DCACHE_SIZE);
  if (sizel2 < 0) mach.sizel2 = cache_size(_SC_LEVEL2_CACHE_SIZE);
  mach.has_sse2 = caps.sse2;
  mach.has_sse3 = caps.sse3;
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
