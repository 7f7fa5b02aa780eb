// Binary max-heap with a position for each element, so that any key can be changed.
//
// The moves are those of temp/bheap.h; pos[e] is the place of e in the heap, or -1 for an element that is not in it.
// Cost: log n per call.
#pragma once

#include <cstdint>

namespace tvn {

void TVN_prbheapmax_init(int32_t& num, int32_t maxe, int32_t* pos) noexcept; // empty; elements 0 .. maxe - 1

// num: elements in the heap; heap: their numbers, with room for one more; key and pos: by element.
template <class K>
void TVN_prbheapmax_insert(int32_t& num, int32_t* heap, int32_t* pos, const K* key, int32_t element) noexcept;
// The element of the largest key, which leaves the heap. The heap must not be empty.
template <class K> int32_t TVN_prbheapmax_delete(int32_t& num, int32_t* heap, int32_t* pos, const K* key) noexcept;
// Gives an element of the heap a new key and moves it to its place.
template <class K>
void TVN_prbheapmax_changekey(int32_t num, int32_t* heap, int32_t* pos, K* key, int32_t element, K newkey) noexcept;

} // namespace tvn
