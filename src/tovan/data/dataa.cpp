// Writing A: whole vectors, lists of vectors, elements; and lending it to the optimizers.
//
// A vector is checked element by element, summed in a dense zero-buffer (a repeated index adds), cleaned of tiny sums
// and handed to the store. Cost per vector: its length; nothing is allocated once the scratch buffers exist.
#include "tovan/task/api.h"
#include "tovan/data/data.h"
#include "tovan/task/names.h"
#include "tovan/task/scratch.h"
#include "tovan/solution/sol.h"

#include <cmath>
#include <cstdio>

namespace tvn {

namespace {

const char label[] = "src/tovan/dataa";

// Element of a vector that may hold any fault; i is the row, j the column.
TVNrescodee check_aij(task& t, int32_t i, int32_t j, double aij) {
  const auto& dpar = t.params.dval;
  const double size = std::fabs(aij);
  if (size < dpar[TVN_DPAR_DATA_TOL_AIJ_LARGE] && size < dpar[TVN_DPAR_DATA_TOL_AIJ_HUGE]) return TVN_RES_OK;
  const char *con = item_name(t, TVN_PI_CON, i), *var = item_name(t, TVN_PI_VAR, j);
  const int32_t ui = TVN_userindex(t, i), uj = TVN_userindex(t, j);
  if (std::isnan(aij)) return report(t, label, __LINE__, TVN_RES_ERR_NAN_IN_AIJ, con, ui, var, uj);
  const bool huge = size >= dpar[TVN_DPAR_DATA_TOL_AIJ_HUGE];
  const TVNrescodee code = huge ? TVN_RES_ERR_HUGE_AIJ : TVN_RES_WRN_LARGE_AIJ;
  return report(t, label, __LINE__, code, aij, con, ui, var, uj);
}

TVNrescodee bad_subscript(task& t, int32_t sub, const char* argname, int64_t position) {
  char arg[96];
  std::snprintf(arg, sizeof arg, "%s[%lld]", argname, static_cast<long long>(position));
  const TVNrescodee code = sub < 0 ? TVN_RES_ERR_INDEX_IS_TOO_SMALL : TVN_RES_ERR_INDEX_IS_TOO_LARGE;
  return report(t, label, __LINE__, code, TVN_userindex(t, sub), arg);
}

// A vector being summed: value and place per index, indices in the order of their first occurrence.
struct gather_work {
  scratch<double> value;  // zero outside list
  scratch<int32_t> place; // position in list + 1, zero outside it
  scratch<int32_t> list;
  int32_t count = 0;

  gather_work(scratch_pool& pool, int64_t dim)
      : value(pool, dim, true), place(pool, dim, true), list(pool, dim, false) {}
  ~gather_work() {
    for (int32_t p = 0; p < count; p++) value[list[p]] = 0.0;
    for (int32_t p = 0; p < count; p++) place[list[p]] = 0;
  }
  void add(int32_t index, double v) noexcept {
    value[index] += v;
    if (place[index]) return;
    list[count++] = index;
    place[index] = count;
  }
  void drop_below(double tol) noexcept {
    int32_t kept = 0;
    for (int32_t p = 0; p < count; p++) {
      const int32_t index = list[p];
      if (std::fabs(value[index]) < tol) {
        value[index] = 0.0;
        place[index] = 0;
      } else {
        list[kept++] = index;
      }
    }
    count = kept;
  }
};

void log_a_capacity(task& t, int64_t before) {
  const int64_t now = t.prob.a.maxsize;
  if (now == before) return;
  t.info.intg[TVN_IINF_STO_NUM_A_REALLOC]++;
  log_expansion(t, "maximum number of A nonzeros", before, now);
}

TVNrescodee warn_tiny(task& t, int32_t accmode, int32_t i, int64_t numtiny) {
  if (numtiny <= 0) return TVN_RES_OK;
  const TVNrescodee code = accmode == TVN_ACC_CON ? TVN_RES_WRN_ZEROS_IN_SPARSE_ROW : TVN_RES_WRN_ZEROS_IN_SPARSE_COL;
  return report(t, label, __LINE__, code, static_cast<long long>(numtiny), item_name(t, accmode, i),
                TVN_userindex(t, i), "A");
}

template <class Ptr>
TVNrescodee put_aveclist(task& t, int32_t accmode, int32_t num, const int32_t* sub, const Ptr* ptrb, const Ptr* ptre,
                         const int32_t* asub, const double* aval) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}, {ptrb, "aptrb"}, {ptre, "aptre"}}))
    return code;
  const int32_t count = accmode == TVN_ACC_CON ? t.prob.numcon : t.prob.numvar;
  if (const TVNrescodee code = TVN_checkindicies(t, "sub", 0, count, num, sub)) return code;
  const int64_t before = get_a(t).maxsize;
  TVNrescodee code = TVN_RES_OK;
  for (int32_t k = 0; k < num && !code; k++) {
    if ((code = check_range(t, k, ptrb[k], ptre[k]))) break;
    const int64_t len = int64_t{ptre[k]} - ptrb[k], begin = len > 0 ? ptrb[k] : 0;
    int64_t numtiny = 0;
    char arg[64];
    std::snprintf(arg, sizeof arg, "(asub+aptrb[%d])", k);
    code = TVN_putavecintern(t, accmode, sub[k], len, asub ? asub + begin : nullptr, aval ? aval + begin : nullptr, arg,
                             0, numtiny);
    if (!code) code = warn_tiny(t, accmode, sub[k], numtiny);
  }
  log_a_capacity(t, before);
  return code;
}

} // namespace

