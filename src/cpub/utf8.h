// Conversion between UTF-8 and wide characters of 32 bits.
#pragma once

#include <cstdint>

namespace tvn {

// Writes the UTF-8 form of a code point to at least 4 bytes; the number of bytes, 0 for an invalid code.
int32_t put_utf8(char* to, uint32_t code) noexcept;
// Number of bytes of the UTF-8 character at `from` (NUL-terminated text) with its code; 0 when it is not valid.
int32_t get_utf8(const char* from, uint32_t& code) noexcept;

enum class utf8_code : int32_t { ok = 0, invalid = 1 };

// Converts as much as fits into outputlen characters with the end mark. len: characters of the whole text without its
// end mark; conv: input units that were converted. Both stand at the fault when the text is not valid.
utf8_code TVN_UTF8toWChar(int64_t outputlen, int64_t& len, int64_t& conv, wchar_t* output, const char* input) noexcept;
utf8_code TVN_WCharToUTF8(int64_t outputlen, int64_t& len, int64_t& conv, char* output, const wchar_t* input) noexcept;

} // namespace tvn
