// Convex quadratic terms as cones: the problem with them taken out, and the way back for its solution.
//
// Row i: 1/2 x'Q_i x + a'x <= u becomes
//
//     a'x + w <= u,   L'x - t = 0,   2 w h >= |t|^2,   h = 1,   Q_i = L L',
//
// and -Q_i with -w for a lower bound; the objective becomes c'x + w with the same cone. The row keeps its place and its
// bound, and its dual is the multiplier of the quadratic row: where the cone's dual belongs to a point near the path,
// it is -w's dual, and L times t's dual is y_i Q_i x. Cost: that of the factors.
#pragma once

#include "misc/runwatch.h"
#include "misc/solcopy.h"
#include "qcoptdir/qroot.h"

namespace tvn {

// Where the terms of a row went: its cone has members var, var + 1 (which is 1), and the roots behind them.
struct qcone_part {
  int32_t row;       // -1: of the objective
  int32_t sign;      // of Q: -1 where the row has a lower bound
  int32_t root, num; // rows of `roots`
  int32_t var;
};

struct qcone_form {
  problem_view lp;
  solution_room room;
  vec<qcone_part> parts;
  qroot_rows roots; // by columns of the problem
  int32_t badrow = -1;

  explicit qcone_form(sysenv& sys) : parts(sys), roots(sys) {}
  qcone_form(const qcone_form&) = delete;
  qcone_form& operator=(const qcone_form&) = delete;

  buffer<int64_t> ptr;
  buffer<int32_t> sub, bkc, bkx, cones;
  buffer<double> val, cslack, c, blc, buc, blx, bux;
};

// check: nobody has looked whether the terms are convex. Where they are not, badrow is the row, -1 for the objective.
[[nodiscard]] qroot_code TVN_reformqcqo(sysenv& sys, const problem_view& lp, bool check, const sfk_progress& progress,
                                        qcone_form& form);

// The solution in form.room as one of lp, with all duals. That of an infeasible problem gets the point xx at which its
// sum of constraints is least.
void TVN_setqcqosol(sysenv& sys, const problem_view& lp, const qcone_form& form, int32_t solsta, run_watch& watch,
                    solution_view& sol);

} // namespace tvn
