// Binary max-heap of element numbers, ordered by a key array: insert, and delete the largest.
//
// Position i has its parent at (i - 1) / 2. An element moves up only while its parent's key is smaller, and the hole of
// a deletion goes to the right child only if that key is strictly larger than the left one's. Cost: log n per call.
// Source: Williams (1964).
#pragma once

#include <cstdint>

namespace tvn {

void TVN_bheapmax_init(int32_t& num) noexcept; // empty

// num: elements in the heap; heap: their numbers, with room for one more; key: by element.
template <class K> void TVN_bheapmax_insert(int32_t& num, int32_t* heap, const K* key, int32_t element) noexcept;
// The element of the largest key, which leaves the heap. The heap must not be empty.
template <class K> int32_t TVN_bheapmax_delete(int32_t& num, int32_t* heap, const K* key) noexcept;

} // namespace tvn
