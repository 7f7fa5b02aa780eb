// See dfac.h. Columns are eliminated in panels. Within a panel a group of columns takes from those on its left all that
// they owe it and is finished by the same register tile (left-looking), first in the rows of the panel, then strip by
// strip below. What a panel does to the rest is one product with coefficients L D that the strips have left in the work
// space.
#include "lalib/dfac.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr int64_t panel = 128, strip = 96;
// Fronts up to so many rows and elements of a panel are not cut into strips, which serve the cache and threads.
constexpr int64_t wholerows = 512, wholesize = 24'000;
// A strip is copied where it is read by so many columns and has so many.
constexpr int64_t packcols = 96, packdepth = 48;

// A panel at work: columns [from, to), whose product goes to the columns [to, cols) and to the update.
struct panel_run {
  const matker& ker;
  const dfac_front& f;
  const dfac_hooks& hooks;
  const dfac_space& space;
  const int64_t nr;
  int64_t from = 0, to = 0;
  int64_t own = 0, num = 0; // groups of rows below the panel: of columns to be eliminated; with those of the update

  double* at(int64_t i, int64_t j) const noexcept { return f.a + i + j * f.lda; }
  // Coefficients and triangle of the group that starts at column c.
  double* coef_of(int64_t c) const noexcept {
    const int64_t q = (c - from) >> ker.micro.nrlog;
    return space.coef + nr * nr * (q * (q - 1) / 2);
  }
  double* tri_of(int64_t c) const noexcept { return space.tri + (c - from) * (nr + 1); }
  int64_t group_row(int64_t g) const noexcept {
    return g < own ? to + g * nr : std::min(f.cols + (g - own) * nr, f.rows);
  }
  int64_t groups_of(int64_t rows) const noexcept { return (rows + nr - 1) >> ker.micro.nrlog; }
  void set_end(int64_t end) noexcept {
    to = end;
    own = groups_of(f.cols - to);
    num = own + groups_of(f.rows - f.cols);
  }
};

// What group g of rows [row, row + num) owes by columns [from, upto): k groups of coefficients.
void fill_coefficients(const panel_run& r, int64_t row, int64_t num, int64_t upto, double* u) noexcept {
  const int64_t nr = r.nr;
  for (int64_t p = r.from; p < upto; p++, u += nr) {
    const double* const l = r.at(row, p);
    const double d = r.f.d[p];
    for (int64_t i = 0; i < num; i++) u[i] = l[i] * d;
  }
}

// L D L' of a few columns and rows from c on; L and pivots to tri.
void factor_small(const panel_run& r, int64_t c, int64_t num, double* tri) noexcept {
  const int64_t nr = r.nr;
  for (int64_t p = 0; p < num; p++) {
    double* const l = r.at(c, c + p);
    const double d = r.f.d[c + p] = r.hooks.pivot(r.hooks.handle, c + p, l[p]);
    double y[maxmicrocols];
    for (int64_t i = p + 1; i < num; i++) {
      y[i] = l[i];
      tri[p * nr + i] = l[i] /= d;
    }
    for (int64_t j = p + 1; j < num; j++) {
      double* const x = r.at(c, c + j);
      for (int64_t i = j; i < num; i++) x[i] -= y[i] * tri[p * nr + j];
    }
    tri[nr * nr + p] = d;
  }
}

// The group of columns [c, c + num) in the rows [row, end).
void finish_group(const panel_run& r, int64_t c, int64_t num, int64_t row, int64_t end) noexcept {
  TVN_matker_run_rows(
      r.ker.micro, end - row, num,
      {c - r.from, r.at(row, r.from), r.f.lda, r.coef_of(c), r.nr, r.at(row, c), r.f.lda, 0, r.tri_of(c)});
}

// All groups in the rows [from, end) that hold their diagonal blocks.
void factor_top(const panel_run& r, int64_t end) noexcept {
  for (int64_t c = r.from; c < r.to; c += r.nr) {
    const int64_t num = std::min(r.nr, r.to - c);
    if (c > r.from) {
      fill_coefficients(r, c, num, c, r.coef_of(c));
      TVN_matker_run_rows(r.ker.micro, num, num,
                          {c - r.from, r.at(c, r.from), r.f.lda, r.coef_of(c), r.nr, r.at(c, c), r.f.lda, 0, nullptr});
    }
    factor_small(r, c, num, r.tri_of(c));
    finish_group(r, c, num, c + num, end);
  }
}

void coefficients_right(const panel_run& r, int64_t firstgroup, int64_t endgroup) noexcept {
  for (int64_t g = firstgroup; g < endgroup; g++)
    fill_coefficients(r, r.group_row(g), std::min(r.group_row(g + 1) - r.group_row(g), r.nr), r.to,
                      r.space.right + g * r.nr * (r.to - r.from));
}

constexpr int64_t groups_of_strip(int64_t nr) noexcept { return strip / nr; }

// A strip below the panel: its L, and what it will owe.
void finish_strip(const panel_run& r, int64_t k) noexcept {
  const int64_t per = groups_of_strip(r.nr), first = k * per, last = std::min(first + per, r.num);
  const int64_t row = r.group_row(first), end = last == r.num ? r.f.rows : r.group_row(last);
  for (int64_t c = r.from; c < r.to; c += r.nr) finish_group(r, c, std::min(r.nr, r.to - c), row, end);
  coefficients_right(r, first, last);
}