void watch_a(task& t) noexcept {
  t.prob.a.flushitem = &t.info.intg[TVN_IINF_STO_NUM_A_CACHE_FLUSHES];
  t.prob.a.transposeitem = &t.info.intg[TVN_IINF_STO_NUM_A_TRANSPOSES];
}

sprmat& get_a(task& t) {
  problem& p = t.prob;
  if (p.a.made()) return p.a;
  sprmat fresh;
  TVN_sprmat_make(*t.sys, p.maxnumcon, p.maxnumvar, 0, fresh);
  (void)TVN_sprmat_appendrows(fresh, p.numcon);
  (void)TVN_sprmat_appendcols(fresh, p.numvar);
  p.a = std::move(fresh);
  watch_a(t);
  return p.a;
}

TVNrescodee sprmat_result(task& t, sprmat_code code) {
  switch (code) {
  case sprmat_code::ok: return TVN_RES_OK;
  case sprmat_code::append_failed: return report(t, label, __LINE__, TVN_RES_ERR_INTERNAL, "append rows");
  case sprmat_code::maxsize_too_small: return report(t, label, __LINE__, TVN_RES_ERR_INTERNAL, " maxsize is too small");
  case sprmat_code::space: return TVN_RES_ERR_SPACE;
  case sprmat_code::surplus: return TVN_RES_ERR_NEGATIVE_SURPLUS;
  }
  TVN_stoptask(t, label, __LINE__, "sprmat: %d\n", static_cast<int>(code));
  return TVN_RES_ERR_INTERNAL;
}

TVNrescodee check_range(task& t, int32_t k, int64_t begin, int64_t end) {
  if (end < begin) return report(t, label, __LINE__, TVN_RES_ERR_INV_APTRE, k);
  return begin >= 0 || begin == end ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_IN_ARGUMENT, "aptrb");
}

TVNrescodee TVN_putavecintern(task& t, int32_t accmode, int32_t i, int64_t nzi, const int32_t* subi, const double* vali,
                              const char* argname, int64_t argbase, int64_t& numtiny) {
  const problem& p = t.prob;
  const bool con = accmode == TVN_ACC_CON;
  if (i < 0 || i >= (con ? p.numcon : p.numvar))
    return report(t, label, __LINE__, TVN_RES_ERR_INDEX_IS_TOO_LARGE, TVN_userindex(t, i), "i");
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, nzi, {{subi, "subi"}, {vali, "vali"}})) return code;
  const int32_t dim = con ? p.numvar : p.numcon;
  const double tiny = t.params.dval[TVN_DPAR_DATA_TOL_AIJ];
  for (int64_t k = 0; k < nzi; k++) {
    if (subi[k] < 0 || subi[k] >= dim) return bad_subscript(t, subi[k], argname, argbase + k);
    if (const TVNrescodee code = con ? check_aij(t, i, subi[k], vali[k]) : check_aij(t, subi[k], i, vali[k]))
      return code;
    numtiny += std::fabs(vali[k]) <= tiny;
  }
  sprmat& a = get_a(t);
  gather_work work(t.buffers, con ? p.maxnumvar : p.maxnumcon);
  for (int64_t k = 0; k < nzi; k++) work.add(subi[k], vali[k]);
  work.drop_below(tiny);
  if (con) {
    for (int32_t k = 0; k < work.count; k++) TVN_updsolstafterachg(t, work.list[k]);
    TVN_sprmat_gatherrowi(a, i, work.count, work.list.data(), work.value.data());
  } else {
    TVN_updsolstafterachg(t, i);
    TVN_sprmat_gathercolj(a, i, work.count, work.list.data(), work.value.data());
  }
  return TVN_RES_OK;
}

TVNrescodee put_avec(task& t, int32_t accmode, int32_t i, int64_t nzi, const int32_t* subi, const double* vali) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  const int64_t before = get_a(t).maxsize;
  int64_t numtiny = 0;
  TVNrescodee code = TVN_putavecintern(t, accmode, i, nzi, subi, vali, "subi", 0, numtiny);
  if (!code) code = warn_tiny(t, accmode, i, numtiny);
  log_a_capacity(t, before);
  return code;
}

TVNrescodee put_column(task& t, int32_t j, int32_t n, const int32_t* sub, const double* val) {
  const double tiny = t.params.dval[TVN_DPAR_DATA_TOL_AIJ];
  int64_t numtiny = 0;
  for (int32_t k = 0; k < n; k++) {
    if (const TVNrescodee code = check_aij(t, sub[k], j, val[k])) return code;
    numtiny += std::fabs(val[k]) <= tiny;
  }
  const int64_t before = get_a(t).maxsize;
  TVN_updsolstafterachg(t, j);
  TVN_sprmat_putcolj(t.prob.a, j, n, sub, val, tiny);
  log_a_capacity(t, before);
  return warn_tiny(t, TVN_ACC_VAR, j, numtiny);
}

