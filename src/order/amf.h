// Approximate minimum fill order on a quotient graph: the engine behind the named orders.
#pragma once

#include "order/sgraph.h"

namespace tvn {

// What the next node has least of.
enum class amf_score : int32_t {
  fill,        // bound on the new entries that its elimination makes
  shared_fill, // the same over the root of its weight: large supervariables come earlier
};

struct amf_input {
  const sgraph& graph;
  const int32_t* priority = nullptr;       // [n] or null; lower ones are ordered first
  bool strict = true;                      // else a node may be early where that makes no fill at all
  const sorder_columns* columns = nullptr; // or null: cliques of the graph
  const int32_t* row2node = nullptr;       // nodes of the columns' rows; null: the same
  amf_score score = amf_score::shared_fill;
};

// perm[n]: position to node. False when stopped.
[[nodiscard]] bool amf_order(sysenv& sys, const amf_input& in, sorder_watch& watch, int32_t* perm);

// From an order of classes to one of their nodes, those of a class in ascending order.
void expand_order(sysenv& sys, const buffer<int32_t>& node2class, const buffer<int32_t>& classperm, int32_t* perm);

} // namespace tvn
