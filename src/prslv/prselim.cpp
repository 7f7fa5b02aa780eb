// The eliminator: a column whose bounds are implied by rows is free, and an equality row can be solved for it.
//
// Andersen and Andersen 1995; Gondzio 1997. Candidates come in the order of their Markowitz score (c-1)(r-1), with c
// the rows of the column and r the columns of its shortest equality; ties go to the column that was queued last. A
// pivot is refused when it is small beside its row or column, when it makes entries grow, or when it adds more entries
// than it takes away. No point is lost since the row and the implied bounds hold x_j. Undo: x_j from the row, y_i makes
// x_j's reduced cost 0, x_j is the basic item of the row that is back.
#include "prslv/prslvstk.h"

#include "misc/prque.h"

namespace tvn {

namespace {

constexpr int32_t scorelimit = 1000; // no pivot beyond
constexpr int32_t goodscore = 100;   // counted for the log
constexpr int64_t scanlimit = 20000; // entries looked at to count the fill of one pivot
constexpr double cliqueslack = 50;   // pairs that one pivot may add: of 0, 50, 200, 1000 and any number the least flops
constexpr int32_t fillslack = 3;     // entries that one pivot may add, times TVN_IPAR_PRESOLVE_ELIM_FILL

struct candidate {
  int32_t i = -1, score = 0;
  double a = 0;
};

struct elimination_record {
  static constexpr prslv_type types[] = {rt_elimination};
  using item = prslv_entry;
  prslv_pivot pivot;
  int64_t numitems() const { return pivot.numitems(); }
};

// The shortest equality in which column j has a stable coefficient.
candidate best_row(const prslv_context& x, int32_t j) {
  double biggest = 0;
  for_col(x, j, [&](int32_t, double a) { biggest = std::max(biggest, std::fabs(a)); });
  candidate best;
  for_col(x, j, [&](int32_t i, double a) {
    if (!x.conlin[i] || con_lower(x, i) != con_upper(x, i) || std::fabs(a) < x.param.pivlimit * biggest) return;
    if (best.i >= 0 && (x.connz[i] > x.connz[best.i] || (x.connz[i] == x.connz[best.i] && i > best.i))) return;
    best.i = i;
    best.a = a;
  });
  if (best.i < 0) return best;
  const int64_t score = static_cast<int64_t>(x.varnz[j] - 1) * (x.connz[best.i] - 1);
  best.score = static_cast<int32_t>(std::min<int64_t>(score, scorelimit + 1));
  return best;
}

// A column of more rows has no score within the limit, since a row has two columns at least.
bool may_go(const prslv_context& x, int32_t j) {
  return x.varlive[j] && may_substitute(x, j) && x.varnz[j] >= 2 && x.varnz[j] <= scorelimit + 1;
}

double row_max(const prslv_context& x, int32_t i) {
  double v = 0;
  for_row(x, i, [&](int32_t, double a) { v = std::max(v, std::fabs(a)); });
  return v;
}

int64_t allowed_fill(const prslv_context& x) { return int64_t{fillslack} * std::max(x.param.elimfill, 0); }

// Entries that the pivot would add, net of those that go; more than is allowed when counting costs too much.
int64_t net_fill(const prslv_context& x, int32_t i, int32_t j, buffer<int32_t>& rowmark, prslv_run& run) {
  const int64_t c = x.varnz[j], r = x.connz[i], bound = (c - 1) * (r - 1) - (c + r - 1);
  if (bound <= 0) return bound;
  int64_t scan = 0, met = 0;
  for_row(x, i, [&](int32_t l, double) { scan += x.col.len[l]; });
  if (scan > scanlimit) return bound;
  for_col(x, j, [&](int32_t k, double) { rowmark[k] = 1; });
  for_row(x, i, [&](int32_t l, double) {
    if (l == j) return;
    for_col(x, l, [&](int32_t k, double) { met += k != i && rowmark[k] == 1; });
  });
  for_col(x, j, [&](int32_t k, double) { rowmark[k] = -1; });
  TVN_prslv_stopped(run, scan);
  return bound - met;
}

// Products of pairs of entries of a column, summed over the columns: what the pivot adds to them. They are the cliques
// of A A', of which an interior point factors a multiple.
double clique_fill(const prslv_context& x, int32_t i, int32_t j, buffer<int32_t>& mark, prslv_run& run) {
  const auto square = [](int64_t len) { return static_cast<double>(len) * static_cast<double>(len); };
  const int64_t c = x.varnz[j];
  double change = -square(c);
  for_col(x, j, [&](int32_t k, double) { mark[k] = 1; });
  for_row(x, i, [&](int32_t l, double) {
    if (l == j) return;
    int64_t met = 0;
    for_col(x, l, [&](int32_t k, double) { met += k != i && mark[k] == 1; });
    change += square(x.varnz[l] - 1 + (c - 1) - met) - square(x.varnz[l]);
    TVN_prslv_stopped(run, x.varnz[l]);
  });
  for_col(x, j, [&](int32_t k, double) { mark[k] = -1; });
  return change;
}

bool pivot_is_stable(const prslv_context& x, const candidate& e, int32_t j, prslv_run& run) {
  const double pivotrow = row_max(x, e.i);
  if (std::fabs(e.a) < x.param.pivlimit * pivotrow) return false;
  bool ok = true;
  for_col(x, j, [&](int32_t k, double a) {
    if (k == e.i || !ok) return;
    const double grown = std::fabs(a / e.a) * pivotrow;
    ok = grown <= x.param.sizelimit && grown <= x.param.growthlimit * row_max(x, k);
    TVN_prslv_stopped(run, x.connz[k]);
  });
  return ok;
}

void queue(const prslv_context& x, pq& q, int32_t j) {
  if (!may_go(x, j)) return;
  const candidate e = best_row(x, j);
  if (e.i >= 0 && e.score <= scorelimit) TVN_pq_putp(q, j, e.score);
}

} // namespace

bool TVN_prslv_tryeliminator(const prslv_context& x, prslv_run& run) {
  int32_t best = scorelimit + 1, num = 0, good = 0;
  for (int32_t j = 0; j < x.p.numvar; j++) {
    if (TVN_prslv_stopped(run, 1)) return false;
    if (!may_go(x, j)) continue;
    const candidate e = best_row(x, j);
    if (e.i < 0) continue;
    const double l = var_lower(x, j), u = var_upper(x, j);
    const prslv_implied b = TVN_prslv_impliedboundsonvarj(x, j);
    if ((l > -prslv_inf && b.lower < l - x.param.tolx) || (u < prslv_inf && b.upper > u + x.param.tolx)) continue;
    num++;
    good += e.score <= goodscore;
    best = std::min(best, e.score);
  }
  TVN_prslv_print(x, "Number of implied free variables: %d (%d)\n", num, good);
  TVN_prslv_print(x, "Best eliminator score           : %d\n", best);
  return num > 0 && best <= scorelimit;
}

prslv_code TVN_prslv_eliminator2(prslv_context& x) {
  const prslv_clock clock(x, task_elim);
  x.run.stats->numelimtries++;
  pq q;
  TVN_pq_make(*x.sys, x.p.numvar, scorelimit, q);
  for (int32_t j = x.p.numvar - 1; j >= 0; j--) {
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
    queue(x, q, j);
  }
  int64_t filled = 0;
  const int64_t room = std::max(x.param.elimfill, 0) * x.run.stats->nzbefore;
  while (TVN_pq_tomin(q)) {
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
    const int32_t j = q.current, old = TVN_pq_get(q, j);
    TVN_pq_remove(q, j);
    if (!may_go(x, j)) continue;
    const candidate e = best_row(x, j);
    if (e.i < 0 || e.score > scorelimit) continue;
    if (e.score > old) {
      TVN_pq_putp(q, j, e.score);
      continue;
    }
    if (!TVN_prslv_impliedfreevar(x, j)) continue;
    const int64_t fill = net_fill(x, e.i, j, x.tmp.rowmark, x.run);
    if (fill > std::min(allowed_fill(x), room - filled) || !pivot_is_stable(x, e, j, x.run)) continue;
    if (x.param.cliques && (fill > 0 || clique_fill(x, e.i, j, x.tmp.rowmark, x.run) > cliqueslack)) continue;
    if (!TVN_prslv_pivotroom(x, e.i, j)) {
      if (x.run.stop) return prslv_code::stopped;
      x.run.stats->numelimspace++;
      return prslv_code::nospace;
    }
    const double b = con_lower(x, e.i);
    TVN_prslv_beginpushstk(x, rt_elimination);
    const prslv_pivot pivot = TVN_prslv_pushpivot(x, e.i, j, e.a, b);
    TVN_prslv_endpushstk(x, rt_elimination, elimination_record{pivot});
    TVN_prslv_substitute(x, e.i, j, e.a, b);
    filled += std::max<int64_t>(fill, 0);
    for_row(x, e.i, [&](int32_t l, double) { queue(x, q, l); });
  }
  return prslv_code::ok;
}

void prslv_undoelimination(prslv_post& w) {
  const auto [r, entries] = TVN_prslv_poprecord<elimination_record>(w.x.stk);
  solution_view& s = w.s;
  const prslv_pivot_back v = prslv_popp(w, r.pivot, entries);
  if (v.aij == 0.0) TVN_sysenv_stopdbg(w.x.sys, "src/prslv/prselim", __LINE__, "aij==0.0");
  s.xx[v.j] = (v.b - v.rowrest) / v.aij;
  s.slx[v.j] = s.sux[v.j] = 0;
  s.skx[v.j] = w.rest();
  s.xc[v.i] = v.b;
  s.y[v.i] = v.redcost / v.aij;
  s.skc[v.i] = sk_fix;
  TVN_prslv_splitdual(v.cci + s.y[v.i], sk_unk, s.slc[v.i], s.suc[v.i]);
}

} // namespace tvn
