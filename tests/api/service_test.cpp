// If these fail, a program built around the library loses memory that it took from it, shows broken text or wrong
// words.
#include "api/envtask.h"

#include <cstdarg>
#include <cstring>
#include <cwchar>
#include <set>

namespace {

using apitest::EnvTask;

struct Service : EnvTask {};

TVNrescodee raise(TVNtask_t task, TVNrescodee code, ...) {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = TVN_exceptiontaskva("f", 1, "g", task, code, args);
  va_end(args);
  return result;
}
TVNrescodee raise(TVNenv_t env, TVNrescodee code, ...) {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = TVN_exceptionenvva("f", 1, "g", env, code, args);
  va_end(args);
  return result;
}
TVNrescodee print(TVNtask_t task, int32_t stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const TVNrescodee result = TVN_echotaskva(task, stream, format, args);
  va_end(args);
  return result;
}
TVNrescodee print(TVNenv_t env, int32_t stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const TVNrescodee result = TVN_echoenvva(env, stream, format, args);
  va_end(args);
  return result;
}

void keep(void* handle, const char* piece) { *static_cast<std::string*>(handle) += piece; }

} // namespace

TEST_F(Service, MemoryOfTheUserIsZeroCheckedAndCounted) {
  int32_t most = 0, before = 0, now = 0;
  ASSERT_EQ(TVN_getmemusagetask(task, &most, &before), TVN_RES_OK);
  auto* block = static_cast<unsigned char*>(TVN_calloctask(task, 100, 8));
  auto* other = static_cast<char*>(TVN_callocdbgtask(task, 3, 1, "user/file", 12));
  char* text = TVN_strdupdbgtask(task, "text", "user/file", 13);
  ASSERT_NE(block, nullptr);
  for (int k = 0; k < 800; k++) EXPECT_EQ(block[k], 0);
  EXPECT_STREQ(text, "text");
  ASSERT_EQ(TVN_getmemusagetask(task, &most, &now), TVN_RES_OK);
  EXPECT_EQ(now - before, 800 + 3 + 5);
  EXPECT_GE(most, now);
  TVN_freedbgtask(task, text, "user/file", 14);
  TVN_freedbgtask(task, other, "user/file", 15);
  TVN_freetask(task, block);
  TVN_freetask(task, nullptr);
  ASSERT_EQ(TVN_getmemusagetask(task, &most, &now), TVN_RES_OK);
  EXPECT_EQ(now, before);
  // Products that no memory can hold are refused, not wrapped.
  EXPECT_EQ(TVN_calloctask(task, SIZE_MAX / 4, 8), nullptr);
  EXPECT_EQ(TVN_callocenv(env, SIZE_MAX / 4, 8), nullptr);
  void* envblock = TVN_callocdbgenv(env, 2, 4, "user/file", 16);
  char* envtext = TVN_strdupdbgenv(env, "e", "user/file", 17);
  EXPECT_EQ(TVN_checkmemenv(env, "user/file", 18), TVN_RES_OK);
  TVN_freedbgenv(env, envtext, "user/file", 19);
  TVN_freeenv(env, envblock);
}

TEST_F(Service, TextGoesToWideCharactersAndBackAsFarAsItFits) {
  const char* utf8 = "a\xc3\xb8\xe2\x82\xac\xf0\x9f\x99\x82z"; // one to four bytes a character
  wchar_t wide[16];
  char back[32];
  size_t len = 0, conv = 0;
  EXPECT_EQ(TVN_utf8towchar(16, &len, &conv, wide, utf8), TVN_RES_OK);
  EXPECT_EQ(len, 5U);
  EXPECT_EQ(conv, std::strlen(utf8));
  EXPECT_STREQ(wide, L"a\u00f8\u20ac\U0001f642z");
  EXPECT_EQ(TVN_wchartoutf8(sizeof back, &len, &conv, back, wide), TVN_RES_OK);
  EXPECT_STREQ(back, utf8);
  EXPECT_EQ(conv, 5U);
  EXPECT_EQ(TVN_wchartoutf8(3, &len, &conv, back, wide), TVN_RES_OK);
  EXPECT_STREQ(back, "a") << "no half character";
  EXPECT_EQ(len, std::strlen(utf8));
  EXPECT_EQ(TVN_utf8towchar(0, &len, nullptr, nullptr, utf8), TVN_RES_OK) << "asks for the length only";
  EXPECT_EQ(len, 5U);
  for (const char* bad : {"ok\xff", "ok\xc3", "ok\xc0\x80", "ok\xed\xa0\x80", "ok\xf5\x80\x80\x80", "ok\x80"}) {
    EXPECT_EQ(TVN_utf8towchar(16, &len, &conv, wide, bad), TVN_RES_ERR_INVALID_UTF8) << bad;
    EXPECT_EQ(conv, 2U);
    EXPECT_STREQ(wide, L"ok");
  }
  const wchar_t bad[] = {L'x', 0x110000, 0};
  EXPECT_EQ(TVN_wchartoutf8(sizeof back, &len, &conv, back, bad), TVN_RES_ERR_INVALID_WCHAR);
  EXPECT_STREQ(back, "x");
}

