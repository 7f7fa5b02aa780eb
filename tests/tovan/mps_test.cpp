// If these fail, a file is read as another problem than its author wrote. Here the lines and fields; whole files are
// read through the interface in tests/api.
#include "tovan/files/mps/readmps.h"
#include "tovan/files/text/filenames.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

using namespace tvn;

namespace {

struct Mps : ::testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  std::string path = (std::filesystem::temp_directory_path() / ("tvn_mps_" + std::to_string(getpid()))).string();
  sysfile* file = nullptr;
  rm_state rm;

  ~Mps() override {
    sys_code code = sys_code::ok;
    if (file) TVN_sysenv_fclose(&file, code);
    rm.block.clear();
    std::filesystem::remove(path);
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
  void open(const std::string& text, mps_mode mode = mps_mode::relaxed, bool quoted = true) {
    std::ofstream(path, std::ios::binary) << text;
    sys_code code = sys_code::ok;
    if (file) TVN_sysenv_fclose(&file, code);
    file = TVN_sysenv_fopen(*sys, path.c_str(), file_mode::read, false, code);
    rm = rm_state{};
    TVN_rm_make(rm, *sys, *file, mode, quoted, 1024);
  }
  std::vector<std::string> lines(const std::string& text) {
    open(text);
    std::vector<std::string> all;
    while (TVN_rm_getline(rm)) all.emplace_back(rm.line);
    return all;
  }
  mps_status one(const std::string& line, mps_fields& f, mps_mode mode = mps_mode::relaxed,
                 mps_section section = mps_section::columns) {
    open(line + "\n", mode);
    return TVN_rm_read(rm, section, f);
  }
};

} // namespace

TEST_F(Mps, EveryKindOfLineEndMakesTheSameLines) {
  const std::vector<std::string> expected{"a", "", "b c", "d"};
  EXPECT_EQ(lines("a\n\nb c\nd\n"), expected);
  EXPECT_EQ(lines("a\r\n\r\nb c\r\nd\r\n"), expected);
  EXPECT_EQ(lines("a\r\rb c\rd\r"), expected);
  EXPECT_EQ(lines("a\n\nb c\nd"), expected) << "the last line needs no end";
  EXPECT_EQ(lines("a\r\n\r\nb c\r\nd"), expected);
  EXPECT_TRUE(lines("").empty());
}

TEST_F(Mps, LinesThatMeetTheEndOfTheBlockAreWhole) {
  // Blocks are a quarter of a megabyte: lines of a length prime to it meet their end at every offset, with both kinds
  // of line ends.
  for (const std::string end : {"\n", "\r\n", "\r"}) {
    std::string text;
    for (int k = 0; text.size() < 3300000; k++) text += std::string(static_cast<size_t>(k % 97), 'x') + end;
    text += std::string(1500000, 'y') + end;
    open(text);
    int k = 0;
    while (TVN_rm_getline(rm) && rm.line.size() < 1000) {
      ASSERT_EQ(rm.line.size(), static_cast<size_t>(k % 97)) << "line " << k;
      k++;
    }
    EXPECT_EQ(rm.line.size(), 1500000u) << "a line longer than a block";
    EXPECT_FALSE(TVN_rm_getline(rm));
  }
}

TEST_F(Mps, ALineWithoutEndStopsTheReadingBeforeItTakesAllMemory) {
  open("first\n" + std::string(3000000, 'x'));
  rm.maxline = 1 << 20;
  EXPECT_TRUE(TVN_rm_getline(rm));
  EXPECT_FALSE(TVN_rm_getline(rm));
  EXPECT_TRUE(rm.endless);
  EXPECT_EQ(rm.filestate, sys_code::file_read);
  EXPECT_LE(rm.block.size(), 1 << 20);
}

