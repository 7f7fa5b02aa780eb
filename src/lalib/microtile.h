// The register tile: the one piece that knows the machine. Included by one file for each instruction set, whose trait
// gives the vector type; everything here is local to that file, because the linker must not take code of one
// instruction set for that of another. Nothing else is included for the same reason.
#pragma once

#include "lalib/microkernel.h"

namespace tvn {
namespace {

template <class V, int rows, int cols, bool whole> struct tile {
  using vector = typename V::type;
  vector acc[cols][rows];

  static vector load(const double* p, int i, int64_t last) {
    return whole || i + 1 < rows ? V::load(p + i * V::width) : V::load_part(p + i * V::width, last);
  }
  void read(const micro_call& m) {
#pragma GCC unroll 16
    for (int j = 0; j < cols; j++)
#pragma GCC unroll 4
      for (int i = 0; i < rows; i++) acc[j][i] = load(m.c + j * m.ldc, i, m.last);
  }
  template <int nr> void subtract(const micro_call& m) {
    const double *a = m.a, *u = m.u;
    const int64_t lda = m.lda, last = m.last;
    for (int64_t p = 0; p < m.k; p++, a += lda, u += nr) {
      vector v[rows];
#pragma GCC unroll 4
      for (int i = 0; i < rows; i++) v[i] = load(a, i, last);
#pragma GCC unroll 16
      for (int j = 0; j < cols; j++) {
        const vector w = V::fill(u[j]);
#pragma GCC unroll 4
        for (int i = 0; i < rows; i++) acc[j][i] = V::less(acc[j][i], v[i], w);
      }
    }
  }
  template <int nr> void finish(const double* tri) {
#pragma GCC unroll 16
    for (int p = 0; p < cols; p++)
#pragma GCC unroll 16
      for (int j = p + 1; j < cols; j++) {
        const vector w = V::fill(tri[p * nr + j]);
#pragma GCC unroll 4
        for (int i = 0; i < rows; i++) acc[j][i] = V::less(acc[j][i], acc[p][i], w);
      }
#pragma GCC unroll 16
    for (int j = 0; j < cols; j++) {
      const vector d = V::fill(tri[nr * nr + j]);
#pragma GCC unroll 4
      for (int i = 0; i < rows; i++) acc[j][i] = V::over(acc[j][i], d);
    }
  }
  void write(const micro_call& m) const {
#pragma GCC unroll 16
    for (int j = 0; j < cols; j++)
#pragma GCC unroll 4
      for (int i = 0; i < rows; i++) {
        double* p = m.c + j * m.ldc + i * V::width;
        if (whole || i + 1 < rows)
          V::store(p, acc[j][i]);
        else
          V::store_part(p, acc[j][i], m.last);
      }
  }
};

template <class V, int nr, int rows, int cols, bool whole> void micro_tile(const micro_call& m) {
  tile<V, rows, cols, whole> t;
  t.read(m);
  t.template subtract<nr>(m);
  if (m.tri) t.template finish<nr>(m.tri);
  t.write(m);
}

} // namespace
} // namespace tvn
