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
constexpr int64_t worsepercent = 101; // recent work an update, of the best average, at which it is advised
constexpr int32_t earlyupdates = 101; // a full store before this many updates asks for a bigger one

struct lu_eta {
  int32_t count = 0; // rows in f.tmp.stack, multipliers in f.tmp.lwork
  double dot = 0.0;  // with the spike
  double max = 0.0;  // largest magnitude
};

// Rows behind p that row p of U depends on, and their multipliers. f.tmp.ework is clean on entry and exit.
lu_eta form_eta(lu& f, int32_t p, const double* __restrict w) {
  double* __restrict e = f.tmp.ework.data();
  const double* __restrict val = f.sto.rval.data();
  const int32_t* __restrict col = f.sto.rcol.data();
  const int32_t* __restrict colplace = f.u.colplace.data();
  lu_eta eta;
  lu_agenda agenda(f.tmp);
  int64_t work = f.sto.rlen[p];
  for (int32_t q = f.sto.rbeg[p], end = q + f.sto.rlen[p]; q < end; q++) {
    e[col[q]] = val[q];
    agenda.add(colplace[col[q]]);
  }
  agenda.ascend([&](int32_t k) {
    const int32_t r = f.u.order[k], c = f.piv.rowpivcol[r];
    double t = e[c];
    e[c] = 0.0;
    if (!(std::fabs(t) > toleta)) return;
    t /= f.u.diag[r];
    if (!(std::fabs(t) > toleta)) return;
    f.tmp.stack[eta.count] = r;
    f.tmp.lwork[eta.count++] = t;
    eta.dot += t * w[r];
    eta.max = std::max(eta.max, std::fabs(t));
    for (int32_t q = f.sto.rbeg[r], end = q + f.sto.rlen[r]; q < end; q++) {
      e[col[q]] -= t * val[q];
      agenda.add(colplace[col[q]]);
    }
    work += f.sto.rlen[r] + 1;
  });
  f.acc.work[lt_updrow] += work;
  return eta;
}

double largest(const spvec& w) {
  double big = 0.0;
  for (int32_t k = 0; k < w.count; k++) big = std::max(big, std::fabs(w.val[w.idx[k]]));
  return big;
}

int64_t update_work(const lu_account& acc) {
  int64_t sum = 0;
  for (int32_t t = 15; t <= 25; t++) sum += acc.work[t];
  return sum;
}

// Exact: two 64-bit factors.
__int128 product(int64_t a, int64_t b) { return static_cast<__int128>(a) * b; }

// Least average work per update. True once the recent updates cost more than the best average.
bool watch_average_work(lu_account& acc, int64_t numupds) {
  const int64_t n = numupds, w = update_work(acc);
  if (n == 1) {
    acc.factorwork = 0;
    for (int32_t t = 0; t <= 14; t++) acc.factorwork += acc.work[t];
    acc.bestn = 1;
    acc.besttotal = acc.factorwork + w;
    acc.ring[0] = 0; // read at the fiftieth update, first written then
  } else if (product(acc.besttotal, n) > product(acc.factorwork + w, acc.bestn)) {
    acc.bestn = n;
    acc.besttotal = acc.factorwork + w;
  }
  int64_t& slot = acc.ring[n % ringsize];
  const int64_t recent = n < ringsize ? w : w - slot;
  slot = w;
  if (n < minupdates) return false;
  const int64_t span = std::min<int64_t>(n, ringsize);
  return product(100 * acc.bestn, recent) >= product(worsepercent * span, acc.besttotal);
}

void decide_factornow(lu& f) {
  const bool costly = f.set.refacfreq == 0 && watch_average_work(f.acc, f.eta.numupds);
  if (costly || (f.set.refacfreq > 0 && f.eta.numupds >= f.set.refacfreq)) f.run.factornow = true;
}

// Row p leaves the columns, the column of p leaves the rows.
void remove_old(lu_store& sto, lu_account& acc, int32_t p, int32_t c) {
  for (int32_t q = sto.rbeg[p], e = q + sto.rlen[p]; q < e; q++) lu_cutfromcol(sto, sto.rcol[q], sto.rpos[q]);
  for (int32_t s = sto.cbeg[c], e = s + sto.clen[c]; s < e; s++) lu_cutfromrow(sto, sto.crow[s], sto.cpos[s]);
  sto.unz -= sto.rlen[p] + sto.clen[c];
  acc.work[lt_updstore] += sto.rlen[p] + sto.clen[c];
  sto.rlen[p] = 0;
  sto.clen[c] = 0;
}

bool has_eta_room(lu& f, int32_t n) {
  if (f.sto.lubot - n >= f.sto.urowfree) return true;
  return TVN_lu_garcol(f) && f.sto.lubot - n >= f.sto.urowfree;
}

