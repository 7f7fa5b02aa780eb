// Column bounds that rows imply are dropped, one by one, so that more columns are free.
//
// Andersen and Andersen 1995. The feasible set stays. Each drop sees the bounds that are left after those before it, so
// two bounds that imply each other never both go. Running activities only point at a row; it proves the drop afresh and
// by a coefficient that stands out in it. Undo: the dual of the dropped bound is 0.
#include "prslv/prslvstk.h"

namespace tvn {

void TVN_prslv_varrelax(prslv_context& x, int32_t j, bool low, bool upp) {
  const int32_t rtype = low ? (upp ? rt_varrelaxboth : rt_varrelaxlow) : rt_varrelaxupp;
  TVN_prslv_beginpushstk(x, rtype);
  TVN_prslv_endpushstk(x, rtype);
  TVN_prslv_putvarbounds(x, j, low ? -prslv_inf : var_lower(x, j), upp ? prslv_inf : var_upper(x, j));
}

prslv_code TVN_prslv_relax(prslv_context& x) {
  const prslv_clock clock(x, task_relax);
  for (int32_t j = 0; j < x.p.numvar; j++) {
    if (!x.varlive[j] || !may_use_dual(x, j) || x.varnz[j] == 0) continue;
    if (TVN_prslv_stopped(x.run, x.varnz[j])) return prslv_code::stopped;
    const double l = var_lower(x, j), u = var_upper(x, j);
    if (l == -prslv_inf && u == prslv_inf) continue;
    const prslv_implied b = TVN_prslv_impliedboundsonvarj(x, j);
    const double tol = x.param.tolx, inlow = l + tol * std::max(1.0, std::fabs(l)),
                 inupp = u - tol * std::max(1.0, std::fabs(u));
    const bool low = l > -prslv_inf && b.lower >= inlow && TVN_prslv_rowimplies(x, b.lowrow, j, true, inlow),
               upp = u < prslv_inf && b.upper <= inupp && TVN_prslv_rowimplies(x, b.upprow, j, false, inupp);
    if (low || upp) TVN_prslv_varrelax(x, j, low, upp);
  }
  return prslv_code::ok;
}

} // namespace tvn
