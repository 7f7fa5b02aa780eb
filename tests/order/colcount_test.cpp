// If this failed in the field: the factor's storage would be too short, or the choice between orders, forms and dense
// columns would rest on wrong figures.
#include "ordertest.h"

using namespace ordertest;

TEST_F(Order, CountsAreThoseOfASlowElimination) {
  for (uint64_t seed = 1; seed <= num_seeds(2000); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const graph g = random_graph(rng, 60);
    const arrays a(g.adj);
    const auto perm = random_permutation(rng, g.n);
    const elimination want = eliminate(g, perm);
    sorder_tree tree;
    ASSERT_EQ(TVN_sorder_analyse(*sys, a.view(), perm.data(), {}, tree), sorder_code::ok);
    EXPECT_EQ(tree.figures.nnz, want.figures.nnz);
    EXPECT_EQ(tree.figures.flops, want.figures.flops);
    ASSERT_EQ(std::vector(tree.count.begin(), tree.count.end()), want.count);
    ASSERT_EQ(std::vector(tree.parent.begin(), tree.parent.end()), want.parent);

    // A postorder leaves the factor as it is and has each subtree in one piece.
    std::vector<int32_t> post(tree.post.begin(), tree.post.end()), size(perm.size(), 1), place(perm.size());
    ASSERT_TRUE(is_permutation(post));
    std::vector<int32_t> reordered;
    for (size_t k = 0; k < post.size(); k++) {
      const auto j = static_cast<size_t>(post[k]);
      reordered.push_back(perm[j]);
      place[j] = static_cast<int32_t>(k);
      if (tree.parent[post[k]] >= 0) size[static_cast<size_t>(tree.parent[post[k]])] += size[j];
    }
    for (size_t j = 0; j < post.size(); j++) {
      const int32_t up = tree.parent[static_cast<int64_t>(j)];
      if (up < 0) continue;
      EXPECT_LT(place[j], place[static_cast<size_t>(up)]);
      EXPECT_GT(place[j], place[static_cast<size_t>(up)] - size[static_cast<size_t>(up)]);
    }
    EXPECT_EQ(eliminate(g, reordered).figures.nnz, want.figures.nnz);
  }
}

// A path that is eliminated from its end is a tree as deep as it is long: no recursion, no square.
TEST_F(Order, CountsOfALongPathAndOfAnArrowComeAtOnce) {
  constexpr int32_t n = 500000;
  graph path(n), arrow(n);
  for (int32_t i = 1; i < n; i++) path.edge(i, i - 1), arrow.edge(i, 0);
  sorder_tree tree;
  ASSERT_EQ(TVN_sorder_analyse(*sys, arrays(path.adj).view(), nullptr, {}, tree), sorder_code::ok);
  EXPECT_EQ(tree.figures.nnz, 2 * n - 1);
  ASSERT_EQ(TVN_sorder_analyse(*sys, arrays(arrow.adj).view(), nullptr, {}, tree), sorder_code::ok);
  EXPECT_EQ(tree.figures.nnz, int64_t{n} * (n + 1) / 2) << "past 32 bits";
}
