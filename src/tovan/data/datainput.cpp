// Bulk input of a whole problem, appending of filled items, and the check of the data before an optimization.
#include "tovan/data/data.h"
#include "tovan/task/api.h"
#include "tovan/task/names.h"
#include "tovan/task/scratch.h"

#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/tovan/datainput";

struct side_data {
  const int32_t* bk;
  const double* bl;
  const double* bu;
};

template <class Ptr> struct column_data {
  const Ptr* ptrb;
  const Ptr* ptre;
  const int32_t* sub;
  const double* val;
};

// Pointers, row indices and repetitions of all columns; the number of elements.
template <class Ptr>
TVNrescodee check_columns(task& t, int32_t numcon, int32_t numvar, const column_data<Ptr>& a, int64_t& numnz) {
  scratch<int32_t> mark(t.buffers, numcon, false);
  std::fill_n(mark.data(), numcon, -1);
  numnz = 0;
  for (int32_t j = 0; j < numvar; j++) {
    if (const TVNrescodee code = check_range(t, TVN_userindex(t, j), a.ptrb[j], a.ptre[j])) return code;
    if (const TVNrescodee code =
            check_arrays(t, label, __LINE__, a.ptre[j] - a.ptrb[j], {{a.sub, "asub"}, {a.val, "aval"}}))
      return code;
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      const int32_t i = a.sub[p], ui = TVN_userindex(t, i);
      if (i < 0) return report(t, label, __LINE__, TVN_RES_ERR_INDEX_IS_TOO_SMALL, ui, "sub");
      if (i >= numcon) return report(t, label, __LINE__, TVN_RES_ERR_INDEX_IS_TOO_LARGE, ui, "sub");
      if (mark[i] == j) return report(t, label, __LINE__, TVN_RES_ERR_MUL_A_ELEMENT, ui, TVN_userindex(t, j));
      mark[i] = j;
    }
    numnz += a.ptre[j] - a.ptrb[j];
  }
  return TVN_RES_OK;
}

TVNrescodee put_side(task& t, int32_t accmode, int32_t first, int32_t num, const side_data& b) {
  TVNrescodee code = TVN_RES_OK;
  for (int32_t k = 0; k < num && !code; k++) code = put_bound(t, accmode, first + k, b.bk[k], b.bl[k], b.bu[k]);
  return code;
}

template <class Ptr>
TVNrescodee put_vectors(task& t, int32_t accmode, int32_t first, int32_t num, const column_data<Ptr>& a) {
  TVNrescodee code = TVN_RES_OK;
  for (int32_t k = 0; k < num && !code; k++) {
    if ((code = check_range(t, TVN_userindex(t, k), a.ptrb[k], a.ptre[k]))) break;
    const int64_t len = int64_t{a.ptre[k]} - a.ptrb[k], begin = len > 0 ? a.ptrb[k] : 0;
    code = put_avec(t, accmode, first + k, len, a.sub + begin, a.val + begin);
  }
  return code;
}

TVNrescodee put_costs(task& t, int32_t first, int32_t num, const double* c) {
  TVNrescodee code = TVN_RES_OK;
  for (int32_t k = 0; k < num && !code; k++) code = put_cj(t, first + k, c ? c[k] : 0.0);
  return code;
}

template <class Ptr>
TVNrescodee input_data(task& t, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon, int32_t numvar, const double* c,
                       double cfix, const column_data<Ptr>& a, const side_data& con, const side_data& var) {
  if (numcon < 0) return report(t, label, __LINE__, TVN_RES_ERR_IN_ARGUMENT, "numcon");
  if (numvar < 0) return report(t, label, __LINE__, TVN_RES_ERR_IN_ARGUMENT, "numvar");
  const bool hascolumns = numcon > 0 && numvar > 0;
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, numcon, {{con.bk, "bkc"}, {con.bl, "blc"}, {con.bu, "buc"}}))
    return code;
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, numvar, {{var.bk, "bkx"}, {var.bl, "blx"}, {var.bu, "bux"}}))
    return code;
  if (const TVNrescodee code =
          check_arrays(t, label, __LINE__, hascolumns ? numvar : 0, {{a.ptrb, "aptrb"}, {a.ptre, "aptre"}}))
    return code;
  int64_t numnz = 0;
  if (hascolumns)
    if (const TVNrescodee code = check_columns(t, numcon, numvar, a, numnz)) return code;
  const int32_t roomcon = std::max(maxnumcon, numcon), roomvar = std::max(maxnumvar, numvar);
  if (const TVNrescodee code = resize_task(t, roomcon, roomvar, 0, numnz, 0)) return code;
  TVNrescodee code = TVN_core_append(t, TVN_ACC_CON, numcon, nullptr);
  if (!code) code = TVN_core_append(t, TVN_ACC_VAR, numvar, nullptr);
  if (code) return code;
  t.prob.cfix = cfix;
  code = put_costs(t, 0, numvar, c);
  if (!code) code = put_side(t, TVN_ACC_CON, 0, numcon, con);
  if (!code) code = put_side(t, TVN_ACC_VAR, 0, numvar, var);
  if (!code && hascolumns) code = put_vectors(t, TVN_ACC_VAR, 0, numvar, a);
  return code;
}

