// Markowitz pivot search in the active submatrix.
//
// Columns and rows are visited in rising count, columns first. An element is acceptable when it reaches tolabspiv and
// tolrelpiv times the largest of its column (method 1), of its row too (method 2); among acceptable ones the least
// (row count - 1)(column count - 1) wins, the first found among equals. The search stops when no unseen element can be
// better, or once a candidate stands after `maxsearch` rows and columns. Rows and columns that cannot pivot leave their
// queue; a change of one of their elements brings them back.
// Empty ones are never queued. (Markowitz 1957; Suhl and Suhl 1990.)
#include "lu/luint.h"

#include <cmath>

namespace tvn {
namespace {

constexpr int64_t nocount = INT64_MAX;

struct lu_search {
  lu& f;
  lu_active& a;
  int64_t best = nocount; // least count of a candidate
  int32_t i, j;           // the candidate
  int32_t searched = 0;   // rows and columns examined
  int64_t work = 0;       // elements looked at

  lu_search(lu& f_, lu_active& a_) : f(f_), a(a_), i(f_.nrow), j(f_.ncol) {}
  bool is_over(int64_t bound) const { return best != nocount && (best <= bound || searched >= f.set.maxsearch); }
};

double column_max(lu_search& s, int32_t j) {
  if (s.a.colmax[j] >= 0.0) return s.a.colmax[j];
  const double* __restrict rv = s.f.sto.rval.data();
  const int32_t* __restrict cp = s.f.sto.cpos.data();
  double big = 0.0;
  for (int32_t p = s.f.sto.cbeg[j], e = p + s.f.sto.clen[j]; p < e; p++) big = std::max(big, std::fabs(rv[cp[p]]));
  s.work += s.f.sto.clen[j];
  return s.a.colmax[j] = big;
}

double row_max(lu_search& s, int32_t i) {
  if (s.a.rowmax[i] >= 0.0) return s.a.rowmax[i];
  const double* __restrict rv = s.f.sto.rval.data();
  double big = 0.0;
  for (int32_t q = s.f.sto.rbeg[i], e = q + s.f.sto.rlen[i]; q < e; q++) big = std::max(big, std::fabs(rv[q]));
  s.work += s.f.sto.rlen[i];
  return s.a.rowmax[i] = big;
}

bool passes_row_test(lu_search& s, int32_t i, double v) {
  return s.f.set.pivotmethod == pivots_bycolumn || v >= s.f.set.tolrelpiv * row_max(s, i);
}

void search_column(lu_search& s, int32_t j) {
  const lu& f = s.f;
  const double big = column_max(s, j);
  if (big < f.set.tolabspiv) {
    TVN_pq_remove(s.a.colq, j);
    return;
  }
  const double least = std::max(f.set.tolabspiv, f.set.tolrelpiv * big);
  const int64_t others = f.sto.clen[j] - 1;
  for (int32_t p = f.sto.cbeg[j], e = p + f.sto.clen[j]; p < e; p++) {
    const int32_t i = f.sto.crow[p];
    const int64_t count = (f.sto.rlen[i] - 1) * others;
    if (count >= s.best) continue;
    const double v = std::fabs(f.sto.rval[f.sto.cpos[p]]);
    if (v < least || !passes_row_test(s, i, v)) continue;
    s.best = count;
    s.i = i;
    s.j = j;
  }
  s.work += f.sto.clen[j];
  s.searched++;
}

// Elements in columns with a count up to `seen` were looked at from the column side.
void search_row(lu_search& s, int32_t i, int32_t seen) {
  const lu& f = s.f;
  const int64_t others = f.sto.rlen[i] - 1;
  double big = 0.0;
  bool anyqueued = false;
  for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) {
    const int32_t j = f.sto.rcol[q];
    const double v = std::fabs(f.sto.rval[q]);
    big = std::max(big, v);
    if (TVN_pq_get(s.a.colq, j) < 0) continue;
    anyqueued = true;
    if (f.sto.clen[j] <= seen || v < f.set.tolabspiv) continue;
    const int64_t count = others * (f.sto.clen[j] - 1);
    if (count >= s.best) continue;
    if (v < f.set.tolrelpiv * column_max(s, j) || !passes_row_test(s, i, v)) continue;
    s.best = count;
    s.i = i;
    s.j = j;
  }
  s.work += f.sto.rlen[i];
  if (anyqueued) s.searched++;
  if (!anyqueued || big < f.set.tolabspiv) TVN_pq_remove(s.a.rowq, i);
}

// Columns with one element: no elimination, no test but the absolute one.
bool take_single_column(lu_search& s) {
  for (int32_t j = TVN_pq_top(s.a.colq, 1); j != s.f.ncol; j = TVN_pq_top(s.a.colq, 1)) {
    const int32_t p = s.f.sto.cbeg[j];
    s.work++;
    if (std::fabs(s.f.sto.rval[s.f.sto.cpos[p]]) >= s.f.set.tolabspiv) {
      s.i = s.f.sto.crow[p];
      s.j = j;
      return true;
    }
    TVN_pq_remove(s.a.colq, j); // too small; a change brings it back
  }
  return false;
}

bool take_single_row(lu_search& s) {
  for (int32_t i = TVN_pq_top(s.a.rowq, 1); i != s.f.nrow; i = TVN_pq_top(s.a.rowq, 1)) {
    const int32_t q = s.f.sto.rbeg[i];
    s.work++;
    if (TVN_pq_get(s.a.colq, s.f.sto.rcol[q]) >= 0 && std::fabs(s.f.sto.rval[q]) >= s.f.set.tolabspiv) {
      s.i = i;
      s.j = s.f.sto.rcol[q];
      return true;
    }
    TVN_pq_remove(s.a.rowq, i);
  }
  return false;
}

void search_by_count(lu_search& s) {
  pq& colq = s.a.colq;
  pq& rowq = s.a.rowq;
  const int32_t largest = std::max(s.f.ncol, s.f.nrow);
  for (int64_t k = std::min(colq.minp, rowq.minp); k <= largest; k++) {
    if (s.is_over((k - 1) * (k - 1)) || colq.count == 0) return;
    const auto n = static_cast<int32_t>(k);
    if (n <= colq.maxp) {
      for (int32_t j = TVN_pq_top(colq, n), after = 0; j != colq.maxe; j = after) {
        after = colq.next[j];
        search_column(s, j);
        if (s.is_over((k - 1) * (k - 1))) return;
      }
    }
    if (n <= rowq.maxp) {
      for (int32_t i = TVN_pq_top(rowq, n), after = 0; i != rowq.maxe; i = after) {
        after = rowq.next[i];
        search_row(s, i, n);
        if (s.is_over(k * (k - 1))) return;
      }
    }
  }
}

} // namespace

lu_pivot TVN_lu_choosepiv(lu& f, lu_active& a) {
  if (f.set.pivotmethod != pivots_bycolumn && f.set.pivotmethod != pivots_byboth)
    TVN_sysenv_stopdbg(f.sys, "src/lu/lupiv", __LINE__, "Unknown pivot method: %d", f.set.pivotmethod);
  lu_search s(f, a);
  bool front = true;
  bool found = false;
  if (f.set.pivotmethod == pivots_bycolumn) {
    found = take_single_column(s);
    if (!found && take_single_row(s)) {
      found = true;
      front = false;
    }
  }
  if (!found) {
    TVN_pq_tomin(a.colq);
    TVN_pq_tomin(a.rowq);
    search_by_count(s);
  }
  f.acc.work[lt_search] += s.work;
  return {s.i, s.j, front};
}

} // namespace tvn
