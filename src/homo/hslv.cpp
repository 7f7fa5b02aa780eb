// The way in and out: scaled problem, loop, point in units of the caller.
#include "homo/homoptlp.h"

#include "cpub/timer.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// s and sup of a certificate from its y alone: those of the point carry residuals that y need not have.
void complete_farkas(const hom_data& d, const hom_point& p, double factor, hs_point& out) noexcept {
  for (int32_t j = 0; j < d.npos; j++) {
    double sum = 0;
    for (int64_t q = d.beg[j]; q < d.beg[j + 1]; q++) sum += d.val[q] * p.y[d.sub[q]];
    sum *= d.sunit[j] * factor;
    out.s[d.order[j]] = std::max(-sum, 0.0);
    if (j >= d.up0()) out.sup[d.order[j]] = std::max(sum, 0.0);
  }
  d.each_cone([&](int32_t, int32_t first, int32_t size) {
    long double rest = 0;
    for (int32_t j = first; j < first + size; j++) {
      long double sum = 0;
      for (int64_t q = d.beg[j]; q < d.beg[j + 1]; q++) sum -= static_cast<long double>(d.val[q]) * p.y[d.sub[q]];
      out.s[d.order[j]] = static_cast<double>(sum) * d.sunit[j] * factor;
      if (j > first) rest += static_cast<long double>(out.s[d.order[j]]) * out.s[d.order[j]];
    }
    double& head = out.s[d.order[first]];
    head = std::max(head, static_cast<double>(std::sqrt(rest)));
  });
}

} // namespace

void hom_getpoint(const hom_data& d, const hom_point& p, const hom_figures& f, int32_t solsta, hs_point& out) noexcept {
  double primal = 1 / p.tau, dual = 1 / p.tau;
  if (solsta == sol_prim_infeas_cer || solsta == sol_near_prim_infeas_cer) {
    primal = 0;
    dual = 1 / (f.rayby * d.objunit);
  } else if (solsta == sol_dual_infeas_cer || solsta == sol_near_dual_infeas_cer) {
    double most = 0;
    for (int32_t j = 0; j < d.n; j++) most = std::max(most, std::fabs(p.x[j] * d.xunit[j]));
    primal = 1 / most;
    dual = 0;
  }
  for (int32_t j = 0; j < d.n; j++) {
    const int32_t to = d.order[j], k = j < d.npos ? j - d.up0() : -1;
    out.x[to] = p.x[j] * d.xunit[j] * primal;
    out.s[to] = p.s[j] * d.sunit[j] * dual;
    out.sup[to] = k >= 0 ? p.sup[k] * d.sunit[j] * dual : 0.0;
  }
  if (primal == 0) complete_farkas(d, p, dual, out);
  for (int32_t i = 0; i < d.m; i++) out.y[i] = p.y[i] * d.yunit[i] * dual;
}

void TVN_hs_optlp(sysenv& sys, const hs_problem& problem, const hs_param& param, run_watch& watch,
                  const hs_progress& progress, const hs_judge& judge, hs_point& point, hs_info& info) {
  info = {};
  info.starttime = TVN_sysenv_gettime();
  hom_run run;
  run.sys = &sys;
  run.param = &param;
  run.watch = &watch;
  run.progress = &progress;
  run.judge = &judge;
  run.out = &point;
  run.info = &info;
  run.q = problem.q;
  run.watch_q = param.watchconvexity && problem.q.any();
  hom_setup(sys, problem, param, run.d);
  hom_optlp(run);
  info.fac = run.w.k.info;
}

} // namespace tvn
