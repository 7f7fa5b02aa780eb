// The two moves through the tree. See bheap.h.
#include "temp/bheap.h"

namespace tvn {

void TVN_bheapmax_init(int32_t& num) noexcept { num = 0; }

template <class K> void TVN_bheapmax_insert(int32_t& num, int32_t* heap, const K* key, int32_t element) noexcept {
  int32_t i = num++;
  for (int32_t parent = (i - 1) / 2; i > 0 && key[heap[parent]] < key[element]; parent = (i - 1) / 2) {
    heap[i] = heap[parent];
    i = parent;
  }
  heap[i] = element;
}

template <class K> int32_t TVN_bheapmax_delete(int32_t& num, int32_t* heap, const K* key) noexcept {
  const int32_t root = heap[0], last = heap[--num];
  int32_t i = 0;
  for (int32_t child = 1; child < num; child = 2 * i + 1) {
    if (child + 1 < num && key[heap[child + 1]] > key[heap[child]]) child++;
    if (!(key[heap[child]] > key[last])) break;
    heap[i] = heap[child];
    i = child;
  }
  heap[i] = last;
  return root;
}

#define TVN_BHEAP_KEYS(K)                                                                                              \
  template void TVN_bheapmax_insert(int32_t&, int32_t*, const K*, int32_t) noexcept;                                   \
  template int32_t TVN_bheapmax_delete(int32_t&, int32_t*, const K*) noexcept;
TVN_BHEAP_KEYS(int32_t)
TVN_BHEAP_KEYS(int64_t)
TVN_BHEAP_KEYS(double)

} // namespace tvn
