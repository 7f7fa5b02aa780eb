// The loop: measure, test, factor, choose a direction, step.
//
// What it keeps up: the best point so far, which is what a run that ends without a proposal leaves; and the level of
// regularisation, which rises when a direction is not accurate or a step is short, and falls after good iterations.
#include "homo/homoptlp.h"

#include "convex/checkdef.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t max_level = 8;
// Whatever a factorisation costs: as many as gain. A budget by its flops made 14.3 iterations of 12.4, in no less time.
constexpr int32_t free_correctors = 10;
constexpr double base_delta = 1e-12, base_rho = 1e-12; // at level 0; ten times more with each level
// With Q in the normal equations: rows of long differences (liswet) have y so large that 1e-12 of it shows for ever.
constexpr double quadratic_delta = 1e-14;
constexpr double short_step = 1e-3; // asks for a higher level
constexpr int32_t clean_steps = 3;  // for a lower one
constexpr double tighten_factor = 1e-2;
constexpr int32_t max_judged = 2;
constexpr int32_t max_idle = 30; // iterations without a better point than before; greenbea has 9 in a row
constexpr double least_share = 0.01, most_share = 0.5; // of mu that a pair keeps which blocks
constexpr double cone_share = 0.1;                     // the least where one step has to suit all pairs
constexpr double worse = 10;                           // mu of a step that is taken back, unless the residuals fell

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

void record(const hom_run& run, double grade, hom_record& best) noexcept {
  if (!(grade < best.grade) && run.info->iter > 0) return;
  best.grade = grade;
  best.point.copy(run.now);
  best.f = run.f;
}

