// What is true about small symmetric matrices, by dense long double arithmetic.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace tvntest {

using dense = std::vector<std::vector<long double>>;

// Eigenvalues by rotations (Jacobi 1846).
inline std::vector<long double> eigenvalues(dense k) {
  const size_t n = k.size();
  long double most = 0;
  for (const auto& row : k)
    for (const long double v : row) most = std::max(most, std::fabs(v));
  for (int sweep = 0; sweep < 60; sweep++) {
    long double off = 0;
    for (size_t i = 0; i < n; i++)
      for (size_t j = 0; j < i; j++) {
        if (std::fabs(k[i][j]) <= 1e-26L * most) continue;
        off = std::max(off, std::fabs(k[i][j]));
        const long double theta = (k[j][j] - k[i][i]) / (2 * k[i][j]);
        const long double t = (theta >= 0 ? 1 : -1) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
        const long double c = 1 / std::sqrt(t * t + 1), s = t * c;
        for (size_t q = 0; q < n; q++) {
          const long double x = k[i][q], y = k[j][q];
          k[i][q] = c * x - s * y;
          k[j][q] = s * x + c * y;
        }
        for (size_t q = 0; q < n; q++) {
          const long double x = k[q][i], y = k[q][j];
          k[q][i] = c * x - s * y;
          k[q][j] = s * x + c * y;
        }
        k[i][j] = k[j][i] = 0;
      }
    if (off <= 1e-24L * most) break;
  }
  std::vector<long double> values;
  for (size_t i = 0; i < n; i++) values.push_back(k[i][i]);
  return values;
}

inline long double norm(const dense& k) {
  long double most = 0;
  for (const auto& row : k) {
    long double sum = 0;
    for (const long double v : row) sum += std::fabs(v);
    most = std::max(most, sum);
  }
  return most;
}

inline double largest(const std::vector<double>& v) {
  double most = 0;
  for (const double x : v) most = std::isfinite(x) ? std::max(most, std::fabs(x)) : INFINITY;
  return most;
}

// Number of positive eigenvalues and condition in the norm above, by elimination in the order given, whose pivots must
// not vanish (Sylvester 1852).
struct dense_figures {
  int64_t positive = 0;
  long double condition = 0;
};
inline dense_figures figures_of(const dense& k) {
  const size_t n = k.size();
  dense a = k; // becomes the inverse
  dense_figures f;
  for (size_t p = 0; p < n; p++) {
    const long double d = a[p][p];
    f.positive += d > 0;
    a[p][p] = 1;
    for (long double& v : a[p]) v /= d;
    for (size_t i = 0; i < n; i++) {
      if (i == p || a[i][p] == 0) continue;
      const long double t = std::exchange(a[i][p], 0.0L);
      for (size_t j = 0; j < n; j++) a[i][j] -= t * a[p][j];
    }
  }
  f.condition = norm(k) * norm(a);
  return f;
}

// Largest |b - K v| over norm(K) norm(v) + norm(b).
inline double relative_residual(const dense& k, const std::vector<double>& v, const std::vector<double>& b) {
  long double worst = 0;
  for (size_t i = 0; i < k.size(); i++) {
    long double r = b[i];
    for (size_t j = 0; j < k.size(); j++) r -= k[i][j] * v[j];
    worst = std::isnan(r) ? INFINITY : std::max(worst, std::fabs(r));
  }
  const long double size = norm(k) * largest(v) + largest(b);
  return worst == 0 ? 0.0 : static_cast<double>(worst / size);
}

} // namespace tvntest
