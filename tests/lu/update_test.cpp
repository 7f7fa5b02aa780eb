// If these fail, a simplex run drifts away from its basis between two refactorisations, or a refused update leaves a
// factor that answers for a basis that never was.
#include "lu/lutest.h"

using namespace lutest;

namespace {

column random_column(rng& r, int32_t m, int32_t n) {
  column c;
  for (int32_t k = 0; k < n; k++) c[r.index(m)] = r.value();
  return c;
}

// A position whose element of alpha is no smaller than half of the largest.
int32_t leaving(const std::vector<double>& alpha, rng& r) {
  std::vector<int32_t> large;
  for (size_t j = 0; j < alpha.size(); j++)
    if (std::fabs(alpha[j]) >= 0.5 * lutest::largest(alpha)) large.push_back(static_cast<int32_t>(j));
  return large[static_cast<size_t>(r.index(static_cast<int32_t>(large.size())))];
}

// Replaces `num` random columns; refused updates leave the matrix as it was. Returns the number of updates done.
int32_t run_updates(factor& t, matrix& b, rng& r, int32_t num, double tol, int32_t numelem = 5) {
  int32_t done = 0;
  spvec spike(*t.sys, b.m);
  for (int32_t k = 0; k < num; k++) {
    const column c = random_column(r, b.m, 1 + r.index(numelem));
    spike.clear();
    const int32_t j = leaving(ftran_sparse(t, c, &spike), r);
    const std::vector<double> before = values(spike);
    const lu_code code = TVN_lu_supd(t.f, j, spike);
    EXPECT_EQ(values(spike), before);
    EXPECT_EQ(TVN_lu_check(t.f), nullptr) << "update " << k;
    if (code == lu_code::done || code == lu_code::refactor_advised) {
      b[j] = c;
      done++;
    } else if (t.f.state == lu_factored) {
      expect_solves(t, b, r, tol);
    } else {
      EXPECT_TRUE(TVN_lu_incwsze(t.f) || TVN_lu_getnumupds(t.f) >= 101);
    }
    if (t.f.state != lu_factored || code == lu_code::no_update_room) { EXPECT_EQ(t.run_growing(b), lu_code::done); }
    if (k % 20 == 0) expect_solves(t, b, r, tol);
    if (::testing::Test::HasFatalFailure()) return done;
  }
  return done;
}

} // namespace

TEST(LuUpdate, FollowsTwoHundredReplacementsOfColumns) {
  rng r(21);
  for (int32_t trial = 0; trial < 12; trial++) {
    const int32_t m = trial < 4 ? 10 + r.index(20) : 100 + r.index(200);
    matrix b = lp_basis(r, m, 0.5, 0.7, 3);
    factor t(m, 10 * b.nnz() + 100 * m);
    ASSERT_EQ(t.run(b), lu_code::done);
    if (TVN_lu_getrank(t.f) < m) continue;
    TVN_lu_puttrh(t.f, 1, 1000000);
    EXPECT_GT(run_updates(t, b, r, 200, 1e-7), 190);
  }
}

TEST(LuUpdate, CompressesAndRefusesWhenTheStorageIsTight) {
  rng r(22);
  int32_t refused = 0;
  for (int32_t trial = 0; trial < 12; trial++) {
    matrix b = lp_basis(r, 80, 0.6, 0.8, 3);
    factor t(80, 2 * b.nnz() + 40 * trial);
    ASSERT_EQ(t.run_growing(b), lu_code::done);
    ASSERT_EQ(TVN_lu_getrank(t.f), 80);
    refused += 150 - run_updates(t, b, r, 150, 1e-7, 12);
  }
  EXPECT_GT(refused, 5);
}

TEST(LuUpdate, RefusesASingularReplacementAndKeepsTheOldFactor) {
  rng r(23);
  matrix b = lp_basis(r, 60, 0.4, 0.5, 3);
  factor t(60, 20 * b.nnz());
  ASSERT_EQ(t.run(b), lu_code::done);
  ASSERT_EQ(TVN_lu_getrank(t.f), 60);
  spvec spike(*t.sys, 60);
  for (int32_t j = 0; j < 60; j += 7) { // a copy of another column of the basis
    spike.clear();
    ftran_sparse(t, b[(j + 1) % 60], &spike);
    EXPECT_EQ(TVN_lu_supd(t.f, j, spike), lu_code::unstable_update);
    EXPECT_EQ(t.f.state, lu_factored);
    EXPECT_EQ(TVN_lu_getnumupds(t.f), 0);
    expect_solves(t, b, r, 1e-9);
  }
}

TEST(LuUpdate, RejectsANewDiagonalAtTheAbsoluteTolerance) {
  matrix b(2);
  b[0][0] = b[1][1] = 1.0;
  factor t(2, 40);
  ASSERT_EQ(t.run(b), lu_code::done);
  spvec spike(*t.sys, 2);
  spike.push(0, 1e-8);
  EXPECT_EQ(TVN_lu_supd(t.f, 0, spike), lu_code::unstable_update);
  spike.val[0] = 1.0000001e-8;
  EXPECT_EQ(TVN_lu_supd(t.f, 0, spike), lu_code::done);
  EXPECT_EQ(t.f.eta.numetas, 0); // row 0 of U held only its pivot
  EXPECT_EQ(TVN_lu_getnumupds(t.f), 1);
}

