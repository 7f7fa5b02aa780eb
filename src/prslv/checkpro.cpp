// The simple reductions, again and again while they change something.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

constexpr int32_t maxpasses = 20;  // of rows and duals
constexpr int32_t smallgain = 200; // a pass that brings one reduction for so many rows is the last

} // namespace

prslv_code TVN_prslv_checkproblem(prslv_context& x) {
  const prslv_clock clock(x, task_checkpro);
  prslv_code code = TVN_prslv_doubletoncons(x);
  for (int32_t pass = 0; pass < maxpasses && code == prslv_code::ok && x.status == prs_undecided; pass++) {
    const int32_t before = TVN_prslv_getnumred(x);
    if (pass == 0) TVN_prslv_allactivities(x); // later ones refresh them where implied bounds are formed
    for (int32_t i = 0; i < x.p.numcon; i++)
      if (x.conlive[i] && x.conlin[i]) TVN_prslv_updatelist(x.list, i);
    code = TVN_prslv_checkconlist(x);
    if (code == prslv_code::ok && x.status == prs_undecided && !x.param.keepprimal) code = TVN_prslv_dualbounds(x);
    if (code == prslv_code::ok && x.status == prs_undecided) code = TVN_prslv_impliedrows(x);
    if (code == prslv_code::ok && x.list.size > 0) code = TVN_prslv_checkconlist(x);
    if (TVN_prslv_getnumred(x) - before <= x.p.numcon / smallgain) break;
  }
  return code;
}

} // namespace tvn
