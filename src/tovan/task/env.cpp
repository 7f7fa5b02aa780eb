// Life of an environment: made, made ready, shared by its tasks, deleted by its owner or by its last task.
//
// The record lies in memory of the system environment that it owns, so the order at the end matters: everything that
// the record holds, the record, the system environment. Lock order: mutex 2 alone, never while another is held.
#include "tovan/task/env.h"

#include "tovan/tables/version.h"
#include "tovan/task/api.h"
#include "tovan/task/machine.h"

#include <cstdio>
#include <new>

namespace tvn {

namespace {

const char label[] = "src/tovan/env";
constexpr size_t task_mutex = 2;

// Adds 1 to a counter of tasks under their mutex; tells its old value, and whether the environment is due to go.
TVNrescodee count_task(env& e, int64_t env::*counter, int64_t& number, bool& due) {
  if (pthread_mutex_lock(&e.mutexes[task_mutex])) return report(e, label, __LINE__, TVN_RES_ERR_THREAD_MUTEX_LOCK);
  number = (e.*counter)++;
  due = e.deletepending != 0 && e.numtaskscreated == e.numtasksremoved;
  if (pthread_mutex_unlock(&e.mutexes[task_mutex])) return report(e, label, __LINE__, TVN_RES_ERR_THREAD_MUTEX_UNLOCK);
  return TVN_RES_OK;
}

TVNrescodee destroy_env(env* e) noexcept {
  sysenv* sys = e->sys;
  e->tag = handle_tag::none; // the last lines go to functions of the user, which get a code from here on
  sys->mman->echofn = nullptr;
  TVN_sysenv_putexithandler(*sys, nullptr, nullptr);
  TVN_destroystreams(e->streams);
  for (int32_t k = 0; k < e->nummutexes; k++) pthread_mutex_destroy(&e->mutexes[k]);
  e->~TVNenv();
  sys->release(e, label, __LINE__);
  return TVN_sysrestores(TVN_sysenv_delete(&sys));
}

// Deletes an environment that was not finished.
struct env_owner {
  env* e;
  ~env_owner() {
    if (e) (void)destroy_env(e);
  }
  env* release() noexcept { return std::exchange(e, nullptr); }
};

// Deletes a system environment that found no owner.
struct sysenv_owner {
  sysenv* sys;
  ~sysenv_owner() {
    if (sys) TVN_sysenv_delete(&sys);
  }
  sysenv* release() noexcept { return std::exchange(sys, nullptr); }
};

env* make_record(int32_t dbglevel, void* usrptr, malloc_fn mallocfn, free_fn freefn) {
  // Threads that use tasks of one environment may take memory from it at the same time.
  sysenv_owner sys{TVN_sysenv_make(dbglevel, usrptr, mallocfn, freefn, true)};
  if (!sys.sys) throw out_of_memory{};
  env* e = new (sys.sys->alloc(sizeof(env), label, __LINE__)) env;
  e->sys = sys.release();
  e->dbglevel = dbglevel;
  e->usrptr = usrptr;
  e->mallocfn = mallocfn;
  e->freefn = freefn;
  return e;
}

void open_debug_file(env& e, const char* dbgfile) {
  e.dbgfilename.attach(*e.sys);
  if (!dbgfile || *dbgfile == '\0') return;
  e.dbgfilename.assign(dbgfile);
  buffer<char> name(*e.sys, e.dbgfilename.size() + 16);
  std::snprintf(name.data(), static_cast<size_t>(name.size()), "%s.env.txt", dbgfile);
  TVN_memman_openfile(*e.sys->mman, name.data(), "TOVAN memory debugging.");
}

TVNrescodee make_env(TVNenv_t& out, void* usrptr, malloc_fn mallocfn, free_fn freefn, const char* dbgfile) {
  env_owner owner{make_record(dbgfile ? 10 : 0, usrptr, mallocfn, freefn)};
  env& e = *owner.e;
  TVN_sysenv_putexithandler(*e.sys, TVN_exithandlerenv, &e);
  open_debug_file(e, dbgfile);
  e.dllpath.attach(*e.sys);
  // Several threads may report on the environment's streams while they make tasks.
  if (TVN_makestreams(e.streams, label_text, true) != stream_code::ok) return TVN_RES_ERR_THREAD_MUTEX_INIT;
  for (pthread_mutex_t& m : e.mutexes) {
    if (pthread_mutex_init(&m, nullptr)) return TVN_RES_ERR_THREAD_MUTEX_INIT;
    e.nummutexes++;
  }
  make_param_tables(e.params, *e.sys);
  e.sys->mman->echofn = TVN_echotoenv;
  e.sys->mman->echohandle = &e;
  out = owner.release();
  return TVN_RES_OK;
}

} // namespace

// A mutex that cannot be locked leaves the count alone: the call goes on without its hold.
env_hold::env_hold(env& e_) noexcept : e(e_) {
  if (pthread_mutex_lock(&e.mutexes[task_mutex])) return;
  e.holds++;
  pthread_mutex_unlock(&e.mutexes[task_mutex]);
}

env_hold::~env_hold() {
  if (pthread_mutex_lock(&e.mutexes[task_mutex])) return;
  e.holds--;
  const bool due = e.deletepending != 0 && e.holds == 0 && e.numtaskscreated == e.numtasksremoved;
  pthread_mutex_unlock(&e.mutexes[task_mutex]);
  if (due) (void)destroy_env(&e);
}

TVNrescodee TVN_appendtask(env& e, int64_t& id) {
  bool due = false;
  return count_task(e, &env::numtaskscreated, id, due);
}

TVNrescodee TVN_removetask(env& e) {
  int64_t number = 0;
  bool due = false;
  const TVNrescodee code = count_task(e, &env::numtasksremoved, number, due);
  if (code || !due) return code;
  env* last = &e;
  return ::TVN_deleteenv(&last);
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_makeenv(TVNenv_t* env, void* usrptr, TVN_mallocfunc mallocfunc, TVN_freefunc freefunc,
                        const char* dbgfile) {
  if (!env) return TVN_RES_ERR_NULL_ENV;
  *env = nullptr;
  return api_bare([&] { return make_env(*env, usrptr, mallocfunc, freefunc, dbgfile); });
}

TVNrescodee TVN_putcpudefaults(TVNenv_t env, int32_t cputype, int32_t sizel1, int32_t sizel2) {
  if (const TVNrescodee bad = check_made(env)) return bad;
  auto& idef = env->params.idef;
  if (cputype != 0) idef[TVN_IPAR_CPU_TYPE] = cputype;
  if (sizel1 >= 0) idef[TVN_IPAR_CACHE_SIZE_L1] = sizel1;
  if (sizel2 >= 0) idef[TVN_IPAR_CACHE_SIZE_L2] = sizel2;
  return TVN_RES_OK;
}

TVNrescodee TVN_initenv(TVNenv_t env) {
  if (const TVNrescodee bad = check_made(env)) return bad;
  if (env->initialized) return TVN_RES_OK;
  auto& idef = env->params.idef;
  machinfo& mach = env->sys->mach;
  init_machine_info(mach, internal_cpu_code(idef[TVN_IPAR_CPU_TYPE]), idef[TVN_IPAR_CACHE_SIZE_L1],
                    idef[TVN_IPAR_CACHE_SIZE_L2]);
  idef[TVN_IPAR_CPU_TYPE] = public_cpu_type(mach.cpucode);
  idef[TVN_IPAR_CACHE_SIZE_L1] = mach.sizel1;
  idef[TVN_IPAR_CACHE_SIZE_L2] = mach.sizel2;
  env->initialized = 1;
  return TVN_RES_OK;
}

TVNrescodee TVN_deleteenv(TVNenv_t* env) {
  if (!env || !*env) return TVN_RES_OK;
  if (const TVNrescodee bad = check_made(*env)) return bad;
  tvn::env& e = **env;
  if (pthread_mutex_lock(&e.mutexes[task_mutex])) return TVN_RES_ERR_THREAD_MUTEX_LOCK;
  const bool living = e.numtaskscreated > e.numtasksremoved;
  const bool held = e.holds > 0, wait = e.garbagecollect != 0;
  if ((living || held) && wait) e.deletepending = 1;
  if (pthread_mutex_unlock(&e.mutexes[task_mutex])) return TVN_RES_ERR_THREAD_MUTEX_UNLOCK;
  if (living) TVN_memman_echotofile(*e.sys->mman, "*** ERROR *** Living tasks when deleting the environment\n");
  if ((living || held) && !wait) return living ? TVN_RES_ERR_LIVING_TASKS : TVN_RES_ERR_INTERNAL;
  *env = nullptr; // also when it waits: nobody can say when the record goes
  return living || held ? TVN_RES_OK : destroy_env(&e);
}

TVNrescodee TVN_enablegarcolenv(TVNenv_t env) {
  return api(env, [&](tvn::env& e) {
    e.garbagecollect = 1;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putkeepdlls(TVNenv_t env, int32_t keepdlls) {
  return api(env, [&](tvn::env& e) {
    e.keepdlls = keepdlls;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putdllpath(TVNenv_t env, const char* dllpath) {
  return api(env, [&](tvn::env& e) {
    e.dllpath.assign(dllpath ? dllpath : "");
    return TVN_RES_OK;
  });
}
