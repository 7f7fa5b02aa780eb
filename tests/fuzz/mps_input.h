// One input of the MPS fuzzer, tried as a caller would: read as a file, and what was read is written and read again.
//
// The first byte is a digit that chooses how to read (digit % 3 is the mode, 3 and more leave quotes as they are); the
// file follows. A file that begins like gzip gets the name of a gzip file. Used by the fuzzer and by the replay of its
// corpus, which both take a nonempty answer for a fault.
#pragma once

#include "support/picture.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace fuzz {

// Streams that take everything and keep its length.
inline void swallow(void* handle, const char* text) { *static_cast<size_t*>(handle) += std::string(text).size(); }

// A task with its streams linked; its deletion must find nothing left in it.
struct reading_task {
  TVNtask_t task = nullptr;
  size_t printed = 0;
  explicit reading_task(TVNenv_t env) {
    TVN_makeemptytask(env, &task);
    for (int32_t s = TVN_STREAM_LOG; s <= TVN_STREAM_WRN; s++) TVN_linkfunctotaskstream(task, s, &printed, swallow);
    TVN_putintparam(task, TVN_IPAR_READ_MPS_WIDTH, 1 << 20); // two long names make a long line
  }
  reading_task(const reading_task&) = delete;
  reading_task& operator=(const reading_task&) = delete;
  ~reading_task() {
    if (task) TVN_deletetask(&task);
  }
  TVNrescodee finish() { return TVN_deletetask(&task); }
};

inline TVNenv_t environment() {
  static TVNenv_t env = [] {
    TVNenv_t made = nullptr;
    TVN_makeenv(&made, nullptr, nullptr, nullptr, ""); // with the memory books, so that a leak is told
    TVN_initenv(made);
    return made;
  }();
  return env;
}

// A file of this process, in memory where the system has such a folder.
inline std::string scratch_file(const char* ending) {
  namespace fs = std::filesystem;
  const fs::path dir = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
  return (dir / ("tovan_fuzz_" + std::to_string(getpid()) + ending)).string();
}

struct scratch {
  std::string path;
  explicit scratch(const char* ending) : path(scratch_file(ending)) {}
  scratch(const scratch&) = delete;
  scratch& operator=(const scratch&) = delete;
  ~scratch() { std::remove(path.c_str()); }
};

// The problem of `task` goes through a file into another task. A name that no file can hold is no fault.
inline std::string round_trip(TVNtask_t task) {
  const scratch file("_again.mps");
  TVN_putintparam(task, TVN_IPAR_WRITE_PRECISION, 17);
  const TVNrescodee wrote = TVN_writedata(task, file.path.c_str());
  if (wrote == TVN_RES_ERR_WRITE_MPS_INVALID_NAME || wrote == TVN_RES_WRN_USING_GENERIC_NAMES) return "";
  if (wrote != TVN_RES_OK) return "writing gives " + std::to_string(wrote);
  reading_task other(environment());
  const TVNrescodee read = TVN_readdata(other.task, file.path.c_str());
  if (read != TVN_RES_OK) return "reading what was written gives " + std::to_string(read);
  picture before = look(task, false), after = look(other.task, false);
  if (const TVNrescodee left = other.finish()) return "deleting the second task gives " + std::to_string(left);
  forgive(before, after);
  const std::string what = difference(before, after);
  return what.empty() ? "" : "the written file differs:" + what;
}

// Empty when all is well. `*readcode` gets what the first read answered.
inline std::string try_mps(const uint8_t* data, size_t size, TVNrescodee* readcode = nullptr) {
  if (size == 0) return "";
  const int32_t digit = (data[0] - '0') & 7;
  const bool gzip = size > 2 && data[1] == 0x1f && data[2] == 0x8b;
  const scratch file(gzip ? ".mps.gz" : ".mps");
  std::ofstream(file.path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data) + 1, static_cast<std::streamsize>(size - 1));
  reading_task first(environment());
  TVN_putintparam(first.task, TVN_IPAR_READ_MPS_FORMAT, digit % 3);
  TVN_putintparam(first.task, TVN_IPAR_READ_MPS_QUOTED_NAMES, digit < 3);
  const TVNrescodee code = TVN_readdata(first.task, file.path.c_str());
  if (readcode) *readcode = code;
  int32_t numcon = 0, numvar = 0;
  TVN_getnumcon(first.task, &numcon);
  TVN_getnumvar(first.task, &numvar);
  std::string fault;
  if (code == TVN_RES_OK && numcon + numvar < 1000) fault = round_trip(first.task);
  const TVNrescodee left = first.finish();
  if (fault.empty() && left != TVN_RES_OK) fault = "deleting the task gives " + std::to_string(left);
  return fault;
}

} // namespace fuzz
