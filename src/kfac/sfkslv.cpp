// Triangular solves along the supernodes, with one right side and with several at once.
//
// Small blocks are done by plain loops. In large ones a few columns at a time go through the kernels: to the rows below
// as a product, from them as dot products. Several right sides lie row by row, micro_wide in a row, so that each value
// of L is read once for all. Cost: the stored values, twice.
#include "kfac/sfk.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr int64_t smallblock = 256; // elements for which a call costs more than it saves

// Asks after so many values of L, a few milliseconds.
struct solve_watch {
  const sfk_progress& progress;
  int64_t values = 0;

  bool go_on(int64_t num) {
    constexpr int64_t perask = 10'000'000;
    values += num;
    if (values < perask || !progress.fn) return true;
    values = 0;
    return progress.fn(progress.handle, 7, 0, -1.0) == 0;
  }
};

struct block_view {
  const double* l; // column-major
  int64_t height, width;
  const int32_t* below; // rows under the own columns
  int32_t first;
};

block_view block_of(const sfk_factor& f, int32_t k) noexcept {
  const sfk_structure& s = *f.sfk;
  const int64_t width = s.snbeg[k + 1] - s.snbeg[k];
  return {f.val.data() + s.valbeg[k], s.rowbeg[k + 1] - s.rowbeg[k], width, s.rows.data() + s.rowbeg[k] + width,
          s.snbeg[k]};
}

void forward_small(const block_view& b, double* x) noexcept {
  const int64_t num = b.height - b.width;
  for (int64_t c = 0; c < b.width; c++) {
    const double* const l = b.l + c * b.height;
    const double t = x[b.first + c];
    for (int64_t i = c + 1; i < b.width; i++) x[b.first + i] -= l[i] * t;
    for (int64_t i = 0; i < num; i++) x[b.below[i]] -= l[b.width + i] * t;
  }
}

void backward_small(const block_view& b, double* x) noexcept {
  const int64_t num = b.height - b.width;
  for (int64_t c = b.width - 1; c >= 0; c--) {
    const double* const l = b.l + c * b.height;
    double sum = 0;
    for (int64_t i = c + 1; i < b.width; i++) sum += l[i] * x[b.first + i];
    for (int64_t i = 0; i < num; i++) sum += l[b.width + i] * x[b.below[i]];
    x[b.first + c] -= sum;
  }
}

// y: [height] the own rows, then those below.
void forward_block(const matker& ker, const block_view& b, double* y) noexcept {
  const int64_t step = ker.micro.nr;
  for (int64_t c = 0; c < b.width; c += step) {
    const int64_t end = std::min(c + step, b.width);
    for (int64_t p = c; p < end; p++)
      for (int64_t i = p + 1; i < end; i++) y[i] -= b.l[i + p * b.height] * y[p];
    TVN_matker_run_rows(ker.micro, b.height - end, 1,
                        {end - c, b.l + end + c * b.height, b.height, y + c, 1, y + end, b.height, 0, nullptr});
  }
}

void backward_block(const matker& ker, const block_view& b, double* y) noexcept {
  const int64_t step = ker.micro.nr;
  double sum[maxmicrocols];
  for (int64_t c = (b.width - 1) / step * step; c >= 0; c -= step) {
    const int64_t end = std::min(c + step, b.width);
    ker.micro.dots[end - c - 1](b.height - end, b.l + end + c * b.height, b.height, y + end, sum);
    for (int64_t p = end - 1; p >= c; p--) {
      double all = sum[p - c];
      for (int64_t i = p + 1; i < end; i++) all += b.l[i + p * b.height] * y[i];
      y[p] -= all;
    }
  }
}

// The same for rows of micro_wide right sides.
constexpr int64_t wide = micro_wide;

void subtract_row(double* __restrict y, const double* __restrict x, double t) noexcept {
  for (int64_t q = 0; q < wide; q++) y[q] -= t * x[q];
}

