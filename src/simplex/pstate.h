// The state of a primal simplex run and the pieces of its loop.
//
// Spaces: everything here is in the working (scaled, compressed) problem. Arrays [total] are indexed by variable of the
// joined space, [m] by row or by basis position as told.
//
// Who spoils what: a pivot spoils nothing that is maintained (x, d, weights, factor), each carries its rounding; a
// refactorisation makes x and d fresh. Changing working bounds spoils x, changing the phase spoils d.
#pragma once

#include "simplex/usimplex.h"

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

enum class loop_state : int32_t { go_on, recompute, finished };

struct primal_state {
  primal_state(sysenv& s, simplex_watch& wt, simplex_work& w)
      : sys(s), watch(wt), param(wt.param), info(wt.info), progress(wt.progress), work(w) {}

  sysenv& sys;
  simplex_watch& watch;
  const simplex_param& param;
  simplex_info& info;
  const simplex_progress& progress;
  simplex_work& work; // its active parts follow the basis; all else is only read
  simplex_fac fac;

  // The point.
  buffer<double> x;       // [total]
  buffer<uint8_t> key;    // [total] status_key
  buffer<double> lo, up;  // [total] working bounds, wider than the problem's when perturbed
  bool perturbed = false; // some working bound differs from the problem's
  bool allowperturb = true;

  // Phase one: 1 while infeasible, 2 once feasible.
  int32_t phase = 1;
  buffer<int8_t> infeas; // [m] by position: -1 below, +1 above, 0 within the working bounds
  int32_t numinf = 0;
  double suminf = 0;

  // Pricing.
  buffer<double> d;        // [total] reduced costs of the nonbasics in the cost of the phase
  buffer<double> weight;   // [total]
  buffer<uint8_t> inframe; // [total] reference framework of devex
  buffer<uint8_t> banned;  // [total] does not enter until the next reset
  buffer<uint8_t> inlist;  // [total] d and weight are maintained; all, unless pricing is restricted
  buffer<int32_t> cand;    // nonbasics with an attractive reduced cost, unordered
  buffer<int32_t> candpos; // [total] position in cand, -1: not there
  int32_t numcand = 0, numbanned = 0;
  buffer<double> y; // [m] by row; maintained under partial pricing, else scratch
  int32_t method = sel_devex, wanted = sel_switch;
  int32_t scanstart = 0; // partial pricing: where the next scan begins
  buffer<int32_t> plist; // partial pricing: the candidates of the last scan
  int32_t numplist = 0;
  int32_t weighterrors = 0;
  bool restricted = false; // some nonbasic is not in the list

  // Tolerances; they move, see the loop.
  double tolfeas = 1e-8, tolpiv = 1e-7, tols = 1e-6;

  // Vectors of an iteration, empty between iterations.
  spvec spike;  // by row: entering column after L and etas
  spvec colrow; // by row: scratch of the forward solve
  spvec aq;     // by position: B^-1 a_q
  spvec unit;   // by position: right-hand side of backward solves
  spvec rho;    // by row: row of the inverse, or a change of y
  spvec tau;    // by row: B^-T aq, steepest edge only
  spvec alpha;  // by variable: pivot row
  struct breakpoint {
    double ratio;
    int32_t position;
    double slope;
    bool upper;
  };
  buffer<breakpoint> breaks; // [2m]
  buffer<int32_t> changed;   // [m] positions whose infeasibility status changed ...
  buffer<int8_t> delta;      // [m] ... and by how much
  int32_t numchanged = 0;

  // Control.
  bool refactor = true; // before the next pricing
  bool soon = false;    // the factor advised it
  bool freshd = false;  // d was computed from scratch since the last pivot
  int64_t iter = 0;     // of this run
  int64_t periodstart = 0, perioddeg = 0, degenperiod = 500;
  int32_t degenmode = 1;
  int32_t resets = 0;   // returns to the true bounds
  double objscale = 1;  // 1 + magnitude of the objective of the phase at the last recomputation
  double best = 0;      // lowest fresh objective of this phase since the last return to the true bounds,
  int64_t bestiter = 0; // when it was met,
  int32_t bestphase = 0, bestresets = 0; // and which phase and return that was
  int64_t stalled = 0;                   // degenerate steps in a row
  bool random = false;                   // stalled for long: entering and leaving variables are drawn (random edge)
  bool accepting = false;                // true bounds gave way within the tolerance asked for: they do not come back
  int32_t successive = 0;                // recoveries without a good iteration between
  int64_t setbacks = 0;
  double workprice = 0, worksolve = 0; // units of work since the last switch of pricing
  int64_t lastswitch = 0;
  simplex_code stop = simplex_code::ok;
};

// --- set-up and recomputation (psimplex.cpp, pphase.cpp)
void psimplex_setup(primal_state& s);
void psimplex_countinf(primal_state& s);
void psimplex_formd(primal_state& s);
// Adds the effect of the changed infeasibility statuses (s.changed, s.delta) to d; the list is then empty.
void psimplex_updatephasecost(primal_state& s);

// --- pricing (pprice.cpp)
void psimplex_setcandidate(primal_state& s, int32_t j) noexcept;
void psimplex_rebuildcandidates(primal_state& s) noexcept;
void psimplex_resetweights(primal_state& s);
price_result psimplex_select(primal_state& s);
void psimplex_choosepricing(primal_state& s);
bool psimplex_choosepricingswitch(primal_state& s); // false: stopped on the way
void psimplex_enterbasis(primal_state& s, int32_t j) noexcept;
void psimplex_leavebasis(primal_state& s, int32_t j) noexcept;

// --- ratio tests (pratio.cpp); sigma is the direction of the entering variable, +1 or -1
ratio_result psimplex_stepsize(primal_state& s, int32_t q, double sigma);
ratio_result psimplex_stepsize_phaseone(primal_state& s, int32_t q, double sigma, double slope);

// --- update (pupdate.cpp)
// alpha = rho'A over the active columns and the nonbasic logicals.
void psimplex_formrow(primal_state& s);
void psimplex_updateduals(primal_state& s, int32_t q, int32_t leaving, double pivot, double dq);
void psimplex_movebasics(primal_state& s, double sigma, double step);

// --- perturbation (pperturb.cpp)
void psimplex_perturbinit(primal_state& s);
void psimplex_kick(primal_state& s);
// Last resort against a stall, whatever the parameters say of perturbation; false: no more of it in this run.
bool psimplex_unstall(primal_state& s);
void psimplex_variablereset(primal_state& s);

// --- audit (pcheck.cpp): stops on a breach
void psimplex_check(primal_state& s);

// --- the loop (psimplex.cpp): state ready with keys, head and x of the nonbasics set.
void psimplex_optimize(primal_state& s);
// Asks clock and user; true: s.stop is set and the run must end.
bool psimplex_poll(primal_state& s);

} // namespace tvn
