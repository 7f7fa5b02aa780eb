// If these fail, a parameter file that a user kept does not bring back the settings that he wrote.
#include "api/envtask.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <unistd.h>

namespace {

using apitest::EnvTask;

struct ParamFile : EnvTask {
  std::string path = (std::filesystem::temp_directory_path() / ("tvn_pf_" + std::to_string(getpid()))).string();
  ~ParamFile() override { std::filesystem::remove(path); }

  std::string written(TVNtask_t t) {
    EXPECT_EQ(TVN_writeparamfile(t, path.c_str()), TVN_RES_OK) << last_message();
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // Reads the file that `written` left; the name of the file being read is what the file says again.
  TVNrescodee read_back(TVNtask_t t) {
    EXPECT_EQ(TVN_putstrparam(t, TVN_SPAR_PARAM_READ_FILE_NAME, path.c_str()), TVN_RES_OK);
    return TVN_readparamfile(t);
  }
  std::string string(TVNtask_t t, int32_t param) {
    char value[512];
    EXPECT_EQ(TVN_getstrparam(t, param, sizeof value, nullptr, value), TVN_RES_OK);
    return value;
  }
  double real(TVNtask_t t, int32_t param) {
    double value = NAN;
    EXPECT_EQ(TVN_getdouparam(t, param, &value), TVN_RES_OK);
    return value;
  }
  // A value as given, without the rule that strips quotes.
  void put_plain(TVNtask_t t, int32_t param, const std::string& value) {
    std::string quoted = value;
    if (!value.empty() && value[0] == '"') {
      quoted = "\"";
      for (const char c : value) quoted += c == '"' ? std::string("\\\"") : std::string(1, c);
    }
    EXPECT_EQ(TVN_putstrparam(t, param, quoted.c_str()), TVN_RES_OK);
    EXPECT_EQ(string(t, param), value);
  }
  // Legal values drawn for every parameter; those that steer the reading and writing itself are drawn too.
  void draw_all(std::mt19937& rng) {
    const auto below = [&](uint32_t n) { return static_cast<int32_t>(rng() % n); };
    for (int32_t k = 0; k < 202; k++)
      for (int32_t tries = 0; tries < 3; tries++) {
        const int32_t v = below(4) == 0 ? static_cast<int32_t>(rng() >> below(32)) : below(12) - 1;
        if (TVN_putintparam(task, k, v) == TVN_RES_OK) break;
      }
    for (int32_t k = 0; k < 67; k++)
      for (int32_t tries = 0; tries < 4; tries++) {
        const double v = std::ldexp(static_cast<double>(rng()), -below(90)) * (below(5) == 0 ? -1 : 1);
        if (TVN_putdouparam(task, k, below(9) == 0 ? std::numeric_limits<double>::infinity() : v) == TVN_RES_OK) break;
      }
    static const char* pieces[] = {"a",  "%",  "#",        " ",         "\t",       "\"",
                                   "\\", "\r", "file.mps", "END TOVAN", "\xc3\xb8", "//"};
    for (int32_t k = 0; k < 25; k++) {
      std::string v;
      for (int32_t n = below(6); n > 0; n--) v += pieces[below(12)];
      put_plain(task, k, v);
    }
    const char* signs[] = {"%%", "#", " ! ", "", "*rem", "%"};
    put_plain(task, TVN_SPAR_PARAM_COMMENT_SIGN, signs[below(6)]);
    put_plain(task, TVN_SPAR_PARAM_READ_FILE_NAME, path);
  }
};

} // namespace

TEST_F(ParamFile, DefaultsAndRandomSettingsComeBackByteByByte) {
  std::mt19937 rng(20261121);
  for (int32_t round = 0; round < 200; round++) {
    SCOPED_TRACE(round);
    if (round > 0) draw_all(rng);
    const std::string first = written(task);
    TVNtask_t other = nullptr;
    ASSERT_EQ(TVN_makeemptytask(env, &other), TVN_RES_OK);
    // The sign in force while a file is read is that of the reading task.
    ASSERT_EQ(TVN_putstrparam(other, TVN_SPAR_PARAM_COMMENT_SIGN, string(task, TVN_SPAR_PARAM_COMMENT_SIGN).c_str()),
              TVN_RES_OK);
    ASSERT_EQ(read_back(other), TVN_RES_OK);
    for (int32_t k = 0; k < 25; k++)
      if (round > 0 || k != TVN_SPAR_PARAM_READ_FILE_NAME) { EXPECT_EQ(string(other, k), string(task, k)) << k; }
    for (int32_t k = 0; k < 67; k++) {
      const double want = real(task, k), got = real(other, k);
      EXPECT_TRUE(got == want || std::fabs(got - want) <= 5e-9 * std::fabs(want)) << k << " " << want;
    }
    EXPECT_EQ(written(other), first);
    EXPECT_EQ(TVN_deletetask(&other), TVN_RES_OK);
    if (HasFailure()) break;
  }
}

TEST_F(ParamFile, SignInsideQuotesStartsNoComment) {
  const auto value_of = [&](const char* line) {
    std::ofstream(path) << "TVN_SPAR_STAT_KEY before\n" << line << "\n";
    EXPECT_EQ(read_back(task), TVN_RES_OK) << line;
    return string(task, TVN_SPAR_STAT_KEY);
  };
  EXPECT_EQ(value_of("TVN_SPAR_STAT_KEY \"50% \\\"of\\\" x\"  % all of it"), "50% \"of\" x");
  EXPECT_EQ(value_of("TVN_SPAR_STAT_KEY \"50%"), "50%") << "no closing quote";
  EXPECT_EQ(value_of("TVN_SPAR_STAT_KEY 50% of \"x\""), "50") << "quotes inside do not quote";
  EXPECT_EQ(value_of("TVN_SPAR_STAT_KEY % nothing"), "");
  EXPECT_EQ(value_of("TVN_SPAR_STAT_KEY% nothing"), "");
  EXPECT_EQ(value_of("%TVN_SPAR_STAT_KEY x"), "before");
  put_plain(task, TVN_SPAR_STAT_KEY, "50%");
  EXPECT_NE(written(task).find("\nTVN_SPAR_STAT_KEY                                \"50%\"\n"), std::string::npos);
}

TEST_F(ParamFile, WhatNoLineCanHoldIsRefusedBeforeTheFileIsOpened) {
  put_plain(task, TVN_SPAR_STAT_KEY, "two\nlines");
  EXPECT_EQ(TVN_writeparamfile(task, path.c_str()), TVN_RES_ERR_PARAM_VALUE_STR);
  put_plain(task, TVN_SPAR_STAT_KEY, "");
  for (const char* sign : {"T", "1", "-", ".", "_"}) {
    put_plain(task, TVN_SPAR_PARAM_COMMENT_SIGN, sign);
    EXPECT_EQ(TVN_writeparamfile(task, path.c_str()), TVN_RES_ERR_PARAM_VALUE_STR) << sign;
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ParamFile, BadLinesAreNamedAndLeaveWhatStandsBehindThem) {
  struct bad_line {
    const char* line;
    TVNrescodee code;
  };
  for (const bad_line& b :
       {bad_line{"TVN_IPAR_NO_SUCH 1", TVN_RES_ERR_PARAM_NAME}, bad_line{"ABC", TVN_RES_ERR_PARAM_NAME},
        bad_line{"TVN_IPAR_LOG_BI", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_IPAR_LOG_BI x", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_IPAR_LOG_BI 3.5", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_IPAR_LOG_BI 99999999999", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_IPAR_LOG_BI -7", TVN_RES_ERR_PARAM_IS_TOO_SMALL},
        bad_line{"TVN_IPAR_OPTIMIZER TVN_OPTIMIZER_BEST", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_DPAR_BASIS_TOL_X 1e-5 1", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_DPAR_BASIS_TOL_X 0x10", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_DPAR_BASIS_TOL_X nan", TVN_RES_ERR_PARAM_VALUE_STR},
        bad_line{"TVN_DPAR_BASIS_TOL_X -1", TVN_RES_ERR_PARAM_IS_TOO_SMALL}}) {
    const auto read_with = [&](int32_t ignore) {
      EXPECT_EQ(TVN_setdefaults(task), TVN_RES_OK);
      std::ofstream(path) << "BEGIN TOVAN\nTVN_IPAR_LOG 3\n"
                          << b.line << "\nTVN_IPAR_LOG_SIM 7\nEND TOVAN\nTVN_IPAR_LOG 5\n";
      EXPECT_EQ(TVN_putintparam(task, TVN_IPAR_PARAM_READ_IGN_ERROR, ignore), TVN_RES_OK);
      return read_back(task);
    };
    const auto integer = [&](int32_t param) {
      int32_t v = -1;
      EXPECT_EQ(TVN_getintparam(task, param, &v), TVN_RES_OK);
      return v;
    };
    EXPECT_EQ(read_with(TVN_OFF), b.code) << b.line;
    EXPECT_EQ(last_report(), b.code) << b.line;
    EXPECT_EQ(integer(TVN_IPAR_LOG), 3) << b.line;
    EXPECT_EQ(integer(TVN_IPAR_LOG_SIM), 4) << b.line;
    EXPECT_EQ(read_with(TVN_ON), TVN_RES_OK) << b.line;
    EXPECT_EQ(integer(TVN_IPAR_LOG_SIM), 7) << b.line;
    EXPECT_EQ(integer(TVN_IPAR_LOG_BI), 4) << b.line;
    EXPECT_EQ(real(task, TVN_DPAR_BASIS_TOL_X), 1e-6) << b.line;
    EXPECT_EQ(integer(TVN_IPAR_LOG), 3) << "what stands behind the end mark is not read";
  }
}

TEST_F(ParamFile, FilesThatCannotBeOpenedOrWrittenChangeNothing) {
  EXPECT_EQ(TVN_writeparamfile(task, "/nowhere/file"), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(last_message(), "An error occurred while opening file '/nowhere/file'.");
  EXPECT_EQ(TVN_writeparamfile(task, "/dev/full"), TVN_RES_ERR_FILE_WRITE);
  EXPECT_EQ(last_message(), "An error occurred while writing to file '/dev/full'.");
  EXPECT_EQ(TVN_writeparamfile(task, nullptr), TVN_RES_ERR_INVALID_FILE_NAME);
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_PARAM_READ_FILE_NAME, "/nowhere/file"), TVN_RES_OK);
  EXPECT_EQ(TVN_readparamfile(task), TVN_RES_WRN_OPEN_PARAM_FILE);
  EXPECT_EQ(last_message(), "Could not open the parameter file '/nowhere/file'.");
  answer = 77;
  EXPECT_EQ(TVN_readparamfile(task), 77) << "which the response function may refuse";
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_PARAM_WRITE_FILE_NAME, path.c_str()), TVN_RES_OK);
  EXPECT_EQ(TVN_writeparamfile(task, ""), TVN_RES_OK) << "the name of the parameter";
  EXPECT_TRUE(std::filesystem::exists(path));
}
