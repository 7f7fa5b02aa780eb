// If these fail, a function of the user that touches its task (a log handler, a window, a notebook) ends in freed
// memory, or in a wrong optimum, instead of a code.
#include "api/envtask.h"
#include "api/everycall.h"
#include "support/picture.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <unistd.h>

namespace {

using apitest::EnvTask;

enum hook { progress, stream, response, nonlinear };

// What may be called from a function of the user besides TVN_get...: it reads, prints, or moves nothing that a call
// holds. All other functions with a task must be refused; one that is new must be refused or stand here.
const std::set<std::string> harmless = {
    "TVN_clonetask",       "TVN_commitchanges",      "TVN_exceptiontask",   "TVN_exceptiontaskdbg",
    "TVN_exceptiontaskva", "TVN_checkmemtask",       "TVN_checkdata",       "TVN_echotask",
    "TVN_echotaskva",      "TVN_flushstreamtask",    "TVN_sktostr",         "TVN_bktostr",
    "TVN_conetypetostr",   "TVN_prostatostr",        "TVN_solstatostr",     "TVN_probtypetostr",
    "TVN_strtosk",         "TVN_strtoconetype",      "TVN_isintparname",    "TVN_isdouparname",
    "TVN_isstrparname",    "TVN_whichparam",         "TVN_writedata",       "TVN_writeparamfile",
    "TVN_printparam",      "TVN_optimizersummary",   "TVN_solutionsummary", "TVN_readsummary",
    "TVN_solutiondef",     "TVN_updatesolutioninfo",
};
// These would take the hooks of the test away, see relink().
const std::set<std::string> links = {"TVN_putcallbackfunc",      "TVN_putsystemcallbackfunc",
                                     "TVN_putresponsefunc",      "TVN_linkfunctotaskstream",
                                     "TVN_linkfiletotaskstream", "TVN_unlinkfuncfromtaskstream"};

struct meddler {
  TVNtask_t task;
  std::string path, phase;
  std::set<std::pair<hook, std::string>> met;
  bool whole = true; // the task holds `seen`
  bool cloneable = true;
  picture seen;
  int32_t depth = 0, calls = 0, refused = 0, nested = 0;

  meddler(TVNtask_t t, std::string file) : task(t), path(std::move(file)) {}

  static int32_t on_progress(TVNtask_t, void* handle, int32_t) {
    return static_cast<meddler*>(handle)->meddle(progress);
  }
  static void on_stream(void* handle, const char*) { static_cast<meddler*>(handle)->meddle(stream); }
  static TVNrescodee on_response(void* handle, TVNrescodee, const char*) {
    static_cast<meddler*>(handle)->meddle(response);
    return TVN_RES_OK;
  }

  // f(x) = x0 in the objective; the structure is asked for first.
  static int32_t on_structure(void* handle, int32_t item, int32_t* numgrdnz, int32_t* grdsub, int32_t*, int32_t*,
                              int32_t*) {
    if (numgrdnz) *numgrdnz = item < 0;
    if (grdsub && item < 0) grdsub[0] = 0;
    return static_cast<meddler*>(handle)->meddle(nonlinear);
  }
  static int32_t on_values(void* handle, const double* xx, double, const double*, double* objval, double* conval,
                           double* grdval, double*) {
    if (objval) *objval = xx[0];
    if (conval) conval[0] = conval[1] = 0;
    if (grdval) grdval[0] = 1;
    return static_cast<meddler*>(handle)->meddle(nonlinear);
  }

