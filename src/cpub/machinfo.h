// What the library knows of the processor: its class, its caches, its instruction sets and how many there are.
//
// Classes run from the 486 to the Core line; a class gives a processor id, an id gives the internal code by which the
// kernels choose between their generic and their tuned build. Nothing is remembered between calls: detect_base reads
// all that is asked for in a few CPUID instructions, and the result lives in the machine record of the sysenv.
#pragma once

#include "cpub/sysenv.h"

#include <span>

namespace tvn {

// The answers of CPUID that the queries need. Zero for leaves that the processor does not have.
struct cpu_base {
  char vendor[13] = {};     // "GenuineIntel", "AuthenticAMD", ...
  char brand[49] = {};      // the maker's name of the model
  uint32_t maxleaf = 0;     // highest basic leaf
  uint32_t maxextended = 0; // highest extended leaf
  uint32_t signature = 0;   // leaf 1 eax: family, model, stepping
  uint32_t counts = 0;      // leaf 1 ebx: logical processors in bits 16 to 23
  uint32_t features = 0;    // leaf 1 edx
  uint32_t features2 = 0;   // leaf 1 ecx
  uint32_t amdl1 = 0;       // leaf 0x80000005 ecx
  uint32_t extl2 = 0;       // leaf 0x80000006 ecx
};

enum class cpu_query : int32_t {
  vendor = 0,      // 0 others, 1 Intel, 2 AMD
  class_ = 1,      // 1 .. 23, 0 unknown
  sse2 = 29,       // 0 or 1
  sse3 = 30,       // 0 or 1
  sizel1 = 40,     // bytes of the first data cache, -1 unknown
  sizel2 = 48,     // bytes, -1 unknown
  numlogical = 60, // logical processors in the package, at least 1
};

cpu_base detect_base() noexcept;
int32_t GetCPUCaps(const cpu_base& base, cpu_query query) noexcept;

// The steps of the mapping, for those who have a class or an id from elsewhere.
int32_t class2processor(int32_t cpuclass) noexcept;
int32_t processor2code(int32_t processor) noexcept;

struct sysinfo {
  int32_t processor = 0; // id by class2processor
  int32_t sizel1 = -1, sizel2 = -1, numlogical = 1;
  bool has_sse2 = false, has_sse3 = false;
};
void TVN_sysenv_getsysinfo(sysinfo& info) noexcept;

// code: internal processor code or 0; one that does not belong to this kind of machine is replaced by the detected one,
// and a negative cache size by the detected size. A cache size of 0 starts the detection and yet stays 0: it says "no
// such cache" to the kernels.
void TVN_sysenv_initmachinfo(machinfo& mach, int32_t code, int32_t sizel1, int32_t sizel2) noexcept;

enum class cpu_count_code : int32_t { ok = 0, failed = 1, restricted = 8 };

// Logical processors, cores and packages. The calling thread visits each processor and is brought back to where it was
// allowed to run. restricted: this process may not use them all, and the counts stay at their start value 1. One
// thread at a time.
cpu_count_code TVN_CPUCount(int32_t& logical, int32_t& cores, int32_t& physical) noexcept;
// Number of cores, at least 1; counted at the first call for this record.
int32_t TVN_sysenv_getnumcores(machinfo& mach) noexcept;

// Bits that number `count` things: 0 for 1, 1 for 2, 2 for 3 and 4, ...
int32_t find_maskwidth(uint32_t count) noexcept;
// `width` bits of an id above its lowest `shift`.
uint32_t GetNzbSubID(uint32_t id, int32_t width, int32_t shift) noexcept;
// An id is package, core, thread from the top bit down. Counts the different parts; sorts the ids.
void count_processors(std::span<uint32_t> ids, int32_t threadwidth, int32_t corewidth, int32_t& cores,
                      int32_t& physical) noexcept;

} // namespace tvn
