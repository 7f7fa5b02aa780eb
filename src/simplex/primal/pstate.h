// The state of a primal simplex run and the pieces of its loop. What it shares with other optimizers lies in state.h
// and is seen here under the same names.
//
// Who spoils what: a pivot spoils nothing that is maintained (x, d, weights, factor), each carries its rounding; a
// refactorisation makes x and d fresh. Changing working bounds spoils x, changing the phase spoils d.
#pragma once

#include "simplex/base/loop.h"

#include <cmath>

namespace tvn {

struct ratio_result {
  int32_t position = -1; // leaving basis position, -1: none
  double step = 0;       // of the entering variable, >= 0
  bool to_upper = false; // the leaving variable goes to its upper bound
  bool swap = false;     // the entering variable meets its own other bound first
  double pivot = 0;      // magnitude of the pivot
};

struct price_result {
  int32_t j = -1; // entering variable, -1: none
  double d = 0;   // its reduced cost
};

// How soon many degenerate steps make a kick.
enum class kick_mode : int32_t { never, late, medium, early };

// What the ratio test reads of a basic variable, in one place by position: a column of the tableau meets few of them.
struct basic_entry {
  double x, lo, up, cost; // value, working bounds, cost of phase two
};

// How pricing sees a variable: which sign of its reduced cost makes it attractive, and whether it is a candidate.
enum price_side : uint8_t {
  side_none = 0,
  side_low = 1,
  side_upr = 2,
  side_free = 3,
  side_mask = 3,
  side_listed = 4,
  side_short = 8
};

// Where a run stands towards feasibility. Phase one minimises the sum of infeasibilities.
struct primal_infeas {
  int32_t num = 0; // basics outside their working bounds
  double sum = 0;
  buffer<int32_t> changed; // [m] positions whose infeasibility status changed ...
  buffer<int8_t> delta;    // [m] ... and by how much
  int32_t numchanged = 0;
  double gain = 0, lastsum = HUGE_VAL; // of phase one: gain claimed since the last recomputation, infeasibility then
  double noise = 0;                    // reduced costs of phase one that proved to be rounding
  bool forgiven = false;               // within what the user allows at the last recomputation
};

// Candidates and weights.
struct primal_pricing {
  int32_t method = sel_devex, wanted = sel_switch;
  buffer<uint8_t> side;    // [total] price_side, follows key, ban and list
  buffer<double> weight;   // [total]
  buffer<uint8_t> inframe; // [total] reference framework of devex
  buffer<uint8_t> banned;  // [total] does not enter until the next reset
  buffer<int32_t> cand;    // nonbasics with an attractive reduced cost, unordered
  buffer<int32_t> candpos; // [total] position in cand, -1: not there
  int32_t numcand = 0, numbanned = 0;
  buffer<int32_t> shortlist;          // all candidates with d^2 / weight >= cutoff, and some that were
  int32_t numshort = 0, rowcount = 0; // rowcount: running length of the pivot rows
  double cutoff = 1e300;              // of the score; 1e300: no short list is kept
  int64_t maxcollen = 0;              // entries of the longest column
  int32_t scanstart = 0;              // partial pricing: where the next scan begins
  buffer<int32_t> plist;              // partial pricing: the candidates of the last scan
  int32_t numplist = 0;
  int32_t weighterrors = 0;
  bool restricted = false; // some nonbasic is not in the list
  int64_t refreshed = 0;   // iteration at which the reference framework was set,
  int64_t listed = 0;      // and the one at which a restricted list was filled
};

// Units of work since the last switch of pricing.
struct primal_effort {
  double price = 0;  // pivot rows and lists
  double factor = 0; // the factor up to its last refactorisation
  double edge = 0;   // the solves for exact weights
  int64_t lastswitch = 0;
};

struct primal_breakpoint {
  double ratio;
  int32_t position;
  double slope;
  bool upper;
};

struct primal_ratio {
  double colnorm = 0;               // sum of squares of the entering column,
  double colmax = 0;                // and its largest magnitude
  buffer<primal_breakpoint> breaks; // [2m]
  buffer<int32_t> near;             // [m] positions that may block the step
  bool lenient = false;             // nothing but refused columns is left: their small pivots count until the next step
  bool random = false;              // stalled for long: entering and leaving variables are drawn (random edge)
};

// They move, see the loop.
struct primal_tolerances {
  double piv = 1e-7, dual = 1e-6;
  double phaseone = 1e-6; // `dual` in phase one, the rounding of its reduced costs left out
};

struct primal_perturbation {
  bool on = false; // some working bound differs from the problem's
  bool allow = true;
  bool accepting = false; // true bounds gave way within the tolerance asked for: they do not come back
  bool resetmode = false; // many more columns than rows: widened bounds come back at the next recomputation
  int32_t resets = 0;     // returns to the true bounds
  kick_mode mode = kick_mode::late;
  int64_t period = 500, periodstart = 0,
          perioddeg = 0; // iterations between looks, the last look, degenerate ones since
};

// Progress of fresh objectives.
struct primal_stall {
  double objscale = 1;  // 1 + magnitude of the objective of the phase at the last recomputation
  double best = 0;      // lowest fresh objective of this phase since the last return to the true bounds,
  int64_t bestiter = 0; // when it was met,
  int32_t bestphase = 0, bestresets = 0; // which phase and return that was,
  int64_t bestsetbacks = 0;              // and setbacks by then
  int32_t rounds = 0;                    // how often that was too long ago
  int64_t steps = 0;                     // degenerate ones in a row
};

// Bad events and what they leave behind.
struct primal_trouble {
  int64_t setbacks = 0;
  int64_t calmsetbacks = 0; // at the last calm check
  int64_t triesiter = -1;   // iteration of the last setback,
  int32_t tries = 0;        // and how many it has had
  int32_t successive = 0;   // recoveries without a good iteration between
  bool careful = false;     // the next factorisation refuses small pivots
  int32_t swaps = 0;        // in a row: a factor that ages by steps alone
};

struct primal_state {
  explicit primal_state(simplex_state& b) : base(b) {}

