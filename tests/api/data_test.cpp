// If this fails, the problem that is solved is not the one that the caller entered.
#include "api/envtask.h"

#include <cmath>
#include <limits>
#include <map>

namespace {

using apitest::EnvTask;

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double inf_value = std::numeric_limits<double>::infinity();

struct ProblemData : EnvTask {};

TEST_F(ProblemData, NewItemsAndCapacitiesFollowTheRules) {
  int32_t max = -1;
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 1), TVN_RES_OK);
  EXPECT_EQ(TVN_getmaxnumvar(task, &max), TVN_RES_OK);
  EXPECT_EQ(max, 1);
  ASSERT_EQ(TVN_putmaxnumvar(task, 10), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 10), TVN_RES_OK);
  EXPECT_EQ(TVN_getmaxnumvar(task, &max), TVN_RES_OK);
  EXPECT_EQ(max, 20);
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 1), TVN_RES_OK);
  EXPECT_EQ(key(TVN_ACC_VAR, 10), TVN_BK_FX);
  EXPECT_EQ(key(TVN_ACC_CON, 0), TVN_BK_FR);
  EXPECT_EQ(TVN_putmaxnumvar(task, 10), TVN_RES_ERR_MAXNUMVAR);
  EXPECT_EQ(TVN_putmaxnumcon(task, 0), TVN_RES_ERR_MAXNUMCON);
  EXPECT_EQ(TVN_append(task, TVN_ACC_CON, -1), TVN_RES_ERR_NEGATIVE_APPEND);
  EXPECT_EQ(TVN_append(task, 2, 1), TVN_RES_ERR_INVALID_ACCMODE);
  int32_t first = -1;
  EXPECT_EQ(TVN_core_append(task, TVN_ACC_CON, 2, &first), TVN_RES_OK);
  EXPECT_EQ(first, 1) << "behind the one that was there";
  // Vectors without elements need no arrays of them.
  const int32_t none[] = {3, 3}, some[] = {3, 4};
  EXPECT_EQ(TVN_appendvars(task, 2, nullptr, none, none, nullptr, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_appendvars(task, 2, nullptr, none, some, nullptr, nullptr, nullptr, nullptr, nullptr),
            TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_getnumvar(task, &max), TVN_RES_OK);
  EXPECT_EQ(max, 13) << "nothing is appended when they are missing";
  EXPECT_EQ(TVN_putmaxnumcone(task, 99), TVN_RES_OK);
  EXPECT_EQ(TVN_getmaxnumcone(task, &max), TVN_RES_OK);
  EXPECT_EQ(max, 20);
}

TEST_F(ProblemData, UnknownSenseIsReportedButNotReturned) {
  int32_t sense = -1;
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  EXPECT_EQ(TVN_putobjsense(task, 7), TVN_RES_OK);
  EXPECT_EQ(last_message(), "7 is an invalid objective sense code.");
  EXPECT_EQ(TVN_getobjsense(task, &sense), TVN_RES_OK);
  EXPECT_EQ(sense, TVN_OBJECTIVE_SENSE_MAXIMIZE);
}

TEST_F(ProblemData, HugeAndLargeCosts) {
  append(0, 2);
  const int32_t sub[] = {0, 1, 5};
  const double val[] = {1.0, 1e17, 2.0};
  EXPECT_EQ(TVN_putclist(task, 3, sub, val), TVN_RES_ERR_HUGE_C);
  double c[2] = {};
  EXPECT_EQ(TVN_getc(task, c), TVN_RES_OK);
  EXPECT_EQ(c[0], 1.0);
  EXPECT_EQ(c[1], 0.0);
  EXPECT_EQ(TVN_putcj(task, 1, 1e16), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_WRN_LARGE_CJ);
  EXPECT_EQ(TVN_getcslice(task, 1, 3, c), TVN_RES_ERR_LAST);
  EXPECT_EQ(TVN_getcslice(task, -1, 1, c), TVN_RES_ERR_FIRST);
}

