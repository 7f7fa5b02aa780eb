// The loop on a scaled problem.
#pragma once

#include "homo/homint.h"

namespace tvn {

// What a run holds.
struct hom_run {
  sysenv* sys = nullptr;
  const hs_param* param = nullptr;
  run_watch* watch = nullptr;
  const hs_progress* progress = nullptr;
  const hs_judge* judge = nullptr;
  hs_point* out = nullptr;
  hs_info* info = nullptr;

  hom_data d;
  newton w;
  hom_point now, best;
  hom_residual r;
  hom_figures f, bestf;
  hom_move move;
  hs_param tol; // with the tolerances of now: the judge may tighten them
  double bestmerit = 0;
  int32_t maxcor = 0;
  int32_t clean = 0; // iterations since the level changed
};

void hom_optlp(hom_run& run);
// The point in units of the caller: of a certificate the side that proves, normalised.
void hom_getpoint(const hom_data& d, const hom_point& p, const hom_figures& f, int32_t solsta, hs_point& out) noexcept;

} // namespace tvn
