// If this fails, a program that varies copies of a problem solves another problem than the one it copied.
#include "api/envtask.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

using apitest::EnvTask;

struct Clone : EnvTask {
  TVNtask_t clone = nullptr;
  void TearDown() override {
    EXPECT_EQ(TVN_deletetask(&clone), TVN_RES_OK);
    EnvTask::TearDown();
  }
  // A task with something of everything.
  void fill() {
    append(3, 5);
    const int32_t sub[] = {0, 2}, mem[] = {3, 1, 4}, subi[] = {2, 4}, subj[] = {0, 4};
    const double val[] = {1.5, -2.5};
    for (int32_t j = 0; j < 5; j++) {
      ASSERT_EQ(TVN_putavec(task, TVN_ACC_VAR, j, 2, sub, val), TVN_RES_OK);
      ASSERT_EQ(TVN_putcj(task, j, 1.0 + j), TVN_RES_OK);
      ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, j, j, -1.0, j == TVN_BK_FX ? -1.0 : 2.0), TVN_RES_OK);
      ASSERT_EQ(TVN_putname(task, TVN_PI_VAR, j, ("x" + std::to_string(j)).c_str()), TVN_RES_OK);
    }
    ASSERT_EQ(TVN_putaij(task, 1, 0, 7.0), TVN_RES_OK); // still waits in the cache
    ASSERT_EQ(TVN_putbound(task, TVN_ACC_CON, 1, TVN_BK_RA, -3.0, 8.0), TVN_RES_OK);
    ASSERT_EQ(TVN_putname(task, TVN_PI_CON, 2, "a row"), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjname(task, "profit"), TVN_RES_OK);
    ASSERT_EQ(TVN_putcfix(task, 12.5), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
    ASSERT_EQ(TVN_putqobj(task, 2, subi, subj, val), TVN_RES_OK);
    ASSERT_EQ(TVN_putqconk(task, 1, 2, subi, subj, val), TVN_RES_OK);
    ASSERT_EQ(TVN_appendcone(task, TVN_CT_RQUAD, 0.5, 3, mem), TVN_RES_OK);
    ASSERT_EQ(TVN_putname(task, TVN_PI_CONE, 0, "cone"), TVN_RES_OK);
    ASSERT_EQ(TVN_putvartype(task, 0, TVN_VAR_TYPE_INT), TVN_RES_OK);
    ASSERT_EQ(TVN_putvarbranchorder(task, 0, 9, TVN_BRANCH_DIR_UP), TVN_RES_OK);
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG, 3), TVN_RES_OK);
    ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_BASIS_TOL_X, 1e-5), TVN_RES_OK);
    ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_STAT_NAME, "kept"), TVN_RES_OK);
    const int32_t skc[] = {1, 1, 3}, skx[] = {3, 3, 5, 6, 1}, skn[] = {1};
    const double v[] = {0.5, 1.5, 2.5, 3.5, 4.5};
    ASSERT_EQ(TVN_putsolution(task, TVN_SOL_ITR, skc, skx, skn, v, v, v, v, v, v, v, v), TVN_RES_OK);
  }
  // What a reader of the interface sees of a task, as text.
  std::string seen(TVNtask_t t) {
    std::string out;
    const auto add = [&](auto... x) { ((out += std::to_string(x) + " "), ...); };
    int32_t k = 0, n = 0, pri = 0, dir = 0, bk = 0, ints[8] = {};
    int64_t wide = 0;
    double v[8] = {}, w[8] = {};
    char name[64];
    for (const auto get :
         {TVN_getnumvar, TVN_getnumcon, TVN_getnumcone, TVN_getmaxnumvar, TVN_getmaxnumcon, TVN_getmaxnumcone,
          TVN_getmaxnumanz, TVN_getmaxnumqnz, TVN_getnumanz, TVN_getnumintvar, TVN_getobjsense}) {
      EXPECT_EQ(get(t, &k), TVN_RES_OK);
      add(k);
    }
    EXPECT_EQ(TVN_getcfix(t, v), TVN_RES_OK);
    EXPECT_EQ(TVN_getcslice(t, 0, 5, v + 1), TVN_RES_OK);
    for (const double x : v) add(x);
    for (int32_t j = 0; j < 5; j++) {
      EXPECT_EQ(TVN_getbound(t, TVN_ACC_VAR, j, &bk, v, w), TVN_RES_OK);
      EXPECT_EQ(TVN_getvartype(t, j, &k), TVN_RES_OK);
      EXPECT_EQ(TVN_getvarbranchorder(t, j, &pri, &dir), TVN_RES_OK);
      EXPECT_EQ(TVN_getname(t, TVN_PI_VAR, j, sizeof name, nullptr, name), TVN_RES_OK);
      add(bk, v[0], w[0], k, pri, dir);
      out += name;
      EXPECT_EQ(TVN_getsolutioni(t, TVN_ACC_VAR, j, TVN_SOL_ITR, &k, v, v + 1, v + 2, v + 3), TVN_RES_OK);
      add(k, v[0], v[1], v[2], v[3]);
      for (int32_t i = 0; i < 3; i++) {
        EXPECT_EQ(TVN_getaij(t, i, j, v), TVN_RES_OK);
        add(v[0]);
      }
    }
    for (int32_t i = 0; i < 3; i++) {
      EXPECT_EQ(TVN_getbound(t, TVN_ACC_CON, i, &bk, v, w), TVN_RES_OK);
      EXPECT_EQ(TVN_getname(t, TVN_PI_CON, i, sizeof name, nullptr, name), TVN_RES_OK);
      add(bk, v[0], w[0]);
      out += name;
      int64_t surplus = 8, numq = 0;
      int32_t qi[8], qj[8];
      EXPECT_EQ(TVN_getqconk64(t, i, 8, &surplus, &numq, qi, qj, v), TVN_RES_OK);
      for (int64_t q = 0; q < numq; q++) add(qi[q], qj[q], v[q]);
    }
    EXPECT_EQ(TVN_getqobjij(t, 2, 0, v), TVN_RES_OK);
    EXPECT_EQ(TVN_getcone(t, 0, &k, w, &n, ints), TVN_RES_OK);
    add(v[0], k, w[0], n, ints[0], ints[1], ints[2]);
    EXPECT_EQ(TVN_getname(t, TVN_PI_CONE, 0, sizeof name, nullptr, name), TVN_RES_OK);
    out += name;
    EXPECT_EQ(TVN_getobjname(t, sizeof name, nullptr, name), TVN_RES_OK);
    out += name;
    EXPECT_EQ(TVN_getnamelen64(t, TVN_PI_VAR, 4, &wide), TVN_RES_OK);
    add(wide);
    const std::string path = (std::filesystem::temp_directory_path() / ("tvn_cl_" + std::to_string(getpid()))).string();
    EXPECT_EQ(TVN_writeparamfile(t, path.c_str()), TVN_RES_OK);
    std::ifstream in(path);
    out.append(std::istreambuf_iterator<char>(in), {});
    std::filesystem::remove(path);
    return out;
  }
};

} // namespace

