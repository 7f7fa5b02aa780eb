// C = C - A D B' on column-major blocks (Goto and van de Geijn 2008).
//
// B is copied, times D, into groups as wide as the register tile; A is read where it stands while it is small and
// copied like B beyond, so that the innermost loop reads memory in order. Every element of C is its old value less the
// products one after the other, so no choice of blocks, and no sharing among threads, changes a bit. Cost: 2 m n k
// flops, copies n k and, of A, m k. See README.md.
#pragma once

#include "lalib/microkernel.h"

namespace tvn {

enum class matker_isa : int32_t { baseline = 0, avx2 = 1, avx512 = 2 };

// Kernels of one instruction set.
struct matker {
  matker_isa isa = matker_isa::baseline;
  microkernel micro{};
  int32_t mc = 0, nc = 0, kc = 0; // rows of A, rows of B and columns of both that are at work at a time
};

// The best instruction set that this processor and its operating system have, but none above `most`.
matker TVN_matker_make(matker_isa most) noexcept;
// Doubles of work space that every call with these kernels needs, 64-byte alignment wanted.
int64_t TVN_matker_packsize(const matker& ker) noexcept;

// C (m by n) -= A (m by k) D B' (B is n by k).
struct matker_product {
  int64_t m = 0, n = 0, k = 0;
  const double* a = nullptr;
  int64_t lda = 0;
  const double* b = nullptr;
  int64_t ldb = 0;
  const double* d = nullptr; // [k] or null: all 1
  double* c = nullptr;
  int64_t ldc = 0;
  bool lower = false; // m >= n and only the lower trapezoid is wanted: up to nr - 1 elements above the diagonal of each
                      // column are spoiled, the others are left alone
};
// pack: work space.
void TVN_matker_mm_cecmab(const matker& ker, const matker_product& p, double* pack) noexcept;

inline void TVN_matker_mm_sym_cecmab(const matker& ker, int64_t m, int64_t n, int64_t k, const double* a, int64_t lda,
                                     const double* b, int64_t ldb, double* c, int64_t ldc, double* pack) noexcept {
  TVN_matker_mm_cecmab(ker, {m, n, k, a, lda, b, ldb, nullptr, c, ldc, true}, pack);
}

// Columns [0, cols) of `rows` rows by one tile after the other; what m says of rows is replaced.
inline void TVN_matker_run_rows(const microkernel& micro, int64_t rows, int64_t cols, micro_call m) noexcept {
  const micro_function* const run = micro.run[cols - 1];
  for (; rows >= micro.mr; rows -= micro.mr, m.a += micro.mr, m.c += micro.mr) run[0](m);
  if (rows <= 0) return;
  const int64_t vectors = ((rows - 1) >> micro.widthlog) + 1;
  m.last = rows - ((vectors - 1) << micro.widthlog);
  run[vectors](m);
}

} // namespace tvn
