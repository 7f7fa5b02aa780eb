// Linearly dependent rows of a sparse system A x = b. See README.md.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct lindep2_param {
  double tolapiv = 1e-6;  // smallest pivot
  double tolrelpiv = 0.1; // of the threshold pivoting
  double tolzero = 1e-9;  // of a combination's entries beside its terms
  int64_t maxwork = -1;   // units of work: factorisations, solves, entries of combinations; negative: none
};

struct lindep2_stats {
  int32_t numcore = 0;       // rows left after the peeling
  int32_t numcandidates = 0; // rows without pivot
  double work = 0;
};

// The rows to check: row i of the system with its entries, and the same by columns.
struct lindep2_system {
  int32_t m = 0, n = 0;
  const int64_t *colbeg = nullptr, *rowbeg = nullptr; // [n + 1], [m + 1]
  const int32_t *colsub = nullptr, *rowsub = nullptr;
  const double *colval = nullptr, *rowval = nullptr;
};

// The row `row` of the combination sum y[k] * row sub[k] = 0 has weight 1. False ends the check.
struct lindep2_found {
  void* handle = nullptr;
  bool (*fn)(void* handle, int32_t row, int32_t num, const int32_t* sub, const double* y) = nullptr;
};
struct lindep2_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle) = nullptr;
};

enum class lindep2_code : int32_t { ok = 0, work_limit = 1, stopped = 2, gave_up = 3 };

// Reports each dependent row with a verified combination; removing all of them keeps the row space. Throws
// out_of_memory.
lindep2_code TVN_lindep2_check(sysenv& sys, const lindep2_param& param, const lindep2_system& a,
                               const lindep2_found& found, const lindep2_progress& progress, lindep2_stats& stats);

} // namespace tvn
