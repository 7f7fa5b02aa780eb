// Nested dissection: a separator, then each side in the same way, down to parts that minimum fill orders as well.
//
// Nodes that are adjacent to a tenth of the graph stand in the way of every separator and join the top one. A cut whose
// separator is no smaller than a side is not taken. Cost: O(edges) for each of about six levels.
// Source: George 1973; Ashcraft and Liu 1998 (fill within the parts).
#include "order/partition.h"

namespace tvn {

namespace {

// A part is cut while it is at least that large, in nodes and relative to the whole.
constexpr int32_t mincut = 101, largecut = 10000;
constexpr int64_t cutshare = 32, largecutshare = 64;

struct dissection {
  const partition_weights& w;
  sorder_watch& watch;
  partition_space& space;
  int64_t total;           // nodes of the whole
  buffer<int32_t>& level;  // of the whole: depth of the separator + 1, 0 in leaves, until all are known
  buffer<int32_t> newname; // [total] in the part that is cut out
  int32_t maxlevel = 0;
};

// The nodes of one side with the edges among them; ids: their names in the whole.
void extract_part(dissection& d, const sgraph& g, const buffer<int32_t>& ids, const buffer<int8_t>& where, int8_t which,
                  sgraph& part, buffer<int32_t>& partids) {
  int64_t entries = 0;
  part.n = 0;
  for (int32_t i = 0; i < g.n; i++) {
    if (where[i] != which) continue;
    d.newname[i] = part.n++;
    entries += g.beg[i + 1] - g.beg[i];
  }
  sysenv& sys = d.space.sys;
  part.beg.reset(sys, static_cast<int64_t>(part.n) + 1);
  part.sub.reset(sys, entries);
  part.nodew.reset(sys, part.n);
  partids.reset(sys, part.n);
  int64_t end = 0;
  int32_t k = 0;
  for (int32_t i = 0; i < g.n; i++) {
    if (where[i] != which) continue;
    part.beg[k] = end;
    part.nodew[k] = g.node_weight(i);
    part.weight += part.nodew[k];
    partids[k++] = ids[i];
    for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++)
      if (where[g.sub[p]] == which) part.sub[end++] = d.newname[g.sub[p]];
  }
  part.beg[part.n] = end;
}

void name_separator(dissection& d, const buffer<int32_t>& ids, const buffer<int8_t>& where, int32_t depth) {
  for (int64_t i = 0; i < ids.size(); i++)
    if (where[i] == side_s) d.level[ids[i]] = depth + 1;
  d.maxlevel = std::max(d.maxlevel, depth + 1);
}

bool dissect_part(dissection& d, const sgraph& g, const buffer<int32_t>& ids, int32_t depth) {
  const bool cut = (g.n >= mincut && cutshare * g.n >= d.total) || (g.n >= largecut && largecutshare * g.n >= d.total);
  if (!cut) return true;
  bisection b;
  if (!bisect_graph(g, d.w, d.watch, d.space, b)) return false;
  if (b.weight[side_s] >= std::min(b.weight[side_a], b.weight[side_b])) return true;
  name_separator(d, ids, b.where, depth);
  for (const int8_t which : {int8_t{side_a}, int8_t{side_b}}) {
    sgraph part;
    buffer<int32_t> partids;
    extract_part(d, g, ids, b.where, which, part, partids);
    if (!d.watch.go_on(g.num_entries()) || !dissect_part(d, part, partids, depth + 1)) return false;
  }
  return true;
}

} // namespace

bool dissect_graph(sysenv& sys, const sgraph& g, const partition_weights& w, uint64_t seed, sorder_watch& watch,
                   buffer<int32_t>& level) {
  partition_space space(sys, g.n);
  space.random = seed;
  level.reset(sys, g.n, 0);
  dissection d{w, watch, space, g.n, level, {sys, g.n}};
  buffer<int32_t> ids(sys, g.n);
  for (int32_t i = 0; i < g.n; i++) ids[i] = i;
  buffer<int8_t> where(sys, g.n, side_a);
  int32_t numhub = 0;
  for (int32_t i = 0; i < g.n; i++) {
    const int64_t degree = g.beg[i + 1] - g.beg[i];
    if (degree < mincut || 10 * degree <= g.n) continue;
    where[i] = side_s;
    numhub++;
  }
  if (numhub > 0) {
    name_separator(d, ids, where, 0);
    sgraph rest;
    buffer<int32_t> restids;
    extract_part(d, g, ids, where, side_a, rest, restids);
    if (!dissect_part(d, rest, restids, 1)) return false;
  } else if (!dissect_part(d, g, ids, 0)) {
    return false;
  }
  // The deepest separators come right behind the leaves.
  for (int32_t& l : level)
    if (l > 0) l = d.maxlevel + 1 - l;
  return true;
}

} // namespace tvn
