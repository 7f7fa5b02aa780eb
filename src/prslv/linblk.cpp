// Linearly dependent equality rows, which modelling languages and network models leave behind.
//
// Andersen 1995. A row that is a combination of others with the same combination of right-hand sides is redundant and
// goes like any redundant row; with other right-hand sides the combination is a proof of infeasibility. The amount of
// work is bounded (TVN_IPAR_PRESOLVE_LINDEP_WORK_LIM): an LP solver can live with a dependent row.
#include "prslv/prslvint.h"

#include "math/lindep2.h"

namespace tvn {

namespace {

constexpr int64_t smallblock = 1000; // rows up to which no limit holds
constexpr int64_t pollwork = 100000; // entries that the check visits between two questions
constexpr double fullpercent = 100;  // of the parameter: at it, the work may be the estimate
constexpr double termshare = 1e-4;   // of the feasibility tolerance, for each unit of the terms of a right-hand side

struct equalities {
  vec<int32_t> rows; // indices in the problem
  buffer<int64_t> rowbeg, colbeg;
  buffer<int32_t> rowsub, colsub;
  buffer<double> rowval, colval;
  lindep2_system view(int32_t n) const {
    return {static_cast<int32_t>(rows.size()),
            n,
            colbeg.data(),
            rowbeg.data(),
            colsub.data(),
            rowsub.data(),
            colval.data(),
            rowval.data()};
  }
};

void gather(const prslv_context& x, equalities& e, prslv_run& run) {
  sysenv& sys = *x.sys;
  const int32_t n = x.p.numvar;
  e.rows.attach(sys);
  int64_t nz = 0;
  for (int32_t i = 0; i < x.p.numcon; i++) {
    if (!x.conlive[i] || !x.conlin[i] || con_lower(x, i) != con_upper(x, i)) continue;
    e.rows.push_back(i);
    nz += x.connz[i];
    if (TVN_prslv_stopped(run, 3 * x.connz[i])) return;
  }
  const int64_t m = e.rows.size();
  e.rowbeg.reset(sys, m + 1);
  e.colbeg.reset(sys, n + 1, 0);
  e.rowsub.reset(sys, nz);
  e.colsub.reset(sys, nz);
  e.rowval.reset(sys, nz);
  e.colval.reset(sys, nz);
  int64_t at = 0;
  for (int64_t k = 0; k < m; k++) {
    e.rowbeg[k] = at;
    for_row(x, e.rows[k], [&](int32_t j, double a) {
      e.rowsub[at] = j;
      e.rowval[at++] = a;
      e.colbeg[j + 1]++;
    });
  }
  e.rowbeg[m] = at;
  for (int32_t j = 0; j < n; j++) e.colbeg[j + 1] += e.colbeg[j];
  for (int64_t k = 0; k < m; k++)
    for (int64_t p = e.rowbeg[k]; p < e.rowbeg[k + 1]; p++) {
      const int64_t q = e.colbeg[e.rowsub[p]]++;
      e.colsub[q] = static_cast<int32_t>(k);
      e.colval[q] = e.rowval[p];
    }
  for (int32_t j = n; j > 0; j--) e.colbeg[j] = e.colbeg[j - 1];
  e.colbeg[0] = 0;
}

struct finding {
  prslv_context& x;
  const equalities& e;
};

// One dependent row with its combination: consistent, it goes; else the problem has no solution.
bool take_row(void* handle, int32_t row, int32_t num, const int32_t* sub, const double* y) {
  auto& f = *static_cast<finding*>(handle);
  prslv_context& x = f.x;
  double beta = 0, size = 0, ymax = 0;
  for (int32_t k = 0; k < num; k++) {
    const double b = con_lower(x, f.e.rows[sub[k]]);
    beta += y[k] * b;
    size += std::fabs(y[k] * b);
    ymax = std::max(ymax, std::fabs(y[k]));
  }
  if (std::fabs(beta) <= x.param.tolx * std::max(1.0, termshare * size)) {
    x.run.stats->numlindep++;
    TVN_prslv_conrelax(x, f.e.rows[row]);
    return true;
  }
  if (std::fabs(beta) <= x.param.tollindep * std::max(ymax, size)) return true; // neither way is sure
  x.status = prs_prim_infeas;
  const double sign = beta > 0 ? 1 : -1;
  for (int32_t k = 0; k < num; k++) {
    x.cert.rows.push_back(f.e.rows[sub[k]]);
    x.cert.vals.push_back(sign * y[k]);
  }
  return false;
}

int32_t poll(void* handle) { return TVN_prslv_stopped(*static_cast<prslv_run*>(handle), pollwork) ? 1 : 0; }

int64_t work_limit(const prslv_context& x, const equalities& e) {
  if (x.param.lindepworklim <= 0 || e.rows.size() <= smallblock) return -1;
  const double nz = static_cast<double>(std::max<int64_t>(e.rowsub.size(), 1)), m = static_cast<double>(e.rows.size());
  const double limit = (nz + x.p.numvar * std::sqrt(std::sqrt(m))) * std::sqrt(m) * fullpercent / x.param.lindepworklim;
  return static_cast<int64_t>(std::min(limit, 9e18));
}

} // namespace

prslv_code TVN_prslv_chklinblkcon(prslv_context& x) {
  const prslv_clock clock(x, task_lindep);
  x.run.stats->numlindeptries++;
  equalities e;
  gather(x, e, x.run);
  if (x.run.stop) return prslv_code::stopped;
  if (e.rows.size() < 2) return prslv_code::ok;
  TVN_prslv_print(x, "Checking for linearly dependent constraints\n");
  lindep2_param param;
  param.maxwork = work_limit(x, e);
  lindep2_stats stats;
  finding f{x, e};
  const lindep2_code code = TVN_lindep2_check(*x.sys, param, e.view(x.p.numvar), {&f, take_row}, {&x.run, poll}, stats);
  TVN_prslv_print(x, "Number of linearly dependent constraints: %d\n", x.run.stats->numlindep);
  TVN_prslv_print(x, "%-40s: %d %d %.3g of %.3g\n", "Core rows, candidates, work", stats.numcore, stats.numcandidates,
                  stats.work, static_cast<double>(param.maxwork));
  if (code == lindep2_code::work_limit || code == lindep2_code::gave_up) {
    x.run.stats->lindeptruncated = true;
    TVN_prslv_print(x, "The linear dependency checker was terminated prematurely. resp: %d \n", static_cast<int>(code));
  }
  return code == lindep2_code::stopped ? prslv_code::stopped : prslv_code::ok;
}

} // namespace tvn
