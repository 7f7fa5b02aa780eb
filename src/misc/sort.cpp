// One loop for both kinds of keys. See sort.h.
#include "misc/sort.h"

#include <utility>

namespace tvn {

namespace {

bool above(int32_t a, int32_t b) { return a > b; }
bool same(int32_t a, int32_t b) { return a == b; }
// NaN is above every number and the same as NaN: a pivot always finds itself, and the sort an end.
bool above(double a, double b) { return a > b || (a != a && b == b); }
bool same(double a, double b) { return a == b || (a != a && b != b); }

template <class K> void swap_at(K* keys, int32_t* aux, int32_t i, int32_t k) {
  std::swap(keys[i], keys[k]);
  if (aux) std::swap(aux[i], aux[k]);
}

// Swaps the keys of [lo, hi) that `goes` to its end; the start of their run.
template <class K, class P> int32_t move_to_tail(K* keys, int32_t* aux, int32_t lo, int32_t hi, P goes) {
  int32_t tail = hi;
  for (int32_t i = lo; i < tail;) {
    if (goes(keys[i]))
      swap_at(keys, aux, i, --tail);
    else
      i++;
  }
  return tail;
}

// Segment ends on the stack: the present segment is [stack[level - 1], stack[level]), behind it all is sorted.
template <class K> void sort_keys(sysenv& sys, int32_t n, K* keys, int32_t* aux, int32_t* stack) {
  if (n < 2) return;
  stack[0] = 0;
  stack[1] = n;
  for (int32_t level = 1; level > 0;) {
    const int32_t lo = stack[level - 1], hi = stack[level];
    if (hi - lo <= 1) {
      level--;
      continue;
    }
    const K pivot = keys[lo + (hi - lo) / 2];
    const int32_t split = move_to_tail(keys, aux, lo, hi, [&](K key) { return above(key, pivot); });
    if (split == hi) { // the pivot is the largest: its equals are in place
      stack[level] = move_to_tail(keys, aux, lo, hi, [&](K key) { return same(key, pivot); });
      continue;
    }
    stack[level] = split;
    if (hi - split < 2) continue;
    if (++level >= n) TVN_sysenv_stopdbg(&sys, "src/misc/sort", __LINE__, "level: %d n: %d", level, n);
    stack[level] = hi;
  }
}

} // namespace

void TVN_sort_ints(sysenv& sys, int32_t n, int32_t* keys, int32_t* aux, int32_t, int32_t* stack) {
  sort_keys(sys, n, keys, aux, stack);
}

void TVN_sort_reals(sysenv& sys, int32_t n, double* keys, int32_t* aux, int32_t, int32_t* stack) {
  sort_keys(sys, n, keys, aux, stack);
}

} // namespace tvn
