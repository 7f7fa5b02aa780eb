// L D L' of a dense front.
//
// The first columns of a front are eliminated where they stand, what is left is updated: on return they hold L below
// its unit diagonal, d their pivots, and the update A22 - L2 D L2'. Which pivot a column gets is the caller's rule;
// nothing is interchanged. Cost: w n^2 - w^2 n + w^3/3 flops for w columns of n rows.
//
// The update, a lower triangle of order t, is stored in block columns: block q holds columns [b q, b q + b) from row
// b q down, one block behind the other.
#pragma once

#include "lalib/matker.h"
#include "thread/team.h"

namespace tvn {

constexpr int64_t dfac_block = 128; // b, a multiple of the columns of every register tile

// Doubles of an update of order t, and the place of its column j: that of row i is at [i].
inline int64_t TVN_dfac_updatesize(int64_t t) noexcept {
  const int64_t q = t / dfac_block, rest = t - q * dfac_block;
  return dfac_block * (q * t - dfac_block * (q * (q - 1) / 2)) + rest * rest;
}
inline double* TVN_dfac_column(double* update, int64_t t, int64_t j) noexcept {
  if (t <= dfac_block) return update + j * t;
  const int64_t q = j / dfac_block, top = q * dfac_block;
  return update + dfac_block * (q * t - dfac_block * (q * (q - 1) / 2)) + (j - top) * (t - top) - top;
}

struct dfac_front {
  int64_t rows = 0, cols = 0; // of the front; to be eliminated
  double* a = nullptr;        // the columns to be eliminated, lower trapezoid; a few elements above the diagonal of a
  int64_t lda = 0;            // column are spoiled
  double* update = nullptr;   // of order rows - cols
  double* d = nullptr;        // [cols]
};

struct dfac_hooks {
  void* handle = nullptr;
  // The pivot of column k of the front, whose diagonal element is q after all updates. Never 0.
  double (*pivot)(void* handle, int64_t k, double q) = nullptr;
  // Asked every few million flops; false ends the factorisation. Null: never asked.
  bool (*goeson)(void* handle, double flops) = nullptr;
};

// Work space for fronts of up to `rows` rows and `cols` columns to be eliminated, its size in doubles and its parts.
struct dfac_space {
  double *coef = nullptr, *tri = nullptr; // of a panel's groups of columns: coefficients, L and pivots
  double* right = nullptr;                // coefficients of the rows below
  double* packs = nullptr;                // a strip for each thread
  int64_t pack = 0;
};
int64_t TVN_dfac_worksize(const matker& ker, int64_t rows, int64_t cols, int32_t numthreads) noexcept;
dfac_space TVN_dfac_space(const matker& ker, int64_t rows, int64_t cols, double* work) noexcept;

// False when the caller's hook has ended it; then the front is spoiled. team: shares the work, with the same bits; its
// threads are those that the work space was sized for. Null: none.
bool TVN_dfac_factor(const matker& ker, const dfac_front& front, const dfac_hooks& hooks, const dfac_space& space,
                     thread_team* team) noexcept;

} // namespace tvn
