// Triangular solves along the supernodes. Rows below a supernode are gathered once, so that the inner loops run down
// contiguous columns of L. Cost: the stored values, twice.
#include "kfac/sfk.h"

#include <algorithm>

namespace tvn {

namespace {

struct block_view {
  const double* l; // column-major
  int64_t height, width;
  const int32_t* below; // rows under the own columns
  int32_t first;
};

block_view block_of(const sfk_factor& f, int32_t k) noexcept {
  const sfk_structure& s = *f.sfk;
  const int64_t width = s.snbeg[k + 1] - s.snbeg[k];
  return {f.val.data() + s.valbeg[k], s.rowbeg[k + 1] - s.rowbeg[k], width, s.rows.data() + s.rowbeg[k] + width,
          s.snbeg[k]};
}

} // namespace

void TVN_sfk_Lx(const sfk_factor& f, double* x, double* work) noexcept {
  for (int32_t k = 0; k < f.sfk->numsn; k++) {
    const block_view b = block_of(f, k);
    const int64_t num = b.height - b.width;
    double* __restrict const sum = work;
    std::fill_n(sum, num, 0.0);
    for (int64_t c = 0; c < b.width; c++) {
      const double* __restrict const l = b.l + c * b.height;
      const double t = x[b.first + c];
      for (int64_t i = c + 1; i < b.width; i++) x[b.first + i] -= l[i] * t;
      for (int64_t i = 0; i < num; i++) sum[i] += l[b.width + i] * t;
    }
    for (int64_t i = 0; i < num; i++) x[b.below[i]] -= sum[i];
  }
}

void TVN_sfk_InvmulD(const sfk_factor& f, double* x) noexcept {
  for (int32_t k = 0; k < f.sfk->n; k++) x[k] /= f.d[k];
}

void TVN_sfk_Ltx(const sfk_factor& f, double* x, double* work) noexcept {
  for (int32_t k = f.sfk->numsn - 1; k >= 0; k--) {
    const block_view b = block_of(f, k);
    const int64_t num = b.height - b.width;
    double* __restrict const y = work;
    for (int64_t i = 0; i < num; i++) y[i] = x[b.below[i]];
    for (int64_t c = b.width - 1; c >= 0; c--) {
      const double* __restrict const l = b.l + c * b.height;
      double even = 0, odd = 0;
      for (int64_t i = c + 1; i < b.width; i++) even += l[i] * x[b.first + i];
      int64_t i = 0;
      for (; i + 1 < num; i += 2) {
        even += l[b.width + i] * y[i];
        odd += l[b.width + i + 1] * y[i + 1];
      }
      if (i < num) even += l[b.width + i] * y[i];
      x[b.first + c] -= even + odd;
    }
  }
}

void TVN_sfk_solve(const sfk_factor& f, double* rhs, double* work) noexcept {
  const sfk_structure& s = *f.sfk;
  double* const x = work + s.maxfront;
  for (int32_t k = 0; k < s.n; k++) x[k] = rhs[s.perm[k]];
  TVN_sfk_Lx(f, x, work);
  TVN_sfk_InvmulD(f, x);
  TVN_sfk_Ltx(f, x, work);
  for (int32_t k = 0; k < s.n; k++) rhs[s.perm[k]] = x[k];
}

} // namespace tvn
