// Taking and giving back, with the checks of order and size. See stkbuf.h.
#include "cpub/stkbuf.h"

#include <cstdio>

namespace tvn {

namespace {

constexpr char label[] = "src/cpub/stkbuf";

void tell(stkbuf& s, const char* step, const char* file, int line, size_t size, const void* ptr) {
  if (s.verbosity <= 5) return;
  char text[512];
  std::snprintf(text, sizeof text, "stkbuf:%s:%s(%d): %lu %p stkuse: %lu\n", step, file, line, size, ptr, s.stackuse);
  TVN_memman_echo(*s.sys->mman, text);
}

[[noreturn]] void claim_fault(stkbuf& s, int32_t k, size_t size, const char* file, int line) {
  const stkbuf_claim& c = s.sizechecks[k];
  TVN_sysenv_stopdbg(
      s.sys, file, line,
      "Failed size check. numsizechecks: %d k: %d Checking id: %d stackuse: %lu sizechecks: %lu size: %lu",
      s.numsizechecks, k, c.id, s.stackuse, c.start, size);
}

void check_claims(stkbuf& s, const char* file, int line) {
  for (int32_t k = 0; k < s.numsizechecks; k++)
    if (s.stackuse - s.sizechecks[k].start > s.sizechecks[k].size) claim_fault(s, k, s.sizechecks[k].size, file, line);
}

} // namespace

void TVN_stkbuf_make(sysenv& sys, int32_t maxnumbufs, size_t stacksize, bool separate, int32_t verbosity, stkbuf& s) {
  TVN_ASSERT(&sys, label, s.numbufs == 0);
  stkbuf fresh;
  fresh.sys = &sys;
  fresh.separate = separate;
  fresh.verbosity = verbosity;
  fresh.stacksize = TVN_stkbuf_units(stacksize);
  fresh.level.reset(sys, maxnumbufs);
  fresh.sizechecks.reset(sys, maxnumbufs);
  if (!separate) fresh.area.reset(sys, static_cast<int64_t>(fresh.stacksize));
  s = std::move(fresh);
}

void TVN_stkbuf_delete(stkbuf& s) {
  if (s.numbufs > 0)
    TVN_sysenv_stopdbg(s.sys, label, __LINE__, "buffer error -- expected: %p input: %p", nullptr,
                       s.level[s.numbufs - 1].ptr);
  s = stkbuf{};
}

void* TVN_stkbuf_popdbg(stkbuf& s, size_t size, const char* file, int line) {
  const size_t units = TVN_stkbuf_units(size);
  if (units < size || units > s.stacksize - s.stackuse || s.numbufs == s.level.size()) throw out_of_memory{};
  // A buffer of no bytes is an address of its own in the separate mode too.
  void* ptr = s.separate ? s.sys->alloc(std::max<size_t>(size, 1), file, line) : s.area.data() + s.stackuse;
  s.level[s.numbufs++] = {ptr, s.stackuse, units};
  s.stackuse += units;
  tell(s, "pop", file, line, size, ptr);
  check_claims(s, file, line);
  return ptr;
}

void TVN_stkbuf_pushdbg(stkbuf& s, void* ptr, const char* file, int line) {
  if (s.numbufs <= 0) TVN_sysenv_stopdbg(s.sys, file, line, "numbufs<=0");
  const stkbuf_level& top = s.level[s.numbufs - 1];
  if (top.ptr != ptr) TVN_sysenv_stopdbg(s.sys, file, line, "buffer error -- expected: %p input: %p", top.ptr, ptr);
  // The top level and the use must tell the same story, or the record itself was overwritten.
  if (top.start + top.size != s.stackuse)
    TVN_sysenv_stopdbg(s.sys, file, line, "stackuse: %lu %lu", s.stackuse, top.start + top.size);
  s.stackuse = top.start;
  s.numbufs--;
  tell(s, "push", file, line, top.size, ptr);
  if (s.separate) s.sys->release(ptr, file, line);
}

void TVN_stkbuf_popsizecheckdbg(stkbuf& s, int32_t id, size_t size, const char* file, int line) {
  if (s.numsizechecks == s.sizechecks.size())
    TVN_sysenv_stopdbg(s.sys, file, line, "Too many size checks: %d", s.numsizechecks);
  s.sizechecks[s.numsizechecks++] = {id, s.stackuse, TVN_stkbuf_units(size)};
}

void TVN_stkbuf_pushsizecheckdbg(stkbuf& s, int32_t id, const char* file, int line) {
  if (s.numsizechecks <= 0) TVN_sysenv_stopdbg(s.sys, file, line, "No size check is open: %d", id);
  const int32_t k = s.numsizechecks - 1;
  const stkbuf_claim& c = s.sizechecks[k];
  if (c.id != id || c.start != s.stackuse) claim_fault(s, k, c.size, file, line);
  s.numsizechecks--;
}

} // namespace tvn
