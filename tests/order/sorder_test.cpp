// If this failed in the field: a permutation that is none would corrupt the factor, a bad one would cost hours, and an
// order that cannot be stopped would look like a program that hangs.
#include "ordertest.h"

using namespace ordertest;

namespace {

struct result {
  std::vector<int32_t> perm;
  sorder_figures figures;
};

struct OrderByFill : Order {
  template <class F> result run(const graph& g, F fn) {
    const arrays a(g.adj);
    result r;
    r.perm.assign(static_cast<size_t>(g.n), -1);
    EXPECT_EQ(fn(a.view(), r), sorder_code::ok);
    EXPECT_TRUE(is_permutation(r.perm));
    return r;
  }
  result fill(const graph& g) {
    return run(g, [&](const sorder_graph& v, result& r) {
      return TVN_amf_sorder(*sys, v, nullptr, {}, r.perm.data(), r.figures);
    });
  }
};

// The least factor over all orders, by trying them.
int64_t least_nnz(const graph& g) {
  std::vector<int32_t> p(static_cast<size_t>(g.n));
  std::iota(p.begin(), p.end(), 0);
  int64_t best = int64_t{g.n} * g.n;
  do best = std::min(best, eliminate(g, p).figures.nnz);
  while (std::next_permutation(p.begin(), p.end()));
  return best;
}

} // namespace

TEST_F(OrderByFill, GivesPermutationsWithTheFiguresOfASlowElimination) {
  for (uint64_t seed = 1; seed <= num_seeds(2000); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const graph g = random_graph(rng, 60);
    const result r = fill(g);
    const elimination e = eliminate(g, r.perm);
    EXPECT_EQ(r.figures.nnz, e.figures.nnz);
    EXPECT_EQ(r.figures.flops, e.figures.flops);
    EXPECT_EQ(fill(g).perm, r.perm);

    std::vector<int32_t> pri(static_cast<size_t>(g.n));
    for (int32_t& p : pri) p = static_cast<int32_t>(rng() % 4) - 1;
    const result q = run(g, [&](const sorder_graph& v, result& out) {
      return TVN_amf_sorder_pri(*sys, v, nullptr, pri.data(), {}, out.perm.data(), out.figures);
    });
    EXPECT_EQ(q.figures.nnz, eliminate(g, q.perm).figures.nnz);
    for (size_t k = 1; k < q.perm.size(); k++)
      ASSERT_LE(pri[static_cast<size_t>(q.perm[k - 1])], pri[static_cast<size_t>(q.perm[k])]);
    const result m = run(g, [&](const sorder_graph& v, result& out) {
      return TVN_symord_minlocf(*sys, v, {}, out.perm.data(), out.figures);
    });
    EXPECT_EQ(m.figures.nnz, eliminate(g, m.perm).figures.nnz);
  }
}

TEST_F(OrderByFill, IsNearTheLeastFillOnSmallGraphsAndMakesNoneOnTrees) {
  int64_t sum = 0, least = 0;
  for (uint64_t seed = 1; seed <= 60; seed++) {
    std::mt19937_64 rng(seed);
    const graph g = random_graph(rng, 7);
    sum += fill(g).figures.nnz;
    least += least_nnz(g);
  }
  EXPECT_LE(static_cast<double>(sum), 1.01 * static_cast<double>(least));
  std::mt19937_64 rng(1);
  graph tree(3000);
  const auto name = random_permutation(rng, tree.n);
  for (int32_t i = 1; i < tree.n; i++) tree.edge(name[static_cast<size_t>(i)], name[rng() % static_cast<uint64_t>(i)]);
  EXPECT_EQ(fill(tree).figures.nnz, 2 * tree.n - 1);
}

TEST_F(OrderByFill, TakesLongColumnsAsCliquesWithoutLoss) {
  for (uint64_t seed = 1; seed <= 40; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    graph g(400);
    std::vector<std::vector<int32_t>> cols(300);
    std::vector<int32_t> none(cols.size()), wrong(cols.size());
    for (auto& c : cols) {
      const uint64_t len = rng() % 12 == 0 ? 30 + rng() % 60 : 1 + rng() % 3;
      for (uint64_t k = 0; k < len; k++) c.push_back(static_cast<int32_t>(rng() % 400));
      g.clique(c);
    }
    // A column that the graph knows nothing of is excluded, another is lied about: its nodes are no clique.
    cols.push_back(random_permutation(rng, 400)), none.push_back(1);
    cols.push_back(random_permutation(rng, 400)), none.push_back(0);
    const arrays c(cols);
    const sorder_columns a{
        static_cast<int32_t>(cols.size()), c.beg.data(), c.end.data(), c.sub.data(), none.data(), nullptr};
    const result with = run(
        g, [&](const sorder_graph& v, result& r) { return TVN_amf_sorder(*sys, v, &a, {}, r.perm.data(), r.figures); });
    EXPECT_EQ(with.figures.nnz, eliminate(g, with.perm).figures.nnz);
    EXPECT_LE(with.figures.flops, 1.25 * fill(g).figures.flops);
  }
}

