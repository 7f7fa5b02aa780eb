// If these fail, a fault inside the library ends the process without a trace, or a message names the wrong item.
#include "tovan/task/api.h"
#include "tovan/task/convert.h"
#include "tovan/task/param.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

struct Frame : testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  std::string err, path = (std::filesystem::temp_directory_path() / ("tvn_fr_" + std::to_string(getpid()))).string();
  int stops = 0;
  std::string stop; // what the exit function was told last

  void SetUp() override {
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    const auto keep = [](void* handle, const char* piece) { *static_cast<std::string*>(handle) += piece; };
    ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &err, keep), TVN_RES_OK);
    ASSERT_EQ(TVN_linkfunctoenvstream(env, TVN_STREAM_ERR, &err, keep), TVN_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    std::filesystem::remove(path);
  }
  void catch_stops() {
    ASSERT_EQ(TVN_putexitfunc(
                  env,
                  [](void* handle, const char* file, int line, const char* msg) {
                    auto* self = static_cast<Frame*>(handle);
                    self->stops++;
                    self->stop = std::string(file ? file : "null") + ":" + std::to_string(line) + ": " + msg;
                  },
                  this),
              TVN_RES_OK);
  }
  static std::string contents(const std::string& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
  }
};

} // namespace

TEST_F(Frame, FatalStopWritesTheDebugFileAndClosesTheStreams) {
  catch_stops();
  const std::string linked = path + ".log";
  ASSERT_EQ(TVN_linkfiletotaskstream(task, TVN_STREAM_ERR, linked.c_str(), 0), TVN_RES_OK);
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_DEBUG_FILE_NAME, path.c_str()), TVN_RES_OK);
  tvn::TVN_stoptask(*task, "src/tovan/x", 7, "bad value %d", 3);
  EXPECT_EQ(contents(path), "TOVAN fatal error\nFile : src/tovan/x\nLine : 7\nMsg. : bad value 3\n");
  EXPECT_EQ(stop, "src/tovan/x:7: bad value 3");
  EXPECT_EQ(stops, 1) << "one fault, one call";
  const std::string log = contents(linked);
  EXPECT_NE(log.find("TOVAN fatal error (stoptask)\n"), std::string::npos) << log;
  EXPECT_NE(log.find("Platform: Linux/64-X86\n"), std::string::npos) << log;
  EXPECT_NE(err.find("TOVAN fatal error stopenv.\n"), std::string::npos) << err;
  TVN_echotask(task, TVN_STREAM_ERR, "after\n");
  EXPECT_EQ(contents(linked), log) << "the file was unlinked";
  // A debug file that cannot be written and a missing place stop nothing.
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_DEBUG_FILE_NAME, "/nowhere/file"), TVN_RES_OK);
  err.clear();
  tvn::TVN_stoptask(*task, nullptr, 0, "%s", std::string(5000, 'x').c_str());
  EXPECT_NE(err.find("File    : (NULL)\n"), std::string::npos);
  EXPECT_EQ(stop, "null:0: " + std::string(2048, 'x'));
  std::filesystem::remove(linked);
}

TEST_F(Frame, FailedAssertionsAndFaultsOfTheLayersBelowEndTheSameWay) {
  catch_stops();
  tvn::TVN_asserttaskdbg("f", 1, *task, true);
  tvn::TVN_assertenvdbg("f", 1, *env, true);
  EXPECT_EQ(stops, 0);
  tvn::TVN_asserttaskdbg("f", 1, *task, false);
  EXPECT_EQ(stop, "f:1: Assertion failed");
  tvn::TVN_assertenvdbg("g", 2, *env, false);
  EXPECT_EQ(stop, "g:2: Assertion failed");
  task->sys->exithandler(task->sys->exithandle, "src/cpub/x", 3, "from below");
  EXPECT_EQ(stop, "src/cpub/x:3: from below");
  EXPECT_NE(err.find("(stoptask)"), std::string::npos);
  env->sys->exithandler(env->sys->exithandle, "src/cpub/y", 4, "from below");
  EXPECT_EQ(stop, "src/cpub/y:4: from below");
  EXPECT_EQ(stops, 4);
  ASSERT_EQ(TVN_putexitfunc(env, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EXIT(tvn::TVN_stopenv(*env, "f", 1, "x"), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(Frame, IndexOriginMovesTheIndicesInMessagesOnly) {
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 2), TVN_RES_OK);
  env->indexorigin = 1;
  EXPECT_EQ(tvn::TVN_getindexorigin(*env), 1);
  EXPECT_EQ(TVN_putcj(task, 2, 1.0), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_NE(err.find("3"), std::string::npos) << err;
  err.clear();
  EXPECT_EQ(TVN_putcj(task, -1, 1.0), TVN_RES_ERR_INDEX_IS_TOO_SMALL);
  EXPECT_NE(err.find("0"), std::string::npos) << err;
  EXPECT_EQ(TVN_putcj(task, 1, 1.0), TVN_RES_OK) << "the last variable is still number 1";
  env->indexorigin = 0;
}

TEST_F(Frame, MessagesTellTheirPlaceWhenAskedAndKeepCharactersWhole) {
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG_RESPONSE, 1), TVN_RES_OK);
  EXPECT_EQ(TVN_exceptiontaskdbg("src/user/a", 12, "solve", task, TVN_RES_ERR_FILE_OPEN, "x"), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(err, "TOVAN Error 1052     : An error occurred while opening file 'x'.\n"
                 "Location of the error.\n"
                 "File                : src/user/a\n"
                 "Line                : 12\n"
                 "Function            : solve\n");
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG, 0), TVN_RES_OK);
  err.clear();
  std::string name(982, 'x'); // the template puts the last whole byte of the text in the middle of a character
  for (int k = 0; k < 40; k++) name += "\xc3\xb8";
  EXPECT_EQ(TVN_exceptiontask(task, TVN_RES_ERR_FILE_OPEN, name.c_str()), TVN_RES_ERR_FILE_OPEN);
  char msg[2048];
  int64_t len = 0;
  EXPECT_EQ(TVN_getlasterror64(task, nullptr, sizeof msg, &len, msg), TVN_RES_OK);
  EXPECT_EQ(static_cast<size_t>(len), std::strlen(msg));
  EXPECT_LE(len, 1023);
  EXPECT_EQ(msg[len - 1], '\xb8') << "no half character at the end";
  EXPECT_EQ(err.find("Location"), std::string::npos) << "TVN_IPAR_LOG is off";
}

