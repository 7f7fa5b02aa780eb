// What the files of the sparse matrix store share.
#pragma once

#include "misc/sprmat.h"

namespace tvn {

inline sprmat_view sprmat_pointers(sprmat& a) noexcept {
  return {a.ptrb.data(), a.ptre.data(), a.sub.data(), a.val.data(), a.maxsize, a.top};
}

void sprmat_free_cache(sprmat& a) noexcept;  // the cache must be empty
void sprmat_room(sprmat& a, int64_t n);      // n positions at the top, without touching cached elements
void sprmat_orient(sprmat& a, bool colwise); // flushed and held as asked

} // namespace tvn
