// If these fail, a user who writes a problem to a file and reads it back solves another problem.
#include "support/picture.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <unistd.h>

namespace {

struct Write : ::testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  std::filesystem::path dir = std::filesystem::temp_directory_path() / ("tvn_write_" + std::to_string(getpid()));
  Write() {
    std::filesystem::create_directories(dir);
    EXPECT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
    EXPECT_EQ(TVN_initenv(env), TVN_RES_OK);
    EXPECT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  }
  ~Write() override {
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    std::filesystem::remove_all(dir);
  }
  // The problem of `task`, written and read by another task.
  picture round_trip(const std::string& name) {
    const std::string path = (dir / name).string();
    EXPECT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
    TVNtask_t other = nullptr;
    TVN_makeemptytask(env, &other);
    EXPECT_EQ(TVN_readdata(other, path.c_str()), TVN_RES_OK) << path;
    picture p = look(other);
    EXPECT_EQ(TVN_deletetask(&other), TVN_RES_OK);
    return p;
  }
};

// Names of one of four kinds: short, long, with blanks, mixed.
std::string make_name(std::mt19937_64& rng, int kind, const char* prefix, int32_t k) {
  const std::string base = prefix + std::to_string(k);
  switch (kind == 3 ? static_cast<int>(rng() % 3) : kind) {
  case 0: return base;
  case 1: return "a_rather_long_name_of_" + base;
  default: return base + " of it";
  }
}

void fill(TVNtask_t t, uint64_t seed) {
  std::mt19937_64 rng(seed);
  const auto pick = [&](int n) { return static_cast<int32_t>(rng() % static_cast<uint64_t>(n)); };
  const auto number = [&] {
    return (pick(2) ? 1 : -1) * std::exp2(pick(20) - 10) * (1 + static_cast<double>(rng() % 1000003) / 7e5);
  };
  const int32_t m = 1 + pick(8), n = 3 + pick(9);
  const int kind = pick(4);
  ASSERT_EQ(TVN_append(t, TVN_ACC_CON, m), TVN_RES_OK);
  ASSERT_EQ(TVN_append(t, TVN_ACC_VAR, n), TVN_RES_OK);
  TVN_putobjname(t, make_name(rng, kind, "cost", 0).c_str());
  TVN_putobjsense(t, pick(3));
  TVN_putcfix(t, pick(2) ? number() : 0);
  const auto bound = [&](int32_t side, int32_t i, int32_t bk) {
    const double lo = number(), up = lo + std::fabs(number());
    ASSERT_EQ(TVN_putbound(t, side, i, bk, lo, bk == TVN_BK_FX ? lo : up), TVN_RES_OK);
  };
  for (int32_t i = 0; i < m; i++) {
    TVN_putname(t, TVN_PI_CON, i, make_name(rng, kind, "r", i).c_str());
    const int32_t keys[] = {TVN_BK_LO, TVN_BK_UP, TVN_BK_FX, TVN_BK_RA};
    bound(TVN_ACC_CON, i, keys[pick(4)]);
  }
  for (int32_t j = 0; j < n; j++) {
    TVN_putname(t, TVN_PI_VAR, j, make_name(rng, kind, "v", j).c_str());
    if (pick(2)) TVN_putcj(t, j, number());
    bound(TVN_ACC_VAR, j, pick(5));
    for (int32_t i = 0; i < m; i++)
      if (pick(3) == 0) TVN_putaij(t, i, j, number());
    if (pick(3) == 0) {
      TVN_putvartype(t, j, TVN_VAR_TYPE_INT);
      const double lo = pick(9) - 4;
      const int32_t bk = pick(5);
      TVN_putbound(t, TVN_ACC_VAR, j, bk, lo, bk == TVN_BK_FX ? lo : lo + pick(4) + 1);
    }
  }
  const std::vector<int32_t> qi = {0, 1, 2, 2}, qj = {0, 0, 2, 1};
  const std::vector<double> qv = {number(), number(), number(), number()};
  if (pick(3) == 0) TVN_putqobj(t, 4, qi.data(), qj.data(), qv.data());
  if (pick(3) == 0) TVN_putqconk(t, pick(m), 4, qi.data(), qj.data(), qv.data());
  if (pick(3) == 0) {
    const int32_t members[] = {2, 0, 1};
    TVN_appendcone(t, pick(2), 0.0, 3, members);
    TVN_putname(t, TVN_PI_CONE, 0, make_name(rng, kind, "k", 0).c_str());
  }
}

} // namespace

