// The task record: one problem, its parameter values, solutions, streams and memory.
//
// Plain data; the operations stand in the files of their family (data*.cpp, names.cpp, sol*.cpp, param*.cpp, ...).
// Lives in memory of its own system environment and ends with it. Used by one thread at a time.
#pragma once

#include "tovan/tables/infitems.h"
#include "tovan/task/env.h"
#include "tovan/task/names.h"
#include "tovan/task/problem.h"
#include "tovan/task/scratch.h"
#include "tovan/task/solution.h"

#include "simplex/base/bsimplex.h"
#include "simplex/base/keptbasis.h"

namespace tvn {
// The user's nonlinear functions; both or none. They stay when the data are deleted, as the callbacks do.
struct nl_hook {
  void* handle = nullptr;
  TVN_nlgetspfunc getsp = nullptr;
  TVN_nlgetvafunc getva = nullptr;
};

// Functions of the user that run now, one inside the other; those of the streams are counted there.
struct user_calls {
  int32_t progress = 0;
  int32_t nonlinear = 0;
  int32_t response = 0;
};

template <class Function> auto call_user(int32_t& running, Function&& function) {
  running++;
  const auto answer = function();
  running--;
  return answer;
}
} // namespace tvn

struct TVNtask {
  tvn::handle_tag tag = tvn::handle_tag::of_task;
  TVNenv_t env = nullptr;     // the task is valid only while this is not null
  tvn::sysenv* sys = nullptr; // owned
  int64_t taskid = 0;
  tvn::text taskname;
  tvn::problem prob; // sizes, objective, bounds, A, Q, cones, integers
  tvn::nl_hook nl;
  tvn::namestore names;
  tvn::param_values params; // this task's values of all parameters
  tvn::solution_store sols; // three slots
  tvn::simplex_basis basis; // for basis solves, made on first need
  tvn::kept_basis kept;     // what the last simplex run leaves for the next one
  tvn::scratch_pool buffers;
  int32_t logheadprinted = 0;
  tvn::numbered<int32_t, 1000> warningcount{};
  tvn::info_items info;             // public and private information items
  double optstart = 0, optstop = 0; // seconds since the epoch
  TVN_callbackfunc callback = nullptr;
  void* callbackhandle = nullptr;
  TVN_callbackfunc syscallback = nullptr;
  void* syscallbackhandle = nullptr;
  TVN_responsefunc responsefunc = nullptr;
  void* responsehandle = nullptr;
  tvn::stream_block streams;
  tvn::user_calls running;
  int32_t infile = 0; // reads and writes of a problem under way
  int64_t numoptimize = 0;
  int32_t lasterror = 0;
  int64_t lasterrorlen = 0;
  tvn::buffer<char> lasterrormsg; // 1025 bytes
};

namespace tvn {
using task = ::TVNtask;

inline task& TVN_taskcast(void* handle) noexcept { return *static_cast<task*>(handle); }
// A function of the user runs inside a call on the task.
inline bool is_busy(const task& t) noexcept {
  const user_calls& u = t.running;
  return u.progress > 0 || u.nonlinear > 0 || u.response > 0 || t.streams.running > 0;
}
inline bool has_nlfunc(const task& t) noexcept { return t.nl.getsp != nullptr; }
int32_t problem_type(const task& t) noexcept; // TVN_PROBTYPE_*

// A task without data, counted by its environment; and its end.
TVNrescodee make_task(env& e, TVNtask_t& out);
TVNrescodee destroy_task(task* t) noexcept;
// Destroys a task that is not released.
struct task_owner {
  task* t = nullptr;
  ~task_owner() {
    if (t) (void)destroy_task(t);
  }
  task* release() noexcept { return std::exchange(t, nullptr); }
};

inline sysenv& TVN_getsysenv(task& t) noexcept { return *t.sys; }
} // namespace tvn
