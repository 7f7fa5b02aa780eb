// If this fails, the figures by which a caller judges a quadratic, conic or nonlinear solution lie, or the functions of
// the user are asked for what they did not promise.
#include "api/envtask.h"

#include <cmath>

namespace {

using apitest::EnvTask;

// Figures of TVN_getsolutioninf.
struct figures {
  double pobj = -1, pbi = -1, pcni = -1, peqi = -1, pinti = -1, dobj = -1, dbi = -1, dcni = -1, deqi = -1;
  double worst() const { return std::max({pbi, pcni, peqi, pinti, dbi, dcni, deqi}); }
};

// 0.5 x'Qx with Q = {{2, 1}, {1, 2}} in the objective and x0^2 + x1^2 in row 0, as the functions of a user.
struct user_part {
  bool objective = true, row = true;
  int32_t fail = 0, farsub = 0;
  static int32_t getsp(void* h, int32_t item, int32_t* numgrdnz, int32_t* grdsub, int32_t* numhesnz, int32_t* hessubi,
                       int32_t* hessubj) {
    const auto& u = *static_cast<user_part*>(h);
    const bool has = item < 0 ? u.objective : u.row && item == 0;
    EXPECT_TRUE(!numhesnz && !hessubi && !hessubj) << "no Hessian is needed for a gradient";
    if (numgrdnz) *numgrdnz = has ? 2 : 0;
    for (int32_t k = 0; grdsub && k < 2; k++) grdsub[k] = 1 - k + u.farsub;
    return 0;
  }
  static int32_t getva(void* h, const double* x, double, const double*, double* objval, double* conval, double* grdval,
                       double* hesval) {
    const auto& u = *static_cast<user_part*>(h);
    EXPECT_EQ(hesval, nullptr);
    if (objval) *objval = u.objective ? x[0] * x[0] + x[0] * x[1] + x[1] * x[1] : 0;
    if (conval) conval[0] = u.row ? x[0] * x[0] + x[1] * x[1] : 0;
    if (grdval && u.objective) {
      *grdval++ = x[0] + 2 * x[1];
      *grdval++ = 2 * x[0] + x[1];
    }
    if (grdval && u.row) {
      grdval[0] = 2 * x[1];
      grdval[1] = 2 * x[0];
    }
    return u.fail;
  }
};

struct Nonlinear : EnvTask {
  user_part user;
  const int32_t all[2] = {0, 1};

  // opt 0.5 x'Qx + c'x, row 0: a (x0 + x1) + quadratic <= or = b, x free.
  void problem(double c, double a, int32_t bk, double b) {
    ASSERT_EQ(TVN_resizetask(task, 1, 2, 0, 0, 0), TVN_RES_OK);
    append(1, 2);
    const double row[] = {a, a}, cost[] = {c, c};
    ASSERT_EQ(TVN_putavec(task, TVN_ACC_CON, 0, 2, all, row), TVN_RES_OK);
    ASSERT_EQ(TVN_putclist(task, 2, all, cost), TVN_RES_OK);
    ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, bk, b, b), TVN_RES_OK);
    for (const int32_t j : all) ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, j, TVN_BK_FR, 0, 0), TVN_RES_OK);
    ASSERT_EQ(TVN_putcfix(task, 0.25), TVN_RES_OK);
  }
  void quadratic(bool objective, bool row, double sign = 1) {
    const int32_t i[] = {0, 1, 1}, j[] = {0, 0, 1};
    const double q[] = {2 * sign, 1 * sign, 2 * sign}, two[] = {2, 2};
    if (objective) { ASSERT_EQ(TVN_putqobj(task, 3, i, j, q), TVN_RES_OK); }
    if (row) { ASSERT_EQ(TVN_putqconk(task, 0, 2, all, all, two), TVN_RES_OK); }
  }
  void functions(bool objective, bool row) {
    user = {objective, row, 0, 0};
    ASSERT_EQ(TVN_putnlfunc(task, &user, user_part::getsp, user_part::getva), TVN_RES_OK);
  }
  void solution(double x, double xc, double y) {
    const double xx[] = {x, x}, slc = std::max(y, 0.0), suc = std::max(-y, 0.0), zero[] = {0, 0};
    const int32_t key[] = {TVN_SK_SUPBAS, TVN_SK_SUPBAS};
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_ITR, key, key, nullptr, &xc, xx, &y, &slc, &suc, zero, zero, zero),
              TVN_RES_OK);
  }
  figures measured(TVNrescodee expected = TVN_RES_OK) {
    figures f;
    EXPECT_EQ(TVN_getsolutioninf(task, TVN_SOL_ITR, nullptr, nullptr, &f.pobj, &f.pbi, &f.pcni, &f.peqi, &f.pinti,
                                 &f.dobj, &f.dbi, &f.dcni, &f.deqi),
              expected);
    return f;
  }
  void expect_optimal(double objective) {
    const figures f = measured();
    EXPECT_NEAR(f.pobj, objective, 1e-15);
    EXPECT_NEAR(f.dobj, objective, 1e-15);
    EXPECT_LE(f.worst(), 1e-15);
    double p = 0, d = 0;
    EXPECT_EQ(TVN_getprimalobj(task, TVN_SOL_ITR, &p), TVN_RES_OK);
    EXPECT_EQ(TVN_getdualobj(task, TVN_SOL_ITR, &d), TVN_RES_OK);
    EXPECT_EQ(p, f.pobj);
    EXPECT_EQ(d, f.dobj);
  }
  int32_t type() {
    int32_t t = -1;
    EXPECT_EQ(TVN_getprobtype(task, &t), TVN_RES_OK);
    return t;
  }
};

} // namespace

