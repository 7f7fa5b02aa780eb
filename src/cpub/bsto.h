// Byte store: a growing run of bytes on pages, which never moves what it holds.
//
// Offsets are 64-bit and continuous: the byte at offset o lies in page o / pagesize at o % pagesize. Pages are zeroed
// when they come and kept by TVN_bsto_clear. Appending costs a copy and now and then a page; only the page list is ever
// reallocated. Used for stacks of records of many sizes.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct bsto {
  sysenv* sys = nullptr;
  int64_t numpages = 0;         // pages that exist
  int64_t pagesize = 0;         // bytes
  buffer<unsigned char*> pages; // [capacity of the list] the first numpages stand
  int64_t size = 0;             // bytes in use

  bsto() = default;
  bsto(const bsto&) = delete;
  bsto& operator=(const bsto&) = delete;
  ~bsto();
};

void TVN_bsto_make(sysenv& sys, int64_t pagesize, bsto& b); // a page size of 0 is taken as 1; allocates nothing
void TVN_bsto_delete(bsto& b) noexcept;
void TVN_bsto_clear(bsto& b) noexcept; // nothing in use, pages kept

// Room for `bytes` more. Throws out_of_memory; pages that were made by then are kept.
void TVN_bsto_makeroom(bsto& b, int64_t bytes);
// Throws out_of_memory and then changes no contents.
void TVN_bsto_append(bsto& b, int64_t bytes, const void* source);
// The range must lie within the bytes in use.
void TVN_bsto_get(const bsto& b, int64_t offset, int64_t bytes, void* target);

inline int64_t TVN_bsto_getsize(const bsto& b) { return b.size; }
inline int64_t TVN_bsto_getmaxsize(const bsto& b) { return b.numpages * b.pagesize; }

// For debugging: each page but the last goes to a file "page%d.out" in the working directory.
sys_code TVN_bsto_writetodisk(const bsto& b);

} // namespace tvn
