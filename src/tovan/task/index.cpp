// Tests of indices. See index.h.
#include "tovan/task/index.h"

#include "tovan/task/report.h"

#include <cstdio>

namespace tvn {

namespace {

const char label[] = "src/tovan/index";

// -1 for an item that does not exist.
int32_t item_count(const task& t, int32_t item) noexcept {
  switch (item) {
  case TVN_PI_VAR: return t.prob.numvar;
  case TVN_PI_CON: return t.prob.numcon;
  case TVN_PI_CONE: return t.prob.numcone;
  default: return -1;
  }
}

} // namespace

TVNrescodee TVN_checkindexdbg(const char* file, int line, const char*, task& t, const char* argname, int32_t item,
                              int32_t i) {
  const int32_t count = item_count(t, item);
  if (count < 0) return report(t, file, line, TVN_RES_ERR_PRO_ITEM, item);
  if (i < 0) return report(t, file, line, TVN_RES_ERR_INDEX_IS_TOO_SMALL, TVN_userindex(t, i), argname);
  if (i >= count) return report(t, file, line, TVN_RES_ERR_INDEX_IS_TOO_LARGE, TVN_userindex(t, i), argname);
  return TVN_RES_OK;
}

TVNrescodee check_entry(task& t, const char* file, int line, const char* argname, int32_t k, int32_t item, int32_t i) {
  if (i >= 0 && i < item_count(t, item)) return TVN_RES_OK;
  char place[64];
  std::snprintf(place, sizeof place, "%s[%d]", argname, k);
  return TVN_checkindexdbg(file, line, "", t, place, item, i);
}

TVNrescodee TVN_checkindicies(task& t, const char* argname, int32_t first, int32_t last, int32_t n,
                              const int32_t* sub) {
  for (int32_t k = 0; k < n; k++) {
    if (sub[k] < first)
      return report(t, label, __LINE__, TVN_RES_ERR_INDEX_ARR_IS_TOO_SMALL, TVN_userindex(t, sub[k]), argname, k,
                    TVN_userindex(t, first));
    if (sub[k] >= last)
      return report(t, label, __LINE__, TVN_RES_ERR_INDEX_ARR_IS_TOO_LARGE, TVN_userindex(t, sub[k]), argname, k,
                    TVN_userindex(t, last));
  }
  return TVN_RES_OK;
}

TVNrescodee check_slice(task& t, const char* file, int line, int32_t first, int32_t last, int32_t count) {
  if (first < 0) return report(t, file, line, TVN_RES_ERR_FIRST);
  if (last < 0 || last > count) return report(t, file, line, TVN_RES_ERR_LAST);
  return TVN_RES_OK;
}

TVNrescodee TVN_int64to32dbg(task& t, const char* file, int line, int32_t* out, int64_t value) {
  if (value < INT32_MIN || value > INT32_MAX) return report(t, file, line, TVN_RES_ERR_INT64_TO_INT32_CAST);
  *out = static_cast<int32_t>(value);
  return TVN_RES_OK;
}

TVNrescodee check_pointer(task& t, const char* file, int line, const void* ptr, const char* argname) {
  return ptr ? TVN_RES_OK : report(t, file, line, TVN_RES_ERR_NULL_POINTER, argname);
}

TVNrescodee check_arrays(task& t, const char* file, int line, int64_t n, std::initializer_list<array_argument> arrays) {
  if (n < 0) return report(t, file, line, TVN_RES_ERR_IN_ARGUMENT, "num");
  if (n == 0) return TVN_RES_OK;
  for (const array_argument& a : arrays)
    if (!a.ptr) return report(t, file, line, TVN_RES_ERR_NULL_POINTER, a.name);
  return TVN_RES_OK;
}

TVNrescodee check_accmode(task& t, int32_t accmode) {
  if (accmode == TVN_ACC_VAR || accmode == TVN_ACC_CON) return TVN_RES_OK;
  return report(t, "src/tovan/datasize", __LINE__, TVN_RES_ERR_INVALID_ACCMODE, accmode);
}

} // namespace tvn
