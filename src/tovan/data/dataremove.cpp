// Removing variables and constraints, and permuting constraints.
//
// An index map (new place, or -1) drives every array of the side from the first index that changes on. What needs
// memory is done first: the work arrays and A; the rest cannot fail, so a task is never left half changed.
#include "tovan/data/data.h"
#include "tovan/data/nlfunc.h"
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"
#include "tovan/task/names.h"
#include "tovan/task/scratch.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/dataremove";

// A map of one side from the first index that changes on, with the work arrays that its users need.
struct side_map {
  int32_t first, count, newcount;
  scratch<int32_t> to;       // [count - first] new place, -1: goes
  scratch<int32_t> keywork;  // likewise
  scratch<double> work;      // likewise
  scratch<int64_t> longwork; // likewise

  side_map(scratch_pool& pool, int32_t first_, int32_t n)
      : first(first_), count(n), newcount(first_), to(pool, n - first, false), keywork(pool, n - first, false),
        work(pool, n - first, false), longwork(pool, n - first, false) {}
  int32_t at(int32_t i) noexcept { return i < first ? i : to[i - first]; }
};

template <class T> void remap(buffer<T>& values, side_map& m, scratch<T>& work) noexcept {
  if (values.empty()) return;
  const int32_t n = m.count - m.first;
  std::copy_n(values.data() + m.first, n, work.data());
  for (int32_t k = 0; k < n; k++)
    if (m.to[k] >= 0) values[m.to[k]] = work[k];
}

void list_to_map(side_map& m, int32_t num, const int32_t* sub) noexcept {
  std::fill_n(m.to.data(), m.count - m.first, 0);
  for (int32_t k = 0; k < num; k++) m.to[sub[k] - m.first] = -1;
  for (int32_t k = 0; k < m.count - m.first; k++)
    if (m.to[k] == 0) m.to[k] = m.newcount++;
}

// A cone must keep the members that its kind needs at its head.
TVNrescodee check_cone_heads(task& t, int32_t num, const int32_t* sub) {
  const problem& p = t.prob;
  if (p.numcone == 0) return TVN_RES_OK;
  for (int32_t q = 0; q < num; q++) {
    const int32_t j = sub[q], k = p.cone.which[j] - 1;
    if (k < 0) continue;
    const int32_t* members = p.cone.members.data() + p.cone.begin[k];
    const int32_t heads = least_members(p.cone.type[k]);
    if (std::find(members, members + heads, j) != members + heads)
      return report(t, label, __LINE__, TVN_RES_ERR_REMOVE_CONE_VARIABLE, TVN_userindex(t, j),
                    item_name(t, TVN_PI_VAR, j), TVN_userindex(t, k), item_name(t, TVN_PI_CONE, k));
  }
  return TVN_RES_OK;
}

void renumber_cones(problem& p, side_map& m) noexcept {
  if (p.cone.which.empty()) return;
  for (int32_t k = 0; k < p.numcone; k++) {
    int32_t to = p.cone.begin[k];
    for (int32_t q = p.cone.begin[k]; q < p.cone.end[k]; q++) {
      const int32_t j = m.at(p.cone.members[q]);
      if (j >= 0) p.cone.members[to++] = j;
    }
    p.cone.end[k] = to;
  }
  remap(p.cone.which, m, m.keywork);
}

void renumber_terms(qterms& q, side_map& m, int64_t begin, int64_t& end) noexcept {
  int64_t to = begin;
  for (int64_t p = begin; p < end; p++) {
    const int32_t i = m.at(q.subi[p]), j = m.at(q.subj[p]);
    if (i < 0 || j < 0) continue;
    q.subi[to] = std::max(i, j);
    q.subj[to] = std::min(i, j);
    q.val[to++] = q.val[p];
  }
  end = to;
}

void renumber_variables(task& t, side_map& m) noexcept {
  problem& p = t.prob;
  if (!p.vartype.empty())
    for (int32_t j = m.first; j < m.count; j++) p.numintvar -= m.at(j) < 0 && p.vartype[j] == TVN_VAR_TYPE_INT;
  remap(p.c, m, m.work);
  remap(p.bkx, m, m.keywork);
  remap(p.blx, m, m.work);
  remap(p.bux, m, m.work);
  remap(p.vartype, m, m.keywork);
  remap(p.branchpri, m, m.keywork);
  remap(p.branchdir, m, m.keywork);
  renumber_cones(p, m);
  renumber_terms(p.q, m, p.q.objbegin, p.q.objend);
  if (!p.q.conbegin.empty())
    for (int32_t k = 0; k < p.numcon; k++) renumber_terms(p.q, m, p.q.conbegin[k], p.q.conend[k]);
  p.numvar = m.newcount;
}

void renumber_constraints(task& t, side_map& m) noexcept {
  problem& p = t.prob;
  remap(p.cslack, m, m.work);
  remap(p.bkc, m, m.keywork);
  remap(p.blc, m, m.work);
  remap(p.buc, m, m.work);
  remap(p.q.conbegin, m, m.longwork);
  remap(p.q.conend, m, m.longwork);
  p.numcon = m.newcount;
}

