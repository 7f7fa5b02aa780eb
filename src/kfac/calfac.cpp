// The numeric factorisation, front by front.
//
// A front has the rows of its supernode. Its columns come from the values, its rest starts at zero; the updates of its
// children, on top of the stack, are added by the places of their rows; the columns are eliminated, go back to the
// values as L, and what is left is the update for the parent, packed onto the stack. Nothing is allocated.
//
// Pivots have known signs (Vanderbei 1995). One that has the wrong sign or is too small is replaced, so that the
// factorisation never fails: it is the factor of a matrix changed on its diagonal, and the caller is told how often.
#include "kfac/sfk.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

struct calfac_run {
  sfk_factor& f;
  const sfk_structure& s;
  const sfk_pivots& pivots;
  const sfk_progress& progress;
  int32_t first = 0; // column of the front at hand
  double done = 0, asked = 0;
  bool finite = true;

  // Up to a few milliseconds between two questions.
  bool go_on() {
    constexpr double flopsperask = 2e7;
    if (!progress.fn || done < asked + flopsperask) return true;
    asked = done;
    return progress.fn(progress.handle, 6, first, s.flops > 0 ? std::min(1.0, done / s.flops) : 1.0) == 0;
  }
};

double choose_pivot(void* handle, int64_t k, double q) {
  auto& r = *static_cast<calfac_run*>(handle);
  const int32_t col = r.first + static_cast<int32_t>(k);
  const double sign = r.pivots.sign ? r.pivots.sign[r.s.perm[col]] : 1.0;
  r.finite = r.finite && std::isfinite(q);
  if (!(sign * q > r.pivots.tolpiv)) {
    q = sign * std::max(r.pivots.repaired, std::fabs(q)); // no smaller than it was: else the rest would grow
    r.f.numrepair++;
  }
  r.f.numnegative += q < 0;
  return q;
}

bool ask(void* handle) { return static_cast<calfac_run*>(handle)->go_on(); }

// The update of a child, packed by columns at `u`, into the front of `height` rows.
void add_update(const calfac_run& r, int32_t child, const double* u, int64_t height) noexcept {
  const sfk_structure& s = r.s;
  const int32_t* const rows = s.rows.data() + s.rowbeg[child] + (s.snbeg[child + 1] - s.snbeg[child]);
  const auto num = static_cast<int32_t>(s.rows.data() + s.rowbeg[child + 1] - rows);
  const int32_t* const local = r.f.local.data();
  for (int32_t j = 0; j < num; j++) {
    double* const column = r.f.front.data() + local[rows[j]] * height;
    for (int32_t i = j; i < num; i++) column[local[rows[i]]] += *u++;
  }
}

// The updates of the children of k lie on the stack, that of the last one on top.
double* gather_children(const calfac_run& r, int32_t k, int64_t height, double* top) noexcept {
  const sfk_structure& s = r.s;
  for (int32_t child = s.lastchild[k]; child >= 0; child = s.prevsibling[child]) {
    const int64_t num = s.rowbeg[child + 1] - s.rowbeg[child] - (s.snbeg[child + 1] - s.snbeg[child]);
    top -= num * (num + 1) / 2;
    add_update(r, child, top, height);
  }
  return top;
}

double* push_update(const calfac_run& r, int64_t height, int64_t width, double* top) noexcept {
  for (int64_t j = width; j < height; j++) {
    const double* column = r.f.front.data() + j * height;
    top = std::copy(column + j, column + height, top);
  }
  return top;
}

bool factor_front(calfac_run& r, int32_t k, double*& top) noexcept {
  sfk_factor& f = r.f;
  const sfk_structure& s = r.s;
  const int64_t height = s.rowbeg[k + 1] - s.rowbeg[k], width = s.snbeg[k + 1] - s.snbeg[k];
  const int32_t* const rows = s.rows.data() + s.rowbeg[k];
  for (int64_t i = 0; i < height; i++) f.local[rows[i]] = static_cast<int32_t>(i);
  double* const block = f.val.data() + s.valbeg[k];
  std::copy_n(block, height * width, f.front.data());
  std::fill_n(f.front.data() + height * width, height * (height - width), 0.0);
  top = gather_children(r, k, height, top);
  r.first = s.snbeg[k];
  if (!TVN_dfac_factor(f.ker, height, width, f.front.data(), height, f.d.data() + r.first, {&r, choose_pivot, ask},
                       f.work.data()))
    return false;
  std::copy_n(f.front.data(), height * width, block);
  top = push_update(r, height, width, top);
  r.done += static_cast<double>(width) * static_cast<double>(height) * static_cast<double>(height);
  return true;
}

} // namespace

void TVN_sfk_allocLval(sysenv& sys, const sfk_structure& sfk, const matker& ker, sfk_factor& f) {
  f.sfk = &sfk;
  f.ker = ker;
  f.val.reset(sys, sfk.stored);
  f.d.reset(sys, sfk.n);
  f.front.reset(sys, int64_t{sfk.maxfront} * sfk.maxfront);
  f.stack.reset(sys, sfk.maxstack);
  f.work.reset(sys, TVN_dfac_worksize(ker, sfk.maxfront));
  f.local.reset(sys, sfk.n);
}

void TVN_sfk_clear(sfk_factor& f) noexcept { std::fill_n(f.val.data(), f.val.size(), 0.0); }

sfk_code TVN_ch_calfac(sfk_factor& f, const sfk_pivots& pivots, const sfk_progress& progress) noexcept {
  calfac_run r{f, *f.sfk, pivots, progress};
  f.numrepair = f.numnegative = 0;
  double* top = f.stack.data();
  for (int32_t k = 0; k < r.s.numsn; k++)
    if (!r.go_on() || !factor_front(r, k, top)) return sfk_code::stopped;
  return r.finite ? sfk_code::ok : sfk_code::failed;
}

} // namespace tvn
