// Writing into the sparse matrix store: vectors, the element cache and its merge. See sprmat.h.
//
// A cached element takes position maxsize - count - 1 and heads the chain of its vector, so the newest stands first.
// The merge of a vector walks its old entries and then the chain; `where` tells per index what the merged vector
// holds: 0 nothing, p + 1 an old entry at p, -(p + 1) an entry at p that a newer write has settled.
// Position 0 is never a cached one, so that 0 ends a chain: room asks for one position more while the cache is on.
#include "misc/sprmatint.h"

#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/misc/sprmatput";

void make_cache(sprmat& a) {
  sprmat_cache& c = a.cache;
  const int64_t dim = std::max(a.maxnumrow, a.maxnumcol);
  if (c.head.size() < dim) {
    buffer<int64_t> head(*a.sys, dim, 0);
    buffer<int32_t> where(*a.sys, dim, 0), worksub(*a.sys, dim);
    buffer<double> workval(*a.sys, dim);
    c.touched.reserve(dim);
    c.head.swap(head);
    c.where.swap(where);
    c.worksub.swap(worksub);
    c.workval.swap(workval);
  }
  if (c.next.size() < a.maxsize) c.next.reset(*a.sys, a.maxsize);
  c.on = true;
}

// Old entries and cached writes of vector k into the work arrays; returns the length without exact zeros.
int32_t merge_vector(sprmat& a, int32_t k) noexcept {
  sprmat_cache& c = a.cache;
  int32_t n = 0;
  for (int64_t p = a.ptrb[k]; p < a.ptre[k]; p++) {
    c.worksub[n] = a.sub[p];
    c.workval[n++] = a.val[p];
    c.where[a.sub[p]] = n;
  }
  for (int64_t p = c.head[k]; p != 0; p = c.next[p]) {
    const int32_t index = a.sub[p];
    const int32_t at = c.where[index];
    if (at < 0) continue;
    const int32_t to = at > 0 ? at - 1 : n++;
    c.worksub[to] = index;
    c.workval[to] = a.val[p];
    c.where[index] = -(to + 1);
  }
  int32_t kept = 0;
  for (int32_t p = 0; p < n; p++) {
    c.where[c.worksub[p]] = 0;
    if (c.workval[p] == 0.0) continue;
    c.worksub[kept] = c.worksub[p];
    c.workval[kept++] = c.workval[p];
  }
  return kept;
}

void store_merged(sprmat& a, int32_t k, int64_t at, int32_t n) noexcept {
  std::copy_n(a.cache.worksub.data(), n, a.sub.data() + at);
  std::copy_n(a.cache.workval.data(), n, a.val.data() + at);
  a.ptrb[k] = at;
  a.ptre[k] = at + n;
}

// Stores the merged vector in place or at the top; false when neither has room.
bool settle_vector(sprmat& a, int32_t k) noexcept {
  const int32_t n = merge_vector(a, k);
  const bool last = a.ptre[k] == a.top;
  const int64_t limit = a.maxsize - a.cache.count;
  if (n <= a.ptre[k] - a.ptrb[k] || (last && a.ptrb[k] + n <= limit)) {
    store_merged(a, k, a.ptrb[k], n);
    if (last) a.top = a.ptre[k];
  } else if (a.top + n <= limit) {
    store_merged(a, k, a.top, n);
    a.top += n;
  } else {
    return false;
  }
  a.cache.head[k] = 0;
  return true;
}

// All vectors packed into new arrays, with the chains that are left merged.
void repack_merging(sprmat& a) {
  sprmat_cache& c = a.cache;
  int64_t total = 0;
  for (int32_t k = 0; k < a.nummajor(); k++) {
    total += a.ptre[k] - a.ptrb[k];
    for (int64_t p = c.head[k]; p != 0; p = c.next[p]) total++;
  }
  const int64_t maxsize = total <= a.maxsize ? a.maxsize : std::max(2 * a.maxsize, total) + 1;
  buffer<int32_t> sub(*a.sys, maxsize + a.overhead);
  buffer<double> val(*a.sys, maxsize + a.overhead);
  int64_t to = 0;
  for (int32_t k = 0; k < a.nummajor(); k++) {
    const bool merged = c.head[k] != 0;
    const int64_t n = merged ? merge_vector(a, k) : a.ptre[k] - a.ptrb[k];
    std::copy_n(merged ? c.worksub.data() : a.sub.data() + a.ptrb[k], n, sub.data() + to);
    std::copy_n(merged ? c.workval.data() : a.val.data() + a.ptrb[k], n, val.data() + to);
    c.head[k] = 0;
    a.ptrb[k] = to;
    a.ptre[k] = to += n;
  }
  a.sub.swap(sub);
  a.val.swap(val);
  a.top = to;
  a.maxsize = maxsize;
}

int64_t room_left(const sprmat& a) noexcept { return a.maxsize - a.cache.count - a.top - (a.cache.on ? 1 : 0); }

void grow(sprmat& a, int64_t needed) {
  // Holes of moved vectors are taken back before the arrays grow, if they make up half of them.
  const int64_t numnz = TVN_sprmat_getnumnz(a);
  const int64_t maxsize = numnz + needed <= a.maxsize / 2 ? a.maxsize : std::max(2 * a.maxsize, a.top + needed) + 1;
  const sprmat_code code = TVN_sprmat_putmaxsize(a, maxsize);
  TVN_ASSERT(a.sys, label, code == sprmat_code::ok);
}

