// One elimination in the quotient graph.
//
// The element of the pivot is the union of its elements and nodes; these elements go, and so does any other element
// that lies inside the new one (aggressive absorption). For each node i of it one pass over the elements of all finds
// |Le \ Lp|, a second one bounds the weight of its neighbours by the sum of these and takes each as a clique. The score
// is on that sum, not on the sharper of it and the bound before, so that both of its terms count a node as often. A
// node without anything outside is eliminated with the pivot; nodes with equal lists become one. Cost: the lists of the
// nodes in the element. Sources: Amestoy, Davis and Duff 1996 (quotient graph, bounds); Rothberg and Eisenstat 1998
// (fill from them).
#include "order/amfstate.h"

#include <cmath>

namespace tvn {

namespace {

struct pivot_element {
  int64_t beg = 0, end = 0; // in store
  int32_t weight = 0;       // of its nodes
  bool inplace = false;
};

void take_node(amf_state& s, int32_t i, pivot_element& piv) {
  piv.weight += s.nv[i];
  s.nv[i] = -s.nv[i];
  if (s.queue.contains(i)) s.queue.remove(i);
}

void drop_element(amf_state& s, int32_t e) {
  s.mark[e] = 0;
  s.len[e] = 0;
}

void gather_list(amf_state& s, int64_t from, int64_t to, pivot_element& piv) {
  for (int64_t p = from; p < to; p++) {
    const int32_t i = s.store[p];
    if (s.nv[i] <= 0) continue;
    take_node(s, i, piv);
    s.store[piv.end++] = i;
  }
}

pivot_element form_element(amf_state& s, int32_t me) {
  pivot_element piv;
  piv.inplace = s.elen[me] == 0;
  if (!piv.inplace) {
    int64_t bound = s.len[me];
    for (int64_t p = s.pos[me]; p < s.pos[me] + s.elen[me]; p++) bound += s.len[s.store[p]];
    amf_make_room(s, std::min<int64_t>(bound, s.n));
  }
  const int64_t beg = s.pos[me], split = beg + s.elen[me], end = beg + s.len[me];
  s.nv[me] = -s.nv[me];
  piv.beg = piv.end = piv.inplace ? beg : s.used;
  for (int64_t p = beg; p < split; p++) {
    const int32_t e = s.store[p];
    gather_list(s, s.pos[e], s.pos[e] + s.len[e], piv);
    drop_element(s, e);
  }
  gather_list(s, split, end, piv);
  return piv;
}

// Marks of the elements around: stamp + weight of what they have outside the pivot's.
void mark_outside(amf_state& s, const pivot_element& piv) {
  const int32_t* const store = s.store.data();
  uint32_t* const mark = s.mark.data();
  for (int64_t p = piv.beg; p < piv.end; p++) {
    const int32_t i = store[p];
    const auto nvi = static_cast<uint32_t>(-s.nv[i]);
    const int64_t end = s.pos[i] + s.elen[i];
    for (int64_t q = s.pos[i]; q < end; q++) {
      const int32_t e = store[q];
      const uint32_t m = mark[e];
      if (m >= s.stamp)
        mark[e] = m - nvi;
      else if (m != 0)
        mark[e] = static_cast<uint32_t>(s.weight[e]) + s.stamp - nvi;
    }
  }
}

void order_chain(amf_state& s, int32_t i) {
  for (; i >= 0; i = s.chain[i]) s.perm[s.numordered++] = i;
}

// Rewrites the list of i without what is gone, with me in front; its bound, what is known and its hash.
// False: nothing is left outside.
bool update_node(amf_state& s, int32_t i, int32_t me) {
  int32_t* const store = s.store.data();
  const int64_t beg = s.pos[i], split = beg + s.elen[i], end = beg + s.len[i];
  int64_t to = beg, outside = 0, known = 0;
  uint32_t hash = 0;
  for (int64_t q = beg; q < split; q++) {
    const int32_t e = store[q];
    if (s.mark[e] == 0) continue;
    const auto c = static_cast<int64_t>(s.mark[e] - s.stamp);
    if (c == 0) {
      drop_element(s, e);
      continue;
    }
    outside += c;
    known += c * (c - 1);
    store[to++] = e;
    hash += static_cast<uint32_t>(e);
  }
  const int64_t nodes = to;
  for (int64_t q = split; q < end; q++) {
    const int32_t j = store[q], nvj = s.nv[j];
    if (nvj <= 0) continue;
    outside += nvj;
    known += static_cast<int64_t>(nvj) * (nvj - 1);
    store[to++] = j;
    hash += static_cast<uint32_t>(j);
  }
  s.watch.work += end - beg + 1;
  // There is room: i had the pivot itself or one of its elements on its list.
  store[to] = store[nodes];
  store[nodes] = store[beg];
  store[beg] = me;
  s.len[i] = static_cast<int32_t>(to - beg + 1);
  s.elen[i] = static_cast<int32_t>(nodes - beg + 1);
  s.weight[i] = static_cast<int32_t>(std::min<int64_t>(s.weight[i], outside));
  s.outside[i] = outside;
  s.known[i] = known;
  s.hashof[i] = static_cast<int32_t>(hash % static_cast<uint32_t>(s.n));
  return to > beg;
}

// Updates all nodes of the element; those without anything outside are eliminated, too.
void update_nodes(amf_state& s, int32_t me, pivot_element& piv) {
  for (int64_t p = piv.beg; p < piv.end; p++) {
    const int32_t i = s.store[p];
    if (update_node(s, i, me) || (s.in.strict && s.priority_of(i) != s.priority)) {
      s.hashnext[i] = s.hashhead[s.hashof[i]];
      s.hashhead[s.hashof[i]] = i;
      continue;
    }
    piv.weight += s.nv[i];
    s.left += s.nv[i];
    s.sincescan -= s.nv[i];
    s.nv[i] = 0;
    s.len[i] = 0;
    order_chain(s, i);
  }
}

bool same_list(const amf_state& s, int32_t j, uint32_t stamp) {
  const int64_t end = s.pos[j] + s.len[j];
  for (int64_t q = s.pos[j] + 1; q < end; q++)
    if (s.mark[s.store[q]] != stamp) return false;
  return true;
}

void merge_nodes(amf_state& s, int32_t i, int32_t j) {
  s.nv[i] += s.nv[j];
  s.nv[j] = 0;
  s.len[j] = 0;
  s.chain[s.tail[i]] = j;
  s.tail[i] = s.tail[j];
}

// i takes in all behind it on its hash chain that have its list.
void merge_into(amf_state& s, int32_t i) {
  const int64_t end = s.pos[i] + s.len[i];
  for (int64_t q = s.pos[i] + 1; q < end; q++) s.mark[s.store[q]] = s.stamp;
  int32_t before = i;
  for (int32_t j = s.hashnext[i]; j >= 0; j = s.hashnext[before]) {
    if (s.len[j] == s.len[i] && s.elen[j] == s.elen[i] && s.priority_of(j) == s.priority_of(i) &&
        same_list(s, j, s.stamp)) {
      merge_nodes(s, i, j);
      s.hashnext[before] = s.hashnext[j];
    } else {
      before = j;
    }
    s.watch.work += s.len[i];
  }
  s.stamp++;
}

void merge_twins(amf_state& s, const pivot_element& piv) {
  for (int64_t p = piv.beg; p < piv.end; p++) {
    if (s.nv[s.store[p]] == 0) continue;
    int32_t& head = s.hashhead[s.hashof[s.store[p]]];
    for (int32_t i = head; i >= 0 && s.hashnext[i] >= 0; i = s.hashnext[i]) merge_into(s, i);
    head = -1;
  }
}

// Scores of the nodes that are left, and the element's final list.
void finish_element(amf_state& s, int32_t me, pivot_element& piv) {
  int64_t to = piv.beg;
  for (int64_t p = piv.beg; p < piv.end; p++) {
    const int32_t i = s.store[p];
    if (s.nv[i] == 0) continue;
    const int32_t nvi = s.nv[i] = -s.nv[i];
    const int64_t inner = piv.weight - nvi;
    s.weight[i] = static_cast<int32_t>(std::min(s.weight[i] + inner, s.left - nvi));
    s.store[to++] = i;
    if (s.priority_of(i) <= s.priority)
      s.queue.insert(i, amf_score_of(s, nvi, s.outside[i] + inner, inner * (inner - 1) + s.known[i]));
  }
  s.pos[me] = piv.beg;
  s.len[me] = static_cast<int32_t>(to - piv.beg);
  s.elen[me] = 0;
  s.weight[me] = piv.weight;
  s.mark[me] = to > piv.beg;
  if (!piv.inplace) s.used = to;
}

// Marks start anew before they could wrap.
void renew_stamp(amf_state& s) {
  const auto room = static_cast<uint64_t>(s.maxweight) + static_cast<uint64_t>(s.n) + 2;
  if (s.stamp + room < UINT32_MAX) return;
  for (uint32_t& m : s.mark) m = m != 0;
  s.stamp = 2;
}

} // namespace

int64_t amf_score_of(const amf_state& s, int32_t nv, int64_t outer, int64_t known) {
  const int64_t fill = std::max<int64_t>(outer * (outer - 1) - known, 0);
  if (s.in.score == amf_score::fill || nv == 1) return fill;
  return static_cast<int64_t>(static_cast<double>(fill) / std::sqrt(static_cast<double>(nv)));
}

void amf_pivot(amf_state& s, int32_t me) {
  const int32_t nvme = s.nv[me];
  renew_stamp(s);
  pivot_element piv = form_element(s, me);
  s.left -= nvme;
  s.sincescan += nvme;
  order_chain(s, me);
  mark_outside(s, piv);
  update_nodes(s, me, piv);
  s.stamp += static_cast<uint32_t>(s.maxweight) + 1; // above all marks
  merge_twins(s, piv);
  finish_element(s, me, piv);
  s.nv[me] = 0;
  s.maxweight = std::max(s.maxweight, piv.weight);
}

} // namespace tvn
