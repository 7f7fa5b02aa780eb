// Refinement of a vertex separator by single moves, and growing of a first one.
//
// A node of the separator moves to a side and pulls its neighbours on the other side into the separator; its gain is
// what the separator loses in weight. Both directions wait in heaps. A pass goes on through bad moves, each node once,
// and returns to the best point it met. Cost of a pass: the lists of the separator and of what is pulled in.
// Source: Fiduccia and Mattheyses 1982; Ashcraft and Liu 1998; Hendrickson and Rothberg 1998 (on vertex separators).
#include "order/partition.h"
#include "temp/prbheap.h"

#include <cmath>
#include <utility>

namespace tvn {

namespace {

constexpr double mincostgain = 1e-8;
constexpr int64_t hubshare = 8; // a node that pulls in so large a part of the graph is a hub

struct mover {
  const sgraph& g;
  partition_space& space;
  bisection& b;
  sorder_watch& watch;
  int32_t num[2] = {0, 0}; // nodes in the heaps
  int64_t work = 0;        // since the watch was told

  bool go_on() { return watch.go_on(std::exchange(work, 0)); }

  int8_t* where() { return b.where.data(); }
  void insert(int32_t v) {
    int64_t pulls[3] = {0, 0, 0}; // weight of the neighbours by where they are
    for (int64_t p = g.beg[v]; p < g.beg[v + 1]; p++) pulls[b.where[g.sub[p]]] += g.node_weight(g.sub[p]);
    for (int32_t to = 0; to < 2; to++) {
      space.gain[to][v] = g.node_weight(v) - pulls[1 - to];
      TVN_prbheapmax_insert(num[to], space.heap[to].data(), space.heappos[to].data(), space.gain[to].data(), v);
    }
    work += g.beg[v + 1] - g.beg[v] + 8;
  }
  void change(int32_t v, int32_t to, int64_t by) {
    if (space.heappos[to][v] < 0) return;
    TVN_prbheapmax_changekey(num[to], space.heap[to].data(), space.heappos[to].data(), space.gain[to].data(), v,
                             space.gain[to][v] + by);
  }
  void remove(int32_t v) {
    for (int32_t to = 0; to < 2; to++) {
      if (space.heappos[to][v] < 0) continue;
      TVN_prbheapmax_changekey(num[to], space.heap[to].data(), space.heappos[to].data(), space.gain[to].data(), v,
                               INT64_MAX);
      TVN_prbheapmax_delete(num[to], space.heap[to].data(), space.heappos[to].data(), space.gain[to].data());
    }
  }
  void clear() {
    for (int32_t to = 0; to < 2; to++) {
      for (int32_t k = 0; k < num[to]; k++) space.heappos[to][space.heap[to][k]] = -1;
      num[to] = 0;
    }
  }
  void put(int32_t v, int32_t to) {
    b.weight[b.where[v]] -= g.node_weight(v);
    b.weight[to] += g.node_weight(v);
    b.where[v] = static_cast<int8_t>(to);
  }
  // Moves v out of the separator; the nodes it pulls in are appended to pulled.
  int32_t move(int32_t v, int32_t to, int32_t numpulled) {
    remove(v);
    put(v, to);
    for (int64_t p = g.beg[v]; p < g.beg[v + 1]; p++) {
      const int32_t u = g.sub[p];
      if (b.where[u] == side_s) {
        change(u, 1 - to, -g.node_weight(v));
      } else if (b.where[u] == 1 - to) {
        put(u, side_s);
        space.pulled[numpulled++] = u;
        for (int64_t q = g.beg[u]; q < g.beg[u + 1]; q++)
          if (b.where[g.sub[q]] == side_s) change(g.sub[q], to, g.node_weight(u));
        work += g.beg[u + 1] - g.beg[u];
        if (space.locked[u] != space.stamp) insert(u);
      }
    }
    work += g.beg[v + 1] - g.beg[v] + 8;
    return numpulled;
  }
};

double ratio_of(int64_t a, int64_t b) {
  return static_cast<double>(std::min(a, b)) / static_cast<double>(std::max<int64_t>({a, b, 1}));
}

// The side that the best move goes to, -1: none is allowed.
int32_t choose_direction(const mover& m, const partition_weights& w) {
  const int64_t* weight = m.b.weight;
  int32_t best = -1;
  for (int32_t to = 0; to < 2; to++) {
    if (m.num[to] == 0) continue;
    const int32_t v = m.space.heap[to][0];
    int64_t after[2] = {weight[0], weight[1]};
    after[to] += m.g.node_weight(v);
    after[1 - to] -= m.g.node_weight(v) - m.space.gain[to][v];
    const double ratio = ratio_of(after[0], after[1]);
    if (ratio < w.minratio && ratio < ratio_of(weight[0], weight[1])) continue;
    const int64_t gain = m.space.gain[to][v];
    if (best >= 0) {
      const int64_t other = m.space.gain[best][m.space.heap[best][0]];
      if (gain < other || (gain == other && weight[to] >= weight[best])) continue;
    }
    best = to;
  }
  return best;
}

void take_back(mover& m, int32_t nummoved, int32_t to, int32_t& numpulled) {
  const int32_t v = m.space.moved[nummoved];
  const int32_t from = m.b.where[v];
  while (numpulled > to) m.put(m.space.pulled[--numpulled], 1 - from);
  m.put(v, side_s);
}

// False: stopped. better: the cost fell.
bool refine_once(const sgraph& g, const partition_weights& w, sorder_watch& watch, partition_space& space, bisection& b,
                 bool& better) {
  mover m{g, space, b, watch};
  space.stamp++;
  int32_t numsep = 0;
  for (int32_t v = 0; v < g.n; v++) {
    if (b.where[v] != side_s) continue;
    m.insert(v);
    numsep++;
    if (!m.go_on()) return false;
  }
  const double before = bisection_cost(w, b.weight[0], b.weight[1], b.weight[2]);
  double best = before;
  const int32_t patience = std::clamp(numsep / 2, 50, 400);
  int32_t nummoved = 0, numpulled = 0, bestmoved = 0;
  while (nummoved - bestmoved < patience) {
    const int32_t to = choose_direction(m, w);
    if (to < 0 || numpulled + g.n > space.pulled.size()) break;
    const int32_t v = space.heap[to][0];
    space.locked[v] = space.stamp;
    space.moved[nummoved] = v;
    space.pulledbegin[nummoved++] = numpulled;
    numpulled = m.move(v, to, numpulled);
    if (!m.go_on()) return false;
    const double cost = bisection_cost(w, b.weight[0], b.weight[1], b.weight[2]);
    if (cost > best - mincostgain) continue;
    best = cost;
    bestmoved = nummoved;
  }
  m.clear();
  while (nummoved > bestmoved) {
    nummoved--;
    take_back(m, nummoved, space.pulledbegin[nummoved], numpulled);
  }
  better = best < before - mincostgain;
  return watch.go_on(g.n / 8);
}

} // namespace

double bisection_cost(const partition_weights& w, int64_t a, int64_t b, int64_t s) {
  const auto large = static_cast<double>(std::max(a, b)), small = static_cast<double>(std::min(a, b));
  return static_cast<double>(std::max<int64_t>(s, 1)) * (1.0 + w.beta * std::sqrt(large) / std::sqrt(small + 1e-64));
}

partition_space::partition_space(sysenv& s, int32_t n)
    : sys(s), heap{{s, int64_t{n} + 1}, {s, int64_t{n} + 1}}, heappos{{s, n, -1}, {s, n, -1}}, gain{{s, n}, {s, n}},
      locked(s, n, 0), moved(s, n), pulled(s, 2 * int64_t{n} + 1), pulledbegin(s, n) {}

bool refine_separator(const sgraph& g, const partition_weights& w, int32_t passes, sorder_watch& watch,
                      partition_space& space, bisection& b) {
  for (int32_t pass = 0; pass < passes; pass++) {
    bool better = false;
    if (!refine_once(g, w, watch, space, b, better)) return false;
    if (!better) break;
  }
  return true;
}

bool grow_separator(const sgraph& g, double ratio, sorder_watch& watch, partition_space& space, bisection& b) {
  mover m{g, space, b, watch};
  space.stamp++;
  std::fill_n(m.where(), g.n, int8_t{side_b});
  b.weight[side_a] = b.weight[side_s] = 0;
  b.weight[side_b] = g.weight;
  while (static_cast<double>(b.weight[side_a]) < ratio * static_cast<double>(b.weight[side_b])) {
    int32_t v = -1;
    if (m.num[side_a] > 0) {
      v = space.heap[side_a][0];
      if (g.node_weight(v) - space.gain[side_a][v] > g.weight / hubshare) { // it stays in the separator
        m.remove(v);
        continue;
      }
    } else { // a new piece
      const int32_t first = space.pick(g.n);
      for (int32_t k = 0; k < g.n && v < 0; k++)
        if (b.where[(first + k) % g.n] == side_b) v = (first + k) % g.n;
      m.put(v, side_s);
      m.insert(v);
    }
    m.move(v, side_a, 0);
    if (!m.go_on()) return false;
  }
  m.clear();
  return watch.go_on(g.n);
}

} // namespace tvn
