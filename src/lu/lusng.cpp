// Set-up of a factorisation: input, the singleton passes, and the first compression.
//
// A column with one active row pivots there at the front of the order: its row is a row of U as it stands. A row with
// one active column pivots at the back: the other active elements of that column become a column of L, and nothing is
// eliminated. Each pass lowers counts along the row or column of the pivot and stacks what reaches one, so all of them
// together cost a few passes over the elements (Suhl and Suhl 1990). Most bases are nearly triangular and need nothing
// else; what is left, the active rows and columns, goes to the pivot search.
//
// On exit forward rows hold what stands beside their pivot, active rows what lies in active columns, rows of singletons
// nothing; all keep their blocks, so that updates find room. The L columns stand at the top; the column store is
// undefined.
#include "lu/luint.h"

#include <cmath>

namespace tvn {
namespace {

// Columns with one element pivot on it, slacks above all: the first for a row takes it. They never enter the rows.
void pivot_slacks(lu& f) {
  int32_t p = 0;
  for (int32_t j = 0; j < f.ncol; p += f.clen[j++])
    if (f.clen[j] == 1 && f.rowpivcol[f.crow[p]] == f.ncol && std::fabs(f.cval[p]) > f.tolabspiv)
      TVN_lu_apivot(f, f.crow[p], j, f.cval[p], true);
  f.work[lt_slacks] += f.ncol;
}

// Row blocks with room for all elements of a row, its pivot included.
bool place_rows(lu& f) {
  int64_t total = 0;
  for (int32_t i = 0; i < f.nrow; i++) {
    const int32_t cap = TVN_lu_computesize(f, true, f.rlen[i]).cap;
    f.rcap[i] = cap;
    f.rbeg[i] = static_cast<int32_t>(total);
    total += cap;
    if (total > f.wsze) return false;
  }
  f.urowfree = static_cast<int32_t>(total);
  return true;
}

// Fills the rows with all columns that have no pivot yet; count: elements of a column in rows without pivot.
void transpose(lu& f, int32_t* __restrict count) {
  std::fill_n(f.rlen.data(), f.nrow, 0);
  const int32_t* __restrict cr = f.crow.data();
  const double* __restrict cv = f.cval.data();
  int32_t* __restrict rc = f.rcol.data();
  double* __restrict rv = f.rval.data();
  const int32_t* __restrict beg = f.rbeg.data();
  int32_t* __restrict len = f.rlen.data();
  const int32_t* __restrict pivcol = f.rowpivcol.data();
  const int32_t none = f.ncol;
  int32_t p = 0;
  for (int32_t j = 0; j < f.ncol; j++) {
    const int32_t end = p + f.clen[j];
    count[j] = 0;
    if (f.colpivrow[j] != f.nrow) {
      p = end;
      continue;
    }
    int32_t active = 0;
    for (; p < end; p++) {
      const int32_t i = cr[p], q = beg[i] + len[i]++;
      rc[q] = j;
      rv[q] = cv[p];
      active += pivcol[i] == none;
    }
    count[j] = active;
  }
  f.work[lt_transpose] += f.anz;
}

// A row that pivots at the front is a row of U from now on, its pivot apart. No cross pointers stand yet.
void drop_pivot(lu& f, int32_t i, int32_t q) {
  const int32_t last = f.rbeg[i] + --f.rlen[i];
  f.rcol[q] = f.rcol[last];
  f.rval[q] = f.rval[last];
}

bool is_active_row(const lu& f, int32_t i) { return f.rowpivcol[i] == f.ncol; }
bool is_active_col(const lu& f, int32_t j) { return f.colpivrow[j] == f.nrow; }

double largest_in_row(const lu& f, int32_t i) {
  double big = 0.0;
  for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) big = std::max(big, std::fabs(f.rval[q]));
  return big;
}

void pivot_column_singletons(lu& f, int32_t* __restrict count, int32_t* __restrict stack) {
  int64_t work = f.ncol;
  int32_t depth = 0;
  for (int32_t j = 0; j < f.ncol; j++)
    if (count[j] == 1) stack[depth++] = j;
  while (depth > 0) {
    const int32_t j = stack[--depth];
    if (count[j] != 1) continue;
    int32_t p = f.cbeg[j];
    while (!is_active_row(f, f.crow[p])) p++;
    work += p - f.cbeg[j] + 1;
    const int32_t i = f.crow[p];
    const double a = std::fabs(f.cval[p]);
    if (a < f.tolabspiv) continue;
    if (f.pivotmethod != 1 && a < f.tolrelpiv * largest_in_row(f, i)) continue;
    TVN_lu_apivot(f, i, j, f.cval[p], true);
    int32_t place = 0;
    work += f.rlen[i];
    for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) {
      const int32_t k = f.rcol[q];
      if (--count[k] == 1) stack[depth++] = k;
      if (k == j) place = q;
    }
    drop_pivot(f, i, place);
  }
  f.work[lt_colsingle] += work;
}

// Counts of the active columns in each active row; the active elements of a row are counted once.
void count_rows(lu& f, int32_t* count) {
  for (int32_t k = f.stpf; k < f.nrow; k++) {
    const int32_t i = f.prow[k];
    int32_t n = 0;
    for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) n += is_active_col(f, f.rcol[q]);
    count[i] = n;
  }
}

