// If this fails, a stored solution claims more than is known of it after a change of the problem, or its figures lie.
#include "api/envtask.h"

#include <cmath>

namespace {

using apitest::EnvTask;

// max 3 x0 + 2 x1 + 1  s.t.  x0 + x1 <= 4, x0 - x1 >= -2, 0 <= x0 <= 3, 0 <= x1: optimum x = (3, 1), duals y = (2, 0),
// reduced cost of x0 is 1. As a minimisation of the negated costs the duals change sign.
struct Solutions : EnvTask {
  void fill(bool maximize) {
    const double sign = maximize ? 1.0 : -1.0, c[] = {3 * sign, 2 * sign}, val[] = {1, 1, 1, -1};
    const int32_t ptrb[] = {0, 2}, ptre[] = {2, 4}, sub[] = {0, 1, 0, 1};
    const int32_t bkc[] = {TVN_BK_UP, TVN_BK_LO}, bkx[] = {TVN_BK_RA, TVN_BK_LO};
    const double blc[] = {0, -2}, buc[] = {4, 0}, blx[] = {0, 0}, bux[] = {3, 0};
    ASSERT_EQ(TVN_inputdata(task, 2, 2, 2, 2, c, sign, ptrb, ptre, sub, val, bkc, blc, buc, bkx, blx, bux), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, maximize ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE),
              TVN_RES_OK);
    put_optimum(sign);
  }
  void put_optimum(double sign) {
    const int32_t skc[] = {TVN_SK_UPR, TVN_SK_BAS}, skx[] = {TVN_SK_UPR, TVN_SK_BAS};
    const double xc[] = {4, 2}, xx[] = {3, 1}, zero[] = {0, 0};
    const double y[] = {2 * sign, 0}, suc[] = {-2 * sign, 0}, sux[] = {-1 * sign, 0};
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_BAS, skc, skx, nullptr, xc, xx, y, zero, suc, zero, sux, nullptr),
              TVN_RES_OK);
    set_status(TVN_PRO_STA_PRIM_AND_DUAL_FEAS, TVN_SOL_STA_OPTIMAL);
  }
  void set_status(int32_t prosta, int32_t solsta) {
    ASSERT_EQ(TVN_putprosta(task, TVN_SOL_BAS, prosta), TVN_RES_OK);
    ASSERT_EQ(TVN_putsolsta(task, TVN_SOL_BAS, solsta), TVN_RES_OK);
  }
  void expect_status(int32_t prosta, int32_t solsta) {
    int32_t p = -1, s = -1;
    EXPECT_EQ(TVN_getsolutionstatus(task, TVN_SOL_BAS, &p, &s), TVN_RES_OK);
    EXPECT_EQ(p, prosta);
    EXPECT_EQ(s, solsta);
  }
  int32_t sk(int32_t accmode, int32_t i) {
    int32_t k = -1;
    EXPECT_EQ(TVN_getsolutionstatuskeyslice(task, accmode, TVN_SOL_BAS, i, i + 1, &k), TVN_RES_OK);
    return k;
  }
};

