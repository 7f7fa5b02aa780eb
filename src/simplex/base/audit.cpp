// See audit.h. Cost: O(nonzeros) and one backward solve.
#include "simplex/base/audit.h"

namespace tvn {

namespace {

constexpr double tolactivity = 1e-6; // residual of a row, relative to 1 + its largest term

} // namespace

void TVN_simplex_breach(const audit_site& at, const char* what, int32_t index, double got, double want) {
  TVN_sysenv_stopdbg(&at.sys, at.label, __LINE__, "%s: index %d iteration %lld got %.17g want %.17g", what, index,
                     static_cast<long long>(at.iter), got, want);
}

void TVN_simplex_checkheader(const audit_site& at, const simplex_state& s) {
  const simplex_fac& f = s.fac;
  for (int32_t k = 0; k < s.work.m; k++)
    if (f.pos[f.head[k]] != k) TVN_simplex_breach(at, "header and position", k, f.pos[f.head[k]], k);
  int32_t basics = 0;
  for (int32_t j = 0; j < s.work.total; j++) {
    const bool basic = f.pos[j] >= 0;
    basics += basic;
    if (basic != (s.key[j] == sk_bas)) TVN_simplex_breach(at, "key of a basic", j, s.key[j], sk_bas);
  }
  if (basics != s.work.m) TVN_simplex_breach(at, "number of basics", -1, basics, s.work.m);
}

void TVN_simplex_checkrows(const audit_site& at, const simplex_work& w, const buffer<double>& x) {
  buffer<long double> act(at.sys, w.m);
  buffer<double> largest(at.sys, w.m, 0.0);
  for (int32_t i = 0; i < w.m; i++) act[i] = -x[i];
  for (int32_t k = 0; k < w.n; k++)
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) {
      const double term = w.colval[p] * x[w.m + k];
      act[w.colsub[p]] += term;
      largest[w.colsub[p]] = std::max(largest[w.colsub[p]], std::fabs(term));
    }
  for (int32_t i = 0; i < w.m; i++)
    if (!(std::fabs(static_cast<double>(act[i])) <= tolactivity * (1 + largest[i])))
      TVN_simplex_breach(at, "row equation", i, static_cast<double>(act[i]), 0);
}

void TVN_simplex_freshduals(simplex_state& s, buffer<double>& y, double& scale) {
  for (const double c : s.fac.rhs) scale = std::max(scale, std::fabs(c));
  TVN_simplex_formy(s.fac, y);
  for (const double v : y) scale = std::max(scale, std::fabs(v));
}

void TVN_simplex_checkscratch(const audit_site& at, const simplex_state& s) {
  for (const spvec* v : {&s.spike, &s.colrow, &s.aq, &s.unit, &s.rho, &s.tau, &s.alpha}) {
    if (v->count != 0) TVN_simplex_breach(at, "scratch vector in use", -1, v->count, 0);
    for (int64_t i = 0; i < v->val.size(); i++)
      if (v->val[i] != 0 || v->mark[i] != 0)
        TVN_simplex_breach(at, "scratch not clean", static_cast<int32_t>(i), v->val[i], 0);
  }
}

} // namespace tvn
