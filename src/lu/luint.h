// What the files of the factor share among themselves; callers include lu.h.
#pragma once

#include "lu/lu.h"
#include "misc/prque.h"

#include <bit>

namespace tvn {

// Storage (lusto). Capacities are powers of two cut to the dimension, so that moved blocks are reusable.
struct lu_blocksize {
  int32_t cap;  // elements
  int32_t log2; // of the uncut power, -1 for an empty block
};
inline lu_blocksize TVN_lu_computesize(const lu& f, bool isrow, int32_t n) {
  if (n == 0) return {0, -1};
  const int32_t log2 = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(n - 1)));
  const int64_t dim = isrow ? f.ncol : f.nrow;
  return {static_cast<int32_t>(std::min(int64_t{1} << log2, dim)), log2};
}
void TVN_lu_resetufre(lu_store& s); // forgets all free blocks
// Room for n elements, n >= length. no_storage when even a compression did not make room; nothing has changed then,
// apart from positions.
[[nodiscard]] lu_code TVN_lu_resizerow(lu& f, int32_t i, int32_t n);
[[nodiscard]] lu_code TVN_lu_resizecol(lu& f, int32_t j, int32_t n);
// Compresses both stores; false without work when the compressions of this factorisation are used up.
bool TVN_lu_garcol(lu& f);
void lu_compress(lu& f); // the same without the limit
// Builds the column store from the rows at [from, to) of the pivot order (of uorder when factored, then with values).
[[nodiscard]] lu_code TVN_lu_buildcoldbg(lu& f, int32_t from, int32_t to);
// Moves the rows in pivot order to the front of the other store and exchanges the stores. The column store is lost; L
// columns and etas are carried over.
void lu_gather(lu& f);

inline int32_t lu_collimit(const lu& f) { return f.state == lu_factored ? f.sto.lbegin : f.sto.wsze; }

// Takes the element at row store position q out of row i; the last element of the row fills the gap.
inline void lu_cutfromrow(lu_store& s, int32_t i, int32_t q) {
  const int32_t last = s.rbeg[i] + --s.rlen[i];
  if (q == last) return;
  s.rval[q] = s.rval[last];
  s.rcol[q] = s.rcol[last];
  s.rpos[q] = s.rpos[last];
  s.cpos[s.rpos[q]] = q;
}

// Takes the element at column store position p out of column j. Moves a value too, when the store holds values.
inline void lu_cutfromcol(lu_store& s, int32_t j, int32_t p) {
  const int32_t last = s.cbeg[j] + --s.clen[j];
  if (p == last) return;
  s.crow[p] = s.crow[last];
  s.cval[p] = s.cval[last];
  s.cpos[p] = s.cpos[last];
  s.rpos[s.cpos[p]] = p;
}

// Input (luinp): columns into the column store in column order.
[[nodiscard]] lu_code lu_input(lu& f, array_view<int32_t> iwork);

// Set-up (lusng): input, singleton passes, L columns of the row singletons.
[[nodiscard]] lu_code lu_setup(lu& f, array_view<int32_t> iwork, array_view<double> rwork);
// Records a pivot at the front (or the back) of the active rows.
inline void TVN_lu_apivot(lu& f, int32_t i, int32_t j, double pivot, bool front) {
  const int32_t to = front ? f.piv.stpf++ : f.nrow - ++f.piv.stpb;
  const int32_t from = f.piv.prowinv[i], other = f.piv.prow[to];
  f.piv.prow[from] = other;
  f.piv.prowinv[other] = from;
  f.piv.prow[to] = i;
  f.piv.prowinv[i] = to;
  f.piv.rowpivcol[i] = j;
  f.piv.colpivrow[j] = i;
  f.u.diag[i] = pivot;
}

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

} // namespace tvn
