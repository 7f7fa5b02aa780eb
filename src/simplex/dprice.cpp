// Pricing of the dual simplex: the lists of infeasible positions, weights, and the choice of the leaving row.
//
// Each position that becomes infeasible is put on an unordered list; a position that is feasible again leaves it when
// the list is next read. The choice maximises squared infeasibility over weight (Forrest and Goldfarb 1992). A reading
// of the list also gathers the positions whose score is at least half the best one. Until all of those have fallen
// below that cutoff only they and the positions that rise above it meanwhile can be best, so a choice costs the length
// of the short list (Hall and McKinnon 2005 keep such a list for hyper-sparse problems).
#include "simplex/dstate.h"

namespace tvn {

namespace {

constexpr double topshare = 0.5; // of the best score: cutoff of the short list

struct row_choice {
  int32_t k = -1;
  double score = 0;
};

// The score is infeasibility / weight; the comparison by products saves the division.
inline void improve(row_choice& best, int32_t k, const dual_basic& b) {
  if (b.infeas > best.score * b.weight) best = {k, b.infeas / b.weight};
}

row_choice read_top(dual_state& s) {
  row_choice best;
  int32_t kept = 0;
  for (int32_t p = 0; p < s.numtop; p++) {
    const int32_t k = s.top[p];
    dual_basic& b = s.basic[k];
    if (b.infeas == 0 || b.infeas < s.cutoff * b.weight) {
      b.listed &= ~on_top;
      continue;
    }
    s.top[kept++] = k;
    improve(best, k, b);
  }
  s.numtop = kept;
  return best;
}

row_choice read_list(dual_state& s) {
  row_choice best;
  int32_t kept = 0;
  for (int32_t p = 0; p < s.numlist; p++) {
    const int32_t k = s.list[p];
    dual_basic& b = s.basic[k];
    if (b.infeas == 0) {
      b.listed &= ~on_list;
      continue;
    }
    s.list[kept++] = k;
    improve(best, k, b);
  }
  s.numlist = kept;
  return best;
}

} // namespace

void dsimplex_rebuildlist(dual_state& s) noexcept {
  s.numlist = s.numtop = 0;
  s.cutoff = HUGE_VAL;
  for (int32_t k = 0; k < s.work.m; k++) {
    s.basic[k].listed = 0;
    dsimplex_notechange(s, k, s.basic[k]);
  }
}

int32_t dsimplex_select(dual_state& s) {
  row_choice best = read_top(s);
  if (best.k >= 0) return best.k;
  best = read_list(s);
  if (best.k < 0) return best.k;
  s.cutoff = topshare * best.score;
  for (int32_t p = 0; p < s.numlist; p++) dsimplex_notechange(s, s.list[p], s.basic[s.list[p]]);
  return best.k;
}

void dsimplex_resetweights(dual_state& s) {
  s.weighterrors = 0;
  s.exactweights = true;
  for (const int32_t j : s.fac.head) s.exactweights = s.exactweights && s.work.is_logical(j);
  const double start = s.method == sel_se || s.method == sel_ase ? 2.0 : 1.0;
  for (dual_basic& b : s.basic) b.weight = start;
}

} // namespace tvn