void cache_element(sprmat& a, int32_t major, int32_t minor, double value) noexcept {
  sprmat_cache& c = a.cache;
  const int64_t p = a.maxsize - c.count - 1;
  a.sub[p] = minor;
  a.val[p] = value;
  if (c.head[major] == 0) c.touched.push_back(major);
  c.next[p] = c.head[major];
  c.head[major] = p;
  c.count++;
}

// A flush that leaves the arrays nearly full would soon be repeated, so they grow then.
void room_for_elements(sprmat& a, int64_t n) {
  make_cache(a);
  if (room_left(a) >= n) return;
  TVN_sprmat_flushcache(a);
  make_cache(a);
  if (room_left(a) >= n + a.maxsize / 8) return;
  grow(a, n + 1 + a.maxsize / 8);
  make_cache(a);
}

void cache_vector(sprmat& a, bool col, int32_t index, int32_t n, const int32_t* sub, const double* densevalues) {
  room_for_elements(a, n);
  for (int32_t p = 0; p < n; p++) {
    if (col == a.colwise)
      cache_element(a, index, sub[p], densevalues[sub[p]]);
    else
      cache_element(a, sub[p], index, densevalues[sub[p]]);
  }
}

// Vector k gets room for n entries: where it stands, or at the top when it is too short.
void place_vector(sprmat& a, int32_t k, int32_t n) {
  const auto ends_at_top = [&] { return a.ptre[k] == a.top && a.ptre[k] > a.ptrb[k]; };
  if (a.ptrb[k] + n <= a.ptre[k]) return;
  if (room_left(a) < n - (ends_at_top() ? a.ptre[k] - a.ptrb[k] : 0)) sprmat_room(a, n);
  if (ends_at_top()) a.top = a.ptrb[k];
  a.ptrb[k] = a.top;
  a.top += n;
}

// Replaces major vector k; value_of(p) is the value of index sub[p].
template <class Value> void replace_vector(sprmat& a, int32_t k, int32_t n, const int32_t* sub, Value value_of) {
  place_vector(a, k, n);
  int64_t to = a.ptrb[k];
  for (int32_t p = 0; p < n; p++) {
    const double value = value_of(p);
    if (value == 0.0) continue;
    a.sub[to] = sub[p];
    a.val[to++] = value;
  }
  a.ptre[k] = to;
}

void gather(sprmat& a, bool col, int32_t index, int32_t n, const int32_t* sub, const double* densevalues) {
  TVN_ASSERT(a.sys, label, !a.locked);
  if (a.cache.on) return cache_vector(a, col, index, n, sub, densevalues);
  sprmat_orient(a, col);
  replace_vector(a, index, n, sub, [=](int32_t p) { return densevalues[sub[p]]; });
}

} // namespace

void sprmat_free_cache(sprmat& a) noexcept {
  sprmat_cache& c = a.cache;
  c.on = false;
  c.head.clear();
  c.next.clear();
  c.where.clear();
  c.worksub.clear();
  c.workval.clear();
  c.touched.free();
}

void sprmat_room(sprmat& a, int64_t n) {
  if (room_left(a) >= n) return;
  TVN_sprmat_flushcache(a);
  if (room_left(a) < n) grow(a, n);
}

void sprmat_orient(sprmat& a, bool colwise) {
  TVN_sprmat_flushcache(a);
  if (a.colwise != colwise) TVN_sprmat_transpose(a);
}

void TVN_sprmat_gathercolj(sprmat& a, int32_t j, int32_t n, const int32_t* sub, const double* densevalues) {
  gather(a, true, j, n, sub, densevalues);
}

void TVN_sprmat_gatherrowi(sprmat& a, int32_t i, int32_t n, const int32_t* sub, const double* densevalues) {
  gather(a, false, i, n, sub, densevalues);
}

void TVN_sprmat_putcolj(sprmat& a, int32_t j, int32_t n, const int32_t* sub, const double* val, double tiny) {
  TVN_ASSERT(a.sys, label, !a.locked);
  sprmat_orient(a, true);
  replace_vector(a, j, n, sub, [=](int32_t p) { return std::fabs(val[p]) < tiny ? 0.0 : val[p]; });
}

void TVN_sprmat_putaij(sprmat& a, int32_t i, int32_t j, double value) {
  TVN_ASSERT(a.sys, label, !a.locked);
  room_for_elements(a, 1);
  if (a.colwise)
    cache_element(a, j, i, value);
  else
    cache_element(a, i, j, value);
}

void TVN_sprmat_flushcache(sprmat& a) {
  sprmat_cache& c = a.cache;
  if (!c.on) return;
  if (c.count > 0) {
    TVN_ASSERT(a.sys, label, !a.locked);
    int64_t numleft = 0;
    for (const int32_t k : c.touched)
      if (!settle_vector(a, k)) c.touched[numleft++] = k;
    c.touched.resize(numleft);
    if (numleft > 0) repack_merging(a);
    c.count = 0;
    c.touched.clear();
    a.numcacheflushes++;
    if (a.flushitem) ++*a.flushitem;
  }
  c.on = false;
}

} // namespace tvn