void note_point(hom_run& run) noexcept {
  run.grade = hom_grade(run.d, *run.param, run.f);
  record(run, run.grade.merit(), run.optimum);
  if (run.grade.certificate() * std::sqrt(run.param->tolinfeas) <= 1)
    record(run, run.grade.certificate(), run.certificate);
  const double least = std::min(run.grade.merit(), run.grade.certificate());
  run.idle++;
  if (!(least < 0.9 * run.leastgrade) && run.info->iter > 0) return;
  run.leastgrade = least;
  run.idle = 0;
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

// A pivot that is this much below 0, of a matrix with unit diagonal, is not rounding; nor is a Q that is so far from
// semidefinite.
constexpr double wrong = 1e-6;

// Once in a run.
convex_code look_at_quadratic(hom_run& run, double tol) {
  run.watch_q = false;
  return TVN_symmat_checkcolumns(*run.sys, run.q, tol, run.w.k.params.progress);
}

// A pivot of the wrong sign may be rounding: with small D the big system has entries of all sizes (6 of 82 problems).
// So it is a reason to look.
bool is_nonconvex(hom_run& run) {
  if (!run.watch_q || !(TVN_kktfac_wrongpivot(run.w.k) < -wrong)) return false;
  return look_at_quadratic(run, 1e-10) == convex_code::indefinite;
}

// An optimum is another reason: at a saddle inside its bounds the barrier keeps all pivots right to the end. False when
// it is none, or the look was stopped.
bool is_minimum(hom_run& run) {
  if (!run.watch_q) return run.info->response != hs_code::nonconvex;
  const convex_code code = look_at_quadratic(run, wrong);
  if (code == convex_code::indefinite) run.info->response = hs_code::nonconvex;
  return code == convex_code::ok;
}

// A feasible point of one side proves that the optimum lies beyond a cut.
bool cut(const hom_run& run) noexcept {
  const hs_param& p = *run.param;
  return (p.cuts.uselow && run.grade.primal <= 1 && run.f.pobj + run.d.cfix < p.cuts.low) ||
         (p.cuts.useupp && run.grade.dual <= 1 && run.f.dobj + run.d.cfix > p.cuts.upp);
}

// With Q there is no vertex to which an optimum could be rounded afterwards, and what the point lacks shows in all of
// x; a step to a basis has to know on which side of a pair is 0. As long as an iteration halves what is lacking, a few
// more are made. The best point stands in the end.
bool refines(hom_run& run, const hom_grades& g) noexcept {
  constexpr double quadratic = 1e-7, gain = 0.5;
  const int32_t most = run.d.q.any() ? 8 : 3;
  const double enough = run.d.q.any() ? quadratic : run.param->refine;
  if (!(enough < 1)) return false;
  if (run.numextra < most && run.info->iter < run.param->maxiterations && g.merit() > enough &&
      run.grade.merit() < gain * run.lastgrade) {
    run.numextra++;
    run.lastgrade = run.grade.merit();
    return true;
  }
  if (run.optimum.grade < run.grade.merit()) {
    run.now.copy(run.optimum.point);
    hom_measure(run.d, run.now, run.r, run.f);
  }
  return false;
}

// The judge may throw.
bool finished(hom_run& run) {
  const hom_grades g = hom_grade(run.d, run.tol, run.f);
  const int32_t solsta = hom_terminate(g);
  if (solsta == sol_optimal && refines(run, g)) return false;
  if (solsta == sol_optimal && !is_minimum(run)) return run.info->response == hs_code::nonconvex || stopped(run);
  if (solsta != sol_unknown && accepted(run, solsta)) return true;
  hs_code code = hs_code::ok;
  if (cut(run))
    code = hs_code::objective_range;
  else if (run.info->iter >= run.param->maxiterations)
    code = hs_code::max_iterations;
  else if (run.idle >= max_idle)
    code = hs_code::stall;
  run.info->response = code;
  return code != hs_code::ok;
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
  hom_telllevel(run);
  return true;
}

// A direction need not be more accurate than the point is good.
void set_accuracy(hom_run& run) noexcept {
  const double loosest = run.d.numcone > 0 ? 1e-11 : 1e-7; // of a residual
  constexpr double krylov = 5, least_krylov = 1e-9;        // above so many tolrefine corrections are combined
  const kktfac_params usual;
  const double left = std::min(run.grade.merit(), run.grade.certificate()) * run.tol.tolgap; // of the error, relative
  kktfac_params& p = run.w.k.params;
  p.tolrefine = std::clamp(0.1 * left, usual.tolrefine, loosest);
  p.tolkrylov = std::max(least_krylov, krylov * p.tolrefine);
}

bool has_negative(const hom_quadratic& q) noexcept {
  return std::any_of(q.diag.begin(), q.diag.end(), [](double v) { return v < 0; });
}

// A direction of the present point, at whatever level gives one.
newton_code direction(hom_run& run) {
  set_accuracy(run);
  if (!hom_scalecones(run.d, run.w.cones, run.now)) return newton_code::failed;
  for (;;) {
    const double factor = std::pow(10.0, run.info->level);
    const bool merged = run.d.q.any() && run.w.k.form == kkt_form::adat;
    const double delta = merged ? quadratic_delta : base_delta;
    newton_code code = hom_factor(run.d, run.now, base_rho * factor, delta * factor, run.w);
    if (is_nonconvex(run)) {
      run.info->response = hs_code::nonconvex;
      return newton_code::failed;
    }
    if (code == newton_code::ok) code = hom_choosemove(run.d, run.now, run.r, run.f, run.maxcor, run.w, run.move);
    if (code == newton_code::ok || code == newton_code::stopped || !raise(run)) return code;
  }
}

hom_steps step_of(const hom_run& run) noexcept {
  hom_steps a = run.move.a;
  if (!run.param->diffstep) a.p = a.d = a.least();
  return hom_shorten(run.d, run.now, run.move.dir, a, run.param->tolrelstep,
                     std::clamp(run.param->tolpath, run.d.numcone > 0 ? cone_share : least_share, most_share));
}

// What rounding leaves outside of a cone takes a shorter step.
void move(hom_run& run, hom_steps a) noexcept {
  constexpr double shorter = 0.9;
  hom_update(run.d, run.move.dir, a, run.now);
  while (!hom_inside(run.d, run.now) && a.p > run.param->tolstepsize) {
    run.now.copy(run.saved);
    a.p = a.d = shorter * a.p;
    hom_update(run.d, run.move.dir, a, run.now);
  }
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
    if (info.response == hs_code::ok) info.response = hs_code::numerical;
    return false;
  }
  const hom_steps a = step_of(run);
  hom_tellmove(run, a);
  info.numcorrectors += run.move.numcor;
  if (!(std::max(a.p, a.d) > run.param->tolstepsize)) {
    if (raise(run)) return true;
    info.response = hs_code::stall;
    return false;
  }
  if (std::max(run.move.affine.p, run.move.affine.d) >= 0.1)
    hom_setstakey(run.d, run.now, run.move.dir, a, run.out->skx);
  run.saved.copy(run.now);
  run.savedf = run.f;
  move(run, a);
  info.iter++;
  if (a.least() < short_step)
    raise(run);
  else if (++run.clean > clean_steps && info.level > 0)
    set_level(run, info.level - 1);
  return true;
}

// After a step: false when it has made both mu and the residuals worse, or led to a NaN. The point before comes back.
bool improved(hom_run& run) noexcept {
  const bool finite = run.f.mu < HUGE_VAL && run.f.pfeas + run.f.dfeas < HUGE_VAL && run.now.tau > 0;
  const bool lower = run.f.pfeas <= run.savedf.pfeas || run.f.dfeas <= run.savedf.dfeas;
  if (run.info->iter == 0 || (finite && (run.f.mu <= worse * run.savedf.mu || lower))) return true;
  hom_tellrefused(run);
  run.now.copy(run.saved);
  return false;
}