TEST_F(Solutions, OptimumOfEitherSenseHasNoViolation) {
  for (const bool maximize : {true, false}) {
    fill(maximize);
    int32_t prosta = 0, solsta = 0;
    double pobj = 0, pbi = -1, pcni = -1, peqi = -1, inti = -1, dobj = 0, dbi = -1, dcni = -1, deqi = -1;
    ASSERT_EQ(TVN_getsolutioninf(task, TVN_SOL_BAS, &prosta, &solsta, &pobj, &pbi, &pcni, &peqi, &inti, &dobj, &dbi,
                                 &dcni, &deqi),
              TVN_RES_OK);
    const double sign = maximize ? 1.0 : -1.0;
    EXPECT_DOUBLE_EQ(pobj, 12 * sign);
    EXPECT_DOUBLE_EQ(dobj, 12 * sign);
    for (const double v : {pbi, pcni, peqi, inti, dbi, dcni, deqi}) EXPECT_EQ(v, 0.0);
    double red[2] = {};
    EXPECT_EQ(TVN_getreducedcosts(task, TVN_SOL_BAS, 0, 2, red), TVN_RES_OK);
    EXPECT_EQ(red[0], sign);
    double y[2], slc[2], suc[2], slx[2], sux[2];
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    ASSERT_EQ(TVN_getsolution(task, TVN_SOL_BAS, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, y, slc,
                              suc, slx, sux, nullptr),
              TVN_RES_OK);
    for (const double* v : {y, slc, suc, slx, sux})
      for (const int32_t k : {0, 1}) EXPECT_FALSE(v[k] == 0 && std::signbit(v[k])) << "a zero has no sign";
    ASSERT_EQ(TVN_updatesolutioninfo(task, TVN_SOL_BAS), TVN_RES_OK);
    double item = 0;
    EXPECT_EQ(TVN_getdouinf(task, TVN_DINF_SOL_BAS_DUAL_OBJ, &item), TVN_RES_OK);
    EXPECT_DOUBLE_EQ(item, 12 * sign);
  }
}

TEST_F(Solutions, EachViolationIsSeenByItsMeasure) {
  fill(false);
  const int32_t all[] = {0, 1};
  double v[2] = {};
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 0, TVN_SOL_BAS, TVN_SK_UPR, 5.0, 0.0, -1.0, 0.0), TVN_RES_OK);
  ASSERT_EQ(TVN_getpbi(task, TVN_SOL_BAS, TVN_ACC_VAR, all, 2, v, 0), TVN_RES_OK);
  EXPECT_EQ(v[0], 2.0);
  EXPECT_EQ(v[1], 0.0);
  ASSERT_EQ(TVN_getpbi(task, TVN_SOL_BAS, TVN_ACC_VAR, all, 1, v, 1), TVN_RES_OK);
  EXPECT_DOUBLE_EQ(v[0], 2.0 / 3.0);
  ASSERT_EQ(TVN_getpeqi(task, TVN_SOL_BAS, all, 2, v, 0), TVN_RES_OK);
  EXPECT_EQ(v[0], 2.0);
  EXPECT_EQ(v[1], 2.0);
  ASSERT_EQ(TVN_getdbi(task, TVN_SOL_BAS, TVN_ACC_VAR, all, 2, v, 0), TVN_RES_OK);
  EXPECT_EQ(v[0], 1.0); // sux is negative
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 1, TVN_SOL_BAS, TVN_SK_BAS, 1.0, 0.0, 0.5, 0.0), TVN_RES_OK);
  ASSERT_EQ(TVN_getdbi(task, TVN_SOL_BAS, TVN_ACC_VAR, all, 2, v, 0), TVN_RES_OK);
  EXPECT_EQ(v[1], 0.5); // an upper dual without an upper bound
  ASSERT_EQ(TVN_putsolutionyi(task, 0, TVN_SOL_BAS, -3.0), TVN_RES_OK);
  ASSERT_EQ(TVN_getdeqi(task, TVN_SOL_BAS, TVN_ACC_CON, all, 1, v, 0), TVN_RES_OK);
  EXPECT_EQ(v[0], 1.0);
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 0, TVN_SOL_BAS, TVN_SK_UPR, std::nan(""), 0, 0, 0), TVN_RES_OK);
  double pbi = 0, peqi = 0;
  ASSERT_EQ(TVN_getsolutioninf(task, TVN_SOL_BAS, nullptr, nullptr, nullptr, &pbi, nullptr, &peqi, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
            TVN_RES_OK);
  EXPECT_TRUE(std::isnan(pbi)); // a NaN must not pass for feasible
  EXPECT_TRUE(std::isnan(peqi));
}

