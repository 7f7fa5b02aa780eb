// Cones: disjoint groups of variables in one pool of members. See problem.h for the layout.
//
// The pool holds maxnumvar members, which always suffices because cones are disjoint; removed and replaced cones leave
// holes, and the pool is packed in cone order when its tail is too short.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/task/names.h"
#include "tovan/task/scratch.h"
#include "tovan/solution/sol.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/datacone";

const char* type_name(int32_t conetype) noexcept { return conetype == TVN_CT_QUAD ? "quadratic" : "rotated quadratic"; }

const char* cone_name(const task& t, int32_t k) noexcept {
  return k < t.prob.numcone ? item_name(t, TVN_PI_CONE, k) : "";
}

TVNrescodee check_members(task& t, int32_t k, int32_t nummem, const int32_t* submem) {
  const problem& p = t.prob;
  scratch<int32_t> mark(t.buffers, p.maxnumvar, true);
  TVNrescodee code = TVN_RES_OK;
  int32_t done = 0;
  for (; done < nummem && !code; done++) {
    const int32_t j = submem[done];
    const int32_t other = p.cone.which.empty() ? 0 : p.cone.which[j];
    if (other != 0 && other != k + 1)
      code = report(t, label, __LINE__, TVN_RES_ERR_CONE_OVERLAP, item_name(t, TVN_PI_VAR, j), TVN_userindex(t, j),
                    cone_name(t, other - 1), TVN_userindex(t, other - 1), cone_name(t, k), TVN_userindex(t, k));
    else if (mark[j])
      code = report(t, label, __LINE__, TVN_RES_ERR_CONE_REP_VAR, item_name(t, TVN_PI_VAR, j), TVN_userindex(t, j),
                    cone_name(t, k), TVN_userindex(t, k));
    mark[j] = 1;
  }
  for (int32_t p2 = 0; p2 < done; p2++) mark[submem[p2]] = 0;
  return code;
}

void unmark(problem& p, int32_t k) noexcept {
  for (int32_t q = p.cone.begin[k]; q < p.cone.end[k]; q++) p.cone.which[p.cone.members[q]] = 0;
}

// Packs the pool, without the members of cone `gone`, which go and are unmarked; -1: none.
void pack_pool(task& t, int32_t gone) {
  problem& p = t.prob;
  buffer<int32_t> members(*t.sys, p.maxnumvar, 0);
  if (gone >= 0) {
    unmark(p, gone);
    p.cone.end[gone] = p.cone.begin[gone];
  }
  p.cone.surplus = p.maxnumvar - pack_members(p, members);
  p.cone.members.swap(members);
}

// Lays cone k, whose old members are no longer marked, at the tail.
void store_cone(task& t, int32_t k, int32_t conetype, double conepar, int32_t nummem, const int32_t* submem) noexcept {
  problem& p = t.prob;
  const int32_t at = p.maxnumvar - p.cone.surplus;
  p.cone.type[k] = conetype;
  p.cone.par[k] = conepar;
  p.cone.begin[k] = at;
  p.cone.end[k] = at + nummem;
  p.cone.surplus -= nummem;
  std::copy_n(submem, nummem, p.cone.members.data() + at);
  for (int32_t q = 0; q < nummem; q++) p.cone.which[submem[q]] = k + 1;
}

TVNrescodee put_cone(task& t, int32_t k, int32_t conetype, double conepar, int32_t nummem, const int32_t* submem) {
  problem& p = t.prob;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "k", TVN_PI_CONE, k)) return code;
  if (const TVNrescodee code = TVN_checkcone(t, 0, k, conetype, nummem, submem)) return code;
  buffer<int32_t> copy(*t.sys, nummem); // submem may be read back from the task
  std::copy_n(submem, nummem, copy.data());
  if (p.cone.surplus < nummem) pack_pool(t, k);
  unmark(p, k);
  store_cone(t, k, conetype, conepar, nummem, copy.data());
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

TVNrescodee cone_info(task& t, int32_t k, int32_t* conetype, double* conepar, int32_t* nummem) {
  const problem& p = t.prob;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "k", TVN_PI_CONE, k)) return code;
  if (conetype) *conetype = p.cone.type[k];
  if (conepar) *conepar = p.cone.par[k];
  if (nummem) *nummem = p.cone.end[k] - p.cone.begin[k];
  return TVN_RES_OK;
}

} // namespace

int32_t least_members(int32_t conetype) noexcept {
  switch (conetype) {
  case TVN_CT_QUAD: return 1;
  case TVN_CT_RQUAD: return 2;
  default: return -1;
  }
}

int32_t pack_members(problem& p, buffer<int32_t>& members) noexcept {
  int32_t used = 0;
  for (int32_t k = 0; k < p.numcone; k++) {
    const int32_t len = p.cone.end[k] - p.cone.begin[k];
    std::copy_n(p.cone.members.data() + p.cone.begin[k], len, members.data() + used);
    p.cone.begin[k] = used;
    p.cone.end[k] = used += len;
  }
  return used;
}

TVNrescodee TVN_checkcone(task& t, int32_t firstindex, int32_t k, int32_t conetype, int32_t nummem,
                          const int32_t* submem) {
  const int32_t least = least_members(conetype);
  if (least < 0) return report(t, label, __LINE__, TVN_RES_ERR_CONE_TYPE, conetype);
  if (nummem < least) return report(t, label, __LINE__, TVN_RES_ERR_CONE_SIZE, least, type_name(conetype));
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, nummem, {{submem, "submem"}})) return code;
  if (const TVNrescodee code = TVN_checkindicies(t, "submem", firstindex, t.prob.numvar, nummem, submem)) return code;
  return check_members(t, k, nummem, submem);
}

