// Sizes of the problem: capacities, counts and the appending of new variables and constraints.
//
// A capacity changes by building all new arrays first and swapping them in, so exhausted memory leaves the old ones.
// Appending at least doubles a capacity that is too small: n single appends cost O(n) moves in all.
#include "tovan/data/data.h"
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"
#include "tovan/task/names.h"

#include <cstdio>

namespace tvn {

namespace {

const char label[] = "src/tovan/datasize";

// An array of n entries with the first `count` of another, which is left; an absent one stays absent.
template <class T> buffer<T> resized(sysenv& sys, const buffer<T>& from, int64_t n, int64_t count, bool optional) {
  buffer<T> to;
  if (optional && from.empty()) return to;
  to.reset(sys, n);
  std::copy_n(from.data(), count, to.data());
  return to;
}

struct side_arrays {
  buffer<double> c, bl, bu;
  buffer<int32_t> bk;
  buffer<int64_t> offset;
};

side_arrays make_side(task& t, const buffer<double>& c, const buffer<int32_t>& bk, const buffer<double>& bl,
                      const buffer<double>& bu, const buffer<int64_t>& offset, int32_t n, int32_t count) {
  sysenv& sys = *t.sys;
  return {resized(sys, c, n, count, false), resized(sys, bl, n, count, false), resized(sys, bu, n, count, false),
          resized(sys, bk, n, count, false), resized(sys, offset, n, count, false)};
}

void grow_a(task& t, int32_t maxnumcon, int32_t maxnumvar) {
  sprmat& a = t.prob.a;
  if (!a.made()) return;
  if (a.maxnumrow < maxnumcon) TVN_sprmat_putmaxnumrow(a, maxnumcon);
  if (a.maxnumcol < maxnumvar) TVN_sprmat_putmaxnumcol(a, maxnumvar);
}

void init_variables(task& t, int32_t first, int32_t last) noexcept {
  problem& p = t.prob;
  for (int32_t j = first; j < last; j++) {
    p.c[j] = p.blx[j] = p.bux[j] = 0.0;
    p.bkx[j] = TVN_BK_FX;
    t.names.offset[TVN_PI_VAR][j] = 0;
    if (!p.vartype.empty()) p.vartype[j] = TVN_VAR_TYPE_CONT;
    if (!p.branchpri.empty()) p.branchpri[j] = p.branchdir[j] = 0;
    if (!p.cone.which.empty()) p.cone.which[j] = 0;
  }
}

void init_constraints(task& t, int32_t first, int32_t last) noexcept {
  problem& p = t.prob;
  for (int32_t i = first; i < last; i++) {
    p.cslack[i] = 0.0;
    p.bkc[i] = TVN_BK_FR;
    p.blc[i] = -bound_infinity;
    p.buc[i] = bound_infinity;
    t.names.offset[TVN_PI_CON][i] = 0;
    if (!p.q.conbegin.empty()) p.q.conbegin[i] = p.q.conend[i] = 0;
  }
}

// Capacity for num more items.
TVNrescodee make_room(task& t, int32_t accmode, int32_t num) {
  const problem& p = t.prob;
  const bool con = accmode == TVN_ACC_CON;
  const int64_t count = int64_t{con ? p.numcon : p.numvar} + num, max = con ? p.maxnumcon : p.maxnumvar;
  if (count <= max) return TVN_RES_OK;
  if (count > INT32_MAX) throw out_of_memory{};
  const auto wanted = static_cast<int32_t>(std::min<int64_t>(std::max(count, 2 * max), INT32_MAX));
  return con ? put_maxnumcon(t, wanted) : put_maxnumvar(t, wanted);
}

template <class Get> TVNrescodee get_number(TVNtask_t task, int32_t* out, Get get) noexcept {
  return api(task, [&](tvn::task& t) {
    int32_t value = 0;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &value, get(t))) return code;
    if (out) *out = value;
    return TVN_RES_OK;
  });
}

