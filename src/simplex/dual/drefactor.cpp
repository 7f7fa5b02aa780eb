// Refactorisation in the dual simplex, and what follows when it finds no factor.
//
// The basis of each fresh factor is kept. When a later one is singular the run goes back to it: a repair would put
// logicals into the basis, and with them dual infeasibilities that only shifted costs can hide. Only a basis that was
// singular from the start is repaired. Every such event is a setback; their number is limited.
#include "simplex/dual/dstate.h"

namespace tvn {

namespace {

constexpr double tolpivmin = 1e-10, tolpivmax = 1e-5;
constexpr int32_t badpivots = 5;  // more of them raise the pivot tolerance
constexpr int64_t maxfutile = 40; // setbacks without a better objective between them
constexpr int32_t calmtimes = 6;  // recomputations without a setback lower it,
constexpr double calmshare = 0.1; // to this part

// Back to the last basis that had a factor. What lies between led to a singular one, so pivots are chosen with more
// care and fewer of them go on one factor.
loop_state backtrack(dual_state& s) {
  s.bad.updatelimit = std::max(dual_minupdates, static_cast<int32_t>(s.iter - s.saved.iter) / 2);
  s.saved.iter = s.iter;
  std::copy(s.saved.head.begin(), s.saved.head.end(), s.fac.head.begin());
  std::copy(s.saved.key.begin(), s.saved.key.end(), s.key.begin());
  for (int32_t k = 0; k < s.work.m; k++) s.basic[k].weight = s.saved.weight[k];
  std::fill(s.fac.pos.begin(), s.fac.pos.end(), -1);
  for (int32_t k = 0; k < s.work.m; k++) s.fac.pos[s.fac.head[k]] = k;
  for (int32_t j = 0; j < s.work.total; j++) TVN_simplex_setlisted(s.base, j, s.fac.pos[j] < 0 && !s.work.is_fixed(j));
  dsimplex_placenonbasics(s);
  s.tol.piv = TVN_simplex_raised(s.tol.piv, tolpivmax);
  TVN_simplex_raisepivots(s.fac.factor, raisetimes, raiselost);
  return dsimplex_setback(s);
}

// What a repair threw out rests at a bound, its successor's weight starts anew.
loop_state follow_repair(dual_state& s, int32_t num) {
  for (int32_t e = 0; e < num; e++) {
    const auto [leaving, entering] = s.exchanges[e];
    TVN_simplex_setlisted(s.base, entering, false);
    if (!s.work.is_fixed(leaving)) TVN_simplex_setlisted(s.base, leaving, true);
    s.key[entering] = sk_bas;
    TVN_simplex_restnonbasic(s.base, leaving, sk_unk);
    s.basic[s.fac.pos[entering]].weight = 2;
  }
  dsimplex_placenonbasics(s);
  s.info.count[kind_dual].artificials += num;
  if (s.iter > 0) return dsimplex_setback(s);
  dsimplex_resetweights(s, s.price, s.basic); // of a start that is not the one they came with
  return loop_state::go_on;
}

} // namespace

loop_state dsimplex_handover(dual_state& s) {
  s.handover = true;
  return TVN_simplex_finish(s.base, simplex_code::ok, sol_unknown);
}

loop_state dsimplex_setback(dual_state& s) {
  TVN_simplex_recompute(s.base, recompute_why::setback);
  return dsimplex_countsetback(s);
}

loop_state dsimplex_countsetback(dual_state& s) {
  (void)TVN_simplex_relax(s.tolfeas, s.param.tolx, 2 * s.tolfeas);
  s.info.count[kind_dual].setbacks = ++s.bad.setbacks;
  if (s.bad.setbacks - s.stall.bestsetbacks > maxfutile) return dsimplex_handover(s);
  if (s.bad.setbacks <= s.param.maxsetbacks) return loop_state::recompute;
  TVN_simplex_tell(s.base, 1, "Too many (%d) bad events\n", static_cast<int>(s.bad.setbacks));
  return dsimplex_handover(s); // the primal simplex accepts any basis
}

void dsimplex_notebadpivot(dual_trouble& bad, dual_tolerances& tol) {
  if (++bad.badpivots <= badpivots) return;
  bad.badpivots = 0;
  tol.piv = TVN_simplex_raised(tol.piv, tolpivmax);
}

void dsimplex_notecalm(dual_trouble& bad, dual_tolerances& tol, lu& factor, double tolrelpiv) {
  bad.calm = bad.setbacks == bad.calmsetbacks ? bad.calm + 1 : 0;
  bad.calmsetbacks = bad.setbacks;
  if (bad.calm < calmtimes) return;
  bad.calm = 0;
  tol.piv = std::max(tolpivmin, calmshare * tol.piv);
  bad.updatelimit = std::min(2 * bad.updatelimit, dual_maxupdates);
  TVN_simplex_calmpivots(factor, tolrelpiv);
}

void dsimplex_savebasis(const dual_state& s, dual_saved_basis& saved) {
  std::copy(s.fac.head.begin(), s.fac.head.end(), saved.head.begin());
  std::copy(s.key.begin(), s.key.end(), saved.key.begin());
  for (int32_t k = 0; k < s.work.m; k++) saved.weight[k] = s.basic[k].weight;
  saved.iter = s.iter;
}

loop_state dsimplex_refactor(dual_state& s) {
  loop_state state = loop_state::go_on;
  for (;;) {
    const int32_t num = TVN_simplex_refactor(s.base, kind_dual, s.exchanges);
    if (num < 0) return loop_state::finished;
    if (num == 0) break;
    if (s.iter > s.saved.iter) {
      state = backtrack(s);
      if (state == loop_state::finished) return state;
      continue;
    }
    state = follow_repair(s, num);
    break;
  }
  s.base.recompute = {};
  return state == loop_state::finished ? state : loop_state::go_on;
}

} // namespace tvn
