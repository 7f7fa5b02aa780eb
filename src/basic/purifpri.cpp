// The primal phase: each member of B outside the basis goes to a bound of its own or takes the place of a basic that is
// at one. Its reduced cost is 0, so either way is right: the shorter one where it gets to its own bound, else the one
// with the larger pivot. A basic of N stands at its bound and is to stay there: it blocks at once.
#include "basic/purifint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double minpivot = 1e-7; // of a basic that leaves
constexpr double nopivot = 1e-11; // an entry is rounding

struct block {
  int32_t position = -1;
  double step = HUGE_VAL; // of the superbasic, at least 0
  bool upper = false;     // the basic meets its upper bound
};

// A member of B with its bounds, infinite where there are none.
prf_basic bounded(const simplex_state& s, int32_t j) {
  return {s.x[j], s.lo[j] > -bound_infinity ? s.lo[j] : -HUGE_VAL, s.up[j] < bound_infinity ? s.up[j] : HUGE_VAL};
}

void fetch_basics(prf_state& p) {
  const simplex_state& s = p.s;
  for (int32_t k = 0; k < p.w.m; k++) {
    const int32_t j = s.fac.head[k];
    const double bound = p.upper[j] ? s.up[j] : s.lo[j];
    p.basic[k] = p.inner[j] ? bounded(s, j) : prf_basic{s.x[j], bound, bound};
  }
}

// Values of the basics, from those of the nonbasics.
void form_basics(prf_state& p) {
  TVN_simplex_formxb(p.s.fac, p.s.x);
  fetch_basics(p);
}

bool begin_afresh(prf_state& p) {
  const int32_t rejected = p.info.rejected;
  if (!TVN_prf_refactor(p)) return false;
  if (TVN_prf_wantsafresh(p, rejected)) form_basics(p);
  return true;
}

// The basic that stops a move in the direction, of those within tolerance the one with the largest entry.
block first_block(const prf_state& p, double direction, double least) {
  const spvec& aq = p.s.aq;
  const double tol = p.s.tolfeas;
  double most = HUGE_VAL;
  for (int32_t e = 0; e < aq.count; e++) {
    const int32_t k = aq.idx[e];
    const double slope = -direction * aq.val[k];
    if (!(std::fabs(slope) > least)) continue;
    const prf_basic& b = p.basic[k];
    most = std::min(most, (std::max(slope > 0 ? b.up - b.x : b.x - b.lo, 0.0) + tol) / std::fabs(slope));
  }
  block best;
  if (most == HUGE_VAL) return best;
  double largest = 0;
  for (int32_t e = 0; e < aq.count; e++) {
    const int32_t k = aq.idx[e];
    const double slope = -direction * aq.val[k], size = std::fabs(slope);
    if (!(size > least) || !(size > largest)) continue;
    const prf_basic& b = p.basic[k];
    const double step = std::max(slope > 0 ? b.up - b.x : b.x - b.lo, 0.0) / size;
    if (!(step <= most)) continue;
    largest = size;
    best = {k, step, slope > 0};
  }
  return best;
}

void move(prf_state& p, int32_t j, double by) {
  const spvec& aq = p.s.aq;
  for (int32_t e = 0; e < aq.count; e++) p.basic[aq.idx[e]].x -= by * aq.val[aq.idx[e]];
  p.s.x[j] += by;
}

// Puts j on a bound of its own; a free one to 0.
void rest(prf_state& p, int32_t j, bool upper) {
  simplex_state& s = p.s;
  const double target = p.w.is_free(j) ? 0.0 : upper ? s.up[j] : s.lo[j];
  move(p, j, target - s.x[j]);
  s.x[j] = target;
  s.key[j] = p.w.is_free(j) ? sk_supbas : upper ? sk_upr : sk_low;
}

// The two ways of a superbasic, and whether it gets to a bound of its own on them.
struct ways {
  block up, down;
  bool canup, candown;
};

