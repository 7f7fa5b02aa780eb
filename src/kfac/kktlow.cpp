// Rank-one terms of H that nearly depend on each other, brought to others of near the same sum, for the factor:
// residuals know those given.
//
// Where sigma v v' of opposite signs cancel, what they leave is less than the rounding of their Schur matrix, which
// holds v' inv(H) v and 1 / sigma as a sum. With V = Q R, Q' inv(H) Q = I, the sum V S V' is Q M Q' with the small
// M = R S R', whose eigenvectors w and eigenvalues give as many terms (Q w) (Q w)' that are orthogonal. What cancelled
// altogether has an eigenvalue of rounding and goes. Terms that are far from dependent stay as they are. Cost: L^2 n
// for L terms, and L^3.
#include "kfac/kktint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double least_sine = 1e-3;       // of a term to those before it
constexpr double least_remainder = 1e-15; // of a vector; of the largest term

double product(const kktfac& k, const double* a, const double* b) noexcept {
  double sum = 0;
  for (int32_t j = 0; j < k.numcol; j++) sum += a[j] * k.invh[j] * b[j];
  return sum;
}

// Row and column p of a small matrix.
struct small_matrix {
  double* a;
  int32_t n;
  double& at(int32_t i, int32_t j) const noexcept { return a[i + int64_t{j} * n]; }
};

// By the pivots of V' inv(H) V.
bool nearly_dependent(const kktfac& k, const small_matrix& g) noexcept {
  const int64_t n = k.numcol;
  for (int32_t c = 0; c < g.n; c++)
    for (int32_t r = c; r < g.n; r++) g.at(r, c) = product(k, k.low.data() + r * n, k.low.data() + c * n);
  for (int32_t c = 0; c < g.n; c++) {
    const double whole = product(k, k.low.data() + c * n, k.low.data() + c * n), d = g.at(c, c);
    if (!(d > least_sine * least_sine * whole)) return true;
    for (int32_t j = c + 1; j < g.n; j++)
      for (int32_t i = j; i < g.n; i++) g.at(i, j) -= g.at(i, c) * g.at(j, c) / d;
  }
  return false;
}

// Q over V; what is left of a dependent vector is 0.
void orthonormalise(kktfac& k, const small_matrix& r) noexcept {
  const int64_t n = k.numcol;
  std::fill_n(r.a, int64_t{r.n} * r.n, 0.0);
  for (int32_t c = 0; c < r.n; c++) {
    double* const v = k.low.data() + c * n;
    const double size = std::sqrt(product(k, v, v));
    for (int pass = 0; pass < 2; pass++)
      for (int32_t i = 0; i < c; i++) {
        const double* const q = k.low.data() + i * n;
        const double t = product(k, q, v);
        r.at(i, c) += t;
        for (int64_t j = 0; j < n; j++) v[j] -= t * q[j];
      }
    const double left = std::sqrt(product(k, v, v));
    const bool some = left > least_remainder * size;
    r.at(c, c) = some ? left : 0.0;
    for (int64_t j = 0; j < n; j++) v[j] = some ? v[j] / left : 0.0;
  }
}

// Rotates rows and columns p < q of m until their element is 0 (Jacobi 1846); w collects the rotations.
void rotate(const small_matrix& m, const small_matrix& w, int32_t p, int32_t q) noexcept {
  const double theta = (m.at(q, q) - m.at(p, p)) / (2 * m.at(p, q));
  const double t = (theta >= 0 ? 1 : -1) / (std::fabs(theta) + std::hypot(theta, 1.0));
  const double c = 1 / std::hypot(t, 1.0), s = t * c;
  const auto turn = [&](double& x, double& y) {
    const double z = x;
    x = c * z - s * y;
    y = s * z + c * y;
  };
  for (int32_t i = 0; i < m.n; i++) turn(m.at(i, p), m.at(i, q));
  for (int32_t i = 0; i < m.n; i++) turn(m.at(p, i), m.at(q, i));
  for (int32_t i = 0; i < m.n; i++) turn(w.at(i, p), w.at(i, q));
}

void diagonalise(const small_matrix& m, const small_matrix& w, double size) noexcept {
  constexpr int maxsweeps = 40;
  for (int32_t i = 0; i < m.n; i++)
    for (int32_t j = 0; j < m.n; j++) w.at(i, j) = i == j;
  for (int sweep = 0, turned = 1; turned > 0 && sweep < maxsweeps; sweep++) {
    turned = 0;
    for (int32_t q = 1; q < m.n; q++)
      for (int32_t p = 0; p < q; p++)
        if (std::fabs(m.at(p, q)) > 1e-17 * size) {
          rotate(m, w, p, q);
          turned++;
        }
  }
}

} // namespace

void kktfac_combineterms(kktfac& k) noexcept {
  const int32_t num = k.numlow;
  const int64_t n = k.numcol, square = int64_t{num} * num;
  const small_matrix r{k.work.terms.data(), num}, m{r.a + square, num}, w{m.a + square, num};
  if (num < 2 || !nearly_dependent(k, r)) return;
  orthonormalise(k, r);
  double size = 0;
  for (int32_t c = 0; c < num; c++)
    for (int32_t i = 0; i < num; i++) size += std::fabs(k.sigma[c]) * r.at(i, c) * r.at(i, c);
  for (int32_t i = 0; i < num; i++)
    for (int32_t j = 0; j < num; j++) {
      double sum = 0;
      for (int32_t c = 0; c < num; c++) sum += r.at(i, c) * k.sigma[c] * r.at(j, c);
      m.at(i, j) = sum;
    }
  diagonalise(m, w, size);
  double* const row = r.a; // no longer needed
  for (int64_t j = 0; j < n; j++) {
    for (int32_t c = 0; c < num; c++) {
      row[c] = 0;
      for (int32_t i = 0; i < num; i++) row[c] += k.low[i * n + j] * w.at(i, c);
    }
    for (int32_t c = 0; c < num; c++) k.low[c * n + j] = row[c];
  }
  k.numlow = 0;
  for (int32_t c = 0; c < num; c++) {
    if (!(std::fabs(m.at(c, c)) > least_remainder * size)) continue;
    if (c != k.numlow) std::copy_n(k.low.data() + c * n, n, k.low.data() + k.numlow * n);
    k.sigma[k.numlow++] = m.at(c, c);
  }
}

} // namespace tvn
