// The analysis: postorder, supernodes, their rows, subtrees for threads, and where the entries go.
//
// A column joins the supernode of the one before it when that is its only way up and they differ by the row between
// them. Then a supernode is merged with its parent when the parent's first column follows its last one and one front is
// cheaper than two, the zeros that it has more included (relaxed supernodes: Ashcraft and Grimes 1989).
// The rows of a supernode below its own columns are those of its last column, so their number is known from the column
// counts before any row is formed. Cost: O(pattern + rows).
#include "kfac/sfk.h"
#include "order/sgraph.h"

#include <algorithm>

namespace tvn {

namespace {

double trapezoid(double cols, double below) noexcept { return cols * (cols + 1) / 2 + cols * below; }

// What fronts cost by size, in nanoseconds of a usual machine: its own, to make and to hand on its update, its flops;
// the stored values count for the solves.
double front_cost(double cols, double below) noexcept {
  constexpr double own = 60, perupdate = 0.5, perflop = 1.0 / 30, pervalue = 0.5;
  const double rows = cols + below, flops = cols * rows * rows - cols * cols * rows + cols * cols * cols / 3;
  return own + perupdate * below * (below + 1) / 2 + perflop * flops + pervalue * trapezoid(cols, below);
}

// A column without children has no front.
double single_cost(double below) noexcept {
  constexpr double own = 20, perupdate = 0.7;
  return own + perupdate * below * (below + 1) / 2;
}

struct columns {
  buffer<int32_t> parent; // [n] in postordered positions
  buffer<int64_t> count;  // [n]
};

constexpr int64_t far = 4; // units of a step to somewhere in memory

bool postorder_columns(sysenv& sys, const sorder_tree& tree, const int32_t* perm, sorder_watch& watch, sfk_structure& s,
                       columns& c) {
  const int32_t n = s.n;
  buffer<int32_t> place(sys, n); // position in perm to postordered position
  for (int32_t k = 0; k < n; k++) {
    place[tree.post[k]] = k;
    if (!watch.go_on(far)) return false;
  }
  for (int32_t k = 0; k < n; k++) {
    const int32_t old = tree.post[k], up = tree.parent[old];
    s.perm[k] = perm ? perm[old] : old;
    s.invp[s.perm[k]] = k;
    c.parent[k] = up < 0 ? -1 : place[up];
    c.count[k] = tree.count[old];
    if (!watch.go_on(4 * far)) return false;
  }
  return true;
}

// Borders of the supernodes, from the end: a supernode takes the one in front of it while that pays. -1: stopped.
int32_t find_supernodes(sysenv& sys, const columns& c, int32_t n, sorder_watch& watch, buffer<int32_t>& snbeg) {
  buffer<int32_t> begin(sys, int64_t{n} + 1); // of fundamental supernodes, then of merged ones
  buffer<int8_t> leaf(sys, n, 1);
  for (int32_t k = 0; k < n; k++)
    if (c.parent[k] >= 0) leaf[c.parent[k]] = 0;
  int32_t num = 0;
  if (!watch.go_on(n)) return -1;
  for (int32_t k = 0; k < n; k++)
    if (k == 0 || c.parent[k - 1] != k || c.count[k] != c.count[k - 1] - 1) begin[num++] = k;
  begin[num] = n;
  buffer<int32_t> top(sys, num); // stack of merged supernodes, first columns
  int32_t depth = 0;
  for (int32_t s = 0; s < num; s++) {
    int32_t first = begin[s], last = begin[s + 1] - 1;
    while (depth > 0) {
      const int32_t child = top[depth - 1], childlast = first - 1;
      if (c.parent[childlast] < first || c.parent[childlast] > last) break;
      const double cols = first - child, own = last - first + 1,
                   childbelow = static_cast<double>(c.count[childlast] - 1),
                   below = static_cast<double>(c.count[last] - 1);
      const double alone = cols == 1 && leaf[child] ? single_cost(childbelow) : front_cost(cols, childbelow);
      if (front_cost(cols + own, below) > alone + front_cost(own, below)) break;
      first = child;
      depth--;
    }
    top[depth++] = first;
    if (!watch.go_on(4 * far)) return -1;
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
bool lower_columns(sysenv& sys, const sorder_graph& g, const sfk_structure& s, sorder_watch& watch, adjacency& a) {
  a.beg.reset(sys, int64_t{s.n} + 1, int64_t{0});
  const auto each = [&](auto f) {
    for (int32_t j = 0; j < s.n; j++) {
      for (int64_t p = g.beg[j]; p < g.end[j]; p++)
        if (g.sub[p] != j) f(std::min(s.invp[j], s.invp[g.sub[p]]), std::max(s.invp[j], s.invp[g.sub[p]]));
      if (!watch.go_on(g.end[j] - g.beg[j] + 1)) return false;
    }
    return true;
  };
  if (!each([&](int32_t low, int32_t) { a.beg[low + 1]++; })) return false;
  for (int32_t k = 0; k < s.n; k++) a.beg[k + 1] += a.beg[k];
  a.sub.reset(sys, a.beg[s.n]);
  buffer<int64_t> next(sys, s.n);
  std::copy_n(a.beg.data(), s.n, next.data());
  return each([&](int32_t low, int32_t high) { a.sub[next[low]++] = high; });
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
bool form_rows(sysenv& sys, const adjacency& a, const columns& c, sorder_watch& watch, sfk_structure& s) {
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
    if (!watch.go_on(8 * (p - below) + a.beg[end] - a.beg[first] + 8)) return false;
    if (up < 0) continue;
    s.prevsibling[k] = s.lastchild[col2sn[up]];
    s.lastchild[col2sn[up]] = k;
  }
  return true;
}

// Where the rows below a supernode stand in its parent's front.
bool find_uprows(sorder_watch& watch, sfk_structure& s) {
  for (int32_t k = 0; k < s.numsn; k++) {
    const int32_t up = s.snparent[k];
    if (!watch.go_on(far + s.rowbeg[k + 1] - s.rowbeg[k])) return false;
    if (up < 0) continue;
    const int32_t* const rows = s.rows.data() + s.rowbeg[up];
    const int64_t end = s.rowbeg[k + 1];
    int64_t p = s.rowbeg[k] + s.snbeg[k + 1] - s.snbeg[k];
    for (int32_t at = 0; p < end; p++) {
      while (rows[at] != s.rows[p]) at++;
      s.uprow[p] = at;
    }
  }
  return true;
}

// Subtrees that cost up to a sixteenth of all, which threads do one each at a time.
bool choose_subtrees(sysenv& sys, sorder_watch& watch, sfk_structure& s) {
  constexpr double numparts = 16;
  buffer<double> cost(sys, s.numsn, 0.0);
  double all = 0;
  for (int32_t k = 0; k < s.numsn; k++) {
    const auto height = static_cast<double>(s.rowbeg[k + 1] - s.rowbeg[k]);
    const double own = height * height * static_cast<double>(s.snbeg[k + 1] - s.snbeg[k]);
    all += own;
    cost[k] += own;
    if (s.snparent[k] >= 0) cost[s.snparent[k]] += cost[k];
    if (!watch.go_on(far)) return false;
  }
  s.depth.reset(sys, s.numsn);
  buffer<int32_t> roots(sys, s.numsn);
  int32_t num = 0;
  for (int32_t k = s.numsn - 1; k >= 0; k--) {
    const int32_t up = s.snparent[k];
    s.depth[k] = up < 0 ? 0 : s.depth[up] + 1;
    if (cost[k] * numparts <= all && (up < 0 || cost[up] * numparts > all)) roots[num++] = k;
    if (!watch.go_on(far)) return false;
  }
  s.subtree.reset(sys, num);
  s.subtreebeg.reset(sys, num);
  std::copy_n(roots.data(), num, s.subtree.data());
  // Of a forest they may be many, though all alike.
  if (!watch.go_on(num)) return false;
  std::sort(s.subtree.begin(), s.subtree.end(),
            [&](int32_t a, int32_t b) { return cost[a] != cost[b] ? cost[a] > cost[b] : a < b; });
  buffer<int32_t> first(sys, s.numsn);
  for (int32_t k = 0; k < s.numsn; k++) first[k] = k;
  if (!watch.go_on(s.numsn)) return false;
  for (int32_t k = 0; k < s.numsn; k++)
    if (s.snparent[k] >= 0) first[s.snparent[k]] = std::min(first[s.snparent[k]], first[k]);
  if (!watch.go_on(s.numsn)) return false;
  for (int32_t q = 0; q < num; q++) s.subtreebeg[q] = first[s.subtree[q]];
  if (!watch.go_on(s.numsn)) return false;
  int32_t numabove = 0;
  for (int32_t k = 0; k < s.numsn; k++) numabove += cost[k] * numparts > all;
  s.above.reset(sys, numabove);
  for (int32_t k = s.numsn - 1; k >= 0; k--)
    if (cost[k] * numparts > all) s.above[--numabove] = k;
  return watch.go_on(s.numsn);
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

bool find_diagonal(sysenv& sys, sorder_watch& watch, sfk_structure& s) {
  s.diagdest.reset(sys, s.n);
  for (int32_t k = 0; k < s.numsn; k++) {
    for (int32_t j = s.snbeg[k]; j < s.snbeg[k + 1]; j++) s.diagdest[s.perm[j]] = place_of(s, k, j, j);
    if (!watch.go_on(far * (s.snbeg[k + 1] - s.snbeg[k]))) return false;
  }
  return true;
}

bool find_places(sysenv& sys, const sorder_graph& g, sorder_watch& watch, sfk_structure& s) {
  buffer<int32_t> col2sn(sys, s.n);
  int64_t last = 0;
  for (int32_t k = 0; k < s.numsn; k++)
    for (int32_t j = s.snbeg[k]; j < s.snbeg[k + 1]; j++) col2sn[j] = k;
  for (int32_t j = 0; j < s.n; j++) last = std::max(last, g.end[j]);
  s.dest.reset(sys, last, int64_t{-1});
  for (int32_t j = 0; j < s.n; j++) {
    const int32_t a = s.invp[j];
    for (int64_t p = g.beg[j]; p < g.end[j]; p++) {
      if (g.sub[p] == j) continue;
      const int32_t b = s.invp[g.sub[p]], col = std::min(a, b);
      s.dest[p] = place_of(s, col2sn[col], std::max(a, b), col);
    }
    if (!watch.go_on(16 * (g.end[j] - g.beg[j]) + 8)) return false;
  }
  return true;
}

} // namespace

sfk_code TVN_sfk_setupL(sysenv& sys, const sorder_graph& graph, const int32_t* perm, const sfk_progress& progress,
                        sfk_structure& s, sfk_places places) {
  s = sfk_structure{};
  s.n = graph.n;
  sorder_tree tree;
  if (TVN_sorder_analyse(sys, graph, perm, progress, tree) != sorder_code::ok) return sfk_code::stopped;
  s.perm.reset(sys, s.n);
  s.invp.reset(sys, s.n);
  columns c;
  c.parent.reset(sys, s.n);
  c.count.reset(sys, s.n);
  sorder_watch watch(progress);
  if (!postorder_columns(sys, tree, perm, watch, s, c)) return sfk_code::stopped;
  s.nnzl = tree.figures.nnz;
  s.flops = tree.figures.flops;
  s.numsn = find_supernodes(sys, c, s.n, watch, s.snbeg);
  if (s.numsn < 0) return sfk_code::stopped;
  size_supernodes(sys, c, s);
  if (!watch.go_on(s.n)) return sfk_code::stopped;
  {
    adjacency a;
    if (!lower_columns(sys, graph, s, watch, a) || !form_rows(sys, a, c, watch, s)) return sfk_code::stopped;
  }
  s.uprow.reset(sys, s.rowbeg[s.numsn]);
  if (!find_uprows(watch, s) || !choose_subtrees(sys, watch, s) || !find_diagonal(sys, watch, s))
    return sfk_code::stopped;
  if (places == sfk_places::all && !find_places(sys, graph, watch, s)) return sfk_code::stopped;
  return watch.begin_phase() ? sfk_code::ok : sfk_code::stopped;
}

} // namespace tvn
