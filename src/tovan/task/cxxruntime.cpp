// Two places where the C++ run-time that is linked into the library would reach further than the library may.
//
// Its terminate handler prints to stderr and drags the name demangler in: ours ends the process in silence. Its
// conversion of doubles to text calls the unbounded sprintf on buffers that it has sized itself: the linker hands those
// calls to vsnprintf (option --wrap), so that the library imports no unbounded writer.
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace __gnu_cxx {

void __verbose_terminate_handler() { std::abort(); }

} // namespace __gnu_cxx

extern "C" int __wrap_sprintf(char* to, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int n = std::vsnprintf(to, INT_MAX, fmt, args);
  va_end(args);
  return n;
}
