// Compressed vectors: the plain sparse matrix of the optimizers.
//
// Vector j lies in positions ptrb[j] to ptre[j] - 1 of sub and val; it may have a gap behind it. Whether vectors are
// rows or columns is the caller's reading. ffree is the first position behind all vectors. The arrays are the record's
// own, or wrapped ones that somebody else holds. The entries within a vector stand in any order unless said otherwise.
#pragma once

#include "cpub/buffer.h"
#include "misc/outfmt.h"

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

// Copies: misc/spmatcpy.cpp. Each vector is packed in order; those that name no size use the storage of `to` when it is
// large enough and else give it new one. All throw out_of_memory and then leave their target as it was.
// A container of the same shape with `size` entries, at least the number in use.
void TVN_spmat_bigcopy(const spmat& a, int64_t size, spmat& to);
void TVN_spmat_copy(const spmat& a, spmat& to);
void TVN_spmat_copyasub(const spmat& a, int32_t num, const int32_t* list, spmat& to); // the listed vectors
void TVN_spmat_slicecopy(const spmat& a, int32_t first, int32_t last, spmat& to);     // vectors first .. last - 1

// Gaps: misc/spmatpack.cpp. In the forms with new storage the container owns all its arrays afterwards.
void TVN_spmat_pack(spmat& a);                  // new storage, in index order, no gaps and no spare entries
void TVN_spmat_packinplace(spmat& a);           // moves vectors down in the order in which they stand
void TVN_spmat_unpack(spmat& a, int64_t space); // new storage with `space` free entries behind each vector
// The same within the present storage; false when it is too small, then the vectors are only packed.
[[nodiscard]] bool TVN_spmat_unpackinplace(spmat& a, int64_t space);
// Renumbers indexes by old2new[vlen] and drops the entries where it is negative; the number dropped.
int64_t TVN_spmat_compress(spmat& a, const int32_t* old2new, int32_t newvlen) noexcept;
// Back again: indexes by new2old[vlen], vector length oldvlen.
void TVN_spmat_uncompress(spmat& a, const int32_t* new2old, int32_t oldvlen) noexcept;
void TVN_spmat_permutevec(spmat& a, const int32_t* perm); // vector k becomes the former perm[k]

// Orders: misc/spmattra.cpp.
// Vectors of `at` are the index positions of `a`, in ascending order. `at` is made when it has no memory; one that is
// too small for the entries is a fatal stop. nocopyvalues: the pattern only.
void TVN_spmat_transpose(sysenv& sys, const spmat& a, bool nocopyvalues, spmat& at);
// The same for the matrix whose vector k is the vector perm[k] of `a`.
void TVN_spmat_transposeperm(sysenv& sys, const spmat& a, const int32_t* perm, bool nocopyvalues, spmat& at);
void TVN_spmat_sortvecs(spmat& a);           // ascending indexes in linear time, with memory for a transposed copy
void TVN_spmat_sortvecs2(spmat& a) noexcept; // the same vector by vector without memory; sorted ones cost one pass

// Equal vectors: misc/spmatdup.cpp. first[j] becomes the lowest vector that j is a copy of, j itself if there is none.
void TVN_spmat_dupvecsparsity(const spmat& a, int32_t* first); // same pattern
// Same values up to a factor: a_j = scale[j] * a_first[j]; entries may differ by the relative tolerance tol. Vectors
// that differ by rounding alone are found but for rare cases on the edge of a bucket; what is found is true. The poll
// is told of entries visited; when it answers true the search ends and first and scale are of no use.
struct spmat_poll {
  void* handle = nullptr;
  bool (*fn)(void* handle, int64_t work) = nullptr;
};
void TVN_spmat_dupvec(const spmat& a, double tol, int32_t* first, double* scale, const spmat_poll& poll = {});

// Sum in two steps: misc/spmatadd.cpp. symmatadd makes c with the pattern of a + b; nummatadd writes the values of
// alpha * a + beta * b into a c with that pattern.
void TVN_spmat_symmatadd(sysenv& sys, const spmat& a, const spmat& b, spmat& c);
void TVN_spmat_nummatadd(double alpha, const spmat& a, double beta, const spmat& b, spmat& c);

// Arithmetic: misc/spmatvec.cpp.
double TVN_spmat_doti(const spmat& a, int32_t j, const double* x) noexcept;       // a_j'x
void TVN_spmat_aipy(const spmat& a, int32_t j, double alpha, double* y) noexcept; // y += alpha * a_j
void TVN_spmat_scali(spmat& a, int32_t j, double alpha) noexcept;                 // a_j *= alpha
double TVN_spmat_nrm1i(const spmat& a, int32_t j) noexcept;
double TVN_spmat_nrminfi(const spmat& a, int32_t j) noexcept;
double TVN_spmat_sqnrm2i(const spmat& a, int32_t j) noexcept;
double TVN_spmat_nrminfinity(const spmat& a); // largest sum of magnitudes over one index, needs vlen doubles
// y = alpha * A x + beta * y with the vectors as columns, or with A' when transposed.
void TVN_spmat_gemv(const spmat& a, bool transposed, double alpha, const double* x, double beta, double* y) noexcept;
// C = alpha * A B + beta * C, or with A', for dense matrices of n columns with leading dimensions ldb and ldc.
void TVN_spmat_gemm(const spmat& a, bool transposed, int32_t n, double alpha, const double* b, int64_t ldb, double beta,
                    double* c, int64_t ldc) noexcept;

int64_t TVN_spmat_getnz(const spmat& a) noexcept;
inline int64_t TVN_spmat_getnzi(const spmat& a, int32_t j) noexcept { return a.ptre[j] - a.ptrb[j]; }
inline void TVN_spmat_putnzi(spmat& a, int32_t j, int64_t len) noexcept {
  a.ptre[j] = a.ptrb[j] + len;
} // moves nothing
void TVN_spmat_getvnz(const spmat& a, int64_t* numnz) noexcept; // by vector

// 0, or the number of the first broken rule: 1 sizes, 2 positions, 3 index range, 4 repeated index, 5 shared entry.
int32_t TVN_spmat_check(const spmat& a);
// For people: misc/spmatprn.cpp.
void TVN_spmat_print(const spmat& a, const char* title, text_sink sink, void* handle) noexcept;
void TVN_spmat_printi(const spmat& a, int32_t j, text_sink sink, void* handle) noexcept;
// One line with vlen, nvec and the number of entries, then index, vector and value of each.
void TVN_spmat_writetofile(const spmat& a, const char* filename, sys_code& result);

} // namespace tvn
