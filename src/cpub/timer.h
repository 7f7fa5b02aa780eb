// Two families of times: microseconds of the system clock, and whole seconds of wall-clock time.
//
// Both are seconds since the epoch in a double, wrapped so that the two do not mix. The system clock may be set while
// we run: a difference can be negative, and callers that compare with a limit take it as it is.
#pragma once

#include "cpub/sysenv.h"

namespace tvn {

struct systime {
  double sec = 0; // with microseconds
};
struct wctime {
  double sec = 0; // whole
};

systime TVN_sysenv_readtime() noexcept;
inline void TVN_sysenv_zerotime(systime& t) noexcept { t.sec = 0; }
inline void TVN_sysenv_copytime(const systime& from, systime& to) noexcept { to = from; }
inline void TVN_sysenv_inctime(systime& t, const systime& by) noexcept { t.sec += by.sec; }
// to - from
inline systime TVN_sysenv_difftime(const systime& to, const systime& from) noexcept { return {to.sec - from.sec}; }
inline double TVN_sysenv_timetodouble(const systime& t) noexcept { return t.sec; }

double TVN_sysenv_getwctime() noexcept;
wctime TVN_sysenv_readwctime() noexcept;
inline void TVN_sysenv_zerowctime(wctime& t) noexcept { t.sec = 0; }
inline void TVN_sysenv_copywctime(const wctime& from, wctime& to) noexcept { to = from; }
inline void TVN_sysenv_incwctime(wctime& t, const wctime& by) noexcept { t.sec += by.sec; }
inline wctime TVN_sysenv_diffwctime(const wctime& to, const wctime& from) noexcept { return {to.sec - from.sec}; }
inline double TVN_sysenv_wctimetodouble(const wctime& t) noexcept { return t.sec; }

// Local time in the form "Sat Nov 21 11:00:07 2026", whatever the locale; empty when the time has no such form.
const char* TVN_sysenv_wctimetostr(const wctime& t, char (&to)[32]) noexcept;

// Picks the clock that TVN_sysenv_gettimer reads.
void TVN_sysenv_settimer(sysenv& sys, timer_kind kind) noexcept;
double TVN_sysenv_gettimer(const sysenv& sys) noexcept;

} // namespace tvn
