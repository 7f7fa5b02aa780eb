// The tile for AVX2 with FMA: 12 of 16 registers accumulate.
#include "lalib/microtile.h"

#include <immintrin.h>

namespace tvn {

namespace {

struct vec4 {
  using type = __m256d;
  static constexpr int width = 4;
  static type load(const double* p) { return _mm256_loadu_pd(p); }
  static void store(double* p, type v) { _mm256_storeu_pd(p, v); }
  static type fill(double v) { return _mm256_set1_pd(v); }
  static type less(type c, type a, type b) { return _mm256_fnmadd_pd(a, b, c); }
};

} // namespace

const microkernel micro_avx2 = {micro_tile<vec4, 3, 4>, 12, 4};

} // namespace tvn
