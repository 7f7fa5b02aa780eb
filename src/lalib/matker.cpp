// Packing and blocking around the register tile.
//
// Loop order: column blocks of C, then blocks of k, then row blocks of C. A packed block of B stays in the third cache
// over all row blocks, a packed block of A in the second over all tiles of its rows. Tiles that lie partly outside C,
// or across the diagonal of a triangle, are computed beside and then added where they belong.
#include "lalib/matker.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr int32_t maxtile = 24 * 8;
constexpr int32_t linedoubles = 8; // of a cache line

// Rows [0, rows) of src, `width` at a time: dst holds for each group its k columns one after the other, zeros beyond.
void pack_rows(const double* src, int64_t ld, int64_t rows, int64_t k, int32_t width, double* dst) noexcept {
  for (int64_t from = 0; from < rows; from += width) {
    const int64_t w = std::min<int64_t>(width, rows - from);
    for (int64_t p = 0; p < k; p++, dst += width) {
      const double* s = src + from + p * ld;
      for (int64_t i = 0; i < w; i++) dst[i] = s[i];
      for (int64_t i = w; i < width; i++) dst[i] = 0.0;
    }
  }
}

struct tile_place {
  int64_t row, col, rows, cols; // inside C
};

// A tile beside its place; only what is inside C and not above the diagonal is added.
void run_partial(const microkernel& micro, int64_t k, const double* a, const double* b, const tile_place& t, bool lower,
                 double* c, int64_t ldc) noexcept {
  alignas(64) double tile[maxtile] = {};
  micro.run(k, a, b, tile, micro.mr);
  for (int64_t j = 0; j < t.cols; j++)
    for (int64_t i = lower ? std::max<int64_t>(0, t.col + j - t.row) : 0; i < t.rows; i++)
      c[t.row + i + (t.col + j) * ldc] += tile[i + j * micro.mr];
}

// One packed block of A against one of B. row0, col0: where their part of C begins.
void run_block(const microkernel& micro, int64_t k, const double* pa, int64_t row0, int64_t rows, const double* pb,
               int64_t col0, int64_t cols, bool lower, double* c, int64_t ldc) noexcept {
  for (int64_t j = 0; j < cols; j += micro.nr)
    for (int64_t i = 0; i < rows; i += micro.mr) {
      const tile_place t{row0 + i, col0 + j, std::min<int64_t>(micro.mr, rows - i),
                         std::min<int64_t>(micro.nr, cols - j)};
      if (lower && t.row + t.rows <= t.col) continue; // above the diagonal
      const double *a = pa + i * k, *b = pb + j * k;
      const bool whole = t.rows == micro.mr && t.cols == micro.nr && (!lower || t.row >= t.col + t.cols - 1);
      if (whole)
        micro.run(k, a, b, c + t.row + t.col * ldc, ldc);
      else
        run_partial(micro, k, a, b, t, lower, c, ldc);
    }
}

int64_t round_up(int64_t n, int64_t to) noexcept { return (n + to - 1) / to * to; }

void multiply(const matker& ker, int64_t m, int64_t n, int64_t k, const double* a, int64_t lda, const double* b,
              int64_t ldb, bool lower, double* c, int64_t ldc, double* pack) noexcept {
  double* const pa = pack;
  double* const pb = pack + round_up(int64_t{ker.mc} * ker.kc, linedoubles);
  for (int64_t j = 0; j < n; j += ker.nc) {
    const int64_t cols = std::min<int64_t>(ker.nc, n - j);
    for (int64_t p = 0; p < k; p += ker.kc) {
      const int64_t depth = std::min<int64_t>(ker.kc, k - p);
      pack_rows(b + j + p * ldb, ldb, cols, depth, ker.micro.nr, pb);
      for (int64_t i = lower ? j / ker.mc * ker.mc : 0; i < m; i += ker.mc) {
        const int64_t rows = std::min<int64_t>(ker.mc, m - i);
        pack_rows(a + i + p * lda, lda, rows, depth, ker.micro.mr, pa);
        run_block(ker.micro, depth, pa, i, rows, pb, j, cols, lower, c, ldc);
      }
    }
  }
}

bool has_isa(matker_isa isa) noexcept {
  switch (isa) {
  case matker_isa::avx512: return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("fma");
  case matker_isa::avx2: return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  case matker_isa::baseline: break;
  }
  return true;
}

} // namespace

matker TVN_matker_make(matker_isa most) noexcept {
  matker ker;
  ker.isa = most;
  while (!has_isa(ker.isa)) ker.isa = static_cast<matker_isa>(static_cast<int32_t>(ker.isa) - 1);
  switch (ker.isa) {
  case matker_isa::avx512: ker.micro = micro_avx512; break;
  case matker_isa::avx2: ker.micro = micro_avx2; break;
  case matker_isa::baseline: ker.micro = micro_base; break;
  }
  // A's block of 384 KB fits the second cache, B's of 2 MB the third.
  ker.mc = 192;
  ker.kc = 256;
  ker.nc = 1024;
  return ker;
}

int64_t TVN_matker_packsize(const matker& ker) noexcept {
  return round_up(int64_t{ker.mc} * ker.kc, linedoubles) + int64_t{ker.nc} * ker.kc;
}

void TVN_matker_mm_cecmab(const matker& ker, int64_t m, int64_t n, int64_t k, const double* a, int64_t lda,
                          const double* b, int64_t ldb, double* c, int64_t ldc, double* pack) noexcept {
  multiply(ker, m, n, k, a, lda, b, ldb, false, c, ldc, pack);
}

void TVN_matker_mm_sym_cecmab(const matker& ker, int64_t m, int64_t n, int64_t k, const double* a, int64_t lda,
                              const double* b, int64_t ldb, double* c, int64_t ldc, double* pack) noexcept {
  multiply(ker, m, n, k, a, lda, b, ldb, true, c, ldc, pack);
}

} // namespace tvn
