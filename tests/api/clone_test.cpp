// If this fails, a program that varies copies of a problem shares more with the original than its data.
//
// That the data are the same, item by item, is told by the random sequences of model_test.cpp.
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
  // All parameters, and the capacities, which a model of the data does not know.
  std::string settings(TVNtask_t t) {
    const std::string path = (std::filesystem::temp_directory_path() / ("tvn_cl_" + std::to_string(getpid()))).string();
    EXPECT_EQ(TVN_writeparamfile(t, path.c_str()), TVN_RES_OK);
    std::ifstream in(path);
    std::string out{std::istreambuf_iterator<char>(in), {}};
    std::filesystem::remove(path);
    for (const auto get : {TVN_getmaxnumvar, TVN_getmaxnumcon, TVN_getmaxnumcone, TVN_getmaxnumanz, TVN_getmaxnumqnz}) {
      int32_t k = -1;
      EXPECT_EQ(get(t, &k), TVN_RES_OK);
      out += std::to_string(k) + " ";
    }
    return out;
  }
};

} // namespace

TEST_F(Clone, HasTheSettingsOfItsSourceAndIsTiedToNothingOfIt) {
  const int32_t sub[] = {0, 2};
  const double val[] = {1.5, -2.5};
  ASSERT_EQ(TVN_resizetask(task, 5, 6, 3, 20, 9), TVN_RES_OK);
  append(3, 5);
  ASSERT_EQ(TVN_putavec(task, TVN_ACC_VAR, 1, 2, sub, val), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(task, TVN_PI_CON, 2, "a row"), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_LOG, 3), TVN_RES_OK);
  ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_BASIS_TOL_X, 1e-5), TVN_RES_OK);
  ASSERT_EQ(TVN_putstrparam(task, TVN_SPAR_STAT_NAME, "kept"), TVN_RES_OK);
  std::string heard;
  const auto keep = [](void* h, const char* piece) { *static_cast<std::string*>(h) += piece; };
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_MSG, &heard, keep), TVN_RES_OK);
  ASSERT_EQ(TVN_putcallbackfunc(
                task, [](TVNtask_t, void*, int32_t) { return int32_t{1}; }, &heard),
            TVN_RES_OK);
  ASSERT_EQ(TVN_clonetask(task, &clone), TVN_RES_OK);
  EXPECT_EQ(settings(clone), settings(task));
  TVN_callbackfunc func = nullptr;
  void* handle = &func;
  EXPECT_EQ(TVN_getcallbackfunc(clone, &func, &handle), TVN_RES_OK);
  EXPECT_TRUE(func == nullptr && handle == nullptr);
  heard.clear();
  EXPECT_EQ(TVN_echotask(clone, TVN_STREAM_MSG, "not for the source\n"), TVN_RES_OK);
  EXPECT_EQ(heard, "");
  ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_MSG), TVN_RES_OK);
  TVNenv_t owner = nullptr;
  EXPECT_EQ(TVN_getenv(clone, &owner), TVN_RES_OK);
  EXPECT_EQ(owner, env);
  // Either task may change or go without the other.
  ASSERT_EQ(TVN_putaij(clone, 0, 1, 99.0), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(clone, TVN_PI_CON, 1, "other"), TVN_RES_OK);
  EXPECT_EQ(aij(0, 1), 1.5);
  ASSERT_EQ(TVN_deletetaskdata(task), TVN_RES_OK);
  int32_t index = -1;
  EXPECT_EQ(TVN_getnameindex(clone, TVN_PI_CON, "a row", nullptr, &index), TVN_RES_OK);
  EXPECT_EQ(index, 2);
}
