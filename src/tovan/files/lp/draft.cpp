// A problem gathered from formulas, and its way into a task. See draft.h.
#include "tovan/files/lp/draft.h"

#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/draft";

int64_t end_of(const problem_draft& d, int32_t i) noexcept {
  return i + 1 < d.con.size() ? d.con[i + 1].begin : d.sub.size();
}
int64_t qend_of(const problem_draft& d, int32_t i) noexcept {
  return i + 1 < d.con.size() ? d.con[i + 1].qbegin : d.qcon.size();
}

TVNrescodee size_task(task& t, const problem_draft& d, const draft_hints& h, int64_t filesize) {
  const int64_t cap = filesize / 2;
  const auto room = [&](int64_t count, int32_t extra, int64_t hint) {
    return std::max(count + TVNP_getintparam(t, extra), std::min(hint, cap));
  };
  const int64_t numcon = room(d.con.size(), TVN_IPAR_READ_ADD_CON, h.numcon);
  const int64_t numvar = room(d.var.size(), TVN_IPAR_READ_ADD_VAR, h.numvar);
  const int64_t numcone = room(d.cone.size(), TVN_IPAR_READ_ADD_CONE, h.numcone);
  constexpr int64_t limit = std::numeric_limits<int32_t>::max();
  if (numcon > limit) return report(t, label, __LINE__, TVN_RES_ERR_NUMCONLIM);
  if (numvar > limit || numcone > limit) return report(t, label, __LINE__, TVN_RES_ERR_NUMVARLIM);
  return resize_task(t, static_cast<int32_t>(numcon), static_cast<int32_t>(numvar), static_cast<int32_t>(numcone),
                     room(d.sub.size(), TVN_IPAR_READ_ADD_ANZ, h.numanz),
                     room(d.qobj.size() + d.qcon.size(), TVN_IPAR_READ_ADD_QNZ, h.numqnz));
}

TVNrescodee put_names(task& t, int32_t item, draft_names& names) {
  draft_watch watch{t};
  for (int32_t k = 0; k < names.size(); k++) {
    if (*names.text(k)) append_name(t, item, k, names.text(k));
    if (const TVNrescodee stop = watch.spend(1)) return stop;
  }
  return TVN_RES_OK;
}

TVNrescodee put_vars(task& t, const problem_draft& d) {
  draft_watch watch{t};
  TVNrescodee code = TVN_RES_OK;
  for (int32_t j = 0; j < d.var.size() && !code; j++) {
    const draft_var& v = d.var[j];
    code = put_bound(t, TVN_ACC_VAR, j, v.bk, v.bl, v.bu);
    if (!code && v.c != 0) code = put_cj(t, j, v.c);
    if (!code && v.integer) code = TVN_putvartype(&t, j, TVN_VAR_TYPE_INT);
    if (!code) code = watch.spend(1);
  }
  return code;
}

TVNrescodee put_cons(task& t, const problem_draft& d) {
  draft_watch watch{t};
  TVNrescodee code = TVN_RES_OK;
  for (int32_t i = 0; i < d.con.size() && !code; i++) {
    code = put_bound(t, TVN_ACC_CON, i, d.con[i].bk, d.con[i].bl, d.con[i].bu);
    if (!code) code = watch.spend(1);
  }
  return code;
}

// The rows turned into columns.
struct column_copy {
  buffer<int64_t> end; // of column j; it begins where the one before ends
  buffer<int32_t> sub;
  buffer<double> val;
};

TVNrescodee turn_rows(task& t, const problem_draft& d, column_copy& a) {
  draft_watch watch{t};
  const int64_t numvar = d.var.size(), num = d.sub.size();
  a.end.reset(*t.sys, numvar, 0);
  a.sub.reset(*t.sys, num);
  a.val.reset(*t.sys, num);
  for (int32_t i = 0; i < d.con.size(); i++) {
    for (int64_t p = d.con[i].begin; p < end_of(d, i); p++) a.end[d.sub[p]]++;
    if (const TVNrescodee stop = watch.spend(end_of(d, i) - d.con[i].begin)) return stop;
  }
  int64_t at = 0;
  for (int64_t j = 0; j < numvar; j++) { // end[j] is where column j begins, until its entries have come
    const int64_t count = a.end[j];
    a.end[j] = at;
    at += count;
  }
  for (int32_t i = 0; i < d.con.size(); i++) {
    for (int64_t p = d.con[i].begin; p < end_of(d, i); p++) {
      const int64_t to = a.end[d.sub[p]]++;
      a.sub[to] = i;
      a.val[to] = d.val[p];
    }
    if (const TVNrescodee stop = watch.spend(end_of(d, i) - d.con[i].begin)) return stop;
  }
  return TVN_RES_OK;
}