TEST_F(Clone, ShowsWhatTheSourceShowsAndIsTiedToNothingOfIt) {
  fill();
  std::string heard;
  const auto keep = [](void* h, const char* piece) { *static_cast<std::string*>(h) += piece; };
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_MSG, &heard, keep), TVN_RES_OK);
  ASSERT_EQ(TVN_putcallbackfunc(
                task, [](TVNtask_t, void*, int32_t) { return int32_t{1}; }, &heard),
            TVN_RES_OK);
  const std::string before = seen(task);
  ASSERT_EQ(TVN_clonetask(task, &clone), TVN_RES_OK);
  EXPECT_EQ(seen(clone), before);
  EXPECT_EQ(seen(task), before) << "the source is as it was";
  TVN_callbackfunc func = nullptr;
  void* handle = &func;
  EXPECT_EQ(TVN_getcallbackfunc(clone, &func, &handle), TVN_RES_OK);
  EXPECT_EQ(func, nullptr);
  EXPECT_EQ(handle, nullptr);
  heard.clear();
  EXPECT_EQ(TVN_echotask(clone, TVN_STREAM_MSG, "not for the source\n"), TVN_RES_OK);
  EXPECT_EQ(heard, "");
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_MSG), TVN_RES_OK);
  TVNenv_t owner = nullptr;
  EXPECT_EQ(TVN_getenv(clone, &owner), TVN_RES_OK);
  EXPECT_EQ(owner, env);
  // Names are found in the clone, and either task may change or go without the other.
  int32_t index = -1, found = 0;
  EXPECT_EQ(TVN_getnameindex(clone, TVN_PI_CON, "a row", &found, &index), TVN_RES_OK);
  EXPECT_EQ(index, 2);
  ASSERT_EQ(TVN_putaij(clone, 0, 0, 99.0), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(clone, TVN_PI_VAR, 0, "other"), TVN_RES_OK);
  EXPECT_EQ(seen(task), before);
  const std::string changed = seen(clone);
  ASSERT_EQ(TVN_deletetaskdata(task), TVN_RES_OK);
  EXPECT_EQ(seen(clone), changed);
}
