// Reading A. Rows and columns are both served; reading across the present orientation turns the store once.
#include "tovan/task/api.h"
#include "tovan/data/data.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/dataaget";

int32_t side_count(const task& t, int32_t accmode) noexcept {
  return accmode == TVN_ACC_CON ? t.prob.numcon : t.prob.numvar;
}

// An optimizer or a writer that has A on loan by columns cannot let a function of the user turn it.
TVNrescodee check_turnable(task& t, int32_t accmode) {
  if (!t.prob.a.locked || t.prob.a.colwise == (accmode == TVN_ACC_VAR)) return TVN_RES_OK;
  return report(t, label, __LINE__, TVN_RES_ERR_INTERNAL,
                "the rows of A cannot be read while a run or a write holds its columns");
}

TVNrescodee check_side_slice(task& t, int32_t accmode, int32_t first, int32_t last) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = check_turnable(t, accmode)) return code;
  return check_slice(t, label, __LINE__, first, last, side_count(t, accmode));
}

TVNrescodee vector_length(task& t, int32_t accmode, int32_t i, int32_t& nzi) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = check_turnable(t, accmode)) return code;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", accmode, i)) return code;
  sprmat& a = get_a(t);
  nzi = accmode == TVN_ACC_CON ? TVN_sprmat_getrownumnz(a, i) : TVN_sprmat_getcolnumnz(a, i);
  return TVN_RES_OK;
}

TVNrescodee slice_length(task& t, int32_t accmode, int32_t first, int32_t last, int64_t& numnz) {
  if (const TVNrescodee code = check_side_slice(t, accmode, first, last)) return code;
  sprmat& a = get_a(t);
  numnz = accmode == TVN_ACC_CON ? TVN_sprmat_getrowslicenumnz(a, first, last)
                                 : TVN_sprmat_getcolslicenumnz(a, first, last);
  return TVN_RES_OK;
}

sprmat_code read_slice(sprmat& a, int32_t accmode, int32_t first, int32_t last, int64_t maxnumnz, int64_t& surp,
                       int64_t* ptrb, int64_t* ptre, int32_t* sub, double* val) {
  return accmode == TVN_ACC_CON ? TVN_sprmat_getrowslice(a, first, last, maxnumnz, surp, ptrb, ptre, sub, val)
                                : TVN_sprmat_getcolslice(a, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
}

sprmat_code read_slice(sprmat& a, int32_t accmode, int32_t first, int32_t last, int32_t maxnumnz, int32_t& surp,
                       int32_t* ptrb, int32_t* ptre, int32_t* sub, double* val) {
  return accmode == TVN_ACC_CON ? TVN_sprmat_getrowslice32(a, first, last, maxnumnz, surp, ptrb, ptre, sub, val)
                                : TVN_sprmat_getcolslice32(a, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
}

template <class Int>
TVNrescodee get_aslice(task& t, int32_t accmode, int32_t first, int32_t last, Int maxnumnz, Int& surp, Int* ptrb,
                       Int* ptre, int32_t* sub, double* val) {
  if (const TVNrescodee code = check_side_slice(t, accmode, first, last)) return code;
  if (surp < 0 || surp > maxnumnz) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_SURPLUS);
  if (first >= last) return TVN_RES_OK;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, 1, {{ptrb, "ptrb"}, {ptre, "ptre"}})) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, surp, {{sub, "sub"}, {val, "val"}})) return code;
  const sprmat_code code = read_slice(get_a(t), accmode, first, last, maxnumnz, surp, ptrb, ptre, sub, val);
  if (code == sprmat_code::surplus) return report(t, label, __LINE__, TVN_RES_ERR_NEGATIVE_SURPLUS);
  return sprmat_result(t, code);
}

TVNrescodee get_aslicetrip(task& t, int32_t accmode, int32_t first, int32_t last, int32_t maxnumnz, int32_t& surp,
                           int32_t* subi, int32_t* subj, double* val) {
  if (const TVNrescodee code = check_side_slice(t, accmode, first, last)) return code;
  if (surp < 0 || surp > maxnumnz) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_SURPLUS);
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, surp, {{subi, "subi"}, {subj, "subj"}, {val, "val"}}))
    return code;
  const bool con = accmode == TVN_ACC_CON;
  const sprmat_view v = con ? TVN_sprmat_viewrows(get_a(t)) : TVN_sprmat_viewcols(get_a(t));
  int64_t left = surp;
  for (int32_t k = first; k < last; k++) {
    if (v.ptre[k] - v.ptrb[k] > left) return report(t, label, __LINE__, TVN_RES_ERR_NEGATIVE_SURPLUS);
    for (int64_t p = v.ptrb[k]; p < v.ptre[k]; p++) {
      const int64_t to = maxnumnz - left--;
      subi[to] = con ? k : v.sub[p];
      subj[to] = con ? v.sub[p] : k;
      val[to] = v.val[p];
    }
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &surp, left)) return code;
  }
  return TVN_RES_OK;
}

