// The log state machine: run events become lines and callback calls.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

// True when the subsystem's log parameter lets a line of this level out: min(TVN_IPAR_LOG, param) > level + cutoff,
// where the cutoff is TVN_IPAR_LOG_CUT_SECOND_OPT from the second optimize of a task on.
bool is_logged(const task& t, int32_t logparam, int32_t level = 0) noexcept;

// Prints the lines of an event, then calls the user's and the system callback. Codes are TVN_CALLBACK_*.
// 0, TVN_RES_TRM_USER_CALLBACK or TVN_RES_TRM_INTERNAL.
TVNrescodee TVN_tovanlog(TVNtask_t t, int32_t code) noexcept;
TVNrescodee TVN_tovanlogr(TVNtask_t t, int32_t code) noexcept;

// The callbacks alone, for events without lines.
TVNrescodee call_callbacks(task& t, int32_t code) noexcept;

// Machine and problem, once a run.
void TVN_loghead(task& t) noexcept;

// A line on a stream of the task.
void echo(task& t, int32_t stream, const char* fmt, ...) noexcept __attribute__((format(printf, 3, 4)));

} // namespace tvn
