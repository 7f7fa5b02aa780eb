// If this fails, an optimizer works on another matrix than the one it was given.
#include "misc/spmat.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace tvn;

struct CompressedVectors : testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  // 3 rows, 4 columns, by columns with gaps and out of order; column 2 is empty.
  std::vector<int64_t> ptrb{4, 0, 3, 7}, ptre{6, 2, 3, 8};
  std::vector<int32_t> sub{2, 0, -1, -1, 1, 0, -1, 2};
  std::vector<double> val{5, 1, 99, 99, 3, 2, 99, 4};
  spmat a;
  void SetUp() override { TVN_spmat_emake(*sys, 4, 3, 8, ptrb.data(), ptre.data(), sub.data(), val.data(), a); }
  void TearDown() override {
    TVN_spmat_delete(a);
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
  static std::vector<double> dense(const spmat& m) {
    std::vector<double> d(static_cast<size_t>(m.nvec * m.vlen), 0.0);
    for (int32_t j = 0; j < m.nvec; j++)
      for (int64_t p = m.ptrb[j]; p < m.ptre[j]; p++) d[static_cast<size_t>(j * m.vlen + m.sub[p])] = m.val[p];
    return d;
  }
};

TEST_F(CompressedVectors, TransposingTwiceGivesTheMatrixBackSorted) {
  ASSERT_EQ(TVN_spmat_check(a), 0);
  spmat at, back;
  TVN_spmat_transpose(*sys, a, false, at);
  TVN_spmat_transpose(*sys, at, false, back);
  EXPECT_EQ(TVN_spmat_check(at), 0);
  EXPECT_EQ(dense(back), dense(a));
  for (int32_t i = 0; i < at.nvec; i++)
    for (int64_t p = at.ptrb[i] + 1; p < at.ptre[i]; p++) EXPECT_LT(at.sub[p - 1], at.sub[p]);
  TVN_spmat_transpose(*sys, a, false, at); // into the storage that it has
  EXPECT_EQ(TVN_spmat_getnz(at), 5);
}

TEST_F(CompressedVectors, BigCopyPacksAndResizedVectorsKeepTheirEntries) {
  spmat b;
  TVN_spmat_bigcopy(a, 9, b);
  EXPECT_EQ(dense(b), dense(a));
  EXPECT_EQ(b.ffree, 5);
  const int64_t old = b.ptrb[0];
  ASSERT_TRUE(TVN_spmat_vresize(b, 0, 3)); // moves to the end
  EXPECT_EQ(b.ptrb[0], 5);
  EXPECT_NE(b.ptrb[0], old);
  b.sub[7] = 2;
  b.val[7] = 6;
  EXPECT_EQ(TVN_spmat_check(b), 0);
  EXPECT_EQ(dense(b), (std::vector<double>{2, 3, 6, 1, 0, 5, 0, 0, 0, 0, 0, 4}));
  EXPECT_FALSE(TVN_spmat_vresize(b, 3, 2)); // 8 + 2 > 9
  EXPECT_TRUE(TVN_spmat_vresize(b, 0, 4));  // the last one grows where it stands
  EXPECT_EQ(b.ptrb[0], 5);
}

TEST_F(CompressedVectors, ProductsAgreeWithTheDenseMatrix) {
  const double x[] = {1, 2, 3, 4}, u[] = {1, 10, 100};
  double y[] = {1, 1, 1}, z[] = {7, 7, 7, 7};
  TVN_spmat_gemv(a, false, 2.0, x, -1.0, y);
  EXPECT_EQ((std::vector<double>{y, y + 3}), (std::vector<double>{2 * (2 + 2) - 1, 2 * 3 - 1, 2 * (10 + 16) - 1}));
  TVN_spmat_gemv(a, true, 1.0, u, 0.0, z);
  EXPECT_EQ((std::vector<double>{z, z + 4}), (std::vector<double>{32, 501, 0, 400}));
  sub[5] = 1;
  EXPECT_EQ(TVN_spmat_check(a), 4);
}

} // namespace