// y seen as a matrix with a column for each row, so that the register tile takes L as its coefficients.
void forward_wide(const matker& ker, const block_view& b, double* y) noexcept {
  const int64_t step = ker.micro.nr;
  for (int64_t c = 0; c < b.width; c += step) {
    const int64_t end = std::min(c + step, b.width);
    for (int64_t p = c; p < end; p++)
      for (int64_t i = p + 1; i < end; i++) subtract_row(y + i * wide, y + p * wide, b.l[i + p * b.height]);
    for (int64_t i = end; i < b.height; i += step)
      TVN_matker_run_rows(
          ker.micro, wide, std::min(step, b.height - i),
          {end - c, y + c * wide, wide, b.l + i + c * b.height, b.height, y + i * wide, wide, 0, nullptr});
  }
}

void backward_wide(const matker& ker, const block_view& b, double* y) noexcept {
  const int64_t step = ker.micro.nr;
  double sum[maxmicrocols * wide];
  for (int64_t c = (b.width - 1) / step * step; c >= 0; c -= step) {
    const int64_t end = std::min(c + step, b.width);
    ker.micro.dotsx[end - c - 1](b.height - end, b.l + end + c * b.height, b.height, y + end * wide, sum);
    for (int64_t p = end - 1; p >= c; p--) {
      for (int64_t i = p + 1; i < end; i++) subtract_row(y + p * wide, y + i * wide, b.l[i + p * b.height]);
      subtract_row(y + p * wide, sum + (p - c) * wide, 1.0);
    }
  }
}

// All supernodes, on rows by position; z: [maxfront * wide].
bool forward_all(const sfk_factor& f, double* x, double* z, solve_watch& watch) noexcept {
  for (int32_t k = 0; k < f.sfk->numsn; k++) {
    const block_view b = block_of(f, k);
    const int64_t num = b.height - b.width;
    if (!watch.go_on(4 * b.height * b.width)) return false;
    std::copy_n(x + b.first * wide, b.width * wide, z);
    std::fill_n(z + b.width * wide, num * wide, 0.0);
    forward_wide(f.ker, b, z);
    std::copy_n(z, b.width * wide, x + b.first * wide);
    for (int64_t i = 0; i < num; i++) subtract_row(x + b.below[i] * wide, z + (b.width + i) * wide, -1.0);
  }
  return true;
}

bool backward_all(const sfk_factor& f, double* x, double* z, solve_watch& watch) noexcept {
  for (int32_t k = f.sfk->numsn - 1; k >= 0; k--) {
    const block_view b = block_of(f, k);
    if (!watch.go_on(4 * b.height * b.width)) return false;
    std::copy_n(x + b.first * wide, b.width * wide, z);
    for (int64_t i = b.width; i < b.height; i++) std::copy_n(x + b.below[i - b.width] * wide, wide, z + i * wide);
    backward_wide(f.ker, b, z);
    std::copy_n(z, b.width * wide, x + b.first * wide);
  }
  return true;
}

// Columns of x, n apart, to rows and back; perm null: positions. Rows are filled up with zeros.
void gather_rows(const double* x, int64_t n, int64_t num, const int32_t* perm, double* rows) noexcept {
  for (int64_t k = 0; k < n; k++, rows += wide) {
    const double* const from = x + (perm ? perm[k] : k);
    for (int64_t q = 0; q < wide; q++) rows[q] = q < num ? from[q * n] : 0.0;
  }
}

void scatter_rows(const double* rows, int64_t n, int64_t num, const int32_t* perm, double* x) noexcept {
  for (int64_t k = 0; k < n; k++, rows += wide)
    for (int64_t q = 0; q < num; q++) x[(perm ? perm[k] : k) + q * n] = rows[q];
}

// Rows of zeros cost what right sides cost. One at a time is faster for less than so many, the sooner where L is read
// from near by.
int64_t least_wide(const sfk_structure& s) noexcept { return s.stored > 500'000 ? 3 : 4; }

// one: of a column that is left where it is; many: of rows.
template <class One, class Many>
bool by_groups(const sfk_factor& f, int32_t num, double* x, const int32_t* perm, double* work,
               const sfk_progress& progress, One one, Many many) noexcept {
  solve_watch watch{progress};
  const int64_t n = f.sfk->n, least = least_wide(*f.sfk);
  double* const rows = work + f.sfk->maxfront * wide;
  for (int64_t c = 0; c < num;) {
    const int64_t group = num - c < least ? 1 : std::min(wide, num - c);
    double* const first = x + c * n;
    c += group;
    if (group == 1) {
      if (!one(first)) return false;
      continue;
    }
    gather_rows(first, n, group, perm, rows);
    if (!many(rows, watch)) return false;
    scatter_rows(rows, n, group, perm, first);
  }
  return true;
}

} // namespace

