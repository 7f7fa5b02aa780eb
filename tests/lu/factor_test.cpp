// If these fail, every simplex run rests on a wrong basis matrix: wrong solutions, false infeasibility, endless
// refactoring, or a crash where a basis is singular or the storage is short.
#include "lu/lutest.h"

using namespace lutest;

namespace {

constexpr double tolresidual = 1e-11;

void expect_factored(const matrix& b, rng& r, int32_t method = 1, double tol = tolresidual) {
  factor t(b.m, std::max<int64_t>(3 * b.nnz(), 3 * b.m + 1));
  TVN_lu_putpivotmethod(t.f, method);
  ASSERT_EQ(t.run_growing(b), lu_code::done);
  ASSERT_EQ(TVN_lu_getrank(t.f), b.m);
  expect_solves(t, b, r, tol);
}

} // namespace

TEST(LuFactor, SolvesEmptyAndIdentityWithoutSearch) {
  rng r(1);
  for (const int32_t m : {0, 1, 2, 7, 300}) {
    matrix b(m);
    for (int32_t j = 0; j < m; j++) b[j][j] = -1.0;
    factor t(m, 3 * m + 1);
    ASSERT_EQ(t.run(b), lu_code::done);
    EXPECT_EQ(TVN_lu_getrank(t.f), m);
    EXPECT_EQ(t.f.run.numtriangular, 1);
    EXPECT_EQ(t.f.acc.work[lt_search], 0);
    expect_solves(t, b, r, 0.0);
  }
}

TEST(LuFactor, TakesTriangularBasesByTheSingletonPassesAlone) {
  rng r(2);
  for (int32_t trial = 0; trial < 20; trial++) {
    const matrix b = lp_basis(r, 200, 0.1 * (trial % 10), 1.0, 3);
    factor t(b.m, 3 * b.nnz());
    ASSERT_EQ(t.run(b), lu_code::done);
    EXPECT_EQ(t.f.run.numtriangular, 1);
    expect_solves(t, b, r, tolresidual);
  }
}

TEST(LuFactor, SolvesRandomBasesOfAllShapesWithBothPivotRules) {
  rng r(3);
  for (int32_t trial = 0; trial < 60; trial++) {
    const int32_t m = 1 + r.index(150);
    const matrix b = lp_basis(r, m, 0.3 * (trial % 3), 0.25 * (trial % 5), 1 + trial % 7);
    factor t(m, std::max<int64_t>(3 * b.nnz(), 3 * m + 1));
    TVN_lu_putpivotmethod(t.f, 1 + trial % 2);
    ASSERT_EQ(t.run_growing(b), lu_code::done);
    if (TVN_lu_getrank(t.f) < m) continue; // a random nucleus may be singular
    expect_solves(t, b, r, 1e-9);
  }
}

TEST(LuFactor, SolvesDenseMatricesAndArrowsWithADenseRowAndColumn) {
  rng r(4);
  matrix full(60);
  for (int32_t j = 0; j < 60; j++)
    for (int32_t i = 0; i < 60; i++) full[j][i] = r.value();
  expect_factored(full, r);
  matrix arrow(400);
  for (int32_t j = 0; j < 400; j++) {
    arrow[j][j] = 3.0 + r.value();
    arrow[j][17] = 1.0 + r.unit();
    arrow[251][j] = 1.0 + r.unit();
  }
  expect_factored(arrow, r, 1, 1e-9);
  expect_factored(arrow, r, 2);
}

TEST(LuFactor, AcceptsRowsAndColumnsOfVeryDifferentSizes) {
  rng r(5);
  for (int32_t trial = 0; trial < 20; trial++) {
    matrix b = lp_basis(r, 80, 0.3, 0.5, 3);
    std::vector<double> scale(80);
    for (double& s : scale) s = std::pow(10.0, -3.0 + r.index(7));
    for (column& c : b.cols)
      for (auto& [i, v] : c) v *= scale[static_cast<size_t>(i)];
    factor t(80, 4 * b.nnz());
    ASSERT_EQ(t.run_growing(b), lu_code::done);
    if (TVN_lu_getrank(t.f) < 80) continue;
    expect_solves(t, b, r, 1e-9);
  }
}

