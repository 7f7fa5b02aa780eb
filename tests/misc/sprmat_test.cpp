// If this fails, a coefficient that a user wrote is lost, doubled or found in another place.
#include "misc/sprmat.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace {

using namespace tvn;

using model_map = std::map<std::pair<int32_t, int32_t>, double>;

struct MatrixStore : testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  sprmat a;
  void TearDown() override {
    TVN_sprmat_delete(a);
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
  void make(int32_t m, int32_t n, int64_t size) {
    TVN_sprmat_make(*sys, m, n, size, a);
    ASSERT_EQ(TVN_sprmat_appendrows(a, m), sprmat_code::ok);
    ASSERT_EQ(TVN_sprmat_appendcols(a, n), sprmat_code::ok);
  }
  void put_col(int32_t j, std::vector<std::pair<int32_t, double>> entries) {
    std::vector<double> dense(static_cast<size_t>(a.numrow), 0.0);
    std::vector<int32_t> sub;
    for (auto& [i, v] : entries) {
      sub.push_back(i);
      dense[static_cast<size_t>(i)] = v;
    }
    TVN_sprmat_gathercolj(a, j, static_cast<int32_t>(sub.size()), sub.data(), dense.data());
  }
};

model_map contents(sprmat& a, bool cols) {
  const sprmat_view v = cols ? TVN_sprmat_viewcols(a) : TVN_sprmat_viewrows(a);
  model_map out;
  for (int32_t k = 0; k < (cols ? a.numcol : a.numrow); k++)
    for (int64_t p = v.ptrb[k]; p < v.ptre[k]; p++) {
      const auto key = cols ? std::pair{v.sub[p], k} : std::pair{k, v.sub[p]};
      EXPECT_TRUE(out.emplace(key, v.val[p]).second);
    }
  return out;
}

TEST_F(MatrixStore, NewestWriteWinsAndZeroRemoves) {
  make(3, 3, 2);
  TVN_sprmat_putaij(a, 1, 1, 4.0);
  TVN_sprmat_putaij(a, 1, 1, 5.0);
  TVN_sprmat_putaij(a, 2, 1, 6.0);
  EXPECT_EQ(TVN_sprmat_getaij(a, 1, 1), 5.0);
  TVN_sprmat_putaij(a, 2, 1, 0.0);
  TVN_sprmat_putaij(a, 0, 0, 0.0);
  EXPECT_EQ(contents(a, true), (model_map{{{1, 1}, 5.0}}));
  EXPECT_GE(a.numcacheflushes, 2);
}

TEST_F(MatrixStore, GatherReplacesUnlessElementWritesWait) {
  make(3, 2, 10);
  put_col(0, {{0, 1.0}, {1, 2.0}});
  put_col(0, {{2, 3.0}});
  EXPECT_EQ(contents(a, true), (model_map{{{2, 0}, 3.0}}));
  TVN_sprmat_putaij(a, 0, 0, 7.0);
  put_col(0, {{1, 8.0}});
  EXPECT_EQ(contents(a, true), (model_map{{{0, 0}, 7.0}, {{1, 0}, 8.0}, {{2, 0}, 3.0}}));
  put_col(0, {{1, 9.0}}); // the read flushed: replaced again
  EXPECT_EQ(contents(a, true), (model_map{{{1, 0}, 9.0}}));
}

TEST_F(MatrixStore, ExactCapacityIsFilledWithoutGrowing) {
  make(4, 100, 400);
  for (int32_t j = 0; j < 100; j++) put_col(j, {{0, 1}, {1, 2}, {2, 3}, {3, 4}});
  EXPECT_EQ(a.maxsize, 400);
  EXPECT_EQ(TVN_sprmat_getnumnz(a), 400);
}

TEST_F(MatrixStore, ReplacingVectorsForeverDoesNotGrowTheStore) {
  make(8, 4, 64);
  for (int round = 0; round < 2000; round++) {
    put_col(round % 4, {{0, 1}, {1, 2}});
    put_col(round % 4, {{0, 1}, {1, 2}, {2, 3}, {3, 4}, {4, 5}});
  }
  EXPECT_LE(a.maxsize, 64);
  EXPECT_EQ(TVN_sprmat_checka(a), 0);
}

