// The simple reductions, again and again while they change something.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

constexpr int32_t maxpasses = 20; // of rows and duals; gains of later ones do not pay

} // namespace

prslv_code TVN_prslv_checkproblem(prslv_context& x) {
  const prslv_clock clock(x, task_checkpro);
  prslv_code code = TVN_prslv_doubletoncons(x);
  for (int32_t pass = 0; pass < maxpasses && code == prslv_code::ok && x.status == prs_undecided; pass++) {
    const int32_t before = TVN_prslv_getnumred(x);
    TVN_prslv_allactivities(x);
    for (int32_t i = 0; i < x.p.numcon; i++)
      if (x.conlive[i] && x.conlin[i]) TVN_prslv_updatelist(x.list, i);
    code = TVN_prslv_checkconlist(x);
    if (code == prslv_code::ok && x.status == prs_undecided && !x.param.keepprimal) code = TVN_prslv_dualbounds(x);
    if (code == prslv_code::ok && x.status == prs_undecided) code = TVN_prslv_impliedrows(x);
    if (code == prslv_code::ok && x.list.size > 0) code = TVN_prslv_checkconlist(x);
    if (TVN_prslv_getnumred(x) - before <= x.p.numcon / 1000) break;
  }
  return code;
}

} // namespace tvn
