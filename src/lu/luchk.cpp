// Audit of the factor: everything that the routines rely on and that no result shows at once.
#include "lu/luint.h"

namespace tvn {
namespace {

const char* check_blocks(const lu& f) {
  int64_t num = 0;
  for (int32_t i = 0; i < f.nrow; i++) {
    if (f.rlen[i] > f.rcap[i]) return "row longer than its block";
    if (f.rlen[i] > 0 && f.rbeg[i] + f.rcap[i] > f.urowfree) return "row block beyond the free position";
    num += f.rlen[i];
  }
  if (num != f.unz) return "count of U differs from the rows";
  for (int32_t j = 0; j < f.ncol; j++) {
    if (f.clen[j] > f.ccap[j]) return "column longer than its block";
    if (f.clen[j] > 0 && f.cbeg[j] + f.ccap[j] > f.ucolfree) return "column block beyond the free position";
    num -= f.clen[j];
  }
  if (num != 0) return "count of U differs from the columns";
  if (f.urowfree > f.lubot || f.ucolfree > f.lbegin) return "stores overlap L";
  return nullptr;
}

const char* check_crosses(const lu& f) {
  for (int32_t i = 0; i < f.nrow; i++) {
    for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) {
      const int32_t j = f.rcol[q], p = f.rpos[q];
      if (j < 0 || j >= f.ncol) return "column index out of range";
      if (p < f.cbeg[j] || p >= f.cbeg[j] + f.clen[j]) return "cross pointer out of its column";
      if (f.crow[p] != i || f.cpos[p] != q || !(f.cval[p] == f.rval[q])) return "copies of an element differ";
      if (f.uplace[i] >= f.uplace[f.colpivrow[j]]) return "element of U below the diagonal";
    }
  }
  return nullptr;
}

const char* check_order(const lu& f) {
  int32_t num = 0;
  for (int32_t k = 0; k < f.uend; k++) {
    const int32_t i = f.uorder[k];
    if (i < 0) continue;
    if (f.uplace[i] != k || f.colplace[f.rowpivcol[i]] != k) return "order of U and places differ";
    if (f.colpivrow[f.rowpivcol[i]] != i) return "pivot maps differ";
    if (f.diag[i] == 0.0) return "zero on the diagonal";
    num++;
  }
  if (num != f.nrow) return "rows missing in the order of U";
  if (f.numetas > 0 && f.etabeg[f.numetas] != f.lubot) return "etas do not end at lubot";
  return nullptr;
}

const char* check_l(const lu& f) {
  int32_t num = 0;
  for (int32_t k = 0; k < f.numl; k++) {
    const int32_t r = f.lorder[k];
    if (f.lbeg[r] < f.lbegin || f.lbeg[r] + f.llen[r] > f.wsze) return "L column outside of its region";
    if (f.lplace[r] != k) return "order of L and places differ";
    num += f.llen[r];
  }
  for (int32_t i = 0; i < f.nrow; i++) num -= f.ltlen[i];
  return num == 0 ? nullptr : "L and its transpose differ in count";
}

const char* check_scratch(const lu& f) {
  for (const int32_t v : std::span<const int32_t>(f.mark))
    if (v != 0) return "mark not clean";
  for (const double v : std::span<const double>(f.ework))
    if (v != 0.0) return "work not clean";
  for (const uint64_t v : std::span<const uint64_t>(f.agenda))
    if (v != 0) return "agenda not clean";
  return nullptr;
}

} // namespace

const char* TVN_lu_check(const lu& f) {
  if (const char* fault = check_scratch(f)) return fault;
  if (f.state != lu_factored) return nullptr;
  if (const char* fault = check_blocks(f)) return fault;
  if (const char* fault = check_crosses(f)) return fault;
  if (const char* fault = check_order(f)) return fault;
  return check_l(f);
}

void lu_audit(const lu& f, const char* label, int line) {
  if (const char* fault = TVN_lu_check(f)) TVN_sysenv_stopdbg(f.sys, label, line, "Factor is damaged: %s", fault);
}

} // namespace tvn
