// Moves that keep the positions in step. See prbheap.h.
#include "temp/prbheap.h"

#include <algorithm>

namespace tvn {

namespace {

void put_at(int32_t* heap, int32_t* pos, int32_t i, int32_t element) noexcept {
  heap[i] = element;
  pos[element] = i;
}

// Each takes the element that belongs into the hole at i, and puts it where it must go.
template <class K> void move_up(int32_t i, int32_t* heap, int32_t* pos, const K* key, int32_t element) noexcept {
  for (int32_t parent = (i - 1) / 2; i > 0 && key[heap[parent]] < key[element]; parent = (i - 1) / 2) {
    put_at(heap, pos, i, heap[parent]);
    i = parent;
  }
  put_at(heap, pos, i, element);
}

template <class K>
void move_down(int32_t num, int32_t i, int32_t* heap, int32_t* pos, const K* key, int32_t element) noexcept {
  for (int32_t child = 2 * i + 1; child < num; child = 2 * i + 1) {
    if (child + 1 < num && key[heap[child + 1]] > key[heap[child]]) child++;
    if (!(key[heap[child]] > key[element])) break;
    put_at(heap, pos, i, heap[child]);
    i = child;
  }
  put_at(heap, pos, i, element);
}

} // namespace

void TVN_prbheapmax_init(int32_t& num, int32_t maxe, int32_t* pos) noexcept {
  num = 0;
  std::fill_n(pos, maxe, -1);
}

template <class K>
void TVN_prbheapmax_insert(int32_t& num, int32_t* heap, int32_t* pos, const K* key, int32_t element) noexcept {
  move_up(num++, heap, pos, key, element);
}

template <class K> int32_t TVN_prbheapmax_delete(int32_t& num, int32_t* heap, int32_t* pos, const K* key) noexcept {
  const int32_t root = heap[0], last = heap[--num];
  if (num > 0) move_down(num, 0, heap, pos, key, last);
  pos[root] = -1;
  return root;
}

template <class K>
void TVN_prbheapmax_changekey(int32_t num, int32_t* heap, int32_t* pos, K* key, int32_t element, K newkey) noexcept {
  const bool up = newkey > key[element];
  key[element] = newkey;
  if (up)
    move_up(pos[element], heap, pos, key, element);
  else
    move_down(num, pos[element], heap, pos, key, element);
}

#define TVN_PRBHEAP_KEYS(K)                                                                                            \
  template void TVN_prbheapmax_insert(int32_t&, int32_t*, int32_t*, const K*, int32_t) noexcept;                       \
  template int32_t TVN_prbheapmax_delete(int32_t&, int32_t*, int32_t*, const K*) noexcept;                             \
  template void TVN_prbheapmax_changekey(int32_t, int32_t*, int32_t*, K*, int32_t, K) noexcept;
TVN_PRBHEAP_KEYS(int32_t)
TVN_PRBHEAP_KEYS(int64_t)
TVN_PRBHEAP_KEYS(double)

} // namespace tvn