TEST_F(ProblemData, BoundsPastTheThresholdLeaveTheKey) {
  append(1, 1);
  const double inf = 1e16;
  struct {
    int32_t bk;
    double bl, bu;
    int32_t expected;
  } const cases[] = {
      {TVN_BK_RA, -1e31, 5.0, TVN_BK_UP}, {TVN_BK_RA, 1.0, inf, TVN_BK_LO},   {TVN_BK_RA, -inf, inf, TVN_BK_FR},
      {TVN_BK_LO, -inf, 0.0, TVN_BK_FR},  {TVN_BK_LO, 3.0, -7.0, TVN_BK_LO},  {TVN_BK_UP, 0.0, inf, TVN_BK_FR},
      {TVN_BK_FX, inf, inf, TVN_BK_LO},   {TVN_BK_FX, -inf, -inf, TVN_BK_UP}, {TVN_BK_FX, 2.0, 2.0, TVN_BK_FX},
      {TVN_BK_UP, 0.0, -inf, TVN_BK_UP},
  };
  for (const auto& c : cases) {
    for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
      EXPECT_EQ(TVN_putbound(task, accmode, 0, c.bk, c.bl, c.bu), TVN_RES_OK);
      EXPECT_EQ(key(accmode, 0), c.expected) << c.bk << " " << c.bl << " " << c.bu;
    }
  }
  reports.clear();
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_LO, -inf, 0.0), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_OK); // exactly the threshold is infinite, not large
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_FX, 1e8, 1e8), TVN_RES_OK);
  EXPECT_EQ(reports.size(), 2U);
  reports.clear();
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_FX, 1e8, 1e8), TVN_RES_OK);
  EXPECT_EQ(reports.size(), 1U);
  EXPECT_EQ(last_report(), TVN_RES_WRN_LARGE_CON_FX);
  double bl = 0, bu = 0;
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_FX, 1.0, 2.0), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_ERR_FIXED_BOUND_VALUES);
  EXPECT_EQ(TVN_getbound(task, TVN_ACC_CON, 0, nullptr, &bl, &bu), TVN_RES_OK);
  EXPECT_EQ(bl, 1.0);
  EXPECT_EQ(bu, 1.0);
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, 5, 1.0, 2.0), TVN_RES_ERR_INV_BKC);
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_VAR, 0, -1, 1.0, 2.0), TVN_RES_ERR_INV_BKX);
}

TEST_F(ProblemData, InfinityIsStoredAsOneNumberOnEverySide) {
  append(1, 1);
  double bl = 0, bu = 0;
  for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
    ASSERT_EQ(TVN_putbound(task, accmode, 0, TVN_BK_UP, 0.0, -inf_value), TVN_RES_OK);
    EXPECT_EQ(TVN_getbound(task, accmode, 0, nullptr, nullptr, &bu), TVN_RES_OK);
    EXPECT_EQ(bu, -1e30);
    ASSERT_EQ(TVN_putbound(task, accmode, 0, TVN_BK_LO, inf_value, 0.0), TVN_RES_OK);
    EXPECT_EQ(TVN_getbound(task, accmode, 0, nullptr, &bl, nullptr), TVN_RES_OK);
    EXPECT_EQ(bl, 1e30);
    // Whatever counts as infinite, an infinity of the machine does.
    ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_DATA_TOL_BOUND_INF, 1e40), TVN_RES_OK);
    ASSERT_EQ(TVN_putbound(task, accmode, 0, TVN_BK_RA, -inf_value, inf_value), TVN_RES_OK);
    EXPECT_EQ(key(accmode, 0), TVN_BK_FR);
    ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_DATA_TOL_BOUND_INF, 1e16), TVN_RES_OK);
  }
}

TEST_F(ProblemData, VectorsSumRepeatedSubscriptsAndDropTinySums) {
  append(3, 2);
  const int32_t sub[] = {1, 0, 1, 2, 2, 2};
  const double val[] = {2.0, 5.0, 3.0, 1.0, -1.0, 1e-13};
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_VAR, 0, 6, sub, val), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_WRN_ZEROS_IN_SPARSE_COL);
  EXPECT_EQ(aij(1, 0), 5.0);
  EXPECT_EQ(numanz(), 2);
  // Cancellation in the middle must not list an index twice.
  const int32_t again[] = {1, 1, 1};
  const double swing[] = {1.0, -1.0, 2.0};
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_VAR, 1, 3, again, swing), TVN_RES_OK);
  EXPECT_EQ(numanz(), 3);
  EXPECT_EQ(aij(1, 1), 2.0);
}

