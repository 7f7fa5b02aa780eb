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
  for (int32_t j = 0; j < f.ncol; p += f.sto.clen[j++])
    if (f.sto.clen[j] == 1 && f.piv.rowpivcol[f.sto.crow[p]] == f.ncol && std::fabs(f.sto.cval[p]) > f.set.tolabspiv)
      TVN_lu_apivot(f, f.sto.crow[p], j, f.sto.cval[p], true);
  f.acc.work[lt_slacks] += f.ncol;
}

// Row blocks with room for all elements of a row, its pivot included.
bool place_rows(const lu& f, lu_store& s) {
  int64_t total = 0;
  for (int32_t i = 0; i < f.nrow; i++) {
    const int32_t cap = TVN_lu_computesize(f, true, s.rlen[i]).cap;
    s.rcap[i] = cap;
    s.rbeg[i] = static_cast<int32_t>(total);
    total += cap;
    if (total > s.wsze) return false;
  }
  s.urowfree = static_cast<int32_t>(total);
  return true;
}

// Fills the rows with all columns that have no pivot yet; count: elements of a column in rows without pivot.
void transpose(lu& f, int32_t* __restrict count) {
  std::fill_n(f.sto.rlen.data(), f.nrow, 0);
  const int32_t* __restrict cr = f.sto.crow.data();
  const double* __restrict cv = f.sto.cval.data();
  int32_t* __restrict rc = f.sto.rcol.data();
  double* __restrict rv = f.sto.rval.data();
  const int32_t* __restrict beg = f.sto.rbeg.data();
  int32_t* __restrict len = f.sto.rlen.data();
  const int32_t* __restrict pivcol = f.piv.rowpivcol.data();
  const int32_t none = f.ncol;
  int32_t p = 0;
  for (int32_t j = 0; j < f.ncol; j++) {
    const int32_t end = p + f.sto.clen[j];
    count[j] = 0;
    if (f.piv.colpivrow[j] != f.nrow) {
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
  f.acc.work[lt_transpose] += f.sto.anz;
}

// A row that pivots at the front is a row of U from now on, its pivot apart. No cross pointers stand yet.
void drop_pivot(lu& f, int32_t i, int32_t q) {
  const int32_t last = f.sto.rbeg[i] + --f.sto.rlen[i];
  f.sto.rcol[q] = f.sto.rcol[last];
  f.sto.rval[q] = f.sto.rval[last];
}

bool is_active_row(const lu& f, int32_t i) { return f.piv.rowpivcol[i] == f.ncol; }
bool is_active_col(const lu& f, int32_t j) { return f.piv.colpivrow[j] == f.nrow; }

double largest_in_row(const lu& f, int32_t i) {
  double big = 0.0;
  for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) big = std::max(big, std::fabs(f.sto.rval[q]));
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
    int32_t p = f.sto.cbeg[j];
    while (!is_active_row(f, f.sto.crow[p])) p++;
    work += p - f.sto.cbeg[j] + 1;
    const int32_t i = f.sto.crow[p];
    const double a = std::fabs(f.sto.cval[p]);
    if (a < f.set.tolabspiv) continue;
    if (f.set.pivotmethod != pivots_bycolumn && a < f.set.tolrelpiv * largest_in_row(f, i)) continue;
    TVN_lu_apivot(f, i, j, f.sto.cval[p], true);
    int32_t place = 0;
    work += f.sto.rlen[i];
    for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) {
      const int32_t k = f.sto.rcol[q];
      if (--count[k] == 1) stack[depth++] = k;
      if (k == j) place = q;
    }
    drop_pivot(f, i, place);
  }
  f.acc.work[lt_colsingle] += work;
}

// Counts of the active columns in each active row; the active elements of a row are counted once.
void count_rows(const lu& f, int32_t* count) {
  for (int32_t k = f.piv.stpf; k < f.nrow; k++) {
    const int32_t i = f.piv.prow[k];
    int32_t n = 0;
    for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) n += is_active_col(f, f.sto.rcol[q]);
    count[i] = n;
  }
}

// Largest active magnitude of a column, kept in colmax: while the column is active no row of it can pivot elsewhere.
double active_max(const lu& f, double* colmax, int32_t j) {
  if (colmax[j] >= 0.0) return colmax[j];
  double big = 0.0;
  for (int32_t p = f.sto.cbeg[j], e = p + f.sto.clen[j]; p < e; p++)
    if (is_active_row(f, f.sto.crow[p])) big = std::max(big, std::fabs(f.sto.cval[p]));
  return colmax[j] = big;
}

