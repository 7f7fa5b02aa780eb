// One level of coarsening: a matching along heavy edges, and the graph of the pairs.
//
// Nodes are visited in random order of increasing degree classes; each takes the free neighbour behind the heaviest
// edge. What stays single although it has neighbours (leaves of a star) is paired with another single one behind the
// same neighbour, so that hubs do not stop the coarsening. Cost: O(edges).
// Source: Hendrickson and Rothberg 1998; Karypis and Kumar 1998.
#include "order/partition.h"

#include <bit>

namespace tvn {

namespace {

// Random within classes of degrees that double.
bool visit_order(const sgraph& g, sorder_watch& watch, partition_space& space, buffer<int32_t>& order) {
  int64_t begin[66] = {0};
  const auto cls = [&](int32_t i) { return std::bit_width(static_cast<uint64_t>(g.beg[i + 1] - g.beg[i])) + 1; };
  for (int32_t i = 0; i < g.n; i++) begin[cls(i) + 1]++;
  for (int32_t k = 1; k < 66; k++) begin[k] += begin[k - 1];
  int64_t at[66];
  std::copy_n(begin, 66, at);
  for (int32_t i = 0; i < g.n; i++) order[at[cls(i)]++] = i;
  for (int32_t k = 0; k < 65; k++)
    for (int64_t p = begin[k + 1] - 1; p > begin[k]; p--) {
      std::swap(order[p], order[begin[k] + space.pick(static_cast<int32_t>(p - begin[k] + 1))]);
      if (!watch.go_on(1)) return false;
    }
  return true;
}

int32_t edge_weight(const sgraph& g, int64_t p) { return g.edgew.empty() ? 1 : g.edgew[p]; }

// The free neighbour behind the heaviest edge, -1: none.
int32_t choose_mate(const sgraph& g, const buffer<int32_t>& mate, int32_t i, int32_t maxnodew) {
  int32_t best = -1, bestweight = 0;
  for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++) {
    const int32_t j = g.sub[p];
    if (mate[j] >= 0 || edge_weight(g, p) <= bestweight) continue;
    if (g.node_weight(i) + g.node_weight(j) > maxnodew) continue;
    best = j;
    bestweight = edge_weight(g, p);
  }
  return best;
}

void pair_nodes(buffer<int32_t>& mate, int32_t i, int32_t j) {
  mate[i] = j;
  mate[j] = i;
}

// Singles behind the same neighbour. Those without any neighbour are paired as they come.
bool match_singles(const sgraph& g, sorder_watch& watch, buffer<int32_t>& mate, int32_t maxnodew) {
  int32_t lonely = -1;
  const auto join = [&](int32_t& open, int32_t j) {
    if (open >= 0 && open != j && g.node_weight(open) + g.node_weight(j) <= maxnodew) {
      pair_nodes(mate, open, j);
      open = -1;
    } else {
      open = j;
    }
  };
  for (int32_t h = 0; h < g.n; h++) {
    if (g.beg[h] == g.beg[h + 1] && mate[h] < 0) join(lonely, h);
    int32_t open = -1;
    for (int64_t p = g.beg[h]; p < g.beg[h + 1]; p++)
      if (mate[g.sub[p]] < 0) join(open, g.sub[p]);
    if (!watch.go_on(g.beg[h + 1] - g.beg[h] + 1)) return false;
  }
  return true;
}

// Number of pairs and singles, numbered by their first node.
int32_t number_pairs(const sgraph& g, const buffer<int32_t>& mate, buffer<int32_t>& fine2coarse) {
  int32_t num = 0;
  for (int32_t i = 0; i < g.n; i++) fine2coarse[i] = mate[i] >= 0 && mate[i] < i ? fine2coarse[mate[i]] : num++;
  return num;
}

bool contract(const sgraph& g, const buffer<int32_t>& mate, const buffer<int32_t>& fine2coarse, int32_t num,
              sorder_watch& watch, partition_space& space, sgraph& to) {
  sysenv& sys = space.sys;
  buffer<int64_t> place(sys, num, -1); // of the edge to a coarse node
  to.n = num;
  to.weight = g.weight;
  to.nodew.reset(sys, num);
  to.beg.reset(sys, static_cast<int64_t>(num) + 1);
  to.sub.reset(sys, g.num_entries());
  to.edgew.reset(sys, g.num_entries());
  int64_t end = 0;
  int32_t c = 0;
  for (int32_t i = 0; i < g.n; i++) {
    if (mate[i] >= 0 && mate[i] < i) continue;
    const int64_t begin = to.beg[c] = end;
    to.nodew[c] = 0;
    const int32_t second = mate[i] == i ? -1 : mate[i];
    for (int32_t k = i; k >= 0; k = k == i ? second : -1) {
      to.nodew[c] += g.node_weight(k);
      for (int64_t p = g.beg[k]; p < g.beg[k + 1]; p++) {
        const int32_t d = fine2coarse[g.sub[p]];
        if (d == c) continue;
        if (place[d] >= begin) {
          to.edgew[place[d]] += edge_weight(g, p);
          continue;
        }
        place[d] = end;
        to.sub[end] = d;
        to.edgew[end++] = edge_weight(g, p);
      }
    }
    c++;
    if (!watch.go_on(2 * (g.beg[i + 1] - g.beg[i]) + 2)) return false;
  }
  to.beg[num] = end;
  return true;
}

} // namespace

bool coarsen_graph(const sgraph& fine, int32_t maxnodew, sorder_watch& watch, partition_space& space,
                   buffer<int32_t>& fine2coarse, sgraph& coarse) {
  buffer<int32_t> order(space.sys, fine.n), mate(space.sys, fine.n, -1);
  if (!visit_order(fine, watch, space, order)) return false;
  int32_t single = 0;
  for (const int32_t i : order) {
    if (mate[i] >= 0) continue;
    const int32_t j = choose_mate(fine, mate, i, maxnodew);
    if (j >= 0)
      pair_nodes(mate, i, j);
    else
      single++;
    if (!watch.go_on(fine.beg[i + 1] - fine.beg[i] + 2)) return false;
  }
  if (8 * single > fine.n && !match_singles(fine, watch, mate, maxnodew)) return false;
  for (int32_t i = 0; i < fine.n; i++)
    if (mate[i] < 0) mate[i] = i;
  fine2coarse.reset(space.sys, fine.n);
  const int32_t num = number_pairs(fine, mate, fine2coarse);
  return contract(fine, mate, fine2coarse, num, watch, space, coarse);
}

} // namespace tvn
