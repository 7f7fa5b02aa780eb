// Calls any function of the interface with given handles and null or 0 for all other arguments, so that a test over
// api.def meets every function there is.
#pragma once

#include "tovan.h"

#include <string>
#include <type_traits>

namespace apitest {

struct handles {
  TVNtask_t task = nullptr;
  TVNenv_t env = nullptr;
};

// What a function takes and what it said.
struct answer {
  std::string name;
  bool task = false, env = false; // takes one
  bool null = false;              // gave a null pointer back
  bool code = false;              // gave a response code back:
  TVNrescodee value = TVN_RES_OK;
};

template <class T> T argument(const handles& h) {
  if constexpr (std::is_same_v<T, TVNtask_t>) return h.task;
  if constexpr (std::is_same_v<T, TVNenv_t>) return h.env;
  return T{};
}

template <class Result, class... Args> Result result_of(Result (*)(Args...));
template <class Result, class... Args> Result result_of(Result (*)(Args..., ...));

template <class Result, class... Args, class Function>
answer call_with(const char* name, Function* f, const handles& h) {
  answer a;
  a.name = name;
  a.task = (std::is_same_v<Args, TVNtask_t> || ...);
  a.env = (std::is_same_v<Args, TVNenv_t> || ...);
  if constexpr (std::is_void_v<Result>) {
    f(argument<Args>(h)...);
  } else if constexpr (std::is_pointer_v<Result>) {
    a.null = f(argument<Args>(h)...) == nullptr;
  } else {
    a.code = true;
    a.value = f(argument<Args>(h)...);
  }
  return a;
}
template <class Result, class... Args> answer call(const char* name, Result (*f)(Args...), const handles& h) {
  return call_with<Result, Args...>(name, f, h);
}
template <class Result, class... Args> answer call(const char* name, Result (*f)(Args..., ...), const handles& h) {
  return call_with<Result, Args...>(name, f, h);
}

} // namespace apitest