TEST_F(Solutions, ConesAndIntegersAreMeasured) {
  append(0, 3);
  const int32_t mem[] = {0, 1, 2}, none[] = {0, 0, 0}, which[] = {0}, all[] = {0, 1, 2};
  const double x[] = {1.0, 2.0, 3.0};
  ASSERT_EQ(TVN_appendcone(task, TVN_CT_RQUAD, 0, 3, mem), TVN_RES_OK);
  ASSERT_EQ(TVN_putvartype(task, 1, TVN_VAR_TYPE_INT), TVN_RES_OK);
  ASSERT_EQ(TVN_putsolution(task, TVN_SOL_ITR, none, none, nullptr, nullptr, x, nullptr, nullptr, nullptr, nullptr,
                            nullptr, x),
            TVN_RES_OK);
  double v[3] = {};
  ASSERT_EQ(TVN_getpcni(task, TVN_SOL_ITR, which, 1, v), TVN_RES_OK);
  EXPECT_NEAR(v[0], std::sqrt(9.5) - 3 / std::sqrt(2.0), 1e-15);
  ASSERT_EQ(TVN_getdcni(task, TVN_SOL_ITR, which, 1, v), TVN_RES_OK);
  EXPECT_GT(v[0], 0.0);
  const int32_t badkey[] = {9};
  EXPECT_EQ(TVN_putsolution(task, TVN_SOL_ITR, none, none, badkey, nullptr, x, nullptr, nullptr, nullptr, nullptr,
                            nullptr, x),
            TVN_RES_ERR_INV_SKN);
  EXPECT_EQ(TVN_getpcni(task, TVN_SOL_ITR, which, 1, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_getdcni(task, TVN_SOL_ITR, which, 1, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_getinti(task, TVN_SOL_ITR, all, 3, nullptr), TVN_RES_ERR_NULL_POINTER);
  for (const auto measure : {TVN_getpbi, TVN_getdbi, TVN_getdeqi})
    EXPECT_EQ(measure(task, TVN_SOL_ITR, TVN_ACC_VAR, all, 3, nullptr, 0), TVN_RES_ERR_NULL_POINTER);
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 1, TVN_SOL_ITR, TVN_SK_SUPBAS, 2.25, 0, 0, 0), TVN_RES_OK);
  v[0] = -1;
  ASSERT_EQ(TVN_getinti(task, TVN_SOL_ITR, all, 3, v), TVN_RES_OK);
  EXPECT_EQ(v[0], -1.0); // continuous entries stay
  EXPECT_EQ(v[1], 0.25);
}

TEST_F(Solutions, CertificateCountsNoConstants) {
  fill(false);
  set_status(TVN_PRO_STA_PRIM_INFEAS, TVN_SOL_STA_PRIM_INFEAS_CER);
  double obj = 0;
  EXPECT_EQ(TVN_getdualobj(task, TVN_SOL_BAS, &obj), TVN_RES_OK);
  EXPECT_DOUBLE_EQ(obj, -11.0); // without the constant -1
  const int32_t zero[] = {0};
  double v = -1;
  EXPECT_EQ(TVN_getdeqi(task, TVN_SOL_BAS, TVN_ACC_VAR, zero, 1, &v, 0), TVN_RES_OK);
  EXPECT_EQ(v, 3.0); // the cost counts 0
}

TEST_F(Solutions, ChangedCostKeepsAPrimalStart) {
  fill(false);
  ASSERT_EQ(TVN_putcj(task, 0, -3.0), TVN_RES_OK); // the same value
  expect_status(TVN_PRO_STA_PRIM_AND_DUAL_FEAS, TVN_SOL_STA_OPTIMAL);
  ASSERT_EQ(TVN_putcj(task, 0, 1.0), TVN_RES_OK);
  expect_status(TVN_PRO_STA_PRIM_FEAS, TVN_SOL_STA_PRIM_FEAS);
  EXPECT_EQ(sk(TVN_ACC_VAR, 0), TVN_SK_UPR);
  EXPECT_EQ(sk(TVN_ACC_VAR, 1), TVN_SK_BAS);
}

