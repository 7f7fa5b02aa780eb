// Input of the matrix: elements in any order, or a column function that the factorisation calls.
//
// Elements entered one by one are kept in the column store (row in crow, column in cpos) and brought into column order
// by an in-place cycle sort, which swaps each element at most once into its column. Magnitudes at or below tolzero are
// dropped. On exit of lu_input the column store holds the columns one behind the other, rlen the counts of the rows.
#include "lu/luint.h"

#include <cmath>

namespace tvn {
namespace {

lu_code input_columns(lu& f) {
  int32_t pos = 0;
  for (int32_t j = 0; j < f.ncol; j++) {
    int32_t n = 0;
    if (!f.getcol(f.getcolhandle, f.wsze - pos, j, n, f.crow.data() + pos, f.cval.data() + pos))
      return lu_code::column_refused;
    f.cbeg[j] = pos;
    const int32_t end = pos + n;
    for (int32_t p = pos; p < end; p++) {
      if (!(std::fabs(f.cval[p]) > f.tolzero)) continue;
      const int32_t i = f.crow[p];
      if (i < 0 || i >= f.nrow) return lu_code::bad_row;
      f.crow[pos] = i;
      f.cval[pos++] = f.cval[p];
      f.rlen[i]++;
    }
    f.clen[j] = pos - f.cbeg[j];
  }
  f.anz = pos;
  return lu_code::done;
}

// next: [ncol] scratch
void sort_elements(lu& f, int32_t* next) {
  std::fill_n(f.clen.data(), f.ncol, 0);
  for (int32_t p = 0; p < f.anz; p++) {
    f.clen[f.cpos[p]]++;
    f.rlen[f.crow[p]]++;
  }
  int32_t pos = 0;
  for (int32_t j = 0; j < f.ncol; j++) {
    f.cbeg[j] = next[j] = pos;
    pos += f.clen[j];
  }
  for (int32_t j = 0; j < f.ncol; j++) {
    const int32_t end = f.cbeg[j] + f.clen[j];
    while (next[j] < end) {
      const int32_t p = next[j], home = f.cpos[p], q = next[home]++;
      if (p == q) continue;
      std::swap(f.crow[p], f.crow[q]);
      std::swap(f.cval[p], f.cval[q]);
      std::swap(f.cpos[p], f.cpos[q]);
    }
  }
}

lu_code add_element(lu& f, int32_t i, int32_t j, double value) {
  if (!(std::fabs(value) > f.tolzero)) return lu_code::done;
  if (f.anz >= f.wsze) {
    f.incwsze = true;
    return lu_code::no_storage;
  }
  f.crow[f.anz] = i;
  f.cpos[f.anz] = j;
  f.cval[f.anz++] = value;
  return lu_code::done;
}

} // namespace

lu_code TVN_lu_inaij(lu& f, int32_t row, int32_t col, double value) {
  TVN_ASSERT(f.sys, "src/lu/luinp", f.state == lu_initialised && 0 <= col && col < f.ncol);
  if (row < 0 || row >= f.nrow) return lu_code::bad_row;
  return add_element(f, row, col, value);
}

lu_code TVN_lu_inak(lu& f, int32_t col, int32_t n, const int32_t* sub, const double* val) {
  for (int32_t p = 0; p < n; p++)
    if (const lu_code code = TVN_lu_inaij(f, sub[p], col, val[p]); code != lu_code::done) return code;
  return lu_code::done;
}

lu_code TVN_lu_inaj2(lu& f, int32_t col, int32_t n, const int32_t* sub, const double* val, const int32_t* rowmap,
                     int32_t limit) {
  for (int32_t p = 0; p < n; p++) {
    const int32_t i = rowmap[sub[p]];
    if (i >= limit) continue;
    if (const lu_code code = TVN_lu_inaij(f, i, col, val[p]); code != lu_code::done) return code;
  }
  return lu_code::done;
}

lu_code lu_input(lu& f, std::span<int32_t> iwork) {
  std::fill_n(f.rlen.data(), f.nrow, 0);
  lu_code code = lu_code::done;
  if (f.getcol)
    code = input_columns(f);
  else
    sort_elements(f, iwork.data());
  f.work[lt_input] += f.anz + f.ncol;
  return code;
}

} // namespace tvn
