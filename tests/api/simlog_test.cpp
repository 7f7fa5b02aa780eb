// If this failed in the field: somebody who reads the log of a run would not see how it ended.
#include "api/envtask.h"
#include "api/lptask.h"

#include <cmath>
#include <sstream>

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

namespace {

// The lines of the table of iterations.
std::vector<std::vector<std::string>> table_of(const std::string& log) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream in(log);
  for (std::string line; std::getline(in, line);) {
    std::istringstream words(line);
    std::vector<std::string> row;
    for (std::string w; words >> w;) row.push_back(w);
    if (row.size() == 8 && row[0].find_first_not_of("0123456789") == std::string::npos) rows.push_back(row);
  }
  return rows;
}

} // namespace

TEST_F(SimplexLog, ShowsWhereEachRunEndedAndHowFarItWas) {
  lp_case p = tvntest::optimal_case(5, 40, 60, 0.2, 0.3).p;
  ASSERT_EQ(input(task, p), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_PRESOLVE_USE, TVN_PRESOLVE_MODE_OFF), TVN_RES_OK);
  for (const int32_t limit : {3, 100000})
    for (const int32_t optimizer : {TVN_OPTIMIZER_PRIMAL_SIMPLEX, TVN_OPTIMIZER_DUAL_SIMPLEX}) {
      ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, optimizer), TVN_RES_OK);
      ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_MAX_ITERATIONS, limit), TVN_RES_OK);
      ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
      ending();
      const bool dual = optimizer == TVN_OPTIMIZER_DUAL_SIMPLEX;
      int32_t iterations = -1, other = -1, hot = -1;
      ASSERT_EQ(TVN_getintinf(task, dual ? TVN_IINF_SIM_DUAL_ITER : TVN_IINF_SIM_PRIMAL_ITER, &iterations), TVN_RES_OK);
      ASSERT_EQ(TVN_getintinf(task, dual ? TVN_IINF_SIM_PRIMAL_ITER : TVN_IINF_SIM_DUAL_ITER, &other), TVN_RES_OK);
      ASSERT_EQ(TVN_getintinf(task, dual ? TVN_IINF_SIM_DUAL_HOTSTART : TVN_IINF_SIM_PRIMAL_HOTSTART, &hot),
                TVN_RES_OK);
      EXPECT_EQ(hot, 0);
      const auto rows = table_of(log);
      ASSERT_FALSE(rows.empty()) << log;
      if (other == 0) { EXPECT_EQ(rows.back()[0], std::to_string(iterations)) << log; }
      const double infeasibility = std::stod(rows.back()[2]);
      if (limit > 3) {
        double objective = NAN;
        ASSERT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &objective), TVN_RES_OK);
        EXPECT_EQ(infeasibility, 0) << log;
        EXPECT_NEAR(std::stod(rows.back()[4]), objective, 1e-9 * (1 + std::fabs(objective))) << log;
      }
      if (dual) { EXPECT_GT(std::stod(rows.front()[2]), 0) << log; }
    }
  ending(); // from the optimum
  int32_t hot = -1, dualhot = -1;
  ASSERT_EQ(TVN_getintinf(task, TVN_IINF_SIM_PRIMAL_HOTSTART, &hot), TVN_RES_OK);
  ASSERT_EQ(TVN_getintinf(task, TVN_IINF_SIM_DUAL_HOTSTART, &dualhot), TVN_RES_OK);
  EXPECT_EQ(hot + dualhot, 1);
}

// A limit that comes with the optimum has not cut the run short.
TEST_F(SimplexLog, EndsAtALimitOrWithAnOptimumNotWithBoth) {
  lp_case p = tvntest::optimal_case(5, 20, 30, 0.2, 0.3).p;
  ASSERT_EQ(input(task, p), TVN_RES_OK);
  for (const int32_t optimizer : {TVN_OPTIMIZER_PRIMAL_SIMPLEX, TVN_OPTIMIZER_DUAL_SIMPLEX})
    for (int32_t limit = 0; limit < 60; limit++) {
      ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, optimizer), TVN_RES_OK);
      ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_MAX_ITERATIONS, limit), TVN_RES_OK);
      ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
      const std::string word = ending();
      int32_t prosta = 0, solsta = 0;
      ASSERT_EQ(TVN_getsolutionstatus(task, TVN_SOL_BAS, &prosta, &solsta), TVN_RES_OK);
      EXPECT_EQ(solsta == TVN_SOL_STA_OPTIMAL, word == "OPTIMAL") << "limit " << limit << ": " << word;
    }
}

TEST_F(SimplexLog, NamesParametersThatAreSetInVain) {
  lp_case p = tvntest::optimal_case(3, 30, 50, 0.1, 0.3).p;
  ASSERT_EQ(input(task, p), TVN_RES_OK);
  ending();
  EXPECT_EQ(log.find("no effect"), std::string::npos) << log;
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG_CUT_SECOND_OPT, 0), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_STABILITY_PRIORITY, 60), TVN_RES_OK);
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_STAT_FILE_NAME, "x"), TVN_RES_OK);
  ending();
  const std::string line =
      "Parameters set that have no effect: TVN_IPAR_SIM_STABILITY_PRIORITY, TVN_SPAR_STAT_FILE_NAME.\n";
  EXPECT_NE(log.find(line), std::string::npos) << log;
}

// The callback says stop once, at any event: after that it hears of ends alone, and the run stops there.
TEST_F(SimplexLog, StopsAtTheFirstWordOfTheCallback) {
  lp_case p = tvntest::optimal_case(7, 60, 90, 0.2, 0.3).p;
  ASSERT_EQ(input(task, p), TVN_RES_OK);
  struct listener {
    int32_t stopat, calls = 0;
    std::vector<int32_t> after;
    static int32_t hear(TVNtask_t, void* handle, int32_t code) {
      auto& self = *static_cast<listener*>(handle);
      if (self.calls++ > self.stopat) self.after.push_back(code);
      return self.calls - 1 == self.stopat;
    }
  };
  for (int32_t at = 0; at < 200; at++) {
    listener l{at, 0, {}};
    ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
    ASSERT_EQ(TVN_putcallbackfunc(task, listener::hear, &l), TVN_RES_OK);
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG_SIM_FREQ, 1), TVN_RES_OK);
    const TVNrescodee code = TVN_optimize(task);
    if (l.calls <= at) { // the run has no such event
      EXPECT_EQ(code, TVN_RES_OK);
      EXPECT_GT(at, 10);
      return;
    }
    EXPECT_EQ(code, TVN_RES_TRM_USER_CALLBACK) << "event " << at;
    EXPECT_LE(l.after.size(), 3u) << "event " << at;
    for (const int32_t c : l.after) {
      char name[TVN_MAX_STR_LEN];
      ASSERT_EQ(TVN_callbackcodetostr(c, name), TVN_RES_OK);
      EXPECT_EQ(std::string(name).rfind("TVN_CALLBACK_END_", 0), 0u) << name;
    }
  }
}
