// Hash table over a pool of names: maps a string to the index of the item that bears it.
//
// The table stores no strings. The caller passes at each call an offset array and a pool of characters; item i bears
// the string at pool[offset[i]]. A chain link is an array entry, so nothing is allocated after make.
// Invariant: an item stands in at most one chain, that of its string's hash; two items of one chain differ in their
// strings. A change of an item's string needs unassign before and assign after. Cost: constant on average per call.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct htbl {
  int64_t numbuckets = 0; // a power of two, 0: not made
  int64_t mask = 0;       // numbuckets - 1
  int64_t numitems = 0;   // largest item index + 1, also the end of a chain
  buffer<int64_t> head;   // [numbuckets] item index or numitems
  buffer<int64_t> next;   // [numitems] the chain

  bool made() const noexcept { return numbuckets > 0; }
};

struct htbl_stats {
  int64_t numbuckets = 0, numused = 0; // buckets, items in all chains
  int64_t longest = 0;                 // of a chain
  double meanlen = 0;                  // over buckets that are not empty
};

// Wrapping 32-bit hash; characters count as signed; "" gives 0.
uint32_t TVN_strhash(const char* string) noexcept;

// About 4 * numitems * load buckets. Throws out_of_memory and leaves t as it was.
void TVN_htbl_make(sysenv& sys, int64_t numitems, int64_t load, htbl& t);
void TVN_htbl_delete(htbl& t) noexcept;
// True with the index of the item that bears the string; false when no item does.
bool TVN_htbl_compute(const htbl& t, const int64_t* offset, const char* pool, const char* string,
                      int64_t& index) noexcept;
bool TVN_htbl_isassigned(const htbl& t, const int64_t* offset, const char* pool, const char* string) noexcept;
// False, with the table unchanged, when the index is out of range or the string stands in the table already.
bool TVN_htbl_assign(htbl& t, const int64_t* offset, const char* pool, int64_t item) noexcept;
// Cuts out the entry whose string equals that of the item, which may be another item. False when there is none.
bool TVN_htbl_unassign(htbl& t, const int64_t* offset, const char* pool, int64_t item) noexcept;
htbl_stats TVN_htbl_getstat(const htbl& t) noexcept;

} // namespace tvn
