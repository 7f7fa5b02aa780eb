// Libraries that are loaded at run time.
//
// A library is opened by its name as the system's loader takes it, bound lazily, and kept until it is closed. Symbols
// do not reach other libraries. The record belongs to the sysenv that opened it.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct dlman;

// Where loadable libraries are looked for.
inline constexpr char dlman_pathvariable[] = "LD_LIBRARY_PATH";
inline constexpr char dlman_separator[] = ":";
inline constexpr char dlman_ending[] = ".so";

// Null when the library cannot be loaded; `error` then holds what the loader says. Throws out_of_memory.
dlman* TVN_dlman_open(sysenv& sys, const char* name, text& error);
// Address of a symbol; null when there is none, with the loader's text in `error`.
void* TVN_dlman_loadfunc(dlman& lib, const char* symbol, text& error);
// Unloads the library and frees the record; *lib becomes null. False when the loader refuses.
bool TVN_dlman_close(dlman** lib) noexcept;

} // namespace tvn
