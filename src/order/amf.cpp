// Approximate minimum fill: eliminate the node that is thought to fill least, until the rest is full.
//
// Nodes wait in a queue by score, one band of equal priority at a time. Nodes whose rows are almost full among sparse
// ones are put off, to the end or to that of their band: they would be on every list and say nothing. Source: Rothberg
// and Eisenstat 1998.
#include "order/amfstate.h"

namespace tvn {

namespace {

// A row that is put off has this many neighbours and this many times those of the usual node.
constexpr int32_t minfullrow = 1001;
constexpr int64_t fullfactor = 100, halffullfactor = 10;
// What has not been touched yet goes first: flops fall by 3 percent on normal equations, rise by 2 on grids.
constexpr int64_t firstscoredivisor = 2;

// Twice the edges among the neighbours of a node, and their weight, from its lists alone.
int64_t sum_neighbours(const amf_state& s, int32_t i, int64_t& outer) {
  int64_t known = 0;
  outer = 0;
  for (int64_t p = s.pos[i]; p < s.pos[i] + s.len[i]; p++) {
    const int32_t j = s.store[p];
    int64_t c = 0;
    if (p < s.pos[i] + s.elen[i]) {
      if (s.mark[j] != 0) c = s.weight[j] - s.nv[i];
    } else {
      c = s.nv[j];
    }
    outer += c;
    known += c * (c - 1);
  }
  return known;
}

void enter_queue(amf_state& s, int32_t i) {
  int64_t outer = 0;
  const int64_t known = sum_neighbours(s, i, outer);
  s.weight[i] = static_cast<int32_t>(std::min(outer, s.left - s.nv[i]));
  s.queue.insert(i, amf_score_of(s, s.nv[i], outer, known) / firstscoredivisor);
}

// Ascending by priority, then by number. Levels of a partition are few.
void sort_bands(amf_state& s) {
  s.band.reset(s.sys, s.n);
  if (!s.in.priority || s.n == 0) {
    for (int32_t i = 0; i < s.n; i++) s.band[i] = i;
    return;
  }
  const int32_t* const pri = s.in.priority;
  const auto [least, most] = std::minmax_element(pri, pri + s.n);
  if (int64_t{*most} - *least > s.n) {
    for (int32_t i = 0; i < s.n; i++) s.band[i] = i;
    std::sort(s.band.begin(), s.band.end(),
              [&](int32_t a, int32_t b) { return pri[a] != pri[b] ? pri[a] < pri[b] : a < b; });
    return;
  }
  buffer<int32_t> next(s.sys, int64_t{*most} - *least + 2, 0);
  for (int32_t i = 0; i < s.n; i++) next[pri[i] - *least + 1]++;
  for (int64_t p = 1; p < next.size(); p++) next[p] += next[p - 1];
  for (int32_t i = 0; i < s.n; i++) s.band[next[pri[i] - *least]++] = i;
}

// The bound of nodes that wait for their band: it only shrinks while their neighbourhood is updated.
bool init_weights(amf_state& s) {
  for (int32_t i = 0; i < s.n; i++) {
    int64_t outer = 0;
    sum_neighbours(s, i, outer);
    s.weight[i] = static_cast<int32_t>(std::min(outer, s.left - s.nv[i]));
    if (!s.watch.go_on(s.len[i] + 1)) return false;
  }
  return true;
}

void order_rest(amf_state& s, int32_t* nodes, int32_t num) {
  std::sort(nodes, nodes + num, [&](int32_t a, int32_t b) {
    if (s.priority_of(a) != s.priority_of(b)) return s.priority_of(a) < s.priority_of(b);
    return s.weight[a] != s.weight[b] ? s.weight[a] < s.weight[b] : a < b;
  });
  for (int32_t k = 0; k < num; k++)
    for (int32_t i = nodes[k]; i >= 0; i = s.chain[i]) s.perm[s.numordered++] = i;
}

// What was put off and is of this band. For those behind it makes a clique that they do not know of; it is all of them,
// almost.
void order_putoff(amf_state& s) {
  if (!s.in.priority || !s.in.strict || s.numputoff == 0) return;
  int32_t* const first = s.putoff.begin();
  int32_t* const later =
      std::partition(first, first + s.numputoff, [&](int32_t i) { return s.priority_of(i) <= s.priority; });
  order_rest(s, first, static_cast<int32_t>(later - first));
  s.numputoff = static_cast<int32_t>(std::copy(later, first + s.numputoff, first) - first);
}

// False: no band is left, or stopped.
bool next_band(amf_state& s) {
  while (s.bandbegin < s.n && s.nv[s.band[s.bandbegin]] == 0) s.bandbegin++;
  if (s.bandbegin == s.n) return false;
  s.priority = s.priority_of(s.band[s.bandbegin]);
  for (; s.bandbegin < s.n && s.priority_of(s.band[s.bandbegin]) == s.priority; s.bandbegin++) {
    const int32_t i = s.band[s.bandbegin];
    if (s.nv[i] <= 0) continue;
    enter_queue(s, i);
    if (!s.watch.go_on(s.len[i])) return false;
  }
  return true;
}

void put_off(amf_state& s, int32_t i) {
  if (s.queue.contains(i)) s.queue.remove(i);
  for (int64_t p = s.pos[i]; p < s.pos[i] + s.elen[i]; p++)
    if (s.mark[s.store[p]] != 0) s.weight[s.store[p]] -= s.nv[i];
  s.left -= s.nv[i];
  s.nv[i] = 0;
  s.len[i] = 0;
  s.putoff[s.numputoff++] = i;
}

// Puts off rows that are almost full where `usual` is the number of neighbours of the usual node.
void scan_full_rows(amf_state& s, int64_t usual) {
  s.sincescan = 0;
  for (int32_t i = 0; i < s.n; i++) {
    if (s.nv[i] <= 0 || s.weight[i] < minfullrow) continue;
    const int64_t w = s.weight[i];
    if (w > fullfactor * usual || (w > halffullfactor * usual && 2 * w > s.left)) put_off(s, i);
  }
  s.watch.work += s.n;
}

// All nodes that are left are neighbours of each other: any order will do.
bool order_full_rest(amf_state& s, int32_t me) {
  if (s.weight[me] < s.left) return false;
  buffer<int32_t> rest(s.sys, s.n);
  int32_t num = 0;
  for (int32_t i = 0; i < s.n; i++)
    if (s.nv[i] > 0) rest[num++] = i;
  if (s.in.priority && s.in.strict) { // some may go before others of the rest
    num = static_cast<int32_t>(std::copy_n(s.putoff.data(), s.numputoff, rest.data() + num) - rest.data());
    s.numputoff = 0;
  }
  order_rest(s, rest.data(), num);
  s.left = 0;
  return true;
}

// A scan costs n; it waits for an eighth of the nodes that are left.
bool scan_is_due(const amf_state& s) { return s.sincescan >= minfullrow && 8 * s.sincescan >= s.left; }

bool eliminate_all(amf_state& s) {
  scan_full_rows(s, std::max<int64_t>(1, s.in.graph.num_entries() / std::max(s.n, 1)));
  next_band(s);
  while (s.left > 0 && !s.watch.stopped) {
    const int32_t me = s.queue.smallest();
    if (me < 0) {
      order_putoff(s);
      if (!next_band(s)) break;
      continue;
    }
    s.queue.remove(me);
    amf_pivot(s, me);
    s.watch.numordered = s.numordered;
    if (!s.watch.go_on(1)) return false;
    if (order_full_rest(s, me)) break;
    if (scan_is_due(s)) scan_full_rows(s, std::max(1, s.weight[me]));
  }
  if (s.watch.stopped) return false;
  order_rest(s, s.putoff.data(), s.numputoff);
  return true;
}

} // namespace

void amf_make_room(amf_state& s, int64_t need) {
  if (s.used + need <= s.store.size()) return;
  // Each list swaps its first entry for its owner, so that one walk over the store finds all.
  const auto ids = static_cast<int32_t>(s.len.size());
  for (int32_t id = 0; id < ids; id++) {
    if (s.len[id] == 0) continue;
    int32_t& first = s.store[s.pos[id]];
    s.pos[id] = first;
    first = -1 - id;
  }
  int64_t to = 0;
  for (int64_t p = 0; p < s.used;) {
    if (s.store[p] >= 0) {
      p++;
      continue;
    }
    const int32_t id = -1 - s.store[p], len = s.len[id];
    const auto first = static_cast<int32_t>(s.pos[id]);
    std::memmove(s.store.data() + to, s.store.data() + p, static_cast<size_t>(len) * sizeof(int32_t));
    s.store[to] = first;
    s.pos[id] = to;
    to += len;
    p += len;
  }
  s.watch.work += s.used;
  s.used = to;
  if (s.used + need <= s.store.size()) return;
  buffer<int32_t> larger(s.sys, s.used + need + s.store.size() / 10);
  std::copy_n(s.store.begin(), s.used, larger.begin());
  s.store.swap(larger);
}

bool amf_order(sysenv& sys, const amf_input& in, sorder_watch& watch, int32_t* perm) {
  if (!watch.begin_phase()) return false;
  amf_state s(sys, in, watch, perm);
  if (!amf_setup(s)) return false;
  sort_bands(s);
  return init_weights(s) && eliminate_all(s);
}

} // namespace tvn
