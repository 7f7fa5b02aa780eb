// The named orders: graph, compression, engine, true counts.
#include "order/amf.h"

namespace tvn {

namespace {

bool order_by_fill(sysenv& sys, const sorder_graph& graph, const amf_input& choice, sorder_watch& watch, int32_t* perm,
                   sorder_figures& figures) {
  sgraph g, classes;
  buffer<int32_t> node2class;
  bool compressed = false;
  if (!make_graph(sys, graph, watch, g)) return false;
  // Twins may differ in priority.
  if (!choice.priority && !compress_graph(sys, g, watch, node2class, classes, compressed)) return false;
  const sgraph& used = compressed ? classes : g;
  buffer<int32_t> order(sys, used.n);
  const amf_input in{
      used, choice.priority, choice.strict, choice.columns, compressed ? node2class.data() : nullptr, choice.score};
  sorder_tree tree;
  if (!amf_order(sys, in, watch, order.data()) || !analyse_order(sys, used, order.data(), watch, tree)) return false;
  figures = tree.figures;
  if (compressed)
    expand_order(sys, node2class, order, perm);
  else
    std::copy(order.begin(), order.end(), perm);
  return true;
}

sorder_code run_fill(sysenv& sys, const sorder_graph& graph, const amf_input& choice, const sorder_progress& progress,
                     int32_t* perm, sorder_figures& figures) {
  sorder_watch watch(progress);
  return order_by_fill(sys, graph, choice, watch, perm, figures) ? sorder_code::ok : sorder_code::stopped;
}

} // namespace

void expand_order(sysenv& sys, const buffer<int32_t>& node2class, const buffer<int32_t>& classperm, int32_t* perm) {
  const int64_t numclass = classperm.size();
  buffer<int32_t> position(sys, numclass), begin(sys, numclass + 1, 0);
  for (int64_t k = 0; k < numclass; k++) position[classperm[k]] = static_cast<int32_t>(k);
  const auto n = static_cast<int32_t>(node2class.size());
  for (int32_t i = 0; i < n; i++) begin[position[node2class[i]] + 1]++;
  for (int64_t k = 0; k < numclass; k++) begin[k + 1] += begin[k];
  for (int32_t i = 0; i < n; i++) perm[begin[position[node2class[i]]]++] = i;
}

sorder_code TVN_amf_sorder(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns,
                           const sorder_progress& progress, int32_t* perm, sorder_figures& figures) {
  return TVN_amf_sorder_pri(sys, graph, columns, nullptr, progress, perm, figures);
}

sorder_code TVN_amf_sorder_pri(sysenv& sys, const sorder_graph& graph, const sorder_columns* columns,
                               const int32_t* priority, const sorder_progress& progress, int32_t* perm,
                               sorder_figures& figures) {
  const sgraph none;
  amf_input choice{none};
  choice.columns = columns;
  choice.priority = priority;
  return run_fill(sys, graph, choice, progress, perm, figures);
}

sorder_code TVN_symord_minlocf(sysenv& sys, const sorder_graph& graph, const sorder_progress& progress, int32_t* perm,
                               sorder_figures& figures) {
  const sgraph none;
  amf_input choice{none};
  choice.score = amf_score::fill;
  return run_fill(sys, graph, choice, progress, perm, figures);
}

} // namespace tvn
