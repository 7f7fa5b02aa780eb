// The two codecs. Overlong forms, surrogates and codes above 10FFFF are not valid in either direction.
#include "cpub/utf8.h"

#include <cstring>

namespace tvn {

int32_t put_utf8(char* to, uint32_t c) noexcept {
  const auto byte = [](uint32_t lead, uint32_t bits) { return static_cast<char>(lead | bits); };
  const auto tail = [&](int shift) { return byte(0x80, (c >> shift) & 0x3F); };
  if (c < 0x80) return to[0] = static_cast<char>(c), 1;
  if (c < 0x800) return to[0] = byte(0xC0, c >> 6), to[1] = tail(0), 2;
  if (c >= 0xD800 && c < 0xE000) return 0;
  if (c < 0x10000) return to[0] = byte(0xE0, c >> 12), to[1] = tail(6), to[2] = tail(0), 3;
  if (c < 0x110000) return to[0] = byte(0xF0, c >> 18), to[1] = tail(12), to[2] = tail(6), to[3] = tail(0), 4;
  return 0;
}

int32_t get_utf8(const char* from, uint32_t& code) noexcept {
  const auto byte = [&](int k) { return static_cast<unsigned char>(from[k]); };
  const uint32_t lead = byte(0);
  const int32_t len = lead < 0x80                   ? 1
                      : lead >= 0xF0 && lead < 0xF8 ? 4
                      : lead >= 0xE0 && lead < 0xF0 ? 3
                      : lead >= 0xC0 && lead < 0xE0 ? 2
                                                    : 0;
  if (len <= 1) return code = lead, len;
  code = lead & (0x7Fu >> len);
  for (int32_t k = 1; k < len; k++) {
    if ((byte(k) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(k) & 0x3F);
  }
  char again[4]; // only the shortest form is valid
  return put_utf8(again, code) == len ? len : 0;
}

utf8_code TVN_UTF8toWChar(int64_t outputlen, int64_t& len, int64_t& conv, wchar_t* output, const char* input) noexcept {
  len = conv = 0;
  int64_t written = 0;
  for (int64_t at = 0; input[at];) {
    uint32_t code = 0;
    const int32_t step = get_utf8(input + at, code);
    if (step == 0) {
      if (outputlen > 0) output[written] = L'\0';
      return utf8_code::invalid;
    }
    at += step;
    len++;
    if (written != len - 1 || written + 1 >= outputlen) continue;
    output[written++] = static_cast<wchar_t>(code);
    conv = at;
  }
  if (outputlen > 0) output[written] = L'\0';
  return utf8_code::ok;
}

utf8_code TVN_WCharToUTF8(int64_t outputlen, int64_t& len, int64_t& conv, char* output, const wchar_t* input) noexcept {
  len = conv = 0;
  int64_t written = 0;
  for (int64_t at = 0; input[at]; at++) {
    char bytes[4];
    const int32_t step = put_utf8(bytes, static_cast<uint32_t>(input[at]));
    if (step == 0) {
      if (outputlen > 0) output[written] = '\0';
      return utf8_code::invalid;
    }
    const bool fits = written == len && written + step < outputlen;
    len += step;
    if (!fits) continue;
    std::memcpy(output + written, bytes, static_cast<size_t>(step));
    written += step;
    conv = at + 1;
  }
  if (outputlen > 0) output[written] = '\0';
  return utf8_code::ok;
}

} // namespace tvn
