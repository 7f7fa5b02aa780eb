// If these failed in the field: one broken file would spoil the task, the process or the next problem of a long run.
#include "envtask.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <zlib.h>

using namespace apitest;
namespace fs = std::filesystem;

namespace {

const std::string head = "NAME          SMALL\nROWS\n N  COST\n L  LIM1\n G  MYGE\nCOLUMNS\n"
                         "    X         COST               1.0   LIM1               1.0\n"
                         "    X         MYGE               1.0\n";
const std::string body = "    Y         COST               2.0   LIM1               1.0\n"
                         "RHS\n    RHS       LIM1               4.0   MYGE               1.0\n";
const std::string good = head + body + "BOUNDS\n UP BND       X                  4.0\nENDATA\n";

struct BadFile : EnvTask {
  fs::path dir = fs::temp_directory_path() / ("tvn_bad_" + std::to_string(getpid()));
  std::string errors;

  void SetUp() override {
    EnvTask::SetUp();
    fs::create_directories(dir);
    TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &errors,
                             [](void* handle, const char* text) { static_cast<std::string*>(handle)->append(text); });
  }
  void TearDown() override {
    EnvTask::TearDown();
    fs::remove_all(dir);
  }
  std::string write(const char* name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
    return (dir / name).string();
  }
  // Reads a good file into the same task and solves it: min x + 2y, x >= 1 is 1.
  void expect_usable() {
    ASSERT_EQ(TVN_readdata(task, write("good.mps", good).c_str()), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    double objective = 0;
    ASSERT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &objective), TVN_RES_OK);
    EXPECT_NEAR(objective, 1, 1e-9);
  }
};

} // namespace

TEST_F(BadFile, NamesCodeAndLineAndLeavesAUsableTask) {
  const struct {
    std::string text;
    TVNrescodee code;
    const char* printed; // after the error message
  } cases[] = {
      {head + "WHATISIT\n", TVN_RES_ERR_MPS_INV_FIELD, "WHATISIT"},
      {head + "    Y         COST             1.0e+\n", TVN_RES_ERR_MPS_INV_FIELD, "1.0e+"},
      {head + "    Y         LIM2               1.0\n", TVN_RES_ERR_MPS_UNDEF_CON_NAME, "LIM2"},
      {head + body + "BOUNDS\n UP BND       Z                  4.0\n", TVN_RES_ERR_MPS_UNDEF_VAR_NAME, "Z"},
      {head + body, TVN_RES_ERR_END_OF_FILE, ""},
  };
  for (const auto& c : cases) {
    errors.clear();
    EXPECT_EQ(TVN_readdata(task, write("bad.mps", c.text).c_str()), c.code) << errors;
    EXPECT_NE(errors.find(c.printed), std::string::npos) << errors;
    expect_usable();
  }
}

TEST_F(BadFile, MissingOrCutOffFilesLeaveAUsableTask) {
  EXPECT_EQ(TVN_readdata(task, (dir / "none.mps").c_str()), TVN_RES_ERR_FILE_OPEN);
  expect_usable();
  const std::string cut = (dir / "cut.mps.gz").string();
  gzFile gz = gzopen(cut.c_str(), "wb");
  gzwrite(gz, good.data(), static_cast<unsigned>(good.size()));
  gzclose(gz);
  fs::resize_file(cut, fs::file_size(cut) / 2);
  EXPECT_EQ(TVN_readdata(task, cut.c_str()), TVN_RES_ERR_FILE_READ);
  int32_t numvar = -1;
  EXPECT_EQ(TVN_getnumvar(task, &numvar), TVN_RES_OK);
  EXPECT_EQ(numvar, 0) << "half a file is no problem";
  expect_usable();
  EXPECT_NE(TVN_readdata(task, dir.c_str()), TVN_RES_OK) << "a folder is no problem";
  expect_usable();
}

TEST_F(BadFile, CrossedBoundsInAFileAreReadAndProvenInfeasible) {
  const std::string text =
      head + body + "BOUNDS\n LO BND       X                  5.0\n UP BND       X                  4.0\nENDATA\n";
  ASSERT_EQ(TVN_readdata(task, write("crossed.mps", text).c_str()), TVN_RES_OK) << errors;
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  int32_t prosta = -1, solsta = -1;
  double slx[2], sux[2];
  ASSERT_EQ(TVN_getsolution(task, TVN_SOL_BAS, &prosta, &solsta, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, slx, sux, nullptr),
            TVN_RES_OK);
  EXPECT_EQ(prosta, TVN_PRO_STA_PRIM_INFEAS);
  EXPECT_EQ(solsta, TVN_SOL_STA_PRIM_INFEAS_CER);
  EXPECT_GT(5 * slx[0] - 4 * sux[0], 0) << "the two bounds contradict each other, and the proof says so";
  expect_usable();
}

// A whole run with the memory debug files: nothing is left in the task's or the environment's.
TEST(MemoryReport, NoBlockIsLeftAfterReadSolveAndDelete) {
  const fs::path dir = fs::temp_directory_path() / ("tvn_mem_" + std::to_string(getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "good.mps") << good;
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, (dir / "report").c_str()), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  EXPECT_EQ(TVN_readdata(task, (dir / "good.mps").c_str()), TVN_RES_OK);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_EQ(TVN_solutionsummary(task, TVN_STREAM_LOG), TVN_RES_OK);
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  int files = 0;
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.path().extension() != ".txt") continue;
    std::ifstream in(entry.path());
    const std::string report{std::istreambuf_iterator<char>(in), {}};
    EXPECT_NE(report.find("Done checking leaks"), std::string::npos) << entry.path();
    EXPECT_EQ(report.find("ALLOCATED  BLOCKS LEFT"), std::string::npos) << entry.path();
    EXPECT_EQ(report.find("guard violation"), std::string::npos) << entry.path();
    files++;
  }
  EXPECT_EQ(files, 2) << "one of the environment, one of the task";
  fs::remove_all(dir);
}
