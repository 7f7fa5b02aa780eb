// How a change of the problem lowers the statuses of the stored solutions, instead of dropping them: what is still
// known of a solution lets a later simplex run start from it.
//
// Each rule is a table from old to new status; a status that a table does not list becomes unknown in the tables of
// kept values (c, A, append) and stays in those of the bounds.
#include "tovan/solution/sol.h"

#include <cmath>

namespace tvn {

namespace {

bool any_defined(const task& t) noexcept { return t.sols.defined[0] || t.sols.defined[1] || t.sols.defined[2]; }

template <class Rule> void each_defined(task& t, Rule rule) {
  for (int32_t which = 0; which < 3; which++)
    if (TVN_solutiondef(t, which)) rule(which, t.sols.prosta[which], t.sols.solsta[which]);
}

// The primal side is still right, the dual no longer known.
int32_t prosta_keep_primal(int32_t sta) noexcept {
  switch (sta) {
  case TVN_PRO_STA_PRIM_AND_DUAL_FEAS:
  case TVN_PRO_STA_PRIM_FEAS: return TVN_PRO_STA_PRIM_FEAS;
  case TVN_PRO_STA_PRIM_INFEAS:
  case TVN_PRO_STA_PRIM_AND_DUAL_INFEAS: return TVN_PRO_STA_PRIM_INFEAS;
  case TVN_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS:
  case TVN_PRO_STA_NEAR_PRIM_FEAS: return TVN_PRO_STA_NEAR_PRIM_FEAS;
  default: return TVN_PRO_STA_UNKNOWN;
  }
}

int32_t solsta_after_c(int32_t sta) noexcept {
  switch (sta) {
  case TVN_SOL_STA_OPTIMAL:
  case TVN_SOL_STA_PRIM_FEAS:
  case TVN_SOL_STA_PRIM_AND_DUAL_FEAS:
  case TVN_SOL_STA_INTEGER_OPTIMAL: return TVN_SOL_STA_PRIM_FEAS;
  case TVN_SOL_STA_PRIM_INFEAS_CER: return TVN_SOL_STA_PRIM_INFEAS_CER;
  case TVN_SOL_STA_NEAR_PRIM_FEAS:
  case TVN_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS: return TVN_SOL_STA_NEAR_PRIM_FEAS;
  default: return TVN_SOL_STA_UNKNOWN;
  }
}

// As after a change of c, but a certificate of infeasibility rests on A.
int32_t prosta_after_a(int32_t sta) noexcept {
  const int32_t kept = prosta_keep_primal(sta);
  return kept == TVN_PRO_STA_PRIM_INFEAS ? static_cast<int32_t>(TVN_PRO_STA_UNKNOWN) : kept;
}

int32_t solsta_after_a(int32_t sta) noexcept {
  const int32_t kept = solsta_after_c(sta);
  return kept == TVN_SOL_STA_PRIM_INFEAS_CER ? static_cast<int32_t>(TVN_SOL_STA_UNKNOWN) : kept;
}

int32_t prosta_after_constraint(int32_t sta) noexcept {
  switch (sta) {
  case TVN_PRO_STA_PRIM_AND_DUAL_FEAS:
  case TVN_PRO_STA_DUAL_FEAS: return TVN_PRO_STA_DUAL_FEAS;
  case TVN_PRO_STA_PRIM_INFEAS:
  case TVN_PRO_STA_PRIM_AND_DUAL_INFEAS: return TVN_PRO_STA_PRIM_INFEAS;
  case TVN_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS:
  case TVN_PRO_STA_NEAR_DUAL_FEAS: return TVN_PRO_STA_NEAR_DUAL_FEAS;
  default: return TVN_PRO_STA_UNKNOWN;
  }
}

int32_t solsta_after_constraint(int32_t sta) noexcept {
  switch (sta) {
  case TVN_SOL_STA_OPTIMAL:
  case TVN_SOL_STA_DUAL_FEAS:
  case TVN_SOL_STA_PRIM_AND_DUAL_FEAS: return TVN_SOL_STA_DUAL_FEAS;
  case TVN_SOL_STA_PRIM_INFEAS_CER: return TVN_SOL_STA_PRIM_INFEAS_CER;
  case TVN_SOL_STA_NEAR_OPTIMAL:
  case TVN_SOL_STA_NEAR_DUAL_FEAS:
  case TVN_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS: return TVN_SOL_STA_NEAR_DUAL_FEAS;
  default: return TVN_SOL_STA_UNKNOWN;
  }
}

// As after a change of c, but of an optimum nothing is kept.
int32_t solsta_after_variable(int32_t sta) noexcept {
  const bool optimal = sta == TVN_SOL_STA_OPTIMAL || sta == TVN_SOL_STA_INTEGER_OPTIMAL;
  return optimal ? static_cast<int32_t>(TVN_SOL_STA_UNKNOWN) : solsta_after_c(sta);
}

void new_constraint_entry(task& t, int32_t which, int32_t i) noexcept {
  const sol_ptrs s = TVN_getsolptrs(t, which);
  if (!s.skc) return;
  s.skc[i] = which == TVN_SOL_BAS ? TVN_SK_BAS : TVN_SK_UNK;
  s.xc[i] = 0.0;
  if (!s.y) return;
  s.y[i] = 0.0 - t.prob.cslack[i];
  s.slc[i] = s.suc[i] = 0.0;
}

void new_variable_entry(task& t, int32_t which, int32_t j) noexcept {
  const sol_ptrs s = TVN_getsolptrs(t, which);
  if (!s.skx) return;
  const bool fixed = t.prob.bkx[j] == TVN_BK_FX;
  s.skx[j] = fixed ? TVN_SK_FIX : TVN_SK_UNK;
  s.xx[j] = fixed ? t.prob.blx[j] : 0.0;
  if (s.slx) s.slx[j] = s.sux[j] = 0.0;
  if (s.snx) s.snx[j] = 0.0;
}

// A side became tighter; `violated`: the present value breaks it.
void after_tightening(int32_t& prosta, int32_t& solsta, bool violated) noexcept {
  if (prosta == TVN_PRO_STA_PRIM_AND_DUAL_INFEAS)
    prosta = TVN_PRO_STA_PRIM_INFEAS;
  else if (prosta == TVN_PRO_STA_DUAL_INFEAS || prosta == TVN_PRO_STA_ILL_POSED)
    prosta = TVN_PRO_STA_UNKNOWN;
  if (!violated) return;
  switch (prosta) {
  case TVN_PRO_STA_PRIM_AND_DUAL_FEAS: prosta = TVN_PRO_STA_DUAL_FEAS; break;
  case TVN_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS: prosta = TVN_PRO_STA_NEAR_DUAL_FEAS; break;
  case TVN_PRO_STA_PRIM_FEAS:
  case TVN_PRO_STA_NEAR_PRIM_FEAS: prosta = TVN_PRO_STA_UNKNOWN; break;
  default: break;
  }
  switch (solsta) {
  case TVN_SOL_STA_OPTIMAL:
  case TVN_SOL_STA_PRIM_AND_DUAL_FEAS: solsta = TVN_SOL_STA_DUAL_FEAS; break;
  case TVN_SOL_STA_NEAR_OPTIMAL:
  case TVN_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS: solsta = TVN_SOL_STA_NEAR_DUAL_FEAS; break;
  case TVN_SOL_STA_PRIM_FEAS:
  case TVN_SOL_STA_DUAL_INFEAS_CER:
  case TVN_SOL_STA_NEAR_PRIM_FEAS:
  case TVN_SOL_STA_INTEGER_OPTIMAL: solsta = TVN_SOL_STA_UNKNOWN; break;
  default: break;
  }
}

void after_dropping(int32_t& prosta, int32_t& solsta) noexcept {
  switch (prosta) {
  case TVN_PRO_STA_PRIM_AND_DUAL_FEAS: prosta = TVN_PRO_STA_PRIM_FEAS; break;
  case TVN_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS: prosta = TVN_PRO_STA_NEAR_PRIM_FEAS; break;
  case TVN_PRO_STA_DUAL_FEAS:
  case TVN_PRO_STA_NEAR_DUAL_FEAS: prosta = TVN_PRO_STA_UNKNOWN; break;
  default: break;
  }
  switch (solsta) {
  case TVN_SOL_STA_OPTIMAL:
  case TVN_SOL_STA_PRIM_AND_DUAL_FEAS:
  case TVN_SOL_STA_INTEGER_OPTIMAL: solsta = TVN_SOL_STA_PRIM_FEAS; break;
  case TVN_SOL_STA_NEAR_OPTIMAL:
  case TVN_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS: solsta = TVN_SOL_STA_NEAR_PRIM_FEAS; break;
  case TVN_SOL_STA_DUAL_FEAS:
  case TVN_SOL_STA_NEAR_DUAL_FEAS: solsta = TVN_SOL_STA_UNKNOWN; break;
  default: break;
  }
}

void after_relaxing(int32_t& prosta, int32_t& solsta) noexcept {
  if (prosta == TVN_PRO_STA_PRIM_AND_DUAL_INFEAS)
    prosta = TVN_PRO_STA_DUAL_INFEAS;
  else if (prosta == TVN_PRO_STA_PRIM_INFEAS || prosta == TVN_PRO_STA_ILL_POSED)
    prosta = TVN_PRO_STA_UNKNOWN;
  switch (solsta) {
  case TVN_SOL_STA_OPTIMAL: solsta = TVN_SOL_STA_PRIM_AND_DUAL_FEAS; break;
  case TVN_SOL_STA_INTEGER_OPTIMAL: solsta = TVN_SOL_STA_PRIM_FEAS; break;
  case TVN_SOL_STA_NEAR_OPTIMAL: solsta = TVN_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS; break;
  case TVN_SOL_STA_PRIM_INFEAS_CER: solsta = TVN_SOL_STA_UNKNOWN; break;
  default: break;
  }
}

// Keys that say "at a bound" hold only while the value still stands there; basic and superbasic ones stay.
int32_t key_after_bound(int32_t key, const bound_value& now, double x, double g, double tol) noexcept {
  const bool atlower = has_lower(now.bk) && std::fabs(x - g * now.bl) <= tol;
  const bool atupper = has_upper(now.bk) && std::fabs(x - g * now.bu) <= tol;
  switch (key) {
  case TVN_SK_LOW: return atlower ? key : TVN_SK_UNK;
  case TVN_SK_UPR: return atupper ? key : TVN_SK_UNK;
  case TVN_SK_FIX: return atlower && atupper ? key : TVN_SK_UNK;
  default: return key;
  }
}

struct bound_change {
  bound_value old, now;
  double tol = 0;
};

void change_statuses(const bound_change& b, double x, int32_t& prosta, int32_t& solsta) noexcept {
  const bool oldlower = has_lower(b.old.bk), oldupper = has_upper(b.old.bk);
  const bool lower = has_lower(b.now.bk), upper = has_upper(b.now.bk);
  if (lower && (!oldlower || b.now.bl > b.old.bl + b.tol)) after_tightening(prosta, solsta, x < b.now.bl - b.tol);
  if (upper && (!oldupper || b.now.bu < b.old.bu - b.tol)) after_tightening(prosta, solsta, x > b.now.bu + b.tol);
  const bool dropped = (oldlower && !lower) || (oldupper && !upper);
  if (dropped) after_dropping(prosta, solsta);
  const bool moved =
      (oldlower && lower && b.now.bl < b.old.bl - b.tol) || (oldupper && upper && b.now.bu > b.old.bu + b.tol);
  const bool stayedfree = b.old.bk == TVN_BK_FR && b.now.bk == TVN_BK_FR;
  if (dropped || moved || stayedfree) after_relaxing(prosta, solsta);
}

} // namespace

void TVN_updsolstaftercchg(task& t) noexcept {
  if (!any_defined(t)) return;
  each_defined(t, [](int32_t, int32_t& prosta, int32_t& solsta) {
    prosta = prosta_keep_primal(prosta);
    solsta = solsta_after_c(solsta);
  });
}

void TVN_updsolstafterachg(task& t, int32_t j) noexcept {
  if (!any_defined(t)) return;
  const double tol = t.params.dval[TVN_DPAR_DATA_TOL_X];
  each_defined(t, [&](int32_t which, int32_t& prosta, int32_t& solsta) {
    const bool keep = std::fabs(TVN_getsolptrs(t, which).xx[j]) > tol;
    prosta = keep ? prosta_after_a(prosta) : TVN_PRO_STA_UNKNOWN;
    solsta = keep ? solsta_after_a(solsta) : TVN_SOL_STA_UNKNOWN;
  });
}

void TVN_updsolstafterappend(task& t, int32_t accmode, int32_t i) noexcept {
  if (!any_defined(t)) return;
  each_defined(t, [&](int32_t which, int32_t& prosta, int32_t& solsta) {
    if (accmode == TVN_ACC_CON) {
      prosta = prosta_after_constraint(prosta);
      solsta = solsta_after_constraint(solsta);
      new_constraint_entry(t, which, i);
    } else {
      prosta = prosta_keep_primal(prosta);
      solsta = solsta_after_variable(solsta);
      new_variable_entry(t, which, i);
    }
  });
}

void TVN_updsolstafterbndchg(task& t, int32_t accmode, int32_t i, int32_t oldbk, double oldbl, double oldbu) noexcept {
  if (!any_defined(t)) return;
  bound_change b{{oldbk, oldbl, oldbu}, get_bound(t.prob, accmode, i), 0};
  each_defined(t, [&](int32_t which, int32_t& prosta, int32_t& solsta) {
    const sol_ptrs s = TVN_getsolptrs(t, which);
    const double x = accmode == TVN_ACC_CON ? s.xc[i] : s.xx[i];
    int32_t& key = accmode == TVN_ACC_CON ? s.skc[i] : s.skx[i];
    b.tol = t.params.dval[which == TVN_SOL_BAS ? TVN_DPAR_BASIS_TOL_X : TVN_DPAR_DATA_TOL_X];
    change_statuses(b, x, prosta, solsta);
    const bool certificate = solsta == TVN_SOL_STA_PRIM_INFEAS_CER || solsta == TVN_SOL_STA_DUAL_INFEAS_CER;
    key = key_after_bound(key, b.now, x, certificate ? 0.0 : 1.0, b.tol);
  });
}

void TVN_makestatusunknown(task& t) noexcept {
  each_defined(t, [](int32_t, int32_t& prosta, int32_t& solsta) {
    prosta = TVN_PRO_STA_UNKNOWN;
    solsta = TVN_SOL_STA_UNKNOWN;
  });
}

} // namespace tvn
