// In-place sorts of keys with a companion array, without recursion and without memory of their own.
//
// Quicksort (Hoare 1962) with the middle key as pivot. The segments still to be sorted lie one behind the other, so
// that a stack of their ends says it all; the right part is sorted first. A segment of equal keys ends in one pass.
// Not stable. Cost: n log n comparisons on average, n^2 for orders made to defeat the middle pivot.
#pragma once

#include "cpub/sysenv.h"

namespace tvn {

// Ascending. aux is permuted with the keys and may be null; stack is space for n integers. unusedsize keeps the call
// in the form of the sorts that need work space. NaN stands behind all numbers.
void TVN_sort_ints(sysenv& sys, int32_t n, int32_t* keys, int32_t* aux, int32_t unusedsize, int32_t* stack);
void TVN_sort_reals(sysenv& sys, int32_t n, double* keys, int32_t* aux, int32_t unusedsize, int32_t* stack);

} // namespace tvn
