// Residuals of the whole system. See kktint.h.
#include "kfac/kktint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

// The matrix wanted.
struct target_system {
  const double *h, *d;
};

// The sums of equations that have a slot: some terms in double, then on to long double. A sum of all terms in double
// would tell of less than is left, and one in long double waits for memory at each of them (boyd1: a third of its
// time).
class long_sums {
  static constexpr int64_t few = 64; // terms of an equation between two moves, on average
  kktfac_work& w;
  int64_t left;

public:
  explicit long_sums(kktfac_work& work) noexcept : w(work), left(few * w.longsum.size()) {
    std::fill(w.longsum.begin(), w.longsum.end(), 0.0L);
    std::fill(w.shortsum.begin(), w.shortsum.end(), 0.0);
  }
  void add(int32_t slot, double t) noexcept { w.shortsum[slot] += t; }
  // Before up to num more terms.
  void expect(int64_t num) noexcept {
    if ((left -= num) < 0) move();
  }
  void move() noexcept {
    const int64_t num = w.shortsum.size();
    for (int64_t t = 0; t < num; t++) {
      w.longsum[t] += w.shortsum[t];
      w.shortsum[t] = 0;
    }
    left = few * num;
  }
};

// T: how it is summed; L: some equations have a slot.
template <class T, bool L> struct residual_sums {
  T* r;
  const int32_t* slot; // [columns and rows] of a long equation, else -1
  long_sums* longer;

  void subtract(int64_t i, T t) const noexcept {
    if (L && slot[i] >= 0)
      longer->add(slot[i], static_cast<double>(t));
    else
      r[i] -= t;
  }
};

inline void see(double& most, double value) noexcept {
  value = std::fabs(value);
  most = value > most ? value : most;
}

// Largest magnitude of v; a NaN stays. Four at a time: one maximum would wait for the other.
template <class T> double largest_of(const T* v, int64_t num) noexcept {
  double w[4] = {0, 0, 0, 0};
  const auto take = [](double& most, T x) {
    const double value = std::fabs(static_cast<double>(x));
    most = value <= most ? most : value;
  };
  int64_t i = 0;
  for (; i + 3 < num; i += 4)
    for (int q = 0; q < 4; q++) take(w[q], v[i + q]);
  for (; i < num; i++) take(w[0], v[i]);
  for (int q = 1; q < 4; q++) w[0] = std::isnan(w[0]) || w[q] <= w[0] ? w[0] : w[q];
  return w[0];
}

// The part of H that is not diagonal.
template <class T, bool L>
void subtract_quadratic(const kktfac& k, const residual_sums<T, L>& sums, const double* v) noexcept {
  for (int32_t j = 0; k.q.beg && j < k.numcol; j++) {
    if (L) sums.longer->expect(k.q.end[j] - k.q.beg[j]);
    for (int64_t p = k.q.beg[j]; p < k.q.end[j]; p++) {
      const int32_t i = k.q.sub[p];
      if (i == j || k.invh[i] == 0 || k.invh[j] == 0) continue;
      sums.subtract(i, static_cast<T>(k.hoff[p]) * v[j]);
      sums.subtract(j, static_cast<T>(k.hoff[p]) * v[i]);
    }
  }
}

template <class T> void subtract_terms(const kktfac& k, const double* v, T* r, double& most) noexcept {
  for (int32_t c = 0; c < k.numgiven; c++) {
    const double* const low = k.lowgiven.data() + int64_t{c} * k.numcol;
    long double sum = 0;
    for (int32_t j = 0; j < k.numcol; j++) sum += static_cast<long double>(low[j]) * v[j];
    for (int32_t j = 0; j < k.numcol; j++) {
      const T t = static_cast<T>(k.sigmagiven[c] * sum) * low[j];
      see(most, static_cast<double>(t));
      r[j] -= t;
    }
  }
}

template <class T, bool L>
kkt_residual residual_of(kktfac& k, const target_system& s, const double* rhs, const double* v, T* r) noexcept {
  const int32_t n = k.numcol, m = k.numrow;
  const double* const y = v + n;
  const kkt_columns a = k.a;
  long_sums longer(k.work);
  const residual_sums<T, L> sums{r, k.longslot.data(), &longer};
  kkt_residual found;
  double* const term = found.term;
  kktfac_pieces(k, m, [&](int32_t from, int32_t end) {
    double most = 0;
    for (int32_t i = from; i < end; i++) {
      const T t = static_cast<T>(s.d[i]) * y[i];
      see(most, static_cast<double>(t));
      r[n + i] = (rhs ? rhs[n + i] : 0.0) + t;
    }
    see(term[1], most);
    if (rhs) see(term[1], largest_of(rhs + n + from, end - from));
  });
  const auto subtract_column = [&](int32_t j) {
    if (k.invh[j] == 0) {
      r[j] = 0;
      return;
    }
    const T t = static_cast<T>(s.h[j]) * v[j];
    see(term[0], rhs ? rhs[j] : 0.0);
    see(term[0], static_cast<double>(t));
    const bool longcolumn = L && k.longslot[j] >= 0;
    const int64_t end = a.end[j];
    const double x = v[j];
    double mostdown = 0, mostacross = 0; // no memory is written between two entries
    T sum = (rhs ? rhs[j] : 0.0) - t;
    long double longsum = 0;
    if (L) longer.expect(end - a.beg[j]);
    for (int64_t p = a.beg[j]; p < end; p++) {
      const int32_t i = a.sub[p];
      const T down = static_cast<T>(a.val[p]) * y[i], across = static_cast<T>(a.val[p]) * x;
      see(mostdown, static_cast<double>(down));
      see(mostacross, static_cast<double>(across));
      sums.subtract(n + i, across);
      if (longcolumn)
        longsum += static_cast<long double>(a.val[p]) * y[i];
      else
        sum -= down;
    }
    if (longcolumn) k.work.longsum[k.longslot[j]] += longsum;
    see(term[0], mostdown);
    see(term[1], mostacross);
    r[j] = sum;
  };
  kktfac_pieces(k, n, [&](int32_t from, int32_t end) {
    for (int32_t j = from; j < end; j++) subtract_column(j);
  });
  if (!kktfac_goeson(k)) return found;
  subtract_quadratic(k, sums, v);
  subtract_terms(k, v, r, term[0]);
  if (L) longer.move();
  for (int32_t i = 0; L && i < n + m; i++)
    if (k.longslot[i] >= 0 && !(i < n && k.invh[i] == 0)) r[i] = static_cast<T>(r[i] - k.work.longsum[k.longslot[i]]);
  const double worst[2] = {largest_of(r, n), largest_of(r + n, m)};
  const auto ratio = [&](int part) { return worst[part] == 0 ? 0.0 : worst[part] / term[part]; };
  const double first = ratio(0), second = ratio(1);
  found.worst = first >= second || std::isnan(first) ? first : second;
  return found;
}

} // namespace

kkt_residual kktfac_residual(kktfac& k, kkt_target target, const double* rhs, const double* v, double* to) noexcept {
  const bool exact = target == kkt_target::exact;
  const target_system s{exact ? k.h.data() : k.hfac.data(), exact ? k.d.data() : k.dfac.data()};
  if (!k.params.useprecision) {
    if (k.longslot.empty()) return residual_of<double, false>(k, s, rhs, v, to);
    return residual_of<double, true>(k, s, rhs, v, to);
  }
  const kkt_residual found = residual_of<long double, false>(k, s, rhs, v, k.work.residual.data());
  for (int64_t i = 0; i < k.work.residual.size(); i++) to[i] = static_cast<double>(k.work.residual[i]);
  return found;
}

} // namespace tvn