  void judge(const apitest::answer& a) {
    if (!a.task || !a.code || a.name.starts_with("TVN_get") || harmless.count(a.name)) return;
    EXPECT_EQ(a.value, TVN_RES_ERR_INTERNAL) << a.name << " in " << phase;
    refused++;
  }
  // At the first level everything, below only what changes: the others print, and so call the functions again.
  bool is_due(const std::string& name) const {
    return !links.count(name) && (depth == 1 || !(name.starts_with("TVN_get") || harmless.count(name)));
  }
  int32_t meddle(hook from) {
    if (depth > 8) {
      ADD_FAILURE() << "a function of the user is called without end";
      return 0;
    }
    met.insert({from, phase});
    if (depth > 0 && ++nested > 300) return 0; // the first lines of a message about a refusal tell enough
    depth++;
    calls++;
    const apitest::handles h{task, nullptr};
#define TVN_FUNC(name, family, since)                                                                                  \
  if (is_due(#name)) call_one(#name, name, h);
#include "api.def"
#undef TVN_FUNC
    TVNtask_t same = task;
    EXPECT_EQ(TVN_deletetask(&same), TVN_RES_ERR_INTERNAL) << phase;
    EXPECT_EQ(same, task);
    if (depth == 1) look_around();
    depth--;
    return 0;
  }
  // Of the functions without a task none has anything to do with this.
  template <class F> void call_one(const char* name, F* f, const apitest::handles& h) {
    if (takes_task(f)) judge(apitest::call(name, f, h));
  }
  template <class R, class... Args> static constexpr bool takes_task(R (*)(Args...)) {
    return (std::is_same_v<Args, TVNtask_t> || ...);
  }
  template <class R, class... Args> static constexpr bool takes_task(R (*)(Args..., ...)) {
    return (std::is_same_v<Args, TVNtask_t> || ...);
  }
  // What is written in a run is the problem as well.
  void look_at_file() {
    const std::string file = path + ".inside";
    TVNenv_t env = nullptr;
    TVNtask_t other = nullptr;
    ASSERT_EQ(TVN_writedata(task, file.c_str()), TVN_RES_OK);
    ASSERT_EQ(TVN_getenv(task, &env), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &other), TVN_RES_OK);
    EXPECT_EQ(TVN_readdata(other, file.c_str()), TVN_RES_OK);
    picture want = seen, got = look(other);
    want.names = got.names; // generic ones
    EXPECT_EQ(difference(got, want), "");
    EXPECT_EQ(TVN_deletetask(&other), TVN_RES_OK);
    std::filesystem::remove(file);
  }
  // The problem reads as the user gave it; his own functions may be linked anew; another task works as ever.
  void look_around() {
    if (whole) { EXPECT_EQ(difference(look(task), seen), "") << phase; }
    EXPECT_EQ(TVN_putcallbackfunc(task, on_progress, this), TVN_RES_OK);
    EXPECT_EQ(TVN_putresponsefunc(task, on_response, this), TVN_RES_OK);
    EXPECT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_ERR), TVN_RES_OK);
    EXPECT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, this, on_stream), TVN_RES_OK);
    EXPECT_EQ(TVN_linkfiletotaskstream(task, TVN_STREAM_WRN, "/dev/null", 0), TVN_RES_OK);
    TVNenv_t env = nullptr;
    TVNtask_t clone = nullptr;
    EXPECT_EQ(TVN_getenv(task, &env), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_ERR_LIVING_TASKS);
    ASSERT_NE(env, nullptr);
    if (!whole || !cloneable) return;
    if (phase == "a run") look_at_file();
    double obj = 0;
    ASSERT_EQ(TVN_clonetask(task, &clone), TVN_RES_OK);
    EXPECT_EQ(TVN_optimize(clone), TVN_RES_OK);
    EXPECT_EQ(TVN_getprimalobj(clone, TVN_SOL_BAS, &obj), TVN_RES_OK);
    EXPECT_EQ(obj, 13) << phase;
    EXPECT_EQ(TVN_deletetask(&clone), TVN_RES_OK);
  }
};

struct Callback : EnvTask {
  std::string path =
      (std::filesystem::temp_directory_path() / ("tvn_cb_" + std::to_string(getpid()) + ".mps")).string();

