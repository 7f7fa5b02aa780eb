// Ends of a loop, and what it tells of its recomputations. See loop.h.
#include "simplex/base/loop.h"

#include <iterator>

namespace tvn {

namespace {

constexpr int32_t debuglevel = 20;

// In the order of recompute_why.
constexpr const char* names[] = {"start",      "factor advised", "many updates", "digits",    "small pivot",
                                 "lost pivot", "no room",        "verdict",      "true data", "feasible",
                                 "moved data", "tolerance",      "superbasics",  "pricing",   "setback"};
static_assert(std::size(names) == num_recompute_why);

} // namespace

void TVN_simplex_tellrecomputes(simplex_state& s) {
  for (size_t why = 0; why < num_recompute_why; why++)
    if (s.info.recomputes[why] > 0)
      TVN_simplex_tell(s, debuglevel, "Recomputations, %-16s: %lld\n", names[why],
                       static_cast<long long>(s.info.recomputes[why]));
}

loop_state TVN_simplex_finish(simplex_state& s, simplex_code code, int32_t solsta) noexcept {
  s.stop = code;
  s.info.solsta = solsta;
  return loop_state::finished;
}

} // namespace tvn
