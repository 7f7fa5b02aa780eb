// printf into a buffer, free of the program's locale: a decimal point is a point.
#pragma once

#include <cstdarg>
#include <cstddef>

namespace tvn {

// As the functions of the C library.
int format_text(char* to, size_t size, const char* fmt, ...) noexcept __attribute__((format(printf, 3, 4)));
int format_textva(char* to, size_t size, const char* fmt, va_list args) noexcept __attribute__((format(printf, 3, 0)));

} // namespace tvn
