// If these fail, a mistake in the calling program ends in a crash or a spoiled task instead of a code that names it.
#include "api/envtask.h"
#include "api/everycall.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <type_traits>
#include <unistd.h>

namespace {

using apitest::EnvTask;

int32_t ignored32;
int64_t ignored64;
double ignored;
char text[TVN_MAX_STR_LEN];
char* al;

// These end the process, see MemoryWithoutAnEnvironmentEndsTheProcessQuietly.
const std::set<std::string> ending = {"TVN_freeenv", "TVN_freedbgenv", "TVN_strdupenv", "TVN_strdupdbgenv"};

// The answer to a call with null and zero arguments but the handles, which decide it wherever they stand.
template <class F>
void answer_handles(const char* name, F* f, const apitest::handles& h, TVNrescodee task, TVNrescodee env) {
  if (ending.count(name) && !h.env) return;
  const apitest::answer a = apitest::call(name, f, h);
  if (!a.code) {
    EXPECT_TRUE(a.null || std::is_void_v<decltype(apitest::result_of(f))>) << name;
  } else if (a.task || a.env) {
    EXPECT_EQ(a.value, a.task ? task : env) << name;
  } else {
    EXPECT_TRUE(a.value == 0 || a.value == 1 || a.value == TVN_RES_ERR_NULL_POINTER || a.value == TVN_RES_ERR_NULL_ENV)
        << name << " " << a.value;
  }
}

// The two lookups of each family of constants, told from other functions by their names.
struct lookup {
  int32_t (*tovalue)(const char*, int32_t*);
  int32_t (*toname)(int32_t, char*);
};
std::map<std::string, lookup> lookups;
void collect(const std::string& name, int32_t (*f)(const char*, int32_t*)) {
  if (name.ends_with("nametovalue")) lookups[name.substr(4, name.size() - 15)].tovalue = f;
}
void collect(const std::string& name, int32_t (*f)(int32_t, char*)) {
  if (name.ends_with("name")) lookups[name.substr(7, name.size() - 11)].toname = f;
}
void collect(const std::string&, ...) {}

} // namespace

TEST(BadCall, NullHandlesAreAnsweredByEveryFunction) {
#define TVN_FUNC(name, family, since) answer_handles(#name, name, {}, TVN_RES_ERR_NULL_TASK, TVN_RES_ERR_NULL_ENV);
#include "api.def"
#undef TVN_FUNC
  EXPECT_EQ(TVN_makeenv(nullptr, nullptr, nullptr, nullptr, nullptr), TVN_RES_ERR_NULL_ENV);
  const TVNrescodee null = TVN_RES_ERR_NULL_POINTER;
  EXPECT_EQ(TVN_getversionstring(10, nullptr), null);
  EXPECT_EQ(TVN_utf8towchar(3, nullptr, nullptr, nullptr, "x"), null);
  EXPECT_EQ(TVN_getresponseclass(0, nullptr), null);
  EXPECT_EQ(TVN_optimizertostr(0, 10, nullptr), null);
}

TEST(BadCall, HandlesOfTheOtherKindAreAnsweredByEveryFunction) {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_maketask(env, 0, 0, &task), TVN_RES_OK);
  auto* wrongtask = reinterpret_cast<TVNtask_t>(env);
  auto* wrongenv = reinterpret_cast<TVNenv_t>(task);
  const apitest::handles swapped{wrongtask, wrongenv};
#define TVN_FUNC(name, family, since)                                                                                  \
  answer_handles(#name, name, swapped, TVN_RES_ERR_INVALID_TASK, TVN_RES_ERR_NO_INIT_ENV);
#include "api.def"
#undef TVN_FUNC
  EXPECT_EQ(TVN_deletetask(&wrongtask), TVN_RES_ERR_INVALID_TASK);
  EXPECT_EQ(TVN_deleteenv(&wrongenv), TVN_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
}

TEST(BadCall, HandlesOfWhatHasGoneAreAnsweredWhileTheirMemoryLasts) {
  std::vector<void*> kept; // given back at the end only, so that the old records can be looked at
  TVNenv_t env = nullptr, oldenv = nullptr;
  TVNtask_t task = nullptr, oldtask = nullptr;
  ASSERT_EQ(TVN_makeenv(
                &env, &kept, [](void*, size_t size) { return std::malloc(size); },
                [](void* handle, void* block) { static_cast<std::vector<void*>*>(handle)->push_back(block); }, nullptr),
            TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  ASSERT_EQ(TVN_maketask(env, 0, 0, &task), TVN_RES_OK);
  oldtask = task;
  oldenv = env;
  ASSERT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_append(oldtask, TVN_ACC_VAR, 1), TVN_RES_ERR_INVALID_TASK);
  EXPECT_EQ(TVN_deletetask(&oldtask), TVN_RES_ERR_INVALID_TASK);
  ASSERT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  EXPECT_EQ(TVN_maketask(oldenv, 0, 0, &task), TVN_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(TVN_deleteenv(&oldenv), TVN_RES_ERR_NO_INIT_ENV);
  for (void* block : kept) std::free(block);
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
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK) << "there is none";
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

TEST_F(BadCallOnTask, EveryConstantBelongsToOneFamilyThatFindsItBothWays) {
#define TVN_FUNC(name, family, since) collect(#name, name);
#include "api.def"
#undef TVN_FUNC
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
  EXPECT_GT(lookups.size(), 40U);
  for (const auto& [word, l] : lookups) {
    EXPECT_EQ(l.toname(-5, text), 0) << word;
    EXPECT_STREQ(text, "");
    EXPECT_EQ(l.toname(99999, nullptr), 0) << word;
    EXPECT_EQ(l.tovalue("TVN_", nullptr), 0) << word;
    EXPECT_EQ(l.tovalue(nullptr, nullptr), 0) << word;
  }
}
