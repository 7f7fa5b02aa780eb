// The numeric factorisation, front by front.
//
// A front has the rows of its supernode. Its own columns stand among the values, where the matrix has been put; what
// the eliminated columns leave to the parent is made on the stack from zero. The updates of the children are added to
// both by the places of their rows; then the columns are eliminated where they stand. Nothing is copied or allocated.
//
// Threads first share the subtrees, each one at a time, then the fronts above: by column blocks while children are
// added, by strips while columns are eliminated. Every element sees the same operations in the same order as with one
// thread.
//
// Pivots have known signs (Vanderbei 1995). One that has the wrong sign or is too small is replaced, so that the
// factorisation never fails: it is the factor of a matrix changed on its diagonal, and the caller is told how often.
#include "kfac/sfk.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace tvn {

namespace {

// What all threads share.
struct calfac_job {
  sfk_factor& all;
  const sfk_structure& s;
  const sfk_pivots& pivots;
  const sfk_progress& progress;
  thread_team* team = nullptr;
  std::atomic<double> done{0};
  int32_t first = 0; // column of the caller's front

  bool ask() const {
    const double share = s.flops > 0 ? std::min(1.0, done.load(std::memory_order_relaxed) / s.flops) : 1.0;
    return !progress.fn || progress.fn(progress.handle, 6, first, share) == 0;
  }
};

struct pivot_counts {
  int32_t numrepair = 0, numnegative = 0;
};

// One thread at work.
struct alignas(64) calfac_run {
  calfac_job& job;
  const sfk_structure& s;
  const sfk_pivots& pivots;
  double* arena = nullptr;
  dfac_space space;
  int32_t thread = 0;
  int32_t first = 0; // column of the front at hand
  pivot_counts f;
  double told = 0, since = 0; // flops of all, and those that nobody was asked about
  bool finite = true;

  calfac_run(calfac_job& j, int32_t t)
      : job(j), s(j.s), pivots(j.pivots), arena(j.all.stack.data() + t * j.all.partsize),
        space(TVN_dfac_space(j.all.ker, j.all.maxrows, j.all.maxcols, j.all.work.data() + t * j.all.worksize)),
        thread(t) {}
  double* update_of(int32_t k) const noexcept {
    const int64_t at = job.all.place[k];
    return at < 0 ? job.all.stack.data() + job.all.keptbeg + ~at : arena + at;
  }
  // Up to a few milliseconds between two questions.
  bool go_on(double flops) {
    constexpr double flopsperask = 2e7;
    told += flops;
    since += flops;
    if (since < flopsperask) return true;
    job.done.fetch_add(since, std::memory_order_relaxed);
    since = 0;
    return ask();
  }
  bool ask() {
    if (job.team && job.team->stopped) return false;
    if (thread != 0) return true;
    job.first = first;
    return job.ask();
  }
};

double choose_pivot(void* handle, int64_t k, double q) {
  auto& r = *static_cast<calfac_run*>(handle);
  const int32_t col = r.first + static_cast<int32_t>(k);
  const double sign = r.pivots.sign ? r.pivots.sign[r.s.perm[col]] : 1.0;
  r.finite = r.finite && std::isfinite(q);
  if (!(sign * q > r.pivots.tolpiv)) {
    const double was = q;
    q = sign * std::max(r.pivots.repaired, std::fabs(q)); // no smaller than it was: else the rest would grow
    if (r.pivots.added) r.pivots.added[col] = q - was;
    r.f.numrepair++;
  }
  r.f.numnegative += q < 0;
  return q;
}

bool ask(void* handle, double flops) { return static_cast<calfac_run*>(handle)->go_on(flops); }

struct front_view {
  int64_t rows, cols;
  double *block, *update;

