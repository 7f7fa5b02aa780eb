// Residuals and certificates from the user's data alone, sums in long double. Cost: O(nonzeros).
#include "verify/verify.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvn {

namespace {

// A sum this small beside its terms is rounding of the data, and proves nothing.
constexpr double roundoff = 1e-12;
// Violations that a change of the point by a few units in its last place can cause are none.
constexpr double lastplaces = 0x1p-48;

// Keeps the larger; a NaN wins and stays.
void worsen(double& worst, double value) {
  if (!std::isnan(worst) && !(value <= worst)) worst = value;
}

double own_scale(double bound) { return 1 + std::fabs(bound); }

void row_activities(const problem_view& lp, const double* xx, buffer<long double>& act, buffer<double>& largest) {
  for (int32_t i = 0; i < lp.numcon; i++) act[i] = 0, largest[i] = 0;
  for (int32_t j = 0; j < lp.numvar; j++) {
    const long double v = xx[j];
    if (v == 0) continue;
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      const long double term = v * lp.val[p];
      act[lp.sub[p]] += term;
      worsen(largest[lp.sub[p]], static_cast<double>(std::fabs(term)));
    }
  }
}

// A violation up to `rounding` counts as none.
double outside(double v, int32_t bk, double bl, double bu, double rounding) {
  double worst = 0;
  if (has_lower(bk) && !(bl - v <= rounding)) worsen(worst, (bl - v) / own_scale(bl));
  if (has_upper(bk) && !(v - bu <= rounding)) worsen(worst, (v - bu) / own_scale(bu));
  if (std::fabs(v) >= bound_infinity) return std::numeric_limits<double>::infinity(); // nowhere
  return std::isnan(v) ? v : worst;
}

// A change of x_j by this is lost in the last places of every row that it is in. 0 for an empty column.
double rounding_of(const problem_view& lp, int32_t j, const buffer<double>& largest) {
  double least = std::numeric_limits<double>::infinity();
  for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++)
    if (lp.val[p] != 0.0) least = std::min(least, largest[lp.sub[p]] / std::fabs(lp.val[p]));
  return least < std::numeric_limits<double>::infinity() ? lastplaces * least : 0.0;
}

// Wrong sign, or a dual where there is no bound.
double wrong_sign(double s, bool finite) { return finite ? std::max(0.0, -s) : std::fabs(s); }

double max_cost(const problem_view& lp) {
  double c = 0;
  for (int32_t j = 0; j < lp.numvar; j++) worsen(c, std::fabs(lp.c[j]));
  return c;
}

// What the objective may fall when the item moves to the side where its reduced cost d wants it; by its own size where
// there is no bound.
double room_below(double v, double size, int32_t bk, double bl, double bu, double d) {
  const bool down = d > 0, finite = down ? has_lower(bk) : has_upper(bk);
  return std::fabs(d) * (finite ? std::max(0.0, down ? v - bl : bu - v) : size);
}

double cslack(const problem_view& lp, int32_t i) { return lp.cslack ? lp.cslack[i] : 0.0; }

struct cost_sum {
  long double value;
  double largest; // term
};

cost_sum reduced_cost(const problem_view& lp, int32_t j, cost_sum cj, const double* y) {
  cost_sum d = cj;
  for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
    const long double term = static_cast<long double>(lp.val[p]) * y[lp.sub[p]];
    d.value -= term;
    d.largest = std::max(d.largest, static_cast<double>(std::fabs(term)));
  }
  return d;
}

} // namespace

double TVN_verify_reducedcost(const problem_view& lp, int32_t j, long double cj, const double* y) {
  return static_cast<double>(reduced_cost(lp, j, {cj, 0}, y).value);
}

void TVN_verify_gradient(sysenv& sys, const problem_view& lp, const double* x, buffer<long double>& gradient) {
  gradient.reset(sys, lp.numvar);
  TVN_sym_multiply(lp.q, x, gradient.data());
  for (int32_t j = 0; j < lp.numvar; j++) gradient[j] += lp.c[j];
}

namespace {

// Q x with the largest term of each sum; empty for a linear objective.
struct quadratic_part {
  buffer<long double> qx;
  buffer<double> largest;

  quadratic_part(sysenv& sys, const problem_view& lp, const double* x) {
    if (!lp.q.any()) return;
    qx.reset(sys, lp.numvar);
    largest.reset(sys, lp.numvar);
    TVN_sym_multiply(lp.q, x, qx.data(), largest.data());
  }
  cost_sum gradient(const problem_view& lp, int32_t j) const {
    const cost_sum c{lp.c[j], std::fabs(lp.c[j])};
    return qx.empty() ? c : cost_sum{c.value + qx[j], std::max(c.largest, largest[j])};
  }
  long double form(const double* x) const { // x'Qx
    long double sum = 0;
    for (int64_t j = 0; j < qx.size(); j++) sum += qx[j] * x[j];
    return sum;
  }
};

} // namespace