template <class Get> TVNrescodee get_number64(TVNtask_t task, int64_t* out, Get get) noexcept {
  return api(task, [&](tvn::task& t) {
    const int64_t value = get(t);
    if (out) *out = value;
    return TVN_RES_OK;
  });
}

int64_t num_anz(task& t) { return t.prob.a.made() ? TVN_sprmat_getnumnz(t.prob.a) : 0; }

} // namespace

void log_expansion(task& t, const char* what, int64_t from, int64_t to) {
  if (t.params.ival[TVN_IPAR_LOG] == 0 || t.params.ival[TVN_IPAR_LOG_STORAGE] == 0) return;
  char line[128];
  std::snprintf(line, sizeof line, "Expanding %s from %lld to %lld.\n", what, static_cast<long long>(from),
                static_cast<long long>(to));
  (void)TVN_echostream(t.streams, TVN_STREAM_MSG, line);
}

TVNrescodee put_maxnumvar(task& t, int32_t n) {
  problem& p = t.prob;
  if (n == p.maxnumvar) return TVN_RES_OK;
  if (n < p.numvar) return report(t, label, __LINE__, TVN_RES_ERR_MAXNUMVAR, n, p.numvar);
  TVN_deletenamemap(t.names, TVN_PI_VAR);
  grow_a(t, 0, n);
  sysenv& sys = *t.sys;
  side_arrays fresh = make_side(t, p.c, p.bkx, p.blx, p.bux, t.names.offset[TVN_PI_VAR], n, p.numvar);
  buffer<int32_t> vartype = resized(sys, p.vartype, n, p.numvar, true);
  buffer<int32_t> branchpri = resized(sys, p.branchpri, n, p.numvar, true);
  buffer<int32_t> branchdir = resized(sys, p.branchdir, n, p.numvar, true);
  buffer<int32_t> which = resized(sys, p.cone.which, n, p.numvar, true);
  buffer<int32_t> members = resized(sys, p.cone.members, n, 0, true);
  resize_solutions(t, p.maxnumcon, n, p.maxnumcone);
  if (!p.cone.which.empty()) p.cone.surplus = n - pack_members(p, members);
  p.c.swap(fresh.c);
  p.bkx.swap(fresh.bk);
  p.blx.swap(fresh.bl);
  p.bux.swap(fresh.bu);
  t.names.offset[TVN_PI_VAR].swap(fresh.offset);
  p.vartype.swap(vartype);
  p.branchpri.swap(branchpri);
  p.branchdir.swap(branchdir);
  p.cone.which.swap(which);
  p.cone.members.swap(members);
  const int32_t old = std::exchange(p.maxnumvar, n);
  if (n > old) log_expansion(t, "maximum number of variables", old, n); // last: a stream function may read the task
  return TVN_RES_OK;
}

TVNrescodee put_maxnumcon(task& t, int32_t n) {
  problem& p = t.prob;
  if (n == p.maxnumcon) return TVN_RES_OK;
  if (n < p.numcon) return report(t, label, __LINE__, TVN_RES_ERR_MAXNUMCON, n, p.numcon);
  TVN_deletenamemap(t.names, TVN_PI_CON);
  grow_a(t, n, 0);
  sysenv& sys = *t.sys;
  side_arrays fresh = make_side(t, p.cslack, p.bkc, p.blc, p.buc, t.names.offset[TVN_PI_CON], n, p.numcon);
  buffer<int64_t> conbegin = resized(sys, p.q.conbegin, n, p.numcon, true);
  buffer<int64_t> conend = resized(sys, p.q.conend, n, p.numcon, true);
  resize_solutions(t, n, p.maxnumvar, p.maxnumcone);
  p.cslack.swap(fresh.c);
  p.bkc.swap(fresh.bk);
  p.blc.swap(fresh.bl);
  p.buc.swap(fresh.bu);
  t.names.offset[TVN_PI_CON].swap(fresh.offset);
  p.q.conbegin.swap(conbegin);
  p.q.conend.swap(conend);
  const int32_t old = std::exchange(p.maxnumcon, n);
  if (n > old) log_expansion(t, "maximum number of constraints", old, n); // last: a stream function may read the task
  return TVN_RES_OK;
}

