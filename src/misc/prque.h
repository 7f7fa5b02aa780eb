// Bucket priority queue: elements 0..maxe-1 with priorities 0..maxp, one doubly linked list per priority.
//
// Newest first within a bucket. A cursor walks all elements in rising priority; when its element is removed it moves on
// to the successor. put, remove and one cursor step are constant time, apart from the search for the next filled
// bucket. Invariant: prio[e] is -1 for an absent element; no bucket below `minp` is filled; `count` elements are
// present. The arrays are the queue's own (TVN_pq_make) or lie in space of the caller (TVN_pq_setup), so that an inner
// loop allocates nothing.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct pq {
  sysenv* sys = nullptr;
  int32_t maxe = 0;    // elements, and the sentinel for "no element"
  int32_t maxp = 0;    // largest priority
  int32_t current = 0; // cursor: an element or maxe
  bool ownsarrays = false;
  int32_t* head = nullptr; // [maxp + 1] first element or maxe
  int32_t* prio = nullptr; // [maxe] priority or -1
  int32_t* next = nullptr; // [maxe]
  int32_t* prev = nullptr; // [maxe] maxe for the first of a bucket
  int32_t minp = 0;        // lowest bucket that may be filled
  int32_t count = 0;       // elements present
  buffer<int32_t> store;   // the arrays when they are the queue's own
};

// Throws out_of_memory.
void TVN_pq_make(sysenv& sys, int32_t maxe, int32_t maxp, pq& q);
// Lays the queue over `area` if that is long enough, else over space of its own; throws out_of_memory in that case
// only.
void TVN_pq_make2(sysenv& sys, int32_t maxe, int32_t maxp, array_view<int32_t> area, pq& q);
// Lays the queue over `area`; false when it is shorter than TVN_pq_space(maxe, maxp), then only the sizes are stored.
bool TVN_pq_setup(pq& q, sysenv& sys, int32_t maxe, int32_t maxp, array_view<int32_t> area);
void TVN_pq_delete(pq& q);
void TVN_pq_clear(pq& q);

inline int64_t TVN_pq_space(int64_t maxe, int64_t maxp) { return 3 * maxe + maxp + 1; }

// Puts e at the head of bucket p; an element that is present is moved.
void TVN_pq_putp(pq& q, int32_t e, int32_t p);
void TVN_pq_remove(pq& q, int32_t e);           // absent: nothing happens
void TVN_pq_incp(pq& q, int32_t e, int32_t by); // so here and below
void TVN_pq_decp(pq& q, int32_t e, int32_t by);

inline int32_t TVN_pq_get(const pq& q, int32_t e) { return q.prio[e]; } // priority or -1
inline int32_t TVN_pq_top(const pq& q, int32_t p) { return q.head[p]; } // newest of the bucket or maxe

// Cursor. Each answers whether it stands on an element.
bool TVN_pq_tomin(pq& q);                    // to the head of the lowest filled bucket
bool TVN_pq_toe(pq& q, int32_t e);           // to e; an absent e leaves the cursor off the queue
bool TVN_pq_tonext(pq& q);                   // along the list, then up through the buckets
bool TVN_pq_tonextp(pq& q);                  // to the head of the next filled bucket
int32_t TVN_pq_gettonextp(pq& q, int32_t p); // to the head of the lowest filled bucket >= p; its priority or -1

} // namespace tvn
