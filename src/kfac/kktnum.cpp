// The numeric factorisation: numbers, scale, matrix, pivots, columns beside the factor.
//
// The matrix is scaled to a diagonal near 1 by powers of two, which change no digit; then a threshold on pivots means
// something. In the big system rows take the scale that they would have in A inv(H) A' + D, and a D that is too small
// for an order that eliminates a row before its columns gets a floor, which refinement makes up for. With a diagonal H
// a tiny D does no harm there: inv(D) weighs the row's equation, and the elimination goes on as in least squares with
// weights (Powell and Reid 1969). Where a solve ends with a large residual another floor is tried. A small pivot is
// raised by 1: its row depends on those before it, or it meets columns only that are apart. Where there is a Schur part
// this is taken out again, and E tells the two cases; else it stays, and the unknown of such a row is near 0 for
// whatever consistent right side (Wright 1999). If a trial solve shows that columns apart have cost the accuracy, all
// columns go into the matrix for a while, and four times as long each time that it happens again.
#include "kfac/kktint.h"

#include "cpub/timer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace tvn {

namespace {

constexpr double least_h = 1e-30;         // of H + Rp: else its inverse might overflow
constexpr double useless_residual = 1e-2; // of a trial solve
constexpr double dearer = 10;             // what a better residual may cost, as long as it is not useless

// Floors of a D + Rd of 0 and of others, the first one first. An H with entries off its diagonal may be singular
// without the rows', and then a small pivot of theirs costs it its digits.
struct floor_pair {
  double zero, own;
};
constexpr floor_pair floors_diagonal[] = {{1e-15, 1e-15}, {1e-12, 1e-30}};
constexpr floor_pair floors_quadratic[] = {{1e-8, 1e-8}, {1e-6, 1e-6}, {1e-12, 1e-30}};
constexpr double below_floor = 1e-4; // a pivot of the big system may be so much smaller

std::span<const floor_pair> floors_of(const kktfac& k) noexcept {
  if (k.q.beg && !k.params.definite) return floors_quadratic;
  return floors_diagonal;
}

// A power of two whose square brings v near 1; 1 for 0.
double scale_of(double v) noexcept {
  if (!(v > 0)) return 1.0;
  int exponent = 0;
  std::frexp(v, &exponent);
  const int half = exponent >= 0 ? exponent / 2 : (exponent - 1) / 2;
  return std::ldexp(1.0, -half);
}

// False for a NaN, and where it is stopped.
bool copy_numbers(const kktfac_numbers& from, kktfac& k) noexcept {
  bool good = from.numlow <= k.params.maxlow;
  kktfac_pieces(k, k.numcol, [&](int32_t first, int32_t end) {
    for (int32_t j = first; j < end; j++) {
      k.h[j] = from.h ? from.h[j] : 0.0;
      k.hfac[j] = std::max(k.h[j] + (from.rp ? from.rp[j] : 0.0), least_h);
      k.invh[j] = 1 / k.hfac[j];
      good = good && k.h[j] >= 0 && (!from.rp || from.rp[j] >= 0);
    }
  });
  kktfac_pieces(k, k.numrow, [&](int32_t first, int32_t end) {
    for (int32_t i = first; i < end; i++) {
      k.d[i] = from.d ? from.d[i] : 0.0;
      k.dfac[i] = k.d[i] + (from.rd ? from.rd[i] : 0.0);
      good = good && k.dfac[i] >= 0 && std::isfinite(k.dfac[i]);
    }
  });
  if (k.stopped) return false;
  if (from.hoff)
    std::copy_n(from.hoff, k.hoff.size(), k.hoff.data());
  else
    std::fill(k.hoff.begin(), k.hoff.end(), 0.0);
  k.numlow = 0;
  for (int32_t c = 0; c < from.numlow && k.numlow < k.params.maxlow; c++) {
    good = good && std::isfinite(from.sigma[c]);
    if (from.sigma[c] == 0) continue;
    k.sigma[k.numlow] = from.sigma[c];
    double* const v = k.low.data() + int64_t{k.numlow++} * k.numcol;
    for (int32_t j = 0; j < k.numcol; j++) v[j] = k.invh[j] == 0 ? 0.0 : from.low[int64_t{c} * k.numcol + j];
  }
  k.numgiven = k.numlow;
  std::copy_n(k.low.data(), int64_t{k.numlow} * k.numcol, k.lowgiven.data());
  std::copy_n(k.sigma.data(), k.numlow, k.sigmagiven.data());
  if (good) kktfac_combineterms(k);
  return good;
}

// diag: [numrow] by row, of A inv(H) A' + D; columns that are apart count only where nothing else does.
void row_diagonals(kktfac& k, double* diag) noexcept {
  const auto add = [&](int32_t j, bool emptyonly) {
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) {
      double& d = diag[k.a.sub[p]];
      if (!emptyonly || d == 0) d += k.a.val[p] * k.a.val[p] * k.invh[j];
    }
  };
  kktfac_pieces(k, k.numrow,
                [&](int32_t from, int32_t end) { std::copy(k.dfac.data() + from, k.dfac.data() + end, diag + from); });
  kktfac_pieces(k, k.numcol,
                [&](int32_t from, int32_t end) { kktfac_others(k, from, end, [&](int32_t j) { add(j, false); }); });
  for (const int32_t j : k.dense) add(j, true);
}

