// The order of the interior-point roads: minimum fill and nested dissection, the better by true counts.
//
// How long to look is a matter of what can be won: the flops of about 25 factorisations. Partitions are tried while
// they cost no more than a fair part of these. Work is counted, so the result does not depend on the machine. Passes
// differ in their weights and their random numbers.
// Source: Hendrickson and Rothberg 1998 (choice by fill); Ashcraft and Liu 1998.
#include "order/amf.h"
#include "order/partition.h"

#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr double numfactor = 25;                  // factorisations of a usual solve
constexpr double share = 0.2;                     // of the time of these, for all partitions
constexpr double fillshare = 0.6;                 // for an order by fill, before a second one is tried
constexpr double fillperentry = 35;               // units of an order by fill for each entry of the graph, roughly
constexpr double passperentry = 100;              // of a partition
constexpr int32_t maxpasses = 4, usualpasses = 2; // more while none has won
constexpr uint64_t firstseed = 11;
constexpr int32_t minpartitioned = 100;
constexpr int32_t maxsecondfill = 20000; // nodes for which a second score is tried
// Of the weights that the caller gives. Patterns of linear problems want balance, grids the lightest separator: 25
// percent fewer flops on cubes with cheap imbalance, 30 percent more on pds-10.
constexpr double passratio[usualpasses] = {0.333, 1.0}, passbeta[usualpasses] = {3.0, 0.125};
constexpr bool passsmooth[usualpasses] = {false, true};

struct candidate {
  buffer<int32_t> order; // of the classes
  sorder_tree tree;      // its postorder and figures
};

constexpr sorder_figures no_order{std::numeric_limits<int64_t>::max(), std::numeric_limits<double>::infinity()};

struct search {
  sysenv& sys;
  const sorder_columns* columns;
  sorder_watch& watch;
  const sgraph& g;         // of the classes
  const int32_t* row2node; // null: classes are nodes
  candidate best;
  gp_sorder_stats& stats;
};

bool is_better(const sorder_figures& a, const sorder_figures& b) {
  return a.flops != b.flops ? a.flops < b.flops : a.nnz < b.nnz;
}

// Orders by fill under the priorities and keeps the result if it is better. False when stopped.
bool try_fill(search& s, const int32_t* priority, bool strict, amf_score score, bool& better, sorder_figures& figures) {
  candidate c{{s.sys, s.g.n}, {}};
  const amf_input in{s.g, priority, strict, s.columns, s.row2node, score};
  if (!amf_order(s.sys, in, s.watch, c.order.data())) return false;
  if (!analyse_order(s.sys, s.g, c.order.data(), s.watch, c.tree)) return false;
  figures = c.tree.figures;
  better = is_better(figures, s.best.tree.figures);
  if (better) std::swap(s.best, c);
  return true;
}

bool try_partition(search& s, const partition_weights& w, uint64_t seed, bool& better, sorder_figures& figures) {
  buffer<int32_t> level;
  const int64_t before = s.watch.work;
  if (!dissect_graph(s.sys, s.g, w, seed, s.watch, level)) return false;
  s.stats.gpwork += s.watch.work - before;
  s.stats.numpasses++;
  better = false;
  figures.flops = std::numeric_limits<double>::infinity();
  if (std::all_of(level.begin(), level.end(), [](int32_t l) { return l == 0; })) return true; // no separator was found
  if (!try_fill(s, level.data(), false, amf_score::shared_fill, better, figures)) return false;
  s.stats.partitioned |= better;
  return true;
}

// A factorisation in units: what a column, an entry and a flop take of the time of a list entry.
double units_of_factor(const search& s) {
  constexpr double percolumn = 8, perentry = 0.6, perflop = 0.012;
  const sorder_figures& f = s.best.tree.figures;
  return percolumn * static_cast<double>(s.g.weight) + perentry * static_cast<double>(f.nnz) + perflop * f.flops;
}

double count_entries(const search& s) { return static_cast<double>(s.g.num_entries() + s.g.n); }

// Passes with changing weights while they are cheap beside what they may save.
bool partition(search& s, const gp_sorder_params& params) {
  const double entries = count_entries(s);
  bool better = false;
  sorder_figures figures;
  for (int32_t pass = 0; pass < maxpasses; pass++) {
    if (passperentry * entries * (pass + 1) > share * numfactor * units_of_factor(s)) break;
    if (pass >= usualpasses && s.stats.partitioned) break;
    const int32_t kind = pass % usualpasses;
    const partition_weights w{params.minratio * passratio[kind], params.beta * passbeta[kind], passsmooth[kind]};
    if (!try_partition(s, w, firstseed + static_cast<uint64_t>(pass), better, figures)) return false;
    if (figures.flops > 2 * s.best.tree.figures.flops) break; // not a graph for partitions
  }
  return true;
}