TEST_F(ProblemData, BadCoefficientsAreRefusedAndTheVectorStays) {
  append(2, 2);
  const int32_t sub[] = {0, 1}, low[] = {0, -1}, high[] = {0, 2};
  const double good[] = {1.0, 2.0}, bad[] = {3.0, nan_value}, huge[] = {3.0, inf_value};
  ASSERT_EQ(TVN_putavec(task, TVN_ACC_CON, 1, 2, sub, good), TVN_RES_OK);
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_CON, 1, 2, sub, bad), TVN_RES_ERR_NAN_IN_AIJ);
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_CON, 1, 2, sub, huge), TVN_RES_ERR_HUGE_AIJ);
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_CON, 1, 2, low, good), TVN_RES_ERR_INDEX_IS_TOO_SMALL);
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_CON, 1, 2, high, good), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_NE(last_message().find("'subi[1]'"), std::string::npos) << last_message();
  EXPECT_EQ(TVN_putaij(task, 0, 0, nan_value), TVN_RES_ERR_NAN_IN_AIJ);
  EXPECT_EQ(TVN_putaij(task, 0, 0, -1e20), TVN_RES_ERR_HUGE_AIJ);
  EXPECT_EQ(TVN_putaij(task, 2, 0, 1.0), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(aij(1, 0), 1.0);
  EXPECT_EQ(numanz(), 2);
  EXPECT_EQ(TVN_putaij(task, 0, 0, 1e11), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_WRN_LARGE_AIJ);
  EXPECT_EQ(TVN_putaij(task, 0, 0, 1e-13), TVN_RES_OK);
  EXPECT_EQ(numanz(), 2);
}

TEST_F(ProblemData, SlicesOfRowsAndColumnsAgree) {
  append(3, 3);
  const int32_t subi[] = {0, 2, 1, 0}, subj[] = {0, 0, 1, 2};
  const double val[] = {1, 2, 3, 4};
  ASSERT_EQ(TVN_putaijlist(task, 4, subi, subj, val), TVN_RES_OK);
  int32_t surp = 4, b[3], e[3], sub[4], i[4], j[4];
  double v[4];
  ASSERT_EQ(TVN_getaslice(task, TVN_ACC_CON, 0, 3, 4, &surp, b, e, sub, v), TVN_RES_OK);
  EXPECT_EQ(surp, 0);
  EXPECT_EQ(e[0] - b[0], 2);
  EXPECT_EQ(e[1] - b[1], 1);
  surp = 4;
  ASSERT_EQ(TVN_getaslicetrip(task, TVN_ACC_VAR, 0, 3, 4, &surp, i, j, v), TVN_RES_OK);
  std::map<std::pair<int32_t, int32_t>, double> seen;
  for (int k = 0; k < 4; k++) seen[{i[k], j[k]}] = v[k];
  EXPECT_EQ((seen[{2, 0}]), 2.0);
  EXPECT_EQ((seen[{0, 2}]), 4.0);
  int32_t turned = 0, flushed = 0;
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_STO_NUM_A_TRANSPOSES, &turned), TVN_RES_OK);
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_STO_NUM_A_CACHE_FLUSHES, &flushed), TVN_RES_OK);
  EXPECT_EQ(turned, 2); // to rows and back
  EXPECT_GE(flushed, 1);
  surp = 1;
  EXPECT_EQ(TVN_getaslice(task, TVN_ACC_VAR, 0, 3, 4, &surp, b, e, sub, v), TVN_RES_ERR_NEGATIVE_SURPLUS);
  int32_t numnz = 0;
  EXPECT_EQ(TVN_getapiecenumnz(task, 0, 2, 0, 2, &numnz), TVN_RES_OK);
  EXPECT_EQ(numnz, 2);
  EXPECT_EQ(TVN_getapiecenumnz(task, 0, 2, 0, 4, &numnz), TVN_RES_ERR_LASTJ);
}