// What a run that ends without a proposal has reached.
void propose_near(hom_run& run) {
  hs_info& info = *run.info;
  const bool ended = info.response == hs_code::stall || info.response == hs_code::numerical;
  const hom_record& c = run.certificate;
  hom_record& o = run.optimum;
  int32_t solsta = sol_unknown;
  if (o.grade <= run.param->nearrel && (ended || o.grade <= 1) && !is_minimum(run)) {
    solsta = sol_unknown;
  } else if (o.grade <= 1) {
    solsta = sol_optimal;
  } else if (ended && o.grade <= run.param->nearrel) {
    solsta = sol_near_optimal;
  } else if (ended && c.grade < HUGE_VAL) {
    const hom_grades g = hom_grade(run.d, *run.param, c.f);
    solsta = g.farkas <= g.ray ? sol_near_prim_infeas_cer : sol_near_dual_infeas_cer;
  }
  info.solsta = solsta;
  const hom_record& from = solsta == sol_near_prim_infeas_cer || solsta == sol_near_dual_infeas_cer ? c : o;
  hom_getpoint(run.d, from.point, from.f, solsta, *run.out);
}

kktfac_params factor_params(const hs_param& param, const cone_system& cones, run_watch& watch) noexcept {
  kktfac_params p;
  p.definite = cones.any();
  p.ktpe = cones.numown > 0 ? kkt_form::sqdt : param.form; // whatever is asked for: their H is not diagonal
  p.ordtpe = param.order;
  p.densecol = param.densecol;
  p.isa = param.isa;
  p.numthr = param.numthr;
  if (param.maxrefinements >= 0) p.maxrefine = param.maxrefinements;
  p.progress = {&watch, TVN_runwatch_ask};
  return p;
}

void make(hom_run& run) {
  sysenv& sys = *run.sys;
  const hom_data& d = run.d;
  run.now.make(sys, d);
  run.saved.make(sys, d);
  run.optimum.point.make(sys, d);
  run.certificate.point.make(sys, d);
  run.move.make(sys, d);
  run.r.rp.reset(sys, d.m);
  run.r.ru.reset(sys, d.nup);
  run.r.rd.reset(sys, d.n);
  if (d.q.any()) run.r.qx.reset(sys, d.n);
  cone_system_make(sys, d, run.w.cones);
  newton_make(sys, d.m, d.n, factor_params(*run.param, run.w.cones, *run.watch), run.w);
  if (d.q.any()) run.w.work.reset(sys, d.n);
  run.w.proximal = run.param->regularization;
}

// Order, analysis, starting point; a point is there whatever the code.
newton_code prepare(hom_run& run) {
  newton_code code = newton_code::stopped;
  if (!report(run, hs_event::begin_order) && !stopped(run)) {
    const cone_system& cones = run.w.cones;
    code = newton_analyse(run.w, cones.any() ? cones.columns() : run.d.columns(),
                          cones.any() ? cones.pattern() : run.d.q.pattern());
    run.w.hoff = cones.any() ? cones.hval.data() : run.d.q.val.data();
    if (code == newton_code::ok && report(run, hs_event::end_order)) code = newton_code::stopped;
  }
  hs_param start = *run.param;
  if (code != newton_code::ok) start.start = hs_startpoint::constant;
  const newton_code started = hom_start(run.d, start, run.w, run.r, run.saved, run.now);
  return code == newton_code::ok ? started : code;
}

} // namespace

void hom_optlp(hom_run& run) {
  make(run);
  hs_info& info = *run.info;
  run.tol = *run.param;
  std::fill_n(run.out->skx, run.d.n, sk_supbas);
  run.maxcor = run.param->maxcorrectors >= 0 ? run.param->maxcorrectors : free_correctors;
  newton_code code = prepare(run);
  if (has_negative(run.d.q) || is_nonconvex(run)) {
    info.response = hs_code::nonconvex;
    code = newton_code::failed;
  }
  for (bool goeson = true; goeson;) {
    hom_measure(run.d, run.now, run.r, run.f);
    if (!improved(run)) {
      info.iter--;
      hom_measure(run.d, run.now, run.r, run.f);
      if (!raise(run)) code = newton_code::failed;
    }
    fill_info(run);
    note_point(run);
    hom_tellpoint(run);
    if (code != newton_code::ok) {
      if (info.response == hs_code::ok && !stopped(run)) info.response = hs_code::numerical;
      break;
    }
    goeson = !report(run, hs_event::iteration) && !stopped(run) && !finished(run) && iterate(run);
  }
  if (info.solsta == sol_unknown) propose_near(run);
  hom_tellend(run);
}

} // namespace tvn
