// The register tile: the one piece that knows the machine. Included by one file for each instruction set, whose trait
// gives the vector type; everything here is local to that file, because the linker must not take code of one
// instruction set for that of another. Nothing else is included for the same reason.
#pragma once

#include "lalib/microkernel.h"

namespace tvn {
namespace {

// c (mr by nr, column-major) -= a b' for packed panels: a holds k groups of mr, b holds k groups of nr.
template <class V, int rows, int cols>
void micro_tile(int64_t k, const double* a, const double* b, double* c, int64_t ldc) {
  constexpr int mr = rows * V::width;
  typename V::type acc[cols][rows];
#pragma GCC unroll 16
  for (int j = 0; j < cols; j++)
#pragma GCC unroll 4
    for (int i = 0; i < rows; i++) acc[j][i] = V::load(c + j * ldc + i * V::width);
  for (int64_t p = 0; p < k; p++, a += mr, b += cols) {
    typename V::type v[rows];
#pragma GCC unroll 4
    for (int i = 0; i < rows; i++) v[i] = V::load(a + i * V::width);
#pragma GCC unroll 16
    for (int j = 0; j < cols; j++) {
      const typename V::type w = V::fill(b[j]);
#pragma GCC unroll 4
      for (int i = 0; i < rows; i++) acc[j][i] = V::less(acc[j][i], v[i], w);
    }
  }
#pragma GCC unroll 16
  for (int j = 0; j < cols; j++)
#pragma GCC unroll 4
    for (int i = 0; i < rows; i++) V::store(c + j * ldc + i * V::width, acc[j][i]);
}

} // namespace
} // namespace tvn
