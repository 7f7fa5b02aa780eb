// Presolve as the drivers show it: settings from the parameters, lines of the log, information items.
#include "tovan/optimize/presolvelog.h"

#include "tovan/task/log.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/presolvelog";

void update_counts(task& t, const prslv_stats& s) {
  auto& iv = t.info.private_intg;
  auto put = [&](const prslv_bndcount& b, const std::array<int32_t, 5>& items) {
    const std::array<int32_t, 5> values{b.fixed, b.ranged, b.lower, b.upper, b.free};
    for (size_t k = 0; k < 5; k++) iv[items[k]] = values[k];
  };
  put(s.conbefore, {TVNP_IINF_PRESOLVE_NUMCFX, TVNP_IINF_PRESOLVE_NUMCRA, TVNP_IINF_PRESOLVE_NUMCLO,
                    TVNP_IINF_PRESOLVE_NUMCUP, TVNP_IINF_PRESOLVE_NUMCFR});
  put(s.varbefore, {TVNP_IINF_PRESOLVE_NUMVFX, TVNP_IINF_PRESOLVE_NUMVRA, TVNP_IINF_PRESOLVE_NUMVLO,
                    TVNP_IINF_PRESOLVE_NUMVUP, TVNP_IINF_PRESOLVE_NUMVFR});
  put(s.conafter, {TVNP_IINF_PRESOLVE_FNUMCFX, TVNP_IINF_PRESOLVE_FNUMCRA, TVNP_IINF_PRESOLVE_FNUMCLO,
                   TVNP_IINF_PRESOLVE_FNUMCUP, TVNP_IINF_PRESOLVE_FNUMCFR});
  put(s.varafter, {TVNP_IINF_PRESOLVE_FNUMVFX, TVNP_IINF_PRESOLVE_FNUMVRA, TVNP_IINF_PRESOLVE_FNUMVLO,
                   TVNP_IINF_PRESOLVE_FNUMVUP, TVNP_IINF_PRESOLVE_FNUMVFR});
}

int32_t total(const prslv_bndcount& b) { return b.fixed + b.ranged + b.lower + b.upper + b.free; }

void update_items(task& t, const prslv_stats& s) {
  auto& iv = t.info.private_intg;
  const auto count = [&](int32_t type) { return static_cast<int32_t>(s.numred[type]); };
  update_counts(t, s);
  iv[TVNP_IINF_PRESOLVE_NUMCON] = total(s.conbefore);
  iv[TVNP_IINF_PRESOLVE_NUMVAR] = total(s.varbefore);
  iv[TVNP_IINF_PRESOLVE_FNUMCON] = total(s.conafter) - s.conafter.free;
  iv[TVNP_IINF_PRESOLVE_FNUMVAR] = total(s.varafter) - s.varafter.fixed;
  iv[TVNP_IINF_PRESOLVE_NUMNZA] = static_cast<int32_t>(std::min<int64_t>(s.nzbefore, INT32_MAX));
  iv[TVNP_IINF_PRESOLVE_FNUMNZA] = static_cast<int32_t>(std::min<int64_t>(s.nzafter, INT32_MAX));
  iv[TVNP_IINF_PRESOLVE_ELI_NUM] = count(rt_elimination);
  iv[TVNP_IINF_PRESOLVE_ELI_NUM_TRIES] = s.numelimtries;
  iv[TVNP_IINF_PRESOLVE_ELIMINATOR_SKIPPED_SPACE] = s.numelimspace;
  iv[TVNP_IINF_PRESOLVE_FORCE_CON_NUM] = count(rt_conforce);
  iv[TVNP_IINF_PRESOLVE_FORCE_CON_NUM_VAR] = count(rt_blkfix);
  iv[TVNP_IINF_PRESOLVE_FORCE_VAR_NUM] = count(rt_varforce);
  iv[TVNP_IINF_PRESOLVE_NUM_DOU_CHAINS] = iv[TVNP_IINF_PRESOLVE_NUM_CONS_IN_DOU_CHAINS] = count(rt_doubleton);
  iv[TVNP_IINF_PRESOLVE_LINDEP_NUM] = s.numlindep;
  iv[TVNP_IINF_PRESOLVE_LINDEP_NUM_TRIES] = s.numlindeptries;
  iv[TVNP_IINF_PRESOLVE_LINDEP_NUM_TRUNC_TRIES] = s.lindeptruncated ? 1 : 0;
  iv[TVNP_IINF_PRESOLVE_OUTOFSPACE] = s.outofspace ? 1 : 0;
  auto& dv = t.info.private_dou;
  dv[TVNP_DINF_PRESOLVE_SETUP_TIME] = s.seconds[task_setup];
  dv[TVNP_DINF_PRESOLVE_CHECKPRO_TIME] = s.seconds[task_checkpro];
  dv[TVNP_DINF_PRESOLVE_DUPCON_TIME] = s.seconds[task_dupcon];
  dv[TVNP_DINF_PRESOLVE_DUPVAR_TIME] = s.seconds[task_dupvar];
  dv[TVNP_DINF_PRESOLVE_FINAL_TIME] = s.seconds[task_finalize];
  dv[TVNP_DINF_PRESOLVE_SUB_DOMVAR_TIME] = s.seconds[task_domvar];
  dv[TVNP_DINF_PRESOLVE_SUB_RELAX_TIME] = s.seconds[task_relax];
  t.info.dou[TVN_DINF_PRESOLVE_TIME] = s.totalseconds;
  t.info.dou[TVN_DINF_PRESOLVE_ELI_TIME] = s.seconds[task_elim];
  t.info.dou[TVN_DINF_PRESOLVE_LINDEP_TIME] = s.seconds[task_lindep];
}

} // namespace

