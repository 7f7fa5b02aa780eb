// The direct road: working problem, start basis, optimizer, the way back, proof, and a second run where the proof
// fails.
//
// Road of one run: TVN_simplex_compressproblem (free rows and fixed columns out, scaling by powers of two) -> start
// basis (logicals, or the caller's keys repaired) -> optimizer, clean-up -> polish (x and y of the final basis solved
// afresh with refinement) -> user space -> residuals on the user's data. Only they decide the status.
#include "simplex/direct.h"

#include "basic/purif.h"
#include "misc/solcopy.h"
#include "simplex/dual/dstate.h"
#include "simplex/primal/pstate.h"
#include "simplex/start/crash.h"
#include "simplex/start/smartcrash.h"
#include "simplex/start/startbasis.h"
#include "verify/verify.h"

#include <cmath>

namespace tvn {

namespace {

constexpr int32_t scalepasses = 6;
constexpr int32_t maxrepairs = 3;                           // turns of the dual simplex on behalf of the primal one
constexpr double proofshare = 1e-3, optimumshare = 0.1;     // of the dual tolerance, in a second try
constexpr double gaptols[] = {1e-9, 1e-11};                 // one after the other, to close a gap
constexpr double smallpivot = 1e-10, smallestpivot = 1e-13; // of the runs after a ray that does not hold

// --- start basis

// fitting: a kept basis whose factor is that of the keys, or null.
void start_header(simplex_state& s, const solution_view* keys, kept_basis* fitting) {
  s.info.numbasics = s.work.m;
  if (fitting)
    TVN_simplex_takefactor(*fitting, s);
  else if (keys)
    TVN_simplex_basisfromkeys(s, *keys);
  else
    TVN_simplex_slackbasis(s.fac);
}

// Rank of the start. A full factor is left to the optimizer; another one it makes again and repairs.
void factor_start(simplex_state& s, const solution_view* keys) {
  if (s.cold || s.factorready) {
    s.info.basisrank = s.work.m;
    return;
  }
  s.info.count[kind_free].factorizations++;
  factor_result result = TVN_simplex_factor(s.fac);
  if (result == factor_result::full && TVN_simplex_improvelu(s.fac)) result = TVN_simplex_factor(s.fac);
  if (result == factor_result::full || result == factor_result::singular)
    s.info.basisrank = TVN_lu_getrank(s.fac.factor);
  if (result == factor_result::singular) TVN_simplex_movefill(s, *keys);
  s.factorready = result == factor_result::full;
}

// Keys of all variables and values of the nonbasics.
void start_keys(simplex_state& s, const solution_view* keys) {
  const simplex_work& w = s.work;
  for (int32_t j = 0; j < w.total; j++) {
    const int32_t wish = keys ? TVN_simplex_userkey(w, *keys, j) : static_cast<int32_t>(sk_unk);
    if (s.fac.pos[j] >= 0)
      s.key[j] = sk_bas;
    else if (wish == sk_supbas && !s.param.keysonly)
      TVN_simplex_restsuperbasic(s, j, TVN_simplex_uservalue(w, *keys, j));
    else
      TVN_simplex_restnonbasic(s, j, wish);
  }
}

// A basis of the point, with its factor.
void start_basis(simplex_state& s, const solution_view& point) { TVN_prf_puriflp(s, point); }

// --- the way back

// Solves x and y of the final basis afresh, y with one step of refinement in long double.
void polish(simplex_state& s, buffer<double>& y, bool phaseone) {
  const simplex_work& w = s.work;
  auto cost = [&](int32_t k) { return phaseone ? static_cast<double>(s.infeas[k]) : w.cost[s.fac.head[k]]; };
  for (int32_t k = 0; k < w.m; k++) s.fac.rhs[k] = cost(k);
  TVN_simplex_formy(s.fac, y);
  for (int32_t k = 0; k < w.m; k++) {
    const int32_t j = s.fac.head[k];
    long double r = cost(k);
    if (w.is_logical(j))
      r += y[j];
    else
      for (int64_t p = w.colbeg[j - w.m]; p < w.colbeg[j - w.m + 1]; p++)
        r -= static_cast<long double>(w.colval[p]) * y[w.colsub[p]];
    s.fac.rhs[k] = static_cast<double>(r);
  }
  TVN_simplex_formy(s.fac, s.y);
  for (int32_t i = 0; i < w.m; i++) y[i] += s.y[i];
  for (int32_t k = 0; k < w.m; k++)
    if (w.is_logical(s.fac.head[k])) y[s.fac.head[k]] = -cost(k);
}

// Rounding in place of zeros: duals that no basic column would miss in the last place of its largest term become 0.
// Such a dual says nothing, and times a range without end it is a gap.
void drop_noise(const simplex_state& s, buffer<double>& y) {
  constexpr double lastplace = 0x1p-49;
  const simplex_work& w = s.work;
  buffer<uint8_t> missed(s.sys, w.m, uint8_t{0});
  for (int32_t k = 0; k < w.m; k++) {
    const int32_t j = s.fac.head[k];
    if (w.is_logical(j)) {
      missed[j] = 1;
      continue;
    }
    const int64_t from = w.colbeg[j - w.m], to = w.colbeg[j - w.m + 1];
    double largest = std::fabs(w.cost[j]);
    for (int64_t p = from; p < to; p++) largest = std::max(largest, std::fabs(w.colval[p] * y[w.colsub[p]]));
    for (int64_t p = from; p < to; p++)
      missed[w.colsub[p]] |= !(std::fabs(w.colval[p] * y[w.colsub[p]]) <= lastplace * largest);
  }
  for (int32_t i = 0; i < w.m; i++)
    if (!missed[i]) y[i] = 0;
}

// Duals of one item from its reduced cost and key; a basic or free one has none, whatever rounding is left in d.
void rest_dual(double d, int32_t key, double& sl, double& su) {
  sl = su = 0;
  if (key == sk_low)
    sl = d;
  else if (key == sk_upr)
    su = -d;
  else if (key == sk_fix)
    (d >= 0 ? sl : su) = std::fabs(d);
}

void export_keys_and_x(const simplex_state& s, const problem_view& lp, solution_view& sol, bool ray) {
  const simplex_work& w = s.work;
  for (int32_t j = 0; j < lp.numvar; j++) {
    const int32_t k = w.user2col[j];
    sol.skx[j] = k < 0 ? static_cast<int32_t>(sk_fix) : s.key[w.m + k];
    sol.xx[j] = k < 0 ? (ray ? 0.0 : lp.blx[j]) : s.x[w.m + k] * w.colscale[k];
    if (ray || k < 0) continue;
    if (sol.skx[j] == sk_low) sol.xx[j] = lp.blx[j];
    if (sol.skx[j] == sk_upr) sol.xx[j] = lp.bux[j];
  }
}

// Activities: a nonbasic row rests on its bound, a basic one is summed.
void export_activities(sysenv& sys, const simplex_state& s, const problem_view& lp, solution_view& sol, bool ray) {
  buffer<long double> act(sys, lp.numcon, 0.0L);
  for (int32_t j = 0; j < lp.numvar; j++)
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) act[lp.sub[p]] += static_cast<long double>(lp.val[p]) * sol.xx[j];
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t k = s.work.user2row[i];
    sol.skc[i] = k < 0 ? static_cast<int32_t>(sk_bas) : s.key[k];
    sol.xc[i] = static_cast<double>(act[i]);
    if (ray) continue;
    if (sol.skc[i] == sk_low || sol.skc[i] == sk_fix) sol.xc[i] = lp.blc[i];
    if (sol.skc[i] == sk_upr) sol.xc[i] = lp.buc[i];
  }
}

