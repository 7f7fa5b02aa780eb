// Memory manager: every allocation of the library passes through one.
//
// At debug level 0 a call is a thin pass to the allocator. Above 0 each block is listed, numbered and fenced by two
// guards of 8 bytes, so that overwrites, foreign pointers and leaks are found and reported with file and line; a locked
// block is watched for any change by its digest. Invariant at level > 0: `curusage` is the sum of the sizes in the
// list. One manager is used by one thread at a time unless it was made with the multithread flag.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>

namespace tvn {

using malloc_fn = void* (*)(void* usrptr, size_t size);
using free_fn = void (*)(void* usrptr, void* block);

struct memblock; // record of one listed block, kept apart from its memory

struct memman {
  char begguard[8]; // "begin", overwritten only by a stray write
  char name[24];    // labels the report lines
  void* usrptr;     // handed to the allocator functions
  malloc_fn mallocfn;
  free_fn freefn;
  void (*exitfn)(void* handle); // called by TVN_memman_delete, may be null
  void* exithandle;
  void (*echofn)(void* handle, const char* text); // report lines beside the echo file, may be null
  void* echohandle;
  void (*stopfn)(void* handle, const char* file, int line, const char* msg); // fatal faults, null: abort
  void* stophandle;
  int32_t prlev;       // print level: what reaches the echo function
  uint64_t nextnumber; // number of the next block
  memblock* first;     // newest block
  bool multithread;
  pthread_mutex_t mutex;
  int32_t dbglevel;
  size_t maxusage, curusage; // bytes, only kept at level > 0
  uint64_t numrequests;      // allocations asked for since make, at any level
  bool plain;                // debug level 0, one thread, malloc and free: nothing to do but to pass on
  FILE* echofile;            // memory debug file or null
  char endguard[8];          // "end"
};

// Null functions mean malloc and free. Null when there is no memory or no mutex.
memman* TVN_memman_make(const char* file, int line, int32_t dbglevel, bool multithread, void* usrptr,
                        malloc_fn mallocfn, free_fn freefn);
// Scans, reports the blocks left and frees them with the manager; returns their number. *mman becomes null.
size_t TVN_memman_delete(const char* file, int line, memman** mman);

// Null on a size of zero and when the allocator has no more; the caller tells the two apart by the size.
inline void* TVN_memman_malloc(memman& m, size_t size, const char* file, int line);
void* TVN_memman_calloc(memman& m, size_t num, size_t size, const char* file, int line);
// The old block stands when there is no memory, and is freed when size is 0. oldsize: the bytes to keep; a manager
// that lists its blocks never copies more than the block has.
void* TVN_memman_realloc(memman& m, void* ptr, size_t oldsize, size_t size, const char* file, int line);
char* TVN_memman_strdup(memman& m, const char* text, const char* file, int line);
inline void TVN_memman_free(memman& m, void* ptr, const char* file, int line);

// Stop with a report unless the pointer, or the whole range, lies in one listed block. Nothing at debug level 0.
void TVN_memman_checkptr(memman& m, const void* ptr, const char* file, int line);
void TVN_memman_checkrange(memman& m, const void* ptr, size_t size, const char* file, int line);
// Lock takes the digest of the block that holds ptr: free, unlock and scans report a change. Nothing at debug level 0.
void TVN_memman_lockptr(memman& m, const void* ptr, const char* file, int line);
void TVN_memman_unlockptr(memman& m, const void* ptr, const char* file, int line);
void TVN_memman_lockall(memman& m, const char* file, int line);
void TVN_memman_unlockall(memman& m, const char* file, int line);

// Checks the guards and digests of all listed blocks; returns the number of faults, each reported.
size_t TVN_memman_scanmem(memman& m, const char* file, int line);
// Lists the blocks of at least minsize bytes and the usage; to the echo function at a print level above `level`.
void TVN_memman_analyzemem(const char* file, int line, memman& m, size_t minsize, int32_t level);
// False when there is no information (debug level 0); then both are 0.
bool TVN_memman_getmemusage(memman& m, size_t& maxused, size_t& current);

inline int32_t TVN_memman_getdbgmemlev(const memman& m) { return m.dbglevel; }
inline malloc_fn TVN_memman_getmallocfunc(const memman& m) { return m.mallocfn; }
inline free_fn TVN_memman_getfreefunc(const memman& m) { return m.freefn; }
inline void* TVN_memman_getusrmallocptr(const memman& m) { return m.usrptr; }
inline void TVN_memman_putprlev(memman& m, int32_t prlev) { m.prlev = prlev; }
void TVN_memman_putname(memman& m, const char* name); // cut to 23 characters
void TVN_memman_putechofunc(memman& m, void* handle, void (*fn)(void* handle, const char* text));
void TVN_memman_putexitfunc(memman& m, void* handle, void (*fn)(void* handle));

// False when the file cannot be opened; an echo file that was open is closed.
bool TVN_memman_openfile(memman& m, const char* filename, const char* title);
void TVN_memman_echotofile(memman& m, const char* text);
void TVN_memman_echo(memman& m, const char* text); // to the file and to the echo function

// The thin pass stands here so that it costs a counter and a branch beside malloc: bench/memman_bench.cpp. All other
// managers, those with functions of the user too, take the call behind it.
void* mem_malloc(memman& m, size_t size, const char* file, int line);
void mem_free(memman& m, void* ptr, const char* file, int line);

inline void* TVN_memman_malloc(memman& m, size_t size, const char* file, int line) {
  if (!m.plain) return mem_malloc(m, size, file, line);
  m.numrequests++;
  return size ? std::malloc(size) : nullptr;
}

inline void TVN_memman_free(memman& m, void* ptr, const char* file, int line) {
  if (!m.plain) return mem_free(m, ptr, file, line);
  std::free(ptr);
}

// Decimal digits of a size, which fit into 21 characters; returns `to`.
const char* TVN_sizettostr(size_t value, char (&to)[24]);

} // namespace tvn
