// The two clocks, and the text of a wall-clock time. See timer.h.
#include "cpub/timer.h"

#include <cmath>
#include <cstdio>
#include <ctime>
#include <sys/time.h>

namespace tvn {

double TVN_sysenv_gettime() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<double>(tv.tv_sec) + static_cast<double>(tv.tv_usec) / 1e6;
}

systime TVN_sysenv_readtime() noexcept { return {TVN_sysenv_gettime()}; }

double TVN_sysenv_getwctime() noexcept { return static_cast<double>(std::time(nullptr)); }

wctime TVN_sysenv_readwctime() noexcept { return {TVN_sysenv_getwctime()}; }

const char* TVN_sysenv_wctimetostr(const wctime& t, char (&to)[32]) noexcept {
  to[0] = '\0';
  if (!(std::fabs(t.sec) < 1e17)) return to; // beyond what a calendar can hold, or no number
  const auto seconds = static_cast<time_t>(t.sec);
  struct tm local {};
  char text[64];
  if (localtime_r(&seconds, &local) && asctime_r(&local, text)) std::snprintf(to, sizeof to, "%.24s", text);
  return to;
}

void TVN_sysenv_settimer(sysenv& sys, timer_kind kind) noexcept { sys.timer = kind; }

double TVN_sysenv_gettimer(const sysenv& sys) noexcept {
  switch (sys.timer) {
  case timer_kind::system: return TVN_sysenv_gettime();
  case timer_kind::wallclock: return TVN_sysenv_getwctime();
  }
  return 0;
}

} // namespace tvn