  simplex_state& base;
  sysenv& sys = base.sys;
  const simplex_param& param = base.param;
  simplex_info& info = base.info;
  simplex_work& work = base.work;
  simplex_fac& fac = base.fac;
  buffer<double>&x = base.x, &lo = base.lo, &up = base.up; // working bounds are wider than the problem's when perturbed
  buffer<uint8_t>&key = base.key, &inlist = base.inlist;   // listed: d and weight are maintained; restricted: not all
  buffer<double>&d = base.d,
  &y = base.y;                          // reduced costs of the phase; y maintained under partial pricing, else scratch
  buffer<int8_t>& infeas = base.infeas; // -1 below, +1 above, 0 within the working bounds
  spvec &spike = base.spike, &colrow = base.colrow, &aq = base.aq, &unit = base.unit, &rho = base.rho, &tau = base.tau,
        &alpha = base.alpha;
  double& tolfeas = base.tolfeas;

  int32_t phase = 1;          // 1 while infeasible, 2 once feasible
  int64_t iter = 0;           // of this run
  bool freshd = false;        // d was computed from scratch since the last pivot
  buffer<basic_entry> basics; // [m] by position; x is also kept in place
  primal_infeas inf;
  primal_pricing price;
  primal_effort effort;
  primal_ratio ratio;
  primal_tolerances tol;
  primal_perturbation perturb;
  primal_stall stall;
  primal_trouble bad;
  bool alone = false;      // the dual simplex cannot go on from the state
  bool handover = false;   // the dual simplex has to go on
  bool tofeasible = false; // the run ends at the first point that is feasible within the true bounds

