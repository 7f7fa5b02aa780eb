// If this fails, items of a file or a caller answer to the wrong name, or to none.
#include "api/envtask.h"

namespace {

using apitest::EnvTask;

struct Names : EnvTask {
  std::string name(int32_t item, int32_t i) {
    char buffer[256];
    EXPECT_EQ(TVN_getname(task, item, i, sizeof buffer, nullptr, buffer), TVN_RES_OK);
    return buffer;
  }
};

TEST_F(Names, DuplicatesAreRefusedWithinAKindAndTheOldNameStays) {
  append(2, 2);
  ASSERT_EQ(TVN_putname(task, TVN_PI_VAR, 0, "a"), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(task, TVN_PI_VAR, 1, "b"), TVN_RES_OK);
  ASSERT_EQ(TVN_putname(task, TVN_PI_CON, 0, "a"), TVN_RES_OK);
  EXPECT_EQ(TVN_putname(task, TVN_PI_VAR, 1, "a"), TVN_RES_ERR_DUP_NAME);
  EXPECT_EQ(last_message(), "Name 'a' is already assigned for an item variable.");
  EXPECT_EQ(name(TVN_PI_VAR, 1), "b");
  int32_t asgn = 0, index = -1;
  EXPECT_EQ(TVN_getnameindex(task, TVN_PI_VAR, "b", &asgn, &index), TVN_RES_OK);
  EXPECT_EQ(asgn, 1);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(TVN_putname(task, TVN_PI_VAR, 1, "b"), TVN_RES_OK);
  EXPECT_EQ(TVN_putname(task, TVN_PI_VAR, 0, ""), TVN_RES_OK);
  EXPECT_EQ(TVN_putname(task, TVN_PI_VAR, 1, ""), TVN_RES_OK);
  EXPECT_EQ(TVN_getnameindex(task, TVN_PI_VAR, "a", &asgn, nullptr), TVN_RES_OK);
  EXPECT_EQ(asgn, 0);
  EXPECT_EQ(TVN_getnameindex(task, TVN_PI_VAR, "", &asgn, nullptr), TVN_RES_OK);
  EXPECT_EQ(asgn, 0);
  EXPECT_EQ(TVN_putname(task, TVN_PI_CONE, 0, "k"), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVN_putname(task, 7, 0, "k"), TVN_RES_ERR_PRO_ITEM);
  EXPECT_EQ(TVN_putname(task, TVN_PI_VAR, 0, nullptr), TVN_RES_ERR_NAME_IS_NULL);
}

TEST_F(Names, TooShortABufferHoldsTheEmptyString) {
  append(1, 0);
  ASSERT_EQ(TVN_putname(task, TVN_PI_CON, 0, "balance"), TVN_RES_OK);
  char buffer[8] = "-------";
  int32_t len = 0;
  EXPECT_EQ(TVN_getname(task, TVN_PI_CON, 0, 7, &len, buffer), TVN_RES_ERR_NAME_MAX_LEN);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(len, 7);
  EXPECT_EQ(TVN_getname(task, TVN_PI_CON, 0, 8, nullptr, buffer), TVN_RES_OK);
  EXPECT_STREQ(buffer, "balance");
  EXPECT_EQ(TVN_getconname(task, 0, 8, buffer), TVN_RES_OK);
  EXPECT_EQ(TVN_getnamex(task, TVN_PI_CON, 0, 8, &len, buffer, 0), TVN_RES_OK);
  EXPECT_STREQ(buffer, "balance");
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_WRITE_GENERIC_NAMES_IO, 1), TVN_RES_OK);
  EXPECT_EQ(TVN_getnamex(task, TVN_PI_CON, 0, 8, &len, buffer, 1), TVN_RES_OK);
  EXPECT_STREQ(buffer, "c1");
  EXPECT_EQ(len, 2);
  ASSERT_EQ(TVN_putobjname(task, "a long objective name"), TVN_RES_OK);
  EXPECT_EQ(TVN_getmaxnamelen(task, &len), TVN_RES_OK);
  EXPECT_EQ(len, 21);
  ASSERT_EQ(TVN_puttaskname(task, "t"), TVN_RES_OK);
  EXPECT_EQ(TVN_gettaskname(task, 8, &len, buffer), TVN_RES_OK);
  EXPECT_STREQ(buffer, "t");
}

} // namespace
