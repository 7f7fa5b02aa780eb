// If these failed in the field: a program that works on several problems at once would crash now and then, or solve one
// of them wrong. Run under ThreadSanitizer (preset "tsan") for the races that do not show.
#include "support/lpcase.h"
#include "tovan.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int num_threads = 4;

template <class Work> void on_threads(Work work) {
  std::vector<std::thread> threads;
  for (int k = 0; k < num_threads; k++) threads.emplace_back([&work, k] { work(k); });
  for (std::thread& t : threads) t.join();
}

struct Threads : testing::TestWithParam<const char*> {
  TVNenv_t env = nullptr;
  std::string file = (std::filesystem::temp_directory_path() / ("tvn_thr_" + std::to_string(getpid()))).string();

  void SetUp() override {
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, GetParam()), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
    std::ofstream(file) << "NAME          SMALL\nROWS\n N  COST\n L  LIM1\n G  MYGE\nCOLUMNS\n"
                           "    X         COST              -1.0   LIM1               1.0\n"
                           "    X         MYGE               1.0\n"
                           "    Y         COST              -2.0   LIM1               1.0\n"
                           "RHS\n    RHS       LIM1               4.0   MYGE               1.0\n"
                           "BOUNDS\n UP BND       X                  4.0\nENDATA\n";
  }
  void TearDown() override {
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    std::filesystem::remove(file);
  }
};

double optimum(TVNtask_t task) {
  double obj = -1e99;
  int32_t solsta = -1;
  EXPECT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_EQ(TVN_getsolutionstatus(task, TVN_SOL_BAS, nullptr, &solsta), TVN_RES_OK);
  EXPECT_EQ(solsta, TVN_SOL_STA_OPTIMAL);
  EXPECT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &obj), TVN_RES_OK);
  return obj;
}

// Not thread-safe on purpose: the streams of the environment serialise their writers.
struct heard {
  std::string text;
  static void hear(void* handle, const char* piece) { static_cast<heard*>(handle)->text += piece; }
};

} // namespace

TEST_P(Threads, MakeReadPutSolveCloneAndDeleteAtOnce) {
  tvntest::lp_case p = tvntest::optimal_case(11, 12, 20, 0.3, 0.3).p;
  p.view();
  TVNtask_t alone = nullptr;
  const auto input = [&](TVNtask_t task) {
    return TVN_inputdata64(task, p.m, p.n, p.m, p.n, p.c.data(), p.cfix, p.beg.data(), p.beg.data() + 1, p.sub.data(),
                           p.val.data(), p.bkc.data(), p.blc.data(), p.buc.data(), p.bkx.data(), p.blx.data(),
                           p.bux.data());
  };
  ASSERT_EQ(TVN_makeemptytask(env, &alone), TVN_RES_OK);
  ASSERT_EQ(input(alone), TVN_RES_OK);
  const double best = optimum(alone);
  ASSERT_EQ(TVN_deletetask(&alone), TVN_RES_OK);
  on_threads([&](int k) {
    const std::string params = file + ".par" + std::to_string(k);
    for (int round = 0; round < 6; round++) {
      TVNtask_t task = nullptr, clone = nullptr;
      EXPECT_EQ(TVN_maketask(env, k, round, &task), TVN_RES_OK);
      EXPECT_EQ(TVN_readdata(task, file.c_str()), TVN_RES_OK);
      EXPECT_EQ(optimum(task), -7.0);
      EXPECT_EQ(TVN_writeparamfile(task, params.c_str()), TVN_RES_OK);
      EXPECT_EQ(TVN_putstrparam(task, TVN_SPAR_PARAM_READ_FILE_NAME, params.c_str()), TVN_RES_OK);
      EXPECT_EQ(TVN_readparamfile(task), TVN_RES_OK);
      EXPECT_EQ(input(task), TVN_RES_OK);
      EXPECT_EQ(TVN_clonetask(task, &clone), TVN_RES_OK);
      EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
      EXPECT_EQ(optimum(clone), best) << "the same bits on every thread";
      EXPECT_EQ(TVN_deletetask(&clone), TVN_RES_OK);
    }
    std::filesystem::remove(params);
  });
}

TEST_P(Threads, ReportOnTheEnvironmentLineByLine) {
  heard log;
  ASSERT_EQ(TVN_linkfunctoenvstream(env, TVN_STREAM_LOG, &log, heard::hear), TVN_RES_OK);
  const std::string link = file + ".log";
  ASSERT_EQ(TVN_linkfiletoenvstream(env, TVN_STREAM_ERR, link.c_str(), 0), TVN_RES_OK);
  constexpr int rounds = 25;
  on_threads([&](int k) {
    for (int round = 0; round < rounds; round++) {
      EXPECT_EQ(TVN_echoenv(env, TVN_STREAM_LOG, "<%d %s>\n", k, "a line of one thread"), TVN_RES_OK);
      EXPECT_EQ(TVN_checkversion(env, 7, 0, 0, 0), TVN_RES_ERR_OLDER_DLL);
      EXPECT_EQ(TVN_exceptionenv(env, TVN_RES_WRN_SPAR_MAX_LEN), TVN_RES_OK) << "a warning, which is counted";
      char* text = TVN_strdupenv(env, "x");
      void* block = TVN_callocenv(env, 3, 8);
      TVN_freeenv(env, text);
      TVN_freeenv(env, block);
    }
  });
  ASSERT_EQ(TVN_flushstreamenv(env, TVN_STREAM_LOG), TVN_RES_OK);
  int whole = 0, warnings = 0;
  std::istringstream lines(log.text);
  for (std::string line; std::getline(lines, line);) {
    whole += line.size() == 24 && line[0] == '<' && line.ends_with("a line of one thread>");
    warnings += line.starts_with("TOVAN Warning 66");
  }
  EXPECT_EQ(whole, num_threads * rounds);
  EXPECT_EQ(warnings, 10) << "TVN_IPAR_MAX_NUM_WARNINGS";
  ASSERT_EQ(TVN_linkfunctoenvstream(env, TVN_STREAM_LOG, nullptr, nullptr), TVN_RES_OK);
  std::filesystem::remove(link);
}

TEST_P(Threads, LastTaskToGoTakesTheEnvironmentWithIt) {
  for (int round = 0; round < 20; round++) {
    TVNenv_t shared = nullptr;
    TVNtask_t tasks[num_threads] = {};
    ASSERT_EQ(TVN_makeenv(&shared, nullptr, nullptr, nullptr, GetParam()), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(shared), TVN_RES_OK);
    ASSERT_EQ(TVN_enablegarcolenv(shared), TVN_RES_OK);
    for (TVNtask_t& t : tasks) ASSERT_EQ(TVN_makeemptytask(shared, &t), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&shared), TVN_RES_OK);
    on_threads([&](int k) {
      EXPECT_EQ(TVN_append(tasks[k], TVN_ACC_VAR, 5), TVN_RES_OK);
      EXPECT_EQ(TVN_deletetask(&tasks[k]), TVN_RES_OK);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(MemoryDebugging, Threads, testing::Values(nullptr, ""),
                         [](const auto& instance) { return instance.param ? "On" : "Off"; });
