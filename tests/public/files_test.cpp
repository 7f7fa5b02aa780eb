// If these failed in the field: a file from the libraries that everybody uses would be read as another problem, or come
// back as one.
#include "support/picture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct PublicFiles : ::testing::Test {
  TVNenv_t env = nullptr;
  fs::path folder, written = fs::temp_directory_path() / ("tvn_files_" + std::to_string(getpid()));

  void SetUp() override {
    const char* name = std::getenv("TOVAN_DATA");
    if (!name || !fs::exists(fs::path(name) / "refs.csv"))
      GTEST_SKIP() << "SKIPPED: TOVAN_DATA names no folder with refs.csv";
    folder = name;
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  }
  void TearDown() override {
    for (const char* ending : {".mps", ".mps.gz", ".lp", ".opf"}) fs::remove(written.string() + ending);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  }
  // A task with the problem of a file.
  TVNtask_t read(const std::string& path) {
    TVNtask_t task = nullptr;
    TVN_makeemptytask(env, &task);
    TVN_putintparam(task, TVN_IPAR_WRITE_PRECISION, 17);
    EXPECT_EQ(TVN_readdata(task, path.c_str()), TVN_RES_OK) << path;
    return task;
  }
  // Through an LP file, which has no cones, and an OPF file: not a bit is lost.
  void expect_formulas_keep(TVNtask_t task) {
    picture want = look(task);
    for (const char* ending : {".opf", ".lp"}) {
      const bool lp = ending[1] == 'l';
      if (lp && want.numcone > 0) continue;
      if (lp && want.sense == TVN_OBJECTIVE_SENSE_UNDEFINED) want.sense = TVN_OBJECTIVE_SENSE_MINIMIZE;
      const std::string path = written.string() + ending;
      ASSERT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
      TVNtask_t again = read(path);
      EXPECT_EQ(difference(want, look(again)), "") << ending;
      EXPECT_EQ(TVN_deletetask(&again), TVN_RES_OK);
    }
  }
};

// Elements below 1e-12 and quadratic zeros, which are in the file and not in the problem.
int64_t num_dropped(const std::string& name, size_t what) {
  if (what == 2) return name == "hues-mod" ? 101 : name == "ksip" ? 1484 : 0;
  return what == 3 && name == "laser" ? 771 : 0;
}

// rows, columns, elements, quadratic terms, cones
std::vector<int64_t> sizes(TVNtask_t t) {
  std::vector<int64_t> s(5);
  int32_t value = 0;
  for (const auto& [at, item] : {std::pair{0, TVN_IINF_RD_NUMCON}, {1, TVN_IINF_RD_NUMVAR}, {4, TVN_IINF_RD_NUMCONE}}) {
    TVN_getintinf(t, item, &value);
    s[static_cast<size_t>(at)] = value;
  }
  TVN_getlintinf(t, TVN_LIINF_RD_NUMANZ, &s[2]);
  TVN_getlintinf(t, TVN_LIINF_RD_NUMQNZ, &s[3]);
  return s;
}

} // namespace

TEST_F(PublicFiles, HaveTheirSizesAndSurviveTheWayThroughAFile) {
  std::ifstream in(folder / "refs.csv");
  std::string line;
  std::getline(in, line);
  int32_t count = 0;
  while (std::getline(in, line)) {
    std::stringstream row(line);
    std::string family, name, number;
    std::getline(row, family, ',');
    std::getline(row, name, ',');
    SCOPED_TRACE(name);
    std::vector<int64_t> want;
    for (size_t k = 0; k < 5 && std::getline(row, number, ','); k++)
      want.push_back(std::atoll(number.c_str()) - num_dropped(name, k));
    TVNtask_t task = read((folder / family / (name + ".mps.gz")).string());
    EXPECT_EQ(sizes(task), want);
    const std::string path = written.string() + (count++ % 4 ? ".mps" : ".mps.gz"); // packing takes its time
    ASSERT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
    TVNtask_t again = read(path);
    picture before = look(task), after = look(again);
    forgive(before, after);
    EXPECT_EQ(difference(before, after), "");
    EXPECT_EQ(TVN_deletetask(&again), TVN_RES_OK);
    expect_formulas_keep(task);
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  }
  EXPECT_GT(count, 200);
}
