// Start bases better than all slacks.
#pragma once

#include "simplex/base/state.h"

namespace tvn {

// Replaces slacks of equations in the present basis by columns that leave it triangular; returns their number. Nothing
// is done when more than (100 - primalcrash) percent of the basics are structurals. Keys, header and x of the nonbasics
// stay in order.
int32_t TVN_simplex_primalcrash(simplex_state& s);

} // namespace tvn
