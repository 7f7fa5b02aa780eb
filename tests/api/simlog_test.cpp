// If this failed in the field: somebody who reads the log of a run would not see how it ended.
#include "api/envtask.h"
#include "api/lptask.h"

using namespace apitest;

namespace {

struct SimplexLog : EnvTask {
  std::string log;
  static void keep(void* handle, const char* text) { *static_cast<std::string*>(handle) += text; }
  // The word at the end of the line that ends the simplex run.
  std::string ending() {
    log.clear();
    EXPECT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_LOG, &log, keep), TVN_RES_OK);
    TVNrescodee trm = 0;
    EXPECT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
    EXPECT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_LOG), TVN_RES_OK);
    const size_t line = log.find("Simplex optimizer terminated. Time: ");
    if (line == std::string::npos) return "no line in: " + log;
    const size_t end = log.find('\n', line), word = log.rfind(' ', end);
    return log.substr(word + 1, end - word - 1);
  }
};

} // namespace

TEST_F(SimplexLog, EndsWithTheStatusOrWhatStoppedTheRun) {
  lp_case p = tvntest::optimal_case(3, 30, 50, 0.1, 0.3).p;
  ASSERT_EQ(input(task, p), TVN_RES_OK);
  for (const int32_t optimizer : {TVN_OPTIMIZER_PRIMAL_SIMPLEX, TVN_OPTIMIZER_DUAL_SIMPLEX}) {
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, optimizer), TVN_RES_OK);
    ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
    EXPECT_EQ(ending(), "OPTIMAL");
  }
  ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_MAX_ITERATIONS, 2), TVN_RES_OK);
  EXPECT_EQ(ending(), "TVN_RES_TRM_MAX_ITERATIONS");
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_MAX_ITERATIONS, 1000), TVN_RES_OK);
  ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_RA, 5, 4), TVN_RES_OK);
  EXPECT_EQ(ending(), "PRIMAL_INFEASIBLE_CERTIFICATE");
}
