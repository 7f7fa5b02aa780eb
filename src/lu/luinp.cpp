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
    if (!f.set.getcol(f.set.getcolhandle, f.sto.wsze - pos, j, n, f.sto.crow.data() + pos, f.sto.cval.data() + pos))
      return lu_code::column_refused;
    f.sto.cbeg[j] = pos;
    const int32_t end = pos + n;
    for (int32_t p = pos; p < end; p++) {
      if (!(std::fabs(f.sto.cval[p]) > f.set.tolzero)) continue;
      const int32_t i = f.sto.crow[p];
      if (i < 0 || i >= f.nrow) return lu_code::bad_row;
      f.sto.crow[pos] = i;
      f.sto.cval[pos++] = f.sto.cval[p];
      f.sto.rlen[i]++;
    }
    f.sto.clen[j] = pos - f.sto.cbeg[j];
  }
  f.sto.anz = pos;
  return lu_code::done;
}

// next: [ncol] scratch
void sort_elements(lu_store& s, int32_t ncol, int32_t* next) {
  std::fill_n(s.clen.data(), ncol, 0);
  for (int32_t p = 0; p < s.anz; p++) {
    s.clen[s.cpos[p]]++;
    s.rlen[s.crow[p]]++;
  }
  int32_t pos = 0;
  for (int32_t j = 0; j < ncol; j++) {
    s.cbeg[j] = next[j] = pos;
    pos += s.clen[j];
  }
  for (int32_t j = 0; j < ncol; j++) {
    const int32_t end = s.cbeg[j] + s.clen[j];
    while (next[j] < end) {
      const int32_t p = next[j], home = s.cpos[p], q = next[home]++;
      if (p == q) continue;
      std::swap(s.crow[p], s.crow[q]);
      std::swap(s.cval[p], s.cval[q]);
      std::swap(s.cpos[p], s.cpos[q]);
    }
  }
}

lu_code add_element(lu& f, int32_t i, int32_t j, double value) {
  if (!(std::fabs(value) > f.set.tolzero)) return lu_code::done;
  if (f.sto.anz >= f.sto.wsze) {
    f.run.incwsze = true;
    return lu_code::no_storage;
  }
  f.sto.crow[f.sto.anz] = i;
  f.sto.cpos[f.sto.anz] = j;
  f.sto.cval[f.sto.anz++] = value;
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

lu_code lu_input(lu& f, array_view<int32_t> iwork) {
  std::fill_n(f.sto.rlen.data(), f.nrow, 0);
  lu_code code = lu_code::done;
  if (f.set.getcol)
    code = input_columns(f);
  else
    sort_elements(f.sto, f.ncol, iwork.data());
  f.acc.work[lt_input] += f.sto.anz + f.ncol;
  return code;
}

} // namespace tvn