TEST_F(Write, AnyProblemReadsBackToItselfBitByBit) {
  TVN_putintparam(task, TVN_IPAR_WRITE_PRECISION, 17);
  for (uint64_t seed = 1; seed <= 300; seed++) {
    SCOPED_TRACE(seed);
    TVN_deletetask(&task);
    TVN_makeemptytask(env, &task);
    TVN_putintparam(task, TVN_IPAR_WRITE_PRECISION, 17);
    fill(task, seed);
    picture want = look(task), got = round_trip(seed % 3 == 0 ? "p.mps.gz" : "p.mps");
    forgive(want, got);
    ASSERT_EQ(difference(want, got), "");
  }
}

// With the digits of the default: neither side of a range may drown in the other.
TEST_F(Write, RangesKeepTheirSmallerSide) {
  const std::pair<double, double> sides[] = {{-1e9, 5}, {-1e5, 2e-6}, {-5, 1e9}, {2e-6, 1e5}, {-3, 4}, {-1e12, 0}};
  for (const auto& [lower, upper] : sides) {
    TVN_deletetask(&task);
    TVN_makeemptytask(env, &task);
    TVN_append(task, TVN_ACC_CON, 1);
    TVN_append(task, TVN_ACC_VAR, 1);
    TVN_putaij(task, 0, 0, 1);
    TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_RA, lower, upper);
    const std::string file = (dir / "r.mps").string();
    ASSERT_EQ(TVN_writedata(task, file.c_str()), TVN_RES_OK);
    ASSERT_EQ(TVN_readdata(task, file.c_str()), TVN_RES_OK);
    int32_t key = -1;
    double lo = 0, up = 0;
    ASSERT_EQ(TVN_getbound(task, TVN_ACC_CON, 0, &key, &lo, &up), TVN_RES_OK);
    EXPECT_EQ(key, TVN_BK_RA);
    EXPECT_NEAR(lo, lower, 1e-6 * std::fabs(lower)) << upper;
    EXPECT_NEAR(up, upper, 1e-6 * std::fabs(upper)) << lower;
  }
}

TEST_F(Write, FilesAreNamedPackedAndRefusedAsTheParametersSay) {
  fill(task, 4);
  TVN_putintparam(task, TVN_IPAR_WRITE_DATA_COMPRESSED, 1);
  EXPECT_EQ(TVN_writedata(task, (dir / "packed.mps").c_str()), TVN_RES_OK);
  EXPECT_TRUE(std::filesystem::exists(dir / "packed.mps.gz"));
  TVN_putintparam(task, TVN_IPAR_WRITE_DATA_COMPRESSED, 0);
  EXPECT_EQ(TVN_writedata(task, nullptr), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVN_writedata(task, (dir / "no" / "such" / "folder.mps").c_str()), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVN_writedata(task, (dir / "p.xml").c_str()), TVN_RES_ERR_INVALID_FORMAT_TYPE);
  if (std::filesystem::exists("/dev/full")) { EXPECT_EQ(TVN_writedata(task, "/dev/full"), TVN_RES_ERR_FILE_WRITE); }
  TVN_puttaskname(task, "two\nlines");
  EXPECT_EQ(TVN_writedata(task, (dir / "p.mps").c_str()), TVN_RES_ERR_WRITE_MPS_INVALID_NAME);
  TVN_puttaskname(task, "one");
  TVN_putname(task, TVN_PI_VAR, 0, "a \"b\"");
  EXPECT_EQ(TVN_writedata(task, (dir / "p.mps").c_str()), TVN_RES_ERR_WRITE_MPS_INVALID_NAME);
}

