// If these fail, users miss messages in their log, see broken characters, or find numbers in the wrong column.
#include "misc/stream.h"

#include "cpub/utf8.h"
#include "misc/numtext.h"
#include "misc/outfmt.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace tvn;

namespace {

using pieces = std::vector<std::string>;
void collect(void* handle, const char* text) { static_cast<pieces*>(handle)->push_back(text); }

struct Stream : ::testing::Test {
  std::unique_ptr<stream_block> block = std::make_unique<stream_block>();
  pieces log, err;
  Stream() {
    EXPECT_EQ(TVN_makestreams(*block, "TOVAN version x", false), stream_code::ok);
    TVN_linkfunctostream(*block, 0, &log, collect);
    TVN_linkfunctostream(*block, 2, &err, collect);
  }
  ~Stream() override { TVN_destroystreams(*block); }
  static std::string joined(const pieces& p) {
    std::string all;
    for (const std::string& s : p) all += s;
    return all;
  }
};

std::string read_all(const std::string& name) {
  std::ifstream in(name);
  return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace

TEST_F(Stream, AnErrorAlsoStandsInTheLogAndLinesArriveWhole) {
  TVN_echostream(*block, 2, "first ");
  EXPECT_TRUE(err.empty()) << "a line that has not ended is held back";
  TVN_echostream(*block, 2, "line\nsecond\nthird");
  EXPECT_EQ(err, (pieces{"first line\n", "second\n"}));
  EXPECT_EQ(log, err);
  TVN_flushstream(*block, 2);
  EXPECT_EQ(err.back(), "third");
  EXPECT_EQ(log.size(), 2u);
}

TEST_F(Stream, NoUtf8CharacterIsEverCut) {
  // Characters of 2, 3 and 4 bytes, shifted over the end of the buffer.
  for (const std::string mark : {"\xC3\xA6", "\xE2\x82\xAC", "\xF0\x9D\x84\x9E"}) {
    for (size_t shift = 1018; shift < 1028; shift++) {
      err.clear();
      const std::string text = std::string(shift, 'a') + mark + mark + "\n";
      TVN_echostream(*block, 2, text);
      EXPECT_EQ(joined(err), text);
      for (const std::string& piece : err) {
        EXPECT_LE(piece.size(), 1024u);
        EXPECT_NE(piece[0] & 0xC0, 0x80) << "a piece starts inside a character";
      }
    }
  }
  const std::string bytes(3000, '\x80'); // not UTF-8 at all: delivered none the less
  err.clear();
  TVN_echostream(*block, 2, bytes + "\n");
  EXPECT_EQ(joined(err), bytes + "\n");
}

TEST_F(Stream, AFunctionMayWriteToItsOwnStream) {
  struct state {
    stream_block* block;
    std::string seen;
  } s{block.get(), {}};
  TVN_linkfunctostream(*block, 1, &s, [](void* h, const char* text) {
    auto* p = static_cast<state*>(h);
    p->seen += text;
    if (p->seen.size() < 20) TVN_echostream(*p->block, 1, "again\n");
  });
  TVN_echostream(*block, 1, "once\n");
  EXPECT_EQ(s.seen, "once\nagain\nagain\nagain\n");
}

TEST_F(Stream, LinkedFilesTellWhenTheyWereOpenedAndClosed) {
  const std::string a = (std::filesystem::temp_directory_path() / ("tvn_a_" + std::to_string(getpid()))).string();
  const std::string b = a + "b";
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  const auto open = [&](const std::string& name, file_mode mode) {
    sys_code code = sys_code::ok;
    return TVN_sysenv_fopen(*sys, name.c_str(), mode, false, code);
  };
  TVN_linkfiletostream(*block, 1, open(a, file_mode::write), false);
  TVN_echostream(*block, 1, "text in a\n");
  EXPECT_NE(read_all(a).find("text in a\n"), std::string::npos) << "each line reaches the disk at once";
  TVN_linkfiletostream(*block, 1, open(b, file_mode::write), false);
  TVN_linkfiletostream(*block, 1, open(a, file_mode::append), true);
  TVN_echostream(*block, 1, "more\n");
  TVN_destroystreams(*block);
  const std::string text = read_all(a);
  EXPECT_TRUE(text.starts_with("\nFile opened at ")) << text;
  EXPECT_NE(text.find(" by TOVAN version x.\ntext in a\n\nFile closed: "), std::string::npos) << text;
  EXPECT_NE(text.find("\nFile reopened at "), std::string::npos) << text;
  EXPECT_NE(text.find("more\n\nFile closed: "), std::string::npos) << text;
  EXPECT_EQ(read_all(b).find("File closed"), std::string::npos) << "no closing line before an append";
  EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  std::filesystem::remove(a);
  std::filesystem::remove(b);
}

TEST_F(Stream, StreamsThatDoNotExistAreRefused) {
  for (const int32_t which : {-1, 4}) {
    EXPECT_EQ(TVN_echostream(*block, which, "x"), stream_code::bad_stream);
    EXPECT_EQ(TVN_flushstream(*block, which), stream_code::bad_stream);
    EXPECT_EQ(TVN_linkfunctostream(*block, which, nullptr, nullptr), stream_code::bad_stream);
  }
}

TEST(StreamThreads, LinesOfSeveralThreadsDoNotMix) {
  stream_block block;
  ASSERT_EQ(TVN_makestreams(block, "", true), stream_code::ok);
  pieces log;
  TVN_linkfunctostream(block, 0, &log, collect);
  std::vector<std::thread> threads;
  for (char c : {'a', 'b', 'c'})
    threads.emplace_back([&block, c] {
      for (int k = 0; k < 300; k++) TVN_echostream(block, 1, std::string(50, c) + "\n");
    });
  for (std::thread& t : threads) t.join();
  TVN_linkfunctostream(block, 0, nullptr, nullptr);
  ASSERT_EQ(log.size(), 900u);
  for (const std::string& line : log) EXPECT_EQ(line, std::string(50, line[0]) + "\n");
  TVN_destroystreams(block);
}

namespace {

template <class... Args> std::string fmt(const char* format, Args... args) {
  std::string out;
  const int64_t code =
      TVN_outfmt([](void* h, std::string_view s) { static_cast<std::string*>(h)->append(s); }, &out, format, args...);
  return code < 0 ? "FAILED " + out : out;
}

} // namespace

TEST(OutputFormat, PadsBeforeBehindAndAround) {
  EXPECT_EQ(fmt("[%{w}i]", 6, 42), "[    42]");
  EXPECT_EQ(fmt("[%{jw}i]", 0, 6, 42), "[42    ]");
  EXPECT_EQ(fmt("[%{jw}i]", 1, 7, 42), "[  42   ]") << "the smaller half stands in front";
  EXPECT_EQ(fmt("[%{gw}s]", '.', 5, "ab"), "[...ab]");
  EXPECT_EQ(fmt("[%{jGw}s]", 0, 0xE6, 4, "ab"), "[ab\xC3\xA6\xC3\xA6]");
  EXPECT_EQ(fmt("[%{w}s]", 4, "\xC3\xA6"), "[   \xC3\xA6]") << "widths count characters";
  EXPECT_EQ(fmt("[%{w}s]", 2, "longer"), "[longer]");
}

TEST(OutputFormat, WritesNumbersOfEveryKind) {
  EXPECT_EQ(fmt("%i %u", -5, 4000000000u), "-5 4000000000");
  EXPECT_EQ(fmt("%l", INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(fmt("%{f}u %{f}u %{f}u", 1, 255u, 2, 8u, 3, 5u), "ff 10 101");
  EXPECT_EQ(fmt("%{+}i %{+}i", 7, -7), "+7 -7");
  EXPECT_EQ(fmt("%f|%e", 1.5, 1.5), "1.50000|1.500000000000000e+00");
  EXPECT_EQ(fmt("%{jwp}f", 2, 8, 2, 3.14159), "    3.14");
  EXPECT_EQ(fmt("%{p}e", 99, 1.0), "1.000000000000000e+00") << "a precision of 16 or over acts as 15";
  EXPECT_EQ(fmt("%{p/}f", 4, 2.5), "2.5");
  EXPECT_EQ(fmt("100%% %ws\n", L"w\u00e6"), "100% w\xC3\xA6\n");
}

TEST(OutputFormat, StopsAtWhatItDoesNotKnow) {
  EXPECT_EQ(fmt("a%q"), "FAILED a");
  EXPECT_EQ(fmt("a%{x}i", 1), "FAILED a");
  EXPECT_EQ(fmt("a%{p}f", -1, 1.0), "FAILED a");
  EXPECT_EQ(fmt("a%{j}i", 3, 1), "FAILED a");
  EXPECT_EQ(fmt("a%{w"), "FAILED a");
}

TEST(NumberText, ReadsDecimalNumbersAndNothingElse) {
  double x = -1;
  const auto reads = [&](const char* text, double value) { return TVN_strtoreal(text, x) && x == value; };
  EXPECT_TRUE(reads(" 1.5e3 ", 1500));
  EXPECT_TRUE(reads("+.5", 0.5));
  EXPECT_TRUE(reads("-5.", -5));
  EXPECT_TRUE(reads("0.1", 0.1));
  EXPECT_TRUE(reads("1e400", INFINITY));
  EXPECT_TRUE(reads("-1e400", -INFINITY));
  EXPECT_TRUE(reads("1e-400", 0));
  EXPECT_TRUE(reads("4.9406564584124654e-324", 4.9406564584124654e-324));
  for (const char* bad : {"", " ", "-", "+", ".", "e5", "1e", "1e+", "nan", "inf", "-inf", "infinity", "0x10", "12abc",
                          "1 2", "1,5", "--1", "+-1", "1d3"}) {
    x = 7;
    EXPECT_FALSE(TVN_strtoreal(bad, x)) << bad << " gave " << x;
  }
  int32_t k = 0;
  EXPECT_TRUE(TVN_strtointeger(" +12 ", k) && k == 12);
  for (const char* bad : {"", "1.5", "2147483648", "x", "1x", "+-1", "0x1"})
    EXPECT_FALSE(TVN_strtointeger(bad, k)) << bad;
}

TEST(Utf8, EveryCodeGoesThereAndBack) {
  for (uint32_t code = 1; code < 0x110000; code += code < 0x900 ? 1 : 77) {
    const wchar_t wide[] = {static_cast<wchar_t>(code), L'x', 0};
    char bytes[8];
    wchar_t back[4];
    int64_t len = 0, conv = 0;
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    ASSERT_EQ(TVN_WCharToUTF8(8, len, conv, bytes, wide), surrogate ? utf8_code::invalid : utf8_code::ok) << code;
    if (surrogate) continue;
    ASSERT_EQ(TVN_UTF8toWChar(4, len, conv, back, bytes), utf8_code::ok) << code;
    EXPECT_EQ(len, 2);
    EXPECT_EQ(std::wstring(back), wide);
  }
}

TEST(Utf8, RefusesWhatIsNotValidAndCutsAtWholeCharacters) {
  wchar_t wide[4];
  int64_t len = 0, conv = 0;
  // A lone continuation, a cut character, an overlong form, a surrogate, a code that is too large.
  for (const char* bad : {"a\x80", "a\xC3", "a\xC0\x80", "a\xED\xA0\x80", "a\xF4\x90\x80\x80", "a\xFF"}) {
    EXPECT_EQ(TVN_UTF8toWChar(4, len, conv, wide, bad), utf8_code::invalid) << bad;
    EXPECT_EQ(std::wstring(wide), L"a");
  }
  char bytes[4];
  EXPECT_EQ(TVN_WCharToUTF8(4, len, conv, bytes, L"\u00e6\u00e6x"), utf8_code::ok);
  EXPECT_STREQ(bytes, "\xC3\xA6");
  EXPECT_EQ(len, 5);
  EXPECT_EQ(conv, 1);
}