// Everything but A.
void renumber(task& t, int32_t accmode, side_map& m) noexcept {
  const int32_t n = m.count - m.first;
  remap_solutions(t, accmode, m.first, n, m.to.data(), m.work.data(), m.keywork.data());
  TVN_simplex_remapbasis(t.kept, accmode == TVN_ACC_CON, m.first, {m.to.data(), n});
  TVN_permuteandremovenames(t, accmode, m.first, n, m.to.data(), m.longwork.data());
  if (accmode == TVN_ACC_CON)
    renumber_constraints(t, m);
  else
    renumber_variables(t, m);
}

// The bound under which an item has no say: solution statuses follow as for any change of a bound.
TVNrescodee neutralise(task& t, int32_t accmode, int32_t i) {
  return put_bound(t, accmode, i, accmode == TVN_ACC_CON ? TVN_BK_FR : TVN_BK_FX, 0.0, 0.0);
}

TVNrescodee remove_items(task& t, int32_t accmode, int32_t num, const int32_t* sub) {
  problem& p = t.prob;
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (num < 1) return TVN_RES_OK;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}})) return code;
  const bool con = accmode == TVN_ACC_CON;
  const int32_t count = con ? p.numcon : p.numvar;
  if (const TVNrescodee code = TVN_checkindicies(t, "sub", 0, count, num, sub)) return code;
  if (!con)
    if (const TVNrescodee code = check_cone_heads(t, num, sub)) return code;
  side_map m(t.buffers, *std::min_element(sub, sub + num), count);
  list_to_map(m, num, sub);
  if (p.a.made()) {
    if (con)
      TVN_sprmat_deleterows(p.a, num, sub);
    else
      TVN_sprmat_deletecols(p.a, num, sub);
  }
  for (int32_t k = 0; k < num; k++) (void)neutralise(t, accmode, sub[k]);
  renumber(t, accmode, m);
  return TVN_RES_OK;
}

TVNrescodee remove_all(task& t, int32_t item) {
  if (item == TVN_PI_CONE) {
    if (t.prob.numcone == 0) return TVN_RES_OK; // no status is lost
    scratch<int32_t> all(t.buffers, t.prob.numcone, false);
    for (int32_t k = 0; k < t.prob.numcone; k++) all[k] = k;
    TVN_core_removecones(t, t.prob.numcone, all.data());
    return TVN_RES_OK;
  }
  if (item != TVN_PI_VAR && item != TVN_PI_CON) return report(t, label, __LINE__, TVN_RES_ERR_PRO_ITEM, item);
  const int32_t count = item == TVN_PI_CON ? t.prob.numcon : t.prob.numvar;
  scratch<int32_t> all(t.buffers, count, false);
  for (int32_t k = 0; k < count; k++) all[k] = k;
  return remove_items(t, item, count, all.data());
}

TVNrescodee check_permutation(task& t, int32_t n, const int32_t* perm) {
  scratch<int32_t> seen(t.buffers, n, true);
  int32_t k = 0;
  for (; k < n && perm[k] >= 0 && perm[k] < n && !seen[perm[k]]; k++) seen[perm[k]] = 1;
  for (int32_t q = 0; q < k; q++) seen[perm[q]] = 0;
  if (k == n) return TVN_RES_OK;
  return report(t, label, __LINE__, TVN_RES_ERR_ARGUMENT_PERM_ARRAY, "perm", TVN_userindex(t, k),
                TVN_userindex(t, perm[k]));
}

TVNrescodee permute_and_remove(task& t, int32_t accmode, int32_t newnum, const int32_t* perm) {
  problem& p = t.prob;
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  TVN_asserttaskdbg(label, __LINE__, t, accmode == TVN_ACC_CON);
  if (accmode != TVN_ACC_CON) return TVN_RES_ERR_INTERNAL; // the user's exit function came back
  if (has_nlfunc(t)) return report(t, label, __LINE__, TVN_RES_ERR_CANNOT_HANDLE_NL);
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, p.numcon, {{perm, "perm"}})) return code;
  if (const TVNrescodee code = check_permutation(t, p.numcon, perm)) return code;
  side_map m(t.buffers, 0, p.numcon);
  m.newcount = std::min(std::max(newnum, 0), p.numcon);
  for (int32_t i = 0; i < p.numcon; i++) m.to[i] = perm[i] < m.newcount ? perm[i] : -1;
  if (p.a.made()) TVN_sprmat_permuteandremoverows(p.a, m.newcount, perm);
  for (int32_t i = 0; i < p.numcon; i++)
    if (m.to[i] < 0) (void)neutralise(t, TVN_ACC_CON, i);
  renumber(t, TVN_ACC_CON, m);
  return TVN_RES_OK;
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_remove(TVNtask_t task, int32_t accmode, int32_t num, const int32_t* sub) {
  return api_change(task, [&](tvn::task& t) { return remove_items(t, accmode, num, sub); });
}

TVNrescodee TVN_removeall(TVNtask_t task, int32_t item) {
  return api_change(task, [&](tvn::task& t) { return remove_all(t, item); });
}

TVNrescodee TVN_permuteandremove(TVNtask_t task, int32_t accmode, int32_t newnum, const int32_t* perm) {
  return api_change(task, [&](tvn::task& t) { return permute_and_remove(t, accmode, newnum, perm); });
}
