// Tests of indices that come from outside, and the narrowing of counts that go back in 32 bits.
#pragma once

#include "tovan/task/task.h"

#include <initializer_list>

namespace tvn {

// The index as messages show it.
inline int32_t TVN_userindex(const task& t, int32_t i) noexcept { return i + TVN_getindexorigin(*t.env); }

// item: TVN_PI_VAR, TVN_PI_CON or TVN_PI_CONE (the access modes are the first two).
TVNrescodee TVN_checkindexdbg(const char* file, int line, const char* function, task& t, const char* argname,
                              int32_t item, int32_t i);
// One entry of a list that is put item by item: as above, and the message names the place in the list.
TVNrescodee check_entry(task& t, const char* file, int line, const char* argname, int32_t k, int32_t item, int32_t i);
// Every entry of sub in first .. last - 1; the first that is not is reported.
TVNrescodee TVN_checkindicies(task& t, const char* argname, int32_t first, int32_t last, int32_t n, const int32_t* sub);
// first >= 0 and first <= last <= count.
TVNrescodee check_slice(task& t, const char* file, int line, int32_t first, int32_t last, int32_t count);
TVNrescodee TVN_int64to32dbg(task& t, const char* file, int line, int32_t* out, int64_t value);
// TVN_RES_ERR_NULL_POINTER with the name when the pointer is null.
TVNrescodee check_pointer(task& t, const char* file, int line, const void* ptr, const char* argname);
struct array_argument {
  const void* ptr;
  const char* name;
};
// Arrays of n entries: TVN_RES_ERR_IN_ARGUMENT for a negative n, and none may be null unless n is 0.
TVNrescodee check_arrays(task& t, const char* file, int line, int64_t n, std::initializer_list<array_argument> arrays);

TVNrescodee check_accmode(task& t, int32_t accmode);

} // namespace tvn
