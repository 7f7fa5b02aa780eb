// If these fail, a problem is read from half a file, or a full disk goes unnoticed.
#include "cpub/sysfile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>

using namespace tvn;

namespace {

struct SysFile : ::testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  std::filesystem::path dir = std::filesystem::temp_directory_path() / ("tvn_sysfile_" + std::to_string(getpid()));
  SysFile() { std::filesystem::create_directories(dir); }
  ~SysFile() override {
    std::filesystem::remove_all(dir);
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok) << "memory was left";
  }
  std::string path(const char* name) const { return (dir / name).string(); }

  void write(const std::string& name, const std::string& text, bool compressed, file_mode mode = file_mode::write) {
    sys_code code = sys_code::ok;
    sysfile* f = TVN_sysenv_fopen(*sys, name.c_str(), mode, compressed, code);
    ASSERT_NE(f, nullptr);
    TVN_sysenv_fputss(*f, text, code);
    TVN_sysenv_fclose(&f, code);
    ASSERT_EQ(code, sys_code::ok);
  }
  std::string read(const std::string& name, bool compressed, sys_code& code, size_t piece) {
    std::string all;
    std::string part(piece, '\0');
    file_owner f(TVN_sysenv_fopen(*sys, name.c_str(), file_mode::read, compressed, code));
    if (!f.file) return all;
    for (int64_t n = 1; n > 0;) {
      n = TVN_sysenv_fread(*f.file, part.data(), static_cast<int64_t>(piece), code);
      all.append(part, 0, static_cast<size_t>(n));
    }
    return all;
  }
};

// Text that does not compress to nothing.
std::string noise(size_t size) {
  std::string s(size, '\0');
  uint32_t x = 1;
  for (char& c : s) c = static_cast<char>(' ' + ((x = x * 1664525u + 1013904223u) >> 24) % 90);
  return s;
}

} // namespace

TEST_F(SysFile, WhatIsWrittenComesBackInPiecesOfAnySize) {
  const std::string text = noise(300000);
  for (const bool compressed : {false, true}) {
    write(path("f"), text, compressed);
    for (const size_t piece : {7ul, 1000ul, 65536ul, 65537ul, 1000000ul}) {
      sys_code code = sys_code::ok;
      EXPECT_EQ(read(path("f"), compressed, code, piece), text) << compressed << " " << piece;
      EXPECT_EQ(code, sys_code::ok);
    }
  }
}

TEST_F(SysFile, AGzipStreamCutAtAnyPlaceIsAReadFailure) {
  write(path("whole.gz"), noise(50000), true);
  std::ifstream in(path("whole.gz"), std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), {});
  for (const size_t len : {bytes.size() - 1, bytes.size() - 8, bytes.size() / 2, size_t{20}, size_t{12}}) {
    std::ofstream(path("cut.gz"), std::ios::binary) << bytes.substr(0, len);
    sys_code code = sys_code::ok;
    read(path("cut.gz"), true, code, 100000);
    EXPECT_EQ(code, sys_code::file_read) << len << " of " << bytes.size();
  }
}

TEST_F(SysFile, ADamagedGzipStreamIsAReadFailure) {
  write(path("f.gz"), noise(50000), true);
  std::fstream io(path("f.gz"), std::ios::binary | std::ios::in | std::ios::out);
  io.seekp(20000);
  io << "damage";
  io.close();
  sys_code code = sys_code::ok;
  read(path("f.gz"), true, code, 100000);
  EXPECT_EQ(code, sys_code::file_read);
}

TEST_F(SysFile, MissingFilesDirectoriesAndNullNamesCannotBeOpened) {
  for (const char* name : {"missing", "."}) {
    sys_code code = sys_code::ok;
    EXPECT_EQ(TVN_sysenv_fopen(*sys, path(name).c_str(), file_mode::read, false, code), nullptr);
    EXPECT_EQ(code, sys_code::file_open);
  }
  sys_code code = sys_code::ok;
  EXPECT_EQ(TVN_sysenv_fopen(*sys, nullptr, file_mode::read, true, code), nullptr);
  EXPECT_EQ(code, sys_code::file_open);
}

TEST_F(SysFile, WideNamesReachTheFileOfTheSameUtf8Name) {
  const std::string name = path("mod\xC3\xA8le \xE2\x82\xAC \xF0\x9D\x84\x9E");
  write(name, "text", true);
  {
    sys_code code = sys_code::ok;
    buffer<wchar_t> wide;
    TVN_sysenv_utf8towchar(*sys, name.c_str(), wide, code);
    ASSERT_EQ(code, sys_code::ok);
    EXPECT_EQ(std::wstring(wide.data()), dir.wstring() + L"/mod\u00E8le \u20AC \U0001D11E");
    file_owner f(TVN_sysenv_wfopen(*sys, wide.data(), file_mode::read, true, code));
    ASSERT_NE(f.file, nullptr);
    char got[8] = {};
    EXPECT_EQ(TVN_sysenv_fread(*f.file, got, sizeof got, code), 4);
    EXPECT_STREQ(got, "text");
    EXPECT_EQ(TVN_sysenv_wfopen(*sys, L"missing \u20AC", file_mode::read, false, code), nullptr);
    EXPECT_EQ(code, sys_code::file_open);
  }
}

