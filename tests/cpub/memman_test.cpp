// If these fail, a stray write or a leak goes unseen in the one mode that is there to find it, or a correct program is
// stopped by it.
#include "cpub/sysenv.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

using namespace tvn;

namespace {

constexpr const char* here = "here";

// Hidden from the compiler, which would warn of what these tests do on purpose.
template <class T> T opaque(T value) {
  volatile T hidden = value;
  return hidden;
}

struct Manager : testing::Test {
  std::string report;
  memman* m = make(10, false);
  ~Manager() override {
    if (m) TVN_memman_delete(here, 0, &m);
  }
  memman* make(int32_t dbglevel, bool multithread) {
    memman* made = TVN_memman_make(here, 1, dbglevel, multithread, nullptr, nullptr, nullptr);
    TVN_memman_putechofunc(*made, &report, [](void* to, const char* text) { *static_cast<std::string*>(to) += text; });
    return made;
  }
  unsigned char* take(size_t size) { return static_cast<unsigned char*>(TVN_memman_malloc(*m, opaque(size), here, 2)); }
  void give(void* p) { TVN_memman_free(*m, opaque(p), here, 3); }
  bool reported(const std::string& text) const { return report.find(text) != std::string::npos; }
  size_t usage() const {
    size_t most = 0, now = 0;
    EXPECT_TRUE(TVN_memman_getmemusage(*m, most, now));
    EXPECT_LE(now, most);
    return now;
  }
};

using ManagerDeath = Manager;

} // namespace

TEST_F(Manager, AWriteNextToABlockIsReportedWithItsPosition) {
  for (const int offset : {24, 31, -1, -8}) {
    const std::string number = std::to_string(m->nextnumber);
    unsigned char* p = take(24);
    const int pos = offset < 0 ? offset + 8 : offset - 24;
    EXPECT_EQ(p[offset], 0x20 + pos);
    p[offset] = 0xEE;
    char where[32];
    std::snprintf(where, sizeof where, "%p", static_cast<void*>(p));
    const std::string line = std::string("*** Block ") + (offset < 0 ? "begin" : "end") + " guard violation. #" +
                             number + " at " + where + ". pos: " + std::to_string(pos) +
                             " expected: " + std::to_string(0x20 + pos) + " got 238\n";
    report.clear();
    EXPECT_EQ(TVN_memman_scanmem(*m, here, 7), 1u);
    EXPECT_TRUE(reported("Scanning memory at 'here'(7)\n" + line)) << report;
    report.clear();
    give(p); // found again when the block goes
    EXPECT_EQ(report, line);
  }
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 8), 0u);
}

TEST_F(Manager, AddressesAreFitForSseAtAnyLevelAndSize) {
  for (const int32_t level : {0, 1, 10}) {
    memman* other = make(level, false);
    for (size_t size = 1; size < 200; size += 13) {
      void* p = TVN_memman_malloc(*other, size, here, 1);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u) << level << " " << size;
      TVN_memman_free(*other, p, here, 1);
    }
    EXPECT_EQ(TVN_memman_delete(here, 1, &other), 0u);
  }
}

TEST_F(Manager, BlocksLeftAreListedByNumberAndFreed) {
  give(take(10));
  void* left = take(20);
  char line[64];
  std::snprintf(line, sizeof line, "#1 at %p is allocated\n", left);
  EXPECT_EQ(TVN_memman_delete(here, 4, &m), 1u);
  EXPECT_EQ(m, nullptr);
  EXPECT_TRUE(reported("**** ALLOCATED  BLOCKS LEFT\n" + std::string(line) + "Done checking leaks\n")) << report;
  EXPECT_TRUE(reported("Number of blocks: 1  Current usage: 20 Maximum usage: 20\n")) << report;
}

TEST_F(Manager, ALockedBlockTellsOfAnyChange) {
  unsigned char* p = take(1000);
  std::memset(p, 7, 1000);
  TVN_memman_lockptr(*m, p + 500, here, 5); // any address within it
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 6), 0u);
  p[999] ^= 1;
  report.clear();
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 6), 1u);
  EXPECT_TRUE(reported("Locked #0      at ") && reported(" of size 1000 has been changed at 'here' 6. Digest info.: "))
      << report;
  p[999] ^= 1;
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 6), 0u);
  TVN_memman_unlockptr(*m, p, here, 6);
  p[0]++;
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 6), 0u);
  unsigned char* q = take(5);
  std::memset(q, 7, 5);
  TVN_memman_lockall(*m, here, 7);
  p[3]++;
  q[4]++;
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 8), 2u);
  report.clear();
  TVN_memman_unlockall(*m, here, 9);
  EXPECT_TRUE(reported("has been changed at 'here' 9"));
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 8), 0u);
  give(p);
  give(q);
}

