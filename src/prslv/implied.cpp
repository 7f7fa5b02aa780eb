// Rows that are redundant by bounds which other rows imply.
//
// Gondzio 1997; Achterberg and others 2020. A first pass takes for each column the tightest bounds that single rows
// imply; a second one forms each row's activity on them. Implied bounds are used, never stored: stored ones would make
// degenerate vertices and lose duals. A row that goes leans on other rows, so those are held for this pass, and no
// bound is used by the row that implies it. Two passes over the entries.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

// Tightest implied bounds per column, with the row of each; -1 for the stored bound.
void collect(const prslv_context& x, prslv_activities& act, prslv_boundset& b, prslv_run& run) {
  for (int32_t j = 0; j < x.p.numvar; j++) {
    b.lower[j] = var_lower(x, j);
    b.upper[j] = var_upper(x, j);
    b.lowrow[j] = b.upprow[j] = -1;
  }
  for (int32_t i = 0; i < x.p.numcon; i++) {
    if (!x.conlive[i] || !x.conlin[i] || (x.act.numlower[i] > 1 && x.act.numupper[i] > 1)) continue;
    TVN_prslv_conactivity(x, i, act);
    for_row(x, i, [&](int32_t j, double a) {
      double lo, up;
      TVN_prslv_impliedvarbound(x, a, i, j, lo, up);
      if (lo > b.lower[j] && std::fabs(lo) < bound_infinity) {
        b.lower[j] = lo;
        b.lowrow[j] = i;
      }
      if (up < b.upper[j] && std::fabs(up) < bound_infinity) {
        b.upper[j] = up;
        b.upprow[j] = i;
      }
    });
    if (TVN_prslv_stopped(run, 2 * x.connz[i])) return;
  }
}

struct side_sum {
  double lo = 0, up = 0, size = 0;
};

side_sum activity_on(const prslv_context& x, const prslv_boundset& b, int32_t i) {
  side_sum s;
  for_row(x, i, [&](int32_t j, double a) {
    const double lo = b.lowrow[j] == i ? var_lower(x, j) : b.lower[j],
                 up = b.upprow[j] == i ? var_upper(x, j) : b.upper[j];
    const double atlow = a > 0 ? a * lo : a * up, atupp = a > 0 ? a * up : a * lo;
    s.lo += atlow;
    s.up += atupp;
    s.size += (std::isinf(atlow) ? 0 : std::fabs(atlow)) + (std::isinf(atupp) ? 0 : std::fabs(atupp));
  });
  return s;
}

// Holds the rows whose bounds row i used on the side in question.
void hold_sources(const prslv_context& x, prslv_boundset& b, int32_t i, bool lower, bool upper) {
  for_row(x, i, [&](int32_t j, double a) {
    const bool uselow = (lower && a > 0) || (upper && a < 0), useupp = (lower && a < 0) || (upper && a > 0);
    if (uselow && b.lowrow[j] >= 0 && b.lowrow[j] != i) b.held[b.lowrow[j]] = 1;
    if (useupp && b.upprow[j] >= 0 && b.upprow[j] != i) b.held[b.upprow[j]] = 1;
  });
}

void try_row(prslv_context& x, prslv_boundset& b, int32_t i) {
  const double bl = con_lower(x, i), bu = con_upper(x, i);
  if (bl == bu) return;
  const side_sum s = activity_on(x, b, i);
  const double noise = noiseshare * s.size;
  const bool haslow = bl > -prslv_inf, hasupp = bu < prslv_inf;
  const bool redlow = haslow && s.lo >= bl + noise, redupp = hasupp && s.up <= bu - noise;
  if (!redlow && !redupp) return;
  hold_sources(x, b, i, redlow, redupp);
  if ((redlow || !haslow) && (redupp || !hasupp))
    TVN_prslv_conrelax(x, i);
  else
    TVN_prslv_dropside(x, i, redupp);
}

} // namespace

prslv_code TVN_prslv_impliedrows(prslv_context& x) {
  prslv_boundset& b = x.implied;
  collect(x, x.act, b, x.run);
  std::fill(b.held.begin(), b.held.end(), 0);
  for (int32_t i = 0; i < x.p.numcon; i++) {
    if (x.run.stop) return prslv_code::stopped;
    if (!x.conlive[i] || !x.conlin[i] || b.held[i]) continue;
    try_row(x, b, i);
    TVN_prslv_stopped(x.run, 2 * x.connz[i]);
  }
  return prslv_code::ok;
}

} // namespace tvn
