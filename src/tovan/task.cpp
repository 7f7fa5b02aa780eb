// Life of a task: made, emptied and sized anew, deleted. The record lies in memory of its own system environment.
#include "tovan/task.h"

#include "tovan/api.h"
#include "tovan/data.h"
#include "tovan/machine.h"
#include "tovan/names.h"
#include "tovan/sol.h"
#include "tovan/version.h"

#include <cstdio>
#include <new>

namespace tvn {

namespace {

const char label[] = "src/tovan/task";

TVNrescodee destroy_task(task* t) noexcept {
  env& e = *t->env;
  sysenv* sys = t->sys;
  t->tag = handle_tag::none; // the last lines go to functions of the user, which get a code from here on
  sys->mman->echofn = nullptr;
  TVN_sysenv_putexithandler(*sys, nullptr, nullptr);
  TVN_destroystreams(t->streams);
  TVN_deletebuffers(t->buffers);
  t->env = nullptr;
  t->~TVNtask();
  sys->release(t, label, __LINE__);
  const TVNrescodee leak = TVN_sysrestores(TVN_sysenv_delete(&sys));
  const TVNrescodee removed = TVN_removetask(e);
  return leak ? leak : removed;
}

// Deletes a task that was not finished.
struct task_owner {
  task* t;
  ~task_owner() {
    if (t) (void)destroy_task(t);
  }
  task* release() noexcept { return std::exchange(t, nullptr); }
};

struct sysenv_owner {
  sysenv* sys;
  ~sysenv_owner() {
    if (sys) TVN_sysenv_delete(&sys);
  }
};

// Once the record exists and is counted, destroy_task can end it at any point.
task* make_record(env& e) {
  sysenv_owner sys{TVN_sysenv_make(e.dbglevel, e.usrptr, e.mallocfn, e.freefn)};
  if (!sys.sys) throw out_of_memory{};
  sys.sys->mach = e.sys->mach;
  void* mem = sys.sys->alloc(sizeof(task), label, __LINE__);
  int64_t id = 0;
  if (TVN_appendtask(e, id)) {
    sys.sys->release(mem, label, __LINE__);
    return nullptr;
  }
  task* t = new (mem) task;
  t->env = &e;
  t->sys = std::exchange(sys.sys, nullptr);
  t->taskid = id;
  return t;
}

void open_debug_file(task& t) {
  const text& stem = t.env->dbgfilename;
  if (stem.empty()) return;
  buffer<char> name(*t.sys, stem.size() + 48);
  std::snprintf(name.data(), static_cast<size_t>(name.size()), "%s.%lld.task.txt", stem.c_str(),
                static_cast<long long>(t.taskid));
  TVN_memman_openfile(*t.sys->mman, name.data(), "TOVAN memory debugging.");
}

void put_machine_items(task& t) noexcept {
  const machinfo& mach = t.sys->mach;
  t.info.intg[TVN_IINF_CACHE_SIZE_L1] = mach.sizel1;
  t.info.intg[TVN_IINF_CACHE_SIZE_L2] = mach.sizel2;
  t.info.intg[TVN_IINF_CPU_TYPE] = public_cpu_type(mach.cpucode);
}

TVNrescodee make_task(env& e, int32_t maxnumcon, int32_t maxnumvar, TVNtask_t& out) {
  task_owner owner{make_record(e)};
  if (!owner.t) return TVN_RES_ERR_THREAD_MUTEX_LOCK;
  task& t = *owner.t;
  t.taskname.attach(*t.sys);
  attach_param_values(t.params, *t.sys);
  TVN_makebuffers(*t.sys, t.buffers);
  open_debug_file(t);
  t.lasterrormsg.reset(*t.sys, last_error_capacity, '\0');
  if (TVN_makestreams(t.streams, label_text, false) != stream_code::ok) return TVN_RES_ERR_THREAD_MUTEX_INIT;
  t.sys->mman->echofn = TVN_echototask;
  t.sys->mman->echohandle = &t;
  set_param_defaults(t.params, e.params);
  if (const TVNrescodee code = resize_task(t, maxnumcon, maxnumvar, 0, 0, 0)) return code;
  TVN_sysenv_putexithandler(*t.sys, TVN_exithandlertask, &t);
  put_machine_items(t);
  out = owner.release();
  return TVN_RES_OK;
}

} // namespace

void delete_task_data(task& t) noexcept {
  delete_solutions(t.sols);
  TVN_simplex_deletebasis(t.basis);
  t.kept = kept_basis{};
  const int32_t objsense = t.prob.objsense;
  t.prob = problem{};
  t.prob.objsense = objsense;
  t.names = namestore{};
  TVN_markbuffersfordelete(t.buffers);
}

TVNrescodee resize_task(task& t, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone, int64_t maxnumanz,
                        int64_t maxnumqnz) {
  delete_task_data(t);
  TVNrescodee code = put_maxnumcon(t, maxnumcon);
  if (!code) code = put_maxnumvar(t, maxnumvar);
  if (!code) code = put_maxnumcone(t, maxnumcone);
  if (!code && maxnumanz != 0) code = put_maxnumanz(t, maxnumanz);
  if (!code) code = put_maxnumqnz(t, maxnumqnz);
  if (code) delete_task_data(t);
  return code;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_maketask(TVNenv_t env, int32_t maxnumcon, int32_t maxnumvar, TVNtask_t* task) {
  if (task) *task = nullptr;
  return api(env, [&](tvn::env& e) {
    if (!task) return report(e, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "task");
    return make_task(e, maxnumcon, maxnumvar, *task);
  });
}

TVNrescodee TVN_makeemptytask(TVNenv_t env, TVNtask_t* task) { return TVN_maketask(env, 0, 0, task); }

TVNrescodee TVN_deletetask(TVNtask_t* task) {
  if (!task || !*task) return TVN_RES_OK;
  return api_change(*task, [&](tvn::task& t) {
    *task = nullptr;
    return destroy_task(&t);
  });
}

TVNrescodee TVN_resizetask(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone, int32_t maxnumanz,
                           int32_t maxnumqnz) {
  return api_change(
      task, [&](tvn::task& t) { return resize_task(t, maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz); });
}

TVNrescodee TVN_getenv(TVNtask_t task, TVNenv_t* env) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee bad = check_pointer(t, label, __LINE__, env, "env")) return bad;
    *env = t.env;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_setdefaults(TVNtask_t task) {
  return api_change(task, [&](tvn::task& t) {
    set_param_defaults(t.params, t.env->params);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_deletetaskdata(TVNtask_t task) {
  return api_change(task, [&](tvn::task& t) {
    delete_task_data(t);
    return TVN_RES_OK;
  });
}
