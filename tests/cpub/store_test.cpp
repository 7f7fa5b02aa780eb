// If these fail: presolve undoes its steps from damaged records, a locked block hides its change, or a library that
// cannot be loaded is not told of.
#include "cpub/bsto.h"
#include "cpub/dlman.h"
#include "cpub/md5.h"
#include "cpub/timer.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <string>
#include <unistd.h>

using namespace tvn;

namespace {

struct Store : testing::Test {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok); }
};
using Loader = Store;

std::string digest_of(const std::string& bytes, size_t piece) {
  md5_state s;
  md5_digest d;
  TVN_md5_init(s);
  for (size_t at = 0; at < bytes.size(); at += piece)
    TVN_md5_append(s, bytes.data() + at, std::min(piece, bytes.size() - at));
  TVN_md5_finish(s, d);
  std::string hex;
  for (const unsigned char b : d) {
    char text[3];
    std::snprintf(text, sizeof text, "%02x", b);
    hex += text;
  }
  return hex;
}

} // namespace

TEST(Digest, IsThePublishedOneHoweverTheBytesArrive) {
  const std::pair<const char*, const char*> vectors[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& [bytes, digest] : vectors) EXPECT_EQ(digest_of(bytes, 100), digest);
  for (size_t size = 0; size < 200; size++) {
    const std::string bytes(size, 'x');
    for (const size_t piece : {1u, 3u, 63u, 64u, 65u})
      ASSERT_EQ(digest_of(bytes, piece), digest_of(bytes, 1000)) << size;
  }
}

TEST_F(Store, BytesComeBackWholeAcrossPages) {
  std::mt19937 gen(9);
  for (const int64_t pagesize : {0, 1, 7, 64, 5000}) {
    bsto b;
    TVN_bsto_make(*sys, pagesize, b);
    std::string model;
    for (int step = 0; step < 400; step++) {
      const std::string piece(gen() % 150, static_cast<char>('a' + step % 26));
      TVN_bsto_append(b, static_cast<int64_t>(piece.size()), piece.data());
      model += piece;
      ASSERT_EQ(TVN_bsto_getsize(b), static_cast<int64_t>(model.size()));
      const size_t from = model.empty() ? 0 : gen() % model.size();
      const size_t len = std::min(model.size() - from, size_t{gen() % 400});
      std::string got(len, '?');
      TVN_bsto_get(b, static_cast<int64_t>(from), static_cast<int64_t>(len), got.data());
      ASSERT_EQ(got, model.substr(from, len)) << "page size " << pagesize;
    }
    const int64_t room = TVN_bsto_getmaxsize(b);
    TVN_bsto_clear(b);
    EXPECT_EQ(TVN_bsto_getsize(b), 0);
    TVN_bsto_append(b, 3, "new");
    EXPECT_EQ(TVN_bsto_getmaxsize(b), room); // the pages were kept
    char c = 0;
    EXPECT_DEATH(TVN_bsto_get(b, 3, 1, &c), "Assertion failed");
  }
}

TEST_F(Store, AFailedAppendLeavesTheContents) {
  struct short_memory {
    int left;
    static void* take(void* p, size_t size) {
      return static_cast<short_memory*>(p)->left-- > 0 ? std::malloc(size) : nullptr;
    }
    static void give(void*, void* block) { std::free(block); }
  } memory{8};
  sysenv* tight = TVN_sysenv_make(0, &memory, short_memory::take, short_memory::give);
  {
    bsto b;
    TVN_bsto_make(*tight, 4, b);
    TVN_bsto_append(b, 3, "abc"); // the list and a page
    EXPECT_THROW(TVN_bsto_append(b, 100, std::string(100, 'z').data()), out_of_memory);
    EXPECT_EQ(TVN_bsto_getsize(b), 3);
    char got[3];
    TVN_bsto_get(b, 0, 3, got);
    EXPECT_EQ(std::string(got, 3), "abc");
    memory.left = 100;
    TVN_bsto_append(b, 100, std::string(100, 'z').data());
    EXPECT_EQ(TVN_bsto_getsize(b), 103);
  }
  EXPECT_EQ(TVN_sysenv_delete(&tight), sys_code::ok);
}

TEST_F(Store, RoomIsMadeInWholePagesAndGivenBack) {
  bsto b;
  TVN_bsto_make(*sys, 7, b);
  TVN_bsto_append(b, 1, "x");
  TVN_bsto_makeroom(b, 100);
  EXPECT_EQ(TVN_bsto_getmaxsize(b), 105); // (1 + 100) / 7 + 1 pages
  EXPECT_EQ(TVN_bsto_getsize(b), 1);
  const uint64_t requests = sys->mman->numrequests;
  TVN_bsto_makeroom(b, 50);
  TVN_bsto_append(b, 104, std::string(104, 'y').data());
  EXPECT_EQ(sys->mman->numrequests, requests);
  EXPECT_THROW(TVN_bsto_makeroom(b, INT64_MAX), out_of_memory);
  TVN_bsto_delete(b);
  EXPECT_EQ(TVN_bsto_getsize(b) + TVN_bsto_getmaxsize(b), 0);
  size_t most = 0, now = 1;
  TVN_memman_getmemusage(*sys->mman, most, now);
  EXPECT_EQ(now, 0u);
  TVN_bsto_append(b, 3, "new"); // the page size stands
  EXPECT_EQ(TVN_bsto_getmaxsize(b), 7);
}

