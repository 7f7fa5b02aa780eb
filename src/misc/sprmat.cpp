// Sparse matrix store: life, capacities, shape and transposition. See sprmat.h.
#include "misc/sprmat.h"
#include "misc/sprmatint.h"

namespace tvn {

namespace {

const char label[] = "src/misc/sprmat";

// New pointer arrays of the given length; entries beyond the present vectors are empty vectors.
void resize_pointers(sprmat& a, int64_t len) {
  buffer<int64_t> ptrb(*a.sys, len, 0), ptre(*a.sys, len, 0);
  std::copy_n(a.ptrb.data(), a.nummajor(), ptrb.data());
  std::copy_n(a.ptre.data(), a.nummajor(), ptre.data());
  a.ptrb.swap(ptrb);
  a.ptre.swap(ptre);
}

int64_t dims(const sprmat& a) { return std::max(a.maxnumrow, a.maxnumcol); }

// Counts of the minor indices become first positions; returns the total.
int64_t prefix_counts(int64_t* ptr, int32_t n) {
  int64_t total = 0;
  for (int32_t k = 0; k < n; k++) {
    const int64_t count = ptr[k];
    ptr[k] = total;
    total += count;
  }
  return total;
}

// Appends empty vectors to one side; `major` says that they are the vectors of the store.
sprmat_code append_side(sprmat& a, bool major, int32_t num, int32_t maxnum, int32_t& count) {
  TVN_ASSERT(a.sys, label, !a.locked);
  if (num > maxnum - count) return sprmat_code::append_failed;
  if (major) {
    std::fill_n(a.ptrb.data() + count, num, 0);
    std::fill_n(a.ptre.data() + count, num, 0);
  }
  count += num;
  return sprmat_code::ok;
}

// map[k] is the new index of major vector k, -1: it goes.
void remap_major(sprmat& a, const int32_t* map, int32_t newnum) {
  buffer<int64_t> ptrb(*a.sys, a.ptrb.size(), 0), ptre(*a.sys, a.ptre.size(), 0);
  for (int32_t k = 0; k < a.nummajor(); k++) {
    if (map[k] < 0) continue;
    ptrb[map[k]] = a.ptrb[k];
    ptre[map[k]] = a.ptre[k];
  }
  a.ptrb.swap(ptrb);
  a.ptre.swap(ptre);
  (a.colwise ? a.numcol : a.numrow) = newnum;
}

void remap_minor(sprmat& a, const int32_t* map, int32_t newnum) noexcept {
  for (int32_t k = 0; k < a.nummajor(); k++) {
    int64_t to = a.ptrb[k];
    for (int64_t p = a.ptrb[k]; p < a.ptre[k]; p++) {
      const int32_t index = map[a.sub[p]];
      if (index < 0) continue;
      a.sub[to] = index;
      a.val[to++] = a.val[p];
    }
    a.ptre[k] = to;
  }
  (a.colwise ? a.numrow : a.numcol) = newnum;
}

void remap(sprmat& a, bool cols, const int32_t* map, int32_t newnum) {
  TVN_ASSERT(a.sys, label, !a.locked);
  TVN_sprmat_flushcache(a);
  if (cols == a.colwise)
    remap_major(a, map, newnum);
  else
    remap_minor(a, map, newnum);
}

// Major vectors behind the first that goes move down; those before it and the elements are not touched.
void delete_major(sprmat& a, int32_t num, const int32_t* list) {
  int32_t& count = a.colwise ? a.numcol : a.numrow;
  const int32_t first = *std::min_element(list, list + num);
  buffer<char> gone(*a.sys, num > 1 ? count - first : 0, 0);
  for (int32_t k = 0; k < num && num > 1; k++) gone[list[k] - first] = 1;
  int32_t to = first;
  for (int32_t k = first; k < count; k++) {
    if (num > 1 ? gone[k - first] != 0 : k == first) continue;
    a.ptrb[to] = a.ptrb[k];
    a.ptre[to++] = a.ptre[k];
  }
  count = to;
}

void delete_side(sprmat& a, bool cols, int32_t num, const int32_t* list) {
  TVN_ASSERT(a.sys, label, !a.locked);
  TVN_sprmat_flushcache(a);
  if (num < 1) return;
  if (cols == a.colwise) return delete_major(a, num, list);
  const int32_t count = cols ? a.numcol : a.numrow;
  buffer<int32_t> map(*a.sys, count, 0);
  for (int32_t k = 0; k < num; k++) map[list[k]] = -1;
  int32_t newnum = 0;
  for (int32_t& to : map)
    if (to == 0) to = newnum++;
  remap_minor(a, map.data(), newnum);
}

} // namespace

void TVN_sprmat_make(sysenv& sys, int32_t maxnumrow, int32_t maxnumcol, int64_t maxsize, sprmat& a) {
  sprmat fresh;
  fresh.sys = &sys;
  fresh.cache.touched.attach(sys);
  fresh.maxnumrow = maxnumrow;
  fresh.maxnumcol = maxnumcol;
  fresh.maxsize = maxsize;
  fresh.ptrb.reset(sys, dims(fresh), 0);
  fresh.ptre.reset(sys, dims(fresh), 0);
  fresh.sub.reset(sys, maxsize);
  fresh.val.reset(sys, maxsize);
  a = std::move(fresh);
}

void TVN_sprmat_delete(sprmat& a) noexcept {
  sprmat gone;
  std::swap(a, gone);
}

void TVN_sprmat_copy(sprmat& from, sysenv& sys, sprmat& to) {
  const sprmat_view v = TVN_sprmat_viewcols(from);
  sprmat fresh;
  TVN_sprmat_make(sys, from.maxnumrow, from.maxnumcol, from.maxsize, fresh);
  fresh.numrow = from.numrow;
  fresh.numcol = from.numcol;
  for (int32_t j = 0; j < from.numcol; j++) {
    const int64_t len = v.ptre[j] - v.ptrb[j];
    std::copy_n(v.sub + v.ptrb[j], len, fresh.sub.data() + fresh.top);
    std::copy_n(v.val + v.ptrb[j], len, fresh.val.data() + fresh.top);
    fresh.ptrb[j] = fresh.top;
    fresh.ptre[j] = fresh.top += len;
  }
  to = std::move(fresh);
}

void TVN_sprmat_putoverhead(sprmat& a, int64_t overhead) noexcept { a.overhead = std::max<int64_t>(overhead, 0); }

void TVN_sprmat_putmaxnumrow(sprmat& a, int32_t maxnumrow) {
  TVN_ASSERT(a.sys, label, !a.locked && maxnumrow >= a.numrow);
  TVN_sprmat_flushcache(a);
  sprmat_free_cache(a);
  resize_pointers(a, std::max(maxnumrow, a.maxnumcol));
  a.maxnumrow = maxnumrow;
}

void TVN_sprmat_putmaxnumcol(sprmat& a, int32_t maxnumcol) {
  TVN_ASSERT(a.sys, label, !a.locked && maxnumcol >= a.numcol);
  TVN_sprmat_flushcache(a);
  sprmat_free_cache(a);
  resize_pointers(a, std::max(maxnumcol, a.maxnumrow));
  a.maxnumcol = maxnumcol;
}

sprmat_code TVN_sprmat_putmaxsize(sprmat& a, int64_t maxsize) {
  TVN_ASSERT(a.sys, label, !a.locked);
  TVN_sprmat_flushcache(a);
  if (maxsize < TVN_sprmat_getnumnz(a)) return sprmat_code::maxsize_too_small;
  int64_t room = 0;
  if (maxsize < 0 || __builtin_add_overflow(maxsize, a.overhead, &room)) throw out_of_memory{};
  buffer<int32_t> sub(*a.sys, room);
  buffer<double> val(*a.sys, room);
  sprmat_free_cache(a);
  int64_t to = 0;
  for (int32_t k = 0; k < a.nummajor(); k++) {
    const int64_t len = a.ptre[k] - a.ptrb[k];
    std::copy_n(a.sub.data() + a.ptrb[k], len, sub.data() + to);
    std::copy_n(a.val.data() + a.ptrb[k], len, val.data() + to);
    a.ptrb[k] = to;
    a.ptre[k] = to += len;
  }
  a.sub.swap(sub);
  a.val.swap(val);
  a.top = to;
  a.maxsize = maxsize;
  return sprmat_code::ok;
}

sprmat_code TVN_sprmat_appendrows(sprmat& a, int32_t num) {
  return append_side(a, !a.colwise, num, a.maxnumrow, a.numrow);
}

sprmat_code TVN_sprmat_appendcols(sprmat& a, int32_t num) {
  return append_side(a, a.colwise, num, a.maxnumcol, a.numcol);
}

void TVN_sprmat_deleterows(sprmat& a, int32_t num, const int32_t* rows) { delete_side(a, false, num, rows); }

void TVN_sprmat_deletecols(sprmat& a, int32_t num, const int32_t* cols) { delete_side(a, true, num, cols); }

void TVN_sprmat_permuteandremoverows(sprmat& a, int32_t newnum, const int32_t* perm) {
  buffer<int32_t> map(*a.sys, a.numrow);
  for (int32_t i = 0; i < a.numrow; i++) map[i] = perm[i] < newnum ? perm[i] : -1;
  remap(a, false, map.data(), std::min(newnum, a.numrow));
}

void TVN_sprmat_transpose(sprmat& a) {
  TVN_ASSERT(a.sys, label, !a.locked);
  TVN_sprmat_flushcache(a);
  const int32_t nminor = a.numminor();
  buffer<int64_t> ptrb(*a.sys, a.ptrb.size(), 0), ptre(*a.sys, a.ptre.size(), 0);
  buffer<int32_t> sub(*a.sys, a.sub.size());
  buffer<double> val(*a.sys, a.val.size());
  sprmat_free_cache(a);
  for (int32_t k = 0; k < a.nummajor(); k++)
    for (int64_t p = a.ptrb[k]; p < a.ptre[k]; p++) ptrb[a.sub[p]]++;
  const int64_t total = prefix_counts(ptrb.data(), nminor);
  std::copy_n(ptrb.data(), nminor, ptre.data());
  for (int32_t k = 0; k < a.nummajor(); k++) {
    for (int64_t p = a.ptrb[k]; p < a.ptre[k]; p++) {
      const int64_t to = ptre[a.sub[p]]++;
      sub[to] = k;
      val[to] = a.val[p];
    }
  }
  a.ptrb.swap(ptrb);
  a.ptre.swap(ptre);
  a.sub.swap(sub);
  a.val.swap(val);
  a.top = total;
  a.colwise = !a.colwise;
  a.numtransposes++;
  if (a.transposeitem) ++*a.transposeitem;
}

sprmat_view TVN_sprmat_getacolwise(sprmat& a, int32_t extracols) {
  const sprmat_view ready = TVN_sprmat_viewcols(a);
  if (int64_t{a.numcol} + extracols <= a.ptrb.size()) {
    a.locked = true;
    return ready;
  }
  resize_pointers(a, int64_t{a.numcol} + extracols);
  a.locked = true;
  return sprmat_pointers(a);
}

void TVN_sprmat_puta(sprmat& a) {
  TVN_ASSERT(a.sys, label, a.locked);
  a.locked = false;
}

} // namespace tvn
