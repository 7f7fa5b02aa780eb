// Symbolic phase of the sparse triangular solves (Gilbert and Peierls 1988).
//
// A node is a row (forward) or a column (backward); its adjacency are the nodes that its value changes. reach() lists
// all nodes that the right-hand side can touch so that each follows the nodes that it changes: the numeric phase walks
// the list from its end. Cost: the adjacency of the visited nodes. The search gives up once that exceeds a quarter of
// the dimension: then a plain pass over the pivot order is cheaper.
#pragma once

#include "lu/luint.h"

namespace tvn {

constexpr int32_t symbolicshare = 4; // the search may cost nrow / symbolicshare

struct lu_reach {
  bool complete; // false: given up, all marks are clean
  int32_t count; // nodes in f.topo, each marked in f.mark
  int64_t visited;
};

// beg(v), len(v): adjacency of node v in adj. mark[v]: 0, or one plus the next position to scan. Without a budget the
// search is always completed.
template <bool budgeted = true, class Beg, class Len>
inline lu_reach reach(lu& f, const int32_t* list, int32_t n, const int32_t* __restrict adj, Beg beg, Len len) {
  const int64_t budget = budgeted ? f.nrow / symbolicshare : INT64_MAX;
  int32_t* __restrict mark = f.mark.data();
  int32_t* __restrict stack = f.stack.data();
  int32_t* __restrict topo = f.topo.data();
  int64_t visited = 0;
  int32_t count = 0, depth = 0;
  const auto give_up = [&]() -> lu_reach {
    for (int32_t k = 0; k < count; k++) mark[topo[k]] = 0;
    for (int32_t k = 0; k < depth; k++) mark[stack[k]] = 0;
    return {false, 0, visited};
  };
  for (int32_t k = 0; k < n; k++) {
    const int32_t root = list[k];
    if (mark[root] != 0) continue;
    mark[root] = 1;
    const int32_t rootlen = len(root);
    if (rootlen == 0) {
      topo[count++] = root;
      continue;
    }
    stack[depth++] = root;
    visited += rootlen;
    if (visited >= budget) return give_up();
    while (depth > 0) {
      const int32_t v = stack[depth - 1], b = beg(v), e = b + len(v);
      int32_t p = b + mark[v] - 1;
      bool deeper = false;
      while (p < e && !deeper) {
        const int32_t w = adj[p++];
        if (mark[w] != 0) continue;
        mark[w] = 1;
        const int32_t wlen = len(w);
        if (wlen == 0) {
          topo[count++] = w;
          continue;
        }
        mark[v] = p - b + 1;
        stack[depth++] = w;
        visited += wlen;
        if (visited >= budget) return give_up();
        deeper = true;
      }
      if (deeper) continue;
      depth--;
      topo[count++] = v;
    }
  }
  return {true, count, visited};
}

// The search of a sparse solve. When three in a row gave up, right-hand sides as long as theirs go to the full pass at
// once, but every eighth is searched again: densities change slowly within a run.
template <class Beg, class Len>
inline lu_reach try_reach(lu& f, lu_kind kind, const int32_t* list, int32_t n, const int32_t* adj, Beg beg, Len len) {
  lu_habit& h = f.habit[kind];
  if (h.giveups >= 3 && n >= h.leastcount && ++h.leftout % 8 != 0) return {false, 0, 0};
  const lu_reach s = reach(f, list, n, adj, beg, len);
  f.work[lt_symbolic] += s.visited;
  if (s.complete) {
    h.giveups = 0;
  } else {
    h.leastcount = h.giveups == 0 ? n : std::min(h.leastcount, n);
    h.giveups++;
  }
  return s;
}

// Fills the list of x from its values; for results of a full pass.
inline void relist(spvec& x, int32_t n) {
  int32_t count = 0;
  const double* __restrict val = x.val.data();
  int32_t* __restrict idx = x.idx.data();
  for (int32_t i = 0; i < n; i++)
    if (val[i] != 0.0) idx[count++] = i;
  x.count = count;
}

} // namespace tvn
