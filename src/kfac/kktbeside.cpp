// Columns beside the factor: those of A that are apart, rank-one terms of H, and what pivots were raised by.
//
// A term sigma v v' makes an unknown u = -sigma v'x and the equation v'x + u / sigma = 0. In the big system it meets
// the columns by -v. In A inv(H) A' + D the x of the other columns have been eliminated from it, which leaves
// w = A inv(H) v, -(1 / sigma + v' inv(H) v), and -v' inv(H) v with the v of another; with the x of a column that is
// apart it keeps -v.
#include "kfac/kktint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// What is left of a column of E. A raised pivot that is dropped stays raised; a term would be missing.
constexpr double toldropped_raised = 1e-11, toldropped_terms = 1e-15;

void add_apart(kktfac& k) noexcept {
  for (const int32_t j : k.dense) {
    if (k.invh[j] == 0) continue;
    double* const w = TVN_sc_addcol(k.schur, k.hfac[j]);
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) {
      const int32_t i = k.a.sub[p];
      w[k.structure.invp[i]] = k.a.val[p] * k.scale[i];
    }
  }
}

void add_term_sqdt(kktfac& k, int32_t term) noexcept {
  double* const w = TVN_sc_addcol(k.schur, 1 / k.sigma[term]);
  const double* const v = k.low.data() + int64_t{term} * k.numcol;
  for (int32_t j = 0; j < k.numcol; j++) w[k.structure.invp[j]] = v[j] * k.scale[j];
}

void add_term_adat(kktfac& k, int32_t term) noexcept {
  const int32_t at = k.schur.num, first = at - term;
  double* const w = TVN_sc_addcol(k.schur, 0);
  const double* const v = k.low.data() + int64_t{term} * k.numcol;
  kktfac_others(k, [&](int32_t j) {
    const double t = v[j] * k.invh[j];
    if (t == 0) return;
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) {
      const int32_t i = k.a.sub[p];
      w[k.structure.invp[i]] += k.a.val[p] * k.scale[i] * t;
    }
  });
  int32_t c = 0;
  for (const int32_t j : k.dense)
    if (k.invh[j] != 0) TVN_sc_putcross(k.schur, at, c++, -v[j]);
  for (int32_t q = 0; q <= term; q++) {
    const double* const other = k.low.data() + int64_t{q} * k.numcol;
    double sum = q == term ? 1 / k.sigma[term] : 0;
    kktfac_others(k, [&](int32_t j) { sum += other[j] * k.invh[j] * v[j]; });
    TVN_sc_putcross(k.schur, at, first + q, -sum);
  }
}

// Raised pivots that may differ by what columns apart hold at their rows go first: each next one is that whose row is
// farthest from those before it. Marked in `left`, by position, as negative; for so many that not all have a place.
bool choose_raised(kktfac& k, double* left) noexcept {
  schur_part& sc = k.schur;
  const int32_t apart = sc.num - k.numlow, n = k.n;
  double* const basis = sc.e.data(); // not yet in use
  const auto at = [&](int32_t i, int32_t c) { return sc.v[int64_t{c} * n + i]; };
  double most = 0;
  for (int32_t i = 0; i < n; i++) {
    left[i] = 0;
    for (int32_t c = 0; k.added[i] != 0 && c < apart; c++) left[i] += at(i, c) * at(i, c);
    most = std::max(most, left[i]);
  }
  constexpr double dependent = 1e-20; // of a square
  for (int32_t t = 0; t < std::min(apart, k.maxtaken); t++) {
    const auto p = static_cast<int32_t>(std::max_element(left, left + n) - left);
    if (!(left[p] > dependent * most)) break;
    double *const q = basis + int64_t{t} * apart, size = 0;
    for (int32_t c = 0; c < apart; c++) q[c] = at(p, c);
    for (const double* b = basis; b != q; b += apart) {
      double sum = 0;
      for (int32_t c = 0; c < apart; c++) sum += b[c] * q[c];
      for (int32_t c = 0; c < apart; c++) q[c] -= sum * b[c];
    }
    for (int32_t c = 0; c < apart; c++) size += q[c] * q[c];
    for (int32_t c = 0; c < apart; c++) q[c] /= std::sqrt(size);
    left[p] = -1;
    for (int32_t i = 0; i < n; i++) {
      if (!(left[i] > 0)) continue;
      double sum = 0;
      for (int32_t c = 0; c < apart; c++) sum += q[c] * at(i, c);
      left[i] = std::max(left[i] - sum * sum, 0.0);
    }
    if (!kktfac_goeson(k)) return false;
  }
  return true;
}

