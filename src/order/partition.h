// Vertex separators of weighted graphs by a multilevel scheme.
#pragma once

#include "order/sgraph.h"

namespace tvn {

enum side : int8_t { side_a = 0, side_b = 1, side_s = 2 };

struct partition_weights {
  double minratio = 0.25; // of the lighter to the heavier side; below it no step may make it smaller
  double beta = 0.25;     // price of imbalance
  bool smooth = false;    // separators of the whole part by flow in the end
};

// Who is where. The weights of the three sides are kept.
struct bisection {
  buffer<int8_t> where; // [n]
  int64_t weight[3] = {0, 0, 0};
};

// max(S, 1) * (1 + beta * sqrt(larger / smaller))
double bisection_cost(const partition_weights& w, int64_t a, int64_t b, int64_t s);

// Room for a graph of n nodes and all that are cut out of it.
struct partition_space {
  partition_space(sysenv& s, int32_t n);
  sysenv& sys;
  buffer<int32_t> heap[2], heappos[2]; // nodes of the separator by gain, for each side to go to; -1: not in
  buffer<int64_t> gain[2];
  buffer<int32_t> locked;        // stamp of the pass that moved a node
  buffer<int32_t> moved, pulled; // nodes in order of their moves; nodes pulled in, and where a move's begin
  buffer<int32_t> pulledbegin;
  int32_t stamp = 0;
  uint64_t random = 1;
  int32_t pick(int32_t n) { // below n; the same row of numbers on each machine
    random = random * 6364136223846793005u + 1442695040888963407u;
    return static_cast<int32_t>((random >> 33) % static_cast<uint64_t>(n));
  }
};

// A separator such that no edge joins the sides. False when stopped.
[[nodiscard]] bool bisect_graph(const sgraph& g, const partition_weights& w, sorder_watch& watch,
                                partition_space& space, bisection& b);

// One level down: pairs of nodes by heavy edges become one; fine2coarse.
[[nodiscard]] bool coarsen_graph(const sgraph& fine, int32_t maxnodew, sorder_watch& watch, partition_space& space,
                                 buffer<int32_t>& fine2coarse, sgraph& coarse);

// Moves single nodes out of the separator, and what they touch on the other side into it.
[[nodiscard]] bool refine_separator(const sgraph& g, const partition_weights& w, int32_t passes, sorder_watch& watch,
                                    partition_space& space, bisection& b);

// Replaces the separator by a lightest one among its nodes and their neighbours on one side, then on the other.
[[nodiscard]] bool smooth_separator(const sgraph& g, const partition_weights& w, sorder_watch& watch,
                                    partition_space& space, bisection& b, bool& better);

// A first separator: side A grows from a random node by the best moves until it has `ratio` times the
// weight of the other.
[[nodiscard]] bool grow_separator(const sgraph& g, double ratio, sorder_watch& watch, partition_space& space,
                                  bisection& b);

// Levels of a nested dissection: 0 for the leaves, above for separators highest at the top.
[[nodiscard]] bool dissect_graph(sysenv& sys, const sgraph& g, const partition_weights& w, uint64_t seed,
                                 sorder_watch& watch, buffer<int32_t>& level);

} // namespace tvn
