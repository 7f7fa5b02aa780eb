// Elimination with one pivot, and what happens when the storage is exhausted on the way.
//
// The pivot row leaves the active rows and becomes a row of U; the pivot column becomes a column of L with multipliers
// -a/pivot; every row that it met is updated, fill-in goes to the ends of row and column. Cost: the elements of the
// updated rows plus the fill. Invariant between steps: an active element stands in its row and its column, and the two
// know each other, so that a compression may move both at any point where room is asked for; positions are not held
// over such a point.
//
// When room for an element is not to be had, the run goes on for the sizes only: L is dropped first, then U, and rows
// are released once they are pivoted. The counts then tell how much storage a second attempt needs.
#include "lu/luint.h"

#include <cmath>

namespace tvn {
namespace {

void drop_l(lu_run& run, lu_store& s, lu_lower& l, lu_etas& eta) {
  run.runsdropl = true;
  s.lubot = s.wsze;
  l.num = 0;
  eta.numetas = 0;
}

void drop_u(const lu& f, lu_run& run, lu_store& s) {
  run.runsdropu = true;
  const auto release = [&](int32_t from, int32_t to) {
    for (int32_t k = from; k < to; k++) s.rlen[f.piv.prow[k]] = s.rcap[f.piv.prow[k]] = 0;
  };
  release(0, f.piv.stpf);
  release(f.nrow - f.piv.stpb, f.nrow);
}

// Gives up L, then U as well, and compresses. False when there is nothing left to give up.
bool release_factor(lu& f) {
  if (f.run.runsdropl && f.run.runsdropu) return false;
  if (f.run.runsdropl)
    drop_u(f, f.run, f.sto);
  else
    drop_l(f.run, f.sto, f.l, f.eta);
  f.run.numgc = 0; // the run is for the sizes now: let it come to its end
  lu_compress(f);
  return true;
}

template <class Request> lu_code with_room(lu& f, Request request) {
  for (;;) {
    const lu_code code = request();
    if (code != lu_code::no_storage || !release_factor(f)) return code;
  }
}

// Takes the pivot row out of the columns; its values stand in a.dense, its columns in a.collist with marks 1.
double open_pivot_row(lu& f, lu_active& a, const lu_pivot& piv, int32_t& num) {
  const int32_t b = f.sto.rbeg[piv.i], e = b + f.sto.rlen[piv.i];
  double pivot = 0.0;
  int32_t place = b;
  num = 0;
  for (int32_t q = b; q < e; q++) {
    const int32_t j = f.sto.rcol[q];
    lu_cutfromcol(f.sto, j, f.sto.rpos[q]);
    if (j == piv.j) {
      pivot = f.sto.rval[q];
      place = q;
      continue;
    }
    a.dense[j] = f.sto.rval[q];
    a.mark[j] = 1;
    a.colmax[j] = -1.0;
    a.collist[num++] = j;
  }
  f.sto.rval[place] = f.sto.rval[e - 1];
  f.sto.rcol[place] = f.sto.rcol[e - 1];
  f.sto.rlen[piv.i]--;
  return pivot;
}

// Takes the pivot column out of its rows: a.rowlist and f.tmp.lwork get rows and multipliers.
int32_t open_pivot_column(lu& f, lu_active& a, int32_t j, double pivot) {
  const int32_t num = f.sto.clen[j];
  int32_t n = 0;
  for (int32_t p = f.sto.cbeg[j], e = p + num; p < e; p++) {
    const int32_t r = f.sto.crow[p], q = f.sto.cpos[p];
    a.rowlist[n] = r;
    f.tmp.lwork[n++] = f.sto.rval[q] / pivot;
    lu_cutfromrow(f.sto, r, q);
    a.rowmax[r] = -1.0;
  }
  f.sto.clen[j] = 0;
  return num;
}

void store_l(lu& f, const lu_active& a, int32_t i, int32_t num) {
  f.run.lcount += num;
  if (f.run.runsdropl) return;
  if (f.sto.lubot - num < f.sto.urowfree && !(TVN_lu_garcol(f) && f.sto.lubot - num >= f.sto.urowfree)) {
    drop_l(f.run, f.sto, f.l, f.eta);
    lu_compress(f);
    return;
  }
  f.sto.lubot -= num;
  f.l.beg[i] = f.sto.lubot;
  f.l.len[i] = num;
  f.l.order[f.l.num++] = i;
  for (int32_t n = 0; n < num; n++) {
    f.sto.rcol[f.sto.lubot + n] = a.rowlist[n];
    f.sto.rval[f.sto.lubot + n] = -f.tmp.lwork[n];
  }
}

// Adds -l times the pivot row to the elements that row r has already. An element that vanishes leaves both stores.
// Marks of met columns become base + 1; returns their number.
int32_t update_present(lu& f, const lu_active& a, int32_t r, double l, int32_t base) {
  double* val = f.sto.rval.data();
  const int32_t* col = f.sto.rcol.data();
  int32_t* __restrict mark = a.mark;
  const double* __restrict dense = a.dense;
  const double tol = f.set.tolzero;
  int32_t met = 0, q = f.sto.rbeg[r], e = q + f.sto.rlen[r];
  while (q < e) {
    const int32_t j = col[q];
    if (mark[j] != base) {
      q++;
      continue;
    }
    mark[j] = base + 1;
    met++;
    const double v = val[q] - l * dense[j];
    if (std::fabs(v) > tol) {
      val[q++] = v;
      continue;
    }
    const int32_t p = f.sto.rpos[q];
    lu_cutfromrow(f.sto, r, q);
    e--;
    const int32_t last = f.sto.cbeg[j] + --f.sto.clen[j];
    if (p != last) {
      f.sto.crow[p] = f.sto.crow[last];
      f.sto.cpos[p] = f.sto.cpos[last];
      f.sto.rpos[f.sto.cpos[p]] = p;
    }
  }
  return met;
}

// Fill-in of row r in the columns that update_present did not meet; resets the marks to base.
lu_code insert_fill(lu& f, const lu_active& a, int32_t r, double l, int32_t num, int32_t met, int32_t base) {
  const int32_t want = f.sto.rlen[r] + num - met;
  lu_code code = lu_code::done;
  if (want > f.sto.rcap[r]) code = with_room(f, [&] { return TVN_lu_resizerow(f, r, want); });
  for (int32_t n = 0; n < num; n++) {
    const int32_t j = a.collist[n];
    if (a.mark[j] != base) {
      a.mark[j] = base;
      continue;
    }
    const double v = -l * a.dense[j];
    if (code != lu_code::done || !(std::fabs(v) > f.set.tolzero)) continue;
    // A compression gives back the head-room of both, so ask until both have some: compressions are counted.
    while (code == lu_code::done && (f.sto.clen[j] == f.sto.ccap[j] || f.sto.rlen[r] == f.sto.rcap[r]))
      code = with_room(f, [&] {
        return f.sto.clen[j] == f.sto.ccap[j] ? TVN_lu_resizecol(f, j, f.sto.clen[j] + 1)
                                              : TVN_lu_resizerow(f, r, f.sto.rlen[r] + 1);
      });
    if (code != lu_code::done) continue;
    const int32_t q = f.sto.rbeg[r] + f.sto.rlen[r]++, p = f.sto.cbeg[j] + f.sto.clen[j]++;
    f.sto.rval[q] = v;
    f.sto.rcol[q] = j;
    f.sto.rpos[q] = p;
    f.sto.crow[p] = r;
    f.sto.cpos[p] = q;
  }
  return code;
}

constexpr int64_t askstep = 1000000; // units between two questions within a pivot

lu_code update_rows(lu& f, const lu_active& a, int32_t numrow, int32_t numcol) {
  lu_code code = lu_code::done;
  int32_t base = 1;
  int64_t work = 0, nextask = askstep; // one pivot in a full nucleus is the work of many
  for (int32_t n = 0; n < numrow && code == lu_code::done; n++) {
    const int32_t r = a.rowlist[n];
    const double l = f.tmp.lwork[n];
    work += f.sto.rlen[r] + numcol;
    if (work >= nextask) {
      nextask = work + askstep;
      if (f.set.progress && f.set.progress(f.set.progresshandle, le_pivots, f.piv.stpf + f.piv.stpb) != 0)
        code = lu_code::stopped;
    }
    const int32_t met = update_present(f, a, r, l, base);
    if (met == numcol) {
      base++; // all marks stand at base + 1 already
      continue;
    }
    const lu_code filled = insert_fill(f, a, r, l, numcol, met, base);
    if (code == lu_code::done) code = filled;
  }
  f.acc.work[lt_eliminate] += work;
  return code;
}

void requeue(pq& q, int32_t e, int32_t count) {
  if (count == 0)
    TVN_pq_remove(q, e);
  else if (TVN_pq_get(q, e) != count)
    TVN_pq_putp(q, e, count);
}

} // namespace

lu_code TVN_lu_dopivot(lu& f, lu_active& a, const lu_pivot& piv) {
  f.run.sumcount += static_cast<double>(f.sto.clen[piv.j] - 1) * (f.sto.rlen[piv.i] - 1);
  int32_t numcol = 0;
  const double pivot = open_pivot_row(f, a, piv, numcol);
  const int32_t numrow = open_pivot_column(f, a, piv.j, pivot);
  TVN_lu_apivot(f, piv.i, piv.j, pivot, piv.front);
  TVN_pq_remove(a.rowq, piv.i);
  TVN_pq_remove(a.colq, piv.j);
  lu_code code = TVN_lu_resizecol(f, piv.j, 0);
  f.run.ucount += numcol;
  if (numrow > 0) store_l(f, a, piv.i, numrow);
  if (f.run.runsdropu) {
    f.sto.rlen[piv.i] = 0;
    code = TVN_lu_resizerow(f, piv.i, 0);
  }
  f.acc.work[lt_eliminate] += numcol + numrow;
  if (numcol > 0 && numrow > 0) code = update_rows(f, a, numrow, numcol);

  for (int32_t n = 0; n < numcol; n++) {
    const int32_t j = a.collist[n];
    a.mark[j] = 0;
    a.dense[j] = 0.0;
    requeue(a.colq, j, f.sto.clen[j]);
  }
  for (int32_t n = 0; n < numrow; n++) requeue(a.rowq, a.rowlist[n], f.sto.rlen[a.rowlist[n]]);
  return code;
}

} // namespace tvn