  // Cost of j in the objective of the phase, infeasibility left out.
  double cost(int32_t j) const noexcept { return phase == 1 ? 0.0 : work.cost[j]; }
};

constexpr int32_t maxresets = 6;         // returns to the true bounds that may be followed by new perturbation
constexpr int64_t stallperturbed = 2000; // and as many steps plus 2m without progress are a stall

// --- factor, point and bad events (prefactor.cpp)
void psimplex_setobjective(const primal_state& s, simplex_info& info);
void psimplex_ban(primal_state& s, int32_t q); // it does not enter before the next reset
bool psimplex_askdual(primal_state& s);        // the dual simplex goes on from here; false: it has had its turns
loop_state psimplex_setback(primal_state& s);
loop_state psimplex_losepivot(primal_state& s);                       // two values of a pivot disagree
loop_state psimplex_refusedupdate(primal_state& s, int32_t position); // the factor would not take a pivot
void psimplex_calm(primal_trouble& bad, primal_tolerances& tol, lu& factor,
                   const simplex_param& param); // lowers the pivot tolerance after a calm period
// Widens the working bounds of the basics by small infeasibilities; false: some are larger.
bool psimplex_absorb(primal_state& s, double relative);
loop_state psimplex_recompute(primal_state& s);

// --- recomputation (pphase.cpp)
void psimplex_gatherbasics(const primal_state& s, buffer<basic_entry>& basics) noexcept; // from x, bounds and cost
void psimplex_countinf(const primal_state& s, primal_infeas& inf, buffer<int8_t>& infeas);
void psimplex_formd(primal_state& s);
// Adds the effect of the changed infeasibility statuses (s.inf.changed, s.inf.delta) to d; the list is then empty.
void psimplex_updatephasecost(primal_state& s);

// --- pricing (pprice.cpp)
void psimplex_setcandidate(primal_state& s, int32_t j) noexcept;    // after a change of key, ban, list or d
void psimplex_movecandidate(primal_pricing& p, int32_t j) noexcept; // into the list or out of it
constexpr double freeshare = 10; // free variables enter first: their reduced costs count this many times
inline bool psimplex_isattractive(uint8_t side, double d, double tols) noexcept {
  static constexpr double sign[] = {0, 1, -1, 0};
  side &= side_mask;
  return (side == side_free ? -std::fabs(d) : sign[side] * d) < -tols;
}
// After a change of d or weight: into the short list when the score calls for it.
inline void psimplex_shortlist(primal_pricing& p, int32_t j, double d, double weight) noexcept {
  const uint8_t side = p.side[j];
  if ((side & side_mask) == side_free) d *= freeshare;
  if (d * d < p.cutoff * weight || (side & (side_listed | side_short)) != side_listed) return;
  p.side[j] = side | side_short;
  p.shortlist[p.numshort++] = j;
}
// After a change of d alone.
inline void psimplex_reprice(primal_pricing& p, int32_t j, double d, double tols) noexcept {
  if (psimplex_isattractive(p.side[j], d, tols) != ((p.side[j] & side_listed) != 0)) psimplex_movecandidate(p, j);
  psimplex_shortlist(p, j, d, p.weight[j]);
}
void psimplex_rebuildcandidates(primal_state& s) noexcept;
void psimplex_resetweights(const primal_state& s, primal_pricing& price, int32_t& random);
bool psimplex_exactweights(primal_state& s); // false: stopped on the way
price_result psimplex_select(primal_state& s);
void psimplex_choosepricing(const primal_state& s, primal_pricing& price, bool& resetmode);
bool psimplex_choosepricingswitch(primal_state& s); // false: stopped on the way
void psimplex_enterbasis(primal_state& s, int32_t j) noexcept;
void psimplex_leavebasis(primal_state& s, int32_t j) noexcept;

// --- ratio tests (pratio.cpp); sigma is the direction of the entering variable, +1 or -1
// range: the step at which the entering variable meets an end of its own.
double psimplex_ownrange(const primal_state& s, int32_t q, double sigma);
// Ties among many are drawn with `random`.
ratio_result psimplex_stepsize(const primal_state& s, primal_ratio& w, double sigma, double range, int32_t& random);
ratio_result psimplex_stepsize_phaseone(const primal_state& s, primal_ratio& w, int32_t q, double sigma, double slope);

// Entries of the entering column up to this are no pivots. Where nothing else is left the size does not count, as long
// as both values of the pivot agree.
inline double psimplex_leastpivot(const primal_state& s) noexcept {
  constexpr double rounding = 1e-14; // of the largest entry
  return s.ratio.lenient ? std::min(s.tol.piv, rounding * s.ratio.colmax) : s.tol.piv;
}

// --- update (pupdate.cpp)
void psimplex_updateduals(primal_state& s, int32_t q, int32_t leaving, double pivot, double dq);
void psimplex_movebasics(primal_state& s, double sigma, double step);

// --- perturbation (pperturb.cpp)
void psimplex_perturbinit(primal_state& s);
void psimplex_kick(primal_state& s);
// Last resort against a stall, whatever the parameters say of perturbation; false: no more of it in this run.
bool psimplex_unstall(primal_state& s);
void psimplex_variablereset(primal_state& s);

// --- superbasics (psuper.cpp): nonbasics with the key sk_supbas off their bounds; a free one rests at zero
// The first one from `from` on, -1: none.
int32_t psimplex_findsuperbasic(const primal_state& s, int32_t from = 0);
// Moves j to its nearest bound or, where a basic blocks the way, into the basis. Its reduced cost is within tolerance.
loop_state psimplex_rmsuperbasic(primal_state& s, int32_t j);

// --- duplicate columns (pdupvec.cpp)
struct dupvec_groups {
  int64_t num = 0;             // columns that another one stands for
  buffer<int32_t> first;       // [n] the column that stands for it, itself for all others
  buffer<double> factor;       // [n] column = factor * first
  buffer<double> lower, upper; // [n] bounds before the grouping
};
void psimplex_groupdupvec(primal_state& s, dupvec_groups& g);          // g.num 0: nothing is changed
void psimplex_dupvecfeasible(primal_state& s, const dupvec_groups& g); // bounds, point and basis of the members again

// --- audit (pcheck.cpp): stops on a breach
void psimplex_check(primal_state& s);

// --- the loop (psimplex.cpp): the shared state ready with keys, head and x of the nonbasics set.
void psimplex_optimize(primal_state& s);
// Exchange of q with the variable at r.position, all quantities updated; dq its reduced cost, sigma its direction.
loop_state psimplex_pivot(primal_state& s, int32_t q, double sigma, double dq, const ratio_result& r);
// Reduced cost of q from its column in s.aq: the independent second value. Norm and largest entry come with it.
double psimplex_columnreducedcost(const primal_state& s, primal_ratio& w, int32_t q);
// Runs to feasibility only; true: s.x is within the bounds. For callers that need a feasible basis and no optimum.
bool TVN_simplex_primalfeas(simplex_state& s);

} // namespace tvn
