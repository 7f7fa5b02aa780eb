// The one clock and the one progress call of a simplex run.
#include "simplex/base/types.h"

namespace tvn {

namespace {

constexpr double pollseconds = 0.02; // between two calls of the progress function

} // namespace

bool simplex_watch::stopped() {
  if (stop != simplex_code::ok) return true;
  const double now = TVN_sysenv_gettime();
  if (param.maxtime >= 0 && now - param.starttime > param.maxtime) {
    stop = simplex_code::max_time;
    return true;
  }
  if (now - last < pollseconds && now >= last) return false;
  last = now;
  const int32_t answer = progress(simplex_event::poll, info);
  if (answer != 0) stop = TVN_simplex_stopcode(answer);
  return answer != 0;
}

} // namespace tvn