TVNrescodee put_columns(task& t, problem_draft& d) {
  column_copy a;
  if (const TVNrescodee stop = turn_rows(t, d, a)) return stop;
  d.free_columns();
  draft_watch watch{t};
  int64_t begin = 0;
  for (int32_t j = 0; j < d.var.size(); j++) {
    const auto n = static_cast<int32_t>(a.end[j] - begin);
    if (n > 0)
      if (const TVNrescodee bad = put_column(t, j, n, a.sub.data() + begin, a.val.data() + begin)) return bad;
    begin = a.end[j];
    if (const TVNrescodee stop = watch.spend(n)) return stop;
  }
  return TVN_RES_OK;
}

// Terms that are too small to be kept go.
void drop_tiny(const task& t, vec<qterm>& terms) {
  const double tiny = TVNP_getdouparam(t, TVN_DPAR_DATA_TOL_QIJ);
  const auto kept =
      std::remove_if(terms.begin(), terms.end(), [&](const qterm& q) { return std::fabs(q.val) <= tiny; });
  terms.resize(kept - terms.begin());
}

TVNrescodee put_quadratic(task& t, problem_draft& d) {
  drop_tiny(t, d.qobj);
  if (!d.qobj.empty())
    if (const TVNrescodee bad = put_terms(t, -1, d.qobj)) return bad;
  if (d.qcon.empty()) return TVN_RES_OK;
  vec<qterm> terms(*t.sys);
  for (int32_t i = 0; i < d.con.size(); i++) {
    if (qend_of(d, i) == d.con[i].qbegin) continue;
    terms.clear();
    terms.append(d.qcon.data() + d.con[i].qbegin, qend_of(d, i) - d.con[i].qbegin);
    drop_tiny(t, terms);
    if (terms.empty()) continue;
    if (const TVNrescodee bad = put_terms(t, i, terms)) return bad;
  }
  return TVN_RES_OK;
}

TVNrescodee put_cones(task& t, problem_draft& d) {
  for (int64_t k = 0; k < d.cone.size(); k++) {
    const int64_t begin = d.cone[k].begin, end = k + 1 < d.cone.size() ? d.cone[k + 1].begin : d.members.size();
    const TVNrescodee bad =
        append_cone(t, d.cone[k].type, 0.0, static_cast<int32_t>(end - begin), d.members.data() + begin);
    if (bad) return bad;
  }
  return put_names(t, TVN_PI_CONE, d.cones);
}

TVNrescodee put_objective(task& t, problem_draft& d) {
  d.objname.push_back('\0');
  TVNrescodee code = put_objname(t, d.objname.data());
  if (!code && d.objsense != TVN_OBJECTIVE_SENSE_UNDEFINED) code = TVN_putobjsense(&t, d.objsense);
  if (!code) code = TVN_putcfix(&t, d.cfix);
  for (int64_t k = 0; k < d.priorities.size() && !code; k++)
    code = TVN_putvarbranchorder(&t, d.priorities[k].j, d.priorities[k].priority, d.priorities[k].direction);
  return code;
}

} // namespace

// ---- names ----

void draft_names::make(sysenv& sys) {
  pool.reset(sys, 1 << 12);
  pool[0] = '\0';
  used = 1;
  offset.reset(sys, 1 << 8);
  table.make(sys, pool, offset, 0);
}

void draft_names::room(int64_t len) {
  sysenv& sys = *table.sys;
  if (used + len + 1 > pool.size()) {
    buffer<char> larger(sys, 2 * (pool.size() + len));
    std::memcpy(larger.data(), pool.data(), static_cast<size_t>(used));
    pool.swap(larger);
  }
  if (size() == offset.size()) {
    buffer<int64_t> larger(sys, 2 * offset.size());
    std::copy(offset.begin(), offset.end(), larger.begin());
    offset.swap(larger);
  }
}

int32_t draft_names::store(const name_key& key) {
  const auto len = static_cast<int64_t>(key.name.size());
  room(len);
  const int32_t k = table.insert(key);
  if (k < 0) return k;
  offset[k] = used;
  std::memcpy(pool.data() + used, key.name.data(), key.name.size());
  pool[used + len] = '\0';
  used += len + 1;
  return k;
}

int32_t draft_names::append(std::string_view name) {
  if (!name.empty()) return store(name_key(name));
  room(0);
  offset[size()] = 0;
  return table.insert_nameless();
}

int32_t draft_names::take(std::string_view name, bool& isnew) {
  const name_key key(name);
  const int32_t k = table.find(key);
  isnew = k < 0;
  return isnew ? store(key) : k;
}

