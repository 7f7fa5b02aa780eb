// Orders of a symmetric sparse matrix that keep its factor small. See README.md.
//
// All throw out_of_memory. Same input, same permutation: work is counted, no clock is asked.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

// Node j names its neighbours sub[beg[j]] .. sub[end[j] - 1]; each edge stands at one end or at both. Loops are
// ignored.
struct sorder_graph {
  int32_t n = 0;
  const int64_t *beg = nullptr, *end = nullptr; // [n]
  const int32_t* sub = nullptr;
};

// The columns of A where the graph is that of A A': the nodes of a column are pairwise adjacent. Columns that are
// excluded (nonzero) do not count; they may have been left out of the graph.
struct sorder_columns {
  int32_t numcol = 0;
  const int64_t *beg = nullptr, *end = nullptr; // [numcol]
  const int32_t* sub = nullptr;
  const int32_t *exclude1 = nullptr, *exclude2 = nullptr; // [numcol] or null
};

// Asked at least every few milliseconds; nonzero ends the call. code: 3 a phase begins, 2 it has gone on.
struct sorder_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle, int32_t code, int64_t numordered, double fraction) = nullptr;
};

enum class sorder_code : int32_t { ok = 0, stopped = 5 };

struct sorder_figures {
  int64_t nnz = 0;  // of the factor, diagonal included
  double flops = 0; // sum of the squared lengths of its columns
};

// Elimination tree of a permuted matrix, in positions of the permutation.
struct sorder_tree {
  buffer<int32_t> parent; // [n] -1: root
  buffer<int32_t> post;   // [n] a postorder: children before their parents, each subtree in one piece
  buffer<int64_t> count;  // [n] length of the factor's column, diagonal included
  sorder_figures figures;
};

// Tree, postorder and true counts of a permutation (position to node; null: as it is). Linear but for an inverse
// Ackermann factor.
[[nodiscard]] sorder_code TVN_sorder_analyse(sysenv& sys, const sorder_graph& graph, const int32_t* perm,
                                             const sorder_progress& progress, sorder_tree& tree);

// Approximate minimum fill. perm: position to node; figures: the true ones. columns may be null.
[[nodiscard]] sorder_code TVN_amf_sorder(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns,
                                         const sorder_progress& progress, int32_t* perm, sorder_figures& figures);
// The same with a priority for each node: in ascending order of them, fill decides among equals.
[[nodiscard]] sorder_code TVN_amf_sorder_pri(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns,
                                             const int32_t* priority, const sorder_progress& progress, int32_t* perm,
                                             sorder_figures& figures);
// Approximate minimum fill without regard to the size of supervariables.
[[nodiscard]] sorder_code TVN_symord_minlocf(sysenv& sys, const sorder_graph& graph, const sorder_progress& progress,
                                             int32_t* perm, sorder_figures& figures);

struct gp_sorder_params {
  const int32_t* priority = nullptr;  // [n] or null; with priorities nothing is partitioned
  const int32_t* incumbent = nullptr; // a permutation to be improved, or null
  bool incumbentbyfill = false;       // it is what TVN_amf_sorder gives
  int32_t level = 3;                  // effort: a factor with less than level / 2 times the entries is good enough
  double wantextra = 1.1;             // an order by fill that is so many times smaller than the incumbent stands
  double minratio = 0.25;             // balance of the first cuts, and its price
  double beta = 0.25;
};

struct gp_sorder_stats {
  sorder_figures fill, best;    // by fill alone; of the order that was kept
  bool partitioned = false;     // it comes from a partition
  bool improved = true;         // it is not the incumbent
  int32_t numpasses = 0;        // partitions tried
  int64_t work = 0, gpwork = 0; // list entries visited in all, and by partitions
};

// Fill alone and nested dissection with fill in the parts, the better by true counts. perm, invp: position to node and
// back, in postorder (but with priorities). The work goes by the flops that may be saved.
[[nodiscard]] sorder_code TVN_amf_gp_sorder(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns,
                                            const gp_sorder_params& params, const sorder_progress& progress,
                                            int32_t* perm, int32_t* invp, gp_sorder_stats& stats);

// Values of the order method.
enum class sorder_method : int32_t { free = 0, appminloc1 = 1, appminloc2 = 2, graphpar1 = 3, graphpar2 = 4, none = 5 };

// The order of a method. A second pass for the same matrix, perhaps without some columns, brings the first one's order
// as params.incumbent; graphpar2 partitions only then. Without edges, and for `none`, the identity.
[[nodiscard]] sorder_code TVN_sorder_bymethod(sysenv& sys, sorder_method method, const sorder_graph& graph,
                                              const sorder_columns* columns, const gp_sorder_params& params,
                                              const sorder_progress& progress, int32_t* perm, int32_t* invp,
                                              gp_sorder_stats& stats);

} // namespace tvn
