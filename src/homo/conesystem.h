// Cones in the sparse system of a direction.
//
// They enter by their scaled members: v = W dx instead of dx, whose block of H is the identity, and A W^-1 instead of
// A. That loses the digits of W once; the block W^2 of dx would lose them twice. Of a cone of few members the columns
// of A W^-1 are formed. Those of a large one would be dense, and with z = (1 + w0, -w_rest), f = z / (1 + w0), -J =
// diag(-1, 1, ..):
//
//     theta W^-1 = z f' - J,  so  A W^-1 v = 1 / theta (A (-J) v + (A z) g)  with  f'v - g = 0
//
// is a column and a row of its own (Goldfarb and Scheinberg 2005 keep such terms apart). g is given a part of H by
// adding eta / 2 g (g - f'v), which is 0 and changes no more than the multiplier of that row: with eta = 2 / f'f the
// block
//
//     [ I           -eta / 2 f ]
//     [ -eta / 2 f'     eta    ]
//
// is definite and well conditioned. Cost: members times rows that they meet, or 2 k entries and those rows.
#pragma once

#include "kfac/kktfac.h"

namespace tvn {

struct hom_data;

struct cone_system {
  int32_t n = 0, m = 0;        // of the problem
  int32_t first = 0;           // column of the first member
  int32_t num = 0, numown = 0; // cones; those with a column and a row of their own, which follow the problem's
  buffer<int32_t> beg;         // [num + 1] columns of the members
  buffer<int32_t> own;         // [num] number among these, -1: formed
  buffer<double> theta, w;     // [num] [members] the scaling
  buffer<int64_t> abeg; // [n + numown + 1] the A of the system; columns of a cone that is formed have the same rows
  buffer<int32_t> asub;
  buffer<double> aval;
  buffer<double> given; // of members as it was before they were scaled
  buffer<double> line;  // [max of m and members of a cone] work, 0 between calls
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
  int32_t nummember() const noexcept { return n - first; }
  double* scaling(int32_t k) noexcept { return w.data() + (beg[k] - first); }
  const double* scaling(int32_t k) const noexcept { return w.data() + (beg[k] - first); }
};

void cone_system_make(sysenv& sys, const hom_data& d, cone_system& c);
// The scaling into the matrix. h: [n + numown].
void cone_system_put(cone_system& c, double* h) noexcept;
// x of the members becomes W^-1 x. x: [n].
void cone_system_over(const cone_system& c, double* x) noexcept;

} // namespace tvn
