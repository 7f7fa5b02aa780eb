// System environment: what stands between the library and the machine. One for the environment, one for each task.
//
// Carries the memory manager, the fatal stop and the machine information. All memory of the library is taken through
// alloc(), which never returns null for a size above zero: it throws out_of_memory, which src/tovan turns into the one
// response code for it at the border. Nothing else is thrown.
#pragma once

#include "cpub/memman.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <exception>

namespace tvn {

// Thrown by sysenv::alloc; caught at the border of the interface only.
struct out_of_memory final : std::exception {
  const char* what() const noexcept override { return "out of memory"; }
};

enum class sys_code : int32_t {
  ok = 0,
  space = 1,
  file_open = 2,
  file_read = 3,
  end_of_file = 4,
  file_write = 5,
  internal = 6,
  leaking = 7,
  invalid_file_name = 8,
};

struct machinfo {
  int32_t cpucode = 0;   // internal processor code, 0 unknown
  int32_t sizel1 = -1;   // bytes, -1 unknown
  int32_t sizel2 = -1;   // bytes, -1 unknown
  int32_t numcores = -1; // -1 not yet counted
  bool has_sse2 = false, has_sse3 = false;
};

enum class timer_kind : int32_t { system = 0, wallclock = 1 };

struct sysenv {
  memman* mman = nullptr; // owned
  machinfo mach;
  timer_kind timer = timer_kind::system; // the clock of TVN_sysenv_gettimer
  void (*exithandler)(void* handle, const char* file, int line, const char* msg) = nullptr; // fatal stops
  void* exithandle = nullptr;

  // size bytes, 16-byte aligned; null only for size 0; throws out_of_memory.
  void* alloc(size_t size, const char* file, int line);
  void release(void* ptr, const char* file, int line) noexcept;
};

// Null when there is no memory. Null allocator functions mean malloc and free. multithread: several threads may
// allocate at a time.
sysenv* TVN_sysenv_make(int32_t dbglevel, void* usrptr, malloc_fn mallocfn, free_fn freefn, bool multithread = false);
// ok, or leaking when blocks were left (known at debug level > 0 only). *sys becomes null.
sys_code TVN_sysenv_delete(sysenv** sys);

// The calls of the memory manager for the owner of a sysenv; file and line are the caller's place.
inline void* TVN_sysenv_mallocdbg(sysenv& sys, size_t size, const char* file, int line) {
  return TVN_memman_malloc(*sys.mman, size, file, line);
}
inline void* TVN_sysenv_callocdbg(sysenv& sys, size_t num, size_t size, const char* file, int line) {
  return TVN_memman_calloc(*sys.mman, num, size, file, line);
}
inline void* TVN_sysenv_reallocdbg(sysenv& sys, void* ptr, size_t oldsize, size_t size, const char* file, int line) {
  return TVN_memman_realloc(*sys.mman, ptr, oldsize, size, file, line);
}
inline char* TVN_sysenv_strdupdbg(sysenv& sys, const char* text, const char* file, int line) {
  return TVN_memman_strdup(*sys.mman, text, file, line);
}
inline void TVN_sysenv_freedbg(sysenv& sys, void* ptr, const char* file, int line) {
  TVN_memman_free(*sys.mman, ptr, file, line);
}
inline void TVN_sysenv_checkptrdbg(sysenv& sys, const void* ptr, const char* file, int line) {
  TVN_memman_checkptr(*sys.mman, ptr, file, line);
}
inline void TVN_sysenv_checkrangedbg(sysenv& sys, const void* ptr, size_t size, const char* file, int line) {
  TVN_memman_checkrange(*sys.mman, ptr, size, file, line);
}
inline size_t TVN_sysenv_scanmemdbg(sysenv& sys, const char* file, int line) {
  return TVN_memman_scanmem(*sys.mman, file, line);
}

// Counts at the 32-bit forms of the interface. The narrowing ones answer whether the value fits and leave `to` alone
// if it does not.
constexpr bool TVN_sysenv_isint32(int64_t value) { return value >= INT32_MIN && value <= INT32_MAX; }
constexpr bool TVN_sysenv_int64to32(int64_t value, int32_t& to) {
  if (TVN_sysenv_isint32(value)) to = static_cast<int32_t>(value);
  return TVN_sysenv_isint32(value);
}
constexpr bool TVN_sysenv_ptrdifftoint32(ptrdiff_t value, int32_t& to) { return TVN_sysenv_int64to32(value, to); }

// Seconds since the epoch with microseconds; the one clock of the library. cpub/timer.h has the others.
double TVN_sysenv_gettime();

// For states that must not happen. Prints, calls the exit handler, and ends the process if that returns.
[[noreturn]] void TVN_sysenv_stopdbg(sysenv* sys, const char* file, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

// Stops when the condition is false; the second is its twin for space that the caller has measured before.
void TVN_sysenv_assertdbg(sysenv* sys, const char* file, int line, bool cond, const char* condtext);
void TVN_sysenv_assertspcdbg(sysenv* sys, const char* file, int line, int64_t needed, int64_t space);

void TVN_sysenv_putexithandler(sysenv& sys, void (*fn)(void*, const char*, int, const char*), void* handle);

} // namespace tvn

// Label is the source path without ending, e.g. "src/lu/lufac".
#define TVN_ASSERT(sys, label, cond)                                                                                   \
  do {                                                                                                                 \
    if (!(cond)) ::tvn::TVN_sysenv_stopdbg((sys), (label), __LINE__, "Assertion failed: %s", #cond);                   \
  } while (0)
