// What the phases share.
#pragma once

#include "basic/purif.h"

#include "simplex/base/loop.h"
#include "simplex/start/startbasis.h"

namespace tvn {

// A basic as the primal pushes see it: one of N has its bound on both sides.
struct prf_basic {
  double x, lo, up;
};

struct prf_state {
  prf_state(simplex_state& state, const solution_view& p) : s(state), w(state.work), info(state.info.basis), point(p) {}

  simplex_state& s;
  const simplex_work& w;
  basis_info& info;
  const solution_view& point;

  buffer<uint8_t> inner;   // [total] member of B
  buffer<uint8_t> upper;   // [total] of N: rests at its upper bound
  buffer<double> weight;   // [total] of B: distance to the nearer bound, of a column of norm 1
  buffer<double> dual;     // [total] of N: its reduced cost, 0 elsewhere
  buffer<prf_basic> basic; // [m] by position, in the primal phase
  buffer<int32_t> super;   // members of B that are not basic, the nearest to its bound first
  int32_t numsuper = 0;
  int64_t worked = 0; // entries met since values, or duals, were formed afresh
  double shift = 0;   // largest cost that a dual push has taken for 0: of a point whose duals have wrong signs
  buffer<basis_exchange> repairs; // [m]
};

// B or N, for all variables; keys and values of N at their bounds.
void TVN_prf_partition(prf_state& p);
// A regular header of as many members of B as it finds, by weight; its factor. False: stopped, or no factor.
bool TVN_prf_crashbasis(prf_state& p);
// False: stopped, or no factor.
bool TVN_prf_primallp(prf_state& p);
bool TVN_prf_duallp(prf_state& p);

// What had to leave the basis without a step: a member of B stays where it is and waits for a push.
void TVN_prf_putout(prf_state& p, int32_t j);
// A fresh factor; what a repair puts out as above. False: stopped, or none.
bool TVN_prf_refactor(prf_state& p);
// Is it time to form values or duals afresh? That costs all nonzeros, so the pushes since must have met as many.
bool TVN_prf_wantsafresh(prf_state& p, int32_t rejectedbefore) noexcept;
// q in place of what is at the position, which becomes nonbasic with `key` at `value`; s.spike holds q's column. False:
// the factor is to be made again.
bool TVN_prf_exchange(prf_state& p, int32_t position, int32_t q, int32_t key, double value);

} // namespace tvn
