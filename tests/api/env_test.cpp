// If this fails, a program cannot start or stop the library cleanly: handles dangle, memory leaks unseen, or the last
// error tells a lie.
#include "api/envtask.h"

#include <thread>

namespace {

using apitest::EnvTask;

struct counting {
  size_t live = 0, total = 0, failfrom = SIZE_MAX;
};

void* count_malloc(void* usrptr, size_t size) {
  auto* c = static_cast<counting*>(usrptr);
  if (c->total++ >= c->failfrom) return nullptr;
  c->live++;
  return std::malloc(size);
}

void count_free(void* usrptr, void* block) {
  if (block) static_cast<counting*>(usrptr)->live--;
  std::free(block);
}

TEST(Environment, ProcessorDefaultsAreOverriddenBetweenMakeAndInit) {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_putcpudefaults(env, TVN_CPU_INTEL_P4, 1024, 0), TVN_RES_OK);
  ASSERT_EQ(TVN_putcpudefaults(env, 0, -1, -1), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_maketask(env, 0, 0, &task), TVN_RES_OK);
  int32_t cpu = 0, l1 = 0, l2 = -5;
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_CPU_TYPE, &cpu), TVN_RES_OK);
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_CACHE_SIZE_L1, &l1), TVN_RES_OK);
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_CACHE_SIZE_L2, &l2), TVN_RES_OK);
  EXPECT_EQ(cpu, TVN_CPU_INTEL_P4);
  EXPECT_EQ(l1, 1024);
  EXPECT_EQ(l2, 0); // a size of 0 stays 0
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
}

TEST(Environment, LivingTasksKeepItUnlessGarbageIsCollected) {
  TVNenv_t env = nullptr, alias = nullptr;
  TVNtask_t one = nullptr, two = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(env, &one), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(env, &two), TVN_RES_OK);
  alias = env;
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_ERR_LIVING_TASKS);
  EXPECT_EQ(env, alias);
  EXPECT_EQ(TVN_enablegarcolenv(env), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  EXPECT_EQ(env, nullptr) << "the last task takes it along, and nobody knows when";
  EXPECT_EQ(TVN_deletetask(&one), TVN_RES_OK);
  EXPECT_EQ(TVN_append(two, TVN_ACC_VAR, 1), TVN_RES_OK); // still whole
  EXPECT_EQ(TVN_deletetask(&two), TVN_RES_OK);
}

TEST(Environment, ItsMemoryReportsReachAFunctionThatTakesMemoryItself) {
  TVNenv_t env = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  struct state {
    TVNenv_t env;
    int32_t lines;
  } s{env, 0};
  const auto listen = [](void* handle, const char*) {
    auto& now = *static_cast<state*>(handle);
    now.lines++;
    TVN_freeenv(now.env, TVN_strdupenv(now.env, "a copy")); // would wait for ever for the lock of the scan
  };
  ASSERT_EQ(TVN_linkfunctoenvstream(env, TVN_STREAM_LOG, &s, listen), TVN_RES_OK);
  EXPECT_EQ(TVN_checkmemenv(env, "here", 1), TVN_RES_OK);
  EXPECT_GE(s.lines, 2);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
}

TEST(Environment, LeakOfUserMemoryIsReported) {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  char* kept = TVN_strduptask(task, "kept");
  ASSERT_STREQ(kept, "kept");
  int64_t most = 0, now = 0;
  EXPECT_EQ(TVN_getmemusagetask64(task, &most, &now), TVN_RES_OK);
  EXPECT_GT(now, 0);
  EXPECT_GE(most, now);
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_ERR_SPACE_LEAKING);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(TVN_strdupenv(env, nullptr), nullptr);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
}

// The allocator is made to fail at each request in turn: every call answers with a code and nothing is lost.
TEST(Environment, EveryAllocationMayFail) {
  for (size_t fail = 0;; fail++) {
    counting count;
    count.failfrom = fail;
    TVNenv_t env = nullptr;
    TVNtask_t task = nullptr;
    TVNrescodee code = TVN_makeenv(&env, &count, count_malloc, count_free, nullptr);
    if (!code) code = TVN_initenv(env);
    if (!code) code = TVN_maketask(env, 2, 2, &task);
    if (!code) code = TVN_append(task, TVN_ACC_CON, 3);
    if (!code) code = TVN_append(task, TVN_ACC_VAR, 3);
    const int32_t sub[] = {0, 2};
    const double val[] = {1, 2};
    if (!code) code = TVN_putavec(task, TVN_ACC_VAR, 1, 2, sub, val);
    if (!code) code = TVN_putaij(task, 1, 1, 4.0);
    if (!code) code = TVN_putname(task, TVN_PI_VAR, 0, "x");
    if (!code) code = TVN_putvartype(task, 1, TVN_VAR_TYPE_INT);
    if (!code) code = TVN_appendcone(task, TVN_CT_QUAD, 0.0, 2, sub);
    if (!code) code = TVN_putqobj(task, 2, sub, sub, val);
    if (!code) code = TVN_putsolutioni(task, TVN_ACC_VAR, 0, TVN_SOL_BAS, TVN_SK_BAS, 1.0, 0, 0, 0);
    if (!code) code = TVN_remove(task, TVN_ACC_CON, 1, sub);
    TVNtask_t clone = nullptr;
    if (!code) code = TVN_clonetask(task, &clone);
    const bool done = code == TVN_RES_OK;
    if (!done) { EXPECT_EQ(code, TVN_RES_ERR_SPACE) << fail; }
    if (task) {
      // What is left is a whole problem: it can be read, and solved from anew.
      count.failfrom = SIZE_MAX;
      int32_t numanz = -1;
      EXPECT_EQ(TVN_getnumanz(task, &numanz), TVN_RES_OK);
      EXPECT_EQ(TVN_checkdata(task), TVN_RES_OK);
    }
    EXPECT_EQ(clone == nullptr, !done);
    EXPECT_EQ(TVN_deletetask(&clone), TVN_RES_OK);
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    EXPECT_EQ(count.live, 0U) << "failed at request " << fail;
    if (done) break;
    ASSERT_LT(fail, 2000U);
  }
}

