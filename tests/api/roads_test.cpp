// If this fails, a problem goes to an optimizer that cannot take it, or a choice that cannot be met spoils the task.
#include "api/envtask.h"

namespace {

using apitest::EnvTask;

struct Roads : EnvTask {
  std::string errors;
  static void keep(void* handle, const char* text) { *static_cast<std::string*>(handle) += text; }
  // Two variables, one row, and what makes the problem one of the type.
  void problem(int32_t type) {
    ASSERT_EQ(TVN_resizetask(task, 0, 0, 0, 0, 0), TVN_RES_OK);
    append(1, 2);
    const int32_t one[] = {0}, both[] = {0, 1}, key[] = {TVN_SK_LOW, TVN_SK_LOW};
    const double two[] = {2};
    const bool cone = type == TVN_PROBTYPE_CONIC || type == TVN_PROBTYPE_MIXED;
    if (type == TVN_PROBTYPE_QO || type == TVN_PROBTYPE_MIXED) {
      ASSERT_EQ(TVN_putqobj(task, 1, one, one, two), TVN_RES_OK);
    }
    if (type == TVN_PROBTYPE_QCQO) { ASSERT_EQ(TVN_putqconk(task, 0, 1, one, one, two), TVN_RES_OK); }
    if (cone) { ASSERT_EQ(TVN_appendcone(task, TVN_CT_QUAD, 0, 2, both), TVN_RES_OK); }
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_BAS, key, key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, nullptr, nullptr),
              TVN_RES_OK);
    int32_t seen = -1;
    ASSERT_EQ(TVN_getprobtype(task, &seen), TVN_RES_OK);
    ASSERT_EQ(seen, type);
  }
};

} // namespace

TEST_F(Roads, WithoutAnOptimizerEndWithACodeAndTheReasonAndLeaveTheSolution) {
  const TVNrescodee inv = TVN_RES_ERR_INV_OPTIMIZER;
  const int32_t lo = TVN_PROBTYPE_LO, qo = TVN_PROBTYPE_QO, qcqo = TVN_PROBTYPE_QCQO;
  const int32_t conic = TVN_PROBTYPE_CONIC, mixed = TVN_PROBTYPE_MIXED;
  const struct {
    int32_t optimizer, type;
    TVNrescodee code;
    const char* reason; // "": the choice is wrong for the type
  } cases[] = {
      {TVN_OPTIMIZER_INTPNT, conic, inv, ""},
      {TVN_OPTIMIZER_INTPNT, mixed, TVN_RES_ERR_MIXED_PROBLEM, ""},
      {TVN_OPTIMIZER_QCONE, conic, inv, ""},
      {TVN_OPTIMIZER_PRIMAL_SIMPLEX, qcqo, inv, ""},
      {TVN_OPTIMIZER_CONCURRENT, qo, inv, "concurrent"},
      {TVN_OPTIMIZER_PRIMAL_SIMPLEX, qo, inv, ""},
      {TVN_OPTIMIZER_FREE_SIMPLEX, conic, inv, ""},
      {TVN_OPTIMIZER_NONCONVEX, lo, TVN_RES_ERR_MIO_NO_OPTIMIZER, ""},
  };
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &errors, keep), TVN_RES_OK);
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.optimizer) + " on type " + std::to_string(c.type));
    problem(c.type);
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, c.optimizer), TVN_RES_OK);
    errors.clear();
    TVNrescodee trm = -1;
    EXPECT_EQ(TVN_optimizetrm(task, &trm), c.code);
    EXPECT_EQ(trm, TVN_RES_OK);
    const bool missing = errors.find("This version of the library has no ") != std::string::npos;
    EXPECT_EQ(missing, *c.reason != '\0') << errors;
    EXPECT_NE(errors.find(c.reason), std::string::npos) << errors;
    int32_t defined = 0, response = 0;
    EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_BAS, &defined), TVN_RES_OK);
    EXPECT_EQ(defined, 1) << "the start is as it was";
    EXPECT_EQ(TVN_getintinf(task, TVN_IINF_OPTIMIZE_RESPONSE, &response), TVN_RES_OK);
    EXPECT_EQ(response, c.code);
    EXPECT_EQ(TVN_append(task, TVN_ACC_VAR, 1), TVN_RES_OK) << "nothing is locked";
  }
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_ERR), TVN_RES_OK);
}

TEST_F(Roads, IncumbentIsReadInTheTwoCallbacksOnly) {
  append(1, 2);
  double x[2] = {};
  const auto read = [&](int32_t where, int32_t whichsol) {
    return TVN_getsolutionincallback(task, where, whichsol, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, x,
                                     nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  };
  const TVNrescodee none = TVN_RES_ERR_NO_SOLUTION_IN_CALLBACK;
  EXPECT_EQ(read(TVN_CALLBACK_IM_MIO, TVN_SOL_ITG), none);
  ASSERT_EQ(TVN_putsolutioni(task, TVN_ACC_VAR, 1, TVN_SOL_ITG, TVN_SK_BAS, 4, 0, 0, 0), TVN_RES_OK);
  EXPECT_EQ(read(TVN_CALLBACK_BEGIN_MIO, TVN_SOL_ITG), none);
  EXPECT_EQ(read(TVN_CALLBACK_NEW_INT_MIO, TVN_SOL_BAS), none);
  EXPECT_TRUE(reports.empty()) << "nothing is printed";
  EXPECT_EQ(read(TVN_CALLBACK_NEW_INT_MIO, TVN_SOL_ITG), TVN_RES_OK);
  EXPECT_EQ(x[1], 4);
  // The raw writers reach a slot that nobody made.
  int32_t defined = 0, solsta = 0;
  ASSERT_EQ(TVN_putsolsta(task, TVN_SOL_ITR, TVN_SOL_STA_NEAR_OPTIMAL), TVN_RES_OK);
  ASSERT_EQ(TVN_putsolini(task, TVN_SOL_ITR, 1), TVN_RES_OK);
  EXPECT_EQ(TVN_getsolutionstatus(task, TVN_SOL_ITR, nullptr, &solsta), TVN_RES_OK);
  EXPECT_EQ(solsta, TVN_SOL_STA_NEAR_OPTIMAL);
  ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
  ASSERT_EQ(TVN_makesolution(task, TVN_SOL_ITG), TVN_RES_OK);
  EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_ITG, &defined), TVN_RES_OK);
  EXPECT_EQ(defined, 0) << "room alone defines nothing";
}
