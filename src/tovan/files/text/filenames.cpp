// The hash table of the names of a file.
#include "tovan/files/text/filenames.h"

#include <bit>

namespace tvn {

namespace {

template <class Word> uint64_t load_word(const char* from) noexcept {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

// The first bytes, at most 8, with zeros behind them. A copy of variable length costs a call; two overlapping loads
// do not.
uint64_t load(const char* from, size_t len) noexcept {
  if (len >= 8) return load_word<uint64_t>(from);
  if (len >= 4) return load_word<uint32_t>(from) | load_word<uint32_t>(from + len - 4) << (8 * (len - 4));
  if (len >= 2) return load_word<uint16_t>(from) | load_word<uint16_t>(from + len - 2) << (8 * (len - 2));
  return len == 1 ? load_word<uint8_t>(from) : 0;
}

// The high bits of the product are well mixed; they choose the slot.
uint64_t hash(std::string_view name) noexcept {
  uint64_t h = name.size();
  for (size_t k = 0; k < name.size(); k += 8) {
    h = (h ^ load(name.data() + k, name.size() - k)) * 0x9E3779B97F4A7C15u;
    h ^= h >> 32;
  }
  return h * 0xD6E8FEB86659FD93u;
}

uint64_t first_slot(const name_table& m, const name_key& key) noexcept {
  return key.hash >> (64 - std::countr_zero(static_cast<uint64_t>(m.slots.size())));
}

// The slot of the name, or the empty slot where it belongs.
int64_t probe(const name_table& m, const name_key& key) noexcept {
  const auto mask = static_cast<uint64_t>(m.slots.size()) - 1;
  const size_t len = key.name.size();
  uint64_t at = first_slot(m, key);
  for (;; at = (at + 1) & mask) {
    const name_table::slot& s = m.slots[static_cast<int64_t>(at)];
    if (s.index < 0) break;
    if (s.head != key.head || s.len != static_cast<int32_t>(len)) continue;
    if (len <= 8 || std::memcmp(m.text(s.index), key.name.data(), len) == 0) break;
  }
  return static_cast<int64_t>(at);
}

void rehash(name_table& m, int64_t numslots) {
  buffer<name_table::slot> old(*m.sys, numslots, {0, -1, 0});
  old.swap(m.slots);
  for (const name_table::slot& s : old)
    if (s.index >= 0) m.slots[probe(m, name_key({m.text(s.index), static_cast<size_t>(s.len)}))] = s;
}

} // namespace

name_key::name_key(std::string_view name_) noexcept
    : name(name_), head(load(name_.data(), name_.size())), hash(tvn::hash(name_)) {}

void name_table::make(sysenv& s, const buffer<char>& pool_, const buffer<int64_t>& offset_, int64_t expected) {
  sys = &s;
  pool = &pool_;
  offset = &offset_;
  count = 0;
  slots.clear();
  rehash(*this, static_cast<int64_t>(std::bit_ceil(static_cast<uint64_t>(std::max<int64_t>(16, 2 * expected)))));
}

void name_table::prefetch(const name_key& key) const noexcept {
  __builtin_prefetch(slots.data() + first_slot(*this, key));
}

int32_t name_table::find(const name_key& key) const noexcept { return slots[probe(*this, key)].index; }

int32_t name_table::insert(const name_key& key) {
  int64_t at = probe(*this, key);
  if (slots[at].index >= 0) return -1;
  if (2 * (int64_t{count} + 1) > slots.size()) {
    rehash(*this, 2 * slots.size());
    at = probe(*this, key);
  }
  slots[at] = {key.head, count, static_cast<int32_t>(key.name.size())};
  return count++;
}

} // namespace tvn