TEST_F(Frame, EnvironmentReportsByItsDefaultsAndItsOwnHandler) {
  struct answer {
    TVNrescodee code = 0, give = 0;
    int calls = 0;
  } a;
  ASSERT_EQ(TVN_putexceptionfuncenv(
                env,
                [](void* handle, TVNrescodee code, const char*) {
                  auto* self = static_cast<answer*>(handle);
                  self->calls++;
                  self->code = code;
                  return self->give;
                },
                &a),
            TVN_RES_OK);
  for (int k = 0; k < 12; k++) EXPECT_EQ(TVN_exceptionenv(env, TVN_RES_WRN_SPAR_MAX_LEN), TVN_RES_OK);
  EXPECT_EQ(a.calls, 12);
  EXPECT_EQ(env->warningcount[TVN_RES_WRN_SPAR_MAX_LEN], 12);
  EXPECT_EQ(task->warningcount[TVN_RES_WRN_SPAR_MAX_LEN], 0) << "counters are the owner's";
  a.give = 1234;
  EXPECT_EQ(TVN_exceptionenv(env, TVN_RES_WRN_SPAR_MAX_LEN), 1234);
  EXPECT_EQ(TVN_exceptionenvdbg("f", 1, "g", env, TVN_RES_ERR_SPACE), TVN_RES_ERR_SPACE) << "an error stands";
  EXPECT_EQ(a.code, TVN_RES_ERR_SPACE);
  EXPECT_EQ(TVN_exceptionenv(env, TVN_RES_OK), TVN_RES_OK);
  EXPECT_EQ(a.calls, 14) << "success is no report";
}

TEST_F(Frame, ScratchIsSizedByTheCapacitiesAndItemsByTheirFamily) {
  ASSERT_EQ(TVN_resizetask(task, 30, 40, 0, 0, 0), TVN_RES_OK);
  void* big = tvn::TVN_getbufdbg2("f", 1, *task, 2, 1, 8, true); // 100 elements
  tvn::TVN_putbuf(task->buffers, 8, true, big);
  EXPECT_EQ(tvn::TVN_getbufdbg("f", 1, task->buffers, 100, 8, true), big);
  void* other = tvn::TVN_getbufdbg("f", 1, task->buffers, 1, 8, true);
  EXPECT_NE(other, big);
  tvn::TVN_putbuf(task->buffers, 8, true, big);
  EXPECT_NE(tvn::TVN_getbufdbg("f", 1, task->buffers, 101, 8, true), big) << "one element too many";
  tvn::TVN_markbuffersfordelete(task->buffers);
  EXPECT_EQ(tvn::count_buffers(task->buffers), 2) << "what is in use goes when it comes back";
  EXPECT_EQ(tvn::TVN_putintinf(*task, 98, 1), TVN_RES_ERR_INF_INT_INDEX);
  EXPECT_EQ(tvn::TVN_putlintinf(*task, -1, 1), TVN_RES_ERR_INF_LINT_INDEX);
  EXPECT_EQ(tvn::TVN_putlintinf(*task, TVN_LIINF_RD_NUMANZ, int64_t{1} << 40), TVN_RES_OK);
  EXPECT_EQ(tvn::TVNP_getlintinf(*task, TVN_LIINF_RD_NUMANZ), int64_t{1} << 40);
}

