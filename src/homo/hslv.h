// The homogeneous and self-dual interior-point method for linear and convex quadratic problems in standard form,
//
//     minimise x'Qx/2 + c'x + cfix   with   A x = b,   x_j >= 0, or 0 <= x_j <= u_j, or x_j free, or in a quadratic
//     cone with others,
//
// whose dual is: maximise b'y - u'sup - x'Qx/2 + cfix with A'y + s - sup - Qx = c; s, sup >= 0, s_j = 0 on free
// columns, s in the same cone as x. It scales, iterates, scales back, and proposes a status; what the status is worth
// its caller decides
// (`hs_judge`).
#pragma once

#include "kfac/kktfac.h"
#include "misc/optdef.h"
#include "misc/runwatch.h"
#include "misc/symview.h"

namespace tvn {

enum class hs_code : int32_t {
  ok = 0,
  max_iterations = 4,
  max_time = 5,
  user_stop = 7,
  stall = 8,            // no step is worth its time any more
  numerical = 9,        // no factorisation is accurate enough
  nonconvex = 25,       // the factor tells that Q is not semidefinite
  objective_range = 15, // a cut is proved to be passed
  peer_stop = 33,
};

enum class hs_startpoint : int32_t { free = 0, guess = 1, constant = 2, satisfy_bounds = 3 };

struct hs_problem {
  kkt_columns a;
  const double *c = nullptr, *b = nullptr;
  const int32_t* bk = nullptr; // [numcol] bk_lo: 0 <= x; bk_ra: 0 <= x <= up; bk_fr
  const double* up = nullptr;  // [numcol] read where bk_ra, at least 0
  double cfix = 0;
  sym_view q; // positive semidefinite
  // Quadratic cones: columns conebeg[k] to conebeg[k + 1] - 1, the last columns of all, are x of a cone, head first.
  int32_t numcone = 0;
  const int32_t* conebeg = nullptr; // [numcone + 1]
};

// Defaults are those of the public parameters.
struct hs_param {
  int32_t maxiterations = 400;
  int32_t maxcorrectors = -1;  // negative: by cost
  int32_t maxrefinements = -1; // negative: by need
  bool diffstep = true, regularization = true, scaling = true;
  bool heedq = true;           // units of the costs are chosen with Q in view
  bool watchconvexity = false; // nobody has looked whether Q is semidefinite: the factor may tell
  hs_startpoint start = hs_startpoint::free;
  double tolpfeas = 1e-8, toldfeas = 1e-8, tolgap = 1e-8, tolinfeas = 1e-8;
  double nearrel = 100; // of the tolerances: an optimum within that is near
  double refine = 1;    // below 1: an optimum is made that much better than the tolerances, when few iterations do it
  double tolpath = 1e-8, tolstepsize = 1e-10, tolrelstep = 0.9999, psafe = 1, dsafe = 1;
  objective_cuts cuts; // of the minimisation: end when a point lies below, when none lies so low
  kkt_form form = kkt_form::free;
  sorder_method order = sorder_method::free;
  int32_t densecol = 40;
  int32_t numthr = 1;
  matker_isa isa = matker_isa::avx512;

  bool operator==(const hs_param&) const = default;
};

// Figures of a run, in units of the problem as given.
struct hs_info {
  hs_code response = hs_code::ok;
  int32_t solsta = sol_unknown; // proposed: optimal, a certificate, or a near form; sol_unknown
  int32_t iter = 0;
  double pobj = 0, dobj = 0, kaptau = 0, pfeas = 0, dfeas = 0, gap = 0, mu = 0; // of the last iteration
  double starttime = 0;                                                         // clock reading
  int32_t numcorrectors = 0;                                                    // further ones in all
  int32_t level = 0, maxlevel = 0; // of regularisation: now and the highest so far
  int32_t numjudged = 0;           // proposals that were turned down
  kktfac_info fac;                 // of the factor
  const char* line = nullptr;      // with hs_event::line
  int32_t linelevel = 0;           // the log level from which on the line is wanted
};

enum class hs_event : int32_t {
  begin_order, // and analysis
  end_order,   // info.fac tells form, long columns, entries, flops
  iteration,   // begins: figures of its point
  line,        // a line for the log; the answer does not count
};

// Nonzero stops the run: 1 the user, 2 a peer.
struct hs_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle, hs_event event, const hs_info& info) = nullptr;
};

// A point of the problem as given: already divided by tau. Of a certificate the side that proves is normalised (dual
// objective 1; largest entry of x 1 and c'x < 0) and the other one is 0.
struct hs_point {
  double *x = nullptr, *s = nullptr, *sup = nullptr; // [numcol]
  double* y = nullptr;                               // [numrow]
  int32_t* skx = nullptr;                            // [numcol] guesses: sk_bas, sk_low, sk_upr, sk_supbas
};

// What the caller says of a proposal, with hs_point filled in.
enum class hs_verdict : int32_t {
  accept,  // ends the loop
  tighten, // goes on, with tolerances of a hundredth; two times, then the proposal stands
};
struct hs_judge {
  void* handle = nullptr;
  hs_verdict (*fn)(void* handle, const hs_info& info, const hs_point& point) = nullptr;
};

// point: arrays of the caller's. Whatever the code, a full point is there in the end: the best so far.
// watch: asked by every phase. Throws out_of_memory.
void TVN_hs_optlp(sysenv& sys, const hs_problem& problem, const hs_param& param, run_watch& watch,
                  const hs_progress& progress, const hs_judge& judge, hs_point& point, hs_info& info);

} // namespace tvn
