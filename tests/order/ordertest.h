// Random graphs, and what elimination does to them, told the slow way.
#pragma once

#include "order/sorder.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace ordertest {

using namespace tvn;

struct graph {
  int32_t n = 0;
  std::vector<std::vector<int32_t>> adj; // each edge at one end or both

  explicit graph(int32_t num) : n(num), adj(static_cast<size_t>(num)) {}
  void edge(int32_t i, int32_t j) { adj[static_cast<size_t>(i)].push_back(j); }
  void clique(const std::vector<int32_t>& nodes) {
    for (size_t a = 0; a < nodes.size(); a++)
      for (size_t b = 0; b < a; b++) edge(nodes[a], nodes[b]);
  }
  std::vector<std::set<int32_t>> both_ends() const {
    std::vector<std::set<int32_t>> s(adj.size());
    for (int32_t i = 0; i < n; i++)
      for (const int32_t j : adj[static_cast<size_t>(i)])
        if (j != i) s[static_cast<size_t>(i)].insert(j), s[static_cast<size_t>(j)].insert(i);
    return s;
  }
};

// Arrays with gaps between the lists.
struct arrays {
  std::vector<int64_t> beg, end;
  std::vector<int32_t> sub;
  explicit arrays(const std::vector<std::vector<int32_t>>& lists) {
    for (const auto& l : lists) {
      sub.push_back(-7);
      beg.push_back(static_cast<int64_t>(sub.size()));
      sub.insert(sub.end(), l.begin(), l.end());
      end.push_back(static_cast<int64_t>(sub.size()));
    }
  }
  sorder_graph view() const { return {static_cast<int32_t>(beg.size()), beg.data(), end.data(), sub.data()}; }
};

struct elimination {
  std::vector<int64_t> count;
  std::vector<int32_t> parent;
  sorder_figures figures;
};

inline elimination eliminate(const graph& g, const std::vector<int32_t>& perm) {
  std::vector<int32_t> pos(perm.size());
  for (size_t k = 0; k < perm.size(); k++) pos[static_cast<size_t>(perm[k])] = static_cast<int32_t>(k);
  std::vector<std::set<int32_t>> up(perm.size()); // later neighbours, by position
  const auto adj = g.both_ends();
  for (size_t i = 0; i < perm.size(); i++)
    for (const int32_t j : adj[i])
      if (pos[static_cast<size_t>(j)] > pos[i]) up[static_cast<size_t>(pos[i])].insert(pos[static_cast<size_t>(j)]);
  elimination e;
  for (auto& s : up) {
    const auto c = static_cast<int64_t>(s.size()) + 1;
    e.count.push_back(c);
    e.figures.nnz += c;
    e.figures.flops += static_cast<double>(c) * static_cast<double>(c);
    e.parent.push_back(s.empty() ? -1 : *s.begin());
    if (!s.empty()) up[static_cast<size_t>(*s.begin())].insert(std::next(s.begin()), s.end());
  }
  return e;
}

// Shapes that differ: sparse and dense, pieces, cliques, paths, stars, twins, repeated and self edges.
inline graph random_graph(std::mt19937_64& rng, int32_t maxn) {
  const auto pick = [&](int32_t k) { return static_cast<int32_t>(rng() % static_cast<uint64_t>(k)); };
  graph g(pick(maxn + 1));
  if (g.n == 0) return g;
  const int32_t numedge = pick(1 + g.n * (1 + pick(4)));
  for (int32_t k = 0; k < numedge; k++) g.edge(pick(g.n), pick(g.n));
  for (int32_t k = pick(4); k > 0; k--) {
    std::vector<int32_t> nodes;
    for (int32_t t = pick(std::min(g.n, 12)); t > 0; t--) nodes.push_back(pick(g.n));
    g.clique(nodes);
  }
  if (pick(4) == 0)
    for (int32_t i = 1; i < g.n; i++) g.edge(i, i - 1);
  if (pick(4) == 0)
    for (int32_t i = 0, hub = pick(g.n); i < g.n; i++)
      if (pick(3) > 0) g.edge(hub, i);
  if (pick(4) == 0 && g.n > 2) { // one more node with the neighbours of another
    const auto adj = g.both_ends();
    const int32_t a = pick(g.n), b = pick(g.n);
    for (const int32_t j : adj[static_cast<size_t>(a)]) g.edge(b, j);
    g.edge(a, b);
  }
  return g;
}

// A grid of nx * ny * nz points; neighbours at distance 1 in one direction (or in any with `box`).
inline graph grid(int32_t nx, int32_t ny, int32_t nz, bool box = false) {
  graph g(nx * ny * nz);
  const auto at = [&](int32_t x, int32_t y, int32_t z) { return x + nx * (y + ny * z); };
  for (int32_t z = 0; z < nz; z++)
    for (int32_t y = 0; y < ny; y++)
      for (int32_t x = 0; x < nx; x++)
        for (int32_t d = 1; d < 8; d++) {
          if (!box && d != 1 && d != 2 && d != 4) continue;
          const int32_t u = x + (d & 1), v = y + (d >> 1 & 1), w = z + (d >> 2);
          if (u < nx && v < ny && w < nz) g.edge(at(x, y, z), at(u, v, w));
        }
  return g;
}

inline std::vector<int32_t> random_permutation(std::mt19937_64& rng, int32_t n) {
  std::vector<int32_t> p(static_cast<size_t>(n));
  std::iota(p.begin(), p.end(), 0);
  std::shuffle(p.begin(), p.end(), rng);
  return p;
}

inline bool is_permutation(std::vector<int32_t> p) {
  std::sort(p.begin(), p.end());
  for (size_t k = 0; k < p.size(); k++)
    if (p[k] != static_cast<int32_t>(k)) return false;
  return true;
}

inline uint64_t num_seeds(uint64_t usual) {
  const char* s = std::getenv("TOVAN_SEEDS");
  return s ? std::strtoull(s, nullptr, 10) : usual;
}

struct Order : testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "leak"; }
};

} // namespace ordertest