TEST(LuUpdate, AdvisesToRefactorByCountOrByWork) {
  rng r(24);
  matrix b = lp_basis(r, 300, 0.5, 0.7, 3);
  factor t(300, 50 * b.nnz());
  ASSERT_EQ(t.run(b), lu_code::done);
  ASSERT_EQ(TVN_lu_getrank(t.f), 300);
  TVN_lu_puttrh(t.f, 1, 3);
  run_updates(t, b, r, 2, 1e-7);
  EXPECT_FALSE(TVN_lu_factornow(t.f));
  run_updates(t, b, r, 20, 1e-7);
  EXPECT_TRUE(TVN_lu_factornow(t.f));
  TVN_lu_puttrh(t.f, 1, -5); // negative: automatic
  ASSERT_EQ(t.run(b), lu_code::done);
  EXPECT_FALSE(TVN_lu_factornow(t.f));
  run_updates(t, b, r, 8, 1e-7);
  EXPECT_FALSE(TVN_lu_factornow(t.f));
  for (int32_t k = 0; k < 300 && !TVN_lu_factornow(t.f); k++) run_updates(t, b, r, 1, 1e-7);
  EXPECT_TRUE(TVN_lu_factornow(t.f));
}

TEST(LuSolve, DropsByBothTolerances) {
  matrix b(3);
  b[0][0] = 1.0;
  b[1][1] = 1e3;
  b[2][2] = 1.0;
  factor t(3, 50);
  ASSERT_EQ(t.run(b), lu_code::done);
  spvec x(*t.sys, 3), y(*t.sys, 3);
  put(x, {{0, 1e-10}, {1, 1e-7}, {2, 1.0}});
  TVN_lu_ftranl(t.f, x);
  TVN_lu_ftranus(t.f, x, y, 1e-10, 1e-10); // the first at the tolerance, the second's quotient at it
  EXPECT_EQ(values(y), (std::vector<double>{0, 0, 1}));
  EXPECT_EQ(y.count, 1);
  y.clear();
  put(x, {{0, 1e-10}, {1, 1e-7}, {2, 1.0}});
  TVN_lu_btrans(t.f, x, y, 1e-10, 1e-10);
  EXPECT_EQ(values(y), (std::vector<double>{0, 0, 1}));
  y.clear();
  TVN_lu_ftranus(t.f, x, y, 0, 0);
  TVN_lu_btrans(t.f, x, y, 0, 0);
  EXPECT_EQ(y.count, 0);
}

TEST(LuSolve, SparseWorkDoesNotGrowWithTheDimension) {
  double work[2];
  for (const int32_t m : {2000, 20000}) {
    matrix b(m);
    for (int32_t j = 0; j < m; j++) b[j][j] = -1.0;
    for (int32_t j = 0; j + 10 < m; j += 10) b[j][j + 1] = 0.5;
    factor t(m, 3 * b.nnz());
    ASSERT_EQ(t.run(b), lu_code::done);
    const double before = TVN_lu_getupdatework(t.f);
    ftran_sparse(t, {{10, 1.0}, {500, 2.0}});
    btran_sparse(t, {{11, 1.0}, {501, 2.0}});
    work[m > 2000] = TVN_lu_getupdatework(t.f) - before;
  }
  EXPECT_EQ(work[0], work[1]);
}

TEST(LuCond, EstimatesTheNormOfTheInverseFromBelowAndStopsBeforeOverflow) {
  rng r(25);
  for (int32_t trial = 0; trial < 10; trial++) {
    const matrix b = lp_basis(r, 40, 0.3, 0.5, 3);
    factor t(40, 20 * b.nnz());
    ASSERT_EQ(t.run(b), lu_code::done);
    if (TVN_lu_getrank(t.f) < 40) continue;
    double exact = 0;
    for (int32_t i = 0; i < 40; i++) {
      double s = 0;
      for (double v : t.dense(unfold({{i, 1.0}}, 40), false)) s += std::fabs(v);
      exact = std::max(exact, s);
    }
    double estimate = 0;
    ASSERT_EQ(TVN_lu_onenormestimate(t.f, estimate, t.rwork), lu_code::done);
    EXPECT_LE(estimate, exact * (1 + 1e-12));
    EXPECT_GE(estimate, exact / 10);
  }
  matrix chain(60); // values grow by 1e7 from row to row
  for (int32_t j = 0; j < 60; j++) {
    chain[j][j] = 1e-7;
    if (j > 0) chain[j][j - 1] = 1.0;
  }
  factor t(60, 500);
  ASSERT_EQ(t.run(chain), lu_code::done);
  double estimate = 0;
  EXPECT_EQ(TVN_lu_onenormestimate(t.f, estimate, t.rwork), lu_code::cond_gave_up);
  TVN_lu_invfac(t.f);
  EXPECT_EQ(TVN_lu_onenormestimate(t.f, estimate, t.rwork), lu_code::not_factored);
}
