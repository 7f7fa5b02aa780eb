// The driver: rounds of reductions until nothing changes, and the way back to the input.
//
// An outer pass lays out the matrix afresh and runs inner rounds; a round does the first thing that is due (simple
// reductions, duplicate rows, duplicate columns, duals through implied bounds, once relaxing and the dependency check)
// and then the eliminator while it pays. A step that runs out of room for fill ends the pass, and the next one starts
// on a clean matrix.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

constexpr int32_t startpasses = 4, maxpasses = 25; // outer
constexpr int32_t minrounds = 2;
constexpr int32_t elimgain = 100; // eliminations of a good run of the eliminator
constexpr int32_t poorruns = 30;  // runs that are not good

// --- snapshots of the input, the two oldest records

struct input_bounds {
  int32_t key;
  double lower, upper;
};

// Items: of rows, then of columns.
struct storebounds_record {
  static constexpr prslv_type types[] = {rt_storebounds};
  using item = input_bounds;
  int64_t num;
  int64_t numitems() const { return num; }
};
struct storecosts_record {
  static constexpr prslv_type types[] = {rt_storecosts};
  using item = double;
  int64_t num;
  double cfix;
  int64_t numitems() const { return num; }
};

void TVN_prslv_storeconbnd(prslv_context& x) {
  const prslv_problem& p = x.p;
  const int64_t num = int64_t{p.numcon} + p.numvar;
  TVN_prslv_beginpushstk(x, rt_storebounds);
  x.stk.items.reserve(num * static_cast<int64_t>(sizeof(input_bounds)));
  for (int32_t i = 0; i < p.numcon; i++) push_item(x.stk, input_bounds{p.bkc[i], p.blc[i], p.buc[i]});
  for (int32_t j = 0; j < p.numvar; j++) push_item(x.stk, input_bounds{p.bkx[j], p.blx[j], p.bux[j]});
  TVN_prslv_endpushstk(x, rt_storebounds, storebounds_record{num});
}

void TVN_prslv_storeccandcx(prslv_context& x) {
  const prslv_problem& p = x.p;
  TVN_prslv_beginpushstk(x, rt_storecosts);
  for (int32_t i = 0; i < p.numcon; i++) push_item(x.stk, p.cc[i]);
  for (int32_t j = 0; j < p.numvar; j++) push_item(x.stk, p.c[j]);
  TVN_prslv_endpushstk(x, rt_storecosts, storecosts_record{int64_t{p.numcon} + p.numvar, p.cfix});
}

void restore_costs(prslv_context& x) {
  const auto [r, costs] = TVN_prslv_poprecord<storecosts_record>(x.stk);
  prslv_problem& p = x.p;
  std::ranges::copy(costs.first(p.numcon), p.cc);
  std::ranges::copy(costs.subspan(p.numcon), p.c);
  p.cfix = r.cfix;
}

void restore_bounds(prslv_context& x) {
  const array_view<const input_bounds> bounds = TVN_prslv_poprecord<storebounds_record>(x.stk).items;
  prslv_problem& p = x.p;
  auto take = [&](const input_bounds* from, int32_t num, int32_t* key, double* lower, double* upper) {
    for (int32_t k = 0; k < num; k++) {
      key[k] = from[k].key;
      lower[k] = from[k].lower;
      upper[k] = from[k].upper;
    }
  };
  take(bounds.data(), p.numcon, p.bkc, p.blc, p.buc);
  take(bounds.data() + p.numcon, p.numvar, p.bkx, p.blx, p.bux);
}

// --- counts

void count_bounds(prslv_bndcount& b, int32_t key) {
  switch (key) {
  case bk_lo: b.lower++; break;
  case bk_up: b.upper++; break;
  case bk_fx: b.fixed++; break;
  case bk_fr: b.free++; break;
  default: b.ranged++; break;
  }
}

void count_problem(const prslv_context& x, prslv_bndcount& con, prslv_bndcount& var, int64_t& nz) {
  con = var = {};
  for (int32_t i = 0; i < x.p.numcon; i++) count_bounds(con, x.p.bkc[i]);
  for (int32_t j = 0; j < x.p.numvar; j++) count_bounds(var, x.p.bkx[j]);
  nz = TVN_prslv_getnz(x);
}

// --- the first pass over the input

// Bounds that cross beyond tolerance prove infeasibility by themselves.
bool crossing(prslv_context& x, int32_t index, bool row, double lo, double up) {
  if (!TVN_prslv_isinfeasible(x, lo, up)) return false;
  x.status = prs_prim_infeas;
  (row ? x.cert.row : x.cert.col) = index;
  x.cert.crossing = true;
  return true;
}

