// The step to a basis as the user sees it: lines of the log, information items, callbacks.
#pragma once

#include "simplex/base/types.h"
#include "tovan/task/task.h"

namespace tvn {

// What the progress function needs to write its lines.
struct basis_view {
  task* t;
  double sense;                 // +1 minimise, -1 maximise
  TVNrescodee trm = TVN_RES_OK; // code of the callback that stopped the step
  double start = -1;            // clock reading, negative: not begun
  double phasestart = 0;        // of the phase or optimizer at work
  int32_t phase = 0;            // 1 primal, 2 dual pushes, 3 clean-up
  double seconds[4] = {};       // by simplex_kind, of the optimizers that have ended
};

// The progress function of a step to a basis; its handle is a basis_view. Once the user has asked for the end, the
// callbacks hear of nothing but what ends.
int32_t TVN_basisprogress(void* handle, simplex_event event, const simplex_info& info);
void update_basisitems(const basis_view& view, const simplex_info& info);
// What it did, for those who raise the log level, once its status is known.
void log_basisend(const basis_view& view, const simplex_info& info);

} // namespace tvn
