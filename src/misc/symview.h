// A sparse symmetric matrix by its lower triangle: column j holds positions beg[j] .. beg[j + 1] - 1, rows from j on,
// ascending, no row twice. Each entry off the diagonal stands for two.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct sym_view {
  int32_t n = 0;
  const int64_t* beg = nullptr; // [n + 1] null: all is 0
  const int32_t* sub = nullptr;
  const double* val = nullptr;

  bool any() const noexcept { return beg != nullptr && beg[n] > 0; }
};

// One that owns its arrays.
struct sym_matrix {
  buffer<int64_t> beg;
  buffer<int32_t> sub;
  buffer<double> val;

  void make(sysenv& sys, int32_t n, int64_t num); // beg all 0
  sym_view view() const noexcept;
};

// to := Q x; sums of terms in long double. to: [n]. largest: [n] or null, largest term of each sum.
void TVN_sym_multiply(const sym_view& q, const double* x, long double* to, double* largest = nullptr) noexcept;

// From lower triplets, factor times each; entries of equal place are added up.
void TVN_sym_fromtriplets(sysenv& sys, int32_t n, int64_t num, const int32_t* subi, const int32_t* subj,
                          const double* val, double factor, sym_matrix& q);

} // namespace tvn