void store_eta(lu_store& sto, lu_etas& etas, const lu_scratch& tmp, lu_account& acc, int32_t p, const lu_eta& eta) {
  if (eta.count == 0) return;
  sto.lubot -= eta.count;
  for (int32_t k = 0; k < eta.count; k++) {
    sto.rcol[sto.lubot + k] = tmp.stack[k];
    sto.rval[sto.lubot + k] = -tmp.lwork[k];
  }
  etas.etarow[etas.numetas++] = p;
  etas.etabeg[etas.numetas] = sto.lubot;
  acc.work[lt_updstore] += eta.count;
}

// Room for one more element in row r and column c. A compression on the way takes head-room back, hence the loop.
lu_code make_room(lu& f, int32_t r, int32_t c, int32_t remaining) {
  while (f.sto.rlen[r] == f.sto.rcap[r] || f.sto.clen[c] == f.sto.ccap[c]) {
    const lu_code code = f.sto.rlen[r] == f.sto.rcap[r] ? TVN_lu_resizerow(f, r, f.sto.rcap[r] + 1)
                                                        : TVN_lu_resizecol(f, c, f.sto.clen[c] + remaining);
    if (code != lu_code::done) return code;
  }
  return lu_code::done;
}

lu_code insert_spike(lu& f, int32_t p, int32_t c, const spvec& w) {
  int32_t remaining = 0;
  for (int32_t k = 0; k < w.count; k++) remaining += std::fabs(w.val[w.idx[k]]) > f.set.tolzero && w.idx[k] != p;
  f.sto.unz += remaining;
  f.acc.work[lt_updstore] += remaining;
  for (int32_t k = 0; remaining > 0; k++) {
    const int32_t r = w.idx[k];
    const double v = w.val[r];
    if (r == p || !(std::fabs(v) > f.set.tolzero)) continue;
    if (f.sto.rlen[r] == f.sto.rcap[r] || f.sto.clen[c] == f.sto.ccap[c])
      if (const lu_code code = make_room(f, r, c, remaining); code != lu_code::done) return code;
    const int32_t q = f.sto.rbeg[r] + f.sto.rlen[r]++, s = f.sto.cbeg[c] + f.sto.clen[c]++;
    f.sto.rval[q] = f.sto.cval[s] = v;
    f.sto.rcol[q] = c;
    f.sto.rpos[q] = s;
    f.sto.crow[s] = r;
    f.sto.cpos[s] = q;
    remaining--;
  }
  return lu_code::done;
}

void move_to_end(lu_upper& u, const lu_pivots& piv, int32_t p) {
  u.order[u.place[p]] = -1;
  if (u.end == static_cast<int32_t>(u.order.size())) { // squeeze out the holes
    int32_t n = 0;
    for (int32_t k = 0; k < u.end; k++) {
      const int32_t r = u.order[k];
      if (r < 0) continue;
      u.place[r] = n;
      u.colplace[piv.rowpivcol[r]] = n;
      u.order[n++] = r;
    }
    u.end = n;
  }
  u.place[p] = u.end;
  u.colplace[piv.rowpivcol[p]] = u.end;
  u.order[u.end++] = p;
}

lu_code no_room(lu& f) {
  if (f.eta.numupds < earlyupdates) f.run.incwsze = true;
  return lu_code::no_update_room;
}

} // namespace

void TVN_lu_initupdate(lu& f) { f.eta.numupds = 0; }

lu_code TVN_lu_supd(lu& f, int32_t position, const spvec& spike) {
  TVN_ASSERT(f.sys, label, f.state == lu_factored && f.nrow == f.ncol && 0 <= position && position < f.ncol);
  const int32_t p = f.piv.colpivrow[position];
  const lu_eta eta = form_eta(f, p, spike.val.data());
  const double d = spike.val[p] - eta.dot;
  if (!(std::fabs(d) > std::max(f.set.tolabspiv, f.set.tolzero))) return lu_code::unstable_update;
  if (!(std::fabs(d) > largest(spike) * eta.max * f.set.tolrelupd)) return lu_code::unstable_update;
  f.eta.numupds++;
  decide_factornow(f);
  if (f.eta.numetas == f.eta.maxetas) return lu_code::no_update_room;
  if (!has_eta_room(f, eta.count)) return no_room(f);

  remove_old(f.sto, f.acc, p, position);
  store_eta(f.sto, f.eta, f.tmp, f.acc, p, eta);
  if (insert_spike(f, p, position, spike) != lu_code::done) {
    f.state = lu_unusable;
    return no_room(f);
  }
  f.u.diag[p] = d;
  move_to_end(f.u, f.piv, p);
#if TVN_CHECK_LEVEL >= 3
  lu_audit(f, label, __LINE__);
#endif
  return f.run.factornow ? lu_code::refactor_advised : lu_code::done;
}

} // namespace tvn