TVNrescodee put_maxnumcone(task& t, int32_t n) {
  problem& p = t.prob;
  n = std::min(n, p.maxnumvar);
  if (n < p.numcone) return report(t, label, __LINE__, TVN_RES_ERR_MAXNUMCONE, n);
  if (n == p.maxnumcone) return TVN_RES_OK;
  TVN_deletenamemap(t.names, TVN_PI_CONE);
  sysenv& sys = *t.sys;
  tvn::cones fresh;
  buffer<int64_t> offset = resized(sys, t.names.offset[TVN_PI_CONE], n, p.numcone, false);
  if (n > 0) {
    fresh.begin = resized(sys, p.cone.begin, n, p.numcone, false);
    fresh.end = resized(sys, p.cone.end, n, p.numcone, false);
    fresh.type = resized(sys, p.cone.type, n, p.numcone, false);
    fresh.par = resized(sys, p.cone.par, n, p.numcone, false);
    if (p.cone.which.empty()) {
      fresh.members.reset(sys, p.maxnumvar, 0);
      fresh.which.reset(sys, p.maxnumvar, 0);
    }
  }
  resize_solutions(t, p.maxnumcon, p.maxnumvar, n);
  if (n > 0 && !p.cone.which.empty()) {
    fresh.members.swap(p.cone.members);
    fresh.which.swap(p.cone.which);
    fresh.surplus = p.cone.surplus;
  } else {
    fresh.surplus = n > 0 ? p.maxnumvar : 0;
  }
  p.cone = std::move(fresh);
  t.names.offset[TVN_PI_CONE].swap(offset);
  p.maxnumcone = n;
  return TVN_RES_OK;
}

TVNrescodee put_maxnumanz(task& t, int64_t n) {
  if (n < 0) return report(t, label, __LINE__, TVN_RES_ERR_TOO_SMALL_MAXNUMANZ, static_cast<int32_t>(n));
  sprmat& a = get_a(t);
  const int64_t old = a.maxsize;
  if (n == old) return TVN_RES_OK;
  if (const TVNrescodee code = sprmat_result(t, TVN_sprmat_putmaxsize(a, n))) return code;
  t.info.intg[TVN_IINF_STO_NUM_A_REALLOC]++;
  log_expansion(t, "maximum number of A nonzeros", old, n);
  return TVN_RES_OK;
}