// Row i of the column behind group g, counted from the front's first row.
double* target(const panel_run& r, int64_t g, int64_t& ld) noexcept {
  const int64_t j = r.group_row(g), t = r.f.rows - r.f.cols;
  if (j < r.f.cols) {
    ld = r.f.lda;
    return r.at(0, j);
  }
  ld = t - (j - r.f.cols) / dfac_block * dfac_block;
  return TVN_dfac_column(r.f.update, t, j - r.f.cols) - r.f.cols;
}

void pack_strip(const panel_run& r, int64_t row, int64_t end, double* dst) noexcept {
  const int64_t mr = r.ker.micro.mr;
  for (; row < end; row += mr)
    for (int64_t p = r.from; p < r.to; p++, dst += mr) std::copy_n(r.at(row, p), std::min(mr, end - row), dst);
}

// Rows [row, end) less the product of the panel.
void update_strip(const panel_run& r, int64_t row, int64_t end, double* pack) noexcept {
  const microkernel& micro = r.ker.micro;
  const int64_t depth = r.to - r.from;
  const bool packed = end - r.to >= packcols && depth >= packdepth;
  if (packed) pack_strip(r, row, end, pack);
  const double* u = r.space.right;
  for (int64_t g = 0; g < r.num && r.group_row(g) < end; g++, u += r.nr * depth) {
    int64_t ld = 0, i = std::max(row, r.group_row(g));
    double* const c = target(r, g, ld);
    const int64_t cols = std::min(r.group_row(g + 1) - r.group_row(g), r.nr);
    micro_call m{depth, r.at(i, r.from), r.f.lda, u, r.nr, c + i, ld, 0, nullptr};
    if (!packed) {
      TVN_matker_run_rows(micro, end - i, cols, m);
      continue;
    }
    m.lda = micro.mr;
    while (i < end) {
      const int64_t inside = (i - row) % micro.mr, stop = std::min(end, i - inside + micro.mr);
      m.a = pack + (i - row - inside) * depth + inside;
      m.c = c + i;
      TVN_matker_run_rows(micro, stop - i, cols, m);
      i = stop;
    }
  }
}

int64_t num_strips(int64_t rows) noexcept { return (rows + strip - 1) / strip; }

void finish_tile(void* arg, int64_t k, int32_t) { finish_strip(*static_cast<panel_run*>(arg), k); }
// The longest strips come first.
void update_tile(void* arg, int64_t k, int32_t thread) {
  const panel_run& r = *static_cast<panel_run*>(arg);
  const int64_t row = r.to + (num_strips(r.f.rows - r.to) - 1 - k) * strip;
  update_strip(r, row, std::min(row + strip, r.f.rows), r.space.packs + thread * r.space.pack);
}

// One strip after the other, or by the team; false: stopped.
bool run_tiles(panel_run& r, thread_team* team, int64_t num, double flops, team_tile tile) noexcept {
  if (team) {
    if (!TVN_team_run(*team, num, tile, &r)) return false;
    return !r.hooks.goeson || r.hooks.goeson(r.hooks.handle, flops);
  }
  for (int64_t k = 0; k < num; k++) {
    tile(&r, k, 0);
    if (r.hooks.goeson && !r.hooks.goeson(r.hooks.handle, flops / static_cast<double>(num))) return false;
  }
  return true;
}

bool run_panel(panel_run& r, thread_team* team) noexcept {
  const int64_t below = r.f.rows - r.to, depth = r.to - r.from;
  if (below == 0 || (r.f.rows - r.from <= wholerows && (r.f.rows - r.from) * depth <= wholesize)) {
    factor_top(r, r.f.rows);
    coefficients_right(r, 0, r.num);
    if (below > 0) update_strip(r, r.to, r.f.rows, r.space.packs);
    return true;
  }
  const auto b = static_cast<double>(below), k = static_cast<double>(depth);
  factor_top(r, r.to);
  const int64_t per = groups_of_strip(r.nr);
  return run_tiles(r, team, (r.num + per - 1) / per, b * k * k, finish_tile) &&
         run_tiles(r, team, num_strips(below), b * b * k, update_tile);
}

} // namespace

int64_t TVN_dfac_worksize(const matker& ker, int64_t rows, int64_t cols, int32_t numthreads) noexcept {
  const dfac_space w = TVN_dfac_space(ker, rows, cols, nullptr);
  return w.packs - w.coef + w.pack * numthreads;
}

dfac_space TVN_dfac_space(const matker& ker, int64_t rows, int64_t cols, double* work) noexcept {
  const int64_t nr = ker.micro.nr, width = std::min(cols, panel), groups = (width + nr - 1) / nr;
  const int64_t whole = std::min({rows, wholerows, wholesize / std::max<int64_t>(width, 1)});
  dfac_space w;
  w.coef = work;
  w.tri = w.coef + nr * nr * (groups * (groups - 1) / 2);
  w.right = w.tri + groups * nr * (nr + 1);
  w.packs = w.right + (rows + 2 * nr) * width;
  w.pack = (std::max(strip, whole) + ker.micro.mr) * width;
  return w;
}

bool TVN_dfac_factor(const matker& ker, const dfac_front& f, const dfac_hooks& hooks, const dfac_space& space,
                     thread_team* team) noexcept {
  panel_run r{ker, f, hooks, space, ker.micro.nr};
  for (; r.from < f.cols; r.from = r.to) {
    r.set_end(std::min(r.from + panel, f.cols));
    if (!run_panel(r, team)) return false;
  }
  return true;
}

} // namespace tvn
