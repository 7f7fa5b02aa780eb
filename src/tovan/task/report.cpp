// Reporting of codes and fatal stops. See report.h.
//
// Code 1000 goes to the error stream with the warning prefix: the prefix test is strictly above, the routing test at or
// above 1000.
#include "tovan/task/report.h"

#include "cpub/format.h"
#include "tovan/task/api.h"
#include "tovan/tables/rescode.h"
#include "tovan/tables/version.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace tvn {

namespace {

constexpr size_t message_size = 1024;

void echo(stream_block& s, int32_t which, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

void echo(stream_block& s, int32_t which, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  (void)TVN_echostreamva(s, which, fmt, args);
  va_end(args);
}

void echo_location(stream_block& s, int32_t which, const char* file, int line, const char* function) {
  echo(s, which, "Location of the %s.\n", which == TVN_STREAM_WRN ? "warning" : "error");
  echo(s, which, "%-20s: %-s\n", "File", file ? file : "(NULL)");
  echo(s, which, "%-20s: %-d\n", "Line", line);
  echo(s, which, "%-20s: %-s\n", "Function", function ? function : "");
}

int32_t keep_message(const char* message, int64_t capacity, char* lastmsg) noexcept {
  const auto len = std::min(static_cast<int64_t>(std::strlen(message)), capacity - 1);
  std::memcpy(lastmsg, message, static_cast<size_t>(len));
  lastmsg[len] = '\0';
  return static_cast<int32_t>(len);
}

// Threads that make tasks of one environment may report on it at the same time.
int32_t count_warning(int32_t& count) noexcept {
  return std::atomic_ref<int32_t>(count).fetch_add(1, std::memory_order_relaxed) + 1;
}

// Quiet: the code is told by the return value alone, since the function that would hear of it is the one that asks.
exception_limits limits_of(const int32_t* ipar, bool quiet) noexcept {
  return {ipar[TVN_IPAR_LOG], ipar[TVN_IPAR_LOG_RESPONSE], ipar[TVN_IPAR_MAX_NUM_WARNINGS], quiet};
}

// The response function of a task while it does not run itself.
TVNrescodee respond(void* handle, TVNrescodee code, const char* message) noexcept {
  task& t = TVN_taskcast(handle);
  if (!t.responsefunc || t.running.response > 0) return TVN_RES_OK;
  return call_user(t.running.response, [&] { return t.responsefunc(t.responsehandle, code, message); });
}

TVNrescodee report_va(task& t, const char* file, int line, const char* function, TVNrescodee code,
                      va_list args) noexcept {
  const bool quiet = t.streams.running > 0;
  t.lasterror = TVN_handleexceptionva(file, line, function, t.streams, quiet ? nullptr : respond, &t,
                                      limits_of(t.params.ival.data(), quiet), t.warningcount.data(), code,
                                      t.lasterrormsg.size(), &t.lasterrorlen, t.lasterrormsg.data(), args);
  if (t.lasterror == TVN_RES_OK) {
    t.lasterrorlen = 0;
    if (!t.lasterrormsg.empty()) t.lasterrormsg[0] = '\0';
  }
  return t.lasterror;
}

TVNrescodee report_va(env& e, const char* file, int line, const char* function, TVNrescodee code,
                      va_list args) noexcept {
  return TVN_handleexceptionva(file, line, function, e.streams, e.responsefunc, e.responsehandle,
                               limits_of(e.params.idef.data(), false), e.warningcount.data(), code, 0, nullptr, nullptr,
                               args);
}

// What both fatal stops print.
void echo_stop(stream_block& s, const char* title, const char* file, int line, const char* msg) {
  echo(s, TVN_STREAM_ERR, "%s", title);
  echo(s, TVN_STREAM_ERR, "Version : %d.%d.%d.%d\n", version_major, version_minor, version_build, version_revision);
  echo(s, TVN_STREAM_ERR, "Platform: %s\n", platform_text);
  echo(s, TVN_STREAM_ERR, "File    : %s\n", file ? file : "(NULL)");
  echo(s, TVN_STREAM_ERR, "Line    : %d\n", line);
  echo(s, TVN_STREAM_ERR, "Msg.    : %s\n", msg);
  echo(s, TVN_STREAM_ERR, "Please report this message to the support of TOVAN.\n");
}

void unlink_streams(stream_block& s) {
  for (int32_t k = 0; k < num_streams; k++) {
    (void)TVN_flushstream(s, k);
    (void)TVN_unlinkfilefromstream(s, k);
  }
}

void write_debug_file(const char* name, const char* file, int line, const char* msg) {
  if (*name == '\0') return;
  std::FILE* f = std::fopen(name, "wt");
  if (!f) return;
  std::fprintf(f, "TOVAN fatal error\nFile : %s\nLine : %d\nMsg. : %s\n", file ? file : "(NULL)", line, msg);
  std::fclose(f);
}

void stop_env(env& e, const char* file, int line, const char* msg) {
  echo_stop(e.streams, "TOVAN fatal error stopenv.\n", file, line, msg);
  unlink_streams(e.streams);
  if (!e.exitfunc) std::abort();
  e.exitfunc(e.exithandle, file, line, msg);
}

void stop_task(task& t, const char* file, int line, const char* msg) {
  echo_stop(t.streams, "\n\nTOVAN fatal error (stoptask)\n", file, line, msg);
  write_debug_file(t.params.sval[TVN_SPAR_DEBUG_FILE_NAME].c_str(), file, line, msg);
  unlink_streams(t.streams);
  stop_env(*t.env, file, line, msg);
}

} // namespace

TVNrescodee TVN_handleexceptionva(const char* file, int line, const char* function, stream_block& streams,
                                  TVN_responsefunc func, void* handle, const exception_limits& limits,
                                  int32_t* warningcount, TVNrescodee code, int64_t capacity, int64_t* lastlen,
                                  char* lastmsg, va_list args) noexcept {
  const bool keep = lastmsg && capacity > 0;
  if (keep) {
    *lastlen = 0;
    lastmsg[0] = '\0';
  }
  if (code == TVN_RES_OK) return TVN_RES_OK;
  char fmt[message_size], message[message_size], prefix[64];
  TVN_getresmes(code, fmt);
  std::snprintf(prefix, sizeof prefix, code > 1000 ? "TOVAN Error %-6d   : " : "TOVAN Warning %-6d : ", code);
  format_textva(message, sizeof message, fmt, args);
  message[whole_utf8(message, static_cast<int32_t>(std::strlen(message)))] = '\0';
  if (keep) *lastlen = keep_message(message, capacity, lastmsg);
  const bool warning = code < 1000;
  const int32_t which = warning ? TVN_STREAM_WRN : TVN_STREAM_ERR;
  const bool beyond = warning && code >= 0 && count_warning(warningcount[code]) > limits.maxnumwarnings;
  const bool silent = limits.quiet || beyond;
  if (!silent) {
    echo(streams, which, "%s%s\n", prefix, message);
    if (limits.log != 0 && limits.logresponse != 0) echo_location(streams, which, file, line, function);
  }
  const TVNrescodee answer = func ? func(handle, code, message) : TVN_RES_OK;
  if (keep) *lastlen = keep_message(message, capacity, lastmsg); // the function may have reported something itself
  return warning ? answer : code;
}

TVNrescodee report(task& t, const char* file, int line, TVNrescodee code, ...) noexcept {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = report_va(t, file, line, "", code, args);
  va_end(args);
  return result;
}

TVNrescodee report_result(task& t, const char* file, int line, TVNrescodee code, ...) noexcept {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = report_va(t, file, line, "", code, args);
  va_end(args);
  return result ? result : code;
}

TVNrescodee report(env& e, const char* file, int line, TVNrescodee code, ...) noexcept {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = report_va(e, file, line, "", code, args);
  va_end(args);
  return result;
}

TVNrescodee report_no_memory(task* t) noexcept { return report(*t, "src/tovan/api", 0, TVN_RES_ERR_SPACE); }

TVNrescodee report_no_memory(env* e) noexcept { return report(*e, "src/tovan/api", 0, TVN_RES_ERR_SPACE); }

void TVN_stoptask(task& t, const char* file, int line, const char* fmt, ...) {
  char msg[2049];
  va_list args;
  va_start(args, fmt);
  format_textva(msg, sizeof msg, fmt, args);
  va_end(args);
  stop_task(t, file, line, msg);
}

void TVN_stopenv(env& e, const char* file, int line, const char* fmt, ...) {
  char msg[2049];
  va_list args;
  va_start(args, fmt);
  format_textva(msg, sizeof msg, fmt, args);
  va_end(args);
  stop_env(e, file, line, msg);
}

void TVN_asserttaskdbg(const char* file, int line, task& t, bool condition) {
  if (!condition) TVN_stoptask(t, file, line, "Assertion failed");
}

void TVN_assertenvdbg(const char* file, int line, env& e, bool condition) {
  if (!condition) TVN_stopenv(e, file, line, "Assertion failed");
}

void TVN_exithandlertask(void* handle, const char* file, int line, const char* msg) {
  stop_task(TVN_taskcast(handle), file, line, msg);
}

void TVN_exithandlerenv(void* handle, const char* file, int line, const char* msg) {
  stop_env(TVN_envcast(handle), file, line, msg);
}

void TVN_echototask(void* handle, const char* text) {
  (void)TVN_echostream(TVN_taskcast(handle).streams, TVN_STREAM_LOG, text);
}

void TVN_echotoenv(void* handle, const char* text) {
  (void)TVN_echostream(TVN_envcast(handle).streams, TVN_STREAM_LOG, text);
}

TVNrescodee TVN_sysrestores(sys_code code) noexcept {
  switch (code) {
  case sys_code::ok: return TVN_RES_OK;
  case sys_code::space: return TVN_RES_ERR_SPACE;
  case sys_code::file_open: return TVN_RES_ERR_FILE_OPEN;
  case sys_code::file_read: return TVN_RES_ERR_FILE_READ;
  case sys_code::end_of_file: return TVN_RES_ERR_END_OF_FILE;
  case sys_code::file_write: return TVN_RES_ERR_FILE_WRITE;
  case sys_code::internal: return TVN_RES_ERR_INTERNAL;
  case sys_code::leaking: return TVN_RES_ERR_SPACE_LEAKING;
  case sys_code::invalid_file_name: return TVN_RES_ERR_INVALID_FILE_NAME;
  }
  return TVN_RES_ERR_INTERNAL;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_exceptiontask(TVNtask_t task, TVNrescodee code, ...) {
  if (const TVNrescodee bad = check(task)) return bad;
  va_list args;
  va_start(args, code);
  const TVNrescodee result = report_va(*task, "src/tovan/report", __LINE__, "", code, args);
  va_end(args);
  return result;
}

TVNrescodee TVN_exceptiontaskdbg(const char* file, int line, const char* function, TVNtask_t task, TVNrescodee code,
                                 ...) {
  if (const TVNrescodee bad = check(task)) return bad;
  va_list args;
  va_start(args, code);
  const TVNrescodee result = report_va(*task, file, line, function, code, args);
  va_end(args);
  return result;
}

TVNrescodee TVN_exceptiontaskva(const char* file, int line, const char* function, TVNtask_t task, TVNrescodee code,
                                va_list args) {
  if (const TVNrescodee bad = check(task)) return bad;
  return report_va(*task, file, line, function, code, args);
}

TVNrescodee TVN_exceptionenvva(const char* file, int line, const char* function, TVNenv_t env, TVNrescodee code,
                               va_list args) {
  return api(env, [&](tvn::env& e) { return report_va(e, file, line, function, code, args); });
}

TVNrescodee TVN_exceptionenv(TVNenv_t env, TVNrescodee code, ...) {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = TVN_exceptionenvva("src/tovan/report", __LINE__, "", env, code, args);
  va_end(args);
  return result;
}

TVNrescodee TVN_exceptionenvdbg(const char* file, int line, const char* function, TVNenv_t env, TVNrescodee code, ...) {
  va_list args;
  va_start(args, code);
  const TVNrescodee result = TVN_exceptionenvva(file, line, function, env, code, args);
  va_end(args);
  return result;
}

TVNrescodee TVN_getlasterror64(TVNtask_t task, TVNrescodee* lastcode, int64_t maxlen, int64_t* msglen, char* msg) {
  return api(task, [&](tvn::task& t) {
    if (lastcode) *lastcode = t.lasterror;
    if (msglen) *msglen = t.lasterrorlen;
    if (msg && maxlen > 0) keep_message(t.lasterrormsg.data(), maxlen, msg);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getlasterror(TVNtask_t task, TVNrescodee* lastcode, int32_t maxlen, int32_t* msglen, char* msg) {
  int64_t len = 0;
  const TVNrescodee result = TVN_getlasterror64(task, lastcode, maxlen, &len, msg);
  if (msglen) *msglen = static_cast<int32_t>(len);
  return result;
}
