// Pairs of columns x+ - x-, a_k = -a_j, as one.
//
// A step is taken only where it keeps every solution:
// - c_k = -c_j: what counts is x = x_j - x_k, a column of its own with bounds [l_j - u_k, u_j - l_k]; any x between
//   them can be dealt out again. Two columns with lower bound 0 become a free one.
// - c_k + c_j = g, not 0, and one of the two without a bound on the side to which trade drives it: the other is on its
//   bound in every optimum (domination, Andersen and Andersen 1995), and rests there.
// An absolute value, g > 0 with two lower bounds, is left: its cost has a kink, which no single column has. The simplex
// methods lose nothing by it, since two opposite columns are never basic together.
// The way back is that of duplicate columns of presolve: at most one of a merged pair stands off its bounds and takes
// the merged key, so the number of basics is right; y stays, d_k = -d_j.
// Nothing is copied but the bounds; a column that has gone is fixed, and the working problem leaves it out.
// Cost: a hash of the columns, O(nonzeros), and at most `lookback` tries a column. On request (aggressive) factors
// other than -1 count too.
#include "simplex/reformulate.h"

#include "misc/spmat.h"

#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr double tolequal = 1e-14; // relative, of entries that count as equal
constexpr double tolunit = 1e-10;  // of a factor that counts as -1
constexpr int32_t lookback = 8;    // multiples of a column that are tried as its partner
// Left free, a problem is changed when the steps are at least this share of the columns. Public problems with a tenth
// of their columns split into pairs take 24 percent fewer iterations of the primal simplex and 6 of the dual one for
// it, with six tenths 53 and 10; the few pairs that such problems bring along by themselves gain nothing.
constexpr double worthshare = 0.05;
constexpr double inf = std::numeric_limits<double>::infinity();

// Presolve does the same to what it meets. Left free, only a run that does without it by the user's choice, and has no
// start that a change of the problem could spoil, is worth a search.
bool reformulation_wanted(const simplex_param& param) {
  switch (param.reformulation) {
  case reform_on:
  case reform_aggressive: return true;
  case reform_free: return param.presolve == 0 && param.hotstart == start_none;
  default: return false;
  }
}

// The lowest multiple of each column and the factor to it.
void find_multiples(sysenv& sys, const problem_view& lp, buffer<int32_t>& first, buffer<double>& factor) {
  int64_t end = 0;
  for (int32_t j = 0; j < lp.numvar; j++) end = std::max(end, lp.ptre[j]);
  spmat a; // looks only
  TVN_spmat_emake(sys, lp.numvar, lp.numcon, end, const_cast<int64_t*>(lp.ptrb), const_cast<int64_t*>(lp.ptre),
                  const_cast<int32_t*>(lp.sub), const_cast<double*>(lp.val), a);
  TVN_spmat_dupvec(a, tolequal, first.data(), factor.data());
}

struct pair_search {
  const problem_view& lp;
  const simplex_param& param;
  solution_view& sol;
  reformulation& r;

  double lower(int32_t j) const { return has_lower(r.bkx[j]) && r.blx[j] > -bound_infinity ? r.blx[j] : -inf; }
  double upper(int32_t j) const { return has_upper(r.bkx[j]) && r.bux[j] < bound_infinity ? r.bux[j] : inf; }
  bool is_fixed(int32_t j) const { return lower(j) == upper(j); }
  void put_bounds(int32_t j, double lo, double up);
  int32_t merged_key(const column_pair& p, double lo, double up) const;
  void merge(const column_pair& p);
  void rest(const column_pair& p, double g);
  void try_pair(int32_t j, int32_t k, double t);
  void try_all(const buffer<int32_t>& first, const buffer<double>& factor, buffer<int32_t>& last,
               buffer<int32_t>& before);
};

void pair_search::put_bounds(int32_t j, double lo, double up) {
  const bool haslo = lo > -bound_infinity, hasup = up < bound_infinity;
  r.blx[j] = haslo ? lo : -bound_infinity;
  r.bux[j] = hasup ? up : bound_infinity;
  r.bkx[j] = !haslo ? (hasup ? bk_up : bk_fr) : !hasup ? bk_lo : lo == up ? bk_fx : bk_ra;
}

// The start's key of the merged column; sk_unk when it has none that says the same.
int32_t pair_search::merged_key(const column_pair& p, double lo, double up) const {
  const int32_t kj = sol.skx[p.j], kk = sol.skx[p.k];
  const auto end = [](int32_t key, double l, double u) { return key == sk_low ? l : key == sk_upr ? u : inf; };
  const double ej = end(kj, p.lj, p.uj), ek = end(kk, p.lk, p.uk);
  if (kj == sk_bas || kk == sk_bas) return std::isfinite(kj == sk_bas ? ek : ej) ? sk_bas : sk_unk;
  if (std::isinf(ej) || std::isinf(ek)) return sk_unk;
  if ((kj == sk_low) == ((kk == sk_low) == (p.t > 0))) return kj;
  return std::isinf(lo) && std::isinf(up) && ej + p.t * ek == 0 ? sk_supbas : sk_unk;
}

