// Exact linear programming for tiny problems: a two-phase tableau with Bland's rule (1977) in rational arithmetic.
//
// The problem min c'x, blc <= Ax <= buc, blx <= x <= bux is turned into standard form by shifting, reflecting or
// splitting variables and by a slack per finite side. Numbers are fractions of 128-bit integers kept in lowest terms;
// an overflow throws, so a result is exact or there is none.
#pragma once

#include "lpcase.h"

#include <numeric>
#include <stdexcept>

namespace tvntest {

using int128 = __int128;

struct fraction {
  int128 num = 0, den = 1;
  fraction() = default;
  fraction(int64_t n) : num(n) {}
  fraction(int128 n, int128 d) : num(n), den(d) {
    if (den < 0) num = -num, den = -den;
    int128 a = num < 0 ? -num : num, b = den;
    while (b) {
      const int128 r = a % b;
      a = b;
      b = r;
    }
    if (a > 1) num /= a, den /= a;
    constexpr int128 limit = int128(1) << 60;
    if (num > limit || -num > limit || den > limit) throw std::overflow_error("fraction");
  }
  double value() const { return static_cast<double>(num) / static_cast<double>(den); }
  int sign() const { return num > 0 ? 1 : num < 0 ? -1 : 0; }
};
inline fraction operator+(fraction a, fraction b) { return {a.num * b.den + b.num * a.den, a.den * b.den}; }
inline fraction operator-(fraction a, fraction b) { return {a.num * b.den - b.num * a.den, a.den * b.den}; }
inline fraction operator*(fraction a, fraction b) { return {a.num * b.num, a.den * b.den}; }
inline fraction operator/(fraction a, fraction b) { return {a.num * b.den, a.den * b.num}; }
inline bool operator<(fraction a, fraction b) { return (a - b).sign() < 0; }

// x of rows [A | b]; empty for a singular A.
inline std::vector<double> eliminate(std::vector<std::vector<fraction>>& rows) {
  const size_t n = rows.size();
  for (size_t q = 0; q < n; q++) {
    size_t r = q;
    while (r < n && rows[r][q].sign() == 0) r++;
    if (r == n) return {};
    std::swap(rows[r], rows[q]);
    for (size_t k = n + 1; k-- > q;) rows[q][k] = rows[q][k] / rows[q][q];
    for (size_t i = 0; i < n; i++)
      for (size_t k = n + 1; i != q && rows[i][q].sign() != 0 && k-- > q;)
        rows[i][k] = rows[i][k] - rows[i][q] * rows[q][k];
  }
  std::vector<double> x;
  for (const auto& row : rows) x.push_back(row.back().value());
  return x;
}

enum class exact_status { optimal, infeasible, unbounded };
struct exact_result {
  exact_status status;
  double objective;
};

// Rows T x = rhs >= 0 with a basis of unit columns; minimises cost over columns [0, allowed).
class exact_tableau {
public:
  std::vector<std::vector<fraction>> row; // coefficients, right-hand side last
  std::vector<size_t> basis;