TEST_F(Mps, FieldsStandAtTheirColumnsAndNamesMayHoldBlanks) {
  mps_fields f;
  ASSERT_EQ(one(" UP BND  1    MY VAR 1          12.5", f, mps_mode::relaxed, mps_section::bounds), mps_status::line);
  EXPECT_EQ(f.key, "UP");
  EXPECT_EQ(f.name2, "BND  1");
  EXPECT_EQ(f.name3, "MY VAR 1");
  EXPECT_EQ(f.value4, 12.5);
  ASSERT_EQ(one("    COL       ROW1                1.   ROW2                -2.", f), mps_status::line);
  EXPECT_EQ(f.name5, "ROW2");
  EXPECT_EQ(f.value6, -2);
  ASSERT_EQ(one("              ROW1                3.", f, mps_mode::strict, mps_section::rhs), mps_status::line);
  EXPECT_EQ(f.name2, "");
  EXPECT_EQ(f.value4, 3);
}

TEST_F(Mps, ANumberRunsPastItsWidthInRelaxedModeOnly) {
  mps_fields f;
  const std::string line = "    COL       ROW1      -1.23456789012345";
  ASSERT_EQ(one(line.substr(0, 39), f), mps_status::line);
  EXPECT_EQ(f.value4, -1.234567890123);
  ASSERT_EQ(one(line, f), mps_status::line);
  EXPECT_EQ(f.value4, -1.23456789012345);
  EXPECT_EQ(f.name5, "");
  EXPECT_EQ(one(line, f, mps_mode::strict), mps_status::bad_field);
  EXPECT_EQ(rm.badfield, 4);
  EXPECT_EQ(one("    COL       ROW1      -1.234567890123ROW2      1", f), mps_status::bad_field);
  ASSERT_EQ(one("    COL       ROW1      -1.23456789012 ROW2      1.5", f), mps_status::line);
  EXPECT_EQ(f.name5, "ROW2");
}

TEST_F(Mps, NumbersAreReadAsPeopleWriteThem) {
  double x = 0;
  const auto reads = [&](const char* text, double value) { return parse_mps_number(text, x) && x == value; };
  EXPECT_TRUE(reads("1.5D+3", 1500));
  EXPECT_TRUE(reads("1.5E3", 1500));
  EXPECT_TRUE(reads(".5", 0.5));
  EXPECT_TRUE(reads("-.5", -0.5));
  EXPECT_TRUE(reads("+ 1 000", 1000));
  EXPECT_TRUE(reads("   ", 0));
  EXPECT_TRUE(reads("1e400", INFINITY) && reads("-1e400", -INFINITY) && reads("1e99999999999999999999", INFINITY));
  EXPECT_TRUE(reads("1e-400", 0) && reads("0e400", 0) && reads("1e-99999999999999999999", 0));
  const std::string zeros(400, '0');
  EXPECT_TRUE(reads(("0." + zeros + "1e+20").c_str(), 0) && reads(("1" + zeros + "e-20").c_str(), INFINITY));
  for (const char* bad : {"1.5d+3", "nan", "inf", "Infinity", "0x10", "12abc", "1.2.3", "-"})
    EXPECT_FALSE(parse_mps_number(bad, x)) << bad;
  EXPECT_FALSE(parse_mps_number(std::string(600, '1') + "Z", x));
}

TEST_F(Mps, TextBetweenFieldsIsAFaultOfTheFieldBeforeIt) {
  mps_fields f;
  EXPECT_EQ(one("    COLUMNNAME    ROW         1.0", f), mps_status::bad_field);
  EXPECT_EQ(rm.badfield, 2);
  EXPECT_EQ(one("    COL       ROWNAMETOO1.0", f), mps_status::bad_field);
  EXPECT_EQ(rm.badfield, 3);
  EXPECT_EQ(one("    COL       ROW              one", f), mps_status::bad_field);
  EXPECT_EQ(rm.badfield, 4);
  EXPECT_EQ(one("    COL       ROW              1.0     ROW2          x", f), mps_status::bad_field);
  EXPECT_EQ(rm.badfield, 6);
  EXPECT_EQ(one("    CO\tL      ROW              1.0", f), mps_status::tab_in_field);
  EXPECT_EQ(rm.badfield, 2);
  EXPECT_EQ(one(" x1 c1 1.5", f), mps_status::bad_field) << "free form is not taken for fixed columns";
  EXPECT_EQ(rm.badfield, 1);
  EXPECT_EQ(one("    COL" + std::string(1100, ' ') + "x", f), mps_status::too_long);
}

