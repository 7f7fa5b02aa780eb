// Names met while a file is read, numbered in the order of their first appearance.
//
// Open addressing with a table at most half full; a slot holds the first 8 bytes of the name, so that a name of a fixed
// column is found without a look at the text. Texts lie NUL-terminated in one pool. Lookups cost no allocation.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct mps_names {
  struct slot {
    uint64_t head; // the first 8 bytes of the name, 0 behind its end
    int32_t index; // -1: empty
    int32_t len;
  };
  sysenv* sys = nullptr;
  buffer<slot> slots; // a power of two
  vec<char> pool;
  vec<int64_t> offset; // [size()] into pool

  void make(sysenv& s, int64_t expected);
  int32_t size() const noexcept { return static_cast<int32_t>(offset.size()); }
  const char* text(int32_t k) const noexcept { return pool.data() + offset[k]; }
  std::string_view view(int32_t k) const noexcept;
  int32_t find(std::string_view name) const noexcept; // -1 when it is not there
  // The number of a new name, -1 when it is there already.
  int32_t insert(std::string_view name);
};

} // namespace tvn