// min 0.5 x'Qx + 0.25, x0 + x1 = 1: x = (1/2, 1/2), y = 3/2, objective 1; and its negated maximisation.
TEST_F(Nonlinear, QuadraticObjectivesCountInBothObjectivesAndTheDualEquations) {
  for (const double sign : {1.0, -1.0}) {
    problem(0, 1, TVN_BK_FX, 1);
    quadratic(true, false, sign);
    ASSERT_EQ(TVN_putcfix(task, 0.25 * sign), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, sign > 0 ? TVN_OBJECTIVE_SENSE_MINIMIZE : TVN_OBJECTIVE_SENSE_MAXIMIZE),
              TVN_RES_OK);
    const double y = 1.5 * sign, half[] = {0.5, 0.5}, xc = 1, zero[] = {0, 0}, dual = 1.5 * sign;
    const int32_t key[] = {TVN_SK_SUPBAS, TVN_SK_SUPBAS};
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_ITR, key, key, nullptr, &xc, half, &y, &dual, zero, zero, zero, zero),
              TVN_RES_OK);
    expect_optimal(sign);
  }
  EXPECT_EQ(TVN_updatesolutioninfo(task, TVN_SOL_ITR), TVN_RES_OK);
  double item = 0;
  EXPECT_EQ(TVN_getdouinf(task, TVN_DINF_SOL_ITR_DUAL_OBJ, &item), TVN_RES_OK);
  EXPECT_EQ(item, -1);
  solution(0.75, 1, 1.5);
  EXPECT_EQ(measured().peqi, 0.5);
}

// min -x0 - x1 + 0.25, x0^2 + x1^2 <= 2: x = (1, 1), y = -1/2, objective -7/4; by stored terms and by functions alike.
TEST_F(Nonlinear, ConstraintTermsCountAlikeAsDataAndAsFunctions) {
  for (const bool stored : {true, false}) {
    problem(-1, 0, TVN_BK_UP, 2);
    if (stored)
      quadratic(false, true);
    else
      functions(false, true);
    EXPECT_EQ(type(), stored ? TVN_PROBTYPE_QCQO : TVN_PROBTYPE_GECO);
    solution(1, 2, -0.5);
    expect_optimal(-1.75);
    double v[2] = {-1, -1};
    EXPECT_EQ(TVN_getpeqi(task, TVN_SOL_ITR, all, 1, v, 0), TVN_RES_OK);
    EXPECT_EQ(v[0], 0);
    EXPECT_EQ(TVN_getdeqi(task, TVN_SOL_ITR, TVN_ACC_VAR, all, 2, v, 0), TVN_RES_OK);
    EXPECT_EQ(v[0], stored ? 1 : 0) << "of the nonlinear terms only the gradients of functions";
    ASSERT_EQ(TVN_putnlfunc(task, nullptr, nullptr, nullptr), TVN_RES_OK);
  }
}

