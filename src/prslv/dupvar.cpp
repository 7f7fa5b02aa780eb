// Columns that are multiples of one another: a_k = t a_j.
//
// Tomlin and Welch 1986; Andersen and Andersen 1995 (domination). With c_k = t c_j the two act as one, x_j + t x_k, on
// the sum of their bounds. With another cost d_k = t d_j + g, g not 0: where one of them has no bound on the side to
// which trading one for the other would drive it, the other goes to its bound; when neither has one, the trade is a
// ray. Undo of a merge: the value is split so that at most one of the two is off its bounds; that one is basic if the
// merged column was; d_k = t d_j.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

constexpr double tolcost = 1e-14;

double times(double t, double b) { return std::isinf(b) ? (t > 0 ? b : -b) : t * b; }

// Record: both columns, both keys; t, bounds of both.
void TVN_prslv_dupvar(prslv_context& x, int32_t j, int32_t k, double t) {
  const double lj = var_lower(x, j), uj = var_upper(x, j), lk = var_lower(x, k), uk = var_upper(x, k);
  TVN_prslv_beginpushstk(x, rt_dupvar);
  push_int(x, j);
  push_int(x, k);
  push_int(x, x.p.bkx[j]);
  push_int(x, x.p.bkx[k]);
  push_real(x, t);
  push_real(x, lj);
  push_real(x, uj);
  push_real(x, lk);
  push_real(x, uk);
  TVN_prslv_endpushstk(x, rt_dupvar);
  TVN_prslv_killvar(x, k, 0.0);
  TVN_prslv_putvarbounds(x, j, lj + times(t, t > 0 ? lk : uk), uj + times(t, t > 0 ? uk : lk));
}

// One of two columns of unlike cost goes to a bound; g = c_k - t c_j.
void TVN_prslv_fixdupvar(prslv_context& x, int32_t j, int32_t k, double t, double g) {
  const bool klow = g > 0, jupp = klow == (t > 0); // k is driven down, j to this side
  const double bk = klow ? var_lower(x, k) : var_upper(x, k), bj = jupp ? var_upper(x, j) : var_lower(x, j);
  if (std::isinf(bj) && std::isinf(bk)) {
    x.status = prs_dual_infeas;
    x.certcol = k;
    x.certcolval = klow ? -1 : 1;
    x.certcol2 = j;
    x.certcol2val = klow ? t : -t;
  } else if (std::isinf(bj)) {
    TVN_prslv_varfix(x, k, bk, klow ? rt_varfixlow : rt_varfixupr);
  } else if (std::isinf(bk)) {
    TVN_prslv_varfix(x, j, bj, jupp ? rt_varfixupr : rt_varfixlow);
  }
}

} // namespace

prslv_code TVN_prslv_checkdupvar(prslv_context& x) {
  const prslv_clock clock(x, task_dupvar);
  prslv_multiples found;
  TVN_prslv_findmultiples(x, false, found);
  for (int32_t k = 0; k < x.p.numvar && x.status == prs_undecided; k++) {
    const int32_t j = found.first[k];
    if (TVN_prslv_stopped(x, 1)) return prslv_code::stopped;
    if (j == k || !x.varlive[k] || !x.varlive[j] || !x.varlin[k] || !x.varlin[j] || x.varnz[k] == 0) continue;
    if (x.p.varint && (x.p.varint[j] || x.p.varint[k])) continue;
    const double t = found.scale[k], ck = x.p.c[k], cj = x.p.c[j], g = ck - t * cj;
    if (std::fabs(g) <= tolcost * (std::fabs(ck) + std::fabs(t * cj)))
      TVN_prslv_dupvar(x, j, k, t);
    else if (!x.param.keepprimal && std::fabs(g) > x.param.tols * (1 + std::fabs(ck)))
      TVN_prslv_fixdupvar(x, j, k, t, g);
  }
  return prslv_code::ok;
}

namespace {

struct column_pair {
  int32_t j, k;
  double t, lj, uj, lk, uk;
};

// Merged column off its bounds: one of the two at a bound, the other takes the rest.
void split_between(prslv_post& w, const column_pair& p, double v, int32_t key) {
  lp_solution& s = w.s;
  double best = prslv_inf;
  auto offer = [&](double xj, double xk, bool jrests, int32_t restkey) {
    const double viol = std::max({p.lj - xj, xj - p.uj, p.lk - xk, xk - p.uk, 0.0});
    if (!(viol < best)) return;
    best = viol;
    s.xx[p.j] = xj;
    s.xx[p.k] = xk;
    s.skx[p.j] = jrests ? restkey : key;
    s.skx[p.k] = jrests ? key : restkey;
  };
  auto offerk = [&](double xk, int32_t restkey) { offer(v - p.t * xk, xk, false, restkey); };
  auto offerj = [&](double xj, int32_t restkey) { offer(xj, (v - xj) / p.t, true, restkey); };
  if (!std::isinf(p.lk)) offerk(p.lk, sk_low);
  if (!std::isinf(p.uk)) offerk(p.uk, sk_upr);
  if (!std::isinf(p.lj)) offerj(p.lj, sk_low);
  if (!std::isinf(p.uj)) offerj(p.uj, sk_upr);
  if (std::isinf(p.lk) && std::isinf(p.uk) && std::isinf(p.lj) && std::isinf(p.uj)) offerk(0.0, sk_supbas);
}

} // namespace

void prslv_undodupvar(prslv_post& w) {
  prslv_reader r(w.x);
  lp_solution& s = w.s;
  column_pair p{};
  p.j = r.i();
  p.k = r.i();
  p.t = r.r();
  p.lj = w.bound(r.r());
  p.uj = w.bound(r.r());
  p.lk = w.bound(r.r());
  p.uk = w.bound(r.r());
  const double v = s.xx[p.j], d = s.slx[p.j] - s.sux[p.j];
  int32_t key = s.skx[p.j];
  if (key == sk_fix) key = d >= 0 ? sk_low : sk_upr;
  if (!w.certificate() && (key == sk_low || key == sk_upr)) {
    const bool low = key == sk_low, klow = low == (p.t > 0);
    s.xx[p.j] = low ? p.lj : p.uj;
    s.xx[p.k] = klow ? p.lk : p.uk;
    s.skx[p.j] = key;
    s.skx[p.k] = klow ? sk_low : sk_upr;
  } else {
    split_between(w, p, v, key);
  }
  TVN_prslv_splitdual(p.t * d, sk_unk, s.slx[p.k], s.sux[p.k]);
}

} // namespace tvn
