// Reading from the sparse matrix store: elements, slices, counts and the audit. See sprmat.h.
#include "misc/sprmatint.h"

#include "cpub/format.h"

namespace tvn {

namespace {

int64_t slice_size(sprmat& a, bool cols, int32_t first, int32_t last) {
  sprmat_orient(a, cols);
  int64_t total = 0;
  for (int32_t k = first; k < last; k++) total += a.ptre[k] - a.ptrb[k];
  return total;
}

template <class Int>
sprmat_code get_slice(sprmat& a, bool cols, int32_t first, int32_t last, Int maxnumnz, Int& surp, Int* ptrb, Int* ptre,
                      int32_t* sub, double* val) {
  sprmat_orient(a, cols);
  for (int32_t k = first; k < last; k++) {
    const int64_t len = a.ptre[k] - a.ptrb[k];
    if (len > surp) return sprmat_code::surplus;
    const Int at = maxnumnz - surp;
    std::copy_n(a.sub.data() + a.ptrb[k], len, sub + at);
    std::copy_n(a.val.data() + a.ptrb[k], len, val + at);
    surp -= static_cast<Int>(len);
    ptrb[k - first] = at;
    ptre[k - first] = maxnumnz - surp;
  }
  return sprmat_code::ok;
}

int32_t check_vector(const sprmat& a, int32_t k, buffer<int32_t>& mark) {
  if (a.ptrb[k] < 0 || a.ptre[k] < a.ptrb[k]) return 2;
  if (a.ptre[k] > a.ptrb[k] && a.ptre[k] > a.top) return 2;
  for (int64_t p = a.ptrb[k]; p < a.ptre[k]; p++) {
    const int32_t index = a.sub[p];
    if (index < 0 || index >= a.numminor()) return 3;
    if (mark[index] == k + 1) return 4;
    if (a.val[p] == 0.0) return 5;
    mark[index] = k + 1;
  }
  return 0;
}

} // namespace

double TVN_sprmat_getaij(sprmat& a, int32_t i, int32_t j) {
  TVN_sprmat_flushcache(a);
  const int32_t major = a.colwise ? j : i, minor = a.colwise ? i : j;
  for (int64_t p = a.ptrb[major]; p < a.ptre[major]; p++)
    if (a.sub[p] == minor) return a.val[p];
  return 0.0;
}

int64_t TVN_sprmat_getnumnz(sprmat& a) { return slice_size(a, a.colwise, 0, a.nummajor()); }

int32_t TVN_sprmat_getcolnumnz(sprmat& a, int32_t j) { return static_cast<int32_t>(slice_size(a, true, j, j + 1)); }

int32_t TVN_sprmat_getrownumnz(sprmat& a, int32_t i) { return static_cast<int32_t>(slice_size(a, false, i, i + 1)); }

int64_t TVN_sprmat_getcolslicenumnz(sprmat& a, int32_t first, int32_t last) { return slice_size(a, true, first, last); }

int64_t TVN_sprmat_getrowslicenumnz(sprmat& a, int32_t first, int32_t last) {
  return slice_size(a, false, first, last);
}

int64_t TVN_sprmat_getpiecesize(sprmat& a, int32_t firsti, int32_t lasti, int32_t firstj, int32_t lastj) {
  TVN_sprmat_flushcache(a);
  const int32_t first = a.colwise ? firstj : firsti, last = a.colwise ? lastj : lasti;
  const int32_t low = a.colwise ? firsti : firstj, high = a.colwise ? lasti : lastj;
  int64_t total = 0;
  for (int32_t k = first; k < last; k++)
    for (int64_t p = a.ptrb[k]; p < a.ptre[k]; p++) total += a.sub[p] >= low && a.sub[p] < high;
  return total;
}

sprmat_code TVN_sprmat_getcolslice(sprmat& a, int32_t first, int32_t last, int64_t maxnumnz, int64_t& surp,
                                   int64_t* ptrb, int64_t* ptre, int32_t* sub, double* val) {
  return get_slice(a, true, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
}

sprmat_code TVN_sprmat_getrowslice(sprmat& a, int32_t first, int32_t last, int64_t maxnumnz, int64_t& surp,
                                   int64_t* ptrb, int64_t* ptre, int32_t* sub, double* val) {
  return get_slice(a, false, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
}

sprmat_code TVN_sprmat_getcolslice32(sprmat& a, int32_t first, int32_t last, int32_t maxnumnz, int32_t& surp,
                                     int32_t* ptrb, int32_t* ptre, int32_t* sub, double* val) {
  return get_slice(a, true, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
}

sprmat_code TVN_sprmat_getrowslice32(sprmat& a, int32_t first, int32_t last, int32_t maxnumnz, int32_t& surp,
                                     int32_t* ptrb, int32_t* ptre, int32_t* sub, double* val) {
  return get_slice(a, false, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
}

sprmat_view TVN_sprmat_viewcols(sprmat& a) {
  sprmat_orient(a, true);
  return sprmat_pointers(a);
}

sprmat_view TVN_sprmat_viewrows(sprmat& a) {
  sprmat_orient(a, false);
  return sprmat_pointers(a);
}

int32_t TVN_sprmat_checka(sprmat& a) {
  if (a.numrow > a.maxnumrow || a.numcol > a.maxnumcol || a.top > a.maxsize - a.cache.count) return 1;
  buffer<int32_t> mark(*a.sys, a.numminor(), 0);
  for (int32_t k = 0; k < a.nummajor(); k++)
    if (const int32_t broken = check_vector(a, k, mark)) return broken;
  return 0;
}

void TVN_sprmat_printcolj(sprmat& a, int32_t j, void* handle, void (*echo)(void* handle, const char* line)) {
  const sprmat_view v = TVN_sprmat_viewcols(a);
  char line[80];
  for (int64_t p = v.ptrb[j]; p < v.ptre[j]; p++) {
    format_text(line, sizeof line, "a[%d,%d] = %24.16e\n", v.sub[p], j, v.val[p]);
    echo(handle, line);
  }
}

} // namespace tvn