TEST(LuFactor, TakesElementsInAnyOrderLikeColumns) {
  rng r(6);
  const matrix b = lp_basis(r, 90, 0.3, 0.3, 3);
  factor t(90, 4 * b.nnz());
  TVN_lu_putgeta(t.f, nullptr, nullptr);
  TVN_lu_init(t.f);
  std::vector<std::tuple<int32_t, int32_t, double>> all;
  for (int32_t j = 0; j < 90; j++)
    for (auto [i, v] : b[j]) all.emplace_back(i, j, v);
  std::shuffle(all.begin(), all.end(), r.gen);
  for (auto [i, j, v] : all) ASSERT_EQ(TVN_lu_inaij(t.f, i, j, v), lu_code::done);
  ASSERT_EQ(TVN_lu_inaij(t.f, 3, 3, 1e-13), lu_code::done); // exactly the zero tolerance: dropped
  EXPECT_EQ(t.f.sto.anz, b.nnz());
  EXPECT_EQ(TVN_lu_inaij(t.f, 90, 0, 1.0), lu_code::bad_row);
  const int32_t sub[] = {0, 1}, map[] = {90, 95};
  const double val[] = {1.0, 1.0};
  EXPECT_EQ(TVN_lu_inaj2(t.f, 0, 1, sub + 1, val, map, 95), lu_code::done);
  EXPECT_EQ(TVN_lu_inaj2(t.f, 0, 2, sub, val, map, 95), lu_code::bad_row);
  ASSERT_EQ(TVN_lu_factor(t.f, t.iwork, t.rwork), lu_code::done);
  expect_solves(t, b, r, tolresidual);
}

TEST(LuFactor, RepairsSingularBasesWithUnitColumns) {
  rng r(7);
  int32_t numsingular = 0;
  for (int32_t trial = 0; trial < 60; trial++) {
    const int32_t m = 5 + r.index(80);
    matrix b = lp_basis(r, m, 0.2, 0.4, 3);
    switch (trial % 4) {
    case 0: b[r.index(m)].clear(); break;
    case 1: b[r.index(m)] = b[r.index(m)]; break;
    case 2: // dependent to 1e-12
      for (const int32_t j = r.index(m), k = (j + 1) % m; auto [i, v] : b[k])
        b[j][i] = 2.0 * v * (1 + 1e-12 * r.unit());
      break;
    default: { // a row of 1e-9 has no acceptable pivot
      const int32_t row = r.index(m);
      for (column& c : b.cols)
        if (c.count(row)) c[row] *= 1e-9;
    }
    }
    factor t(m, 6 * b.nnz() + 3 * m + 1);
    TVN_lu_putpivotmethod(t.f, 1 + trial / 2 % 2);
    ASSERT_EQ(t.run_growing(b), lu_code::done);
    if (TVN_lu_getrank(t.f) == m) continue;
    numsingular++;
    std::vector<int32_t> colmap(static_cast<size_t>(m));
    const int32_t missing = m - TVN_lu_getrank(t.f);
    ASSERT_EQ(TVN_lu_insart(t.f, colmap, t.iwork, -1.0), lu_code::done);
    ASSERT_EQ(TVN_lu_check(t.f), nullptr);
    int32_t replaced = 0;
    for (int32_t j = 0; j < m; j++) {
      const int32_t i = colmap[static_cast<size_t>(j)];
      if (i == m) continue;
      b[j] = column{{i, -1.0}};
      replaced++;
    }
    EXPECT_EQ(replaced, missing);
    expect_solves(t, b, r, 1e-7);
  }
  EXPECT_GT(numsingular, 40);
}

TEST(LuFactor, RejectsATinySingletonAndReplacesItsColumn) {
  matrix b(3);
  b[0][0] = 1.0;
  b[1][1] = 1e-9;
  b[2][2] = 2.0;
  factor t(3, 50);
  ASSERT_EQ(t.run(b), lu_code::done);
  ASSERT_EQ(TVN_lu_getrank(t.f), 2);
  std::vector<int32_t> colmap(3);
  ASSERT_EQ(TVN_lu_insart(t.f, colmap, t.iwork, -1.0), lu_code::done);
  EXPECT_EQ(colmap, (std::vector<int32_t>{3, 1, 3}));
  EXPECT_EQ(t.dense({1, 1, 1}, false), (std::vector<double>{1, -1, 0.5}));
}

TEST(LuFactor, GrowsFromTooLittleStorageByItsOwnProposal) {
  rng r(8);
  int32_t numsized = 0;
  for (int32_t trial = 0; trial < 30; trial++) {
    const int32_t m = 40 + r.index(100);
    matrix b = lp_basis(r, m, 0.0, 0.0, 4 + trial % 6);
    for (int32_t j = 0; j < m; j++) b[j][j] = 8.0;
    factor t(m, b.nnz() / 2 + trial * b.nnz() / 10);
    bool sized = false; // the failed run came to its end and counted L and U
    for (lu_code code = t.run(b); code != lu_code::done; code = t.run(b)) {
      ASSERT_TRUE(code == lu_code::no_storage || code == lu_code::column_refused);
      ASSERT_FALSE(sized);
      EXPECT_TRUE(TVN_lu_incwsze(t.f));
      sized = TVN_lu_getrank(t.f) == m;
      numsized += sized;
      const int64_t size = TVN_lu_getwszeproposal(t.f);
      ASSERT_GT(size, TVN_lu_getwsze(t.f));
      TVN_lu_newwszedbg(t.f, size);
    }
    EXPECT_FALSE(TVN_lu_incwsze(t.f));
    expect_solves(t, b, r, 1e-9);
  }
  EXPECT_GT(numsized, 5);
}

