// If these fail, a user who writes a problem to a file and reads it back solves another problem.
#include "tovan.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// Everything that a file carries, in a form that compares by ==.
struct picture {
  int32_t numcon = 0, numvar = 0, numcone = 0, sense = 0;
  double cfix = 0;
  std::string objname;
  std::vector<std::string> names;
  std::vector<double> c, bounds;
  std::vector<int32_t> keys, types;
  std::map<std::pair<int32_t, int32_t>, double> a;
  std::map<std::tuple<int32_t, int32_t, int32_t>, double> q; // row (-1: objective), i, j
  std::vector<std::vector<int32_t>> cones;
  bool operator==(const picture&) const = default;
};

void take_q(TVNtask_t t, int32_t row, picture& p) {
  int32_t num = 0, surplus = 4096;
  std::vector<int32_t> i(4096), j(4096);
  std::vector<double> v(4096);
  const TVNrescodee r = row < 0 ? TVN_getqobj(t, 4096, &surplus, &num, i.data(), j.data(), v.data())
                                : TVN_getqconk(t, row, 4096, &surplus, &num, i.data(), j.data(), v.data());
  ASSERT_EQ(r, TVN_RES_OK);
  for (size_t k = 0; k < static_cast<size_t>(num); k++) p.q[{row, i[k], j[k]}] += v[k];
}

picture look(TVNtask_t t) {
  picture p;
  TVN_getnumcon(t, &p.numcon);
  TVN_getnumvar(t, &p.numvar);
  TVN_getnumcone(t, &p.numcone);
  TVN_getobjsense(t, &p.sense);
  TVN_getcfix(t, &p.cfix);
  char name[256];
  int32_t len = 0;
  TVN_getobjname(t, sizeof name, &len, name);
  p.objname = name;
  for (const auto& [item, count] : {std::pair{TVN_PI_CON, p.numcon}, {TVN_PI_VAR, p.numvar}, {TVN_PI_CONE, p.numcone}})
    for (int32_t k = 0; k < count; k++) {
      TVN_getname(t, item, k, sizeof name, &len, name);
      p.names.emplace_back(name);
    }
  p.c.resize(static_cast<size_t>(p.numvar));
  TVN_getc(t, p.c.data());
  for (const auto& [side, count] : {std::pair{TVN_ACC_CON, p.numcon}, {TVN_ACC_VAR, p.numvar}})
    for (int32_t k = 0; k < count; k++) {
      int32_t bk = 0;
      double bl = 0, bu = 0;
      TVN_getbound(t, side, k, &bk, &bl, &bu);
      p.keys.push_back(bk);
      p.bounds.insert(p.bounds.end(), {bl, bu});
    }
  for (int32_t j = 0; j < p.numvar; j++) {
    int32_t type = 0, nz = 0;
    TVN_getvartype(t, j, &type);
    p.types.push_back(type);
    std::vector<int32_t> sub(static_cast<size_t>(p.numcon) + 1);
    std::vector<double> val(sub.size());
    TVN_getavec(t, TVN_ACC_VAR, j, &nz, sub.data(), val.data());
    for (size_t k = 0; k < static_cast<size_t>(nz); k++) p.a[{sub[k], j}] = val[k];
  }
  for (int32_t k = -1; k < p.numcon; k++) take_q(t, k, p);
  for (int32_t k = 0; k < p.numcone; k++) {
    int32_t type = 0, num = 0;
    double par = 0;
    std::vector<int32_t> members(static_cast<size_t>(p.numvar));
    TVN_getcone(t, k, &type, &par, &num, members.data());
    members.resize(static_cast<size_t>(num));
    members.push_back(type);
    p.cones.push_back(members);
  }
  return p;
}

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
    picture want = look(task);
    const picture got = round_trip(seed % 3 == 0 ? "p.mps.gz" : "p.mps");
    // A range is read as the right-hand side plus its width, so its upper end may differ in the last place.
    for (size_t k = 0; k < want.keys.size() && k < got.keys.size(); k++)
      if (want.keys[k] == TVN_BK_RA && got.keys[k] == TVN_BK_RA && got.bounds.size() == want.bounds.size() &&
          std::fabs(want.bounds[2 * k + 1] - got.bounds[2 * k + 1]) <=
              1e-15 * (std::fabs(want.bounds[2 * k]) + std::fabs(want.bounds[2 * k + 1])))
        want.bounds[2 * k + 1] = got.bounds[2 * k + 1];
    ASSERT_EQ(want.names, got.names);
    ASSERT_EQ(want.a, got.a);
    ASSERT_EQ(want.keys, got.keys);
    ASSERT_EQ(want.bounds, got.bounds);
    ASSERT_EQ(want.q, got.q);
    ASSERT_TRUE(want == got);
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
  EXPECT_EQ(TVN_writedata(task, (dir / "p.lp").c_str()), TVN_RES_ERR_INVALID_FORMAT_TYPE);
  if (std::filesystem::exists("/dev/full")) { EXPECT_EQ(TVN_writedata(task, "/dev/full"), TVN_RES_ERR_FILE_WRITE); }
  TVN_putname(task, TVN_PI_VAR, 0, "a \"b\"");
  EXPECT_EQ(TVN_writedata(task, (dir / "p.mps").c_str()), TVN_RES_ERR_WRITE_MPS_INVALID_NAME);
}

TEST_F(Write, MissingNamesBecomeGenericOnes) {
  TVN_append(task, TVN_ACC_CON, 2);
  TVN_append(task, TVN_ACC_VAR, 2);
  TVN_putbound(task, TVN_ACC_CON, 0, TVN_BK_LO, 1, 0);
  TVN_putbound(task, TVN_ACC_CON, 1, TVN_BK_FX, 2, 2);
  const picture p = round_trip("p.mps");
  EXPECT_EQ(p.names, (std::vector<std::string>{"c1", "c2", "x1", "x2"}));
  EXPECT_EQ(p.objname, "obj");
}
