// Compressed vectors: the plain sparse matrix of the optimizers.
//
// Vector j lies in positions ptrb[j] to ptre[j] - 1 of sub and val; it may have a gap behind it. Whether vectors are
// rows or columns is the caller's reading. ffree is the first position behind all vectors. The arrays are the record's
// own, or wrapped ones that somebody else holds.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

struct spmat {
  sysenv* sys = nullptr;
  int32_t maxnvec = 0, maxvlen = 0; // capacities: vectors, vector length
  int32_t nvec = 0, vlen = 0;       // present sizes
  int64_t fpos = 0;                 // first position in use
  int64_t maxsze = 0;               // entries of sub and val
  int64_t ffree = 0;                // first free position behind all vectors
  int64_t* ptrb = nullptr;          // [maxnvec]
  int64_t* ptre = nullptr;          // [maxnvec]
  int32_t* sub = nullptr;           // [maxsze]
  double* val = nullptr;            // [maxsze]
  buffer<int64_t> ownptrb, ownptre; // empty: ptrb and ptre are wrapped
  buffer<int32_t> ownsub;           // empty: sub and val are wrapped
  buffer<double> ownval;
};

// Pointers of its own and no entries. Throws out_of_memory.
void TVN_spmat_make(sysenv& sys, int32_t maxnvec, int32_t maxvlen, spmat& a);
// Wraps arrays that somebody else holds; ffree becomes their end.
void TVN_spmat_emake(sysenv& sys, int32_t nvec, int32_t vlen, int64_t maxsze, int64_t* ptrb, int64_t* ptre,
                     int32_t* sub, double* val, spmat& a);
void TVN_spmat_ialloc(spmat& a, int64_t size);                            // own entries anew, contents lost
void TVN_spmat_ealloc(spmat& a, int64_t size, int32_t* sub, double* val); // wrapped entries, contents lost
void TVN_spmat_delete(spmat& a) noexcept;
void TVN_spmat_init(spmat& a, int32_t nvec, int32_t vlen) noexcept; // all vectors empty

// Room for len entries in vector j, moved to ffree when it would overrun its end and is not the last; the contents go
// with it. False when ffree + len passes maxsze.
[[nodiscard]] bool TVN_spmat_vresize(spmat& a, int32_t j, int64_t len) noexcept;
// A container of the same shape with `size` entries (at least the number in use), each vector packed in order.
void TVN_spmat_bigcopy(const spmat& a, int64_t size, spmat& to);
// Vectors of `at` are the index positions of `a`, in ascending order. `at` is made when it has no memory; one that is
// too small for the entries is a fatal stop. nocopyvalues: the pattern only.
void TVN_spmat_transpose(sysenv& sys, const spmat& a, bool nocopyvalues, spmat& at);

int64_t TVN_spmat_getnz(const spmat& a) noexcept;
double TVN_spmat_doti(const spmat& a, int32_t j, const double* x) noexcept;       // a_j'x
void TVN_spmat_aipy(const spmat& a, int32_t j, double alpha, double* y) noexcept; // y += alpha * a_j
void TVN_spmat_scali(spmat& a, int32_t j, double alpha) noexcept;                 // a_j *= alpha
// y = alpha * A x + beta * y with the vectors as columns, or with A' when transposed.
void TVN_spmat_gemv(const spmat& a, bool transposed, double alpha, const double* x, double beta, double* y) noexcept;
// 0, or the number of the first broken rule: 1 sizes, 2 positions, 3 index range, 4 repeated index.
int32_t TVN_spmat_check(const spmat& a);

} // namespace tvn