TEST_F(Manager, ReallocatingKeepsContentsGuardsAndUsage) {
  std::mt19937 gen(11);
  std::map<unsigned char*, std::string> model;
  for (int step = 0; step < 3000; step++) {
    const size_t size = gen() % 100;
    if (model.empty() || gen() % 4 == 0) {
      unsigned char* p = take(size + 1);
      std::memset(p, step & 255, size + 1);
      model[p] = std::string(size + 1, static_cast<char>(step & 255));
    } else {
      auto it = std::next(model.begin(), static_cast<long>(gen() % model.size()));
      const std::string old = it->second;
      auto* p = static_cast<unsigned char*>(TVN_memman_realloc(*m, it->first, old.size(), size, here, 4));
      model.erase(it);
      ASSERT_EQ(p == nullptr, size == 0);
      if (!p) continue;
      const size_t kept = std::min(size, old.size());
      ASSERT_EQ(std::string(reinterpret_cast<char*>(p), kept), old.substr(0, kept));
      std::memset(p + kept, 'n', size - kept);
      model[p] = old.substr(0, kept) + std::string(size - kept, 'n');
    }
  }
  size_t total = 0;
  for (const auto& [p, text] : model) total += text.size();
  EXPECT_EQ(usage(), total);
  EXPECT_EQ(TVN_memman_scanmem(*m, here, 1), 0u);
  for (const auto& [p, text] : model) give(p);
  EXPECT_EQ(usage(), 0u);
}

TEST_F(Manager, SizesBeyondTheMachineAreRefusedAndChangeNothing) {
  EXPECT_EQ(take(0), nullptr);
  EXPECT_FALSE(reported("Out of space"));
  TVN_memman_putprlev(*m, 2);
  EXPECT_EQ(take(SIZE_MAX), nullptr);
  EXPECT_EQ(take(SIZE_MAX - 20), nullptr);
  EXPECT_TRUE(
      reported("Out of space while trying to allocate a block of size 18446744073709551615 in file 'here(2)'\n"))
      << report;
  EXPECT_EQ(TVN_memman_calloc(*m, SIZE_MAX / 4, 8, here, 1), nullptr);
  void* p = take(8);
  EXPECT_EQ(TVN_memman_realloc(*m, p, 8, opaque(SIZE_MAX), here, 1), nullptr);
  EXPECT_EQ(usage(), 8u); // the old block stands
  give(p);
}

TEST_F(Manager, EveryByteComesFromTheAllocatorOfTheUser) {
  struct counts {
    int taken = 0, given = 0;
  } seen;
  const malloc_fn take_it = [](void* p, size_t size) { return static_cast<counts*>(p)->taken++, std::malloc(size); };
  const free_fn give_it = [](void* p, void* block) { static_cast<counts*>(p)->given++, std::free(block); };
  for (const int32_t level : {0, 7}) {
    memman* other = TVN_memman_make(here, 1, level, false, &seen, take_it, give_it);
    EXPECT_EQ(TVN_memman_getdbgmemlev(*other), level);
    EXPECT_EQ(TVN_memman_getmallocfunc(*other), take_it);
    EXPECT_EQ(TVN_memman_getfreefunc(*other), give_it);
    EXPECT_EQ(TVN_memman_getusrmallocptr(*other), &seen);
    const int before = seen.taken;
    char original[] = "twelve bytes";
    char* copy = TVN_memman_strdup(*other, original, here, 1);
    EXPECT_GT(seen.taken, before);
    original[0] = 'x';
    EXPECT_STREQ(copy, "twelve bytes");
    size_t most = 0, now = 0;
    TVN_memman_getmemusage(*other, most, now);
    EXPECT_EQ(now, level > 0 ? 13u : 0u); // with the end mark
    EXPECT_EQ(TVN_memman_strdup(*other, nullptr, here, 1), nullptr);
    TVN_memman_free(*other, copy, here, 1);
    EXPECT_EQ(TVN_memman_delete(here, 1, &other), 0u);
    EXPECT_EQ(seen.taken, seen.given);
  }
}

TEST_F(Manager, TheExitFunctionRunsOnceAfterTheLeaksAreTold) {
  struct witness {
    std::string* report;
    int calls = 0;
  } seen{&report};
  take(1);
  TVN_memman_putexitfunc(*m, &seen, [](void* handle) {
    auto& w = *static_cast<witness*>(handle);
    w.calls++;
    *w.report += "exit\n";
  });
  EXPECT_EQ(TVN_memman_delete(here, 4, &m), 1u);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_TRUE(reported("Done checking leaks\nexit\n")) << report;
}

