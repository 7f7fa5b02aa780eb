// Duplicate columns as one: columns equal up to a factor, costs included, run as one column with summed bounds.
//
// With a_k = f_k a_r for the members k of the group of r, z = sum f_k x_k takes the place of x_r: its bounds are the
// sums of theirs, and the other members are fixed at zero as long as the run lasts. Afterwards z is dealt out: all
// members rest at the end of z, or fill up one after the other, so that at most one stands between its bounds; that one
// is basic. Every dual of the group follows from that of r by the factor, so an optimum stays one.
// Cost: a sort of the columns at the start, O(members) at the end.
#include "misc/spmat.h"
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double tolequal = 1e-14; // relative, of entries that count as equal
constexpr double worthshare = 0.3; // of the columns are duplicates: used when it is left to the optimizer

struct ends {
  double lo, up;
};

// Bounds of j in units of z.
ends in_group(const simplex_work& w, int32_t j, double f) {
  const double lo = w.lower[j], up = w.upper[j];
  const auto times = [f](double b, bool upper) {
    return std::fabs(b) < bound_infinity ? f * b : upper ? bound_infinity : -bound_infinity;
  };
  return f > 0 ? ends{times(lo, false), times(up, true)} : ends{times(up, false), times(lo, true)};
}

double sum_of(double a, double b) {
  return std::fabs(a) >= bound_infinity ? a : std::fabs(b) >= bound_infinity ? b : a + b;
}

void set_bounds(primal_state& s, int32_t j, ends e) {
  s.work.lower[j] = s.lo[j] = e.lo;
  s.work.upper[j] = s.up[j] = e.up;
}

// Columns with their costs as a last row.
void find_duplicates(const primal_state& s, buffer<int32_t>& first, buffer<double>& factor) {
  const simplex_work& w = s.work;
  spmat a;
  TVN_spmat_make(s.sys, w.n, w.m + 1, a);
  TVN_spmat_ialloc(a, w.colbeg[w.n] + w.n);
  TVN_spmat_init(a, w.n, w.m + 1);
  int64_t at = 0;
  for (int32_t k = 0; k < w.n; k++) {
    a.ptrb[k] = at;
    for (int64_t p = w.colbeg[k]; p < w.colbeg[k + 1]; p++) {
      a.sub[at] = w.colsub[p];
      a.val[at++] = w.colval[p];
    }
    if (w.cost[w.m + k] != 0) {
      a.sub[at] = w.m;
      a.val[at++] = w.cost[w.m + k];
    }
    a.ptre[k] = at;
  }
  a.ffree = at;
  TVN_spmat_dupvec(a, tolequal, first.data(), factor.data());
  TVN_spmat_delete(a);
}

void rest(primal_state& s, int32_t j, bool upper) {
  s.fac.pos[j] = -1;
  TVN_simplex_restnonbasic(s.base, j, upper ? sk_upr : sk_low);
}

} // namespace

void psimplex_groupdupvec(primal_state& s, dupvec_groups& g) {
  const simplex_work& w = s.work;
  if (s.param.dupvec == 0 || w.n == 0 || !TVN_simplex_isfinite(w)) return;
  g.first.reset(s.sys, w.n);
  g.factor.reset(s.sys, w.n, 1.0);
  find_duplicates(s, g.first, g.factor);
  for (int32_t k = 0; k < w.n; k++) {
    if (g.first[k] != k && (s.fac.pos[w.m + k] >= 0 || w.is_fixed(w.m + k) || w.is_fixed(w.m + g.first[k])))
      g.first[k] = k; // a basic member stays a column of its own
    g.num += g.first[k] != k;
  }
  if (g.num == 0 || (s.param.dupvec == 1 && static_cast<double>(g.num) < worthshare * w.n)) {
    g.num = 0;
    return;
  }
  g.lower.reset(s.sys, w.n);
  g.upper.reset(s.sys, w.n);
  std::copy(w.lower.begin() + w.m, w.lower.end(), g.lower.begin());
  std::copy(w.upper.begin() + w.m, w.upper.end(), g.upper.begin());
  for (int32_t k = 0; k < w.n; k++) {
    const int32_t r = g.first[k];
    if (r == k) continue;
    const ends sum{w.lower[w.m + r], w.upper[w.m + r]}, e = in_group(w, w.m + k, g.factor[k]);
    set_bounds(s, w.m + r, {sum_of(sum.lo, e.lo), sum_of(sum.up, e.up)});
    set_bounds(s, w.m + k, {0, 0});
    rest(s, w.m + k, false);
    if (s.fac.pos[w.m + r] < 0) rest(s, w.m + r, s.key[w.m + r] == sk_upr);
  }
}