void export_duals(const simplex_state& s, const problem_view& lp, const buffer<double>& y, solution_view& sol) {
  const simplex_work& w = s.work;
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t k = w.user2row[i];
    const double cs = lp.cslack ? lp.cslack[i] : 0.0;
    sol.y[i] = k < 0 ? -cs : y[k] * w.rowscale[k];
    rest_dual(cs + sol.y[i], sol.skc[i], sol.slc[i], sol.suc[i]);
  }
  for (int32_t j = 0; j < lp.numvar; j++)
    rest_dual(TVN_verify_reducedcost(lp, j, lp.c[j], sol.y), sol.skx[j], sol.slx[j], sol.sux[j]);
}

// The certificate of phase one: signs by value, so that any dual at an infinite bound shows as a violation.
void export_certificate(const simplex_state& s, const problem_view& lp, const buffer<double>& y, solution_view& sol) {
  const simplex_work& w = s.work;
  auto split = [](double d, double& sl, double& su) {
    sl = std::max(d, 0.0);
    su = std::max(-d, 0.0);
  };
  for (int32_t i = 0; i < lp.numcon; i++) {
    const int32_t k = w.user2row[i];
    sol.y[i] = k < 0 ? 0.0 : y[k] * w.rowscale[k];
    split(sol.y[i], sol.slc[i], sol.suc[i]);
  }
  for (int32_t j = 0; j < lp.numvar; j++) split(TVN_verify_reducedcost(lp, j, 0.0, sol.y), sol.slx[j], sol.sux[j]);
}

