// Start of a quotient graph: lists from the graph, and long columns of A as elements from the first pivot on.
//
// A column of A is a clique of A A'. As an element it takes k entries instead of k (k - 1), and the scores know its
// edges. Columns are taken longest first; a node joins one clique only, and only if it is adjacent to all the others of
// it, so the elements say nothing that the graph does not. Cost: the lists of the nodes of each column, once.
#include "order/amfstate.h"

namespace tvn {

namespace {

constexpr int32_t mincliqueweight = 21, mincliquenodes = 3;

int64_t column_length(const sorder_columns& a, int32_t j) { return a.end[j] - a.beg[j]; }

bool is_excluded(const sorder_columns& a, int32_t j) {
  return (a.exclude1 && a.exclude1[j] != 0) || (a.exclude2 && a.exclude2[j] != 0);
}

// Long columns, the longest first.
int32_t choose_columns(sysenv& sys, const sorder_columns& a, buffer<int32_t>& chosen) {
  int64_t nnz = 0;
  for (int32_t j = 0; j < a.numcol; j++) nnz += column_length(a, j);
  const int64_t shortest = std::max<int64_t>(10, 3 * nnz / std::max(a.numcol, 1));
  int32_t num = 0;
  chosen.reset(sys, a.numcol);
  for (int32_t j = 0; j < a.numcol; j++)
    if (column_length(a, j) >= shortest && !is_excluded(a, j)) chosen[num++] = j;
  std::sort(chosen.begin(), chosen.begin() + num, [&](int32_t x, int32_t y) {
    return column_length(a, x) != column_length(a, y) ? column_length(a, x) > column_length(a, y) : x < y;
  });
  return num;
}

struct clique_search {
  buffer<int32_t> clique; // [n] clique of a node, -1: none
  buffer<int32_t> seen;   // [n] last column that held it
  buffer<int32_t> nodes;  // [n] of the cliques, one after the other
  vec<int32_t> ends;      // of each clique in nodes
};

// Nodes of column j that are in no clique yet.
int32_t gather(const amf_state& s, const sorder_columns& a, int32_t j, int32_t begin, clique_search& c) {
  int32_t end = begin;
  for (int64_t p = a.beg[j]; p < a.end[j]; p++) {
    const int32_t i = s.in.row2node ? s.in.row2node[a.sub[p]] : a.sub[p];
    if (c.clique[i] >= 0 || c.seen[i] == j) continue;
    c.seen[i] = j;
    c.nodes[end++] = i;
  }
  return end;
}

// Keeps the nodes that are adjacent to all that were gathered; their weight.
int64_t keep_adjacent(const amf_state& s, int32_t j, int32_t begin, int32_t& end, const clique_search& c,
                      int32_t* nodes) {
  const sgraph& g = s.in.graph;
  const int32_t all = end - begin;
  int64_t weight = 0;
  int32_t to = begin;
  for (int32_t k = begin; k < end; k++) {
    int32_t num = 1;
    for (int64_t p = g.beg[nodes[k]]; p < g.beg[nodes[k] + 1]; p++) num += c.seen[g.sub[p]] == j;
    s.watch.go_on(g.beg[nodes[k] + 1] - g.beg[nodes[k]]);
    if (num < all) continue;
    weight += g.node_weight(nodes[k]);
    nodes[to++] = nodes[k];
  }
  end = to;
  return weight;
}

void find_cliques(amf_state& s, clique_search& c) {
  const sorder_columns& a = *s.in.columns;
  buffer<int32_t> chosen;
  const int32_t num = choose_columns(s.sys, a, chosen);
  c.clique.reset(s.sys, s.n, -1);
  c.seen.reset(s.sys, s.n, -1);
  c.nodes.reset(s.sys, s.n);
  c.ends.attach(s.sys);
  int32_t begin = 0;
  for (int32_t k = 0; k < num && !s.watch.stopped; k++) {
    int32_t end = gather(s, a, chosen[k], begin, c);
    if (!s.watch.go_on(column_length(a, chosen[k]))) return;
    if (end - begin < mincliquenodes) continue;
    const int64_t weight = keep_adjacent(s, chosen[k], begin, end, c, c.nodes.data());
    if (weight < mincliqueweight || end - begin < mincliquenodes) continue;
    for (int32_t t = begin; t < end; t++) c.clique[c.nodes[t]] = static_cast<int32_t>(c.ends.size());
    c.ends.push_back(end);
    begin = end;
  }
}

// The lists of nodes: the clique, then the neighbours outside it. False: stopped.
bool fill_nodes(amf_state& s, const clique_search& c, int32_t numclique) {
  const sgraph& g = s.in.graph;
  for (int32_t i = 0; i < s.n; i++) {
    const int32_t clique = numclique > 0 ? c.clique[i] : -1;
    s.pos[i] = s.used;
    s.elen[i] = clique >= 0;
    if (clique >= 0) s.store[s.used++] = s.n + clique;
    for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++)
      if (clique < 0 || c.clique[g.sub[p]] != clique) s.store[s.used++] = g.sub[p];
    s.len[i] = static_cast<int32_t>(s.used - s.pos[i]);
    s.nv[i] = g.node_weight(i);
    s.left += s.nv[i];
    s.chain[i] = -1;
    s.tail[i] = i;
    if (!s.watch.go_on(g.beg[i + 1] - g.beg[i] + 2)) return false;
  }
  return true;
}

void fill_cliques(amf_state& s, const clique_search& c, int32_t numclique) {
  for (int32_t e = 0, begin = 0; e < numclique; e++) {
    const int32_t id = s.n + e, end = c.ends[e];
    s.pos[id] = s.used;
    s.len[id] = end - begin;
    s.elen[id] = 0;
    s.weight[id] = 0;
    for (; begin < end; begin++) {
      s.store[s.used++] = c.nodes[begin];
      s.weight[id] += s.nv[c.nodes[begin]];
    }
    s.maxweight = std::max(s.maxweight, s.weight[id]);
  }
}

} // namespace

bool amf_setup(amf_state& s) {
  const int64_t n = s.n;
  clique_search c;
  if (s.in.columns) find_cliques(s, c);
  if (s.watch.stopped) return false;
  const auto numclique = static_cast<int32_t>(c.ends.size());
  const int64_t ids = n + numclique, entries = s.in.graph.num_entries() + 2 * n;
  s.store.reset(s.sys, entries + entries / 5);
  s.pos.reset(s.sys, ids);
  s.len.reset(s.sys, ids);
  s.elen.reset(s.sys, ids);
  s.weight.reset(s.sys, ids);
  s.mark.reset(s.sys, ids, 1);
  s.nv.reset(s.sys, n);
  s.outside.reset(s.sys, n);
  s.known.reset(s.sys, n);
  s.chain.reset(s.sys, n);
  s.tail.reset(s.sys, n);
  s.hashhead.reset(s.sys, n, -1);
  s.hashnext.reset(s.sys, n);
  s.hashof.reset(s.sys, n);
  s.putoff.reset(s.sys, n);
  if (!fill_nodes(s, c, numclique)) return false;
  fill_cliques(s, c, numclique);
  return true;
}

} // namespace tvn
