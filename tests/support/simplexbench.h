// A working problem at its slack basis with the state of a simplex run, without the frame.
#pragma once

#include "simplex/dual/dstate.h"
#include "support/run.h"

#include <memory>
#include <string>

namespace tvntest {

struct bench {
  checked_env sys;
  tvn::simplex_param param = direct_param();
  tvn::simplex_info info;
  std::string line;
  tvn::simplex_progress progress{this, note_line};
  tvn::run_watch watch;
  tvn::simplex_work work;
  std::unique_ptr<tvn::simplex_state> state;

  explicit bench(lp_case& p) {
    EXPECT_TRUE(tvn::TVN_simplex_compressproblem(*sys, p.view(), {}, watch, work));
    state = std::make_unique<tvn::simplex_state>(*sys, param, info, progress, watch, work);
    tvn::TVN_simplex_setupstate(*state);
    tvn::TVN_simplex_slackbasis(state->fac);
    for (int32_t j = 0; j < work.total; j++) {
      if (state->fac.pos[j] >= 0)
        state->key[j] = tvn::sk_bas;
      else
        tvn::TVN_simplex_restnonbasic(*state, j, tvn::sk_unk);
    }
  }
  static int32_t note_line(void* handle, tvn::simplex_event, const tvn::simplex_info& i) {
    if (i.line) static_cast<bench*>(handle)->line = i.line;
    return 0;
  }

  // Sum of dual infeasibilities of the basis in hand, recomputed from the true costs.
  double dual_infeasibility() {
    tvn::simplex_state& s = *state;
    EXPECT_EQ(tvn::TVN_simplex_factor(s.fac), tvn::factor_result::full);
    for (int32_t k = 0; k < work.m; k++) s.fac.rhs[k] = work.cost[s.fac.head[k]];
    tvn::TVN_simplex_formy(s.fac, s.y);
    double sum = 0;
    for (int32_t j = 0; j < work.total; j++)
      if (s.fac.pos[j] < 0 && !work.is_fixed(j))
        sum += tvn::dsimplex_trueinfeasibility(work, j, work.cost[j] - tvn::TVN_simplex_columndot(work, j, s.y.data()));
    return sum;
  }
};

} // namespace tvntest