TEST_F(Frame, ItemsOfTheLibraryAreKeptApartFromThePublicOnesAndABadIndexStops) {
  tvn::TVNP_putdouinf(*task, 0, 1.5);
  tvn::TVNP_putprivatedouinf(*task, 0, 2.5);
  tvn::TVNP_putintinf(*task, 97, 3);
  tvn::TVNP_putprivateintinf(*task, 107, 4);
  tvn::TVNP_putlintinf(*task, 13, 5);
  tvn::TVNP_putprivatelintinf(*task, 2, int64_t{1} << 40);
  EXPECT_EQ(tvn::TVNP_getdouinf(*task, 0), 1.5);
  EXPECT_EQ(tvn::TVNP_getprivatedouinf(*task, 0), 2.5);
  EXPECT_EQ(tvn::TVNP_getintinf(*task, 97), 3);
  EXPECT_EQ(tvn::TVNP_getprivateintinf(*task, 107), 4);
  EXPECT_EQ(tvn::TVNP_getlintinf(*task, 13), 5);
  EXPECT_EQ(tvn::TVNP_getprivatelintinf(*task, 2), int64_t{1} << 40);
  EXPECT_DEATH(tvn::TVNP_putprivateintinf(*task, 108, 1), "");
  EXPECT_DEATH((void)tvn::TVNP_getdouinf(*task, -1), "");
  EXPECT_DEATH((void)tvn::TVNP_getdouparam(*task, 67), "");
  EXPECT_DEATH((void)tvn::TVNP_validateintparam(*task, 202, 0), "");
}

TEST_F(Frame, ParametersAreCopiedBetweenTasks) {
  TVNtask_t other = nullptr;
  ASSERT_EQ(TVN_makeemptytask(env, &other), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_DUAL_SIMPLEX), TVN_RES_OK);
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_STAT_KEY, "key"), TVN_RES_OK);
  tvn::TVN_copyparam(*task, *other);
  ASSERT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(tvn::TVNP_getintparam(*other, TVN_IPAR_OPTIMIZER), TVN_OPTIMIZER_DUAL_SIMPLEX);
  EXPECT_EQ(tvn::TVNP_getstrparam(*other, TVN_SPAR_STAT_KEY), "key");
  int32_t threads = 0;
  EXPECT_EQ(TVN_getintpntnumthreads(other, &threads), TVN_RES_OK);
  EXPECT_EQ(threads, 1);
  ASSERT_EQ(TVN_putintparam(other, TVN_IPAR_INTPNT_NUM_THREADS, 0), TVN_RES_OK);
  EXPECT_EQ(TVN_getintpntnumthreads(other, &threads), TVN_RES_OK);
  EXPECT_GE(threads, 1) << "the cores of the machine";
  EXPECT_EQ(TVN_deletetask(&other), TVN_RES_OK);
}

TEST(SystemResults, BecomeResponseCodes) {
  const TVNrescodee expected[] = {TVN_RES_OK,
                                  TVN_RES_ERR_SPACE,
                                  TVN_RES_ERR_FILE_OPEN,
                                  TVN_RES_ERR_FILE_READ,
                                  TVN_RES_ERR_END_OF_FILE,
                                  TVN_RES_ERR_FILE_WRITE,
                                  TVN_RES_ERR_INTERNAL,
                                  TVN_RES_ERR_SPACE_LEAKING,
                                  TVN_RES_ERR_INVALID_FILE_NAME,
                                  TVN_RES_ERR_INTERNAL};
  for (int32_t k = 0; k < 10; k++) EXPECT_EQ(tvn::TVN_sysrestores(static_cast<tvn::sys_code>(k)), expected[k]) << k;
}

// The two ways are not inverses: a status that an optimizer cannot have comes back as unknown.
TEST_F(Frame, StatusesOfTheOptimizersAreConvertedBothWays) {
  const int32_t there[] = {0, 1, 2, 3, 4, 5, 6, -1, 8, 9, 10, 11, 12, 13, 7, 14};
  const int32_t back[] = {0, 1, 2, 3, 4, 5, 6, 14, 8, 9, 10, 0, 12, 13, 0, 0};
  for (int32_t k = 0; k < 16; k++) {
    EXPECT_EQ(tvn::TVN_convertsolsta(k), back[k]) << k;
    EXPECT_EQ(tvn::TVN_convertmprosta(k), k);
    EXPECT_EQ(tvn::TVN_convertprosta(k), k < 8 ? k : 0);
    if (k != 7) { EXPECT_EQ(tvn::TVN_convertmsolsta(*task, k), there[k]) << k; }
  }
  EXPECT_DEATH((void)tvn::TVN_convertmsolsta(*task, 7), "");
}