prslv_code prslv_init(prslv_context& x) {
  const prslv_clock clock(x, task_setup);
  for (int32_t i = 0; i < x.p.numcon; i++)
    if (crossing(x, i, true, con_lower(x, i), con_upper(x, i))) return prslv_code::ok;
  for (int32_t j = 0; j < x.p.numvar; j++)
    if (crossing(x, j, false, var_lower(x, j), var_upper(x, j))) return prslv_code::ok;
  TVN_prslv_allactivities(x, x.act, x.run);
  for (int32_t i = 0; i < x.p.numcon; i++) {
    if (con_lower(x, i) == -prslv_inf && con_upper(x, i) == prslv_inf && x.conlin[i])
      TVN_prslv_conrelax(x, i, rt_initialfreecon);
    if (TVN_prslv_stopped(x.run, x.connz[i])) return prslv_code::stopped;
  }
  for (int32_t j = 0; j < x.p.numvar; j++) {
    const double l = var_lower(x, j), u = var_upper(x, j);
    if (may_fix(x, j, l) && TVN_prslv_canbefixed(x, l, u)) TVN_prslv_varfix(x, j, l, rt_initialvarfix);
    if (TVN_prslv_stopped(x.run, x.varnz[j])) return prslv_code::stopped;
  }
  for (int32_t i = 0; i < x.p.numcon && x.status == prs_undecided; i++) {
    if (!x.conlive[i] || !x.conlin[i] || x.connz[i] != 1) continue;
    const auto [j, a] = TVN_prslv_getconsin(x, i);
    if (may_bound_by(x, i, j) && std::fabs(a) > leastsingleton) TVN_prslv_consin(x, i, rt_initialconsin);
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
  }
  return prslv_code::ok;
}

// --- rounds

struct due {
  bool cones = true, simple = true, rows = true, columns = true, relax = true, lindep = true, duals = true;
  bool eliminator = true;
  int32_t tries = 0, eliminated = -1; // runs, and the number of records after the last look
  int32_t poor = 0;                   // runs that gained little
};

prslv_code one_step(prslv_context& x, due& d, bool& changed) {
  const int32_t before = TVN_prslv_getnumred(x);
  prslv_code code = prslv_code::ok;
  auto gained = [&] { return TVN_prslv_getnumred(x) > before; };
  changed = true;
  if (d.cones && x.cone.num > 0) {
    d.cones = false;
    TVN_prslv_checkcones(x);
    if (gained()) d.simple = d.rows = d.columns = true;
  } else if (d.simple) {
    d.simple = false;
    code = TVN_prslv_checkproblem(x);
    if (gained()) d.cones = d.rows = d.columns = d.duals = true;
  } else if (d.rows) {
    d.rows = false;
    code = TVN_prslv_checkdupcon(x);
    if (gained()) d.simple = d.columns = true;
  } else if (d.columns) {
    d.columns = false;
    code = TVN_prslv_checkdupvar(x);
    if (gained()) d.simple = d.columns = true;
  } else if (d.duals && !x.param.keepprimal && !x.param.keepdual) {
    d.duals = false;
    code = TVN_prslv_impliedduals(x);
    if (gained()) d.simple = d.duals = true;
  } else if (d.relax && x.param.relax && !x.param.keepprimal && !x.param.keepdual) {
    d.relax = false;
    code = TVN_prslv_relax(x);
    if (gained()) d.simple = true;
  } else if (d.lindep && x.param.lindep) {
    d.lindep = false;
    code = TVN_prslv_chklinblkcon(x);
    if (gained()) d.simple = true;
  } else {
    changed = false;
  }
  return code;
}