TEST_F(SysFile, NamesThatAreNoTextOpenNothing) {
  const wchar_t surrogate[] = {L'a', static_cast<wchar_t>(0xD800), 0}, beyond[] = {static_cast<wchar_t>(0x110000), 0};
  for (const wchar_t* name : {surrogate, beyond}) {
    sys_code code = sys_code::ok;
    EXPECT_EQ(TVN_sysenv_wfopen(*sys, name, file_mode::write, false, code), nullptr);
    EXPECT_EQ(code, sys_code::invalid_file_name);
  }
  buffer<wchar_t> wide(*sys, 1, L'x');
  for (const char* name : {"a\xC3", "\xC0\x80", "\xED\xA0\x80"}) { // cut, overlong, surrogate
    sys_code code = sys_code::ok;
    TVN_sysenv_utf8towchar(*sys, name, wide, code);
    EXPECT_EQ(code, sys_code::invalid_file_name);
  }
  sys_code code = sys_code::ok;
  EXPECT_EQ(TVN_sysenv_wfopen(*sys, nullptr, file_mode::read, false, code), nullptr);
  EXPECT_EQ(code, sys_code::file_open);
  TVN_sysenv_utf8towchar(*sys, "good", wide, code); // the first failure holds
  EXPECT_EQ(code, sys_code::file_open);
  EXPECT_EQ(wide.size(), 1);
}

TEST_F(SysFile, TheFirstFailureHoldsAndStopsLaterCalls) {
  write(path("f"), "text\n", false);
  sys_code code = sys_code::file_write;
  EXPECT_EQ(TVN_sysenv_fopen(*sys, path("f").c_str(), file_mode::read, false, code), nullptr);
  EXPECT_EQ(code, sys_code::file_write);
  sys_code fresh = sys_code::ok;
  file_owner f(TVN_sysenv_fopen(*sys, path("f").c_str(), file_mode::read, false, fresh));
  char line[8];
  EXPECT_FALSE(TVN_sysenv_fgets(*f.file, line, sizeof line, code));
}

TEST_F(SysFile, AFullDiskIsReportedAtTheLatestOnClose) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
  for (const bool compressed : {false, true}) {
    sys_code code = sys_code::ok;
    sysfile* f = TVN_sysenv_fopen(*sys, "/dev/full", file_mode::write, compressed, code);
    ASSERT_NE(f, nullptr);
    TVN_sysenv_fprintf(*f, code, "%s", "some text");
    TVN_sysenv_fclose(&f, code);
    EXPECT_EQ(code, sys_code::file_write);
    EXPECT_EQ(f, nullptr);
  }
}

TEST_F(SysFile, FlushingToAFullDiskIsReportedAtOnceAndStopsTheRest) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP();
  for (const bool compressed : {false, true}) {
    sys_code code = sys_code::ok;
    sysfile* f = TVN_sysenv_fopen(*sys, "/dev/full", file_mode::write, compressed, code);
    ASSERT_NE(f, nullptr);
    TVN_sysenv_fputs(*f, "some text", code);
    TVN_sysenv_fflush(*f, code);
    EXPECT_EQ(code, sys_code::file_write);
    sys_code other = sys_code::ok; // a second slot: the file has not forgotten how to fail
    TVN_sysenv_fputs(*f, "more", other);
    TVN_sysenv_fclose(&f, other);
    EXPECT_EQ(other, sys_code::file_write);
  }
}

TEST_F(SysFile, LinesComeWithTheirEndAndLongOnesInPieces) {
  const std::string longline(70000, 'x');
  write(path("f"), "a\n\n" + longline + "\nlast", false);
  sys_code code = sys_code::ok;
  file_owner f(TVN_sysenv_fopen(*sys, path("f").c_str(), file_mode::read, false, code));
  char line[1024];
  const auto next = [&] { return TVN_sysenv_fgets(*f.file, line, sizeof line, code) ? std::string(line) : "END"; };
  EXPECT_EQ(next(), "a\n");
  EXPECT_EQ(next(), "\n");
  size_t total = 0;
  do total += next().size();
  while (line[std::strlen(line) - 1] != '\n');
  EXPECT_EQ(total, longline.size() + 1);
  EXPECT_EQ(next(), "last");
  EXPECT_EQ(next(), "END");
  TVN_sysenv_frewind(*f.file, code);
  EXPECT_EQ(next(), "a\n");
  EXPECT_EQ(code, sys_code::ok);
}

TEST_F(SysFile, AppendingKeepsWhatIsThereAndPrintsTextOfAnyLength) {
  write(path("f"), "one ", false);
  sys_code code = sys_code::ok;
  sysfile* f = TVN_sysenv_fopen(*sys, path("f").c_str(), file_mode::append, false, code);
  const std::string large(5000, 'y');
  TVN_sysenv_fprintf(*f, code, "%d %s", 2, large.c_str());
  TVN_sysenv_fclose(&f, code);
  EXPECT_EQ(read(path("f"), false, code, 10000), "one 2 " + large);
}
