// A D A' of a sparse A: bounds, pattern, and values added straight into a factor's.
//
// Both work on a copy of A's pattern that lists each column's rows by ascending position in the factor, and for each
// row the places of its entries. What lies behind such a place in its column are the rows that meet this row in the
// lower triangle of A D A', so a column of the triangle is gathered without a search and without a list of products,
// which would take sum len^2 / 2 entries. Cost: sum len^2 / 2 over the columns that take part.
#pragma once

#include "kfac/sfk.h"

namespace tvn {

// A by columns, no row twice in a column. Rows and values may change between two factorisations where a caller says so.
struct kkt_columns {
  int32_t numrow = 0, numcol = 0;
  const int64_t *beg = nullptr, *end = nullptr; // [numcol]
  const int32_t* sub = nullptr;
  const double* val = nullptr;

  int64_t length(int32_t j) const noexcept { return end[j] - beg[j]; }
};

struct adat_columns {
  int32_t numrow = 0, numcol = 0;
  buffer<int64_t> beg;      // [numcol + 1] columns that are apart are empty
  buffer<int32_t> row;      // [beg[numcol]] positions, ascending in a column
  buffer<int64_t> from;     // [beg[numcol]] place in A
  buffer<double> val;       // [beg[numcol]] scaled values of the last forming; made on request
  buffer<int64_t> rowbeg;   // [numrow + 1]
  buffer<int32_t> rowcol;   // [beg[numcol]] columns of a row, ascending
  buffer<int64_t> rowplace; // [beg[numcol]] their places in `row`
  double numprod = 0;       // sum len (len + 1) / 2
};

struct kkt_pattern {   // row i: positions above i
  buffer<int64_t> beg; // [numrow + 1]
  vec<int32_t> sub;
  sorder_graph graph() const noexcept {
    return {static_cast<int32_t>(beg.size() - 1), beg.data(), beg.data() + 1, sub.data()};
  }
};

// apart: [numcol] nonzero: the column does not take part; null: all do. invp: node to position; null: as it is.
[[nodiscard]] sfk_code TVN_adat_sort(sysenv& sys, const kkt_columns& a, const int8_t* apart, const int32_t* invp,
                                     const sfk_progress& progress, adat_columns& sorted);

// Pattern of the strict triangle. stopped: at the caller's wish, failed: it has more than maxentries.
[[nodiscard]] sfk_code TVN_sfk_setup_aat(sysenv& sys, const adat_columns& a, int64_t maxentries,
                                         const sfk_progress& progress, kkt_pattern& pattern);

// scale: [numrow] by node. val of `a` becomes that of A with scaled rows. False: stopped.
bool TVN_adat_scale(const kkt_columns& from, const buffer<int32_t>& perm, const double* scale,
                    const sfk_progress& progress, adat_columns& a) noexcept;
// Adds A D A' to the values of the factor, whose positions are those of `a`. local: [numrow] work.
[[nodiscard]] sfk_code TVN_adat_form(const adat_columns& a, const double* d, const sfk_progress& progress,
                                     int32_t* local, sfk_factor& f) noexcept;

} // namespace tvn
