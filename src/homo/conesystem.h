// Cones in the sparse system of a direction.
//
// A cone of few members enters by its scaled ones: W dx instead of dx, whose block of H is the identity, and A W^-1
// instead of A. It loses the digits of W once; the block theta^2 (2 w w' - J) of dx would lose them twice, and H stays
// diagonal. In a large cone the columns of A W^-1 would be dense, and its block is theta^2 (D + u u' - v v') with a
// column and a row of its own (Domahidi, Chu and Boyd 2013):
//
//     [ D         theta v   theta u ]
//     [ theta v'     1              ]      D = theta^2 diag(d0, 1, .., 1), D - theta^2 v v' positive definite
//     [ theta u'               -1   ]
//
// With r = |w_rest| and q = w_rest / r: v = (0, v1 q), u = (u0, u1 q), v1^2 = 1 - 1 / (2 (1 + 2 r^2)),
// u1^2 = 2 r^2 + v1^2, u0 u1 = 2 w0 r, d0 = 1 / (2 u1^2), which leaves half of the least eigenvalue to either pivot.
// Cost: members times rows that they meet, or 4 k entries.
#pragma once

#include "kfac/kktfac.h"

namespace tvn {

struct hom_data;

struct cone_system {
  int32_t n = 0, m = 0;        // of the problem
  int32_t first = 0;           // column of the first member
  int32_t num = 0, numown = 0; // cones; those with a column and a row of their own, which follow the problem's
  buffer<int32_t> beg;         // [num + 1] columns of the members
  buffer<int32_t> own;         // [num] number among these, -1: by its scaled members
  buffer<double> theta, w;     // [num] [members] the scaling
  buffer<int64_t> abeg;        // [n + numown + 1] the A of the system; columns of a scaled cone have the same rows
  buffer<int32_t> asub;
  buffer<double> aval;
  buffer<double> given; // A before it is scaled, of scaled cones one after the other
  buffer<double> line;  // [members of a cone at most] work
  buffer<int64_t> hbeg; // [n + numown + 1] strict triangle of H; empty: it is diagonal
  buffer<int32_t> hsub;
  buffer<double> hval;

  bool any() const noexcept { return num > 0; }
  kkt_columns columns() const noexcept {
    return {m + numown, n + numown, abeg.data(), abeg.data() + 1, asub.data(), aval.data()};
  }
  kkt_quadratic pattern() const noexcept {
    return hbeg.empty() ? kkt_quadratic{} : kkt_quadratic{hbeg.data(), hbeg.data() + 1, hsub.data()};
  }
  int32_t size(int32_t k) const noexcept { return beg[k + 1] - beg[k]; }
  double* scaling(int32_t k) noexcept { return w.data() + (beg[k] - first); }
  const double* scaling(int32_t k) const noexcept { return w.data() + (beg[k] - first); }
};

void cone_system_make(sysenv& sys, const hom_data& d, cone_system& c);
// The scaling into the matrix. h: [n + numown] of the members and of what follows the problem's columns.
void cone_system_put(cone_system& c, double* h) noexcept;
// W^-1 on the members of scaled cones. x: [n].
void cone_system_over(const cone_system& c, double* x) noexcept;

} // namespace tvn
