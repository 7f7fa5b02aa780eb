// What the loops of all optimizers do alike: ask for a recomputation, look at the limits, end.
//
// A recomputation makes factor, point and reduced costs fresh before the next pricing. Whoever finds that one is needed
// asks here and says why; the reasons are counted in the information record and told at the end of a run to those who
// debug. One that is wanted soon lets the step in hand go on.
#pragma once

#include "simplex/base/state.h"

namespace tvn {

inline loop_state TVN_simplex_recompute(simplex_state& s, recompute_why why) noexcept {
  s.recompute.now = true;
  s.info.recomputes[static_cast<size_t>(why)]++;
  return loop_state::recompute;
}
inline void TVN_simplex_recomputesoon(simplex_state& s, recompute_why why) noexcept {
  if (!s.recompute.soon) s.info.recomputes[static_cast<size_t>(why)]++;
  s.recompute.soon = true;
}
void TVN_simplex_tellrecomputes(simplex_state& s);

loop_state TVN_simplex_finish(simplex_state& s, simplex_code code, int32_t solsta) noexcept;
// Of all optimizers of the run.
inline int64_t TVN_simplex_totaliterations(const simplex_info& info) noexcept {
  return info.count[kind_primal].iterations + info.count[kind_dual].iterations;
}
inline int64_t TVN_simplex_iterationsleft(const simplex_state& s) noexcept {
  return s.param.maxiterations - TVN_simplex_totaliterations(s.info);
}

// The user's look at iteration `iter` where a line of the log is due, then iterations and clock. The figures of the
// line are formed by `figures()`, and only then.
template <class F> loop_state TVN_simplex_checklimits(simplex_state& s, int64_t iter, F figures) {
  if (s.param.logfreq > 0 && (iter % s.param.logfreq == 0 || s.info.forcelog)) {
    figures();
    if (const int32_t answer = s.progress(simplex_event::iteration, s.info))
      return TVN_simplex_finish(s, TVN_simplex_stopcode(answer), sol_unknown);
    s.info.forcelog = false;
  }
  if (TVN_simplex_iterationsleft(s) <= 0) return TVN_simplex_finish(s, simplex_code::max_iterations, sol_unknown);
  return TVN_simplex_poll(s) ? loop_state::finished : loop_state::go_on;
}

// Empties the vectors of an iteration.
inline void TVN_simplex_clearvectors(simplex_state& s) noexcept {
  for (spvec* v : {&s.spike, &s.aq, &s.rho, &s.alpha, &s.tau}) v->clear();
}

} // namespace tvn
