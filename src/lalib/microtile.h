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
  void subtract(const micro_call& m) {
    const double *a = m.a, *u = m.u;
    const int64_t lda = m.lda, ldu = m.ldu, last = m.last;
    for (int64_t p = 0; p < m.k; p++, a += lda, u += ldu) {
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
  t.subtract(m);
  if (m.tri) t.template finish<nr>(m.tri);
  t.write(m);
}

template <class V, int cols> void micro_dots_of(int64_t n, const double* l, int64_t ld, const double* y, double* sum) {
  typename V::type acc[cols];
#pragma GCC unroll 8
  for (int j = 0; j < cols; j++) acc[j] = V::fill(0.0);
  int64_t i = 0;
  for (; i + V::width <= n; i += V::width) {
    const typename V::type v = V::load(y + i);
#pragma GCC unroll 8
    for (int j = 0; j < cols; j++) acc[j] = V::plus(acc[j], V::load(l + i + j * ld), v);
  }
  if (i < n) {
    const typename V::type v = V::load_part(y + i, n - i);
#pragma GCC unroll 8
    for (int j = 0; j < cols; j++) acc[j] = V::plus(acc[j], V::load_part(l + i + j * ld, n - i), v);
  }
  for (int j = 0; j < cols; j++) {
    double parts[V::width], all = 0;
    V::store(parts, acc[j]);
    for (int p = 0; p < V::width; p++) all += parts[p];
    sum[j] = all;
  }
}

template <class V, int cols> void micro_dotsx_of(int64_t n, const double* l, int64_t ld, const double* y, double* sum) {
  constexpr int parts = micro_wide / V::width;
  typename V::type acc[cols][parts];
#pragma GCC unroll 8
  for (int j = 0; j < cols; j++)
#pragma GCC unroll 4
    for (int q = 0; q < parts; q++) acc[j][q] = V::fill(0.0);
  for (int64_t i = 0; i < n; i++, y += micro_wide) {
    typename V::type v[parts];
#pragma GCC unroll 4
    for (int q = 0; q < parts; q++) v[q] = V::load(y + q * V::width);
#pragma GCC unroll 8
    for (int j = 0; j < cols; j++) {
      const typename V::type w = V::fill(l[i + j * ld]);
#pragma GCC unroll 4
      for (int q = 0; q < parts; q++) acc[j][q] = V::plus(acc[j][q], v[q], w);
    }
  }
#pragma GCC unroll 8
  for (int j = 0; j < cols; j++)
#pragma GCC unroll 4
    for (int q = 0; q < parts; q++) V::store(sum + j * micro_wide + q * V::width, acc[j][q]);
}

} // namespace
} // namespace tvn
