// See symview.h.
#include "misc/symview.h"

#include <algorithm>
#include <cmath>

namespace tvn {

void sym_matrix::make(sysenv& sys, int32_t n, int64_t num) {
  beg.reset(sys, int64_t{n} + 1, 0);
  sub.reset(sys, num);
  val.reset(sys, num);
}

sym_view sym_matrix::view() const noexcept {
  return {static_cast<int32_t>(std::max<int64_t>(beg.size() - 1, 0)), beg.empty() ? nullptr : beg.data(), sub.data(),
          val.data()};
}

void TVN_sym_multiply(const sym_view& q, const double* x, long double* to, double* largest) noexcept {
  const auto add = [&](int32_t i, long double term) {
    to[i] += term;
    if (largest) largest[i] = std::max(largest[i], static_cast<double>(std::fabs(term)));
  };
  std::fill_n(to, q.n, 0.0L);
  if (largest) std::fill_n(largest, q.n, 0.0);
  for (int32_t j = 0; q.beg && j < q.n; j++)
    for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++) {
      const int32_t i = q.sub[p];
      add(i, static_cast<long double>(q.val[p]) * x[j]);
      if (i != j) add(j, static_cast<long double>(q.val[p]) * x[i]);
    }
}

namespace {

struct sym_entry {
  int32_t row;
  double val;
};

// Sorts each column by rows and adds up what stands at one place.
void merge_columns(int32_t n, sym_matrix& q, buffer<sym_entry>& work) noexcept {
  int64_t to = 0;
  for (int32_t j = 0; j < n; j++) {
    const int64_t first = q.beg[j], num = q.beg[j + 1] - first, start = to;
    for (int64_t p = 0; p < num; p++) work[p] = {q.sub[first + p], q.val[first + p]};
    std::stable_sort(work.begin(), work.begin() + num,
                     [](const sym_entry& a, const sym_entry& b) { return a.row < b.row; });
    q.beg[j] = to;
    for (int64_t p = 0; p < num; p++) {
      if (to > start && q.sub[to - 1] == work[p].row) {
        q.val[to - 1] += work[p].val;
        continue;
      }
      q.sub[to] = work[p].row;
      q.val[to++] = work[p].val;
    }
  }
  q.beg[n] = to;
}

} // namespace

void TVN_sym_fromtriplets(sysenv& sys, int32_t n, int64_t num, const int32_t* subi, const int32_t* subj,
                          const double* val, double factor, sym_matrix& q) {
  q.make(sys, n, num);
  for (int64_t p = 0; p < num; p++) q.beg[std::min(subi[p], subj[p]) + 1]++;
  int64_t longest = 0;
  for (int32_t j = 0; j < n; j++) {
    longest = std::max(longest, q.beg[j + 1]);
    q.beg[j + 1] += q.beg[j];
  }
  buffer<int64_t> at(sys, n);
  std::copy_n(q.beg.data(), n, at.data());
  for (int64_t p = 0; p < num; p++) {
    const int64_t to = at[std::min(subi[p], subj[p])]++;
    q.sub[to] = std::max(subi[p], subj[p]);
    q.val[to] = factor * val[p];
  }
  buffer<sym_entry> work(sys, longest);
  merge_columns(n, q, work);
}

} // namespace tvn
