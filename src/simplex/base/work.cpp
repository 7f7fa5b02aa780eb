// Building the working problem: compression, scaling, the two copies of A.
#include "simplex/base/work.h"

#include "simplex/base/scale.h"

#include <cmath>

namespace tvn {

namespace {

bool keep_col(const problem_view& lp, const solution_view* keys, int32_t j) {
  const bool fixed = lp.bkx[j] == bk_fx || (lp.bkx[j] == bk_ra && lp.blx[j] == lp.bux[j]);
  return !fixed || (keys && keys->skx[j] == sk_bas);
}

bool is_infinite(double bound) { return std::fabs(bound) >= bound_infinity; }

// Fills the maps between user and working indices; returns through w.m, w.n.
void make_maps(sysenv& sys, const problem_view& lp, const solution_view* keys, simplex_work& w) {
  w.user2row.reset(sys, lp.numcon);
  w.user2col.reset(sys, lp.numvar);
  w.m = w.n = 0;
  for (int32_t i = 0; i < lp.numcon; i++) w.user2row[i] = TVN_simplex_keepsrow(lp, keys, i) ? w.m++ : -1;
  for (int32_t j = 0; j < lp.numvar; j++) w.user2col[j] = keep_col(lp, keys, j) ? w.n++ : -1;
  w.total = w.m + w.n;
  w.row2user.reset(sys, w.m);
  w.col2user.reset(sys, w.n);
  for (int32_t i = 0; i < lp.numcon; i++)
    if (w.user2row[i] >= 0) w.row2user[w.user2row[i]] = i;
  for (int32_t j = 0; j < lp.numvar; j++)
    if (w.user2col[j] >= 0) w.col2user[w.user2col[j]] = j;
}

void copy_columns(sysenv& sys, const problem_view& lp, simplex_work& w) {
  w.colbeg.reset(sys, w.n + 1);
  w.shift.reset(sys, w.m, 0.0);
  w.offset = lp.cfix;
  int64_t nz = 0;
  for (int32_t j = 0; j < lp.numvar; j++) {
    if (w.user2col[j] < 0) {
      w.offset += lp.c[j] * lp.blx[j];
      for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++)
        if (w.user2row[lp.sub[p]] >= 0) w.shift[w.user2row[lp.sub[p]]] += lp.val[p] * lp.blx[j];
      continue;
    }
    w.colbeg[w.user2col[j]] = nz;
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) nz += w.user2row[lp.sub[p]] >= 0 && lp.val[p] != 0.0;
  }
  w.colbeg[w.n] = nz;
  w.colsub.reset(sys, nz);
  w.colval.reset(sys, nz);
  nz = 0;
  for (int32_t k = 0; k < w.n; k++) {
    const int32_t j = w.col2user[k];
    for (int64_t p = lp.ptrb[j]; p < lp.ptre[j]; p++) {
      if (w.user2row[lp.sub[p]] < 0 || lp.val[p] == 0.0) continue;
      w.colsub[nz] = w.user2row[lp.sub[p]];
      w.colval[nz++] = lp.val[p];
    }
  }
}

// Row copy by counting; all columns start inactive (rowend = rowbeg).
void make_rows(sysenv& sys, simplex_work& w) {
  const int64_t nz = w.colbeg[w.n];
  w.rowbeg.reset(sys, w.m + 1, 0);
  w.rowend.reset(sys, w.m);
  w.rowcol.reset(sys, nz);
  w.rowval.reset(sys, nz);
  w.col2row.reset(sys, nz);
  w.row2col.reset(sys, nz);
  for (int64_t p = 0; p < nz; p++) w.rowbeg[w.colsub[p] + 1]++;
  for (int32_t i = 0; i < w.m; i++) w.rowbeg[i + 1] += w.rowbeg[i];
  for (int32_t i = 0; i < w.m; i++) w.rowend[i] = w.rowbeg[i];
  for (int32_t k = 0; k < w.n; k++)
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) {
      const int64_t q = w.rowend[w.colsub[p]]++;
      w.rowcol[q] = k;
      w.rowval[q] = w.colval[p];
      w.col2row[p] = q;
      w.row2col[q] = p;
    }
  for (int32_t i = 0; i < w.m; i++) w.rowend[i] = w.rowbeg[i];
}