// Largest active magnitude of a column, kept in colmax: while the column is active no row of it can pivot elsewhere.
double active_max(const lu& f, double* colmax, int32_t j) {
  if (colmax[j] >= 0.0) return colmax[j];
  double big = 0.0;
  for (int32_t p = f.cbeg[j], e = p + f.clen[j]; p < e; p++)
    if (is_active_row(f, f.crow[p])) big = std::max(big, std::fabs(f.cval[p]));
  return colmax[j] = big;
}

// count: active columns of an active row; relative: the pivot must also reach the threshold within its column.
void pivot_row_singletons(lu& f, int32_t* count, int32_t* stack, double* colmax, bool relative, lu_task task) {
  int64_t work = f.nrow - f.stpf;
  int32_t depth = 0;
  for (int32_t k = f.stpf; k < f.nrow - f.stpb; k++)
    if (count[f.prow[k]] == 1) stack[depth++] = f.prow[k];
  while (depth > 0) {
    const int32_t i = stack[--depth];
    if (count[i] != 1 || !is_active_row(f, i)) continue;
    int32_t q = f.rbeg[i];
    while (!is_active_col(f, f.rcol[q])) q++;
    work += q - f.rbeg[i] + 1;
    const int32_t j = f.rcol[q];
    const double a = std::fabs(f.rval[q]);
    if (a < f.tolabspiv) continue;
    if (relative && a < f.tolrelpiv * active_max(f, colmax, j)) continue;
    TVN_lu_apivot(f, i, j, f.rval[q], false);
    for (int32_t p = f.cbeg[j], e = p + f.clen[j]; p < e; p++) {
      const int32_t r = f.crow[p];
      if (!is_active_row(f, r)) continue;
      f.lcount++;
      if (--count[r] == 1) stack[depth++] = r;
    }
    work += f.clen[j];
  }
  f.work[task] += work;
}

// L columns of the row singletons in the order of elimination: their column in the rows that pivot later. A row
// eliminated later stands at a lower position.
lu_code store_backward_columns(lu& f) {
  for (int32_t k = f.nrow - 1; k >= f.nrow - f.stpb; k--) {
    const int32_t i = f.prow[k], j = f.rowpivcol[i];
    if (f.lubot - f.clen[j] < f.urowfree) return lu_code::no_storage;
    const double scale = -1.0 / f.diag[i];
    const int32_t top = f.lubot;
    for (int32_t p = f.cbeg[j], e = p + f.clen[j]; p < e; p++) {
      const int32_t r = f.crow[p], place = f.prowinv[r];
      if (place < f.stpf || place >= k) continue;
      f.rcol[--f.lubot] = r;
      f.rval[f.lubot] = f.cval[p] * scale;
    }
    f.work[lt_lback] += f.clen[j];
    f.lbeg[i] = f.lubot;
    f.llen[i] = top - f.lubot;
    if (f.llen[i] > 0) f.lorder[f.numl++] = i;
  }
  return lu_code::done;
}

// What the singleton passes left to U. Active rows lose what stands in columns of row singletons: that is in L. The
// rows of those have nothing else.
void compress_rows(lu& f) {
  int64_t work = 0;
  for (int32_t k = f.stpf; k < f.nrow; k++) {
    const int32_t i = f.prow[k], b = f.rbeg[i], e = b + f.rlen[i];
    const bool active = k < f.nrow - f.stpb;
    int32_t to = b;
    for (int32_t q = b; q < e && active; q++) {
      if (!is_active_col(f, f.rcol[q])) continue;
      f.rcol[to] = f.rcol[q];
      f.rval[to++] = f.rval[q];
    }
    f.rlen[i] = to - b;
    work += e - b;
  }
  f.work[lt_compress] += work;
  for (int32_t i = 0; i < f.nrow; i++) f.ucount += f.prowinv[i] < f.stpf ? f.rlen[i] : 0;
  if (f.runsdropu)
    for (int32_t k = 0; k < f.stpf; k++) f.rlen[f.prow[k]] = 0;
  TVN_lu_resetufre(f);
}

} // namespace

lu_code lu_setup(lu& f, std::span<int32_t> iwork, std::span<double> rwork) {
  f.state = lu_factoring;
  if (const lu_code code = lu_input(f, iwork); code != lu_code::done) return code;
  if (!place_rows(f)) return lu_code::no_storage;
  int32_t* count = iwork.data();
  int32_t* stack = count + f.ncol;
  if (f.pivotmethod == 1) pivot_slacks(f);
  transpose(f, count);
  pivot_column_singletons(f, count, stack);
  if (f.stpf < f.nrow) {
    double* colmax = rwork.data();
    std::fill_n(colmax, f.ncol, -1.0);
    count_rows(f, count);
    const bool relative = f.pivotmethod == 1 || f.pivotmethod == 2;
    pivot_row_singletons(f, count, stack, colmax, relative, lt_rowsingle);
    if (f.pivotmethod == 1) pivot_row_singletons(f, count, stack, colmax, false, lt_rowsingle2);
  }
  if (!f.runsdropl)
    if (const lu_code code = store_backward_columns(f); code != lu_code::done) return code;
  compress_rows(f);
  return lu_code::done;
}

} // namespace tvn
