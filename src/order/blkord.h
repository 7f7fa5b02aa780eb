// Transversals of a sparse pattern: rows and columns matched by entries, each at most once. See README.md.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

// Column k holds the rows sub[beg[k]] .. sub[end[k] - 1].
struct blkord_pattern {
  int32_t nrow = 0, ncol = 0;
  const int64_t *beg = nullptr, *end = nullptr; // [ncol]
  const int32_t* sub = nullptr;
};

// Asked after each piece of work; nonzero stops the search with the matching that it has.
struct blkord_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle) = nullptr;
};

// A matching, both ways; -1: none. Valid on entry and on return; what is matched stays matched, perhaps to others.
struct blkord_matching {
  array_view<int32_t> col2row; // [ncol]
  array_view<int32_t> row2col; // [nrow]
};

// All throw out_of_memory and return the number of columns matched; a stopped search leaves a valid matching.

// Greedy: columns by length, the shortest first, each to the free row with the fewest entries. O(entries).
int32_t TVN_blkord_appmaxtran(sysenv& sys, const blkord_pattern& a, blkord_matching match);
// As many as there can be.
int32_t TVN_blkord_maxtran(sysenv& sys, const blkord_pattern& a, blkord_matching match,
                           const blkord_progress& progress = {});
// As many as there can be when only rows with rowcount below the threshold are matched anew. rowcount: [nrow], the
// entries of a row, or any other rank.
int32_t TVN_blkord_maxtranwithrowtrh(sysenv& sys, const blkord_pattern& a, const int32_t* rowcount, int32_t threshold,
                                     blkord_matching match, const blkord_progress& progress = {});

} // namespace tvn
