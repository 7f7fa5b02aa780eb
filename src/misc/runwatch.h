// The one clock and the one question to the user that every phase of a run shares.
#pragma once

#include "cpub/timer.h"

#include <cstdint>

namespace tvn {

enum class run_stop : int32_t { none = 0, time = 5, user = 7, peer = 33 };

// Asked by every phase as often as it likes; calls the user at most every 20 ms. Once it has said stop it goes on
// saying so.
struct run_watch {
  double starttime = 0; // clock reading
  double maxtime = -1;  // seconds from it, negative: none
  void* handle = nullptr;
  int32_t (*ask)(void* handle) = nullptr; // nonzero stops the run: 1 the user, 2 a peer
  double last = 0;                        // clock reading of the last call
  run_stop stop = run_stop::none;

  bool stopped() {
    constexpr double pollseconds = 0.02;
    if (stop != run_stop::none) return true;
    const double now = TVN_sysenv_gettime();
    if (maxtime >= 0 && now - starttime > maxtime) {
      stop = run_stop::time;
      return true;
    }
    if (!ask || (now - last < pollseconds && now >= last)) return false;
    last = now;
    const int32_t answer = ask(handle);
    if (answer != 0) stop = answer == 2 ? run_stop::peer : run_stop::user;
    return answer != 0;
  }
};

// Progress functions whose handle is a run_watch: of presolve, and of orders and factors.
inline int32_t TVN_runwatch_poll(void* handle, int32_t) { return static_cast<run_watch*>(handle)->stopped() ? 1 : 0; }
inline int32_t TVN_runwatch_ask(void* handle, int32_t, int64_t, double) { return TVN_runwatch_poll(handle, 0); }

} // namespace tvn
