// If these fail, a mistake in the calling program ends in a crash or a spoiled task instead of a code that names it.
#include "api/envtask.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <unistd.h>

namespace {

using apitest::EnvTask;

struct call {
  const char* name;
  std::function<TVNrescodee()> run;
};
#define CALL(fn, ...)                                                                                                  \
  call {                                                                                                               \
#fn, [] { return fn(__VA_ARGS__); }                                                                                \
  }

TVNrescodee va_task(TVNrescodee (*fn)(TVNtask_t, int32_t, const char*, va_list), TVNtask_t task, ...) {
  va_list args;
  va_start(args, task);
  const TVNrescodee code = fn(task, TVN_STREAM_LOG, "x", args);
  va_end(args);
  return code;
}
TVNrescodee va_env(TVNrescodee (*fn)(TVNenv_t, int32_t, const char*, va_list), TVNenv_t env, ...) {
  va_list args;
  va_start(args, env);
  const TVNrescodee code = fn(env, TVN_STREAM_LOG, "x", args);
  va_end(args);
  return code;
}
TVNrescodee raise_task(TVNtask_t task, TVNrescodee code, ...) {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = TVN_exceptiontaskva("f", 1, "g", task, code, args);
  va_end(args);
  return result;
}
TVNrescodee raise_env(TVNenv_t env, TVNrescodee code, ...) {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = TVN_exceptionenvva("f", 1, "g", env, code, args);
  va_end(args);
  return result;
}

int32_t ignored32;
int64_t ignored64;
double ignored;
char text[TVN_MAX_STR_LEN];
char* al;

const call on_task[] = {
    CALL(TVN_clonetask, nullptr, nullptr),
    CALL(TVN_getenv, nullptr, nullptr),
    CALL(TVN_resizetask, nullptr, 1, 1, 1, 1, 1),
    CALL(TVN_deletetaskdata, nullptr),
    CALL(TVN_setdefaults, nullptr),
    CALL(TVN_getlasterror, nullptr, nullptr, 0, nullptr, nullptr),
    CALL(TVN_getlasterror64, nullptr, nullptr, 0, nullptr, nullptr),
    CALL(TVN_exceptiontask, nullptr, 1051),
    CALL(TVN_exceptiontaskdbg, "f", 1, "g", nullptr, 1051),
    call{"TVN_exceptiontaskva", [] { return raise_task(nullptr, 1051); }},
    CALL(TVN_checkmemtask, nullptr, "f", 1),
    CALL(TVN_getmemusagetask, nullptr, &ignored32, nullptr),
    CALL(TVN_getmemusagetask64, nullptr, &ignored64, nullptr),
    CALL(TVN_putcallbackfunc, nullptr, nullptr, nullptr),
    CALL(TVN_getcallbackfunc, nullptr, nullptr, nullptr),
    CALL(TVN_putsystemcallbackfunc, nullptr, nullptr, nullptr),
    CALL(TVN_getsystemcallbackfunc, nullptr, nullptr, nullptr),
    CALL(TVN_putresponsefunc, nullptr, nullptr, nullptr),
    CALL(TVN_linkfunctotaskstream, nullptr, 0, nullptr, nullptr),
    CALL(TVN_unlinkfuncfromtaskstream, nullptr, 0),
    CALL(TVN_linkfiletotaskstream, nullptr, 0, "x", 0),
    CALL(TVN_flushstreamtask, nullptr, 0),
    CALL(TVN_echotask, nullptr, 0, "x"),
    call{"TVN_echotaskva", [] { return va_task(TVN_echotaskva, nullptr); }},
    CALL(TVN_getsymbcon, nullptr, 0, 10, text, nullptr),
    CALL(TVN_sktostr, nullptr, 0, text),
    CALL(TVN_strtosk, nullptr, "BS", nullptr),
    CALL(TVN_bktostr, nullptr, 0, text),
    CALL(TVN_conetypetostr, nullptr, 0, text),
    CALL(TVN_strtoconetype, nullptr, "QUAD", nullptr),
    CALL(TVN_prostatostr, nullptr, 0, text),
    CALL(TVN_solstatostr, nullptr, 0, text),
    CALL(TVN_probtypetostr, nullptr, 0, text),
    CALL(TVN_putintparam, nullptr, 0, 0),
    CALL(TVN_putdouparam, nullptr, 0, 0),
    CALL(TVN_putstrparam, nullptr, 0, ""),
    CALL(TVN_getintparam, nullptr, 0, &ignored32),
    CALL(TVN_getdouparam, nullptr, 0, &ignored),
    CALL(TVN_getstrparam, nullptr, 0, 1, nullptr, text),
    CALL(TVN_getstrparam64, nullptr, 0, 1, nullptr, text),
    CALL(TVN_getstrparamal, nullptr, 0, 0, &al),
    CALL(TVN_getintpntnumthreads, nullptr, &ignored32),
    CALL(TVN_getparammax, nullptr, 1, &ignored32),
    CALL(TVN_getnumparam, nullptr, 1, &ignored32),
    CALL(TVN_getparamname, nullptr, 1, 0, text),
    CALL(TVN_isintparname, nullptr, "x", &ignored32),
    CALL(TVN_isdouparname, nullptr, "x", &ignored32),
    CALL(TVN_isstrparname, nullptr, "x", &ignored32),
    CALL(TVN_whichparam, nullptr, "x", &ignored32, &ignored32),
    CALL(TVN_putparam, nullptr, "x", "1"),
    CALL(TVN_putnaintparam, nullptr, "x", 1),
    CALL(TVN_putnadouparam, nullptr, "x", 1),
    CALL(TVN_putnastrparam, nullptr, "x", "1"),
    CALL(TVN_getnaintparam, nullptr, "x", &ignored32),
    CALL(TVN_getnadouparam, nullptr, "x", &ignored),
    CALL(TVN_getnastrparam, nullptr, "x", 1, nullptr, text),
    CALL(TVN_getnastrparamal, nullptr, "x", 0, &al),
    CALL(TVN_getdouinf, nullptr, 0, &ignored),
    CALL(TVN_getintinf, nullptr, 0, &ignored32),
    CALL(TVN_getlintinf, nullptr, 0, &ignored64),
    CALL(TVN_getnadouinf, nullptr, "x", &ignored),
    CALL(TVN_getnaintinf, nullptr, "x", &ignored32),
    CALL(TVN_getinfindex, nullptr, 0, "x", &ignored32),
    CALL(TVN_getinfname, nullptr, 0, 0, text),
    CALL(TVN_getinfmax, nullptr, 0, &ignored32),
    CALL(TVN_writeparamfile, nullptr, "x"),
    CALL(TVN_readparamfile, nullptr),
    CALL(TVN_printparam, nullptr),
};

const call on_env[] = {
    CALL(TVN_makeenv, nullptr, nullptr, nullptr, nullptr, nullptr),
    CALL(TVN_putcpudefaults, nullptr, 0, 0, 0),
    CALL(TVN_initenv, nullptr),
    CALL(TVN_enablegarcolenv, nullptr),
    CALL(TVN_putkeepdlls, nullptr, 0),
    CALL(TVN_putdllpath, nullptr, "x"),
    CALL(TVN_maketask, nullptr, 0, 0, nullptr),
    CALL(TVN_makeemptytask, nullptr, nullptr),
    CALL(TVN_exceptionenv, nullptr, 1051),
    CALL(TVN_exceptionenvdbg, "f", 1, "g", nullptr, 1051),
    call{"TVN_exceptionenvva", [] { return raise_env(nullptr, 1051); }},
    CALL(TVN_checkmemenv, nullptr, "f", 1),
    CALL(TVN_checkversion, nullptr, 6, 0, 0, 135),
    CALL(TVN_putexceptionfuncenv, nullptr, nullptr, nullptr),
    CALL(TVN_putexitfunc, nullptr, nullptr, nullptr),
    CALL(TVN_linkfunctoenvstream, nullptr, 0, nullptr, nullptr),
    CALL(TVN_linkfiletoenvstream, nullptr, 0, "x", 0),
    CALL(TVN_flushstreamenv, nullptr, 0),
    CALL(TVN_echoenv, nullptr, 0, "x"),
    call{"TVN_echoenvva", [] { return va_env(TVN_echoenvva, nullptr); }},
    CALL(TVN_echointro, nullptr, 1),
    CALL(TVN_getsymbcondim, nullptr, nullptr, nullptr),
    CALL(TVN_iparvaltosymnam, nullptr, 0, 0, text),
    CALL(TVN_iparvaltostr, nullptr, 0, 0, text),
};

// Without a handle, or with a null handle that is no fault; and their null pointers.
const call on_nothing[] = {
    call{"TVN_deleteenv", [] { return TVN_deleteenv(nullptr); }},
    call{"TVN_deletetask", [] { return TVN_deletetask(nullptr); }},
    CALL(TVN_getversion, nullptr, nullptr, nullptr, nullptr),
    CALL(TVN_getbuildinfo, nullptr, nullptr, nullptr),
    CALL(TVN_getresmes, 1051, nullptr),
    CALL(TVN_getcodedesc, 1051, nullptr, nullptr),
    CALL(TVN_getcodedisc, 1, nullptr, nullptr),
    CALL(TVN_symnamtovalue, nullptr, nullptr),
    call{"TVN_calloctask", [] { return TVN_calloctask(nullptr, 1, 1) != nullptr; }},
    call{"TVN_callocdbgtask", [] { return TVN_callocdbgtask(nullptr, 1, 1, "f", 1) != nullptr; }},
    call{"TVN_freetask", [] { return TVN_freetask(nullptr, text), 0; }},
    call{"TVN_freedbgtask", [] { return TVN_freedbgtask(nullptr, text, "f", 1), 0; }},
    call{"TVN_strduptask", [] { return TVN_strduptask(nullptr, "x") != nullptr; }},
    call{"TVN_strdupdbgtask", [] { return TVN_strdupdbgtask(nullptr, "x", "f", 1) != nullptr; }},
    call{"TVN_callocenv", [] { return TVN_callocenv(nullptr, 1, 1) != nullptr; }},
    call{"TVN_callocdbgenv", [] { return TVN_callocdbgenv(nullptr, 1, 1, "f", 1) != nullptr; }},
};
const call refuse_null[] = {
    CALL(TVN_getversionstring, 10, nullptr),
    CALL(TVN_utf8towchar, 0, nullptr, nullptr, nullptr, nullptr),
    CALL(TVN_utf8towchar, 3, nullptr, nullptr, nullptr, "x"),
    CALL(TVN_wchartoutf8, 0, nullptr, nullptr, nullptr, nullptr),
    CALL(TVN_getresponseclass, 0, nullptr),
    CALL(TVN_callbackcodetostr, 0, nullptr),
    CALL(TVN_optimizertostr, 0, 10, nullptr),
};
// These end the process, see Memory_WithoutAnEnvironmentEndsTheProcess.
const char* const ending[] = {"TVN_freeenv", "TVN_freedbgenv", "TVN_strdupenv", "TVN_strdupdbgenv"};

// Names of the families' lookups follow one pattern and have a test of their own.
bool is_family_lookup(const std::string& name) {
  return name.ends_with("nametovalue") || (name.starts_with("TVN_get") && name.ends_with("name") &&
                                           name != "TVN_getparamname" && name != "TVN_getinfname");
}

std::set<std::string> functions_of(const std::set<std::string>& families) {
  std::set<std::string> names;
  const char* source = std::getenv("TOVAN_SOURCE");
  if (!source) return names;
  std::ifstream def(std::string(source) + "/src/tovan/api.def");
  for (std::string line; std::getline(def, line);) {
    if (!line.starts_with("TVN_FUNC(")) continue;
    const size_t comma = line.find(','), second = line.find(',', comma + 1);
    if (families.count(line.substr(comma + 2, second - comma - 2))) names.insert(line.substr(9, comma - 9));
  }
  return names;
}

} // namespace