bool find_order(search& s, const gp_sorder_params& params, const sorder_figures* incumbent) {
  bool better = false;
  sorder_figures figures;
  if (params.incumbentbyfill)
    s.stats.fill = s.best.tree.figures = *incumbent;
  else if (!try_fill(s, nullptr, true, amf_score::shared_fill, better, s.stats.fill))
    return false;
  if (s.g.n <= maxsecondfill && fillperentry * count_entries(s) <= fillshare * numfactor * units_of_factor(s)) {
    if (!try_fill(s, nullptr, true, amf_score::fill, better, figures)) return false;
    if (better) s.stats.fill = figures;
  }
  if (incumbent &&
      params.wantextra * static_cast<double>(s.best.tree.figures.nnz) <= static_cast<double>(incumbent->nnz))
    return true;
  const int64_t base = s.g.weight + s.g.num_entries();
  if (s.g.n < minpartitioned || (s.g.n > 10000 && 2 * s.best.tree.figures.nnz < params.level * base)) return true;
  return partition(s, params);
}

void invert(const int32_t* perm, int32_t n, int32_t* invp) {
  for (int32_t k = 0; k < n; k++) invp[perm[k]] = k;
}

// The best order in postorder of its tree, for the nodes of the whole graph.
void write_order(search& s, const buffer<int32_t>& node2class, int32_t* perm) {
  buffer<int32_t> order(s.sys, s.g.n);
  for (int32_t k = 0; k < s.g.n; k++) order[k] = s.best.order[s.best.tree.post[k]];
  if (node2class.empty())
    std::copy(order.begin(), order.end(), perm);
  else
    expand_order(s.sys, node2class, order, perm);
}

bool gp_sorder(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns, const gp_sorder_params& params,
               sorder_watch& watch, int32_t* perm, gp_sorder_stats& stats) {
  sgraph g, classes;
  buffer<int32_t> node2class;
  bool compressed = false;
  sorder_tree incumbent;
  if (!make_graph(sys, graph, watch, g)) return false;
  if (params.incumbent && !analyse_order(sys, g, params.incumbent, watch, incumbent)) return false;
  if (!compress_graph(sys, g, watch, node2class, classes, compressed)) return false;
  search s{sys, columns, watch, compressed ? classes : g, compressed ? node2class.data() : nullptr, {}, stats};
  s.best.tree.figures = no_order;
  if (!find_order(s, params, params.incumbent ? &incumbent.figures : nullptr)) return false;
  stats.best = s.best.tree.figures;
  stats.improved = !params.incumbent || is_better(stats.best, incumbent.figures);
  if (stats.improved) {
    write_order(s, node2class, perm);
    return true;
  }
  stats.best = incumbent.figures;
  stats.partitioned = false;
  std::copy_n(params.incumbent, graph.n, perm);
  return true;
}

sorder_code order_as_is(sysenv& sys, const sorder_graph& graph, const sorder_progress& progress, int32_t* perm,
                        int32_t* invp, gp_sorder_stats& stats) {
  sorder_tree tree;
  const sorder_code code = TVN_sorder_analyse(sys, graph, nullptr, progress, tree);
  if (code != sorder_code::ok) return code;
  stats.fill = stats.best = tree.figures;
  for (int32_t i = 0; i < graph.n; i++) perm[i] = invp[i] = i;
  return code;
}

bool has_edges(const sorder_graph& graph) {
  for (int32_t i = 0; i < graph.n; i++)
    for (int64_t p = graph.beg[i]; p < graph.end[i]; p++)
      if (graph.sub[p] != i) return true;
  return false;
}

} // namespace

sorder_code TVN_amf_gp_sorder(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns,
                              const gp_sorder_params& params, const sorder_progress& progress, int32_t* perm,
                              int32_t* invp, gp_sorder_stats& stats) {
  sorder_code code = sorder_code::ok;
  stats = {};
  if (params.priority) {
    code = TVN_amf_sorder_pri(sys, graph, columns, params.priority, progress, perm, stats.fill);
    stats.best = stats.fill;
  } else {
    sorder_watch watch(progress);
    if (!gp_sorder(sys, graph, columns, params, watch, perm, stats)) code = sorder_code::stopped;
    stats.work = watch.work;
  }
  if (code == sorder_code::ok) invert(perm, graph.n, invp);
  return code;
}

sorder_code TVN_sorder_bymethod(sysenv& sys, sorder_method method, const sorder_graph& graph,
                                const sorder_columns* columns, const gp_sorder_params& params,
                                const sorder_progress& progress, int32_t* perm, int32_t* invp, gp_sorder_stats& stats) {
  stats = {};
  if (method == sorder_method::none || !has_edges(graph)) return order_as_is(sys, graph, progress, perm, invp, stats);
  if (method == sorder_method::graphpar2 && !params.incumbent) method = sorder_method::appminloc2;
  sorder_code code = sorder_code::ok;
  switch (method) {
  case sorder_method::appminloc1: code = TVN_symord_minlocf(sys, graph, progress, perm, stats.fill); break;
  case sorder_method::appminloc2: code = TVN_amf_sorder(sys, graph, columns, progress, perm, stats.fill); break;
  case sorder_method::graphpar1: {
    gp_sorder_params alone = params;
    alone.incumbent = nullptr;
    alone.incumbentbyfill = false;
    alone.level = 2;
    return TVN_amf_gp_sorder(sys, graph, columns, alone, progress, perm, invp, stats);
  }
  case sorder_method::free:
  case sorder_method::graphpar2:
  case sorder_method::none: return TVN_amf_gp_sorder(sys, graph, columns, params, progress, perm, invp, stats);
  }
  stats.best = stats.fill;
  if (code == sorder_code::ok) invert(perm, graph.n, invp);
  return code;
}

} // namespace tvn