  // max 3x + 2y + 1, x + y <= 4, x + 3y <= 6, y <= 2e9, which warns: 13 at (4, 0).
  void problem() {
    const double c[] = {3, 2}, val[] = {1, 1, 1, 3}, lo[] = {0, 0}, up[] = {4, 6}, far[] = {0, 2e9};
    const int32_t ptrb[] = {0, 2}, ptre[] = {2, 4}, sub[] = {0, 1, 0, 1};
    const int32_t bkc[] = {TVN_BK_UP, TVN_BK_UP}, bkx[] = {TVN_BK_LO, TVN_BK_RA};
    ASSERT_EQ(TVN_inputdata(task, 2, 2, 2, 2, c, 1, ptrb, ptre, sub, val, bkc, lo, up, bkx, lo, far), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  }
  std::vector<double> solution() {
    std::vector<double> s(14);
    EXPECT_EQ(TVN_getsolution(task, TVN_SOL_BAS, nullptr, nullptr, nullptr, nullptr, nullptr, &s[0], &s[2], &s[4],
                              &s[6], &s[8], &s[10], &s[12], nullptr),
              TVN_RES_OK);
    return s;
  }
  void meet(meddler& m) {
    ASSERT_EQ(TVN_putcallbackfunc(task, meddler::on_progress, &m), TVN_RES_OK);
    ASSERT_EQ(TVN_putresponsefunc(task, meddler::on_response, &m), TVN_RES_OK);
    for (int32_t s = TVN_STREAM_LOG; s <= TVN_STREAM_WRN; s++)
      ASSERT_EQ(TVN_linkfunctotaskstream(task, s, &m, meddler::on_stream), TVN_RES_OK);
  }
  void part() {
    ASSERT_EQ(TVN_putcallbackfunc(task, nullptr, nullptr), TVN_RES_OK);
    ASSERT_EQ(TVN_putresponsefunc(task, respond, this), TVN_RES_OK);
    for (int32_t s = TVN_STREAM_LOG; s <= TVN_STREAM_WRN; s++)
      ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, s), TVN_RES_OK);
  }
  void TearDown() override {
    part();
    EnvTask::TearDown();
    std::filesystem::remove(path);
  }
};

} // namespace

TEST_F(Callback, ChangesNothingFromInsideARunAReadOrAWrite) {
  problem();
  for (const int32_t presolve : {TVN_PRESOLVE_MODE_OFF, TVN_PRESOLVE_MODE_ON})
    for (const int32_t optimizer : {TVN_OPTIMIZER_PRIMAL_SIMPLEX, TVN_OPTIMIZER_DUAL_SIMPLEX}) {
      ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_PRESOLVE_USE, presolve), TVN_RES_OK);
      ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, optimizer), TVN_RES_OK);
      ASSERT_EQ(TVN_deletesolution(task, TVN_SOL_BAS), TVN_RES_OK);
      for (int32_t again = 0; again < 2; again++) ASSERT_EQ(TVN_optimize(task), TVN_RES_OK); // cold and hot
      const std::vector<double> alone = solution();
      ASSERT_EQ(TVN_deletesolution(task, TVN_SOL_BAS), TVN_RES_OK);
      meddler m(task, path);
      m.seen = look(task);
      meet(m);
      m.phase = "a run";
      for (int32_t again = 0; again < 2; again++) EXPECT_EQ(TVN_optimize(task), TVN_RES_OK);
      m.phase = "a write";
      m.nested = 0;
      EXPECT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
      m.phase = "a read";
      m.nested = 0;
      m.whole = false;
      const std::vector<double> disturbed = solution();
      EXPECT_EQ(std::memcmp(alone.data(), disturbed.data(), alone.size() * sizeof(double)), 0);
      EXPECT_EQ(TVN_readdata(task, path.c_str()), TVN_RES_OK);
      m.phase = "a read that fails";
      m.nested = 0;
      std::ofstream(path) << "NAME\nROWS\n N  C\n L  R\nCOLUMNS\n    X  R  1e300\n    X  Q  1\nENDATA\n";
      EXPECT_NE(TVN_readdata(task, path.c_str()), TVN_RES_OK);
      for (const char* phase : {"a run", "a write", "a read", "a read that fails"})
        for (const hook h : {progress, stream, response})
          EXPECT_TRUE(m.met.count({h, phase})) << h << " was not called in " << phase;
      EXPECT_GT(m.refused, 50 * m.calls) << "the list of functions is not what it was";
      part();
      problem();
    }
  EXPECT_EQ(TVN_putcj(task, 0, 1), TVN_RES_OK) << "afterwards all is as before";
}

