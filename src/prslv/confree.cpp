// Rows that go: redundant or free ones, single sides, empty ones; and the certificate of a row that cannot be met.
//
// A side is redundant when the activity bounds of the row reach no further than it (Brearley, Mitra and Williams
// 1975); dropping it keeps the feasible set, so every optimum stays one. Undo: the row is inside its bounds, its slack
// duals are 0, hence y_i = -cc_i. The cost of a row that goes moves to its columns: cc_i xc_i = sum of cc_i a_ij x_j.
#include "prslv/prslvint.h"

namespace tvn {

// Record: row, key, columns; lower, upper, cost, coefficients.
void TVN_prslv_conrelax(prslv_context& x, int32_t i, int32_t rtype) {
  TVN_prslv_beginpushstk(x, rtype);
  const double cc = x.p.cc[i];
  push_int(x, i);
  push_int(x, x.p.bkc[i]);
  push_int(x, x.connz[i]);
  push_real(x, x.p.blc[i]);
  push_real(x, x.p.buc[i]);
  push_real(x, cc);
  for_row(x, i, [&](int32_t j, double a) {
    push_int(x, j);
    push_real(x, a);
    x.p.c[j] += cc * a;
  });
  TVN_prslv_endpushstk(x, rtype);
  TVN_prslv_killcon(x, i);
}

void prslv_undoconrelax(prslv_post& w) {
  prslv_reader r(w.x);
  lp_solution& s = w.s;
  const int32_t i = r.i();
  r.i();
  const int32_t n = r.i();
  r.r();
  r.r();
  const double cc = r.r();
  s.skc[i] = w.rest();
  s.y[i] = -w.df * cc;
  s.slc[i] = s.suc[i] = 0;
  double act = 0;
  for (int32_t k = 0; k < n; k++) {
    const int32_t j = r.i();
    act += r.r() * s.xx[j];
  }
  s.xc[i] = act;
}

void TVN_prslv_dropside(prslv_context& x, int32_t i, bool upper) {
  const int32_t rtype = upper ? rt_dropupp : rt_droplow;
  TVN_prslv_beginpushstk(x, rtype);
  push_int(x, i);
  push_real(x, upper ? x.p.buc[i] : x.p.blc[i]);
  TVN_prslv_endpushstk(x, rtype);
  x.p.bkc[i] = upper ? bk_lo : bk_up;
  make_columns_due(x, i);
}

// A row without columns holds 0; beyond its bounds by more than tolx it proves infeasibility.
void TVN_prslv_conempty(prslv_context& x, int32_t i) {
  const double bl = con_lower(x, i), bu = con_upper(x, i);
  if (bl <= x.param.tolx && bu >= -x.param.tolx) return TVN_prslv_conrelax(x, i);
  TVN_prslv_coninfeasax(x, i, bl > x.param.tolx);
}

// The Farkas proof is the row alone: y_i = 1 when its lower bound is out of reach, -1 for the upper.
void TVN_prslv_coninfeasax(prslv_context& x, int32_t i, bool lower) {
  x.status = prs_prim_infeas;
  x.certrow = i;
  x.certrowval = lower ? 1 : -1;
  TVN_prslv_print(x, "Infeasible in constraint '%s' (%d)\n", "", i);
}

} // namespace tvn
