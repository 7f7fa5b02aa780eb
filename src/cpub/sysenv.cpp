// System environment: allocation, clock and the fatal stop.
#include "cpub/sysenv.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <sys/time.h>

namespace tvn {

void* sysenv::alloc(size_t size, const char* file, int line) {
  void* p = TVN_memman_malloc(*mman, size, file, line);
  if (!p && size > 0) throw out_of_memory{};
  return p;
}

void sysenv::release(void* ptr, const char* file, int line) noexcept { TVN_memman_free(*mman, ptr, file, line); }

sysenv* TVN_sysenv_make(int32_t dbglevel, void* usrptr, malloc_fn mallocfn, free_fn freefn) {
  memman* m = TVN_memman_make("src/cpub/sysenv", __LINE__, dbglevel, false, usrptr, mallocfn, freefn);
  if (!m) return nullptr;
  void* mem = m->mallocfn(m->usrptr, sizeof(sysenv));
  if (!mem) {
    TVN_memman_delete("src/cpub/sysenv", __LINE__, &m);
    return nullptr;
  }
  auto* sys = new (mem) sysenv{};
  sys->mman = m;
  return sys;
}

sys_code TVN_sysenv_delete(sysenv** sys) {
  sysenv* s = *sys;
  if (!s) return sys_code::ok;
  memman* m = s->mman;
  m->freefn(m->usrptr, s);
  *sys = nullptr;
  return TVN_memman_delete("src/cpub/sysenv", __LINE__, &m) > 0 ? sys_code::leaking : sys_code::ok;
}

double TVN_sysenv_gettime() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<double>(tv.tv_sec) + static_cast<double>(tv.tv_usec) / 1e6;
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
  std::vsnprintf(msg, sizeof msg, fmt, args);
  va_end(args);
  if (sys && sys->exithandler) sys->exithandler(sys->exithandle, file, line, msg);
  else std::fprintf(stderr, "\n\nFatal error\nFile : %s\nLine : %d\nMsg. : %s\n", file, line, msg);
  std::exit(-1);
}

} // namespace tvn
