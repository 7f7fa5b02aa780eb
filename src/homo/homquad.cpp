// Q in the order and the units of the loop.
#include "homo/homint.h"

#include <cmath>

namespace tvn {

void hom_quadratic::multiply(const double* x, double* to) const noexcept {
  const auto n = static_cast<int32_t>(diag.size());
  for (int32_t j = 0; j < n; j++) to[j] = diag[j] * x[j];
  if (beg.empty()) return;
  for (int32_t j = 0; j < n; j++) {
    double row = 0;
    for (int64_t p = beg[j]; p < beg[j + 1]; p++) {
      row += val[p] * x[sub[p]];
      to[sub[p]] += val[p] * x[j];
    }
    to[j] += row;
  }
}

void hom_copyquadratic(sysenv& sys, const sym_view& q, hom_data& d) {
  if (!q.any()) return;
  buffer<int32_t> place(sys, d.n);
  for (int32_t k = 0; k < d.n; k++) place[d.order[k]] = k;
  d.q.diag.reset(sys, d.n, 0.0);
  int64_t numoff = 0;
  for (int32_t j = 0; j < q.n; j++)
    for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++) {
      if (q.sub[p] == j)
        d.q.diag[place[j]] = q.val[p];
      else
        numoff += q.val[p] != 0;
      d.normq = std::max(d.normq, std::fabs(q.val[p]));
    }
  if (numoff == 0) return;
  d.q.beg.reset(sys, int64_t{d.n} + 1);
  d.q.sub.reset(sys, numoff);
  d.q.val.reset(sys, numoff);
  int64_t at = 0;
  for (int32_t k = 0; k < d.n; k++) {
    d.q.beg[k] = at;
    const int32_t j = d.order[k];
    for (int64_t p = q.beg[j]; p < q.beg[j + 1]; p++) {
      if (q.sub[p] == j || q.val[p] == 0) continue;
      d.q.sub[at] = place[q.sub[p]];
      d.q.val[at++] = q.val[p];
    }
  }
  d.q.beg[d.n] = at;
}

void hom_scalequadratic(const double* col, double both, hom_data& d) noexcept {
  for (int32_t j = 0; d.q.any() && j < d.n; j++) {
    d.q.diag[j] *= both * col[j] * col[j];
    for (int64_t p = d.q.beg.empty() ? 0 : d.q.beg[j]; p < (d.q.beg.empty() ? 0 : d.q.beg[j + 1]); p++)
      d.q.val[p] *= both * col[j] * col[d.q.sub[p]];
  }
}

} // namespace tvn
