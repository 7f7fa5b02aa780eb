// Sums over rows and columns in long double, with the largest term of each. Cost: O(nonzeros).
#include "verify/verint.h"

namespace tvn {

quadratic_part::quadratic_part(sysenv& sys, const problem_view& lp, const double* x, const double* y, bool objective) {
  const bool q = objective && lp.q.any();
  if (!q && !lp.qrow.any()) return;
  gradient.reset(sys, lp.numvar, verify_sum{});
  if (q) {
    buffer<long double> qx(sys, lp.numvar);
    buffer<double> largest(sys, lp.numvar);
    TVN_sym_multiply(lp.q, x, qx.data(), largest.data());
    for (int32_t j = 0; j < lp.numvar; j++) {
      gradient[j] = {qx[j], largest[j]};
      form += qx[j] * x[j];
    }
  }
  if (!lp.qrow.any()) return;
  row.reset(sys, lp.numcon, verify_sum{});
  for (int32_t i = 0; i < lp.numcon; i++)
    for (int64_t p = lp.qrow.beg[i]; p < lp.qrow.end[i]; p++) {
      const int32_t a = lp.qrow.subi[p], b = lp.qrow.subj[p];
      const long double v = lp.qrow.val[p];
      row[i].add(a == b ? v * x[a] * x[a] / 2 : v * x[a] * x[b]);
      gradient[a].add(-y[i] * v * x[b]);
      if (a != b) gradient[b].add(-y[i] * v * x[a]);
    }
}

void TVN_verify_activities(const problem_view& lp, const quadratic_part& q, const double* x, buffer<verify_sum>& act) {
  for (int32_t i = 0; i < lp.numcon; i++) act[i] = q.row.empty() ? verify_sum{} : q.row[i];
  for (int32_t j = 0; j < lp.numvar; j++) {
    const long double v = x[j];
    if (v == 0) continue;
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) act[lp.sub[p]].add(v * lp.val[p]);
  }
}

verify_sum TVN_verify_reduced(const problem_view& lp, int32_t j, verify_sum cj, const double* y) {
  for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) cj.add(-static_cast<long double>(lp.val[p]) * y[lp.sub[p]]);
  return cj;
}

double TVN_verify_reducedcost(const problem_view& lp, int32_t j, long double cj, const double* y) {
  return static_cast<double>(TVN_verify_reduced(lp, j, {cj, 0}, y).value);
}

void TVN_verify_gradient(sysenv& sys, const problem_view& lp, const double* x, const double* y, bool objective,
                         buffer<long double>& gradient) {
  const quadratic_part q(sys, lp, x, y, objective);
  gradient.reset(sys, lp.numvar);
  for (int32_t j = 0; j < lp.numvar; j++) gradient[j] = q.at_column(j, objective ? lp.c[j] : 0.0).value;
}

void TVN_verify_rows(sysenv& sys, const problem_view& lp, const double* x, double* act) {
  problem_view rows = lp;
  rows.q = {};
  const buffer<double> none(sys, lp.qrow.any() ? lp.numcon : 0, 0.0); // multipliers: the gradient is not wanted
  buffer<verify_sum> sums(sys, lp.numcon);
  TVN_verify_activities(lp, quadratic_part(sys, rows, x, none.data()), x, sums);
  for (int32_t i = 0; i < lp.numcon; i++) act[i] = static_cast<double>(sums[i].value);
}

} // namespace tvn
