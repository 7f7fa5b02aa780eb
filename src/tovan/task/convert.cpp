// Tables between the optimizers' small code sets and the interface.
#include "tovan/task/convert.h"

#include "tovan/task/report.h"

namespace tvn {

namespace {

// Keys and statuses below the interface are numbered as outside, so that arrays go through as they are.
constexpr bool same(int32_t inside, int32_t outside) { return inside == outside; }
static_assert(same(bk_lo, TVN_BK_LO) && same(bk_up, TVN_BK_UP) && same(bk_fx, TVN_BK_FX) && same(bk_fr, TVN_BK_FR) &&
              same(bk_ra, TVN_BK_RA));
static_assert(same(sk_unk, TVN_SK_UNK) && same(sk_bas, TVN_SK_BAS) && same(sk_supbas, TVN_SK_SUPBAS) &&
              same(sk_low, TVN_SK_LOW) && same(sk_upr, TVN_SK_UPR) && same(sk_fix, TVN_SK_FIX) &&
              same(sk_inf, TVN_SK_INF));
static_assert(same(sol_unknown, TVN_SOL_STA_UNKNOWN) && same(sol_optimal, TVN_SOL_STA_OPTIMAL) &&
              same(sol_prim_feas, TVN_SOL_STA_PRIM_FEAS) && same(sol_dual_feas, TVN_SOL_STA_DUAL_FEAS) &&
              same(sol_prim_and_dual_feas, TVN_SOL_STA_PRIM_AND_DUAL_FEAS) &&
              same(sol_prim_infeas_cer, TVN_SOL_STA_PRIM_INFEAS_CER) &&
              same(sol_dual_infeas_cer, TVN_SOL_STA_DUAL_INFEAS_CER) &&
              same(sol_near_optimal, TVN_SOL_STA_NEAR_OPTIMAL) &&
              same(sol_near_prim_feas, TVN_SOL_STA_NEAR_PRIM_FEAS) &&
              same(sol_near_dual_feas, TVN_SOL_STA_NEAR_DUAL_FEAS) &&
              same(sol_near_prim_infeas_cer, TVN_SOL_STA_NEAR_PRIM_INFEAS_CER) &&
              same(sol_near_dual_infeas_cer, TVN_SOL_STA_NEAR_DUAL_INFEAS_CER));
static_assert(same(pro_prim_and_dual_feas, TVN_PRO_STA_PRIM_AND_DUAL_FEAS) &&
              same(pro_prim_feas, TVN_PRO_STA_PRIM_FEAS) && same(pro_dual_feas, TVN_PRO_STA_DUAL_FEAS) &&
              same(pro_prim_infeas, TVN_PRO_STA_PRIM_INFEAS) && same(pro_dual_infeas, TVN_PRO_STA_DUAL_INFEAS));
static_assert(same(ct_quad, TVN_CT_QUAD) && same(ct_rquad, TVN_CT_RQUAD));

} // namespace

TVNrescodee TVN_oresptomrespdbg(int32_t code) noexcept {
  switch (code) {
  case 0: return TVN_RES_OK;
  case 1: return TVN_RES_ERR_SPACE;
  case 4: return TVN_RES_TRM_MAX_ITERATIONS;
  case 5: return TVN_RES_TRM_MAX_TIME;
  case 6:
  case 7: return TVN_RES_TRM_USER_CALLBACK;
  case 8: return TVN_RES_TRM_STALL;
  case 9: return TVN_RES_TRM_NUMERICAL_PROBLEM;
  case 10: return TVN_RES_ERR_FACTOR;
  case 11: return TVN_RES_ERR_USER_NLO_FUNC;
  case 12:
  case 23: return TVN_RES_ERR_INTERNAL;
  case 15: return TVN_RES_TRM_OBJECTIVE_RANGE;
  case 16: return TVN_RES_ERR_USER_NLO_EVAL_HESSUBI;
  case 17: return TVN_RES_ERR_USER_NLO_EVAL_HESSUBJ;
  case 18: return TVN_RES_ERR_INV_PROBLEM;
  case 20:
  case 21: return TVN_RES_ERR_BASIS;
  case 24: return TVN_RES_ERR_POSTSOLVE;
  case 25: return TVN_RES_ERR_NONCONVEX;
  case 26: return TVN_RES_ERR_BASIS_SINGULAR;
  case 27: return TVN_RES_TRM_MAX_NUM_SETBACKS;
  case 29: return TVN_RES_ERR_LU_MAX_NUM_TRIES;
  case 31: return TVN_RES_ERR_UNB_STEP_SIZE;
  case 33: return TVN_RES_TRM_INTERNAL_STOP;
  default: return TVN_RES_ERR_UNKNOWN;
  }
}

int32_t TVN_convertprosta(int32_t prosta) noexcept {
  return prosta >= 1 && prosta <= 7 ? prosta : static_cast<int32_t>(TVN_PRO_STA_UNKNOWN);
}

int32_t TVN_convertsolsta(int32_t solsta) noexcept {
  switch (solsta) {
  case 1:
  case 2:
  case 3:
  case 4:
  case 5:
  case 6:
  case 8:
  case 9:
  case 10:
  case 12:
  case 13: return solsta;
  case 7: return TVN_SOL_STA_INTEGER_OPTIMAL;
  default: return TVN_SOL_STA_UNKNOWN;
  }
}

int32_t TVN_convertmprosta(int32_t prosta) noexcept { return prosta; }

int32_t TVN_convertmsolsta(task& t, int32_t solsta) {
  switch (solsta) {
  case TVN_SOL_STA_INTEGER_OPTIMAL: return 7;
  case TVN_SOL_STA_NEAR_INTEGER_OPTIMAL: return 14;
  case 7: TVN_stoptask(t, "src/tovan/convert", __LINE__, " Unhandled solsta: %d\n", solsta); return TVN_SOL_STA_UNKNOWN;
  default: return solsta;
  }
}

int32_t TVN_getoptobjsense(const task& t) noexcept {
  const int32_t own = t.prob.objsense;
  const bool known = own == TVN_OBJECTIVE_SENSE_MINIMIZE || own == TVN_OBJECTIVE_SENSE_MAXIMIZE;
  return known ? own : t.params.ival[TVN_IPAR_OBJECTIVE_SENSE];
}

} // namespace tvn