TEST_F(Mps, FreeFormTakesTokensInTurn) {
  mps_fields f;
  ASSERT_EQ(one("\tx1\tc1 1.5   c2 -2", f, mps_mode::free), mps_status::line);
  EXPECT_EQ(f.name2, "x1");
  EXPECT_EQ(f.name3, "c1");
  EXPECT_EQ(f.value4, 1.5);
  EXPECT_EQ(f.name5, "c2");
  EXPECT_EQ(f.value6, -2);
  ASSERT_EQ(one(" MARKER 'MARKER' 'INTORG'", f, mps_mode::free), mps_status::line);
  EXPECT_EQ(f.name5, "'INTORG'");
  ASSERT_EQ(one(" \"my var\" \"a row\" 1", f, mps_mode::free), mps_status::line);
  EXPECT_EQ(f.name2, "my var");
  EXPECT_EQ(f.name3, "a row");
  ASSERT_EQ(one(" BV bnd a_very_long_variable_name", f, mps_mode::free, mps_section::bounds), mps_status::line);
  EXPECT_EQ(f.name3, "a_very_long_variable_name");
  EXPECT_EQ(one(" x c 1 d 2 more", f, mps_mode::free), mps_status::bad_field);
}

TEST_F(Mps, HeadsAreFoundByTheirBeginningAndSplitLikeData) {
  open("* comment\n\n   \nCSECTION      cone1           3.5      QUAD\n    x1\n* c\nROWSTUFF\n");
  mps_section section;
  mps_fields f;
  ASSERT_TRUE(TVN_rm_checksechead(rm, section));
  EXPECT_EQ(section, mps_section::csection);
  ASSERT_EQ(TVN_rm_readhead(rm, section, f), mps_status::line);
  EXPECT_EQ(f.name3, "cone1");
  EXPECT_EQ(f.value4, 3.5);
  EXPECT_EQ(f.name5, "QUAD");
  EXPECT_EQ(TVN_rm_read(rm, section, f), mps_status::line);
  EXPECT_EQ(f.name2, "x1");
  EXPECT_EQ(TVN_rm_read(rm, section, f), mps_status::head);
  ASSERT_TRUE(TVN_rm_checksechead(rm, section));
  EXPECT_EQ(section, mps_section::rows);
  EXPECT_EQ(rm.linenumber, 7);
  EXPECT_EQ(TVN_rm_read(rm, section, f), mps_status::end_of_file);
}

TEST_F(Mps, NamesAreNumberedInOrderAndToldApart) {
  std::vector<std::string> all;
  for (int k = 0; k < 5000; k++) all.push_back((k % 3 ? "a_name_beyond_eight_" : "r") + std::to_string(k));
  for (const char* name : {"12345678", "123456789", " 1234567"}) all.emplace_back(name);
  buffer<char> pool(*sys, 200000);
  buffer<int64_t> offset(*sys, std::ssize(all));
  name_table names;
  names.make(*sys, pool, offset, 2);
  int64_t used = 0;
  for (size_t k = 0; k < all.size(); k++) {
    ASSERT_EQ(names.insert(name_key(all[k])), static_cast<int32_t>(k));
    offset[static_cast<int64_t>(k)] = used;
    std::memcpy(pool.data() + used, all[k].c_str(), all[k].size() + 1);
    used += std::ssize(all[k]) + 1;
  }
  for (size_t k = 0; k < all.size(); k++) {
    EXPECT_EQ(names.find(name_key(all[k])), static_cast<int32_t>(k));
    EXPECT_EQ(names.insert(name_key(all[k])), -1);
  }
  for (const char* name : {"1234567", "", "a_name_beyond_eight_"}) EXPECT_EQ(names.find(name_key(name)), -1);
}
