// The log state machine. See log.h.
//
// An event prints its lines under the log parameter of its subsystem and ends with the callbacks, so that every event
// can stop a run. The lines that have a fixed text stand in msg.cpp; those with columns belong to the optimizers, which
// print them before they send the event. An event without a line still reaches the callbacks.
#include "tovan/task/log.h"

#include "tovan/tables/version.h"
#include "tovan/task/convert.h"
#include "tovan/task/msg.h"
#include "tovan/task/symcontext.h"

#include <cstdarg>

namespace tvn {

namespace {

const char* objective_word(const task& t) {
  return TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE ? "max" : "min";
}

const char* cpu_word(int32_t type) {
  static constexpr const char* words[] = {"Unknown",     "Generic",        "Intel-P3",    "Intel-P4",   "AMD-Athlon",
                                          "HP-PARISC20", "Intel-Itanium2", "AMD-Opteron", "PowerPC-G5", "Intel-PM"};
  return type >= 0 && type < 10 ? words[type] : "Unknown";
}

} // namespace

bool is_logged(const task& t, int32_t logparam, int32_t level) noexcept {
  const int32_t cut = t.numoptimize > 1 ? t.params.ival[TVN_IPAR_LOG_CUT_SECOND_OPT] : 0;
  return std::min(t.params.ival[TVN_IPAR_LOG], t.params.ival[logparam]) > cut + level;
}

void echo(task& t, int32_t stream, const char* fmt, ...) noexcept {
  va_list args;
  va_start(args, fmt);
  TVN_echostreamva(t.streams, stream, fmt, args);
  va_end(args);
}

TVNrescodee call_callbacks(task& t, int32_t code) noexcept {
  return call_user(t.running.progress, [&]() -> TVNrescodee {
    if (t.callback && t.callback(&t, t.callbackhandle, code) != 0) return TVN_RES_TRM_USER_CALLBACK;
    if (t.syscallback && t.syscallback(&t, t.syscallbackhandle, code) != 0) return TVN_RES_TRM_INTERNAL;
    return TVN_RES_OK;
  });
}

void TVN_loghead(task& t) noexcept {
  if (t.logheadprinted || !is_logged(t, TVN_IPAR_LOG_HEAD)) return;
  t.logheadprinted = 1;
  const auto line = [&](const char* group, const char* item, const char* value) {
    echo(t, TVN_STREAM_MSG, "%*s - %*s : %*s\n", -10, group, -16, item, -16, value);
  };
  line("Computer", "Platform", platform_text);
  line("Computer", "CPU type", cpu_word(t.params.ival[TVN_IPAR_CPU_TYPE]));
  line("TOVAN", "task name", t.taskname.c_str());
  line("TOVAN", "objective sense", objective_word(t));
  line("TOVAN", "problem type", problem_type_word(problem_type(t)));
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %*d\n", -10, "TOVAN", -16, "constraints", -16, t.prob.numcon, -16,
       "variables", -16, t.prob.numvar);
  if (const int32_t numint = count_integers(t.prob); numint > 0)
    echo(t, TVN_STREAM_MSG, "%*s - %*s : %-*d\n", -10, "TOVAN", -16, "integer variables", 16, numint);
}

TVNrescodee TVN_tovanlogr(TVNtask_t handle, int32_t code) noexcept {
  task& t = *handle;
  switch (code) {
  case TVN_CALLBACK_BEGIN_OPTIMIZER:
    TVN_loghead(t);
    TVN_msg_logoptimizerstarted(t);
    break;
  case TVN_CALLBACK_END_OPTIMIZER:
    t.info.dou[TVN_DINF_OPTIMIZER_TIME] = t.optstop - t.optstart;
    TVN_msg_logoptimizerterminated(t);
    break;
  case TVN_CALLBACK_BEGIN_CONCURRENT:
    TVN_loghead(t);
    TVN_msg_logccoptimizerstarted(t);
    break;
  case TVN_CALLBACK_END_CONCURRENT:
    if (is_logged(t, TVN_IPAR_LOG_CONCURRENT))
      TVN_msg_ccoptimizersummary(t);
    else
      TVN_msg_logccoptimizerterminated(t);
    break;
  default: TVN_msg_event(t, code); break;
  }
  return call_callbacks(t, code);
}

TVNrescodee TVN_tovanlog(TVNtask_t t, int32_t code) noexcept { return TVN_tovanlogr(t, code); }

} // namespace tvn
