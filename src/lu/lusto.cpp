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

void release_row(lu& f, int32_t i) {
  if (f.rcap[i] == 0) return;
  const int32_t k = list_of(f, true, f.rcap[i]);
  f.rpos[f.rbeg[i]] = f.freerow[k];
  f.freerow[k] = f.rbeg[i];
}

void release_col(lu& f, int32_t j) {
  if (f.ccap[j] == 0) return;
  const int32_t k = list_of(f, false, f.ccap[j]);
  f.cpos[f.cbeg[j]] = f.freecol[k];
  f.freecol[k] = f.cbeg[j];
}

bool room_in_rows(lu& f, int32_t cap) {
  if (f.urowfree + cap <= f.lubot) return true;
  return TVN_lu_garcol(f) && f.urowfree + cap <= f.lubot;
}

bool room_in_cols(lu& f, int32_t cap) {
  if (f.ucolfree + cap <= lu_collimit(f)) return true;
  if (f.numgc >= f.maxgc) return false;
  f.numgc++;
  const bool factored = f.state == lu_factored;
  const lu_code code = TVN_lu_buildcoldbg(f, factored ? 0 : f.stpf, factored ? f.uend : f.nrow - f.stpb);
  // The elements fitted before and blocks only shrink.
  TVN_ASSERT(f.sys, "src/lu/lusto", code == lu_code::done);
  return f.ucolfree + cap <= lu_collimit(f);
}

void move_row(lu& f, int32_t i, int32_t to) {
  const int32_t from = f.rbeg[i], n = f.rlen[i];
  for (int32_t d = 0; d < n; d++) {
    f.rval[to + d] = f.rval[from + d];
    f.rcol[to + d] = f.rcol[from + d];
    const int32_t p = f.rpos[from + d];
    f.rpos[to + d] = p;
    f.cpos[p] = to + d;
  }
}

void move_col(lu& f, int32_t j, int32_t to) {
  const int32_t from = f.cbeg[j], n = f.clen[j];
  if (f.state == lu_factored)
    for (int32_t d = 0; d < n; d++) f.cval[to + d] = f.cval[from + d];
  for (int32_t d = 0; d < n; d++) {
    f.crow[to + d] = f.crow[from + d];
    const int32_t q = f.cpos[from + d];
    f.cpos[to + d] = q;
    f.rpos[q] = to + d;
  }
}

} // namespace

void TVN_lu_resetufre(lu& f) {
  std::fill(std::begin(f.freerow), std::end(f.freerow), f.wsze);
  std::fill(std::begin(f.freecol), std::end(f.freecol), f.wsze);
}

lu_code TVN_lu_resizerow(lu& f, int32_t i, int32_t n) {
  const lu_blocksize size = TVN_lu_computesize(f, true, n);
  if (size.cap == f.rcap[i]) return lu_code::done;
  int32_t to = 0;
  if (n > 0) {
    f.numrowresize++;
    to = take_block(f.freerow[size.log2], f.rpos.data(), f.wsze);
    if (to == f.wsze) {
      if (!room_in_rows(f, size.cap)) return lu_code::no_storage;
      to = f.urowfree;
      f.urowfree += size.cap;
    }
    move_row(f, i, to);
  }
  release_row(f, i);
  f.rbeg[i] = to;
  f.rcap[i] = size.cap;
  return lu_code::done;
}

lu_code TVN_lu_resizecol(lu& f, int32_t j, int32_t n) {
  const lu_blocksize size = TVN_lu_computesize(f, false, n);
  if (size.cap == f.ccap[j]) return lu_code::done;
  int32_t to = 0;
  if (n > 0) {
    f.numcolresize++;
    to = take_block(f.freecol[size.log2], f.cpos.data(), f.wsze);
    if (to == f.wsze) {
      if (!room_in_cols(f, size.cap)) return lu_code::no_storage;
      to = f.ucolfree;
      f.ucolfree += size.cap;
    }
    move_col(f, j, to);
  }
  release_col(f, j);
  f.cbeg[j] = to;
  f.ccap[j] = size.cap;
  return lu_code::done;
}