bool TVN_sfk_Lx(const sfk_factor& f, double* x, double* work, const sfk_progress& progress) noexcept {
  solve_watch watch{progress};
  for (int32_t k = 0; k < f.sfk->numsn; k++) {
    const block_view b = block_of(f, k);
    if (!watch.go_on(b.height * b.width)) return false;
    if (b.height * b.width <= smallblock) {
      forward_small(b, x);
      continue;
    }
    const int64_t num = b.height - b.width;
    double* const y = work;
    std::copy_n(x + b.first, b.width, y);
    std::fill_n(y + b.width, num, 0.0);
    forward_block(f.ker, b, y);
    std::copy_n(y, b.width, x + b.first);
    for (int64_t i = 0; i < num; i++) x[b.below[i]] += y[b.width + i];
  }
  return true;
}

void TVN_sfk_InvmulD(const sfk_factor& f, double* x) noexcept {
  for (int32_t k = 0; k < f.sfk->n; k++) x[k] /= f.d[k];
}

bool TVN_sfk_Ltx(const sfk_factor& f, double* x, double* work, const sfk_progress& progress) noexcept {
  solve_watch watch{progress};
  for (int32_t k = f.sfk->numsn - 1; k >= 0; k--) {
    const block_view b = block_of(f, k);
    if (!watch.go_on(b.height * b.width)) return false;
    if (b.height * b.width <= smallblock) {
      backward_small(b, x);
      continue;
    }
    const int64_t num = b.height - b.width;
    double* const y = work;
    std::copy_n(x + b.first, b.width, y);
    for (int64_t i = 0; i < num; i++) y[b.width + i] = x[b.below[i]];
    backward_block(f.ker, b, y);
    std::copy_n(y, b.width, x + b.first);
  }
  return true;
}

bool TVN_sfk_solve(const sfk_factor& f, double* rhs, double* work, const sfk_progress& progress) noexcept {
  const sfk_structure& s = *f.sfk;
  double* const x = work + s.maxfront;
  for (int32_t k = 0; k < s.n; k++) x[k] = rhs[s.perm[k]];
  if (!TVN_sfk_Lx(f, x, work, progress)) return false;
  TVN_sfk_InvmulD(f, x);
  if (!TVN_sfk_Ltx(f, x, work, progress)) return false;
  for (int32_t k = 0; k < s.n; k++) rhs[s.perm[k]] = x[k];
  return true;
}

int64_t TVN_sfk_worksize(const sfk_structure& s, int64_t num) noexcept {
  return num < least_wide(s) ? int64_t{s.n} + s.maxfront : (int64_t{s.n} + s.maxfront) * wide;
}

bool TVN_sfk_LX(const sfk_factor& f, int32_t num, double* x, double* work, const sfk_progress& progress) noexcept {
  return by_groups(
      f, num, x, nullptr, work, progress, [&](double* y) { return TVN_sfk_Lx(f, y, work, progress); },
      [&](double* rows, solve_watch& watch) { return forward_all(f, rows, work, watch); });
}

bool TVN_sfk_LtX(const sfk_factor& f, int32_t num, double* x, double* work, const sfk_progress& progress) noexcept {
  return by_groups(
      f, num, x, nullptr, work, progress, [&](double* y) { return TVN_sfk_Ltx(f, y, work, progress); },
      [&](double* rows, solve_watch& watch) { return backward_all(f, rows, work, watch); });
}

bool TVN_sfk_solve_X(const sfk_factor& f, int32_t num, double* rhs, double* work,
                     const sfk_progress& progress) noexcept {
  return by_groups(
      f, num, rhs, f.sfk->perm.data(), work, progress, [&](double* x) { return TVN_sfk_solve(f, x, work, progress); },
      [&](double* rows, solve_watch& watch) {
        if (!forward_all(f, rows, work, watch)) return false;
        for (int64_t k = 0; k < f.sfk->n; k++)
          for (int64_t q = 0; q < wide; q++) rows[k * wide + q] /= f.d[k];
        return backward_all(f, rows, work, watch);
      });
}

} // namespace tvn
