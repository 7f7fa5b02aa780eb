// The root of a sparse positive semidefinite matrix: Q = L L', by the rows of L'.
//
// L comes from the sparse factor of Q scaled to a unit diagonal. Rows of pivots that are 0 are left out, so that there
// are as many as Q has rank. Cost: that of the factor.
#pragma once

#include "cpub/buffer.h"
#include "kfac/sfk.h"
#include "misc/symview.h"

namespace tvn {

struct qroot_rows {
  int32_t num = 0;
  vec<int64_t> beg; // num + 1
  vec<int32_t> sub;
  vec<double> val;

  explicit qroot_rows(sysenv& sys) {
    beg.attach(sys), sub.attach(sys), val.attach(sys);
    beg.push_back(0);
  }
};

enum class qroot_code : int32_t { ok = 0, nonconvex = 1, stopped = 2 };

// Adds the rows of L'. check: nobody has looked whether Q is semidefinite. Stopped also where a number of the factor is
// not finite.
[[nodiscard]] qroot_code TVN_qroot_make(sysenv& sys, const sym_view& q, bool check, const sfk_progress& progress,
                                        qroot_rows& rows);

} // namespace tvn