TEST_F(Write, WhatNoFileCanHoldIsRefusedAndTheOldFileStays) {
  fill(task, 1);
  const std::string path = (dir / "kept.mps").string();
  ASSERT_EQ(TVN_writedata(task, path.c_str()), TVN_RES_OK);
  const auto text = [&] {
    std::ifstream in(path);
    return std::string{std::istreambuf_iterator<char>(in), {}};
  };
  const std::string kept = text();
  const auto expect = [&](TVNrescodee code) {
    EXPECT_EQ(TVN_writedata(task, path.c_str()), code);
    EXPECT_EQ(text(), kept) << code;
  };
  TVN_putcfix(task, INFINITY);
  expect(TVN_RES_ERR_NAN_IN_DOUBLE_DATA);
  TVN_putcfix(task, 0);
  TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_UP, 0, NAN);
  expect(TVN_RES_ERR_NAN_IN_BUX);
  TVN_putbound(task, TVN_ACC_VAR, 0, TVN_BK_UP, 0, -INFINITY);
  const int32_t free_variable[] = {0};
  TVN_removeall(task, TVN_PI_CONE);
  TVN_appendcone(task, TVN_CT_QUAD, NAN, 1, free_variable);
  TVN_putname(task, TVN_PI_CONE, 0, "k");
  expect(TVN_RES_ERR_NAN_IN_DOUBLE_DATA);
  TVN_removeall(task, TVN_PI_CONE);
  TVN_putname(task, TVN_PI_CON, 0, "both");
  TVN_putobjname(task, "both");
  expect(TVN_RES_ERR_INVALID_OBJ_NAME);
  TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_FR, 0, 0); // such a row is not written
  EXPECT_EQ(TVN_writedata(task, (dir / "free.mps").c_str()), TVN_RES_OK);
  const auto getsp = [](void*, int32_t, int32_t*, int32_t*, int32_t*, int32_t*, int32_t*) -> int32_t { return 0; };
  const auto getva = [](void*, const double*, double, const double*, double*, double*, double*, double*) -> int32_t {
    return 0;
  };
  ASSERT_EQ(TVN_putnlfunc(task, nullptr, getsp, getva), TVN_RES_OK);
  expect(TVN_RES_ERR_CANNOT_HANDLE_NL);
}

TEST_F(Write, QuadraticTermsStandColumnByColumnInBothHalves) {
  TVN_append(task, TVN_ACC_VAR, 3);
  const int32_t i[] = {2, 1, 2, 0}, j[] = {0, 0, 2, 0};
  const double value[] = {3, 1, 8, -2};
  TVN_putqobj(task, 4, i, j, value);
  EXPECT_EQ(difference(round_trip("q.mps"), round_trip("q.mps")), "");
  std::ifstream in(dir / "q.mps");
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  EXPECT_NE(text.find("QSECTION      obj\n"
                      "    x1        x1        -2\n    x1        x2        0.5\n    x1        x3        1.5\n"
                      "    x2        x1        0.5\n    x3        x1        1.5\n    x3        x3        8\nENDATA\n"),
            std::string::npos)
      << text;
}

TEST_F(Write, MissingNamesBecomeGenericOnes) {
  TVN_append(task, TVN_ACC_CON, 2);
  TVN_append(task, TVN_ACC_VAR, 2);
  TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_LO, 1, 0);
  TVN_putbound(task, TVN_ACC_CON, 1, TVN_BK_FX, 2, 2);
  const picture p = round_trip("p.mps");
  EXPECT_EQ(p.names, (std::vector<std::string>{"obj", "c1", "c2", "x1", "x2"}));
}