// In the user's units; scaled afterwards.
void set_bounds_and_cost(sysenv& sys, const problem_view& lp, simplex_work& w) {
  w.lower.reset(sys, w.total);
  w.upper.reset(sys, w.total);
  w.cost.reset(sys, w.total);
  for (int32_t i = 0; i < w.m; i++) {
    const int32_t u = w.row2user[i];
    w.lower[i] = !has_lower(lp.bkc[u]) ? -bound_infinity : is_infinite(lp.blc[u]) ? lp.blc[u] : lp.blc[u] - w.shift[i];
    w.upper[i] = !has_upper(lp.bkc[u]) ? bound_infinity : is_infinite(lp.buc[u]) ? lp.buc[u] : lp.buc[u] - w.shift[i];
    if (lp.bkc[u] == bk_fx) w.upper[i] = w.lower[i];
    w.cost[i] = lp.cslack ? lp.cslack[u] : 0.0;
  }
  for (int32_t k = 0; k < w.n; k++) {
    const int32_t u = w.col2user[k], j = w.m + k;
    w.lower[j] = has_lower(lp.bkx[u]) ? lp.blx[u] : -bound_infinity;
    w.upper[j] = has_upper(lp.bkx[u]) ? lp.bux[u] : bound_infinity;
    w.cost[j] = lp.c[u];
  }
}

void apply_scales(simplex_work& w) {
  for (int32_t k = 0; k < w.n; k++)
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) w.colval[p] *= w.rowscale[w.colsub[p]] * w.colscale[k];
  for (int32_t j = 0; j < w.total; j++) {
    const double f = w.factor(j);
    if (!is_infinite(w.lower[j])) w.lower[j] /= f;
    if (!is_infinite(w.upper[j])) w.upper[j] /= f;
    w.cost[j] *= f;
  }
}

// Exchanges two entries of the row copy and keeps the cross pointers.
void swap_entries(simplex_work& w, int64_t a, int64_t b) noexcept {
  if (a == b) return;
  std::swap(w.rowcol[a], w.rowcol[b]);
  std::swap(w.rowval[a], w.rowval[b]);
  std::swap(w.row2col[a], w.row2col[b]);
  w.col2row[w.row2col[a]] = a;
  w.col2row[w.row2col[b]] = b;
}

} // namespace

bool TVN_simplex_keepsrow(const problem_view& lp, const solution_view* keys, int32_t i) noexcept {
  return lp.bkc[i] != bk_fr || (lp.cslack && lp.cslack[i] != 0.0) || (keys && keys->skc[i] != sk_bas);
}

bool TVN_simplex_compressproblem(sysenv& sys, const problem_view& lp, const scale_request& scale, run_watch& watch,
                                 simplex_work& w, const solution_view* keys) {
  make_maps(sys, lp, keys, w);
  copy_columns(sys, lp, w);
  w.rowscale.reset(sys, w.m, 1.0);
  w.colscale.reset(sys, w.n, 1.0);
  if (watch.stopped()) return false;
  set_bounds_and_cost(sys, lp, w);
  if (TVN_simplex_computescaling(sys, scale, watch, w)) apply_scales(w);
  if (watch.stopped()) return false;
  make_rows(sys, w);
  return !watch.stopped();
}

void TVN_simplex_activate(simplex_work& w, int32_t j) noexcept {
  for (int64_t p = w.colbeg[j]; p < w.colbeg[j + 1]; p++) swap_entries(w, w.col2row[p], w.rowend[w.colsub[p]]++);
}

void TVN_simplex_deactivate(simplex_work& w, int32_t j) noexcept {
  for (int64_t p = w.colbeg[j]; p < w.colbeg[j + 1]; p++) swap_entries(w, w.col2row[p], --w.rowend[w.colsub[p]]);
}

bool TVN_simplex_isfinite(const simplex_work& w) {
  for (int64_t p = 0; p < w.colbeg[w.n]; p++)
    if (!std::isfinite(w.colval[p])) return false;
  for (int32_t j = 0; j < w.total; j++)
    if (!std::isfinite(w.cost[j]) || std::isnan(w.lower[j]) || std::isnan(w.upper[j])) return false;
  return true;
}

} // namespace tvn