// count: active columns of an active row; relative: the pivot must also reach the threshold within its column.
void pivot_row_singletons(lu& f, int32_t* count, int32_t* stack, double* colmax, bool relative, lu_task task) {
  int64_t work = f.nrow - f.piv.stpf;
  int32_t depth = 0;
  for (int32_t k = f.piv.stpf; k < f.nrow - f.piv.stpb; k++)
    if (count[f.piv.prow[k]] == 1) stack[depth++] = f.piv.prow[k];
  while (depth > 0) {
    const int32_t i = stack[--depth];
    if (count[i] != 1 || !is_active_row(f, i)) continue;
    int32_t q = f.sto.rbeg[i];
    while (!is_active_col(f, f.sto.rcol[q])) q++;
    work += q - f.sto.rbeg[i] + 1;
    const int32_t j = f.sto.rcol[q];
    const double a = std::fabs(f.sto.rval[q]);
    if (a < f.set.tolabspiv) continue;
    if (relative && a < f.set.tolrelpiv * active_max(f, colmax, j)) continue;
    TVN_lu_apivot(f, i, j, f.sto.rval[q], false);
    for (int32_t p = f.sto.cbeg[j], e = p + f.sto.clen[j]; p < e; p++) {
      const int32_t r = f.sto.crow[p];
      if (!is_active_row(f, r)) continue;
      f.run.lcount++;
      if (--count[r] == 1) stack[depth++] = r;
    }
    work += f.sto.clen[j];
  }
  f.acc.work[task] += work;
}

// L columns of the row singletons in the order of elimination: their column in the rows that pivot later. A row
// eliminated later stands at a lower position.
lu_code store_backward_columns(lu& f) {
  for (int32_t k = f.nrow - 1; k >= f.nrow - f.piv.stpb; k--) {
    const int32_t i = f.piv.prow[k], j = f.piv.rowpivcol[i];
    if (f.sto.lubot - f.sto.clen[j] < f.sto.urowfree) return lu_code::no_storage;
    const double scale = -1.0 / f.u.diag[i];
    const int32_t top = f.sto.lubot;
    for (int32_t p = f.sto.cbeg[j], e = p + f.sto.clen[j]; p < e; p++) {
      const int32_t r = f.sto.crow[p], place = f.piv.prowinv[r];
      if (place < f.piv.stpf || place >= k) continue;
      f.sto.rcol[--f.sto.lubot] = r;
      f.sto.rval[f.sto.lubot] = f.sto.cval[p] * scale;
    }
    f.acc.work[lt_lback] += f.sto.clen[j];
    f.l.beg[i] = f.sto.lubot;
    f.l.len[i] = top - f.sto.lubot;
    if (f.l.len[i] > 0) f.l.order[f.l.num++] = i;
  }
  return lu_code::done;
}

// What the singleton passes left to U. Active rows lose what stands in columns of row singletons: that is in L. The
// rows of those have nothing else.
void compress_rows(lu& f) {
  int64_t work = 0;
  for (int32_t k = f.piv.stpf; k < f.nrow; k++) {
    const int32_t i = f.piv.prow[k], b = f.sto.rbeg[i], e = b + f.sto.rlen[i];
    const bool active = k < f.nrow - f.piv.stpb;
    int32_t to = b;
    for (int32_t q = b; q < e && active; q++) {
      if (!is_active_col(f, f.sto.rcol[q])) continue;
      f.sto.rcol[to] = f.sto.rcol[q];
      f.sto.rval[to++] = f.sto.rval[q];
    }
    f.sto.rlen[i] = to - b;
    work += e - b;
  }
  f.acc.work[lt_compress] += work;
  for (int32_t i = 0; i < f.nrow; i++) f.run.ucount += f.piv.prowinv[i] < f.piv.stpf ? f.sto.rlen[i] : 0;
  if (f.run.runsdropu)
    for (int32_t k = 0; k < f.piv.stpf; k++) f.sto.rlen[f.piv.prow[k]] = 0;
  TVN_lu_resetufre(f.sto);
}

} // namespace

lu_code lu_setup(lu& f, array_view<int32_t> iwork, array_view<double> rwork) {
  f.state = lu_factoring;
  if (const lu_code code = lu_input(f, iwork); code != lu_code::done) return code;
  if (!place_rows(f, f.sto)) return lu_code::no_storage;
  int32_t* count = iwork.data();
  int32_t* stack = count + f.ncol;
  if (f.set.pivotmethod == pivots_bycolumn) pivot_slacks(f);
  transpose(f, count);
  pivot_column_singletons(f, count, stack);
  if (f.piv.stpf < f.nrow) {
    double* colmax = rwork.data();
    std::fill_n(colmax, f.ncol, -1.0);
    count_rows(f, count);
    const bool relative = f.set.pivotmethod == pivots_bycolumn || f.set.pivotmethod == pivots_byboth;
    pivot_row_singletons(f, count, stack, colmax, relative, lt_rowsingle);
    if (f.set.pivotmethod == pivots_bycolumn) pivot_row_singletons(f, count, stack, colmax, false, lt_rowsingle2);
  }
  if (!f.run.runsdropl)
    if (const lu_code code = store_backward_columns(f); code != lu_code::done) return code;
  compress_rows(f);
  return lu_code::done;
}

} // namespace tvn
