// The first step of a clean-up: a basis with few violations is mended by single pivots (smartcrash.cpp).
#pragma once

#include "simplex/base/state.h"

namespace tvn {

// At a basis with its factor and no vector of an iteration in use. True: nothing is left for an optimizer, because the
// basis is optimal within tolerance (info.solsta says so, for the frame to prove) or the run has been stopped. False:
// the basis stands where the last good pivot left it.
bool TVN_simplex_smartcrash(simplex_state& s);

} // namespace tvn
