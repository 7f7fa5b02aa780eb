// Row activities and the bounds that they imply.
//
// A term a x_j with x_j in [l, u] adds a l to the least and a u to the largest activity for a > 0, crosswise for a < 0;
// an infinite one is counted instead. Sums are updated term by term; whoever is about to act on one recomputes it first
// (TVN_prslv_conactivity), since updates lose digits.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

void put_bounds(int32_t& key, double& bl, double& bu, double lo, double up) {
  key = key_of(lo, up);
  if (lo > -prslv_inf) bl = lo;
  if (up < prslv_inf) bu = up;
}

} // namespace

void TVN_prslv_addterm(prslv_activities& act, int32_t i, double a, double lo, double up, int32_t sign) {
  const double atlow = a > 0 ? lo : up, atupp = a > 0 ? up : lo;
  if (std::isinf(atlow))
    act.numlower[i] += sign;
  else
    act.lower[i] += sign * (a * atlow);
  if (std::isinf(atupp))
    act.numupper[i] += sign;
  else
    act.upper[i] += sign * (a * atupp);
}

void TVN_prslv_conactivity(const prslv_context& x, int32_t i, prslv_activities& act) {
  double least = 0, largest = 0;
  int32_t numlow = 0, numupp = 0;
  for_row(x, i, [&](int32_t j, double a) {
    const double lo = var_lower(x, j), up = var_upper(x, j), atlow = a > 0 ? lo : up, atupp = a > 0 ? up : lo;
    const bool inflow = std::isinf(atlow), infupp = std::isinf(atupp);
    numlow += inflow;
    numupp += infupp;
    least += inflow ? 0 : a * atlow;
    largest += infupp ? 0 : a * atupp;
  });
  act.lower[i] = least;
  act.upper[i] = largest;
  act.numlower[i] = numlow;
  act.numupper[i] = numupp;
}

void TVN_prslv_allactivities(const prslv_context& x, prslv_activities& act, prslv_run& run) {
  for (int32_t i = 0; i < x.p.numcon; i++) {
    if (!x.conlive[i]) continue;
    TVN_prslv_conactivity(x, i, act);
    if (TVN_prslv_stopped(run, x.connz[i])) return;
  }
}

void TVN_prslv_setvarbounds(prslv_problem& p, int32_t j, double lo, double up) {
  put_bounds(p.bkx[j], p.blx[j], p.bux[j], lo, up);
}

void TVN_prslv_putvarbounds(prslv_context& x, int32_t j, double lo, double up) {
  const double oldlo = var_lower(x, j), oldup = var_upper(x, j);
  TVN_prslv_setvarbounds(x.p, j, lo, up);
  make_due(x, j, x.due);
  for_col(x, j, [&](int32_t i, double a) {
    TVN_prslv_addterm(x.act, i, a, oldlo, oldup, -1);
    TVN_prslv_addterm(x.act, i, a, lo, up, 1);
    TVN_prslv_updatelist(x.due.rows, i);
  });
}

void TVN_prslv_putconbounds(prslv_problem& p, int32_t i, double lo, double up) {
  put_bounds(p.bkc[i], p.blc[i], p.buc[i], lo, up);
}

void TVN_prslv_killcon(prslv_context& x, int32_t i) {
  x.conlive[i] = 0;
  x.p.bkc[i] = bk_fr;
  x.run.stats->numconfree++;
  for_row(x, i, [&](int32_t j, double) {
    x.varnz[j]--;
    make_due(x, j, x.due);
  });
}

