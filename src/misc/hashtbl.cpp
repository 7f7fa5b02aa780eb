// Hash table over a pool of names. See hashtbl.h.
#include "misc/hashtbl.h"

namespace tvn {

namespace {

int64_t bucket(const htbl& t, const char* string) noexcept {
  return static_cast<int64_t>(TVN_strhash(string)) & t.mask;
}

} // namespace

uint32_t TVN_strhash(const char* string) noexcept {
  uint32_t h = 0;
  for (; *string != '\0'; string++) {
    h += static_cast<uint32_t>(static_cast<signed char>(*string));
    h *= 17U;
    h ^= h >> 6;
  }
  h *= 9U;
  h ^= h >> 11;
  return h * 32769U;
}

void TVN_htbl_make(sysenv& sys, int64_t numitems, int64_t load, htbl& t) {
  const int64_t wanted = 4 * numitems * load;
  int64_t numbuckets = 2;
  while (numbuckets < wanted && numbuckets < (INT64_C(1) << 60)) numbuckets *= 2;
  htbl fresh;
  fresh.numbuckets = numbuckets;
  fresh.mask = numbuckets - 1;
  fresh.numitems = numitems;
  fresh.head.reset(sys, numbuckets, numitems);
  fresh.next.reset(sys, numitems, numitems);
  t = std::move(fresh);
}

void TVN_htbl_delete(htbl& t) noexcept {
  t.head.clear();
  t.next.clear();
  t.numbuckets = t.mask = t.numitems = 0;
}

bool TVN_htbl_compute(const htbl& t, const int64_t* offset, const char* pool, const char* string,
                      int64_t& index) noexcept {
  if (!t.made()) return false;
  for (int64_t k = t.head[bucket(t, string)]; k != t.numitems; k = t.next[k]) {
    if (std::strcmp(pool + offset[k], string) == 0) {
      index = k;
      return true;
    }
  }
  return false;
}

bool TVN_htbl_isassigned(const htbl& t, const int64_t* offset, const char* pool, const char* string) noexcept {
  int64_t index;
  return TVN_htbl_compute(t, offset, pool, string, index);
}

bool TVN_htbl_assign(htbl& t, const int64_t* offset, const char* pool, int64_t item) noexcept {
  if (item < 0 || item >= t.numitems) return false;
  const char* string = pool + offset[item];
  if (TVN_htbl_isassigned(t, offset, pool, string)) return false;
  int64_t& head = t.head[bucket(t, string)];
  t.next[item] = head;
  head = item;
  return true;
}

bool TVN_htbl_unassign(htbl& t, const int64_t* offset, const char* pool, int64_t item) noexcept {
  if (item < 0 || item >= t.numitems) return false;
  const char* string = pool + offset[item];
  int64_t* link = &t.head[bucket(t, string)];
  while (*link != t.numitems && std::strcmp(pool + offset[*link], string) != 0) link = &t.next[*link];
  if (*link == t.numitems) return false;
  *link = t.next[*link];
  return true;
}

htbl_stats TVN_htbl_getstat(const htbl& t) noexcept {
  htbl_stats s;
  s.numbuckets = t.numbuckets;
  int64_t nonempty = 0;
  for (const int64_t first : t.head) {
    int64_t len = 0;
    for (int64_t k = first; k != t.numitems; k = t.next[k]) len++;
    s.numused += len;
    s.longest = std::max(s.longest, len);
    if (len > 0) nonempty++;
  }
  s.meanlen = static_cast<double>(s.numused);
  if (nonempty > 1) s.meanlen /= static_cast<double>(nonempty);
  return s;
}

} // namespace tvn
