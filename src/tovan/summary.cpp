// Summaries for people: the optimizer's work and the quality of the solutions, measured on the user's data.
#include "tovan/api.h"
#include "tovan/log.h"
#include "tovan/report.h"
#include "tovan/sol.h"
#include "tovan/streams.h"

namespace tvn {

namespace {

void measure_line(task& t, int32_t stream, const char* side, double obj, double eq, double bound, const double* cone,
                  bool last) {
  echo(t, stream, "    %-6s - objective: %-18.10e eq. inf.: %-8.2e max bound inf.: %-8.2e", side, obj, eq, bound);
  if (cone) echo(t, stream, " cone inf.: %-8.2e", *cone);
  echo(t, stream, last ? "\n\n" : "\n");
}

TVNrescodee slot_summary(task& t, int32_t stream, int32_t which) {
  static constexpr const char* titles[] = {"  Interior-point solution\n", "  Basic solution\n", "  Integer solution\n"};
  solution_measures m;
  if (const TVNrescodee code = solution_infeasibility(t, which, m)) return code;
  char word[TVN_MAX_STR_LEN];
  echo(t, stream, "%s", titles[which]);
  TVN_prostatostr(&t, t.sols.prosta[static_cast<size_t>(which)], word);
  echo(t, stream, "    Problem status  : %-s\n", word);
  TVN_solstatostr(&t, t.sols.solsta[static_cast<size_t>(which)], word);
  echo(t, stream, "    Solution status : %-s\n", word);
  if (which == TVN_SOL_ITG) {
    echo(t, stream,
         "    %-6s - objective: %-18.10e eq. infeas.: %-8.2e max bound infeas.: %-8.2e cone infeas.: %-8.2e integer "
         "infeas.: %-8.2e\n\n",
         "Primal", m.primalobj, m.maxpeqi, m.maxpbi, m.maxpcni, m.maxinti);
    return TVN_RES_OK;
  }
  const bool interior = which == TVN_SOL_ITR;
  measure_line(t, stream, "Primal", m.primalobj, m.maxpeqi, m.maxpbi, interior ? &m.maxpcni : nullptr, false);
  measure_line(t, stream, "Dual", m.dualobj, m.maxdeqi, m.maxdbi, interior ? &m.maxdcni : nullptr, true);
  return TVN_RES_OK;
}

TVNrescodee solution_summary(task& t, int32_t stream) {
  if (t.params.ival[TVN_IPAR_LOG] > 0) echo(t, stream, "\nSolution summary\n");
  for (int32_t which = 0; which < 3; which++) {
    if (!TVN_solutiondef(t, which)) continue;
    if (const TVNrescodee code = slot_summary(t, stream, which)) return code;
  }
  return TVN_RES_OK;
}

void optimizer_summary(task& t) {
  const auto& d = t.info.dou;
  const auto& i = t.info.intg;
  const auto& l = t.info.lint;
  const auto row = [&](const char* name, int64_t iterations, double seconds) {
    echo(t, TVN_STREAM_MSG, "%-26s- iterations : %-12lld  time: %.2f\n", name, static_cast<long long>(iterations), seconds);
  };
  const auto title = [&](const char* name, double seconds) {
    echo(t, TVN_STREAM_MSG, "%-26s- %25s  time: %.2f\n", name, "", seconds);
  };
  echo(t, TVN_STREAM_MSG, "Optimizer summary\n");
  title("  Optimizer", d[TVN_DINF_OPTIMIZER_TIME]);
  row("    Interior-point", i[TVN_IINF_INTPNT_ITER], d[TVN_DINF_INTPNT_TIME]);
  title("      Basis identification", d[TVN_DINF_BI_TIME]);
  row("        Primal", l[TVN_LIINF_BI_PRIMAL_ITER], d[TVN_DINF_BI_PRIMAL_TIME]);
  row("        Dual", l[TVN_LIINF_BI_DUAL_ITER], d[TVN_DINF_BI_DUAL_TIME]);
  row("        Clean primal", l[TVN_LIINF_BI_CLEAN_PRIMAL_ITER], d[TVN_DINF_BI_CLEAN_PRIMAL_TIME]);
  row("        Clean dual", l[TVN_LIINF_BI_CLEAN_DUAL_ITER], d[TVN_DINF_BI_CLEAN_DUAL_TIME]);
  title("    Simplex", d[TVN_DINF_SIM_TIME]);
  row("      Primal simplex", i[TVN_IINF_SIM_PRIMAL_ITER], d[TVN_DINF_SIM_PRIMAL_TIME]);
  row("      Dual simplex", i[TVN_IINF_SIM_DUAL_ITER], d[TVN_DINF_SIM_DUAL_TIME]);
  row("      Primal-dual simplex", i[TVN_IINF_SIM_PRIMAL_DUAL_ITER], d[TVN_DINF_SIM_PRIMAL_DUAL_TIME]);
  echo(t, TVN_STREAM_MSG, "%-26s- relaxations: %-12d\n\n", "    Mixed integer", i[TVN_IINF_MIO_NUM_RELAX]);
}

} // namespace
} // namespace tvn

TVNrescodee TVN_solutionsummary(TVNtask_t task, int32_t whichstream) {
  return tvn::api(task, [&](tvn::task& t) -> TVNrescodee {
    if (whichstream < 0 || whichstream >= tvn::num_streams)
      return tvn::report(t, "src/tovan/summary", __LINE__, TVN_RES_ERR_INVALID_STREAM, whichstream);
    return tvn::solution_summary(t, whichstream);
  });
}

TVNrescodee TVN_optimizersummary(TVNtask_t task) {
  return tvn::api(task, [](tvn::task& t) {
    if (t.params.ival[TVN_IPAR_LOG] > 0) tvn::optimizer_summary(t);
    return TVN_RES_OK;
  });
}
