// Columns beside a factor: K = K0 + W inv(T) W', where L D L' = K0 and W has few columns.
//
// A dense column of A that was left out of A D A' is one, with the inverse of its D on the diagonal of T; so is what a
// pivot was raised by, with w = e_k and -1 / amount, which is taken out again that way (Andersen 1996). With V =
// inverse of L times W the Schur matrix is E = T + V' inv(D) V, indefinite as soon as something is taken out. Solves
// put V inv(E) V' between L and D. What E drops stays as it is in K0: a raised pivot that belongs to a dependent row,
// whose unknown is free. Cost: 2 nnz(L) + k m for each of k columns, k^3/3 for E.
#pragma once

#include "kfac/bunchkauf.h"
#include "kfac/sfk.h"

namespace tvn {

struct schur_part {
  int32_t n = 0, maxcol = 0, num = 0; // order of the factor, capacity, columns in use
  buffer<double> v;                   // [n * maxcol] by column, in positions
  buffer<double> t;                   // [maxcol^2] lower triangle by columns of maxcol
  buffer<double> e;                   // [maxcol^2]
  buffer<double> scale;               // [maxcol] powers of two that bring the diagonal of E near 1
  buffer<int32_t> piv;                // [maxcol]
  buffer<double> pack, solve;         // of the products: a slice of V' and the kernels' own; of the triangular solves
  double toldropped = 1e-11;          // of the diagonal of E before anything cancelled
  bunchkauf_inertia inertia;          // of E
};

// Throws out_of_memory.
void TVN_sc_create(sysenv& sys, const sfk_factor& f, int32_t maxcol, schur_part& sc);
// A new column of zeros; the caller puts w into it, by position.
double* TVN_sc_addcol(schur_part& sc, double t) noexcept;
// An element of T off its diagonal, r > c.
inline void TVN_sc_putcross(schur_part& sc, int64_t r, int64_t c, double t) noexcept { sc.t[r + c * sc.maxcol] = t; }
// E and its factor. failed: a NaN or an infinite number came out.
[[nodiscard]] sfk_code TVN_sc_calschur(const sfk_factor& f, const sfk_progress& progress, schur_part& sc) noexcept;
// Solves K0 x - W u = x, W' x + T u = u, where x, in positions, has been through L and is divided by D on return.
// u: [num] right side and solution.
void TVN_sc_solve(const sfk_factor& f, const schur_part& sc, double* x, double* u) noexcept;

} // namespace tvn
