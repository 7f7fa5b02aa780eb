// The basis matrix of a task as a caller sees it, and the products that say whether a solve is right.
#pragma once

#include "tovan.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace tvntest {

// Columns of the basis from the task's A and the head; `slack` is the element of a slack's column.
struct basis_matrix {
  int32_t m = 0;
  double slack = -1;
  std::vector<int32_t> head;
  std::vector<std::vector<int32_t>> sub;
  std::vector<std::vector<double>> val;

  // False: the task refused.
  bool fetch(TVNtask_t task) {
    TVN_getnumcon(task, &m);
    head.assign(size_t(m), -1);
    if (TVN_initbasissolve(task, head.data()) != TVN_RES_OK) return false;
    sub.assign(size_t(m), {});
    val.assign(size_t(m), {});
    for (size_t k = 0; k < size_t(m); k++) {
      if (head[k] < m) {
        sub[k] = {head[k]};
        val[k] = {slack};
        continue;
      }
      int32_t n = 0;
      TVN_getavecnumnz(task, TVN_ACC_VAR, head[k] - m, &n);
      sub[k].resize(size_t(n) + 1);
      val[k].resize(size_t(n) + 1);
      TVN_getavec(task, TVN_ACC_VAR, head[k] - m, &n, sub[k].data(), val[k].data());
      sub[k].resize(size_t(n));
      val[k].resize(size_t(n));
    }
    return true;
  }

  // Largest entry of B x - b by the size of the terms of its row; of B'y - c when transposed.
  double error(bool transposed, const std::vector<double>& x, const std::vector<double>& b) const {
    std::vector<long double> sum(size_t(m), 0), size(size_t(m), 0);
    for (size_t k = 0; k < size_t(m); k++)
      for (size_t p = 0; p < sub[k].size(); p++) {
        const size_t i = size_t(sub[k][p]), to = transposed ? k : i, from = transposed ? i : k;
        sum[to] += static_cast<long double>(val[k][p]) * x[from];
        size[to] += std::fabs(static_cast<long double>(val[k][p]) * x[from]);
      }
    long double worst = 0, largest = 0;
    for (size_t i = 0; i < size_t(m); i++) largest = std::max(largest, size[i] + std::fabs(b[i]));
    for (size_t i = 0; i < size_t(m); i++) {
      const long double e = std::fabs(sum[i] - b[i]);
      if (!(e <= worst)) worst = e;
    }
    return static_cast<double>(largest > 0 ? worst / largest : worst);
  }
};

struct solve_outcome {
  TVNrescodee code;
  std::vector<double> x; // dense
  int32_t numnz;
};

// Solves with a dense right-hand side given as the sparse one that the interface takes, and holds the pattern of the
// result against its values.
inline solve_outcome solve_with_basis(TVNtask_t task, bool transposed, const std::vector<double>& b) {
  solve_outcome o{0, b, 0};
  std::vector<int32_t> sub(b.size() + 1, -7);
  for (size_t k = b.size(); k-- > 0;)
    if (b[k] != 0) sub[size_t(o.numnz++)] = static_cast<int32_t>(k);
  o.code = TVN_solvewithbasis(task, transposed ? 1 : 0, &o.numnz, sub.data(), o.x.data());
  if (o.code != TVN_RES_OK) return o;
  std::vector<int> listed(b.size(), 0);
  for (int32_t p = 0; p < o.numnz; p++) listed[size_t(sub[size_t(p)])]++;
  for (size_t k = 0; k < b.size(); k++) EXPECT_EQ(listed[k], o.x[k] != 0 ? 1 : 0) << "index " << k;
  return o;
}

// A right-hand side with `num` random entries, or a dense one.
inline std::vector<double> random_side(std::mt19937_64& rng, int32_t m, int32_t num) {
  std::uniform_real_distribution<double> unit(-1, 1);
  std::vector<double> b(size_t(m), 0);
  for (int32_t k = 0; k < num; k++) b[num == m ? size_t(k) : size_t(rng() % size_t(m))] = unit(rng);
  return b;
}

// Systems of both kinds with unit, sparse and dense right-hand sides.
inline void expect_solves(TVNtask_t task, const basis_matrix& b, uint64_t seed, double tol) {
  std::mt19937_64 rng(seed);
  for (const bool transposed : {false, true})
    for (const int32_t num : {1, 3, b.m}) {
      const std::vector<double> right = random_side(rng, b.m, std::min(num, b.m));
      const solve_outcome o = solve_with_basis(task, transposed, right);
      ASSERT_EQ(o.code, TVN_RES_OK);
      EXPECT_LE(b.error(transposed, o.x, right), tol) << (transposed ? "transposed, " : "") << num << " entries";
    }
}

} // namespace tvntest
