// Superbasic variables of the primal simplex: nonbasics between their bounds, left by a start that is no vertex.
//
// At an optimum the reduced cost of such a variable is within tolerance, so it may go to its nearest bound (a free one
// to zero) at no loss; where a basic meets its own bound first, the two change places. Either way there is one fewer
// (Bixby and Saltzman 1994). What rounding does to the reduced costs is mended by the pricing that follows.
// Cost: one iteration each.
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

double resting_place(const primal_state& s, int32_t j) {
  const double lo = s.lo[j], up = s.up[j], x = s.x[j];
  if (lo <= -bound_infinity && up >= bound_infinity) return 0;
  return up >= bound_infinity || (lo > -bound_infinity && x - lo <= up - x) ? lo : up;
}

bool is_free(const primal_state& s, int32_t j) { return s.lo[j] <= -bound_infinity && s.up[j] >= bound_infinity; }

} // namespace

int32_t psimplex_findsuperbasic(const primal_state& s, int32_t from) {
  for (int32_t j = from; j < s.work.total; j++)
    if (TVN_simplex_isinside(s.base, j)) return j;
  return -1;
}

loop_state psimplex_rmsuperbasic(primal_state& s, int32_t j) {
  const double rest = resting_place(s, j), sigma = rest > s.x[j] ? 1.0 : -1.0;
  TVN_simplex_solvecolumn(s.base, j);
  const double dj = psimplex_columnreducedcost(s, s.ratio, j);
  const ratio_result r = psimplex_stepsize(s, s.ratio, sigma, std::fabs(rest - s.x[j]), s.info.randomstate);
  s.iter++;
  s.info.count[kind_primal].iterations++;
  if (!r.swap) return psimplex_pivot(s, j, sigma, dj, r);
  psimplex_movebasics(s, sigma, r.step);
  s.x[j] = rest;
  s.key[j] = is_free(s, j) ? sk_supbas : s.lo[j] == s.up[j] ? sk_fix : rest == s.lo[j] ? sk_low : sk_upr;
  psimplex_setcandidate(s, j);
  return loop_state::go_on;
}

} // namespace tvn
