// Columns that are multiples of one another: a_k = t a_j.
//
// Tomlin and Welch 1986; Andersen and Andersen 1995 (domination). With c_k = t c_j the two act as one, x_j + t x_k, on
// the sum of their bounds. With another cost d_k = t d_j + g, g not 0: where one of them has no bound on the side to
// which trading one for the other would drive it, the other goes to its bound; when neither has one, the trade is a
// ray. Undo of a merge: the value is split so that at most one of the two is off its bounds; that one is basic if the
// merged column was; d_k = t d_j.
#include "prslv/pair.h"
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

constexpr double tolcost = 1e-14;

double times(double t, double b) { return std::isinf(b) ? (t > 0 ? b : -b) : t * b; }

} // namespace

pair_costs TVN_prslv_comparecosts(double ck, double tcj, double tols) noexcept {
  const double g = std::fabs(ck - tcj);
  if (g <= tolcost * (std::fabs(ck) + std::fabs(tcj))) return pair_costs::alike;
  return g > tols * (1 + std::fabs(ck)) ? pair_costs::unlike : pair_costs::unclear;
}

pair_ends TVN_prslv_mergepair(const column_pair& p) noexcept {
  return {p.lj + times(p.t, p.t > 0 ? p.lk : p.uk), p.uj + times(p.t, p.t > 0 ? p.uk : p.lk)};
}

pair_trade TVN_prslv_tradepair(const column_pair& p, double g) noexcept {
  const bool klow = g > 0, jupp = klow == (p.t > 0); // k is driven down, j to this side
  return {jupp ? p.uj : p.lj, klow ? p.lk : p.uk, jupp ? sk_upr : sk_low, klow ? sk_low : sk_upr};
}

namespace {

column_pair pair_of(const prslv_context& x, int32_t j, int32_t k, double t) {
  return {j, k, t, var_lower(x, j), var_upper(x, j), var_lower(x, k), var_upper(x, k)};
}

struct dupvar_record {
  static constexpr prslv_type types[] = {rt_dupvar};
  column_pair pair;
};

void TVN_prslv_dupvar(prslv_context& x, const column_pair& p) {
  TVN_prslv_beginpushstk(x, rt_dupvar);
  TVN_prslv_endpushstk(x, rt_dupvar, dupvar_record{p});
  TVN_prslv_killvar(x, p.k, 0.0);
  const pair_ends merged = TVN_prslv_mergepair(p);
  TVN_prslv_putvarbounds(x, p.j, merged.lo, merged.up);
}

// One of two columns of unlike cost goes to a bound; g = c_k - t c_j.
void TVN_prslv_fixdupvar(prslv_context& x, const column_pair& p, double g) {
  const pair_trade to = TVN_prslv_tradepair(p, g);
  if (std::isinf(to.bj) && std::isinf(to.bk)) {
    const bool down = to.keyk == sk_low;
    x.status = prs_dual_infeas;
    x.cert.col = p.k;
    x.cert.colval = down ? -1 : 1;
    x.cert.col2 = p.j;
    x.cert.col2val = down ? p.t : -p.t;
  } else if (std::isinf(to.bj)) {
    TVN_prslv_varfix(x, p.k, to.bk, to.keyk == sk_low ? rt_varfixlow : rt_varfixupr);
  } else if (std::isinf(to.bk)) {
    TVN_prslv_varfix(x, p.j, to.bj, to.keyj == sk_upr ? rt_varfixupr : rt_varfixlow);
  }
}

void try_pair(prslv_context& x, const column_pair& p) {
  const double ck = x.p.c[p.k], tcj = p.t * x.p.c[p.j];
  const pair_costs costs = TVN_prslv_comparecosts(ck, tcj, x.param.tols);
  if (costs == pair_costs::alike)
    TVN_prslv_dupvar(x, p);
  else if (!x.param.keepprimal && costs == pair_costs::unlike)
    TVN_prslv_fixdupvar(x, p, ck - tcj);
}

} // namespace

