// Audits that primal and dual share: what the working problem and the header say by themselves. They stop on a breach.
#pragma once

#include "simplex/base/state.h"

namespace tvn {

// Who audits, and in which iteration: what a breach tells.
struct audit_site {
  sysenv& sys;
  const char* label;
  int64_t iter;
};

[[noreturn]] void TVN_simplex_breach(const audit_site& at, const char* what, int32_t index, double got, double want);
// The header against its inverse and the keys.
void TVN_simplex_checkheader(const audit_site& at, const simplex_state& s);
// A x - xc = 0 for x by variable.
void TVN_simplex_checkrows(const audit_site& at, const simplex_work& w, const buffer<double>& x);
// Reduced costs of the listed nonbasics against those of the costs in s.fac.rhs by position, destroyed, and `cost(j)`.
template <class F> void TVN_simplex_checkduals(const audit_site& at, simplex_state& s, F cost);
// Vectors of an iteration empty and clean; active in the row copy are the structurals for which `active(j)`.
void TVN_simplex_checkscratch(const audit_site& at, const simplex_state& s);
template <class F> void TVN_simplex_checkactive(const audit_site& at, const simplex_state& s, F active);

// ---

void TVN_simplex_freshduals(simplex_state& s, buffer<double>& y, double& scale);

template <class F> void TVN_simplex_checkduals(const audit_site& at, simplex_state& s, F cost) {
  constexpr double tolduals = 1e-5; // relative to 1 + largest cost and dual term
  buffer<double> y(s.sys, s.work.m);
  double scale = 1;
  TVN_simplex_freshduals(s, y, scale);
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.fac.pos[j] >= 0 || !s.inlist[j]) continue;
    const double want = cost(j) - TVN_simplex_columndot(s.work, j, y.data());
    if (!(std::fabs(s.d[j] - want) <= tolduals * (scale + std::fabs(want))))
      TVN_simplex_breach(at, "reduced cost", j, s.d[j], want);
  }
}

template <class F> void TVN_simplex_checkactive(const audit_site& at, const simplex_state& s, F active) {
  const simplex_work& w = s.work;
  for (int32_t i = 0; i < w.m; i++)
    for (int64_t e = w.rowbeg[i]; e < w.rowbeg[i + 1]; e++) {
      const int32_t j = w.m + w.rowcol[e];
      if ((e < w.rowend[i]) != active(j)) TVN_simplex_breach(at, "active part of a row", i, e < w.rowend[i], active(j));
      if (w.col2row[w.row2col[e]] != e) TVN_simplex_breach(at, "cross pointers", i, 0, 0);
    }
}

} // namespace tvn
