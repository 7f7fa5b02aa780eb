// The basis that a task keeps between calls: which item stands at each position, and the factor of its matrix.
//
// Items are numbered in the joined index space: 0 .. m-1 the slacks of the constraints, whose columns are minus unit
// vectors, from m on the variables. The matrix holds the user's own numbers. It is read only while the basis is
// verified; afterwards the factor stands alone, whatever becomes of A.
#pragma once

#include "lu/lu.h"
#include "simplex/base/types.h"

namespace tvn {

// The columns of A and the keys that say which items are basic.
struct basis_source {
  int32_t numcon = 0, numvar = 0;
  const int64_t *ptrb = nullptr, *ptre = nullptr; // [numvar]
  const int32_t* sub = nullptr;
  const double* val = nullptr;
  const int32_t *skc = nullptr, *skx = nullptr; // [numcon], [numvar]
};

struct simplex_basis {
  sysenv* sys = nullptr;    // null: not made
  int32_t m = -1;           // positions, -1: no basis was ever verified
  buffer<int32_t> idx;      // [m] item at each position, ascending
  lu factor;                // of diag(rowscale) B diag(colscale) while its state is lu_factored
  buffer<double> rowscale;  // [m] by row, powers of two; empty: all 1
  buffer<double> colscale;  // [m] by position, likewise
  spvec byrow, byposition;  // [m] right-hand side and result of a solve, empty between solves
  int32_t rank = 0;         // of the last factorisation
  int32_t firstlacking = 0; // a position whose column depends on the others, when rank < m
};

inline bool is_made(const simplex_basis& b) noexcept { return b.sys != nullptr; }
void TVN_simplex_makebasis(sysenv& sys, simplex_basis& b) noexcept;
void TVN_simplex_deletebasis(simplex_basis& b) noexcept;
inline lu& TVN_simplex_getbasislu(simplex_basis& b) noexcept { return b.factor; }
inline const buffer<int32_t>& TVN_simplex_getbasisidx(const simplex_basis& b) noexcept { return b.idx; }
inline int32_t TVN_simplex_getbasisnumcon(const simplex_basis& b) noexcept { return b.m; }

// Collects and factors the basic items. ok; bad_basis: there are not numcon of them; singular: rank and firstlacking
// say more; factor: no storage size was enough. Only after ok is the factor usable. Throws out_of_memory.
[[nodiscard]] simplex_code TVN_simplex_verifybasis(const basis_source& a, simplex_basis& b);

// Solve B x = byrow into byposition, or B'x = byposition into byrow. The result is empty on entry; the right-hand side
// is on return.
void TVN_simplex_solvebasis(simplex_basis& b);
void TVN_simplex_solvebasistransposed(simplex_basis& b);

// One-norms. That of the basis is exact, that of the inverse a lower bound (Hager 1984). False: not finite.
[[nodiscard]] bool TVN_simplex_estimatenormofbasis(const basis_source& a, const simplex_basis& b, double& norm);
[[nodiscard]] bool TVN_simplex_estimatenormofbasisinverse(simplex_basis& b, double& norm);

} // namespace tvn