TEST_F(Callback, OfANonlinearFunctionChangesNothingInTheCallsThatEvaluateIt) {
  problem();
  const int32_t key[] = {TVN_SK_SUPBAS, TVN_SK_SUPBAS}, sub[] = {0};
  const double xx[] = {4, 0}, zero[] = {0, 0};
  meddler m(task, path);
  m.seen = look(task);
  m.cloneable = false;
  ASSERT_EQ(TVN_putnlfunc(task, &m, meddler::on_structure, meddler::on_values), TVN_RES_OK);
  const auto put_point = [&] {
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_ITR, key, key, nullptr, xx, xx, zero, zero, zero, zero, zero, zero),
              TVN_RES_OK);
  };
  put_point();
  double value[1] = {-1};
  const auto expect_call = [&](const char* phase, TVNrescodee code, TVNrescodee want = TVN_RES_OK) {
    EXPECT_EQ(code, want) << phase;
    EXPECT_TRUE(m.met.count({nonlinear, m.phase})) << "not evaluated in " << phase;
    m.met.clear();
  };
  meet(m);
  const TVNrescodee inf = TVN_getsolutioninf(task, TVN_SOL_ITR, nullptr, nullptr, value, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr);
  expect_call("solutioninf", inf);
  EXPECT_EQ(value[0], 17);
  expect_call("primalobj", TVN_getprimalobj(task, TVN_SOL_ITR, value));
  expect_call("dualobj", TVN_getdualobj(task, TVN_SOL_ITR, value));
  expect_call("peqi", TVN_getpeqi(task, TVN_SOL_ITR, sub, 1, value, 0));
  expect_call("deqi", TVN_getdeqi(task, TVN_SOL_ITR, TVN_ACC_VAR, sub, 1, value, 0));
  expect_call("the items", TVN_updatesolutioninfo(task, TVN_SOL_ITR));
  expect_call("the summary", TVN_solutionsummary(task, TVN_STREAM_MSG));
  // No optimizer takes the problem; the figures of the solution are brought up to date all the same.
  expect_call("a run", TVN_optimize(task), TVN_RES_ERR_INV_OPTIMIZER);
  part();
  ASSERT_EQ(TVN_putnlfunc(task, nullptr, nullptr, nullptr), TVN_RES_OK);
}

namespace {

// Reads all there is, in both directions, whenever it is told anything.
struct reader {
  TVNtask_t task;
  int32_t calls = 0, depth = 0;
  void read() {
    if (depth > 0) return;
    depth++;
    calls++;
    look(task);
    int32_t numcon = 0, surplus = 1000, found = 0;
    TVN_getnumcon(task, &numcon);
    std::vector<int32_t> ptrb(1000), ptre(1000), sub(1000);
    std::vector<double> val(1000);
    TVN_getaslice(task, TVN_ACC_CON, 0, numcon, 1000, &surplus, ptrb.data(), ptre.data(), sub.data(), val.data());
    TVN_getaij(task, 0, 0, val.data());
    TVN_getnameindex(task, TVN_PI_VAR, "far", &found, &found);
    TVN_getnameindex(task, TVN_PI_CON, "far", &found, &found);
    TVN_commitchanges(task);
    depth--;
  }
};

} // namespace

