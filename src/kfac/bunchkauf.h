// P E P' = L D L' of a dense symmetric indefinite matrix, D of blocks of order 1 and 2 (Bunch and Kaufman 1977).
//
// The lower triangle of a column-major n by n matrix is overwritten by L and D. A column without an element above
// toldrop when its turn comes is dropped: its unknown is 0 in every solve and its equation is not looked at, as if the
// row and the column were not there. Cost: n^3/3 flops, n^2/3 to factor and 2 n^2 to solve.
#pragma once

#include <cstdint>

namespace tvn {

struct bunchkauf_inertia {
  int64_t positive = 0, negative = 0, dropped = 0;
};

// Asked every few milliseconds; false ends the factorisation. Null: never asked.
struct bunchkauf_hook {
  void* handle = nullptr;
  bool (*goeson)(void* handle) = nullptr;
};

// piv: [n] at a block of order 1 the row that was interchanged with its own, or -1 if it is dropped; at both of a block
// of order 2: -2 less the row that was interchanged with the second one. False when the hook has ended it.
bool TVN_bunchkauf_factor(int64_t n, double* a, int64_t lda, double toldrop, const bunchkauf_hook& hook, int32_t* piv,
                          bunchkauf_inertia& inertia) noexcept;
// x: [n] right side, becomes the solution.
void TVN_bunchkauf_solve(int64_t n, const double* a, int64_t lda, const int32_t* piv, double* x) noexcept;

} // namespace tvn