// Runs one optimizer on the state; true: the other one has to go on.
bool run_optimizer(simplex_state& s, simplex_kind kind) {
  s.info.kind = kind;
  s.progress(simplex_event::begin, s.info);
  s.progress(simplex_event::begin_setup, s.info);
  s.progress(simplex_event::end_setup, s.info);
  bool handover = false;
  if (kind == kind_dual) {
    dual_state d(s);
    dsimplex_optimize(d);
    handover = d.handover;
  } else {
    primal_state p(s);
    psimplex_optimize(p);
    handover = p.handover;
  }
  s.progress(simplex_event::end, s.info);
  return handover;
}

// What another optimizer has left takes nothing, a few pivots or an optimizer of this kind; true as above.
bool simplex_cleanandoptimize(simplex_state& s, simplex_kind kind) {
  const bool fresh = s.fac.since == 0; // else it may be what the other one failed on
  if (fresh && TVN_simplex_smartcrash(s)) return false;
  s.factorready = fresh && s.fac.usable;
  return run_optimizer(s, kind);
}

void run_chain(simplex_state& s) {
  if (s.param.cleaning && s.factorready) {
    if (TVN_simplex_smartcrash(s)) return;
    s.factorready = s.fac.usable;
  }
  simplex_kind kind = TVN_simplex_chooseoptimizer(s);
  if (s.stop != simplex_code::ok) return;
  if (kind == kind_primal && s.cold) TVN_simplex_primalcrash(s);
  if (s.stop != simplex_code::ok) return;
  s.repairs = maxrepairs;
  bool more = run_optimizer(s, kind);
  s.cold = false;
  while (more) {
    s.info.hotstart = start_handover;
    kind = kind == kind_dual ? kind_primal : kind_dual;
    more = simplex_cleanandoptimize(s, kind);
  }
}

// A run that ended in one of these ways leaves a basis worth going on from.
bool leaves_basis(simplex_code code) {
  switch (code) {
  case simplex_code::ok:
  case simplex_code::max_iterations:
  case simplex_code::max_time:
  case simplex_code::user_stop:
  case simplex_code::objective_range: return true;
  default: return false;
  }
}

// One run on one working problem; sol holds the point in the user's space afterwards, info the optimizer's claim.
// keys: of the start, or null.
void run_once(const simplex_run& run, scale_request scale, const solution_view* keys) {
  const auto& [sys, lp, param, info, progress, sol, kept, watch] = run;
  simplex_work work;
  info.warmfactor = kept && keys && param.hotstart != start_interior && param.uselu &&
                    (scale.on || !TVN_simplex_isscaled(*kept)) && TVN_simplex_basisfits(sys, *kept, lp, *keys);
  if (info.warmfactor) scale.kept = kept;
  const bool interior = param.hotstart == start_interior;
  if (!TVN_simplex_compressproblem(sys, lp, scale, watch, work, interior ? nullptr : keys)) {
    if (!keys) TVN_prslv_clearsolution(lp, sol); // else what stands stays
    info.nopoint = !keys;
    info.response = TVN_simplex_stopcode(watch.stop);
    info.solsta = sol_unknown;
    return;
  }
  info.nopoint = false;
  info.numcon = work.m;
  info.numvar = work.n;
  simplex_state s(sys, param, info, progress, watch, work);
  TVN_simplex_setupstate(s);
  s.cold = keys == nullptr;
  info.hotstart = param.hotstart;
  if (interior) {
    start_basis(s, *keys);
  } else {
    start_header(s, keys, info.warmfactor ? kept : nullptr);
    factor_start(s, keys);
    start_keys(s, keys);
    if (kept && keys) TVN_simplex_getweights(*kept, s);
  }
  if (s.stop == simplex_code::ok) run_chain(s);
  TVN_simplex_tellrecomputes(s);
  info.response = s.stop;
  if (s.stop == simplex_code::outpaced) return;
  buffer<double> y(sys, work.m, 0.0);
  const bool ray = info.solsta == sol_dual_infeas_cer, cert = info.solsta == sol_prim_infeas_cer;
  const bool factored = s.fac.usable;
  if (factored) polish(s, y, cert);
  if (factored && !cert) drop_noise(s, y);
  export_keys_and_x(s, lp, sol, ray);
  export_activities(sys, s, lp, sol, ray);
  if (cert)
    export_certificate(s, lp, y, sol);
  else if (ray)
    TVN_prslv_clearduals(lp, sol);
  else
    export_duals(s, lp, y, sol);
  TVN_lu_getlusze(s.fac.factor, info.lnz, info.unz);
  if (factored) TVN_lu_getcond2(s.fac.factor, info.mindiag, info.maxdiag, nullptr, nullptr);
  if (kept) TVN_simplex_updatebasis(*kept, s, lp, param.savelu && leaves_basis(s.stop));
}