TEST_F(ProblemData, InputReplacesTheProblemAndRefusesFaultyColumnsBeforeItDoes) {
  append(1, 1);
  ASSERT_EQ(TVN_putcj(task, 0, 9.0), TVN_RES_OK);
  int32_t ptrb[] = {0, 2}, ptre[] = {2, 3}, sub[] = {0, 0, 1};
  const double val[] = {1, 2, 3}, c[] = {1, -1}, lo[] = {0, 0}, up[] = {4, 5};
  const int32_t bkc[] = {TVN_BK_UP, TVN_BK_FX}, bkx[] = {TVN_BK_RA, TVN_BK_LO};
  const auto input = [&] {
    return TVN_inputdata(task, 0, 0, 2, 2, c, 0.5, ptrb, ptre, sub, val, bkc, up, up, bkx, lo, up);
  };
  EXPECT_EQ(input(), TVN_RES_ERR_MUL_A_ELEMENT);
  sub[1] = 2;
  EXPECT_EQ(input(), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  sub[1] = 1;
  ptre[1] = 1;
  EXPECT_EQ(input(), TVN_RES_ERR_INV_APTRE);
  double cj = 0;
  EXPECT_EQ(TVN_getcslice(task, 0, 1, &cj), TVN_RES_OK);
  EXPECT_EQ(cj, 9.0);
  ptre[1] = 3;
  ptrb[0] = INT32_MIN;
  ptre[0] = INT32_MAX;
  EXPECT_EQ(input(), TVN_RES_ERR_IN_ARGUMENT) << "a column longer than 32 bits tell";
  const int32_t column[] = {0};
  EXPECT_EQ(TVN_putaveclist(task, TVN_ACC_VAR, 1, column, ptrb, ptre, sub, val), TVN_RES_ERR_IN_ARGUMENT);
  EXPECT_EQ(TVN_appendvars(task, 1, c, ptrb, ptre, sub, val, nullptr, nullptr, nullptr), TVN_RES_ERR_IN_ARGUMENT);
  ptrb[0] = 0;
  ptre[0] = 2;
  EXPECT_EQ(input(), TVN_RES_OK);
  EXPECT_EQ(aij(1, 0), 2.0);
  EXPECT_EQ(aij(1, 1), 3.0);
  EXPECT_EQ(key(TVN_ACC_CON, 1), TVN_BK_FX);
  int32_t maxanz = 0;
  EXPECT_EQ(TVN_getmaxnumanz(task, &maxanz), TVN_RES_OK);
  EXPECT_EQ(maxanz, 3); // sized once
}

// That terms merge, move and go is tested by random calls beside a model; this is what they make of the problem.
TEST_F(ProblemData, QuadraticTermsSetTheTypeAndAreReadOneByOne) {
  append(2, 3);
  const int32_t i[] = {1, 1, 2}, j[] = {0, 0, 2}, far[] = {3};
  const double v[] = {1.0, 2.0, 4.0};
  double q = 0, sv[5];
  int32_t n = 0, surp = 1, si[5], sj[5], type = -1, max = 0;
  ASSERT_EQ(TVN_putqobj(task, 3, i, j, v), TVN_RES_OK);
  EXPECT_EQ(TVN_getqobjij(task, 0, 1, &q), TVN_RES_OK);
  EXPECT_EQ(q, 3.0);
  EXPECT_EQ(TVN_getnumqobjnz(task, &n), TVN_RES_OK);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(TVN_putqobj(task, 1, far, i, v), TVN_RES_ERR_INDEX_ARR_IS_TOO_LARGE);
  EXPECT_EQ(TVN_getprobtype(task, &type), TVN_RES_OK);
  EXPECT_EQ(type, TVN_PROBTYPE_QO);
  ASSERT_EQ(TVN_putqconk(task, 1, 3, i, j, v), TVN_RES_OK);
  EXPECT_EQ(TVN_getprobtype(task, &type), TVN_RES_OK);
  EXPECT_EQ(type, TVN_PROBTYPE_QCQO);
  EXPECT_EQ(TVN_getqconk(task, 1, 5, &surp, &n, si, sj, sv), TVN_RES_ERR_NEGATIVE_SURPLUS);
  EXPECT_EQ(TVN_getnumqconknz(task, 1, &n), TVN_RES_OK);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(TVN_putmaxnumqnz(task, 2), TVN_RES_ERR_MAXNUMQNZ);
  ASSERT_EQ(TVN_putqcon(task, 0, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_putqobj(task, 0, nullptr, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_getmaxnumqnz(task, &max), TVN_RES_OK);
  EXPECT_GT(max, 0); // the capacity stays
  EXPECT_EQ(TVN_getprobtype(task, &type), TVN_RES_OK);
  EXPECT_EQ(type, TVN_PROBTYPE_LO);
}

TEST_F(ProblemData, APoolOfTermsThatIsPackedKeepsTheRoomThatWasAskedFor) {
  append(1, 6);
  int32_t i[20], j[20], max = 0;
  double v[20];
  for (int32_t k = 0, row = 0, col = 0; k < 20; k++, col == row ? (row++, col = 0) : col++) {
    i[k] = row;
    j[k] = col;
    v[k] = 1;
  }
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_ALLOC_ADD_QNZ, 0), TVN_RES_OK);
  ASSERT_EQ(TVN_putmaxnumqnz(task, 24), TVN_RES_OK);
  ASSERT_EQ(TVN_putqobj(task, 1, i, j, v), TVN_RES_OK);
  ASSERT_EQ(TVN_putqconk(task, 0, 20, i, j, v), TVN_RES_OK);
  ASSERT_EQ(TVN_putqconk(task, 0, 0, i, j, v), TVN_RES_OK); // a hole
  for (int32_t row = 1; row < 6; row++) ASSERT_EQ(TVN_putqobjij(task, row, 0, 1.0), TVN_RES_OK);
  EXPECT_EQ(TVN_getmaxnumqnz(task, &max), TVN_RES_OK);
  EXPECT_EQ(max, 24);
}

TEST_F(ProblemData, TypesAndConesOutOfTheirRangeAreRefused) {
  append(0, 2);
  const int32_t one[] = {1};
  EXPECT_EQ(TVN_appendcone(task, 9, 0.0, 1, one), TVN_RES_ERR_CONE_TYPE);
  EXPECT_EQ(TVN_removecone(task, 0), TVN_RES_ERR_CONE_INDEX);
  EXPECT_EQ(TVN_putvartype(task, 0, 5), TVN_RES_ERR_INV_VAR_TYPE);
  EXPECT_EQ(TVN_putvarbranchorder(task, 0, -1, 0), TVN_RES_ERR_INVALID_BRANCH_PRIORITY);
  EXPECT_EQ(TVN_putvarbranchorder(task, 0, 1, 3), TVN_RES_ERR_INVALID_BRANCH_DIRECTION);
  EXPECT_EQ(TVN_chgbound(task, 3, 0, 1, 1, 0.0), TVN_RES_ERR_INVALID_ACCMODE);
}

TEST_F(ProblemData, NanIsFoundByTheCheckOfTheData) {
  append(1, 1);
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_UP, 0, nan_value), TVN_RES_OK);
  EXPECT_EQ(TVN_checkdata(task), TVN_RES_ERR_NAN_IN_BUC);
  EXPECT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_FR, 0, 0), TVN_RES_OK);
  EXPECT_EQ(TVN_putcj(task, 0, nan_value), TVN_RES_OK);
  EXPECT_EQ(TVN_checkdata(task), TVN_RES_ERR_NAN_IN_C);
  EXPECT_EQ(TVN_putcj(task, 0, 1.0), TVN_RES_OK);
  for (const double bad : {nan_value, -inf_value}) {
    EXPECT_EQ(TVN_putcfix(task, bad), TVN_RES_OK);
    EXPECT_EQ(TVN_checkdata(task), TVN_RES_ERR_NAN_IN_DOUBLE_DATA);
    EXPECT_EQ(TVN_optimize(task), TVN_RES_ERR_NAN_IN_DOUBLE_DATA);
  }
}

