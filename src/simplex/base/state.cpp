// The pieces of an iteration that primal and dual share.
//
// The pivot row has three forms (Hall and McKinnon 2005): by rows along the nonzeros of rho with a list of what was
// met, by rows into dense values when they hold many entries, and by columns when rho itself is dense.
#include "simplex/base/state.h"

#include "cpub/format.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace tvn {

namespace {

constexpr double cancelled = 1e-100; // stands for a sum of exactly zero: what is listed is never zero
constexpr double droprow = 1e-14;    // entries of rho and of the pivot row at or below this are left out
constexpr double longrow = 0.5;      // entries in the rows of rho, by columns, from which on no list is kept on the way
constexpr double denserho = 0.3;     // share of nonzeros in rho from which on the product goes by columns

int64_t row_by_list(const simplex_state& s, spvec& alpha) {
  const simplex_work& w = s.work;
  const double* const rho = s.rho.val.data();
  double* const val = alpha.val.data();
  int32_t* const idx = alpha.idx.data();
  const int32_t* const rowcol = w.rowcol.data();
  const double* const rowval = w.rowval.data();
  int32_t count = 0;
  int64_t met = 0;
  for (int32_t p = 0; p < s.rho.count; p++) {
    const int32_t i = s.rho.idx[p];
    const double r = rho[i];
    if (std::fabs(r) <= droprow) continue;
    if (s.inlist[i]) {
      val[i] = -r;
      idx[count++] = i;
    }
    const int64_t end = w.rowend[i];
    met += end - w.rowbeg[i];
    for (int64_t e = w.rowbeg[i]; e < end; e++) {
      const int32_t j = w.m + rowcol[e];
      const double before = val[j], after = before + r * rowval[e];
      if (before == 0.0) idx[count++] = j;
      val[j] = after != 0.0 ? after : cancelled;
    }
  }
  alpha.count = count;
  return met;
}

// Lists what counts among the structurals, behind the logicals that are listed already. No branch on the values: half
// of them may be zero in no order.
void list_structurals(const simplex_state& s, spvec& alpha, int32_t count) {
  double* __restrict const val = alpha.val.data();
  int32_t* __restrict const idx = alpha.idx.data();
  for (int32_t j = s.work.m; j < s.work.total; j++) {
    const bool counts = !(std::fabs(val[j]) <= droprow);
    val[j] = counts ? val[j] : 0.0;
    idx[count] = j;
    count += static_cast<int32_t>(counts);
  }
  alpha.count = count;
}

int32_t logicals_of_row(const simplex_state& s, spvec& alpha) {
  int32_t count = 0;
  for (int32_t p = 0; p < s.rho.count; p++) {
    const int32_t i = s.rho.idx[p];
    if (!s.inlist[i] || std::fabs(s.rho.val[i]) <= droprow) continue;
    alpha.val[i] = -s.rho.val[i];
    alpha.idx[count++] = i;
  }
  return count;
}

int64_t row_by_values(const simplex_state& s, spvec& alpha) {
  const simplex_work& w = s.work;
  double* __restrict const val = alpha.val.data() + w.m;
  const int32_t* __restrict const rowcol = w.rowcol.data();
  const double* __restrict const rowval = w.rowval.data();
  const int32_t count = logicals_of_row(s, alpha);
  int64_t met = 0;
  for (int32_t p = 0; p < s.rho.count; p++) {
    const int32_t i = s.rho.idx[p];
    const double r = s.rho.val[i];
    if (std::fabs(r) <= droprow) continue;
    const int64_t end = w.rowend[i];
    met += end - w.rowbeg[i];
    int64_t e = w.rowbeg[i];
    for (; e + 3 < end; e += 4) { // the loop's own cost is a third of the work
      val[rowcol[e]] += r * rowval[e];
      val[rowcol[e + 1]] += r * rowval[e + 1];
      val[rowcol[e + 2]] += r * rowval[e + 2];
      val[rowcol[e + 3]] += r * rowval[e + 3];
    }
    for (; e < end; e++) val[rowcol[e]] += r * rowval[e];
  }
  list_structurals(s, alpha, count);
  return met;
}

int64_t row_by_columns(const simplex_state& s, spvec& alpha) {
  const simplex_work& w = s.work;
  const double* __restrict const rho = s.rho.val.data();
  const int32_t* __restrict const sub = w.colsub.data();
  const double* __restrict const val = w.colval.data();
  int32_t* const idx = alpha.idx.data();
  int32_t count = logicals_of_row(s, alpha);
  int64_t met = 0;
  for (int32_t k = 0; k < w.n; k++) {
    const int32_t j = w.m + k;
    if (!s.inlist[j]) continue;
    const int64_t b = w.colbeg[k], e = w.colbeg[k + 1];
    double sum = 0;
    for (int64_t p = b; p < e; p++) sum += rho[sub[p]] * val[p];
    met += e - b;
    if (std::fabs(sum) <= droprow) continue;
    alpha.val[j] = sum;
    idx[count++] = j;
  }
  alpha.count = count;
  return met;
}

} // namespace

