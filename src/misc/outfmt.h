// The format language of the library's own texts: printf-like, with settings before the conversion.
//
//   %{letters}conv   each letter but + and / takes one int32_t from the arguments, in the order written, before the
//   value
//     g G   character code of the fill in front of and behind the value (blank), w width,
//     j     0 value first, 1 centred with the smaller half in front, 2 value last (as without j),
//     p     precision of e and f, at most 15; f radix of integers: 1 hexadecimal, 2 octal, 3 binary, others decimal,
//     +     a sign on positive numbers too, / no trailing zeros in the fraction of a double
//   conv: i u int32, l L int64, I U long (signed, unsigned), e f double, p pointer, s string, ws wide string
//
// Numbers do not depend on the locale and nothing is allocated. Widths count characters, not bytes.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string_view>

namespace tvn {

using text_sink = void (*)(void* handle, std::string_view text);

// Characters written, or -2 for an unknown letter or conversion or an invalid setting; what stands before it is
// written.
int64_t TVN_outfmtva(text_sink sink, void* handle, const char* fmt, va_list args) noexcept;
int64_t TVN_outfmt(text_sink sink, void* handle, const char* fmt, ...) noexcept;

} // namespace tvn
