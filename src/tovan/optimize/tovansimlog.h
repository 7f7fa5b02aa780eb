// A simplex run as the user sees it: lines of the log, information items, callbacks.
#pragma once

#include "tovan/task/task.h"

#include "simplex/base/types.h"

namespace tvn {

// What the progress function needs to write its lines.
struct sim_run {
  task* t;
  double sense;                       // +1 minimise, -1 maximise
  double start;                       // of the simplex optimizer
  TVNrescodee trm;                    // code of the callback that stopped the run
  int32_t running = -1;               // simplex_kind of the optimizer at work
  double begun = 0;                   // its start
  std::array<double, 4> seconds = {}; // by simplex_kind, of those that have ended
  bool presolving = false;
  int64_t lineiteration = -1; // of the optimizer at work, at the last line of its table
  double lineobjective = 0;   // likewise; true bounds and costs that come back at the end change it
};

// The progress function of a simplex run; its handle is a sim_run. Once the user has asked for the end, the callbacks
// hear of nothing but what ends.
int32_t TVN_simplexprogress(void* handle, simplex_event event, const simplex_info& info);
void update_simplexitems(const sim_run& run, const simplex_info& info);
// The last lines of a run: what it did, its time, and how it ended, by the code that stopped it or by its solution.
void log_simplexend(sim_run& run, const simplex_info& info, TVNrescodee code);

} // namespace tvn
