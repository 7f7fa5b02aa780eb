// Bounds of variables and constraints.
//
// A put stores the key and the values in the normal form of the key, and then lets sides go whose value is past the
// infinity threshold: only the key tells which stored values count.
#include "tovan/data/data.h"
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"
#include "tovan/task/names.h"

#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/tovan/databound";

bool valid_key(int32_t bk) noexcept { return bk >= TVN_BK_LO && bk <= TVN_BK_RA; }

TVNrescodee TVN_checkbk(task& t, int32_t accmode, int32_t bk, const char* argname) {
  if (valid_key(bk)) return TVN_RES_OK;
  return report(t, label, __LINE__, accmode == TVN_ACC_CON ? TVN_RES_ERR_INV_BKC : TVN_RES_ERR_INV_BKX, bk, argname);
}

const char* item_word(int32_t accmode) noexcept { return accmode == TVN_ACC_CON ? "constraint" : "variable"; }

TVNrescodee warn_large_side(task& t, TVNrescodee code, int32_t accmode, int32_t i, double value) {
  return report(t, label, __LINE__, code, value, item_word(accmode), item_name(t, accmode, i), TVN_userindex(t, i));
}

TVNrescodee warn_large(task& t, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  const double large = t.params.dval[TVN_DPAR_DATA_TOL_BOUND_WRN], inf = t.params.dval[TVN_DPAR_DATA_TOL_BOUND_INF];
  // A value of exactly the threshold is infinite and gives no warning.
  const bool lower = has_lower(bk) && std::fabs(bl) >= large && bl > -inf;
  const bool upper = has_upper(bk) && std::fabs(bu) >= large && bu < inf;
  if (accmode == TVN_ACC_CON && bk == TVN_BK_FX) {
    if (!lower) return TVN_RES_OK;
    return report(t, label, __LINE__, TVN_RES_WRN_LARGE_CON_FX, item_name(t, accmode, i), TVN_userindex(t, i), bl);
  }
  if (lower)
    if (const TVNrescodee code = warn_large_side(t, TVN_RES_WRN_LARGE_LO_BOUND, accmode, i, bl)) return code;
  return upper ? warn_large_side(t, TVN_RES_WRN_LARGE_UP_BOUND, accmode, i, bu) : TVN_RES_OK;
}

// The values as the key stores them.
bound_value normal_form(int32_t bk, double bl, double bu) noexcept {
  switch (bk) {
  case TVN_BK_LO: return {bk, bl, bound_infinity};
  case TVN_BK_UP: return {bk, -bound_infinity, bu};
  case TVN_BK_FX: return {bk, bl, bl};
  case TVN_BK_FR: return {bk, -bound_infinity, bound_infinity};
  default: return {bk, bl, bu};
  }
}

// Infinity is stored as 1e30.
double stored(double value) noexcept { return std::isinf(value) ? std::copysign(bound_infinity, value) : value; }

// The key without the sides that are past the infinity threshold.
int32_t key_within(int32_t bk, double bl, double bu, double inf) noexcept {
  const bool lower = has_lower(bk) && !(bl <= -inf), upper = has_upper(bk) && !(bu >= inf);
  if (lower && upper) return bk;
  if (lower) return TVN_BK_LO;
  return upper ? TVN_BK_UP : TVN_BK_FR;
}

TVNrescodee put_bounds(task& t, int32_t accmode, int32_t num, const int32_t* sub, int32_t first, const int32_t* bk,
                       const double* bl, const double* bu) {
  TVNrescodee code = check_arrays(t, label, __LINE__, num, {{bk, "bk"}, {bl, "bl"}, {bu, "bu"}});
  for (int32_t k = 0; k < num && !code; k++) {
    if (sub) code = TVN_checkbk(t, accmode, bk[k], "bk");
    if (sub && !code) code = check_entry(t, label, __LINE__, "sub", k, accmode, sub[k]);
    if (!code) code = put_bound(t, accmode, sub ? sub[k] : first + k, bk[k], bl[k], bu[k]);
  }
  return code;
}

