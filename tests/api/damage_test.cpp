// If these failed in the field: one damaged file out of thousands would bring a nightly run down, hang it or leak.
//
// Every damage may be an error or a read. The task must answer, hold nothing that TVN_deletetask finds, and read the
// undamaged file afterwards as if nothing had happened.
#include "envtask.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <unistd.h>

using namespace apitest;
namespace fs = std::filesystem;

namespace {

// Every section, in two parts: what stands in order, and the sections that may stand anywhere behind ROWS.
const std::vector<std::string> sections = {
    "NAME          WHOLE\n",
    "OBJSENSE\n    MAX\n",
    "OBJNAME\n    PROFIT\n",
    "ROWS\n N  OTHER\n N  PROFIT\n L  LIM1\n G  MYGE\n E  MYEQ\n",
    "COLUMNS\n"
    "    X         PROFIT             1.5   LIM1               1.0\n"
    "    X         MYGE               2.0\n"
    "    MARKER    'MARKER'                 'INTORG'\n"
    "    Y         LIM1              -1.0   MYEQ               4.0\n"
    "    MARKER    'MARKER'                 'INTEND'\n"
    "    Z         MYEQ            1.5D+1   MYGE               -.5\n",
    "RHS\n    RHS       LIM1               4.0   MYGE               1.0\n    RHS       PROFIT            -7.0\n",
    "RANGES\n    RNG       LIM1               2.5\n",
    "BOUNDS\n UP BND       X                  4.0\n MI BND       Z\n UI BND       Y                  9.5\n",
    "SETS\n S1 SOS       ONE                  1\n",
    "QUADOBJ\n    X         X                 -2.0\n    X         Z                  1.0   Y          0.5\n",
    "QSECTION      LIM1\n    X         X                  1.0\n",
    "CSECTION      K1                 0.0   QUAD\n    X\n    Z\n",
};
const std::string last = "ENDATA\n";

std::string whole(const std::vector<std::string>& parts = sections) {
  std::string text;
  for (const std::string& part : parts) text += part;
  return text + last;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t from = 0; from < text.size();) {
    const size_t next = text.find('\n', from) + 1;
    lines.push_back(text.substr(from, next - from));
    from = next;
  }
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line;
  return text;
}

struct Damage : EnvTask {
  fs::path file = fs::temp_directory_path() / ("tvn_damage_" + std::to_string(getpid()) + ".mps");
  size_t printed = 0;

  void SetUp() override {
    EnvTask::SetUp();
    for (int32_t s = TVN_STREAM_LOG; s <= TVN_STREAM_WRN; s++)
      TVN_linkfunctotaskstream(task, s, &printed, [](void* handle, const char* text) {
        *static_cast<size_t*>(handle) += std::string(text).size();
      });
  }
  void TearDown() override {
    EnvTask::TearDown();
    fs::remove(file);
  }
  TVNrescodee read(const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
    return TVN_readdata(task, file.c_str());
  }
  // Reads a damaged text; whatever it left is a problem whose parts can be asked for.
  TVNrescodee damage(const std::string& text) {
    reports.clear();
    const TVNrescodee code = read(text);
    EXPECT_EQ(code != TVN_RES_OK, !reports.empty() && reports.back().code >= 1000) << code << " " << last_message();
    int32_t numcon = -1, numvar = -1;
    EXPECT_EQ(TVN_getnumcon(task, &numcon), TVN_RES_OK);
    EXPECT_EQ(TVN_getnumvar(task, &numvar), TVN_RES_OK);
    for (int32_t i = 0; i < numcon; i++) key(TVN_ACC_CON, i);
    for (int32_t j = 0; j < numvar; j++) key(TVN_ACC_VAR, j);
    EXPECT_GE(numanz(), 0);
    return code;
  }
  void expect_usable() {
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, TVN_MPS_FORMAT_RELAXED), TVN_RES_OK);
    ASSERT_EQ(read(whole()), TVN_RES_OK) << last_message();
    int32_t numcon = 0, numvar = 0, numcone = 0, numint = 0, numq = 0;
    TVN_getnumcon(task, &numcon);
    TVN_getnumvar(task, &numvar);
    TVN_getnumcone(task, &numcone);
    TVN_getnumintvar(task, &numint);
    TVN_getnumqobjnz(task, &numq);
    EXPECT_EQ(std::vector({numcon, numvar, numcone, numint, numq}), std::vector({3, 3, 1, 1, 3}));
    EXPECT_EQ(numanz(), 6);
    EXPECT_EQ(aij(2, 2), 15);
  }
};

} // namespace

