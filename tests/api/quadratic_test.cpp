// If these failed in the field: a caller would get a quadratic optimum in the wrong sense, or none, or one of a problem
// that has none because it is not convex.
#include "envtask.h"
#include "lptask.h"
#include "support/quadrowscase.h"

#include <algorithm>
#include <string>

using namespace tvntest;
using namespace apitest;

namespace {

struct Quadratic : EnvTask {
  void set(int32_t param, int32_t value) { ASSERT_EQ(TVN_putintparam(task, param, value), TVN_RES_OK); }
  // sign: -1 for the maximisation of the same problem, each entry in two halves.
  void put(qp_case& k, double sign) {
    lp_case p = sign < 0 ? negated(k.p) : k.p;
    ASSERT_EQ(input(task, p), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, sign < 0 ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE),
              TVN_RES_OK);
    std::vector<int32_t> i, j;
    std::vector<double> v;
    for (size_t c = 0; c < k.q.size(); c++)
      for (int64_t e = k.beg[c]; e < k.beg[c + 1]; e++)
        for (int half = 0; half < 2; half++) {
          i.push_back(k.sub[size_t(e)]), j.push_back(int32_t(c)), v.push_back(sign * k.val[size_t(e)] / 2);
        }
    ASSERT_EQ(TVN_putqobj(task, static_cast<int32_t>(v.size()), i.data(), j.data(), v.data()), TVN_RES_OK);
  }
  double dual_item(int32_t which) {
    double v = NAN;
    EXPECT_EQ(TVN_getdouinf(task, which, &v), TVN_RES_OK);
    return v;
  }
};

} // namespace

TEST_F(Quadratic, OptimumInBothSensesByEachOptimizer) {
  const int32_t optimizers[] = {TVN_OPTIMIZER_FREE, TVN_OPTIMIZER_INTPNT, TVN_OPTIMIZER_QCONE};
  for (int32_t seed = 0; seed < 90; seed++) {
    SCOPED_TRACE(seed);
    known_qp k =
        optimal_qp(static_cast<uint64_t>(seed) + 7000, 3 + seed % 12, 5 + seed % 15, static_cast<q_kind>(seed % 5));
    const double sign = seed % 2 ? -1 : 1;
    put(k.p, sign);
    set(TVN_IPAR_OPTIMIZER, optimizers[seed % 3]);
    if (seed % 5 == 0) set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_INTPNT); // it is linear
    set(TVN_IPAR_PRESOLVE_USE, seed / 2 % 2);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    outcome a = stored_solution(task, TVN_SOL_ITR, k.p.p);
    EXPECT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
    const verdict v = judge_qp(k.p, sign < 0 ? with_negated_duals(a.point) : a.point);
    EXPECT_LE(v.primal, 1e-6);
    EXPECT_LE(v.dual, 1e-5);
    EXPECT_LE(v.gap, 1e-6);
    const double objective = sign * k.objective, tol = 1e-6 * (1 + std::fabs(objective));
    EXPECT_NEAR(dual_item(TVN_DINF_SOL_ITR_PRIMAL_OBJ), objective, tol);
    EXPECT_NEAR(dual_item(TVN_DINF_SOL_ITR_DUAL_OBJ), objective, tol) << "Q x counts once";
    double c0 = 0;
    if (k.p.p.n > 0) {
      ASSERT_EQ(TVN_getcslice(task, 0, 1, &c0), TVN_RES_OK);
      EXPECT_EQ(c0, sign * k.p.p.c[0]) << "the costs are as they were";
    }
  }
}

