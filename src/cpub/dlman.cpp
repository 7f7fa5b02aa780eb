// The loader of the system behind one record. See dlman.h.
#include "cpub/dlman.h"

#include <dlfcn.h>
#include <new>

namespace tvn {

struct dlman {
  sysenv* sys;
  void* handle;
};

namespace {

constexpr char label[] = "src/cpub/dlman";

void take_error(sysenv& sys, text& error) {
  const char* said = dlerror();
  error.attach(sys);
  error.assign(said ? said : "Unknown failure of the loader");
}

} // namespace

dlman* TVN_dlman_open(sysenv& sys, const char* name, text& error) {
  void* mem = sys.alloc(sizeof(dlman), label, __LINE__);
  auto* lib = new (mem) dlman{&sys, name ? dlopen(name, RTLD_LAZY | RTLD_LOCAL) : nullptr};
  if (lib->handle) return lib;
  sys.release(lib, label, __LINE__);
  if (name)
    take_error(sys, error);
  else
    error.attach(sys), error.assign("No library name");
  return nullptr;
}

void* TVN_dlman_loadfunc(dlman& lib, const char* symbol, text& error) {
  dlerror(); // forgets an earlier failure: a null address is one only if a text comes with it
  void* address = dlsym(lib.handle, symbol);
  if (!address) take_error(*lib.sys, error);
  return address;
}

bool TVN_dlman_close(dlman** lib) noexcept {
  dlman* l = *lib;
  *lib = nullptr;
  if (!l) return true;
  const bool closed = dlclose(l->handle) == 0;
  l->sys->release(l, label, __LINE__);
  return closed;
}

} // namespace tvn
