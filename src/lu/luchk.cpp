// Audit of the factor: everything that the routines rely on and that no result shows at once.
#include "lu/luint.h"

namespace tvn {
namespace {

const char* check_blocks(const lu& f) {
  int64_t num = 0;
  for (int32_t i = 0; i < f.nrow; i++) {
    if (f.sto.rlen[i] > f.sto.rcap[i]) return "row longer than its block";
    if (f.sto.rlen[i] > 0 && f.sto.rbeg[i] + f.sto.rcap[i] > f.sto.urowfree)
      return "row block beyond the free position";
    num += f.sto.rlen[i];
  }
  if (num != f.sto.unz) return "count of U differs from the rows";
  for (int32_t j = 0; j < f.ncol; j++) {
    if (f.sto.clen[j] > f.sto.ccap[j]) return "column longer than its block";
    if (f.sto.clen[j] > 0 && f.sto.cbeg[j] + f.sto.ccap[j] > f.sto.ucolfree)
      return "column block beyond the free position";
    num -= f.sto.clen[j];
  }
  if (num != 0) return "count of U differs from the columns";
  if (f.sto.urowfree > f.sto.lubot || f.sto.ucolfree > f.sto.lbegin) return "stores overlap L";
  return nullptr;
}

const char* check_crosses(const lu& f) {
  for (int32_t i = 0; i < f.nrow; i++) {
    for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) {
      const int32_t j = f.sto.rcol[q], p = f.sto.rpos[q];
      if (j < 0 || j >= f.ncol) return "column index out of range";
      if (p < f.sto.cbeg[j] || p >= f.sto.cbeg[j] + f.sto.clen[j]) return "cross pointer out of its column";
      if (f.sto.crow[p] != i || f.sto.cpos[p] != q || !(f.sto.cval[p] == f.sto.rval[q]))
        return "copies of an element differ";
      if (f.u.place[i] >= f.u.place[f.piv.colpivrow[j]]) return "element of U below the diagonal";
    }
  }
  return nullptr;
}

const char* check_order(const lu& f) {
  int32_t num = 0;
  for (int32_t k = 0; k < f.u.end; k++) {
    const int32_t i = f.u.order[k];
    if (i < 0) continue;
    if (f.u.place[i] != k || f.u.colplace[f.piv.rowpivcol[i]] != k) return "order of U and places differ";
    if (f.piv.colpivrow[f.piv.rowpivcol[i]] != i) return "pivot maps differ";
    if (f.u.diag[i] == 0.0) return "zero on the diagonal";
    num++;
  }
  if (num != f.nrow) return "rows missing in the order of U";
  if (f.eta.numetas > 0 && f.eta.etabeg[f.eta.numetas] != f.sto.lubot) return "etas do not end at lubot";
  return nullptr;
}

const char* check_l(const lu& f) {
  int32_t num = 0;
  for (int32_t k = 0; k < f.l.num; k++) {
    const int32_t r = f.l.order[k];
    if (f.l.beg[r] < f.sto.lbegin || f.l.beg[r] + f.l.len[r] > f.sto.wsze) return "L column outside of its region";
    if (f.l.place[r] != k) return "order of L and places differ";
    num += f.l.len[r];
  }
  for (int32_t i = 0; i < f.nrow; i++) num -= f.l.tlen[i];
  return num == 0 ? nullptr : "L and its transpose differ in count";
}

const char* check_scratch(const lu& f) {
  for (const int32_t v : array_view<const int32_t>(f.tmp.mark))
    if (v != 0) return "mark not clean";
  for (const double v : array_view<const double>(f.tmp.ework))
    if (v != 0.0) return "work not clean";
  for (const uint64_t v : array_view<const uint64_t>(f.tmp.agenda))
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
