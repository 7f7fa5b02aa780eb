// The order of the steps, and what they share.
#include "basic/purifint.h"

#include "simplex/base/audit.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// A variable of the point in the working space.
struct place {
  double x, fromlo, toup, dual;
};

place find_place(const prf_state& p, int32_t j) {
  const simplex_work& w = p.w;
  const bool logical = w.is_logical(j);
  const int32_t u = logical ? w.row2user[j] : w.col2user[j - w.m];
  const double sl = logical ? p.point.slc[u] : p.point.slx[u], su = logical ? p.point.suc[u] : p.point.sux[u];
  const double x = TVN_simplex_uservalue(w, p.point, j);
  return {x, x - w.lower[j], w.upper[j] - x, (sl - su) * w.factor(j)};
}

double column_norm(const simplex_work& w, int32_t j) {
  if (w.is_logical(j)) return 1;
  double sum = 0;
  for (int64_t e = w.colbeg[j - w.m]; e < w.colbeg[j - w.m + 1]; e++) sum += w.colval[e] * w.colval[e];
  return std::sqrt(sum);
}

// Of a pair whose product is small the larger one stays.
bool is_inner(const place& at, int32_t guess) {
  const bool low = at.fromlo <= at.toup;
  const double distance = low ? at.fromlo : at.toup, dual = low ? at.dual : -at.dual;
  if (!(distance > 0)) return false;
  if (guess == sk_bas || guess == sk_supbas) return distance > 1e-3 * dual;
  if (guess == sk_low || guess == sk_upr) return distance > 1e3 * dual;
  return distance > dual;
}

} // namespace

void TVN_prf_partition(prf_state& p) {
  simplex_state& s = p.s;
  for (int32_t j = 0; j < p.w.total; j++) {
    const place at = find_place(p, j);
    const bool free = p.w.is_free(j);
    if (!p.w.is_fixed(j) && std::isfinite(at.x) && (free || is_inner(at, TVN_simplex_userkey(p.w, p.point, j)))) {
      p.inner[j] = 1;
      p.weight[j] = free ? HUGE_VAL : std::min(at.fromlo, at.toup) * column_norm(p.w, j);
      s.x[j] = at.x;
      s.key[j] = sk_supbas;
      continue;
    }
    TVN_simplex_restnonbasic(s, j, at.fromlo <= at.toup ? sk_low : sk_upr);
    p.upper[j] = s.key[j] == sk_upr;
    p.dual[j] = std::isfinite(at.dual) ? at.dual : 0;
    if ((s.key[j] == sk_low && p.dual[j] < 0) || (s.key[j] == sk_upr && p.dual[j] > 0)) p.dual[j] = 0;
  }
}

void TVN_prf_putout(prf_state& p, int32_t j) {
  simplex_state& s = p.s;
  p.info.rejected++;
  if (!(p.inner[j] && s.x[j] > s.lo[j] && s.x[j] < s.up[j])) {
    TVN_simplex_restnonbasic(s, j, p.upper[j] ? sk_upr : sk_low);
    return;
  }
  s.key[j] = sk_supbas;
  if (p.numsuper < p.w.total) p.super[p.numsuper++] = j;
}

bool TVN_prf_refactor(prf_state& p) {
  simplex_state& s = p.s;
  s.factorready = false;
  const int32_t num = TVN_simplex_refactor(s, kind_free, p.repairs);
  for (int32_t k = 0; k < num; k++) {
    const auto [leaving, entering] = p.repairs[k];
    s.key[entering] = sk_bas;
    if (leaving >= 0) TVN_prf_putout(p, leaving);
  }
  return num >= 0;
}

bool TVN_prf_wantsafresh(prf_state& p, int32_t rejectedbefore) noexcept {
  if (p.info.rejected == rejectedbefore && p.worked < p.w.colbeg[p.w.n] + p.w.total) return false;
  p.worked = 0;
  return true;
}

bool TVN_prf_exchange(prf_state& p, int32_t position, int32_t q, int32_t key, double value) {
  simplex_state& s = p.s;
  const int32_t leaving = s.fac.head[position];
  s.fac.head[position] = q;
  s.fac.pos[q] = position;
  s.fac.pos[leaving] = -1;
  s.key[q] = sk_bas;
  s.key[leaving] = static_cast<uint8_t>(p.w.is_fixed(leaving) ? static_cast<int32_t>(sk_fix) : key);
  s.x[leaving] = value;
  const lu_code code = TVN_lu_supd(s.fac.factor, position, s.spike);
  s.fac.since++;
  s.fac.usable = code == lu_code::done || code == lu_code::refactor_advised;
  return code == lu_code::done && !TVN_lu_factornow(s.fac.factor);
}

#if TVN_CHECK_LEVEL >= 2
namespace {

// What each phase leaves: a header that agrees with the keys, clean vectors; after the duals' pushes reduced costs that
// are those of the header, all of N in it at 0.
void audit(const prf_state& p, bool duals) {
  simplex_state& s = p.s;
  if (!s.fac.usable) return;
  const audit_site at{s.sys, "src/basic/purif", p.info.primaliter + p.info.dualiter};
  TVN_simplex_checkheader(at, s);
  TVN_simplex_checkscratch(at, s);
  if (!duals || p.info.dualiter == 0 || p.shift > p.s.param.tols) return;
  for (int32_t k = 0; k < p.w.m; k++) s.fac.rhs[k] = p.w.cost[s.fac.head[k]];
  TVN_simplex_checkduals(at, s, [&](int32_t j) { return p.w.cost[j]; });
}

} // namespace
#else
static void audit(const prf_state&, bool) {}
#endif

void TVN_prf_puriflp(simplex_state& s, const solution_view& point) {
  prf_state p(s, point);
  const int64_t total = s.work.total, m = s.work.m;
  p.inner.reset(s.sys, total, uint8_t{0});
  p.upper.reset(s.sys, total, uint8_t{0});
  p.weight.reset(s.sys, total, 0.0);
  p.dual.reset(s.sys, total, 0.0);
  p.super.reset(s.sys, total);
  p.repairs.reset(s.sys, m);
  const double start = TVN_sysenv_gettime();
  TVN_prf_partition(p);
  const bool crashed = TVN_prf_crashbasis(p);
  p.info.crashtime = TVN_sysenv_gettime() - start;
  bool done = crashed && TVN_prf_primallp(p);
  if (done) audit(p, false);
  done = done && TVN_prf_duallp(p);
  if (done) audit(p, true);
  s.factorready = done && s.fac.usable;
}

} // namespace tvn
