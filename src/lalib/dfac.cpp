// See dfac.h. The copy L D of a panel, which each product needs beside L, lies in the work space and is made anew for
// each product, since the next one has no use for it.
#include "lalib/dfac.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr int64_t panel = 256; // columns whose product updates all the rest at once
constexpr int64_t narrow = 16; // columns factored one by one
constexpr int64_t tiny = 4096; // elements of a product below which packing costs more than it saves

struct front {
  const matker& ker;
  const dfac_hooks& hooks;
  double* a;
  int64_t lda;
  double* d;
  double* scaled; // rows of a panel times its pivots
  double* pack;

  double* at(int64_t i, int64_t j) const noexcept { return a + i + j * lda; }
};

// Column j from its diagonal down less what columns [from, to) owe it.
void subtract_columns(const front& f, int64_t n, int64_t from, int64_t to, int64_t j) noexcept {
  double* __restrict const y = f.at(0, j);
  for (int64_t p = from; p < to; p++) {
    const double* __restrict const l = f.at(0, p);
    const double t = l[j] * f.d[p];
    for (int64_t i = j; i < n; i++) y[i] -= l[i] * t;
  }
}

// Columns [from, to) one by one, over rows up to n; columns of the panel before them have done their part.
void factor_narrow(const front& f, int64_t n, int64_t from, int64_t to) noexcept {
  for (int64_t c = from; c < to; c++) {
    subtract_columns(f, n, from, c, c);
    double* const y = f.at(0, c);
    f.d[c] = f.hooks.pivot(f.hooks.handle, c, y[c]);
    for (int64_t i = c + 1; i < n; i++) y[i] /= f.d[c];
  }
}

// Columns [to, end) and rows [to, n) less the product of columns [from, to).
void update_right(const front& f, int64_t n, int64_t from, int64_t to, int64_t end) noexcept {
  const int64_t rows = end - to;
  if ((n - to) * rows * (to - from) <= tiny) {
    for (int64_t j = to; j < end; j++) subtract_columns(f, n, from, to, j);
    return;
  }
  for (int64_t p = from; p < to; p++) {
    const double* l = f.at(to, p);
    double* w = f.scaled + (p - from) * rows;
    for (int64_t i = 0; i < rows; i++) w[i] = l[i] * f.d[p];
  }
  TVN_matker_mm_sym_cecmab(f.ker, n - to, rows, to - from, f.at(to, from), f.lda, f.scaled, rows, f.at(to, to), f.lda,
                           f.pack);
}

void factor_panel(const front& f, int64_t n, int64_t from, int64_t to) noexcept {
  if (to - from <= narrow) return factor_narrow(f, n, from, to);
  const int64_t half = from + ((to - from) / 2 + narrow - 1) / narrow * narrow;
  factor_panel(f, n, from, half);
  update_right(f, n, from, half, to);
  factor_panel(f, n, half, to);
}

} // namespace

int64_t TVN_dfac_worksize(const matker& ker, int64_t n) noexcept { return TVN_matker_packsize(ker) + n * panel; }

bool TVN_dfac_factor(const matker& ker, int64_t n, int64_t w, double* a, int64_t lda, double* d,
                     const dfac_hooks& hooks, double* work) noexcept {
  const front f{ker, hooks, a, lda, d, work + TVN_matker_packsize(ker), work};
  for (int64_t from = 0; from < w; from += panel) {
    const int64_t to = std::min(from + panel, w);
    if (hooks.goeson && !hooks.goeson(hooks.handle)) return false;
    factor_panel(f, n, from, to);
    if (to < n) update_right(f, n, from, to, n);
  }
  return true;
}

} // namespace tvn
