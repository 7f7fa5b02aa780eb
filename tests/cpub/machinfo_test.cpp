// If these fail, the kernels are chosen for another processor, or a solve leaves its caller bound to one processor.
#include "cpub/machinfo.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sched.h>
#include <set>
#include <unistd.h>
#include <vector>

using namespace tvn;

namespace {

cpu_base processor(const char* vendor, uint32_t family, uint32_t model, bool sse3) {
  cpu_base b;
  std::strcpy(b.vendor, vendor);
  const uint32_t extfamily = family > 15 ? family - 15 : 0;
  b.signature = extfamily << 20 | (model >> 4) << 16 | (family - extfamily) << 8 | (model & 15) << 4;
  b.features = 1u << 26; // SSE2
  b.features2 = sse3;
  return b;
}

int32_t code_of(const cpu_base& b) { return processor2code(class2processor(GetCPUCaps(b, cpu_query::class_))); }

} // namespace

TEST(MachineInfo, ProcessorsGetTheCodeOfTheirClass) {
  struct {
    const char* vendor;
    uint32_t family, model;
    bool sse3;
    int32_t code;
  } const cases[] = {
      {"GenuineIntel", 4, 8, false, 10},
      {"GenuineIntel", 5, 4, false, 10},
      {"GenuineIntel", 6, 1, false, 10},
      {"GenuineIntel", 6, 8, false, 1000},
      {"GenuineIntel", 15, 2, false, 1001},
      {"GenuineIntel", 6, 13, false, 1002},
      {"GenuineIntel", 6, 14, true, 1002},
      {"GenuineIntel", 6, 15, true, 2000},
      {"GenuineIntel", 6, 23, true, 2000},
      {"GenuineIntel", 6, 0x5E, true, 1001}, // newer than the tables: its model ends in that of a Pentium M
      {"GenuineIntel", 19, 1, true, 1001},
      {"AuthenticAMD", 5, 8, false, 10},
      {"AuthenticAMD", 6, 4, false, 10001},
      {"AuthenticAMD", 15, 5, false, 10002},
      {"AuthenticAMD", 15, 0x48, true, 10002},
      {"AuthenticAMD", 25, 17, true, 1001},
      {"AuthenticAMD", 25, 17, false, 10002},
      {"HygonGenuine", 24, 1, true, 1001},
      {"unknown", 6, 1, false, 10}};
  for (const auto& c : cases)
    EXPECT_EQ(code_of(processor(c.vendor, c.family, c.model, c.sse3)), c.code)
        << c.vendor << c.family << " " << c.model;
}

TEST(MachineInfo, AskedValuesStandAndOthersAreDetected) {
  const int32_t detected = code_of(detect_base());
  machinfo m;
  TVN_sysenv_initmachinfo(m, 30000, -1, 0); // no such processor here
  EXPECT_EQ(m.cpucode, detected);
  EXPECT_GT(m.sizel1, 1024);
  EXPECT_EQ(m.sizel2, 0); // starts the detection, yet stays
  EXPECT_TRUE(m.has_sse2);
  TVN_sysenv_initmachinfo(m, 10001, 0, -1);
  EXPECT_EQ(m.cpucode, 10001);
  EXPECT_EQ(m.sizel1, 0);
  EXPECT_GT(m.sizel2, 1024);
  machinfo told;
  TVN_sysenv_initmachinfo(told, 1000, 8, 16);
  EXPECT_FALSE(told.has_sse2); // everything was told: nothing is detected
  EXPECT_EQ(told.sizel2, 16);
}

TEST(MachineInfo, WhatTheSystemTellsFillsWhatWasNotAsked) {
  const cpu_base base = detect_base();
  sysinfo info;
  TVN_sysenv_getsysinfo(info);
  EXPECT_EQ(processor2code(info.processor), code_of(base));
  EXPECT_EQ(info.has_sse3, (base.features2 & 1) != 0);
  EXPECT_TRUE(info.has_sse2);
  EXPECT_LT(info.sizel1, info.sizel2);
  EXPECT_GE(info.numlogical, 1);
  machinfo m;
  TVN_sysenv_initmachinfo(m, 0, -1, -1);
  EXPECT_EQ(m.cpucode, processor2code(info.processor));
  EXPECT_EQ(m.sizel1, info.sizel1);
  EXPECT_EQ(m.sizel2, info.sizel2);
  EXPECT_EQ(m.has_sse3, info.has_sse3);
}

TEST(ProcessorCount, IdsFallIntoThreadsCoresAndPackages) {
  // 2 packages of 3 cores with 2 threads; 3 cores take 2 bits, so that ids have holes.
  std::vector<uint32_t> ids;
  for (uint32_t p = 0; p < 2; p++)
    for (uint32_t c = 0; c < 3; c++)
      for (uint32_t t = 0; t < 2; t++) ids.push_back(p << 3 | c << 1 | t);
  std::shuffle(ids.begin(), ids.end(), std::mt19937(4));
  int32_t cores = 0, physical = 0;
  count_processors(ids, find_maskwidth(2), find_maskwidth(3), cores, physical);
  EXPECT_EQ(cores, 6);
  EXPECT_EQ(physical, 2);
  EXPECT_EQ(find_maskwidth(1), 0);
  EXPECT_EQ(find_maskwidth(4), 2);
  EXPECT_EQ(find_maskwidth(5), 3);
  EXPECT_EQ(GetNzbSubID(0xABCD1234u, 8, 8), 0x12u);
}

TEST(ProcessorCount, ASubsetGivesResultEightAndTheThreadStaysWhereItWas) {
  cpu_set_t old;
  ASSERT_EQ(sched_getaffinity(0, sizeof old, &old), 0);
  int32_t logical = 0, cores = 0, physical = 0;
  const cpu_count_code code = TVN_CPUCount(logical, cores, physical);
  if (CPU_COUNT(&old) == sysconf(_SC_NPROCESSORS_CONF)) {
    EXPECT_EQ(code, cpu_count_code::ok);
    EXPECT_EQ(logical, CPU_COUNT(&old));
    EXPECT_LE(physical, cores);
    EXPECT_LE(cores, logical);
  }
  cpu_set_t now;
  ASSERT_EQ(sched_getaffinity(0, sizeof now, &now), 0);
  EXPECT_TRUE(CPU_EQUAL(&old, &now));
  if (sysconf(_SC_NPROCESSORS_CONF) < 2) GTEST_SKIP();
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  EXPECT_EQ(static_cast<int32_t>(TVN_CPUCount(logical, cores, physical)), 8);
  EXPECT_EQ(logical * cores * physical, 1);
  machinfo m;
  EXPECT_EQ(TVN_sysenv_getnumcores(m), 1);
  ASSERT_EQ(sched_getaffinity(0, sizeof now, &now), 0);
  EXPECT_TRUE(CPU_EQUAL(&one, &now));
  sched_setaffinity(0, sizeof old, &old);
  EXPECT_EQ(TVN_sysenv_getnumcores(m), 1); // counted once
}