TEST_F(Manager, TheEchoFileGetsEveryLineWhateverThePrintLevel) {
  const auto dir = std::filesystem::temp_directory_path() / ("tvn_memman_" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  const std::string first = dir / "first", second = dir / "second";
  const auto contents = [](const std::string& name) {
    std::ifstream in(name);
    return std::string(std::istreambuf_iterator<char>(in), {});
  };
  ASSERT_TRUE(TVN_memman_openfile(*m, first.c_str(), "the title"));
  TVN_memman_putprlev(*m, -5); // the echo function gets nothing
  give(take(30));
  TVN_memman_echotofile(*m, "own line\n");
  const std::string lines = contents(first); // each line is there at once
  EXPECT_EQ(lines.find("the title\nAllocated(memman)   # 0 "), 0u) << lines;
  EXPECT_NE(lines.find("Deallocated(memman) #0 "), std::string::npos) << lines;
  EXPECT_TRUE(lines.ends_with("in file 'here(3)'\nown line\n")) << lines;
  EXPECT_EQ(report, "");
  ASSERT_TRUE(TVN_memman_openfile(*m, second.c_str(), nullptr));
  TVN_memman_echotofile(*m, "other\n");
  EXPECT_EQ(contents(first), lines);
  EXPECT_EQ(contents(second), "other\n");
  EXPECT_FALSE(TVN_memman_openfile(*m, (dir / "missing" / "file").c_str(), "title"));
  TVN_memman_echotofile(*m, "nowhere\n");
  EXPECT_EQ(contents(second), "other\n");
  std::filesystem::remove_all(dir);
}

TEST_F(Manager, ThePrintLevelSaysWhatReachesTheEchoFunction) {
  give(take(3));
  EXPECT_EQ(report, "");
  TVN_memman_putprlev(*m, 6);
  TVN_memman_putname(*m, "a name that is longer than the record");
  void* p = take(30);
  EXPECT_TRUE(reported("Allocated(a name that is longer t)   # 1      at ")) << report;
  EXPECT_TRUE(reported("of size 30 (30) in file 'here(2)'.\n")) << report;
  report.clear();
  TVN_memman_analyzemem(here, 5, *m, 31, 5);
  EXPECT_FALSE(reported("is of size"));
  TVN_memman_analyzemem(here, 5, *m, 30, 5);
  EXPECT_TRUE(reported("#1      is of size 30.\nSpace usage. Number of blocks: 1 ")) << report;
  give(p);
  EXPECT_TRUE(reported("Deallocated(a name that is longer t) #1      at ")) << report;
}

TEST_F(ManagerDeath, PointersThatAreNotOursStopTheProgram) {
  unsigned char* p = take(16);
  int other = 0;
  EXPECT_DEATH(give(&other), "Fatal error in file 'here\\(3\\)'");
  EXPECT_DEATH(give(p + 1), "Message\\(memman\\): Invalid pointer");
  EXPECT_DEATH(TVN_memman_realloc(*m, p + 8, 8, 8, here, 3), "Invalid pointer");
  EXPECT_DEATH(TVN_memman_checkptr(*m, p + 16, here, 3), "Invalid pointer");
  EXPECT_DEATH(TVN_memman_checkrange(*m, p + 1, 16, here, 3), "Invalid pointer");
  EXPECT_DEATH(TVN_memman_lockptr(*m, &other, here, 3), "Invalid pointer");
  TVN_memman_checkrange(*m, p, 16, here, 3);
  TVN_memman_checkptr(*m, p + 15, here, 3);
  give(p);
  EXPECT_DEATH(give(p), "Invalid pointer"); // freed twice
}

TEST_F(Manager, TheFaultReachesTheExitHandlerOfItsOwner) {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  TVN_sysenv_putexithandler(
      *sys,
      [](void*, const char* file, int line, const char*) {
        std::fprintf(stderr, "handler %s %d\n", file, line);
        std::exit(3);
      },
      nullptr);
  EXPECT_EXIT(TVN_sysenv_freedbg(*sys, opaque<void*>(&report), here, 12), testing::ExitedWithCode(3),
              "handler here 12");
  char* copy = TVN_sysenv_strdupdbg(*sys, "text", here, 1);
  TVN_sysenv_checkrangedbg(*sys, copy, 5, here, 1);
  EXPECT_STREQ(copy, "text");
  EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::leaking);
}

