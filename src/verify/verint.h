// What the questions of verify share: how breaches are collected, distances to cones, and the sums over rows and
// columns. A sum carries its largest term, against which its rounding is judged.
#pragma once

#include "verify/verify.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tvn {

// A sum this small beside its terms is rounding of the data, and proves nothing.
inline constexpr double roundoff = 1e-12;

// Keeps the larger; a NaN wins and stays.
inline void worsen(double& worst, double value) {
  if (!std::isnan(worst) && !(value <= worst)) worst = value;
}

// Wrong sign, or a dual where there is no bound.
inline double wrong_sign(double s, bool finite) { return finite ? std::max(0.0, -s) : std::fabs(s); }

inline double cost_of_slack(const problem_view& lp, int32_t i) { return lp.cslack ? lp.cslack[i] : 0.0; }

struct verify_sum {
  long double value = 0;
  double largest = 0; // term

  void add(long double term) {
    value += term;
    largest = std::max(largest, static_cast<double>(std::fabs(term)));
  }
};

// --- cones: each is its own dual, so that the same figures judge points and duals

// Of members v = (v1, rest) of cone k: |rest| - v1, where positive, and |rest|. A rotated cone is turned first.
struct cone_distance {
  double outside, size;
};
cone_distance TVN_verify_conedistance(const cone_view& cone, int32_t k, const double* v);

// The worst of all cones, and of what stands at variables in none of them.
double TVN_verify_outsidecones(const cone_view& cone, const double* v);
double TVN_verify_besidecones(sysenv& sys, const problem_view& lp, const double* v);

// --- quadratic terms

// What Q and the Q_i add at x: to the gradient of the Lagrangian costs'x + 1/2 x'Qx - sum y_i (row i), and to the
// activities. Of rows alone where `objective` is false. Empty where the problem has no such terms.
struct quadratic_part {
  buffer<verify_sum> gradient; // [numvar] Q x - sum y_i Q_i x
  buffer<verify_sum> row;      // [numcon] 1/2 x'Q_i x
  long double form = 0;        // x'Q x

  quadratic_part(sysenv& sys, const problem_view& lp, const double* x, const double* y, bool objective = true);
  verify_sum at_column(int32_t j, double c) const {
    if (gradient.empty()) return {c, std::fabs(c)};
    return {gradient[j].value + c, std::max(gradient[j].largest, std::fabs(c))};
  }
};

// A x with what quadratic rows add.
void TVN_verify_activities(const problem_view& lp, const quadratic_part& q, const double* x, buffer<verify_sum>& act);
// cj - A_j'y.
verify_sum TVN_verify_reduced(const problem_view& lp, int32_t j, verify_sum cj, const double* y);

} // namespace tvn
