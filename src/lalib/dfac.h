// L D L' of a dense front.
//
// The first w columns of the lower triangle of an n by n matrix are eliminated, the rest is updated: on return columns
// 0 .. w-1 hold L below its unit diagonal, d their pivots, and the trailing lower triangle A22 - L2 D L2'. Which pivot
// a column gets is the caller's rule; nothing is interchanged. Panels of columns are factored by halves (Elmroth and
// Gustavson 2000), so that nearly all work is in products. Cost: w n^2 - w^2 n + w^3/3 flops.
#pragma once

#include "lalib/matker.h"

namespace tvn {

struct dfac_hooks {
  void* handle = nullptr;
  // The pivot of column k of the front, whose diagonal element is q after all updates. Never 0.
  double (*pivot)(void* handle, int64_t k, double q) = nullptr;
  // Asked between panels; false ends the factorisation. Null: never asked.
  bool (*goeson)(void* handle) = nullptr;
};

// Doubles of work space for fronts of up to n rows, the kernels' own included.
int64_t TVN_dfac_worksize(const matker& ker, int64_t n) noexcept;
// False when the caller's hook has ended it; then the front is spoiled. d: [w].
bool TVN_dfac_factor(const matker& ker, int64_t n, int64_t w, double* a, int64_t lda, double* d,
                     const dfac_hooks& hooks, double* work) noexcept;

} // namespace tvn
