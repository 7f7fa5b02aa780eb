// Text with numbers, free of the locale. See format.h.
//
// The C library formats by the locale of the thread. Where that has another decimal point the thread takes the plain
// locale for the length of the call; the library owns that one, nothing is made or allocated. Programs without a locale
// pay for one look at the present point.
#include "cpub/format.h"

#include <cstdio>
#include <cstring>
#include <langinfo.h>
#include <locale.h>

namespace tvn {

int format_textva(char* to, size_t size, const char* fmt, va_list args) noexcept {
  if (std::strcmp(nl_langinfo(RADIXCHAR), ".") == 0) return std::vsnprintf(to, size, fmt, args);
  const locale_t before = uselocale(newlocale(LC_ALL_MASK, "C", nullptr));
  const int len = std::vsnprintf(to, size, fmt, args);
  uselocale(before);
  return len;
}

int format_text(char* to, size_t size, const char* fmt, ...) noexcept {
  va_list args;
  va_start(args, fmt);
  const int len = format_textva(to, size, fmt, args);
  va_end(args);
  return len;
}

} // namespace tvn
