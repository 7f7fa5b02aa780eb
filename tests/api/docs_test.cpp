// If this failed in the field: the example that shows people the file format would not be read, or as something else.
#include "envtask.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace apitest;
namespace fs = std::filesystem;

namespace {

struct Formats : EnvTask {
  // The first fenced block behind `title` in docs/formats.md, as a file.
  std::string example(const std::string& title, const std::string& name) {
    std::ifstream in(fs::path(std::getenv("TOVAN_SOURCE")) / "docs/formats.md");
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    const size_t begin = text.find("```\n", text.find("\n## " + title)) + 4;
    const fs::path path = fs::temp_directory_path() / (std::to_string(getpid()) + name);
    std::ofstream(path) << text.substr(begin, text.find("```", begin) - begin);
    return path.string();
  }
};

} // namespace

TEST_F(Formats, TheExampleOfTheDocumentIsReadAsItSays) {
  if (!std::getenv("TOVAN_SOURCE")) GTEST_SKIP() << "TOVAN_SOURCE is not set";
  const std::string file = example("MPS", "example.mps");
  ASSERT_EQ(TVN_readdata(task, file.c_str()), TVN_RES_OK) << last_message();
  fs::remove(file);
  int32_t numcon = 0, numvar = 0, numint = 0, numcone = 0, sense = 0, qobj = 0, qcon = 0;
  double cfix = 0, lower = 0, upper = 0;
  char objname[32];
  TVN_getnumcon(task, &numcon);
  TVN_getnumvar(task, &numvar);
  TVN_getnumintvar(task, &numint);
  TVN_getnumcone(task, &numcone);
  TVN_getobjsense(task, &sense);
  TVN_getcfix(task, &cfix);
  TVN_getnumqobjnz(task, &qobj);
  TVN_getnumqconknz(task, 0, &qcon);
  EXPECT_EQ(numcon, 3) << "rows of type N leave";
  EXPECT_EQ(numvar, 3);
  EXPECT_EQ(numint, 1);
  EXPECT_EQ(numcone, 1);
  EXPECT_EQ(sense, TVN_OBJECTIVE_SENSE_MAXIMIZE);
  EXPECT_EQ(cfix, 7);
  EXPECT_EQ(qobj, 1);
  EXPECT_EQ(qcon, 1);
  ASSERT_EQ(TVN_getobjname(task, sizeof objname, nullptr, objname), TVN_RES_OK);
  EXPECT_STREQ(objname, "PROFIT");
  EXPECT_EQ(key(TVN_ACC_CON, 0), TVN_BK_RA);
  ASSERT_EQ(TVN_getbound(task, TVN_ACC_CON, 0, nullptr, &lower, &upper), TVN_RES_OK);
  EXPECT_EQ(lower, 1.5);
  EXPECT_EQ(upper, 4);
  EXPECT_EQ(key(TVN_ACC_VAR, 0), TVN_BK_RA);
  EXPECT_EQ(key(TVN_ACC_VAR, 2), TVN_BK_FR);
}

TEST_F(Formats, TheParameterFileOfTheDocumentSetsItsParameters) {
  if (!std::getenv("TOVAN_SOURCE")) GTEST_SKIP() << "TOVAN_SOURCE is not set";
  const std::string file = example("Parameter files", "example.par");
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_PARAM_READ_FILE_NAME, file.c_str()), TVN_RES_OK);
  ASSERT_EQ(TVN_readparamfile(task), TVN_RES_OK);
  fs::remove(file);
  int32_t optimizer = 0;
  double seconds = 0;
  TVN_getintparam(task, TVN_IPAR_OPTIMIZER, &optimizer);
  TVN_getdouparam(task, TVN_DPAR_OPTIMIZER_MAX_TIME, &seconds);
  EXPECT_EQ(optimizer, TVN_OPTIMIZER_PRIMAL_SIMPLEX);
  EXPECT_EQ(seconds, 60);
}
