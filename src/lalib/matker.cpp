// Packing and blocking around the register tile.
//
// Loop order: column blocks of C, then blocks of k, then row blocks of C. A packed block of B stays in the third cache
// over all row blocks, a block of A in the second over all tiles of its rows.
#include "lalib/matker.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr int32_t linedoubles = 8; // of a cache line
// A is copied where it is read by so many columns and has so many.
constexpr int64_t packcols = 96, packdepth = 32;

// Groups of nr rows of b times d: for each group its k columns one after the other, zeros beyond.
void pack_coefficients(const double* b, int64_t ldb, const double* d, int64_t rows, int64_t k, int32_t nr,
                       double* dst) noexcept {
  for (int64_t from = 0; from < rows; from += nr) {
    const int64_t w = std::min<int64_t>(nr, rows - from);
    for (int64_t p = 0; p < k; p++, dst += nr) {
      const double* s = b + from + p * ldb;
      const double t = d ? d[p] : 1.0;
      for (int64_t i = 0; i < w; i++) dst[i] = s[i] * t;
      for (int64_t i = w; i < nr; i++) dst[i] = 0.0;
    }
  }
}

// Groups of mr rows of a, without regard to what stands beyond the last row.
void pack_rows(const double* a, int64_t lda, int64_t rows, int64_t k, int32_t mr, double* dst) noexcept {
  for (int64_t from = 0; from < rows; from += mr) {
    const int64_t w = std::min<int64_t>(mr, rows - from);
    for (int64_t p = 0; p < k; p++, dst += mr) {
      const double* s = a + from + p * lda;
      if (w == mr)
        for (int64_t i = 0; i < mr; i++) dst[i] = s[i];
      else
        for (int64_t i = 0; i < w; i++) dst[i] = s[i];
    }
  }
}

// Rows [row, end) of C, whose first packed group begins at row 0 of pa, for one group of columns.
void run_packed(const microkernel& micro, int64_t row, int64_t end, int64_t cols, const double* pa, micro_call m,
                double* c) noexcept {
  m.lda = micro.mr;
  while (row < end) {
    const int64_t group = row / micro.mr, stop = std::min(end, (group + 1) * micro.mr);
    m.a = pa + group * micro.mr * m.k + (row - group * micro.mr);
    m.c = c + row;
    TVN_matker_run_rows(micro, stop - row, cols, m);
    row = stop;
  }
}

// Row block [i, end) against the packed rows [j, j + cols) of B, columns [p, p + k) of both.
void run_block(const matker& ker, const matker_product& t, int64_t i, int64_t end, int64_t j, int64_t cols, int64_t p,
               int64_t k, const double* pb, double* pa) noexcept {
  const microkernel& micro = ker.micro;
  const bool packed = cols >= packcols && k >= packdepth;
  if (packed) pack_rows(t.a + i + p * t.lda, t.lda, end - i, k, micro.mr, pa);
  for (int64_t q = 0; q < cols; q += micro.nr, pb += micro.nr * k) {
    const int64_t row = t.lower ? std::max(i, j + q) : i, num = std::min<int64_t>(micro.nr, cols - q);
    if (row >= end) break;
    double* const c = t.c + (j + q) * t.ldc;
    micro_call m{k, t.a + row + p * t.lda, t.lda, pb, micro.nr, c + row, t.ldc, 0, nullptr};
    if (packed)
      run_packed(micro, row - i, end - i, num, pa, m, c + i);
    else
      TVN_matker_run_rows(micro, end - row, num, m);
  }
}

int64_t round_up(int64_t n, int64_t to) noexcept { return (n + to - 1) / to * to; }

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

void TVN_matker_mm_cecmab(const matker& ker, const matker_product& t, double* pack) noexcept {
  double* const pb = pack + round_up(int64_t{ker.mc} * ker.kc, linedoubles);
  for (int64_t j = 0; j < t.n; j += ker.nc) {
    const int64_t cols = std::min<int64_t>(ker.nc, t.n - j);
    for (int64_t p = 0; p < t.k; p += ker.kc) {
      const int64_t depth = std::min<int64_t>(ker.kc, t.k - p);
      pack_coefficients(t.b + j + p * t.ldb, t.ldb, t.d ? t.d + p : nullptr, cols, depth, ker.micro.nr, pb);
      for (int64_t i = t.lower ? j : 0; i < t.m; i += ker.mc)
        run_block(ker, t, i, std::min<int64_t>(i + ker.mc, t.m), j, cols, p, depth, pb, pack);
    }
  }
}

} // namespace tvn
