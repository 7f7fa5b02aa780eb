// Names met while a file is read, numbered in the order of their first appearance.
//
// Open addressing with a table at most half full; a slot holds the first 8 bytes of the name, so that a name of a fixed
// column is found without a look at the text. The texts are those that the task or the reader keeps: none is stored
// twice. The
// table of a large file lies outside the cache, so a key can be made, and its slot fetched, before it is looked up.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

// A name ready for lookups.
struct name_key {
  std::string_view name;
  uint64_t head = 0; // its first 8 bytes, 0 behind its end
  uint64_t hash = 0;
  name_key() = default;
  explicit name_key(std::string_view name_) noexcept;
};

struct name_table {
  struct slot {
    uint64_t head;
    int32_t index; // -1: empty
    int32_t len;
  };
  sysenv* sys = nullptr;
  const buffer<char>* pool = nullptr;      // the text of name k begins at pool[offset[k]] and ends with 0
  const buffer<int64_t>* offset = nullptr; // [size()]
  buffer<slot> slots;                      // a power of two
  int32_t count = 0;

  void make(sysenv& s, const buffer<char>& pool_, const buffer<int64_t>& offset_, int64_t expected);
  int32_t size() const noexcept { return count; }
  const char* text(int32_t k) const noexcept { return pool->data() + (*offset)[k]; }
  void prefetch(const name_key& key) const noexcept;
  int32_t find(const name_key& key) const noexcept; // -1 when it is not there
  // The number of a new name, -1 when it is there already. The text must stand in the pool before the next call.
  int32_t insert(const name_key& key);
  // The number of an item without a name; nothing finds it.
  int32_t insert_nameless() noexcept { return count++; }
};

} // namespace tvn
