// What goes into and out of the simplex frame: views of the caller's problem and solution, settings, statistics, codes.
//
// The joined index space: 0 .. numcon-1 are the logicals (constraint activities xc), numcon .. numcon+numvar-1 the
// structurals (xx). The equations are A x - xc = 0, so a logical's column is minus a unit vector. Always a
// minimisation; the reduced cost of j is c_j - a_j'y, hence c_i + y_i for the logical of row i.
#pragma once

#include "cpub/buffer.h"
#include "misc/optdef.h"
#include "misc/runwatch.h"
#include "prslv/prslv.h"

#include <array>

namespace tvn {

enum class simplex_code : int32_t {
  ok = 0,
  no_memory = 1,
  max_iterations = 4,
  max_time = 5,
  user_stop = 7,
  stall = 8,
  numerical = 9,
  factor = 10,
  internal = 12,
  objective_range = 15,
  bad_problem = 18,
  bad_basis = 20,
  singular = 26,
  max_setbacks = 27,
  lu_tries = 29,
  unbounded_step = 31,
  peer_stop = 33,
  outpaced = 34, // a trial that promises less than its rival; it leaves the simplex optimizers as no result
};

enum simplex_kind : int32_t { kind_free = 0, kind_primal = 1, kind_dual = 2, kind_primal_dual = 3 };

// Pricing rules, internal numbers; 6 to 9 are 2 to 5 on a restricted list.
enum select_method : int32_t {
  sel_free = 0,
  sel_partial = 1,
  sel_full = 2,
  sel_ase = 3,
  sel_se = 4,
  sel_devex = 5,
  sel_restrict = 4,
  sel_switch = 10,
};

enum simplex_reform : int32_t { reform_free = 0, reform_on = 1, reform_off = 2, reform_aggressive = 3 };

// How much is done against degeneracy; the user's numbers.
enum degen_mode : int32_t {
  degen_none = 0,
  degen_free = 1,
  degen_aggressive = 2,
  degen_moderate = 3,
  degen_minimum = 4
};
enum scaling_mode : int32_t { scaling_none = 0, scaling_free = 1, scaling_moderate = 3, scaling_aggressive = 4 };
enum scaling_method : int32_t { scaling_geometric = 0, scaling_equilibrated = 1 }; // the latter after geometric passes
// What a start is to the optimizer; in the record of a run also that another one went before.
enum start_kind : int32_t {
  start_none = 0,
  start_handover = 1,
  start_primal = 4,
  start_dual = 5,
  start_other = 6,
  start_interior = 7, // a point with its duals, of which a basis is to be made first
};
// Ways to a dual feasible basis.
enum dual_phaseone : int32_t { phaseone_free = 0, phaseone_boxed = 1, phaseone_shifted = 2 };

struct simplex_param {
  int32_t optimizer = kind_free;
  int32_t cleanoptimizer = kind_free; // of the run on the user's problem after presolve's undo, when one is needed
  int32_t hotstart = start_none;      // start_kind
  bool keysonly = false;              // the values of the start do not count
  bool dualform = false;              // a cold start solves the dual as a problem of its own
  int32_t presolve = 2;               // 0 no, 1 yes, 2 free: yes unless the run is short or the start is good
  prslv_param prslv;                  // settings of presolve
  int32_t degen = degen_free;
  int32_t scaling = scaling_free;
  int32_t scalingmethod = scaling_geometric;
  bool nonsingular = true; // repair a singular basis
  bool savelu = false;     // leave the factor of the last basis to the next run
  bool uselu = true;       // take the factor that the last run left, when it fits
  bool cleaning = false;   // the start is what presolve's undo has left: few violations are mended by single pivots
  bool judged = true;      // a run that was cut short gets a status; false: its caller gives it one
  int32_t selection = sel_free; // of the primal simplex, internal numbering
  int32_t dualselection = sel_free;
  int32_t primalcrash = 90; // percent of slacks from which on a cold start is crashed, above 100: never
  int32_t dualcrash = 90;   // the same for the dual simplex
  int32_t dualphaseone = phaseone_free;
  int32_t dupvec = 0;                 // duplicate columns as one: 0 no, 1 if they are many, 2 yes
  int32_t reformulation = reform_off; // opposite columns as one before the run
  int32_t restrictpct = 50;           // percentage of restriction of the primal candidate list
  int32_t maxiterations = 10000000;
  int32_t maxsetbacks = 250;
  int32_t refactorfreq = 0; // 0 automatic
  int32_t logfreq = 500;
  int32_t basislogfreq = 2500; // pushes per line, 0: no lines
  double tolx = 1e-6;          // primal feasibility, absolute, in the user's units relative to 1 + |bound|
  double tols = 1e-6;          // dual feasibility
  double tolabspiv = 1e-7;
  double tolrelpiv = 0.01; // of the factor
  double maxtime = -1;     // seconds from `starttime`, negative: none
  double starttime = 0;    // clock reading at the start of the run
  double rival = 0; // positive: a trial, which goes on while it promises half of these seconds; for the dual simplex
  objective_cuts cuts;

