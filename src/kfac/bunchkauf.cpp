// See bunchkauf.h. Interchanges are applied to the rest of the matrix alone and repeated in the solves, so that no
// finished column of L moves.
#include "kfac/bunchkauf.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr double alpha = 0.6403882032022076; // (1 + sqrt(17)) / 8: least bound of growth over both orders of blocks

struct matrix {
  int64_t n;
  double* a;
  int64_t lda;
  double& at(int64_t i, int64_t j) const noexcept { return a[i + j * lda]; }
};

// Row in (from, n) with the largest element of column j.
int64_t largest_below(const matrix& m, int64_t j, int64_t from) noexcept {
  int64_t r = from;
  for (int64_t i = from + 1; i < m.n; i++)
    if (std::fabs(m.at(i, j)) > std::fabs(m.at(r, j))) r = i;
  return r;
}

// Largest element of row and column r of the rest from k on, its diagonal apart.
double largest_of(const matrix& m, int64_t k, int64_t r) noexcept {
  double most = 0;
  for (int64_t j = k; j < r; j++) most = std::max(most, std::fabs(m.at(r, j)));
  for (int64_t i = r + 1; i < m.n; i++) most = std::max(most, std::fabs(m.at(i, r)));
  return most;
}

// Rows and columns p < r of the rest, whose first column is `first`.
void interchange(const matrix& m, int64_t first, int64_t p, int64_t r) noexcept {
  if (p == r) return;
  for (int64_t j = first; j < p; j++) std::swap(m.at(p, j), m.at(r, j));
  for (int64_t i = p + 1; i < r; i++) std::swap(m.at(i, p), m.at(r, i));
  for (int64_t i = r + 1; i < m.n; i++) std::swap(m.at(i, p), m.at(i, r));
  std::swap(m.at(p, p), m.at(r, r));
}

struct choice {
  int64_t order, row; // of the block; what is interchanged with its last row
};

choice choose_pivot(const matrix& m, int64_t k, double toldrop) noexcept {
  const double diag = std::fabs(m.at(k, k));
  if (k + 1 == m.n) return {diag <= toldrop ? 0 : 1, k};
  const int64_t r = largest_below(m, k, k + 1);
  const double lambda = std::fabs(m.at(r, k));
  if (std::max(diag, lambda) <= toldrop) return {0, k};
  if (diag >= alpha * lambda) return {1, k};
  const double sigma = largest_of(m, k, r);
  if (diag * sigma >= alpha * lambda * lambda) return {1, k};
  if (std::fabs(m.at(r, r)) >= alpha * sigma) return {1, r};
  return {2, r};
}

void eliminate_one(const matrix& m, int64_t k) noexcept {
  const double d = m.at(k, k);
  for (int64_t j = k + 1; j < m.n; j++) {
    const double t = m.at(j, k) / d;
    if (t == 0) continue;
    double* __restrict const y = &m.at(0, j);
    const double* __restrict const l = &m.at(0, k);
    for (int64_t i = j; i < m.n; i++) y[i] -= l[i] * t;
  }
  for (int64_t i = k + 1; i < m.n; i++) m.at(i, k) /= d;
}

struct block2 {
  double d11, d21, d22; // over d21 the diagonal: no product can overflow
};

block2 block_at(const matrix& m, int64_t k) noexcept {
  const double d21 = m.at(k + 1, k);
  return {m.at(k, k) / d21, d21, m.at(k + 1, k + 1) / d21};
}

void solve_block(const block2& b, double& x, double& y) noexcept {
  const double det = b.d11 * b.d22 - 1, u = x / b.d21, v = y / b.d21;
  x = (b.d22 * u - v) / det;
  y = (b.d11 * v - u) / det;
}

void eliminate_two(const matrix& m, int64_t k) noexcept {
  const block2 b = block_at(m, k);
  for (int64_t j = k + 2; j < m.n; j++) {
    double u = m.at(j, k), v = m.at(j, k + 1);
    solve_block(b, u, v);
    for (int64_t i = j; i < m.n; i++) m.at(i, j) -= m.at(i, k) * u + m.at(i, k + 1) * v;
    m.at(j, k) = u;
    m.at(j, k + 1) = v;
  }
}

void count(double d, bunchkauf_inertia& inertia) noexcept { (d > 0 ? inertia.positive : inertia.negative)++; }

} // namespace

bool TVN_bunchkauf_factor(int64_t n, double* a, int64_t lda, double toldrop, const bunchkauf_hook& hook, int32_t* piv,
                          bunchkauf_inertia& inertia) noexcept {
  const matrix m{n, a, lda};
  constexpr double flopsperask = 1e7;
  double done = 0;
  inertia = {};
  for (int64_t k = 0; k < n;) {
    const choice c = choose_pivot(m, k, toldrop);
    const auto rest = static_cast<double>(n - k);
    done += rest * rest;
    if (hook.goeson && done > flopsperask) {
      done = 0;
      if (!hook.goeson(hook.handle)) return false;
    }
    if (c.order == 0) {
      for (int64_t i = k; i < n; i++) m.at(i, k) = 0;
      inertia.dropped++;
      piv[k++] = -1;
    } else if (c.order == 1) {
      interchange(m, k, k, c.row);
      count(m.at(k, k), inertia);
      eliminate_one(m, k);
      piv[k++] = static_cast<int32_t>(c.row);
    } else {
      interchange(m, k, k + 1, c.row);
      inertia.positive++; // the determinant of such a block is negative
      inertia.negative++;
      eliminate_two(m, k);
      piv[k] = piv[k + 1] = static_cast<int32_t>(-2 - c.row);
      k += 2;
    }
  }
  return true;
}

void TVN_bunchkauf_solve(int64_t n, const double* a, int64_t lda, const int32_t* piv, double* x) noexcept {
  const auto at = [&](int64_t i, int64_t j) { return a[i + j * lda]; };
  const matrix m{n, const_cast<double*>(a), lda}; // read only
  for (int64_t k = 0; k < n;) {
    if (piv[k] == -1) {
      x[k++] = 0;
    } else if (piv[k] >= 0) {
      std::swap(x[k], x[piv[k]]);
      for (int64_t i = k + 1; i < n; i++) x[i] -= at(i, k) * x[k];
      x[k] /= at(k, k);
      k++;
    } else {
      std::swap(x[k + 1], x[-2 - piv[k]]);
      for (int64_t i = k + 2; i < n; i++) x[i] -= at(i, k) * x[k] + at(i, k + 1) * x[k + 1];
      solve_block(block_at(m, k), x[k], x[k + 1]);
      k += 2;
    }
  }
  for (int64_t k = n - 1; k >= 0;) {
    if (piv[k] == -1) {
      k--;
    } else if (piv[k] >= 0) {
      for (int64_t i = k + 1; i < n; i++) x[k] -= at(i, k) * x[i];
      std::swap(x[k], x[piv[k]]);
      k--;
    } else {
      for (int64_t i = k + 1; i < n; i++) {
        x[k] -= at(i, k) * x[i];
        x[k - 1] -= at(i, k - 1) * x[i];
      }
      std::swap(x[k], x[-2 - piv[k]]);
      k -= 2;
    }
  }
}

} // namespace tvn
