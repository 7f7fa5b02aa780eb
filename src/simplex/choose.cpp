// The free choice between primal and dual simplex, by the shape of the problem and the infeasibilities of the start.
#include "simplex/base/state.h"

#include <cmath>

namespace tvn {

namespace {

struct start_measure {
  int64_t numpinf = 0, numdinf = 0, numsuper = 0;
  int64_t numinside = 0; // superbasics that the dual simplex would move to a bound, or to zero
  double sumpinf = 0, sumdinf = 0;
};

// Both sides of the start basis; the factor must be that of the header.
start_measure measure(simplex_state& s) {
  const simplex_work& w = s.work;
  start_measure r;
  TVN_simplex_formxb(s.fac, s.x);
  for (int32_t k = 0; k < w.m; k++) s.fac.rhs[k] = w.cost[s.fac.head[k]];
  TVN_simplex_formy(s.fac, s.y);
  for (int32_t j = 0; j < w.total; j++) {
    if (s.fac.pos[j] >= 0) {
      const double v = std::max(w.lower[j] - s.x[j], s.x[j] - w.upper[j]);
      if (!(v > s.param.tolx)) continue;
      r.numpinf++;
      r.sumpinf += v;
      continue;
    }
    if (w.is_fixed(j)) continue;
    const double d = w.cost[j] - TVN_simplex_columndot(w, j, s.y.data());
    const double v = s.key[j] == sk_low ? -d : s.key[j] == sk_upr ? d : std::fabs(d);
    r.numsuper += s.key[j] == sk_supbas;
    r.numinside += TVN_simplex_isinside(s, j);
    if (!(v > s.param.tols)) continue;
    r.numdinf++;
    r.sumdinf += v;
  }
  return r;
}

simplex_kind choose_hot(const simplex_work& w, const start_measure& r) {
  constexpr double many = 0.1; // of the rows: a point rather than a basis
  if (static_cast<double>(r.numinside) > many * w.m) return kind_primal;
  if (r.numpinf == 0 || r.numdinf == 0) return r.numdinf < r.numpinf ? kind_dual : kind_primal;
  const double primal = r.sumpinf * static_cast<double>(r.numpinf),
               dual = r.sumdinf * static_cast<double>(r.numdinf) * static_cast<double>(r.numsuper + 1);
  return primal < dual ? kind_primal : kind_dual;
}

// Share of the columns that can rest on either side, and so never stand in the way of dual feasibility.
double boxed_share(const simplex_work& w) {
  int32_t boxed = 0;
  for (int32_t j = w.m; j < w.total; j++) boxed += w.lower[j] > -bound_infinity && w.upper[j] < bound_infinity;
  return boxed / std::max(1.0, static_cast<double>(w.n));
}

// Where nearly all columns are boxed the dual simplex starts feasible and flips bounds by the hundred, while the primal
// visits each: on flat problems it takes 2 to 25 times as long when all are boxed, as long at nine tenths, and half to
// twice as long at one half; on square ones with a dense row 8 times as long.
simplex_kind choose_cold(const simplex_work& w, const start_measure& r) {
  constexpr double flat = 100; // columns to rows
  constexpr double nearlyall = 0.9;
  const bool primalready = r.numpinf == 0 && r.numdinf != 0, boxed = boxed_share(w) >= nearlyall;
  if (boxed) return kind_dual;
  if ((w.n + 1.0) / (w.m + 1.0) > flat) return kind_primal;
  if (2 * static_cast<int64_t>(w.n) < w.m) return kind_dual;
  return primalready ? kind_primal : kind_dual;
}

} // namespace

simplex_kind TVN_simplex_chooseoptimizer(simplex_state& s) {
  if (s.param.optimizer == kind_primal || s.param.optimizer == kind_dual)
    return static_cast<simplex_kind>(s.param.optimizer);
  // The primal simplex repairs a start that has no factor.
  if (!s.factorready && (!s.cold || TVN_simplex_factor(s.fac) != factor_result::full)) return kind_primal;
  s.factorready = !s.cold; // a cold run takes the same path whether its optimizer was named or chosen
  const start_measure r = measure(s);
  return s.cold ? choose_cold(s.work, r) : choose_hot(s.work, r);
}

} // namespace tvn
