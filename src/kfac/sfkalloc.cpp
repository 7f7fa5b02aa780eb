// The place of each update, and all room that a factorisation needs.
//
// An update is pushed onto the end of the stack that belongs to its depth, while its children's lie on top of the other
// end; they go when it is made. So what lies between the ends is never in the way, and the most that both take together
// is all that is needed. With threads each has such a stack for the subtree at hand; the updates of their roots are
// kept apart, all at once, for the fronts above, which have the first thread's.
#include "kfac/sfk.h"

#include <algorithm>

namespace tvn {

namespace {

int64_t update_size(const sfk_structure& s, int32_t k) noexcept {
  return is_single(s, k) ? 0 : TVN_dfac_updatesize(s.rowbeg[k + 1] - s.rowbeg[k] - (s.snbeg[k + 1] - s.snbeg[k]));
}

// Both ends of a stack; those of odd depth are first given the distance from its end.
struct stack_plan {
  const sfk_structure& s;
  buffer<int64_t>& place;
  int64_t used[2] = {0, 0}, most = 0;

  void push(int32_t k) noexcept {
    const int64_t size = update_size(s, k);
    int64_t& top = used[s.depth[k] % 2];
    place[k] = s.depth[k] % 2 ? top + size : top;
    top += size;
    most = std::max(most, used[0] + used[1]);
  }
  void pop(int32_t k) noexcept { used[s.depth[k] % 2] -= update_size(s, k); }
};

// Supernodes [first, end); `kept`: who has a place already.
int64_t plan_range(const sfk_structure& s, int32_t first, int32_t end, const buffer<int8_t>& kept,
                   buffer<int64_t>& place) noexcept {
  stack_plan plan{s, place};
  const auto is_kept = [&](int32_t k) { return !kept.empty() && kept[k] != 0; };
  for (int32_t k = first; k < end; k++) {
    if (is_kept(k)) continue;
    plan.push(k);
    for (int32_t child = s.lastchild[k]; child >= 0; child = s.prevsibling[child])
      if (!is_kept(child)) plan.pop(child);
  }
  return plan.most;
}

void turn_odd(const sfk_structure& s, const buffer<int8_t>& kept, int64_t size, buffer<int64_t>& place) noexcept {
  for (int32_t k = 0; k < s.numsn; k++)
    if (s.depth[k] % 2 && (kept.empty() || !kept[k])) place[k] = size - place[k];
}

void widen_work(const sfk_structure& s, int32_t first, int32_t end, sfk_factor& f) noexcept {
  for (int32_t k = first; k < end; k++) {
    f.maxrows = std::max(f.maxrows, s.rowbeg[k + 1] - s.rowbeg[k]);
    f.maxcols = std::max<int64_t>(f.maxcols, s.snbeg[k + 1] - s.snbeg[k]);
  }
  f.worksize = TVN_dfac_worksize(f.ker, f.maxrows, f.maxcols, 1);
}

void plan_threads(sysenv& sys, const sfk_structure& s, sfk_factor& f) {
  buffer<int8_t> kept(sys, s.numsn, 0), inside(sys, s.numsn, 0);
  int64_t keptsize = 0;
  f.partsize = 0;
  for (int64_t q = 0; q < s.subtree.size(); q++) {
    const int32_t root = s.subtree[q];
    widen_work(s, s.subtreebeg[q], root + 1, f);
    f.partsize = std::max(f.partsize, plan_range(s, s.subtreebeg[q], root, kept, f.place));
    std::fill(inside.begin() + s.subtreebeg[q], inside.begin() + root, int8_t{1});
    kept[root] = 1;
    f.place[root] = ~keptsize;
    keptsize += update_size(s, root);
  }
  for (int32_t k = 0; k < s.numsn; k++) inside[k] = static_cast<int8_t>(inside[k] | kept[k]);
  const int64_t above = plan_range(s, 0, s.numsn, inside, f.place);
  f.partsize = std::max(f.partsize, above);
  turn_odd(s, kept, f.partsize, f.place);
  f.keptbeg = f.partsize * f.numthreads;
  f.stack.reset(sys, f.keptbeg + keptsize);
  const int64_t top = TVN_dfac_worksize(f.ker, s.maxfront, s.maxcols, f.numthreads);
  f.work.reset(sys, std::max(f.worksize * f.numthreads, top));
}

// A team costs about a tenth of a millisecond, and small fronts are not shared.
bool is_worth_threads(const sfk_structure& s) noexcept {
  constexpr double percolumn = 35e-9, perentry = 2.6e-9, perflop = 1.0 / 30e9, least = 1.5e-3; // seconds
  return percolumn * s.n + perentry * static_cast<double>(s.nnzl) + perflop * s.flops > least;
}

} // namespace

void TVN_sfk_allocLval(sysenv& sys, const sfk_structure& sfk, const matker& ker, sfk_factor& f, int32_t numthreads) {
  f.sfk = &sfk;
  f.ker = ker;
  f.numthreads = is_worth_threads(sfk) ? std::clamp(numthreads, 1, maxteam) : 1;
  f.val.reset(sys, sfk.stored);
  f.d.reset(sys, sfk.n);
  f.place.reset(sys, sfk.numsn);
  f.maxrows = f.maxcols = f.worksize = 0;
  if (f.numthreads > 1) return plan_threads(sys, sfk, f);
  f.partsize = f.keptbeg = plan_range(sfk, 0, sfk.numsn, {}, f.place);
  turn_odd(sfk, {}, f.partsize, f.place);
  f.stack.reset(sys, f.partsize);
  widen_work(sfk, 0, sfk.numsn, f);
  f.work.reset(sys, f.worksize);
}

} // namespace tvn
