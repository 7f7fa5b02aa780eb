// Reading quadratic terms: their number, and the triplets with a surplus of room that is told and updated.
#include "tovan/task/api.h"
#include "tovan/data/data.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/dataqget";

template <class Int>
TVNrescodee copy_terms(task& t, int64_t begin, int64_t end, Int maxnum, Int* surp, Int* num, int32_t* subi,
                       int32_t* subj, double* val) {
  const qterms& q = t.prob.q;
  if (const TVNrescodee code = check_pointer(t, label, __LINE__, surp, "surp")) return code;
  if (*surp < 0 || *surp > maxnum) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_SURPLUS);
  if (end - begin > *surp) return report(t, label, __LINE__, TVN_RES_ERR_NEGATIVE_SURPLUS);
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, end - begin, {{subi, "subi"}, {subj, "subj"}, {val, "val"}}))
    return code;
  const Int at = maxnum - *surp;
  std::copy_n(q.subi.data() + begin, end - begin, subi + at);
  std::copy_n(q.subj.data() + begin, end - begin, subj + at);
  std::copy_n(q.val.data() + begin, end - begin, val + at);
  *surp -= static_cast<Int>(end - begin);
  if (num) *num = static_cast<Int>(end - begin);
  return TVN_RES_OK;
}

template <class Int>
TVNrescodee copy_qconk(task& t, int32_t k, Int maxnum, Int* surp, Int* num, int32_t* subi, int32_t* subj, double* val) {
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "k", TVN_PI_CON, k)) return code;
  const qterms& q = t.prob.q;
  const int64_t begin = q.conbegin.empty() ? 0 : q.conbegin[k], end = q.conbegin.empty() ? 0 : q.conend[k];
  return copy_terms(t, begin, end, maxnum, surp, num, subi, subj, val);
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getqobj(TVNtask_t task, int32_t maxnumqonz, int32_t* qosurp, int32_t* numqonz, int32_t* qosubi,
                        int32_t* qosubj, double* qoval) {
  return api(task, [&](tvn::task& t) {
    const qterms& q = t.prob.q;
    return copy_terms(t, q.objbegin, q.objend, maxnumqonz, qosurp, numqonz, qosubi, qosubj, qoval);
  });
}

TVNrescodee TVN_getqobj64(TVNtask_t task, int64_t maxnumqonz, int64_t* qosurp, int64_t* numqonz, int32_t* qosubi,
                          int32_t* qosubj, double* qoval) {
  return api(task, [&](tvn::task& t) {
    const qterms& q = t.prob.q;
    return copy_terms(t, q.objbegin, q.objend, maxnumqonz, qosurp, numqonz, qosubi, qosubj, qoval);
  });
}

TVNrescodee TVN_getqconk(TVNtask_t task, int32_t k, int32_t maxnumqcnz, int32_t* qcsurp, int32_t* numqcnz,
                         int32_t* qcsubi, int32_t* qcsubj, double* qcval) {
  return api(task, [&](tvn::task& t) { return copy_qconk(t, k, maxnumqcnz, qcsurp, numqcnz, qcsubi, qcsubj, qcval); });
}

TVNrescodee TVN_getqconk64(TVNtask_t task, int32_t k, int64_t maxnumqcnz, int64_t* qcsurp, int64_t* numqcnz,
                           int32_t* qcsubi, int32_t* qcsubj, double* qcval) {
  return api(task, [&](tvn::task& t) { return copy_qconk(t, k, maxnumqcnz, qcsurp, numqcnz, qcsubi, qcsubj, qcval); });
}

TVNrescodee TVN_getnumqobjnz64(TVNtask_t task, int64_t* numqonz) {
  return api(task, [&](tvn::task& t) {
    if (numqonz) *numqonz = t.prob.q.objend - t.prob.q.objbegin;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getnumqobjnz(TVNtask_t task, int32_t* numqonz) {
  return api(task, [&](tvn::task& t) {
    int32_t num = 0;
    const int64_t len = t.prob.q.objend - t.prob.q.objbegin;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &num, len)) return code;
    if (numqonz) *numqonz = num;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getnumqconknz64(TVNtask_t task, int32_t k, int64_t* numqcnz) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "k", TVN_PI_CON, k)) return code;
    if (numqcnz) *numqcnz = num_qcon_terms(t.prob, k);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getnumqconknz(TVNtask_t task, int32_t k, int32_t* numqcnz) {
  return api(task, [&](tvn::task& t) {
    int32_t num = 0;
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "k", TVN_PI_CON, k)) return code;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &num, num_qcon_terms(t.prob, k))) return code;
    if (numqcnz) *numqcnz = num;
    return TVN_RES_OK;
  });
}
