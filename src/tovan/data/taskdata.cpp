// The data of a task as a whole: sized at birth, emptied and sized anew.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/solution/sol.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/task";

TVNrescodee make_sized_task(env& e, int32_t maxnumcon, int32_t maxnumvar, TVNtask_t& out) {
  task_owner owner;
  if (const TVNrescodee bad = make_task(e, owner.t)) return bad;
  if (const TVNrescodee bad = resize_task(*owner.t, maxnumcon, maxnumvar, 0, 0, 0)) return bad;
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
    return make_sized_task(e, maxnumcon, maxnumvar, *task);
  });
}

TVNrescodee TVN_makeemptytask(TVNenv_t env, TVNtask_t* task) { return TVN_maketask(env, 0, 0, task); }

TVNrescodee TVN_resizetask(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone, int32_t maxnumanz,
                           int32_t maxnumqnz) {
  return api_change(
      task, [&](tvn::task& t) { return resize_task(t, maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz); });
}

TVNrescodee TVN_deletetaskdata(TVNtask_t task) {
  return api_change(task, [&](tvn::task& t) {
    delete_task_data(t);
    return TVN_RES_OK;
  });
}
