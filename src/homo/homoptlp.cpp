// The loop: measure, test, factor, choose a direction, step.
//
// What it keeps up: the best point so far, which is what a run that ends without a proposal leaves; and the level of
// regularisation, which rises when a direction is not accurate or a step is short, and falls after good iterations.
#include "homo/homoptlp.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t max_level = 8;
// Whatever a factorisation costs: as many as gain. A budget by its flops made 14.3 iterations of 12.4, and took longer.
constexpr int32_t free_correctors = 10;
constexpr double base_delta = 1e-12, base_rho = 1e-12; // at level 0; ten times more with each level
constexpr double short_step = 1e-3;                    // asks for a higher level
constexpr int32_t clean_steps = 3;                     // for a lower one
constexpr double tighten_factor = 1e-2;
constexpr int32_t max_judged = 2;

hs_code code_of(run_stop stop) noexcept {
  switch (stop) {
  case run_stop::time: return hs_code::max_time;
  case run_stop::peer: return hs_code::peer_stop;
  case run_stop::user:
  case run_stop::none: break;
  }
  return hs_code::user_stop;
}

// Answers what is left to say: true ends the loop.
bool stopped(hom_run& run) noexcept {
  if (!run.watch->stopped()) return false;
  run.info->response = code_of(run.watch->stop);
  return true;
}

bool report(hom_run& run, hs_event event) noexcept {
  run.info->fac = run.w.k.info;
  const int32_t answer = run.progress->fn ? run.progress->fn(run.progress->handle, event, *run.info) : 0;
  if (answer != 0) run.info->response = answer == 2 ? hs_code::peer_stop : hs_code::user_stop;
  return answer != 0;
}

void fill_info(hom_run& run) noexcept {
  hs_info& info = *run.info;
  info.pobj = run.f.pobj + run.d.cfix;
  info.dobj = run.f.dobj + run.d.cfix;
  info.kaptau = run.f.kaptau;
  info.pfeas = run.f.pfeas;
  info.dfeas = run.f.dfeas;
  info.gap = run.f.gap;
  info.mu = run.f.mu;
}

void note_best(hom_run& run) noexcept {
  const double merit = hom_merit(run.d, *run.param, run.f);
  if (run.info->iter > 0 && !(merit < run.bestmerit)) return;
  run.bestmerit = merit;
  run.best.copy(run.now);
  run.bestf = run.f;
}

// The caller's word on a proposal: true ends the loop.
bool accepted(hom_run& run, int32_t solsta) {
  hs_info& info = *run.info;
  info.solsta = solsta;
  hom_getpoint(run.d, run.now, run.f, solsta, *run.out);
  if (!run.judge->fn || info.numjudged >= max_judged) return true;
  if (run.judge->fn(run.judge->handle, info, *run.out) == hs_verdict::accept) return true;
  info.numjudged++;
  info.solsta = sol_unknown;
  for (double* t : {&run.tol.tolpfeas, &run.tol.toldfeas, &run.tol.tolgap, &run.tol.tolinfeas}) *t *= tighten_factor;
  return false;
}

bool finished(hom_run& run) {
  const int32_t solsta = hom_terminate(run.d, run.tol, {}, run.now, run.f);
  if (solsta != sol_unknown && accepted(run, solsta)) return true;
  if (run.info->iter < run.param->maxiterations) return false;
  run.info->response = hs_code::max_iterations;
  return true;
}

void set_level(hom_run& run, int32_t level) noexcept {
  run.info->level = level;
  run.info->maxlevel = std::max(run.info->maxlevel, level);
  run.clean = 0;
}

// False when there is no higher level.
bool raise(hom_run& run) noexcept {
  const int32_t limit = run.param->regularization ? max_level : 0;
  if (run.info->level >= limit) return false;
  set_level(run, run.info->level + 1);
  return true;
}

