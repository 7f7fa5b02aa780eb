// Sparse L D L' of a symmetric matrix whose pattern stays while its values change: analysis, factor, solves.
//
// The factor is kept by supernodes, sets of columns with the same rows below: supernode s has the columns
// snbeg[s] .. snbeg[s + 1] - 1 of the permuted matrix and the rows rows[rowbeg[s]] .. rows[rowbeg[s + 1] - 1], its own
// columns first, all ascending; its values are a column-major block with that many rows from val[valbeg[s]]. Numeric
// work is multifrontal (Duff and Reid 1983; Liu 1992): a front gathers the entries of its columns and the updates of
// its children, which lie on a stack in postorder. Everything is in positions of the permutation but where "node" is
// said.
#pragma once

#include "lalib/dfac.h"
#include "order/sorder.h"

namespace tvn {

// Structure. Sized once by the analysis.
struct sfk_structure {
  int32_t n = 0, numsn = 0;
  buffer<int32_t> perm, invp;             // [n] position to node and back
  buffer<int32_t> snbeg;                  // [numsn + 1]
  buffer<int32_t> snparent;               // [numsn] -1: root
  buffer<int32_t> lastchild, prevsibling; // [numsn] -1: none
  buffer<int64_t> rowbeg;                 // [numsn + 1]
  buffer<int32_t> rows;                   // [rowbeg[numsn]]
  buffer<int32_t> uprow;                  // like rows: place of a row below the own columns in the parent's front
  buffer<int32_t> depth;                  // [numsn] 0: root
  buffer<int32_t> subtree;                // roots of disjoint subtrees, dearest first; what is above them is few fronts
  buffer<int32_t> subtreebeg;             // like subtree: the first supernode
  buffer<int32_t> above;                  // supernodes in no such subtree, ascending
  buffer<int64_t> valbeg;                 // [numsn + 1]
  buffer<int64_t> diagdest;               // [n] by node: where the diagonal goes in the values
  buffer<int64_t> dest;                   // by place in the pattern: where an entry goes, -1: a loop
  int32_t maxfront = 0, maxcols = 0;      // rows of a front, columns of a supernode
  int64_t nnzl = 0, stored = 0;           // of the factor with its diagonal; with the zeros of merged supernodes
  double flops = 0;                       // of a factorisation, without those zeros
};

// One column and no child.
inline bool is_single(const sfk_structure& s, int32_t k) noexcept {
  return s.snbeg[k + 1] - s.snbeg[k] == 1 && s.lastchild[k] < 0;
}

// Asked every few milliseconds; nonzero ends the call.
using sfk_progress = sorder_progress;

enum class sfk_code : int32_t { ok = 0, failed = 2, stopped = 5 };

// What is told of where entries go: without `dest` time and memory are saved.
enum class sfk_places { all, diagonal };

// The structure of the factor of the graph in this order (position to node; null: as it is), columns postordered.
// Throws out_of_memory.
[[nodiscard]] sfk_code TVN_sfk_setupL(sysenv& sys, const sorder_graph& graph, const int32_t* perm,
                                      const sfk_progress& progress, sfk_structure& sfk,
                                      sfk_places places = sfk_places::all);

// What a pivot may be. All are magnitudes of a matrix with unit diagonal.
struct sfk_pivots {
  const int8_t* sign = nullptr; // [n] by node, +1 or -1: the sign that the pivot must have; null: all +1
  double tolpiv = 1e-14;        // a pivot of the right sign below it, and any of the wrong sign, is replaced
  double repaired = 1.0;        // least magnitude that replaces it
  double* added = nullptr;      // [n] by position, or null: what a replaced pivot was raised by; others are left alone
};

// Values. Made once for a structure; a factorisation allocates nothing.
struct sfk_factor {
  const sfk_structure* sfk = nullptr;
  matker ker;
  int32_t numthreads = 1;
  buffer<double> val;                // [stored] first the matrix, then L
  buffer<double> d;                  // [n]
  buffer<double> stack;              // updates (dfac.h); with threads a part for each, one for the subtrees' own
  buffer<int64_t> place;             // [numsn] of an update in its part; ~place: in the part that is kept
  int64_t keptbeg = 0, partsize = 0; // in stack: updates of subtrees; a thread's part. The part of 0 is in front
  buffer<double> work;               // of the dense kernels; with threads a part for each
  int64_t worksize = 0;              // of such a part, for fronts of so many rows and columns
  int64_t maxrows = 0, maxcols = 0;
  int32_t numrepair = 0, numnegative = 0; // of the last factorisation
};

// numthreads: more than one thread works where the system is large, with the same bits. Throws out_of_memory.
void TVN_sfk_allocLval(sysenv& sys, const sfk_structure& sfk, const matker& ker, sfk_factor& f, int32_t numthreads = 1);

// All values 0, to be filled through dest and diagdest by adding. False: stopped.
bool TVN_sfk_clear(sfk_factor& f, const sfk_progress& progress = {}) noexcept;
// L D L' of what the values hold. failed: a NaN or an infinite number came out.
[[nodiscard]] sfk_code TVN_ch_calfac(sfk_factor& f, const sfk_pivots& pivots, const sfk_progress& progress) noexcept;

// x := inverse of L, of D, of L' times x, in positions. work: [maxfront]. False: stopped, x is spoiled.
bool TVN_sfk_Lx(const sfk_factor& f, double* x, double* work, const sfk_progress& progress = {}) noexcept;
void TVN_sfk_InvmulD(const sfk_factor& f, double* x) noexcept;
bool TVN_sfk_Ltx(const sfk_factor& f, double* x, double* work, const sfk_progress& progress = {}) noexcept;
// Solves with the factor; rhs by node, overwritten. work: [n + maxfront]. False: stopped, rhs stands.
bool TVN_sfk_solve(const sfk_factor& f, double* rhs, double* work, const sfk_progress& progress = {}) noexcept;
// Several right sides at once where that pays, column by column of n: inverse of L or L' times x, by position; solves,
// by node. They differ from one at a time in rounding. work: [TVN_sfk_worksize]. False: stopped within a group of them.
int64_t TVN_sfk_worksize(const sfk_structure& sfk, int64_t num) noexcept;
bool TVN_sfk_LX(const sfk_factor& f, int32_t num, double* x, double* work, const sfk_progress& progress = {}) noexcept;
bool TVN_sfk_LtX(const sfk_factor& f, int32_t num, double* x, double* work, const sfk_progress& progress = {}) noexcept;
bool TVN_sfk_solve_X(const sfk_factor& f, int32_t num, double* rhs, double* work,
                     const sfk_progress& progress = {}) noexcept;

} // namespace tvn
