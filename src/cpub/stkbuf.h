// Strict last-in first-out scratch buffers.
//
// One byte area, cut at its top by TVN_stkbuf_popdbg, which takes a buffer, and healed by TVN_stkbuf_pushdbg, which
// gives it back; buffers go back in the reverse order of their taking, and each mistake stops the program. Nothing is
// allocated after TVN_stkbuf_make, unless each buffer is asked to be an allocation of its own: then the guards of the
// memory manager, and the tools that watch malloc, see every overrun. Addresses are multiples of 16. A buffer that does
// not fit on what is left throws out_of_memory, in both modes, so that a measured size is measured well.
// Sizes count whole units of 16 bytes. Several claims on the size of a stretch of work may be open at a time.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct stkbuf_level {
  void* ptr;
  size_t start; // stack use before it
  size_t size;  // as asked for, in whole units
};

struct stkbuf_claim {
  int32_t id;
  size_t start; // stack use when it was opened
  size_t size;  // bytes it may add
};

struct stkbuf {
  sysenv* sys = nullptr;
  int32_t numbufs = 0;             // buffers that are out
  int32_t numsizechecks = 0;       // claims that are open
  int32_t verbosity = 0;           // above 5 each step is told to the memory manager's report
  bool separate = false;           // each buffer is an allocation of its own
  size_t stacksize = 0;            // bytes
  size_t stackuse = 0;             // bytes that are out, at most stacksize
  buffer<unsigned char> area;      // [stacksize], empty when separate
  buffer<stkbuf_level> level;      // [maxnumbufs] oldest first
  buffer<stkbuf_claim> sizechecks; // [maxnumbufs] oldest first
};

// Bytes of the area that a buffer of `size` bytes takes.
constexpr size_t TVN_stkbuf_units(size_t size) { return (size + 15) / 16 * 16; }

// Throws out_of_memory and then leaves s as it was.
void TVN_stkbuf_make(sysenv& sys, int32_t maxnumbufs, size_t stacksize, bool separate, int32_t verbosity, stkbuf& s);
// Stops unless every buffer has come back.
void TVN_stkbuf_delete(stkbuf& s);

// Takes a buffer, which is not cleared; never null.
void* TVN_stkbuf_popdbg(stkbuf& s, size_t size, const char* file, int line);
// Gives the youngest buffer back.
void TVN_stkbuf_pushdbg(stkbuf& s, void* ptr, const char* file, int line);

// From here to the push with the same id no more than `size` further bytes may be out at a time, and as many buffers
// must have come back as were taken. Claims nest; each pop tests all that are open.
void TVN_stkbuf_popsizecheckdbg(stkbuf& s, int32_t id, size_t size, const char* file, int line);
void TVN_stkbuf_pushsizecheckdbg(stkbuf& s, int32_t id, const char* file, int line);

} // namespace tvn
