// Sparse matrix store: held by rows or by columns with room behind the vectors, written by element or by vector.
//
// Major vectors are the rows or the columns, as `colwise` says. Vector k lies in positions ptrb[k] to ptre[k] - 1 of
// sub and val; vectors may have gaps between them and stand in any order; indices inside a vector are unsorted, each at
// most once, with nonzero values. `top` is the first position behind all of them.
//
// Single writes go to a cache in the same arrays, filled downwards from maxsize: a write costs no search and no shift.
// The cache is on from the first element write to the next flush; every reader flushes. Reading across the orientation
// transposes the store once, and it stays so.
//
// Locked (between getacolwise and puta) nothing may change: every writer asserts it. Exhausted memory is thrown with
// the contents intact.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

enum class sprmat_code : int32_t {
  ok = 0,
  append_failed = 1,     // more rows or columns than the capacity
  maxsize_too_small = 3, // a capacity below the number of elements
  space = 6,
  surplus = 7, // a slice does not fit into the caller's arrays
};

struct sprmat_cache {
  bool on = false;         // element writes wait for a flush
  int64_t count = 0;       // elements in positions maxsize - count to maxsize - 1
  buffer<int64_t> head;    // [max(maxnumrow, maxnumcol)] newest position of a vector, 0: none
  buffer<int64_t> next;    // [maxsize] older position of the same vector, 0: none
  vec<int32_t> touched;    // vectors with a chain
  buffer<int32_t> where;   // [max(maxnumrow, maxnumcol)] all 0 between calls
  buffer<int32_t> worksub; // [max(maxnumrow, maxnumcol)] merged vector
  buffer<double> workval;  // likewise
};

struct sprmat {
  sysenv* sys = nullptr;
  bool locked = false;
  bool colwise = true;
  int32_t maxnumrow = 0, maxnumcol = 0;
  int32_t numrow = 0, numcol = 0;
  int64_t overhead = 0; // extra entries of every allocation of sub and val
  int64_t maxsize = 0;  // capacity of sub and val
  int64_t top = 0;
  buffer<int64_t> ptrb, ptre; // [at least max(maxnumrow, maxnumcol)]
  buffer<int32_t> sub;        // [maxsize + overhead]
  buffer<double> val;         // likewise
  sprmat_cache cache;
  int64_t numcacheflushes = 0, numtransposes = 0;
  int32_t* flushitem = nullptr;     // raised with numcacheflushes, may be null
  int32_t* transposeitem = nullptr; // likewise with numtransposes

  bool made() const noexcept { return sys != nullptr; }
  int32_t nummajor() const noexcept { return colwise ? numcol : numrow; }
  int32_t numminor() const noexcept { return colwise ? numrow : numcol; }
};

// Direct pointers into the store.
struct sprmat_view {
  int64_t* ptrb = nullptr; // per column
  int64_t* ptre = nullptr;
  int32_t* sub = nullptr;
  double* val = nullptr;
  int64_t maxsize = 0, top = 0;
};

// Life and capacity.
void TVN_sprmat_make(sysenv& sys, int32_t maxnumrow, int32_t maxnumcol, int64_t maxsize, sprmat& a);
void TVN_sprmat_delete(sprmat& a) noexcept;                  // nothing is held afterwards, counters included
void TVN_sprmat_copy(sprmat& from, sysenv& sys, sprmat& to); // packed, by columns, same capacities, counters 0
void TVN_sprmat_putoverhead(sprmat& a, int64_t overhead) noexcept;
void TVN_sprmat_putmaxnumrow(sprmat& a, int32_t maxnumrow); // at least numrow
void TVN_sprmat_putmaxnumcol(sprmat& a, int32_t maxnumcol); // at least numcol
[[nodiscard]] sprmat_code TVN_sprmat_putmaxsize(sprmat& a, int64_t maxsize);