void TVN_simplex_setupstate(simplex_state& s) {
  const simplex_work& w = s.work;
  sysenv& sys = s.sys;
  const int64_t m = w.m, total = w.total;
  TVN_simplex_makefac(sys, w, s.fac);
  TVN_lu_putprogressfunc(s.fac.factor, &s, [](void* handle, int32_t, int32_t) -> int32_t {
    return TVN_simplex_poll(*static_cast<simplex_state*>(handle));
  });
  for (auto* b : {&s.x, &s.lo, &s.up, &s.d}) b->reset(sys, total, 0.0);
  s.key.reset(sys, total, static_cast<uint8_t>(sk_low));
  s.inlist.reset(sys, total, uint8_t{0});
  s.infeas.reset(sys, m, int8_t{0});
  s.y.reset(sys, m, 0.0);
  for (auto* v : {&s.spike, &s.colrow, &s.aq, &s.unit, &s.rho, &s.tau}) *v = spvec(sys, m);
  s.alpha = spvec(sys, total);
  std::copy(w.lower.begin(), w.lower.end(), s.lo.begin());
  std::copy(w.upper.begin(), w.upper.end(), s.up.begin());
  s.tolfeas = std::min(s.tolfeas, s.param.tolx);
}

bool TVN_simplex_relax(double& tolfeas, double asked, double tolerance) noexcept {
  const double before = tolfeas;
  tolfeas = std::max(before, std::min(tolerance, relaxedshare * asked));
  return tolfeas > before;
}

void TVN_simplex_restnonbasic(simplex_state& s, int32_t j, int32_t wish) {
  const double lo = s.lo[j], up = s.up[j];
  const bool haslo = lo > -bound_infinity, hasup = up < bound_infinity;
  if (!haslo && !hasup) {
    s.key[j] = sk_supbas;
    s.x[j] = 0;
  } else if (s.work.is_fixed(j)) {
    s.key[j] = sk_fix;
    s.x[j] = lo;
  } else if (haslo && !(wish == sk_upr && hasup) && (wish == sk_low || !hasup || std::fabs(lo) <= std::fabs(up))) {
    s.key[j] = sk_low;
    s.x[j] = lo;
  } else {
    s.key[j] = sk_upr;
    s.x[j] = up;
  }
}

void TVN_simplex_restsuperbasic(simplex_state& s, int32_t j, double value) {
  constexpr double largest = 1e10; // beyond it the basics would lose the digits that feasibility needs
  const double lo = s.lo[j], up = s.up[j];
  const bool usable = std::fabs(value) <= largest && !s.work.is_fixed(j);
  if (usable && value - lo > s.tolfeas && up - value > s.tolfeas) {
    s.key[j] = sk_supbas;
    s.x[j] = value;
    return;
  }
  TVN_simplex_restnonbasic(s, j, !usable ? sk_unk : up - value <= value - lo ? sk_upr : sk_low);
}

