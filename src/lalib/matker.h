// C = C - A B' on column-major blocks (Goto and van de Geijn 2008).
//
// A and B are copied into panels as wide as the register tile of the instruction set, so that the innermost loop reads
// memory in order and touches each element of C once for every `kc` columns of A. Cost: 2 m n k flops, copies m k and
// n k. See README.md.
#pragma once

#include "lalib/microkernel.h"

namespace tvn {

enum class matker_isa : int32_t { baseline = 0, avx2 = 1, avx512 = 2 };

// Kernels of one instruction set.
struct matker {
  matker_isa isa = matker_isa::baseline;
  microkernel micro{};
  int32_t mc = 0, nc = 0, kc = 0; // rows of A, rows of B and columns of both in packed form at a time
};

// The best instruction set that this processor and its operating system have, but none above `most`.
matker TVN_matker_make(matker_isa most) noexcept;
// Doubles of work space that every call with these kernels needs, 64-byte alignment wanted.
int64_t TVN_matker_packsize(const matker& ker) noexcept;

// C (m by n) -= A (m by k) B' (B is n by k). pack: work space.
void TVN_matker_mm_cecmab(const matker& ker, int64_t m, int64_t n, int64_t k, const double* a, int64_t lda,
                          const double* b, int64_t ldb, double* c, int64_t ldc, double* pack) noexcept;
// The same for the lower triangle of a trapezoid: C is m by n with m >= n, and the element of row i and column j is
// changed only where i >= j.
void TVN_matker_mm_sym_cecmab(const matker& ker, int64_t m, int64_t n, int64_t k, const double* a, int64_t lda,
                              const double* b, int64_t ldb, double* c, int64_t ldc, double* pack) noexcept;

} // namespace tvn
