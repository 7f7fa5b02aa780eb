// Symbolic constants: every constant of the interface with its name, its bare symbol, its family and its value.
//
// One table made from all .def files. A constant with a family is a value that arguments and integer parameters take;
// numbers of parameters, items, codes and callbacks form families too.
#pragma once

#include "tovan.h"

#include <span>
#include <string_view>

namespace tvn {

struct symcon_entry {
  std::string_view name;   // "TVN_BK_LO", NUL-terminated
  std::string_view symbol; // "LO", the tail of name
  std::string_view family; // "bound_key"
  int32_t value;
};

std::span<const symcon_entry> all_symcons() noexcept;
// By full name; null when there is none.
const symcon_entry* find_symcon(std::string_view name) noexcept;
// By value inside a family; null when there is none.
const symcon_entry* find_symcon(std::string_view family, int32_t value) noexcept;
// The family of the values of an integer parameter, "none" when they are plain numbers.
std::string_view iparam_family(int32_t param) noexcept;

} // namespace tvn
