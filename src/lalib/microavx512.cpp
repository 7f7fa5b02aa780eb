// The tile for AVX-512F: 24 of 32 registers accumulate.
#include "lalib/microtile.h"

#include <immintrin.h>

namespace tvn {

namespace {

struct vec8 {
  using type = __m512d;
  static constexpr int width = 8;
  static type load(const double* p) { return _mm512_loadu_pd(p); }
  static void store(double* p, type v) { _mm512_storeu_pd(p, v); }
  static type fill(double v) { return _mm512_set1_pd(v); }
  static type less(type c, type a, type b) { return _mm512_fnmadd_pd(a, b, c); }
};

} // namespace

const microkernel micro_avx512 = {micro_tile<vec8, 3, 8>, 24, 8};

} // namespace tvn