TEST_F(Nonlinear, FunctionsAndDataInOneProblemAddUp) {
  figures f[2];
  for (const bool stored : {true, false}) {
    problem(-1, 1, TVN_BK_UP, 2);
    quadratic(true, stored);
    functions(true, !stored);
    if (stored) quadratic(false, true);
    solution(0.75, 2.5, -0.25);
    f[stored] = measured();
    ASSERT_EQ(TVN_putnlfunc(task, nullptr, nullptr, nullptr), TVN_RES_OK);
  }
  EXPECT_EQ(f[0].pobj, 2 * 3 * 0.5625 - 1.5 + 0.25);
  EXPECT_EQ(f[0].peqi, 0.125);
  for (const auto figure : {&figures::pobj, &figures::pbi, &figures::peqi, &figures::dobj, &figures::deqi})
    EXPECT_EQ(f[0].*figure, f[1].*figure);
}

TEST_F(Nonlinear, FaultyFunctionsAreNamedAndChangeNothing) {
  problem(-1, 1, TVN_BK_UP, 2);
  EXPECT_EQ(TVN_putnlfunc(task, &user, user_part::getsp, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(last_message().find("nlgetva") == std::string::npos, false);
  EXPECT_EQ(type(), TVN_PROBTYPE_LO);
  functions(true, true);
  solution(1, 4, 0);
  user.fail = 1;
  measured(TVN_RES_ERR_USER_NLO_FUNC);
  user.fail = 0;
  user.farsub = 1;
  measured(TVN_RES_ERR_USER_NLO_EVAL);
  EXPECT_NE(last_message().find("subscript 2"), std::string::npos) << last_message();
  user.farsub = 0;
  measured();
  TVNtask_t clone = nullptr;
  const int32_t perm[] = {0}, cone[] = {0};
  EXPECT_EQ(TVN_clonetask(task, &clone), TVN_RES_ERR_CANNOT_CLONE_NL);
  EXPECT_EQ(clone, nullptr);
  EXPECT_EQ(TVN_permuteandremove(task, TVN_ACC_CON, 1, perm), TVN_RES_ERR_CANNOT_HANDLE_NL);
  void* handle = nullptr;
  TVN_nlgetspfunc getsp = nullptr;
  EXPECT_EQ(TVN_getnlfunc(task, &handle, &getsp, nullptr), TVN_RES_OK);
  EXPECT_TRUE(handle == &user && getsp == user_part::getsp);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_ERR_INV_OPTIMIZER);
  ASSERT_EQ(TVN_appendcone(task, TVN_CT_QUAD, 0, 1, cone), TVN_RES_OK);
  EXPECT_EQ(type(), TVN_PROBTYPE_MIXED);
  measured(TVN_RES_ERR_MIXED_PROBLEM);
}

// min x0, x0 >= |(x1, x2)|, x1 = x2 = 1.
TEST_F(Nonlinear, ConicOptimumHasNoViolationOnEitherSide) {
  append(0, 3);
  const int32_t member[] = {0, 1, 2}, key[] = {TVN_SK_SUPBAS, TVN_SK_FIX, TVN_SK_FIX}, skn[] = {TVN_SK_UPR};
  const double s = std::sqrt(0.5), xx[] = {std::sqrt(2.0), 1, 1}, slx[] = {0, s, s}, zero[] = {0, 0, 0};
  const double snx[] = {1, -s, -s};
  ASSERT_EQ(TVN_putcj(task, 0, 1), TVN_RES_OK);
  ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_FR, 0, 0), TVN_RES_OK);
  for (const int32_t j : {1, 2}) ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, j, TVN_BK_FX, 1, 1), TVN_RES_OK);
  ASSERT_EQ(TVN_appendcone(task, TVN_CT_QUAD, 0, 3, member), TVN_RES_OK);
  ASSERT_EQ(
      TVN_putsolution(task, TVN_SOL_ITR, nullptr, key, skn, nullptr, xx, nullptr, nullptr, nullptr, slx, zero, snx),
      TVN_RES_OK);
  figures f = measured();
  EXPECT_NEAR(f.pobj, std::sqrt(2.0), 1e-15);
  EXPECT_NEAR(f.dobj, f.pobj, 1e-15);
  EXPECT_LE(f.worst(), 1e-15);
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 0, TVN_SOL_ITR, TVN_SK_SUPBAS, 1, 0, 0, 0.5), TVN_RES_OK);
  f = measured();
  EXPECT_NEAR(f.pcni, std::sqrt(2.0) - 1, 1e-15);
  EXPECT_NEAR(f.dcni, 0.5, 1e-15);
  EXPECT_NEAR(f.deqi, 0.5, 1e-15);
}