void TVN_prslv_killvar(prslv_context& x, int32_t j, double value) {
  const double lo = var_lower(x, j), up = var_upper(x, j);
  x.varlive[j] = 0;
  x.p.cfix += x.p.c[j] * value;
  if (!x.q.beg.empty()) {
    x.p.cfix += x.q.diag[j] * value * value / 2;
    for_quadratic(x, j, [&](int32_t k, double q) { x.p.c[k] += q * value; });
  }
  for_col(x, j, [&](int32_t i, double a) {
    TVN_prslv_addterm(x.act, i, a, lo, up, -1);
    const double shift = a * value;
    x.p.cfix += x.p.cc[i] * shift; // the row's cost prices what is left of the row
    if (con_lower(x, i) > -prslv_inf) x.p.blc[i] -= shift;
    if (con_upper(x, i) < prslv_inf) x.p.buc[i] -= shift;
    if (x.p.bkc[i] == bk_fx) x.p.buc[i] = x.p.blc[i];
    x.connz[i]--;
    TVN_prslv_updatelist(x.due.rows, i);
  });
  x.p.bkx[j] = bk_fx;
  x.p.blx[j] = x.p.bux[j] = value;
  x.run.stats->numvarfixed++;
}

void TVN_prslv_impliedvarbound(const prslv_context& x, double a, int32_t i, int32_t j, double& lower, double& upper) {
  const double bl = con_lower(x, i), bu = con_upper(x, i), l = var_lower(x, j), u = var_upper(x, j);
  lower = -prslv_inf;
  upper = prslv_inf;
  // The rest of the row at its largest and at its least.
  const double own_up = a > 0 ? u : l, own_low = a > 0 ? l : u;
  double restup = prslv_inf, restlow = -prslv_inf;
  if (x.act.numupper[i] == 0)
    restup = x.act.upper[i] - a * own_up;
  else if (x.act.numupper[i] == 1 && std::isinf(own_up))
    restup = x.act.upper[i];
  if (x.act.numlower[i] == 0)
    restlow = x.act.lower[i] - a * own_low;
  else if (x.act.numlower[i] == 1 && std::isinf(own_low))
    restlow = x.act.lower[i];
  if (bl > -prslv_inf && restup < prslv_inf) (a > 0 ? lower : upper) = (bl - restup) / a;
  if (bu < prslv_inf && restlow > -prslv_inf) (a > 0 ? upper : lower) = (bu - restlow) / a;
}

prslv_implied TVN_prslv_impliedboundsonvarj(const prslv_context& x, int32_t j) {
  prslv_implied best;
  for_col(x, j, [&](int32_t i, double a) {
    if (!x.conlin[i]) return;
    double lo, up;
    TVN_prslv_impliedvarbound(x, a, i, j, lo, up);
    if (lo > best.lower) {
      best.lower = lo;
      best.lowrow = i;
    }
    if (up < best.upper) {
      best.upper = up;
      best.upprow = i;
    }
  });
  return best;
}

bool TVN_prslv_rowimplies(prslv_context& x, int32_t i, int32_t j, bool lower, double own) {
  if (i < 0) return false;
  TVN_prslv_conactivity(x, i, x.act);
  TVN_prslv_stopped(x.run, x.connz[i]);
  double a = 0, lo, up;
  for_row(x, i, [&](int32_t l, double v) {
    if (l == j) a = v;
  });
  TVN_prslv_impliedvarbound(x, a, i, j, lo, up);
  return is_decent(x, i, a, x.rowmax) && (lower ? lo >= own : up <= own);
}

bool TVN_prslv_impliedfreevar(prslv_context& x, int32_t j) {
  const double l = var_lower(x, j), u = var_upper(x, j);
  if (l == -prslv_inf && u == prslv_inf) return true;
  const prslv_implied b = TVN_prslv_impliedboundsonvarj(x, j);
  if (l > -prslv_inf && !(b.lower >= l - x.param.tolx * std::max(1.0, std::fabs(l)))) return false;
  if (u < prslv_inf && !(b.upper <= u + x.param.tolx * std::max(1.0, std::fabs(u)))) return false;
  auto slack = [&](double own) { return leanshare * x.param.tolx * std::max(1.0, std::fabs(own)); };
  return (l == -prslv_inf || TVN_prslv_rowimplies(x, b.lowrow, j, true, l - slack(l))) &&
         (u == prslv_inf || TVN_prslv_rowimplies(x, b.upprow, j, false, u + slack(u)));
}

} // namespace tvn
