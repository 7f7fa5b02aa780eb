// An environment and a task for one test, with what they reported. Used by the tests that drive the C interface.
#pragma once

#include "tovan.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace apitest {

struct reported {
  TVNrescodee code;
  std::string message;
};

// dbgfile "" turns memory debugging on, so that a leak makes TVN_deletetask fail.
struct EnvTask : testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  std::vector<reported> reports;
  TVNrescodee answer = TVN_RES_OK; // of the response function

  void SetUp() override {
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
    ASSERT_EQ(TVN_maketask(env, 0, 0, &task), TVN_RES_OK);
    ASSERT_EQ(TVN_putresponsefunc(task, respond, this), TVN_RES_OK);
  }
  void TearDown() override {
    EXPECT_EQ(TVN_checkmemtask(task, __FILE__, __LINE__), TVN_RES_OK);
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    EXPECT_EQ(env, nullptr);
  }
  static TVNrescodee respond(void* handle, TVNrescodee code, const char* message) {
    auto* self = static_cast<EnvTask*>(handle);
    self->reports.push_back({code, message});
    return self->answer;
  }
  // The last report since the previous call, 0 when there was none.
  TVNrescodee last_report() {
    const TVNrescodee code = reports.empty() ? 0 : reports.back().code;
    reports.clear();
    return code;
  }
  std::string last_message() { return reports.empty() ? "" : reports.back().message; }

  void append(int32_t numcon, int32_t numvar) {
    ASSERT_EQ(TVN_append(task, TVN_ACC_CON, numcon), TVN_RES_OK);
    ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, numvar), TVN_RES_OK);
  }
  int32_t key(int32_t accmode, int32_t i) {
    int32_t bk = -1;
    EXPECT_EQ(TVN_getbound(task, accmode, i, &bk, nullptr, nullptr), TVN_RES_OK);
    return bk;
  }
  double aij(int32_t i, int32_t j) {
    double value = -99;
    EXPECT_EQ(TVN_getaij(task, i, j, &value), TVN_RES_OK);
    return value;
  }
  int32_t numanz() {
    int32_t n = -1;
    EXPECT_EQ(TVN_getnumanz(task, &n), TVN_RES_OK);
    return n;
  }
};

} // namespace apitest
