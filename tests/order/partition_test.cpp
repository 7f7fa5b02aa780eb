// If this failed in the field: a separator that does not separate, or an order that is worse than fill alone, or
// another one on each run.
#include "order/partition.h"
#include "ordertest.h"

using namespace ordertest;

namespace {

struct Partition : Order {
  const sorder_progress silent{};
  sorder_watch watch{silent};

  void make(const graph& g, sgraph& to) { ASSERT_TRUE(make_graph(*sys, arrays(g.adj).view(), watch, to)); }
  gp_sorder_stats order(const graph& g, sorder_method method, std::vector<int32_t>& perm,
                        const gp_sorder_params& params = {}) {
    gp_sorder_stats stats;
    const arrays a(g.adj);
    std::vector<int32_t> out(static_cast<size_t>(g.n), -1), inv(out);
    EXPECT_EQ(TVN_sorder_bymethod(*sys, method, a.view(), nullptr, params, {}, out.data(), inv.data(), stats),
              sorder_code::ok);
    EXPECT_TRUE(is_permutation(out));
    for (size_t k = 0; k < out.size(); k++) EXPECT_EQ(inv[static_cast<size_t>(out[k])], static_cast<int32_t>(k));
    perm = out;
    return stats;
  }
};

void expect_separator(const sgraph& g, const bisection& b) {
  int64_t weight[3] = {0, 0, 0};
  for (int32_t i = 0; i < g.n; i++) {
    ASSERT_GE(b.where[i], 0);
    ASSERT_LE(b.where[i], 2);
    weight[b.where[i]] += g.node_weight(i);
    for (int64_t p = g.beg[i]; p < g.beg[i + 1]; p++)
      ASSERT_TRUE(b.where[i] == side_s || b.where[g.sub[p]] == side_s || b.where[i] == b.where[g.sub[p]])
          << i << " and " << g.sub[p];
  }
  for (int32_t k = 0; k < 3; k++) EXPECT_EQ(weight[k], b.weight[k]);
}

} // namespace

TEST_F(Partition, SeparatorsSeparateAndWeighWhatTheySay) {
  for (uint64_t seed = 1; seed <= num_seeds(300); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const graph g = random_graph(rng, seed % 10 == 0 ? 3000 : 200);
    if (g.n < 2) continue;
    sgraph s;
    make(g, s);
    s.nodew.reset(*sys, g.n);
    s.weight = 0;
    for (int32_t& w : s.nodew) s.weight += w = static_cast<int32_t>(1 + rng() % (seed % 3 == 0 ? 9 : 1));
    partition_space space(*sys, g.n);
    bisection b;
    partition_weights w;
    w.smooth = seed % 2 != 0;
    ASSERT_TRUE(bisect_graph(s, w, watch, space, b));
    expect_separator(s, b);
    for (const auto& pos : space.heappos) EXPECT_EQ(std::count(pos.begin(), pos.end(), -1), g.n) << "heap left dirty";
  }
}

namespace {

// Is there a path between nodes outside of `wide` on both sides that avoids `cut`?
bool joins_sides(const sgraph& g, const bisection& b, uint32_t wide, uint32_t cut) {
  uint32_t seen = 0;
  for (int32_t v = 0; v < g.n; v++)
    if (b.where[v] == side_a && !(wide >> v & 1)) seen |= 1u << v;
  for (uint32_t last = 0; last != seen;) {
    last = seen;
    for (int32_t v = 0; v < g.n; v++)
      if (seen >> v & 1)
        for (int64_t p = g.beg[v]; p < g.beg[v + 1]; p++) seen |= 1u << g.sub[p] & ~cut;
  }
  for (int32_t v = 0; v < g.n; v++)
    if (b.where[v] == side_b && !(wide >> v & 1) && seen >> v & 1) return true;
  return false;
}

} // namespace

