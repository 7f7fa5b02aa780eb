// The analysis: postorder, supernodes, their rows, the stack, and where the entries go.
//
// A column joins the supernode of the one before it when that is its only way up and they differ by the row between
// them. Then a supernode is merged with its parent when the parent's first column follows its last one and the zeros
// that this stores are few beside the block, or the block is small (Ashcraft and Grimes 1989): fewer, larger fronts.
// The rows of a supernode below its own columns are those of its last column, so their number is known from the column
// counts before any row is formed. Cost: O(pattern + rows).
#include "kfac/sfk.h"

#include <algorithm>

namespace tvn {

namespace {

// Merged columns up to `width` may hold so large a share of zeros.
struct relax_rule {
  int32_t width;
  double zeros;
};
constexpr relax_rule relax_rules[] = {{8, 0.7}, {32, 0.15}, {96, 0.07}};
constexpr double relax_wide = 0.03;

bool worth_merging(int32_t width, double zeros, double size) noexcept {
  for (const relax_rule& r : relax_rules)
    if (width <= r.width) return zeros <= r.zeros * size;
  return zeros <= relax_wide * size;
}

struct columns {
  buffer<int32_t> parent; // [n] in postordered positions
  buffer<int64_t> count;  // [n]
};

void postorder_columns(sysenv& sys, const sorder_tree& tree, const int32_t* perm, sfk_structure& s, columns& c) {
  const int32_t n = s.n;
  buffer<int32_t> place(sys, n); // position in perm to postordered position
  for (int32_t k = 0; k < n; k++) place[tree.post[k]] = k;
  for (int32_t k = 0; k < n; k++) {
    const int32_t old = tree.post[k], up = tree.parent[old];
    s.perm[k] = perm ? perm[old] : old;
    s.invp[s.perm[k]] = k;
    c.parent[k] = up < 0 ? -1 : place[up];
    c.count[k] = tree.count[old];
  }
}

double trapezoid(double cols, double below) noexcept { return cols * (cols + 1) / 2 + cols * below; }

// Borders of the supernodes, from the end: a supernode takes the one in front of it while that pays.
int32_t find_supernodes(sysenv& sys, const columns& c, int32_t n, buffer<int32_t>& snbeg) {
  buffer<int32_t> begin(sys, int64_t{n} + 1); // of fundamental supernodes, then of merged ones
  int32_t num = 0;
  for (int32_t k = 0; k < n; k++)
    if (k == 0 || c.parent[k - 1] != k || c.count[k] != c.count[k - 1] - 1) begin[num++] = k;
  begin[num] = n;
  buffer<double> zeros(sys, num, 0.0); // in the block of a supernode
  buffer<int32_t> top(sys, num);       // stack of merged supernodes, first columns
  int32_t depth = 0;
  for (int32_t s = 0; s < num; s++) {
    int32_t first = begin[s], last = begin[s + 1] - 1;
    double z = 0;
    while (depth > 0) {
      const int32_t child = top[depth - 1], childlast = first - 1;
      if (c.parent[childlast] < first || c.parent[childlast] > last) break;
      const double cols = first - child, own = last - first + 1,
                   childbelow = static_cast<double>(c.count[childlast] - 1),
                   below = static_cast<double>(c.count[last] - 1);
      const double all = zeros[depth - 1] + z + cols * (own + below - childbelow);
      if (!worth_merging(last - child + 1, all, trapezoid(cols + own, below))) break;
      z = all;
      first = child;
      depth--;
    }
    top[depth] = first;
    zeros[depth++] = z;
  }
  snbeg.reset(sys, int64_t{depth} + 1);
  std::copy_n(top.data(), depth, snbeg.data());
  snbeg[depth] = n;
  return depth;
}

struct adjacency {
  buffer<int64_t> beg; // [n + 1]
  buffer<int32_t> sub; // positions above the column's own
};

// Entries below the diagonal by column, in positions.
void lower_columns(sysenv& sys, const sorder_graph& g, const sfk_structure& s, adjacency& a) {
  a.beg.reset(sys, int64_t{s.n} + 1, int64_t{0});
  const auto each = [&](auto f) {
    for (int32_t j = 0; j < s.n; j++)
      for (int64_t p = g.beg[j]; p < g.end[j]; p++)
        if (g.sub[p] != j) f(std::min(s.invp[j], s.invp[g.sub[p]]), std::max(s.invp[j], s.invp[g.sub[p]]));
  };
  each([&](int32_t low, int32_t) { a.beg[low + 1]++; });
  for (int32_t k = 0; k < s.n; k++) a.beg[k + 1] += a.beg[k];
  a.sub.reset(sys, a.beg[s.n]);
  buffer<int64_t> next(sys, s.n);
  std::copy_n(a.beg.data(), s.n, next.data());
  each([&](int32_t low, int32_t high) { a.sub[next[low]++] = high; });
}

void size_supernodes(sysenv& sys, const columns& c, sfk_structure& s) {
  s.rowbeg.reset(sys, int64_t{s.numsn} + 1);
  s.valbeg.reset(sys, int64_t{s.numsn} + 1);
  s.rowbeg[0] = s.valbeg[0] = 0;
  for (int32_t k = 0; k < s.numsn; k++) {
    const int32_t width = s.snbeg[k + 1] - s.snbeg[k];
    const int64_t height = width + c.count[s.snbeg[k + 1] - 1] - 1;
    s.rowbeg[k + 1] = s.rowbeg[k] + height;
    s.valbeg[k + 1] = s.valbeg[k] + height * width;
    s.maxfront = std::max(s.maxfront, static_cast<int32_t>(height));
    s.maxcols = std::max(s.maxcols, width);
  }
  s.stored = s.valbeg[s.numsn];
}

// Rows of each supernode from its entries and from the rows of its children.
void form_rows(sysenv& sys, const adjacency& a, const columns& c, sfk_structure& s) {
  s.rows.reset(sys, s.rowbeg[s.numsn]);
  s.snparent.reset(sys, s.numsn);
  s.lastchild.reset(sys, s.numsn, -1);
  s.prevsibling.reset(sys, s.numsn, -1);
  buffer<int32_t> col2sn(sys, s.n), mark(sys, s.n, -1);
  for (int32_t k = 0; k < s.numsn; k++)
    for (int32_t j = s.snbeg[k]; j < s.snbeg[k + 1]; j++) col2sn[j] = k;
  for (int32_t k = 0; k < s.numsn; k++) {
    const int32_t first = s.snbeg[k], end = s.snbeg[k + 1];
    int64_t p = s.rowbeg[k];
    const auto add = [&](int32_t row) {
      if (row < end || mark[row] == k) return;
      mark[row] = k;
      s.rows[p++] = row;
    };
    for (int32_t j = first; j < end; j++) s.rows[p++] = j;
    const int64_t below = p;
    for (int64_t q = a.beg[first]; q < a.beg[end]; q++) add(a.sub[q]);
    for (int32_t ch = s.lastchild[k]; ch >= 0; ch = s.prevsibling[ch])
      for (int64_t q = s.rowbeg[ch] + s.snbeg[ch + 1] - s.snbeg[ch]; q < s.rowbeg[ch + 1]; q++) add(s.rows[q]);
    std::sort(s.rows.data() + below, s.rows.data() + p);
    const int32_t up = c.parent[end - 1];
    s.snparent[k] = up < 0 ? -1 : col2sn[up];
    if (up < 0) continue;
    s.prevsibling[k] = s.lastchild[col2sn[up]];
    s.lastchild[col2sn[up]] = k;
  }
}

// The most that the updates of unassembled children take.
void size_stack(sysenv& sys, sfk_structure& s) {
  buffer<int64_t> waiting(sys, s.numsn, int64_t{0}); // of the children of a supernode
  int64_t now = 0;
  for (int32_t k = 0; k < s.numsn; k++) {
    const int64_t below = s.rowbeg[k + 1] - s.rowbeg[k] - (s.snbeg[k + 1] - s.snbeg[k]), size = below * (below + 1) / 2;
    now += size - waiting[k];
    if (s.snparent[k] >= 0) waiting[s.snparent[k]] += size;
    s.maxstack = std::max(s.maxstack, now);
  }
}

// Where an entry of a column goes.
int64_t place_of(const sfk_structure& s, int32_t k, int32_t row, int32_t col) noexcept {
  const int32_t first = s.snbeg[k], end = s.snbeg[k + 1];
  const int64_t height = s.rowbeg[k + 1] - s.rowbeg[k];
  int64_t at = row - first;
  if (row >= end) {
    const int32_t* rows = s.rows.data() + s.rowbeg[k];
    at = std::lower_bound(rows + (end - first), rows + height, row) - rows;
  }
  return s.valbeg[k] + (col - first) * height + at;
}

void find_places(sysenv& sys, const sorder_graph& g, sfk_structure& s) {
  buffer<int32_t> col2sn(sys, s.n);
  int64_t last = 0;
  for (int32_t k = 0; k < s.numsn; k++)
    for (int32_t j = s.snbeg[k]; j < s.snbeg[k + 1]; j++) col2sn[j] = k;
  for (int32_t j = 0; j < s.n; j++) last = std::max(last, g.end[j]);
  s.dest.reset(sys, last, int64_t{-1});
  s.diagdest.reset(sys, s.n);
  for (int32_t j = 0; j < s.n; j++) {
    const int32_t a = s.invp[j];
    s.diagdest[j] = place_of(s, col2sn[a], a, a);
    for (int64_t p = g.beg[j]; p < g.end[j]; p++) {
      if (g.sub[p] == j) continue;
      const int32_t b = s.invp[g.sub[p]], col = std::min(a, b);
      s.dest[p] = place_of(s, col2sn[col], std::max(a, b), col);
    }
  }
}

} // namespace

sfk_code TVN_sfk_setupL(sysenv& sys, const sorder_graph& graph, const int32_t* perm, const sfk_progress& progress,
                        sfk_structure& s) {
  s = sfk_structure{};
  s.n = graph.n;
  sorder_tree tree;
  if (TVN_sorder_analyse(sys, graph, perm, progress, tree) != sorder_code::ok) return sfk_code::stopped;
  s.perm.reset(sys, s.n);
  s.invp.reset(sys, s.n);
  columns c;
  c.parent.reset(sys, s.n);
  c.count.reset(sys, s.n);
  postorder_columns(sys, tree, perm, s, c);
  s.nnzl = tree.figures.nnz;
  s.flops = tree.figures.flops;
  s.numsn = find_supernodes(sys, c, s.n, s.snbeg);
  size_supernodes(sys, c, s);
  const auto stopped = [&] { return progress.fn && progress.fn(progress.handle, 3, s.n, -1.0) != 0; };
  if (stopped()) return sfk_code::stopped;
  {
    adjacency a;
    lower_columns(sys, graph, s, a);
    if (stopped()) return sfk_code::stopped;
    form_rows(sys, a, c, s);
  }
  if (stopped()) return sfk_code::stopped;
  size_stack(sys, s);
  find_places(sys, graph, s);
  return stopped() ? sfk_code::stopped : sfk_code::ok;
}

} // namespace tvn
