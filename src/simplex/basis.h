// The basis record that outlives one simplex run, so that a re-solve gets a warm start.
#pragma once

#include "lu/lu.h"

namespace tvn {

struct simplex_basis {
  int32_t numcon = -1;      // rows of the problem that it belongs to, -1: nothing is kept
  buffer<int32_t> idx;      // [numcon] basic variable per position, joined index: logicals 0.., then structurals
};

} // namespace tvn
