// The lists and the search for the lowest priority. See pqueue.h.
#include "misc/pqueue.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr char label[] = "src/misc/pqueue";

int32_t& list_of(pqueue& q, int32_t p) { return p < q.nbuckets ? q.head[p] : q.overflow; }

// The smallest priority of the overflow list, the first such element in the list.
int32_t smallest_overflow(const pqueue& q) {
  int32_t best = q.overflow;
  for (int32_t e = q.overflow; e != q.n; e = q.next[e])
    if (q.prio[e] < q.prio[best]) best = e;
  return best;
}

} // namespace

void TVN_pqueue_setup(sysenv& sys, int32_t n, int32_t nbuckets, int32_t* head, int32_t* in, int32_t* prio, int32_t* aux,
                      int32_t* next, int32_t* prev, pqueue& q) {
  q = pqueue{&sys, n, nbuckets, head, in, prio, aux, next, prev, nbuckets, n};
  std::fill_n(head, nbuckets, n);
  for (int32_t* words : {in, prio, aux, next, prev}) std::fill_n(words, n, 0);
}

void TVN_pqueue_ins(pqueue& q, int32_t e, int32_t p) {
  if (p < 0) TVN_sysenv_stopdbg(q.sys, label, __LINE__, "e: %d p: %d<0", e, p);
  TVN_pqueue_del(q, e);
  int32_t& first = list_of(q, p);
  q.in[e] = 1;
  q.prio[e] = p;
  q.aux[e] = 0;
  q.prev[e] = q.n;
  q.next[e] = first;
  if (first != q.n) q.prev[first] = e;
  first = e;
  q.minbucket = std::min(q.minbucket, p);
}

void TVN_pqueue_del(pqueue& q, int32_t e) {
  if (!q.in[e]) return;
  const int32_t before = q.prev[e], after = q.next[e];
  if (before == q.n)
    list_of(q, q.prio[e]) = after;
  else
    q.next[before] = after;
  if (after != q.n) q.prev[after] = before;
  q.in[e] = q.prio[e] = q.aux[e] = q.prev[e] = 0;
}

void TVN_pqueue_incp(pqueue& q, int32_t e, int32_t by) {
  if (q.in[e]) TVN_pqueue_ins(q, e, q.prio[e] + by);
}

void TVN_pqueue_decp(pqueue& q, int32_t e, int32_t by) { TVN_pqueue_incp(q, e, -by); }

bool TVN_pqueue_top(const pqueue& q, int32_t p, int32_t& element) {
  element = p < q.nbuckets ? q.head[p] : q.overflow;
  while (p >= q.nbuckets && element != q.n && q.prio[element] != p) element = q.next[element];
  return element != q.n;
}

bool TVN_pqueue_too(const pqueue& q, int32_t& element) {
  element = q.overflow;
  return element != q.n;
}

bool TVN_pqueue_tomin(pqueue& q, int32_t& element, int32_t& priority) {
  int32_t k = q.minbucket;
  while (k < q.nbuckets && q.head[k] == q.n) k++;
  q.minbucket = k; // at nbuckets all buckets are empty: the next insertion below lowers it
  element = k < q.nbuckets ? q.head[k] : smallest_overflow(q);
  if (element == q.n) return false;
  priority = q.prio[element];
  if (priority < q.minbucket)
    TVN_sysenv_stopdbg(q.sys, label, __LINE__, "e: %d p: %d<minbucket: %d", element, priority, q.minbucket);
  return true;
}

bool TVN_pqueue_tonext(const pqueue& q, int32_t& element) {
  element = q.next[element];
  return element != q.n;
}

bool TVN_pqueue_toprev(const pqueue& q, int32_t& element) {
  element = q.prev[element];
  return element != q.n;
}

} // namespace tvn