// The eliminator runs when the simple reductions are exhausted, again and again while it gains: what one run
// substitutes makes other columns free. Runs that gain little are counted, since each costs a look at the whole matrix.
// Not beside cones: chainsing_1000_3 took 39 iterations of an interior point instead of 16, for the lost digits.
prslv_code eliminate(prslv_context& x, due& d) {
  if (x.cone.num > 0) return prslv_code::ok;
  if (!d.eliminator || d.simple || x.status != prs_undecided || d.eliminated == TVN_prslv_getnumred(x))
    return prslv_code::ok;
  const auto num = [&] { return x.run.stats->numred[rt_elimination]; };
  const auto allowed = [&] { return x.param.eliminatortries < 0 || d.tries < x.param.eliminatortries; };
  const int64_t first = num();
  prslv_code code = prslv_code::ok;
  for (int64_t gained = 1; code == prslv_code::ok && gained > 0 && d.poor < poorruns && allowed(); d.tries++) {
    const int64_t before = num();
    TVN_prslv_cleana(x);
    TVN_prslv_allactivities(x, x.act, x.run);
    if (x.run.stop || !TVN_prslv_tryeliminator(x, x.run)) break;
    code = TVN_prslv_eliminator2(x);
    gained = num() - before;
    if (gained < elimgain) d.poor++;
  }
  d.eliminated = TVN_prslv_getnumred(x);
  if (num() > first) d.cones = d.simple = d.rows = d.columns = true;
  d.eliminator = d.poor < poorruns;
  return x.run.stop ? prslv_code::stopped : code;
}

prslv_code rounds(prslv_context& x, due& d) {
  for (bool changed = true; changed || x.run.stats->numrounds < minrounds;) {
    if (x.run.stop) return prslv_code::stopped;
    const int32_t before = TVN_prslv_getnumred(x);
    prslv_code code = one_step(x, d, changed);
    if (code == prslv_code::ok && x.status == prs_undecided) code = eliminate(x, d);
    if (code != prslv_code::ok) return code;
    if (x.status != prs_undecided) break;
    changed = changed || TVN_prslv_getnumred(x) > before || d.simple || d.rows || d.columns;
    x.run.stats->numrounds++;
  }
  return prslv_code::ok;
}

prslv_code passes(prslv_context& x) {
  due d;
  prslv_code code = prslv_init(x);
  int32_t limit = startpasses;
  for (int32_t pass = 0; pass < limit && code == prslv_code::ok && x.status == prs_undecided; pass++) {
    if (pass > 0) TVN_prslv_cleana(x);
    code = rounds(x, d);
    if (code != prslv_code::nospace) break;
    code = prslv_code::ok;
    x.run.stats->outofspace = pass + 1 >= limit && limit >= maxpasses;
    limit = std::min(limit + 1, maxpasses);
    d.simple = true;
  }
  return code;
}

void finalize(prslv_context& x, prslv_stats& stats) {
  const prslv_clock clock(x, task_finalize);
  if (x.status == prs_undecided && x.param.use != 0) TVN_prslv_emptyvariables(x);
  if (x.status == prs_undecided && x.param.use != 0) TVN_prslv_relaxcones(x);
  count_problem(x, stats.conafter, stats.varafter, stats.nzafter);
  bool live = false;
  for (int32_t i = 0; i < x.p.numcon; i++) live = live || x.conlive[i];
  for (int32_t j = 0; j < x.p.numvar; j++) live = live || x.varlive[j];
  if (!live && x.status == prs_undecided) x.status = prs_solved;
  stats.status = x.status;
}

} // namespace

prslv_code TVN_prslv_reduce(prslv_context& x, const prslv_param& param, prslv_stats& stats,
                            const prslv_progress& progress) {
  const double start = TVN_sysenv_gettime();
  x.param = param;
  x.run.stats = &stats;
  x.run.progress = progress;
  TVN_prslv_printoptions(x);
  TVN_prslv_storeconbnd(x);
  TVN_prslv_storeccandcx(x);
  TVN_prslv_endsnapshots(x.stk);
  if (progress.fn && progress.fn(progress.handle, prslv_begin) != 0) x.run.stop = true;
  TVN_prslv_makematrix(x);
  count_problem(x, stats.conbefore, stats.varbefore, stats.nzbefore);
  prslv_code code = prslv_code::ok;
  if (param.use != 0) code = x.run.stop ? prslv_code::stopped : passes(x);
  if (!x.run.stop) finalize(x, stats);
  stats.totalseconds = TVN_sysenv_gettime() - start;
  TVN_prslv_printsummary(x);
  if (progress.fn && progress.fn(progress.handle, prslv_end) != 0) x.run.stop = true;
  return x.run.stop ? prslv_code::stopped : code;
}

void TVN_prslv_unreduce(prslv_context& x) {
  TVN_prslv_initpopsnapshots(x.stk);
  for (int32_t rtype = TVN_prslv_popstk(x.stk); rtype != 0; rtype = TVN_prslv_popstk(x.stk))
    rtype == rt_storecosts ? restore_costs(x) : restore_bounds(x);
}

} // namespace tvn
