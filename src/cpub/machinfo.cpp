// The processor by CPUID: class, instruction sets, caches. See machinfo.h.
//
// Tables by family and model end with the processors of their time. A newer one is put into the class of the tuned
// kernels when it has what those use, SSE2 and SSE3: any Intel of family 6 behind the Core 2 models or of an extended
// family, any AMD of an extended family, and any maker that we do not know. Its true name stays in `brand`.
// Source: the CPUID manuals of both makers.
#include "cpub/machinfo.h"

#include <algorithm>
#include <cpuid.h>
#include <cstring>
#include <unistd.h>

namespace tvn {

namespace {

constexpr uint32_t bit_logical = 1u << 28; // leaf 1 edx: the count of logical processors means something
constexpr int32_t class_tuned = 21;        // Pentium 4, whose kernels are built for SSE2
constexpr int32_t class_core2 = 23;

bool read_leaf(uint32_t leaf, uint32_t subleaf, uint32_t (&r)[4]) noexcept {
  return __get_cpuid_count(leaf, subleaf, &r[0], &r[1], &r[2], &r[3]) != 0;
}

bool is_intel(const cpu_base& b) noexcept { return std::strncmp(b.vendor, "GenuineIntel", 12) == 0; }
bool is_amd(const cpu_base& b) noexcept { return std::strncmp(b.vendor, "AuthenticAMD", 12) == 0; }
bool has_sse2(const cpu_base& b) noexcept { return (b.features & bit_SSE2) != 0; }
bool has_sse3(const cpu_base& b) noexcept { return (b.features2 & bit_SSE3) != 0; }

uint32_t base_family(const cpu_base& b) noexcept { return (b.signature >> 8) & 15; }
uint32_t base_model(const cpu_base& b) noexcept { return (b.signature >> 4) & 15; }
uint32_t extended_family(const cpu_base& b) noexcept { return (b.signature >> 20) & 255; }
uint32_t full_model(const cpu_base& b) noexcept { return ((b.signature >> 16) & 15) << 4 | base_model(b); }

int32_t newer_class(const cpu_base& b, int32_t otherwise) noexcept {
  return has_sse2(b) && has_sse3(b) ? class_tuned : otherwise;
}

// 1 486 clones, 2 K5, 3 K6, 4 K6-2, 5 K6-III, 6 Athlon, 7 Opteron and Athlon 64.
int32_t amd_class(const cpu_base& b) noexcept {
  const uint32_t model = base_model(b);
  switch (base_family(b)) {
  case 4: return 1;
  case 5: return model <= 3 ? 2 : model <= 7 ? 3 : model == 8 ? 4 : 5;
  case 6: return 6;
  case 15: return extended_family(b) > 0 ? newer_class(b, 7) : 7;
  default: return 0;
  }
}

// 18 Pentium II, 19 and 20 Pentium III, 22 Pentium M, 23 Core 2.
int32_t intel_class6(const cpu_base& b) noexcept {
  switch (full_model(b)) {
  case 0:
  case 1: return 17; // Pentium Pro
  case 3:
  case 5:
  case 6: return 18;
  case 7: return 19;
  case 8:
  case 10:
  case 11: return 20;
  case 9:
  case 13:
  case 14: return 22;
  case 15:
  case 22:
  case 23:
  case 29: return class_core2;
  default: return newer_class(b, 20);
  }
}

// 8 to 14 the models of the 486, 15 Pentium, 16 Pentium MMX, 21 Pentium 4.
int32_t intel_class(const cpu_base& b) noexcept {
  const auto model = static_cast<int32_t>(base_model(b));
  switch (base_family(b)) {
  case 4: return 8 + std::min(model, 6);
  case 5: return model == 4 || model == 8 ? 16 : 15;
  case 6: return intel_class6(b);
  case 15: return extended_family(b) > 0 ? newer_class(b, class_tuned) : class_tuned;
  default: return 0;
  }
}

int32_t kilobytes(uint32_t kb) noexcept { return kb > 0 ? static_cast<int32_t>(std::min(kb, 2097151u) * 1024) : -1; }

// The leaf of deterministic cache parameters; type 1 is data, 3 unified. 0x8000001D has the same form for AMD.
int32_t get_cache_leaf(uint32_t leaf, uint32_t level) noexcept {
  uint32_t r[4];
  for (uint32_t k = 0; k < 16 && read_leaf(leaf, k, r); k++) {
    const uint32_t type = r[0] & 31;
    if (type == 0) break;
    if (((r[0] >> 5) & 7) != level || (type != 1 && type != 3)) continue;
    const uint64_t ways = (r[1] >> 22) + 1, parts = ((r[1] >> 12) & 1023) + 1, line = (r[1] & 4095) + 1;
    return static_cast<int32_t>(std::min<uint64_t>(ways * parts * line * (r[2] + uint64_t{1}), INT32_MAX));
  }
  return -1;
}

int32_t get_cache_intel(const cpu_base& b, uint32_t level) noexcept {
  const int32_t size = b.maxleaf >= 4 ? get_cache_leaf(4, level) : -1;
  return size < 0 && level == 2 ? kilobytes(b.extl2 >> 16) : size;
}

int32_t get_cache_amd(const cpu_base& b, uint32_t level) noexcept {
  const int32_t size = kilobytes(level == 1 ? b.amdl1 >> 24 : b.extl2 >> 16);
  return size < 0 && b.maxextended >= 0x8000001D ? get_cache_leaf(0x8000001D, level) : size;
}

// A virtual machine may hide its caches from CPUID; the C library then knows as much as there is to know.
int32_t cache_size(const cpu_base& b, uint32_t level) noexcept {
  const int32_t size = is_intel(b) ? get_cache_intel(b, level) : is_amd(b) ? get_cache_amd(b, level) : -1;
  if (size > 0) return size;
  const long known = sysconf(level == 1 ? _SC_LEVEL1_DCACHE_SIZE : _SC_LEVEL2_CACHE_SIZE);
  return known > 0 && known <= INT32_MAX ? static_cast<int32_t>(known) : -1;
}

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

void read_extended(cpu_base& b) noexcept {
  uint32_t r[4];
  b.maxextended = __get_cpuid_max(0x80000000, nullptr);
  for (uint32_t k = 0; k < 3; k++)
    if (b.maxextended >= 0x80000002 + k && read_leaf(0x80000002 + k, 0, r)) std::memcpy(b.brand + 16 * k, r, 16);
  if (b.maxextended >= 0x80000005 && read_leaf(0x80000005, 0, r)) b.amdl1 = r[2];
  if (b.maxextended >= 0x80000006 && read_leaf(0x80000006, 0, r)) b.extl2 = r[2];
}

} // namespace

cpu_base detect_base() noexcept {
  cpu_base b;
  uint32_t r[4];
  if (!read_leaf(0, 0, r)) return b;
  b.maxleaf = r[0];
  std::memcpy(b.vendor, &r[1], 4);
  std::memcpy(b.vendor + 4, &r[3], 4);
  std::memcpy(b.vendor + 8, &r[2], 4);
  if (read_leaf(1, 0, r)) {
    b.signature = r[0];
    b.counts = r[1];
    b.features2 = r[2];
    b.features = r[3];
  }
  read_extended(b);
  return b;
}

int32_t GetCPUCaps(const cpu_base& b, cpu_query query) noexcept {
  switch (query) {
  case cpu_query::vendor: return is_intel(b) ? 1 : is_amd(b) ? 2 : 0;
  case cpu_query::class_: return is_intel(b) ? intel_class(b) : is_amd(b) ? amd_class(b) : newer_class(b, 0);
  case cpu_query::sse2: return has_sse2(b);
  case cpu_query::sse3: return has_sse3(b);
  case cpu_query::sizel1: return cache_size(b, 1);
  case cpu_query::sizel2: return cache_size(b, 2);
  case cpu_query::numlogical:
    return b.features & bit_logical ? std::max(1, static_cast<int32_t>(b.counts >> 16 & 255)) : 1;
  }
  return 0;
}

int32_t class2processor(int32_t cpuclass) noexcept {
  static constexpr int32_t processors[] = {0, 15, 15, 15, 15, 15, 17, 18, 1, 1, 1, 1,
                                           1, 1,  1,  4,  4,  4,  5,  6,  6, 7, 8, 12};
  return cpuclass > 0 && cpuclass < 24 ? processors[cpuclass] : 0;
}

int32_t processor2code(int32_t processor) noexcept {
  switch (processor) {
  case 6: return 1000;
  case 7: return 1001;
  case 8: return 1002;
  case 9: return 5000;
  case 12: return 2000;
  case 17: return 10001;
  case 18: return 10002;
  case 151: return 30000;
  default: return 10;
  }
}

void TVN_sysenv_getsysinfo(sysinfo& info) noexcept {
  const cpu_base base = detect_base();
  info.processor = class2processor(GetCPUCaps(base, cpu_query::class_));
  info.sizel1 = GetCPUCaps(base, cpu_query::sizel1);
  info.sizel2 = GetCPUCaps(base, cpu_query::sizel2);
  info.numlogical = GetCPUCaps(base, cpu_query::numlogical);
  info.has_sse2 = GetCPUCaps(base, cpu_query::sse2) != 0;
  info.has_sse3 = GetCPUCaps(base, cpu_query::sse3) != 0;
}

void TVN_sysenv_initmachinfo(machinfo& mach, int32_t code, int32_t sizel1, int32_t sizel2) noexcept {
  mach.cpucode = code;
  mach.sizel1 = sizel1;
  mach.sizel2 = sizel2;
  if (is_known(code) && sizel1 >= 1 && sizel2 >= 1) return;
  sysinfo info;
  TVN_sysenv_getsysinfo(info);
  if (!is_known(code)) mach.cpucode = processor2code(info.processor);
  if (sizel1 < 0) mach.sizel1 = info.sizel1;
  if (sizel2 < 0) mach.sizel2 = info.sizel2;
  mach.has_sse2 = info.has_sse2;
  mach.has_sse3 = info.has_sse3;
}

} // namespace tvn