void TVN_simplex_setlisted(simplex_state& s, int32_t j, bool in) noexcept {
  if (s.inlist[j] == static_cast<uint8_t>(in)) return;
  s.inlist[j] = in;
  if (s.work.is_logical(j)) return;
  if (in)
    TVN_simplex_activate(s.work, j - s.work.m);
  else
    TVN_simplex_deactivate(s.work, j - s.work.m);
}

void TVN_simplex_solvecolumn(simplex_state& s, int32_t q) {
  TVN_simplex_loadcolumn(s.work, q, s.spike);
  TVN_lu_ftranl(s.fac.factor, s.spike);
  s.colrow.copy(s.spike);
  TVN_lu_ftranus(s.fac.factor, s.colrow, s.aq, 0.0, dropforward);
}

void TVN_simplex_rowofinverse(simplex_state& s, int32_t position) {
  s.unit.push(position, 1.0);
  TVN_lu_btrans(s.fac.factor, s.unit, s.rho, dropbackward, dropbackward);
}

namespace {

// Do the rows of rho hold so many entries that a pass over all columns is cheaper than a list of those met?
bool is_long_row(const simplex_state& s) {
  const simplex_work& w = s.work;
  const auto limit = static_cast<int64_t>(longrow * w.n);
  int64_t sum = 0;
  for (int32_t p = 0; p < s.rho.count && sum <= limit; p++) sum += w.rowend[s.rho.idx[p]] - w.rowbeg[s.rho.idx[p]];
  return sum > limit;
}

} // namespace

int64_t TVN_simplex_formrow(simplex_state& s) {
  int64_t met = 0;
  if (s.rho.count >= denserho * s.work.m)
    met = row_by_columns(s, s.alpha);
  else
    met = is_long_row(s) ? row_by_values(s, s.alpha) : row_by_list(s, s.alpha);
  return met;
}

bool TVN_simplex_poll(simplex_state& s) {
  if (!s.watch.stopped()) return false;
  s.stop = TVN_simplex_stopcode(s.watch.stop);
  s.info.solsta = sol_unknown;
  return true;
}

void TVN_simplex_tell(simplex_state& s, int32_t level, const char* fmt, ...) {
  char line[160];
  va_list args;
  va_start(args, fmt);
  format_textva(line, sizeof line, fmt, args);
  va_end(args);
  s.info.line = line;
  s.info.linelevel = level;
  (void)s.progress(simplex_event::message, s.info);
  s.info.line = nullptr;
}

double TVN_simplex_pointobjective(const simplex_state& s) {
  double sum = s.work.offset;
  for (int32_t j = 0; j < s.work.total; j++) sum += s.work.cost[j] * s.x[j];
  return sum;
}

int32_t TVN_simplex_refactor(simplex_state& s, simplex_kind kind, array_view<basis_exchange> exchanges) {
  if (std::exchange(s.factorready, false) && s.fac.usable) {
    if (s.info.basisrank < 0) s.info.basisrank = s.work.m;
    return 0;
  }
  for (int32_t attempt = 0;; attempt++) {
    s.info.count[kind].factorizations++;
    const factor_result result = TVN_simplex_factor(s.fac);
    if (s.info.basisrank < 0) s.info.basisrank = TVN_lu_getrank(s.fac.factor);
    switch (result) {
    case factor_result::full:
      if (attempt == 0 && TVN_simplex_improvelu(s.fac)) continue;
      return 0;
    case factor_result::singular:
      if (s.param.nonsingular) {
        const int32_t num = TVN_simplex_insertlogicals(s.fac, exchanges);
        TVN_simplex_tell(s, 0, "Inserted %d artificials into the basis.\n", num);
        return num;
      }
      s.stop = simplex_code::singular;
      break;
    case factor_result::stopped: break; // the poll said why
    case factor_result::failed: s.stop = simplex_code::lu_tries; break;
    }
    s.info.solsta = sol_unknown;
    return -1;
  }
}

} // namespace tvn
