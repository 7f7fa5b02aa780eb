// Tasks with everything that a problem may hold, from a seed, and files of any format between them.
#pragma once

#include "support/picture.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace anytask {

struct recipe {
  uint64_t seed;
  bool cones = false;
  bool newlines = true; // in names
  char forbidden = 0;   // in names
};

struct dice {
  std::mt19937_64 rng;
  explicit dice(uint64_t seed) : rng(seed) {}
  int32_t below(int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint64_t>(n)); }
  bool one_in(int32_t n) { return below(n) == 0; }
  // Small integers, ordinary numbers, and all that a double can be within the tolerances of a task.
  double number() {
    const double sign = one_in(2) ? 1 : -1;
    switch (below(4)) {
    case 0: return sign * (1 + below(3));
    case 1: return sign * std::exp2(below(20) - 10) * (1 + static_cast<double>(rng() % 1000003) / 7e5);
    case 2: return sign * std::ldexp(static_cast<double>(rng() >> 11), below(60) - 80);
    default: return sign * (1 + std::ldexp(below(5) - 2, -52));
    }
  }
};

// A name that nobody else has: plain, a keyword, a number in disguise, or any bytes.
inline std::string name(dice& d, const recipe& r, const char* prefix, int32_t k) {
  static const char* const odd[] = {"free", "inf",  "Infinity", "st",  "s.t.", "END", "bounds", "general",  "min",
                                    "max",  "subj", "Subject",  "e1",  "E",    "1x",  ".5",     "/x",       "x/y",
                                    "#a",   "[b]",  "a b",      "x^2", "a*b",  "to",  "x:",     "%&!@~|{}", "(a,b)"};
  const std::string own = prefix + std::to_string(k);
  switch (d.below(4)) {
  case 0:
    return k < static_cast<int32_t>(std::size(odd)) && d.one_in(2) ? odd[(k * 7 + d.below(3) * 9) % 27] + own : own;
  case 1: return own;
  case 2: return "a_rather_long_name_that_takes_a_good_part_of_any_line_" + own;
  default: break;
  }
  std::string any;
  for (int32_t n = d.below(6) + 1; n > 0; n--) {
    char c = static_cast<char>(1 + d.below(255));
    if (c == r.forbidden || (!r.newlines && static_cast<unsigned char>(c) < ' ')) c = '_';
    any += c;
  }
  return any + own;
}

inline void put_bound(TVNtask_t t, dice& d, int32_t side, int32_t i) {
  const int32_t bk = d.below(5);
  double lower = d.one_in(4) ? 0 : d.number(), upper = d.one_in(6) ? lower : lower + std::fabs(d.number());
  if (d.one_in(8)) upper = -std::fabs(d.number());
  if (bk == TVN_BK_FX) upper = lower;
  ASSERT_EQ(TVN_putbound(t, side, i, bk, lower, upper), TVN_RES_OK);
}

inline void put_quadratic(TVNtask_t t, dice& d, int32_t n, int32_t row) {
  std::vector<int32_t> i, j;
  std::vector<double> value;
  for (int32_t k = d.below(5); k >= 0; k--) {
    i.push_back(d.below(n));
    j.push_back(d.below(i.back() + 1));
    value.push_back(d.one_in(20) ? std::ldexp(d.number(), 900) : d.number());
  }
  const auto num = static_cast<int32_t>(i.size());
  const TVNrescodee code = row < 0 ? TVN_putqobj(t, num, i.data(), j.data(), value.data())
                                   : TVN_putqconk(t, row, num, i.data(), j.data(), value.data());
  ASSERT_EQ(code, TVN_RES_OK);
}

inline void put_names(TVNtask_t t, dice& d, const recipe& r, int32_t m, int32_t n) {
  const bool nameless = d.one_in(5);
  TVN_putobjname(t, name(d, r, "cost", 0).c_str());
  for (int32_t i = 0; i < m; i++) {
    int32_t bk = 0;
    double lower = 0, upper = 0;
    TVN_getbound(t, TVN_ACC_CON, i, &bk, &lower, &upper);
    // Two equal limits of a row without a name are one value in an LP file.
    const bool equal = bk == TVN_BK_RA && lower == upper;
    if (!nameless || equal || d.one_in(2)) TVN_putname(t, TVN_PI_CON, i, name(d, r, "r", i).c_str());
  }
  for (int32_t j = 0; j < n; j++) {
    const bool constant = j == 0 && d.one_in(3);
    TVN_putname(t, TVN_PI_VAR, j, constant ? "CFIX" : name(d, r, "v", j).c_str());
    if (constant && d.one_in(2)) { // what the constant of the objective looks like
      TVN_putbound(t, TVN_ACC_VAR, j, TVN_BK_FX, 3, 3);
      TVN_putcj(t, j, 1);
    }
  }
}

inline void fill(TVNtask_t t, const recipe& r) {
  dice d(r.seed);
  const int32_t m = d.below(8), n = d.one_in(12) ? 0 : 1 + d.below(12);
  ASSERT_EQ(TVN_append(t, TVN_ACC_CON, m + (n == 0)), TVN_RES_OK);
  ASSERT_EQ(TVN_append(t, TVN_ACC_VAR, n), TVN_RES_OK);
  TVN_putobjsense(t, 1 + d.below(2));
  if (d.one_in(3)) TVN_putcfix(t, d.number());
  for (int32_t i = 0; i < m; i++) put_bound(t, d, TVN_ACC_CON, i);
  for (int32_t j = 0; j < n; j++) {
    if (d.one_in(2)) TVN_putcj(t, j, d.number());
    put_bound(t, d, TVN_ACC_VAR, j);
    for (int32_t i = 0; i < m; i++)
      if (d.one_in(3)) TVN_putaij(t, i, j, d.number());
    if (d.one_in(3)) TVN_putvartype(t, j, TVN_VAR_TYPE_INT);
    if (d.one_in(4)) TVN_putvarbranchorder(t, j, d.below(5), d.below(3));
  }
  if (n > 0 && d.one_in(3)) put_quadratic(t, d, n, -1);
  if (n > 0 && m > 0 && d.one_in(3)) put_quadratic(t, d, n, d.below(m));
  put_names(t, d, r, m + (n == 0), n);
  for (int32_t k = 0; r.cones && 3 * k + 3 <= n; k++) {
    const int32_t members[] = {3 * k + 2, 3 * k, 3 * k + 1};
    TVN_appendcone(t, d.below(2), 0.0, 3, members);
    TVN_putname(t, TVN_PI_CONE, k, name(d, r, "k", k).c_str());
  }
}

inline std::string text_of(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace anytask
