// Bound perturbation of the primal simplex and its removal.
//
// Degenerate vertices are taken apart by widening working bounds by small random amounts: once at the start, sized by
// how alike the data are, and again in kicks when many of the last steps had length zero (Gill, Murray, Saunders and
// Wright 1989 give the idea of widening; sizes are far below the feasibility tolerance asked for). The working set only
// grows, so infeasibility under perturbation is infeasibility. The true bounds come back before any verdict.
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double hugebound = 1e6;   // bounds of this magnitude are left alone
constexpr int32_t maxunstalls = 12; // returns to the true bounds after which no stall is perturbed any more
constexpr double largebound = 100;  // and from here on perturbed less

// Size of the first perturbation. Magnitudes are alike when they hardly differ from their neighbours in order; where
// most are, or bounds are zero, ties are the rule and a size taken from the data means nothing.
constexpr double alikegap = 0.01 * 0.01;               // in feasibility tolerances: closer than this is alike
constexpr double mostalike = 0.8, manyalike = 0.1;     // shares of the magnitudes
constexpr double fewnumbers = 0.2, halfnumbers = 0.5;  // magnitudes to a bound: below, bounds are zero
constexpr double zerosize = 0.01;                      // in feasibility tolerances, where they are
constexpr double costweight = 3, averageshare = 0.125; // of the largest cost beside the largest bound; of their sum
struct data_size {
  double scale;  // over that average, in units of 1e-4
  double spread; // times the largest magnitude over the smallest
};
constexpr data_size manyties = {100, 1e-5}, fewties = {1000, 1e-4};
constexpr double unit = 0.0001;
constexpr double fewequations = 0.3, manyequations = 0.5; // shares of the rows
// At most so much, and at least this in feasibility tolerances: the more, the more rows are equations.
constexpr double mostfew = 1e-5, mostsome = 0.0001, leastsome = 0.1, mostmany = 0.001, leastmany = 10;

// Kicks, by the share of degenerate steps in a period: three sizes, each at most a part of a tolerance.
struct kick_size {
  double part, most; // of the feasibility tolerance, which counts no more than `most`
};
constexpr kick_size strongkick = {0.05, 1e-6}, mediumkick = {0.01, 1e-7}, weakkick = {0.005, 1e-7};
struct kick_shares {
  double strong, medium, weak; // of degenerate steps above which a kick of that size comes
};
constexpr kick_shares earlykicks = {0.5, 0.3, 0.2}, usualkicks = {0.7, 0.4, 0.3}, latekicks = {0.9, 0.7, 0.4};
constexpr double leastdegenerate = 0.05;       // share below which no kick is looked for
constexpr int64_t longerperiod = 300;          // iterations that a strong kick adds to its period
constexpr double kicktols = 10, mosttols = 10; // what a kick may cost a reduced cost: so many tolerances, at most that,
constexpr double swamped = 100;                // and an objective below so many times it would drown
constexpr double aggressivefirst = 10, aggressivekick = 5; // times the size, when the user asks for it
constexpr double largeshare = 0.01;                        // of the size, at a large bound

double user_magnitude(const primal_state& s, int32_t j, double bound) { return std::fabs(bound) * s.work.factor(j); }

// Moves one side of j outward by `by`.
void widen_lower(primal_state& s, int32_t j, double by) {
  s.lo[j] -= by;
  if (s.key[j] == sk_low) s.x[j] = s.lo[j];
}
void widen_upper(primal_state& s, int32_t j, double by) {
  s.up[j] += by;
  if (s.key[j] == sk_upr) s.x[j] = s.up[j];
}

struct magnitude_census {
  int64_t num = 0;    // nonzero finite bounds and costs
  int64_t bounds = 0; // all finite bounds, a free variable counts one
  int64_t alike = 0;  // neighbours in order that hardly differ
  double smallest = 1e300, largest = 0, maxcost = 0, maxbound = 0;
  int64_t fixedrows = 0;
};

magnitude_census take_census(const primal_state& s) {
  const simplex_work& w = s.work;
  magnitude_census c;
  buffer<double> mags(s.sys, 3 * static_cast<int64_t>(w.total));
  auto note = [&](double v) {
    if (v == 0) return;
    mags[c.num++] = v;
    c.smallest = std::min(c.smallest, v);
    c.largest = std::max(c.largest, v);
  };
  for (int32_t j = 0; j < w.total; j++) {
    const bool haslo = w.lower[j] > -bound_infinity, hasup = w.upper[j] < bound_infinity;
    c.bounds += haslo + hasup + (!haslo && !hasup);
    if (w.is_logical(j) && w.is_fixed(j)) c.fixedrows++;
    for (const double b : {haslo ? w.lower[j] : 0.0, hasup ? w.upper[j] : 0.0}) {
      const double mag = user_magnitude(s, j, b);
      note(mag);
      c.maxbound = std::max(c.maxbound, mag);
    }
    if (w.is_logical(j)) continue;
    const double cost = std::fabs(w.cost[j]) / w.factor(j);
    note(cost);
    c.maxcost = std::max(c.maxcost, cost);
  }
  std::sort(mags.begin(), mags.begin() + c.num);
  const double delta = alikegap * s.param.tolx;
  for (int64_t p = 1; p < c.num; p++) c.alike += mags[p] - mags[p - 1] < delta;
  return c;
}