// ---- gathering ----

TVNrescodee draft_watch::spend(int64_t steps) noexcept {
  constexpr int64_t step = 1 << 18; // steps that miss the cache take some 25 ms
  spent += steps + 1;
  if (spent < step) return TVN_RES_OK;
  spent = 0;
  return call_callbacks(t, TVN_CALLBACK_READ_ADD_ANZ);
}

problem_draft::problem_draft(sysenv& sys) {
  objname.attach(sys);
  for (draft_names* names : {&vars, &cons, &cones}) names->make(sys);
  var.attach(sys);
  con.attach(sys);
  sub.attach(sys);
  val.attach(sys);
  qobj.attach(sys);
  qcon.attach(sys);
  cone.attach(sys);
  members.attach(sys);
  priorities.attach(sys);
}

void problem_draft::free_columns() noexcept {
  sub.free();
  val.free();
}

int32_t draft_take_var(problem_draft& d, std::string_view name, bool& isnew) {
  const int32_t j = d.vars.take(name, isnew);
  if (isnew) d.var.push_back(d.defaults);
  return j;
}

int32_t draft_append_con(problem_draft& d, std::string_view name) {
  const int32_t i = d.cons.append(name);
  if (i >= 0) d.con.push_back({TVN_BK_FR, -bound_infinity, bound_infinity, d.sub.size(), d.qcon.size()});
  return i;
}

void draft_add(problem_draft& d, int32_t row, int32_t j, double value) {
  draft_var& v = d.var[j];
  if (row < 0) {
    v.c += value;
    return;
  }
  if (value == 0) return;
  if (v.last >= d.con[row].begin) {
    d.val[v.last] += value;
    return;
  }
  v.last = d.sub.size();
  d.sub.push_back(j);
  d.val.push_back(value);
}

// ---- bounds ----

bool stated_bounds::state(int32_t relation, double value) noexcept {
  const bool islower = relation >= 0, isupper = relation <= 0;
  if ((islower && haslower) || (isupper && hasupper)) return false;
  if (std::isinf(value) && (value > 0 ? islower : isupper)) return false;
  if (islower) lower = std::isinf(value) ? -bound_infinity : value;
  if (isupper) upper = std::isinf(value) ? bound_infinity : value;
  haslower = haslower || islower;
  hasupper = hasupper || isupper;
  equal = islower && isupper;
  return true;
}

namespace {

// No number of a file is infinite: a bound that is stored so was taken away.
int32_t key_of(bool lower, bool upper, bool same) noexcept {
  if (lower && upper) return same ? TVN_BK_FX : TVN_BK_RA;
  return lower ? TVN_BK_LO : upper ? TVN_BK_UP : TVN_BK_FR;
}

} // namespace

bound_value bound_of(const stated_bounds& s, bool ranged) noexcept {
  const bool lower = s.haslower && s.lower != -bound_infinity, upper = s.hasupper && s.upper != bound_infinity;
  return {key_of(lower, upper, s.equal || (!ranged && s.lower == s.upper)), s.lower, s.upper};
}

void change_bound(draft_var& v, const stated_bounds& s, bool ranged) noexcept {
  const bool lower = s.haslower ? s.lower != -bound_infinity : has_lower(v.bk);
  const bool upper = s.hasupper ? s.upper != bound_infinity : has_upper(v.bk);
  if (s.haslower) v.bl = s.lower;
  if (s.hasupper) v.bu = s.upper;
  v.bk = key_of(lower, upper, s.equal || (!ranged && s.haslower && s.hasupper && s.lower == s.upper));
}

// ---- the way into the task ----

TVNrescodee commit_draft(task& t, problem_draft& d, const draft_hints& hints, int64_t filesize) {
  if (const TVNrescodee bad = size_task(t, d, hints, filesize)) return bad;
  TVNrescodee code = TVN_core_append(t, TVN_ACC_CON, static_cast<int32_t>(d.con.size()), nullptr);
  if (!code) code = TVN_core_append(t, TVN_ACC_VAR, static_cast<int32_t>(d.var.size()), nullptr);
  if (code) return code;
  TVN_chgnamespc(t, d.vars.used + d.cons.used + d.cones.used + d.objname.size() + 1); // room for all at once
  code = put_names(t, TVN_PI_VAR, d.vars); // first, since what is reported below names them
  if (!code) code = put_names(t, TVN_PI_CON, d.cons);
  for (TVNrescodee (*step)(task&, problem_draft&) : {put_objective, put_columns, put_quadratic, put_cones})
    if (!code) code = step(t, d);
  if (!code) code = put_vars(t, d);
  return code ? code : put_cons(t, d);
}

} // namespace tvn
