// Filling of the parameter tables from the .def files, and the values that a task starts from.
//
// The tables come from def/*param.def, row by row; a name is the family's prefix and the name of the row. Bisection
// compares with the underscore below all other characters, which is the order of the rows.
#include "tovan/tables/paramtables.h"

#include <cstdio>

namespace tvn {

namespace {

void put_name(param_name& to, const char* name) noexcept { std::snprintf(to.data(), to.size(), "%s", name); }

// The order of the tables: the underscore stands before digits and letters.
bool name_less(std::string_view a, std::string_view b) noexcept {
  const auto key = [](char c) { return c == '_' ? ' ' : c; };
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [&](char x, char y) { return key(x) < key(y); });
}

template <size_t N> int32_t find_name(const std::array<param_name, N>& names, std::string_view name) noexcept {
  const auto at = std::lower_bound(names.begin(), names.end(), name, [](const param_name& entry, std::string_view n) {
    return name_less(entry.data(), n);
  });
  if (at == names.end() || at->data() != name) return static_cast<int32_t>(N);
  return static_cast<int32_t>(at - names.begin());
}

void make_integer_tables(param_tables& t) noexcept {
  size_t k = 0;
#define TVN_IPARAM(name, dflt, kind, min, max, family)                                                                 \
  put_name(t.iname[k], "TVN_IPAR_" #name);                                                                             \
  t.idef[k] = dflt;                                                                                                    \
  t.ikind[k] = kind;                                                                                                   \
  t.imin[k] = min;                                                                                                     \
  t.imax[k++] = max;
#include "tovan/def/iparam.def"
#undef TVN_IPARAM
}

void make_double_tables(param_tables& t) noexcept {
  size_t k = 0;
#define TVN_DPARAM(name, dflt, kind, min, max)                                                                         \
  put_name(t.dname[k], "TVN_DPAR_" #name);                                                                             \
  t.ddef[k] = dflt;                                                                                                    \
  t.dkind[k] = kind;                                                                                                   \
  t.dmin[k] = min;                                                                                                     \
  t.dmax[k++] = max;
#include "tovan/def/dparam.def"
#undef TVN_DPARAM
}

} // namespace

void make_param_tables(param_tables& t, sysenv& sys) {
  make_integer_tables(t);
  make_double_tables(t);
  size_t k = 0;
  for (text& value : t.sdef) value.attach(sys);
#define TVN_SPARAM(name, dflt)                                                                                         \
  put_name(t.sname[k], "TVN_SPAR_" #name);                                                                             \
  t.sdef[k++].assign(dflt);
#include "tovan/def/sparam.def"
#undef TVN_SPARAM
}

void free_param_tables(param_tables& t) noexcept {
  for (text& value : t.sdef) value.free();
}

void attach_param_values(param_values& v, sysenv& sys) noexcept {
  v.ival.fill(0);
  v.dval.fill(0.0);
  for (text& value : v.sval) value.attach(sys);
}

void set_param_defaults(param_values& v, const param_tables& t) {
  v.ival = t.idef;
  v.dval = t.ddef;
  for (size_t k = 0; k < v.sval.size(); k++) v.sval[k].assign(t.sdef[k].view());
}

void copy_param_values(param_values& to, const param_values& from) {
  to.ival = from.ival;
  to.dval = from.dval;
  for (size_t k = 0; k < to.sval.size(); k++) to.sval[k].assign(from.sval[k].view());
}

void free_param_values(param_values& v) noexcept {
  for (text& value : v.sval) value.free();
}

bool is_valid_param(int32_t kind, double value, double min, double max) noexcept {
  switch (static_cast<param_kind>(kind)) {
  case param_kind::at_least: return value >= min;
  case param_kind::at_most: return value <= max;
  case param_kind::both:
  case param_kind::either: return value >= min && value <= max;
  case param_kind::any: return value == value; // all numbers
  }
  return true;
}

int32_t find_iparam(const param_tables& t, std::string_view name) noexcept { return find_name(t.iname, name); }
int32_t find_dparam(const param_tables& t, std::string_view name) noexcept { return find_name(t.dname, name); }
int32_t find_sparam(const param_tables& t, std::string_view name) noexcept { return find_name(t.sname, name); }

} // namespace tvn