TEST_F(MatrixStore, TooSmallACapacityIsRefusedAndChangesNothing) {
  make(3, 3, 5);
  put_col(0, {{0, 1}, {1, 2}});
  put_col(2, {{2, 3}});
  const model_map before = contents(a, true);
  EXPECT_EQ(TVN_sprmat_putmaxsize(a, 2), sprmat_code::maxsize_too_small);
  EXPECT_EQ(a.maxsize, 5);
  EXPECT_EQ(TVN_sprmat_putmaxsize(a, 3), sprmat_code::ok);
  EXPECT_EQ(contents(a, false), before);
  EXPECT_EQ(TVN_sprmat_appendrows(a, 1), sprmat_code::append_failed);
}

TEST_F(MatrixStore, SlicesStopAtTheVectorThatDoesNotFit) {
  make(3, 3, 10);
  put_col(0, {{0, 1}});
  put_col(1, {{1, 2}, {2, 3}});
  put_col(2, {{0, 4}});
  int64_t surp = 2, ptrb[3] = {-1, -1, -1}, ptre[3] = {-1, -1, -1};
  int32_t sub[4] = {-1, -1, -1, -1};
  double val[4] = {0, 0, 0, 0};
  EXPECT_EQ(TVN_sprmat_getcolslice(a, 0, 3, 4, surp, ptrb, ptre, sub, val), sprmat_code::surplus);
  EXPECT_EQ(surp, 1);
  EXPECT_EQ(ptrb[0], 2);
  EXPECT_EQ(ptre[0], 3);
  EXPECT_EQ(sub[2], 0);
  EXPECT_EQ(ptrb[1], -1);
  int32_t surp32 = 4, b32[3], e32[3];
  EXPECT_EQ(TVN_sprmat_getrowslice32(a, 0, 3, 4, surp32, b32, e32, sub, val), sprmat_code::ok);
  EXPECT_EQ(surp32, 0);
  EXPECT_EQ(e32[0] - b32[0], 2);
  EXPECT_EQ(a.numtransposes, 1);
  EXPECT_EQ(TVN_sprmat_getpiecesize(a, 0, 2, 1, 3), 2);
  EXPECT_EQ(a.numtransposes, 1); // a piece is counted as it stands
}

TEST_F(MatrixStore, LentPointersHaveRoomForExtraColumnsAndLockTheStore) {
  make(2, 2, 4);
  put_col(1, {{0, 1}});
  const sprmat_view v = TVN_sprmat_getacolwise(a, 5);
  EXPECT_TRUE(a.locked);
  for (int32_t k = 0; k < 5; k++) v.ptrb[a.numcol + k] = v.ptre[a.numcol + k] = v.top;
  EXPECT_EQ(v.ptre[1] - v.ptrb[1], 1);
  EXPECT_DEATH(TVN_sprmat_putaij(a, 0, 0, 1.0), "locked");
  TVN_sprmat_puta(a);
  TVN_sprmat_putaij(a, 1, 0, 2.0);
  EXPECT_EQ(contents(a, true).size(), 2U);
}

// Every operation against a plain map; sizes are tiny so that flushes, moves, growth and transpositions all collide.
class MatrixStoreModel : public MatrixStore, public testing::WithParamInterface<int> {};

