// The tile for AVX-512F: 24 of 32 registers accumulate.
#include "lalib/microtile.h"

#include <immintrin.h>

namespace tvn {

namespace {

struct vec8 {
  using type = __m512d;
  static constexpr int width = 8;
  static __mmask8 mask(int64_t n) { return static_cast<__mmask8>((1u << n) - 1); }
  static type load(const double* p) { return _mm512_loadu_pd(p); }
  static type load_part(const double* p, int64_t n) { return _mm512_maskz_loadu_pd(mask(n), p); }
  static void store(double* p, type v) { _mm512_storeu_pd(p, v); }
  static void store_part(double* p, type v, int64_t n) { _mm512_mask_storeu_pd(p, mask(n), v); }
  static type fill(double v) { return _mm512_set1_pd(v); }
  static type less(type c, type a, type b) { return _mm512_fnmadd_pd(a, b, c); }
  static type plus(type c, type a, type b) { return _mm512_fmadd_pd(a, b, c); }
  static type over(type a, type b) { return _mm512_div_pd(a, b); }
};

constexpr int nr = 8;

} // namespace

#define TVN_TILES(cols)                                                                                                \
  {                                                                                                                    \
    micro_tile<vec8, nr, 3, cols, true>, micro_tile<vec8, nr, 1, cols, false>, micro_tile<vec8, nr, 2, cols, false>,   \
        micro_tile<vec8, nr, 3, cols, false>                                                                           \
  }
const microkernel micro_avx512 = {
    {TVN_TILES(1), TVN_TILES(2), TVN_TILES(3), TVN_TILES(4), TVN_TILES(5), TVN_TILES(6), TVN_TILES(7), TVN_TILES(8)},
    {micro_dots_of<vec8, 1>, micro_dots_of<vec8, 2>, micro_dots_of<vec8, 3>, micro_dots_of<vec8, 4>,
     micro_dots_of<vec8, 5>, micro_dots_of<vec8, 6>, micro_dots_of<vec8, 7>, micro_dots_of<vec8, 8>},
    {micro_dotsx_of<vec8, 1>, micro_dotsx_of<vec8, 2>, micro_dotsx_of<vec8, 3>, micro_dotsx_of<vec8, 4>,
     micro_dotsx_of<vec8, 5>, micro_dotsx_of<vec8, 6>, micro_dotsx_of<vec8, 7>, micro_dotsx_of<vec8, 8>},
    24,
    nr,
    3,
    3};

} // namespace tvn
