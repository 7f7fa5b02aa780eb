// See checkdef.h.
#include "convex/checkdef.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double least_tol = 1e-14;    // below it a factor in double tells of its own rounding
constexpr double least_pivot = 1e-300; // anything positive

// The rows that the matrix has, renumbered from 0.
struct used_rows {
  buffer<int32_t> index; // ascending, of the caller

  used_rows(sysenv& sys, const convex_terms& q) {
    buffer<int32_t> all(sys, 2 * q.num);
    std::copy_n(q.subi, q.num, all.data());
    std::copy_n(q.subj, q.num, all.data() + q.num);
    std::sort(all.begin(), all.end());
    const auto num = std::unique(all.begin(), all.end()) - all.begin();
    index.reset(sys, num);
    std::copy_n(all.data(), num, index.data());
  }
  int32_t num() const noexcept { return static_cast<int32_t>(index.size()); }
  int32_t place(int32_t user) const noexcept {
    return static_cast<int32_t>(std::lower_bound(index.begin(), index.end(), user) - index.begin());
  }
};

// Q scaled to a diagonal of 1, the strict triangle by columns.
struct scaled_matrix {
  buffer<double> diagonal; // before the scaling
  sym_matrix lower;
};

// A diagonal below 0, and an entry that is larger than what both diagonals allow.
convex_result scale_rows(sysenv& sys, const convex_terms& q, double sign, double tol, const used_rows& rows,
                         scaled_matrix& m) {
  const auto bad = [](int32_t sub, double value) { return convex_result{convex_code::indefinite, sub, value}; };
  m.diagonal.reset(sys, rows.num(), 0.0);
  buffer<int32_t> subi(sys, q.num), subj(sys, q.num);
  buffer<double> val(sys, q.num);
  int64_t num = 0;
  for (int64_t p = 0; p < q.num; p++)
    if (q.subi[p] == q.subj[p]) m.diagonal[rows.place(q.subi[p])] = sign * q.val[p];
  for (int32_t k = 0; k < rows.num(); k++)
    if (!(m.diagonal[k] >= 0 && m.diagonal[k] < HUGE_VAL)) return bad(rows.index[k], m.diagonal[k]);
  for (int64_t p = 0; p < q.num; p++) {
    if (q.subi[p] == q.subj[p] || q.val[p] == 0) continue;
    const int32_t i = rows.place(q.subi[p]), j = rows.place(q.subj[p]);
    const double v = sign * q.val[p] / std::sqrt(m.diagonal[i]) / std::sqrt(m.diagonal[j]);
    if (!(std::fabs(v) <= 1 + tol)) return bad(m.diagonal[i] < m.diagonal[j] ? q.subi[p] : q.subj[p], 1 - v * v);
    subi[num] = i;
    subj[num] = j;
    val[num++] = v;
  }
  TVN_sym_fromtriplets(sys, rows.num(), num, subi.data(), subj.data(), val.data(), 1, m.lower);
  return {};
}

// The factor of the scaled matrix plus tol on its diagonal.
convex_result factor(sysenv& sys, const scaled_matrix& m, double tol, const sfk_progress& progress) {
  const convex_result stopped = {convex_code::stopped};
  const sym_view q = m.lower.view();
  const sorder_graph graph = {q.n, q.beg, q.beg + 1, q.sub};
  buffer<int32_t> perm(sys, q.n), invp(sys, q.n);
  gp_sorder_stats stats;
  if (TVN_sorder_bymethod(sys, sorder_method::free, graph, nullptr, {}, progress, perm.data(), invp.data(), stats) !=
      sorder_code::ok)
    return stopped;
  sfk_structure structure;
  if (TVN_sfk_setupL(sys, graph, perm.data(), progress, structure) != sfk_code::ok) return stopped;
  sfk_factor f;
  TVN_sfk_allocLval(sys, structure, TVN_matker_make(matker_isa::avx512), f);
  if (!TVN_sfk_clear(f, progress)) return stopped;
  for (int64_t p = 0; p < q.beg[q.n]; p++) f.val[structure.dest[p]] += q.val[p];
  for (int32_t k = 0; k < q.n; k++) f.val[structure.diagdest[k]] += m.diagonal[k] > 0 ? 1 + tol : 1;
  buffer<double> added(sys, q.n, 0.0);
  sfk_pivots pivots;
  pivots.tolpiv = least_pivot;
  pivots.added = added.data();
  const sfk_code code = TVN_ch_calfac(f, pivots, progress);
  if (code == sfk_code::stopped) return stopped;
  for (int32_t k = 0; k < q.n; k++) // what comes behind the first one is of a changed matrix
    if (added[k] != 0) return {convex_code::indefinite, structure.perm[k], f.d[k] - added[k]};
  return {code == sfk_code::ok ? convex_code::ok : convex_code::indefinite};
}

} // namespace

convex_result TVN_symmat_checkdef(sysenv& sys, const convex_terms& q, double sign, convex_level level, double tol,
                                  const sfk_progress& progress) {
  if (level == convex_level::none || q.num == 0) return {};
  const used_rows rows(sys, q);
  scaled_matrix m;
  tol = std::max(tol, least_tol);
  convex_result found = scale_rows(sys, q, sign, tol, rows, m);
  if (found.code != convex_code::ok || level == convex_level::simple || !m.lower.view().any()) return found;
  found = factor(sys, m, tol, progress);
  if (found.sub >= 0) found.sub = rows.index[found.sub];
  return found;
}

convex_code TVN_symmat_checkcolumns(sysenv& sys, const sym_view& q, double tol, const sfk_progress& progress) {
  const int64_t num = q.beg[q.n];
  buffer<int32_t> column(sys, num);
  for (int32_t j = 0; j < q.n; j++) std::fill(column.data() + q.beg[j], column.data() + q.beg[j + 1], j);
  return TVN_symmat_checkdef(sys, {num, q.sub, column.data(), q.val}, 1, convex_level::full, tol, progress).code;
}

} // namespace tvn
