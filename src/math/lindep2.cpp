// Linearly dependent rows: peel, factor the rest, prove each row that got no pivot.
//
// A column with one active row proves that row independent of all others: in a combination that vanishes its weight is
// 0. Peeling such rows is linear and leaves a small core or none. In the core a Markowitz factorisation that drops L
// and U as it goes tells which rows find no pivot; with B the pivot columns and a unit column for each such row r,
// B'y = e_r gives the only candidate of a combination with y_r = 1. Such a solve is sparse: many small blocks, as
// transport problems have, cost the entries of each block and not the number of rows.
#include "math/lindep2.h"

#include "lu/lu.h"
#include "misc/spvec.h"

#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/math/lindep2";
constexpr int32_t maxtries = 20;    // enlargements of the storage
constexpr double tolweight = 1e-11; // smaller weights of a dependency are rounding

struct core {
  const lindep2_system& a;
  buffer<int32_t> rowmap;  // [m] core index or -1
  vec<int32_t> rows, cols; // of the core
  buffer<int32_t> basis;   // [core rows] column per row, -1: the unit column of that row
  int32_t numrows() const { return static_cast<int32_t>(rows.size()); }
};

bool stopped(const lindep2_progress& p) { return p.fn && p.fn(p.handle) != 0; }

// Peels rows of column singletons; the rows left are the core.
void peel(sysenv& sys, core& c, const lindep2_progress& progress) {
  constexpr int64_t pollevery = 100000; // entries
  const lindep2_system& a = c.a;
  buffer<char> active(sys, a.m, 1);
  buffer<int32_t> count(sys, a.n);
  vec<int32_t> stack(sys);
  for (int32_t j = 0; j < a.n; j++) {
    count[j] = static_cast<int32_t>(a.colbeg[j + 1] - a.colbeg[j]);
    if (count[j] == 1) stack.push_back(j);
  }
  int64_t work = 0;
  while (!stack.empty()) {
    if (work > pollevery && stopped(progress)) return;
    if (work > pollevery) work = 0;
    const int32_t j = stack.back();
    stack.pop_back();
    if (count[j] != 1) continue;
    int64_t p = a.colbeg[j];
    while (!active[a.colsub[p]]) p++;
    const int32_t i = a.colsub[p];
    active[i] = 0;
    work += a.rowbeg[i + 1] - a.rowbeg[i] + 1;
    for (int64_t q = a.rowbeg[i]; q < a.rowbeg[i + 1]; q++)
      if (--count[a.rowsub[q]] == 1) stack.push_back(a.rowsub[q]);
  }
  for (int32_t i = 0; i < a.m; i++) {
    c.rowmap[i] = active[i] ? c.numrows() : -1;
    if (active[i]) c.rows.push_back(i);
  }
  for (int32_t j = 0; j < a.n; j++)
    if (count[j] > 1) c.cols.push_back(j);
}

bool put_column(const core& c, int32_t j, int64_t space, int32_t& count, int32_t* sub, double* val) {
  count = 0;
  for (int64_t p = c.a.colbeg[j]; p < c.a.colbeg[j + 1]; p++) {
    const int32_t i = c.rowmap[c.a.colsub[p]];
    if (i < 0) continue;
    if (count >= space) return false;
    sub[count] = i;
    val[count++] = c.a.colval[p];
  }
  return true;
}

// Columns of the rectangular core; those beyond are empty and make it at least square.
bool core_column(void* handle, int64_t space, int32_t k, int32_t& count, int32_t* sub, double* val) {
  const auto& c = *static_cast<const core*>(handle);
  count = 0;
  return k >= c.cols.size() || put_column(c, c.cols[k], space, count, sub, val);
}

bool basis_column(void* handle, int64_t space, int32_t k, int32_t& count, int32_t* sub, double* val) {
  const auto& c = *static_cast<const core*>(handle);
  if (c.basis[k] >= 0) return put_column(c, c.basis[k], space, count, sub, val);
  if (space < 1) return false;
  count = 1;
  sub[0] = k;
  val[0] = 1.0;
  return true;
}

int32_t lindep_luprogress(void* handle, int32_t, int32_t) {
  const auto& p = *static_cast<const lindep2_progress*>(handle);
  return p.fn ? p.fn(p.handle) : 0;
}

// Factors with storage enlarged as needed.
lindep2_code factor(sysenv& sys, lu& f, int32_t ncol, int64_t nz) {
  int64_t isize = 0, rsize = 0;
  TVN_lu_getfactorspace(f.nrow, ncol, isize, rsize);
  buffer<int32_t> iwork(sys, isize);
  buffer<double> rwork(sys, rsize);
  TVN_lu_newwszedbg(f, std::max<int64_t>(nz + nz / 2, ncol + 1));
  for (int32_t attempt = 0; attempt < maxtries; attempt++) {
    TVN_lu_init(f);
    switch (TVN_lu_factor(f, iwork, rwork)) {
    case lu_code::done: return lindep2_code::ok;
    case lu_code::no_storage:
    case lu_code::column_refused: TVN_lu_newwszedbg(f, TVN_lu_getwszeproposal(f)); break;
    case lu_code::stopped: return lindep2_code::stopped;
    case lu_code::work_limit: return lindep2_code::work_limit;
    case lu_code::no_memory: throw out_of_memory{};
    default: return lindep2_code::gave_up;
    }
  }
  return lindep2_code::gave_up;
}

int64_t core_nonzeros(const core& c) {
  int64_t nz = 0;
  for (const int32_t j : c.cols) nz += c.a.colbeg[j + 1] - c.a.colbeg[j];
  return nz;
}

