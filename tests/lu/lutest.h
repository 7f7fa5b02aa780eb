// What the tests of the factor share: random bases, a factor with its work space, and residuals from the matrix itself.
#pragma once

#include "lu/luint.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <vector>

namespace lutest {

using namespace tvn;
using column = std::map<int32_t, double>;

struct matrix {
  int32_t m = 0;
  std::vector<column> cols;
  explicit matrix(int32_t n = 0) : m(n), cols(static_cast<size_t>(n)) {}
  column& operator[](int32_t j) { return cols[static_cast<size_t>(j)]; }
  const column& operator[](int32_t j) const { return cols[static_cast<size_t>(j)]; }
  int64_t nnz() const {
    int64_t n = 0;
    for (const column& c : cols) n += static_cast<int64_t>(c.size());
    return n;
  }
  double norm() const { // largest column sum
    double big = 0;
    for (const column& c : cols) {
      double s = 0;
      for (auto [i, v] : c) s += std::fabs(v);
      big = std::max(big, s);
    }
    return big;
  }
};

struct rng {
  std::mt19937_64 gen;
  explicit rng(uint64_t seed) : gen(seed) {}
  int32_t index(int32_t n) { return static_cast<int32_t>(gen() % static_cast<uint64_t>(n)); }
  double unit() { return static_cast<double>(gen() >> 11) * 0x1p-53; }
  double value() { return (unit() < 0.5 ? -1 : 1) * (0.1 + 2.0 * unit()); }
  std::vector<int32_t> permutation(int32_t n) {
    std::vector<int32_t> p(static_cast<size_t>(n));
    for (int32_t k = 0; k < n; k++) p[static_cast<size_t>(k)] = k;
    for (int32_t k = n - 1; k > 0; k--) std::swap(p[static_cast<size_t>(k)], p[static_cast<size_t>(index(k + 1))]);
    return p;
  }
};

// A basis like those of linear programs: `slack` of the columns are -1 units, `triangular` of the others only reach
// rows of columns before them, the rest form a nucleus with `fill` elements per column. Rows and columns are shuffled.
inline matrix lp_basis(rng& r, int32_t m, double slack, double triangular, double fill) {
  matrix b(m);
  const auto row = r.permutation(m), col = r.permutation(m);
  const auto numslack = static_cast<int32_t>(m * slack), numtri = static_cast<int32_t>(m * (1 - slack) * triangular);
  for (int32_t k = 0; k < m; k++) {
    column& c = b[col[static_cast<size_t>(k)]];
    c[row[static_cast<size_t>(k)]] = k < numslack ? -1.0 : r.value() + (r.unit() < 0.5 ? 1.0 : -1.0) * 0.5;
    if (k < numslack) continue;
    const bool tri = k < numslack + numtri;
    const int32_t n = 1 + r.index(std::max(1, static_cast<int32_t>(2 * fill)));
    for (int32_t t = 0; t < n; t++) {
      const int32_t reach = tri ? k : m;
      if (reach == 0) continue;
      const int32_t i = row[static_cast<size_t>(r.index(reach))];
      if (i != row[static_cast<size_t>(k)]) c[i] = r.value();
    }
  }
  return b;
}

inline std::vector<double> times(const matrix& b, const std::vector<double>& y) {
  std::vector<double> x(static_cast<size_t>(b.m), 0.0);
  for (int32_t j = 0; j < b.m; j++)
    for (auto [i, v] : b[j]) x[static_cast<size_t>(i)] += v * y[static_cast<size_t>(j)];
  return x;
}

inline std::vector<double> times_transposed(const matrix& b, const std::vector<double>& y) {
  std::vector<double> x(static_cast<size_t>(b.m), 0.0);
  for (int32_t j = 0; j < b.m; j++)
    for (auto [i, v] : b[j]) x[static_cast<size_t>(j)] += v * y[static_cast<size_t>(i)];
  return x;
}

inline double largest(const std::vector<double>& x) {
  double big = 0;
  for (double v : x) big = std::max(big, std::fabs(v));
  return big;
}

// Relative residual of B y = x (or B'y = x).
inline double residual(const matrix& b, const std::vector<double>& y, const std::vector<double>& x, bool transposed) {
  std::vector<double> r = transposed ? times_transposed(b, y) : times(b, y);
  for (size_t k = 0; k < r.size(); k++) r[k] -= x[k];
  return largest(r) / std::max(1e-300, b.norm() * largest(y) + largest(x));
}

// A factor with its own environment; debug level 1 makes the environment find leaks and stray writes.
struct factor {
  sysenv* sys;
  lu f;
  std::vector<int32_t> iwork;
  std::vector<double> rwork;
  const matrix* source = nullptr;

