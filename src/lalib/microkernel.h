// What a register tile is to the code around it.
#pragma once

#include <stdint.h>

namespace tvn {

constexpr int maxmicrocols = 8, maxmicrovectors = 3;

// One tile: c (column-major with ldc) -= a u' over k columns of a (column-major with lda), where u holds k groups of
// coefficients, each behind the one before by ldu. Each element is its old value less the products in the order of the
// columns, one after the other, so no choice of tiles changes a bit. tri null: that is all. Else the columns are then
// finished: tri holds L of the nr columns by groups of nr, then their pivots, and c becomes c inv(L') inv(D).
struct micro_call {
  int64_t k;
  const double* a;
  int64_t lda;
  const double* u;
  int64_t ldu;
  double* c;
  int64_t ldc;
  int64_t last; // doubles of the last vector
  const double* tri;
};
using micro_function = void (*)(const micro_call& m);

// sum[j] = l_j' y over n rows of the columns of l (column-major with ld).
using micro_dots = void (*)(int64_t n, const double* l, int64_t ld, const double* y, double* sum);
// The same for several y at once: row i of them at y[i * micro_wide ..], sum like y.
using micro_dotsx = micro_dots;
constexpr int micro_wide = 8;

struct microkernel {
  micro_function run[maxmicrocols][maxmicrovectors + 1]; // by columns - 1; 0: all vectors whole, v: v of them, the last
                                                         // one in part
  micro_dots dots[maxmicrocols];                         // by columns - 1
  micro_dotsx dotsx[maxmicrocols];
  int32_t mr, nr, nrlog, widthlog; // rows, columns of a whole tile and their logarithm, that of doubles in a vector
};

extern const microkernel micro_base, micro_avx2, micro_avx512;

} // namespace tvn
