// Life of the factor object, its settings and the facts of the last factorisation.
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
  for (int32_t t = from; t <= to; t++) sum += f.work[t];
  return sum;
}

} // namespace

void TVN_lu_make(sysenv& sys, int32_t nrow, int32_t ncol, lu& f) {
  TVN_ASSERT(&sys, label, 0 <= nrow && nrow <= ncol);
  f = lu{};
  f.sys = &sys;
  f.nrow = f.maxnrow = nrow;
  f.ncol = f.maxncol = ncol;
  f.maxetas = 2 * nrow;
  for (buffer<int32_t>* b : {&f.prow, &f.prowinv, &f.rowpivcol, &f.rbeg, &f.rlen, &f.rcap, &f.lbeg, &f.llen, &f.ltbeg,
                             &f.ltlen, &f.lorder, &f.uplace, &f.lplace})
    b->reset(sys, nrow);
  for (buffer<int32_t>* b : {&f.colpivrow, &f.cbeg, &f.clen, &f.ccap, &f.stack, &f.topo, &f.colplace})
    b->reset(sys, ncol);
  f.diag.reset(sys, nrow);
  f.uorder.reset(sys, 2 * int64_t{nrow} + 64);
  f.etabeg.reset(sys, 2 * int64_t{nrow} + 1);
  f.etarow.reset(sys, 2 * int64_t{nrow});
  f.mark.reset(sys, ncol, 0);
  f.agenda.reset(sys, f.uorder.size() / 64 + 1, uint64_t{0});
  f.ework.reset(sys, ncol, 0.0);
  f.lwork.reset(sys, ncol);
  TVN_lu_init(f);
  f.state = lu_unusable;
}

void TVN_lu_delete(lu& f) { f = lu{}; }

void TVN_lu_newwszedbg(lu& f, int64_t wsze) {
  f.state = lu_unusable;
  f.wsze = 0;
  for (buffer<int32_t>* b : {&f.rcol, &f.crow, &f.rpos, &f.cpos}) b->clear();
  for (buffer<double>* b : {&f.rval, &f.cval}) b->clear();
  if (wsze > INT32_MAX / 2) throw out_of_memory{}; // positions are 32-bit
  for (buffer<int32_t>* b : {&f.rcol, &f.crow, &f.rpos, &f.cpos}) b->reset(*f.sys, wsze);
  for (buffer<double>* b : {&f.rval, &f.cval}) b->reset(*f.sys, wsze);
  f.wsze = static_cast<int32_t>(wsze);
}

void TVN_lu_newasze(lu& f, int64_t n, double factor) {
  const auto want = static_cast<int64_t>(std::ceil(factor * static_cast<double>(n)));
  if (f.wsze < want) TVN_lu_newwszedbg(f, want);
}

void TVN_lu_init(lu& f) {
  f.state = lu_initialised;
  f.stpf = f.stpb = f.rank = 0;
  f.lubot = f.lbegin = f.wsze;
  f.urowfree = f.ucolfree = f.anz = f.unz = 0;
  for (int32_t i = 0; i < f.nrow; i++) f.prow[i] = f.prowinv[i] = i;
  std::fill_n(f.rowpivcol.data(), f.nrow, f.ncol);
  std::fill_n(f.colpivrow.data(), f.ncol, f.nrow);
  std::fill_n(f.llen.data(), f.nrow, 0);
  f.numl = f.uend = 0;
  TVN_lu_initupdate(f);
  f.numetas = 0;
  f.factornow = f.incwsze = false;
  f.runsdropl = f.dropl;
  f.runsdropu = f.dropu;
  f.lcount = f.ucount = 0;
  f.numgc = 0;
  f.sumcount = 0.0;
  TVN_bigint_addsizet(f.formerwork, static_cast<size_t>(sum_of_work(f, 0, lt_numtasks - 1)));
  std::fill(std::begin(f.work), std::end(f.work), int64_t{0});
  for (auto& d : f.density) d[0] = d[1] = 0;
  TVN_lu_resetufre(f);
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
  const lu fresh;
  f.tolzero = fresh.tolzero;
  f.tolabspiv = fresh.tolabspiv;
  f.tolrelpiv = fresh.tolrelpiv;
  f.tolkey3 = fresh.tolkey3;
  f.tolrelupd = fresh.tolrelupd;
  f.maxsearch = fresh.maxsearch;
  f.pivotmethod = fresh.pivotmethod;
  f.refacfreq = fresh.refacfreq;
  f.dropl = f.dropu = false;
  f.maxwork = fresh.maxwork;
}