TVNrescodee get_avec(task& t, int32_t accmode, int32_t i, int32_t* nzi, int32_t* subi, double* vali) {
  int32_t len = 0;
  if (const TVNrescodee code = vector_length(t, accmode, i, len)) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, len, {{subi, "subi"}, {vali, "vali"}})) return code;
  const sprmat_view v = accmode == TVN_ACC_CON ? TVN_sprmat_viewrows(get_a(t)) : TVN_sprmat_viewcols(get_a(t));
  std::copy_n(v.sub + v.ptrb[i], len, subi);
  std::copy_n(v.val + v.ptrb[i], len, vali);
  if (nzi) *nzi = len;
  return TVN_RES_OK;
}

TVNrescodee piece_size(task& t, int32_t firsti, int32_t lasti, int32_t firstj, int32_t lastj, int64_t& numnz) {
  const problem& p = t.prob;
  if (firsti < 0) return report(t, label, __LINE__, TVN_RES_ERR_FIRSTI, firsti);
  if (lasti < 0 || lasti > p.numcon) return report(t, label, __LINE__, TVN_RES_ERR_LASTI, lasti);
  if (firstj < 0) return report(t, label, __LINE__, TVN_RES_ERR_FIRSTJ, firstj);
  if (lastj < 0 || lastj > p.numvar) return report(t, label, __LINE__, TVN_RES_ERR_LASTJ, lastj);
  numnz = TVN_sprmat_getpiecesize(get_a(t), firsti, lasti, firstj, lastj);
  return TVN_RES_OK;
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getaij(TVNtask_t task, int32_t i, int32_t j, double* aij) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", TVN_PI_CON, i)) return code;
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "j", TVN_PI_VAR, j)) return code;
    const double value = TVN_sprmat_getaij(get_a(t), i, j);
    if (aij) *aij = value;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getavec(TVNtask_t task, int32_t accmode, int32_t i, int32_t* nzi, int32_t* subi, double* vali) {
  return api(task, [&](tvn::task& t) { return get_avec(t, accmode, i, nzi, subi, vali); });
}

TVNrescodee TVN_getavecnumnz(TVNtask_t task, int32_t accmode, int32_t i, int32_t* nzi) {
  return api(task, [&](tvn::task& t) {
    int32_t len = 0;
    if (const TVNrescodee code = vector_length(t, accmode, i, len)) return code;
    if (nzi) *nzi = len;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getapiecenumnz(TVNtask_t task, int32_t firsti, int32_t lasti, int32_t firstj, int32_t lastj,
                               int32_t* numnz) {
  return api(task, [&](tvn::task& t) {
    int64_t total = 0;
    int32_t total32 = 0;
    if (const TVNrescodee code = piece_size(t, firsti, lasti, firstj, lastj, total)) return code;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &total32, total)) return code;
    if (numnz) *numnz = total32;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getaslicenumnz64(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int64_t* numnz) {
  return api(task, [&](tvn::task& t) {
    int64_t total = 0;
    if (const TVNrescodee code = slice_length(t, accmode, first, last, total)) return code;
    if (numnz) *numnz = total;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getaslicenumnz(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t* numnz) {
  return api(task, [&](tvn::task& t) {
    int64_t total = 0;
    int32_t total32 = 0;
    if (const TVNrescodee code = slice_length(t, accmode, first, last, total)) return code;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &total32, total)) return code;
    if (numnz) *numnz = total32;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getaslice(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t maxnumnz, int32_t* surp,
                          int32_t* ptrb, int32_t* ptre, int32_t* sub, double* val) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, surp, "surp")) return code;
    return get_aslice(t, accmode, first, last, maxnumnz, *surp, ptrb, ptre, sub, val);
  });
}

TVNrescodee TVN_getaslice64(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int64_t maxnumnz,
                            int64_t* surp, int64_t* ptrb, int64_t* ptre, int32_t* sub, double* val) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, surp, "surp")) return code;
    return get_aslice(t, accmode, first, last, maxnumnz, *surp, ptrb, ptre, sub, val);
  });
}

TVNrescodee TVN_getaslicetrip(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t maxnumnz,
                              int32_t* surp, int32_t* subi, int32_t* subj, double* val) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_pointer(t, label, __LINE__, surp, "surp")) return code;
    return get_aslicetrip(t, accmode, first, last, maxnumnz, *surp, subi, subj, val);
  });
}
