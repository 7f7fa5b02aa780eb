// One input of the LP or the OPF fuzzer, tried as a caller would: read as a file, written, read again, written again.
//
// The whole input is the file. What was read must come back the same, and the second file must be the first.
#pragma once

#include "mps_input.h"

namespace fuzz {

inline std::string text_of(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// Names that the format cannot hold are no fault.
inline std::string formula_round_trip(TVNtask_t task, const char* ending) {
  const scratch file((std::string("_again") + ending).c_str());
  TVN_putintparam(task, TVN_IPAR_OPF_WRITE_HEADER, 0);
  const TVNrescodee wrote = TVN_writedata(task, file.path.c_str());
  if (wrote == TVN_RES_ERR_LP_INVALID_VAR_NAME || wrote == TVN_RES_ERR_LP_INVALID_CON_NAME) return "";
  if (wrote == TVN_RES_ERR_LP_EMPTY || wrote == TVN_RES_ERR_NAN_IN_DOUBLE_DATA) return "";
  if (wrote != TVN_RES_OK) return "writing gives " + std::to_string(wrote);
  const std::string first = text_of(file.path);
  reading_task other(environment());
  TVN_putintparam(other.task, TVN_IPAR_OPF_WRITE_HEADER, 0);
  const TVNrescodee read = TVN_readdata(other.task, file.path.c_str());
  if (read != TVN_RES_OK) return "reading what was written gives " + std::to_string(read) + "\n" + first;
  const std::string what = difference(look(task), look(other.task));
  if (!what.empty()) return "the written file differs:" + what + "\n" + first;
  const TVNrescodee twice = TVN_writedata(other.task, file.path.c_str());
  if (twice != TVN_RES_OK) return "writing again gives " + std::to_string(twice);
  return text_of(file.path) == first ? "" : "the second file is another\n" + first;
}

// Empty when all is well. ending: ".lp" or ".opf"; `*readcode` gets what the first read answered.
inline std::string try_formula(const uint8_t* data, size_t size, const char* ending, TVNrescodee* readcode = nullptr) {
  const scratch file(ending);
  std::ofstream(file.path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  reading_task first(environment());
  const TVNrescodee code = TVN_readdata(first.task, file.path.c_str());
  if (readcode) *readcode = code;
  std::string fault;
  if (code == TVN_RES_OK) fault = formula_round_trip(first.task, ending);
  const TVNrescodee left = first.finish();
  if (fault.empty() && left != TVN_RES_OK) fault = "deleting the task gives " + std::to_string(left);
  return fault;
}

} // namespace fuzz
