// What the files of kktfac share.
#pragma once

#include "kfac/kktfac.h"

#include <algorithm>

namespace tvn {

// The analysis; noneapart: every column of A goes into the matrix. space: nothing keeps below filltrh or below so many
// predicted seconds, and what was set up before still stands.
[[nodiscard]] kktfac_code kktfac_setup(kktfac& k, bool noneapart, double maxseconds);

// The factor with the next floor under D, where there is one to be tried, or with the one named. k.factored: it stands.
[[nodiscard]] bool kktfac_nextfloor(kktfac& k) noexcept;
void kktfac_usefloor(kktfac& k, int32_t level) noexcept;
// The best of the floors has left this residual.
void kktfac_endfloors(kktfac& k, double residual) noexcept;

// Terms of H that nearly depend on each other become others with the same sum, perhaps fewer.
void kktfac_combineterms(kktfac& k) noexcept;

// Columns that are not apart.
template <class F> void kktfac_others(const kktfac& k, int32_t from, int32_t end, F f) noexcept {
  const int32_t* next = std::lower_bound(k.dense.begin(), k.dense.end(), from);
  for (int32_t j = from; j < end; j++) {
    if (next != k.dense.end() && *next == j)
      next++;
    else
      f(j);
  }
}
template <class F> void kktfac_others(const kktfac& k, F f) noexcept { kktfac_others(k, 0, k.numcol, f); }

// Asks the user between passes over vectors or A; false, with k.stopped, when all is to end.
inline bool kktfac_goeson(kktfac& k) noexcept {
  const sfk_progress& user = k.params.progress;
  if (user.fn && k.large && !k.stopped) k.stopped = user.fn(user.handle, 8, 0, -1.0) != 0;
  return !k.stopped;
}

// f(from, end) over 0 .. num - 1, in pieces between which the user is asked. False: stopped.
template <class F> bool kktfac_pieces(kktfac& k, int32_t num, F f) noexcept {
  constexpr int32_t piece = 1 << 18;
  for (int32_t from = 0; from < num && !k.stopped; from += std::min(piece, num - from)) {
    const int32_t end = from + std::min(piece, num - from);
    f(from, end);
    if (end < num && !kktfac_goeson(k)) return false;
  }
  return !k.stopped;
}

// The columns beside the factor and their Schur matrix; inertia into the info.
[[nodiscard]] sfk_code kktfac_calbeside(kktfac& k) noexcept;
void kktfac_countinertia(kktfac& k) noexcept;
// Right side of the Schur part for one of the system; after the solve, x of columns that are apart, and what the terms
// of H add to the others'. rhs, x: [numcol], u: [schur.num].
void kktfac_besiderhs(const kktfac& k, const double* rhs, double* u) noexcept;
void kktfac_besidex(const kktfac& k, const double* u, double* x) noexcept;

// All that solve leave off where the user stops them, with k.stopped.
// The solutions of the factored system, up to params.maxrhs at once: rhs, to: [num], each [numcol + numrow] with
// columns first.
void kktfac_apply(kktfac& k, int32_t num, const double* const* rhs, double* const* to) noexcept;

struct kkt_residual {
  double worst = 0;        // the larger of both parts, each relative to its largest term
  double term[2] = {0, 0}; // largest terms of the columns' and of the rows' equations
};

// to := rhs - K v; null rhs: 0. All [numcol + numrow].
kkt_residual kktfac_residual(kktfac& k, kkt_target target, const double* rhs, const double* v, double* to) noexcept;

// One of the right sides at work.
struct kkt_vectors {
  double *solution, *best, *rhs, *remainder, *correction;
};
inline kkt_vectors kktfac_vectors(kktfac& k, int32_t c) noexcept {
  const int64_t at = c * (int64_t{k.numcol} + k.numrow);
  kktfac_work& w = k.work;
  return {w.solution.data() + at, w.best.data() + at, w.rhs.data() + at, w.remainder.data() + at,
          w.correction.data() + at};
}

// Adds to the solution the combination of some corrections that leaves the least residual, if that makes it smaller. In
// and out: the remainder, its residual, and `at`.
void kktfac_combine(kktfac& k, kkt_target target, const kkt_vectors& w, kkt_residual& at) noexcept;

// Solves to the target and leaves the worst relative residual in the info. The first num of work.solution, up to
// params.maxrhs, are right sides and become solutions.
void kktfac_refine(kktfac& k, kkt_target target, int32_t num) noexcept;

} // namespace tvn