  bool operator==(const simplex_param&) const = default;
};

// Events handed to the progress function.
enum class simplex_event : int32_t {
  begin, // of the optimizer that the record names
  begin_setup,
  end_setup,
  iteration,
  end,
  poll,
  begin_presolve,
  end_presolve,
  presolve_line, // info.line holds a line of presolve's report
  message,       // info.line holds a line for the log, info.linelevel its level; the answer does not count
  begin_basis,   // the way from an interior point to a basis: crash, pushes
  begin_primalpush,
  end_primalpush,
  begin_dualpush,
  end_dualpush,
  push, // a line of the table is due: info.basis holds its figures
  end_basis,
};

// Why factor, point and reduced costs are made afresh.
enum class recompute_why : int32_t {
  start,          // of a run
  factor_advised, // a fresh factor is cheaper than more updates
  many_updates,   // or steps of any kind on one factor
  digits,         // two values of one quantity differ in more digits than they should
  small_pivot,    // not worth its risk on an old factor
  lost_pivot,     // its two values disagree
  no_room,        // for an update of the factor
  verdict,        // one is reached on fresh data only
  true_data,      // true bounds or costs have come back
  feasible,       // a phase one may be at its end
  moved_data,     // working bounds were widened
  tolerance,      // one was changed
  superbasics,    // have moved
  pricing,        // another rule leads
  setback,        // a bad event
};
inline constexpr size_t num_recompute_why = static_cast<size_t>(recompute_why::setback) + 1;

struct simplex_counters {
  int64_t iterations = 0, infeasible = 0, degenerate = 0, setbacks = 0, boundswaps = 0;
  int64_t factorizations = 0, artificials = 0, resets = 0;
};

// Of the way from an interior point to a basis.
struct basis_info {
  int32_t crashed = 0, rejected = 0;      // members of the optimal face in the first header; put out again
  int32_t numsuper = 0, numdual = 0;      // pushes to be made
  int64_t primaliter = 0, dualiter = 0;   // made
  int64_t primalmoves = 0, dualmoves = 0; // past small entries: a violation may be left
  double crashtime = 0, primaltime = 0, dualtime = 0;
  double feas = 0, obj = 0; // of the phase at work, when a line is due
};

struct simplex_info {
  simplex_code response = simplex_code::ok;
  int32_t prosta = pro_unknown, solsta = sol_unknown;
  numbered<simplex_counters, 4> count;               // by simplex_kind
  numbered<int64_t, num_recompute_why> recomputes{}; // requests by recompute_why
  bool dualform = false;                             // at work on the dual: figures are its own
  int32_t numcon = 0, numvar = 0;                    // of the working problem
  int32_t hotstart = start_none;                     // start_kind of the optimizer in hand
  int32_t numbasics = 0, basisrank = -1;             // of the start: basics given, rank of the first factor
  bool nopoint = false;                              // the run was stopped before it had one
  bool warmfactor = false;                           // the factor of the start was left by an earlier run
  int32_t phase = 0;                                 // 1 or 2
  simplex_kind kind = kind_primal;                   // the optimizer in hand
  double sumpinf = 0, sumdinf = 0;                   // of the working problem
  double objective = 0;                              // of the working point in user units, offset included
  int32_t randomstate = 1;
  bool forcelog = false; // print the next iteration line whatever its number
  int64_t lnz = 0, unz = 0;
  double mindiag = 0, maxdiag = 0;        // magnitudes on the diagonal of U
  double primalviol = 0, dualviol = 0;    // worst relative violations on the user's data, set at the end
  prslv_stats prslv;                      // of presolve
  const char* line = nullptr;             // with the events presolve_line and message
  int32_t linelevel = 0;                  // with message: the log level from which on the line is wanted
  int32_t cleanups = 0;                   // runs on the user's problem after postsolve
  numbered<int64_t, 4> cleaniterations{}; // of them, by simplex_kind
  basis_info basis;
};

// Nonzero stops the run: 1 is a stop by the user, 2 by a peer.
struct simplex_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle, simplex_event event, const simplex_info& info) = nullptr;
  int32_t operator()(simplex_event event, const simplex_info& info) const { return fn ? fn(handle, event, info) : 0; }
};

// What the progress function's answer makes of a run.
inline simplex_code TVN_simplex_stopcode(int32_t answer) noexcept {
  return answer == 2 ? simplex_code::peer_stop : simplex_code::user_stop;
}

// And what the watch of a run does.
inline simplex_code TVN_simplex_stopcode(run_stop stop) noexcept {
  static_assert(static_cast<int32_t>(simplex_code::max_time) == static_cast<int32_t>(run_stop::time) &&
                static_cast<int32_t>(simplex_code::user_stop) == static_cast<int32_t>(run_stop::user) &&
                static_cast<int32_t>(simplex_code::peer_stop) == static_cast<int32_t>(run_stop::peer));
  return stop == run_stop::none ? simplex_code::ok : static_cast<simplex_code>(stop);
}

// The random generator of all perturbations; its state lies in the information record, so that runs repeat exactly.
inline double TVN_simplex_random(int32_t& state) noexcept {
  state = static_cast<int32_t>((static_cast<int64_t>(state) * 10278 + 3) % 32749);
  return static_cast<double>(state) / 32749.0;
}

} // namespace tvn
