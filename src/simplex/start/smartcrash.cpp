// Mending few violations by single pivots, before a whole optimizer is asked to.
//
// A basis that comes back from perturbed costs or from presolve's undo is often optimal but for a handful of variables.
// Each step takes the one with the largest violation. A basic outside its bounds goes to the bound, and a dual ratio
// test on its row chooses what enters; a nonbasic whose reduced cost has the wrong sign enters, and a primal ratio test
// on its column chooses what leaves. Either test keeps the signs, or the values, that are right already (Harris 1973,
// two passes). A pivot that is small or not the same by row and by column ends the attempt; so does a number of steps
// beyond what such a repair is worth.
// Invariant: between steps header, keys, x and d belong together, with x and d good but for the rounding of the
// updates; the verdict is reached on values solved afresh.
// Cost: two dense solves and two passes over A at either end, against the weights, lists and factors of an optimizer;
// a step costs an iteration.
#include "simplex/start/smartcrash.h"

#include "simplex/base/loop.h"

#include <cmath>

namespace tvn {

namespace {

constexpr int32_t maxviolations = 20; // of both sides together
constexpr int32_t rowshare = 20;      // and at most one in so many rows
constexpr int32_t stepseach = 3;      // steps for each violation at the start
constexpr double minpivot = 1e-5;     // smaller ones are left to an optimizer
constexpr double pivoterror = 1e-7;   // between the values of row and column, relative

struct clean_run {
  simplex_state& s;
  const simplex_work& w = s.work;
  double tolx = s.tolfeas, tols = s.param.tols;
  int32_t numprimal = 0, numdual = 0; // violations when last measured
  int32_t left = 0;                   // steps
};

struct choice {
  int32_t at = -1; // position or variable
  double step = 0, pivot = 0;
};

// --- measures

double primal_violation(const simplex_state& s, int32_t j) {
  return std::max(s.work.lower[j] - s.x[j], s.x[j] - s.work.upper[j]);
}

double dual_violation(const simplex_state& s, int32_t j) {
  return s.key[j] == sk_low ? -s.d[j] : s.key[j] == sk_upr ? s.d[j] : std::fabs(s.d[j]);
}

int32_t worst_primal(clean_run& c) {
  double worst = c.tolx;
  int32_t position = -1;
  c.numprimal = 0;
  for (int32_t k = 0; k < c.w.m; k++) {
    const double v = primal_violation(c.s, c.s.fac.head[k]);
    if (v <= c.tolx) continue;
    c.numprimal++;
    if (v <= worst) continue;
    worst = v;
    position = k;
  }
  return position;
}

int32_t worst_dual(clean_run& c) {
  double worst = c.tols;
  int32_t q = -1;
  c.numdual = 0;
  for (int32_t j = 0; j < c.w.total; j++) {
    if (!c.s.inlist[j]) continue;
    const double v = dual_violation(c.s, j);
    if (v <= c.tols) continue;
    c.numdual++;
    if (v <= worst) continue;
    worst = v;
    q = j;
  }
  return q;
}

void measure(clean_run& c) {
  (void)worst_primal(c);
  (void)worst_dual(c);
}

// Values and reduced costs from scratch, on the true costs.
void form(simplex_state& s) {
  const simplex_work& w = s.work;
  TVN_simplex_formxb(s.fac, s.x);
  for (int32_t k = 0; k < w.m; k++) s.fac.rhs[k] = w.cost[s.fac.head[k]];
  TVN_simplex_formy(s.fac, s.y);
  for (int32_t j = 0; j < w.total; j++)
    s.d[j] = s.inlist[j] ? w.cost[j] - TVN_simplex_columndot(w, j, s.y.data()) : 0.0;
}

// --- pivots

void move_basics(const simplex_state& s, buffer<double>& x, double step) noexcept {
  for (int32_t p = 0; p < s.aq.count; p++) x[s.fac.head[s.aq.idx[p]]] -= step * s.aq.val[s.aq.idx[p]];
}

void move_duals(const simplex_state& s, buffer<double>& d, int32_t q, int32_t leaving, double theta) noexcept {
  for (int32_t p = 0; p < s.alpha.count; p++) d[s.alpha.idx[p]] -= theta * s.alpha.val[s.alpha.idx[p]];
  d[q] = 0;
  d[leaving] = s.work.is_fixed(leaving) ? 0.0 : -theta;
}

// q enters at the position with its column and row at hand, and moves by `step`, which brings the leaving variable to
// its bound.
bool exchange(clean_run& c, int32_t position, int32_t q, double step, bool to_upper) {
  simplex_state& s = c.s;
  const double arow = s.alpha.val[q], acol = s.aq.val[position];
  if (!(std::fabs(acol) >= minpivot) || !(std::fabs(arow - acol) <= pivoterror * (1 + std::fabs(acol)))) return false;
  const int32_t leaving = s.fac.head[position];
  const bool fixed = s.work.is_fixed(leaving);
  move_duals(s, s.d, q, leaving, s.d[q] / arow);
  move_basics(s, s.x, step);
  s.x[q] += step;
  s.x[leaving] = to_upper ? s.work.upper[leaving] : s.work.lower[leaving];
  s.key[leaving] = fixed ? sk_fix : to_upper ? sk_upr : sk_low;
  s.key[q] = sk_bas;
  s.fac.head[position] = q;
  s.fac.pos[q] = position;
  s.fac.pos[leaving] = -1;
  TVN_simplex_setlisted(s, q, false);
  if (!fixed) TVN_simplex_setlisted(s, leaving, true);
  const lu_code code = TVN_lu_supd(s.fac.factor, position, s.spike);
  s.fac.usable = code == lu_code::done || code == lu_code::refactor_advised;
  s.fac.since++;
  return code == lu_code::done;
}

// --- a nonbasic whose reduced cost has the wrong sign

// How far a basic is from the bound that it moves towards; basics outside their bounds do not block.
double room(const clean_run& c, int32_t j, double slope) {
  if (primal_violation(c.s, j) > c.tolx) return HUGE_VAL;
  const double bound = slope > 0 ? c.w.upper[j] : c.w.lower[j];
  return std::fabs(bound) >= bound_infinity ? HUGE_VAL : (slope > 0 ? bound - c.s.x[j] : c.s.x[j] - bound);
}

// The position that blocks the move of the entering variable in the direction sigma.
choice primal_ratio(const clean_run& c, double sigma) {
  const simplex_state& s = c.s;
  choice best;
  double limit = HUGE_VAL;
  const auto slope = [&](int32_t k) { return -sigma * s.aq.val[k]; };
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    const double a = std::fabs(slope(k));
    if (a > s.param.tolabspiv) limit = std::min(limit, (room(c, s.fac.head[k], slope(k)) + c.tolx) / a);
  }
  for (int32_t p = 0; p < s.aq.count && limit < HUGE_VAL; p++) {
    const int32_t k = s.aq.idx[p];
    const double a = std::fabs(slope(k));
    if (a <= s.param.tolabspiv || a <= best.pivot) continue;
    const double r = room(c, s.fac.head[k], slope(k)) / a;
    if (r <= limit) best = {k, std::max(0.0, r), a};
  }
  return best;
}

bool simplex_cleandualsmartcrashstep(clean_run& c, int32_t q) {
  simplex_state& s = c.s;
  TVN_simplex_solvecolumn(s, q);
  s.info.count[kind_primal].iterations++;
  const double sigma = s.d[q] < 0 ? 1.0 : -1.0, range = c.w.upper[q] - c.w.lower[q];
  const choice r = primal_ratio(c, sigma);
  if (range < bound_infinity && (r.at < 0 || range <= r.step)) {
    move_basics(s, s.x, sigma * range);
    s.x[q] = sigma > 0 ? c.w.upper[q] : c.w.lower[q];
    s.key[q] = sigma > 0 ? sk_upr : sk_low;
    return true;
  }
  if (r.at < 0) return false;
  TVN_simplex_rowofinverse(s, r.at);
  TVN_simplex_formrow(s);
  return exchange(c, r.at, q, sigma * r.step, -sigma * s.aq.val[r.at] > 0);
}

// --- a basic outside its bounds

double direction(const simplex_state& s, int32_t j, double a) {
  return s.key[j] == sk_low ? 1.0 : s.key[j] == sk_upr ? -1.0 : a > 0 ? 1.0 : -1.0;
}

// The variable that enters for a basic that goes down (sigma 1) or up (-1): the first whose reduced cost loses its
// sign. Signs that are wrong already count as zero.
choice dual_ratio(const clean_run& c, double sigma) {
  const simplex_state& s = c.s;
  const double tol = 0.3 * c.tols;
  choice best;
  double limit = HUGE_VAL;
  const auto pivot = [&](int32_t j) { return direction(s, j, sigma * s.alpha.val[j]) * sigma * s.alpha.val[j]; };
  const auto reduced = [&](int32_t j) { return std::max(0.0, -dual_violation(s, j)); };
  for (int32_t p = 0; p < s.alpha.count; p++) {
    const int32_t j = s.alpha.idx[p];
    if (s.inlist[j] && pivot(j) > s.param.tolabspiv) limit = std::min(limit, (reduced(j) + tol) / pivot(j));
  }
  for (int32_t p = 0; p < s.alpha.count; p++) {
    const int32_t j = s.alpha.idx[p];
    if (!s.inlist[j] || !(pivot(j) > s.param.tolabspiv) || pivot(j) <= best.pivot) continue;
    if (reduced(j) / pivot(j) <= limit) best = {j, 0, pivot(j)};
  }
  return best;
}

bool simplex_cleanprimalsmartcrashstep(clean_run& c, int32_t position) {
  simplex_state& s = c.s;
  const int32_t j = s.fac.head[position];
  const bool above = s.x[j] > c.w.upper[j];
  TVN_simplex_rowofinverse(s, position);
  TVN_simplex_formrow(s);
  s.info.count[kind_dual].iterations++;
  const choice r = dual_ratio(c, above ? 1.0 : -1.0);
  if (r.at < 0) return false;
  TVN_simplex_solvecolumn(s, r.at);
  const double step = (s.x[j] - (above ? c.w.upper[j] : c.w.lower[j])) / s.aq.val[position];
  return exchange(c, position, r.at, step, above);
}

// --- the loops

bool may_step(clean_run& c) { return c.left-- > 0 && TVN_simplex_iterationsleft(c.s) > 0 && !TVN_simplex_poll(c.s); }

bool simplex_cleanprimalsmartcrash(clean_run& c) {
  for (int32_t k = worst_primal(c); k >= 0; k = worst_primal(c)) {
    const bool mended = may_step(c) && simplex_cleanprimalsmartcrashstep(c, k);
    TVN_simplex_clearvectors(c.s);
    if (!mended) return false;
  }
  return true;
}

bool simplex_cleandualsmartcrash(clean_run& c) {
  for (int32_t q = worst_dual(c); q >= 0; q = worst_dual(c)) {
    const bool mended = may_step(c) && simplex_cleandualsmartcrashstep(c, q);
    TVN_simplex_clearvectors(c.s);
    if (!mended) return false;
  }
  return true;
}

bool is_clean(const clean_run& c) { return c.numprimal + c.numdual == 0; }

bool finish(simplex_state& s) {
  s.stop = simplex_code::ok;
  s.info.solsta = sol_optimal;
  s.info.objective = TVN_simplex_pointobjective(s);
  return true;
}

} // namespace

bool TVN_simplex_smartcrash(simplex_state& s) {
  const simplex_work& w = s.work;
  if (!s.fac.usable) return false;
  for (int32_t j = 0; j < w.total; j++)
    if (TVN_simplex_isinside(s, j)) return false;
  for (int32_t j = 0; j < w.total; j++) TVN_simplex_setlisted(s, j, s.fac.pos[j] < 0 && !w.is_fixed(j));
  form(s);
  clean_run c{s};
  measure(c);
  if (is_clean(c)) return finish(s);
  const int32_t found = c.numprimal + c.numdual;
  if (found > std::min(maxviolations, 1 + w.m / rowshare)) return false;
  c.left = stepseach * found;
  const bool mended = simplex_cleanprimalsmartcrash(c) && simplex_cleandualsmartcrash(c);
  if (s.stop != simplex_code::ok) return true;
  if (!mended) return false;
  form(s);
  measure(c);
  TVN_simplex_tell(s, 2, "Clean-up: %d violations mended by %d pivots\n", found, stepseach * found - c.left);
  return is_clean(c) && finish(s);
}

} // namespace tvn
