// Compressed vectors: products and norms, plain loops over the entries. See spmat.h.
#include "misc/spmat.h"

#include <cmath>

namespace tvn {

double TVN_spmat_doti(const spmat& a, int32_t j, const double* x) noexcept {
  double sum = 0;
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) sum += a.val[p] * x[a.sub[p]];
  return sum;
}

void TVN_spmat_aipy(const spmat& a, int32_t j, double alpha, double* y) noexcept {
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) y[a.sub[p]] += alpha * a.val[p];
}

void TVN_spmat_scali(spmat& a, int32_t j, double alpha) noexcept {
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) a.val[p] *= alpha;
}

void TVN_spmat_gemv(const spmat& a, bool transposed, double alpha, const double* x, double beta, double* y) noexcept {
  const int32_t leny = transposed ? a.nvec : a.vlen;
  for (int32_t k = 0; k < leny; k++) y[k] = beta == 0.0 ? 0.0 : beta * y[k];
  for (int32_t j = 0; j < a.nvec; j++) {
    if (transposed)
      y[j] += alpha * TVN_spmat_doti(a, j, x);
    else if (x[j] != 0.0)
      TVN_spmat_aipy(a, j, alpha * x[j], y);
  }
}

void TVN_spmat_gemm(const spmat& a, bool transposed, int32_t n, double alpha, const double* b, int64_t ldb, double beta,
                    double* c, int64_t ldc) noexcept {
  for (int32_t k = 0; k < n; k++) TVN_spmat_gemv(a, transposed, alpha, b + k * ldb, beta, c + k * ldc);
}

double TVN_spmat_nrm1i(const spmat& a, int32_t j) noexcept {
  double sum = 0;
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) sum += std::fabs(a.val[p]);
  return sum;
}

double TVN_spmat_nrminfi(const spmat& a, int32_t j) noexcept {
  double most = 0;
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) most = std::max(most, std::fabs(a.val[p]));
  return most;
}

double TVN_spmat_sqnrm2i(const spmat& a, int32_t j) noexcept {
  double sum = 0;
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) sum += a.val[p] * a.val[p];
  return sum;
}

double TVN_spmat_nrminfinity(const spmat& a) {
  buffer<double> sums(*a.sys, a.vlen, 0.0);
  for (int32_t j = 0; j < a.nvec; j++)
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) sums[a.sub[p]] += std::fabs(a.val[p]);
  double most = 0;
  for (const double sum : sums) most = std::max(most, sum);
  return most;
}

} // namespace tvn