// Quadratic rows in both senses, with a cone beside them, and a quadratic objective by cones: each optimizer that takes
// the type has all duals of the problem as given.
TEST_F(Quadratic, RowsHaveTheirMultipliersInBothSenses) {
  const int32_t optimizers[] = {TVN_OPTIMIZER_FREE, TVN_OPTIMIZER_INTPNT, TVN_OPTIMIZER_QCONE, TVN_OPTIMIZER_CONIC};
  for (int32_t seed = 0; seed < 80; seed++) {
    SCOPED_TRACE(seed);
    known_quadrows k = optimal_quadrows(static_cast<uint64_t>(seed) + 5000, 2 + seed % 7, 3 + seed % 9);
    const double sign = seed % 2 ? -1 : 1;
    const bool cone = seed % 5 == 0;
    ASSERT_EQ(TVN_resizetask(task, 0, 0, 0, 0, 0), TVN_RES_OK);
    put(k.k.k, sign);
    (void)k.k.view();
    for (size_t i = 0; i < k.k.rowq.size(); i++) {
      const auto from = static_cast<size_t>(k.k.beg[i]), to = static_cast<size_t>(k.k.end[i]);
      if (from == to) continue;
      ASSERT_EQ(TVN_putqconk(task, static_cast<int32_t>(i), static_cast<int32_t>(to - from), &k.k.subi[from],
                             &k.k.subj[from], &k.k.val[from]),
                TVN_RES_OK);
    }
    if (cone) { // at least the length of (3, 4)
      const int32_t n = k.k.k.p.n, members[] = {n, n + 1, n + 2};
      ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 3), TVN_RES_OK);
      for (int32_t q = 0; q < 3; q++)
        ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, n + q, q ? TVN_BK_FX : TVN_BK_FR, 2 + q, 2 + q), TVN_RES_OK);
      ASSERT_EQ(TVN_putcj(task, n, sign), TVN_RES_OK);
      ASSERT_EQ(TVN_appendcone(task, TVN_CT_QUAD, 0, 3, members), TVN_RES_OK);
      k.objective += 5;
    }
    set(TVN_IPAR_OPTIMIZER, cone ? optimizers[3 * (seed / 5 % 2)] : optimizers[seed / 2 % 4]);
    set(TVN_IPAR_PRESOLVE_USE, seed / 3 % 2);
    EXPECT_EQ(TVN_optimize(task), TVN_RES_OK);
    lp_case room = k.k.k.p;
    room.n += cone ? 3 : 0;
    outcome a = stored_solution(task, TVN_SOL_ITR, room);
    EXPECT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
    for (auto* v : {&a.point.xx, &a.point.slx, &a.point.sux}) v->resize(static_cast<size_t>(k.k.k.p.n));
    EXPECT_LE(k.k.worst(sign < 0 ? with_negated_duals(a.point) : a.point), 2e-6);
    const double objective = sign * k.objective, tol = 1e-6 * (1 + std::fabs(objective));
    EXPECT_NEAR(dual_item(TVN_DINF_SOL_ITR_PRIMAL_OBJ), objective, tol);
    EXPECT_NEAR(dual_item(TVN_DINF_SOL_ITR_DUAL_OBJ), objective, tol);
  }
}

