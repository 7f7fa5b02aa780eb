// Sparse vector: dense values, a list of the positions that may be nonzero, and marks that are clean between calls.
//
// Invariant: val[i] != 0 implies that i is in idx[0..count); a listed value may be exactly 0 after cancellation. mark
// is all zero whenever no routine runs: it is scratch of the routines that use the vector. clear() costs O(count).
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct spvec {
  buffer<double> val;   // [dim], 0 where not listed
  buffer<int32_t> idx;  // [dim], first `count` are in use, each position at most once
  buffer<int32_t> mark; // [dim], all 0 between calls
  int32_t count = 0;

  spvec() = default;
  spvec(sysenv& sys, int64_t dim) : val(sys, dim, 0.0), idx(sys, dim), mark(sys, dim, 0) {}

  int32_t dim() const noexcept { return static_cast<int32_t>(val.size()); }
  void clear() noexcept {
    for (int32_t p = 0; p < count; p++) val[idx[p]] = 0.0;
    count = 0;
  }
  // Adds a position that is not yet listed.
  void push(int32_t i, double value) noexcept {
    val[i] = value;
    idx[count++] = i;
  }
  void copy(const spvec& from) noexcept {
    clear();
    for (int32_t p = 0; p < from.count; p++) push(from.idx[p], from.val[from.idx[p]]);
  }
};

} // namespace tvn