TEST_F(Callback, ReadsInTheMiddleOfAChange) {
  reader r{task};
  ASSERT_EQ(TVN_putresponsefunc(
                task,
                [](void* h, TVNrescodee, const char*) -> TVNrescodee {
                  static_cast<reader*>(h)->read();
                  return TVN_RES_OK;
                },
                &r),
            TVN_RES_OK);
  for (int32_t s = TVN_STREAM_LOG; s <= TVN_STREAM_WRN; s++)
    ASSERT_EQ(TVN_linkfunctotaskstream(task, s, &r, [](void* h, const char*) { static_cast<reader*>(h)->read(); }),
              TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG_STORAGE, 10), TVN_RES_OK);
  const double big[] = {1e12, 1e11, 1, 1e-13}, far[] = {1e9, 1e9, 1e9};
  const int32_t ra[] = {TVN_BK_LO, TVN_BK_LO, TVN_BK_LO}, begin[] = {0, 2}, end[] = {2, 4}, sub[] = {0, 1, 0, 1};
  const int32_t item[] = {1, 0};
  int32_t before = 0;
  const auto expect_reads = [&](const char* what, TVNrescodee code) {
    EXPECT_EQ(code, TVN_RES_OK) << what;
    EXPECT_GT(r.calls, before) << what << " says nothing";
    before = r.calls;
  };
  for (int32_t round = 0; round < 3; round++) {
    ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 2 + round), TVN_RES_OK);
    expect_reads("appendvars", TVN_appendvars(task, 2, far, begin, end, sub, big, ra, far, far));
    expect_reads("appendcons", TVN_appendcons(task, 2, begin, end, sub, big, ra, far, far));
    expect_reads("aveclist of rows", TVN_putaveclist(task, TVN_ACC_CON, 2, item, begin, end, sub, big));
    expect_reads("aveclist of columns", TVN_putaveclist(task, TVN_ACC_VAR, 2, item, begin, end, sub, big));
    expect_reads("aijlist", TVN_putaijlist(task, 4, sub, sub, big));
    expect_reads("clist", TVN_putclist(task, 2, item, far));
    expect_reads("boundslice", TVN_putboundslice(task, TVN_ACC_VAR, 0, 2, ra, far, far));
    expect_reads("aij", TVN_putaij(task, 1, 1, 1e11));
    EXPECT_EQ(aij(1, 1), 1e11);
  }
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MINIMIZE), TVN_RES_OK);
  expect_reads("a write", TVN_writedata(task, path.c_str()));
  expect_reads("a read", TVN_readdata(task, path.c_str()));
  expect_reads("a list of inputs",
               TVN_inputdata(task, 2, 2, 2, 2, far, 0, begin, end, sub, big, ra, far, far, ra, far, far));
}

TEST_F(Callback, ReadsRowsWhileALongFileIsWrittenAndRead) {
  // A file of several megabytes, whose events come in the middle of its columns.
  constexpr int32_t n = 40000;
  std::vector<int32_t> begin(n), end(n), sub(2 * n);
  std::vector<double> val(2 * n);
  for (int32_t j = 0; j < n; j++) {
    begin[static_cast<size_t>(j)] = 2 * j;
    end[static_cast<size_t>(j)] = 2 * j + 2;
    for (const int32_t k : {0, 1}) {
      sub[static_cast<size_t>(2 * j + k)] = j % 40 + 7 * k; // rising: turning A sorts its columns
      val[static_cast<size_t>(2 * j + k)] = 1 + 1.0 / (3 + j + k);
    }
  }
  ASSERT_EQ(TVN_append(task, TVN_ACC_CON, 50), TVN_RES_OK);
  ASSERT_EQ(
      TVN_appendvars(task, n, nullptr, begin.data(), end.data(), sub.data(), val.data(), nullptr, nullptr, nullptr),
      TVN_RES_OK);
  for (int32_t i = 0; i < 50; i++) ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, i, TVN_BK_UP, 0, 10 + i), TVN_RES_OK);
  const auto written = [&] {
    EXPECT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
    std::ifstream in(path);
    return std::string{std::istreambuf_iterator<char>(in), {}};
  };
  const std::string alone = written();
  int32_t calls = 0;
  const auto read_row = [](TVNtask_t t, void* handle, int32_t) -> int32_t {
    ++*static_cast<int32_t*>(handle);
    int32_t num = 0;
    const TVNrescodee code = TVN_getavecnumnz(t, TVN_ACC_CON, 3, &num);
    EXPECT_TRUE(code == TVN_RES_OK || code == TVN_RES_ERR_INTERNAL || code == TVN_RES_ERR_INDEX_IS_TOO_LARGE) << code;
    const std::vector<double> over[] = {std::vector<double>(2 * n, 99), std::vector<double>(n, 99)}; // what was freed
    return over[0][0] == over[1][0] ? 0 : 1;
  };
  ASSERT_EQ(TVN_putcallbackfunc(task, read_row, &calls), TVN_RES_OK);
  EXPECT_TRUE(written() == alone) << "the rows that were read spoil the file";
  EXPECT_GT(calls, 4);
  int32_t num = 0;
  EXPECT_EQ(TVN_getavecnumnz(task, TVN_ACC_CON, 3, &num), TVN_RES_OK) << "nobody has A any more";
  calls = 0;
  ASSERT_EQ(TVN_readdata(task, path.c_str()), TVN_RES_OK);
  EXPECT_GT(calls, 4);
  ASSERT_EQ(TVN_putcallbackfunc(task, nullptr, nullptr), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_UNDEFINED), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjname(task, ""), TVN_RES_OK);
  EXPECT_TRUE(written() == alone) << "the rows that were read spoil what is read from the file";
}

