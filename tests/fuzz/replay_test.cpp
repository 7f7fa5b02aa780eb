// If these failed in the field: an input that once found a fault in the reader would find it again.
#include "formula_input.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

namespace {

namespace fs = std::filesystem;

std::map<std::string, std::string> corpus(const char* name) {
  std::map<std::string, std::string> inputs;
  const char* top = std::getenv("TOVAN_SOURCE");
  if (!top) return inputs;
  for (const auto& entry : fs::directory_iterator(fs::path(top) / "tests/fuzz/corpus" / name)) {
    std::ifstream in(entry.path(), std::ios::binary);
    inputs[entry.path().filename().string()] = {std::istreambuf_iterator<char>(in), {}};
  }
  return inputs;
}

TVNrescodee replay(const std::string& input) {
  TVNrescodee code = TVN_RES_OK;
  EXPECT_EQ(fuzz::try_mps(reinterpret_cast<const uint8_t*>(input.data()), input.size(), &code), "");
  return code;
}

} // namespace

TEST(Corpus, EveryMpsInputIsReadOrRefusedAndSurvivesAFile) {
  const auto inputs = corpus("mps");
  if (inputs.empty()) GTEST_SKIP() << "TOVAN_SOURCE is not set";
  int numread = 0;
  for (const auto& [name, input] : inputs) {
    SCOPED_TRACE(name);
    const TVNrescodee code = replay(input);
    EXPECT_EQ(code != TVN_RES_OK, name.starts_with("bad")) << code;
    numread += code == TVN_RES_OK;
  }
  EXPECT_GE(numread, 10) << "a corpus that is refused as a whole reaches little of the reader";
}

TEST(Corpus, EveryMpsInputIsAsWellReadInTheOtherModes) {
  for (auto [name, input] : corpus("mps"))
    for (const char digit : {'0', '1', '2', '3', '4', '5'}) {
      SCOPED_TRACE(name + " as " + digit);
      input[0] = digit;
      replay(input);
    }
}

TEST(Corpus, EveryFormulaInputIsReadOrRefusedAndSurvivesAFile) {
  for (const std::string format : {"lp", "opf"})
    for (const auto& [name, input] : corpus(format.c_str())) {
      SCOPED_TRACE(format + "/" + name);
      TVNrescodee code = TVN_RES_OK;
      const auto* data = reinterpret_cast<const uint8_t*>(input.data());
      EXPECT_EQ(fuzz::try_formula(data, input.size(), ("." + format).c_str(), &code), "");
      EXPECT_EQ(code != TVN_RES_OK, name.starts_with("bad")) << code;
    }
}
