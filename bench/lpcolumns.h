// A of a problem in a file, by columns, for the benches of what lies below the C interface.
#pragma once

#include "tovan.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace tvnbench {

struct lp_columns {
  int32_t m = 0, n = 0;
  std::vector<int64_t> beg{0}; // [n + 1]
  std::vector<int32_t> sub;
  std::vector<double> val;
  std::vector<int32_t> loose; // rows that are no equations

  void add(int32_t num, const int32_t* rows, const double* values) {
    sub.insert(sub.end(), rows, rows + num);
    val.insert(val.end(), values, values + num);
    beg.push_back(static_cast<int64_t>(sub.size()));
    n++;
  }
};

// The task of a problem file; a file that cannot be read ends the bench.
struct lp_file {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;

  explicit lp_file(const std::string& path) {
    TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
    TVN_initenv(env);
    TVN_makeemptytask(env, &task);
    if (TVN_readdata(task, path.c_str()) == TVN_RES_OK) return;
    std::fprintf(stderr, "%s cannot be read\n", path.c_str());
    std::exit(1);
  }
  ~lp_file() {
    TVN_deletetask(&task);
    TVN_deleteenv(&env);
  }
  lp_file(const lp_file&) = delete;
  lp_file& operator=(const lp_file&) = delete;
};

inline lp_columns columns_of(TVNtask_t task) {
  lp_columns a;
  int32_t numvar = 0;
  TVN_getnumcon(task, &a.m);
  TVN_getnumvar(task, &numvar);
  std::vector<int32_t> sub(static_cast<size_t>(a.m) + 1);
  std::vector<double> val(static_cast<size_t>(a.m) + 1);
  for (int32_t j = 0; j < numvar; j++) {
    int32_t num = 0;
    TVN_getavec(task, TVN_ACC_VAR, j, &num, sub.data(), val.data());
    a.add(num, sub.data(), val.data());
  }
  for (int32_t i = 0; i < a.m; i++) {
    int32_t key = 0;
    double lower = 0, upper = 0;
    TVN_getbound(task, TVN_ACC_CON, i, &key, &lower, &upper);
    if (key != TVN_BK_FX) a.loose.push_back(i);
  }
  return a;
}

inline lp_columns read_lp(const std::string& path) { return columns_of(lp_file(path).task); }

} // namespace tvnbench
