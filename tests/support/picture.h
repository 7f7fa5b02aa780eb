// Everything of a problem that a file carries, in a form that compares by ==, through the C interface.
#pragma once

#include "tovan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string>
#include <vector>

struct picture {
  struct element {
    int32_t col, row;
    double value;
    bool operator==(const element&) const = default;
  };
  int32_t numcon = 0, numvar = 0, numcone = 0, sense = 0;
  double cfix = 0;
  std::vector<std::string> names; // of the objective, the rows, the columns and the cones
  std::vector<double> c;
  std::vector<int32_t> keys, types; // keys of rows, then of columns
  std::vector<double> lower, upper; // likewise
  std::vector<element> a;
  std::map<std::array<int32_t, 3>, double> q; // row (-1: objective), i, j
  std::vector<std::vector<int32_t>> cones;    // members, then the type
  bool operator==(const picture&) const = default;
};

namespace looking {

inline std::string name_of(TVNtask_t t, int32_t item, int32_t i) {
  int64_t len = 0;
  TVN_getnamelen64(t, item, i, &len);
  std::string name(static_cast<size_t>(len) + 1, '\0');
  TVN_getnameapi64(t, item, i, len + 1, name.data());
  return name.c_str();
}

// The terms of row `from`, -1: the objective, under the number `row`. Those that a reader would drop stay behind.
inline void at_terms(TVNtask_t t, int32_t from, int32_t row, picture& p) {
  int32_t num = 0;
  from < 0 ? TVN_getnumqobjnz(t, &num) : TVN_getnumqconknz(t, from, &num);
  const auto size = static_cast<size_t>(num);
  std::vector<int32_t> i(size), j(size);
  std::vector<double> value(size);
  int32_t surplus = num;
  from < 0 ? TVN_getqobj(t, num, &surplus, &num, i.data(), j.data(), value.data())
           : TVN_getqconk(t, from, num, &surplus, &num, i.data(), j.data(), value.data());
  for (size_t k = 0; k < size; k++)
    if (std::fabs(value[k]) > 1e-15) p.q[{row, i[k], j[k]}] += value[k];
}

inline void at_bound(TVNtask_t t, int32_t side, int32_t i, picture& p) {
  int32_t key = 0;
  double lower = 0, upper = 0;
  TVN_getbound(t, side, i, &key, &lower, &upper);
  p.keys.push_back(key);
  p.lower.push_back(lower);
  p.upper.push_back(upper);
}

// Number of row i in the picture, -1: it stays behind.
inline std::vector<int32_t> at_rows(TVNtask_t t, bool withfree, picture& p) {
  int32_t numcon = 0;
  TVN_getnumcon(t, &numcon);
  std::vector<int32_t> number(static_cast<size_t>(numcon), -1);
  for (int32_t i = 0, key = 0; i < numcon; i++) {
    TVN_getbound(t, TVN_ACC_CON, i, &key, nullptr, nullptr);
    if (key == TVN_BK_FR && !withfree) continue;
    at_terms(t, i, p.numcon, p);
    at_bound(t, TVN_ACC_CON, i, p);
    p.names.push_back(name_of(t, TVN_PI_CON, i));
    number[static_cast<size_t>(i)] = p.numcon++;
  }
  return number;
}

inline void at_column(TVNtask_t t, int32_t j, const std::vector<int32_t>& number, picture& p) {
  int32_t num = 0, type = 0;
  TVN_getvartype(t, j, &type);
  p.types.push_back(type);
  p.names.push_back(name_of(t, TVN_PI_VAR, j));
  at_bound(t, TVN_ACC_VAR, j, p);
  TVN_getavecnumnz(t, TVN_ACC_VAR, j, &num);
  std::vector<int32_t> sub(static_cast<size_t>(num));
  std::vector<double> val(sub.size());
  TVN_getavec(t, TVN_ACC_VAR, j, &num, sub.data(), val.data());
  const auto first = std::ssize(p.a);
  for (size_t k = 0; k < sub.size(); k++)
    if (const int32_t row = number[static_cast<size_t>(sub[k])]; row >= 0) p.a.push_back({j, row, val[k]});
  std::sort(p.a.begin() + first, p.a.end(),
            [](const picture::element& x, const picture::element& y) { return x.row < y.row; });
}

inline void at_cone(TVNtask_t t, int32_t k, picture& p) {
  int32_t type = 0, num = 0;
  double par = 0;
  TVN_getconeinfo(t, k, &type, nullptr, &num);
  std::vector<int32_t> members(static_cast<size_t>(num));
  TVN_getcone(t, k, &type, &par, &num, members.data());
  members.push_back(type);
  p.cones.push_back(members);
  p.names.push_back(name_of(t, TVN_PI_CONE, k));
}

} // namespace looking