// A direction of the present point, at whatever level gives one.
newton_code direction(hom_run& run) {
  for (;;) {
    const double factor = std::pow(10.0, run.info->level);
    newton_code code = hom_factor(run.d, run.now, base_rho * factor, base_delta * factor, run.w);
    if (code == newton_code::ok) code = hom_choosemove(run.d, run.now, run.r, run.f, run.maxcor, run.w, run.move);
    if (code == newton_code::ok || code == newton_code::stopped || !raise(run)) return code;
  }
}

hom_steps step_of(const hom_run& run) noexcept {
  hom_steps a = run.move.a;
  if (!run.param->diffstep) a.p = a.d = a.least();
  return hom_shorten(run.d, run.now, run.move.dir, a, run.param->tolrelstep);
}

// One iteration; false ends the loop.
bool iterate(hom_run& run) {
  hs_info& info = *run.info;
  const newton_code code = direction(run);
  if (code == newton_code::stopped) {
    stopped(run);
    return false;
  }
  if (code != newton_code::ok) {
    info.response = hs_code::numerical;
    return false;
  }
  const hom_steps a = step_of(run);
  info.numcorrectors += run.move.numcor;
  if (!(std::max(a.p, a.d) > run.param->tolstepsize)) {
    if (raise(run)) return true;
    info.response = hs_code::stall;
    return false;
  }
  if (std::max(run.move.affine.p, run.move.affine.d) >= 0.1)
    hom_setstakey(run.d, run.now, run.move.dir, a, run.out->skx);
  hom_update(run.d, run.move.dir, a, run.now);
  info.iter++;
  if (a.least() < short_step)
    raise(run);
  else if (++run.clean > clean_steps && info.level > 0)
    set_level(run, info.level - 1);
  return true;
}

int32_t ask(void* handle, int32_t, int64_t, double) { return static_cast<run_watch*>(handle)->stopped() ? 1 : 0; }

kktfac_params factor_params(const hs_param& param, run_watch& watch) noexcept {
  kktfac_params p;
  p.ktpe = param.form;
  p.ordtpe = param.order;
  p.densecol = param.densecol;
  p.isa = param.isa;
  p.numthr = param.numthr;
  if (param.maxrefinements >= 0) p.maxrefine = param.maxrefinements;
  p.progress = {&watch, ask};
  return p;
}

void make(hom_run& run) {
  sysenv& sys = *run.sys;
  const hom_data& d = run.d;
  run.now.make(sys, d);
  run.best.make(sys, d);
  run.move.make(sys, d);
  run.r.rp.reset(sys, d.m);
  run.r.ru.reset(sys, d.nup);
  run.r.rd.reset(sys, d.n);
  newton_make(sys, d.m, d.n, factor_params(*run.param, *run.watch), run.w);
  run.w.proximal = run.param->regularization;
}

} // namespace

void hom_optlp(hom_run& run) {
  make(run);
  hs_info& info = *run.info;
  run.tol = *run.param;
  std::fill_n(run.out->skx, run.d.n, sk_supbas);
  newton_code code = newton_code::stopped;
  if (!report(run, hs_event::begin_order) && !stopped(run)) {
    code = newton_analyse(run.w, run.d.columns());
    if (code == newton_code::ok && report(run, hs_event::end_order)) code = newton_code::stopped;
  }
  run.maxcor = run.param->maxcorrectors >= 0 ? run.param->maxcorrectors : free_correctors;
  hs_param start = *run.param;
  if (code != newton_code::ok) start.start = hs_startpoint::constant;
  const newton_code started = hom_start(run.d, start, run.w, run.now);
  if (code == newton_code::ok) code = started;
  for (bool goeson = true; goeson;) {
    hom_measure(run.d, run.now, run.r, run.f);
    fill_info(run);
    note_best(run);
    if (code != newton_code::ok) {
      if (!stopped(run) && info.response == hs_code::ok) info.response = hs_code::numerical;
      break;
    }
    goeson = !report(run, hs_event::iteration) && !stopped(run) && !finished(run) && iterate(run);
  }
  if (info.solsta == sol_unknown) hom_getpoint(run.d, run.best, run.bestf, sol_unknown, *run.out);
}

} // namespace tvn
