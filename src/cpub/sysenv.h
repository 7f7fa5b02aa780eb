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
  int32_t cpucode = 0;        // internal processor code, 0 unknown
  int32_t sizel1 = -1;        // bytes, -1 unknown
  int32_t sizel2 = -1;        // bytes, -1 unknown
  int32_t numcores = -1;      // -1 not yet counted
  bool has_sse2 = false, has_sse3 = false;
};

struct sysenv {
  memman* mman = nullptr;     // owned
  machinfo mach;
  void (*exithandler)(void* handle, const char* file, int line, const char* msg) = nullptr; // fatal stops
  void* exithandle = nullptr;

  // size bytes, 16-byte aligned; null only for size 0; throws out_of_memory.
  void* alloc(size_t size, const char* file, int line);
  void release(void* ptr, const char* file, int line) noexcept;
};

// Null when there is no memory. Null allocator functions mean malloc and free.
sysenv* TVN_sysenv_make(int32_t dbglevel, void* usrptr, malloc_fn mallocfn, free_fn freefn);
// ok, or leaking when blocks were left (known at debug level > 0 only). *sys becomes null.
sys_code TVN_sysenv_delete(sysenv** sys);

// Seconds since the epoch with microseconds; the one clock of the library.
double TVN_sysenv_gettime();

// For states that must not happen. Prints, calls the exit handler, and ends the process if that returns.
[[noreturn]] void TVN_sysenv_stopdbg(sysenv* sys, const char* file, int line, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

void TVN_sysenv_putexithandler(sysenv& sys, void (*fn)(void*, const char*, int, const char*), void* handle);

} // namespace tvn

// Label is the source path without ending, e.g. "src/lu/lufac".
#define TVN_ASSERT(sys, label, cond)                                                                                   \
  do {                                                                                                                 \
    if (!(cond)) ::tvn::TVN_sysenv_stopdbg((sys), (label), __LINE__, "Assertion failed: %s", #cond);                   \
  } while (0)
