// Corrections combined to the least residual: flexible generalized minimal residuals (Saad and Schultz 1986; Saad
// 1993) with the factor as preconditioner on the right.
//
// A factor that differs from the matrix by a change of rank k is made up for in k + 1 directions, whatever the size of
// the change. Residuals are weighed by the largest terms of their part, as where they are judged. Cost of a direction:
// a solve, a product with the matrix, and its place in an orthogonal basis.
#include "kfac/kktint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t maxdir = kkt_directions;

struct least_squares { // upper triangle R by rotations, right side g
  double r[maxdir + 1][maxdir] = {}, cosine[maxdir] = {}, sine[maxdir] = {}, g[maxdir + 1] = {};
};

// Column c has been filled down to row c + 1.
void rotate(least_squares& l, int32_t c) noexcept {
  for (int32_t i = 0; i < c; i++) {
    const double a = l.r[i][c], b = l.r[i + 1][c];
    l.r[i][c] = l.cosine[i] * a + l.sine[i] * b;
    l.r[i + 1][c] = l.cosine[i] * b - l.sine[i] * a;
  }
  const double size = std::hypot(l.r[c][c], l.r[c + 1][c]);
  l.cosine[c] = size > 0 ? l.r[c][c] / size : 1.0;
  l.sine[c] = size > 0 ? l.r[c + 1][c] / size : 0.0;
  l.r[c][c] = size;
  l.g[c + 1] = -l.sine[c] * l.g[c];
  l.g[c] *= l.cosine[c];
}

// Coefficients of the first num directions, over g.
void back_substitute(least_squares& l, int32_t num) noexcept {
  for (int32_t i = num - 1; i >= 0; i--) {
    for (int32_t c = i + 1; c < num; c++) l.g[i] -= l.r[i][c] * l.g[c];
    l.g[i] = l.r[i][i] > 0 ? l.g[i] / l.r[i][i] : 0.0;
  }
}

struct weights {
  int64_t split, all;
  double part[2];
  double of(int64_t i) const noexcept { return part[i >= split]; }
};

double dot(const double* __restrict a, const double* __restrict b, int64_t n) noexcept {
  double even = 0, odd = 0;
  int64_t i = 0;
  for (; i + 1 < n; i += 2) {
    even += a[i] * b[i];
    odd += a[i + 1] * b[i + 1];
  }
  return even + odd + (i < n ? a[i] * b[i] : 0.0);
}

// w less its parts along the basis, which go to column c; false when nothing is left or not a number.
bool orthogonalise(const double* basis, int64_t n, int32_t c, double* w, least_squares& l) noexcept {
  for (int pass = 0; pass < 2; pass++)
    for (int32_t i = 0; i <= c; i++) {
      const double* const v = basis + i * n;
      const double t = dot(v, w, n);
      l.r[i][c] += t;
      for (int64_t q = 0; q < n; q++) w[q] -= t * v[q];
    }
  l.r[c + 1][c] = std::sqrt(dot(w, w, n));
  return std::isfinite(l.r[c + 1][c]);
}

} // namespace

void kktfac_combine(kktfac& k, kkt_target target, const kkt_vectors& use, kkt_residual& at) noexcept {
  weights w{k.numcol, int64_t{k.numcol} + k.numrow, {1, 1}};
  for (int part = 0; part < 2; part++)
    if (at.term[part] > 0) w.part[part] = 1 / at.term[part];
  const int64_t n = w.all;
  double *const basis = k.work.basis.data(), *const z = k.work.direction.data(), *const v = use.solution,
                *const r = use.remainder, *const best = use.best;
  const double* const t = use.correction;
  for (int64_t i = 0; i < n; i++) basis[i] = r[i] * w.of(i);
  least_squares l;
  const double size = l.g[0] = std::sqrt(dot(basis, basis, n));
  if (!(size > 0) || !std::isfinite(size)) return;
  for (int64_t i = 0; i < n; i++) basis[i] /= size;
  int32_t num = 0;
  while (num < maxdir) {
    double *const from = basis + num * n, *const to = from + n;
    for (int64_t i = 0; i < n; i++) use.correction[i] = from[i] / w.of(i);
    double* const direction = z + num * n;
    if (kktfac_goeson(k)) kktfac_apply(k, 1, &t, &direction);
    if (!kktfac_goeson(k)) return;
    kktfac_residual(k, target, nullptr, direction, to);
    if (!kktfac_goeson(k)) return;
    for (int64_t i = 0; i < n; i++) to[i] *= -w.of(i);
    if (!orthogonalise(basis, n, num, to, l)) break;
    const double length = l.r[num + 1][num];
    rotate(l, num++);
    k.info.numrefine++;
    if (!(length > 0) || std::fabs(l.g[num]) <= 0.01 * k.params.tolkrylov) break;
    for (int64_t i = 0; i < n; i++) to[i] /= length;
  }
  back_substitute(l, num);
  std::copy_n(v, n, best);
  for (int32_t c = 0; c < num; c++)
    for (int64_t i = 0; i < n; i++) v[i] += l.g[c] * z[c * n + i];
  const kkt_residual now = kktfac_residual(k, target, use.rhs, v, r);
  if (!(now.worst < at.worst)) std::copy_n(best, n, v);
  at = now.worst < at.worst ? now : kktfac_residual(k, target, use.rhs, v, r);
}

} // namespace tvn
