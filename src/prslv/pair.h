// Two columns that are multiples of one another, a_k = t a_j: the arithmetic of running them as one and of the way
// back, for presolve and for whoever runs such a pair as one without it. See dupvar.cpp.
#pragma once

#include "misc/optdef.h"

namespace tvn {

struct column_pair {
  int32_t j = 0, k = 0;
  double t = 0;
  double lj = 0, uj = 0, lk = 0, uk = 0; // infinite where there is no bound
};

// Of c_k with t c_j: the same, apart beyond tolerance, or neither.
enum class pair_costs { alike, unlike, unclear };
pair_costs TVN_prslv_comparecosts(double ck, double tcj, double tols) noexcept;

struct pair_ends {
  double lo, up;
};
pair_ends TVN_prslv_mergepair(const column_pair& p) noexcept; // bounds of x_j + t x_k

// The bounds to which trading one column for the other drives them when g = c_k - t c_j is not 0. Where one of the two
// is infinite, the other column is at its bound in every optimum.
struct pair_trade {
  double bj, bk;
  int32_t keyj, keyk;
};
pair_trade TVN_prslv_tradepair(const column_pair& p, double g) noexcept;

// On entry column j holds x_j + t x_k with its key and duals; on exit both columns hold theirs. At most one is off its
// bounds; the merged key is then that column's. bykey: a merged column whose key names a bound rests there; else its
// value counts, as for rays and interior points.
void TVN_prslv_splitpair(const column_pair& p, bool bykey, solution_view& s);

} // namespace tvn
