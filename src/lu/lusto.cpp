// Element storage of the factor: blocks of rows and columns in two stores with cross pointers.
//
// A block has a capacity that is a power of two, cut to the dimension. A block that grows moves to a free block of the
// wanted size or to the end of its store, and its old place joins the free list of its size; the link stands in the
// first word of the block's cross-pointer array. When the end is reached both stores are compressed: the rows are
// copied in pivot order to the other store, the stores change roles, and the columns are counted and filled anew. Cost
// of a move: the block; of a compression: all elements. At most `maxgc` compressions per factorisation.
#include "lu/luint.h"

namespace tvn {
namespace {

// List that a released block of this capacity joins: every block of list k has room for the requests of list k.
int32_t list_of(const lu& f, bool isrow, int32_t cap) {
  const lu_blocksize s = TVN_lu_computesize(f, isrow, cap);
  return s.cap == cap ? s.log2 : s.log2 - 1;
}

int32_t take_block(int32_t& head, const int32_t* link, int32_t none) {
  const int32_t block = head;
  if (block != none) head = link[block];
  return block;
}

void release_row(const lu& f, lu_store& sto, int32_t i) {
  if (sto.rcap[i] == 0) return;
  const int32_t k = list_of(f, true, sto.rcap[i]);
  sto.rpos[sto.rbeg[i]] = sto.freerow[k];
  sto.freerow[k] = sto.rbeg[i];
}

void release_col(const lu& f, lu_store& sto, int32_t j) {
  if (sto.ccap[j] == 0) return;
  const int32_t k = list_of(f, false, sto.ccap[j]);
  sto.cpos[sto.cbeg[j]] = sto.freecol[k];
  sto.freecol[k] = sto.cbeg[j];
}

bool room_in_rows(lu& f, int32_t cap) {
  if (f.sto.urowfree + cap <= f.sto.lubot) return true;
  return TVN_lu_garcol(f) && f.sto.urowfree + cap <= f.sto.lubot;
}

bool room_in_cols(lu& f, int32_t cap) {
  if (f.sto.ucolfree + cap <= lu_collimit(f)) return true;
  if (f.run.numgc >= f.set.maxgc) return false;
  f.run.numgc++;
  const bool factored = f.state == lu_factored;
  const lu_code code = TVN_lu_buildcoldbg(f, factored ? 0 : f.piv.stpf, factored ? f.u.end : f.nrow - f.piv.stpb);
  // The elements fitted before and blocks only shrink.
  TVN_ASSERT(f.sys, "src/lu/lusto", code == lu_code::done);
  return f.sto.ucolfree + cap <= lu_collimit(f);
}

void move_row(lu_store& s, int32_t i, int32_t to) {
  const int32_t from = s.rbeg[i], n = s.rlen[i];
  for (int32_t d = 0; d < n; d++) {
    s.rval[to + d] = s.rval[from + d];
    s.rcol[to + d] = s.rcol[from + d];
    const int32_t p = s.rpos[from + d];
    s.rpos[to + d] = p;
    s.cpos[p] = to + d;
  }
}

void move_col(lu_store& s, int32_t j, int32_t to, bool values) {
  const int32_t from = s.cbeg[j], n = s.clen[j];
  if (values)
    for (int32_t d = 0; d < n; d++) s.cval[to + d] = s.cval[from + d];
  for (int32_t d = 0; d < n; d++) {
    s.crow[to + d] = s.crow[from + d];
    const int32_t q = s.cpos[from + d];
    s.cpos[to + d] = q;
    s.rpos[q] = to + d;
  }
}

} // namespace

void TVN_lu_resetufre(lu_store& s) {
  std::fill(std::begin(s.freerow), std::end(s.freerow), s.wsze);
  std::fill(std::begin(s.freecol), std::end(s.freecol), s.wsze);
}

lu_code TVN_lu_resizerow(lu& f, int32_t i, int32_t n) {
  const lu_blocksize size = TVN_lu_computesize(f, true, n);
  if (size.cap == f.sto.rcap[i]) return lu_code::done;
  int32_t to = 0;
  if (n > 0) {
    f.run.numrowresize++;
    to = take_block(f.sto.freerow[size.log2], f.sto.rpos.data(), f.sto.wsze);
    if (to == f.sto.wsze) {
      if (!room_in_rows(f, size.cap)) return lu_code::no_storage;
      to = f.sto.urowfree;
      f.sto.urowfree += size.cap;
    }
    move_row(f.sto, i, to);
  }
  release_row(f, f.sto, i);
  f.sto.rbeg[i] = to;
  f.sto.rcap[i] = size.cap;
  return lu_code::done;
}

lu_code TVN_lu_resizecol(lu& f, int32_t j, int32_t n) {
  const lu_blocksize size = TVN_lu_computesize(f, false, n);
  if (size.cap == f.sto.ccap[j]) return lu_code::done;
  int32_t to = 0;
  if (n > 0) {
    f.run.numcolresize++;
    to = take_block(f.sto.freecol[size.log2], f.sto.cpos.data(), f.sto.wsze);
    if (to == f.sto.wsze) {
      if (!room_in_cols(f, size.cap)) return lu_code::no_storage;
      to = f.sto.ucolfree;
      f.sto.ucolfree += size.cap;
    }
    move_col(f.sto, j, to, f.state == lu_factored);
  }
  release_col(f, f.sto, j);
  f.sto.cbeg[j] = to;
  f.sto.ccap[j] = size.cap;
  return lu_code::done;
}

void lu_gather(lu& f) {
  const bool factored = f.state == lu_factored;
  const int32_t* order = factored ? f.u.order.data() : f.piv.prow.data();
  const int32_t n = factored ? f.u.end : f.nrow;
  const double* __restrict rv = f.sto.rval.data();
  const int32_t* __restrict rc = f.sto.rcol.data();
  double* __restrict tv = f.sto.cval.data();
  int32_t* __restrict tc = f.sto.crow.data();
  // L by rows stays with the columns: it lies in the store that becomes the row store.
  const int32_t shared = factored ? f.sto.lbegin : f.sto.wsze;
  if (shared < f.sto.wsze) {
    std::swap_ranges(f.sto.rval.data() + shared, f.sto.rval.data() + f.sto.wsze, f.sto.cval.data() + shared);
    std::swap_ranges(f.sto.rcol.data() + shared, f.sto.rcol.data() + f.sto.wsze, f.sto.crow.data() + shared);
  }
  int32_t pos = 0;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    const int32_t b = f.sto.rbeg[i], e = b + f.sto.rlen[i], start = pos;
    for (int32_t q = b; q < e; q++) {
      tv[pos] = rv[q];
      tc[pos++] = rc[q];
    }
    f.sto.rbeg[i] = start;
    f.sto.rlen[i] = pos - start;
    f.sto.rcap[i] = TVN_lu_computesize(f, true, pos - start).cap;
    pos = start + f.sto.rcap[i];
  }
  f.sto.urowfree = pos;
  for (int32_t q = f.sto.lubot; q < shared; q++) { // L while factoring, etas when factored
    tv[q] = rv[q];
    tc[q] = rc[q];
  }
  f.sto.rval.swap(f.sto.cval);
  f.sto.rcol.swap(f.sto.crow);
}