lp_residuals TVN_verify_residuals(sysenv& sys, const problem_view& lp, const solution_view& sol) {
  lp_residuals r;
  buffer<long double> act(sys, lp.numcon);
  buffer<double> largest(sys, lp.numcon);
  row_activities(lp, sol.xx, act, largest);
  long double obj = lp.cfix;
  for (int32_t j = 0; j < lp.numvar; j++) obj += static_cast<long double>(lp.c[j]) * sol.xx[j];
  for (int32_t i = 0; i < lp.numcon; i++) obj += static_cast<long double>(cslack(lp, i)) * sol.xc[i];
  const quadratic_part q(sys, lp, sol.xx);
  obj += q.form(sol.xx) / 2;
  r.objective = static_cast<double>(obj);
  // A scale that is not finite must not hide a residual: inf - inf is NaN.
  const double largestcost = max_cost(lp), cscale = 1 + largestcost + (largestcost - largestcost);
  const double oscale = 1 + std::fabs(r.objective) + (r.objective - r.objective);
  auto complementarity = [&](double v, int32_t bk, double bl, double bu, double sl, double su) {
    if (has_lower(bk)) worsen(r.comp, std::fabs(sl * (v - bl)) / oscale);
    if (has_upper(bk)) worsen(r.comp, std::fabs(su * (bu - v)) / oscale);
  };
  long double room = 0;
  for (int32_t i = 0; i < lp.numcon; i++) {
    const auto a = static_cast<double>(act[i]);
    room += room_below(a, largest[i], lp.bkc[i], lp.blc[i], lp.buc[i], cslack(lp, i) + sol.y[i]);
    worsen(r.row, outside(a, lp.bkc[i], lp.blc[i], lp.buc[i], lastplaces * largest[i]));
    worsen(r.activity, std::fabs(sol.xc[i] - a) / (1 + largest[i]));
    worsen(r.dualeq, std::fabs(cslack(lp, i) + sol.y[i] - sol.slc[i] + sol.suc[i]) / cscale);
    worsen(r.dualsign, wrong_sign(sol.slc[i], has_lower(lp.bkc[i])) / cscale);
    worsen(r.dualsign, wrong_sign(sol.suc[i], has_upper(lp.bkc[i])) / cscale);
    complementarity(a, lp.bkc[i], lp.blc[i], lp.buc[i], sol.slc[i], sol.suc[i]);
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    const double v = outside(sol.xx[j], lp.bkx[j], lp.blx[j], lp.bux[j], 0.0);
    if (v != 0) worsen(r.bound, outside(sol.xx[j], lp.bkx[j], lp.blx[j], lp.bux[j], rounding_of(lp, j, largest)));
    const cost_sum cost = reduced_cost(lp, j, q.gradient(lp, j), sol.y);
    const auto d = static_cast<double>(cost.value);
    if (std::fabs(d) > lastplaces * cost.largest)
      room += room_below(sol.xx[j], std::fabs(sol.xx[j]), lp.bkx[j], lp.blx[j], lp.bux[j], d);
    worsen(r.dualeq, std::fabs(d - sol.slx[j] + sol.sux[j]) / cscale);
    worsen(r.dualsign, wrong_sign(sol.slx[j], has_lower(lp.bkx[j])) / cscale);
    worsen(r.dualsign, wrong_sign(sol.sux[j], has_upper(lp.bkx[j])) / cscale);
    complementarity(sol.xx[j], lp.bkx[j], lp.blx[j], lp.bux[j], sol.slx[j], sol.sux[j]);
  }
  r.gap = static_cast<double>(room) / oscale;
  return r;
}

double TVN_verify_primalcertificate(const problem_view& lp, const solution_view& sol) {
  long double obj = 0, terms = 0, multipliers = 0;
  double worst = 0;
  auto add = [&](double multiplier, double bound) {
    const long double term = static_cast<long double>(multiplier) * bound;
    obj += term;
    terms += std::fabs(term);
    if (bound != 0) multipliers += std::fabs(multiplier);
  };
  auto take = [&](int32_t bk, double bl, double bu, double sl, double su) {
    if (has_lower(bk)) add(sl, bl);
    if (has_upper(bk)) add(-su, bu);
    worsen(worst, wrong_sign(sl, has_lower(bk)));
    worsen(worst, wrong_sign(su, has_upper(bk)));
  };
  for (int32_t i = 0; i < lp.numcon; i++) {
    take(lp.bkc[i], lp.blc[i], lp.buc[i], sol.slc[i], sol.suc[i]);
    worsen(worst, std::fabs(sol.y[i] - sol.slc[i] + sol.suc[i]));
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    take(lp.bkx[j], lp.blx[j], lp.bux[j], sol.slx[j], sol.sux[j]);
    worsen(worst, std::fabs(TVN_verify_reducedcost(lp, j, 0.0, sol.y) - sol.slx[j] + sol.sux[j]));
  }
  if (!(obj > roundoff * terms)) return std::numeric_limits<double>::infinity();
  // Points of the size that the bounds speak of must not make up for the violation.
  const long double size = std::max(1.0L, terms / multipliers);
  return static_cast<double>(worst * size / obj);
}

