// The environment record: parameter tables, streams, mutexes and the count of tasks.
//
// Lives in memory of its own system environment and ends with it. Shared between the threads of its tasks: after
// TVN_initenv only the counts of tasks and calls change, under mutex 2; the parameter tables are read-only.
#pragma once

#include "tovan.h"

#include "cpub/buffer.h"
#include "misc/stream.h"
#include "tovan/tables/paramtables.h"

#include <array>
#include <pthread.h>

namespace tvn {
// The first word of both records, so that a handle of the other kind, or of a record that has gone, gets a code.
enum class handle_tag : uint64_t { none = 0, of_env = 0x766e65204e564f54, of_task = 0x6b736154204e4f54 };
} // namespace tvn

struct TVNenv {
  tvn::handle_tag tag = tvn::handle_tag::of_env;
  int32_t initialized = 0; // 0 after TVN_makeenv, 1 after TVN_initenv
  int32_t keepdlls = 1;
  int32_t garbagecollect = 0; // 1: deletion waits for the last task
  int32_t deletepending = 0;
  int32_t holds = 0;                         // calls under way on the environment itself, under mutex 2
  tvn::param_tables params;                  // names, defaults and rules; read-only after TVN_initenv
  int32_t nummutexes = 0;                    // that exist
  tvn::numbered<pthread_mutex_t, 4> mutexes; // 2 guards the task counters, 3 the mixed-integer library
  tvn::sysenv* sys = nullptr;                // owned
  int32_t dbglevel = 0;                      // of the memory managers, the tasks' too
  void* usrptr = nullptr;                    // user allocator, given to the tasks too
  tvn::malloc_fn mallocfn = nullptr;
  tvn::free_fn freefn = nullptr;
  tvn::text dbgfilename; // stem of the memory debug files, may be empty
  TVN_exitfunc exitfunc = nullptr;
  void* exithandle = nullptr;
  TVN_responsefunc responsefunc = nullptr;
  void* responsehandle = nullptr;
  tvn::text dllpath;
  tvn::stream_block streams;
  tvn::numbered<int32_t, 1000> warningcount{};      // per warning code
  int64_t numtaskscreated = 0, numtasksremoved = 0; // alive = created - removed
  int32_t indexorigin = 0;                          // added to indices shown in messages
  int32_t language = TVN_LANG_ENG;                  // of the fixed messages, TVN_LANG_*
};

namespace tvn {

using env = ::TVNenv;

inline env& TVN_envcast(void* handle) noexcept { return *static_cast<env*>(handle); }
inline sysenv& TVN_getsysenv(env& e) noexcept { return *e.sys; }
inline int32_t TVN_getindexorigin(const env& e) noexcept { return e.indexorigin; }
inline int32_t TVN_getlang(const env& e) noexcept { return e.language; }

// Keeps the environment alive while a call on it is under way: the functions of the user that the call runs may delete
// the environment or its last task.
struct env_hold {
  env& e;
  explicit env_hold(env& e_) noexcept;
  ~env_hold();
  env_hold(const env_hold&) = delete;
  env_hold& operator=(const env_hold&) = delete;
};

// Issues the number of a new task, or counts one that has gone; both under mutex 2.
TVNrescodee TVN_appendtask(env& e, int64_t& id);
TVNrescodee TVN_removetask(env& e);

} // namespace tvn
