// Residuals and certificates from the user's data alone, sums in long double. Cost: O(nonzeros).
#include "verify/verint.h"

namespace tvn {

namespace {

// Violations that a change of the point by a few units in its last place can cause are none.
constexpr double lastplaces = 0x1p-48;

double own_scale(double bound) { return 1 + std::fabs(bound); }

// A violation up to `rounding` counts as none.
double outside(double v, int32_t bk, double bl, double bu, double rounding) {
  double worst = 0;
  if (has_lower(bk) && !(bl - v <= rounding)) worsen(worst, (bl - v) / own_scale(bl));
  if (has_upper(bk) && !(v - bu <= rounding)) worsen(worst, (v - bu) / own_scale(bu));
  if (std::fabs(v) >= bound_infinity) return std::numeric_limits<double>::infinity(); // nowhere
  return std::isnan(v) ? v : worst;
}

// A change of x_j by this is lost in the last places of every row that it is in. 0 for an empty column.
double rounding_of(const problem_view& lp, int32_t j, const buffer<verify_sum>& act) {
  double least = std::numeric_limits<double>::infinity();
  for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++)
    if (lp.val[p] != 0.0) least = std::min(least, act[lp.sub[p]].largest / std::fabs(lp.val[p]));
  return least < std::numeric_limits<double>::infinity() ? lastplaces * least : 0.0;
}

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

// What a point is measured by, and what adds up over its items.
struct point_figures {
  lp_residuals r;
  double cscale = 1, oscale = 1;
  long double room = 0;

  void add_dual(double equation, int32_t bk, double sl, double su) {
    worsen(r.dualeq, std::fabs(equation) / cscale);
    worsen(r.dualsign, wrong_sign(sl, has_lower(bk)) / cscale);
    worsen(r.dualsign, wrong_sign(su, has_upper(bk)) / cscale);
  }
  void add_products(double v, int32_t bk, double bl, double bu, double sl, double su) {
    if (has_lower(bk)) worsen(r.comp, std::fabs(sl * (v - bl)) / oscale);
    if (has_upper(bk)) worsen(r.comp, std::fabs(su * (bu - v)) / oscale);
  }
};

void measure_rows(const problem_view& lp, const solution_view& sol, const buffer<verify_sum>& act, point_figures& f) {
  for (int32_t i = 0; i < lp.numcon; i++) {
    const auto a = static_cast<double>(act[i].value);
    const double c = cost_of_slack(lp, i);
    f.room += room_below(a, act[i].largest, lp.bkc[i], lp.blc[i], lp.buc[i], c + sol.y[i]);
    worsen(f.r.row, outside(a, lp.bkc[i], lp.blc[i], lp.buc[i], lastplaces * act[i].largest));
    worsen(f.r.activity, std::fabs(sol.xc[i] - a) / (1 + act[i].largest));
    f.add_dual(c + sol.y[i] - sol.slc[i] + sol.suc[i], lp.bkc[i], sol.slc[i], sol.suc[i]);
    f.add_products(a, lp.bkc[i], lp.blc[i], lp.buc[i], sol.slc[i], sol.suc[i]);
  }
}

void measure_columns(const problem_view& lp, const solution_view& sol, const quadratic_part& q,
                     const buffer<verify_sum>& act, point_figures& f) {
  for (int32_t j = 0; j < lp.numvar; j++) {
    const double x = sol.xx[j];
    if (outside(x, lp.bkx[j], lp.blx[j], lp.bux[j], 0.0) != 0)
      worsen(f.r.bound, outside(x, lp.bkx[j], lp.blx[j], lp.bux[j], rounding_of(lp, j, act)));
    verify_sum cost = TVN_verify_reduced(lp, j, q.at_column(j, lp.c[j]), sol.y);
    if (lp.cone.any()) cost.add(-static_cast<long double>(sol.snx[j]));
    const auto d = static_cast<double>(cost.value);
    if (std::fabs(d) > lastplaces * cost.largest)
      f.room += room_below(x, std::fabs(x), lp.bkx[j], lp.blx[j], lp.bux[j], d);
    f.add_dual(d - sol.slx[j] + sol.sux[j], lp.bkx[j], sol.slx[j], sol.sux[j]);
    f.add_products(x, lp.bkx[j], lp.blx[j], lp.bux[j], sol.slx[j], sol.sux[j]);
  }
}

// By a dual that leaves its cone the objective may fall along all of x.
void measure_cones(sysenv& sys, const problem_view& lp, const solution_view& sol, point_figures& f) {
  for (int32_t k = 0; k < lp.cone.num; k++) {
    const cone_distance x = TVN_verify_conedistance(lp.cone, k, sol.xx),
                        s = TVN_verify_conedistance(lp.cone, k, sol.snx);
    worsen(f.r.cone, x.outside / own_scale(x.size));
    worsen(f.r.dualcone, s.outside / f.cscale);
    long double product = 0;
    for (int32_t q = 0; q < lp.cone.size(k); q++) {
      const int32_t j = lp.cone.members(k)[q];
      product += static_cast<long double>(sol.xx[j]) * sol.snx[j];
    }
    worsen(f.r.comp, static_cast<double>(std::fabs(product)) / f.oscale);
    f.room += std::max(0.0L, product) + static_cast<long double>(s.outside) * x.size;
  }
  worsen(f.r.dualcone, TVN_verify_besidecones(sys, lp, sol.snx) / f.cscale);
}

} // namespace

lp_residuals TVN_verify_residuals(sysenv& sys, const problem_view& lp, const solution_view& sol) {
  point_figures f;
  buffer<verify_sum> act(sys, lp.numcon);
  const quadratic_part q(sys, lp, sol.xx, sol.y);
  TVN_verify_activities(lp, q, sol.xx, act);
  long double obj = lp.cfix;
  for (int32_t j = 0; j < lp.numvar; j++) obj += static_cast<long double>(lp.c[j]) * sol.xx[j];
  for (int32_t i = 0; i < lp.numcon; i++) obj += static_cast<long double>(cost_of_slack(lp, i)) * sol.xc[i];
  obj += q.form / 2;
  f.r.objective = static_cast<double>(obj);
  // A scale that is not finite must not hide a residual: inf - inf is NaN.
  const double largestcost = max_cost(lp);
  f.cscale = 1 + largestcost + (largestcost - largestcost);
  f.oscale = 1 + std::fabs(f.r.objective) + (f.r.objective - f.r.objective);
  measure_rows(lp, sol, act, f);
  measure_columns(lp, sol, q, act, f);
  measure_cones(sys, lp, sol, f);
  f.r.gap = static_cast<double>(f.room) / f.oscale;
  return f.r;
}

namespace {

void judge_certificate(sysenv& sys, const problem_view& lp, const solution_view& sol, int32_t claim, double tol,
                       lp_verdict& v) {
  const bool primal = claim == sol_prim_infeas_cer;
  const double violation =
      primal ? TVN_verify_primalcertificate(sys, lp, sol) : TVN_verify_dualcertificate(sys, lp, sol);
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
  v.primalviol = std::max({r.bound, r.row, r.cone}) + (std::isnan(r.activity) ? r.activity : 0.0);
  v.dualviol = std::max({r.dualeq, r.dualsign, r.dualcone});
  const bool primal = r.bound <= tol.x && r.row <= tol.x && r.cone <= tol.x && r.activity <= tol.x;
  const bool dual = r.dualeq <= tol.s && r.dualsign <= tol.s && r.dualcone <= tol.s;
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
