// What a register tile is to the code that packs for it.
#pragma once

#include <stdint.h>

namespace tvn {

// c (mr by nr, column-major with ldc) -= a b' over k: a packed in groups of mr, b in groups of nr.
using micro_function = void (*)(int64_t k, const double* a, const double* b, double* c, int64_t ldc);

struct microkernel {
  micro_function run;
  int32_t mr, nr;
};

extern const microkernel micro_base, micro_avx2, micro_avx512;

} // namespace tvn
