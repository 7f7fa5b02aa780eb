// from_chars and to_chars with the rules of our text formats.
//
// from_chars rounds correctly and knows no locale, but takes "inf" and "nan" and tells overflow and underflow with one
// code: the first character and the sign of the exponent settle both.
#include "misc/numtext.h"

#include <charconv>
#include <limits>

namespace tvn {

namespace {

// The sign of the exponent decides, without one whether the integer part is 0.
bool is_overflow(std::string_view digits) noexcept {
  const size_t e = digits.find_first_of("eE");
  if (e != std::string_view::npos && e + 1 < digits.size()) return digits[e + 1] != '-';
  return digits.find_first_of("123456789") < digits.find('.');
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
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
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

} // namespace tvn