  explicit factor(int32_t m, int64_t wsze) : sys(TVN_sysenv_make(1, nullptr, nullptr, nullptr)) {
    TVN_lu_make(*sys, m, m, f);
    TVN_lu_newwszedbg(f, wsze);
    int64_t isize = 0, rsize = 0;
    TVN_lu_getfactorspace(m, m, isize, rsize);
    iwork.resize(static_cast<size_t>(isize));
    rwork.resize(static_cast<size_t>(rsize));
    TVN_lu_putgeta(f, this, getcol);
  }
  factor(const factor&) = delete;
  factor& operator=(const factor&) = delete;
  ~factor() {
    TVN_lu_delete(f);
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
  static bool getcol(void* handle, int64_t space, int32_t j, int32_t& count, int32_t* sub, double* val) {
    const column& c = (*static_cast<factor*>(handle)->source)[j];
    if (space < static_cast<int64_t>(c.size())) return false;
    count = 0;
    for (auto [i, v] : c) {
      sub[count] = i;
      val[count++] = v;
    }
    return true;
  }
  lu_code run(const matrix& b) {
    source = &b;
    TVN_lu_init(f);
    const lu_code code = TVN_lu_factor(f, iwork, rwork);
    EXPECT_EQ(TVN_lu_check(f), nullptr);
    return code;
  }
  // Enlarges the storage as proposed until it suffices.
  lu_code run_growing(const matrix& b) {
    lu_code code = run(b);
    while (code == lu_code::no_storage || code == lu_code::column_refused) {
      TVN_lu_newwszedbg(f, TVN_lu_getwszeproposal(f));
      code = run(b);
    }
    return code;
  }

  std::vector<double> dense(std::vector<double> x, bool transposed) {
    std::vector<double> y(x.size(), -7.0);
    if (transposed)
      TVN_lu_btran(f, x, y);
    else
      TVN_lu_ftran(f, x, y);
    return y;
  }
};

inline void put(spvec& x, const column& c) {
  for (auto [i, v] : c) x.push(i, v);
}

// The list holds every nonzero once and nothing else is set; marks are clean.
inline void expect_sound(const spvec& x) {
  std::vector<int> seen(static_cast<size_t>(x.dim()), 0);
  for (int32_t k = 0; k < x.count; k++) {
    ASSERT_GE(x.idx[k], 0);
    ASSERT_LT(x.idx[k], x.dim());
    ASSERT_EQ(seen[static_cast<size_t>(x.idx[k])]++, 0) << "listed twice: " << x.idx[k];
  }
  for (int32_t i = 0; i < x.dim(); i++) {
    ASSERT_TRUE(seen[static_cast<size_t>(i)] != 0 || x.val[i] == 0.0) << "not listed: " << i;
    ASSERT_EQ(x.mark[i], 0);
  }
}

inline std::vector<double> values(const spvec& x) { return {x.val.begin(), x.val.end()}; }

inline std::vector<double> unfold(const column& c, int32_t m) {
  std::vector<double> x(static_cast<size_t>(m), 0.0);
  for (auto [i, v] : c) x[static_cast<size_t>(i)] = v;
  return x;
}

// Sparse forward solve of one column; the spike is left in `spike`.
inline std::vector<double> ftran_sparse(factor& t, const column& c, spvec* keep = nullptr) {
  spvec x(*t.sys, t.f.nrow), y(*t.sys, t.f.nrow);
  put(x, c);
  TVN_lu_ftranl(t.f, x);
  expect_sound(x);
  if (keep) keep->copy(x);
  TVN_lu_ftranus(t.f, x, y, 0.0, 0.0);
  expect_sound(y);
  EXPECT_EQ(x.count, 0);
  EXPECT_EQ(largest(values(x)), 0.0);
  EXPECT_EQ(TVN_lu_check(t.f), nullptr);
  return values(y);
}

inline std::vector<double> btran_sparse(factor& t, const column& c) {
  spvec x(*t.sys, t.f.nrow), y(*t.sys, t.f.nrow);
  put(x, c);
  TVN_lu_btrans(t.f, x, y, 0.0, 0.0);
  expect_sound(y);
  EXPECT_EQ(x.count, 0);
  EXPECT_EQ(largest(values(x)), 0.0);
  EXPECT_EQ(TVN_lu_check(t.f), nullptr);
  return values(y);
}

// All four kinds of solve with sparse and dense right-hand sides against the matrix.
inline void expect_solves(factor& t, const matrix& b, rng& r, double tol) {
  if (b.m == 0) return;
  for (int32_t trial = 0; trial < 4; trial++) {
    column c;
    const int32_t n = trial == 3 ? b.m : 1 + r.index(3);
    for (int32_t k = 0; k < n; k++) c[r.index(b.m)] = r.value();
    const std::vector<double> x = unfold(c, b.m);
    for (const bool transposed : {false, true}) {
      const std::vector<double> dense = t.dense(x, transposed);
      const std::vector<double> sparse = transposed ? btran_sparse(t, c) : ftran_sparse(t, c);
      ASSERT_LE(residual(b, dense, x, transposed), tol) << (transposed ? "btran" : "ftran") << " dense, m " << b.m;
      ASSERT_LE(residual(b, sparse, x, transposed), tol) << (transposed ? "btran" : "ftran") << " sparse, m " << b.m;
    }
  }
}

} // namespace lutest
