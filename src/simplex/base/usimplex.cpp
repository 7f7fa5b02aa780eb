// Factor of the basis with its storage rule, repair of a singular basis, and the dense recomputations.
//
// Storage (Suhl and Suhl 1990 size it from the nonzeros): at least three times the nonzeros of the basis; more when the
// last attempt ran out of room or had to compress more than twice.
#include "simplex/base/usimplex.h"

#include <cmath>

namespace tvn {

namespace {

bool simplex_lugeta(void* handle, int64_t space, int32_t k, int32_t& count, int32_t* sub, double* val) {
  const auto& f = *static_cast<const simplex_fac*>(handle);
  const simplex_work& w = *f.work;
  const int32_t j = f.head[k];
  count = 0;
  if (j < 0) return true;
  if (w.colcount(j) > space) return false;
  if (w.is_logical(j)) {
    count = 1;
    sub[0] = j;
    val[0] = -1.0;
    return true;
  }
  for (int64_t p = w.colbeg[j - w.m]; p < w.colbeg[j - w.m + 1]; p++, count++) {
    sub[count] = w.colsub[p];
    val[count] = w.colval[p];
  }
  return true;
}

int64_t basis_nonzeros(const simplex_fac& f) {
  int64_t nz = 0;
  for (const int32_t j : f.head) nz += f.work->colcount(j);
  return nz;
}

void size_storage(lu& f, int64_t nz) {
  const int64_t m = f.nrow, have = TVN_lu_getwsze(f);
  int64_t want = have;
  if (TVN_lu_incwsze(f)) {
    want = have + std::max(have, 5 * m);
  } else if (TVN_lu_getnumgc(f) > 2) {
    want = have + std::max(have / 10, 2 * m);
  } else {
    const int64_t target = std::max(3 * nz, 3 * m + 1);
    if (have < target) want = std::max(target, 2 * have);
  }
  if (want > have) TVN_lu_newwszedbg(f, want);
}

constexpr int32_t maxtries = 20; // enlargements of the storage in one factorisation

// r = -(A x - xc) over all columns, in long double.
void equation_residual(const simplex_work& w, array_view<const double> x, buffer<double>& out,
                       buffer<long double>& acc) {
  for (int32_t i = 0; i < w.m; i++) acc[i] = static_cast<long double>(x[i]);
  for (int32_t k = 0; k < w.n; k++) {
    const long double v = x[w.m + k];
    if (v == 0) continue;
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) acc[w.colsub[p]] -= v * w.colval[p];
  }
  for (int32_t i = 0; i < w.m; i++) out[i] = static_cast<double>(acc[i]);
}

} // namespace

void TVN_simplex_makefac(sysenv& sys, const simplex_work& work, simplex_fac& f) {
  f.sys = &sys;
  f.work = &work;
  f.head.reset(sys, work.m);
  f.pos.reset(sys, work.total, -1);
  f.rhs.reset(sys, work.m);
  f.sol.reset(sys, work.m);
  f.acc.reset(sys, work.m);
  TVN_lu_make(sys, work.m, work.m, f.factor);
  TVN_lu_putgeta(f.factor, &f, simplex_lugeta);
  int64_t isize = 0, rsize = 0;
  TVN_lu_getfactorspace(work.m, work.m, isize, rsize);
  f.iwork.reset(sys, std::max<int64_t>(isize, 2 * static_cast<int64_t>(work.m)));
  f.rwork.reset(sys, rsize);
}

void TVN_simplex_slackbasis(simplex_fac& f) noexcept {
  std::fill(f.pos.begin(), f.pos.end(), -1);
  for (int32_t i = 0; i < f.work->m; i++) f.head[i] = f.pos[i] = i;
}

factor_result TVN_simplex_factorlu(lu& f, int64_t nz, array_view<int32_t> iwork, array_view<double> rwork) {
  size_storage(f, nz);
  for (int32_t attempt = 0; attempt < maxtries; attempt++) {
    TVN_lu_init(f);
    const lu_code code = TVN_lu_factor(f, iwork, rwork);
    switch (code) {
    case lu_code::done: return TVN_lu_getrank(f) == f.nrow ? factor_result::full : factor_result::singular;
    case lu_code::no_storage:
    case lu_code::column_refused: TVN_lu_newwszedbg(f, TVN_lu_getwszeproposal(f)); break;
    case lu_code::stopped: return factor_result::stopped;
    case lu_code::no_memory: throw out_of_memory{};
    default:
      TVN_sysenv_stopdbg(f.sys, "src/simplex/base/usimplex", __LINE__, "Unknown return code: lresp: %d",
                         static_cast<int>(code));
    }
  }
  return factor_result::failed;
}