prslv_code TVN_prslv_checkdupvar(prslv_context& x) {
  const prslv_clock clock(x, task_dupvar);
  prslv_multiples found;
  TVN_prslv_findmultiples(x, false, found);
  if (x.run.stop) return prslv_code::stopped;
  buffer<int32_t> leader(*x.sys, x.p.numvar, -1); // of each group: its first column that is left
  for (int32_t k = 0; k < x.p.numvar && x.status == prs_undecided; k++) {
    if (TVN_prslv_stopped(x.run, 1)) return prslv_code::stopped;
    if (!x.varlive[k] || x.varnz[k] == 0 || !may_substitute(x, k)) continue;
    int32_t& j = leader[found.first[k]];
    if (j >= 0) try_pair(x, pair_of(x, j, k, found.scale[k] / found.scale[j]));
    if (j < 0 || !x.varlive[j]) j = k;
  }
  return prslv_code::ok;
}

namespace {

// A column that is free to stay off its bounds rests where it happens to stand on one.
int32_t standing(int32_t key, double x, double lo, double up) {
  if (key != sk_supbas) return key;
  return x == lo ? sk_low : x == up ? sk_upr : sk_supbas;
}

// Merged column off its bounds: one of the two at a bound, the other takes the rest.
void split_between(const column_pair& p, solution_view& s) {
  const double v = s.xx[p.j];
  const int32_t key = s.skx[p.j];
  double best = prslv_inf;
  bool none = true; // a value that is not a number leaves proper keys too
  auto offer = [&](double xj, double xk, bool jrests, int32_t restkey) {
    const double viol = std::max({p.lj - xj, xj - p.uj, p.lk - xk, xk - p.uk, 0.0});
    if (!none && !(viol < best)) return;
    none = false;
    best = viol;
    s.xx[p.j] = xj;
    s.xx[p.k] = xk;
    s.skx[p.j] = jrests ? restkey : standing(key, xj, p.lj, p.uj);
    s.skx[p.k] = jrests ? standing(key, xk, p.lk, p.uk) : restkey;
  };
  auto offerk = [&](double xk, int32_t restkey) { offer(v - p.t * xk, xk, false, restkey); };
  auto offerj = [&](double xj, int32_t restkey) { offer(xj, (v - xj) / p.t, true, restkey); };
  if (!std::isinf(p.lk)) offerk(p.lk, sk_low);
  if (!std::isinf(p.uk)) offerk(p.uk, sk_upr);
  if (!std::isinf(p.lj)) offerj(p.lj, sk_low);
  if (!std::isinf(p.uj)) offerj(p.uj, sk_upr);
  if (none) offerk(0.0, sk_supbas);
}

} // namespace

void TVN_prslv_splitpair(const column_pair& p, bool bykey, solution_view& s) {
  const double d = s.slx[p.j] - s.sux[p.j];
  int32_t& key = s.skx[p.j];
  if (key == sk_fix) key = d >= 0 ? sk_low : sk_upr;
  if (bykey && (key == sk_low || key == sk_upr)) {
    const bool low = key == sk_low, klow = low == (p.t > 0);
    s.xx[p.j] = low ? p.lj : p.uj;
    s.xx[p.k] = klow ? p.lk : p.uk;
    s.skx[p.k] = klow ? sk_low : sk_upr;
  } else {
    split_between(p, s);
  }
  TVN_prslv_splitdual(p.t * d, sk_unk, s.slx[p.k], s.sux[p.k]);
}

void prslv_undodupvar(prslv_post& w) {
  auto [p] = TVN_prslv_poprecord<dupvar_record>(w.x.stk);
  for (double* b : {&p.lj, &p.uj, &p.lk, &p.uk}) *b = w.bound(*b);
  TVN_prslv_splitpair(p, w.walk == prslv_walk::basis, w.s);
}

} // namespace tvn