ways find_ways(const prf_state& p, int32_t j, double least) {
  const simplex_state& s = p.s;
  ways w{first_block(p, 1, least), first_block(p, -1, least), false, false};
  w.canup = s.up[j] < bound_infinity && s.up[j] - s.x[j] <= w.up.step;
  w.candown = s.lo[j] > -bound_infinity && s.x[j] - s.lo[j] <= w.down.step;
  return w;
}

enum class push_end { done, refactor, again }; // refactor: done, but the factor is to be made anew; again: after that

// j in place of the basic that blocks.
push_end pivot(prf_state& p, int32_t j, const block& at, double direction) {
  simplex_state& s = p.s;
  move(p, j, direction * at.step);
  const int32_t k = at.position, leaving = s.fac.head[k];
  const double value = at.upper ? p.basic[k].up : p.basic[k].lo;
  p.basic[k] = bounded(s, j);
  const bool atupper = value == s.up[leaving] && !(value == s.lo[leaving]);
  return TVN_prf_exchange(p, k, j, atupper ? sk_upr : sk_low, value) ? push_end::done : push_end::refactor;
}

push_end push(prf_state& p, int32_t j) {
  simplex_state& s = p.s;
  TVN_simplex_solvecolumn(s, j);
  const auto size = [&](const block& b) { return b.position < 0 ? 0.0 : std::fabs(s.aq.val[b.position]); };
  const auto is_good = [&](const ways& w) {
    return w.canup || w.candown || std::max(size(w.up), size(w.down)) > minpivot;
  };
  ways w = find_ways(p, j, nopivot);
  if (!is_good(w)) {
    if (s.fac.since > 0) return push_end::again;
    w = find_ways(p, j, minpivot); // what small entries break on the way is mended later
    p.info.primalmoves++;
  }
  if (w.canup || w.candown || !is_good(w)) {
    const double toup = s.up[j] < bound_infinity ? s.up[j] - s.x[j] : HUGE_VAL, tolo = s.x[j] - s.lo[j];
    rest(p, j, w.canup != w.candown ? w.canup : toup < tolo);
    return push_end::done;
  }
  const bool up = size(w.up) > size(w.down);
  return pivot(p, j, up ? w.up : w.down, up ? 1 : -1);
}

// A line of the table.
void tell_figures(prf_state& p) {
  simplex_state& s = p.s;
  p.info.feas = 0;
  for (int32_t k = 0; k < p.w.m; k++) {
    const int32_t j = s.fac.head[k];
    s.x[j] = p.basic[k].x;
    p.info.feas += std::max({s.lo[j] - s.x[j], s.x[j] - s.up[j], 0.0});
  }
  p.info.obj = TVN_simplex_pointobjective(s);
  if (s.param.basislogfreq > 0) s.progress(simplex_event::push, s.info);
}

} // namespace

bool TVN_prf_primallp(prf_state& p) {
  simplex_state& s = p.s;
  if (p.numsuper == 0) return true;
  const double start = TVN_sysenv_gettime();
  s.progress(simplex_event::begin_primalpush, s.info);
  p.basic.reset(s.sys, p.w.m);
  form_basics(p);
  bool going = true;
  for (int32_t n = 0; going && n < p.numsuper;) {
    const int32_t j = p.super[n];
    if (s.fac.pos[j] >= 0 || !TVN_simplex_isinside(s, j)) {
      n++;
      continue;
    }
    going = !TVN_simplex_poll(s);
    if (!going) break;
    const push_end end = push(p, j);
    p.worked += s.aq.count + 1;
    TVN_simplex_clearvectors(s);
    if (end != push_end::done) going = begin_afresh(p);
    if (end == push_end::again) continue;
    n++;
    p.info.primaliter++;
    if (s.param.basislogfreq > 0 && p.info.primaliter % s.param.basislogfreq == 0) tell_figures(p);
  }
  tell_figures(p);
  p.info.primaltime = TVN_sysenv_gettime() - start;
  s.progress(simplex_event::end_primalpush, s.info);
  return going;
}

} // namespace tvn
