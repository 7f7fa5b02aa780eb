// from_chars and to_chars with the rules of our text formats.
//
// from_chars rounds correctly and knows no locale, but takes "inf" and "nan" and tells overflow and underflow with one
// code: the first character and the size of the number settle both.
#include "misc/numtext.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace tvn {

namespace {

bool is_space(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The place of the first digit that is not 0, shifted by the exponent, decides.
bool is_overflow(std::string_view number) noexcept {
  const size_t e = std::min(number.find_first_of("eE"), number.size());
  const std::string_view digits = number.substr(0, e);
  std::string_view shift = number.substr(std::min(e + 1, number.size()));
  if (shift.starts_with('+')) shift.remove_prefix(1);
  int64_t exponent = 0;
  if (std::from_chars(shift.data(), shift.data() + shift.size(), exponent).ec == std::errc::result_out_of_range)
    return shift[0] != '-';
  const size_t point = std::min(digits.find('.'), digits.size()), first = digits.find_first_of("123456789");
  return first != std::string_view::npos && static_cast<int64_t>(point) - static_cast<int64_t>(first) + exponent > 0;
}

} // namespace

bool parse_real(std::string_view text, double& value) noexcept {
  const bool negative = !text.empty() && text[0] == '-';
  if (negative || (!text.empty() && text[0] == '+')) text.remove_prefix(1);
  if (text.empty() || !((text[0] >= '0' && text[0] <= '9') || text[0] == '.')) return false;
  double x = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, x);
  if (stop != end || error == std::errc::invalid_argument) return false;
  if (error == std::errc::result_out_of_range) x = is_overflow(text) ? std::numeric_limits<double>::infinity() : 0.0;
  value = negative ? -x : x;
  return true;
}

std::string_view trim(std::string_view text) noexcept {
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  return text;
}

bool TVN_strtoreal(std::string_view text, double& value) noexcept { return parse_real(trim(text), value); }

bool TVN_strtointeger(std::string_view text, int32_t& value) noexcept {
  text = trim(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  int32_t x = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, x);
  if (text.empty() || stop != end || error != std::errc{}) return false;
  value = x;
  return true;
}

int32_t put_scientific(char* to, double value, int32_t precision) noexcept {
  const auto [end, error] = std::to_chars(to, to + 39, value, std::chars_format::scientific, precision);
  const int32_t len = error == std::errc{} ? static_cast<int32_t>(end - to) : 0;
  to[len] = '\0';
  return len;
}

int32_t put_shortest(char* to, double value) noexcept {
  // Small integers, which most files are full of, have that text in a fraction of the time.
  const auto whole = static_cast<int32_t>(std::fabs(value) < 1e5 ? value : 0.0);
  const bool plain = whole != 0 && static_cast<double>(whole) == value;
  return static_cast<int32_t>((plain ? std::to_chars(to, to + 39, whole) : std::to_chars(to, to + 39, value)).ptr - to);
}

} // namespace tvn