TEST_F(ProblemData, NullArraysAndNegativeLengthsAreRefused) {
  append(2, 2);
  const int32_t sub[] = {0, 1};
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_VAR, 0, 2, sub, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_VAR, 0, -1, nullptr, nullptr), TVN_RES_ERR_IN_ARGUMENT);
  EXPECT_EQ(TVN_putboundlist(task, TVN_ACC_VAR, 2, sub, nullptr, nullptr, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_putclist(task, 2, nullptr, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_remove(task, TVN_ACC_VAR, 2, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_putqobj(task, 1, sub, sub, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_putavec(task, TVN_ACC_VAR, 0, 0, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_permuteandremove(task, 7, 2, sub), TVN_RES_ERR_INVALID_ACCMODE);
  // A list names the place of a bad entry.
  const int32_t far[] = {1, 2}, keys[] = {TVN_BK_FR, TVN_BK_FR};
  const double v[] = {1, 1};
  const auto expect_place = [&](TVNrescodee code, const char* place) {
    EXPECT_EQ(code, TVN_RES_ERR_INDEX_IS_TOO_LARGE);
    EXPECT_EQ(last_message(), "The index value 2 occurring in argument '" + std::string(place) + "' is too large.");
  };
  expect_place(TVN_putboundlist(task, TVN_ACC_CON, 2, far, keys, v, v), "sub[1]");
  expect_place(TVN_putclist(task, 2, far, v), "subj[1]");
  expect_place(TVN_putaijlist(task, 2, sub, far, v), "subj[1]");
  expect_place(TVN_putvartypelist(task, 2, far, sub), "subj[1]");
}

} // namespace
