// Memory on behalf of the user, from the manager of the task or the environment.
#include "tovan/task/api.h"

#include <cstdio>
#include <cstdlib>

using namespace tvn;

namespace {

const char label[] = "src/tovan/memory";

// A call that cannot work without an environment and has nobody to tell.
[[noreturn]] void end_process(const char* function) {
  std::printf("%s\n", function);
  std::fflush(stdout);
  std::exit(0);
}

TVNrescodee memory_usage(task& t, int64_t& maxused, int64_t& current) {
  size_t most = 0, now = 0;
  const bool known = TVN_memman_getmemusage(*t.sys->mman, most, now);
  maxused = static_cast<int64_t>(most);
  current = static_cast<int64_t>(now);
  return known ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_SPACE_NO_INFO);
}

} // namespace

void* TVN_callocdbgtask(TVNtask_t task, size_t number, size_t size, const char* file, int line) {
  return check(task) ? nullptr : TVN_memman_calloc(*task->sys->mman, number, size, file, line);
}

void* TVN_calloctask(TVNtask_t task, size_t number, size_t size) {
  return TVN_callocdbgtask(task, number, size, label, __LINE__);
}

void TVN_freedbgtask(TVNtask_t task, void* ptr, const char* file, int line) {
  if (ptr && check(task) == TVN_RES_OK) TVN_memman_free(*task->sys->mman, ptr, file, line);
}

void TVN_freetask(TVNtask_t task, void* ptr) { TVN_freedbgtask(task, ptr, label, __LINE__); }

char* TVN_strdupdbgtask(TVNtask_t task, const char* text, const char* file, int line) {
  return check(task) || !text ? nullptr : TVN_memman_strdup(*task->sys->mman, text, file, line);
}

char* TVN_strduptask(TVNtask_t task, const char* text) { return TVN_strdupdbgtask(task, text, label, __LINE__); }

void* TVN_callocdbgenv(TVNenv_t env, size_t number, size_t size, const char* file, int line) {
  return check_made(env) == TVN_RES_OK ? TVN_memman_calloc(*env->sys->mman, number, size, file, line) : nullptr;
}

void* TVN_callocenv(TVNenv_t env, size_t number, size_t size) {
  return TVN_callocdbgenv(env, number, size, label, __LINE__);
}

void TVN_freedbgenv(TVNenv_t env, void* ptr, const char* file, int line) {
  if (!env) end_process("TVN_free");
  if (ptr && check_made(env) == TVN_RES_OK) TVN_memman_free(*env->sys->mman, ptr, file, line);
}

void TVN_freeenv(TVNenv_t env, void* ptr) { TVN_freedbgenv(env, ptr, label, __LINE__); }

char* TVN_strdupdbgenv(TVNenv_t env, const char* text, const char* file, int line) {
  if (!env) end_process("TVN_strdup");
  return text && check_made(env) == TVN_RES_OK ? TVN_memman_strdup(*env->sys->mman, text, file, line) : nullptr;
}

char* TVN_strdupenv(TVNenv_t env, const char* text) { return TVN_strdupdbgenv(env, text, label, __LINE__); }

TVNrescodee TVN_checkmemtask(TVNtask_t task, const char* file, int line) {
  return api(task, [&](tvn::task& t) {
    (void)TVN_memman_scanmem(*t.sys->mman, file, line);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_checkmemenv(TVNenv_t env, const char* file, int line) {
  return api(env, [&](tvn::env& e) {
    (void)TVN_memman_scanmem(*e.sys->mman, file, line);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getmemusagetask64(TVNtask_t task, int64_t* maxused, int64_t* current) {
  if (maxused) *maxused = 0;
  if (current) *current = 0;
  return api(task, [&](tvn::task& t) {
    int64_t most = 0, now = 0;
    if (const TVNrescodee code = memory_usage(t, most, now)) return code;
    if (maxused) *maxused = most;
    if (current) *current = now;
    return TVNrescodee{TVN_RES_OK};
  });
}

TVNrescodee TVN_getmemusagetask(TVNtask_t task, int32_t* maxused, int32_t* current) {
  if (maxused) *maxused = 0;
  if (current) *current = 0;
  return api(task, [&](tvn::task& t) {
    int64_t most = 0, now = 0;
    int32_t most32 = 0, now32 = 0;
    if (const TVNrescodee code = memory_usage(t, most, now)) return code;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &most32, most)) return code;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &now32, now)) return code;
    if (maxused) *maxused = most32;
    if (current) *current = now32;
    return TVNrescodee{TVN_RES_OK};
  });
}