TEST_P(MatrixStoreModel, FollowsAPlainMapThroughRandomEdits) {
  std::mt19937 rng(static_cast<unsigned>(GetParam()));
  const auto below = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<unsigned>(n)); };
  TVN_sprmat_make(*sys, 2, 2, below(4), a);
  TVN_sprmat_putoverhead(a, below(3));
  model_map model;
  bool caching = false;
  const auto renumber = [&](bool cols, const std::vector<int32_t>& map) {
    model_map next;
    for (const auto& [key, v] : model) {
      const int32_t to = map[static_cast<size_t>(cols ? key.second : key.first)];
      if (to >= 0) next[cols ? std::pair{key.first, to} : std::pair{to, key.second}] = v;
    }
    model = next;
  };
  for (int step = 0; step < 400; step++) {
    const int32_t m = a.numrow, n = a.numcol;
    SCOPED_TRACE("seed " + std::to_string(GetParam()) + " step " + std::to_string(step));
    const int32_t what = below(20);
    if (m == 0 || n == 0 || what == 0) {
      const int32_t dm = below(3), dn = below(3);
      TVN_sprmat_putmaxnumrow(a, std::max(a.maxnumrow, m + dm));
      TVN_sprmat_putmaxnumcol(a, std::max(a.maxnumcol, n + dn));
      ASSERT_EQ(TVN_sprmat_appendrows(a, dm), sprmat_code::ok);
      ASSERT_EQ(TVN_sprmat_appendcols(a, dn), sprmat_code::ok);
      caching = false;
    } else if (what <= 9) {
      const int32_t i = below(m), j = below(n);
      const double v = below(5) - 1;
      TVN_sprmat_putaij(a, i, j, v);
      model.erase({i, j});
      if (v != 0) model[{i, j}] = v;
      caching = true;
    } else if (what <= 13) {
      const bool cols = below(2) == 0;
      const int32_t k = below(cols ? n : m), dim = cols ? m : n;
      std::vector<double> dense(static_cast<size_t>(dim), 0.0);
      std::vector<int32_t> sub;
      for (int32_t q = 0; q < dim; q++)
        if (below(2)) {
          sub.push_back(q);
          dense[static_cast<size_t>(q)] = 1 + below(9);
        }
      if (!caching) std::erase_if(model, [&](const auto& e) { return (cols ? e.first.second : e.first.first) == k; });
      for (const int32_t q : sub) model[cols ? std::pair{q, k} : std::pair{k, q}] = dense[static_cast<size_t>(q)];
      if (cols)
        TVN_sprmat_gathercolj(a, k, static_cast<int32_t>(sub.size()), sub.data(), dense.data());
      else
        TVN_sprmat_gatherrowi(a, k, static_cast<int32_t>(sub.size()), sub.data(), dense.data());
    } else if (what == 14) {
      const bool cols = below(2) == 0;
      const int32_t dim = cols ? n : m;
      std::vector<int32_t> map(static_cast<size_t>(dim), 0), list;
      for (int32_t q = 0; q < dim; q++)
        if (below(5) == 0) {
          list.push_back(q);
          list.push_back(q);
          map[static_cast<size_t>(q)] = -1;
        }
      int32_t next = 0;
      for (int32_t& to : map)
        if (to == 0) to = next++;
      renumber(cols, map);
      if (cols)
        TVN_sprmat_deletecols(a, static_cast<int32_t>(list.size()), list.data());
      else
        TVN_sprmat_deleterows(a, static_cast<int32_t>(list.size()), list.data());
      caching = false;
    } else if (what == 15) {
      std::vector<int32_t> perm(static_cast<size_t>(m));
      for (int32_t q = 0; q < m; q++) perm[static_cast<size_t>(q)] = q;
      std::shuffle(perm.begin(), perm.end(), rng);
      const int32_t newnum = m - below(2);
      TVN_sprmat_permuteandremoverows(a, newnum, perm.data());
      for (int32_t& to : perm)
        if (to >= newnum) to = -1;
      renumber(false, perm);
      caching = false;
    } else if (what == 16) {
      const int64_t size = TVN_sprmat_getnumnz(a) + below(6);
      ASSERT_EQ(TVN_sprmat_putmaxsize(a, size), sprmat_code::ok);
      caching = false;
    } else if (what == 17) {
      TVN_sprmat_transpose(a);
      caching = false;
    } else if (what == 18) {
      const int32_t i = below(m), j = below(n);
      const auto it = model.find({i, j});
      ASSERT_EQ(TVN_sprmat_getaij(a, i, j), it == model.end() ? 0.0 : it->second);
      caching = false;
    } else {
      ASSERT_EQ(contents(a, below(2) == 0), model);
      caching = false;
    }
    ASSERT_EQ(TVN_sprmat_checka(a), 0);
    // A write may flush for room, which ends the caching; the store itself says.
    caching = caching && a.cache.on;
  }
  ASSERT_EQ(contents(a, true), model);
  EXPECT_EQ(TVN_memman_scanmem(*sys->mman, __FILE__, __LINE__), 0U);
}

INSTANTIATE_TEST_SUITE_P(Seeds, MatrixStoreModel, testing::Range(0, 150));

} // namespace
