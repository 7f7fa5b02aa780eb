// What a run leaves behind for the next run on the same task: the pricing weights of the dual simplex and, when the
// caller asks for it, the factor of the last basis.
//
// Everything is told by items of the user's problem: constraint i as i, variable j as ~j. Weights are a guess that the
// dual simplex corrects, so they are taken whenever an item is basic again, whatever has changed. A factor is exact or
// worthless: it is taken only when the basics, the rows and every number of the basic columns are those it was made
// of, compared with a copy kept beside it. Nothing here points into the task.
#pragma once

#include "simplex/base/state.h"

namespace tvn {

struct kept_basis {
  int32_t count = 0;      // m, less what has been removed since
  buffer<int32_t> item;   // [count] what stands at each position
  buffer<double> unit;    // [count] user's value of the item by scaled value
  buffer<double> weight;  // [count] or empty; 0: not known
  int32_t weightkind = 0; // select_method of the weights, 0: none

  // The factor, when `factored`.
  bool factored = false;
  int32_t since = 0;       // updates on it
  buffer<int32_t> con;     // [m] the user's constraints that were rows
  buffer<double> rowscale; // [m]
  buffer<int64_t> beg;     // [m + 1] the user's numbers of the basic columns, in rows that count
  buffer<int32_t> sub;     // row of the working problem
  buffer<double> val;
  lu factor;
};

// Does the factor fit the basics that the keys name and the numbers of lp? Then it fits the working problem made of
// them when that is scaled by TVN_simplex_scaleaskept.
bool TVN_simplex_basisfits(sysenv& sys, const kept_basis& b, const problem_view& lp, const solution_view& keys);
// The scale factors that the kept factor was made with, and factors to go with them for the nonbasic columns.
void TVN_simplex_scaleaskept(const kept_basis& b, simplex_work& w);
bool TVN_simplex_isscaled(const kept_basis& b) noexcept; // some factor is not 1
// Head and factor into a state that was set up for the same rows and scales; the record has no factor afterwards.
void TVN_simplex_takefactor(kept_basis& b, simplex_state& s);
// Weights of the basics of the state, 0 where none is kept.
void TVN_simplex_getweights(const kept_basis& b, simplex_state& s);

// The basis and weights of a state that has run. With a factor asked for and at hand, that too: the state loses it.
void TVN_simplex_updatebasis(kept_basis& b, simplex_state& s, const problem_view& lp, bool withfactor);
// From items of a part of a problem to those of the whole.
void TVN_simplex_renamebasis(kept_basis& b, const int32_t* con2user, const int32_t* var2user) noexcept;
// After items of a side were renumbered: item first + k becomes map[k], -1: it is gone.
void TVN_simplex_remapbasis(kept_basis& b, bool con, int32_t first, array_view<const int32_t> map) noexcept;
void TVN_simplex_dropfactor(kept_basis& b) noexcept;

} // namespace tvn