TEST(LuFactor, SaysWhichWorkSpaceIsShortAndListensToTheProgressFunction) {
  rng r(9);
  const matrix b = lp_basis(r, 50, 0.2, 0.2, 3);
  factor t(50, 6 * b.nnz());
  t.source = &b;
  TVN_lu_init(t.f);
  EXPECT_EQ(TVN_lu_factor(t.f, std::span(t.iwork).first(10), t.rwork), lu_code::short_int_work);
  EXPECT_EQ(TVN_lu_factor(t.f, t.iwork, std::span(t.rwork).first(10)), lu_code::short_real_work);
  int32_t stopat = 0;
  TVN_lu_putprogressfunc(t.f, &stopat, [](void* h, int32_t code, int32_t) {
    return static_cast<int32_t>(code == *static_cast<int32_t*>(h));
  });
  EXPECT_EQ(TVN_lu_factor(t.f, t.iwork, t.rwork), lu_code::stopped);
  stopat = 3;
  EXPECT_EQ(t.run(b), lu_code::stopped);
  stopat = -1;
  TVN_lu_putmaxworkoftasks(t.f, 0);
  EXPECT_EQ(t.run(b), lu_code::work_limit);
  TVN_lu_putmaxworkoftasks(t.f, -1);
  EXPECT_EQ(t.run(b), lu_code::done);
}

TEST(LuFactor, GivesTheSameBitsTwiceAndIndependentOfFormerRuns) {
  rng r(10);
  const matrix b = lp_basis(r, 120, 0.3, 0.4, 4), other = lp_basis(r, 120, 0.1, 0.2, 5);
  std::vector<double> rhs(120);
  for (double& v : rhs) v = r.value();
  factor t(120, 10 * b.nnz()), u(120, 10 * b.nnz());
  ASSERT_EQ(t.run(b), lu_code::done);
  ASSERT_EQ(u.run(other), lu_code::done);
  ASSERT_EQ(u.run(b), lu_code::done);
  ASSERT_EQ(TVN_lu_getrank(t.f), TVN_lu_getrank(u.f));
  ASSERT_EQ(TVN_lu_getrank(t.f), 120);
  EXPECT_EQ(t.dense(rhs, false), u.dense(rhs, false));
  EXPECT_EQ(TVN_lu_getfactorwork(t.f), TVN_lu_getfactorwork(u.f));
  bigint once, thrice;
  TVN_lu_gettotalwork(t.f, once);
  TVN_lu_gettotalwork(u.f, thrice);
  EXPECT_GT(TVN_bigint_2double(once), TVN_lu_getfactorwork(t.f)); // passes and solves beside the factor tasks
  EXPECT_LT(TVN_bigint_compare(once, thrice), 0);
}

TEST(LuFactor, ReportsTheRankOfWideMatricesAndOfRunsWithoutL) {
  rng r(11);
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  {
    lu f;
    TVN_lu_make(*sys, 20, 35, f);
    TVN_lu_newwszedbg(f, 2000);
    TVN_lu_init(f);
    for (int32_t j = 0; j < 35; j++)
      for (int32_t k = 0; k < 3; k++) ASSERT_EQ(TVN_lu_inaij(f, (j + 7 * k) % 19, j, r.value()), lu_code::done);
    int64_t isize = 0, rsize = 0;
    TVN_lu_getfactorspace(20, 35, isize, rsize);
    std::vector<int32_t> iwork(static_cast<size_t>(isize));
    std::vector<double> rwork(static_cast<size_t>(rsize));
    ASSERT_EQ(TVN_lu_factor(f, iwork, rwork), lu_code::done);
    EXPECT_EQ(TVN_lu_getrank(f), 19); // row 19 is empty
    int32_t col = -1;
    double value = -1.0;
    TVN_lu_getuii(f, 19, col, value);
    EXPECT_EQ(col, 35);
  }
  EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  const matrix b = lp_basis(r, 100, 0.2, 0.2, 4);
  factor with(100, 20 * b.nnz()), without(100, 20 * b.nnz());
  TVN_lu_putdropl(without.f, true);
  TVN_lu_putdropu(without.f, true);
  ASSERT_EQ(with.run(b), lu_code::done);
  ASSERT_EQ(without.run(b), lu_code::done);
  EXPECT_EQ(TVN_lu_getrank(with.f), TVN_lu_getrank(without.f));
}

TEST(LuFactor, ClampsTheRelativeThreshold) {
  factor t(1, 10);
  TVN_lu_puttol(t.f, 2, 1.0);
  EXPECT_EQ(TVN_lu_gettol(t.f, 2), 0.9999);
  TVN_lu_puttol(t.f, 2, 0.0);
  EXPECT_EQ(TVN_lu_gettol(t.f, 2), 0.0001);
}
