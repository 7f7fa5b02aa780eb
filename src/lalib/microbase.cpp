// The tile for every x86-64: two doubles a register, product and difference rounded apart.
#include "lalib/microtile.h"

#include <emmintrin.h>

namespace tvn {

namespace {

struct vec2 {
  using type = __m128d;
  static constexpr int width = 2;
  static type load(const double* p) { return _mm_loadu_pd(p); }
  static void store(double* p, type v) { _mm_storeu_pd(p, v); }
  static type fill(double v) { return _mm_set1_pd(v); }
  static type less(type c, type a, type b) { return _mm_sub_pd(c, _mm_mul_pd(a, b)); }
};

} // namespace

const microkernel micro_base = {micro_tile<vec2, 2, 4>, 4, 4};

} // namespace tvn