void TVN_lu_puttol(lu& f, int32_t key, double value) {
  switch (key) {
  case 0: f.tolzero = value; return;
  case 1: f.tolabspiv = value; return;
  case 2: f.tolrelpiv = std::clamp(value, minrelpiv, maxrelpiv); return;
  case 3: f.tolkey3 = value; return;
  default: unknown_key(f, "tolerance", key, __LINE__);
  }
}

double TVN_lu_gettol(const lu& f, int32_t key) {
  switch (key) {
  case 0: return f.tolzero;
  case 1: return f.tolabspiv;
  case 2: return f.tolrelpiv;
  case 3: return f.tolkey3;
  default: unknown_key(f, "tolerance", key, __LINE__);
  }
}

void TVN_lu_puttrh(lu& f, int32_t key, int32_t value) {
  if (key != 1) unknown_key(f, "threshold", key, __LINE__);
  f.refacfreq = std::max(value, 0);
}

void TVN_lu_putpivotmethod(lu& f, int32_t method) { f.pivotmethod = method; }
void TVN_lu_putdropl(lu& f, bool drop) { f.dropl = drop; }
void TVN_lu_putdropu(lu& f, bool drop) { f.dropu = drop; }
void TVN_lu_putmaxworkoftasks(lu& f, int64_t maxwork) { f.maxwork = maxwork; }

void TVN_lu_putgeta(lu& f, void* handle, lu_getcol getcol) {
  f.getcolhandle = handle;
  f.getcol = getcol;
}

void TVN_lu_putprogressfunc(lu& f, void* handle, lu_progress fn) {
  f.progresshandle = handle;
  f.progress = fn;
}

int32_t TVN_lu_getrank(const lu& f) { return f.rank; }
bool TVN_lu_incwsze(const lu& f) { return f.incwsze; }
int64_t TVN_lu_getwsze(const lu& f) { return f.wsze; }
int32_t TVN_lu_getnumgc(const lu& f) { return f.numgc; }

int64_t TVN_lu_getwszeproposal(const lu& f) {
  int64_t size = std::max<int64_t>(2 * int64_t{f.wsze}, 5 * int64_t{f.nrow}) + 1;
  if (f.runsdropl) size += f.lcount;
  if (f.runsdropu) size += f.ucount + f.ucount / 4;
  return size;
}

void TVN_lu_getlusze(const lu& f, int64_t& lnz, int64_t& unz) {
  lnz = f.wsze - f.lubot;
  unz = f.unz;
}

void TVN_lu_getuii(const lu& f, int32_t i, int32_t& col, double& value) {
  col = f.rowpivcol[i];
  value = col == f.ncol ? 0.0 : f.diag[i];
}

void TVN_lu_getpivotinfo(const lu& f, int32_t& method, int64_t& lfill, int64_t& ufill) {
  method = f.lastmethod;
  lfill = f.lastlfill;
  ufill = f.lastufill;
}

void TVN_lu_getcond2(const lu& f, double& mindiag, double& maxdiag, double* maxl, double* maxu) {
  mindiag = f.nrow > 0 ? HUGE_VAL : 0.0;
  maxdiag = 0.0;
  for (int32_t i = 0; i < f.nrow; i++) {
    const double d = f.rowpivcol[i] == f.ncol ? 0.0 : std::fabs(f.diag[i]);
    mindiag = std::min(mindiag, d);
    maxdiag = std::max(maxdiag, d);
  }
  if (maxl) {
    *maxl = 0.0;
    for (int32_t q = f.lbegin; q < f.wsze; q++) *maxl = std::max(*maxl, std::fabs(f.rval[q]));
  }
  if (!maxu) return;
  *maxu = 0.0;
  for (int32_t i = 0; i < f.nrow; i++) {
    double big = 0.0;
    for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) big = std::max(big, std::fabs(f.rval[q]));
    if (big > 0.0) *maxu = std::max(*maxu, big / std::fabs(f.diag[i]));
  }
}

void TVN_lu_getcond(const lu& f, double& mindiag, double& maxdiag) {
  TVN_lu_getcond2(f, mindiag, maxdiag, nullptr, nullptr);
}

double TVN_lu_getfactorwork(const lu& f) { return static_cast<double>(sum_of_work(f, 0, 14)); }
double TVN_lu_getupdatework(const lu& f) { return static_cast<double>(sum_of_work(f, 15, 25)); }

void TVN_lu_gettotalwork(const lu& f, bigint& total) {
  TVN_bigint_assign(total, f.formerwork);
  TVN_bigint_addsizet(total, static_cast<size_t>(sum_of_work(f, 0, lt_numtasks - 1)));
}

bool TVN_lu_factornow(const lu& f) { return f.factornow; }
int32_t TVN_lu_getnumupds(const lu& f) { return f.numupds; }

} // namespace tvn