TEST_F(Solutions, ChangedSenseOrConesLeaveNoOptimum) {
  fill(false);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_UNDEFINED), TVN_RES_OK); // the parameter says minimise, too
  expect_status(TVN_PRO_STA_PRIM_AND_DUAL_FEAS, TVN_SOL_STA_OPTIMAL);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  expect_status(TVN_PRO_STA_PRIM_FEAS, TVN_SOL_STA_PRIM_FEAS);
  const int32_t one[] = {1};
  ASSERT_EQ(TVN_removeall(task, TVN_PI_CONE), TVN_RES_OK); // there is none
  expect_status(TVN_PRO_STA_PRIM_FEAS, TVN_SOL_STA_PRIM_FEAS);
  ASSERT_EQ(TVN_appendcone(task, TVN_CT_QUAD, 0, 1, one), TVN_RES_OK);
  expect_status(TVN_PRO_STA_UNKNOWN, TVN_SOL_STA_UNKNOWN);
}

TEST_F(Solutions, SlotsHaveTheirItemsAndNoOthers) {
  fill(false);
  double v[2];
  int32_t def = -1;
  EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_SNX, 0, 2, v), TVN_RES_ERR_SOLITEM);
  EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_XX, 0, 3, v), TVN_RES_ERR_LAST);
  EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_XX, 0, 2, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_SUX, 0, 2, v), TVN_RES_OK);
  EXPECT_EQ(v[0], 1.0);
  EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_ITR, TVN_SOL_ITEM_XX, 0, 2, v), TVN_RES_ERR_UNDEF_SOLUTION);
  EXPECT_EQ(TVN_getsolutionslice(task, 3, TVN_SOL_ITEM_XX, 0, 2, v), TVN_RES_ERR_WHICHSOL);
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 1, TVN_SOL_ITG, TVN_SK_LOW, 7.0, 1.0, 1.0, 1.0), TVN_RES_OK);
  double x = 0, sl = -1;
  EXPECT_EQ(TVN_getsolutioni(task, TVN_ACC_VAR, 1, TVN_SOL_ITG, nullptr, &x, &sl, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(x, 7.0);
  EXPECT_EQ(sl, 0.0); // no duals in the integer solution
  EXPECT_EQ(TVN_getreducedcosts(task, TVN_SOL_ITG, 0, 1, v), TVN_RES_ERR_NO_DUAL_FOR_ITG_SOL);
  EXPECT_EQ(TVN_undefsolution(task, TVN_SOL_ITG), TVN_RES_OK);
  EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_ITG, &def), TVN_RES_OK);
  EXPECT_EQ(def, 0);
  const int32_t bad[] = {TVN_SK_BAS, 9};
  EXPECT_EQ(TVN_putsolution(task, TVN_SOL_BAS, bad, bad, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr),
            TVN_RES_ERR_INV_SKC);
  EXPECT_EQ(TVN_putsolution(task, TVN_SOL_BAS, nullptr, bad, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr),
            TVN_RES_ERR_NULL_POINTER);
  expect_status(TVN_PRO_STA_PRIM_AND_DUAL_FEAS, TVN_SOL_STA_OPTIMAL);
}

TEST_F(Solutions, EmptyTaskWithTheFlagSetIsDefinedAndReadable) {
  int32_t def = 0;
  ASSERT_EQ(TVN_makesolutionstatusunknown(task, TVN_SOL_BAS), TVN_RES_OK);
  EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_BAS, &def), TVN_RES_OK);
  EXPECT_EQ(def, 1);
  double obj = -1, none = 0;
  EXPECT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &obj), TVN_RES_OK);
  EXPECT_EQ(obj, 0.0);
  EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_XX, 0, 0, &none), TVN_RES_OK);
  append(1, 1); // the slot grows with the task
  EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_BAS, &def), TVN_RES_OK);
  EXPECT_EQ(def, 1);
  EXPECT_EQ(sk(TVN_ACC_CON, 0), TVN_SK_BAS);
}

} // namespace