TVNrescodee put_aij(task& t, int32_t i, int32_t j, double aij) {
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", TVN_PI_CON, i)) return code;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j)) return code;
  if (const TVNrescodee code = check_aij(t, i, j, aij)) return code;
  sprmat& a = get_a(t);
  const int64_t before = a.maxsize;
  TVN_updsolstafterachg(t, j);
  TVN_sprmat_putaij(a, i, j, std::fabs(aij) < t.params.dval[TVN_DPAR_DATA_TOL_AIJ] ? 0.0 : aij);
  log_a_capacity(t, before);
  return TVN_RES_OK;
}

void TVN_commitachanges(task& t) {
  if (t.prob.a.made()) TVN_sprmat_flushcache(t.prob.a);
}

sprmat_view TVN_getacolwise(task& t, int32_t extracols) { return TVN_sprmat_getacolwise(get_a(t), extracols); }

void TVN_getaspmat(task& t, int32_t extracols, spmat& a) {
  const sprmat_view v = TVN_getacolwise(t, extracols);
  TVN_spmat_emake(*t.sys, t.prob.numvar, t.prob.numcon, v.maxsize, v.ptrb, v.ptre, v.sub, v.val, a);
  a.maxnvec += extracols;
}

void TVN_putadbg(const char* file, int line, task& t) {
  TVN_asserttaskdbg(file, line, t, t.prob.a.locked);
  TVN_sprmat_puta(t.prob.a);
}

lent_matrix::lent_matrix(task& t_) : t(t_), inner(get_a(t_).locked) {
  a = inner ? TVN_sprmat_viewcols(t.prob.a) : TVN_getacolwise(t, 0);
}

lent_matrix::~lent_matrix() {
  if (!inner) TVN_putadbg(label, __LINE__, t);
}

void TVN_checkadbg(const char* file, int line, task& t, bool deep) {
  sprmat& a = t.prob.a;
  if (!a.made()) return;
  if (a.numrow != t.prob.numcon)
    TVN_stoptask(t, file, line, "Mismatch numcon: %d numrow: %d\n", t.prob.numcon, a.numrow);
  if (a.numcol != t.prob.numvar)
    TVN_stoptask(t, file, line, "Mismatch numvar: %d numcol: %d\n", t.prob.numvar, a.numcol);
  if (deep)
    if (const int32_t broken = TVN_sprmat_checka(a)) TVN_stoptask(t, file, line, "A breaks its rule %d\n", broken);
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putavec(TVNtask_t task, int32_t accmode, int32_t i, int32_t nzi, const int32_t* subi,
                        const double* vali) {
  return TVN_putavec64(task, accmode, i, nzi, subi, vali);
}

TVNrescodee TVN_putavec64(TVNtask_t task, int32_t accmode, int32_t i, int64_t nzi, const int32_t* subi,
                          const double* vali) {
  return api_change(task, [&](tvn::task& t) { return put_avec(t, accmode, i, nzi, subi, vali); });
}

TVNrescodee TVN_putaveclist(TVNtask_t task, int32_t accmode, int32_t num, const int32_t* sub, const int32_t* ptrb,
                            const int32_t* ptre, const int32_t* asub, const double* aval) {
  return api_change(task, [&](tvn::task& t) { return put_aveclist(t, accmode, num, sub, ptrb, ptre, asub, aval); });
}

TVNrescodee TVN_putaveclist64(TVNtask_t task, int32_t accmode, int32_t num, const int32_t* sub, const int64_t* ptrb,
                              const int64_t* ptre, const int32_t* asub, const double* aval) {
  return api_change(task, [&](tvn::task& t) { return put_aveclist(t, accmode, num, sub, ptrb, ptre, asub, aval); });
}

TVNrescodee TVN_putaij(TVNtask_t task, int32_t i, int32_t j, double aij) {
  return api_change(task, [&](tvn::task& t) { return put_aij(t, i, j, aij); });
}

TVNrescodee TVN_putaijlist(TVNtask_t task, int32_t num, const int32_t* subi, const int32_t* subj, const double* val) {
  return api_change(task, [&](tvn::task& t) {
    TVNrescodee code = check_arrays(t, label, __LINE__, num, {{subi, "subi"}, {subj, "subj"}, {val, "val"}});
    for (int32_t k = 0; k < num && !code; k++) {
      code = check_entry(t, label, __LINE__, "subi", k, TVN_PI_CON, subi[k]);
      if (!code) code = check_entry(t, label, __LINE__, "subj", k, TVN_PI_VAR, subj[k]);
      if (!code) code = put_aij(t, subi[k], subj[k], val[k]);
    }
    return code;
  });
}

TVNrescodee TVN_commitchanges(TVNtask_t task) {
  return api(task, [&](tvn::task& t) {
    TVN_commitachanges(t);
    return TVN_RES_OK;
  });
}
