// If these failed in the field: a problem that goes through a file of formulas would come back as another one.
#include "envtask.h"
#include "support/anytask.h"

#include <filesystem>
#include <unistd.h>

using namespace apitest;
namespace fs = std::filesystem;

namespace {

struct Formula : EnvTask {
  fs::path dir = fs::temp_directory_path() / ("tvn_formula_" + std::to_string(getpid()));

  void SetUp() override {
    EnvTask::SetUp();
    fs::create_directories(dir);
  }
  void TearDown() override {
    EnvTask::TearDown();
    fs::remove_all(dir);
  }
  void renew() {
    ASSERT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    TVN_putresponsefunc(task, respond, this);
  }
  std::string path(const std::string& name) const { return (dir / name).string(); }
  TVNrescodee read(const std::string& text, const char* name = "f.lp") {
    std::ofstream(path(name), std::ios::binary) << text;
    reports.clear();
    return TVN_readdata(task, path(name).c_str());
  }
  std::string written(const char* name = "w.lp") {
    EXPECT_EQ(TVN_writedata(task, path(name).c_str()), TVN_RES_OK) << last_message();
    return anytask::text_of(path(name));
  }
  std::vector<int32_t> priorities() {
    std::vector<int32_t> all;
    int32_t numvar = 0, priority = 0, direction = 0;
    TVN_getnumvar(task, &numvar);
    for (int32_t j = 0; j < numvar; j++) {
      TVN_getvarbranchorder(task, j, &priority, &direction);
      all.insert(all.end(), {priority, direction});
    }
    return all;
  }
  // Through one file after the other; the problem stays, and a second file of a format is the first byte by byte.
  void expect_same_through(const std::vector<std::string>& files) {
    const picture want = look(task);
    const std::vector<int32_t> branching = priorities();
    std::map<std::string, std::string> first;
    bool lp = false;
    for (const std::string& name : files) {
      const std::string ending = name.substr(name.rfind('.')), text = written(name.c_str());
      if (first.count(ending)) { ASSERT_EQ(text, first[ending]); }
      first[ending] = text;
      renew();
      ASSERT_EQ(TVN_readdata(task, path(name).c_str()), TVN_RES_OK) << last_message() << "\n" << text;
      lp = lp || ending == ".lp"; // which has no priorities
      if (!lp) { ASSERT_EQ(priorities(), branching); }
      ASSERT_EQ(difference(want, look(task)), "") << text;
    }
  }
  void expect_code(const std::string& text, TVNrescodee code, const std::string& message, const char* name = "f.lp") {
    EXPECT_EQ(read(text, name), code) << text;
    EXPECT_NE(last_message().find(message), std::string::npos) << last_message() << "\n" << text;
  }
};

} // namespace

TEST_F(Formula, AnyProblemKeepsEveryBitNameAndPlace) {
  const char* const roads[][2] = {{"a.lp", "b.lp"}};
  for (uint64_t seed = 1; seed <= 1000; seed++) {
    SCOPED_TRACE(seed);
    for (const auto& road : roads) {
      renew();
      anytask::fill(task, {.seed = seed, .forbidden = '"'});
      expect_same_through({road[0], road[1]});
      if (HasFatalFailure()) return;
    }
  }
}
