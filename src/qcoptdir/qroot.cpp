// See qroot.h.
#include "qcoptdir/qroot.h"

#include "convex/checkdef.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double zeropivot = 1e-13; // of Q with a unit diagonal
constexpr double noentry = 1e-13;   // of L for such a Q: it has cancelled, and would spoil the scaling
constexpr double tolconvex = 1e-6;  // as of the interior-point loop, which has the last word

// The factor of Q, scaled to a unit diagonal.
struct root_factor {
  buffer<double> scale;
  sfk_structure structure;
  sfk_factor f;
  buffer<double> added;

  // False when it was stopped, or a number was not finite.
  bool make(sysenv& sys, const sym_view& q, const sfk_progress& progress) {
    const sorder_graph graph = {q.n, q.beg, q.beg + 1, q.sub};
    buffer<int32_t> perm(sys, q.n), invp(sys, q.n);
    gp_sorder_stats stats;
    if (TVN_sorder_bymethod(sys, sorder_method::free, graph, nullptr, {}, progress, perm.data(), invp.data(), stats) !=
            sorder_code::ok ||
        TVN_sfk_setupL(sys, graph, perm.data(), progress, structure) != sfk_code::ok)
      return false;
    scale.reset(sys, q.n, 1.0);
    for (int32_t j = 0; j < q.n; j++)
      if (q.beg[j] < q.beg[j + 1] && q.sub[q.beg[j]] == j && q.val[q.beg[j]] > 0)
        scale[j] = 1 / std::sqrt(q.val[q.beg[j]]);
    TVN_sfk_allocLval(sys, structure, TVN_matker_make(matker_isa::avx512), f);
    if (!TVN_sfk_clear(f, progress)) return false;
    for (int32_t j = 0; j < q.n; j++)
      for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++) {
        const double v = scale[q.sub[p]] * q.val[p] * scale[j];
        f.val[q.sub[p] == j ? structure.diagdest[j] : structure.dest[p]] += v;
      }
    added.reset(sys, q.n, 0.0);
    sfk_pivots pivots;
    pivots.tolpiv = zeropivot;
    pivots.added = added.data();
    return TVN_ch_calfac(f, pivots, progress) == sfk_code::ok;
  }

  void get_rows(qroot_rows& rows) const {
    const sfk_structure& s = structure;
    for (int32_t node = 0; node < s.numsn; node++) {
      const int64_t height = s.rowbeg[node + 1] - s.rowbeg[node];
      const int32_t* const row = s.rows.data() + s.rowbeg[node];
      for (int32_t k = s.snbeg[node]; k < s.snbeg[node + 1]; k++) {
        if (added[k] != 0) continue;
        const double* const column = f.val.data() + s.valbeg[node] + (k - s.snbeg[node]) * height;
        const double root = std::sqrt(f.d[k]);
        for (int64_t r = k - s.snbeg[node]; r < height; r++) {
          const double l = row[r] == k ? 1.0 : column[r];
          if (!(root * std::fabs(l) > noentry)) continue;
          const int32_t j = s.perm[row[r]];
          rows.sub.push_back(j);
          rows.val.push_back(root * l / scale[j]);
        }
        rows.beg.push_back(rows.sub.size());
        rows.num++;
      }
    }
  }
};

} // namespace

qroot_code TVN_qroot_make(sysenv& sys, const sym_view& q, bool check, const sfk_progress& progress, qroot_rows& rows) {
  if (check) {
    const convex_code code = TVN_symmat_checkcolumns(sys, q, tolconvex, progress);
    if (code != convex_code::ok) return code == convex_code::stopped ? qroot_code::stopped : qroot_code::nonconvex;
  }
  root_factor root;
  if (!root.make(sys, q, progress)) return qroot_code::stopped;
  root.get_rows(rows);
  return qroot_code::ok;
}

} // namespace tvn