sfk_code form_adat(kktfac& k) noexcept {
  row_diagonals(k, k.scale.data());
  const auto scale_rows = [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) k.scale[i] = scale_of(k.scale[i]);
  };
  if (!kktfac_pieces(k, k.n, scale_rows)) return sfk_code::stopped;
  if (!TVN_adat_scale(k.a, k.structure.perm, k.scale.data(), k.params.progress, k.ada)) return sfk_code::stopped;
  kktfac_pieces(k, k.n, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) k.factor.val[k.structure.diagdest[i]] += k.scale[i] * k.dfac[i] * k.scale[i];
  });
  if (k.stopped) return sfk_code::stopped;
  return TVN_adat_form(k.ada, k.invh.data(), k.params.progress, k.local.data(), k.factor);
}

sfk_code form_sqdt(kktfac& k) noexcept {
  const int32_t n = k.numcol;
  double* const s = k.scale.data();
  row_diagonals(k, s + n);
  for (int32_t j = 0; j < n; j++) s[j] = scale_of(std::isfinite(k.hfac[j]) ? k.hfac[j] : 1.0);
  for (int32_t i = n; i < k.n; i++) s[i] = scale_of(s[i]);
  if (!kktfac_goeson(k)) return sfk_code::stopped;
  double* const val = k.factor.val.data();
  const int64_t* const dest = k.structure.dest.data();
  const auto put_column = [&](int32_t j) {
    const bool fixed = k.invh[j] == 0;
    val[k.structure.diagdest[j]] += fixed ? 1.0 : s[j] * k.hfac[j] * s[j];
    if (fixed) return;
    int64_t to = k.place[j];
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) val[dest[to++]] += s[n + k.a.sub[p]] * k.a.val[p] * s[j];
    for (int64_t p = k.q.beg ? k.q.beg[j] : 0; k.q.beg && p < k.q.end[j]; p++, to++)
      if (dest[to] >= 0 && k.invh[k.q.sub[p]] != 0) val[dest[to]] += s[k.q.sub[p]] * k.hoff[p] * s[j];
  };
  kktfac_pieces(k, n, [&](int32_t from, int32_t end) {
    for (int32_t j = from; j < end; j++) put_column(j);
  });
  const floor_pair floor = floors_of(k)[k.floor.level];
  k.floor.used = false;
  kktfac_pieces(k, k.numrow, [&](int32_t from, int32_t end) {
    for (int32_t i = from; i < end; i++) {
      const double own = s[n + i] * k.dfac[i] * s[n + i], least = own > 0 ? floor.own : floor.zero;
      k.floor.used = k.floor.used || own < least;
      val[k.structure.diagdest[n + i]] -= std::max(own, least);
    }
  });
  return k.stopped ? sfk_code::stopped : sfk_code::ok;
}

bool finite_scale(const kktfac& k) noexcept {
  for (const double s : k.scale)
    if (!std::isfinite(s) || s == 0) return false;
  return true;
}

sfk_code calculate_factor(kktfac& k) noexcept {
  sfk_pivots pivots;
  pivots.sign = k.sign.empty() ? nullptr : k.sign.data();
  pivots.tolpiv = k.params.tolpiv;
  if (k.form == kkt_form::sqdt) pivots.tolpiv = std::min(pivots.tolpiv, below_floor * floors_of(k)[k.floor.level].own);
  pivots.added = k.added.data();
  const auto clear = [&](int32_t from, int32_t end) { std::fill_n(k.added.data() + from, end - from, 0.0); };
  if (!kktfac_pieces(k, k.n, clear)) return sfk_code::stopped;
  return TVN_ch_calfac(k.factor, pivots, k.params.progress);
}

sfk_code factor_once(kktfac& k) noexcept {
  const double start = TVN_sysenv_gettime();
  if (!TVN_sfk_clear(k.factor, k.params.progress)) return sfk_code::stopped;
  sfk_code code = k.form == kkt_form::adat ? form_adat(k) : form_sqdt(k);
  if (code == sfk_code::ok && !finite_scale(k)) code = sfk_code::failed;
  const double formed = TVN_sysenv_gettime();
  if (code == sfk_code::ok) code = calculate_factor(k);
  k.info.numrepair = k.factor.numrepair;
  const double factored = TVN_sysenv_gettime();
  if (code == sfk_code::ok) code = kktfac_calbeside(k);
  k.info.formtime += formed - start;
  k.info.factime += factored - formed;
  k.info.schurtime += TVN_sysenv_gettime() - factored;
  k.info.numfac++;
  if (code == sfk_code::ok) kktfac_countinertia(k);
  return code;
}

