// Smoothing of a separator by flow.
//
// The separator and its neighbours on one side are a wide separator; among all separators inside it the lightest ones
// are minimum vertex cuts between what is left of both sides. They come from a maximum flow in which each node is two,
// joined by an arc of its weight (Dinic 1970); one cut lies nearest to the source, one nearest to the sink, and the
// bisection of less cost stands. Cost: the edges of the wide separator for each phase of the flow, which are few.
// Source: Ashcraft and Liu 1998.
#include "order/partition.h"

#include <limits>

namespace tvn {

namespace {

constexpr double mincostgain = 1e-8;
constexpr int64_t unbounded = std::numeric_limits<int64_t>::max() / 4;

// Arcs a and a ^ 1 are each other's way back.
struct flow_net {
  int32_t numnodes = 0;
  buffer<int64_t> first; // [numnodes + 1] arcs out of a node in `list`
  buffer<int32_t> list;  // arcs by their node
  buffer<int32_t> head;  // of an arc
  buffer<int64_t> room;  // residual capacity of an arc
  buffer<int32_t> level; // [numnodes] distance from the source, -1: not reached
  buffer<int32_t> queue; // [numnodes]
  buffer<int64_t> next;  // [numnodes] arc to be tried next
  buffer<int32_t> path;  // [numnodes] arcs
};

struct wide_separator {
  buffer<int32_t> nodes, local; // of the wide separator; [n] -1: not in it
  int32_t num = 0;
};

void gather_wide(const sgraph& g, const bisection& b, int8_t from, wide_separator& y) {
  const auto take = [&](int32_t v) {
    if (y.local[v] >= 0) return;
    y.local[v] = y.num;
    y.nodes[y.num++] = v;
  };
  for (int32_t v = 0; v < g.n; v++)
    if (b.where[v] == side_s) take(v);
  const int32_t numsep = y.num;
  for (int32_t k = 0; k < numsep; k++)
    for (int64_t p = g.beg[y.nodes[k]]; p < g.beg[y.nodes[k] + 1]; p++)
      if (b.where[g.sub[p]] == from) take(g.sub[p]);
}

// Nodes 2 k and 2 k + 1 are the entry and the exit of the k-th; then source and sink.
template <class Arc> void each_arc(const sgraph& g, const bisection& b, int8_t from, const wide_separator& y, Arc arc) {
  const int32_t source = 2 * y.num, sink = source + 1;
  for (int32_t k = 0; k < y.num; k++) {
    const int32_t v = y.nodes[k];
    bool atsource = false, atsink = false;
    arc(2 * k, 2 * k + 1, int64_t{g.node_weight(v)});
    for (int64_t p = g.beg[v]; p < g.beg[v + 1]; p++) {
      const int32_t u = g.sub[p];
      if (y.local[u] >= 0)
        arc(2 * k + 1, 2 * y.local[u], unbounded);
      else
        (b.where[u] == from ? atsink : atsource) = true;
    }
    if (atsource) arc(source, 2 * k, unbounded);
    if (atsink) arc(2 * k + 1, sink, unbounded);
  }
}

void build_net(sysenv& sys, const sgraph& g, const bisection& b, int8_t from, const wide_separator& y, flow_net& f) {
  f.numnodes = 2 * y.num + 2;
  f.first.reset(sys, int64_t{f.numnodes} + 1, 0);
  int64_t numarcs = 0;
  each_arc(g, b, from, y, [&](int32_t a, int32_t c, int64_t) {
    f.first[a + 1]++;
    f.first[c + 1]++;
    numarcs += 2;
  });
  for (int32_t k = 0; k < f.numnodes; k++) f.first[k + 1] += f.first[k];
  f.list.reset(sys, numarcs);
  f.head.reset(sys, numarcs);
  f.room.reset(sys, numarcs);
  f.level.reset(sys, f.numnodes);
  f.queue.reset(sys, f.numnodes);
  f.next.reset(sys, f.numnodes);
  f.path.reset(sys, f.numnodes);
  std::copy_n(f.first.data(), f.numnodes, f.next.data());
  int32_t arc = 0;
  each_arc(g, b, from, y, [&](int32_t a, int32_t c, int64_t capacity) {
    f.head[arc] = c;
    f.room[arc] = capacity;
    f.list[f.next[a]++] = arc++;
    f.head[arc] = a;
    f.room[arc] = 0;
    f.list[f.next[c]++] = arc++;
  });
}

// Levels from a node along arcs with room, or (backward) along those that lead there.
bool reach(flow_net& f, int32_t start, bool backward, int32_t target) {
  std::fill(f.level.begin(), f.level.end(), -1);
  int32_t num = 0;
  f.level[start] = 0;
  f.queue[num++] = start;
  for (int32_t k = 0; k < num; k++)
    for (int64_t p = f.first[f.queue[k]]; p < f.first[f.queue[k] + 1]; p++) {
      const int32_t arc = f.list[p], to = f.head[arc];
      if (f.level[to] >= 0 || f.room[backward ? arc ^ 1 : arc] == 0) continue;
      f.level[to] = f.level[f.queue[k]] + 1;
      f.queue[num++] = to;
    }
  return target >= 0 && f.level[target] >= 0;
}

// One path by ascending levels; false: none is left in this phase.
bool augment(flow_net& f, int32_t source, int32_t sink) {
  int32_t depth = 0, at = source;
  while (at != sink) {
    int64_t& p = f.next[at];
    while (p < f.first[at + 1] && (f.room[f.list[p]] == 0 || f.level[f.head[f.list[p]]] != f.level[at] + 1)) p++;
    if (p < f.first[at + 1]) {
      f.path[depth++] = f.list[p];
      at = f.head[f.list[p]];
      continue;
    }
    if (depth == 0) return false;
    at = f.head[f.path[--depth] ^ 1];
    f.next[at]++;
  }
  int64_t least = unbounded;
  for (int32_t k = 0; k < depth; k++) least = std::min(least, f.room[f.path[k]]);
  for (int32_t k = 0; k < depth; k++) {
    f.room[f.path[k]] -= least;
    f.room[f.path[k] ^ 1] += least;
  }
  return true;
}

bool saturate(flow_net& f, int32_t source, int32_t sink, sorder_watch& watch) {
  while (reach(f, source, false, sink)) {
    std::copy_n(f.first.data(), f.numnodes, f.next.data());
    if (!watch.go_on(f.list.size())) return false;
    while (augment(f, source, sink))
      if (!watch.go_on(f.level[sink])) return false;
  }
  return watch.go_on(f.list.size());
}

// Who is where after the cut that the levels show: reached from the source (or not from the sink) goes to the far side.
int8_t new_side(const flow_net& f, int32_t k, bool backward, int8_t from) {
  const bool entry = f.level[2 * k] >= 0, exit = f.level[2 * k + 1] >= 0;
  if (entry != exit) return side_s;
  return static_cast<int8_t>((exit != backward) ? 1 - from : from);
}

bool take_cut(const sgraph& g, const partition_weights& w, const flow_net& f, const wide_separator& y, bool backward,
              int8_t from, bisection& b) {
  int64_t weight[3] = {b.weight[0], b.weight[1], b.weight[2]};
  for (int32_t k = 0; k < y.num; k++) {
    weight[b.where[y.nodes[k]]] -= g.node_weight(y.nodes[k]);
    weight[new_side(f, k, backward, from)] += g.node_weight(y.nodes[k]);
  }
  if (weight[0] == 0 || weight[1] == 0) return false;
  if (bisection_cost(w, weight[0], weight[1], weight[2]) >
      bisection_cost(w, b.weight[0], b.weight[1], b.weight[2]) - mincostgain)
    return false;
  for (int32_t k = 0; k < y.num; k++) b.where[y.nodes[k]] = new_side(f, k, backward, from);
  std::copy_n(weight, 3, b.weight);
  return true;
}

bool smooth_from(const sgraph& g, const partition_weights& w, int8_t from, sorder_watch& watch, partition_space& space,
                 bisection& b, bool& better) {
  wide_separator y{{space.sys, g.n}, {space.sys, g.n, -1}};
  gather_wide(g, b, from, y);
  flow_net f;
  build_net(space.sys, g, b, from, y, f);
  const int32_t source = 2 * y.num, sink = source + 1;
  if (!saturate(f, source, sink, watch)) return false;
  reach(f, source, false, -1);
  better = take_cut(g, w, f, y, false, from, b);
  if (better) return true;
  reach(f, sink, true, -1);
  better = take_cut(g, w, f, y, true, from, b);
  return watch.go_on(g.n);
}

} // namespace

bool smooth_separator(const sgraph& g, const partition_weights& w, sorder_watch& watch, partition_space& space,
                      bisection& b, bool& better) {
  better = false;
  for (int32_t round = 0, idle = 0; round < 8 && idle < 2; round++) {
    const int8_t heavy = b.weight[0] >= b.weight[1] ? side_a : side_b;
    const auto from = static_cast<int8_t>(idle == 0 ? heavy : 1 - heavy);
    bool lighter = false;
    if (!smooth_from(g, w, from, watch, space, b, lighter)) return false;
    better |= lighter;
    idle = lighter ? 0 : idle + 1;
  }
  return true;
}

} // namespace tvn
