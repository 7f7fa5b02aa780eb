// Start basis of the dual simplex: columns instead of slacks where that lessens the dual infeasibility.
//
// A column takes the place of the slack of a row that no column chosen before it touches: the chosen columns form a
// triangle, the basis is regular, and of the duals only that of the new row changes, by d_j / a_ij. So the reduced
// costs follow along one row, and what the exchange does to the sum of dual infeasibilities is known before it is made
// (Maros 2003, chapter 9, for triangular starts). Free columns come first: they have to be basic in the end.
// Weights begin at 2 all the same: to compute the true ones cost more than it saved.
// Invariant: d holds the reduced costs of the basis so far; the sum of their infeasibilities never rises.
// Cost: at most a few times the nonzeros.
#include "simplex/dual/dstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double minpivot = 0.01;                    // magnitude of an entry that may replace a slack,
constexpr double minshare = 0.01;                    // and its share of the largest in the column
constexpr double maxaverage = 15;                    // nonzeros for each column of the start
constexpr double minbudget = 100, budgetshare = 0.4; // columns that may be made basic in all, the latter times rows
constexpr double passshare = 0.1;                    // times rows and the number of the pass: columns of one pass
constexpr int32_t numpasses = 3;                     // the first looks at equations only
constexpr double farshare = 0.2; // infeasible columns from which on others than free ones are looked at
constexpr int64_t maxwork = 4;   // times the nonzeros: entries looked at in all

struct crash_state {
  buffer<double> d;        // [total]
  buffer<uint8_t> touched; // [m] a chosen column has an entry there
  double budget = 0;
  int64_t nonzeros = 0, work = 0; // of the chosen columns; entries looked at
  int32_t chosen = 0;
};

struct crash_choice {
  int32_t row = -1;
  double gain = 0; // fall of the sum of dual infeasibilities
};

double infeasibility_after(const dual_state& s, const crash_state& c, int32_t row, double dy) {
  const simplex_work& w = s.work;
  double change = dsimplex_trueinfeasibility(w, row, c.d[row] + dy) - dsimplex_trueinfeasibility(w, row, c.d[row]);
  for (int64_t e = w.rowbeg[row]; e < w.rowbeg[row + 1]; e++) {
    const int32_t k = w.m + w.rowcol[e];
    if (s.fac.pos[k] >= 0) continue;
    change += dsimplex_trueinfeasibility(w, k, c.d[k] - dy * w.rowval[e]) - dsimplex_trueinfeasibility(w, k, c.d[k]);
  }
  return change;
}

crash_choice choose_row(const dual_state& s, crash_state& c, int32_t j, bool equations) {
  const simplex_work& w = s.work;
  const int64_t b = w.colbeg[j - w.m], e = w.colbeg[j - w.m + 1];
  double largest = 0;
  for (int64_t p = b; p < e; p++) largest = std::max(largest, std::fabs(w.colval[p]));
  crash_choice best;
  for (int64_t p = b; p < e; p++) {
    const int32_t i = w.colsub[p];
    const double size = std::fabs(w.colval[p]);
    if (c.touched[i] || s.fac.pos[i] < 0 || (equations && !w.is_fixed(i))) continue;
    if (size <= minpivot || size < minshare * largest) continue;
    c.work += w.rowbeg[i + 1] - w.rowbeg[i];
    const double gain = -infeasibility_after(s, c, i, c.d[j] / w.colval[p]);
    if (best.row < 0 || gain > best.gain) best = {i, gain};
  }
  return best;
}

void enter(dual_state& s, crash_state& c, int32_t j, int32_t i) {
  const simplex_work& w = s.work;
  double pivot = 0;
  for (int64_t p = w.colbeg[j - w.m]; p < w.colbeg[j - w.m + 1]; p++) {
    c.touched[w.colsub[p]] = 1;
    if (w.colsub[p] == i) pivot = w.colval[p];
  }
  const double dy = c.d[j] / pivot;
  c.d[i] += dy;
  for (int64_t e = w.rowbeg[i]; e < w.rowbeg[i + 1]; e++) c.d[w.m + w.rowcol[e]] -= dy * w.rowval[e];
  c.d[j] = 0;
  const int32_t position = s.fac.pos[i];
  s.fac.head[position] = j;
  s.fac.pos[j] = position;
  s.fac.pos[i] = -1;
  s.key[j] = sk_bas;
  TVN_simplex_restnonbasic(s.base, i, sk_unk);
  c.nonzeros += w.colcount(j);
  c.chosen++;
}

// One scan of the columns; returns how many came in.
int32_t pass(dual_state& s, crash_state& c, bool freeonly, bool equations, double limit) {
  const simplex_work& w = s.work;
  int32_t entered = 0;
  for (int32_t j = w.m; j < w.total; j++) {
    if (c.chosen >= c.budget || entered >= limit || c.work > maxwork * (w.colbeg[w.n] + w.m)) break;
    if (s.fac.pos[j] >= 0 || w.is_free(j) != freeonly) continue;
    if (!freeonly && !(dsimplex_trueinfeasibility(w, j, c.d[j]) > s.tol.dual)) continue;
    if (static_cast<double>(c.nonzeros + w.colcount(j)) > maxaverage * (c.chosen + 1)) continue;
    const crash_choice choice = choose_row(s, c, j, equations);
    if (choice.row < 0 || !(freeonly ? choice.gain >= 0 : choice.gain > 0)) continue;
    enter(s, c, j, choice.row);
    entered++;
  }
  return entered;
}

// Near dual feasibility phase one is short, and a basis of slacks makes the better start of phase two.
bool is_far(const dual_state& s, const crash_state& c) {
  int32_t num = 0;
  for (int32_t j = s.work.m; j < s.work.total; j++)
    num += s.fac.pos[j] < 0 && dsimplex_trueinfeasibility(s.work, j, c.d[j]) > s.tol.dual;
  return num >= farshare * s.work.n;
}

int32_t end(dual_state& s, const crash_state& c) {
  if (c.chosen > 0) s.fac.usable = false;
  return c.chosen;
}

} // namespace

int32_t TVN_dsimplex_dualcrash(dual_state& s) {
  const simplex_work& w = s.work;
  int32_t numstructural = 0;
  for (const int32_t j : s.fac.head) numstructural += !w.is_logical(j);
  // The reduced costs below are those of slacks alone.
  if (numstructural > 0 || 0.01 * w.m * (100 - s.param.dualcrash) < numstructural) return 0;
  crash_state c;
  c.d.reset(s.sys, w.total, 0.0);
  c.touched.reset(s.sys, w.m, uint8_t{0});
  c.budget = std::max(minbudget, budgetshare * w.m);
  for (int32_t k = 0; k < w.n; k++) {
    c.d[w.m + k] = w.cost[w.m + k];
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) c.d[w.m + k] += w.cost[w.colsub[p]] * w.colval[p];
  }
  pass(s, c, true, false, c.budget);
  if (!is_far(s, c)) return end(s, c);
  for (int32_t p = 0; p < numpasses; p++)
    if (pass(s, c, false, p == 0, passshare * (p + 1) * w.m) == 0) c.budget *= 0.5;
  return end(s, c);
}

} // namespace tvn