prslv_param TVN_presolveparam(const task& t) {
  const auto& iv = t.params.ival;
  const auto& dv = t.params.dval;
  prslv_param p;
  TVN_prslv_initparam(p);
  p.loglevel = std::max(0, iv[TVN_IPAR_LOG_PRESOLVE] - 1);
  p.lindep = iv[TVN_IPAR_PRESOLVE_LINDEP_USE];
  p.lindepworklim = iv[TVN_IPAR_PRESOLVE_LINDEP_WORK_LIM];
  p.eliminatortries = iv[TVN_IPAR_PRESOLVE_ELIMINATOR_USE] != 0 ? iv[TVN_IPAR_PRESOLVE_ELIMINATOR_MAX_NUM_TRIES] : 0;
  p.elimfill = iv[TVN_IPAR_PRESOLVE_ELIM_FILL];
  p.tolx = dv[TVN_DPAR_PRESOLVE_TOL_X];
  p.tols = dv[TVN_DPAR_PRESOLVE_TOL_S];
  p.tolaij = dv[TVN_DPAR_PRESOLVE_TOL_AIJ];
  p.tollindep = dv[TVN_DPAR_PRESOLVE_TOL_LIN_DEP];
  return p;
}

void TVN_logpresolveline(task& t, const char* line) {
  if (line) echo(t, TVN_STREAM_MSG, "%s", line);
}

void TVN_logendpresolve(task& t, const prslv_stats& s) {
  update_items(t, s);
  if (s.outofspace) report(t, label, __LINE__, TVN_RES_WRN_PRESOLVE_OUTOFSPACE);
  if (s.numelimspace > 0) report(t, label, __LINE__, TVN_RES_WRN_ELIMINATOR_SPACE);
  if (!is_logged(t, TVN_IPAR_LOG_PRESOLVE)) return;
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %.2f\n", -10, "Eliminator", -16, "tries", -16, s.numelimtries, -16,
       "time", s.seconds[task_elim]);
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %.2f\n", -10, "Lin. dep.", -16, "tries", -16, s.numlindeptries, -16,
       "time", s.seconds[task_lindep]);
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*d  %*s : %*d\n", -10, "Presolved", -16, "constraints", -16,
       total(s.conafter) - s.conafter.free, -16, "variables", -16, total(s.varafter) - s.varafter.fixed);
  echo(t, TVN_STREAM_MSG, "%*s - %*s : %*lld  %*s : %*d\n", -10, "Presolved", -16, "nonzeros", -16,
       static_cast<long long>(s.nzafter), -16, "rounds", -16, s.numrounds);
}

} // namespace tvn