  bool minimise(std::vector<fraction>& cost, size_t allowed) { // false: unbounded; cost holds reduced costs, value last
    for (;;) {
      size_t q = 0;
      while (q < allowed && cost[q].sign() >= 0) q++;
      if (q == allowed) return true;
      size_t r = row.size();
      for (size_t i = 0; i < row.size(); i++) {
        if (row[i][q].sign() <= 0) continue;
        if (r == row.size()) {
          r = i;
          continue;
        }
        const fraction diff = row[i].back() / row[i][q] - row[r].back() / row[r][q];
        if (diff.sign() < 0 || (diff.sign() == 0 && basis[i] < basis[r])) r = i;
      }
      if (r == row.size()) return false;
      pivot(r, q, cost);
    }
  }
  void pivot(size_t r, size_t q, std::vector<fraction>& cost) {
    const fraction p = row[r][q];
    for (fraction& v : row[r]) v = v / p;
    for (size_t i = 0; i < row.size(); i++)
      if (i != r) eliminate(row[i], row[r], q);
    eliminate(cost, row[r], q);
    basis[r] = q;
  }

private:
  static void eliminate(std::vector<fraction>& target, const std::vector<fraction>& by, size_t q) {
    const fraction f = target[q];
    if (f.sign() == 0) return;
    for (size_t k = 0; k < target.size(); k++) target[k] = target[k] - f * by[k];
  }
};

inline exact_result solve_exactly(const lp_case& p) {
  const auto exact = [](double v) { return fraction(static_cast<int64_t>(v)); };
  for (size_t i = 0; i < size_t(p.m); i++)
    if (p.blc[i] > p.buc[i]) return {exact_status::infeasible, 0};
  for (size_t j = 0; j < size_t(p.n); j++)
    if (p.blx[j] > p.bux[j]) return {exact_status::infeasible, 0};
  // x_j = shift_j + sum of sign * standard column.
  struct column {
    size_t j;
    int sign;
  };
  std::vector<column> cols;
  std::vector<fraction> shift(size_t(p.n));
  struct line {
    std::vector<fraction> a;
    fraction rhs;
    int sense;
  }; // a x (sense <= 0: <=, 0: =) rhs over cols
  std::vector<line> lines;
  std::vector<std::pair<size_t, fraction>> boxes;
  for (size_t j = 0; j < size_t(p.n); j++) {
    const bool lo = p.blx[j] > -1e30, up = p.bux[j] < 1e30;
    if (lo) {
      shift[j] = exact(p.blx[j]);
      if (up) boxes.push_back({cols.size(), exact(p.bux[j]) - exact(p.blx[j])});
      cols.push_back({j, 1});
    } else if (up) {
      shift[j] = exact(p.bux[j]);
      cols.push_back({j, -1});
    } else {
      cols.push_back({j, 1});
      cols.push_back({j, -1});
    }
  }
  std::vector<std::vector<fraction>> dense(size_t(p.m), std::vector<fraction>(size_t(p.n)));
  for (size_t j = 0; j < size_t(p.n); j++)
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) dense[size_t(p.sub[size_t(e)])][j] = exact(p.val[size_t(e)]);
  for (size_t i = 0; i < size_t(p.m); i++) {
    fraction moved;
    std::vector<fraction> a;
    for (size_t j = 0; j < size_t(p.n); j++) moved = moved + dense[i][j] * shift[j];
    for (const column& k : cols) a.push_back(dense[i][k.j] * fraction(k.sign));
    const bool lo = p.blc[i] > -1e30, up = p.buc[i] < 1e30;
    if (lo && up && p.blc[i] == p.buc[i])
      lines.push_back({a, exact(p.blc[i]) - moved, 0});
    else {
      if (up) lines.push_back({a, exact(p.buc[i]) - moved, -1});
      if (lo) {
        for (fraction& v : a) v = fraction(0) - v;
        lines.push_back({a, moved - exact(p.blc[i]), -1});
      }
    }
  }
  for (const auto& [k, width] : boxes) {
    std::vector<fraction> a(cols.size());
    a[k] = fraction(1);
    lines.push_back({a, width, -1});
  }
  const size_t n = cols.size(), m = lines.size(), total = n + 2 * m;
  exact_tableau t;
  std::vector<fraction> phase1(total + 1), phase2(total + 1);
  for (size_t i = 0; i < m; i++) {
    std::vector<fraction> r(total + 1);
    for (size_t k = 0; k < n; k++) r[k] = lines[i].a[k];
    if (lines[i].sense < 0) r[n + i] = fraction(1);
    r[total] = lines[i].rhs;
    if (r[total].sign() < 0)
      for (fraction& v : r) v = fraction(0) - v;
    r[n + m + i] = fraction(1);
    for (size_t k = 0; k <= total; k++)
      if (k < n + m || k == total) phase1[k] = phase1[k] - r[k];
    t.row.push_back(r);
    t.basis.push_back(n + m + i);
  }
  t.minimise(phase1, n + m);
  if (phase1[total].sign() != 0) return {exact_status::infeasible, 0};
  for (size_t i = 0; i < m; i++) {
    if (t.basis[i] < n + m) continue;
    for (size_t k = 0; k < n + m; k++)
      if (t.row[i][k].sign() != 0) {
        t.pivot(i, k, phase1);
        break;
      }
  }
  fraction constant = exact(p.cfix);
  for (size_t j = 0; j < size_t(p.n); j++) constant = constant + exact(p.c[j]) * shift[j];
  for (size_t k = 0; k < n; k++) phase2[k] = exact(p.c[cols[k].j]) * fraction(cols[k].sign);
  for (size_t i = 0; i < m; i++) {
    const fraction f = phase2[t.basis[i]];
    if (f.sign() == 0) continue;
    for (size_t k = 0; k <= total; k++) phase2[k] = phase2[k] - f * t.row[i][k];
  }
  if (!t.minimise(phase2, n + m)) return {exact_status::unbounded, 0};
  return {exact_status::optimal, (constant - phase2[total]).value()};
}

} // namespace tvntest
