// From an interior point to a basis: crash, primal pushes, dual pushes.
//
// An optimal pair of points with complementary partition (B, N) has x_N at bounds and reduced costs of 0 on B. A basis
// that keeps that pair has to hold columns of B as far as they are independent, and beside them columns of N. Members
// of B that are left out move, without change of the objective, until they or a basic meet a bound (primal pushes);
// members of N in the basis have their reduced costs moved to 0, until those or others get there (dual pushes). No
// push can fail to make progress, so their number is that of the variables which stand on the wrong side (Megiddo 1991;
// Bixby and Saltzman 1994; Andersen and Ye 1996). What is left over from rounding and from an imprecise point, a
// simplex optimizer cleans up, which gets keys, values, basis and factor.
#pragma once

#include "simplex/base/state.h"

namespace tvn {

// point: in the user's space, values, duals, keys as guesses of its partition (sk_unk: none). On return keys, header
// and values of the nonbasics are those of a basis, s.factorready tells whether its factor stands, s.info.basis what
// was done. When the watch says stop, s.stop says why and the header is that of the last push.
void TVN_prf_puriflp(simplex_state& s, const solution_view& point);

} // namespace tvn
