// What the optimizers of one run share: the working problem with its basis, the point, and the vectors of an iteration.
//
// Spaces: everything here is in the working (scaled, compressed) problem. Arrays [total] are indexed by variable of the
// joined space, [m] by row or by basis position as told. One optimizer hands over to the next by leaving keys, basis
// and the values of the nonbasics in order; all else the next one forms afresh.
#pragma once

#include "simplex/base/usimplex.h"

#include <cmath>

namespace tvn {

// What a step of a loop asks for next.
enum class loop_state : int32_t { go_on, recompute, finished };

// Factor, point and reduced costs are to be made afresh before the next pricing.
struct recompute_request {
  bool now = false;
  bool soon = false; // the step in hand may go on
  bool any() const noexcept { return now || soon; }
};

struct simplex_state {
  simplex_state(sysenv& s, const simplex_param& pa, simplex_info& in, const simplex_progress& pr, run_watch& wt,
                simplex_work& w)
      : sys(s), watch(wt), param(pa), info(in), progress(pr), work(w) {}

  sysenv& sys;
  run_watch& watch;
  const simplex_param& param;
  simplex_info& info;
  const simplex_progress& progress;
  simplex_work& work; // its active parts follow the basis; all else is only read
  simplex_fac fac;

  buffer<double> x;       // [total]
  buffer<uint8_t> key;    // [total] status_key
  buffer<double> lo, up;  // [total] working bounds
  buffer<double> d;       // [total] reduced costs of the nonbasics
  buffer<double> y;       // [m] by row
  buffer<uint8_t> inlist; // [total] the pivot row is wanted there: active in the row copy, when a structural
  buffer<int8_t> infeas;  // [m] by position: cost of phase one, and of a certificate of infeasibility
  simplex_code stop = simplex_code::ok;
  recompute_request recompute; // made through loop.h
  bool cold = true;            // no start was given: perturbation and pricing may begin at their best
  double tolfeas = 1e-8;       // working feasibility tolerance, absolute; rises where digits do not suffice for it
  int32_t repairs = 0;         // how often the primal simplex may yet ask the dual one to go on
  bool factorready = false;    // whoever had the state before left a factor of the header: the first one asked for
  buffer<double> dualweight;   // [total] or empty: pricing weights of the dual simplex, of the basics of the start, and
                               // on return of the last basis; 0: not known
  int32_t dualweightkind = 0;  // select_method they belong to, 0: none

  // Vectors of an iteration, empty between iterations.
  spvec spike;  // by row: entering column after L and etas
  spvec colrow; // by row: scratch of the forward solve
  spvec aq;     // by position: B^-1 a_q
  spvec unit;   // by position: right-hand side of backward solves
  spvec rho;    // by row: row of the inverse, or a change of y
  spvec tau;    // second solve of steepest edge: by row B^-T aq (primal), by position B^-1 rho (dual)
  spvec alpha;  // by variable: pivot row
};

// Storage and working bounds; keys, header and x of the nonbasics are for the caller to set.
void TVN_simplex_setupstate(simplex_state& s);
// Key and value of a nonbasic: the wished side if it has one, else the working bound nearer to zero.
void TVN_simplex_restnonbasic(simplex_state& s, int32_t j, int32_t wish);
// A start's superbasic stays at its value if that lies between its bounds, and rests at a bound as above if not.
void TVN_simplex_restsuperbasic(simplex_state& s, int32_t j, double value);
// A nonbasic that no basic solution has where it is: between its bounds, or free and not at zero.
inline bool TVN_simplex_isinside(const simplex_state& s, int32_t j) noexcept {
  const bool free = s.lo[j] <= -bound_infinity && s.up[j] >= bound_infinity;
  return s.key[j] == sk_supbas && !(free && s.x[j] == 0);
}
// Puts j into or out of the list; a structural moves in the row copy.
void TVN_simplex_setlisted(simplex_state& s, int32_t j, bool in) noexcept;
// spike = column q after L and etas, aq = B^-1 a_q.
void TVN_simplex_solvecolumn(simplex_state& s, int32_t q);
// rho = B^-T e at the position.
void TVN_simplex_rowofinverse(simplex_state& s, int32_t position);
// alpha = rho'A over the listed variables, from the active parts of the rows; returns the entries that were met.
int64_t TVN_simplex_formrow(simplex_state& s);
constexpr double relaxedshare = 0.5; // of the feasibility tolerance asked for: the most that the working one rises to
// Raises the working feasibility tolerance, up to a part of the one asked for; false: it is as high.
bool TVN_simplex_relax(double& tolfeas, double asked, double tolerance) noexcept;
// Are the two values of one pivot, by row and by column, too far apart or too small for a step?
inline bool TVN_simplex_ispivotlost(double arow, double acol, double tolpiv) noexcept {
  constexpr double grosserror = 0.1;
  const double size = std::min(std::fabs(arow), std::fabs(acol));
  return !(size > 0.5 * tolpiv) || !(std::fabs(arow - acol) <= grosserror * size);
}
// Below a size, a pivot may be smaller than the largest candidate by a factor at most.
struct pivot_limit {
  double size, factor;
};
// Is a pivot of magnitude p good enough beside the largest candidate? It must keep to all limits.
template <size_t num>
bool TVN_simplex_isacceptable(const pivot_limit (&limits)[num], double p, double largest) noexcept {
  const double ratio = largest / p;
  for (const pivot_limit& l : limits)
    if (!(p >= l.size || ratio <= l.factor)) return false;
  return true;
}
// A pivot tolerance after a bad pivot: ten times as large up to `most`, which one that the user set may exceed.
inline double TVN_simplex_raised(double tolpiv, double most) noexcept {
  return std::max(tolpiv, std::min(10 * tolpiv, most));
}
// Asks clock and user; true: s.stop is set and the run must end.
bool TVN_simplex_poll(simplex_state& s);
// A line for the log, ending with a line feed, where the log is at `level` or above.
void TVN_simplex_tell(simplex_state& s, int32_t level, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
// Objective of the point in user units, offset included.
double TVN_simplex_pointobjective(const simplex_state& s);
// Fresh factor of the header, counted under `kind`; finished with s.stop set when there is none. exchanges: what a
// repair did, room for m; returns their number, -1: no factor.
int32_t TVN_simplex_refactor(simplex_state& s, simplex_kind kind, array_view<basis_exchange> exchanges);
// The optimizer that the settings ask for, or, when they leave it free, the one that the start suggests (choose.cpp).
simplex_kind TVN_simplex_chooseoptimizer(simplex_state& s);

} // namespace tvn
