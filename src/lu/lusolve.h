// What the sparse triangular solves share: the agenda of places to visit, and the choice of the full pass.
//
// A solve visits the places of a pivot order whose value is or becomes nonzero, each once and in order. The agenda
// keeps them as bits of a word string: a place that an elimination touches is noted by setting its bit, and the next
// place is the next bit. So no search for the reach goes ahead of the numbers (Gilbert and Peierls 1988) and the order
// of sums is that of the full pass. Cost: the elements of the visited places, and a word for every 64 places between
// the first and the last. When earlier results of the same kind were dense the full pass, which looks at every value,
// is cheaper.
#pragma once

#include "lu/luint.h"

namespace tvn {

constexpr double fullshare = 0.15;  // of the dimension: results from here on are dense
constexpr int32_t longrhs = 16;     // elements from which on a right-hand side counts as long
constexpr double newestshare = 0.2; // of the last result in the running density

class lu_agenda {
public:
  explicit lu_agenda(lu_scratch& tmp) noexcept : bits(tmp.agenda.data()) {}

  void add(int32_t place) noexcept {
    const int32_t w = place >> 6;
    bits[w] |= uint64_t{1} << (place & 63);
    first = std::min(first, w);
    last = std::max(last, w);
  }
  // visit may add places behind (ascend), or before (descend), the one it is called with.
  template <class Visit> void ascend(Visit visit) {
    for (int32_t w = first; w <= last; w++) {
      while (w + stretch <= last && is_empty(w)) w += stretch;
      while (const uint64_t word = bits[w]) {
        bits[w] = word & (word - 1);
        visit(64 * w + std::countr_zero(word));
      }
    }
  }
  template <class Visit> void descend(Visit visit) {
    for (int32_t w = last; w >= first; w--) {
      while (w - stretch >= first && is_empty(w - stretch + 1)) w -= stretch;
      while (const uint64_t word = bits[w]) {
        const int32_t b = 63 - std::countl_zero(word);
        bits[w] = word & ~(uint64_t{1} << b);
        visit(64 * w + b);
      }
    }
  }

private:
  static constexpr int32_t stretch = 8; // words that are passed over at once

  bool is_empty(int32_t w) const noexcept {
    uint64_t any = 0;
    for (int32_t k = 0; k < stretch; k++) any |= bits[w + k];
    return any == 0;
  }

  uint64_t* __restrict bits;
  int32_t first = INT32_MAX, last = -1; // words that may hold bits
};

// Long and short right-hand sides of one kind have estimates of their own.
inline bool expects_dense(const lu& f, lu_kind kind, int32_t rhscount) {
  return f.acc.density[kind][rhscount >= longrhs] >= fullshare;
}
inline void note_result(lu_account& acc, lu_kind kind, int32_t rhscount, int32_t count, int32_t nrow) {
  double& d = acc.density[kind][rhscount >= longrhs];
  d += newestshare * (static_cast<double>(count) / nrow - d);
}

// Fills the list of x from its values; for results of a full pass.
inline void relist(spvec& x, int32_t n) {
  int32_t count = 0;
  const double* __restrict val = x.val.data();
  int32_t* __restrict idx = x.idx.data();
  for (int32_t i = 0; i < n; i++)
    if (val[i] != 0.0) idx[count++] = i;
  x.count = count;
}

} // namespace tvn
