// What the files of the factor share among themselves; callers include lu.h.
#pragma once

#include "lu/lu.h"
#include "misc/prque.h"

namespace tvn {

// Storage (lusto). Capacities are powers of two cut to the dimension, so that moved blocks are reusable.
struct lu_blocksize {
  int32_t cap;  // elements
  int32_t log2; // of the uncut power, -1 for an empty block
};
lu_blocksize TVN_lu_computesize(const lu& f, bool isrow, int32_t n);
void TVN_lu_resetufre(lu& f); // forgets all free blocks
// Room for n elements, n >= length. no_storage when even a compression did not make room; nothing has changed then,
// apart from positions.
[[nodiscard]] lu_code TVN_lu_resizerow(lu& f, int32_t i, int32_t n);
[[nodiscard]] lu_code TVN_lu_resizecol(lu& f, int32_t j, int32_t n);
// Compresses both stores; false without work when the compressions of this factorisation are used up.
bool TVN_lu_garcol(lu& f);
void lu_compress(lu& f); // the same without the limit
// Builds the column store from the rows at [from, to) of the pivot order (of uorder when factored, then with values).
[[nodiscard]] lu_code TVN_lu_buildcoldbg(lu& f, int32_t from, int32_t to);
// Moves rows in pivot order to the front of the other store and exchanges the stores. keep(i, j) tells which elements
// stay. The column store is lost; L columns and etas are carried over.
template <class Keep> void lu_gather(lu& f, Keep keep);

inline int32_t lu_collimit(const lu& f) { return f.state == lu_factored ? f.lbegin : f.wsze; }

// Takes the element at row store position q out of row i; the last element of the row fills the gap.
inline void lu_cutfromrow(lu& f, int32_t i, int32_t q) {
  const int32_t last = f.rbeg[i] + --f.rlen[i];
  if (q == last) return;
  f.rval[q] = f.rval[last];
  f.rcol[q] = f.rcol[last];
  f.rpos[q] = f.rpos[last];
  f.cpos[f.rpos[q]] = q;
}

// Takes the element at column store position p out of column j. Moves a value too, when the store holds values.
inline void lu_cutfromcol(lu& f, int32_t j, int32_t p) {
  const int32_t last = f.cbeg[j] + --f.clen[j];
  if (p == last) return;
  f.crow[p] = f.crow[last];
  f.cval[p] = f.cval[last];
  f.cpos[p] = f.cpos[last];
  f.rpos[f.cpos[p]] = p;
}

// Input (luinp): columns into the column store in column order.
[[nodiscard]] lu_code lu_input(lu& f, std::span<int32_t> iwork);

// Set-up (lusng): input, singleton passes, L columns of the row singletons.
[[nodiscard]] lu_code lu_setup(lu& f, std::span<int32_t> iwork, std::span<double> rwork);
// Records a pivot at the front (or the back) of the active rows.
void TVN_lu_apivot(lu& f, int32_t i, int32_t j, double pivot, bool front);

// Pivot search and elimination (lupiv, luelm).
struct lu_active {
  pq rowq, colq;    // unpivoted rows and columns that may still pivot, keyed by length
  int32_t* mark;    // [ncol] 0
  int32_t* collist; // [ncol] columns of the pivot row
  int32_t* rowlist; // [nrow] rows of the pivot column
  double* rowmax;   // [nrow] largest magnitude of an active row, -1 unknown
  double* colmax;   // [ncol] of an active column, -1 unknown
  double* dense;    // [ncol] 0.0, the pivot row during an elimination
};
struct lu_pivot {
  int32_t i, j; // i == nrow: there is none
  bool front;   // false: row singleton, goes to the back of the order
};
lu_pivot TVN_lu_choosepiv(lu& f, lu_active& a);
[[nodiscard]] lu_code TVN_lu_dopivot(lu& f, lu_active& a, const lu_pivot& piv);

// Update bookkeeping (luupd).
void TVN_lu_initupdate(lu& f);

// The breach found first, or null. Levels of audit: factor and update at TVN_CHECK_LEVEL 2 and 3.
const char* TVN_lu_check(const lu& f);
void lu_audit(const lu& f, const char* label, int line); // stops on a breach

template <class Keep> void lu_gather(lu& f, Keep keep) {
  const bool factored = f.state == lu_factored;
  const int32_t* order = factored ? f.uorder.data() : f.prow.data();
  const int32_t n = factored ? f.uend : f.nrow;
  const double* __restrict rv = f.rval.data();
  const int32_t* __restrict rc = f.rcol.data();
  double* __restrict tv = f.cval.data();
  int32_t* __restrict tc = f.crow.data();
  // L by rows stays with the columns: it lies in the store that becomes the row store.
  const int32_t shared = factored ? f.lbegin : f.wsze;
  if (shared < f.wsze) {
    std::swap_ranges(f.rval.data() + shared, f.rval.data() + f.wsze, f.cval.data() + shared);
    std::swap_ranges(f.rcol.data() + shared, f.rcol.data() + f.wsze, f.crow.data() + shared);
  }
  int32_t pos = 0;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    const int32_t b = f.rbeg[i], e = b + f.rlen[i], start = pos;
    for (int32_t q = b; q < e; q++) {
      if (!keep(i, rc[q])) continue;
      tv[pos] = rv[q];
      tc[pos++] = rc[q];
    }
    f.rbeg[i] = start;
    f.rlen[i] = pos - start;
    f.rcap[i] = TVN_lu_computesize(f, true, pos - start).cap;
    pos = start + f.rcap[i];
  }
  f.urowfree = pos;
  for (int32_t q = f.lubot; q < shared; q++) { // L while factoring, etas when factored
    tv[q] = rv[q];
    tc[q] = rc[q];
  }
  f.rval.swap(f.cval);
  f.rcol.swap(f.crow);
}

} // namespace tvn