// The size of the perturbation; 0 for none.
double perturbation_size(const primal_state& s, const magnitude_census& c) {
  const double tolx = s.param.tolx, num = static_cast<double>(c.num), alike = static_cast<double>(c.alike);
  const auto bounds = static_cast<double>(c.bounds);
  if (num <= fewnumbers * bounds || mostalike * num <= alike) return num < halfnumbers * bounds ? zerosize * tolx : 0.0;
  const data_size by = alike >= manyalike * num ? manyties : fewties;
  const double average = (costweight * std::max(c.maxcost, 1.0) + c.maxbound) * averageshare;
  const double u = std::min(by.scale / average * unit, c.largest / c.smallest * by.spread);
  const double share = static_cast<double>(c.fixedrows) / std::max(1, s.work.m);
  if (share < fewequations) return std::min(u, mostfew);
  if (share >= manyequations) return std::max(std::min(u, mostmany), leastmany * tolx);
  return std::max(std::min(u, mostsome), leastsome * tolx);
}

// Moves the bounds that basics stand on outward by a random share of `size`.
void widen_tight_basics(primal_state& s, double size) {
  bool any = false;
  int32_t& state = s.info.randomstate;
  for (int32_t k = 0; k < s.work.m; k++) {
    const int32_t j = s.fac.head[k];
    for (const bool upper : {false, true}) {
      const double bound = upper ? s.up[j] : s.lo[j];
      if (user_magnitude(s, j, bound) >= hugebound || std::fabs(bound - s.x[j]) > 10 * s.tolfeas) continue;
      const double by = TVN_simplex_random(state) * size * (user_magnitude(s, j, bound) >= largebound ? 50 : 1);
      (upper ? s.up[j] : s.lo[j]) += upper ? by : -by;
      any = true;
    }
  }
  psimplex_gatherbasics(s, s.basics);
  s.perturb.on = s.perturb.on || any;
  if (any && s.phase == 1)
    TVN_simplex_recompute(s.base, recompute_why::moved_data); // the phase-one cost may have changed
}

bool is_small_objective(const primal_state& s) {
  return swamped * std::min(mosttols, kicktols * s.param.tols) > std::fabs(s.info.objective);
}

} // namespace

void psimplex_perturbinit(primal_state& s) {
  double size = perturbation_size(s, take_census(s));
  if (s.param.degen == degen_aggressive) size *= aggressivefirst;
  if (size == 0) return;
  int32_t& state = s.info.randomstate;
  auto amount = [&](int32_t j, double bound) {
    const double mag = user_magnitude(s, j, bound);
    const double by = TVN_simplex_random(state) * size / s.work.factor(j);
    return mag >= hugebound ? 0.0 : mag >= largebound ? largeshare * by : by;
  };
  for (int32_t j = 0; j < s.work.total; j++) {
    if (s.key[j] != sk_bas) continue;
    if (s.lo[j] > -bound_infinity) widen_lower(s, j, amount(j, s.lo[j]));
    if (s.up[j] < bound_infinity) widen_upper(s, j, amount(j, s.up[j]));
  }
  s.perturb.on = true;
}

void psimplex_kick(primal_state& s) {
  const double f = static_cast<double>(s.perturb.perioddeg) / static_cast<double>(s.perturb.period);
  s.perturb.periodstart = s.iter;
  s.perturb.perioddeg = 0;
  if (s.perturb.mode == kick_mode::never || !s.perturb.allow || f <= leastdegenerate) return;
  if (s.phase == 2 && is_small_objective(s)) return;
  const auto size_of = [&](const kick_size& k) { return k.part * std::min(k.most, s.param.tolx); };
  const bool early = s.perturb.mode == kick_mode::early, late = s.perturb.mode == kick_mode::late;
  const kick_shares& t = early ? earlykicks : late ? latekicks : usualkicks;
  double size = 0;
  if (f > t.strong && (early || s.perturb.on)) {
    size = size_of(strongkick);
    s.perturb.period += longerperiod;
  } else if (f > t.medium && (!late || s.perturb.on)) {
    size = size_of(mediumkick);
  } else if (f > t.weak) {
    size = size_of(weakkick);
  }
  if (size == 0) return;
  if (s.param.degen == degen_aggressive) size *= aggressivekick;
  widen_tight_basics(s, size);
}

bool psimplex_unstall(primal_state& s) {
  if (s.perturb.resets >= maxunstalls || s.perturb.accepting) return false;
  // Largest reduced cost and partial pricing stall first: from here on weights lead.
  if (s.price.method == sel_partial || s.price.method == sel_full) {
    s.price.method = s.price.wanted = sel_devex;
    psimplex_resetweights(s, s.price, s.info.randomstate);
    TVN_simplex_recompute(s.base, recompute_why::pricing);
  }
  widen_tight_basics(s, s.param.tolx * std::exp2(s.perturb.resets));
  return true;
}

void psimplex_variablereset(primal_state& s) {
  for (int32_t j = 0; j < s.work.total; j++) {
    s.lo[j] = s.work.lower[j];
    s.up[j] = s.work.upper[j];
    if (s.key[j] == sk_low || s.key[j] == sk_fix) s.x[j] = s.lo[j];
    if (s.key[j] == sk_upr) s.x[j] = s.up[j];
    if (s.key[j] == sk_supbas) s.x[j] = std::min(s.up[j], std::max(s.lo[j], s.x[j]));
  }
  for (int32_t j = 0; j < s.work.total && s.price.numbanned > 0; j++) s.price.banned[j] = 0;
  s.price.numbanned = 0;
  s.perturb.on = false;
}

} // namespace tvn
