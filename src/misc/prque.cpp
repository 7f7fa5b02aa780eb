// The operations that change the lists, and the cursor. See prque.h.
#include "misc/prque.h"

namespace tvn {
namespace {

constexpr const char* label = "src/misc/prque";

void pq_cut(pq& q, int32_t* area) {
  q.head = area;
  q.prio = q.head + q.maxp + 1;
  q.next = q.prio + q.maxe;
  q.prev = q.next + q.maxe;
  TVN_pq_clear(q);
}

// Lowest filled bucket at or above p, maxp + 1 when there is none.
int32_t pq_filled(const pq& q, int32_t p) {
  while (p <= q.maxp && q.head[p] == q.maxe) p++;
  return p;
}

} // namespace

void TVN_pq_make(sysenv& sys, int32_t maxe, int32_t maxp, pq& q) {
  q.store.reset(sys, TVN_pq_space(maxe, maxp));
  q.sys = &sys;
  q.maxe = maxe;
  q.maxp = maxp;
  q.ownsarrays = true;
  pq_cut(q, q.store.data());
}

void TVN_pq_make2(sysenv& sys, int32_t maxe, int32_t maxp, array_view<int32_t> area, pq& q) {
  pq fresh;
  if (!TVN_pq_setup(fresh, sys, maxe, maxp, area)) TVN_pq_make(sys, maxe, maxp, fresh);
  q = std::move(fresh);
}

bool TVN_pq_setup(pq& q, sysenv& sys, int32_t maxe, int32_t maxp, array_view<int32_t> area) {
  q.sys = &sys;
  q.maxe = maxe;
  q.maxp = maxp;
  q.ownsarrays = false;
  if (static_cast<int64_t>(area.size()) < TVN_pq_space(maxe, maxp)) return false;
  pq_cut(q, area.data());
  return true;
}

void TVN_pq_delete(pq& q) { q = pq{}; }

void TVN_pq_clear(pq& q) {
  std::fill_n(q.head, q.maxp + 1, q.maxe);
  std::fill_n(q.prio, q.maxe, -1);
  q.current = q.maxe;
  q.minp = q.maxp + 1;
  q.count = 0;
}

void TVN_pq_putp(pq& q, int32_t e, int32_t p) {
  if (e < 0 || e >= q.maxe || p < 0 || p > q.maxp)
    TVN_sysenv_stopdbg(q.sys, label, __LINE__, "0 <= e=%d <= maxe=%d  && 0 <= p=%d <= maxp=%d\n", e, q.maxe, p, q.maxp);
  TVN_pq_remove(q, e);
  const int32_t first = q.head[p];
  q.prio[e] = p;
  q.prev[e] = q.maxe;
  q.next[e] = first;
  if (first != q.maxe) q.prev[first] = e;
  q.head[p] = e;
  if (p < q.minp) q.minp = p;
  q.count++;
}

void TVN_pq_remove(pq& q, int32_t e) {
  const int32_t p = q.prio[e];
  if (p < 0) return;
  if (q.count <= 0) TVN_sysenv_stopdbg(q.sys, label, __LINE__, "Queue holds %d elements but %d is listed", q.count, e);
  if (q.current == e) TVN_pq_tonext(q);
  const int32_t before = q.prev[e], after = q.next[e];
  if (before == q.maxe)
    q.head[p] = after;
  else
    q.next[before] = after;
  if (after != q.maxe) q.prev[after] = before;
  q.prio[e] = -1;
  q.count--;
}

void TVN_pq_incp(pq& q, int32_t e, int32_t by) {
  if (q.prio[e] >= 0) TVN_pq_putp(q, e, q.prio[e] + by);
}

void TVN_pq_decp(pq& q, int32_t e, int32_t by) { TVN_pq_incp(q, e, -by); }

bool TVN_pq_tomin(pq& q) {
  q.minp = q.count == 0 ? q.maxp + 1 : pq_filled(q, q.minp);
  if (q.count > 0 && q.minp > q.maxp)
    TVN_sysenv_stopdbg(q.sys, label, __LINE__, "Queue holds %d elements but all lists are empty", q.count);
  q.current = q.count == 0 ? q.maxe : q.head[q.minp];
  return q.current != q.maxe;
}

bool TVN_pq_toe(pq& q, int32_t e) {
  q.current = q.prio[e] < 0 ? q.maxe : e;
  return q.current != q.maxe;
}

bool TVN_pq_tonext(pq& q) {
  if (q.current == q.maxe) return false;
  const int32_t after = q.next[q.current];
  if (after == q.maxe) return TVN_pq_tonextp(q);
  q.current = after;
  return true;
}

bool TVN_pq_tonextp(pq& q) {
  if (q.current == q.maxe) return false;
  const int32_t p = pq_filled(q, q.prio[q.current] + 1);
  q.current = p > q.maxp ? q.maxe : q.head[p];
  return q.current != q.maxe;
}

int32_t TVN_pq_gettonextp(pq& q, int32_t p) {
  p = pq_filled(q, std::max(p, q.minp));
  q.current = p > q.maxp ? q.maxe : q.head[p];
  return p > q.maxp ? -1 : p;
}

} // namespace tvn