TEST_F(Damage, AFileThatIsCutAnywhereIsRefusedUpToItsLastWord) {
  const std::string text = whole();
  for (const int32_t mode : {TVN_MPS_FORMAT_STRICT, TVN_MPS_FORMAT_RELAXED, TVN_MPS_FORMAT_FREE}) {
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, mode), TVN_RES_OK);
    for (size_t len = 0; len < text.size() - 1; len++)
      EXPECT_NE(damage(text.substr(0, len)), TVN_RES_OK) << "cut at " << len << " in mode " << mode;
    expect_usable();
  }
}

TEST_F(Damage, LinesThatStandTwiceAreReadOrRefused) {
  const std::vector<std::string> lines = lines_of(whole());
  for (size_t k = 0; k < lines.size(); k++) {
    std::vector<std::string> twice = lines;
    twice.insert(twice.begin() + static_cast<std::ptrdiff_t>(k), lines[k]);
    const bool empty = lines[k] == "SETS\n" || lines[k].starts_with("Q"); // the first one says nothing
    const TVNrescodee code = damage(joined(twice));
    if (lines[k][0] != ' ' && lines[k] != last && !empty) { EXPECT_NE(code, TVN_RES_OK) << lines[k]; }
    if (lines[k].starts_with("    X         MYGE")) { EXPECT_EQ(aij(1, 0), 4) << "elements add up"; }
  }
  expect_usable();
}

TEST_F(Damage, LinesThatAreMissingOrSwappedAreReadOrRefused) {
  const std::vector<std::string> lines = lines_of(whole());
  for (size_t k = 0; k < lines.size(); k++) {
    std::vector<std::string> some = lines;
    some.erase(some.begin() + static_cast<std::ptrdiff_t>(k));
    damage(joined(some));
    for (size_t other = 0; other < k; other++) {
      some = lines;
      std::swap(some[other], some[k]);
      damage(joined(some));
    }
  }
  expect_usable();
}

TEST_F(Damage, SectionsInAnotherOrderAreRefusedByTheOrdersRule) {
  std::mt19937 rng(1);
  for (int round = 0; round < 200; round++) {
    std::vector<size_t> order(sections.size());
    for (size_t k = 0; k < order.size(); k++) order[k] = k;
    std::shuffle(order.begin(), order.end(), rng);
    std::vector<std::string> parts;
    for (const size_t k : order) parts.push_back(sections[k]);
    // The first nine have their order; the others come anywhere behind ROWS, and their variables must be known.
    std::vector<size_t> ordered;
    std::copy_if(order.begin(), order.end(), std::back_inserter(ordered), [](size_t k) { return k < 9; });
    const auto place = [&](size_t k) { return std::find(order.begin(), order.end(), k) - order.begin(); };
    const bool allowed = std::is_sorted(ordered.begin(), ordered.end()) && place(9) > place(4) &&
                         place(10) > place(4) && place(11) > place(4);
    EXPECT_EQ(damage(whole(parts)) == TVN_RES_OK, allowed) << whole(parts);
  }
  for (const auto& [early, late] :
       {std::pair{9, 5}, {10, 6}, {11, 8}, {9, 7}}) { // quadratic parts before RHS and others
    std::vector<std::string> parts = sections;
    std::rotate(parts.begin() + late, parts.begin() + early, parts.begin() + early + 1);
    EXPECT_EQ(damage(whole(parts)), TVN_RES_OK) << whole(parts);
  }
  expect_usable();
}

TEST_F(Damage, WithoutRowsEveryLaterSectionIsRefused) {
  for (size_t k = 4; k < sections.size(); k++) {
    const char* before = k >= 9 ? "RHS\n" : ""; // what opens the door to the quadratic sections
    EXPECT_EQ(damage(sections[0] + before + sections[k] + last), TVN_RES_ERR_MPS_NO_OBJECTIVE) << sections[k];
  }
}

