// The dual phase: each member of N in the basis has its reduced cost moved to 0, while that of no nonbasic changes its
// sign. Where one gets to 0 first it enters instead. The primal point stays where it is, since both are at bounds.
#include "basic/purifint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double minpivot = 1e-7;
constexpr double nopivot = 1e-11;
constexpr double tolshare = 1e-2;   // of the dual tolerance: what a ratio test may overstep
constexpr double nodual = 1e-12;    // a reduced cost that small is 0
constexpr double pivoterror = 1e-6; // between the values of row and column, relative

// Duals of the header with the reduced costs p.dual of its members; those of the nonbasics from them.
void form_duals(prf_state& p) {
  simplex_state& s = p.s;
  for (int32_t j = 0; j < p.w.total; j++) TVN_simplex_setlisted(s, j, s.fac.pos[j] < 0 && !p.w.is_fixed(j));
  for (int32_t k = 0; k < p.w.m; k++) s.fac.rhs[k] = p.w.cost[s.fac.head[k]] - p.dual[s.fac.head[k]];
  TVN_simplex_formy(s.fac, s.y);
  for (int32_t j = 0; j < p.w.total; j++)
    s.d[j] = s.inlist[j] ? p.w.cost[j] - TVN_simplex_columndot(p.w, j, s.y.data()) : 0.0;
}

bool begin_afresh(prf_state& p) {
  const int32_t rejected = p.info.rejected;
  if (!TVN_prf_refactor(p)) return false;
  if (TVN_prf_wantsafresh(p, rejected)) form_duals(p);
  return true;
}

struct entering {
  int32_t q = -1;
  double step = HUGE_VAL;
};

// Which nonbasic stops a move of the duals: d -= t alpha for t of the sign of `direction`.
entering first_stop(const prf_state& p, double direction, double least) {
  const simplex_state& s = p.s;
  const spvec& alpha = s.alpha;
  const double tol = tolshare * s.param.tols;
  // Room of d in the direction of its change, and the rate.
  const auto room = [&](int32_t j, double rate) {
    if (s.key[j] == sk_low) return rate < 0 ? s.d[j] : HUGE_VAL;
    if (s.key[j] == sk_upr) return rate > 0 ? -s.d[j] : HUGE_VAL;
    return 0.0;
  };
  double most = HUGE_VAL;
  for (int32_t e = 0; e < alpha.count; e++) {
    const int32_t j = alpha.idx[e];
    const double rate = -direction * alpha.val[j];
    if (!s.inlist[j] || !(std::fabs(rate) > least)) continue;
    most = std::min(most, (std::max(room(j, rate), 0.0) + tol) / std::fabs(rate));
  }
  entering best;
  if (most == HUGE_VAL) return best;
  double largest = 0;
  for (int32_t e = 0; e < alpha.count; e++) {
    const int32_t j = alpha.idx[e];
    const double rate = -direction * alpha.val[j], size = std::fabs(rate);
    if (!s.inlist[j] || !(size > least) || !(size > largest)) continue;
    const double step = std::max(room(j, rate), 0.0) / size;
    if (!(step <= most)) continue;
    largest = size;
    best = {j, step};
  }
  return best;
}

void move(const prf_state& p, double by) {
  const spvec& alpha = p.s.alpha;
  for (int32_t e = 0; e < alpha.count; e++) {
    const int32_t j = alpha.idx[e];
    if (p.s.inlist[j]) p.s.d[j] -= by * alpha.val[j];
  }
}

// False: the factor is to be made again.
bool push(prf_state& p, int32_t k) {
  simplex_state& s = p.s;
  const int32_t leaving = s.fac.head[k];
  const double d = p.dual[leaving], direction = d > 0 ? 1 : -1;
  TVN_simplex_rowofinverse(s, k);
  (void)TVN_simplex_formrow(s);
  entering stop = first_stop(p, direction, nopivot);
  const auto reached = [&] { return !(stop.step < std::fabs(d)); };
  if (!reached() && !(std::fabs(s.alpha.val[stop.q]) > minpivot)) {
    if (s.fac.since > 0) return false;
    stop = first_stop(p, direction, minpivot); // what small entries break on the way is mended later
    p.info.dualmoves++;
  }
  if (reached()) {
    move(p, d);
    p.dual[leaving] = 0;
    return true;
  }
  const double arow = s.alpha.val[stop.q];
  TVN_simplex_solvecolumn(s, stop.q);
  if (!(std::fabs(s.aq.val[k] - arow) <= pivoterror * (1 + std::fabs(arow)))) {
    if (s.fac.since > 0) return false; // tried again with a fresh factor
    p.info.dualmoves++;
    move(p, d);
    p.dual[leaving] = 0;
    return true;
  }
  const double by = direction * stop.step;
  move(p, by);
  s.d[leaving] = d - by;
  p.shift = std::max(p.shift, std::fabs(s.d[stop.q]));
  s.d[stop.q] = 0;
  p.dual[leaving] = 0;
  p.dual[stop.q] = 0;
  TVN_simplex_setlisted(s, stop.q, false);
  if (!p.w.is_fixed(leaving)) TVN_simplex_setlisted(s, leaving, true);
  return TVN_prf_exchange(p, k, stop.q, d > 0 ? sk_low : sk_upr, d > 0 ? s.lo[leaving] : s.up[leaving]);
}

// A line of the table: infeasibilities of the nonbasics, and the dual objective that they give, which is that of the
// point while all pairs are complementary.
void tell_figures(prf_state& p) {
  simplex_state& s = p.s;
  p.info.feas = 0;
  for (int32_t j = 0; j < p.w.total; j++)
    if (s.inlist[j])
      p.info.feas += s.key[j] == sk_low   ? std::max(-s.d[j], 0.0)
                     : s.key[j] == sk_upr ? std::max(s.d[j], 0.0)
                                          : std::fabs(s.d[j]);
  p.info.obj = TVN_simplex_pointobjective(s);
  if (s.param.basislogfreq > 0) s.progress(simplex_event::push, s.info);
}

} // namespace

bool TVN_prf_duallp(prf_state& p) {
  simplex_state& s = p.s;
  const auto waits = [&](int32_t k) { return std::fabs(p.dual[s.fac.head[k]]) > nodual; };
  int32_t num = 0;
  for (int32_t k = 0; k < p.w.m; k++) num += waits(k);
  p.info.numdual = num;
  if (num == 0) return true;
  const double start = TVN_sysenv_gettime();
  s.progress(simplex_event::begin_dualpush, s.info);
  form_duals(p);
  bool going = true;
  for (int32_t k = 0; going && k < p.w.m; k++) {
    if (!waits(k)) continue;
    going = !TVN_simplex_poll(s);
    if (!going) break;
    const bool good = push(p, k);
    p.worked += s.rho.count + s.alpha.count + 1;
    p.info.dualiter++;
    if (s.param.basislogfreq > 0 && p.info.dualiter % s.param.basislogfreq == 0) tell_figures(p);
    TVN_simplex_clearvectors(s);
    if (good) continue;
    going = begin_afresh(p);
    if (waits(k)) k--; // again
  }
  tell_figures(p);
  p.info.dualtime = TVN_sysenv_gettime() - start;
  s.progress(simplex_event::end_dualpush, s.info);
  return going;
}

} // namespace tvn
