// See adat.h. Sorting is two transpositions.
#include "kfac/adat.h"

#include <algorithm>

namespace tvn {

namespace {

constexpr double productsperask = 5e6; // some milliseconds
constexpr double entriesperask = 5e5;  // they lie far apart

// Asks the caller every so many products.
struct product_watch {
  const sfk_progress& progress;
  int32_t code;
  double perask = productsperask;
  double done = 0;
  bool go_on(double more, int64_t row, double all) {
    done += more;
    if (!progress.fn || done < perask) return true;
    done = 0;
    return progress.fn(progress.handle, code, row, all) == 0;
  }
};

bool list_rows(sysenv& sys, const kkt_columns& a, const int8_t* apart, const int32_t* invp, product_watch& watch,
               adat_columns& to, buffer<int64_t>& source) {
  to.rowbeg.reset(sys, int64_t{a.numrow} + 1, int64_t{0});
  const auto position = [&](int64_t p) { return invp ? invp[a.sub[p]] : a.sub[p]; };
  for (int32_t j = 0; j < a.numcol; j++) {
    const bool out = apart && apart[j];
    to.beg[j + 1] = to.beg[j] + (out ? 0 : a.length(j));
    if (out) continue;
    for (int64_t p = a.beg[j]; p < a.end[j]; p++) to.rowbeg[position(p) + 1]++;
    const auto len = static_cast<double>(a.length(j));
    to.numprod += len * (len + 1) / 2;
    if (!watch.go_on(len + 1, j, -1.0)) return false;
  }
  for (int32_t i = 0; i < a.numrow; i++) to.rowbeg[i + 1] += to.rowbeg[i];
  const int64_t num = to.beg[a.numcol];
  to.rowcol.reset(sys, num);
  source.reset(sys, num);
  buffer<int64_t> next(sys, a.numrow);
  std::copy_n(to.rowbeg.data(), a.numrow, next.data());
  for (int32_t j = 0; j < a.numcol; j++) {
    if (apart && apart[j]) continue;
    for (int64_t p = a.beg[j]; p < a.end[j]; p++) {
      const int64_t q = next[position(p)]++;
      to.rowcol[q] = j;
      source[q] = p;
    }
    if (!watch.go_on(static_cast<double>(a.length(j)) + 1, j, -1.0)) return false;
  }
  return true;
}

} // namespace

sfk_code TVN_adat_sort(sysenv& sys, const kkt_columns& a, const int8_t* apart, const int32_t* invp,
                       const sfk_progress& progress, adat_columns& to) {
  to = adat_columns{};
  to.numrow = a.numrow;
  to.numcol = a.numcol;
  to.beg.reset(sys, int64_t{a.numcol} + 1);
  to.beg[0] = 0;
  buffer<int64_t> source; // of a row's entry, its place in A
  product_watch watch{progress, 3, entriesperask};
  if (!list_rows(sys, a, apart, invp, watch, to, source)) return sfk_code::stopped;
  const int64_t num = to.beg[a.numcol];
  to.row.reset(sys, num);
  to.from.reset(sys, num);
  to.rowplace.reset(sys, num);
  buffer<int64_t> next(sys, a.numcol);
  std::copy_n(to.beg.data(), a.numcol, next.data());
  for (int32_t i = 0; i < a.numrow; i++) {
    for (int64_t q = to.rowbeg[i]; q < to.rowbeg[i + 1]; q++) {
      const int64_t p = next[to.rowcol[q]]++;
      to.row[p] = i;
      to.from[p] = source[q];
      to.rowplace[q] = p;
    }
    if (!watch.go_on(static_cast<double>(to.rowbeg[i + 1] - to.rowbeg[i]) + 1, i, -1.0)) return sfk_code::stopped;
  }
  return sfk_code::ok;
}

sfk_code TVN_sfk_setup_aat(sysenv& sys, const adat_columns& a, int64_t maxentries, const sfk_progress& progress,
                           kkt_pattern& to) {
  const int64_t m = a.numrow;
  const double most = std::min(a.numprod, static_cast<double>(m) * static_cast<double>(m) / 2);
  to.beg.reset(sys, m + 1);
  to.beg[0] = 0;
  vec<int32_t> sub(sys);
  sub.reserve(static_cast<int64_t>(std::min(most, 4.0 * static_cast<double>(a.beg[a.numcol]))));
  buffer<int32_t> seen(sys, m, -1);
  product_watch watch{progress, 2};
  for (int32_t i = 0; i < m; i++) {
    double work = 0;
    for (int64_t q = a.rowbeg[i]; q < a.rowbeg[i + 1]; q++) {
      const int64_t end = a.beg[a.rowcol[q] + 1];
      work += static_cast<double>(end - a.rowplace[q]);
      for (int64_t p = a.rowplace[q] + 1; p < end; p++) {
        const int32_t r = a.row[p];
        if (seen[r] == i) continue;
        seen[r] = i;
        sub.push_back(r);
      }
    }
    to.beg[i + 1] = sub.size();
    if (sub.size() > maxentries) return sfk_code::failed;
    if (!watch.go_on(work, i, -1.0)) return sfk_code::stopped;
  }
  to.sub.swap(sub);
  return sfk_code::ok;
}

bool TVN_adat_scale(const kkt_columns& from, const buffer<int32_t>& perm, const double* scale,
                    const sfk_progress& progress, adat_columns& a) noexcept {
  product_watch watch{progress, 6};
  constexpr int64_t piece = 1 << 20;
  const int64_t num = a.row.size();
  for (int64_t first = 0; first < num; first += piece) {
    const int64_t end = std::min(first + piece, num);
    for (int64_t p = first; p < end; p++) a.val[p] = from.val[a.from[p]] * scale[perm[a.row[p]]];
    if (!watch.go_on(2 * piece, 0, -1.0)) return false;
  }
  return true;
}

sfk_code TVN_adat_form(const adat_columns& a, const double* d, const sfk_progress& progress, int32_t* local,
                       sfk_factor& f) noexcept {
  const sfk_structure& s = *f.sfk;
  product_watch watch{progress, 6};
  for (int32_t k = 0; k < s.numsn; k++) {
    const int64_t height = s.rowbeg[k + 1] - s.rowbeg[k];
    const int32_t* const rows = s.rows.data() + s.rowbeg[k];
    for (int64_t i = 0; i < height; i++) local[rows[i]] = static_cast<int32_t>(i);
    double* column = f.val.data() + s.valbeg[k];
    for (int32_t i = s.snbeg[k]; i < s.snbeg[k + 1]; i++, column += height) {
      double work = static_cast<double>(height);
      for (int64_t q = a.rowbeg[i]; q < a.rowbeg[i + 1]; q++) {
        const int64_t first = a.rowplace[q], end = a.beg[a.rowcol[q] + 1];
        const double t = a.val[first] * d[a.rowcol[q]];
        work += static_cast<double>(end - first);
        for (int64_t p = first; p < end; p++) column[local[a.row[p]]] += t * a.val[p];
      }
      if (!watch.go_on(work, i, static_cast<double>(i) / s.n)) return sfk_code::stopped;
    }
  }
  return sfk_code::ok;
}

} // namespace tvn