// Where imbalance has no price nothing lighter is left among the separator and its neighbours on either side.
TEST_F(Partition, SmoothsToALightestSeparator) {
  int32_t numbetter = 0;
  for (uint64_t seed = 1; seed <= num_seeds(600); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const graph g = random_graph(rng, 14);
    sgraph s;
    make(g, s);
    s.nodew.reset(*sys, g.n);
    s.weight = 0;
    for (int32_t& w : s.nodew) s.weight += w = static_cast<int32_t>(1 + rng() % 5);
    bisection b{{*sys, g.n}};
    for (int8_t& w : b.where) w = static_cast<int8_t>(rng() % 2);
    for (int32_t v = 0; v < g.n; v++)
      for (int64_t p = s.beg[v]; p < s.beg[v + 1]; p++)
        if (b.where[v] == side_a && b.where[s.sub[p]] == side_b) b.where[v] = side_s;
    for (int32_t v = 0; v < g.n; v++) b.weight[b.where[v]] += s.nodew[v];
    if (b.weight[side_a] == 0 || b.weight[side_b] == 0) continue;
    const int64_t before = b.weight[side_s];
    partition_space space(*sys, g.n);
    bool better = false;
    ASSERT_TRUE(smooth_separator(s, {0.0, 0.0}, watch, space, b, better));
    expect_separator(s, b);
    numbetter += better;
    EXPECT_EQ(better, std::max<int64_t>(b.weight[side_s], 1) < before);
    for (const int8_t from : {int8_t{side_a}, int8_t{side_b}}) {
      uint32_t wide = 0;
      for (int32_t v = 0; v < g.n; v++) {
        if (b.where[v] == side_s) wide |= 1u << v;
        for (int64_t p = s.beg[v]; p < s.beg[v + 1]; p++)
          if (b.where[v] == from && b.where[s.sub[p]] == side_s) wide |= 1u << v;
      }
      bool outside = false;
      for (int32_t v = 0; v < g.n; v++) outside |= b.where[v] == from && !(wide >> v & 1);
      for (uint32_t cut = wide; outside && cut > 0; cut = (cut - 1) & wide) {
        int64_t weight = 0;
        for (int32_t v = 0; v < g.n; v++) weight += cut >> v & 1 ? s.nodew[v] : 0;
        EXPECT_TRUE(weight >= b.weight[side_s] || joins_sides(s, b, wide, cut)) << cut;
      }
    }
  }
  EXPECT_GE(numbetter, 50);
}

TEST_F(Partition, CutsGridsAndPiecesWhereAPersonWould) {
  const auto separator = [&](const graph& g) {
    sgraph s;
    make(g, s);
    partition_space space(*sys, g.n);
    bisection b;
    EXPECT_TRUE(bisect_graph(s, {}, watch, space, b));
    EXPECT_GE(10 * std::min(b.weight[0], b.weight[1]), 2 * std::max(b.weight[0], b.weight[1]));
    return b.weight[side_s];
  };
  EXPECT_EQ(separator(grid(400, 10, 1)), 10);
  EXPECT_LE(separator(grid(80, 80, 1)), 88);
  EXPECT_LE(separator(grid(16, 16, 16)), 290);
  graph pieces(4000); // two meshes without a bond
  for (int32_t i = 0; i < 4000; i++)
    for (const int32_t d : {1, 50})
      if (i / 2000 == (i + d) / 2000 && i + d < 4000) pieces.edge(i, i + d);
  EXPECT_LE(separator(pieces), 8);
  graph star(2000);
  for (int32_t i = 1; i < star.n; i++) star.edge(i, 0);
  EXPECT_EQ(separator(star), 1);
}

TEST_F(Partition, KeepsTheBetterOrderByTrueCounts) {
  std::vector<int32_t> perm, again;
  for (uint64_t seed = 1; seed <= 12; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const graph g = seed % 2 ? grid(7 + static_cast<int32_t>(seed), 8, 8) : random_graph(rng, 400);
    const gp_sorder_stats free = order(g, sorder_method::free, perm);
    const elimination e = eliminate(g, perm);
    EXPECT_EQ(free.best.nnz, e.figures.nnz);
    EXPECT_EQ(free.best.flops, e.figures.flops);
    EXPECT_LE(free.best.flops, free.fill.flops);
    order(g, sorder_method::free, again);
    EXPECT_EQ(perm, again);
    const auto worse = random_permutation(rng, g.n);
    gp_sorder_params params;
    params.incumbent = worse.data();
    EXPECT_LE(order(g, sorder_method::graphpar2, again, params).best.flops, eliminate(g, worse).figures.flops);
    params.incumbent = perm.data();
    EXPECT_LE(order(g, sorder_method::free, again, params).best.flops, free.best.flops);
  }
  const gp_sorder_stats cube = order(grid(20, 20, 20), sorder_method::graphpar1, perm);
  EXPECT_TRUE(cube.partitioned);
  EXPECT_LT(cube.best.flops, 0.9 * cube.fill.flops);
}

TEST_F(Partition, EachMethodOrdersAndNoneAndEdgelessStayAsTheyAre) {
  std::vector<int32_t> perm, identity(64);
  std::iota(identity.begin(), identity.end(), 0);
  const graph g = grid(8, 8, 1);
  for (int32_t m = 0; m <= 5; m++) {
    const auto stats = order(g, static_cast<sorder_method>(m), perm);
    EXPECT_EQ(stats.best.nnz, eliminate(g, perm).figures.nnz) << m;
    EXPECT_EQ(perm == identity, m == 5) << m;
    EXPECT_EQ(order(graph(64), static_cast<sorder_method>(m), perm).best.nnz, 64) << m;
    EXPECT_EQ(perm, identity) << m;
    EXPECT_EQ(order(graph(0), static_cast<sorder_method>(m), perm).best.nnz, 0) << m;
  }
}
