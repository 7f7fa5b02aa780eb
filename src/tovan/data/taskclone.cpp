// A copy of a task: problem, names, parameters, solutions; no callbacks and no streams.
//
// The data are copied array by array and not put again: what the source accepted is not judged a second time by
// tolerances that may have changed since.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/task/names.h"
#include "tovan/solution/sol.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/taskclone";

// The first `count` entries; the target has its storage or gets one of the source's length.
template <class T> void copy_buffer(sysenv& sys, buffer<T>& to, const buffer<T>& from, int64_t count) {
  if (from.empty()) return to.clear();
  if (to.size() != from.size()) to.reset(sys, from.size());
  std::copy_n(from.data(), count, to.data());
}

void copy_names(task& to, const task& from) {
  const problem& p = from.prob;
  copy_buffer(*to.sys, to.names.pool, from.names.pool, from.names.pool.size());
  copy_buffer(*to.sys, to.names.offset[TVN_PI_VAR], from.names.offset[TVN_PI_VAR], p.numvar);
  copy_buffer(*to.sys, to.names.offset[TVN_PI_CON], from.names.offset[TVN_PI_CON], p.numcon);
  copy_buffer(*to.sys, to.names.offset[TVN_PI_CONE], from.names.offset[TVN_PI_CONE], p.numcone);
  to.names.poolsize = from.names.poolsize;
  to.names.poolfree = from.names.poolfree;
  to.names.objoffset = from.names.objoffset;
}

void copy_linear(task& to, const problem& p) {
  sysenv& sys = *to.sys;
  problem& q = to.prob;
  copy_buffer(sys, q.cslack, p.cslack, p.numcon);
  copy_buffer(sys, q.c, p.c, p.numvar);
  copy_buffer(sys, q.bkc, p.bkc, p.numcon);
  copy_buffer(sys, q.blc, p.blc, p.numcon);
  copy_buffer(sys, q.buc, p.buc, p.numcon);
  copy_buffer(sys, q.bkx, p.bkx, p.numvar);
  copy_buffer(sys, q.blx, p.blx, p.numvar);
  copy_buffer(sys, q.bux, p.bux, p.numvar);
  copy_buffer(sys, q.vartype, p.vartype, p.numvar);
  copy_buffer(sys, q.branchpri, p.branchpri, p.numvar);
  copy_buffer(sys, q.branchdir, p.branchdir, p.numvar);
  q.cfix = p.cfix;
  q.objsense = p.objsense;
  q.numintvar = p.numintvar;
}

void copy_quadratic(task& to, const problem& p) {
  qterms& q = to.prob.q;
  const int64_t used = p.q.maxnumqnz - p.q.numqnzfree;
  copy_buffer(*to.sys, q.subi, p.q.subi, used);
  copy_buffer(*to.sys, q.subj, p.q.subj, used);
  copy_buffer(*to.sys, q.val, p.q.val, used);
  copy_buffer(*to.sys, q.conbegin, p.q.conbegin, p.numcon);
  copy_buffer(*to.sys, q.conend, p.q.conend, p.numcon);
  q.maxnumqnz = p.q.maxnumqnz;
  q.numqnzfree = p.q.numqnzfree;
  q.objbegin = p.q.objbegin;
  q.objend = p.q.objend;
}

void copy_cones(task& to, const problem& p) {
  cones& c = to.prob.cone;
  copy_buffer(*to.sys, c.begin, p.cone.begin, p.numcone);
  copy_buffer(*to.sys, c.end, p.cone.end, p.numcone);
  copy_buffer(*to.sys, c.type, p.cone.type, p.numcone);
  copy_buffer(*to.sys, c.par, p.cone.par, p.numcone);
  copy_buffer(*to.sys, c.members, p.cone.members, p.maxnumvar - p.cone.surplus);
  copy_buffer(*to.sys, c.which, p.cone.which, p.numvar);
  c.surplus = p.cone.surplus;
  to.prob.numcone = p.numcone;
}

TVNrescodee copy_solutions(task& to, task& from) {
  for (int32_t which = 0; which < 3; which++) {
    if (!TVN_solutiondef(from, which)) continue;
    const sol_ptrs s = TVN_getsolptrs(from, which);
    const TVNrescodee code =
        TVN_putsolution(&to, which, s.skc, s.skx, s.skn, s.xc, s.xx, s.y, s.slc, s.suc, s.slx, s.sux, s.snx);
    if (code) return code;
  }
  return TVN_RES_OK;
}

TVNrescodee copy_task(task& to, task& from) {
  const problem& p = from.prob;
  TVNrescodee code = resize_task(to, p.maxnumcon, p.maxnumvar, p.maxnumcone, 0, 0);
  if (!code) code = TVN_core_append(to, TVN_ACC_VAR, p.numvar, nullptr);
  if (!code) code = TVN_core_append(to, TVN_ACC_CON, p.numcon, nullptr);
  if (code) return code;
  copy_names(to, from);
  copy_param_values(to.params, from.params);
  copy_linear(to, p);
  if (from.prob.a.made()) {
    TVN_sprmat_copy(from.prob.a, *to.sys, to.prob.a);
    watch_a(to);
  }
  copy_quadratic(to, p);
  copy_cones(to, p);
  return copy_solutions(to, from);
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_clonetask(TVNtask_t task, TVNtask_t* clonedtask) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, clonedtask, "clonedtask")) return code;
    if (*clonedtask == task) return report(t, label, __LINE__, TVN_RES_ERR_IDENTICAL_TASKS);
    if (has_nlfunc(t)) return report(t, label, __LINE__, TVN_RES_ERR_CANNOT_CLONE_NL);
    *clonedtask = nullptr;
    task_owner fresh;
    if (const TVNrescodee code = TVN_makeemptytask(t.env, &fresh.t)) return code;
    if (const TVNrescodee code = copy_task(*fresh.t, t)) return code;
    *clonedtask = fresh.release();
    return TVN_RES_OK;
  });
}