TEST_F(Service, IntroAndTextsReachTheirStreams) {
  std::string log;
  ASSERT_EQ(TVN_linkfunctoenvstream(env, TVN_STREAM_LOG, &log, keep), TVN_RES_OK);
  EXPECT_EQ(TVN_echointro(env, 0), TVN_RES_OK);
  char date[64], state[64] = "x", tool[64] = "x";
  EXPECT_EQ(TVN_getbuildinfo(state, date, tool), TVN_RES_OK);
  EXPECT_EQ(log, std::string("TOVAN Version 6.0.0.135 (Build date: ") + date + ")\n");
  EXPECT_STREQ(state, "");
  EXPECT_STREQ(tool, "");
  EXPECT_EQ(TVN_echointro(env, 1), TVN_RES_OK);
  EXPECT_NE(log.find("Operating system variables\n"), std::string::npos) << log;
  log.clear();
  EXPECT_EQ(print(env, TVN_STREAM_WRN, "%d of %s\n", 3, "four"), TVN_RES_OK);
  EXPECT_EQ(log, "3 of four\n");
  ASSERT_EQ(TVN_linkfunctoenvstream(env, TVN_STREAM_LOG, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_LOG, &log, keep), TVN_RES_OK);
  EXPECT_EQ(print(task, TVN_STREAM_ERR, "%.2f\n", 0.125), TVN_RES_OK);
  EXPECT_EQ(log, "3 of four\n0.12\n");
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_LOG), TVN_RES_OK);
}

