// If this fails, a task leaks or loses scratch memory, stops without a word, or lends its matrix while it changes.
#include "tovan/data/data.h"
#include "tovan/optimize/optimize.h"
#include "tovan/optimize/presolvelog.h"
#include "tovan/task/api.h"
#include "tovan/task/names.h"
#include "tovan/task/scratch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace {

struct TaskInside : testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  void SetUp() override {
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  }
};

TEST_F(TaskInside, ScratchBuffersAreReusedByCapacityAndZeroFlag) {
  tvn::scratch_pool& pool = task->buffers;
  void* big = tvn::TVN_getbufdbg(__FILE__, __LINE__, pool, 100, 8, false);
  void* small = tvn::TVN_getbufdbg(__FILE__, __LINE__, pool, 10, 8, false);
  tvn::TVN_putbuf(pool, 8, false, big);
  tvn::TVN_putbuf(pool, 8, true, small);
  EXPECT_EQ(tvn::TVN_getbufdbg(__FILE__, __LINE__, pool, 5, 8, true), small); // the least that is zero
  EXPECT_EQ(tvn::TVN_getbufdbg(__FILE__, __LINE__, pool, 5, 8, false), big);
  EXPECT_EQ(tvn::TVN_getbufdbg(__FILE__, __LINE__, pool, 0, 8, false), nullptr);
  tvn::TVN_markbuffersfordelete(pool);
  EXPECT_EQ(tvn::count_buffers(pool), 2);
  tvn::TVN_putbuf(pool, 8, false, big);
  tvn::TVN_putbuf(pool, 8, true, small);
  EXPECT_EQ(tvn::count_buffers(pool), 0);
}

TEST_F(TaskInside, FillingColumnByColumnAsksForNoMemory) {
  ASSERT_EQ(TVN_resizetask(task, 50, 40, 0, 400, 0), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 50), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 40), TVN_RES_OK);
  int32_t sub[10];
  double val[10];
  const auto put = [&](int32_t j) {
    for (int32_t k = 0; k < 10; k++) {
      sub[k] = (7 * j + 3 * k) % 50;
      val[k] = k + 1;
    }
    return TVN_putavec(task, TVN_ACC_VAR, j, 10, sub, val);
  };
  ASSERT_EQ(put(0), TVN_RES_OK); // makes the scratch buffers
  const uint64_t before = task->sys->mman->numrequests;
  for (int32_t j = 1; j < 40; j++) {
    ASSERT_EQ(put(j), TVN_RES_OK);
    ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, j, TVN_BK_LO, 0, 0), TVN_RES_OK);
    ASSERT_EQ(TVN_putcj(task, j, 1.0), TVN_RES_OK);
  }
  EXPECT_EQ(task->sys->mman->numrequests, before);
  tvn::TVN_checkadbg(__FILE__, __LINE__, *task, true);
}

TEST_F(TaskInside, LentMatrixRefusesChangesUntilItComesBack) {
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 2), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 2), TVN_RES_OK);
  ASSERT_EQ(TVN_putaij(task, 1, 0, 3.0), TVN_RES_OK);
  const tvn::sprmat_view a = tvn::TVN_getacolwise(*task, 4);
  ASSERT_EQ(a.ptre[0] - a.ptrb[0], 1);
  EXPECT_EQ(a.sub[a.ptrb[0]], 1);
  EXPECT_DEATH(TVN_putaij(task, 0, 0, 1.0), "");
  tvn::TVN_putadbg(__FILE__, __LINE__, *task);
  EXPECT_EQ(TVN_putaij(task, 0, 0, 1.0), TVN_RES_OK);
  tvn::spmat columns;
  tvn::TVN_getaspmat(*task, 3, columns);
  EXPECT_EQ(columns.maxnvec, 5);
  EXPECT_EQ(tvn::TVN_spmat_getnz(columns), 2);
  EXPECT_EQ(tvn::TVN_spmat_check(columns), 0);
  tvn::TVN_putadbg(__FILE__, __LINE__, *task);
}

TEST_F(TaskInside, DeletedDataKeepParametersAndSense) {
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 3), TVN_RES_OK);
  ASSERT_EQ(TVN_putcfix(task, 5.0), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG, 1), TVN_RES_OK);
  ASSERT_EQ(TVN_deletetaskdata(task), TVN_RES_OK);
  EXPECT_EQ(task->prob.numvar, 0);
  EXPECT_EQ(task->prob.maxnumvar, 0);
  EXPECT_EQ(task->prob.cfix, 0.0);
  EXPECT_EQ(task->prob.objsense, TVN_OBJECTIVE_SENSE_MAXIMIZE);
  EXPECT_EQ(task->params.ival[TVN_IPAR_LOG], 1);
  EXPECT_EQ(TVN_resizetask(task, 1, 1, 0, -1, 0), TVN_RES_ERR_TOO_SMALL_MAXNUMANZ);
  EXPECT_EQ(task->prob.maxnumcon, 0);
  EXPECT_EQ(TVN_resizetask(task, -1, 1, 0, 0, 0), TVN_RES_ERR_MAXNUMCON);
}