scale_request make_request(const simplex_param& param) {
  scale_request scale;
  scale.on = param.scaling != scaling_none;
  scale.choose = param.scaling == scaling_free;
  scale.equilibrate = param.scalingmethod == scaling_equilibrated;
  scale.passes = param.scaling == scaling_aggressive ? 2 * scalepasses : scalepasses;
  return scale;
}

} // namespace

void TVN_simplex_keepfactor(const simplex_run& run) {
  const auto& [sys, lp, param, info, progress, sol, kept, watch] = run;
  simplex_work work;
  if (!TVN_simplex_compressproblem(sys, lp, make_request(param), watch, work, &sol)) return;
  simplex_state s(sys, param, info, progress, watch, work);
  TVN_simplex_setupstate(s);
  TVN_simplex_basisfromkeys(s, sol);
  if (s.info.numbasics != work.m || TVN_simplex_factor(s.fac) != factor_result::full) return;
  TVN_simplex_getweights(*kept, s);
  TVN_simplex_updatebasis(*kept, s, lp, true);
}

bool TVN_simplex_settlestatus(const simplex_run& run) {
  simplex_info& info = run.info;
  if (info.nopoint) { // the zeros in its place might even be optimal, but are no basic solution
    info.prosta = pro_unknown;
    info.solsta = sol_unknown;
    return true;
  }
  const lp_verdict v = TVN_verify_claim(run.sys, run.lp, run.sol, info.solsta, {run.param.tolx, run.param.tols});
  const bool certificate = info.solsta == sol_prim_infeas_cer || info.solsta == sol_dual_infeas_cer;
  if (!certificate) info.objective = v.objective;
  if (info.solsta != sol_dual_infeas_cer) info.primalviol = v.primalviol;
  if (info.solsta != sol_prim_infeas_cer) info.dualviol = v.dualviol;
  info.prosta = v.prosta;
  info.solsta = v.solsta;
  return v.holds;
}

namespace {

struct second_try {
  simplex_param param;
  bool unscaled = false;
};

// How to go on from the basis of a claim that does not hold for the user: with tighter tolerances, an optimum on the
// unscaled data.
second_try tighten(const simplex_param& param, int32_t claim, int32_t attempt) {
  second_try t{param};
  t.param.hotstart = start_other;
  t.param.optimizer = kind_primal; // it takes any basis, and is a second opinion on what the dual simplex claimed
  if (claim == sol_prim_infeas_cer) {
    t.param.tols *= proofshare;
  } else if (claim == sol_dual_infeas_cer) { // something blocks the ray after all, by a small entry
    t.param.tolabspiv = std::min(t.param.tolabspiv, attempt == 0 ? smallpivot : smallestpivot);
  } else {
    t.unscaled = attempt == 0;
    t.param.tols *= optimumshare;
  }
  return t;
}

// A solution and what was said of it, to come back to.
struct saved_solution {
  solution_room room;
  int32_t prosta, solsta;
  double objective, primalviol, dualviol;

