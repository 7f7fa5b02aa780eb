// The tile for every x86-64: two doubles a register, product and difference rounded apart.
#include "lalib/microtile.h"

#include <emmintrin.h>

namespace tvn {

namespace {

struct vec2 {
  using type = __m128d;
  static constexpr int width = 2;
  static type load(const double* p) { return _mm_loadu_pd(p); }
  static type load_part(const double* p, int64_t n) { return n == 2 ? load(p) : _mm_load_sd(p); }
  static void store(double* p, type v) { _mm_storeu_pd(p, v); }
  static void store_part(double* p, type v, int64_t n) { n == 2 ? store(p, v) : _mm_store_sd(p, v); }
  static type fill(double v) { return _mm_set1_pd(v); }
  static type less(type c, type a, type b) { return _mm_sub_pd(c, _mm_mul_pd(a, b)); }
  static type plus(type c, type a, type b) { return _mm_add_pd(c, _mm_mul_pd(a, b)); }
  static type over(type a, type b) { return _mm_div_pd(a, b); }
};

constexpr int nr = 4;

} // namespace

#define TVN_TILES(cols)                                                                                                \
  {                                                                                                                    \
    micro_tile<vec2, nr, 2, cols, true>, micro_tile<vec2, nr, 1, cols, false>, micro_tile<vec2, nr, 2, cols, false>,   \
        nullptr                                                                                                        \
  }
const microkernel micro_base = {
    {TVN_TILES(1), TVN_TILES(2), TVN_TILES(3), TVN_TILES(4)},
    {micro_dots_of<vec2, 1>, micro_dots_of<vec2, 2>, micro_dots_of<vec2, 3>, micro_dots_of<vec2, 4>},
    {micro_dotsx_of<vec2, 1>, micro_dotsx_of<vec2, 2>, micro_dotsx_of<vec2, 3>, micro_dotsx_of<vec2, 4>},
    4,
    nr,
    2,
    1};

} // namespace tvn