TEST(BadCall, NullHandlesAreAnsweredByEveryFunction) {
  std::set<std::string> called(std::begin(ending), std::end(ending));
  const auto run = [&](const call& c, TVNrescodee expected) {
    EXPECT_EQ(c.run(), expected) << c.name;
    called.insert(c.name);
  };
  for (const call& c : on_task) run(c, TVN_RES_ERR_NULL_TASK);
  for (const call& c : on_env) run(c, TVN_RES_ERR_NULL_ENV);
  for (const call& c : on_nothing) run(c, 0);
  for (const call& c : refuse_null) run(c, TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(ignored32, 0) << "memory usage is 0 on failure";
  for (const std::string& name : functions_of({"environment", "callbacks", "streams", "codes", "parameters"}))
    EXPECT_TRUE(called.count(name) || is_family_lookup(name)) << name << " has no case";
}

TEST(BadCall, MemoryWithoutAnEnvironmentEndsTheProcessQuietly) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  // The text goes to the standard output; the death test sees the exit status.
  EXPECT_EXIT(TVN_freeenv(nullptr, nullptr), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TVN_freedbgenv(nullptr, nullptr, "f", 1), testing::ExitedWithCode(0), "");
  EXPECT_EXIT((void)TVN_strdupenv(nullptr, "x"), testing::ExitedWithCode(0), "");
  EXPECT_EXIT((void)TVN_strdupdbgenv(nullptr, "x", "f", 1), testing::ExitedWithCode(0), "");
}