  saved_solution(sysenv& sys, const problem_view& lp, const simplex_info& info, const solution_view& sol)
      : room(sys, lp.numcon, lp.numvar), prosta(info.prosta), solsta(info.solsta), objective(info.objective),
        primalviol(info.primalviol), dualviol(info.dualviol) {
    copy_solution(lp.numcon, lp.numvar, sol, room.sol);
  }
  void restore(const problem_view& lp, simplex_info& info, const solution_view& sol) const {
    copy_solution(lp.numcon, lp.numvar, room.sol, sol);
    info.prosta = prosta;
    info.solsta = solsta;
    info.objective = objective;
    info.primalviol = primalviol;
    info.dualviol = dualviol;
  }
};

// From the basis that stands, and not for long.
simplex_param short_run(const simplex_run& run) {
  constexpr int32_t moreiterations = 100;
  const int64_t done = TVN_simplex_totaliterations(run.info);
  simplex_param param = run.param;
  param.hotstart = start_other;
  param.rival = 0;
  param.maxiterations =
      static_cast<int32_t>(std::min<int64_t>(run.param.maxiterations, done + moreiterations + run.lp.numcon / 4));
  return param;
}

} // namespace

void TVN_simplex_sharpen(const simplex_run& run) {
  constexpr double wanted = 1e-9;
  simplex_info& info = run.info;
  const double before = std::max(info.primalviol, info.dualviol);
  if (info.solsta != sol_optimal || info.response != simplex_code::ok || before <= wanted) return;
  const saved_solution stands(run.sys, run.lp, info, run.sol);
  simplex_param tight = short_run(run);
  tight.optimizer = kind_free;
  tight.tolx = std::min(tight.tolx, wanted);
  tight.tols = std::min(tight.tols, wanted);
  run_once(run.with(tight), make_request(run.param), &run.sol);
  const bool holds = TVN_simplex_settlestatus(run) && info.solsta == sol_optimal;
  if (!holds || !(std::max(info.primalviol, info.dualviol) < before)) stands.restore(run.lp, info, run.sol);
  info.response = simplex_code::ok;
}

// Where digits are short a run wanders, so it may not take longer than this and never worsens what stands.
void TVN_simplex_closegap(const simplex_run& run) {
  simplex_info& info = run.info;
  saved_solution near(run.sys, run.lp, info, run.sol);
  for (const double tols : gaptols) {
    simplex_param tight = short_run(run);
    tight.optimizer = kind_primal;
    tight.tols = tols;
    run_once(run.with(tight), make_request(run.param), &run.sol);
    if (TVN_simplex_settlestatus(run) && info.solsta == sol_optimal) break;
    near.restore(run.lp, info, run.sol);
    const bool ended = info.response == simplex_code::max_time || info.response == simplex_code::user_stop ||
                       info.response == simplex_code::peer_stop;
    if (ended) return;
  }
  info.response = simplex_code::ok;
}

bool TVN_simplex_gaveup(simplex_code code) {
  return code == simplex_code::numerical || code == simplex_code::max_setbacks || code == simplex_code::stall ||
         code == simplex_code::lu_tries;
}

namespace {

// Runs until a status holds; what none of them can prove is numerically beyond them.
void solve_with_repairs(const simplex_run& run) {
  simplex_info& info = run.info;
  const scale_request scale = make_request(run.param);
  run_once(run, scale, run.param.hotstart != start_none ? &run.sol : nullptr);
  if (info.response == simplex_code::outpaced) return;
  if (!run.param.judged && leaves_basis(info.response) && info.response != simplex_code::ok) {
    info.solsta = sol_unknown;
    return;
  }
  for (int32_t attempt = 0;; attempt++) {
    const int32_t claim = info.solsta;
    if (TVN_simplex_settlestatus(run) || info.response != simplex_code::ok) return;
    if (info.solsta == sol_near_optimal) return TVN_simplex_closegap(run);
    if (attempt == 2) break;
    const second_try t = tighten(run.param, claim, attempt);
    run_once(run.with(t.param), t.unscaled ? scale_request{} : scale, &run.sol);
  }
  info.response = simplex_code::numerical;
}

} // namespace

void TVN_simplex_solvedirectly(const simplex_run& run) {
  solve_with_repairs(run);
  if (!TVN_simplex_gaveup(run.info.response) || run.info.solsta == sol_optimal) return;
  simplex_param other = run.param; // the start may have been at fault, else the optimizer
  other.hotstart = start_none;
  other.cleaning = false;
  if (run.param.hotstart == start_none) other.optimizer = run.param.optimizer == kind_dual ? kind_primal : kind_dual;
  run.info.response = simplex_code::ok;
  solve_with_repairs(run.with(other));
}

} // namespace tvn