  // Row i of the front is at [i].
  double* column(int64_t j) const noexcept {
    return j < cols ? block + j * rows : TVN_dfac_column(update, rows - cols, j - cols) - cols;
  }
};

front_view view_front(const calfac_run& r, int32_t k) noexcept {
  const sfk_structure& s = r.s;
  return {s.rowbeg[k + 1] - s.rowbeg[k], s.snbeg[k + 1] - s.snbeg[k], r.job.all.val.data() + s.valbeg[k],
          r.update_of(k)};
}

// Adds u to the places of y that `at` names, ascending. Most are neighbours, and long runs pay for being looked for.
inline void add_scattered(double* y, const double* u, const int32_t* at, int64_t num) noexcept {
  constexpr int64_t minrun = 8;
  int64_t i = 0;
  while (i + minrun <= num) {
    if (at[i + minrun - 1] - at[i] != minrun - 1) {
      y[at[i]] += u[i];
      i++;
      continue;
    }
    double* __restrict const z = y + at[i];
    const double* __restrict const v = u + i;
    for (int64_t p = 0; p < minrun; p++) z[p] += v[p];
    i += minrun;
  }
  for (; i < num; i++) y[at[i]] += u[i];
}

// The product of a single column into the front columns [from, end).
void add_single(const calfac_run& r, int32_t child, const front_view& f, int64_t from, int64_t end) noexcept {
  const sfk_structure& s = r.s;
  const int64_t num = s.rowbeg[child + 1] - s.rowbeg[child] - 1;
  const int32_t* const at = s.uprow.data() + s.rowbeg[child] + 1;
  const double* const l = r.job.all.val.data() + s.valbeg[child] + 1;
  const double d = r.job.all.d[s.snbeg[child]];
  for (int64_t j = from > 0 ? std::lower_bound(at, at + num, from) - at : 0; j < num && at[j] < end; j++) {
    double* const y = f.column(at[j]);
    const double t = l[j] * d;
    for (int64_t i = j; i < num; i++) y[at[i]] -= l[i] * t;
  }
}

// The update of a child into the front columns [from, end).
void add_update(const calfac_run& r, int32_t child, const front_view& f, int64_t from, int64_t end) noexcept {
  const sfk_structure& s = r.s;
  if (is_single(s, child)) return add_single(r, child, f, from, end);
  const int64_t width = s.snbeg[child + 1] - s.snbeg[child], num = s.rowbeg[child + 1] - s.rowbeg[child] - width;
  const int32_t* const at = s.uprow.data() + s.rowbeg[child] + width;
  double* const u = r.update_of(child);
  for (int64_t j = from > 0 ? std::lower_bound(at, at + num, from) - at : 0; j < num && at[j] < end; j++)
    add_scattered(f.column(at[j]), TVN_dfac_column(u, num, j) + j, at + j, num - j);
}

// Columns [from, end) of a front before anything is eliminated; those of the update begin and end with their blocks.
void gather_columns(const calfac_run& r, int32_t k, const front_view& f, int64_t from, int64_t end) noexcept {
  const int64_t t = f.rows - f.cols;
  if (end > f.cols) {
    const int64_t first = std::max<int64_t>(from - f.cols, 0);
    double* const beg = TVN_dfac_column(f.update, t, first) + first;
    std::fill(beg, end == f.rows ? f.update + TVN_dfac_updatesize(t) : f.column(end) + end, 0.0);
  }
  for (int32_t child = r.s.lastchild[k]; child >= 0; child = r.s.prevsibling[child]) add_update(r, child, f, from, end);
}

struct gather_job {
  const calfac_run& r;
  int32_t k;
  front_view f;
};

// Tile 0 has the own columns, each other a block of the update.
void gather_tile(void* arg, int64_t tile, int32_t) {
  const auto& g = *static_cast<gather_job*>(arg);
  if (tile == 0) return gather_columns(g.r, g.k, g.f, 0, g.f.cols);
  const int64_t from = g.f.cols + (tile - 1) * dfac_block;
  gather_columns(g.r, g.k, g.f, from, std::min(from + dfac_block, g.f.rows));
}

// All at once, but for the largest fronts, where room that is touched for the first time takes its while.
bool gather_alone(calfac_run& r, int32_t k, const front_view& f) noexcept {
  constexpr int64_t atonce = 1 << 21; // elements of the update
  const int64_t below = f.rows - f.cols;
  if (below * below < 2 * atonce) {
    gather_columns(r, k, f, 0, f.rows);
    return true;
  }
  gather_job g{r, k, f};
  int64_t since = 0;
  for (int64_t tile = 0; tile <= (below + dfac_block - 1) / dfac_block; tile++) {
    gather_tile(&g, tile, r.thread);
    since += below * dfac_block;
    if (since >= atonce && !r.ask()) return false;
    if (since >= atonce) since = 0;
  }
  return true;
}

bool factor_single(calfac_run& r, int32_t k) noexcept {
  const sfk_structure& s = r.s;
  double* const l = r.job.all.val.data() + s.valbeg[k];
  r.first = s.snbeg[k];
  const double d = r.job.all.d[r.first] = choose_pivot(&r, 0, l[0]);
  const int64_t rows = s.rowbeg[k + 1] - s.rowbeg[k];
  for (int64_t i = 1; i < rows; i++) l[i] /= d;
  return r.go_on(static_cast<double>(rows * rows));
}

bool factor_front(calfac_run& r, int32_t k, thread_team* team) noexcept {
  if (is_single(r.s, k)) return factor_single(r, k);
  constexpr double shared = 4e6; // flops of a front that is worth sharing
  const front_view f = view_front(r, k);
  const auto rows = static_cast<double>(f.rows);
  const double flops = rows * rows * static_cast<double>(f.cols);
  r.first = r.s.snbeg[k];
  if (team && flops < shared) team = nullptr;
  if (team) {
    gather_job g{r, k, f};
    if (!TVN_team_run(*team, 1 + (f.rows - f.cols + dfac_block - 1) / dfac_block, gather_tile, &g)) return false;
  } else if (!gather_alone(r, k, f)) {
    return false;
  }
  const dfac_front front{f.rows, f.cols, f.block, f.rows, f.update, r.job.all.d.data() + r.first};
  const double told = r.told;
  return TVN_dfac_factor(r.job.all.ker, front, {&r, choose_pivot, ask}, r.space, team) &&
         (r.told > told || r.go_on(flops)); // a small front has not asked
}

void subtree_tile(void* arg, int64_t tile, int32_t thread) {
  calfac_run& r = *static_cast<std::optional<calfac_run>*>(arg)[thread];
  const sfk_structure& s = r.s;
  for (int32_t k = s.subtreebeg[tile]; k <= s.subtree[tile]; k++)
    if (!factor_front(r, k, nullptr)) {
      r.job.team->stopped = true;
      return;
    }
}

bool ask_for_team(void* handle) { return static_cast<calfac_job*>(handle)->ask(); }

sfk_code finish(sfk_factor& f, const calfac_run& r) {
  f.numrepair += r.f.numrepair;
  f.numnegative += r.f.numnegative;
  return r.finite ? sfk_code::ok : sfk_code::failed;
}

sfk_code factor_by_team(calfac_job& job) {
  const sfk_structure& s = job.s;
  thread_team team(job.all.numthreads, {&job, ask_for_team});
  job.team = &team;
  std::optional<calfac_run> runs[maxteam];
  for (int32_t t = 0; t < team.numthreads; t++) runs[t].emplace(job, t);
  if (!TVN_team_run(team, s.subtree.size(), subtree_tile, runs)) return sfk_code::stopped;
  runs[0]->space = TVN_dfac_space(job.all.ker, s.maxfront, s.maxcols, job.all.work.data());
  for (const int32_t k : s.above)
    if (!factor_front(*runs[0], k, &team)) return sfk_code::stopped;
  sfk_code code = sfk_code::ok;
  for (int32_t t = 0; t < team.numthreads; t++) code = std::max(code, finish(job.all, *runs[t]));
  return code;
}

} // namespace

// In pieces: memory that is touched for the first time takes its while.
bool TVN_sfk_clear(sfk_factor& f, const sfk_progress& progress) noexcept {
  constexpr int64_t piece = 1 << 21;
  for (int64_t p = 0; p < f.val.size(); p += piece) {
    std::fill_n(f.val.data() + p, std::min(piece, f.val.size() - p), 0.0);
    if (p + piece < f.val.size() && progress.fn && progress.fn(progress.handle, 6, 0, 0.0) != 0) return false;
  }
  return true;
}

sfk_code TVN_ch_calfac(sfk_factor& f, const sfk_pivots& pivots, const sfk_progress& progress) noexcept {
  calfac_job job{f, *f.sfk, pivots, progress};
  f.numrepair = f.numnegative = 0;
  if (!job.ask()) return sfk_code::stopped;
  if (f.numthreads > 1) return factor_by_team(job);
  calfac_run r(job, 0);
  for (int32_t k = 0; k < job.s.numsn; k++)
    if (!factor_front(r, k, nullptr)) return sfk_code::stopped;
  return finish(f, r);
}

} // namespace tvn
