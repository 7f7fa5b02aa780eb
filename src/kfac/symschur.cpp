// See symschur.h.
#include "kfac/symschur.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int64_t slice = 256; // rows of V that are multiplied at a time

double dot(const double* __restrict a, const double* __restrict b, int64_t n) noexcept {
  double s[4] = {0, 0, 0, 0};
  int64_t i = 0;
  for (; i + 3 < n; i += 4)
    for (int q = 0; q < 4; q++) s[q] += a[i + q] * b[i + q];
  for (; i < n; i++) s[0] += a[i] * b[i];
  return (s[0] + s[1]) + (s[2] + s[3]);
}

struct schur_run {
  const sfk_progress& progress;
  bool go_on() const noexcept { return !progress.fn || progress.fn(progress.handle, 7, 0, -1.0) == 0; }
};

// E = T + V' inv(D) V by slices of rows, which go to the kernel as the columns of V'.
bool form_schur(const sfk_factor& f, const schur_run& run, schur_part& sc) noexcept {
  const int64_t k = sc.num, n = sc.n;
  double *const turned = sc.pack.data(), *const weight = turned + k * slice, *const pack = weight + slice;
  std::fill_n(sc.e.data(), k * k, 0.0);
  for (int64_t from = 0; from < n; from += slice) {
    const int64_t rows = std::min(slice, n - from);
    for (int64_t i = 0; i < rows; i++) weight[i] = -1 / f.d[from + i];
    for (int64_t c = 0; c < k; c++) {
      const double* const v = sc.v.data() + c * n + from;
      for (int64_t i = 0; i < rows; i++) turned[c + i * k] = v[i];
    }
    TVN_matker_mm_cecmab(f.ker, {k, k, rows, turned, k, turned, k, weight, sc.e.data(), k, true}, pack);
    if (k > 64 && !run.go_on()) return false;
  }
  return true;
}

// The diagonal before T and the rest may cancel gives the scale.
bool scale_schur(schur_part& sc) noexcept {
  const int64_t k = sc.num;
  for (int64_t c = 0; c < k; c++) {
    const double size = std::fabs(sc.t[c + c * sc.maxcol]) + std::fabs(sc.e[c + c * k]);
    if (!std::isfinite(size)) return false;
    int exponent = 0;
    std::frexp(size, &exponent);
    sc.scale[c] = size > 0 ? std::ldexp(1.0, -exponent / 2) : 1.0;
  }
  for (int64_t c = 0; c < k; c++)
    for (int64_t r = c; r < k; r++)
      sc.e[r + c * k] = (sc.e[r + c * k] + sc.t[r + c * sc.maxcol]) * sc.scale[r] * sc.scale[c];
  return true;
}

} // namespace

void TVN_sc_create(sysenv& sys, const sfk_factor& f, int32_t maxcol, schur_part& sc) {
  const int32_t n = f.sfk->n;
  sc = schur_part{};
  sc.n = n;
  sc.maxcol = maxcol;
  sc.v.reset(sys, int64_t{n} * maxcol);
  sc.t.reset(sys, int64_t{maxcol} * maxcol);
  sc.e.reset(sys, int64_t{maxcol} * maxcol);
  sc.scale.reset(sys, maxcol);
  sc.piv.reset(sys, maxcol);
  sc.pack.reset(sys, maxcol > 0 ? (maxcol + 1) * slice + TVN_matker_packsize(f.ker) : 0);
  sc.solve.reset(sys, maxcol > 0 ? TVN_sfk_worksize(*f.sfk, std::min(maxcol, micro_wide)) : 0);
}

double* TVN_sc_addcol(schur_part& sc, double t) noexcept {
  double* const w = sc.v.data() + int64_t{sc.num} * sc.n;
  std::fill_n(w, sc.n, 0.0);
  double* const column = sc.t.data() + int64_t{sc.num} * sc.maxcol;
  std::fill_n(column, sc.maxcol, 0.0);
  column[sc.num++] = t;
  return w;
}

sfk_code TVN_sc_calschur(const sfk_factor& f, const sfk_progress& progress, schur_part& sc) noexcept {
  schur_run run{progress};
  for (int64_t c = 0; c < sc.num; c += micro_wide) {
    const int32_t num = std::min(static_cast<int32_t>(sc.num - c), micro_wide);
    if (!run.go_on() || !TVN_sfk_LX(f, num, sc.v.data() + c * sc.n, sc.solve.data(), progress))
      return sfk_code::stopped;
  }
  if (!form_schur(f, run, sc)) return sfk_code::stopped;
  if (!scale_schur(sc)) return sfk_code::failed;
  const bunchkauf_hook hook{&run, [](void* handle) { return static_cast<schur_run*>(handle)->go_on(); }};
  return TVN_bunchkauf_factor(sc.num, sc.e.data(), sc.num, sc.toldropped, hook, sc.piv.data(), sc.inertia)
             ? sfk_code::ok
             : sfk_code::stopped;
}

void TVN_sc_solve(const sfk_factor& f, const schur_part& sc, double* x, double* u) noexcept {
  const int64_t n = sc.n;
  TVN_sfk_InvmulD(f, x);
  for (int64_t c = 0; c < sc.num; c++) u[c] = sc.scale[c] * (u[c] - dot(sc.v.data() + c * n, x, n));
  TVN_bunchkauf_solve(sc.num, sc.e.data(), sc.num, sc.piv.data(), u);
  for (int64_t c = 0; c < sc.num; c++) {
    const double t = u[c] *= sc.scale[c];
    if (t == 0) continue;
    const double* __restrict const v = sc.v.data() + c * n;
    for (int64_t i = 0; i < n; i++) x[i] += t * v[i] / f.d[i];
  }
}

} // namespace tvn
