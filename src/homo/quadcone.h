// The quadratic cone v0 >= |(v1, .., vk-1)| and its Jordan algebra, on the members of one cone.
//
// det v = v0^2 - |v_rest|^2, the eigenvalues of v are v0 +- |v_rest|, e = (1, 0, .., 0), and
// a o b = (a'b, a0 b_rest + b0 a_rest). The scaling of Nesterov and Todd (1997) of x and s inside the cone is
// W = theta P(w)^(1/2) with det w = 1: W x = W^-1 s = lambda, and W^2 = theta^2 (2 w w' - J) with J = diag(1, -1, ..).
// Near the border x0 - |x_rest| is summed in long double, and lambda comes from x and s themselves: as W x it would
// lose the square of what that loses. Cost: O(k) each.
#pragma once

#include "cpub/buffer.h"

namespace tvn {

// v0 - |v_rest|; a NaN stays.
double quadcone_least(const double* v, int32_t num) noexcept;
double quadcone_dot(const double* a, const double* b, int32_t num) noexcept;  // in long double
double quadcone_dets(const double* x, const double* s, int32_t num) noexcept; // det x det s, 0 outside
// to := a o b; to may be neither.
void quadcone_product(const double* a, const double* b, int32_t num, double* to) noexcept;
// r := q with l o q = r, l inside the cone.
void quadcone_divide(const double* l, int32_t num, double* r) noexcept;

// theta, w and lambda of x and s; false when they are not both inside.
bool quadcone_scale(const double* x, const double* s, int32_t num, double& theta, double* w, double* lambda) noexcept;
// v := W v, W^-1 v.
void quadcone_times(double theta, const double* w, int32_t num, double* v) noexcept;
void quadcone_over(double theta, const double* w, int32_t num, double* v) noexcept;

// The largest decrease of l + a (d + omega e) relative to l, whose step to the border is 1 / decrease; e may be null.
double quadcone_decrease(const double* l, const double* d, const double* e, double omega, int32_t num) noexcept;

// The products p o q brought back between low and high times e, as what is to be added to them: its eigenvalues.
void quadcone_back(const double* p, const double* q, double low, double high, int32_t num, double* to) noexcept;

} // namespace tvn
