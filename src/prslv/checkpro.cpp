// The simple reductions, again and again while they change something.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

constexpr int32_t maxpasses = 20; // of duals and implied bounds

void make_all_due(const prslv_context& x, prslv_due& due, buffer<double>& rowmax) {
  for (int32_t i = 0; i < x.p.numcon; i++) {
    rowmax[i] = -1;
    if (x.conlive[i] && x.conlin[i]) TVN_prslv_updatelist(due.rows, i);
  }
  for (int32_t j = 0; j < x.p.numvar; j++)
    if (x.varlive[j]) TVN_prslv_updatelist(due.cols, j);
}

} // namespace

prslv_code TVN_prslv_checkproblem(prslv_context& x) {
  const prslv_clock clock(x, task_checkpro);
  prslv_code code = TVN_prslv_doubletoncons(x);
  const auto goes_on = [&] { return code == prslv_code::ok && x.status == prs_undecided; };
  if (!goes_on()) return code;
  TVN_prslv_allactivities(x, x.act, x.run); // later passes refresh them where implied bounds are formed
  make_all_due(x, x.due, x.rowmax);
  code = TVN_prslv_checkconlist(x);
  for (int32_t pass = 0, before = -1; pass < maxpasses && goes_on() && TVN_prslv_getnumred(x) != before; pass++) {
    before = TVN_prslv_getnumred(x);
    if (!x.param.keepprimal) code = TVN_prslv_dualbounds(x);
    if (goes_on()) code = TVN_prslv_impliedrows(x);
    if (goes_on()) code = TVN_prslv_checkconlist(x);
  }
  return code;
}

} // namespace tvn
