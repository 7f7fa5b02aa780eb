// When to propose what: all in units of the caller, on the point divided by tau.
//
// A ray is measured against its own objective and A, not against the vector that it does not contain, and a Farkas
// vector likewise (Andersen and Ye 1999): a large b must not forgive a ray its residual.
#include "homo/homint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// Residual of a certificate relative to what it gains; infinite when it gains nothing.
double certificate_error(double residual, double gain, double norm, double norma) noexcept {
  if (!(gain > 0)) return HUGE_VAL;
  const double error = residual / gain * norm / std::max(1.0, norma);
  return error < HUGE_VAL ? error : HUGE_VAL;
}

// Infinite for a NaN. A tolerance of 0 is never met, yet points still differ by it.
double ratio(double figure, double limit) noexcept {
  constexpr double least = 1e-100;
  if (figure <= 0) return 0;
  limit = std::max(limit, least);
  return figure / limit < HUGE_VAL ? figure / limit : HUGE_VAL;
}

} // namespace

hom_grades hom_grade(const hom_data& d, const hs_param& tol, const hom_figures& f) noexcept {
  hom_grades g;
  g.primal = ratio(f.pfeas, tol.tolpfeas * (1 + d.normb));
  // Without cones by the primal tolerance: one number drives both.
  g.dual = ratio(f.dfeas, (d.numcone > 0 ? tol.toldfeas : tol.tolpfeas) * (1 + d.normc));
  g.gap = ratio(f.gap, tol.tolgap);
  g.ray = certificate_error(f.rayx, -f.cx * d.objunit, d.normc, d.norma) / tol.tolinfeas;
  if (d.q.any())
    g.ray = std::max(g.ray, certificate_error(f.rayq, -f.cx * d.objunit, d.normc, d.normq) / tol.tolinfeas);
  g.farkas = certificate_error(f.rayy, f.rayby * d.objunit, d.normb, d.norma) / tol.tolinfeas;
  return g;
}

int32_t hom_terminate(const hom_grades& g) noexcept {
  if (g.merit() <= 1) return sol_optimal;
  if (!(g.certificate() <= 1)) return sol_unknown;
  return g.farkas <= g.ray ? sol_prim_infeas_cer : sol_dual_infeas_cer;
}

} // namespace tvn
