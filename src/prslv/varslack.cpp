// A column that stands in one linear row is a slack of that row and is taken into it.
//
// Gondzio 1997; Andersen and Andersen 1995 (implied slacks). In an equality r + a x_j = b the rest r of the row gets
// the bounds that x_j leaves it, and the cost c_j x_j = c_j (b - r)/a becomes a cost of r. In an inequality the same
// works when the column costs nothing beside the row (c_j + a cc_i = 0), or after the dual has fixed the row to a side.
// No point is lost. Undo: x_j is what the row lacks; x_j and the old row share the place of r: r at a bound means x_j
// at a bound, r basic means one of them basic.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

// Bounds of row i and column j, infinite where there is none, and the coefficient in between.
struct slack_row {
  double a, bl, bu, l, u;
};

struct varslack_record {
  static constexpr prslv_type types[] = {rt_varslack};
  int32_t i, j, rowkey;
  bool equality;
  slack_row k;
  double cc, c; // costs of row and column
};

} // namespace

// True when the column went.
bool TVN_prslv_linvarsininlineq(prslv_context& x, int32_t i, int32_t j, double a) {
  const double bl = con_lower(x, i), bu = con_upper(x, i), l = var_lower(x, j), u = var_upper(x, j), c = x.p.c[j],
               cc = x.p.cc[i];
  const bool equality = bl == bu;
  if (!equality && std::fabs(c + a * cc) > cancelledshare * std::fabs(c)) return false;
  if (!is_decent(x, i, a, x.rowmax)) return false;
  const double alow = a > 0 ? a * l : a * u, aupp = a > 0 ? a * u : a * l;
  TVN_prslv_beginpushstk(x, rt_varslack);
  TVN_prslv_endpushstk(x, rt_varslack, varslack_record{i, j, x.p.bkc[i], equality, {a, bl, bu, l, u}, cc, c});
  if (equality) {
    x.p.cfix += cc * bl + c * bl / a;
    x.p.cc[i] = -c / a;
  }
  TVN_prslv_killvar(x, j, 0.0);
  TVN_prslv_putconbounds(x.p, i, bl - aupp, bu - alow);
  const bool loosened = (bl > -prslv_inf && std::isinf(aupp)) || (bu < prslv_inf && std::isinf(alow));
  if (equality || loosened) make_columns_due(x, i, x.due); // at most once for the row and once for each of its sides
  return true;
}

namespace {

// Row basic: a place for x_j with r + a x_j within the row, nonbasic if it can be.
void place_basic(prslv_post& w, const slack_row& k, int32_t i, int32_t j, double r) {
  solution_view& s = w.s;
  double best = prslv_inf;
  auto offer = [&](double xj, bool varbasic, int32_t varkey, int32_t rowkey, double viol) {
    if (!(viol < best)) return;
    best = viol;
    s.xx[j] = xj;
    s.xc[i] = r + k.a * xj;
    s.skx[j] = varbasic ? w.rest() : varkey;
    s.skc[i] = varbasic ? rowkey : w.rest();
  };
  auto rowviol = [&](double xj) { return std::max({k.bl - (r + k.a * xj), r + k.a * xj - k.bu, 0.0}); };
  if (!std::isinf(k.l)) offer(k.l, false, sk_low, 0, rowviol(k.l));
  if (!std::isinf(k.u)) offer(k.u, false, sk_upr, 0, rowviol(k.u));
  for (const bool upper : {false, true}) {
    const double b = upper ? k.bu : k.bl;
    if (std::isinf(b)) continue;
    const double xj = (b - r) / k.a;
    offer(xj, true, 0, upper ? sk_upr : sk_low, std::max({k.l - xj, xj - k.u, 0.0}));
    if (s.skc[i] == sk_low || s.skc[i] == sk_upr) s.xc[i] = s.skc[i] == sk_upr ? k.bu : k.bl;
  }
}

} // namespace

void prslv_undovarslack(prslv_post& w) {
  auto [i, j, rowkey, equality, k, cc, c] = TVN_prslv_poprecord<varslack_record>(w.x.stk);
  solution_view& s = w.s;
  for (double* b : {&k.bl, &k.bu, &k.l, &k.u}) *b = w.bound(*b);
  const double rest = s.xc[i];
  const double d = equality ? w.df * cc + s.y[i] : s.slc[i] - s.suc[i]; // of the old row
  const double dj = equality ? w.df * c - k.a * s.y[i] : -k.a * d;
  const int32_t key = s.skc[i];
  const bool atbound = !w.certificate() && (key == sk_low || key == sk_upr), basis = w.walk == prslv_walk::basis;
  const bool varlow = (key == sk_low) == (k.a < 0);
  if (equality) {
    s.xc[i] = k.bl;
    s.skc[i] = sk_fix;
    s.xx[j] = atbound && basis ? (varlow ? k.l : k.u) : (k.bl - rest) / k.a;
    s.skx[j] = atbound ? (varlow ? sk_low : sk_upr) : key;
    if (key == sk_fix) s.skx[j] = dj >= 0 ? sk_low : sk_upr; // the rest's bounds met
  } else if (atbound) {
    s.xx[j] = varlow ? k.l : k.u;
    s.skx[j] = varlow ? sk_low : sk_upr;
    s.xc[i] = !basis ? rest + k.a * s.xx[j] : key == sk_low ? k.bl : k.bu;
  } else {
    place_basic(w, k, i, j, rest);
  }
  if (s.skc[i] == sk_fix && rowkey != bk_fx && rowkey != bk_ra) s.skc[i] = d >= 0 ? sk_low : sk_upr;
  TVN_prslv_splitdual(d, sk_unk, s.slc[i], s.suc[i]);
  TVN_prslv_splitdual(dj, sk_unk, s.slx[j], s.sux[j]);
}

} // namespace tvn
