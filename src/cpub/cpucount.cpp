// Counting logical processors, cores and packages by the APIC ids of the processors. See machinfo.h.
//
// The id of a processor reads, from its lowest bit up: thread within the core, core within the package, package. It can
// be read on the processor itself only, so the thread binds itself to each in turn and is set free again by the
// destructor of its binding, whatever happens. Cost: one migration per processor.
#include "cpub/machinfo.h"

#include <algorithm>
#include <bit>
#include <cpuid.h>
#include <cstring>
#include <sched.h>
#include <unistd.h>

namespace tvn {

namespace {

constexpr long maxprocessors = 8192; // the largest number that a Linux kernel can be built for

// The processors that the calling thread may use, kept to be restored.
struct affinity {
  cpu_set_t sets[maxprocessors / CPU_SETSIZE];
  bool known;

  affinity() noexcept : sets{}, known(sched_getaffinity(0, sizeof sets, sets) == 0) {}
  ~affinity() {
    if (known) sched_setaffinity(0, sizeof sets, sets);
  }
  affinity(const affinity&) = delete;
  affinity& operator=(const affinity&) = delete;
  bool allows(long cpu) const noexcept { return CPU_ISSET_S(static_cast<size_t>(cpu), sizeof sets, sets) != 0; }
};

bool bind_to(long cpu) noexcept {
  cpu_set_t sets[maxprocessors / CPU_SETSIZE] = {};
  CPU_SET_S(static_cast<size_t>(cpu), sizeof sets, sets);
  if (sched_setaffinity(0, sizeof sets, sets) != 0) return false;
  sleep(0); // lets the scheduler move us
  return true;
}

// Widths of the two lower parts of an id; wide ids come from leaf 11, which also knows the widths.
struct id_layout {
  bool wide = false;
  int32_t threadwidth = 0, corewidth = 0;
};

uint32_t MaxLogicalProcPerPhysicalProc(const cpu_base& b) noexcept {
  return static_cast<uint32_t>(GetCPUCaps(b, cpu_query::numlogical));
}

uint32_t MaxCorePerPhysicalProc(const cpu_base& b) noexcept {
  uint32_t r[4] = {};
  const bool amd = GetCPUCaps(b, cpu_query::vendor) == 2;
  if (amd && b.maxextended >= 0x80000008 && __get_cpuid(0x80000008, &r[0], &r[1], &r[2], &r[3]))
    return (r[2] & 255) + 1;
  if (!amd && b.maxleaf >= 4 && __get_cpuid_count(4, 0, &r[0], &r[1], &r[2], &r[3])) return (r[0] >> 26) + 1;
  return 1;
}

id_layout read_layout(const cpu_base& b) noexcept {
  id_layout l;
  uint32_t t[4] = {}, p[4] = {};
  l.wide = b.maxleaf >= 11 && __get_cpuid_count(11, 0, &t[0], &t[1], &t[2], &t[3]) && t[1] != 0 &&
           __get_cpuid_count(11, 1, &p[0], &p[1], &p[2], &p[3]) && p[1] != 0;
  if (l.wide) {
    l.threadwidth = static_cast<int32_t>(t[0] & 31);
    l.corewidth = std::max(0, static_cast<int32_t>(p[0] & 31) - l.threadwidth);
    return l;
  }
  const uint32_t cores = MaxCorePerPhysicalProc(b);
  l.threadwidth = find_maskwidth(std::max(1u, MaxLogicalProcPerPhysicalProc(b) / cores));
  l.corewidth = find_maskwidth(cores);
  return l;
}

uint32_t GetAPIC_ID(const id_layout& l) noexcept {
  uint32_t r[4] = {};
  if (l.wide) return __get_cpuid_count(11, 0, &r[0], &r[1], &r[2], &r[3]), r[3];
  return __get_cpuid(1, &r[0], &r[1], &r[2], &r[3]), r[1] >> 24;
}

} // namespace

int32_t find_maskwidth(uint32_t count) noexcept {
  return count <= 1 ? 0 : static_cast<int32_t>(std::bit_width(count - 1));
}

uint32_t GetNzbSubID(uint32_t id, int32_t width, int32_t shift) noexcept {
  return static_cast<uint32_t>(uint64_t{id} >> shift & ((uint64_t{1} << width) - 1));
}

void count_processors(std::span<uint32_t> ids, int32_t threadwidth, int32_t corewidth, int32_t& cores,
                      int32_t& physical) noexcept {
  std::sort(ids.begin(), ids.end());
  cores = physical = 0;
  for (size_t k = 0; k < ids.size(); k++) {
    const auto differs = [&](int32_t shift) {
      return k == 0 || GetNzbSubID(ids[k], 32, shift) != GetNzbSubID(ids[k - 1], 32, shift);
    };
    cores += differs(threadwidth);
    physical += differs(threadwidth + corewidth);
  }
}

cpu_count_code TVN_CPUCount(int32_t& logical, int32_t& cores, int32_t& physical) noexcept {
  logical = cores = physical = 1;
  const long configured = sysconf(_SC_NPROCESSORS_CONF);
  const affinity old;
  if (configured < 1 || configured > maxprocessors || !old.known) return cpu_count_code::failed;
  for (long cpu = 0; cpu < configured; cpu++)
    if (!old.allows(cpu)) return cpu_count_code::restricted;
  const id_layout layout = read_layout(detect_base());
  uint32_t ids[maxprocessors];
  for (long cpu = 0; cpu < configured; cpu++) {
    if (!bind_to(cpu)) return cpu_count_code::failed;
    ids[cpu] = GetAPIC_ID(layout);
  }
  count_processors({ids, static_cast<size_t>(configured)}, layout.threadwidth, layout.corewidth, cores, physical);
  logical = static_cast<int32_t>(configured);
  return cpu_count_code::ok;
}

int32_t TVN_sysenv_getnumcores(machinfo& mach) noexcept {
  if (mach.numcores > 0) return mach.numcores;
  int32_t logical = 1, cores = 1, physical = 1;
  (void)TVN_CPUCount(logical, cores, physical);
  mach.numcores = cores > 0 ? cores : logical;
  return mach.numcores;
}

} // namespace tvn
