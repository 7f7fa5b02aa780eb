// Pricing of the dual simplex: the lists of infeasible positions, weights, and the choice of the leaving row.
//
// Each position that becomes infeasible is put on an unordered list; a position that is feasible again leaves it when
// the list is next read. The choice maximises squared infeasibility over weight (Forrest and Goldfarb 1992). A reading
// of the list also gathers the positions whose score is at least half the best one. Until all of those have fallen
// below that cutoff only they and the positions that rise above it meanwhile can be best, so a choice costs the length
// of the short list (Hall and McKinnon 2005 keep such a list for hyper-sparse problems).
#include "simplex/dual/dstate.h"

namespace tvn {

namespace {

constexpr double topshare = 0.5; // of the best score: cutoff of the short list
// Rows that a scan of partial pricing lists, by the rows there are.
struct scan_target {
  int32_t below, num;
};
constexpr scan_target targets[] = {{10000, 15}, {30000, 20}, {50000, 25}, {INT32_MAX, 35}};
constexpr double mostweight = 1e20, unknownweight = 2; // kept weights beyond the former are not believed

struct row_choice {
  int32_t k = -1;
  double score = 0;
};

// The score is infeasibility / weight; the comparison by products saves the division.
inline void improve(row_choice& best, int32_t k, const dual_basic& b) {
  if (b.infeas > best.score * b.weight) best = {k, b.infeas / b.weight};
}

row_choice read_top(dual_pricing& price, buffer<dual_basic>& basic) {
  row_choice best;
  int32_t kept = 0;
  for (int32_t p = 0; p < price.numtop; p++) {
    const int32_t k = price.top[p];
    dual_basic& b = basic[k];
    if (b.infeas == 0 || b.infeas < price.cutoff * b.weight) {
      b.listed &= ~on_top;
      continue;
    }
    price.top[kept++] = k;
    improve(best, k, b);
  }
  price.numtop = kept;
  return best;
}

row_choice read_list(dual_pricing& price, buffer<dual_basic>& basic) {
  row_choice best;
  int32_t kept = 0;
  for (int32_t p = 0; p < price.numlist; p++) {
    const int32_t k = price.list[p];
    dual_basic& b = basic[k];
    if (b.infeas == 0) {
      b.listed &= ~on_list;
      continue;
    }
    price.list[kept++] = k;
    improve(best, k, b);
  }
  price.numlist = kept;
  return best;
}

// Partial pricing: a short list of what a circular scan meets, largest infeasibility first; a new scan when it is used
// up, or at random.
int32_t select_partial(dual_pricing& price, buffer<dual_basic>& basic, int32_t& random) {
  constexpr double emptyagain = 0.995; // a random draw above this empties the list
  const int32_t m = static_cast<int32_t>(basic.size());
  const scan_target* t = targets;
  while (m >= t->below) t++;
  const int32_t target = t->num;
  if (TVN_simplex_random(random) > emptyagain) price.numtop = 0;
  price.cutoff = 0; // what stays infeasible stays on the list
  row_choice best = read_top(price, basic);
  price.cutoff = HUGE_VAL;
  if (best.k >= 0) return best.k;
  int32_t k = price.scanstart < m ? price.scanstart : 0;
  for (int32_t scanned = 0; scanned < m && price.numtop < target; scanned++, k = k + 1 == m ? 0 : k + 1) {
    if (basic[k].infeas == 0) continue;
    price.top[price.numtop++] = k;
    improve(best, k, basic[k]);
    if (scanned > m / 4 && price.numtop >= target / 2) break;
  }
  price.scanstart = k;
  return best.k;
}

} // namespace

void dsimplex_rebuildlist(dual_pricing& price, buffer<dual_basic>& basic, double tolfeas) noexcept {
  price.numlist = price.numtop = 0;
  price.cutoff = HUGE_VAL;
  for (int32_t k = 0; k < basic.size(); k++) {
    basic[k].listed = 0;
    dsimplex_notechange(price, tolfeas, k, basic[k]);
  }
}

int32_t dsimplex_select(dual_pricing& price, buffer<dual_basic>& basic, double tolfeas, int32_t& random) {
  if (price.method == sel_partial) return select_partial(price, basic, random);
  row_choice best = read_top(price, basic);
  if (best.k >= 0) return best.k;
  best = read_list(price, basic);
  if (best.k < 0) return best.k;
  price.cutoff = topshare * best.score;
  for (int32_t p = 0; p < price.numlist; p++) dsimplex_notechange(price, tolfeas, price.list[p], basic[price.list[p]]);
  return best.k;
}

void dsimplex_resetweights(const dual_state& s, dual_pricing& price, buffer<dual_basic>& basic) {
  price.exactweights = true;
  for (const int32_t j : s.fac.head) price.exactweights = price.exactweights && s.work.is_logical(j);
  const double start = price.method == sel_se || price.method == sel_ase ? 2.0 : 1.0;
  for (dual_basic& b : basic) b.weight = start;
}

bool dsimplex_takeweights(const dual_state& s, dual_pricing& price, buffer<dual_basic>& basic) {
  const buffer<double>& kept = s.base.dualweight;
  if (s.base.dualweightkind != price.method || kept.size() != s.work.total) return false;
  for (int32_t k = 0; k < s.work.m; k++) {
    const double w = kept[s.fac.head[k]];
    basic[k].weight = w >= 1 && w <= mostweight ? w : unknownweight;
  }
  price.exactweights = false; // the run that left them may have lost digits
  return true;
}

void dsimplex_leaveweights(const dual_state& s, simplex_state& base) {
  for (int32_t k = 0; k < s.work.m; k++) base.dualweight[s.fac.head[k]] = s.basic[k].weight;
  base.dualweightkind = s.price.method;
}

} // namespace tvn
