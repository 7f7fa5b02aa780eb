// The loop on a scaled problem.
#pragma once

#include "homo/homint.h"

#include <cmath>

namespace tvn {

// The best point so far of a kind.
struct hom_record {
  hom_point point;
  hom_figures f;
  double grade = HUGE_VAL;
};

// What a run holds.
struct hom_run {
  sysenv* sys = nullptr;
  const hs_param* param = nullptr;
  run_watch* watch = nullptr;
  const hs_progress* progress = nullptr;
  const hs_judge* judge = nullptr;
  hs_point* out = nullptr;
  hs_info* info = nullptr;

  sym_view q;           // the caller's
  bool watch_q = false; // the factor may tell that it is not semidefinite
  hom_data d;
  newton w;
  hom_point now, saved; // saved: before the last step
  hom_residual r;
  hom_figures f, savedf;
  hom_grades grade;
  hom_move move;
  hs_param tol; // with the tolerances of now: the judge may tighten them
  hom_record optimum, certificate;
  int32_t maxcor = 0;
  int32_t clean = 0;           // iterations since the level changed
  int32_t idle = 0;            // iterations without a record
  double leastgrade = 0;       // of either kind
  int32_t numextra = 0;        // iterations beyond an optimum
  double lastgrade = HUGE_VAL; // of the point that the last of them left
};

void hom_optlp(hom_run& run);

// Lines for the log: a point, the step from it, a higher level, a step that is taken back, the end.
void hom_tellpoint(hom_run& run);
void hom_tellmove(hom_run& run, hom_steps a);
void hom_telllevel(hom_run& run);
void hom_tellrefused(hom_run& run);
void hom_tellend(hom_run& run);

// The point in units of the caller: of a certificate the side that proves, normalised.
void hom_getpoint(const hom_data& d, const hom_point& p, const hom_figures& f, int32_t solsta, hs_point& out) noexcept;

} // namespace tvn
