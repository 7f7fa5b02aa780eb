// The live matrix: by rows and by columns, with room to grow, dead entries skipped until the next cleaning.
//
// Invariants: a live entry stands in its row and in its column with the same value; connz and varnz count live entries;
// lines do not overlap, and line k may grow to cap[k] entries before it moves to the free end. Killing a row or column
// costs its own length (the counts of its partners); entries of the dead go at the next TVN_prslv_cleana.
#include "prslv/prslvint.h"

#include "misc/spmat.h"

namespace tvn {

namespace {

constexpr const char* label = "src/prslv/prslvmat";

void size_lines(sysenv& sys, prslv_lines& l, int32_t num, int64_t room) {
  l.beg.reset(sys, num);
  l.len.reset(sys, num, 0);
  l.cap.reset(sys, num, 0);
  l.sub.reset(sys, room);
  l.val.reset(sys, room);
}

int64_t spare_room(const prslv_context& x, int64_t nz) {
  const int64_t vectors = 2 * (static_cast<int64_t>(x.p.numcon) + x.p.numvar);
  const double fill = x.param.fillfactor * std::max(x.param.elimfill, 1);
  return std::max(static_cast<int64_t>(fill * static_cast<double>(nz)), vectors);
}

// Rows from live columns: the counts are set by the caller.
void transpose_into_rows(prslv_context& x) {
  int64_t at = 0;
  for (int32_t i = 0; i < x.p.numcon; i++) {
    x.row.beg[i] = at;
    x.row.len[i] = 0;
    x.row.cap[i] = x.conlive[i] ? x.connz[i] : 0;
    at += x.row.cap[i];
  }
  x.row.free = at;
  x.cleanfree = x.row.free + x.col.free;
  for (int32_t j = 0; j < x.p.numvar; j++) {
    if (!x.varlive[j]) continue;
    for_col(x, j, [&](int32_t i, double a) {
      const int64_t p = x.row.beg[i] + x.row.len[i]++;
      x.row.sub[p] = j;
      x.row.val[p] = a;
    });
    if (TVN_prslv_stopped(x.run, x.varnz[j])) return;
  }
}

void remove_from_line(prslv_lines& l, int32_t k, int64_t p) {
  const int64_t last = l.beg[k] + --l.len[k];
  if (l.hub == k) {
    l.place[l.sub[last]] = static_cast<int32_t>(p - l.beg[k]);
    l.place[l.sub[p]] = -1;
  }
  l.sub[p] = l.sub[last];
  l.val[p] = l.val[last];
}

void append_to_line(prslv_lines& l, int32_t k, int32_t sub, double val) {
  if (l.hub == k) l.place[sub] = l.len[k];
  const int64_t p = l.beg[k] + l.len[k]++;
  l.sub[p] = sub;
  l.val[p] = val;
}

void leave_hub(prslv_lines& l) {
  if (l.hub < 0) return;
  for (int64_t p = l.beg[l.hub], e = p + l.len[l.hub]; p < e; p++) l.place[l.sub[p]] = -1;
  l.hub = -1;
}

// Keeps the places of line k. The next changes are to the same line where many columns are tied to one.
void keep_hub(prslv_lines& l, int32_t k) {
  if (l.hub == k) return;
  leave_hub(l);
  l.hub = k;
  for (int32_t q = 0; q < l.len[k]; q++) l.place[l.sub[l.beg[k] + q]] = q;
}

// Whether `num` changes to line k go by its places.
bool is_long(const prslv_lines& l, int32_t k, int32_t num) { return l.len[k] > std::max(l.longline, num); }

// Place of entry s in line k, which has it.
int64_t find_place(prslv_lines& l, int32_t k, int32_t s) {
  if (l.len[k] > l.longline) {
    keep_hub(l, k);
    return l.beg[k] + l.place[s];
  }
  int64_t p = l.beg[k];
  while (l.sub[p] != s) p++;
  return p;
}

} // namespace

void TVN_prslv_makematrix(prslv_context& x) {
  const prslv_problem& p = x.p;
  int64_t nz = 0;
  for (int32_t j = 0; j < p.numvar; j++) nz += p.ptre[j] - p.ptrb[j];
  const int64_t room = nz + spare_room(x, nz);
  size_lines(*x.sys, x.col, p.numvar, room);
  size_lines(*x.sys, x.row, p.numcon, room);
  x.col.longline = x.row.longline = x.param.longline;
  x.col.place.reset(*x.sys, p.numcon, -1);
  x.row.place.reset(*x.sys, p.numvar, -1);
  x.connz.reset(*x.sys, p.numcon, 0);
  x.varnz.reset(*x.sys, p.numvar, 0);
  int64_t at = 0;
  for (int32_t j = 0; j < p.numvar; j++) {
    x.col.beg[j] = at;
    for (int64_t q = p.ptrb[j]; q < p.ptre[j]; q++) {
      if (p.val[q] == 0.0) continue;
      x.col.sub[at] = p.sub[q];
      x.col.val[at++] = p.val[q];
      x.connz[p.sub[q]]++;
    }
    x.col.len[j] = x.col.cap[j] = x.varnz[j] = static_cast<int32_t>(at - x.col.beg[j]);
    if (TVN_prslv_stopped(x.run, x.varnz[j])) return;
  }
  x.col.free = at;
  transpose_into_rows(x);
}

void TVN_prslv_cleana(prslv_context& x) {
  leave_hub(x.col);
  leave_hub(x.row);
  int64_t nz = 0;
  for (int32_t j = 0; j < x.p.numvar; j++)
    if (x.varlive[j]) nz += x.varnz[j];
  prslv_lines fresh;
  size_lines(*x.sys, fresh, x.p.numvar, std::max(nz + spare_room(x, nz), x.col.sub.size()));
  int64_t at = 0;
  for (int32_t j = 0; j < x.p.numvar; j++) {
    fresh.beg[j] = at;
    if (!x.varlive[j]) continue;
    for_col(x, j, [&](int32_t i, double a) {
      fresh.sub[at] = i;
      fresh.val[at++] = a;
    });
    fresh.len[j] = fresh.cap[j] = static_cast<int32_t>(at - fresh.beg[j]);
    if (fresh.len[j] != x.varnz[j])
      TVN_sysenv_stopdbg(x.sys, label, __LINE__, "Variable. varnz[%d]: %d != %d", j, x.varnz[j], fresh.len[j]);
    if (TVN_prslv_stopped(x.run, x.varnz[j])) return;
  }
  fresh.free = at;
  std::swap(x.col.beg, fresh.beg);
  std::swap(x.col.len, fresh.len);
  std::swap(x.col.cap, fresh.cap);
  std::swap(x.col.sub, fresh.sub);
  std::swap(x.col.val, fresh.val);
  x.col.free = fresh.free;
  transpose_into_rows(x);
}

bool TVN_prslv_growline(prslv_lines& l, int32_t k, int32_t need) {
  const int32_t want = l.len[k] + need;
  if (want <= l.cap[k]) return true;
  if (l.beg[k] + l.cap[k] == l.free) { // the last line grows where it stands
    if (l.beg[k] + want > l.sub.size()) return false;
    l.cap[k] = want;
    l.free = l.beg[k] + want;
    return true;
  }
  if (l.free + want > l.sub.size()) return false;
  const int64_t spare = want > l.longline ? want / 2 : 0; // a line that grows by one again and again moves seldom
  const int64_t take = want + std::min(spare, (l.sub.size() - l.free - want) / 8);
  std::copy_n(l.sub.data() + l.beg[k], l.len[k], l.sub.data() + l.free);
  std::copy_n(l.val.data() + l.beg[k], l.len[k], l.val.data() + l.free);
  l.beg[k] = l.free;
  l.cap[k] = static_cast<int32_t>(take);
  l.free += take;
  return true;
}

namespace {

// Drops the dead entries of a line, so that room and length are counted on live ones.
void tidy(prslv_lines& l, int32_t k, const buffer<char>& live) {
  for (int64_t p = l.beg[k] + l.len[k] - 1; p >= l.beg[k]; p--)
    if (!live[l.sub[p]]) remove_from_line(l, k, p);
}

// As add_multiple, by the places of a long line: costs the pivot line.
int32_t add_to_hub(const prslv_context& x, prslv_lines& lines, int32_t k, double factor, const int32_t* sub,
                   int32_t num, const buffer<double>& work) {
  int32_t change = 0;
  keep_hub(lines, k);
  for (int32_t q = 0; q < num; q++) {
    const int32_t s = sub[q], at = lines.place[s];
    const int64_t p = lines.beg[k] + at;
    const double old = at >= 0 ? lines.val[p] : 0.0, v = old - factor * work[s];
    const bool drop = TVN_prslv_updateaiszero(x, v, old);
    if (at < 0 && !drop)
      append_to_line(lines, k, s, v);
    else if (at >= 0 && !drop)
      lines.val[p] = v;
    else if (at >= 0)
      remove_from_line(lines, k, p);
    change += (at < 0 && !drop) - (at >= 0 && drop);
  }
  return change;
}

// Line k of `lines` gets -factor times the pattern of the pivot line: `sub`, `num` with values in `work` by index.
// mark[s] == k tells that index s was met. Returns the change of the number of entries.
int32_t add_multiple(const prslv_context& x, prslv_lines& lines, int32_t k, double factor, const int32_t* sub,
                     int32_t num, const buffer<double>& work, buffer<int32_t>& mark) {
  if (is_long(lines, k, num)) return add_to_hub(x, lines, k, factor, sub, num, work);
  int32_t change = 0;
  for (int64_t p = lines.beg[k] + lines.len[k] - 1; p >= lines.beg[k]; p--) {
    const int32_t s = lines.sub[p];
    if (work[s] == 0.0) continue;
    mark[s] = k;
    const double old = lines.val[p];
    lines.val[p] = old - factor * work[s];
    if (!TVN_prslv_updateaiszero(x, lines.val[p], old)) continue;
    remove_from_line(lines, k, p);
    change--;
  }
  for (int32_t q = 0; q < num; q++) {
    const int32_t s = sub[q];
    if (mark[s] == k) continue;
    const double v = -(factor * work[s]);
    if (TVN_prslv_updateaiszero(x, v, 0.0)) continue;
    append_to_line(lines, k, s, v);
    change++;
  }
  for (int32_t q = 0; q < num; q++) mark[sub[q]] = -1;
  return change;
}

} // namespace

namespace {

// The dead of a long line go only when it is full.
bool make_room(prslv_lines& l, int32_t k, int32_t need, const buffer<char>& live) {
  if (l.len[k] > l.longline && l.len[k] + need <= l.cap[k]) return true;
  tidy(l, k, live);
  return TVN_prslv_growline(l, k, need);
}

bool find_room(prslv_context& x, int32_t i, int32_t j) {
  bool ok = true;
  const bool alone = x.varnz[j] == 1; // then no line grows, and long ones are not touched
  for_row(x, i, [&](int32_t l, double) {
    if (l == j || !ok || alone) return;
    ok = make_room(x.col, l, x.varnz[j] - 1, x.conlive);
  });
  for_col(x, j, [&](int32_t k, double) {
    if (k == i || !ok) return;
    ok = make_room(x.row, k, x.connz[i] - 1, x.varlive);
  });
  return ok;
}

} // namespace

bool TVN_prslv_pivotroom(prslv_context& x, int32_t i, int32_t j) {
  constexpr int64_t share = 16; // of the room, taken since the last cleaning, that makes another one pay
  if (find_room(x, i, j)) return true;
  if (share * (x.col.free + x.row.free - x.cleanfree) < x.col.sub.size()) return false;
  TVN_prslv_cleana(x);
  return !x.run.stop && find_room(x, i, j);
}

namespace {

// Takes the terms of some columns out of the activity of a long row, or puts them in.
void add_terms(prslv_context& x, int32_t k, const int32_t* cols, int32_t num, int32_t sign) {
  keep_hub(x.row, k);
  for (int32_t q = 0; q < num; q++) {
    const int32_t at = x.row.place[cols[q]];
    if (at < 0) continue;
    const double a = x.row.val[x.row.beg[k] + at];
    TVN_prslv_addterm(x.act, k, a, var_lower(x, cols[q]), var_upper(x, cols[q]), sign);
    if (x.rowmax[k] >= 0) x.rowmax[k] = std::max(x.rowmax[k], std::fabs(a));
  }
}

} // namespace

void TVN_prslv_substitute(prslv_context& x, int32_t i, int32_t j, double aij, double b) {
  // The pivot row by column in colwork, the factors of the pivot column by row in rowwork.
  int32_t numcols = 0, numrows = 0;
  int32_t* cols = x.tmp.subwork.data();
  for_row(x, i, [&](int32_t l, double a) {
    if (l == j) return;
    cols[numcols++] = l;
    x.tmp.colwork[l] = a;
  });
  x.conlive[i] = 0;
  x.varlive[j] = 0;
  const double fc = x.p.c[j] / aij;
  x.p.cfix += fc * b + x.p.cc[i] * b;
  for (int32_t q = 0; q < numcols; q++) x.p.c[cols[q]] -= fc * x.tmp.colwork[cols[q]];
  for_col(x, j, [&](int32_t k, double a) {
    const double f = a / aij;
    x.tmp.rowwork[k] = f;
    numrows++;
    remove_from_line(x.row, k, find_place(x.row, k, j));
    x.connz[k]--;
    const bool islong = is_long(x.row, k, numcols);
    if (islong) {
      TVN_prslv_addterm(x.act, k, a, var_lower(x, j), var_upper(x, j), -1);
      add_terms(x, k, cols, numcols, -1);
    }
    x.connz[k] += add_multiple(x, x.row, k, f, cols, numcols, x.tmp.colwork, x.tmp.colmark);
    if (islong) {
      add_terms(x, k, cols, numcols, 1);
    } else {
      TVN_prslv_conactivity(x, k, x.act);
      x.rowmax[k] = -1;
    }
    if (has_lower(x.p.bkc[k]) && std::fabs(x.p.blc[k]) < bound_infinity) x.p.blc[k] -= f * b;
    if (has_upper(x.p.bkc[k]) && std::fabs(x.p.buc[k]) < bound_infinity) x.p.buc[k] -= f * b;
    if (x.p.bkc[k] == bk_fx) x.p.buc[k] = x.p.blc[k];
    x.p.cfix += x.p.cc[k] * (f * b);
  });
  // The same numbers once more along the columns.
  vec<int32_t>& rows = x.tmp.pivotrows;
  rows.clear();
  for_col(x, j, [&](int32_t k, double) { rows.push_back(k); });
  int64_t work = 0;
  for (int32_t q = 0; q < numcols; q++) {
    const int32_t l = cols[q];
    int32_t change = 0;
    if (numrows > 0) {
      change = add_multiple(x, x.col, l, x.tmp.colwork[l], rows.data(), numrows, x.tmp.rowwork, x.tmp.rowmark);
      work += x.col.len[l];
    }
    x.varnz[l] += change - 1; // the pivot row goes
    x.tmp.colwork[l] = 0;
  }
  for (int32_t q = 0; q < numrows; q++) x.tmp.rowwork[rows[q]] = 0;
  x.p.bkc[i] = bk_fr;
  x.p.bkx[j] = bk_fx;
  x.run.stats->numconfree++;
  x.run.stats->numvarfixed++;
  for (int32_t q = 0; q < numrows; q++) TVN_prslv_updatelist(x.due.rows, rows[q]);
  for (int32_t q = 0; q < numcols; q++) make_due(x, cols[q], x.due);
  (void)TVN_prslv_stopped(x.run, work); // who goes on asks again
}

void TVN_prslv_findmultiples(prslv_context& x, bool byrow, prslv_multiples& found) {
  constexpr double toldup = 1e-13; // relative, of the entries
  TVN_prslv_cleana(x);
  if (x.run.stop) return;
  prslv_lines& l = byrow ? x.row : x.col;
  const buffer<char>& live = byrow ? x.conlive : x.varlive;
  const int32_t num = byrow ? x.p.numcon : x.p.numvar, length = byrow ? x.p.numvar : x.p.numcon;
  buffer<int64_t> end(*x.sys, num);
  for (int32_t k = 0; k < num; k++) end[k] = l.beg[k] + (live[k] ? l.len[k] : 0);
  spmat a;
  TVN_spmat_emake(*x.sys, num, length, l.free, l.beg.data(), end.data(), l.sub.data(), l.val.data(), a);
  found.first.reset(*x.sys, num);
  found.scale.reset(*x.sys, num);
  const spmat_poll poll{
      &x.run, [](void* handle, int64_t work) { return TVN_prslv_stopped(*static_cast<prslv_run*>(handle), work); }};
  TVN_spmat_dupvec(a, toldup, found.first.data(), found.scale.data(), poll);
}

} // namespace tvn
