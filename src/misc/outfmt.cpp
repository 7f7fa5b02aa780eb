// Reads the format, collects the settings of one conversion, turns the value into text and pads it.
//
// Each conversion starts from fresh settings. What was written before a fault stays written; the caller learns of it
// by the result. Numbers go through to_chars into a buffer on the stack, which holds the longest fixed form of a
// double.
#include "misc/outfmt.h"

#include "cpub/utf8.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace tvn {

namespace {

constexpr int64_t failure = -2;

struct settings {
  uint32_t fillbefore = ' ', fillafter = ' ';
  int32_t width = 0;
  int32_t just = 2;
  int32_t precision = -1; // -1 the conversion's own
  int32_t radix = 0;
  bool sign = false, strip = false;
};

struct writer {
  text_sink sink;
  void* handle;
  int64_t count = 0;
  void put(std::string_view text) noexcept {
    if (!text.empty()) sink(handle, text);
    count += static_cast<int64_t>(text.size());
  }
  void fill(uint32_t code, int64_t times) noexcept {
    char bytes[4];
    const int32_t len = put_utf8(bytes, code);
    for (int64_t k = 0; k < times; k++) put({bytes, static_cast<size_t>(len)});
  }
  void put_padded(std::string_view text, const settings& s) noexcept {
    const auto chars = std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; });
    const int64_t gap = std::max<int64_t>(0, s.width - chars);
    const int64_t before = s.just == 0 ? 0 : s.just == 1 ? gap / 2 : gap;
    fill(s.fillbefore, before);
    put(text);
    fill(s.fillafter, gap - before);
  }
};

// The arguments travel as one record: a va_list itself cannot be passed on by reference portably.
struct arguments {
  va_list list;
};

bool read_setting(char letter, arguments& args, settings& s) noexcept {
  if (letter == '+') return s.sign = true;
  if (letter == '/') return s.strip = true;
  if (!std::strchr("gGwjpf", letter)) return false;
  const int32_t value = va_arg(args.list, int32_t);
  switch (letter) {
  case 'g': s.fillbefore = static_cast<uint32_t>(value); return value >= 0;
  case 'G': s.fillafter = static_cast<uint32_t>(value); return value >= 0;
  case 'w': s.width = value; return true;
  case 'j': s.just = value; return value >= 0 && value <= 2;
  case 'p': s.precision = std::min(value, 15); return value >= 0;
  default: s.radix = value; return true;
  }
}

// `p` stands behind the opening brace; null when the settings are wrong.
const char* read_settings(const char* p, arguments& args, settings& s) noexcept {
  for (; *p && *p != '}'; p++)
    if (!read_setting(*p, args, s)) return nullptr;
  return *p ? p + 1 : nullptr;
}

void put_integer(writer& out, bool negative, uint64_t magnitude, const settings& s) noexcept {
  char text[72];
  char* at = text;
  if (negative) *at++ = '-';
  if (!negative && s.sign) *at++ = '+';
  const int base = s.radix == 1 ? 16 : s.radix == 2 ? 8 : s.radix == 3 ? 2 : 10;
  at = std::to_chars(at, std::end(text), magnitude, base).ptr;
  out.put_padded({text, static_cast<size_t>(at - text)}, s);
}

void put_signed(writer& out, int64_t value, const settings& s) noexcept {
  put_integer(out, value < 0, value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value), s);
}

// Takes the trailing zeros of the fraction out, and a point that is left alone.
char* strip_zeros(char* begin, char* end) noexcept {
  char* point = std::find(begin, end, '.');
  if (point == end) return end;
  char* exponent = std::find(point, end, 'e');
  char* last = exponent;
  while (last[-1] == '0') last--;
  if (last[-1] == '.') last--;
  return std::copy(exponent, end, last);
}

void put_double(writer& out, double value, bool scientific, const settings& s) noexcept {
  char text[400];
  char* at = text;
  if (s.sign && !(value < 0)) *at++ = '+';
  const int precision = s.precision >= 0 ? s.precision : scientific ? 15 : 5;
  const auto form = scientific ? std::chars_format::scientific : std::chars_format::fixed;
  at = std::to_chars(at, std::end(text), value, form, precision).ptr;
  if (s.strip) at = strip_zeros(text, at);
  out.put_padded({text, static_cast<size_t>(at - text)}, s);
}

// Wide text goes out character by character; its length is counted first.
void put_wide(writer& out, const wchar_t* text, const settings& s) noexcept {
  int64_t chars = 0;
  while (text[chars]) chars++;
  const int64_t gap = std::max<int64_t>(0, s.width - chars);
  const int64_t before = s.just == 0 ? 0 : s.just == 1 ? gap / 2 : gap;
  out.fill(s.fillbefore, before);
  for (int64_t k = 0; k < chars; k++) out.fill(static_cast<uint32_t>(text[k]), 1);
  out.fill(s.fillafter, gap - before);
}

// `p` at the conversion; the position behind it, null for an unknown one.
const char* put_value(writer& out, const char* p, arguments& args, const settings& s) noexcept {
  switch (*p) {
  case 'i': put_signed(out, va_arg(args.list, int32_t), s); return p + 1;
  case 'u': put_integer(out, false, va_arg(args.list, uint32_t), s); return p + 1;
  case 'l': put_signed(out, va_arg(args.list, int64_t), s); return p + 1;
  case 'L': put_integer(out, false, va_arg(args.list, uint64_t), s); return p + 1;
  case 'I': put_signed(out, va_arg(args.list, long), s); return p + 1;
  case 'U': put_integer(out, false, va_arg(args.list, unsigned long), s); return p + 1;
  case 'e': put_double(out, va_arg(args.list, double), true, s); return p + 1;
  case 'f': put_double(out, va_arg(args.list, double), false, s); return p + 1;
  case 'p': {
    char text[32];
    std::snprintf(text, sizeof text, "%p", va_arg(args.list, void*));
    out.put_padded(text, s);
    return p + 1;
  }
  case 's': {
    const char* text = va_arg(args.list, const char*);
    out.put_padded(text ? text : "(NULL)", s);
    return p + 1;
  }
  case 'w': {
    if (p[1] != 's') return nullptr;
    const wchar_t* text = va_arg(args.list, const wchar_t*);
    put_wide(out, text ? text : L"(NULL)", s);
    return p + 2;
  }
  default: return nullptr;
  }
}

int64_t format_all(writer& out, const char* p, arguments& args) noexcept {
  while (*p) {
    const char* percent = std::strchr(p, '%');
    if (!percent) percent = p + std::strlen(p);
    out.put({p, static_cast<size_t>(percent - p)});
    p = percent;
    if (!*p) break;
    if (*++p == '%') {
      out.put("%");
      p++;
      continue;
    }
    settings s;
    if (*p == '{') p = read_settings(p + 1, args, s);
    if (p) p = put_value(out, p, args, s);
    if (!p) return failure;
  }
  return out.count;
}

} // namespace

int64_t TVN_outfmtva(text_sink sink, void* handle, const char* fmt, va_list list) noexcept {
  writer out{sink, handle};
  arguments args;
  va_copy(args.list, list);
  const int64_t result = format_all(out, fmt, args);
  va_end(args.list);
  return result;
}

int64_t TVN_outfmt(text_sink sink, void* handle, const char* fmt, ...) noexcept {
  va_list args;
  va_start(args, fmt);
  const int64_t result = TVN_outfmtva(sink, handle, fmt, args);
  va_end(args);
  return result;
}

} // namespace tvn