TEST_F(Callback, MeetsTheEndOfItsTaskAndOfItsEnvironment) {
  // A started line is told while the task goes; the handle is of no use by then.
  struct witness {
    TVNtask_t task;
    TVNenv_t env;
    int32_t calls;
    static void on_task(void* h, const char*) {
      auto& w = *static_cast<witness*>(h);
      w.calls++;
      TVNtask_t same = w.task;
      int32_t n = 0;
      EXPECT_EQ(TVN_deletetask(&same), TVN_RES_ERR_INVALID_TASK);
      EXPECT_EQ(TVN_getnumvar(w.task, &n), TVN_RES_ERR_INVALID_TASK);
      EXPECT_EQ(TVN_echotask(w.task, TVN_STREAM_LOG, "once more\n"), TVN_RES_ERR_INVALID_TASK);
    }
    static void on_env(void* h, const char*) {
      auto& w = *static_cast<witness*>(h);
      if (w.calls++ > 0) return;
      EXPECT_EQ(TVN_deletetask(&w.task), TVN_RES_OK);
      EXPECT_EQ(TVN_deleteenv(&w.env), TVN_RES_OK) << "at the end of the call that runs this";
      EXPECT_EQ(w.env, nullptr);
    }
    static TVNrescodee on_report(void* h, TVNrescodee, const char*) {
      auto& w = *static_cast<witness*>(h);
      TVNenv_t same = w.env;
      EXPECT_EQ(TVN_deleteenv(&same), w.task ? TVN_RES_ERR_LIVING_TASKS : TVN_RES_ERR_INTERNAL);
      EXPECT_EQ(same, w.env);
      return TVN_RES_OK;
    }
  };
  witness w{nullptr, nullptr, 0};
  ASSERT_EQ(TVN_makeenv(&w.env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
  ASSERT_EQ(TVN_initenv(w.env), TVN_RES_OK);
  ASSERT_EQ(TVN_putexceptionfuncenv(w.env, witness::on_report, &w), TVN_RES_OK);
  EXPECT_EQ(TVN_maketask(w.env, -1, 0, &w.task), TVN_RES_ERR_MAXNUMCON);
  EXPECT_EQ(TVN_maketask(w.env, 0, 0, nullptr), TVN_RES_ERR_NULL_POINTER) << "told, and not deleted";
  ASSERT_EQ(TVN_maketask(w.env, 0, 0, &w.task), TVN_RES_OK);
  EXPECT_EQ(TVN_maketask(w.env, 0, 0, nullptr), TVN_RES_ERR_NULL_POINTER);
  ASSERT_EQ(TVN_linkfunctotaskstream(w.task, TVN_STREAM_LOG, &w, witness::on_task), TVN_RES_OK);
  ASSERT_EQ(TVN_echotask(w.task, TVN_STREAM_LOG, "no end of line"), TVN_RES_OK);
  TVNtask_t goes = w.task;
  EXPECT_EQ(TVN_deletetask(&goes), TVN_RES_OK);
  EXPECT_EQ(w.calls, 1);
  // The environment waits for its task, and for the call that is under way.
  w.calls = 0;
  ASSERT_EQ(TVN_maketask(w.env, 0, 0, &w.task), TVN_RES_OK);
  ASSERT_EQ(TVN_enablegarcolenv(w.env), TVN_RES_OK);
  ASSERT_EQ(TVN_linkfunctoenvstream(w.env, TVN_STREAM_LOG, &w, witness::on_env), TVN_RES_OK);
  EXPECT_EQ(TVN_echoenv(w.env, TVN_STREAM_LOG, "a line\n"), TVN_RES_OK);
  EXPECT_EQ(w.calls, 1);
  EXPECT_EQ(w.env, nullptr);
}
