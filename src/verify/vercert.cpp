// Certificates: that no point is feasible, and that the objective falls for ever. Sums in long double. Cost:
// O(nonzeros).
//
// Primal: for multipliers of the right signs and snx in the dual cones, the sum of all constraints
//   f(x) = sl'bl - su'bu - y'(rows at x) - (slx - sux + snx)'x
// is at most 0 at each feasible point. It is linear, and constant where the multipliers cancel; with quadratic rows it
// is convex, and least where its gradient is 0, at xx. A positive least value is a proof.
#include "verify/verint.h"

namespace tvn {

namespace {

// The sum of the constraints, by its terms.
struct constraint_sum {
  long double obj = 0, terms = 0, multipliers = 0;
  double worst = 0; // violation of what makes it a proof

  void add(double multiplier, double bound) {
    const long double term = static_cast<long double>(multiplier) * bound;
    obj += term;
    terms += std::fabs(term);
    if (bound != 0) multipliers += std::fabs(multiplier);
  }
  void take(int32_t bk, double bl, double bu, double sl, double su) {
    if (has_lower(bk)) add(sl, bl);
    if (has_upper(bk)) add(-su, bu);
    worsen(worst, wrong_sign(sl, has_lower(bk)));
    worsen(worst, wrong_sign(su, has_upper(bk)));
  }
};

} // namespace

double TVN_verify_primalcertificate(sysenv& sys, const problem_view& lp, const solution_view& sol) {
  constraint_sum sum;
  const quadratic_part q(sys, lp, sol.xx, sol.y, false);
  for (int32_t i = 0; i < lp.numcon; i++) {
    sum.take(lp.bkc[i], lp.blc[i], lp.buc[i], sol.slc[i], sol.suc[i]);
    worsen(sum.worst, std::fabs(sol.y[i] - sol.slc[i] + sol.suc[i]));
    if (!q.row.empty()) sum.obj += sol.y[i] * q.row[i].value;
  }
  long double size = 1;
  for (int32_t j = 0; j < lp.numvar; j++) {
    sum.take(lp.bkx[j], lp.blx[j], lp.bux[j], sol.slx[j], sol.sux[j]);
    const auto d = static_cast<double>(TVN_verify_reduced(lp, j, q.at_column(j, 0.0), sol.y).value);
    worsen(sum.worst, std::fabs(d - sol.slx[j] + sol.sux[j] - (lp.cone.any() ? sol.snx[j] : 0.0)));
    if (!q.row.empty()) size = std::max(size, std::fabs(static_cast<long double>(sol.xx[j])));
  }
  if (lp.cone.any()) {
    worsen(sum.worst, TVN_verify_outsidecones(lp.cone, sol.snx));
    worsen(sum.worst, TVN_verify_besidecones(sys, lp, sol.snx));
  }
  if (!(sum.obj > roundoff * sum.terms)) return std::numeric_limits<double>::infinity();
  // Points of the size that the bounds speak of must not make up for the violation.
  if (sum.multipliers > 0) size = std::max(size, sum.terms / sum.multipliers);
  return static_cast<double>(sum.worst * size / sum.obj);
}

namespace {

// Whether Q, and the Q_i of rows that must not grow, let the objective fall along x so far; what they make of x beside
// 0 is a violation. A residual that is small beside the fall is not enough: x'x / 1e9 - x would have a ray.
bool falls_far(sysenv& sys, const problem_view& lp, const double* x, long double fall, double& worst) {
  constexpr double far = 1e10;
  buffer<double> y(sys, lp.numcon); // of the sign that makes the sum of all convex
  for (int32_t i = 0; i < lp.numcon; i++) y[i] = has_lower(lp.bkc[i]) ? 1.0 : has_upper(lp.bkc[i]) ? -1.0 : 0.0;
  const quadratic_part q(sys, lp, x, y.data());
  double length = 0;
  for (const verify_sum& s : q.gradient) worsen(worst, static_cast<double>(std::fabs(s.value)));
  for (int32_t j = 0; j < lp.numvar; j++) worsen(length, std::fabs(x[j]));
  for (int64_t i = 0; i < q.row.size(); i++)
    if (y[i] != 0.0 && !(2 * far * std::fabs(q.row[i].value) <= length * fall)) return false;
  return q.gradient.empty() || far * q.form <= length * fall;
}

} // namespace

double TVN_verify_dualcertificate(sysenv& sys, const problem_view& lp, const solution_view& sol) {
  problem_view linear = lp;
  linear.q = {}, linear.qrow = {};
  buffer<verify_sum> act(sys, lp.numcon);
  TVN_verify_activities(lp, quadratic_part(sys, linear, sol.xx, nullptr), sol.xx, act);
  double worst = 0;
  long double terms = 0; // of the fall
  auto recede = [&](double v, int32_t bk) {
    if (has_lower(bk)) worsen(worst, -v);
    if (has_upper(bk)) worsen(worst, v);
    if (std::isnan(v)) worst = v;
  };
  long double fall = 0;
  for (int32_t i = 0; i < lp.numcon; i++) {
    recede(static_cast<double>(act[i].value), lp.bkc[i]);
    fall -= cost_of_slack(lp, i) * act[i].value;
    terms += std::fabs(cost_of_slack(lp, i) * act[i].value);
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    recede(sol.xx[j], lp.bkx[j]);
    fall -= static_cast<long double>(lp.c[j]) * sol.xx[j];
    terms += std::fabs(static_cast<long double>(lp.c[j]) * sol.xx[j]);
  }
  worsen(worst, TVN_verify_outsidecones(lp.cone, sol.xx));
  if (!(fall > roundoff * terms) || !falls_far(sys, lp, sol.xx, fall, worst))
    return std::numeric_limits<double>::infinity();
  return worst / static_cast<double>(fall);
}

} // namespace tvn