// New items with their vectors and bounds; null pointers leave the initial values.
TVNrescodee append_filled(task& t, int32_t accmode, int32_t num, const double* c, const column_data<int32_t>& a,
                          const side_data& b) {
  int32_t first = 0;
  if (num < 0) return report(t, label, __LINE__, TVN_RES_ERR_IN_ARGUMENT, "num");
  if (b.bk)
    if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{b.bl, "bl"}, {b.bu, "bu"}})) return code;
  if (a.ptrb) {
    if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{a.ptre, "aptre"}})) return code;
    int64_t most = 0; // elements of a vector; where all are empty there need be no arrays
    for (int32_t k = 0; k < num; k++) most = std::max<int64_t>(most, int64_t{a.ptre[k]} - a.ptrb[k]);
    if (const TVNrescodee code = check_arrays(t, label, __LINE__, most, {{a.sub, "asub"}, {a.val, "aval"}}))
      return code;
  }
  if (const TVNrescodee code = TVN_core_append(t, accmode, num, &first)) return code;
  TVNrescodee code = c ? put_costs(t, first, num, c) : TVN_RES_OK;
  if (!code && b.bk) code = put_side(t, accmode, first, num, b);
  if (!code && a.ptrb) code = put_vectors(t, accmode, first, num, a);
  return code;
}

TVNrescodee report_nan(task& t, TVNrescodee code, int32_t accmode, int32_t i) {
  return report(t, label, __LINE__, code, item_name(t, accmode, i), TVN_userindex(t, i));
}

} // namespace

TVNrescodee TVN_checkdata(task& t) {
  const problem& p = t.prob;
  TVNrescodee code = TVN_RES_OK;
  for (int32_t i = 0; i < p.numcon && !code; i++) {
    if (has_lower(p.bkc[i]) && std::isnan(p.blc[i]))
      code = report_nan(t, TVN_RES_ERR_NAN_IN_BLC, TVN_ACC_CON, i);
    else if (has_upper(p.bkc[i]) && std::isnan(p.buc[i]))
      code = report_nan(t, TVN_RES_ERR_NAN_IN_BUC, TVN_ACC_CON, i);
  }
  for (int32_t j = 0; j < p.numvar && !code; j++) {
    if (std::isnan(p.c[j]))
      code = report_nan(t, TVN_RES_ERR_NAN_IN_C, TVN_ACC_VAR, j);
    else if (has_lower(p.bkx[j]) && std::isnan(p.blx[j]))
      code = report_nan(t, TVN_RES_ERR_NAN_IN_BLX, TVN_ACC_VAR, j);
    else if (has_upper(p.bkx[j]) && std::isnan(p.bux[j]))
      code = report_nan(t, TVN_RES_ERR_NAN_IN_BUX, TVN_ACC_VAR, j);
  }
  if (!code && !std::isfinite(p.cfix)) code = report(t, label, __LINE__, TVN_RES_ERR_NAN_IN_DOUBLE_DATA, "cfix");
  return code;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_inputdata(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon, int32_t numvar,
                          const double* c, double cfix, const int32_t* aptrb, const int32_t* aptre, const int32_t* asub,
                          const double* aval, const int32_t* bkc, const double* blc, const double* buc,
                          const int32_t* bkx, const double* blx, const double* bux) {
  return api_change(task, [&](tvn::task& t) {
    const column_data<int32_t> a{aptrb, aptre, asub, aval};
    return input_data(t, maxnumcon, maxnumvar, numcon, numvar, c, cfix, a, {bkc, blc, buc}, {bkx, blx, bux});
  });
}

TVNrescodee TVN_inputdata64(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon, int32_t numvar,
                            const double* c, double cfix, const int64_t* aptrb, const int64_t* aptre,
                            const int32_t* asub, const double* aval, const int32_t* bkc, const double* blc,
                            const double* buc, const int32_t* bkx, const double* blx, const double* bux) {
  return api_change(task, [&](tvn::task& t) {
    const column_data<int64_t> a{aptrb, aptre, asub, aval};
    return input_data(t, maxnumcon, maxnumvar, numcon, numvar, c, cfix, a, {bkc, blc, buc}, {bkx, blx, bux});
  });
}

TVNrescodee TVN_appendvars(TVNtask_t task, int32_t num, const double* c, const int32_t* aptrb, const int32_t* aptre,
                           const int32_t* asub, const double* aval, const int32_t* bkx, const double* blx,
                           const double* bux) {
  return api_change(task, [&](tvn::task& t) {
    return append_filled(t, TVN_ACC_VAR, num, c, {aptrb, aptre, asub, aval}, {bkx, blx, bux});
  });
}

TVNrescodee TVN_appendcons(TVNtask_t task, int32_t num, const int32_t* aptrb, const int32_t* aptre, const int32_t* asub,
                           const double* aval, const int32_t* bkc, const double* blc, const double* buc) {
  return api_change(task, [&](tvn::task& t) {
    return append_filled(t, TVN_ACC_CON, num, nullptr, {aptrb, aptre, asub, aval}, {bkc, blc, buc});
  });
}

TVNrescodee TVN_checkdata(TVNtask_t task) {
  return api(task, [&](tvn::task& t) { return tvn::TVN_checkdata(t); });
}
