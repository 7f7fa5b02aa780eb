// If this fails, a progress callback that touches its task ends in freed memory instead of a code.
#include "api/envtask.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using apitest::EnvTask;

// Tries every kind of change at every event. What is refused is refused with one code, and nothing is changed.
struct meddler {
  int32_t calls = 0, rows = 0;
  static int32_t call(TVNtask_t task, void* handle, int32_t) {
    auto& m = *static_cast<meddler*>(handle);
    m.calls++;
    const int32_t zero[] = {0}, key[] = {TVN_SK_LOW, TVN_SK_LOW};
    const double one[] = {1};
    TVNtask_t same = task;
    const TVNrescodee answers[] = {
        TVN_append(task, TVN_ACC_VAR, 1000),
        TVN_appendvars(task, 1, one, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
        TVN_putmaxnumcon(task, 1000),
        TVN_putmaxnumanz(task, 1000),
        TVN_remove(task, TVN_ACC_CON, 1, zero),
        TVN_removeall(task, TVN_PI_VAR),
        TVN_putcj(task, 0, 77),
        TVN_putcfix(task, 77),
        TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MINIMIZE),
        TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_FX, 77, 77),
        TVN_chgbound(task, TVN_ACC_CON, 0, 1, 1, 77),
        TVN_putaij(task, 0, 0, 77),
        TVN_putavec(task, TVN_ACC_VAR, 0, 1, zero, one),
        TVN_putqobjij(task, 0, 0, 77),
        TVN_appendcone(task, TVN_CT_QUAD, 0, 1, zero),
        TVN_putvartype(task, 0, TVN_VAR_TYPE_INT),
        TVN_putname(task, TVN_PI_VAR, 0, "another"),
        TVN_putsolution(task, TVN_SOL_BAS, key, key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, nullptr),
        TVN_putsolsta(task, TVN_SOL_BAS, TVN_SOL_STA_OPTIMAL),
        TVN_deletesolution(task, TVN_SOL_BAS),
        TVN_resizetask(task, 9, 9, 0, 9, 0),
        TVN_deletetaskdata(task),
        TVN_readdata(task, "/dev/null"),
        TVN_optimize(task),
        TVN_deletetask(&same),
    };
    for (size_t k = 0; k < std::size(answers); k++) EXPECT_EQ(answers[k], TVN_RES_ERR_INTERNAL) << k;
    // Reading is allowed; rows only while nobody has A on loan by columns.
    int32_t n = 0;
    const TVNrescodee row = TVN_getavecnumnz(task, TVN_ACC_CON, 0, &n);
    EXPECT_TRUE(row == TVN_RES_OK || row == TVN_RES_ERR_INTERNAL || row == TVN_RES_ERR_INDEX_IS_TOO_LARGE) << row;
    m.rows += row == TVN_RES_ERR_INTERNAL;
    EXPECT_EQ(TVN_getnumvar(task, &n), TVN_RES_OK);
    return 0;
  }
};

struct Callback : EnvTask {};

} // namespace

TEST_F(Callback, CannotChangeTheTaskInTheMiddleOfItsWork) {
  // max 3x + 2y, x + y <= 4, x + 3y <= 6: 12 at (4, 0).
  const double c[] = {3, 2}, val[] = {1, 1, 1, 3}, lo[] = {0, 0}, up[] = {4, 6};
  const int32_t ptrb[] = {0, 2}, ptre[] = {2, 4}, sub[] = {0, 1, 0, 1};
  const int32_t bkc[] = {TVN_BK_UP, TVN_BK_UP}, bkx[] = {TVN_BK_LO, TVN_BK_LO};
  ASSERT_EQ(TVN_inputdata(task, 2, 2, 2, 2, c, 0, ptrb, ptre, sub, val, bkc, lo, up, bkx, lo, lo), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_PRESOLVE_USE, TVN_PRESOLVE_MODE_OFF), TVN_RES_OK);
  const std::string path =
      (std::filesystem::temp_directory_path() / ("tvn_cb_" + std::to_string(getpid()) + ".mps")).string();
  meddler m;
  const auto expect_optimum = [&](const char* when) {
    double obj = 0;
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK) << when;
    ASSERT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &obj), TVN_RES_OK) << when;
    EXPECT_DOUBLE_EQ(obj, 12) << when;
  };
  ASSERT_EQ(TVN_putcallbackfunc(task, meddler::call, &m), TVN_RES_OK);
  expect_optimum("a run");
  EXPECT_GT(m.rows, 0) << "no event came while A was on loan";
  ASSERT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
  const int32_t before = m.calls;
  ASSERT_EQ(TVN_readdata(task, path.c_str()), TVN_RES_OK);
  EXPECT_GT(m.calls, before + 1) << "no event came while the file was read";
  expect_optimum("what was read");
  std::filesystem::remove(path);
  ASSERT_EQ(TVN_putcallbackfunc(task, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_putcj(task, 0, 1), TVN_RES_OK) << "afterwards all is as before";
}