namespace {

// Whether x'Qx lets the objective fall along x so far; what Q x is beside 0 is a violation. A residual that is small
// beside the fall is not enough: x'x / 1e9 - x would have a ray.
bool falls_far(sysenv& sys, const problem_view& lp, const double* x, long double fall, double& worst) {
  constexpr double far = 1e10;
  const quadratic_part q(sys, lp, x);
  double length = 0;
  for (int64_t j = 0; j < q.qx.size(); j++) {
    worsen(worst, static_cast<double>(std::fabs(q.qx[j])));
    worsen(length, std::fabs(x[j]));
  }
  return q.qx.empty() || far * q.form(x) <= length * fall;
}

} // namespace

double TVN_verify_dualcertificate(sysenv& sys, const problem_view& lp, const solution_view& sol) {
  buffer<long double> act(sys, lp.numcon);
  buffer<double> largest(sys, lp.numcon);
  row_activities(lp, sol.xx, act, largest);
  double worst = 0;
  auto recede = [&](double v, int32_t bk) {
    if (has_lower(bk)) worsen(worst, -v);
    if (has_upper(bk)) worsen(worst, v);
    if (std::isnan(v)) worst = v;
  };
  long double fall = 0;
  for (int32_t i = 0; i < lp.numcon; i++) {
    recede(static_cast<double>(act[i]), lp.bkc[i]);
    fall -= cslack(lp, i) * act[i];
  }
  for (int32_t j = 0; j < lp.numvar; j++) {
    recede(sol.xx[j], lp.bkx[j]);
    fall -= static_cast<long double>(lp.c[j]) * sol.xx[j];
  }
  if (!(fall > 0) || !falls_far(sys, lp, sol.xx, fall, worst)) return std::numeric_limits<double>::infinity();
  return worst / static_cast<double>(fall);
}

namespace {

void judge_certificate(sysenv& sys, const problem_view& lp, const solution_view& sol, int32_t claim, double tol,
                       lp_verdict& v) {
  const bool primal = claim == sol_prim_infeas_cer;
  const double violation = primal ? TVN_verify_primalcertificate(lp, sol) : TVN_verify_dualcertificate(sys, lp, sol);
  (primal ? v.primalviol : v.dualviol) = violation;
  v.holds = violation <= tol;
  if (!v.holds) return;
  v.prosta = primal ? pro_prim_infeas : pro_dual_infeas;
  v.solsta = claim;
}

} // namespace

lp_verdict TVN_verify_claim(sysenv& sys, const problem_view& lp, const solution_view& sol, int32_t claim,
                            const lp_tolerances& tol) {
  lp_verdict v;
  if (claim == sol_prim_infeas_cer || claim == sol_dual_infeas_cer) {
    judge_certificate(sys, lp, sol, claim, tol.certificate, v);
    return v;
  }
  const lp_residuals r = TVN_verify_residuals(sys, lp, sol);
  v.objective = r.objective;
  v.primalviol = std::max(r.bound, r.row) + (std::isnan(r.activity) ? r.activity : 0.0);
  v.dualviol = std::max(r.dualeq, r.dualsign);
  const bool primal = r.bound <= tol.x && r.row <= tol.x && r.activity <= tol.x;
  const bool dual = r.dualeq <= tol.s && r.dualsign <= tol.s;
  if (primal && dual && r.comp <= tol.s) {
    v.prosta = pro_prim_and_dual_feas;
    v.solsta = r.gap <= tol.gap ? sol_optimal : sol_near_optimal;
  } else if (primal || dual) {
    v.prosta = primal ? pro_prim_feas : pro_dual_feas;
    v.solsta = primal ? sol_prim_feas : sol_dual_feas;
  }
  const bool unchecked = claim != sol_optimal && claim != sol_near_optimal;
  v.holds = unchecked || v.solsta == sol_optimal || v.solsta == claim;
  return v;
}

int32_t TVN_verify_crossingitem(const problem_view& lp) {
  for (int32_t i = 0; i < lp.numcon; i++)
    if (lp.bkc[i] == bk_ra && lp.blc[i] > lp.buc[i]) return i;
  for (int32_t j = 0; j < lp.numvar; j++)
    if (lp.bkx[j] == bk_ra && lp.blx[j] > lp.bux[j]) return lp.numcon + j;
  return -1;
}

void TVN_verify_provecrossing(const problem_view& lp, int32_t item, solution_view& sol) {
  const bool row = item < lp.numcon;
  const int32_t j = row ? item : item - lp.numcon;
  (row ? sol.slc : sol.slx)[j] = 1;
  (row ? sol.suc : sol.sux)[j] = 1;
}

} // namespace tvn
