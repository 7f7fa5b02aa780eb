// Whether a sparse symmetric matrix is positive semidefinite, up to a tolerance.
//
// With its diagonal scaled to 1, Q counts as semidefinite when Q + tol I has a Cholesky factor: then no eigenvalue of
// the scaled matrix lies below -tol. A pivot of 0 after elimination passes exactly when what stands beside it is at
// most about sqrt(tol), so the rest of a zero pivot must be zero. A zero on the diagonal of Q itself needs an empty
// row. Cost: that of the sparse factor, on the rows that Q has.
#pragma once

#include "kfac/sfk.h"
#include "misc/symview.h"

namespace tvn {

enum class convex_level : int32_t {
  none = 0,
  simple = 1, // signs of the diagonal and minors of order 2
  full = 2,   // the factor
};

enum class convex_code : int32_t { ok = 0, indefinite = 1, stopped = 2 };

struct convex_result {
  convex_code code = convex_code::ok;
  int32_t sub = -1; // of an indefinite matrix: a row that shows it
  double value = 0; // its pivot, that of the scaled matrix; or the diagonal that has the wrong sign
};

// Lower triplets, no place twice.
struct convex_terms {
  int64_t num = 0;
  const int32_t *subi = nullptr, *subj = nullptr;
  const double* val = nullptr;
};

// Of sign times the matrix. A value that is not finite is indefinite. Throws out_of_memory.
[[nodiscard]] convex_result TVN_symmat_checkdef(sysenv& sys, const convex_terms& q, double sign, convex_level level,
                                                double tol, const sfk_progress& progress);

// The same by columns, full, for the sign 1.
convex_code TVN_symmat_checkcolumns(sysenv& sys, const sym_view& q, double tol, const sfk_progress& progress);

} // namespace tvn