TEST_F(Service, ReportsTakeAnArgumentListAndSettingsAreKept) {
  EXPECT_EQ(raise(task, TVN_RES_ERR_FILE_OPEN, "some.mps"), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(last_message(), "An error occurred while opening file 'some.mps'.");
  EXPECT_EQ(raise(env, TVN_RES_ERR_FILE_OPEN, "some.mps"), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(reports.size(), 1U) << "the environment has a handler of its own";
  TVN_callbackfunc func = nullptr;
  void* handle = nullptr;
  const TVN_callbackfunc mine = [](TVNtask_t, void*, int32_t) { return int32_t{0}; };
  ASSERT_EQ(TVN_putsystemcallbackfunc(task, mine, this), TVN_RES_OK);
  EXPECT_EQ(TVN_getsystemcallbackfunc(task, &func, &handle), TVN_RES_OK);
  EXPECT_EQ(func, mine);
  EXPECT_EQ(handle, this);
  EXPECT_EQ(TVN_getcallbackfunc(task, &func, &handle), TVN_RES_OK);
  EXPECT_EQ(func, nullptr) << "the two do not share a slot";
  EXPECT_EQ(TVN_putkeepdlls(env, 0), TVN_RES_OK);
  EXPECT_EQ(TVN_putdllpath(env, "/opt/lib"), TVN_RES_OK);
  EXPECT_EQ(TVN_putdllpath(env, nullptr), TVN_RES_OK);
}

TEST_F(Service, StringsOfEveryLengthAreReadByIndexAndName) {
  const std::string value(300, 'v');
  ASSERT_EQ(TVN_putnastrparam(task, "TVN_SPAR_STAT_NAME", value.c_str()), TVN_RES_OK);
  char text[400];
  int32_t len = 0, index = 0;
  int64_t wide = 0;
  EXPECT_EQ(TVN_getstrparam64(task, TVN_SPAR_STAT_NAME, 301, &wide, text), TVN_RES_OK);
  EXPECT_EQ(last_report(), TVN_RES_OK) << "it just fits";
  EXPECT_EQ(text, value);
  EXPECT_EQ(TVN_getnastrparam(task, "TVN_SPAR_STAT_NAME", 300, &len, text), TVN_RES_WRN_SPAR_MAX_LEN);
  EXPECT_EQ(last_report(), TVN_RES_WRN_SPAR_MAX_LEN) << "the end mark does not";
  EXPECT_EQ(text, value.substr(0, 299));
  EXPECT_EQ(len, 300);
  EXPECT_EQ(TVN_getstrparam(task, TVN_SPAR_STAT_NAME, 0, &len, nullptr), TVN_RES_OK);
  char* al = nullptr;
  ASSERT_EQ(TVN_getnastrparamal(task, "TVN_SPAR_STAT_NAME", 2, &al), TVN_RES_OK);
  EXPECT_EQ(al, value);
  EXPECT_EQ(al[301] + al[302], 0) << "the extra room is clean";
  TVN_freetask(task, al);
  EXPECT_EQ(TVN_isstrparname(task, "TVN_SPAR_STAT_NAME", &index), TVN_RES_OK);
  EXPECT_EQ(index, TVN_SPAR_STAT_NAME);
  EXPECT_EQ(TVN_isdouparname(task, "TVN_SPAR_STAT_NAME", &index), TVN_RES_OK);
  EXPECT_EQ(index, 67);
}

TEST_F(Service, WarningsThatAreTheResultComeBackWhoeverListens) {
  char text[4];
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_STAT_NAME, "longer"), TVN_RES_OK);
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_PARAM_READ_FILE_NAME, "/nowhere/params"), TVN_RES_OK);
  for (const bool listened : {true, false}) {
    if (!listened) { ASSERT_EQ(TVN_putresponsefunc(task, nullptr, nullptr), TVN_RES_OK); }
    EXPECT_EQ(TVN_getstrparam(task, TVN_SPAR_STAT_NAME, 4, nullptr, text), TVN_RES_WRN_SPAR_MAX_LEN);
    EXPECT_STREQ(text, "lon");
    EXPECT_EQ(TVN_getstrparam64(task, TVN_SPAR_STAT_NAME, 4, nullptr, text), TVN_RES_WRN_SPAR_MAX_LEN);
    EXPECT_EQ(TVN_getsymbcon(task, 0, 4, text, nullptr), TVN_RES_WRN_NAME_MAX_LEN);
    EXPECT_EQ(TVN_readparamfile(task), TVN_RES_WRN_OPEN_PARAM_FILE);
  }
  ASSERT_EQ(TVN_putresponsefunc(task, respond, this), TVN_RES_OK);
  answer = 1234;
  EXPECT_EQ(TVN_readparamfile(task), 1234) << "the response function makes it a failure";
}

TEST_F(Service, EveryValueHasItsWordAndNoOther) {
  char text[TVN_MAX_STR_LEN];
  const auto all = [&](TVNrescodee (*tostr)(TVNtask_t, int32_t, char*), int32_t count, int32_t without) {
    std::set<std::string> words;
    for (int32_t k = 0; k < count; k++) {
      if (k == without) continue;
      EXPECT_EQ(tostr(task, k, text), TVN_RES_OK) << k;
      EXPECT_EQ(std::strstr(text, "INVALID"), nullptr) << k;
      EXPECT_TRUE(std::strlen(text) > 0 && words.insert(text).second) << text;
    }
    return words;
  };
  EXPECT_TRUE(all(TVN_bktostr, 5, -1).count("TVN_BK_RA"));
  EXPECT_TRUE(all(TVN_conetypetostr, 2, -1).count("TVN_CT_RQUAD"));
  EXPECT_TRUE(all(TVN_probtypetostr, 6, -1).count("LO (linear optimization problem)"));
  EXPECT_TRUE(all(TVN_prostatostr, 12, -1).count("PRIMAL_INFEASIBLE_OR_UNBOUNDED"));
  EXPECT_TRUE(all(TVN_solstatostr, 16, 7).count("NEAR_DUAL_INFEASIBLE_CERTIFICATE"));
  EXPECT_TRUE(all(TVN_sktostr, 7, -1).count("**"));
  EXPECT_EQ(TVN_callbackcodetostr(TVN_CALLBACK_IM_LU, text), TVN_RES_OK);
  EXPECT_STREQ(text, "TVN_CALLBACK_IM_LU");
  EXPECT_EQ(TVN_callbackcodetostr(11, text), TVN_RES_OK) << "a gap in the numbers";
  EXPECT_STREQ(text, "INVALID CODE(11)");
}
