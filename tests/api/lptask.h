// A problem of tests/support put into a task as a caller would, and the solution read back for the oracle.
#pragma once

#include "support/oracle.h"
#include "tovan.h"

namespace apitest {

using tvntest::lp_case;
using tvntest::lp_point;

// The whole problem in one call; offsets of the columns as 64-bit numbers.
inline TVNrescodee input(TVNtask_t task, lp_case& p) {
  p.view(); // fills the bound keys
  return TVN_inputdata64(task, p.m, p.n, p.m, p.n, p.c.data(), p.cfix, p.beg.data(), p.beg.data() + 1, p.sub.data(),
                         p.val.data(), p.bkc.data(), p.blc.data(), p.buc.data(), p.bkx.data(), p.blx.data(),
                         p.bux.data());
}

// The same problem piece by piece: appended, then bounds, costs and columns put one at a time, the last first.
inline TVNrescodee append_and_put(TVNtask_t task, lp_case& p) {
  p.view();
  TVNrescodee r = TVN_append(task, TVN_ACC_CON, p.m);
  if (r == TVN_RES_OK) r = TVN_append(task, TVN_ACC_VAR, p.n);
  if (r == TVN_RES_OK) r = TVN_putcfix(task, p.cfix);
  for (int32_t i = 0; i < p.m && r == TVN_RES_OK; i++) {
    const auto k = static_cast<size_t>(i);
    r = TVN_putbound(task, TVN_ACC_CON, i, p.bkc[k], p.blc[k], p.buc[k]);
  }
  for (int32_t j = p.n - 1; j >= 0 && r == TVN_RES_OK; j--) {
    const auto k = static_cast<size_t>(j);
    const auto from = static_cast<size_t>(p.beg[k]);
    r = TVN_putcj(task, j, p.c[k]);
    if (r == TVN_RES_OK) r = TVN_putbound(task, TVN_ACC_VAR, j, p.bkx[k], p.blx[k], p.bux[k]);
    if (r == TVN_RES_OK)
      r = TVN_putavec64(task, TVN_ACC_VAR, j, p.beg[k + 1] - p.beg[k], p.sub.data() + from, p.val.data() + from);
  }
  return r;
}

struct outcome {
  int32_t prosta = -1, solsta = -1;
  lp_point point;
};

inline outcome stored_solution(TVNtask_t task, int32_t which, const lp_case& p) {
  outcome a{-1, -1, lp_point(p)};
  lp_point& s = a.point;
  EXPECT_EQ(TVN_getsolution(task, which, &a.prosta, &a.solsta, s.skc.data(), s.skx.data(), nullptr, s.xc.data(),
                            s.xx.data(), s.y.data(), s.slc.data(), s.suc.data(), s.slx.data(), s.sux.data(), nullptr),
            TVN_RES_OK);
  return a;
}

inline outcome basic_solution(TVNtask_t task, const lp_case& p) { return stored_solution(task, TVN_SOL_BAS, p); }

inline int32_t simplex_iterations(TVNtask_t task) {
  int32_t primal = -1, dual = -1;
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_SIM_PRIMAL_ITER, &primal), TVN_RES_OK);
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_SIM_DUAL_ITER, &dual), TVN_RES_OK);
  return primal + dual;
}

inline void negate(std::vector<double>& v) {
  for (double& x : v) x = -x;
}

// The minimisation that a maximisation stands for, and the duals that belong to it.
inline lp_case negated(lp_case p) {
  negate(p.c);
  p.cfix = -p.cfix;
  return p;
}
inline lp_point with_negated_duals(lp_point s) {
  for (auto* v : {&s.y, &s.slc, &s.suc, &s.slx, &s.sux}) negate(*v);
  return s;
}

} // namespace apitest