// The bound that a change of one side leads to; false when nothing is to be done.
bool changed_bound(const bound_value& old, bool lower, bool finite, double value, bound_value& now) noexcept {
  const bool haslower = has_lower(old.bk), hasupper = has_upper(old.bk);
  now = old;
  if (lower)
    now.bl = finite ? value : -bound_infinity;
  else
    now.bu = finite ? value : bound_infinity;
  const bool keepslower = lower ? finite : haslower, keepsupper = lower ? hasupper : finite;
  if (keepslower && keepsupper)
    now.bk = now.bl == now.bu ? TVN_BK_FX : TVN_BK_RA;
  else
    now.bk = keepslower ? TVN_BK_LO : keepsupper ? TVN_BK_UP : TVN_BK_FR;
  const bool same = finite && (lower ? haslower && old.bl == value : hasupper && old.bu == value);
  return !same || now.bk != old.bk;
}

TVNrescodee change_bound(task& t, int32_t accmode, int32_t i, bool lower, bool finite, double value) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", accmode, i)) return code;
  const double inf = t.params.dval[TVN_DPAR_DATA_TOL_BOUND_INF];
  finite = finite && (lower ? value > -inf : value < inf);
  bound_value now;
  if (!changed_bound(get_bound(t.prob, accmode, i), lower, finite, value, now)) return TVN_RES_OK;
  return put_bound(t, accmode, i, now.bk, now.bl, now.bu);
}

} // namespace

TVNrescodee put_bound(task& t, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  if (const TVNrescodee code = TVN_checkbk(t, accmode, bk, "bk")) return code;
  if (bk == TVN_BK_FX && !(bl == bu)) (void)report(t, label, __LINE__, TVN_RES_ERR_FIXED_BOUND_VALUES, bl, bu);
  if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", accmode, i)) return code;
  if (const TVNrescodee code = warn_large(t, accmode, i, bk, bl, bu)) return code;
  const bound_arrays side = side_bounds(t.prob, accmode);
  const bound_value old{side.bk[i], side.bl[i], side.bu[i]};
  const bound_value now = normal_form(bk, bl, bu);
  side.bl[i] = stored(now.bl);
  side.bu[i] = stored(now.bu);
  side.bk[i] = key_within(bk, now.bl, now.bu, t.params.dval[TVN_DPAR_DATA_TOL_BOUND_INF]);
  TVN_updsolstafterbndchg(t, accmode, i, old.bk, old.bl, old.bu);
  return TVN_RES_OK;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putbound(TVNtask_t task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_accmode(t, accmode)) return code;
    return put_bound(t, accmode, i, bk, bl, bu);
  });
}

TVNrescodee TVN_putboundlist(TVNtask_t task, int32_t accmode, int32_t num, const int32_t* sub, const int32_t* bk,
                             const double* bl, const double* bu) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_accmode(t, accmode)) return code;
    if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}})) return code;
    return put_bounds(t, accmode, num, sub, 0, bk, bl, bu);
  });
}

TVNrescodee TVN_putboundslice(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, const int32_t* bk,
                              const double* bl, const double* bu) {
  return api_change(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_accmode(t, accmode)) return code;
    const int32_t count = side_bounds(t.prob, accmode).count;
    if (const TVNrescodee code = check_slice(t, label, __LINE__, first, last, count)) return code;
    return put_bounds(t, accmode, std::max(last - first, 0), nullptr, first, bk, bl, bu);
  });
}

TVNrescodee TVN_getbound(TVNtask_t task, int32_t accmode, int32_t i, int32_t* bk, double* bl, double* bu) {
  return api(task, [&](tvn::task& t) {
    const int32_t side = accmode == TVN_ACC_CON ? TVN_ACC_CON : TVN_ACC_VAR;
    if (const TVNrescodee code = TVN_checkindexdbg(label, __LINE__, "", t, "i", side, i)) return code;
    const bound_value v = get_bound(t.prob, side, i);
    if (bk) *bk = v.bk;
    if (bl) *bl = v.bl;
    if (bu) *bu = v.bu;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getboundslice(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t* bk, double* bl,
                              double* bu) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_accmode(t, accmode)) return code;
    const int32_t count = side_bounds(t.prob, accmode).count;
    if (const TVNrescodee code = check_slice(t, label, __LINE__, first, last, count)) return code;
    for (int32_t i = first; i < last; i++) {
      const bound_value v = get_bound(t.prob, accmode, i);
      if (bk) bk[i - first] = v.bk;
      if (bl) bl[i - first] = v.bl;
      if (bu) bu[i - first] = v.bu;
    }
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_chgbound(TVNtask_t task, int32_t accmode, int32_t i, int32_t lower, int32_t finite, double value) {
  return api_change(task, [&](tvn::task& t) { return change_bound(t, accmode, i, lower != 0, finite != 0, value); });
}