TVNrescodee append_cone(task& t, int32_t conetype, double conepar, int32_t nummem, const int32_t* submem) {
  problem& p = t.prob;
  const int32_t k = p.numcone;
  if (const TVNrescodee code = TVN_checkcone(t, 0, k, conetype, nummem, submem)) return code;
  if (k >= p.maxnumcone)
    if (const TVNrescodee code = put_maxnumcone(t, std::max(k + 1, p.maxnumcone > INT32_MAX / 2 ? INT32_MAX : 2 * k)))
      return code;
  if (p.cone.surplus < nummem) pack_pool(t, -1);
  store_cone(t, k, conetype, conepar, nummem, submem);
  t.names.offset[TVN_PI_CONE][k] = 0; // a map of names stands: what has no name is in none
  if (int32_t* skn = TVN_getsolptrs(t, TVN_SOL_ITR).skn) skn[k] = TVN_SK_UNK;
  p.numcone++;
  TVN_makestatusunknown(t);
  return TVN_RES_OK;
}

TVNrescodee TVN_core_appendcones(task& t, int32_t num, const int32_t* conetype, const double* conepar,
                                 const int32_t* ptrb, const int32_t* ptre, const int32_t* submem) {
  const problem& p = t.prob;
  if (const TVNrescodee code = check_arrays(
          t, label, __LINE__, num, {{conetype, "conetype"}, {ptrb, "ptrb"}, {ptre, "ptre"}, {submem, "submem"}}))
    return code;
  const int64_t count = int64_t{p.numcone} + num;
  if (count > p.maxnumcone)
    if (const TVNrescodee code = put_maxnumcone(t, static_cast<int32_t>(std::min<int64_t>(count, INT32_MAX))))
      return code;
  TVNrescodee code = TVN_RES_OK;
  for (int32_t k = 0; k < num && !code; k++) {
    code = check_range(t, k, ptrb[k], ptre[k]);
    if (!code) code = append_cone(t, conetype[k], conepar ? conepar[k] : 0.0, ptre[k] - ptrb[k], submem + ptrb[k]);
  }
  return code;
}

// One pass from the lowest removed cone on: members are unmarked, later cones move down.
void TVN_core_removecones(task& t, int32_t num, const int32_t* sub) {
  problem& p = t.prob;
  scratch<int32_t> gone(t.buffers, p.numcone, true);
  for (int32_t q = 0; q < num; q++) gone[sub[q]] = 1;
  TVN_deletenamemap(t.names, TVN_PI_CONE);
  buffer<int64_t>& offset = t.names.offset[TVN_PI_CONE];
  int32_t* skn = TVN_getsolptrs(t, TVN_SOL_ITR).skn;
  int32_t to = 0;
  for (int32_t k = 0; k < p.numcone; k++) {
    if (gone[k]) {
      unmark(p, k);
      continue;
    }
    if (to != k) {
      p.cone.begin[to] = p.cone.begin[k];
      p.cone.end[to] = p.cone.end[k];
      p.cone.type[to] = p.cone.type[k];
      p.cone.par[to] = p.cone.par[k];
      offset[to] = offset[k];
      if (skn) skn[to] = skn[k];
      for (int32_t q = p.cone.begin[to]; q < p.cone.end[to]; q++) p.cone.which[p.cone.members[q]] = to + 1;
    }
    to++;
  }
  for (int32_t q = 0; q < num; q++) gone[sub[q]] = 0;
  p.numcone = to;
  TVN_makestatusunknown(t);
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_appendcone(TVNtask_t task, int32_t conetype, double conepar, int32_t nummem, const int32_t* submem) {
  return api_change(task, [&](tvn::task& t) { return append_cone(t, conetype, conepar, nummem, submem); });
}

TVNrescodee TVN_putcone(TVNtask_t task, int32_t k, int32_t conetype, double conepar, int32_t nummem,
                        const int32_t* submem) {
  return api_change(task, [&](tvn::task& t) { return put_cone(t, k, conetype, conepar, nummem, submem); });
}

TVNrescodee TVN_removecone(TVNtask_t task, int32_t k) {
  return api_change(task, [&](tvn::task& t) {
    if (k < 0 || k >= t.prob.numcone) return report(t, label, __LINE__, TVN_RES_ERR_CONE_INDEX, TVN_userindex(t, k));
    TVN_core_removecones(t, 1, &k);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getcone(TVNtask_t task, int32_t k, int32_t* conetype, double* conepar, int32_t* nummem,
                        int32_t* submem) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = cone_info(t, k, conetype, conepar, nummem)) return code;
    const tvn::cones& c = t.prob.cone;
    if (submem) std::copy(c.members.data() + c.begin[k], c.members.data() + c.end[k], submem);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getconeinfo(TVNtask_t task, int32_t k, int32_t* conetype, double* conepar, int32_t* nummem) {
  return api(task, [&](tvn::task& t) { return cone_info(t, k, conetype, conepar, nummem); });
}

TVNrescodee TVN_getnumconemem(TVNtask_t task, int32_t k, int32_t* nummem) {
  return api(task, [&](tvn::task& t) { return cone_info(t, k, nullptr, nullptr, nummem); });
}
