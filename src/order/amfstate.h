// The quotient graph of a partial elimination.
//
// What is eliminated stands as elements, cliques of the nodes that are left; nodes that can no longer be told apart are
// one supervariable, whose weight is the number of matrix rows in it. An id is a node, an element under the number of
// its pivot, or (from n on) an element given from the start. Node i lists elements, then nodes; element e lists nodes.
// Between pivots: weight of e = sum of nv over its nodes; marks of live ids are between 1 and stamp - 1.
#pragma once

#include "order/amf.h"
#include "order/bucketq.h"

namespace tvn {

struct amf_state {
  amf_state(sysenv& s, const amf_input& i, sorder_watch& wt, int32_t* p)
      : sys(s), in(i), watch(wt), n(i.graph.n), perm(p), queue(s, i.graph.n) {}

  sysenv& sys;
  const amf_input& in;
  sorder_watch& watch;
  const int32_t n;

  buffer<int32_t> store;  // lists
  int64_t used = 0;       // of store
  buffer<int64_t> pos;    // [ids] start of the list
  buffer<int32_t> len;    // [ids] its length, 0: empty or gone
  buffer<int32_t> elen;   // [ids] elements at the front of a node's list
  buffer<int32_t> weight; // [ids] of an element: weight of its nodes; of a node: bound on that of its neighbours
  buffer<uint32_t> mark;  // [ids] 0: an element that is gone; stamp + weight outside the pivot's element, while one is
                          // made; stamp: on the list that is compared
  uint32_t stamp = 2;
  int32_t maxweight = 0; // of an element so far

  buffer<int32_t> nv;             // [n] weight of a supervariable, negative while in the pivot's element, 0: gone
  buffer<int64_t> outside, known; // [n] sum over what is outside the pivot's element, and over its cliques
  buffer<int32_t> chain, tail;    // [n] nodes of a supervariable, -1 ends; the last one
  buffer<int32_t> hashhead, hashnext, hashof; // [n] nodes of the pivot's element by the sum of their lists

  int32_t* perm;
  int32_t numordered = 0;
  int64_t left = 0;       // weight of the nodes that are neither ordered nor put off
  bucketq queue;          // by score
  buffer<int32_t> band;   // [n] nodes by priority
  int32_t bandbegin = 0;  // those in front are ordered or in the queue
  int32_t priority = 0;   // of the band in the queue
  buffer<int32_t> putoff; // [n] nodes of almost full rows, ordered last
  int32_t numputoff = 0;
  int64_t sincescan = 0; // weight ordered since rows were last looked at for that

  int32_t priority_of(int32_t i) const { return in.priority ? in.priority[i] : 0; }
};

// Lists, weights and initial cliques.
[[nodiscard]] bool amf_setup(amf_state& s);
// Room for `need` more entries, by collecting garbage and then growing.
void amf_make_room(amf_state& s, int64_t need);
// Eliminates node me.
void amf_pivot(amf_state& s, int32_t me);
// Score of a node of weight nv with neighbours of weight `outer`, between which `known` directed edges exist.
int64_t amf_score_of(const amf_state& s, int32_t nv, int64_t outer, int64_t known);

} // namespace tvn