TEST_F(Manager, TheCallsOfASystemEnvironmentReachItsManagerWithTheirPlace) {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  TVN_memman_putechofunc(*sys->mman, &report,
                         [](void* to, const char* text) { *static_cast<std::string*>(to) += text; });
  TVN_memman_putprlev(*sys->mman, 6);
  auto* p = static_cast<unsigned char*>(TVN_sysenv_mallocdbg(*sys, opaque<size_t>(20), "one", 11));
  auto* q = static_cast<unsigned char*>(TVN_sysenv_callocdbg(*sys, 3, 5, "two", 12));
  EXPECT_TRUE(reported("of size 20 (20) in file 'one(11)'.\n") && reported("of size 15 (35) in file 'two(12)'.\n"));
  EXPECT_EQ(std::count(q, q + 15, 0), 15);
  std::memset(p, 7, 20);
  p = static_cast<unsigned char*>(TVN_sysenv_reallocdbg(*sys, p, 20, 40, "three", 13));
  EXPECT_EQ(std::count(p, p + 20, 7), 20);
  EXPECT_TRUE(reported("of size 40 (75) in file 'three(13)'.\n")) << report;
  TVN_sysenv_checkptrdbg(*sys, p + 39, "four", 14);
  EXPECT_DEATH(TVN_sysenv_checkptrdbg(*sys, opaque(p) + 40, "four", 14), "Fatal error in file 'four\\(14\\)'");
  EXPECT_EQ(TVN_sysenv_scanmemdbg(*sys, "five", 15), 0u);
  opaque(q)[15]++;
  EXPECT_EQ(TVN_sysenv_scanmemdbg(*sys, "five", 15), 1u);
  EXPECT_TRUE(reported("Scanning memory at 'five'(15)\n"));
  TVN_sysenv_freedbg(*sys, q, here, 1);
  TVN_sysenv_freedbg(*sys, p, here, 1);
  EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
}

TEST(FatalStop, TellsThePlaceAndEndsTheProcess) {
  const auto code = testing::ExitedWithCode(255);
  EXPECT_EXIT(TVN_sysenv_stopdbg(nullptr, "src/x/y", 17, "%d of %s", 3, "them"), code,
              "\n\nFatal error\nFile : src/x/y\nLine : 17\nMsg. : 3 of them\n");
  const std::string large(10000, 'z'); // cut, not written past its room
  EXPECT_EXIT(TVN_sysenv_stopdbg(nullptr, "src/x/y", 17, "%s", large.c_str()), code, "Msg. : zzzz+\n");
  sysenv* sys = TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  TVN_sysenv_putexithandler(
      *sys,
      [](void* handle, const char* file, int line, const char* msg) {
        std::fprintf(stderr, "[%s %s %d %s]", static_cast<const char*>(handle), file, line, msg);
      },
      const_cast<char*>("mine"));
  EXPECT_EXIT(TVN_sysenv_stopdbg(sys, "f", 1, "gone"), code, "^\\[mine f 1 gone\\]$"); // although it returns
  EXPECT_EXIT(TVN_sysenv_assertdbg(sys, "f", 2, opaque(false), "a > b"), code, "f 2 Assertion failed: a > b");
  EXPECT_EXIT(TVN_sysenv_assertspcdbg(sys, "f", 3, 5000000001, 5000000000), code,
              "f 3 Assertion failed: 5000000001 of 5000000000");
  TVN_sysenv_assertdbg(sys, "f", 4, true, "holds");
  TVN_sysenv_assertspcdbg(sys, "f", 5, 8, 8); // just enough
  EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
}

TEST_F(Manager, ManyThreadsMayShareOneManager) {
  for (const int32_t level : {0, 1}) {
    memman* shared = make(level, true);
    const auto work = [](void* arg) -> void* {
      auto& mm = *static_cast<memman*>(arg);
      for (int k = 1; k < 2000; k++) {
        void* p = TVN_memman_calloc(mm, 1, static_cast<size_t>(k % 64 + 1), here, k);
        TVN_memman_free(mm, p, here, k);
      }
      return nullptr;
    };
    pthread_t threads[4];
    for (pthread_t& t : threads) ASSERT_EQ(pthread_create(&t, nullptr, work, shared), 0);
    for (pthread_t& t : threads) pthread_join(t, nullptr);
    EXPECT_EQ(shared->numrequests, 4u * 1999u);
    EXPECT_EQ(TVN_memman_delete(here, 1, &shared), 0u) << report;
  }
}
