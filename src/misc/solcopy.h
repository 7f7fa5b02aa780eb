// Copies of the arrays of a solution.
#pragma once

#include "cpub/buffer.h"
#include "misc/optdef.h"

#include <algorithm>

namespace tvn {

// Values and duals; the keys stay.
inline void copy_values(int32_t numcon, int32_t numvar, const lp_solution& from, const lp_solution& to) noexcept {
  for (auto v : {&lp_solution::xc, &lp_solution::y, &lp_solution::slc, &lp_solution::suc})
    std::copy_n(from.*v, numcon, to.*v);
  for (auto v : {&lp_solution::xx, &lp_solution::slx, &lp_solution::sux}) std::copy_n(from.*v, numvar, to.*v);
}

inline void copy_solution(int32_t numcon, int32_t numvar, const lp_solution& from, const lp_solution& to) noexcept {
  copy_values(numcon, numvar, from, to);
  std::copy_n(from.skc, numcon, to.skc);
  std::copy_n(from.skx, numvar, to.skx);
}

// Room for a solution.
struct solution_room {
  lp_solution sol;

  solution_room() = default;
  solution_room(sysenv& sys, int32_t numcon, int32_t numvar) { make(sys, numcon, numvar); }
  solution_room(const solution_room&) = delete;
  solution_room& operator=(const solution_room&) = delete;

  void make(sysenv& sys, int32_t numcon, int32_t numvar) {
    const int64_t m = numcon, n = numvar;
    keys.reset(sys, m + n);
    reals.reset(sys, 4 * m + 3 * n);
    sol.skc = keys.data();
    sol.skx = keys.data() + m;
    double* v = reals.data();
    for (double** w : {&sol.xc, &sol.y, &sol.slc, &sol.suc}) *w = v, v += m;
    for (double** w : {&sol.xx, &sol.slx, &sol.sux}) *w = v, v += n;
  }

private:
  buffer<int32_t> keys;
  buffer<double> reals;
};

} // namespace tvn
