// One input of the MPS fuzzer, tried as a caller would: read as a file, and what was read is written and read again.
//
// The first byte is a digit that chooses how to read (digit % 3 is the mode, 3 and more leave quotes as they are); the
// file follows. A file that begins like gzip gets the name of a gzip file. Used by the fuzzer and by the replay of its
// corpus, which both take a nonempty answer for a fault.
#pragma once

#include "tovan.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace fuzz {

// What a problem keeps on its way through a file. Free rows stay behind. Values of rows with two sides are written as a
// difference, so bounds are compared by their keys only, and a row without width counts as fixed.
struct outline {
  int32_t numcon = 0, numvar = 0, numcone = 0, sense = 0;
  int64_t numanz = 0;
  double cfix = 0;
  std::vector<double> c;
  std::vector<int32_t> keys, types, cones;    // keys of rows, then of columns
  std::map<std::array<int32_t, 3>, double> q; // row (-1: objective), i, j; without those that the reader would drop
  std::vector<std::string> names;
  bool operator==(const outline&) const = default;
};

inline std::string name_of(TVNtask_t task, int32_t item, int32_t i) {
  int64_t len = 0;
  TVN_getnamelen64(task, item, i, &len);
  std::string name(static_cast<size_t>(len) + 1, '\0');
  TVN_getnameapi64(task, item, i, len + 1, name.data());
  return name.c_str();
}

// The terms of row `from`, -1: the objective, under the number `row`.
inline void look_at_terms(TVNtask_t task, int32_t from, int32_t row, outline& o) {
  int32_t num = 0;
  from < 0 ? TVN_getnumqobjnz(task, &num) : TVN_getnumqconknz(task, from, &num);
  const auto size = static_cast<size_t>(num);
  std::vector<int32_t> i(size), j(size);
  std::vector<double> value(size);
  int32_t surplus = num;
  from < 0 ? TVN_getqobj(task, num, &surplus, &num, i.data(), j.data(), value.data())
           : TVN_getqconk(task, from, num, &surplus, &num, i.data(), j.data(), value.data());
  for (size_t k = 0; k < size; k++)
    if (std::fabs(value[k]) > 1e-15) o.q[{row, i[k], j[k]}] += value[k];
}

// The rows but for the free ones.
inline void look_at_rows(TVNtask_t task, outline& o) {
  int32_t numcon = 0;
  TVN_getnumcon(task, &numcon);
  for (int32_t i = 0; i < numcon; i++) {
    int32_t key = 0, num = 0;
    double lower = 0, upper = 0;
    TVN_getbound(task, TVN_ACC_CON, i, &key, &lower, &upper);
    if (key == TVN_BK_FR) continue;
    look_at_terms(task, i, o.numcon++, o);
    o.keys.push_back(key == TVN_BK_RA && lower == upper ? TVN_BK_FX : key);
    o.names.push_back(name_of(task, TVN_PI_CON, i));
    TVN_getavecnumnz(task, TVN_ACC_CON, i, &num);
    o.numanz += num;
  }
}

inline outline look(TVNtask_t task) {
  outline o;
  look_at_rows(task, o);
  TVN_getnumvar(task, &o.numvar);
  TVN_getnumcone(task, &o.numcone);
  TVN_getobjsense(task, &o.sense);
  TVN_getcfix(task, &o.cfix);
  o.c.resize(static_cast<size_t>(o.numvar));
  TVN_getc(task, o.c.data());
  for (int32_t j = 0, key = 0, type = 0; j < o.numvar; j++) {
    TVN_getbound(task, TVN_ACC_VAR, j, &key, nullptr, nullptr);
    o.keys.push_back(key);
    TVN_getvartype(task, j, &type);
    o.types.push_back(type);
  }
  look_at_terms(task, -1, -1, o);
  for (int32_t k = 0, type = 0, num = 0; k < o.numcone; k++) {
    TVN_getconeinfo(task, k, &type, nullptr, &num);
    o.cones.insert(o.cones.end(), {type, num});
  }
  for (const auto& [item, count] : {std::pair{TVN_PI_VAR, o.numvar}, {TVN_PI_CONE, o.numcone}})
    for (int32_t k = 0; k < count; k++) o.names.push_back(name_of(task, item, k));
  return o;
}

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

inline std::string difference(const outline& a, const outline& b) {
  if (a == b) return "";
  const auto sizes = [](const outline& o) {
    return std::to_string(o.numcon) + " rows, " + std::to_string(o.numvar) + " columns, " + std::to_string(o.numcone) +
           " cones, " + std::to_string(o.numanz) + " elements";
  };
  std::string what;
  for (const auto& [differs, name] : {std::pair{a.sense != b.sense, " sense"},
                                      {a.cfix != b.cfix, " cfix"},
                                      {a.c != b.c, " c"},
                                      {a.keys != b.keys, " keys"},
                                      {a.types != b.types, " types"},
                                      {a.cones != b.cones, " cones"},
                                      {a.q != b.q, " quadratic"},
                                      {a.names != b.names, " names"}})
    if (differs) what += name;
  return "the written file differs:" + what + "; read " + sizes(a) + ", again " + sizes(b);
}

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
  const outline before = look(task), after = look(other.task);
  if (const TVNrescodee left = other.finish()) return "deleting the second task gives " + std::to_string(left);
  return difference(before, after);
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
