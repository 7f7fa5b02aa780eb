// Bucket queue of the ordering code: elements 0..n-1, one doubly linked list per priority below `nbuckets` and one
// unsorted list for all priorities above.
//
// The orderings ask for the smallest degree over and over, and large degrees are rare: they share the overflow list and
// are searched through only when every bucket is empty. All arrays are the caller's, so that a call allocates nothing.
// Newest first within a list. Invariant: no bucket below `minbucket` is filled; in[e] says whether e is in a list.
// Inserting, deleting and changing a priority are constant time; only TVN_pqueue_tomin searches.
#pragma once

#include "cpub/sysenv.h"

namespace tvn {

struct pqueue {
  sysenv* sys = nullptr;
  int32_t n = 0; // elements, and the sentinel for "no element"
  int32_t nbuckets = 0;
  int32_t* head = nullptr; // [nbuckets] first element or n
  int32_t* in = nullptr;   // [n] 1 for a present element, else 0
  int32_t* prio = nullptr; // [n]
  int32_t* aux = nullptr;  // [n] the caller's word, cleared on insertion and deletion
  int32_t* next = nullptr; // [n] n at the end; stands after a deletion, so that a walk can go on
  int32_t* prev = nullptr; // [n] n for the first of a list
  int32_t minbucket = 0;   // lowest bucket that may be filled
  int32_t overflow = 0;    // first element of the unsorted list, or n
};

// Lays an empty queue over arrays of the lengths above.
void TVN_pqueue_setup(sysenv& sys, int32_t n, int32_t nbuckets, int32_t* head, int32_t* in, int32_t* prio, int32_t* aux,
                      int32_t* next, int32_t* prev, pqueue& q);

void TVN_pqueue_ins(pqueue& q, int32_t e, int32_t p); // a present element is moved
void TVN_pqueue_del(pqueue& q, int32_t e);            // absent: nothing happens
void TVN_pqueue_incp(pqueue& q, int32_t e, int32_t by);
void TVN_pqueue_decp(pqueue& q, int32_t e, int32_t by);

inline bool TVN_pqueue_in(const pqueue& q, int32_t e) { return q.in[e] != 0; }
inline int32_t TVN_pqueue_inp(const pqueue& q, int32_t e) { return q.in[e] ? q.prio[e] : -1; } // priority or -1

// Each moves `element` and answers whether there is one; else it is n.
bool TVN_pqueue_top(const pqueue& q, int32_t p, int32_t& element);     // to the head of the list of priority p
bool TVN_pqueue_too(const pqueue& q, int32_t& element);                // to the head of the overflow list
bool TVN_pqueue_tomin(pqueue& q, int32_t& element, int32_t& priority); // to an element of the lowest priority
bool TVN_pqueue_tonext(const pqueue& q, int32_t& element);             // along its list
bool TVN_pqueue_toprev(const pqueue& q, int32_t& element);

} // namespace tvn
