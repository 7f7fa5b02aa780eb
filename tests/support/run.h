// Whole runs of the simplex frame, and what must hold of their answers.
#pragma once

#include "oracle.h"

#include <cstdlib>

namespace tvntest {

// An environment that must be empty when it goes; declared before what lives in it.
struct checked_env {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  checked_env() = default;
  ~checked_env() { EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak"; }
  checked_env(const checked_env&) = delete;
  checked_env& operator=(const checked_env&) = delete;
  tvn::sysenv& operator*() const { return *sys; }
};

inline int64_t iterations(const tvn::simplex_info& info) {
  return info.count[tvn::kind_primal].iterations + info.count[tvn::kind_dual].iterations;
}

inline tvn::simplex_info run_simplex(tvn::sysenv& sys, const tvn::problem_view& lp, tvn::simplex_param param,
                                     lp_point& point, const tvn::simplex_progress& progress = {},
                                     tvn::kept_basis* kept = nullptr) {
  tvn::simplex_info info;
  tvn::solution_view sol = point.view();
  param.starttime = tvn::TVN_sysenv_gettime();
  tvn::TVN_simplex_optimize(sys, lp, param, info, progress, sol, kept);
  return info;
}

// The point is the start where the settings ask for one.
inline tvn::simplex_info run_simplex(lp_case& p, const tvn::simplex_param& param, lp_point& point,
                                     const tvn::simplex_progress& progress = {}) {
  const checked_env sys;
  return run_simplex(*sys, p.view(), param, point, progress);
}

struct run_result {
  tvn::simplex_info info;
  lp_point point;
};

inline run_result run_simplex(lp_case& p, const tvn::simplex_param& param, const lp_point* start = nullptr,
                              const tvn::simplex_progress& progress = {}) {
  run_result r{{}, start ? *start : lp_point(p)};
  r.info = run_simplex(p, param, r.point, progress);
  return r;
}

inline tvn::simplex_param param_by(tvn::simplex_kind kind, int32_t presolve = 0) {
  tvn::simplex_param param = direct_param();
  param.optimizer = kind;
  param.presolve = presolve;
  return param;
}

// The answer proves itself: an optimum of that objective, a certificate or a ray.
inline void expect_proved(const lp_case& p, const lp_point& s, int32_t solsta, double objective, double tol = 1e-8,
                          double tolproof = 1e-7) {
  switch (solsta) {
  case tvn::sol_optimal: return expect_optimal(p, s, objective, tol);
  case tvn::sol_prim_infeas_cer: EXPECT_TRUE(judge_infeasible(p, s) <= tolproof); break;
  case tvn::sol_dual_infeas_cer: EXPECT_TRUE(judge_unbounded(p, s) <= tolproof); break;
  default: ADD_FAILURE() << "no answer: " << solsta; break;
  }
}

// How many seeds a test tries, and from which on: TOVAN_SEEDS and TOVAN_SEED say otherwise.
inline uint64_t seed_setting(const char* name, uint64_t usual) {
  const char* s = std::getenv(name);
  return s ? std::strtoull(s, nullptr, 10) : usual;
}
inline uint64_t num_seeds(uint64_t usual) { return seed_setting("TOVAN_SEEDS", usual); }
inline uint64_t first_seed() { return seed_setting("TOVAN_SEED", 1); }

} // namespace tvntest
