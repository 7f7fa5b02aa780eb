// Parameters: the tables of an environment (names, defaults, rules) and the values of a task.
//
// The tables are filled once from def/*param.def and are read-only after TVN_initenv, but for the processor defaults
// that TVN_initenv and TVN_putcpudefaults replace. Index order is the order of the .def files, which is alphabetical,
// so that a name is found by bisection. A task reads its own values only, never the tables.
#pragma once

#include "cpub/buffer.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace tvn {

inline constexpr int32_t num_iparam = 202;
inline constexpr int32_t num_dparam = 67;
inline constexpr int32_t num_sparam = 25;

// What a put tests; `either` and `both` are tested alike.
enum class param_kind : int32_t { at_least = 0, at_most = 1, both = 2, any = 3, either = 4 };

using param_name = std::array<char, 128>; // the full constant name, NUL-terminated

struct param_tables {
  numbered<param_name, num_dparam> dname;
  numbered<param_name, num_iparam> iname;
  numbered<param_name, num_sparam> sname;
  numbered<int32_t, num_iparam> idef, ikind, imin, imax;
  numbered<double, num_dparam> ddef;
  numbered<int32_t, num_dparam> dkind;
  numbered<double, num_dparam> dmin, dmax;
  numbered<text, num_sparam> sdef; // owned
};

struct param_values {
  numbered<int32_t, num_iparam> ival; // by TVN_IPAR_*
  numbered<double, num_dparam> dval;  // by TVN_DPAR_*
  numbered<text, num_sparam> sval;    // by TVN_SPAR_*, owned
};

// Fills the tables; the default strings are taken from sys.
void make_param_tables(param_tables& tables, sysenv& sys);
// The 25 default strings go back to their memory manager.
void free_param_tables(param_tables& tables) noexcept;

// Binds the string values to the memory of their task; numbers become 0.
void attach_param_values(param_values& values, sysenv& sys) noexcept;
// All values become the defaults. On exhausted memory the strings from the failing one on keep their old value.
void set_param_defaults(param_values& values, const param_tables& tables);
void copy_param_values(param_values& to, const param_values& from);
void free_param_values(param_values& values) noexcept;

// True when the value passes the rule of its kind. A NaN passes none.
bool is_valid_param(int32_t kind, double value, double min, double max) noexcept;

// Index of a full constant name, or the size of the family. Exact, case-sensitive.
int32_t find_iparam(const param_tables& tables, std::string_view name) noexcept;
int32_t find_dparam(const param_tables& tables, std::string_view name) noexcept;
int32_t find_sparam(const param_tables& tables, std::string_view name) noexcept;

} // namespace tvn
