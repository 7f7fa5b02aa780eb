// If this fails, a program that shows its own numbers with a comma writes logs and messages that no script reads.
#include "api/envtask.h"

#include <clocale>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// A locale with a decimal comma, as the C library keeps one on disk, so that none need be installed.
struct Locale : apitest::EnvTask {
  std::string log;
  fs::path folder = fs::temp_directory_path() / ("tvn_locale_" + std::to_string(getpid()));

  void SetUp() override {
    EnvTask::SetUp();
    // Two words, the places of six items, the items: point, separator, grouping, the first two as wide ones, character
    // set.
    const uint32_t head[] = {0x20031115 ^ 1, 6, 32, 34, 35, 36, 40, 44}, comma = ',', none = 0;
    std::string text(reinterpret_cast<const char*>(head), sizeof head);
    text += std::string(",\0\0\0", 4);
    text.append(reinterpret_cast<const char*>(&comma), 4).append(reinterpret_cast<const char*>(&none), 4);
    text += std::string("UTF-8\0", 6);
    fs::create_directories(folder / "comma");
    std::ofstream(folder / "comma" / "LC_NUMERIC", std::ios::binary) << text;
    setenv("LOCPATH", folder.c_str(), 1);
    if (!std::setlocale(LC_NUMERIC, "comma")) GTEST_SKIP() << "locales are kept in another form here";
    char half[8];
    std::snprintf(half, sizeof half, "%.1f", 0.5);
    ASSERT_STREQ(half, "0,5");
  }
  void TearDown() override {
    std::setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
    fs::remove_all(folder);
    EnvTask::TearDown();
  }
};

} // namespace

TEST_F(Locale, OfTheProgramIsNotSeenInLogsAndMessages) {
  ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_LOG, &log,
                                     [](void* h, const char* piece) { *static_cast<std::string*>(h) += piece; }),
            TVN_RES_OK);
  append(1, 1);
  const int32_t row[] = {0};
  const double one[] = {1.5};
  ASSERT_EQ(TVN_putavec(task, TVN_ACC_VAR, 0, 1, row, one), TVN_RES_OK);
  ASSERT_EQ(TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_RA, 0.25, 2.5e9), TVN_RES_OK); // a warning with its value
  ASSERT_EQ(TVN_putcj(task, 0, 0.5), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MINIMIZE), TVN_RES_OK);
  EXPECT_EQ(TVN_putdouparam(task, TVN_DPAR_BASIS_TOL_X, -0.5), TVN_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_EQ(TVN_solutionsummary(task, TVN_STREAM_MSG), TVN_RES_OK);
  EXPECT_EQ(TVN_optimizersummary(task), TVN_RES_OK);
  EXPECT_EQ(TVN_printparam(task), TVN_RES_OK);
  EXPECT_EQ(TVN_echotask(task, TVN_STREAM_LOG, "%.2f\n", 7.25), TVN_RES_OK);
  for (const char* part : {"-0.5", "2.5", "1.25", "7.25\n"}) EXPECT_NE(log.find(part), std::string::npos) << part;
  for (size_t at = log.find(','); at != std::string::npos; at = log.find(',', at + 1)) {
    const bool number = at > 0 && std::isdigit(log[at - 1]) && std::isdigit(log[at + 1]);
    EXPECT_FALSE(number) << log.substr(at > 20 ? at - 20 : 0, 40);
  }
  EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "comma") << "the program keeps its own";
}

TEST_F(Locale, OfTheProgramIsNotSeenInFilesOfFormulas) {
  const std::string first = (folder / "a.lp").string();
  std::ofstream(first) << "min\n c: 0.5 x - 1.25e-3 y + [ 2.5 x ^ 2 ]/2\nst\n r:: -1.5 <= x + 0.75 y <= 8.5\nbounds\n "
                          "x <= 3.25\nend\n";
  ASSERT_EQ(TVN_readdata(task, first.c_str()), TVN_RES_OK);
  TVN_putcfix(task, 2.5);
  for (const char* name : {"b.opf", "c.lp", "d.opf"}) {
    const std::string file = (folder / name).string();
    ASSERT_EQ(TVN_writedata(task, file.c_str()), TVN_RES_OK);
    ASSERT_EQ(TVN_readdata(task, file.c_str()), TVN_RES_OK);
    std::ifstream in(file);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    EXPECT_EQ(text.find(','), std::string::npos) << text;
    double cost[2], lower = 0, upper = 0, cfix = 0;
    int32_t key = 0;
    TVN_getc(task, cost);
    TVN_getcfix(task, &cfix);
    TVN_getbound(task, TVN_ACC_CON, 0, &key, &lower, &upper);
    EXPECT_EQ((std::vector<double>{cost[0], cost[1], cfix, lower, upper}),
              (std::vector<double>{0.5, -1.25e-3, 2.5, -1.5, 8.5}));
  }
}
