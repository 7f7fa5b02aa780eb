// An interior-point run as the user sees it: lines of the log, information items, callbacks.
#pragma once

#include "optimize/optslv.h"
#include "tovan/task/task.h"

namespace tvn {

// What the progress function needs to write its lines.
struct ipm_view {
  task* t;
  double sense;    // +1 minimise, -1 maximise
  double start;    // of the run
  TVNrescodee trm; // code of the callback that stopped the run
  bool presolving = false;
  double ordering = 0; // clock reading at the start of the ordering
  bool conic = false;
  bool separable = false; // the optimizer of separable forms: lines of its own
};

// The progress function of an interior-point run; its handle is an ipm_view. Once the user has asked for the end, the
// callbacks hear of nothing but what ends.
int32_t TVN_interiorprogress(void* handle, ipm_event event, const ipm_info& info);
void update_interioritems(const ipm_view& view, const ipm_info& info);
// The last line of a run: its time, and how it ended, by the code that stopped it or by its solution.
void log_interiorend(const ipm_view& view, TVNrescodee code);

} // namespace tvn