// Solves a system with a known solution of signs.
double trial_residual(kktfac& k, kkt_target target) noexcept {
  const int32_t n = k.numcol, m = k.numrow;
  double *const rx = k.work.solution.data(), *const ry = rx + n;
  const auto known = [](int32_t i) { return (static_cast<uint32_t>(i) * 2654435761u) & 0x80000000u ? 1.0 : -1.0; };
  for (int32_t j = 0; j < n; j++) rx[j] = known(j) * std::min(1.0, k.invh[j]);
  for (int32_t i = 0; i < m; i++) ry[i] = known(i);
  std::copy_n(rx, n + m, k.work.rhs.data());
  kktfac_residual(k, target, nullptr, k.work.rhs.data(), rx);
  kktfac_refine(k, target, 1);
  return k.info.residual;
}

// Columns that are apart have cost too many digits, or all of them.
enum class apart_verdict { good, spoilt, useless };

apart_verdict judge_apart(kktfac& k) noexcept {
  if (k.form == kkt_form::sqdt || k.info.numdense == 0 || k.info.numrepair == 0 || std::isinf(k.trust))
    return apart_verdict::good;
  const double residual = trial_residual(k, kkt_target::regularised);
  if (residual <= k.trust) return apart_verdict::good;
  return residual <= useless_residual ? apart_verdict::spoilt : apart_verdict::useless;
}

// All columns into the matrix. space: it is not worth it.
kktfac_code bring_in(kktfac& k, bool useless) {
  constexpr double any = std::numeric_limits<double>::infinity();
  constexpr int32_t firstpause = 16, maxpause = 1 << 20;
  const double seconds = k.info.seconds;
  const kktfac_code code = kktfac_setup(k, true, useless ? any : dearer * seconds);
  if (code == kktfac_code::space) k.trust = useless ? any : useless_residual;
  if (code != kktfac_code::ok) return code;
  kkt_broughtin& b = k.broughtin;
  b.seconds = seconds;
  b.numleft = b.pause = b.pause == 0 ? firstpause : std::min(4 * b.pause, maxpause);
  k.info.broughtin = true;
  return code;
}

// Apart again, where an analysis is paid for by what follows.
kktfac_code put_apart_again(kktfac& k) {
  constexpr double worthit = 3;
  if (!k.info.broughtin || --k.broughtin.numleft > 0 || k.info.seconds < worthit * k.broughtin.seconds)
    return kktfac_code::ok;
  const kktfac_code code = kktfac_setup(k, false, std::numeric_limits<double>::infinity());
  if (code == kktfac_code::ok) k.info.broughtin = false;
  return code;
}

} // namespace

bool kktfac_nextfloor(kktfac& k) noexcept {
  const auto num = static_cast<int32_t>(floors_of(k).size());
  kkt_floor& f = k.floor;
  if (k.form != kkt_form::sqdt || !f.used || f.pause > 0 || f.numtried + 1 >= num) return false;
  f.numtried++;
  kktfac_usefloor(k, (f.level + 1) % num);
  return true;
}

void kktfac_usefloor(kktfac& k, int32_t level) noexcept {
  k.floor.level = level;
  const sfk_code code = factor_once(k);
  k.stopped = code == sfk_code::stopped;
  k.factored = code == sfk_code::ok;
}

// Where none is good enough, because the system has no solution, tries would make every factorisation dearer.
void kktfac_endfloors(kktfac& k, double residual) noexcept {
  kkt_floor& f = k.floor;
  if (f.numtried == 0 || f.pause > 0) return;
  f.nummissed = residual <= k.params.tolkrylov ? 0 : std::min(f.nummissed + 1, 10);
  f.pause = f.nummissed > 0 ? 1 << f.nummissed : 0;
}

double TVN_kktfac_wrongpivot(const kktfac& k) noexcept {
  double worst = 0;
  for (int32_t i = 0; k.form == kkt_form::sqdt && k.info.numrepair > 0 && i < k.n; i++)
    if (k.added[i] > 0 && k.sign[k.structure.perm[i]] > 0) worst = std::min(worst, k.factor.d[i] - k.added[i]);
  return worst;
}

kktfac_code TVN_kktfac_numfac(kktfac& k, const kktfac_numbers& numbers) {
  k.stopped = false;
  k.factored = false;
  if (!k.ready) return kktfac_code::failed;
  if (const kktfac_code code = put_apart_again(k); code != kktfac_code::ok) return code;
  if (!copy_numbers(numbers, k)) return k.stopped ? kktfac_code::stopped : kktfac_code::failed;
  if (!kktfac_goeson(k)) return kktfac_code::stopped;
  k.floor.numtried = 0;
  k.floor.pause = std::max(k.floor.pause - 1, 0);
  for (;;) {
    const sfk_code code = factor_once(k);
    if (code == sfk_code::stopped) return kktfac_code::stopped;
    if (code == sfk_code::failed) return kktfac_code::failed;
    const apart_verdict apart = judge_apart(k);
    if (k.stopped) return kktfac_code::stopped;
    k.factored = true;
    if (apart == apart_verdict::good) return kktfac_code::ok;
    const kktfac_code again = bring_in(k, apart == apart_verdict::useless);
    if (again != kktfac_code::ok) return again == kktfac_code::space ? kktfac_code::ok : again;
    if (!copy_numbers(numbers, k)) return k.stopped ? kktfac_code::stopped : kktfac_code::failed;
  }
}

} // namespace tvn
