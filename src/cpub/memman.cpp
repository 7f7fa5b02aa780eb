// Memory manager: making and deleting one, and the list of guarded blocks behind the thin pass.
//
// The record of a block is a separate allocation, so that a stray write into a block does not destroy the list.
// Cost: level 0 adds a counter and a branch to malloc; above that free walks the list from the newest block.
#include "cpub/memman.h"

#include "cpub/memmanint.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace tvn {

namespace {

constexpr unsigned char guardstart = 0x20;

void* defaultmalloc(void*, size_t size) { return std::malloc(size); }
void defaultfree(void*, void* block) { std::free(block); }

void* listedmalloc(memman& m, size_t size, const char* file, int line) {
  if (size == 0) {
    mem_report(m, 5, "Allocted (%s)   a zero block in file '%s(%d)'.\n", m.name, file, line);
    return nullptr;
  }
  auto* rec = static_cast<memblock*>(m.mallocfn(m.usrptr, sizeof(memblock)));
  void* mem = rec && size <= SIZE_MAX - mem_extra ? m.mallocfn(m.usrptr, size + mem_extra) : nullptr;
  if (!mem) {
    if (rec) m.freefn(m.usrptr, rec);
    mem_report(m, 1, "Out of space while trying to allocate a block of size %llu in file '%s(%llu)'",
               static_cast<unsigned long long>(size), file, static_cast<unsigned long long>(line));
    return nullptr;
  }
  *rec = memblock{.number = m.nextnumber++,
                  .locked = false,
                  .digest = {},
                  .size = size,
                  .mem = static_cast<unsigned char*>(mem),
                  .beg = guardstart,
                  .end = guardstart,
                  .next = m.first,
                  .prev = nullptr};
  mem_fillguards(*rec);
  if (m.first) m.first->prev = rec;
  m.first = rec;
  m.curusage += size;
  m.maxusage = std::max(m.maxusage, m.curusage);
  char bytes[24], usage[24];
  mem_report(m, 5, "Allocated(%s)   # %-6u at %-10p of size %-s (%-s) in file '%s(%d)'.", m.name,
             static_cast<unsigned>(rec->number), static_cast<void*>(rec->user()), TVN_sizettostr(size, bytes),
             TVN_sizettostr(m.curusage, usage), file, line);
  return rec->user();
}

void unlinkblock(memman& m, memblock* b) {
  if (b->prev)
    b->prev->next = b->next;
  else
    m.first = b->next;
  if (b->next) b->next->prev = b->prev;
  m.curusage -= b->size;
  m.freefn(m.usrptr, b->mem);
  m.freefn(m.usrptr, b);
}

// The block that starts at ptr; ends the process when there is none.
memblock* listedblock(memman& m, const void* ptr, const char* file, int line) {
  memblock* b = mem_findstart(m, ptr);
  if (b) return b;
  mem_report(m, -1, "Block %p cannot be deallocated because it is not in the allocation list.\n", ptr);
  mem_fatal(m, file, line, "Invalid pointer");
}

void listedfree(memman& m, memblock* b, const char* file, int line) {
  memman_checkblock(m, *b, file, line);
  char bytes[24], usage[24];
  mem_report(m, 5, "Deallocated(%s) #%-6llu at %-10p of size %-s (%-s) in file '%s(%d)'\n", m.name,
             static_cast<unsigned long long>(b->number), static_cast<void*>(b->user()), TVN_sizettostr(b->size, bytes),
             TVN_sizettostr(m.curusage, usage), file, line);
  unlinkblock(m, b);
}

size_t report_leaks(memman& m) {
  size_t left = 0;
  mem_report(m, -1, "Checking leaks\n");
  if (m.first) mem_report(m, -1, "**** ALLOCATED  BLOCKS LEFT\n");
  while (m.first) {
    mem_report(m, -1, "#%-llu at %p is allocated\n", static_cast<unsigned long long>(m.first->number),
               static_cast<void*>(m.first->user()));
    unlinkblock(m, m.first);
    left++;
  }
  mem_report(m, -1, "Done checking leaks\n");
  return left;
}

// Recursive: lines are echoed under the lock, and a function of the user that hears them may take memory.
bool make_mutex(pthread_mutex_t& mutex) noexcept {
  pthread_mutexattr_t attr;
  if (pthread_mutexattr_init(&attr) != 0) return false;
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  const bool made = pthread_mutex_init(&mutex, &attr) == 0;
  pthread_mutexattr_destroy(&attr);
  return made;
}

} // namespace

