// A column goes to a value: its bounds meet, its reduced cost has one sign, or nothing holds it.
//
// Andersen and Andersen 1995; with Q Gould and Toint 2004. The column moves into row bounds, the fixed term and the
// costs of the columns that stand with it in Q. Undo: the value comes back into the activities, the reduced cost c_j +
// (Qx)_j - a_j'y is formed from the rows and columns that were live, and lies on the bound's side.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

// A column that went to a value, with its key, bounds and entries, and behind them those of Q beside its diagonal.
struct varfix_record {
  static constexpr prslv_type types[] = {rt_varfix,    rt_initialvarfix, rt_blkfix,
                                         rt_varfixlow, rt_varfixupr,     rt_varfixfree};
  using item = prslv_entry;
  int32_t j, key, num, numq;
  double value, lower, upper, diagonal;
  int64_t numitems() const { return int64_t{num} + numq; }
};

} // namespace

void TVN_prslv_varfix(prslv_context& x, int32_t j, double value, int32_t rtype) {
  TVN_prslv_beginpushstk(x, rtype);
  push_col(x, j, x.stk);
  int32_t numq = 0;
  for_quadratic(x, j, [&](int32_t k, double q) {
    push_item(x.stk, prslv_entry{k, q});
    numq++;
  });
  const double diagonal = x.q.beg.empty() ? 0.0 : x.q.diag[j];
  TVN_prslv_endpushstk(x, rtype,
                       varfix_record{j, x.p.bkx[j], x.varnz[j], numq, value, x.p.blx[j], x.p.bux[j], diagonal});
  TVN_prslv_killvar(x, j, value);
}

void prslv_undovarfix(prslv_post& w, int32_t rtype) {
  const auto [r, items] = TVN_prslv_poprecord<varfix_record>(w.x.stk);
  const auto column = items.first(static_cast<size_t>(r.num)), others = items.subspan(static_cast<size_t>(r.num));
  solution_view& s = w.s;
  const int32_t j = r.j, key = r.key;
  const double lo = r.lower, up = r.upper, value = w.pf * r.value;
  double d = w.df * w.x.p.c[j];
  for (const auto& [i, a] : column) {
    s.xc[i] += a * value;
    d -= a * s.y[i];
  }
  for (const auto& [k, q] : others) d += w.df * q * s.xx[k];
  if (r.diagonal != 0) d += w.df * r.diagonal * value;
  s.xx[j] = value;
  if (rtype == rt_varfixlow || (rtype == rt_blkfix && has_lower(key) && r.value == lo))
    s.skx[j] = sk_low;
  else if (rtype == rt_varfixupr || rtype == rt_blkfix)
    s.skx[j] = sk_upr;
  else if (rtype == rt_varfixfree)
    s.skx[j] = sk_supbas;
  else
    s.skx[j] = TVN_prslv_sidekey(key, d);
  if (rtype == rt_varfix && key == bk_ra && lo == up) s.skx[j] = sk_fix;
  TVN_prslv_splitdual(d, w.certificate() || rtype == rt_varfixfree ? static_cast<int32_t>(sk_unk) : s.skx[j], s.slx[j],
                      s.sux[j]);
}

// A column of no rows goes where its cost pulls it; to the bound nearest 0 when it has none. An integer one whose bound
// is not integral stays for its optimizer.
void TVN_prslv_emptyvariables(prslv_context& x) {
  for (int32_t j = 0; j < x.p.numvar && x.status == prs_undecided; j++) {
    if (TVN_prslv_stopped(x.run, 1)) return;
    if (!x.varlive[j] || x.varnz[j] != 0 || !is_linear(x, j)) continue;
    const double c = x.p.c[j], lo = var_lower(x, j), up = var_upper(x, j);
    const bool haslo = lo > -prslv_inf, hasup = up < prslv_inf;
    auto fix = [&](double value, int32_t rtype) {
      if (may_fix(x, j, value)) TVN_prslv_varfix(x, j, value, rtype);
    };
    if (std::fabs(c) > x.param.tols && !(c > 0 ? haslo : hasup)) {
      x.status = prs_dual_infeas;
      x.cert.col = j;
      x.cert.colval = c > 0 ? -1 : 1;
    } else if (!haslo && !hasup) {
      fix(0.0, rt_varfixfree);
    } else if (haslo && (c > 0 || !hasup || (c == 0 && std::fabs(lo) <= std::fabs(up)))) {
      fix(lo, rt_varfixlow);
    } else {
      fix(up, rt_varfixupr);
    }
  }
}

} // namespace tvn
