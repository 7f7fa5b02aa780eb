// What the files of kktfac share.
#pragma once

#include "kfac/kktfac.h"

namespace tvn {

// The analysis; noneapart: every column of A goes into the matrix.
[[nodiscard]] kktfac_code kktfac_setup(kktfac& k, bool noneapart);

// The solution of the factored system: rhs, correction: [numcol + numrow], columns first.
void kktfac_apply(kktfac& k, const double* rhs, double* correction) noexcept;

struct kkt_residual {
  double worst = 0;        // the larger of both parts, each relative to its largest term
  double term[2] = {0, 0}; // largest terms of the columns' and of the rows' equations
};

// to := rhs - K v; null rhs: 0. All [numcol + numrow].
kkt_residual kktfac_residual(kktfac& k, kkt_target target, const double* rhs, const double* v, double* to) noexcept;

// Adds to v the combination of some corrections that leaves the least residual, if that makes it smaller. In and out:
// work.remainder, the residual of v to work.rhs, and `at`.
void kktfac_combine(kktfac& k, kkt_target target, double* v, kkt_residual& at) noexcept;

// Solves to the target and leaves the worst relative residual in the info. v: [numcol + numrow] right side, becomes the
// solution; one of the work vectors only if it is `solution`.
void kktfac_refine(kktfac& k, kkt_target target, double* v) noexcept;

} // namespace tvn
