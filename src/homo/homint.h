// What the parts of the loop share: the scaled problem, points, residuals, figures.
//
// The model, homogeneous and self-dual, on the scaled problem:
//
//     A x - b tau = 0,   x + xup - u tau = 0,   A'y + s - sup - Q x - c tau = 0,
//     -c'x + b'y - u'sup - x'Qx / tau - kappa = 0
//
// with x s, xup sup and tau kappa driven to 0 (Ye, Todd and Mizuno 1994; Xu, Hung and Ye 1996; with Q Andersen and Ye
// 1999; Goulart and Chen 2024). Columns stand in the order: lower bound only, lower and upper bound, free, members of
// cones; s is 0 on free ones. Cones take part by their Jordan algebra (quadcone.h) in the scaling of Nesterov and Todd:
// W dx + W^-1 ds = lambda \ r. All factors of scaling are powers of two, one for a cone.
#pragma once

#include "homo/direction.h"
#include "homo/hslv.h"

#include <algorithm>

namespace tvn {

// Q, scaled, in the order of the columns.
struct hom_quadratic {
  buffer<double> diag; // [n] empty: the problem is linear
  buffer<int64_t> beg; // [n + 1] the strict triangle, each pair once; empty: Q is diagonal
  buffer<int32_t> sub;
  buffer<double> val;

  bool any() const noexcept { return !diag.empty(); }
  kkt_quadratic pattern() const noexcept {
    return beg.empty() ? kkt_quadratic{} : kkt_quadratic{beg.data(), beg.data() + 1, sub.data()};
  }
  // to := Q x.
  void multiply(const double* x, double* to) const noexcept;
  // v'Qv, at least 0.
  double form(const double* v) const noexcept {
    double sum = 0;
    for (int64_t j = 0; j < diag.size(); j++) {
      double row = 0;
      for (int64_t p = beg.empty() ? 0 : beg[j]; p < (beg.empty() ? 0 : beg[j + 1]); p++) row += val[p] * v[sub[p]];
      sum += v[j] * (diag[j] * v[j] + 2 * row);
    }
    return std::max(sum, 0.0);
  }
};

struct hom_data {
  int32_t m = 0, n = 0;
  int32_t npos = 0, nup = 0; // columns with a lower bound; the last nup of them have an upper one, too
  buffer<int32_t> order;     // [n] place here -> column of the caller
  buffer<int64_t> beg;       // [n + 1]
  buffer<int32_t> sub;
  buffer<double> val;
  buffer<double> c, b, u;                      // [n] [m] [nup]
  buffer<double> xunit, sunit, yunit, rowunit; // caller's value = unit * scaled: x and xup, s and sup, y, rows
  double objunit = 1, cfix = 0;
  double norma = 0, normb = 0, normc = 0, normq = 0; // largest entries of the caller's A; b and u; c; Q
  hom_quadratic q;
  int32_t numcone = 0;
  buffer<int32_t> conebeg; // [numcone + 1] columns of each, head first

  int32_t up0() const noexcept { return npos - nup; }
  int32_t cone0() const noexcept { return numcone > 0 ? conebeg[0] : n; }
  int32_t nummember() const noexcept { return n - cone0(); }
  // x is tied to the equations of the duals: both sides take one step.
  bool onestep() const noexcept { return q.any() || numcone > 0; }
  int64_t numpairs() const noexcept { return int64_t{npos} + nup + numcone + 1; } // a cone counts as one
  template <class F> void each_cone(F f) const noexcept { // f(first member from cone0, column, size)
    for (int32_t k = 0; k < numcone; k++) f(conebeg[k] - conebeg[0], conebeg[k], conebeg[k + 1] - conebeg[k]);
  }
  kkt_columns columns() const noexcept { return {m, n, beg.data(), beg.data() + 1, sub.data(), val.data()}; }
};

// Of a point or a direction.
struct hom_point {
  buffer<double> all;
  double *x = nullptr, *s = nullptr;     // [n]
  double *xup = nullptr, *sup = nullptr; // [nup]
  double *vx = nullptr, *vs = nullptr;   // [nummember] of cones, W x and W^-1 s, at the scaling last set
  double* y = nullptr;                   // [m]
  double tau = 0, kappa = 0;

