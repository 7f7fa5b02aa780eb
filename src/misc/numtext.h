// Numbers from and to text, free of the locale and correctly rounded.
//
// A whole text must be one number in decimal form: no hexadecimal, no "inf" or "nan", nothing behind it. A number that
// is too large for a double is infinite, one that is too small is 0.
#pragma once

#include <cstdint>
#include <string_view>

namespace tvn {

// No blanks around the number. False leaves value as it was.
bool parse_real(std::string_view text, double& value) noexcept;

// As above with blanks and tabs around the number allowed.
bool TVN_strtoreal(std::string_view text, double& value) noexcept;
bool TVN_strtointeger(std::string_view text, int32_t& value) noexcept;

std::string_view trim(std::string_view text) noexcept; // blanks, tabs and line ends

// "%.*e" of printf into at least 40 bytes; the length.
int32_t put_scientific(char* to, double value, int32_t precision) noexcept;

// The shortest text that reads back to the same double, into at least 40 bytes; the length.
int32_t put_shortest(char* to, double value) noexcept;

} // namespace tvn
