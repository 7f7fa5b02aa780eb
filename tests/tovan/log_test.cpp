// If these fail, a user reads a log that lies: lines of a run that was silenced, a summary that does not add up, or a
// message whose Danish form shows other numbers than the English one.
#include "tovan/task/log.h"

#include "tovan/task/msg.h"
#include "tovan/task/param.h"
#include "tovan/tables/symcon.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct Log : testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  std::string text;
  std::vector<int32_t> seen; // by the callback
  int32_t answer = 0, sysanswer = 0;

  void SetUp() override {
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    const auto keep = [](void* handle, const char* piece) { *static_cast<std::string*>(handle) += piece; };
    ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_MSG, &text, keep), TVN_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  }
  // What an event prints.
  std::string lines(int32_t code) {
    text.clear();
    EXPECT_EQ(tvn::TVN_tovanlog(task, code), TVN_RES_OK);
    TVN_flushstreamtask(task, TVN_STREAM_MSG);
    return text;
  }
  void put(int32_t param, int32_t value) { ASSERT_EQ(TVN_putintparam(task, param, value), TVN_RES_OK); }
};

bool has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

// Digits of a text, which both languages must share.
std::string numbers(const std::string& text) {
  std::string out;
  std::copy_if(text.begin(), text.end(), std::back_inserter(out), [](char c) { return c >= '0' && c <= '9'; });
  return out;
}

} // namespace

TEST_F(Log, HeadTellsMachineAndProblemOnceARun) {
  ASSERT_EQ(TVN_puttaskname(task, "blend"), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 3), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 12), TVN_RES_OK);
  put(TVN_IPAR_CPU_TYPE, TVN_CPU_INTEL_P4);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  const std::string head = lines(TVN_CALLBACK_BEGIN_OPTIMIZER);
  EXPECT_TRUE(has(head, "Computer   - Platform         : Linux/64-X86    \n")) << head;
  EXPECT_TRUE(has(head, "Computer   - CPU type         : Intel-P4        \n")) << head;
  EXPECT_TRUE(has(head, "TOVAN      - task name        : blend           \n")) << head;
  EXPECT_TRUE(has(head, "TOVAN      - objective sense  : max             \n")) << head;
  EXPECT_TRUE(has(head, "TOVAN      - constraints      : 3                 variables        : 12              \n"))
      << head;
  EXPECT_FALSE(has(head, "integer variables")) << head;
  EXPECT_TRUE(head.ends_with("Optimizer started.\n")) << head;
  EXPECT_EQ(lines(TVN_CALLBACK_BEGIN_OPTIMIZER), "Optimizer started.\n") << "the head is printed once";
  ASSERT_EQ(TVN_putvartype(task, 1, TVN_VAR_TYPE_INT), TVN_RES_OK);
  put(TVN_IPAR_CPU_TYPE, TVN_CPU_INTEL_CORE2);
  task->logheadprinted = 0;
  EXPECT_TRUE(has(lines(TVN_CALLBACK_BEGIN_CONCURRENT), "TOVAN      - integer variables : 1               \n")) << text;
  EXPECT_TRUE(has(text, "CPU type         : Unknown")) << text;
}

