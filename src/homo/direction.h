// Newton systems of the homogeneous loops, reduced to x, y and tau:
//
//     [ H    -A'    c1 ] [ dx   ]   [ rx ]
//     [ A     0    -b  ] [ dy   ] = [ ry ]          H diagonal, or with entries beside its diagonal
//     [ -c2'  b'    g  ] [ dtau ]   [ rt ]
//
// One factor, one fixed solve for the column of tau per factor, one solve for each direction. The last row is the
// caller's: its pivot, g less what x and y take away, is a sum of squares that only he can sum without cancellation.
// The system is that with proximal terms, H + Rp and Rd in the lower right corner, which vanish with the steps
// (Friedlander and Orban 2012). To refine to the system without them costs digits where rows are nearly dependent, and
// where rows contradict each other it has no solution; with them y moves along the null space and finds the
// certificate.
#pragma once

#include "homo/conesystem.h"

namespace tvn {

enum class newton_code : int32_t { ok = 0, inaccurate = 1, failed = 2, stopped = 7 };

struct newton {
  kktfac k;
  int32_t n = 0, m = 0;
  buffer<double> h, rp, rd;     // numbers of the factor: [n] [n] [m], and behind those what large cones add
  const double* hoff = nullptr; // of H beside its diagonal, by place in the pattern of the analysis; null: none
  cone_system cones;            // set before newton_make; the system has their columns and rows, too
  buffer<double> bx, by;        // of the last solve, in terms of the system, where there are cones
  buffer<double> px, py;        // [n] [m] fixed direction: tau enters others by it
  buffer<double> work;          // [n] with Q
  buffer<double> vpx;           // [members of cones] W px
  double pivot = 0;             // of tau, after elimination of x and y; positive
  bool proximal = true;         // false: solves aim at the system without Rp and Rd
  double worst = 0;             // residual of the solves since the factor
  double trusted = 1e-6;        // residual up to which a solve counts as accurate
};

void newton_make(sysenv& sys, int32_t m, int32_t n, const kktfac_params& params, newton& w);
[[nodiscard]] newton_code newton_analyse(newton& w, const kkt_columns& a, const kkt_quadratic& q);
// h, rp, rd are set.
[[nodiscard]] newton_code newton_factor(newton& w);
// px and py are -c1 and b, and become the fixed direction.
[[nodiscard]] newton_code newton_fixed(newton& w) noexcept;
// What the proximal terms add to the pivot of tau.
double newton_proximal(const newton& w) noexcept;
// W x of the last solution, where there are cones. v: [members].
void newton_scaled(const newton& w, double* v) noexcept;
// H x - A'y = x, A x = y: right sides, then the solution; y with the sign of the system above.
[[nodiscard]] newton_code newton_block(newton& w, double* x, double* y) noexcept;
// Completes a solution by the step of tau.
void newton_addtau(const newton& w, double t, double* x, double* y) noexcept;

} // namespace tvn