TEST_F(Damage, FieldsThatAreShiftedByAColumnAreNoticedOrRead) {
  const std::vector<std::string> lines = lines_of(whole());
  for (size_t k = 0; k < lines.size(); k++)
    for (size_t at = 0; at < lines[k].size(); at++)
      for (const bool wider : {true, false}) {
        std::vector<std::string> shifted = lines;
        if (wider)
          shifted[k].insert(at, " ");
        else if (shifted[k][at] == ' ')
          shifted[k].erase(at, 1);
        else
          continue;
        damage(joined(shifted));
      }
  std::vector<std::string> all = lines;
  for (std::string& line : all)
    if (line.starts_with("    X         ")) line.replace(4, 2, " X");
  ASSERT_EQ(damage(joined(all)), TVN_RES_ERR_MPS_UNDEF_VAR_NAME) << "` X` and `X` are two names at fixed columns";
  expect_usable();
}

TEST_F(Damage, LineEndsMayBeThoseOfAnyMachine) {
  const std::string same = whole();
  EXPECT_EQ(damage(same.substr(0, same.size() - 1)), TVN_RES_OK) << "the last line needs no end";
  EXPECT_EQ(damage("\n   \n* c\n" + same + "ROWS\n"), TVN_RES_OK) << "nothing is read behind the end";
  for (const char* ending : {"\r", "\r\n", "\n\r", "\r\r\n", "\n\n"}) {
    std::string text;
    for (const char c : whole()) text += c == '\n' ? std::string(ending) : std::string(1, c);
    EXPECT_EQ(damage(text), TVN_RES_OK) << text;
    EXPECT_EQ(aij(2, 2), 15);
  }
  expect_usable();
}

TEST_F(Damage, HugeLinesAreRefusedInAMoment) {
  const std::string filler(10 << 20, 'x'), blanks(10 << 20, ' ');
  const auto start = std::chrono::steady_clock::now();
  for (const int32_t mode : {TVN_MPS_FORMAT_STRICT, TVN_MPS_FORMAT_RELAXED, TVN_MPS_FORMAT_FREE}) {
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, mode), TVN_RES_OK);
    EXPECT_NE(damage(filler), TVN_RES_OK);
    EXPECT_NE(damage("NAME\nROWS\n N  " + filler + "\n" + last), TVN_RES_OK);
    EXPECT_NE(damage("NAME\nROWS\n N  A\nCOLUMNS\n    " + filler + " A 1\n" + last), TVN_RES_OK);
    EXPECT_NE(damage(whole().substr(0, 400) + filler), TVN_RES_OK);
    EXPECT_EQ(damage("* " + filler + "\nNAME\nROWS\n N  PROFIT\n" + blanks + "\n" + last), TVN_RES_OK)
        << last_message();
    EXPECT_EQ(damage("NAME " + filler + "\nROWS\n N  PROFIT\n" + last), TVN_RES_OK) << last_message();
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
  expect_usable();
}

TEST_F(Damage, NulBytesEndNoFileAndNoName) {
  const std::string text = whole();
  for (size_t at = 0; at < text.size(); at++) {
    std::string broken = text;
    broken[at] = '\0';
    damage(broken);
    broken = text;
    broken.insert(at, 1, '\0');
    damage(broken);
  }
  for (size_t at = text.find("LIM1"); at != std::string::npos; at = text.find("LIM1", at + 1)) {
    std::string broken = text;
    broken[at + 2] = '\0'; // as C strings all would be the same name
    EXPECT_EQ(damage(broken), TVN_RES_ERR_MPS_INV_FIELD) << "at " << at;
  }
  EXPECT_NE(damage(std::string(1 << 20, '\0')), TVN_RES_OK);
  expect_usable();
}

TEST_F(Damage, RandomBytesAnywhereNeverBringTheReaderDown) {
  const std::string text = whole();
  const std::string likely = " \t\n\r\"'*.-+0123456789DEeNLGXYZROWS";
  int numread = 0;
  for (unsigned seed = 0; seed < 2000; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, static_cast<int32_t>(rng() % 3));
    std::string broken = text;
    for (auto changes = 1 + rng() % 4; changes > 0; changes--) {
      const size_t at = rng() % broken.size();
      const char c = rng() % 2 ? likely[rng() % likely.size()] : static_cast<char>(rng());
      switch (rng() % 3) {
      case 0: broken[at] = c; break;
      case 1: broken.insert(at, 1, c); break;
      default: broken.erase(at, 1 + rng() % 3);
      }
    }
    numread += damage(broken) == TVN_RES_OK;
    if (seed % 100 == 0) expect_usable();
  }
  EXPECT_GT(numread, 100) << "most changes would hit the guards at the front only";
  expect_usable();
}