  void make(sysenv& sys, const hom_data& d);
  void copy(const hom_point& from) noexcept;
  void add(double factor, const hom_point& d) noexcept; // with tau and kappa
};

struct hom_residual {
  buffer<double> rp, ru, rd; // [m] [nup] [n] of the first three equations
  buffer<double> qx;         // [n] Q x of the point; empty for a linear problem
  double rg = 0;             // of the last
};

// In units of the caller but for mu; objectives and residuals those of the point divided by tau.
struct hom_figures {
  double cx = 0, by = 0; // scaled: c'x, b'y - u'sup
  double xqx = 0;        // scaled: x'Qx
  double comp = 0;       // scaled: x's + xup'sup
  double mu = 0, minpair = 0;
  double pobj = 0, dobj = 0, gap = 0; // objectives without cfix; gap relative
  double pfeas = 0, dfeas = 0, kaptau = 0;
  double rayx = 0;  // norm of the rows without b tau; not divided
  double rayq = 0;  // of Q x
  double rayy = 0;  // of the columns without c tau, with the best s and sup for y
  double rayby = 0; // scaled: b'y - u'sup with them
};

// Right side of a Newton system: how much of the residuals to remove, and the products aimed at less those at hand.
struct hom_aim {
  double feas = 0;
  buffer<double> xs, xsup, cone; // [npos] [nup] [nummember]
  double tk = 0;
};

struct hom_steps {
  double p = 0, d = 0;
  double least() const noexcept { return p < d ? p : d; }
};

// What a point lacks, in tolerances: 1 and less is enough.
struct hom_grades {
  double primal = 0, dual = 0, gap = 0; // of an optimum
  double ray = 0, farkas = 0;           // of certificates
  double merit() const noexcept { return std::max({primal, dual, gap}); }
  double certificate() const noexcept { return std::min(ray, farkas); }
};

hom_grades hom_grade(const hom_data& d, const hs_param& tol, const hom_figures& f) noexcept;
// The status that the grades support: optimal, a certificate, or unknown.
int32_t hom_terminate(const hom_grades& g) noexcept;

void hom_setup(sysenv& sys, const hs_problem& problem, const hs_param& param, hom_data& d);
// Q of the caller in the order of d, not scaled; col: [n] factors of the columns, both: of all of Q.
void hom_copyquadratic(sysenv& sys, const sym_view& q, hom_data& d);
void hom_scalequadratic(const double* col, double both, hom_data& d) noexcept;
// Is every cone strictly kept on both sides?
bool hom_inside(const hom_data& d, const hom_point& p) noexcept;
// The scaling of the cones at a point, which gets its vx and vs; false when it is not inside.
[[nodiscard]] bool hom_scalecones(const hom_data& d, cone_system& c, hom_point& p) noexcept;
// Residuals and figures of a point.
void hom_measure(const hom_data& d, const hom_point& p, hom_residual& r, hom_figures& f) noexcept;

// Largest steps, at most 1, that keep p + a dir, or p + a[t] (dir + omega[t] e) for some weights, in the cone. With Q
// or cones both are one: they tie x to the equations of the duals.
constexpr int32_t hom_most_weights = 8;
hom_steps hom_maxsteps(const hom_data& d, const hom_point& p, const hom_point& dir) noexcept;
void hom_maxsteps(const hom_data& d, const hom_point& p, const hom_point& dir, const hom_point& e,
                  array_view<const double> omega, hom_steps* a) noexcept;

// Diagonal of the system, sums for tau, and the factor; then a direction.
// The scaling of the cones is set.
[[nodiscard]] newton_code hom_factor(const hom_data& d, const hom_point& p, double rho, double delta, newton& w);
[[nodiscard]] newton_code hom_search(const hom_data& d, const hom_point& p, const hom_residual& r, const hom_aim& aim,
                                     newton& w, hom_point& dir) noexcept;

// other and r are work.
[[nodiscard]] newton_code hom_start(const hom_data& d, const hs_param& param, newton& w, hom_residual& r,
                                    hom_point& other, hom_point& p);

// Steps shorter than the largest, a share of at most `most`, so that the pair that blocks keeps gamma times
// the mean product.
hom_steps hom_shorten(const hom_data& d, const hom_point& p, const hom_point& dir, hom_steps a, double most,
                      double gamma) noexcept;
// Moves both sides by their own steps and brings them back to one tau.
void hom_update(const hom_data& d, const hom_point& dir, hom_steps a, hom_point& p) noexcept;

// A direction in the making.
struct hom_move {
  hom_point dir, cor; // so far, and what may be added
  hom_aim aim;
  hom_steps a, affine; // largest steps of dir, and of the predictor
  double gamma = 0;    // share of mu that is aimed at
  int32_t numcor = 0;  // further correctors that were taken

  void make(sysenv& sys, const hom_data& d);
};

// Predictor, corrector and up to maxcor further correctors (homcor.cpp).
[[nodiscard]] newton_code hom_choosemove(const hom_data& d, const hom_point& p, const hom_residual& r,
                                         const hom_figures& f, int32_t maxcor, newton& w, hom_move& v) noexcept;

// Guesses of status keys, in the order of the caller.
void hom_setstakey(const hom_data& d, const hom_point& p, const hom_point& dir, hom_steps a, int32_t* key) noexcept;

} // namespace tvn
