// Response codes: names, message templates and descriptions.
//
// The class of a code follows from its value alone: 0 is success, below 1000 a warning, above 3999 a termination, the
// rest errors. Lookups bisect the table of def/rescode.def, which is sorted by value.
#pragma once

#include "tovan.h"

namespace tvn {

struct rescode_entry {
  int32_t value;
  const char* name;        // the full constant
  const char* text;        // message template for the reporter's arguments
  const char* description; // a sentence without conversions
};

// Null for 0 and for a code that does not exist.
const rescode_entry* find_rescode(int32_t code) noexcept;
// Null for a name that does not exist.
const rescode_entry* find_rescode(const char* name) noexcept;

} // namespace tvn
