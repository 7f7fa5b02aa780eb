// Lines for the log, beside the table of the iterations, at the levels from which they are wanted.
#include "homo/homoptlp.h"

#include "cpub/format.h"

#include <cstdarg>

namespace tvn {

namespace {

constexpr int32_t level_iteration = 3, level_event = 3, level_summary = 6;

struct span_of_values {
  double least = HUGE_VAL, most = 0;
};

span_of_values span_of(const double* v, int32_t num) noexcept {
  span_of_values s;
  for (int32_t k = 0; k < num; k++) {
    s.least = std::min(s.least, v[k]);
    s.most = std::max(s.most, v[k]);
  }
  return s;
}

void tell(hom_run& run, int32_t level, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
void tell(hom_run& run, int32_t level, const char* fmt, ...) {
  if (!run.progress->fn) return;
  char line[200];
  va_list args;
  va_start(args, fmt);
  format_textva(line, sizeof line, fmt, args);
  va_end(args);
  run.info->line = line;
  run.info->linelevel = level;
  (void)run.progress->fn(run.progress->handle, hs_event::line, *run.info);
  run.info->line = nullptr;
}

void tell_three(hom_run& run, const char* a, double va, const char* b, double vb, const char* c, double vc) {
  tell(run, level_iteration, "%-12s: %-12.4e  %-12s: %-12.4e  %-12s: %-12.4e\n", a, va, b, vb, c, vc);
}

} // namespace

void hom_tellpoint(hom_run& run) {
  const hom_point& p = run.now;
  tell(run, level_iteration, "%-12s: %-12d  %-12s: %-12d  %-12s: %-12d\n", "Iteration", run.info->iter, "regulevel",
       run.info->level, "correctors", run.move.numcor);
  tell_three(run, "pfeasf", run.f.pfeas * p.tau, "dfeasf", run.f.dfeas * p.tau, "gfeasf", run.r.rg);
  tell_three(run, "mu", run.f.mu, "cgapf", run.f.comp + p.tau * p.kappa, "relgap", run.f.gap);
  tell_three(run, "cent(tk)", p.tau * p.kappa / run.f.mu, "cent(f)", run.f.minpair / run.f.mu, "tau", p.tau);
  tell_three(run, "cx", run.f.cx, "by", run.f.by, "kappa", p.kappa);
}

void hom_tellmove(hom_run& run, hom_steps a) {
  tell_three(run, "aapmax", run.move.affine.p, "aadmax", run.move.affine.d, "gamma", run.move.gamma);
  tell_three(run, "alphap", a.p, "alphad", a.d, "residual", run.w.worst);
}

void hom_telllevel(hom_run& run) { tell(run, level_event, "Increase the regulevel to %d.\n", run.info->level); }

void hom_tellrefused(hom_run& run) {
  tell(run, level_event, "New solution is NOT accepted.\n");
  tell(run, level_event, "Gap is not ok (cgapf=%e>%e=cgapt) \n", run.f.mu, run.savedf.mu);
}

void hom_tellend(hom_run& run) {
  const hom_data& d = run.d;
  const span_of_values x = span_of(run.now.x, d.npos), s = span_of(run.now.s, d.npos);
  tell(run, level_summary, "New solution status: %d\n", run.info->solsta);
  tell(run, level_summary, "resp       : %-d\n", static_cast<int>(run.info->response));
  tell(run, level_summary, "solsta     : %-d\n", run.info->solsta);
  tell(run, level_summary, "xmax       : %-18.6e\n", x.most);
  tell(run, level_summary, "xmin       : %-18.6e\n", x.least);
  tell(run, level_summary, "smax       : %-18.6e\n", s.most);
  tell(run, level_summary, "smin       : %-18.6e\n", s.least);
}

} // namespace tvn