// A few full rows in a large sparse graph cost neither time nor fill; a star with many hubs neither.
TEST_F(OrderByFill, PutsFullRowsLast) {
  graph g = grid(300, 300, 1);
  const int64_t before = fill(g).figures.nnz;
  for (const int32_t hub : {5, 40000, 89999})
    for (int32_t i = 0; i < g.n; i += 1 + hub % 2) g.edge(hub, i);
  const result r = fill(g);
  EXPECT_LE(static_cast<double>(r.figures.nnz), 1.05 * static_cast<double>(before + 3 * g.n));
}

// The same where each node has a priority: full rows wait for the end of their band, and are not looked through at each
// pivot. Questions to the user go with the work.
TEST_F(OrderByFill, PutsFullRowsBehindTheirBand) {
  for (const int32_t numbands : {1, 4}) {
    graph g = grid(200, 200, 1);
    const int64_t before = fill(g).figures.nnz;
    const int32_t hubs[] = {5, 20000, 39999};
    for (const int32_t hub : hubs)
      for (int32_t i = 0; i < g.n; i++) g.edge(hub, i);
    std::mt19937_64 rng(7);
    std::vector<int32_t> pri(static_cast<size_t>(g.n));
    for (int32_t& p : pri) p = static_cast<int32_t>(rng() % static_cast<uint64_t>(numbands));
    for (int32_t q = 0; q < 3; q++) pri[static_cast<size_t>(hubs[q])] = q % numbands;
    int64_t asked = 0;
    const sorder_progress progress{&asked, [](void* h, int32_t, int64_t, double) -> int32_t {
                                     ++*static_cast<int64_t*>(h);
                                     return 0;
                                   }};
    const result r = run(g, [&](const sorder_graph& v, result& out) {
      return TVN_amf_sorder_pri(*sys, v, nullptr, pri.data(), progress, out.perm.data(), out.figures);
    });
    EXPECT_TRUE(is_permutation(r.perm));
    EXPECT_LE(asked, 40);
    for (size_t k = 1; k < r.perm.size(); k++)
      ASSERT_LE(pri[static_cast<size_t>(r.perm[k - 1])], pri[static_cast<size_t>(r.perm[k])]);
    if (numbands > 1) continue;
    EXPECT_LE(static_cast<double>(r.figures.nnz), 1.05 * static_cast<double>(before + 3 * g.n));
  }
}

TEST_F(OrderByFill, StopsWhenAskedTo) {
  const graph g = grid(24, 24, 24);
  const arrays a(g.adj);
  std::vector<int32_t> perm(static_cast<size_t>(g.n)), invp(perm);
  gp_sorder_stats stats;
  struct counter {
    int32_t calls = 0, stopat = 0;
  } c;
  const sorder_progress progress{&c, [](void* h, int32_t, int64_t, double) -> int32_t {
                                   auto& k = *static_cast<counter*>(h);
                                   return ++k.calls == k.stopat;
                                 }};
  const auto run_until = [&](int32_t stop) {
    c = {0, stop};
    return TVN_amf_gp_sorder(*sys, a.view(), nullptr, {}, progress, perm.data(), invp.data(), stats);
  };
  ASSERT_EQ(run_until(0), sorder_code::ok);
  EXPECT_GE(stats.numpasses, 1);
  const int32_t all = c.calls;
  EXPECT_GE(all, 8);
  for (int32_t stop = 1; stop <= all; stop += 1 + all / 20) {
    EXPECT_EQ(run_until(stop), sorder_code::stopped);
    EXPECT_EQ(c.calls, stop) << "asked again after the stop";
  }
}

// Each request of a whole choice fails in turn: nothing is left behind, and the next call is as good as ever.
TEST(OrderMemory, ExhaustedAnywhereIsReportedAndLeavesNothing) {
  struct budget {
    int64_t left = 0;
  } pool;
  const auto take = [](void* p, size_t size) -> void* {
    return static_cast<budget*>(p)->left-- > 0 ? std::malloc(size) : nullptr;
  };
  const auto give = [](void*, void* block) { std::free(block); };
  const graph g = grid(14, 14, 14);
  const arrays a(g.adj);
  std::vector<int32_t> perm(static_cast<size_t>(g.n)), invp(perm);
  gp_sorder_stats stats;
  bool done = false;
  for (int64_t allowed = 0; !done; allowed = allowed * 11 / 10 + 1) {
    pool.left = INT64_MAX;
    sysenv* sys = TVN_sysenv_make(10, &pool, take, give);
    pool.left = allowed;
    try {
      done = TVN_amf_gp_sorder(*sys, a.view(), nullptr, {}, {}, perm.data(), invp.data(), stats) == sorder_code::ok;
    } catch (const out_of_memory&) {}
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "leak after " << allowed;
  }
  EXPECT_TRUE(is_permutation(perm));
  EXPECT_GE(stats.numpasses, 1);
}
