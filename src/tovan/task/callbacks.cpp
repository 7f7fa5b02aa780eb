// The user functions that a task or an environment calls back.
#include "tovan/task/api.h"

namespace tvn {

TVNrescodee check_not_busy(task& t) noexcept {
  if (!is_busy(t)) return TVN_RES_OK;
  return report(t, "src/tovan/callbacks", __LINE__, TVN_RES_ERR_INTERNAL,
                "a function of the user may not change the task that calls it");
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putcallbackfunc(TVNtask_t task, TVN_callbackfunc func, void* handle) {
  return api(task, [&](tvn::task& t) {
    t.callback = func;
    t.callbackhandle = handle;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getcallbackfunc(TVNtask_t task, TVN_callbackfunc* func, void** handle) {
  return api(task, [&](tvn::task& t) {
    if (func) *func = t.callback;
    if (handle) *handle = t.callbackhandle;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putsystemcallbackfunc(TVNtask_t task, TVN_callbackfunc func, void* handle) {
  return api(task, [&](tvn::task& t) {
    t.syscallback = func;
    t.syscallbackhandle = handle;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getsystemcallbackfunc(TVNtask_t task, TVN_callbackfunc* func, void** handle) {
  return api(task, [&](tvn::task& t) {
    if (func) *func = t.syscallback;
    if (handle) *handle = t.syscallbackhandle;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putresponsefunc(TVNtask_t task, TVN_responsefunc func, void* handle) {
  return api(task, [&](tvn::task& t) {
    t.responsefunc = func;
    t.responsehandle = handle;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putexceptionfuncenv(TVNenv_t env, TVN_responsefunc func, void* handle) {
  return api(env, [&](tvn::env& e) {
    e.responsefunc = func;
    e.responsehandle = handle;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putexitfunc(TVNenv_t env, TVN_exitfunc func, void* handle) {
  return api(env, [&](tvn::env& e) {
    e.exitfunc = func;
    e.exithandle = handle;
    return TVN_RES_OK;
  });
}