TEST_F(Log, LinesStandUnderTheLogAndTheParameterOfTheirSubsystem) {
  struct gate {
    int32_t event, param;
    const char* line;
  };
  task->info.dou[TVN_DINF_QCQO_REFORMULATE_TIME] = 1.25;
  task->info.dou[TVN_DINF_BI_PRIMAL_TIME] = 0.5;
  for (const gate& g :
       {gate{TVN_CALLBACK_BEGIN_OPTIMIZER, TVN_IPAR_LOG_OPTIMIZER, "Optimizer started.\n"},
        gate{TVN_CALLBACK_BEGIN_QCQO_REFORMULATE, TVN_IPAR_LOG_OPTIMIZER, "QCQO reformulation started.\n"},
        gate{TVN_CALLBACK_END_QCQO_REFORMULATE, TVN_IPAR_LOG_OPTIMIZER, "QCQO reformulation terminated. Time: 1.25.\n"},
        gate{TVN_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK, TVN_IPAR_LOG_CHECK_CONVEXITY, "Convexity check started.\n"},
        gate{TVN_CALLBACK_BEGIN_DUAL_SENSITIVITY, TVN_IPAR_LOG_SENSITIVITY, "Dual sensitivity"},
        gate{TVN_CALLBACK_END_INFEAS_ANA, TVN_IPAR_LOG_INFEAS_ANA, "Infeasibility analysis"},
        gate{TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX, TVN_IPAR_LOG_SIM, "Primal simplex optimizer started.\n"},
        gate{TVN_CALLBACK_END_PRIMAL_BI, TVN_IPAR_LOG_BI,
             "Primal basis identification phase terminated. Time: 0.50\n"}}) {
    put(TVN_IPAR_LOG, 10);
    put(g.param, 1);
    EXPECT_TRUE(has(lines(g.event), g.line)) << g.line << text;
    put(g.param, 0);
    EXPECT_FALSE(has(lines(g.event), g.line)) << g.line;
    put(g.param, 3);
    put(TVN_IPAR_LOG, 0);
    EXPECT_EQ(lines(g.event), "") << g.line;
  }
  put(TVN_IPAR_LOG, 10);
  EXPECT_EQ(lines(TVN_CALLBACK_IM_ORDER), "") << "an event without a line";
}

TEST_F(Log, SecondOptimizeIsQuieterByTheCut) {
  task->numoptimize = 2; // LOG_CUT_SECOND_OPT is 1
  EXPECT_EQ(lines(TVN_CALLBACK_BEGIN_OPTIMIZER), "");
  put(TVN_IPAR_LOG_OPTIMIZER, 2);
  EXPECT_EQ(lines(TVN_CALLBACK_BEGIN_OPTIMIZER), "Optimizer started.\n");
  put(TVN_IPAR_LOG_CUT_SECOND_OPT, 2);
  EXPECT_EQ(lines(TVN_CALLBACK_BEGIN_OPTIMIZER), "");
  put(TVN_IPAR_LOG, 2);
  put(TVN_IPAR_LOG_CUT_SECOND_OPT, 0);
  EXPECT_TRUE(tvn::is_logged(*task, TVN_IPAR_LOG_SIM, 1));
  EXPECT_FALSE(tvn::is_logged(*task, TVN_IPAR_LOG_SIM, 2)) << "TVN_IPAR_LOG bounds every level";
}

TEST_F(Log, EveryEventReachesBothCallbacksAndEitherStopsTheRun) {
  const auto note = [](TVNtask_t, void* handle, int32_t code) {
    auto* self = static_cast<Log*>(handle);
    self->seen.push_back(code);
    return self->answer;
  };
  const auto decide = [](TVNtask_t, void* handle, int32_t) { return static_cast<Log*>(handle)->sysanswer; };
  ASSERT_EQ(TVN_putcallbackfunc(task, note, this), TVN_RES_OK);
  ASSERT_EQ(TVN_putsystemcallbackfunc(task, decide, this), TVN_RES_OK);
  for (const tvn::symcon_entry& e : tvn::all_symcons())
    if (e.family == "callback_code") {
      EXPECT_EQ(tvn::TVN_tovanlogr(task, e.value), TVN_RES_OK) << e.name;
      ASSERT_FALSE(seen.empty());
      EXPECT_EQ(seen.back(), e.value);
    }
  sysanswer = 1;
  EXPECT_EQ(tvn::TVN_tovanlog(task, TVN_CALLBACK_IM_LU), TVN_RES_TRM_INTERNAL);
  answer = -1;
  EXPECT_EQ(tvn::TVN_tovanlog(task, TVN_CALLBACK_IM_LU), TVN_RES_TRM_USER_CALLBACK) << "the user's comes first";
}

