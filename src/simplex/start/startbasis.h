// The header of a start from the keys of a caller.
#pragma once

#include "order/blkord.h"
#include "simplex/base/state.h"

namespace tvn {

// Key that the caller gives variable j of the joined working space.
inline int32_t TVN_simplex_userkey(const simplex_work& w, const solution_view& sol, int32_t j) {
  return w.is_logical(j) ? sol.skc[w.row2user[j]] : sol.skx[w.col2user[j - w.m]];
}

// Value that the caller gives it, in the working space.
inline double TVN_simplex_uservalue(const simplex_work& w, const solution_view& sol, int32_t j) {
  if (!w.is_logical(j)) return sol.xx[w.col2user[j - w.m]] / w.factor(j);
  return (sol.xc[w.row2user[j]] - w.shift[j]) / w.factor(j);
}

// Matches columns (0 .. n-1) to rows, as many as there can be, and among the rows as many of rank 0 as there can be,
// then of rank 1, and so on to numranks - 1. rowrank: [m]. row2col: [m], the place in `columns` of the row's partner,
// -1: none. Returns the number matched.
int32_t TVN_simplex_maxtransversal(sysenv& sys, const simplex_work& w, array_view<const int32_t> columns,
                                   const int32_t* rowrank, int32_t numranks, array_view<int32_t> row2col,
                                   const blkord_progress& progress = {});

// Exactly m basics from the keys, into s.fac.head and pos; s.info.numbasics is what the keys name.
void TVN_simplex_basisfromkeys(simplex_state& s, const solution_view& sol);
// When the factor of that header is singular: the logicals that the keys do not name go where it finds no pivot.
void TVN_simplex_movefill(simplex_state& s, const solution_view& sol);

} // namespace tvn
