// Life of the factor object, its settings and the facts of the last factorisation.
//
// States: 0 no factor, 1 ready for input, 2 in the making, 3 factored. Storage is sized once for `wsze` elements of L,
// U and the active part together and kept from one factorisation to the next; nothing is given back before
// TVN_lu_delete. Work is counted in elements touched, by task, so that advice on refactorisation and the sharing of
// effort between optimizers do not depend on a clock. Getters cost O(1) but for those of the diagonal, O(rows).
#include "lu/luint.h"

#include <cmath>

namespace tvn {
namespace {

constexpr const char* label = "src/lu/ludat";
constexpr double minrelpiv = 0.0001, maxrelpiv = 0.9999;

[[noreturn]] void unknown_key(const lu& f, const char* what, int32_t key, int line) {
  TVN_sysenv_stopdbg(f.sys, label, line, "Unknown %s: %d", what, key);
}

int64_t sum_of_work(const lu& f, int32_t from, int32_t to) {
  int64_t sum = 0;
  for (int32_t t = from; t <= to; t++) sum += f.acc.work[t];
  return sum;
}

} // namespace

void TVN_lu_make(sysenv& sys, int32_t nrow, int32_t ncol, lu& f) {
  TVN_ASSERT(&sys, label, 0 <= nrow && nrow <= ncol);
  f = lu{};
  f.sys = &sys;
  f.nrow = f.maxnrow = nrow;
  f.ncol = f.maxncol = ncol;
  f.eta.maxetas = 2 * nrow;
  for (buffer<int32_t>* b : {&f.piv.prow, &f.piv.prowinv, &f.piv.rowpivcol, &f.sto.rbeg, &f.sto.rlen, &f.sto.rcap,
                             &f.l.beg, &f.l.len, &f.l.tbeg, &f.l.tlen, &f.l.order, &f.u.place, &f.l.place})
    b->reset(sys, nrow);
  for (buffer<int32_t>* b :
       {&f.piv.colpivrow, &f.sto.cbeg, &f.sto.clen, &f.sto.ccap, &f.tmp.stack, &f.tmp.topo, &f.u.colplace})
    b->reset(sys, ncol);
  f.u.diag.reset(sys, nrow);
  f.u.order.reset(sys, 2 * int64_t{nrow} + 64);
  f.eta.etabeg.reset(sys, 2 * int64_t{nrow} + 1);
  f.eta.etarow.reset(sys, 2 * int64_t{nrow});
  f.tmp.mark.reset(sys, ncol, 0);
  f.tmp.agenda.reset(sys, f.u.order.size() / 64 + 1, uint64_t{0});
  f.tmp.ework.reset(sys, ncol, 0.0);
  f.tmp.lwork.reset(sys, ncol);
  TVN_lu_init(f);
  f.state = lu_unusable;
}

void TVN_lu_delete(lu& f) { f = lu{}; }

void TVN_lu_newwszedbg(lu& f, int64_t wsze) {
  f.state = lu_unusable;
  f.sto.wsze = 0;
  for (buffer<int32_t>* b : {&f.sto.rcol, &f.sto.crow, &f.sto.rpos, &f.sto.cpos}) b->clear();
  for (buffer<double>* b : {&f.sto.rval, &f.sto.cval}) b->clear();
  if (wsze > INT32_MAX / 2) throw out_of_memory{}; // positions are 32-bit
  for (buffer<int32_t>* b : {&f.sto.rcol, &f.sto.crow, &f.sto.rpos, &f.sto.cpos}) b->reset(*f.sys, wsze);
  for (buffer<double>* b : {&f.sto.rval, &f.sto.cval}) b->reset(*f.sys, wsze);
  f.sto.wsze = static_cast<int32_t>(wsze);
}

void TVN_lu_newasze(lu& f, int64_t n, double factor) {
  const auto want = static_cast<int64_t>(std::ceil(factor * static_cast<double>(n)));
  if (f.sto.wsze < want) TVN_lu_newwszedbg(f, want);
}

void TVN_lu_init(lu& f) {
  f.state = lu_initialised;
  f.piv.stpf = f.piv.stpb = f.piv.rank = 0;
  f.sto.lubot = f.sto.lbegin = f.sto.wsze;
  f.sto.urowfree = f.sto.ucolfree = f.sto.anz = f.sto.unz = 0;
  for (int32_t i = 0; i < f.nrow; i++) f.piv.prow[i] = f.piv.prowinv[i] = i;
  std::fill_n(f.piv.rowpivcol.data(), f.nrow, f.ncol);
  std::fill_n(f.piv.colpivrow.data(), f.ncol, f.nrow);
  std::fill_n(f.l.len.data(), f.nrow, 0);
  f.l.num = f.u.end = 0;
  TVN_lu_initupdate(f);
  f.eta.numetas = 0;
  f.run.factornow = f.run.incwsze = false;
  f.run.runsdropl = f.set.dropl;
  f.run.runsdropu = f.set.dropu;
  f.run.lcount = f.run.ucount = 0;
  f.run.numgc = 0;
  f.run.sumcount = 0.0;
  TVN_bigint_addsizet(f.acc.formerwork, static_cast<size_t>(sum_of_work(f, 0, lt_numtasks - 1)));
  std::fill(std::begin(f.acc.work), std::end(f.acc.work), int64_t{0});
  for (auto& d : f.acc.density) d[0] = d[1] = 0;
  TVN_lu_resetufre(f.sto);
}

void TVN_lu_invfac(lu& f) { f.state = lu_unusable; }

void TVN_lu_putnrow(lu& f, int32_t nrow) {
  TVN_ASSERT(f.sys, label, 0 <= nrow && nrow <= f.maxnrow);
  f.nrow = nrow;
  f.state = lu_unusable;
}

void TVN_lu_putncol(lu& f, int32_t ncol) {
  TVN_ASSERT(f.sys, label, 0 <= ncol && ncol <= f.maxncol);
  f.ncol = ncol;
  f.state = lu_unusable;
}

void TVN_lu_putdefaults(lu& f) {
  lu_settings fresh;
  fresh.maxgc = f.set.maxgc;
  fresh.getcol = f.set.getcol;
  fresh.getcolhandle = f.set.getcolhandle;
  fresh.progress = f.set.progress;
  fresh.progresshandle = f.set.progresshandle;
  f.set = fresh;
}

void TVN_lu_puttol(lu& f, int32_t key, double value) {
  switch (key) {
  case tol_zero: f.set.tolzero = value; return;
  case tol_abspivot: f.set.tolabspiv = value; return;
  case tol_relpivot: f.set.tolrelpiv = std::clamp(value, minrelpiv, maxrelpiv); return;
  case tol_kept: f.set.tolkey3 = value; return;
  default: unknown_key(f, "tolerance", key, __LINE__);
  }
}

double TVN_lu_gettol(const lu& f, int32_t key) {
  switch (key) {
  case tol_zero: return f.set.tolzero;
  case tol_abspivot: return f.set.tolabspiv;
  case tol_relpivot: return f.set.tolrelpiv;
  case tol_kept: return f.set.tolkey3;
  default: unknown_key(f, "tolerance", key, __LINE__);
  }
}

void TVN_lu_puttrh(lu& f, int32_t key, int32_t value) {
  if (key != trh_refactor) unknown_key(f, "threshold", key, __LINE__);
  f.set.refacfreq = std::max(value, 0);
}

void TVN_lu_putpivotmethod(lu& f, int32_t method) { f.set.pivotmethod = method; }
void TVN_lu_putdropl(lu& f, bool drop) { f.set.dropl = drop; }
void TVN_lu_putdropu(lu& f, bool drop) { f.set.dropu = drop; }
void TVN_lu_putmaxworkoftasks(lu& f, int64_t maxwork) { f.set.maxwork = maxwork; }

void TVN_lu_putgeta(lu& f, void* handle, lu_getcol getcol) {
  f.set.getcolhandle = handle;
  f.set.getcol = getcol;
}

void TVN_lu_putprogressfunc(lu& f, void* handle, lu_progress fn) {
  f.set.progresshandle = handle;
  f.set.progress = fn;
}

int32_t TVN_lu_getrank(const lu& f) { return f.piv.rank; }
bool TVN_lu_incwsze(const lu& f) { return f.run.incwsze; }
int64_t TVN_lu_getwsze(const lu& f) { return f.sto.wsze; }
int32_t TVN_lu_getnumgc(const lu& f) { return f.run.numgc; }

int64_t TVN_lu_getwszeproposal(const lu& f) {
  int64_t size = std::max<int64_t>(2 * int64_t{f.sto.wsze}, 5 * int64_t{f.nrow}) + 1;
  if (f.run.runsdropl) size += f.run.lcount;
  if (f.run.runsdropu) size += f.run.ucount + f.run.ucount / 4;
  return size;
}

void TVN_lu_getlusze(const lu& f, int64_t& lnz, int64_t& unz) {
  lnz = f.sto.wsze - f.sto.lubot;
  unz = f.sto.unz;
}

void TVN_lu_getuii(const lu& f, int32_t i, int32_t& col, double& value) {
  col = f.piv.rowpivcol[i];
  value = col == f.ncol ? 0.0 : f.u.diag[i];
}

void TVN_lu_getpivotinfo(const lu& f, int32_t& method, int64_t& lfill, int64_t& ufill) {
  method = f.run.lastmethod;
  lfill = f.run.lastlfill;
  ufill = f.run.lastufill;
}

void TVN_lu_getcond2(const lu& f, double& mindiag, double& maxdiag, double* maxl, double* maxu) {
  mindiag = f.nrow > 0 ? HUGE_VAL : 0.0;
  maxdiag = 0.0;
  for (int32_t i = 0; i < f.nrow; i++) {
    const double d = f.piv.rowpivcol[i] == f.ncol ? 0.0 : std::fabs(f.u.diag[i]);
    mindiag = std::min(mindiag, d);
    maxdiag = std::max(maxdiag, d);
  }
  if (maxl) {
    *maxl = 0.0;
    for (int32_t q = f.sto.lbegin; q < f.sto.wsze; q++) *maxl = std::max(*maxl, std::fabs(f.sto.rval[q]));
  }
  if (!maxu) return;
  *maxu = 0.0;
  for (int32_t i = 0; i < f.nrow; i++) {
    double big = 0.0;
    for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) big = std::max(big, std::fabs(f.sto.rval[q]));
    if (big > 0.0) *maxu = std::max(*maxu, big / std::fabs(f.u.diag[i]));
  }
}

void TVN_lu_getcond(const lu& f, double& mindiag, double& maxdiag) {
  TVN_lu_getcond2(f, mindiag, maxdiag, nullptr, nullptr);
}

double TVN_lu_getfactorwork(const lu& f) { return static_cast<double>(sum_of_work(f, 0, 14)); }
double TVN_lu_getupdatework(const lu& f) { return static_cast<double>(sum_of_work(f, 15, 25)); }

void TVN_lu_gettotalwork(const lu& f, bigint& total) {
  TVN_bigint_assign(total, f.acc.formerwork);
  TVN_bigint_addsizet(total, static_cast<size_t>(sum_of_work(f, 0, lt_numtasks - 1)));
}

bool TVN_lu_factornow(const lu& f) { return f.run.factornow; }
int32_t TVN_lu_getnumupds(const lu& f) { return f.eta.numupds; }

} // namespace tvn