// withfree: free rows count, too; a writer leaves them behind by default.
inline picture look(TVNtask_t t, bool withfree = true) {
  picture p;
  int32_t len = 0;
  TVN_getnumvar(t, &p.numvar);
  TVN_getnumcone(t, &p.numcone);
  TVN_getobjsense(t, &p.sense);
  TVN_getcfix(t, &p.cfix);
  TVN_getobjname(t, 0, &len, nullptr);
  std::string objname(static_cast<size_t>(len) + 1, '\0');
  TVN_getobjname(t, len + 1, &len, objname.data());
  p.names.emplace_back(objname.c_str());
  const std::vector<int32_t> number = looking::at_rows(t, withfree, p);
  for (int32_t j = 0; j < p.numvar; j++) looking::at_column(t, j, number, p);
  p.c.resize(static_cast<size_t>(p.numvar));
  TVN_getc(t, p.c.data());
  looking::at_terms(t, -1, -1, p);
  for (int32_t k = 0; k < p.numcone; k++) looking::at_cone(t, k, p);
  return p;
}

// What no file of 17 digits carries to the last bit goes: a row's second side is read as the first plus the width, an
// integer variable has whole bounds.
inline void forgive(picture& want, picture& got) {
  if (want.keys.size() != got.keys.size()) return;
  for (size_t k = 0; k < want.keys.size(); k++) {
    const bool row = k < static_cast<size_t>(want.numcon);
    for (picture* p : {&want, &got}) {
      if (row && p->keys[k] == TVN_BK_RA && p->lower[k] == p->upper[k]) p->keys[k] = TVN_BK_FX;
      const bool whole = !row && p->types[k - static_cast<size_t>(p->numcon)] == TVN_VAR_TYPE_INT;
      if (!whole || p->keys[k] == TVN_BK_FX) continue;
      p->lower[k] = std::ceil(p->lower[k]);
      p->upper[k] = std::floor(p->upper[k]);
    }
    const double size = std::fabs(want.lower[k]) + std::fabs(want.upper[k]);
    if (row && want.keys[k] == TVN_BK_RA && std::fabs(want.upper[k] - got.upper[k]) <= 1e-15 * size)
      want.upper[k] = got.upper[k];
  }
}

// The parts that differ, "" when none does.
inline std::string difference(const picture& a, const picture& b) {
  std::string what;
  for (const auto& [differs, name] : {std::pair{a.numcon != b.numcon, " rows"},
                                      {a.numvar != b.numvar, " columns"},
                                      {a.sense != b.sense, " sense"},
                                      {a.cfix != b.cfix, " cfix"},
                                      {a.names != b.names, " names"},
                                      {a.c != b.c, " c"},
                                      {a.keys != b.keys, " keys"},
                                      {a.lower != b.lower || a.upper != b.upper, " bounds"},
                                      {a.types != b.types, " types"},
                                      {a.a != b.a, " elements"},
                                      {a.q != b.q, " quadratic"},
                                      {a.cones != b.cones, " cones"}})
    if (differs) what += name;
  return what;
}
