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
  return residual / gain * norm / std::max(1.0, norma);
}

double ratio(double figure, double limit) noexcept { return figure <= 0 ? 0.0 : figure / limit; }

} // namespace

double hom_merit(const hom_data& d, const hs_param& param, const hom_figures& f) noexcept {
  // The dual residual goes by the primal tolerance: one number drives both.
  const double worst = std::max({ratio(f.pfeas, param.tolpfeas * (1 + d.normb)),
                                 ratio(f.dfeas, param.tolpfeas * (1 + d.normc)), ratio(f.gap, param.tolgap)});
  return f.pfeas + f.dfeas + f.gap < HUGE_VAL ? worst : HUGE_VAL; // a NaN anywhere
}

int32_t hom_terminate(const hom_data& d, const hs_param& param, const hom_limits& limits, const hom_point&,
                      const hom_figures& f) noexcept {
  hs_param relaxed = param;
  relaxed.tolpfeas *= limits.feas;
  relaxed.tolgap *= limits.gap;
  if (hom_merit(d, relaxed, f) <= 1) return sol_optimal;
  const double eps = param.tolinfeas * limits.cert;
  const double ray = certificate_error(f.rayx, -f.cx * d.objunit, d.normc, d.norma);
  const double farkas = certificate_error(f.rayy, f.by * d.objunit, d.normb, d.norma);
  if (!(std::min(ray, farkas) <= eps)) return sol_unknown;
  return farkas <= ray ? sol_prim_infeas_cer : sol_dual_infeas_cer;
}

} // namespace tvn
