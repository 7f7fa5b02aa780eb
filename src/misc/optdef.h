// The words that presolve and optimizers share: bound keys, status keys, statuses, kinds of cones, and the arrays of a
// problem and of its solution.
#pragma once

#include "misc/symview.h"

namespace tvn {

// Infinity of bound arrays is 1e30 in magnitude.
inline constexpr double bound_infinity = 1e30;

// Bound keys and status keys; the numbers are those of the public constants.
enum bound_key : int32_t { bk_lo = 0, bk_up = 1, bk_fx = 2, bk_fr = 3, bk_ra = 4 };
enum status_key : int32_t { sk_unk = 0, sk_bas = 1, sk_supbas = 2, sk_low = 3, sk_upr = 4, sk_fix = 5, sk_inf = 6 };
constexpr bool has_lower(int32_t bk) noexcept { return bk == bk_lo || bk == bk_fx || bk == bk_ra; }
constexpr bool has_upper(int32_t bk) noexcept { return bk == bk_up || bk == bk_fx || bk == bk_ra; }

// Solution and problem statuses, numbered as outside.
enum sol_status : int32_t {
  sol_unknown = 0,
  sol_optimal = 1,
  sol_prim_feas = 2,
  sol_dual_feas = 3,
  sol_prim_and_dual_feas = 4,
  sol_prim_infeas_cer = 5,
  sol_dual_infeas_cer = 6,
  sol_near_optimal = 8,
  sol_near_prim_feas = 9,
  sol_near_dual_feas = 10,
  sol_near_prim_and_dual_feas = 11,
  sol_near_prim_infeas_cer = 12,
  sol_near_dual_infeas_cer = 13,
};
constexpr bool is_certificate(int32_t solsta) noexcept { // exact or near
  return solsta == sol_prim_infeas_cer || solsta == sol_dual_infeas_cer || solsta == sol_near_prim_infeas_cer ||
         solsta == sol_near_dual_infeas_cer;
}
enum pro_status : int32_t {
  pro_unknown = 0,
  pro_prim_and_dual_feas = 1,
  pro_prim_feas = 2,
  pro_dual_feas = 3,
  pro_prim_infeas = 4,
  pro_dual_infeas = 5,
};

// The user's solution arrays, of lengths numcon and numvar.
struct solution_view {
  int32_t *skc = nullptr, *skx = nullptr;
  double *xc = nullptr, *xx = nullptr, *y = nullptr, *slc = nullptr, *suc = nullptr, *slx = nullptr, *sux = nullptr;
  double* snx = nullptr; // duals of membership in a cone; read and set where the problem has cones
};

// Cones, numbered as outside: of members x1 .. xk, x1 >= |(x2, .., xk)|, or 2 x1 x2 >= |(x3, .., xk)|^2 with both >= 0.
enum cone_type : int32_t { ct_quad = 0, ct_rquad = 1 };

// Members of cone k lie in sub[beg[k]] to sub[end[k] - 1]; a variable is in one cone at most.
struct cone_view {
  int32_t num = 0;
  const int32_t *type = nullptr, *beg = nullptr, *end = nullptr; // [num]
  const int32_t* sub = nullptr;

  bool any() const noexcept { return num > 0; }
  int32_t size(int32_t k) const noexcept { return end[k] - beg[k]; }
  const int32_t* members(int32_t k) const noexcept { return sub + beg[k]; }
};

// Quadratic terms of rows: 1/2 x'Q_i x, the lower triangle of Q_i in positions beg[i] .. end[i] - 1. Entries of equal
// place add up.
struct qrow_view {
  const int64_t *beg = nullptr, *end = nullptr; // [numcon] null: no row has any
  const int32_t *subi = nullptr, *subj = nullptr;
  const double* val = nullptr;

  bool any() const noexcept { return beg != nullptr; }
  bool has(int32_t i) const noexcept { return any() && end[i] > beg[i]; }
};

// The user's problem, minimised. Column j holds positions ptrb[j] .. ptre[j]-1.
struct problem_view {
  int32_t numcon = 0, numvar = 0;
  double cfix = 0;
  const double* cslack = nullptr; // [numcon], null: all 0
  const double* c = nullptr;      // [numvar]
  const int64_t *ptrb = nullptr, *ptre = nullptr;
  const int32_t* sub = nullptr;
  const double* val = nullptr;
  const int32_t *bkc = nullptr, *bkx = nullptr;
  const double *blc = nullptr, *buc = nullptr, *blx = nullptr, *bux = nullptr;
  sym_view q; // the objective has 1/2 x'Qx, positive semidefinite
  cone_view cone;
  qrow_view qrow; // of rows with one bound, on the side where they are convex
};

// Objectives of a minimisation at which a run may end: a point is known below low, or no point lies below upp.
struct objective_cuts {
  bool uselow = false, useupp = false;
  double low = -1e30, upp = 1e30;

  objective_cuts negated() const noexcept { return {useupp, uselow, -upp, -low}; } // of the negative objective
  bool operator==(const objective_cuts&) const = default;
};

} // namespace tvn
