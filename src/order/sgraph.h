// A symmetric graph with both ends of each edge and weights, and the counter of work that asks the user.
#pragma once

#include "order/sorder.h"

namespace tvn {

// Counts work in visited list entries, about a nanosecond or two each, and asks the user when enough has been done.
struct sorder_watch {
  explicit sorder_watch(const sorder_progress& p) : progress(p) {}
  const sorder_progress& progress;
  int64_t work = 0;
  int64_t due = 0;
  int64_t numordered = 0;
  double fraction = -1.0;
  bool stopped = false;

  // True: go on.
  bool go_on(int64_t units) {
    work += units;
    return work < due || ask(2);
  }
  bool begin_phase() { return ask(3); }

private:
  static constexpr int64_t workperask = 200'000; // up to 25 ms where each entry is far from the last
  bool ask(int32_t code) {
    due = work + workperask;
    if (!stopped && progress.fn) stopped = progress.fn(progress.handle, code, numordered, fraction) != 0;
    return !stopped;
  }
};

// Neighbours of i: sub[beg[i]] .. sub[beg[i + 1] - 1], each once, without i. Empty weights are all 1.
struct sgraph {
  int32_t n = 0;
  int64_t weight = 0;    // of all nodes
  buffer<int64_t> beg;   // [n + 1]
  buffer<int32_t> sub;   // [beg[n]] may be longer
  buffer<int32_t> nodew; // [n] or empty
  buffer<int32_t> edgew; // like sub, or empty
  int32_t node_weight(int32_t i) const { return nodew.empty() ? 1 : nodew[i]; }
  int64_t num_entries() const { return beg[n]; }
};

// False when stopped, as for all below.
[[nodiscard]] bool make_graph(sysenv& sys, const sorder_graph& from, sorder_watch& watch, sgraph& to);

// Nodes with the same neighbours and each other are one: node2class and the graph of the classes with their sizes as
// weights. Without any such pair the classes are the nodes and `to` stays empty.
[[nodiscard]] bool compress_graph(sysenv& sys, const sgraph& from, sorder_watch& watch, buffer<int32_t>& node2class,
                                  sgraph& to, bool& compressed);

// Tree and weighted counts; of a node with weight w the count is that of its first column.
[[nodiscard]] bool analyse_order(sysenv& sys, const sgraph& g, const int32_t* perm, sorder_watch& watch,
                                 sorder_tree& tree);

} // namespace tvn