struct factor_owner {
  lu f;
  factor_owner(sysenv& sys, int32_t nrow, int32_t ncol, const lindep2_param& p, const lindep2_progress& progress) {
    TVN_lu_make(sys, nrow, ncol, f);
    TVN_lu_puttol(f, tol_abspivot, p.tolapiv);
    TVN_lu_puttol(f, tol_relpivot, p.tolrelpiv);
    TVN_lu_putprogressfunc(f, const_cast<lindep2_progress*>(&progress), lindep_luprogress);
  }
  ~factor_owner() { TVN_lu_delete(f); }
  factor_owner(const factor_owner&) = delete;
  factor_owner& operator=(const factor_owner&) = delete;
};

// Pivot columns of the core into c.basis; the number of rows without one.
lindep2_code find_pivots(sysenv& sys, const lindep2_param& param, core& c, const lindep2_progress& progress,
                         lindep2_stats& stats) {
  const int32_t m = c.numrows(), ncol = std::max(m, static_cast<int32_t>(c.cols.size()));
  factor_owner owner(sys, m, ncol, param, progress);
  lu& f = owner.f;
  TVN_lu_putgeta(f, &c, core_column);
  TVN_lu_putdropl(f, true);
  TVN_lu_putdropu(f, true);
  TVN_lu_putmaxworkoftasks(f, param.maxwork);
  const lindep2_code code = factor(sys, f, ncol, core_nonzeros(c));
  stats.work = TVN_lu_getfactorwork(f);
  if (code != lindep2_code::ok) return code;
  c.basis.reset(sys, m, -1);
  for (int32_t i = 0; i < m; i++) {
    int32_t k = ncol;
    double value = 0;
    TVN_lu_getuii(f, i, k, value);
    if (k < c.cols.size())
      c.basis[i] = c.cols[k];
    else
      stats.numcandidates++;
  }
  return code;
}

// Whether the rows of the support with weights y cancel in every column.
struct verifier {
  buffer<double> sum, largest; // [n] clean between calls
  vec<int32_t> touched;
  verifier(sysenv& sys, int32_t n) : sum(sys, n, 0.0), largest(sys, n, 0.0), touched(sys) {}
  bool vanishes(const lindep2_system& a, int32_t num, const int32_t* sub, const double* y, double tol) {
    touched.clear();
    for (int32_t k = 0; k < num; k++)
      for (int64_t p = a.rowbeg[sub[k]]; p < a.rowbeg[sub[k] + 1]; p++) {
        const int32_t j = a.rowsub[p];
        const double v = y[k] * a.rowval[p];
        if (largest[j] == 0.0) touched.push_back(j);
        sum[j] += v;
        largest[j] = std::max(largest[j], std::fabs(v));
      }
    bool ok = true;
    for (const int32_t j : touched) {
      ok = ok && std::fabs(sum[j]) <= tol * largest[j];
      sum[j] = largest[j] = 0;
    }
    return ok;
  }
};

// One solve per candidate, along its nonzeros; stats.work counts everything so far.
lindep2_code prove_rows(sysenv& sys, const lindep2_param& param, core& c, const lindep2_found& found,
                        const lindep2_progress& progress, lindep2_stats& stats) {
  const int32_t m = c.numrows();
  factor_owner owner(sys, m, m, param, progress);
  lu& f = owner.f;
  TVN_lu_putgeta(f, &c, basis_column);
  if (const lindep2_code code = factor(sys, f, m, core_nonzeros(c)); code != lindep2_code::ok) return code;
  if (TVN_lu_getrank(f) < m) return lindep2_code::gave_up;
  const double before = stats.work + TVN_lu_getfactorwork(f);
  double entries = 0;
  spvec unit(sys, m), y(sys, m);
  buffer<double> weight(sys, m);
  buffer<int32_t> sub(sys, m);
  verifier check(sys, c.a.n);
  for (int32_t k = 0; k < m; k++) {
    if (c.basis[k] >= 0) continue;
    stats.work = before + TVN_lu_getupdatework(f) + entries;
    if (param.maxwork >= 0 && stats.work > static_cast<double>(param.maxwork)) return lindep2_code::work_limit;
    if (stopped(progress)) return lindep2_code::stopped;
    unit.push(k, 1.0);
    TVN_lu_btrans(f, unit, y, 0.0, 0.0);
    int32_t num = 0;
    for (int32_t q = 0; q < y.count; q++) {
      const int32_t i = y.idx[q];
      if (std::fabs(y.val[i]) <= tolweight) continue;
      sub[num] = c.rows[i];
      weight[num++] = y.val[i];
      entries += static_cast<double>(c.a.rowbeg[sub[num - 1] + 1] - c.a.rowbeg[sub[num - 1]]);
    }
    y.clear();
    if (!check.vanishes(c.a, num, sub.data(), weight.data(), param.tolzero)) continue;
    if (!found.fn(found.handle, c.rows[k], num, sub.data(), weight.data())) return lindep2_code::ok;
  }
  return lindep2_code::ok;
}

} // namespace

lindep2_code TVN_lindep2_check(sysenv& sys, const lindep2_param& param, const lindep2_system& a,
                               const lindep2_found& found, const lindep2_progress& progress, lindep2_stats& stats) {
  TVN_ASSERT(&sys, label, found.fn);
  core c{a, buffer<int32_t>(sys, a.m), vec<int32_t>(sys), vec<int32_t>(sys), {}};
  peel(sys, c, progress);
  if (stopped(progress)) return lindep2_code::stopped;
  stats.numcore = c.numrows();
  if (c.numrows() == 0) return lindep2_code::ok;
  const lindep2_code code = find_pivots(sys, param, c, progress, stats);
  if (code != lindep2_code::ok || stats.numcandidates == 0) return code;
  return prove_rows(sys, param, c, found, progress, stats);
}

} // namespace tvn