TEST_F(Store, PagesGoToDiskButForTheLast) {
  namespace fs = std::filesystem;
  const fs::path home = fs::current_path(), dir = fs::temp_directory_path() / ("tvn_pages_" + std::to_string(getpid()));
  fs::create_directories(dir);
  fs::current_path(dir);
  const auto page = [](const char* name) {
    std::ifstream in(name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  bsto b;
  TVN_bsto_make(*sys, 4, b);
  TVN_bsto_append(b, 6, "abcdef");
  TVN_bsto_makeroom(b, 6);
  EXPECT_EQ(TVN_bsto_writetodisk(b), sys_code::ok);
  EXPECT_EQ(page("page0.out"), "abcd");
  EXPECT_EQ(page("page1.out"), std::string("ef\0\0", 4)); // new pages are zeroed
  EXPECT_EQ(page("page2.out"), std::string(4, '\0'));
  EXPECT_FALSE(fs::exists("page3.out"));
  fs::remove("page0.out");
  fs::create_directory("page0.out");
  EXPECT_EQ(TVN_bsto_writetodisk(b), sys_code::file_open);
  fs::current_path(home);
  fs::remove_all(dir);
}

TEST_F(Loader, FindsFunctionsAndTellsWhatIsMissing) {
  {
    text error;
    EXPECT_EQ(TVN_dlman_open(*sys, "libtovan_no_such_library.so", error), nullptr);
    EXPECT_NE(error.view().find("libtovan_no_such_library.so"), std::string_view::npos) << error.c_str();
    EXPECT_EQ(TVN_dlman_open(*sys, nullptr, error), nullptr);
    dlman* lib = TVN_dlman_open(*sys, "libm.so.6", error);
    ASSERT_NE(lib, nullptr) << error.c_str();
    auto* root = reinterpret_cast<double (*)(double)>(TVN_dlman_loadfunc(*lib, "sqrt", error));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root(9.0), 3.0);
    EXPECT_EQ(TVN_dlman_loadfunc(*lib, "no_such_function", error), nullptr);
    EXPECT_NE(error.view().find("no_such_function"), std::string_view::npos);
    EXPECT_TRUE(TVN_dlman_close(&lib));
    EXPECT_EQ(lib, nullptr);
  }
}

TEST(Times, AddSubtractAndReadAsText) {
  setenv("TZ", "UTC", 1);
  tzset();
  char to[32];
  EXPECT_STREQ(TVN_sysenv_wctimetostr(wctime{951826154}, to), "Tue Feb 29 12:09:14 2000");
  EXPECT_STREQ(TVN_sysenv_wctimetostr(wctime{1e300}, to), "");
  const systime start = TVN_sysenv_readtime();
  systime later = start;
  TVN_sysenv_inctime(later, systime{2.5});
  EXPECT_EQ(TVN_sysenv_timetodouble(TVN_sysenv_difftime(later, start)), 2.5);
  sysenv sys;
  TVN_sysenv_settimer(sys, timer_kind::wallclock);
  const double seconds = TVN_sysenv_gettimer(sys);
  EXPECT_EQ(seconds, static_cast<double>(static_cast<int64_t>(seconds)));
  EXPECT_NEAR(seconds, TVN_sysenv_timetodouble(start), 5.0);
  const double before = TVN_sysenv_gettime(), whole = TVN_sysenv_getwctime(), after = TVN_sysenv_gettime();
  EXPECT_EQ(whole, std::floor(whole));
  EXPECT_GE(whole, std::floor(before) - 1.0); // the two clocks may turn their second a tick apart
  EXPECT_LE(whole, after);
}

TEST(IntegerGuards, NarrowOnlyWhatFits) {
  for (const int64_t edge : {int64_t{INT32_MAX}, int64_t{INT32_MIN}}) {
    EXPECT_TRUE(TVN_sysenv_isint32(edge));
    EXPECT_FALSE(TVN_sysenv_isint32(edge > 0 ? edge + 1 : edge - 1));
  }
  EXPECT_FALSE(TVN_sysenv_isint32(int64_t{1} << 32)); // its low half is 0
  int32_t to = 5;
  EXPECT_FALSE(TVN_sysenv_int64to32(int64_t{INT32_MAX} + 1, to));
  EXPECT_FALSE(TVN_sysenv_int64to32(int64_t{INT32_MIN} - 1, to));
  EXPECT_EQ(to, 5);
  EXPECT_TRUE(TVN_sysenv_ptrdifftoint32(INT32_MIN, to));
  EXPECT_EQ(to, INT32_MIN);
}

TEST(SizeText, HoldsTheLargestSize) {
  char to[24];
  EXPECT_STREQ(TVN_sizettostr(SIZE_MAX, to), "18446744073709551615");
  EXPECT_STREQ(TVN_sizettostr(0, to), "0");
}