memman* TVN_memman_make(const char*, int, int32_t dbglevel, bool multithread, void* usrptr, malloc_fn mallocfn,
                        free_fn freefn) {
  if (!mallocfn || !freefn) {
    mallocfn = defaultmalloc;
    freefn = defaultfree;
  }
  void* mem = mallocfn(usrptr, sizeof(memman));
  if (!mem) return nullptr;
  auto* m = new (mem) memman{};
  std::strcpy(m->begguard, "begin");
  std::strcpy(m->endguard, "end");
  TVN_memman_putname(*m, "memman");
  m->usrptr = usrptr;
  m->mallocfn = mallocfn;
  m->freefn = freefn;
  m->dbglevel = dbglevel;
  m->multithread = multithread;
  m->plain = dbglevel <= 0 && !multithread && mallocfn == defaultmalloc;
  if (multithread && !make_mutex(m->mutex)) {
    freefn(usrptr, m);
    return nullptr;
  }
  return m;
}

size_t TVN_memman_delete(const char* file, int line, memman** mman) {
  memman* m = *mman;
  if (!m) return 0;
  size_t left = 0;
  if (m->dbglevel > 0) {
    mem_report(*m, -1, "Deleting mem manager. Scanning memory\n");
    mem_scan(*m, file, line);
    left = report_leaks(*m);
  }
  if (m->exitfn) m->exitfn(m->exithandle);
  if (m->echofile) std::fclose(m->echofile);
  if (m->multithread) pthread_mutex_destroy(&m->mutex);
  m->freefn(m->usrptr, m);
  *mman = nullptr;
  return left;
}

void* mem_malloc(memman& m, size_t size, const char* file, int line) {
  const mem_lock lock(m);
  m.numrequests++;
  if (m.dbglevel > 0) return listedmalloc(m, size, file, line);
  return size ? m.mallocfn(m.usrptr, size) : nullptr;
}

void* TVN_memman_calloc(memman& m, size_t num, size_t size, const char* file, int line) {
  size_t total = 0;
  if (__builtin_mul_overflow(num, size, &total)) return nullptr;
  void* p = TVN_memman_malloc(m, total, file, line);
  if (p) std::memset(p, 0, total);
  return p;
}

void* TVN_memman_realloc(memman& m, void* ptr, size_t oldsize, size_t size, const char* file, int line) {
  if (ptr && m.dbglevel > 0) {
    const mem_lock lock(m);
    oldsize = std::min(oldsize, listedblock(m, ptr, file, line)->size);
  }
  void* p = TVN_memman_malloc(m, size, file, line);
  if (p && ptr) std::memcpy(p, ptr, std::min(oldsize, size));
  if (p || size == 0) TVN_memman_free(m, ptr, file, line);
  return p;
}

char* TVN_memman_strdup(memman& m, const char* text, const char* file, int line) {
  if (!text) return nullptr;
  const size_t n = std::strlen(text) + 1;
  auto* p = static_cast<char*>(TVN_memman_malloc(m, n, file, line));
  if (p) std::memcpy(p, text, n);
  return p;
}

void mem_free(memman& m, void* ptr, const char* file, int line) {
  if (!ptr) return;
  const mem_lock lock(m);
  if (m.dbglevel > 0)
    listedfree(m, listedblock(m, ptr, file, line), file, line);
  else
    m.freefn(m.usrptr, ptr);
}

bool TVN_memman_getmemusage(memman& m, size_t& maxused, size_t& current) {
  const mem_lock lock(m);
  const bool known = m.dbglevel > 0;
  maxused = known ? m.maxusage : 0;
  current = known ? m.curusage : 0;
  return known;
}

void TVN_memman_putname(memman& m, const char* name) { std::snprintf(m.name, sizeof m.name, "%s", name); }

void TVN_memman_putechofunc(memman& m, void* handle, void (*fn)(void*, const char*)) {
  m.echofn = fn;
  m.echohandle = handle;
}

void TVN_memman_putexitfunc(memman& m, void* handle, void (*fn)(void*)) {
  m.exitfn = fn;
  m.exithandle = handle;
}

bool TVN_memman_openfile(memman& m, const char* filename, const char* title) {
  if (m.echofile) std::fclose(m.echofile);
  m.echofile = std::fopen(filename, "w");
  if (m.echofile && title) std::fprintf(m.echofile, "%s\n", title);
  return m.echofile != nullptr;
}

void TVN_memman_echotofile(memman& m, const char* text) {
  if (!m.echofile) return;
  std::fputs(text, m.echofile);
  std::fflush(m.echofile);
}

void TVN_memman_echo(memman& m, const char* text) { mem_report(m, -1, "%s", text); }

} // namespace tvn
