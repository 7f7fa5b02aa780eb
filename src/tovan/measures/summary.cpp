// Summaries for people: the optimizer's work, whose text is a fixed message, and the quality of the solutions,
// measured on the user's data.
#include "tovan/measures/solinf.h"
#include "tovan/solution/sol.h"
#include "tovan/task/api.h"
#include "tovan/task/log.h"
#include "tovan/task/msg.h"
#include "tovan/task/report.h"
#include "tovan/task/streams.h"

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
  TVN_prostatostr(&t, t.sols.prosta[which], word);
  echo(t, stream, "    Problem status  : %-s\n", word);
  TVN_solstatostr(&t, t.sols.solsta[which], word);
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
    tvn::TVN_msg_optimizersummary(t);
    return TVN_RES_OK;
  });
}