void pair_search::merge(const column_pair& p) {
  const auto [lo, up] = TVN_prslv_mergepair(p);
  if (param.hotstart != start_none) {
    const int32_t key = merged_key(p, lo, up);
    if (key == sk_unk) return;
    sol.skx[p.j] = key;
    sol.skx[p.k] = sk_fix;
    sol.xx[p.j] += p.t * sol.xx[p.k];
    sol.xx[p.k] = 0;
  }
  put_bounds(p.j, lo, up);
  put_bounds(p.k, 0, 0);
  r.stack.push_back({p, sk_unk});
  r.nummerged++;
}

// One of the two on its bound, which takes it out of the run.
void pair_search::rest(const column_pair& p, double g) {
  const pair_trade to = TVN_prslv_tradepair(p, g);
  if (std::isinf(to.bj) == std::isinf(to.bk)) return; // a ray is for the optimizer to find
  reformulation_step step{p, std::isinf(to.bj) ? to.keyk : to.keyj};
  if (std::isinf(to.bk)) step.pair.k = p.j;
  const int32_t gone = step.pair.k;
  const double bound = std::isinf(to.bj) ? to.bk : to.bj;
  if (param.hotstart != start_none && sol.skx[gone] != step.restkey) return;
  if (param.hotstart != start_none) sol.skx[gone] = sk_fix;
  put_bounds(gone, bound, bound);
  r.stack.push_back(step);
  r.numrested++;
}

void pair_search::try_pair(int32_t j, int32_t k, double t) {
  if (is_fixed(j) || is_fixed(k)) return;
  if (param.reformulation != reform_aggressive && !(std::fabs(t + 1) <= tolunit)) return;
  const column_pair p{j, k, t, lower(j), upper(j), lower(k), upper(k)};
  switch (TVN_prslv_comparecosts(lp.c[k], t * lp.c[j], param.tols)) {
  case pair_costs::alike: return merge(p);
  case pair_costs::unlike: return rest(p, lp.c[k] - t * lp.c[j]);
  case pair_costs::unclear: return;
  }
}

// Each column with the multiples before it, the nearest first. last, by first: the last member of a group; before: the
// member before. What has gone is fixed and no partner any more.
void pair_search::try_all(const buffer<int32_t>& first, const buffer<double>& factor, buffer<int32_t>& last,
                          buffer<int32_t>& before) {
  for (int32_t k = 0; k < lp.numvar; k++) {
    int32_t j = std::exchange(last[first[k]], k);
    before[k] = j;
    if (lp.ptrb[k] == lp.ptre[k]) continue;
    for (int32_t tries = 0; j >= 0 && tries < lookback && !is_fixed(k); tries++, j = before[j])
      try_pair(j, k, factor[k] / factor[j]);
  }
}

column_pair direction_of(column_pair p) {
  for (double* b : {&p.lj, &p.uj, &p.lk, &p.uk})
    if (!std::isinf(*b)) *b = 0;
  return p;
}

} // namespace

bool TVN_simplex_reformulate(sysenv& sys, const problem_view& lp, const simplex_param& param, solution_view& sol,
                             reformulation& r) {
  if (!reformulation_wanted(param) || lp.numvar < 2 || lp.numcon == 0) return false;
  buffer<int32_t> first(sys, lp.numvar), last(sys, lp.numvar, -1), before(sys, lp.numvar);
  buffer<double> factor(sys, lp.numvar);
  find_multiples(sys, lp, first, factor);
  bool any = false;
  for (int32_t j = 0; j < lp.numvar && !any; j++) any = first[j] != j;
  if (!any) return false;
  r.bkx.reset(sys, lp.numvar);
  r.blx.reset(sys, lp.numvar);
  r.bux.reset(sys, lp.numvar);
  std::copy_n(lp.bkx, lp.numvar, r.bkx.data());
  std::copy_n(lp.blx, lp.numvar, r.blx.data());
  std::copy_n(lp.bux, lp.numvar, r.bux.data());
  r.stack.attach(sys);
  pair_search{lp, param, sol, r}.try_all(first, factor, last, before);
  r.lp = lp;
  r.lp.bkx = r.bkx.data();
  r.lp.blx = r.blx.data();
  r.lp.bux = r.bux.data();
  const double least = param.reformulation == reform_free ? worthshare * lp.numvar : 1.0;
  return static_cast<double>(r.stack.size()) >= least;
}

void TVN_simplex_reformulatepostsolve(const reformulation& r, int32_t solsta, solution_view& sol) {
  const bool ray = solsta == sol_dual_infeas_cer;
  for (int64_t at = r.stack.size() - 1; at >= 0; at--) {
    const reformulation_step& step = r.stack[at];
    if (step.restkey != sk_unk)
      sol.skx[step.pair.k] = step.restkey;
    else
      TVN_prslv_splitpair(ray ? direction_of(step.pair) : step.pair, !ray, sol);
  }
}

} // namespace tvn
