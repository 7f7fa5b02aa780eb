// Estimate of the one-norm of the inverse from a few solves (Hager 1984).
//
// The norm is convex on the unit simplex, so its maximum stands at a unit vector: each cycle goes from x to the unit
// vector that the gradient points at, as long as the norm of B^-1 x rises. The estimate is a lower bound, usually
// within a factor of three. The forward solve stops before a result could overflow.
#include "lu/luint.h"

#include <cmath>

namespace tvn {
namespace {

constexpr double growthlimit = 1e24;
constexpr double tolsign = 1e-14;
constexpr int32_t maxcycles = 5;

double norm_one(array_view<const double> x) {
  double s = 0.0;
  for (const double v : x) s += std::fabs(v);
  return s;
}

void scale_by(array_view<const double> scale, array_view<double> x) {
  for (int64_t k = 0; k < scale.size(); k++) x[k] *= scale[k];
}

} // namespace

lu_code TVN_lu_onenormestimate(lu& f, double& estimate, array_view<double> rwork, array_view<const double> rowscale,
                               array_view<const double> colscale) {
  estimate = -1.0;
  if (f.nrow != f.ncol) return lu_code::not_square;
  if (f.state != lu_factored) return lu_code::not_factored;
  const int64_t m = f.nrow;
  if (rwork.size() < 2 * m) return lu_code::short_real_work;
  if (m == 0) {
    estimate = 0.0;
    return lu_code::done;
  }
  const array_view<double> x = rwork.first(m), y = rwork.subspan(m, m);
  std::fill(x.begin(), x.end(), 1.0 / static_cast<double>(m));
  double last = 0.0;
  for (int32_t cycle = 0; cycle < maxcycles; cycle++) {
    scale_by(rowscale, x);
    if (TVN_lu_ftransafe(f, x, y, growthlimit) != lu_code::done) return lu_code::cond_gave_up;
    scale_by(colscale, y);
    const double e = norm_one(y);
    estimate = std::max(estimate, e);
    if (e <= last) break;
    bool anysign = false;
    for (double& v : y) {
      anysign = anysign || std::fabs(v) > tolsign;
      v = v > 0.0 ? 1.0 : (v < 0.0 ? -1.0 : 0.0);
    }
    if (!anysign) break;
    scale_by(colscale, y);
    TVN_lu_btran(f, y, x);
    scale_by(rowscale, x);
    int64_t at = 0;
    for (int64_t i = 1; i < m; i++)
      if (std::fabs(x[i]) > std::fabs(x[at])) at = i;
    if (std::fabs(x[at]) <= e && cycle > 0) break;
    std::fill(x.begin(), x.end(), 0.0);
    x[at] = 1.0;
    last = e;
  }
  return lu_code::done;
}

} // namespace tvn
