// How a code becomes a message, a last-error record and a returned code; and how a state that must not happen ends.
//
// A reporting call is also how a function returns: it gives 0 for a warning, so that the function goes on, and the code
// itself for an error. A response function of the user may turn a warning into a failure, never an error into success.
// Nothing here allocates.
#pragma once

#include "tovan/task/task.h"

#include <cstdarg>

namespace tvn {

inline constexpr int64_t last_error_capacity = 1025;

// Arguments after the code fill its message template. `file` is the label of the caller.
TVNrescodee report(task& t, const char* file, int line, TVNrescodee code, ...) noexcept;
// For the few calls that return a warning as their result: the code stands unless the response function makes it
// another failure.
TVNrescodee report_result(task& t, const char* file, int line, TVNrescodee code, ...) noexcept;
TVNrescodee report(env& e, const char* file, int line, TVNrescodee code, ...) noexcept;

struct exception_limits {
  int32_t log = 0, logresponse = 0, maxnumwarnings = 0;
  bool quiet = false; // nothing is printed
};

// The last message may be null: then neither its length nor its text is kept.
TVNrescodee TVN_handleexceptionva(const char* file, int line, const char* function, stream_block& streams,
                                  TVN_responsefunc func, void* handle, const exception_limits& limits,
                                  int32_t* warningcount, TVNrescodee code, int64_t capacity, int64_t* lastlen,
                                  char* lastmsg, va_list args) noexcept;

// Fatal stops: print, flush, then call the user's exit function, or end the process when there is none.
void TVN_stoptask(task& t, const char* file, int line, const char* fmt, ...) __attribute__((format(printf, 4, 5)));
void TVN_stopenv(env& e, const char* file, int line, const char* fmt, ...) __attribute__((format(printf, 4, 5)));
void TVN_asserttaskdbg(const char* file, int line, task& t, bool condition);
void TVN_assertenvdbg(const char* file, int line, env& e, bool condition);

// Exit and echo functions of the system environments; the handle is the task or the environment.
void TVN_exithandlertask(void* handle, const char* file, int line, const char* msg);
void TVN_exithandlerenv(void* handle, const char* file, int line, const char* msg);
void TVN_echototask(void* handle, const char* text);
void TVN_echotoenv(void* handle, const char* text);

// Result of the system layer as a response code.
TVNrescodee TVN_sysrestores(sys_code code) noexcept;

} // namespace tvn