// False: stopped.
bool add_raised(kktfac& k) noexcept {
  const bool all = k.info.numrepair <= k.maxtaken;
  double* const left = k.work.position.data();
  if (k.maxtaken == 0 || k.info.numrepair == 0) return true;
  if (!all && !choose_raised(k, left)) return false;
  for (const bool chosen : {true, false})
    for (int32_t i = 0; i < k.n && k.info.numtaken < k.maxtaken; i++) {
      if (k.added[i] == 0 || (!all && left[i] < 0) != chosen) continue;
      TVN_sc_addcol(k.schur, -1 / k.added[i])[i] = 1;
      k.info.numtaken++;
    }
  return true;
}

} // namespace

sfk_code kktfac_calbeside(kktfac& k) noexcept {
  schur_part& sc = k.schur;
  sc.num = 0;
  sc.inertia = {};
  k.info.numtaken = 0;
  add_apart(k);
  for (int32_t c = 0; c < k.numlow; c++) k.form == kkt_form::adat ? add_term_adat(k, c) : add_term_sqdt(k, c);
  if (!add_raised(k)) return sfk_code::stopped;
  sc.toldropped = k.info.numtaken > 0 || k.numlow == 0 ? toldropped_raised : toldropped_terms;
  return sc.num > 0 ? TVN_sc_calschur(k.factor, k.params.progress, sc) : sfk_code::ok;
}

void kktfac_besiderhs(const kktfac& k, const double* rhs, double* u) noexcept {
  std::fill_n(u, k.schur.num, 0.0);
  if (k.form == kkt_form::sqdt) return;
  for (const int32_t j : k.dense)
    if (k.invh[j] != 0) *u++ = rhs[j];
  for (int32_t c = 0; c < k.numlow; c++, u++) {
    const double* const v = k.low.data() + int64_t{c} * k.numcol;
    kktfac_others(k, [&](int32_t j) { *u += v[j] * k.invh[j] * rhs[j]; });
  }
}

void kktfac_besidex(const kktfac& k, const double* u, double* x) noexcept {
  for (const int32_t j : k.dense) x[j] = k.invh[j] == 0 ? 0.0 : *u++;
  for (int32_t c = 0; c < k.numlow; c++, u++) {
    const double* const v = k.low.data() + int64_t{c} * k.numcol;
    kktfac_others(k, [&](int32_t j) { x[j] += k.invh[j] * v[j] * *u; });
  }
}

// The matrix has the inertia of what was eliminated before, of the factor and of E, less that of the equations that E
// adds for terms and raised pivots (Haynsworth 1968). What E drops belongs to a zero.
void kktfac_countinertia(kktfac& k) noexcept {
  kktfac_info& f = k.info;
  const bunchkauf_inertia& e = k.schur.inertia;
  const int64_t taken = f.numtaken - e.dropped; // corrections that are out of the matrix
  f.numdropped = static_cast<int32_t>(f.numrepair - taken);
  f.zero = f.numdropped;
  const int64_t risen = std::count_if(k.sigma.begin(), k.sigma.begin() + k.numlow, [](double s) { return s > 0; });
  if (k.form == kkt_form::adat) {
    const int64_t apart = k.schur.num - f.numtaken - k.numlow;
    f.positive = k.numcol - apart + k.factor.numnegative + e.positive - (k.numlow - risen);
    f.negative = k.n - k.factor.numnegative + e.negative - taken - f.zero - risen;
    return;
  }
  int64_t raised[2] = {0, 0}, left = f.numtaken, dropped[2] = {0, 0}; // positive and negative pivots
  for (int32_t i = 0; i < k.n; i++) {
    if (k.added[i] == 0) continue;
    (left-- > 0 ? raised : dropped)[k.added[i] < 0]++;
  }
  // Which of them E has dropped does not show in its inertia: rows, whose pivots are negative, are the likely ones.
  const int64_t rows = std::min(e.dropped, raised[1]);
  raised[1] -= rows;
  dropped[1] += rows;
  raised[0] -= e.dropped - rows;
  dropped[0] += e.dropped - rows;
  f.positive = k.n - k.factor.numnegative + e.negative - raised[0] - dropped[0] - (k.numlow - risen);
  f.negative = k.factor.numnegative + e.positive - raised[1] - dropped[1] - risen;
}

} // namespace tvn
