// Elimination tree, postorder and true column counts of a permuted symmetric matrix, without its factor.
//
// Row i of the factor holds the columns of a subtree with root i, whose leaves are entries of the matrix. A column's
// count is the weight of the rows whose subtrees it lies in. Each subtree is written as differences: plus at its
// leaves, minus where two paths join and above its root; sums up the tree then give all counts. An entry (i, j) is a
// leaf exactly if no leaf of row i was met yet in the subtree of j, and paths join at the least common ancestor of two
// leaves that follow each other in postorder, found by union with path halving. Cost: O(edges * inverse Ackermann).
// Sources: Liu 1990 (tree); Gilbert, Ng and Peyton 1994 (counts).
#include "order/sgraph.h"

namespace tvn {

namespace {

constexpr int64_t missed = 4; // units of a step to a node somewhere in memory

struct order_view {
  const int32_t* pos2node; // null: identity
  const int32_t* node2pos;
  int32_t node(int32_t k) const { return pos2node ? pos2node[k] : k; }
  int32_t position(int32_t i) const { return node2pos ? node2pos[i] : i; }
};

bool make_tree(sysenv& sys, const sgraph& g, const order_view& order, sorder_watch& watch, buffer<int32_t>& parent) {
  buffer<int32_t> ancestor(sys, g.n, -1);
  for (int32_t k = 0; k < g.n; k++) {
    const int32_t i = order.node(k);
    parent[k] = -1;
    for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++) {
      int32_t j = order.position(g.sub[p]);
      while (j >= 0 && j < k) {
        const int32_t up = ancestor[j];
        ancestor[j] = k;
        if (up < 0) parent[j] = k;
        j = up;
      }
    }
    if (!watch.go_on(g.beg[i + 1] - g.beg[i] + 1)) return false;
  }
  return true;
}

// Children in ascending order.
bool make_postorder(sysenv& sys, const buffer<int32_t>& parent, sorder_watch& watch, buffer<int32_t>& post) {
  const auto n = static_cast<int32_t>(parent.size());
  buffer<int32_t> child(sys, int64_t{n} + 1, -1), sibling(sys, n), stack(sys, int64_t{n} + 1);
  for (int32_t k = n - 1; k >= 0; k--) {
    int32_t& first = child[parent[k] < 0 ? n : parent[k]];
    sibling[k] = first;
    first = k;
    if (!watch.go_on(missed)) return false;
  }
  int32_t num = 0, depth = 0;
  for (int32_t root = child[n]; root >= 0; root = sibling[root]) {
    stack[depth++] = root;
    while (depth > 0) {
      const int32_t k = stack[depth - 1], down = child[k];
      if (down >= 0) {
        child[k] = sibling[down];
        stack[depth++] = down;
      } else {
        post[num++] = k;
        depth--;
        if (!watch.go_on(missed)) return false;
      }
    }
  }
  return true;
}

// A root of the union of those that share an ancestor so far.
int32_t find_root(buffer<int32_t>& up, int32_t k) {
  while (up[k] != k) k = up[k] = up[up[k]];
  return k;
}

bool count_columns(sysenv& sys, const sgraph& g, const order_view& order, sorder_watch& watch, sorder_tree& tree) {
  const int32_t n = g.n;
  buffer<int32_t> first(sys, n, -1), newestfirst(sys, n, -1), lastleaf(sys, n, -1), up(sys, n);
  for (int32_t k = 0; k < n; k++) {
    int32_t j = tree.post[k];
    up[j] = j;
    tree.count[j] = first[j] < 0 ? g.node_weight(order.node(j)) : 0;
    for (; j >= 0 && first[j] < 0; j = tree.parent[j]) first[j] = k;
    if (!watch.go_on(missed)) return false;
  }
  for (int32_t k = 0; k < n; k++) {
    const int32_t j = tree.post[k], node = order.node(j), parent = tree.parent[j];
    if (parent >= 0) tree.count[parent] -= g.node_weight(node);
    for (int64_t p = g.beg[node]; p < g.beg[node + 1]; p++) {
      const int32_t i = order.position(g.sub[p]);
      if (i <= j || first[j] <= newestfirst[i]) continue;
      newestfirst[i] = first[j];
      tree.count[j] += g.node_weight(g.sub[p]);
      if (lastleaf[i] >= 0) tree.count[find_root(up, lastleaf[i])] -= g.node_weight(g.sub[p]);
      lastleaf[i] = j;
    }
    if (parent >= 0) up[j] = parent;
    if (!watch.go_on(g.beg[node + 1] - g.beg[node] + 1)) return false;
  }
  for (int32_t j = 0; j < n; j++) {
    if (tree.parent[j] >= 0) tree.count[tree.parent[j]] += tree.count[j];
    if (!watch.go_on(1)) return false;
  }
  return true;
}

// A node of weight w stands for w columns, each one shorter than the one before.
void add_figures(const sgraph& g, const order_view& order, sorder_tree& tree) {
  tree.figures = {};
  for (int32_t j = 0; j < g.n; j++) {
    const int64_t w = g.node_weight(order.node(j)), c = tree.count[j];
    tree.figures.nnz += w * c - w * (w - 1) / 2;
    const auto top = static_cast<double>(c), num = static_cast<double>(w);
    tree.figures.flops += num * top * top - top * num * (num - 1) + (num - 1) * num * (2 * num - 1) / 6;
  }
}

} // namespace

bool analyse_order(sysenv& sys, const sgraph& g, const int32_t* perm, sorder_watch& watch, sorder_tree& tree) {
  tree.parent.reset(sys, g.n);
  tree.post.reset(sys, g.n);
  tree.count.reset(sys, g.n);
  buffer<int32_t> invp;
  if (perm) {
    invp.reset(sys, g.n);
    for (int32_t k = 0; k < g.n; k++) {
      invp[perm[k]] = k;
      if (!watch.go_on(1)) return false;
    }
  }
  const order_view order{perm, perm ? invp.data() : nullptr};
  if (!make_tree(sys, g, order, watch, tree.parent)) return false;
  if (!make_postorder(sys, tree.parent, watch, tree.post)) return false;
  if (!count_columns(sys, g, order, watch, tree)) return false;
  add_figures(g, order, tree);
  return true;
}

sorder_code TVN_sorder_analyse(sysenv& sys, const sorder_graph& graph, const int32_t* perm,
                               const sorder_progress& progress, sorder_tree& tree) {
  sorder_watch watch(progress);
  sgraph g;
  const bool done = make_graph(sys, graph, watch, g) && analyse_order(sys, g, perm, watch, tree);
  return done ? sorder_code::ok : sorder_code::stopped;
}

} // namespace tvn
