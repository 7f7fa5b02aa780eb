// Rows that go: redundant or free ones, single sides, empty ones; and the certificate of a row that cannot be met.
//
// A side is redundant when the activity bounds of the row reach no further than it (Brearley, Mitra and Williams
// 1975); dropping it keeps the feasible set, so every optimum stays one. Undo: the row is inside its bounds, its slack
// duals are 0, hence y_i = -cc_i. The cost of a row that goes moves to its columns: cc_i xc_i = sum of cc_i a_ij x_j.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

// A row that went, with its cost and entries.
struct conrelax_record {
  static constexpr prslv_type types[] = {rt_conrelax, rt_initialfreecon};
  using item = prslv_entry;
  int32_t i, num;
  double cost;
  int64_t numitems() const { return num; }
};

} // namespace

void TVN_prslv_conrelax(prslv_context& x, int32_t i, int32_t rtype) {
  const double cc = x.p.cc[i];
  TVN_prslv_beginpushstk(x, rtype);
  push_row(x, i, x.stk);
  TVN_prslv_endpushstk(x, rtype, conrelax_record{i, x.connz[i], cc});
  for_row(x, i, [&](int32_t j, double a) { x.p.c[j] += cc * a; });
  TVN_prslv_killcon(x, i);
}

void prslv_undoconrelax(prslv_post& w) {
  const auto [r, row] = TVN_prslv_poprecord<conrelax_record>(w.x.stk);
  solution_view& s = w.s;
  s.skc[r.i] = w.rest();
  s.y[r.i] = -w.df * r.cost;
  s.slc[r.i] = s.suc[r.i] = 0;
  double act = 0;
  for (const prslv_entry& e : row) act += e.a * s.xx[e.index];
  s.xc[r.i] = act;
}

void TVN_prslv_dropside(prslv_context& x, int32_t i, bool upper) {
  const int32_t rtype = upper ? rt_dropupp : rt_droplow;
  TVN_prslv_beginpushstk(x, rtype);
  TVN_prslv_endpushstk(x, rtype);
  x.p.bkc[i] = upper ? bk_lo : bk_up;
  make_columns_due(x, i, x.due);
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
  x.cert.row = i;
  x.cert.rowval = lower ? 1 : -1;
  TVN_prslv_print(x, "Infeasible in constraint '%s' (%d)\n", "", i);
}

} // namespace tvn
