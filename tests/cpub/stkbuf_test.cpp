// If these fail, two steps of the presolve work in the same scratch memory without anybody noticing.
#include "cpub/stkbuf.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

using namespace tvn;

namespace {

constexpr const char* here = "here";

struct StackBuffer : testing::TestWithParam<bool> {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  stkbuf s;
  void SetUp() override { TVN_stkbuf_make(*sys, 40, 4000, GetParam(), 0, s); }
  void TearDown() override {
    s = stkbuf{};
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
  void* pop(size_t size) { return TVN_stkbuf_popdbg(s, size, here, 1); }
  void push(void* p) { TVN_stkbuf_pushdbg(s, p, here, 2); }
};

INSTANTIATE_TEST_SUITE_P(AreaAndSeparate, StackBuffer, testing::Bool());

} // namespace

TEST_P(StackBuffer, BuffersNeverOverlapAndKeepTheirBytes) {
  std::mt19937 gen(3);
  struct piece {
    unsigned char* at;
    size_t size;
    unsigned char byte;
  };
  std::vector<piece> out;
  for (int step = 0; step < 5000; step++) {
    const size_t size = gen() % 300;
    if (gen() % 2 && out.size() < 40 && s.stackuse + TVN_stkbuf_units(size) <= s.stacksize) {
      auto* p = static_cast<unsigned char*>(pop(size));
      ASSERT_NE(p, nullptr);
      ASSERT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
      out.push_back({p, size, static_cast<unsigned char>(step)});
      std::memset(p, out.back().byte, size);
    } else if (!out.empty()) {
      const piece& top = out.back();
      for (size_t k = 0; k < top.size; k++) ASSERT_EQ(top.at[k], top.byte);
      push(top.at);
      out.pop_back();
    }
    ASSERT_EQ(TVN_memman_scanmem(*sys->mman, here, 1), 0u);
  }
  while (!out.empty()) push(out.back().at), out.pop_back();
  EXPECT_EQ(s.stackuse, 0u);
  TVN_stkbuf_delete(s);
}

TEST_P(StackBuffer, WrongOrderStopsTheProgram) {
  EXPECT_DEATH(push(&s), "numbufs<=0");
  void* first = pop(10);
  void* second = pop(20);
  char text[100];
  std::snprintf(text, sizeof text, "buffer error -- expected: %p input: %p", second, first);
  EXPECT_DEATH(push(first), text);
  EXPECT_DEATH(TVN_stkbuf_delete(s), "buffer error");
  s.stackuse -= 16; // a damaged record
  EXPECT_DEATH(push(second), "stackuse: 32 48");
  s.stackuse += 16;
  push(second);
  push(first);
}

TEST_P(StackBuffer, WhatDoesNotFitIsOutOfMemoryAndChangesNothing) {
  void* p = pop(3990); // 4000 in units of 16
  EXPECT_THROW(pop(1), out_of_memory);
  EXPECT_THROW(pop(SIZE_MAX), out_of_memory);
  EXPECT_EQ(s.numbufs, 1);
  push(p);
  std::vector<void*> all;
  for (int k = 0; k < 40; k++) all.push_back(pop(0));
  EXPECT_THROW(pop(0), out_of_memory);
  for (; !all.empty(); all.pop_back()) push(all.back());
}

TEST_P(StackBuffer, SizeChecksHoldAStretchOfWorkToItsClaim) {
  void* outer = pop(100);
  TVN_stkbuf_popsizecheckdbg(s, 7, 64, here, 3);
  TVN_stkbuf_popsizecheckdbg(s, 8, 1000, here, 3);
  void* a = pop(32);
  void* b = pop(32);
  EXPECT_DEATH(pop(1),
               "Failed size check. numsizechecks: 2 k: 0 Checking id: 7 stackuse: 192 sizechecks: 112 size: 64");
  push(b);
  EXPECT_DEATH(TVN_stkbuf_pushsizecheckdbg(s, 8, here, 4), "Checking id: 8"); // a buffer is still out
  push(a);
  EXPECT_DEATH(TVN_stkbuf_pushsizecheckdbg(s, 7, here, 4), "Checking id: 8"); // not the youngest claim
  TVN_stkbuf_pushsizecheckdbg(s, 8, here, 4);
  TVN_stkbuf_pushsizecheckdbg(s, 7, here, 4);
  push(outer);
}

TEST_P(StackBuffer, TellsEachStepWhenAskedTo) {
  std::string report;
  TVN_memman_putechofunc(*sys->mman, &report,
                         [](void* to, const char* text) { *static_cast<std::string*>(to) += text; });
  s.verbosity = 6;
  void* p = pop(16);
  push(p);
  char text[100];
  std::snprintf(text, sizeof text, "stkbuf:push:here(2): 16 %p stkuse: 0\n", p);
  EXPECT_NE(report.find(text), std::string::npos) << report;
  TVN_memman_putechofunc(*sys->mman, nullptr, nullptr);
}
