// The tile for AVX2 with FMA: 12 of 16 registers accumulate.
#include "lalib/microtile.h"

#include <immintrin.h>

namespace tvn {

namespace {

struct vec4 {
  using type = __m256d;
  static constexpr int width = 4;
  static __m256i mask(int64_t n) { return _mm256_cmpgt_epi64(_mm256_set1_epi64x(n), _mm256_setr_epi64x(0, 1, 2, 3)); }
  static type load(const double* p) { return _mm256_loadu_pd(p); }
  static type load_part(const double* p, int64_t n) { return _mm256_maskload_pd(p, mask(n)); }
  static void store(double* p, type v) { _mm256_storeu_pd(p, v); }
  static void store_part(double* p, type v, int64_t n) { _mm256_maskstore_pd(p, mask(n), v); }
  static type fill(double v) { return _mm256_set1_pd(v); }
  static type less(type c, type a, type b) { return _mm256_fnmadd_pd(a, b, c); }
  static type plus(type c, type a, type b) { return _mm256_fmadd_pd(a, b, c); }
  static type over(type a, type b) { return _mm256_div_pd(a, b); }
};

constexpr int nr = 4;

} // namespace

#define TVN_TILES(cols)                                                                                                \
  {                                                                                                                    \
    micro_tile<vec4, nr, 3, cols, true>, micro_tile<vec4, nr, 1, cols, false>, micro_tile<vec4, nr, 2, cols, false>,   \
        micro_tile<vec4, nr, 3, cols, false>                                                                           \
  }
const microkernel micro_avx2 = {
    {TVN_TILES(1), TVN_TILES(2), TVN_TILES(3), TVN_TILES(4)},
    {micro_dots_of<vec4, 1>, micro_dots_of<vec4, 2>, micro_dots_of<vec4, 3>, micro_dots_of<vec4, 4>},
    {micro_dotsx_of<vec4, 1>, micro_dotsx_of<vec4, 2>, micro_dotsx_of<vec4, 3>, micro_dotsx_of<vec4, 4>},
    12,
    nr,
    2,
    2};

} // namespace tvn
