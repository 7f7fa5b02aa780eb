// Memory manager: the list of guarded blocks behind the thin pass.
//
// A block of the caller's `size` bytes lies between two guards of 8 bytes; byte k of a guard holds its start byte plus
// k. The record is a separate allocation, so that a stray write into a block does not destroy the list.
// Cost: level 0 adds a counter and a branch to malloc; above that free walks the list from the newest block.
#include "cpub/memman.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>

namespace tvn {

struct memblock {
  uint64_t number;
  size_t size;              // bytes of the caller
  unsigned char* mem;       // size + 16 bytes, guards included
  unsigned char beg, end;   // start bytes of the two guards
  memblock *next, *prev;
};

namespace {

constexpr size_t guardsize = 8;
constexpr unsigned char guardstart = 0x20;

void* defaultmalloc(void*, size_t size) { return std::malloc(size); }
void defaultfree(void*, void* block) { std::free(block); }

struct scoped_lock {
  memman& m;
  explicit scoped_lock(memman& mm) : m(mm) {
    if (m.multithread) pthread_mutex_lock(&m.mutex);
  }
  ~scoped_lock() {
    if (m.multithread) pthread_mutex_unlock(&m.mutex);
  }
  scoped_lock(const scoped_lock&) = delete;
  scoped_lock& operator=(const scoped_lock&) = delete;
};

// Writes a report line to the echo file, and to the echo function if the print level is above `level`.
[[gnu::format(printf, 3, 4)]] void report(memman& m, int32_t level, const char* fmt, ...) {
  char text[1024];
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(text, sizeof text, fmt, args);
  va_end(args);
  if (m.echofile) {
    std::fputs(text, m.echofile);
    std::fflush(m.echofile);
  }
  if (m.echofn && m.prlev > level) m.echofn(m.echohandle, text);
}

[[noreturn]] void fatal(memman& m, const char* file, int line, const char* msg) {
  report(m, -1, "Fatal error in file '%s(%d)'\n", file, line);
  report(m, -1, "Message(%s): %s\n", m.name, msg);
  if (m.stopfn) m.stopfn(m.stophandle, file, line, msg);
  std::abort();
}

void fillguard(unsigned char* g, unsigned char start) {
  for (size_t k = 0; k < guardsize; k++) g[k] = static_cast<unsigned char>(start + k);
}

// Reports the first bad byte of each guard; returns the number of bad guards.
size_t checkblock(memman& m, const memblock& b) {
  size_t faults = 0;
  const struct { const char* word; const unsigned char* g; unsigned char start; } sides[] = {
      {"begin", b.mem, b.beg}, {"end", b.mem + guardsize + b.size, b.end}};
  for (const auto& s : sides)
    for (size_t k = 0; k < guardsize; k++) {
      const auto want = static_cast<unsigned char>(s.start + k);
      if (s.g[k] == want) continue;
      report(m, -1, "*** Block %s guard violation. #%llu at %p. pos: %u expected: %u got %u\n", s.word,
             static_cast<unsigned long long>(b.number), static_cast<const void*>(b.mem + guardsize),
             static_cast<unsigned>(k), static_cast<unsigned>(want), static_cast<unsigned>(s.g[k]));
      faults++;
      break;
    }
  return faults;
}

void* listedmalloc(memman& m, size_t size, const char* file, int line) {
  scoped_lock lock(m);
  if (size == 0) {
    report(m, 5, "Allocted (%s)   a zero block in file '%s(%d)'.\n", m.name, file, line);
    return nullptr;
  }
  auto* rec = static_cast<memblock*>(m.mallocfn(m.usrptr, sizeof(memblock)));
  void* mem = rec && size <= SIZE_MAX - 2 * guardsize ? m.mallocfn(m.usrptr, size + 2 * guardsize) : nullptr;
  if (!mem) {
    if (rec) m.freefn(m.usrptr, rec);
    report(m, 1, "Out of space while trying to allocate a block of size %llu in file '%s(%llu)'\n",
           static_cast<unsigned long long>(size), file, static_cast<unsigned long long>(line));
    return nullptr;
  }
  *rec = memblock{m.nextnumber++, size, static_cast<unsigned char*>(mem), guardstart, guardstart, m.first, nullptr};
  fillguard(rec->mem, rec->beg);
  fillguard(rec->mem + guardsize + size, rec->end);
  if (m.first) m.first->prev = rec;
  m.first = rec;
  m.curusage += size;
  if (m.curusage > m.maxusage) m.maxusage = m.curusage;
  report(m, 5, "Allocated(%s)   # %-6u at %-10p of size %-llu (%-llu) in file '%s(%d)'.\n", m.name,
         static_cast<unsigned>(rec->number), static_cast<void*>(rec->mem + guardsize),
         static_cast<unsigned long long>(size), static_cast<unsigned long long>(m.curusage), file, line);
  return rec->mem + guardsize;
}

void unlinkblock(memman& m, memblock* b) {
  if (b->prev) b->prev->next = b->next;
  else m.first = b->next;
  if (b->next) b->next->prev = b->prev;
  m.curusage -= b->size;
  m.freefn(m.usrptr, b->mem);
  m.freefn(m.usrptr, b);
}

void listedfree(memman& m, void* ptr, const char* file, int line) {
  scoped_lock lock(m);
  memblock* b = m.first;
  while (b && b->mem + guardsize != ptr) b = b->next;
  if (!b) {
    report(m, -1, "Block %p cannot be deallocated because it is not in the allocation list.\n", ptr);
    fatal(m, file, line, "Invalid pointer");
  }
  checkblock(m, *b);
  report(m, 5, "Deallocated(%s) #%-6llu at %-10p of size %-llu (%-llu) in file '%s(%d)'\n", m.name,
         static_cast<unsigned long long>(b->number), ptr, static_cast<unsigned long long>(b->size),
         static_cast<unsigned long long>(m.curusage), file, line);
  unlinkblock(m, b);
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
  std::strcpy(m->name, "memman");
  std::strcpy(m->endguard, "end");
  m->usrptr = usrptr;
  m->mallocfn = mallocfn;
  m->freefn = freefn;
  m->dbglevel = dbglevel;
  m->multithread = multithread;
  if (multithread && pthread_mutex_init(&m->mutex, nullptr) != 0) {
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
    report(*m, -1, "Deleting mem manager. Scanning memory\n");
    TVN_memman_scanmem(*m, file, line);
    report(*m, -1, "Checking leaks\n");
    if (m->first) report(*m, -1, "**** ALLOCATED  BLOCKS LEFT\n");
    while (m->first) {
      report(*m, -1, "#%-llu at %p is allocated\n", static_cast<unsigned long long>(m->first->number),
             static_cast<void*>(m->first->mem + guardsize));
      unlinkblock(*m, m->first);
      left++;
    }
    report(*m, -1, "Done checking leaks\n");
  }
  if (m->exitfn) m->exitfn(m->exithandle);
  if (m->echofile) std::fclose(m->echofile);
  if (m->multithread) pthread_mutex_destroy(&m->mutex);
  m->freefn(m->usrptr, m);
  *mman = nullptr;
  return left;
}

void* TVN_memman_malloc(memman& m, size_t size, const char* file, int line) {
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
  void* p = TVN_memman_malloc(m, size, file, line);
  if (p && ptr) std::memcpy(p, ptr, oldsize < size ? oldsize : size);
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

void TVN_memman_free(memman& m, void* ptr, const char* file, int line) {
  if (!ptr) return;
  if (m.dbglevel > 0) listedfree(m, ptr, file, line);
  else m.freefn(m.usrptr, ptr);
}

size_t TVN_memman_scanmem(memman& m, const char* file, int line) {
  if (m.dbglevel <= 0) return 0;
  scoped_lock lock(m);
  size_t faults = 0, blocks = 0;
  report(m, -1, "Scanning memory at '%s'(%d)\n", file, line);
  if (std::strcmp(m.begguard, "begin") != 0 || std::strcmp(m.endguard, "end") != 0) {
    report(m, -1, "begin guard of mman: %p\n", static_cast<void*>(&m));
    faults++;
  }
  for (memblock* b = m.first; b; b = b->next, blocks++) faults += checkblock(m, *b);
  report(m, -1, "Space usage. Number of blocks: %llu  Current usage: %llu Maximum usage: %llu\n",
         static_cast<unsigned long long>(blocks), static_cast<unsigned long long>(m.curusage),
         static_cast<unsigned long long>(m.maxusage));
  return faults;
}

bool TVN_memman_getmemusage(memman& m, size_t& maxused, size_t& current) {
  const bool known = m.dbglevel > 0;
  maxused = known ? m.maxusage : 0;
  current = known ? m.curusage : 0;
  return known;
}

bool TVN_memman_openfile(memman& m, const char* filename, const char* title) {
  m.echofile = std::fopen(filename, "w");
  if (m.echofile && title) std::fprintf(m.echofile, "%s\n", title);
  return m.echofile != nullptr;
}

void TVN_memman_echo(memman& m, const char* text) { report(m, -1, "%s", text); }

} // namespace tvn
