// Graphs with both ends of each edge, and their compression.
//
// Rows of A A' with the same neighbours are frequent, and no order need ever tell them apart (Ashcraft 1995). They are
// found by a sum of scattered node numbers over the closed neighbourhood, sorted out by hash, and proven by marks.
// Cost: O(edges) but for the proofs of equal sums.
#include "order/sgraph.h"

namespace tvn {

namespace {

// Drops repeated neighbours, in place.
bool drop_repeats(sysenv& sys, sorder_watch& watch, sgraph& g) {
  buffer<int32_t> seen(sys, g.n, -1);
  int64_t to = 0;
  for (int32_t i = 0; i < g.n; i++) {
    const int64_t from = g.beg[i], end = g.beg[i + 1];
    g.beg[i] = to;
    for (int64_t p = from; p < end; p++) {
      const int32_t j = g.sub[p];
      if (seen[j] == i) continue;
      seen[j] = i;
      g.sub[to++] = j;
    }
    if (!watch.go_on(end - from + 1)) return false;
  }
  g.beg[g.n] = to;
  return true;
}

uint64_t scatter(int32_t i) {
  uint64_t x = (static_cast<uint64_t>(i) + 1) * 0x9E3779B97F4A7C15u;
  x ^= x >> 29;
  return x * 0xBF58476D1CE4E5B9u;
}

// Chains of nodes by the sum over their closed neighbourhoods, ascending by node.
struct hash_chains {
  buffer<uint64_t> sum;       // [n]
  buffer<int32_t> head, next; // [buckets], [n]
};

bool hash_nodes(sysenv& sys, const sgraph& g, sorder_watch& watch, hash_chains& h) {
  int64_t buckets = 16;
  while (buckets < 2 * int64_t{g.n}) buckets *= 2;
  h.sum.reset(sys, g.n);
  h.head.reset(sys, buckets, -1);
  h.next.reset(sys, g.n);
  for (int32_t i = g.n - 1; i >= 0; i--) {
    uint64_t sum = scatter(i);
    for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++) sum += scatter(g.sub[p]);
    h.sum[i] = sum;
    int32_t& head = h.head[static_cast<int64_t>((sum ^ sum >> 32) & static_cast<uint64_t>(buckets - 1))];
    h.next[i] = head;
    head = i;
    if (!watch.go_on(g.beg[i + 1] - g.beg[i] + 1)) return false;
  }
  return true;
}

// Marks hold the closed neighbourhood of one node; is that of i the same?
bool same_closed(const sgraph& g, const buffer<int32_t>& mark, int32_t stamp, int32_t i) {
  if (mark[i] != stamp) return false;
  for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++)
    if (mark[g.sub[p]] != stamp) return false;
  return true;
}

bool find_classes(sysenv& sys, const sgraph& g, const hash_chains& h, sorder_watch& watch, buffer<int32_t>& leader,
                  int32_t& numclass) {
  buffer<int32_t> mark(sys, g.n, -1);
  leader.reset(sys, g.n, -1);
  numclass = 0;
  for (int32_t i = 0; i < g.n; i++) {
    if (leader[i] >= 0) continue;
    leader[i] = i;
    numclass++;
    if (!watch.go_on(1)) return false;
    const int64_t length = g.beg[i + 1] - g.beg[i];
    for (int32_t j = h.next[i]; j >= 0; j = h.next[j]) {
      if (h.sum[j] != h.sum[i] || leader[j] >= 0 || g.beg[j + 1] - g.beg[j] != length) continue;
      if (mark[i] != i) {
        mark[i] = i;
        for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++) mark[g.sub[p]] = i;
      }
      if (same_closed(g, mark, i, j)) leader[j] = i;
      if (!watch.go_on(length + 1)) return false;
    }
  }
  return true;
}

} // namespace

bool make_graph(sysenv& sys, const sorder_graph& from, sorder_watch& watch, sgraph& to) {
  to.n = from.n;
  to.weight = from.n;
  to.beg.reset(sys, static_cast<int64_t>(from.n) + 1, 0);
  for (int32_t i = 0; i < from.n; i++) {
    for (int64_t p = from.beg[i]; p < from.end[i]; p++) {
      if (from.sub[p] == i) continue;
      to.beg[i]++;
      to.beg[from.sub[p]]++;
    }
    if (!watch.go_on(from.end[i] - from.beg[i] + 1)) return false;
  }
  // Filled from behind: the running ends become the starts.
  int64_t end = 0;
  for (int64_t i = 0; i <= from.n; i++) to.beg[i] = end += to.beg[i];
  if (!watch.go_on(from.n)) return false;
  to.sub.reset(sys, end);
  for (int32_t i = from.n - 1; i >= 0; i--) {
    for (int64_t p = from.beg[i]; p < from.end[i]; p++) {
      const int32_t j = from.sub[p];
      if (j == i) continue;
      to.sub[--to.beg[i]] = j;
      to.sub[--to.beg[j]] = i;
    }
    if (!watch.go_on(from.end[i] - from.beg[i] + 1)) return false;
  }
  return drop_repeats(sys, watch, to);
}

bool compress_graph(sysenv& sys, const sgraph& from, sorder_watch& watch, buffer<int32_t>& node2class, sgraph& to,
                    bool& compressed) {
  hash_chains h;
  buffer<int32_t> leader;
  int32_t numclass = 0;
  if (!hash_nodes(sys, from, watch, h) || !find_classes(sys, from, h, watch, leader, numclass)) return false;
  compressed = numclass < from.n;
  if (!compressed) return true;
  node2class.reset(sys, from.n);
  to.n = numclass;
  to.weight = from.weight;
  to.nodew.reset(sys, numclass, 0);
  to.beg.reset(sys, static_cast<int64_t>(numclass) + 1);
  int32_t c = 0;
  int64_t room = 0;
  for (int32_t i = 0; i < from.n; i++) {
    node2class[i] = leader[i] == i ? c++ : node2class[leader[i]];
    to.nodew[node2class[i]] += from.node_weight(i);
    if (leader[i] == i) room += from.beg[i + 1] - from.beg[i];
  }
  to.sub.reset(sys, room);
  int64_t end = 0;
  for (int32_t i = 0; i < from.n; i++) {
    if (leader[i] != i) continue;
    to.beg[node2class[i]] = end;
    for (int64_t p = from.beg[i]; p < from.beg[i + 1]; p++) {
      const int32_t j = from.sub[p];
      if (leader[j] == j) to.sub[end++] = node2class[j];
    }
    if (!watch.go_on(from.beg[i + 1] - from.beg[i] + 1)) return false;
  }
  to.beg[numclass] = end;
  return true;
}

} // namespace tvn