bool TVN_lu_garcol(lu& f) {
  if (f.run.numgc >= f.set.maxgc) return false;
  f.run.numgc++;
  lu_compress(f);
  return true;
}

void lu_compress(lu& f) {
  f.run.totalgc++;
  f.acc.work[lt_garcol] += f.sto.urowfree;
  lu_gather(f);
  TVN_lu_resetufre(f.sto);
  const bool factored = f.state == lu_factored;
  const lu_code code = TVN_lu_buildcoldbg(f, factored ? 0 : f.piv.stpf, factored ? f.u.end : f.nrow - f.piv.stpb);
  TVN_ASSERT(f.sys, "src/lu/lusto", code == lu_code::done);
}

namespace {

// Starts of the column blocks for the counts in clen; false when they do not fit. tight: no head-room.
bool place_columns(lu& f, bool tight) {
  const int32_t limit = lu_collimit(f);
  int64_t pos = 0;
  const auto place = [&](int32_t j) {
    const int32_t cap = tight ? f.sto.clen[j] : TVN_lu_computesize(f, false, f.sto.clen[j]).cap;
    f.sto.cbeg[j] = static_cast<int32_t>(pos);
    f.sto.ccap[j] = cap;
    pos += cap;
    return pos <= limit;
  };
  if (f.state == lu_factored) { // in the order in which a backward pass meets them
    for (int32_t k = 0; k < f.u.end; k++)
      if (const int32_t i = f.u.order[k]; i >= 0 && !place(f.piv.rowpivcol[i])) return false;
  } else {
    for (int32_t j = 0; j < f.ncol; j++)
      if (!place(j)) return false;
  }
  f.sto.ucolfree = static_cast<int32_t>(pos);
  return true;
}

void fill_columns(lu& f, const int32_t* order, int32_t n) {
  const int32_t* __restrict rc = f.sto.rcol.data();
  int32_t* __restrict rp = f.sto.rpos.data();
  int32_t* __restrict cr = f.sto.crow.data();
  int32_t* __restrict cp = f.sto.cpos.data();
  int32_t* __restrict len = f.sto.clen.data();
  const int32_t* __restrict beg = f.sto.cbeg.data();
  const double* __restrict rv = f.sto.rval.data();
  double* __restrict cv = f.sto.cval.data();
  const bool values = f.state == lu_factored;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) {
      const int32_t p = beg[rc[q]] + len[rc[q]]++;
      cr[p] = i;
      cp[p] = q;
      rp[q] = p;
      if (values) cv[p] = rv[q];
    }
  }
}

} // namespace

lu_code TVN_lu_buildcoldbg(lu& f, int32_t from, int32_t to) {
  const int32_t* order = (f.state == lu_factored ? f.u.order.data() : f.piv.prow.data()) + from;
  const int32_t n = to - from;
  int32_t* __restrict len = f.sto.clen.data();
  const int32_t* __restrict rc = f.sto.rcol.data();
  std::fill_n(len, f.ncol, 0);
  int64_t num = 0;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    for (int32_t q = f.sto.rbeg[i], e = q + f.sto.rlen[i]; q < e; q++) len[rc[q]]++;
    num += f.sto.rlen[i];
  }
  f.run.numbuildcol++;
  f.acc.work[lt_buildcol] += num;
  std::fill(std::begin(f.sto.freecol), std::end(f.sto.freecol), f.sto.wsze);
  if (!place_columns(f, false) && !place_columns(f, true)) return lu_code::no_storage;
  std::fill_n(len, f.ncol, 0);
  fill_columns(f, order, n);
  return lu_code::done;
}

} // namespace tvn