TEST_F(Quadratic, WhatIsNotConvexIsRefusedByName) {
  const int32_t sub[] = {0, 1, 1}, sub0[] = {0, 0, 1};
  const double indefinite[] = {1, 2, 1}, convex[] = {2, 1, 2}, nearly[] = {1, 1 + 5e-6, 1};
  const auto negative = [](const double* v) { return std::vector<double>{-v[0], -v[1], -v[2]}; };
  append(1, 2);
  for (int32_t j = 0; j < 2; j++) ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, j, TVN_BK_FR, 0, 0), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(task, TVN_PI_CON, 0, "limit"), TVN_RES_OK);
  const auto optimize = [&](int32_t level) {
    set(TVN_IPAR_CHECK_CONVEXITY, level);
    reports.clear();
    TVNrescodee trm = 0;
    return TVN_optimizetrm(task, &trm);
  };
  const auto objective = [&](const double* v, int32_t sense) {
    ASSERT_EQ(TVN_putqobj(task, 3, sub, sub0, v), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, sense), TVN_RES_OK);
  };
  const int32_t lower = TVN_OBJECTIVE_SENSE_MINIMIZE, higher = TVN_OBJECTIVE_SENSE_MAXIMIZE;
  objective(indefinite, lower);
  EXPECT_EQ(optimize(2), TVN_RES_ERR_OBJ_Q_NOT_PSD);
  EXPECT_EQ(optimize(1), TVN_RES_ERR_OBJ_Q_NOT_PSD);
  EXPECT_EQ(optimize(0), TVN_RES_ERR_NONCONVEX) << "the factor tells";
  int32_t solsta = -1;
  ASSERT_EQ(TVN_getsolutionstatus(task, TVN_SOL_ITR, nullptr, &solsta), TVN_RES_OK);
  EXPECT_EQ(solsta, TVN_SOL_STA_UNKNOWN);
  objective(indefinite, higher);
  EXPECT_EQ(optimize(2), TVN_RES_ERR_OBJ_Q_NOT_NSD);
  objective(convex, higher);
  EXPECT_EQ(optimize(2), TVN_RES_ERR_OBJ_Q_NOT_NSD);
  objective(convex, lower);
  EXPECT_EQ(optimize(2), TVN_RES_OK);
  objective(negative(convex).data(), higher);
  EXPECT_EQ(optimize(2), TVN_RES_OK);
  objective(nearly, lower);
  EXPECT_EQ(optimize(2), TVN_RES_ERR_OBJ_Q_NOT_PSD);
  ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_CHECK_CONVEXITY_REL_TOL, 1e-5), TVN_RES_OK);
  EXPECT_EQ(optimize(2), TVN_RES_OK);
  objective(convex, lower);
  // The rows, by what their bounds ask for.
  const struct {
    int32_t bk;
    bool up;
    TVNrescodee code;
  } cases[] = {{TVN_BK_FX, true, TVN_RES_ERR_NONLINEAR_EQUALITY},
               {TVN_BK_RA, true, TVN_RES_ERR_NONLINEAR_RANGED},
               {TVN_BK_UP, false, TVN_RES_ERR_CON_Q_NOT_PSD},
               {TVN_BK_LO, true, TVN_RES_ERR_CON_Q_NOT_NSD},
               {TVN_BK_UP, true, TVN_RES_OK},
               {TVN_BK_FR, true, TVN_RES_OK}};
  for (const auto& c : cases) {
    const std::vector<double> v = c.up ? std::vector<double>(convex, convex + 3) : negative(convex);
    ASSERT_EQ(TVN_putqconk(task, 0, 3, sub, sub0, v.data()), TVN_RES_OK);
    ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, c.bk, 1, c.bk == TVN_BK_FX ? 1 : 2), TVN_RES_OK);
    for (const int32_t level : {2, 0}) {
      EXPECT_EQ(optimize(level), c.code) << c.bk;
      if (c.code == TVN_RES_OK) continue;
      EXPECT_NE(last_message().find("limit"), std::string::npos) << last_message();
    }
  }
}

// The start is as far from all bounds, and so is a saddle there: nothing but Q itself tells that it is no minimum.
TEST_F(Quadratic, NoSaddleIsAnOptimum) {
  const int32_t i[] = {0, 1, 2, 1, 2, 2}, j[] = {0, 1, 2, 0, 0, 1};
  const double saddles[][6] = {{1, 1, 1, -.6, -.6, -.6}, {0, 0, 1, 1, 0, 0}, {1, 1, 1, 1 + 1e-5, 0, 0}};
  append(0, 3);
  for (int32_t k = 0; k < 3; k++) ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, k, TVN_BK_RA, -1, 1), TVN_RES_OK);
  for (const auto& q : saddles)
    for (const int32_t optimizer : {TVN_OPTIMIZER_FREE, TVN_OPTIMIZER_INTPNT, TVN_OPTIMIZER_QCONE})
      for (const int32_t presolve : {0, 1}) {
        ASSERT_EQ(TVN_putqobj(task, 6, i, j, q), TVN_RES_OK);
        set(TVN_IPAR_CHECK_CONVEXITY, TVN_CHECK_CONVEXITY_NONE);
        set(TVN_IPAR_OPTIMIZER, optimizer);
        set(TVN_IPAR_PRESOLVE_USE, presolve);
        EXPECT_EQ(TVN_optimize(task), TVN_RES_ERR_NONCONVEX) << q[3] << " optimizer " << optimizer;
        int32_t solsta = -1;
        ASSERT_EQ(TVN_getsolutionstatus(task, TVN_SOL_ITR, nullptr, &solsta), TVN_RES_OK);
        EXPECT_EQ(solsta, TVN_SOL_STA_UNKNOWN);
      }
}