TEST(Environment, TasksAreMadeAndDeletedByManyThreads) {
  TVNenv_t env = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  std::vector<std::thread> threads;
  for (int k = 0; k < 4; k++)
    threads.emplace_back([env] {
      for (int round = 0; round < 50; round++) {
        TVNtask_t task = nullptr;
        EXPECT_EQ(TVN_maketask(env, 3, 3, &task), TVN_RES_OK);
        EXPECT_EQ(TVN_append(task, TVN_ACC_VAR, 7), TVN_RES_OK);
        EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
      }
    });
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
}

TEST(Version, IsTheOneOfTheLibrary) {
  int32_t v[4] = {};
  EXPECT_EQ(TVN_getversion(&v[0], &v[1], &v[2], &v[3]), TVN_RES_OK);
  EXPECT_EQ(v[0], 6);
  EXPECT_EQ(v[3], 135);
  char text[8];
  EXPECT_EQ(TVN_getversionstring(sizeof text, text), TVN_RES_OK);
  EXPECT_STREQ(text, "6.0.0.1"); // cut
}

struct Reporting : EnvTask {};

TEST_F(Reporting, LastErrorHoldsTheReportedFailure) {
  TVNrescodee code = 0;
  int32_t len = 0;
  char msg[16];
  answer = TVN_RES_OK; // a handler cannot clear an error
  EXPECT_EQ(TVN_putcj(task, 3, 1.0), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVN_getlasterror(task, &code, sizeof msg, &len, msg), TVN_RES_OK);
  EXPECT_EQ(code, TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(static_cast<size_t>(len), last_message().size());
  EXPECT_EQ(std::string(msg), last_message().substr(0, 15));
}

TEST_F(Reporting, HandlerTurnsAWarningIntoAFailureOrLeavesNoTrace) {
  append(1, 1);
  EXPECT_EQ(TVN_putcj(task, 0, 1e9), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_WRN_LARGE_CJ);
  TVNrescodee code = -1;
  EXPECT_EQ(TVN_getlasterror(task, &code, 0, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(code, TVN_RES_OK);
  answer = 1234;
  EXPECT_EQ(TVN_putcj(task, 0, 2e9), 1234);
  double c = 0;
  EXPECT_EQ(TVN_getcslice(task, 0, 1, &c), TVN_RES_OK);
  EXPECT_EQ(c, 1e9); // the failed put did not store
}

TEST_F(Reporting, WarningsFallSilentButTheHandlerStillSeesThem) {
  append(1, 1);
  std::string shown;
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_WRN, &shown,
                                     [](void* h, const char* text) { *static_cast<std::string*>(h) += text; }),
            TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_MAX_NUM_WARNINGS, 2), TVN_RES_OK);
  for (int k = 0; k < 5; k++) EXPECT_EQ(TVN_putcj(task, 0, 1e9 + k), TVN_RES_OK);
  EXPECT_EQ(reports.size(), 5U);
  size_t lines = 0;
  for (size_t p = shown.find("TOVAN Warning"); p != std::string::npos; p = shown.find("TOVAN Warning", p + 1)) lines++;
  EXPECT_EQ(lines, 2U);
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_WRN), TVN_RES_OK);
}

TEST_F(Reporting, CodesAboveAndBelowTheBorderGoToTheirStreams) {
  std::string err, wrn;
  const auto keep = [](void* h, const char* text) { *static_cast<std::string*>(h) += text; };
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &err, keep), TVN_RES_OK);
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_WRN, &wrn, keep), TVN_RES_OK);
  EXPECT_EQ(TVN_exceptiontask(task, TVN_RES_ERR_NULL_POINTER, "ptr"), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(err.rfind("TOVAN Error 1065     : Argument 'ptr' is", 0), 0U) << err;
  EXPECT_EQ(TVN_exceptiontask(task, 1000), 1000);
  EXPECT_NE(err.find("TOVAN Warning 1000   : "), std::string::npos) << err;
  EXPECT_EQ(wrn, "");
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_ERR), TVN_RES_OK);
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_WRN), TVN_RES_OK);
}

} // namespace
