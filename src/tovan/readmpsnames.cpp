// The hash table of the names of a file.
#include "tovan/readmpsnames.h"

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

// The slot of the name, or the empty slot where it belongs.
int64_t probe(const mps_names& m, std::string_view name) noexcept {
  const auto mask = static_cast<uint64_t>(m.slots.size()) - 1;
  const uint64_t head = load(name.data(), name.size());
  uint64_t at = hash(name) >> (64 - std::countr_zero(mask + 1));
  for (;; at = (at + 1) & mask) {
    const mps_names::slot& s = m.slots[static_cast<int64_t>(at)];
    if (s.index < 0) break;
    if (s.head != head || s.len != static_cast<int32_t>(name.size())) continue;
    if (name.size() <= 8 || std::memcmp(m.text(s.index), name.data(), name.size()) == 0) break;
  }
  return static_cast<int64_t>(at);
}

void rehash(mps_names& m, int64_t numslots) {
  buffer<mps_names::slot> old(*m.sys, numslots, {0, -1, 0});
  old.swap(m.slots);
  for (const mps_names::slot& s : old)
    if (s.index >= 0) m.slots[probe(m, m.view(s.index))] = s;
}

} // namespace

void mps_names::make(sysenv& s, int64_t expected) {
  sys = &s;
  pool.attach(s);
  offset.attach(s);
  pool.reserve(expected * 9);
  offset.reserve(expected);
  rehash(*this, static_cast<int64_t>(std::bit_ceil(static_cast<uint64_t>(std::max<int64_t>(16, 2 * expected)))));
}

std::string_view mps_names::view(int32_t k) const noexcept {
  const int64_t next = k + 1 < size() ? offset[k + 1] : pool.size();
  return {text(k), static_cast<size_t>(next - offset[k] - 1)};
}

int32_t mps_names::find(std::string_view name) const noexcept { return slots[probe(*this, name)].index; }

int32_t mps_names::insert(std::string_view name) {
  int64_t at = probe(*this, name);
  if (slots[at].index >= 0) return -1;
  if (2 * (offset.size() + 1) > slots.size()) {
    rehash(*this, 2 * slots.size());
    at = probe(*this, name);
  }
  const int32_t k = size();
  offset.push_back(pool.size());
  pool.append(name.data(), static_cast<int64_t>(name.size()));
  pool.push_back('\0');
  slots[at] = {load(name.data(), name.size()), k, static_cast<int32_t>(name.size())};
  return k;
}

} // namespace tvn
