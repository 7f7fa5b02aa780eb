// Update of the factor after one column of the basis is replaced (Forrest and Tomlin 1972; Suhl and Suhl 1993).
//
// Let p be the row of U that belongs to the leaving column and w the entering column after L and the etas. Row p, with
// its column taken away, is eliminated by the rows behind it: eta' U' = row p. The new column w takes the place of the
// old one, row p moves to the end of the order with the diagonal w_p - eta'w, and -eta is kept as one more row eta.
// Everything up to the tests only reads the factor: a refusal leaves it as it was. Cost: the rows of U that the search
// meets, plus the old and the new column.
//
// When to refactor: with refacfreq 0 as soon as the work per update over the last 50 updates exceeds the least average
// cost per update, counted with the factorisation, that was reached so far.
#include "lu/lusolve.h"

#include <cmath>

namespace tvn {
namespace {

constexpr const char* label = "src/lu/luupd";
constexpr double toleta = 1e-14;      // smaller elements are no part of an eta
constexpr int32_t ringsize = 50;      // updates over which recent work is measured
constexpr int32_t minupdates = 10;    // no automatic advice before
constexpr int32_t earlyupdates = 101; // a full store before this many updates asks for a bigger one

struct lu_eta {
  int32_t count = 0; // rows in f.stack, multipliers in f.lwork
  double dot = 0.0;  // with the spike
  double max = 0.0;  // largest magnitude
};

// Rows behind p that row p of U depends on, and their multipliers. f.ework is clean on entry and exit.
lu_eta form_eta(lu& f, int32_t p, const double* __restrict w) {
  double* __restrict e = f.ework.data();
  const double* __restrict val = f.rval.data();
  const int32_t* __restrict col = f.rcol.data();
  const int32_t* __restrict colplace = f.colplace.data();
  lu_eta eta;
  lu_agenda agenda(f);
  int64_t work = f.rlen[p];
  for (int32_t q = f.rbeg[p], end = q + f.rlen[p]; q < end; q++) {
    e[col[q]] = val[q];
    agenda.add(colplace[col[q]]);
  }
  agenda.ascend([&](int32_t k) {
    const int32_t r = f.uorder[k], c = f.rowpivcol[r];
    double t = e[c];
    e[c] = 0.0;
    if (!(std::fabs(t) > toleta)) return;
    t /= f.diag[r];
    if (!(std::fabs(t) > toleta)) return;
    f.stack[eta.count] = r;
    f.lwork[eta.count++] = t;
    eta.dot += t * w[r];
    eta.max = std::max(eta.max, std::fabs(t));
    for (int32_t q = f.rbeg[r], end = q + f.rlen[r]; q < end; q++) {
      e[col[q]] -= t * val[q];
      agenda.add(colplace[col[q]]);
    }
    work += f.rlen[r] + 1;
  });
  f.work[lt_updrow] += work;
  return eta;
}

double largest(const spvec& w) {
  double big = 0.0;
  for (int32_t k = 0; k < w.count; k++) big = std::max(big, std::fabs(w.val[w.idx[k]]));
  return big;
}

int64_t update_work(const lu& f) {
  int64_t sum = 0;
  for (int32_t t = 15; t <= 25; t++) sum += f.work[t];
  return sum;
}

// Exact: two 64-bit factors.
__int128 product(int64_t a, int64_t b) { return static_cast<__int128>(a) * b; }

// Least average work per update. Raises factornow once the recent updates cost more than the best average.
void watch_average_work(lu& f) {
  const int64_t n = f.numupds, w = update_work(f);
  if (n == 1) {
    f.factorwork = 0;
    for (int32_t t = 0; t <= 14; t++) f.factorwork += f.work[t];
    f.bestn = 1;
    f.besttotal = f.factorwork + w;
    f.ring[0] = 0; // read at the fiftieth update, first written then
  } else if (product(f.besttotal, n) > product(f.factorwork + w, f.bestn)) {
    f.bestn = n;
    f.besttotal = f.factorwork + w;
  }
  int64_t& slot = f.ring[n % ringsize];
  const int64_t recent = n < ringsize ? w : w - slot;
  slot = w;
  if (n < minupdates) return;
  const int64_t span = std::min<int64_t>(n, ringsize);
  if (product(100 * f.bestn, recent) >= product(101 * span, f.besttotal)) f.factornow = true;
}

void decide_factornow(lu& f) {
  if (f.refacfreq == 0)
    watch_average_work(f);
  else if (f.numupds >= f.refacfreq)
    f.factornow = true;
}

// Row p leaves the columns, the column of p leaves the rows.
void remove_old(lu& f, int32_t p, int32_t c) {
  for (int32_t q = f.rbeg[p], e = q + f.rlen[p]; q < e; q++) lu_cutfromcol(f, f.rcol[q], f.rpos[q]);
  for (int32_t s = f.cbeg[c], e = s + f.clen[c]; s < e; s++) lu_cutfromrow(f, f.crow[s], f.cpos[s]);
  f.unz -= f.rlen[p] + f.clen[c];
  f.work[lt_updstore] += f.rlen[p] + f.clen[c];
  f.rlen[p] = 0;
  f.clen[c] = 0;
}

bool has_eta_room(lu& f, int32_t n) {
  if (f.lubot - n >= f.urowfree) return true;
  return TVN_lu_garcol(f) && f.lubot - n >= f.urowfree;
}

void store_eta(lu& f, int32_t p, const lu_eta& eta) {
  if (eta.count == 0) return;
  f.lubot -= eta.count;
  for (int32_t k = 0; k < eta.count; k++) {
    f.rcol[f.lubot + k] = f.stack[k];
    f.rval[f.lubot + k] = -f.lwork[k];
  }
  f.etarow[f.numetas++] = p;
  f.etabeg[f.numetas] = f.lubot;
  f.work[lt_updstore] += eta.count;
}

// Room for one more element in row r and column c. A compression on the way takes head-room back, hence the loop.
lu_code make_room(lu& f, int32_t r, int32_t c, int32_t remaining) {
  while (f.rlen[r] == f.rcap[r] || f.clen[c] == f.ccap[c]) {
    const lu_code code =
        f.rlen[r] == f.rcap[r] ? TVN_lu_resizerow(f, r, f.rcap[r] + 1) : TVN_lu_resizecol(f, c, f.clen[c] + remaining);
    if (code != lu_code::done) return code;
  }
  return lu_code::done;
}

lu_code insert_spike(lu& f, int32_t p, int32_t c, const spvec& w) {
  int32_t remaining = 0;
  for (int32_t k = 0; k < w.count; k++) remaining += std::fabs(w.val[w.idx[k]]) > f.tolzero && w.idx[k] != p;
  f.unz += remaining;
  f.work[lt_updstore] += remaining;
  for (int32_t k = 0; remaining > 0; k++) {
    const int32_t r = w.idx[k];
    const double v = w.val[r];
    if (r == p || !(std::fabs(v) > f.tolzero)) continue;
    if (f.rlen[r] == f.rcap[r] || f.clen[c] == f.ccap[c])
      if (const lu_code code = make_room(f, r, c, remaining); code != lu_code::done) return code;
    const int32_t q = f.rbeg[r] + f.rlen[r]++, s = f.cbeg[c] + f.clen[c]++;
    f.rval[q] = f.cval[s] = v;
    f.rcol[q] = c;
    f.rpos[q] = s;
    f.crow[s] = r;
    f.cpos[s] = q;
    remaining--;
  }
  return lu_code::done;
}

void move_to_end(lu& f, int32_t p) {
  f.uorder[f.uplace[p]] = -1;
  if (f.uend == static_cast<int32_t>(f.uorder.size())) { // squeeze out the holes
    int32_t n = 0;
    for (int32_t k = 0; k < f.uend; k++) {
      const int32_t r = f.uorder[k];
      if (r < 0) continue;
      f.uplace[r] = n;
      f.colplace[f.rowpivcol[r]] = n;
      f.uorder[n++] = r;
    }
    f.uend = n;
  }
  f.uplace[p] = f.uend;
  f.colplace[f.rowpivcol[p]] = f.uend;
  f.uorder[f.uend++] = p;
}

lu_code no_room(lu& f) {
  if (f.numupds < earlyupdates) f.incwsze = true;
  return lu_code::no_update_room;
}

} // namespace

void TVN_lu_initupdate(lu& f) { f.numupds = 0; }

lu_code TVN_lu_supd(lu& f, int32_t position, const spvec& spike) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && f.nrow == f.ncol && 0 <= position && position < f.ncol);
  const int32_t p = f.colpivrow[position];
  const lu_eta eta = form_eta(f, p, spike.val.data());
  const double d = spike.val[p] - eta.dot;
  if (!(std::fabs(d) > std::max(f.tolabspiv, f.tolzero))) return lu_code::unstable_update;
  if (!(std::fabs(d) > largest(spike) * eta.max * f.tolrelupd)) return lu_code::unstable_update;
  f.numupds++;
  decide_factornow(f);
  if (f.numetas == f.maxetas) return lu_code::no_update_room;
  if (!has_eta_room(f, eta.count)) return no_room(f);

  remove_old(f, p, position);
  store_eta(f, p, eta);
  if (insert_spike(f, p, position, spike) != lu_code::done) {
    f.state = lu_unusable;
    return no_room(f);
  }
  f.diag[p] = d;
  move_to_end(f, p);
#if TVN_CHECK_LEVEL >= 3
  lu_audit(f, label, __LINE__);
#endif
  return f.factornow ? lu_code::refactor_advised : lu_code::done;
}

} // namespace tvn