TEST_F(Log, RaceEndsWithItsSummaryOrOneLine) {
  tvn::TVNP_putintinf(*task, TVN_IINF_CONCURRENT_FASTEST_OPTIMIZER, TVN_OPTIMIZER_DUAL_SIMPLEX);
  tvn::TVNP_putprivatedouinf(*task, tvn::TVNP_DINF_CONCURRENT_WINNING_TIME, 2.5);
  tvn::TVNP_putprivateintinf(*task, tvn::TVNP_IINF_CONCURRENT_NUM_OPTIMIZERS, 6);
  tvn::TVNP_putprivateintinf(*task, tvn::TVNP_IINF_CONCURRENT_NUM_THREADS, 7);
  tvn::TVNP_putprivateintinf(*task, tvn::TVNP_IINF_CONCURRENT_OPTIMIZER_THREAD_1, TVN_OPTIMIZER_INTPNT);
  const std::string summary = lines(TVN_CALLBACK_END_CONCURRENT);
  EXPECT_TRUE(summary.starts_with("Concurrent optimizer summary.\n"
                                  "Winning optimizer            : dual simplex\n"
                                  "Winning optimizer time       : 2.50\n"
                                  "Number of optimizers employed: 6\n"
                                  "Number of threads employed   : 7\n"
                                  "More than 5 concurrent optimizers was employed, only 5 is displayed in log.\n"))
      << summary;
  EXPECT_TRUE(has(summary, "Optimizer for thread 1       : interior-point\n")) << summary;
  EXPECT_FALSE(has(summary, "thread 5"));
  put(TVN_IPAR_LOG_CONCURRENT, 0);
  EXPECT_TRUE(lines(TVN_CALLBACK_END_CONCURRENT).starts_with("Concurrent optimizer terminated. Time: ")) << text;
}

TEST_F(Log, BothLanguagesShowTheSameNumbersInTheSameLines) {
  for (size_t k = 0; k < task->info.dou.size(); k++) task->info.dou[k] = 0.25 + static_cast<double>(k);
  for (size_t k = 0; k < task->info.intg.size(); k++) task->info.intg[k] = 1000 + static_cast<int32_t>(k);
  for (size_t k = 0; k < task->info.lint.size(); k++) task->info.lint[k] = (int64_t{1} << 40) + static_cast<int64_t>(k);
  for (auto& v : task->params.ival) v = std::max(v, 1); // every gate is open
  task->logheadprinted = 1;
  int32_t printed = 0;
  for (const tvn::symcon_entry& e : tvn::all_symcons()) {
    if (e.family != "callback_code") continue;
    env->language = TVN_LANG_ENG;
    const std::string english = lines(e.value);
    env->language = TVN_LANG_DAN;
    const std::string danish = lines(e.value);
    EXPECT_EQ(numbers(english), numbers(danish)) << english << danish;
    EXPECT_EQ(std::count(english.begin(), english.end(), '\n'), std::count(danish.begin(), danish.end(), '\n'));
    EXPECT_TRUE(english.empty() || english != danish) << english;
    printed += !english.empty();
  }
  EXPECT_GE(printed, 40);
  const auto summary = [&](int32_t language) {
    env->language = language;
    text.clear();
    EXPECT_EQ(TVN_optimizersummary(task), TVN_RES_OK);
    return text;
  };
  const std::string english = summary(TVN_LANG_ENG), danish = summary(TVN_LANG_DAN);
  EXPECT_EQ(numbers(english), numbers(danish)) << english << danish;
  EXPECT_TRUE(english.starts_with("Optimizer summary\n  Optimizer                 -                            time: "))
      << english;
  EXPECT_TRUE(has(english, "        Dual                - iterations : 1099511627783  time: ")) << english;
  EXPECT_TRUE(danish.starts_with("Optimizer summary\n  Optimizer                 -                             tid: "))
      << danish;
  put(TVN_IPAR_LOG, 0);
  EXPECT_EQ(summary(TVN_LANG_ENG), "");
}
