// What the two halves of the memory manager share: the block record, the lock and the report lines.
//
// memory of a block:   8 bytes of padding | begin guard, 8 | the caller's bytes | end guard, 8
//
// The padding keeps the caller's address at a multiple of 16, as malloc gives it and as SSE loads need it; the guard
// alone would shift it by 8. All functions here expect the manager's mutex to be held.
#pragma once

#include "cpub/md5.h"
#include "cpub/memman.h"

namespace tvn {

constexpr size_t mem_guardsize = 8;
constexpr size_t mem_lead = 16;                        // padding and begin guard
constexpr size_t mem_extra = mem_lead + mem_guardsize; // bytes beside the caller's

struct memblock {
  uint64_t number;
  bool locked;
  md5_digest digest;      // of the caller's bytes when the block was locked
  size_t size;            // bytes of the caller
  unsigned char* mem;     // size + mem_extra bytes
  unsigned char beg, end; // start bytes of the two guards
  memblock *next, *prev;

  unsigned char* user() const noexcept { return mem + mem_lead; }
};

struct mem_lock {
  memman& m;
  explicit mem_lock(memman& mm) : m(mm) {
    if (m.multithread) pthread_mutex_lock(&m.mutex);
  }
  ~mem_lock() {
    if (m.multithread) pthread_mutex_unlock(&m.mutex);
  }
  mem_lock(const mem_lock&) = delete;
  mem_lock& operator=(const mem_lock&) = delete;
};

// Writes a line to the echo file, and to the echo function at a print level above `level`; ends it if it does not.
void mem_report(memman& m, int32_t level, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
[[noreturn]] void mem_fatal(memman& m, const char* file, int line, const char* msg);

void mem_fillguards(const memblock& b) noexcept;
memblock* mem_findstart(memman& m, const void* ptr) noexcept;              // the block that starts at ptr, or null
memblock* mem_findrange(memman& m, const void* ptr, size_t size) noexcept; // the block that holds the range, or null
// Reports bad guards and a changed locked block; the number of faults.
size_t memman_checkblock(memman& m, const memblock& b, const char* file, int line);
size_t mem_scan(memman& m, const char* file, int line);

} // namespace tvn
