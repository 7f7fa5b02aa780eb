// The three solutions of a task: interior (0), basic (1), integer (2).
//
// Each slot has one array of keys and one of values in blocks at fixed positions, m, n, k being the capacities:
//   keys    skc 0, skx m, skn m + n (interior only)
//   values  xc 0, xx m, y m + n, slc 2m + n, suc 3m + n, slx 4m + n, sux 4m + 2n, snx 4m + 3n (interior only);
//           the integer slot ends behind xx.
// Only sol.cpp knows the layout. Values are in user space: y and s are duals of the user's problem with the
// user's objective sense. A slot is absent, made (storage, flag off) or defined; with all capacities 0 a defined slot
// has no storage. Each change of the problem lowers the statuses by fixed rules and keeps the values.
#pragma once

#include "cpub/buffer.h"

#include <array>

namespace tvn {

struct solution_store {
  numbered<int32_t, 3> prosta{};  // TVN_PRO_STA_*
  numbered<int32_t, 3> solsta{};  // TVN_SOL_STA_*
  numbered<int32_t, 3> defined{}; // 1: the slot may be read
  numbered<buffer<int32_t>, 3> keys;
  numbered<buffer<double>, 3> values;
  int32_t numbaskeys = 0; // TVN_SK_BAS keys of the last basic solution that was put
};

} // namespace tvn
