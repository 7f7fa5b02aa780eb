// What presolve prints: options, summary and timing, for those who raise the log level.
#include "prslv/prslvint.h"

#include "cpub/format.h"
#include "misc/outfmt.h"

#include <cstdarg>
#include <cstdio>

namespace tvn {

void TVN_prslv_print(const prslv_context& x, const char* fmt, ...) {
  if (x.param.loglevel <= 0 || !x.sink.fn) return;
  char line[256];
  va_list args;
  va_start(args, fmt);
  format_textva(line, sizeof line, fmt, args);
  va_end(args);
  x.sink.fn(x.sink.handle, line);
}

void TVN_prslv_printoptions(const prslv_context& x) {
  if (x.param.loglevel <= 1) return;
  const prslv_param& p = x.param;
  TVN_prslv_print(x, "%-40s: %-8d\n", "Linear dependency check", p.lindep);
  TVN_prslv_print(x, "%-40s: %-8d\n", "Eliminator tries", p.eliminatortries);
  TVN_prslv_print(x, "%-40s: %-8.1e\n", "Primal tolerance", p.tolx);
  TVN_prslv_print(x, "%-40s: %-8.1e\n", "Dual tolerance", p.tols);
}

namespace {

int32_t active(const prslv_bndcount& b, bool rows) { return b.ranged + b.lower + b.upper + (rows ? b.fixed : b.free); }

void print_reductions(const prslv_context& x) {
  const prslv_stats& s = *x.run.stats;
  auto count = [&](const char* what, int64_t num) { TVN_prslv_print(x, "%-40s: %-8d\n", what, static_cast<int>(num)); };
  auto red = [&](std::initializer_list<int32_t> types) {
    int64_t num = 0;
    for (const int32_t t : types) num += s.numred[t];
    return num;
  };
  TVN_prslv_print(x, "Reductions\n");
  count("Number of constraint singletons", red({rt_consin, rt_initialconsin}));
  count("Number of relaxed lower bounds", red({rt_varrelaxlow}));
  count("Number of relaxed upper bounds", red({rt_varrelaxupp}));
  count("Number of relaxed ranged bounds", red({rt_varrelaxboth}));
  count("Number of forcing constraints", red({rt_conforce}));
  count("Number of duplicate cons.", red({rt_dupcon}));
  count("  dropped.", s.numdupdropped);
  count("Number of dou. chains", red({rt_doubleton}));
  count("Number of eliminations", red({rt_elimination}));
  count("Total", TVN_prslv_getnumred(x));
}

void print_timing(const prslv_context& x) {
  static constexpr std::array<const char*, task_limit> names{"Setup",    "Check pro", "Elim.",    "Lin. dep.",
                                                             "Dup. con", "Dup. var",  "Finalize", "Postsolve.",
                                                             "Dom. var", "Relaxing"};
  const prslv_stats& s = *x.run.stats;
  const double total = std::max(s.totalseconds, 1e-9);
  TVN_prslv_print(x, "Timing results\n");
  for (size_t k = 0; k < names.size(); k++)
    TVN_prslv_print(x, "%-16s : %-6d   %-6.2f  (%.1f%%)\n", names[k], s.calls[k], s.seconds[k],
                    100 * s.seconds[k] / total);
  TVN_prslv_print(x, "%-16s : %-6d   %-6.2f\n", "Total", 1, s.totalseconds);
}

} // namespace

void TVN_prslv_printsummary(const prslv_context& x) {
  if (x.param.loglevel <= 1) return;
  const prslv_stats& s = *x.run.stats;
  TVN_prslv_print(x, "          Constraints         Variables\n");
  TVN_prslv_print(x, "         Before    After   Before    After\n");
  auto line = [&](const char* what, int32_t cb, int32_t ca, int32_t vb, int32_t va) {
    TVN_prslv_print(x, "%-6s %8d %8d %8d %8d\n", what, cb, ca, vb, va);
  };
  line("Fixed", s.conbefore.fixed, s.conafter.fixed, s.varbefore.fixed, s.varafter.fixed);
  line("Ranged", s.conbefore.ranged, s.conafter.ranged, s.varbefore.ranged, s.varafter.ranged);
  line("Lower", s.conbefore.lower, s.conafter.lower, s.varbefore.lower, s.varafter.lower);
  line("Upper", s.conbefore.upper, s.conafter.upper, s.varbefore.upper, s.varafter.upper);
  line("Free", s.conbefore.free, s.conafter.free, s.varbefore.free, s.varafter.free);
  line("Active", active(s.conbefore, true), active(s.conafter, true), active(s.varbefore, false),
       active(s.varafter, false));
  static constexpr const char* statusname[] = {"undecided", "solved", "primal infeasible", "dual infeasible"};
  TVN_prslv_print(x, "%-14s: %-s\n", "Reduce status", x.run.stop ? "stopped" : "done");
  TVN_prslv_print(x, "%-14s: %-s\n", "Problem status", statusname[x.status]);
  print_reductions(x);
  if (x.param.timing > 1) print_timing(x);
}

} // namespace tvn