// Shape. New rows and columns are empty.
[[nodiscard]] sprmat_code TVN_sprmat_appendrows(sprmat& a, int32_t num);
[[nodiscard]] sprmat_code TVN_sprmat_appendcols(sprmat& a, int32_t num);
void TVN_sprmat_deleterows(sprmat& a, int32_t num, const int32_t* rows); // repeated indices count once
void TVN_sprmat_deletecols(sprmat& a, int32_t num, const int32_t* cols);
// Row i becomes row perm[i]; rows with perm[i] >= newnum go, and newnum rows are left.
void TVN_sprmat_permuteandremoverows(sprmat& a, int32_t newnum, const int32_t* perm);

// Writing. The value of index sub[p] is densevalues[sub[p]]; exact zeros are left out.
// With the cache off the vector is replaced; with it on, elements that are not listed stay.
void TVN_sprmat_gathercolj(sprmat& a, int32_t j, int32_t n, const int32_t* sub, const double* densevalues);
void TVN_sprmat_gatherrowi(sprmat& a, int32_t i, int32_t n, const int32_t* sub, const double* densevalues);
// Replaces column j by n distinct rows and their values; values below tiny in size and exact zeros are left out.
void TVN_sprmat_putcolj(sprmat& a, int32_t j, int32_t n, const int32_t* sub, const double* val, double tiny);
void TVN_sprmat_putaij(sprmat& a, int32_t i, int32_t j, double value); // 0 removes the element
void TVN_sprmat_flushcache(sprmat& a);
void TVN_sprmat_transpose(sprmat& a);

// Reading; each flushes first.
double TVN_sprmat_getaij(sprmat& a, int32_t i, int32_t j);
int64_t TVN_sprmat_getnumnz(sprmat& a);
int32_t TVN_sprmat_getcolnumnz(sprmat& a, int32_t j);
int32_t TVN_sprmat_getrownumnz(sprmat& a, int32_t i);
int64_t TVN_sprmat_getcolslicenumnz(sprmat& a, int32_t first, int32_t last);
int64_t TVN_sprmat_getrowslicenumnz(sprmat& a, int32_t first, int32_t last);
int64_t TVN_sprmat_getpiecesize(sprmat& a, int32_t firsti, int32_t lasti, int32_t firstj, int32_t lastj);
// Vector k of the slice is written from position maxnumnz - surp on; surp falls by its length. surplus: the vector that
// does not fit and those behind it are not written.
[[nodiscard]] sprmat_code TVN_sprmat_getcolslice(sprmat& a, int32_t first, int32_t last, int64_t maxnumnz,
                                                 int64_t& surp, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                                                 double* val);
[[nodiscard]] sprmat_code TVN_sprmat_getrowslice(sprmat& a, int32_t first, int32_t last, int64_t maxnumnz,
                                                 int64_t& surp, int64_t* ptrb, int64_t* ptre, int32_t* sub,
                                                 double* val);
// The twins with 32-bit positions.
[[nodiscard]] sprmat_code TVN_sprmat_getcolslice32(sprmat& a, int32_t first, int32_t last, int32_t maxnumnz,
                                                   int32_t& surp, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                                                   double* val);
[[nodiscard]] sprmat_code TVN_sprmat_getrowslice32(sprmat& a, int32_t first, int32_t last, int32_t maxnumnz,
                                                   int32_t& surp, int32_t* ptrb, int32_t* ptre, int32_t* sub,
                                                   double* val);
// Flushed, held by columns or rows as asked, not locked; for loops over the whole store. Valid to the next call.
sprmat_view TVN_sprmat_viewcols(sprmat& a);
sprmat_view TVN_sprmat_viewrows(sprmat& a);

// Lends the store by columns, with room for extracols more columns in ptrb and ptre, and locks it.
sprmat_view TVN_sprmat_getacolwise(sprmat& a, int32_t extracols);
void TVN_sprmat_puta(sprmat& a); // unlocks

// Audit: 0, or the number of the first broken rule (1 counts, 2 positions, 3 index range, 4 repeated index, 5 zero
// value). Does not flush.
int32_t TVN_sprmat_checka(sprmat& a);
void TVN_sprmat_printcolj(sprmat& a, int32_t j, void* handle, void (*echo)(void* handle, const char* line));

} // namespace tvn
