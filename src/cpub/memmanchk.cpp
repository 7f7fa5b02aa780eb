// Memory manager: the checks of listed blocks, their locks and the reports.
//
// A scan costs one pass over the list and the digests of the locked blocks. A range check walks the list, newest block
// first. Faults are reported and counted; only a pointer that belongs to nobody ends the process.
#include "cpub/format.h"
#include "cpub/memmanint.h"

#include <charconv>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

namespace tvn {

namespace {

md5_digest digest_of(const memblock& b) noexcept {
  md5_state s;
  md5_digest digest;
  TVN_md5_init(s);
  TVN_md5_append(s, b.user(), b.size);
  TVN_md5_finish(s, digest);
  return digest;
}

void lock_block(memblock& b) noexcept {
  b.digest = digest_of(b);
  b.locked = true;
}

size_t check_guard(memman& m, const memblock& b, const char* word, const unsigned char* guard, unsigned char start) {
  for (size_t k = 0; k < mem_guardsize; k++) {
    const auto want = static_cast<unsigned char>(start + k);
    if (guard[k] == want) continue;
    mem_report(m, -1, "*** Block %s guard violation. #%llu at %p. pos: %u expected: %u got %u", word,
               static_cast<unsigned long long>(b.number), static_cast<void*>(b.user()), static_cast<unsigned>(k),
               static_cast<unsigned>(want), static_cast<unsigned>(guard[k]));
    return 1;
  }
  return 0;
}

size_t check_digest(memman& m, const memblock& b, const char* file, int line) {
  if (!b.locked) return 0;
  const md5_digest now = digest_of(b);
  for (size_t k = 0; k < now.size(); k++) {
    if (now[k] == b.digest[k]) continue;
    char size[24];
    mem_report(m, -1, "Locked #%-6llu at %p of size %s has been changed at '%s' %u. Digest info.: %d(%d!=%d) \n",
               static_cast<unsigned long long>(b.number), static_cast<void*>(b.user()), TVN_sizettostr(b.size, size),
               file, static_cast<unsigned>(line), static_cast<int>(k), b.digest[k], now[k]);
    return 1;
  }
  return 0;
}

// The block that holds the range; ends the process when there is none.
memblock& range_block(memman& m, const void* ptr, size_t size, const char* file, int line) {
  memblock* b = mem_findrange(m, ptr, size);
  if (b) return *b;
  char text[24];
  mem_report(m, -1, "No block in the allocation list holds %s bytes at %p.\n", TVN_sizettostr(size, text), ptr);
  mem_fatal(m, file, line, "Invalid pointer");
}

void report_usage(memman& m, int32_t level) {
  size_t blocks = 0;
  for (const memblock* b = m.first; b; b = b->next) blocks++;
  char number[24], current[24], most[24];
  mem_report(m, level, "Space usage. Number of blocks: %s  Current usage: %s Maximum usage: %s\n",
             TVN_sizettostr(blocks, number), TVN_sizettostr(m.curusage, current), TVN_sizettostr(m.maxusage, most));
}

} // namespace

void mem_report(memman& m, int32_t level, const char* fmt, ...) {
  const bool echoes = m.echofn && m.prlev > level;
  if (!m.echofile && !echoes) return;
  char text[1024];
  va_list args;
  va_start(args, fmt);
  format_textva(text, sizeof text - 1, fmt, args); // room for the newline
  va_end(args);
  const size_t len = std::strlen(text);
  if (len > 0 && text[len - 1] != '\n') std::strcpy(text + len, "\n");
  if (m.echofile) TVN_memman_echotofile(m, text);
  if (echoes) m.echofn(m.echohandle, text);
}

void mem_fatal(memman& m, const char* file, int line, const char* msg) {
  mem_report(m, -1, "Fatal error in file '%s(%d)'\n", file, line);
  mem_report(m, -1, "Message(%s): %s\n", m.name, msg);
  if (m.stopfn) m.stopfn(m.stophandle, file, line, msg);
  std::fprintf(stderr, "Fatal error in file '%s(%d)'\nMessage(%s): %s\n", file, line, m.name, msg);
  std::abort();
}

void mem_fillguards(const memblock& b) noexcept {
  unsigned char* begin = b.user() - mem_guardsize;
  unsigned char* end = b.user() + b.size;
  for (size_t k = 0; k < mem_guardsize; k++) {
    begin[k] = static_cast<unsigned char>(b.beg + k);
    end[k] = static_cast<unsigned char>(b.end + k);
  }
}

memblock* mem_findstart(memman& m, const void* ptr) noexcept {
  memblock* b = m.first;
  while (b && b->user() != ptr) b = b->next;
  return b;
}

memblock* mem_findrange(memman& m, const void* ptr, size_t size) noexcept {
  const auto at = reinterpret_cast<uintptr_t>(ptr);
  for (memblock* b = m.first; b; b = b->next) {
    const auto start = reinterpret_cast<uintptr_t>(b->user());
    if (at >= start && at - start < b->size && size <= b->size - (at - start)) return b;
  }
  return nullptr;
}

size_t memman_checkblock(memman& m, const memblock& b, const char* file, int line) {
  return check_guard(m, b, "begin", b.user() - mem_guardsize, b.beg) +
         check_guard(m, b, "end", b.user() + b.size, b.end) + check_digest(m, b, file, line);
}

size_t mem_scan(memman& m, const char* file, int line) {
  size_t faults = 0;
  if (std::strcmp(m.begguard, "begin") != 0 || std::strcmp(m.endguard, "end") != 0) {
    mem_report(m, -1, "begin guard of mman: %p", static_cast<void*>(&m));
    faults++;
  }
  mem_report(m, -1, "Scanning memory at '%s'(%d)\n", file, line);
  for (const memblock* b = m.first; b; b = b->next) faults += memman_checkblock(m, *b, file, line);
  report_usage(m, -1);
  return faults;
}

size_t TVN_memman_scanmem(memman& m, const char* file, int line) {
  if (m.dbglevel <= 0) return 0;
  const mem_lock lock(m);
  return mem_scan(m, file, line);
}

void TVN_memman_analyzemem(const char* file, int line, memman& m, size_t minsize, int32_t level) {
  if (m.dbglevel <= 0) return;
  const mem_lock lock(m);
  mem_report(m, level, "Analyzing memory at '%s'(%d)\n", file, line);
  for (const memblock* b = m.first; b; b = b->next) {
    char size[24];
    if (b->size >= minsize)
      mem_report(m, level, "#%-6llu is of size %s.\n", static_cast<unsigned long long>(b->number),
                 TVN_sizettostr(b->size, size));
  }
  report_usage(m, level);
}

void TVN_memman_checkptr(memman& m, const void* ptr, const char* file, int line) {
  TVN_memman_checkrange(m, ptr, 1, file, line);
}

void TVN_memman_checkrange(memman& m, const void* ptr, size_t size, const char* file, int line) {
  if (m.dbglevel <= 0) return;
  const mem_lock lock(m);
  range_block(m, ptr, size, file, line);
}

void TVN_memman_lockptr(memman& m, const void* ptr, const char* file, int line) {
  if (m.dbglevel <= 0) return;
  const mem_lock lock(m);
  memblock& b = range_block(m, ptr, 1, file, line);
  check_digest(m, b, file, line); // a block that is locked already
  lock_block(b);
}

void TVN_memman_unlockptr(memman& m, const void* ptr, const char* file, int line) {
  if (m.dbglevel <= 0) return;
  const mem_lock lock(m);
  memblock& b = range_block(m, ptr, 1, file, line);
  check_digest(m, b, file, line);
  b.locked = false;
}

void TVN_memman_lockall(memman& m, const char* file, int line) {
  const mem_lock lock(m);
  for (memblock* b = m.first; b; b = b->next) {
    check_digest(m, *b, file, line);
    lock_block(*b);
  }
}

void TVN_memman_unlockall(memman& m, const char* file, int line) {
  const mem_lock lock(m);
  for (memblock* b = m.first; b; b = b->next) {
    check_digest(m, *b, file, line);
    b->locked = false;
  }
}

const char* TVN_sizettostr(size_t value, char (&to)[24]) {
  *std::to_chars(to, to + sizeof to - 1, value).ptr = '\0';
  return to;
}

} // namespace tvn
