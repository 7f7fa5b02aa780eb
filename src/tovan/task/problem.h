// The problem of a task: sizes, objective, bounds, A, quadratic terms, cones and integrality.
//
// minimise or maximise c'x + cfix + 0.5 x'Q0 x  subject to  blc <= A x + quadratic terms <= buc, blx <= x <= bux,
// cone memberships and integer variables. All values are in user space. Arrays have the length of the capacity of
// their side; entries behind the count are unset. Every array is sized before the count grows, so a failed call leaves
// a whole problem. Key FX, LO, UP, FR, RA says which bounds count; infinity is stored as 1e30.
#pragma once

#include "misc/optdef.h"
#include "misc/sprmat.h"
#include "tovan.h"

namespace tvn {

inline bool TVN_isinfinity(double x) noexcept { return x >= bound_infinity; }

// Triplets of the objective and of all constraints in one pool, lower triangular (subi >= subj).
struct qterms {
  int64_t maxnumqnz = 0;      // capacity of the pool
  int64_t numqnzfree = 0;     // unused entries at its tail
  buffer<int32_t> subi, subj; // [maxnumqnz]
  buffer<double> val;         // [maxnumqnz]
  int64_t objbegin = 0, objend = 0;
  buffer<int64_t> conbegin, conend; // [maxnumcon], empty until a constraint receives terms
};

// Members of cone k lie in members[begin[k]] to members[end[k] - 1]; a variable is in one cone at most.
struct cones {
  int32_t surplus = 0;        // unused entries at the tail of members
  buffer<int32_t> begin, end; // [maxnumcone]
  buffer<int32_t> type;       // [maxnumcone] TVN_CT_*
  buffer<double> par;         // [maxnumcone] kept for the user
  buffer<int32_t> members;    // [maxnumvar]
  buffer<int32_t> which;      // [maxnumvar] 0: in no cone, else cone + 1
};

struct problem {
  int32_t maxnumvar = 0, maxnumcon = 0, maxnumcone = 0;
  int32_t numvar = 0, numcon = 0, numcone = 0;
  int32_t objsense = 0;  // TVN_OBJECTIVE_SENSE_*, 0: the parameter decides
  buffer<double> cslack; // [maxnumcon] objective coefficient of the activity, 0 unless the library sets it
  buffer<double> c;      // [maxnumvar]
  double cfix = 0.0;
  qterms q;
  sprmat a;                 // made on first need
  buffer<int32_t> bkc, bkx; // [maxnumcon], [maxnumvar] TVN_BK_*
  buffer<double> blc, buc;  // [maxnumcon]
  buffer<double> blx, bux;  // [maxnumvar]
  cones cone;
  int32_t numintvar = 0;     // as told by TVN_putvartype, which may lose count on purpose; ask count_integers
  buffer<int32_t> vartype;   // [maxnumvar] TVN_VAR_TYPE_*, empty: all continuous
  buffer<int32_t> branchpri; // [maxnumvar], empty until first put
  buffer<int32_t> branchdir; // [maxnumvar] TVN_BRANCH_DIR_*, likewise
};

// One side of the problem, by access mode.
struct bound_arrays {
  int32_t count = 0;
  int32_t* bk = nullptr;
  double* bl = nullptr;
  double* bu = nullptr;
};

inline bound_arrays side_bounds(problem& p, int32_t accmode) noexcept {
  if (accmode == TVN_ACC_CON) return {p.numcon, p.bkc.data(), p.blc.data(), p.buc.data()};
  return {p.numvar, p.bkx.data(), p.blx.data(), p.bux.data()};
}

struct bound_value {
  int32_t bk = TVN_BK_FR;
  double bl = -bound_infinity, bu = bound_infinity;
};

bound_value get_bound(const problem& p, int32_t accmode, int32_t i) noexcept;

bool has_qobj(const problem& p) noexcept;
bool has_qcon(const problem& p) noexcept;
int64_t num_qcon_terms(const problem& p, int32_t k) noexcept;
// Integer variables by their types; numintvar is what TVN_getnumintvar tells, no more.
int32_t count_integers(const problem& p) noexcept;

} // namespace tvn
