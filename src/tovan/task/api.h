// The frame of every exported call: handle check, work, translation of exhausted memory. Nothing is thrown across.
#pragma once

#include "tovan/task/index.h"
#include "tovan/task/report.h"
#include "tovan/task/task.h"

#include <type_traits>

namespace tvn {

// An environment that need not be ready yet.
inline TVNrescodee check_made(const env* e) noexcept {
  if (!e) return TVN_RES_ERR_NULL_ENV;
  return e->tag == handle_tag::of_env ? TVN_RES_OK : TVN_RES_ERR_NO_INIT_ENV;
}
inline TVNrescodee TVN_checkenv(const env* e) noexcept {
  if (const TVNrescodee bad = check_made(e)) return bad;
  return e->initialized ? TVN_RES_OK : TVN_RES_ERR_NO_INIT_ENV;
}
inline TVNrescodee TVN_checktask(const task* t) noexcept {
  if (!t) return TVN_RES_ERR_NULL_TASK;
  return t->tag == handle_tag::of_task && t->env ? TVN_RES_OK : TVN_RES_ERR_INVALID_TASK;
}
inline TVNrescodee check(const env* e) noexcept { return TVN_checkenv(e); }
inline TVNrescodee check(const task* t) noexcept { return TVN_checktask(t); }

// Reports TVN_RES_ERR_SPACE without allocating.
TVNrescodee report_no_memory(task* t) noexcept;
TVNrescodee report_no_memory(env* e) noexcept;

// An error, reported, while a function of the user runs inside a call on the task.
TVNrescodee check_not_busy(task& t) noexcept;

struct no_hold {
  explicit no_hold(task&) noexcept {}
};
template <class Handle> using call_hold = std::conditional_t<std::is_same_v<Handle, env>, env_hold, no_hold>;

template <class Handle, class Work> TVNrescodee api(Handle* h, Work&& work) noexcept {
  if (const TVNrescodee bad = check(h)) return bad;
  [[maybe_unused]] const call_hold<Handle> hold(*h);
  try {
    return work(*h);
  } catch (const out_of_memory&) { return report_no_memory(h); }
}

// The frame of a call that changes the problem, its solutions, its parameters or the life of a task. A function of the
// user runs in the middle of other work on the task, which holds views of its arrays: there such a call is refused.
template <class Work> TVNrescodee api_change(task* h, Work&& work) noexcept {
  return api(h, [&](task& t) -> TVNrescodee {
    if (const TVNrescodee bad = check_not_busy(t)) return bad;
    return work(t);
  });
}

// The frame of a call that has no usable handle yet, or no longer.
template <class Work> TVNrescodee api_bare(Work&& work) noexcept {
  try {
    return work();
  } catch (const out_of_memory&) { return TVN_RES_ERR_SPACE; }
}

} // namespace tvn