namespace {

// Members of one group, r among them.
struct group_share {
  primal_state& s;
  const dupvec_groups& g;
  array_view<const int32_t> members;

  ends bounds(int32_t k) const { return in_group(s.work, s.work.m + k, g.factor[k]); }
  void rest_all(bool upper) const;
  void give_ray(double z) const;
  int32_t fill(double z) const;
};

void group_share::rest_all(bool upper) const {
  for (const int32_t k : members) rest(s, s.work.m + k, upper == (g.factor[k] > 0));
}

// The whole of it to a member without a bound in its way.
void group_share::give_ray(double z) const {
  for (const int32_t k : members) s.x[s.work.m + k] = 0;
  for (const int32_t k : members) {
    const ends e = bounds(k);
    if ((z > 0 ? e.up : -e.lo) < bound_infinity) continue;
    s.x[s.work.m + k] = z / g.factor[k];
    return;
  }
}

// Deals z out; returns the member that takes what is left and may stand between its bounds.
int32_t group_share::fill(double z) const {
  double left = z;
  for (const int32_t k : members) {
    const int32_t j = s.work.m + k;
    const ends e = bounds(k);
    rest(s, j, (e.lo <= -bound_infinity && e.up < bound_infinity) == (g.factor[k] > 0));
    left -= g.factor[k] * s.x[j];
  }
  int32_t last = members[0];
  for (const int32_t k : members) {
    const int32_t j = s.work.m + k;
    const ends e = bounds(k);
    const double at = g.factor[k] * s.x[j], room = left > 0 ? e.up - at : at - e.lo;
    if (left == 0 || room <= 0) continue;
    last = k;
    if (room >= std::fabs(left)) break;
    rest(s, j, (left > 0) == (g.factor[k] > 0));
    left -= left > 0 ? room : -room;
  }
  s.x[s.work.m + last] += left / g.factor[last];
  return last;
}

void settle_group(const group_share& share, bool ray) {
  primal_state& s = share.s;
  const int32_t r = s.work.m + share.members[0], position = s.fac.pos[r];
  const uint8_t key = s.key[r];
  const double z = s.x[r];
  if (ray) return share.give_ray(z);
  if (position < 0 && key != sk_supbas) return share.rest_all(key == sk_upr);
  const int32_t taker = s.work.m + share.fill(z);
  if (position < 0) { // a free column off the basis: what the taker holds need not be an end
    const double x = s.x[taker];
    s.key[taker] = x == s.work.lower[taker] ? sk_low : x == s.work.upper[taker] ? sk_upr : sk_supbas;
    return;
  }
  s.key[taker] = sk_bas;
  s.fac.head[position] = taker;
  s.fac.pos[taker] = position;
}

} // namespace

void psimplex_dupvecfeasible(primal_state& s, const dupvec_groups& g) {
  const simplex_work& w = s.work;
  for (int32_t k = 0; k < w.n; k++) set_bounds(s, w.m + k, {g.lower[k], g.upper[k]});
  // Members by group: counted, then placed behind their first.
  buffer<int32_t> beg(s.sys, w.n + 1, 0), list(s.sys, w.n);
  for (int32_t k = 0; k < w.n; k++) beg[g.first[k] + 1]++;
  for (int32_t k = 0; k < w.n; k++) beg[k + 1] += beg[k];
  buffer<int32_t> next(s.sys, w.n);
  std::copy_n(beg.begin(), w.n, next.begin());
  for (int32_t k = 0; k < w.n; k++) list[next[g.first[k]]++] = k;
  const bool certificate = s.info.solsta == sol_prim_infeas_cer, ray = s.info.solsta == sol_dual_infeas_cer;
  for (int32_t k = 0; k < w.n; k++) {
    const int32_t num = beg[k + 1] - beg[k];
    if (num < 2) continue;
    if (certificate) {
      for (int32_t q = 1; q < num; q++) rest(s, w.m + list[beg[k] + q], false);
      continue;
    }
    settle_group({s, g, {list.data() + beg[k], num}}, ray);
  }
  if (!certificate && !ray && TVN_simplex_factor(s.fac) != factor_result::full) s.fac.usable = false;
}

} // namespace tvn