factor_result TVN_simplex_factor(simplex_fac& f) {
  f.since = 0;
  f.usable = false;
  const factor_result result = TVN_simplex_factorlu(f.factor, basis_nonzeros(f), f.iwork, f.rwork);
  f.usable = result == factor_result::full;
  return result;
}

int32_t TVN_simplex_insertlogicals(simplex_fac& f, array_view<basis_exchange> exchanges) {
  const int32_t m = f.work->m;
  const array_view<int32_t> colmap(f.iwork.data(), m);
  const array_view<int32_t> space(f.iwork.data() + m, f.iwork.size() - m);
  const lu_code code = TVN_lu_insart(f.factor, colmap, space, -1.0);
  TVN_ASSERT(f.sys, "src/simplex/base/usimplex", code == lu_code::done || code == lu_code::no_storage);
  int32_t num = 0;
  for (int32_t k = 0; k < m; k++) {
    const int32_t row = colmap[k];
    if (row == m) continue;
    exchanges[num++] = {f.head[k], row};
    if (f.head[k] >= 0) f.pos[f.head[k]] = -1;
    f.head[k] = row;
  }
  for (int32_t k = 0; k < m; k++) f.pos[f.head[k]] = k;
  f.usable = true;
  return num;
}

bool TVN_simplex_improvelu(lu& f) {
  constexpr double toolarge = 1e12, toosmall = 1e-10, maxratio = 1e8;
  constexpr double bothrelpivot = 0.001; // enough where rows and columns are looked at
  double mindiag = 0, maxdiag = 0, maxl = 0, maxu = 0;
  int32_t method = 0;
  int64_t lfill = 0, ufill = 0;
  TVN_lu_getpivotinfo(f, method, lfill, ufill);
  TVN_lu_getcond2(f, mindiag, maxdiag, &maxl, &maxu);
  if (method == pivots_byboth || mindiag == 0) return false;
  const double by = std::max(mindiag, 1.0);
  const bool bad = maxdiag > toolarge || mindiag < toosmall || maxl > toolarge || maxdiag / by > maxratio ||
                   maxl / by > maxratio || maxu / by > maxratio;
  if (!bad) return false;
  TVN_lu_putpivotmethod(f, pivots_byboth);
  TVN_lu_puttol(f, tol_relpivot, bothrelpivot);
  return true;
}

void TVN_simplex_raisepivots(lu& f, double times, double limit) {
  const double now = TVN_lu_gettol(f, tol_relpivot);
  TVN_lu_puttol(f, tol_relpivot, std::max(now, std::min(times * now, limit)));
}

void TVN_simplex_calmpivots(lu& f, double asked) {
  const double now = TVN_lu_gettol(f, tol_relpivot);
  TVN_lu_puttol(f, tol_relpivot, now > asked ? std::max(0.5 * now, asked) : asked);
  TVN_lu_putpivotmethod(f, pivots_bycolumn);
}

void TVN_simplex_loadcolumn(const simplex_work& w, int32_t j, spvec& col) noexcept {
  if (w.is_logical(j)) {
    col.push(j, -1.0);
    return;
  }
  for (int64_t p = w.colbeg[j - w.m]; p < w.colbeg[j - w.m + 1]; p++) col.push(w.colsub[p], w.colval[p]);
}

double TVN_simplex_columndot(const simplex_work& w, int32_t j, const double* y) noexcept {
  if (w.is_logical(j)) return -y[j];
  double s = 0;
  for (int64_t p = w.colbeg[j - w.m]; p < w.colbeg[j - w.m + 1]; p++) s += w.colval[p] * y[w.colsub[p]];
  return s;
}

double TVN_simplex_formxb(simplex_fac& f, array_view<double> x) {
  const simplex_work& w = *f.work;
  for (const int32_t j : f.head) x[j] = 0.0;
  double worst = 0;
  // The first pass solves for the basics, the second corrects them by the solved residual.
  for (int pass = 0; pass < 2; pass++) {
    equation_residual(w, x, f.rhs, f.acc);
    double norm = 0;
    for (const double r : f.rhs) norm = std::max(norm, std::fabs(r));
    if (pass == 1) worst = norm;
    if (norm == 0) break;
    TVN_lu_ftran(f.factor, f.rhs, f.sol);
    for (int32_t k = 0; k < w.m; k++) x[f.head[k]] += f.sol[k];
  }
  return worst;
}

void TVN_simplex_formy(simplex_fac& f, array_view<double> y) { TVN_lu_btran(f.factor, f.rhs, y); }

} // namespace tvn