TEST(BadCall, AnEnvironmentThatIsNotReadyRefusesWork) {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_maketask(env, 0, 0, &task), TVN_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(TVN_echoenv(env, TVN_STREAM_LOG, "x"), TVN_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(TVN_checkversion(env, 6, 0, 0, 135), TVN_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(TVN_getsymbcondim(env, nullptr, nullptr), TVN_RES_ERR_NO_INIT_ENV);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  EXPECT_EQ(TVN_initenv(env), TVN_RES_OK) << "a second time";
  EXPECT_EQ(TVN_maketask(env, 0, 0, nullptr), TVN_RES_ERR_NULL_POINTER);
  EXPECT_EQ(TVN_maketask(env, -1, 0, &task), TVN_RES_ERR_MAXNUMCON);
  EXPECT_EQ(TVN_maketask(env, 0, -1, &task), TVN_RES_ERR_MAXNUMVAR);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(TVN_checkversion(env, 6, 0, 0, 136), TVN_RES_ERR_OLDER_DLL);
  EXPECT_EQ(TVN_checkversion(env, 5, 9, 9, 999), TVN_RES_ERR_NEWER_DLL);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK) << "failed tasks do not count as living";
}

namespace {

struct BadCallOnTask : EnvTask {
  struct expectation {
    TVNrescodee got, want;
    const char* message;
  };
  // Parameters, sizes and the answers to all reads, as one text.
  std::string snapshot() {
    const std::string path = (std::filesystem::temp_directory_path() / ("tvn_bc_" + std::to_string(getpid()))).string();
    EXPECT_EQ(TVN_writeparamfile(task, path.c_str()), TVN_RES_OK);
    std::ifstream in(path);
    std::string all{std::istreambuf_iterator<char>(in), {}};
    std::filesystem::remove(path);
    int32_t numcon = -1, numvar = -1, sense = -1;
    TVN_getnumcon(task, &numcon);
    TVN_getnumvar(task, &numvar);
    TVN_getobjsense(task, &sense);
    return all + std::to_string(numcon) + " " + std::to_string(numvar) + " " + std::to_string(sense);
  }
  void expect(const char* what, TVNrescodee got, TVNrescodee want, const std::string& message) {
    EXPECT_EQ(got, want) << what;
    EXPECT_EQ(last_message(), message) << what;
    EXPECT_EQ(reports.empty() ? 0 : reports.back().code, want) << what;
    TVNrescodee last = 0;
    EXPECT_EQ(TVN_getlasterror(task, &last, 0, nullptr, nullptr), TVN_RES_OK);
    EXPECT_EQ(last, want) << what;
    reports.clear();
  }
};
#define EXPECT_REFUSED(fn, args, want, message) expect(#fn #args, fn args, want, message)

std::string null_of(const char* name) {
  char fmt[TVN_MAX_STR_LEN], out[TVN_MAX_STR_LEN];
  TVN_getresmes(TVN_RES_ERR_NULL_POINTER, fmt);
  std::snprintf(out, sizeof out, fmt, name);
  return out;
}

} // namespace

TEST_F(BadCallOnTask, NullPointersAreNamedAndChangeNothing) {
  append(2, 3);
  const std::string before = snapshot();
  const TVNrescodee null = TVN_RES_ERR_NULL_POINTER;
  EXPECT_REFUSED(TVN_clonetask, (task, nullptr), null, null_of("clonedtask"));
  EXPECT_REFUSED(TVN_getenv, (task, nullptr), null, null_of("env"));
  EXPECT_REFUSED(TVN_getintparam, (task, 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getdouparam, (task, 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getstrparamal, (task, 0, 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getintpntnumthreads, (task, nullptr), null, null_of("num"));
  EXPECT_REFUSED(TVN_getparammax, (task, 1, nullptr), null, null_of("max"));
  EXPECT_REFUSED(TVN_getnumparam, (task, 1, nullptr), null, null_of("num"));
  EXPECT_REFUSED(TVN_getparamname, (task, 1, 0, nullptr), null, null_of("name"));
  EXPECT_REFUSED(TVN_whichparam, (task, nullptr, nullptr, nullptr), null, null_of("name"));
  for (const auto is : {TVN_isintparname, TVN_isdouparname, TVN_isstrparname}) {
    EXPECT_REFUSED(is, (task, nullptr, &ignored32), null, null_of("name"));
    EXPECT_REFUSED(is, (task, "x", nullptr), null, null_of("index"));
  }
  EXPECT_REFUSED(TVN_putparam, (task, nullptr, "1"), null, null_of("name"));
  EXPECT_REFUSED(TVN_putparam, (task, "TVN_IPAR_LOG", nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_putnaintparam, (task, nullptr, 1), null, null_of("name"));
  EXPECT_REFUSED(TVN_putnadouparam, (task, nullptr, 1), null, null_of("name"));
  EXPECT_REFUSED(TVN_putnastrparam, (task, nullptr, "1"), null, null_of("name"));
  EXPECT_REFUSED(TVN_getnaintparam, (task, nullptr, &ignored32), null, null_of("name"));
  EXPECT_REFUSED(TVN_getnaintparam, (task, "TVN_IPAR_LOG", nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getnadouparam, (task, nullptr, &ignored), null, null_of("name"));
  EXPECT_REFUSED(TVN_getnastrparam, (task, nullptr, 1, nullptr, text), null, null_of("name"));
  EXPECT_REFUSED(TVN_getnastrparamal, (task, "TVN_SPAR_STAT_KEY", 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getdouinf, (task, 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getintinf, (task, 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getlintinf, (task, 0, nullptr), null, null_of("value"));
  EXPECT_REFUSED(TVN_getnadouinf, (task, nullptr, &ignored), null, null_of("name"));
  EXPECT_REFUSED(TVN_getnaintinf, (task, nullptr, &ignored32), null, null_of("name"));
  EXPECT_REFUSED(TVN_getinfindex, (task, 0, nullptr, &ignored32), null, null_of("name"));
  EXPECT_REFUSED(TVN_getinfname, (task, 0, 0, nullptr), null, null_of("name"));
  EXPECT_REFUSED(TVN_getinfmax, (task, 0, nullptr), null, null_of("max"));
  EXPECT_REFUSED(TVN_echotask, (task, 0, nullptr), null, null_of("format"));
  for (const auto tostr :
       {TVN_sktostr, TVN_bktostr, TVN_conetypetostr, TVN_prostatostr, TVN_solstatostr, TVN_probtypetostr})
    EXPECT_REFUSED(tostr, (task, 0, nullptr), null, null_of("str"));
  for (const auto strto : {TVN_strtosk, TVN_strtoconetype})
    EXPECT_REFUSED(strto, (task, nullptr, &ignored32), null, null_of("str"));
  EXPECT_EQ(snapshot(), before);
}

TEST_F(BadCallOnTask, IndicesNamesAndValuesOffTheirRangeAreNamedAndChangeNothing) {
  append(2, 3);
  const std::string before = snapshot();
  const TVNrescodee index = TVN_RES_ERR_PARAM_INDEX;
  const auto param_index = [](int32_t i, const char* kind) {
    char fmt[TVN_MAX_STR_LEN], out[TVN_MAX_STR_LEN];
    TVN_getresmes(TVN_RES_ERR_PARAM_INDEX, fmt);
    std::snprintf(out, sizeof out, fmt, i, kind);
    return std::string(out);
  };
  for (const int32_t k : {-1, 202, 210, 211, INT32_MIN, INT32_MAX}) {
    EXPECT_REFUSED(TVN_putintparam, (task, k, 1), index, param_index(k, "integer"));
    EXPECT_REFUSED(TVN_getintparam, (task, k, &ignored32), index, param_index(k, "integer"));
    EXPECT_REFUSED(TVN_getparamname, (task, TVN_PAR_INT_TYPE, k, text), index, param_index(k, "integer"));
  }
  for (const int32_t k : {-1, 67, INT32_MAX}) {
    EXPECT_REFUSED(TVN_putdouparam, (task, k, 1), index, param_index(k, "double"));
    EXPECT_REFUSED(TVN_getdouparam, (task, k, &ignored), index, param_index(k, "double"));
    EXPECT_REFUSED(TVN_getparamname, (task, TVN_PAR_DOU_TYPE, k, text), index, param_index(k, "double"));
  }
  for (const int32_t k : {-1, 25, INT32_MAX}) {
    EXPECT_REFUSED(TVN_putstrparam, (task, k, "x"), index, param_index(k, "string"));
    EXPECT_REFUSED(TVN_getstrparam, (task, k, 1, nullptr, text), index, param_index(k, "string"));
    EXPECT_REFUSED(TVN_getstrparam64, (task, k, 1, nullptr, text), index, param_index(k, "string"));
    EXPECT_REFUSED(TVN_getstrparamal, (task, k, 0, &al), index, param_index(k, "string"));
  }
  EXPECT_REFUSED(TVN_putintparam, (task, TVN_IPAR_OPTIMIZER, 11), TVN_RES_ERR_PARAM_IS_TOO_LARGE,
                 "The parameter value 11 is too large for parameter 'TVN_IPAR_OPTIMIZER'.");
  EXPECT_REFUSED(TVN_putdouparam, (task, TVN_DPAR_BASIS_TOL_X, 1e-10), TVN_RES_ERR_PARAM_IS_TOO_SMALL,
                 "The parameter value 1e-10 is too small for parameter 'TVN_DPAR_BASIS_TOL_X'.");
  EXPECT_REFUSED(TVN_putdouparam, (task, TVN_DPAR_CALLBACK_FREQ, NAN), TVN_RES_ERR_PARAM_IS_TOO_SMALL,
                 "The parameter value nan is too small for parameter 'TVN_DPAR_CALLBACK_FREQ'.");
  reports.clear();
  EXPECT_EQ(TVN_putnaintparam(task, "tvn_ipar_log", 1), TVN_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(TVN_getnastrparamal(task, "TVN_IPAR_LOG", 0, &al), TVN_RES_ERR_PARAM_NAME_STR);
  EXPECT_EQ(TVN_getstrparamal(task, 0, -1, &al), TVN_RES_ERR_IN_ARGUMENT);
  EXPECT_EQ(TVN_putparam(task, "", ""), TVN_RES_ERR_PARAM_NAME);
  EXPECT_EQ(TVN_putparam(task, std::string(5000, 'x').c_str(), "1"), TVN_RES_ERR_PARAM_NAME);
  for (const int32_t type : {-1, 0, 4})
    EXPECT_EQ(TVN_getparamname(task, type, 0, text), TVN_RES_ERR_PARAM_TYPE) << type;
  for (const int32_t type : {-1, 3}) EXPECT_EQ(TVN_getinfname(task, type, 0, text), TVN_RES_ERR_INF_TYPE) << type;
  for (const int32_t k : {-1, 98}) EXPECT_EQ(TVN_getinfname(task, 1, k, text), TVN_RES_ERR_INF_INT_INDEX) << k;
  for (const int32_t k : {-1, 14}) EXPECT_EQ(TVN_getlintinf(task, k, &ignored64), TVN_RES_ERR_INF_LINT_INDEX) << k;
  EXPECT_EQ(TVN_getnadouinf(task, "TVN_IINF_RD_NUMCON", &ignored), TVN_RES_ERR_INF_DOU_NAME);
  EXPECT_EQ(TVN_bktostr(task, 5, text), TVN_RES_ERR_INV_BK);
  EXPECT_EQ(TVN_conetypetostr(task, 2, text), TVN_RES_ERR_CONE_TYPE);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(TVN_strtoconetype(task, "CUBE", &ignored32), TVN_RES_ERR_INV_CONE_TYPE_STR);
  TVNtask_t self = task;
  EXPECT_EQ(TVN_clonetask(task, &self), TVN_RES_ERR_IDENTICAL_TASKS);
  EXPECT_EQ(self, task);
  EXPECT_EQ(snapshot(), before);
}

TEST_F(BadCallOnTask, StreamsThatDoNotExistOrCannotBeOpenedLeaveTheOldLinks) {
  std::string log;
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_LOG, &log,
                                     [](void* h, const char* piece) { *static_cast<std::string*>(h) += piece; }),
            TVN_RES_OK);
  for (const int32_t s : {-1, 4, INT32_MAX}) {
    EXPECT_EQ(TVN_linkfunctotaskstream(task, s, nullptr, nullptr), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_unlinkfuncfromtaskstream(task, s), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_linkfunctoenvstream(env, s, nullptr, nullptr), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_linkfiletotaskstream(task, s, "/dev/null", 0), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_linkfiletoenvstream(env, s, "/dev/null", 0), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_flushstreamtask(task, s), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_flushstreamenv(env, s), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_echotask(task, s, "x\n"), TVN_RES_ERR_INVALID_STREAM);
    EXPECT_EQ(TVN_echoenv(env, s, "x\n"), TVN_RES_ERR_INVALID_STREAM);
  }
  EXPECT_EQ(TVN_linkfiletotaskstream(task, TVN_STREAM_LOG, "/nowhere/file", 0), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVN_linkfiletotaskstream(task, TVN_STREAM_LOG, nullptr, 0), TVN_RES_ERR_INVALID_FILE_NAME);
  EXPECT_EQ(TVN_linkfiletoenvstream(env, TVN_STREAM_LOG, "/nowhere/file", 1), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVN_linkfiletoenvstream(env, TVN_STREAM_LOG, nullptr, 1), TVN_RES_ERR_INVALID_FILE_NAME);
  // A full disk loses the text of the file and nothing else.
  EXPECT_EQ(TVN_linkfiletotaskstream(task, TVN_STREAM_LOG, "/dev/full", 0), TVN_RES_OK);
  log.clear();
  EXPECT_EQ(TVN_echotask(task, TVN_STREAM_WRN, "still %s\n", "heard"), TVN_RES_OK);
  EXPECT_EQ(log, "still heard\n");
  EXPECT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_LOG), TVN_RES_OK);
}

namespace {

struct lookup {
  int32_t (*tovalue)(const char*, int32_t*);
  int32_t (*toname)(int32_t, char*);
};
#define FAMILY(word)                                                                                                   \
  {                                                                                                                    \
#word, { TVN_##word##nametovalue, TVN_get##word##name }                                                            \
  }

const std::map<std::string, lookup> lookups = {FAMILY(boundkey),
                                               FAMILY(conetype),
                                               FAMILY(problemtype),
                                               FAMILY(stakey),
                                               FAMILY(solitem),
                                               FAMILY(soltype),
                                               FAMILY(prosta),
                                               FAMILY(solsta),
                                               FAMILY(objsense),
                                               FAMILY(variabletype),
                                               FAMILY(optimizertype),
                                               FAMILY(cputype),
                                               FAMILY(dataformat),
                                               FAMILY(compresstype),
                                               FAMILY(language),
                                               FAMILY(callbackcode),
                                               FAMILY(rescode),
                                               FAMILY(iparam),
                                               FAMILY(dparam),
                                               FAMILY(sparam),
                                               FAMILY(iinfitem),
                                               FAMILY(dinfitem),
                                               FAMILY(liinfitem),
                                               FAMILY(accmode),
                                               FAMILY(adop),
                                               FAMILY(adoptype),
                                               FAMILY(basisident),
                                               FAMILY(branchdir),
                                               FAMILY(checkconvexity),
                                               FAMILY(feasrepairoptimize),
                                               FAMILY(inftype),
                                               FAMILY(iomode),
                                               FAMILY(mark),
                                               FAMILY(messagekey),
                                               FAMILY(miocontsol),
                                               FAMILY(miomode),
                                               FAMILY(mionodeselection),
                                               FAMILY(mpsformat),
                                               FAMILY(networkdetect),
                                               FAMILY(onoff),
                                               FAMILY(ordermethod),
                                               FAMILY(parametertype),
                                               FAMILY(presolvemode),
                                               FAMILY(problemitem),
                                               FAMILY(qread),
                                               FAMILY(responseclass),
                                               FAMILY(scaling),
                                               FAMILY(scalingmethod),
                                               FAMILY(sensitivitytype),
                                               FAMILY(simdegen),
                                               FAMILY(simexploitdupvec),
                                               FAMILY(simhotstart),
                                               FAMILY(simreformulation),
                                               FAMILY(simselection),
                                               FAMILY(solveform),
                                               FAMILY(startingpoint),
                                               FAMILY(stream),
                                               FAMILY(xmlmode)};

} // namespace

TEST_F(BadCallOnTask, EveryConstantBelongsToOneFamilyThatFindsItBothWays) {
  int32_t num = 0, value = 0;
  ASSERT_EQ(TVN_getsymbcondim(env, &num, nullptr), TVN_RES_OK);
  for (int32_t i = 0; i < num; i++) {
    char name[TVN_MAX_STR_LEN];
    ASSERT_EQ(TVN_getsymbcon(task, i, sizeof name, name, &value), TVN_RES_OK);
    int32_t families = 0;
    for (const auto& [word, l] : lookups) {
      int32_t found = -99;
      if (!l.tovalue(name, &found)) continue;
      families++;
      EXPECT_EQ(found, value) << name;
      EXPECT_EQ(l.toname(value, text), 1) << name;
      EXPECT_STREQ(text, name);
    }
    EXPECT_EQ(families, std::string(name) == "TVN_MAX_STR_LEN" ? 0 : 1) << name;
  }
  for (const auto& [word, l] : lookups) {
    EXPECT_EQ(l.toname(-5, text), 0) << word;
    EXPECT_STREQ(text, "");
    EXPECT_EQ(l.toname(99999, nullptr), 0) << word;
    EXPECT_EQ(l.tovalue("TVN_", nullptr), 0) << word;
    EXPECT_EQ(l.tovalue(nullptr, nullptr), 0) << word;
  }
  for (const std::string& name : functions_of({"codes"}))
    if (is_family_lookup(name)) {
      const bool tovalue = name.ends_with("nametovalue");
      const std::string word = tovalue ? name.substr(4, name.size() - 15) : name.substr(7, name.size() - 11);
      EXPECT_TRUE(lookups.count(word)) << name << " has no case";
    }
}