TVNrescodee TVN_core_append(task& t, int32_t accmode, int32_t num, int32_t* first) {
  problem& p = t.prob;
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (num < 0) return report(t, label, __LINE__, TVN_RES_ERR_NEGATIVE_APPEND, num);
  const bool con = accmode == TVN_ACC_CON;
  int32_t& count = con ? p.numcon : p.numvar;
  if (first) *first = count;
  if (num == 0) return TVN_RES_OK;
  if (const TVNrescodee code = make_room(t, accmode, num)) return code;
  if (p.a.made()) {
    const sprmat_code code = con ? TVN_sprmat_appendrows(p.a, num) : TVN_sprmat_appendcols(p.a, num);
    if (code != sprmat_code::ok) return sprmat_result(t, code);
  }
  const int32_t old = count;
  if (con)
    init_constraints(t, old, old + num);
  else
    init_variables(t, old, old + num);
  count = old + num;
  for (int32_t k = old; k < count; k++) TVN_updsolstafterappend(t, accmode, k);
  return TVN_RES_OK;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_append(TVNtask_t task, int32_t accmode, int32_t num) {
  return api_change(task, [&](tvn::task& t) { return TVN_core_append(t, accmode, num, nullptr); });
}

TVNrescodee TVN_core_append(TVNtask_t task, int32_t accmode, int32_t num, int32_t* first) {
  return api_change(task, [&](tvn::task& t) { return TVN_core_append(t, accmode, num, first); });
}

TVNrescodee TVN_putmaxnumvar(TVNtask_t task, int32_t maxnumvar) {
  return api_change(task, [&](tvn::task& t) { return put_maxnumvar(t, maxnumvar); });
}

TVNrescodee TVN_putmaxnumcon(TVNtask_t task, int32_t maxnumcon) {
  return api_change(task, [&](tvn::task& t) { return put_maxnumcon(t, maxnumcon); });
}

TVNrescodee TVN_putmaxnumcone(TVNtask_t task, int32_t maxnumcone) {
  return api_change(task, [&](tvn::task& t) { return put_maxnumcone(t, maxnumcone); });
}

TVNrescodee TVN_putmaxnumanz(TVNtask_t task, int32_t maxnumanz) { return TVN_putmaxnumanz64(task, maxnumanz); }

TVNrescodee TVN_putmaxnumanz64(TVNtask_t task, int64_t maxnumanz) {
  return api_change(task, [&](tvn::task& t) { return put_maxnumanz(t, maxnumanz); });
}

TVNrescodee TVN_putmaxnumqnz(TVNtask_t task, int32_t maxnumqnz) { return TVN_putmaxnumqnz64(task, maxnumqnz); }

TVNrescodee TVN_putmaxnumqnz64(TVNtask_t task, int64_t maxnumqnz) {
  return api_change(task, [&](tvn::task& t) { return put_maxnumqnz(t, maxnumqnz); });
}

TVNrescodee TVN_getnumvar(TVNtask_t task, int32_t* numvar) {
  return get_number(task, numvar, [](tvn::task& t) { return t.prob.numvar; });
}

TVNrescodee TVN_getnumcon(TVNtask_t task, int32_t* numcon) {
  return get_number(task, numcon, [](tvn::task& t) { return t.prob.numcon; });
}

TVNrescodee TVN_getnumcone(TVNtask_t task, int32_t* numcone) {
  return get_number(task, numcone, [](tvn::task& t) { return t.prob.numcone; });
}

TVNrescodee TVN_getnumintvar(TVNtask_t task, int32_t* numintvar) {
  return get_number(task, numintvar, [](tvn::task& t) { return t.prob.numintvar; });
}

TVNrescodee TVN_getmaxnumvar(TVNtask_t task, int32_t* maxnumvar) {
  return get_number(task, maxnumvar, [](tvn::task& t) { return t.prob.maxnumvar; });
}

TVNrescodee TVN_getmaxnumcon(TVNtask_t task, int32_t* maxnumcon) {
  return get_number(task, maxnumcon, [](tvn::task& t) { return t.prob.maxnumcon; });
}

TVNrescodee TVN_getmaxnumcone(TVNtask_t task, int32_t* maxnumcone) {
  return get_number(task, maxnumcone, [](tvn::task& t) { return t.prob.maxnumcone; });
}

TVNrescodee TVN_getnumanz(TVNtask_t task, int32_t* numanz) { return get_number(task, numanz, num_anz); }

TVNrescodee TVN_getnumanz64(TVNtask_t task, int64_t* numanz) { return get_number64(task, numanz, num_anz); }

TVNrescodee TVN_getmaxnumanz(TVNtask_t task, int32_t* maxnumanz) {
  return get_number(task, maxnumanz, [](tvn::task& t) { return t.prob.a.maxsize; });
}

TVNrescodee TVN_getmaxnumanz64(TVNtask_t task, int64_t* maxnumanz) {
  return get_number64(task, maxnumanz, [](tvn::task& t) { return t.prob.a.maxsize; });
}

TVNrescodee TVN_getmaxnumqnz(TVNtask_t task, int32_t* maxnumqnz) {
  return get_number(task, maxnumqnz, [](tvn::task& t) { return t.prob.q.maxnumqnz; });
}

TVNrescodee TVN_getmaxnumqnz64(TVNtask_t task, int64_t* maxnumqnz) {
  return get_number64(task, maxnumqnz, [](tvn::task& t) { return t.prob.q.maxnumqnz; });
}
