// System environment: making and deleting one, allocation and the fatal stop.
#include "cpub/sysenv.h"

#include "cpub/format.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace tvn {

void* sysenv::alloc(size_t size, const char* file, int line) {
  void* p = TVN_memman_malloc(*mman, size, file, line);
  if (!p && size > 0) throw out_of_memory{};
  return p;
}

void sysenv::release(void* ptr, const char* file, int line) noexcept { TVN_memman_free(*mman, ptr, file, line); }

namespace {

constexpr char label[] = "src/cpub/sysenv";

// The manager is about to go: nobody shall reach it any more.
void sysenv_memmanexit(void* handle) { static_cast<sysenv*>(handle)->mman = nullptr; }

} // namespace

sysenv* TVN_sysenv_make(int32_t dbglevel, void* usrptr, malloc_fn mallocfn, free_fn freefn, bool multithread) {
  memman* m = TVN_memman_make(label, __LINE__, dbglevel, multithread, usrptr, mallocfn, freefn);
  if (!m) return nullptr;
  void* mem = m->mallocfn(m->usrptr, sizeof(sysenv));
  if (!mem) {
    TVN_memman_delete(label, __LINE__, &m);
    return nullptr;
  }
  auto* sys = new (mem) sysenv{};
  sys->mman = m;
  TVN_memman_putexitfunc(*m, sys, sysenv_memmanexit);
  return sys;
}

sys_code TVN_sysenv_delete(sysenv** sys) {
  sysenv* s = *sys;
  if (!s) return sys_code::ok;
  memman* m = s->mman;
  const free_fn release = TVN_memman_getfreefunc(*m);
  void* usrptr = TVN_memman_getusrmallocptr(*m);
  const size_t left = TVN_memman_delete(label, __LINE__, &m);
  release(usrptr, s);
  *sys = nullptr;
  return left > 0 ? sys_code::leaking : sys_code::ok;
}

void TVN_sysenv_assertdbg(sysenv* sys, const char* file, int line, bool cond, const char* condtext) {
  if (!cond) TVN_sysenv_stopdbg(sys, file, line, "Assertion failed: %s", condtext);
}

void TVN_sysenv_assertspcdbg(sysenv* sys, const char* file, int line, int64_t needed, int64_t space) {
  if (needed > space)
    TVN_sysenv_stopdbg(sys, file, line, "Assertion failed: %lld of %lld", static_cast<long long>(needed),
                       static_cast<long long>(space));
}

void TVN_sysenv_putexithandler(sysenv& sys, void (*fn)(void*, const char*, int, const char*), void* handle) {
  sys.exithandler = fn;
  sys.exithandle = handle;
  sys.mman->stopfn = fn;
  sys.mman->stophandle = handle;
}

void TVN_sysenv_stopdbg(sysenv* sys, const char* file, int line, const char* fmt, ...) {
  char msg[2049];
  va_list args;
  va_start(args, fmt);
  format_textva(msg, sizeof msg, fmt, args);
  va_end(args);
  if (sys && sys->exithandler)
    sys->exithandler(sys->exithandle, file, line, msg);
  else
    std::fprintf(stderr, "\n\nFatal error\nFile : %s\nLine : %d\nMsg. : %s\n", file, line, msg);
  std::exit(-1);
}

} // namespace tvn
