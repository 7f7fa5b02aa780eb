// Life of a task: made and deleted. The record lies in memory of its own system environment.
#include "tovan/task/task.h"

#include "tovan/task/api.h"
#include "tovan/task/machine.h"
#include "tovan/tables/version.h"

#include <cstdio>
#include <new>

namespace tvn {

namespace {

const char label[] = "src/tovan/task";

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

} // namespace

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

TVNrescodee make_task(env& e, TVNtask_t& out) {
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
  TVN_sysenv_putexithandler(*t.sys, TVN_exithandlertask, &t);
  put_machine_items(t);
  out = owner.release();
  return TVN_RES_OK;
}

int32_t problem_type(const task& t) noexcept {
  const problem& p = t.prob;
  const bool nonlinear = has_nlfunc(t), qcon = has_qcon(p), qobj = has_qobj(p);
  if (p.numcone > 0) return nonlinear || qcon || qobj ? TVN_PROBTYPE_MIXED : TVN_PROBTYPE_CONIC;
  if (nonlinear) return TVN_PROBTYPE_GECO;
  if (qcon) return TVN_PROBTYPE_QCQO;
  return qobj ? TVN_PROBTYPE_QO : TVN_PROBTYPE_LO;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_deletetask(TVNtask_t* task) {
  if (!task || !*task) return TVN_RES_OK;
  return api_change(*task, [&](tvn::task& t) {
    *task = nullptr;
    return destroy_task(&t);
  });
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