void lu_gather(lu& f) {
  const bool factored = f.state == lu_factored;
  const int32_t* order = factored ? f.uorder.data() : f.prow.data();
  const int32_t n = factored ? f.uend : f.nrow;
  const double* __restrict rv = f.rval.data();
  const int32_t* __restrict rc = f.rcol.data();
  double* __restrict tv = f.cval.data();
  int32_t* __restrict tc = f.crow.data();
  // L by rows stays with the columns: it lies in the store that becomes the row store.
  const int32_t shared = factored ? f.lbegin : f.wsze;
  if (shared < f.wsze) {
    std::swap_ranges(f.rval.data() + shared, f.rval.data() + f.wsze, f.cval.data() + shared);
    std::swap_ranges(f.rcol.data() + shared, f.rcol.data() + f.wsze, f.crow.data() + shared);
  }
  int32_t pos = 0;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    const int32_t b = f.rbeg[i], e = b + f.rlen[i], start = pos;
    for (int32_t q = b; q < e; q++) {
      tv[pos] = rv[q];
      tc[pos++] = rc[q];
    }
    f.rbeg[i] = start;
    f.rlen[i] = pos - start;
    f.rcap[i] = TVN_lu_computesize(f, true, pos - start).cap;
    pos = start + f.rcap[i];
  }
  f.urowfree = pos;
  for (int32_t q = f.lubot; q < shared; q++) { // L while factoring, etas when factored
    tv[q] = rv[q];
    tc[q] = rc[q];
  }
  f.rval.swap(f.cval);
  f.rcol.swap(f.crow);
}

bool TVN_lu_garcol(lu& f) {
  if (f.numgc >= f.maxgc) return false;
  f.numgc++;
  lu_compress(f);
  return true;
}

void lu_compress(lu& f) {
  f.totalgc++;
  f.work[lt_garcol] += f.urowfree;
  lu_gather(f);
  TVN_lu_resetufre(f);
  const bool factored = f.state == lu_factored;
  const lu_code code = TVN_lu_buildcoldbg(f, factored ? 0 : f.stpf, factored ? f.uend : f.nrow - f.stpb);
  TVN_ASSERT(f.sys, "src/lu/lusto", code == lu_code::done);
}

namespace {

// Starts of the column blocks for the counts in clen; false when they do not fit. tight: no head-room.
bool place_columns(lu& f, bool tight) {
  const int32_t limit = lu_collimit(f);
  int64_t pos = 0;
  const auto place = [&](int32_t j) {
    const int32_t cap = tight ? f.clen[j] : TVN_lu_computesize(f, false, f.clen[j]).cap;
    f.cbeg[j] = static_cast<int32_t>(pos);
    f.ccap[j] = cap;
    pos += cap;
    return pos <= limit;
  };
  if (f.state == lu_factored) { // in the order in which a backward pass meets them
    for (int32_t k = 0; k < f.uend; k++)
      if (const int32_t i = f.uorder[k]; i >= 0 && !place(f.rowpivcol[i])) return false;
  } else {
    for (int32_t j = 0; j < f.ncol; j++)
      if (!place(j)) return false;
  }
  f.ucolfree = static_cast<int32_t>(pos);
  return true;
}

void fill_columns(lu& f, const int32_t* order, int32_t n) {
  const int32_t* __restrict rc = f.rcol.data();
  int32_t* __restrict rp = f.rpos.data();
  int32_t* __restrict cr = f.crow.data();
  int32_t* __restrict cp = f.cpos.data();
  int32_t* __restrict len = f.clen.data();
  const int32_t* __restrict beg = f.cbeg.data();
  const double* __restrict rv = f.rval.data();
  double* __restrict cv = f.cval.data();
  const bool values = f.state == lu_factored;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) {
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
  const int32_t* order = (f.state == lu_factored ? f.uorder.data() : f.prow.data()) + from;
  const int32_t n = to - from;
  int32_t* __restrict len = f.clen.data();
  const int32_t* __restrict rc = f.rcol.data();
  std::fill_n(len, f.ncol, 0);
  int64_t num = 0;
  for (int32_t k = 0; k < n; k++) {
    const int32_t i = order[k];
    if (i < 0) continue;
    for (int32_t q = f.rbeg[i], e = q + f.rlen[i]; q < e; q++) len[rc[q]]++;
    num += f.rlen[i];
  }
  f.numbuildcol++;
  f.work[lt_buildcol] += num;
  std::fill(std::begin(f.freecol), std::end(f.freecol), f.wsze);
  if (!place_columns(f, false) && !place_columns(f, true)) return lu_code::no_storage;
  std::fill_n(len, f.ncol, 0);
  fill_columns(f, order, n);
  return lu_code::done;
}

} // namespace tvn