TEST_F(TaskInside, NamesForWritingAreGenericOrQuoted) {
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 12), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(task, TVN_PI_CON, 11, "row a"), TVN_RES_OK);
  char name[16];
  int64_t len = 0;
  ASSERT_EQ(tvn::TVN_getnamex(*task, TVN_PI_CON, 11, sizeof name, len, name, true), TVN_RES_OK);
  EXPECT_EQ(name, "c" + std::to_string(11 + task->params.ival[TVN_IPAR_WRITE_GENERIC_NAMES_IO]));
  ASSERT_EQ(tvn::TVN_getnamex(*task, TVN_PI_CON, 11, sizeof name, len, name, false), TVN_RES_OK);
  EXPECT_EQ(len, 5);
  EXPECT_TRUE(tvn::TVN_getwritename(name, " \t"));
  EXPECT_FALSE(tvn::TVN_getwritename("row\" a", " \t"));
  EXPECT_FALSE(tvn::TVN_getwritename("row", " \t"));
}

TEST_F(TaskInside, ManyConesComeInOneStepUpToTheFirstThatIsRefused) {
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 7), TVN_RES_OK);
  const int32_t type[] = {TVN_CT_QUAD, TVN_CT_RQUAD, TVN_CT_QUAD}, ptrb[] = {4, 0, 2}, ptre[] = {6, 2, 4};
  const int32_t sub[] = {0, 1, 2, 1, 5, 6};
  const double par[] = {1.5, 2.5, 3.5};
  EXPECT_EQ(tvn::TVN_core_appendcones(*task, 3, type, par, ptrb, ptre, sub), TVN_RES_ERR_CONE_OVERLAP);
  ASSERT_EQ(task->prob.numcone, 2);
  EXPECT_EQ(task->prob.maxnumcone, 3);
  int32_t k = 0, num = 0, members[2];
  double kept = 0;
  ASSERT_EQ(TVN_getcone(task, 0, &k, &kept, &num, members), TVN_RES_OK);
  EXPECT_EQ(std::vector<int32_t>(members, members + num), (std::vector<int32_t>{5, 6}));
  EXPECT_EQ(kept, 1.5);
  EXPECT_EQ(tvn::TVN_core_appendcones(*task, 1, type, nullptr, ptre, ptrb, sub), TVN_RES_ERR_INV_APTRE);
  EXPECT_EQ(tvn::TVN_core_appendcones(*task, -1, type, nullptr, ptrb, ptre, sub), TVN_RES_ERR_IN_ARGUMENT);
  EXPECT_EQ(task->prob.numcone, 2);
}

struct stop_seen {
  std::string file, message;
  int line = 0;
};

TEST_F(TaskInside, FatalStopTellsTheStreamAndTheExitFunction) {
  std::string err;
  stop_seen seen;
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &err,
                                     [](void* h, const char* text) { *static_cast<std::string*>(h) += text; }),
            TVN_RES_OK);
  ASSERT_EQ(TVN_putexitfunc(
                env,
                [](void* h, const char* file, int line, const char* msg) {
                  *static_cast<stop_seen*>(h) = {file, msg, line};
                },
                &seen),
            TVN_RES_OK);
  tvn::TVN_stoptask(*task, "src/tovan/x", 7, "bad value %d", 3);
  EXPECT_EQ(seen.file, "src/tovan/x");
  EXPECT_EQ(seen.line, 7);
  EXPECT_EQ(seen.message, "bad value 3");
  EXPECT_NE(err.find("\n\nTOVAN fatal error (stoptask)\nVersion : 6.0.0.135\n"), std::string::npos) << err;
  EXPECT_NE(err.find("File    : src/tovan/x\nLine    : 7\nMsg.    : bad value 3\n"), std::string::npos) << err;
}

TEST(DebugFiles, AreWrittenForTheEnvironmentAndEachTask) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / ("tvn_dbg_" + std::to_string(getpid()));
  std::filesystem::create_directory(dir);
  const std::string stem = (dir / "mem").string();
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, stem.c_str()), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_ERR_LIVING_TASKS);
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  std::ifstream file(stem + ".env.txt");
  std::stringstream text;
  text << file.rdbuf();
  EXPECT_NE(text.str().find("TOVAN memory debugging."), std::string::npos);
  EXPECT_NE(text.str().find("*** ERROR *** Living tasks when deleting the environment\n"), std::string::npos);
  EXPECT_TRUE(std::filesystem::exists(stem + ".0.task.txt"));
  std::filesystem::remove_all(dir);
}

// Tests of the folders below run on the records as they are made, users on the tables.
TEST_F(TaskInside, SettingsOfANewTaskAreThoseOfTheRecords) {
  EXPECT_TRUE(tvn::TVN_presolveparam(*task) == tvn::prslv_param{});
  EXPECT_TRUE(tvn::TVN_simplexparam(*task, false) == tvn::simplex_param{});
  EXPECT_TRUE(tvn::TVN_homogeneousparam(*task, false) == tvn::hs_param{});
}

} // namespace
