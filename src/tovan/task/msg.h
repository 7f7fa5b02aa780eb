// Fixed messages: texts of the library that exist in each language of the environment.
//
// A message prints on the message stream when the log parameter of its subsystem lets it, and picks one of its two
// texts by TVN_getlang. Nothing is allocated.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

void TVN_msg_logoptimizerstarted(task& t) noexcept;
void TVN_msg_logoptimizerterminated(task& t) noexcept; // with TVN_DINF_OPTIMIZER_TIME
void TVN_msg_logccoptimizerstarted(task& t) noexcept;
void TVN_msg_logccoptimizerterminated(task& t) noexcept; // with TVN_DINF_CONCURRENT_TIME

// The line of an event (TVN_CALLBACK_*) that has one text and at most one time; nothing for all others.
void TVN_msg_event(task& t, int32_t code) noexcept;

// The work of the last run, by optimizer; printed at every level of TVN_IPAR_LOG above 0.
void TVN_msg_optimizersummary(task& t) noexcept;
// The winner of a race and what took part in it; not gated.
void TVN_msg_ccoptimizersummary(task& t) noexcept;

} // namespace tvn
