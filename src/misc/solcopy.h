// Copies of the arrays of a solution.
#pragma once

#include "cpub/buffer.h"
#include "misc/optdef.h"

#include <algorithm>

namespace tvn {

// Values and duals; the keys stay.
inline void copy_values(int32_t numcon, int32_t numvar, const solution_view& from, const solution_view& to) noexcept {
  for (auto v : {&solution_view::xc, &solution_view::y, &solution_view::slc, &solution_view::suc})
    std::copy_n(from.*v, numcon, to.*v);
  for (auto v : {&solution_view::xx, &solution_view::slx, &solution_view::sux}) std::copy_n(from.*v, numvar, to.*v);
  if (from.snx && to.snx) std::copy_n(from.snx, numvar, to.snx);
}

inline void copy_solution(int32_t numcon, int32_t numvar, const solution_view& from, const solution_view& to) noexcept {
  copy_values(numcon, numvar, from, to);
  std::copy_n(from.skc, numcon, to.skc);
  std::copy_n(from.skx, numvar, to.skx);
}

// Room for a solution.
struct solution_room {
  solution_view sol;

  solution_room() = default;
  solution_room(sysenv& sys, int32_t numcon, int32_t numvar) { make(sys, numcon, numvar); }
  solution_room(const solution_room&) = delete;
  solution_room& operator=(const solution_room&) = delete;

  void make(sysenv& sys, int32_t numcon, int32_t numvar) {
    const int64_t m = numcon, n = numvar;
    keys.reset(sys, m + n);
    reals.reset(sys, 4 * m + 4 * n);
    std::fill_n(reals.data() + 4 * m + 3 * n, n, 0.0); // snx, which nobody sets where there are no cones
    sol.skc = keys.data();
    sol.skx = keys.data() + m;
    double* v = reals.data();
    for (double** w : {&sol.xc, &sol.y, &sol.slc, &sol.suc}) *w = v, v += m;
    for (double** w : {&sol.xx, &sol.slx, &sol.sux, &sol.snx}) *w = v, v += n;
  }

private:
  buffer<int32_t> keys;
  buffer<double> reals;
};

} // namespace tvn
