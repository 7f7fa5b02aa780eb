// The problem in the order and the units of the loop.
//
// Factors are powers of two, which change no digit: passes of geometric means over rows and columns, then columns and
// rows brought to a largest entry near 1, then b with u, and c by one power each.
#include "homo/homint.h"

#include <algorithm>
#include <cmath>

namespace tvn {

namespace {

constexpr int32_t max_passes = 4;
constexpr double most_reach = 16; // of a column in these passes: more spreads the costs, which they do not see (gas11)
constexpr double most_quadratic = 1e4, most_heed = 1024; // of Q beside b and c near 1; what c becomes less for it
constexpr double good_spread = 1e3;                      // of largest to least entry: passes of means end

struct span_of {
  double least = HUGE_VAL, most = 0;
  void see(double v) noexcept {
    least = std::min(least, v);
    most = std::max(most, v);
  }
};

// The power of two nearest to v by ratio.
double power_of(double v) noexcept {
  if (!(v > 0) || !std::isfinite(v)) return 1.0;
  int exponent = 0;
  return std::frexp(v, &exponent) < 0.70710678118654752 ? std::ldexp(1.0, exponent - 1) : std::ldexp(1.0, exponent);
}

double mean_of(const span_of& s) noexcept { return s.most > 0 ? power_of(std::sqrt(s.least) * std::sqrt(s.most)) : 1; }

struct factors {
  buffer<double> row, col; // A's entries are multiplied with
  buffer<span_of> span;    // [m] work
};

void span_rows(const hom_data& d, factors& f) noexcept {
  std::fill(f.span.begin(), f.span.end(), span_of{});
  for (int32_t j = 0; j < d.n; j++)
    for (int64_t p = d.beg[j]; p < d.beg[j + 1]; p++)
      if (d.val[p] != 0) f.span[d.sub[p]].see(std::fabs(d.val[p]) * f.row[d.sub[p]] * f.col[j]);
}

span_of span_column(const hom_data& d, const factors& f, int32_t j) noexcept {
  span_of s;
  for (int64_t p = d.beg[j]; p < d.beg[j + 1]; p++)
    if (d.val[p] != 0) s.see(std::fabs(d.val[p]) * f.row[d.sub[p]] * f.col[j]);
  return s;
}

// The members of a cone share a factor.
template <class F> void each_factor(const hom_data& d, factors& f, F next) noexcept {
  for (int32_t j = 0; j < d.cone0(); j++) f.col[j] = next(f.col[j], span_column(d, f, j));
  d.each_cone([&](int32_t, int32_t j, int32_t size) {
    span_of all;
    for (int32_t i = 0; i < size; i++) {
      const span_of s = span_column(d, f, j + i);
      all.least = std::min(all.least, s.least);
      all.most = std::max(all.most, s.most);
    }
    std::fill_n(f.col.data() + j, size, next(f.col[j], all));
  });
}

void find_factors(const hom_data& d, factors& f) noexcept {
  for (int32_t pass = 0; pass < max_passes; pass++) {
    span_rows(d, f);
    double spread = 1;
    for (int32_t i = 0; i < d.m; i++) {
      if (f.span[i].most > 0) spread = std::max(spread, f.span[i].most / f.span[i].least);
      f.row[i] /= mean_of(f.span[i]);
    }
    if (spread <= good_spread) break;
    each_factor(d, f, [](double factor, const span_of& s) {
      return std::clamp(factor / mean_of(s), 1 / most_reach, most_reach);
    });
  }
  each_factor(d, f, [](double factor, const span_of& s) { return factor / power_of(s.most); });
  span_rows(d, f);
  for (int32_t i = 0; i < d.m; i++) f.row[i] /= power_of(f.span[i].most);
}

double largest(const buffer<double>& v) noexcept {
  double most = 0;
  for (const double t : v) most = std::max(most, std::fabs(t));
  return most;
}

void copy_columns(sysenv& sys, const hs_problem& problem, hom_data& d) {
  int64_t nnz = 0;
  int32_t place[4] = {0, 0, 0, 0}; // lower only, ranged, free, of cones
  const int32_t cone0 = problem.numcone > 0 ? problem.conebeg[0] : d.n;
  const auto kind = [&](int32_t j) {
    return j >= cone0 ? 3 : problem.bk[j] == bk_lo ? 0 : problem.bk[j] == bk_ra ? 1 : 2;
  };
  d.numcone = problem.numcone;
  d.conebeg.reset(sys, d.numcone > 0 ? d.numcone + 1 : 0);
  std::copy_n(problem.conebeg, d.conebeg.size(), d.conebeg.data());
  for (int32_t j = 0; j < d.n; j++) {
    nnz += problem.a.length(j);
    place[kind(j)]++;
  }
  d.nup = place[1];
  d.npos = place[0] + place[1];
  place[1] = place[0];
  place[0] = 0;
  place[2] = d.npos;
  place[3] = cone0;
  d.order.reset(sys, d.n);
  for (int32_t j = 0; j < d.n; j++) d.order[place[kind(j)]++] = j;
  d.beg.reset(sys, int64_t{d.n} + 1, 0);
  d.sub.reset(sys, nnz);
  d.val.reset(sys, nnz);
  d.c.reset(sys, d.n);
  d.u.reset(sys, d.nup);
  for (int32_t k = 0; k < d.n; k++) {
    const int32_t j = d.order[k];
    const int64_t len = problem.a.length(j);
    std::copy_n(problem.a.sub + problem.a.beg[j], len, d.sub.data() + d.beg[k]);
    std::copy_n(problem.a.val + problem.a.beg[j], len, d.val.data() + d.beg[k]);
    d.beg[k + 1] = d.beg[k] + len;
    d.c[k] = problem.c[j];
    if (k >= d.up0() && k < d.npos) d.u[k - d.up0()] = problem.up[j];
  }
  d.b.reset(sys, d.m);
  std::copy_n(problem.b, d.m, d.b.data());
}

// What is to be near 1 of the costs: c, or a part of Q where that is so large that the first x are far too large for it
// (boyd1: 28 iterations for 22; hues-mod 58 for 38). On the diagonal is the largest entry of a semidefinite Q.
double cost_unit(const hom_data& d, const factors& f, double beta, bool heedq) noexcept {
  const double c = largest(d.c);
  double q = 0;
  for (int64_t j = 0; heedq && j < d.q.diag.size(); j++) q = std::max(q, std::fabs(d.q.diag[j]) * f.col[j] * f.col[j]);
  q /= beta * most_quadratic;
  return c > 0 ? std::clamp(q, c, most_heed * c) : q;
}

// Scales the data and notes the way back. beta, gamma: what b and c are multiplied with beside.
void apply_factors(const factors& f, bool scaling, bool heedq, hom_data& d) noexcept {
  for (int32_t j = 0; j < d.n; j++) {
    for (int64_t p = d.beg[j]; p < d.beg[j + 1]; p++) d.val[p] *= f.row[d.sub[p]] * f.col[j];
    d.c[j] *= f.col[j];
  }
  for (int32_t i = 0; i < d.m; i++) d.b[i] *= f.row[i];
  for (int32_t k = 0; k < d.nup; k++) d.u[k] /= f.col[d.up0() + k];
  const double beta = scaling ? 1 / power_of(largest(d.b)) : 1;
  const double gamma = scaling ? 1 / power_of(cost_unit(d, f, beta, heedq)) : 1;
  for (double& v : d.b) v *= beta;
  for (double& v : d.u) v *= beta;
  for (double& v : d.c) v *= gamma;
  d.objunit = 1 / (beta * gamma);
  hom_scalequadratic(f.col.data(), gamma / beta, d);
  for (int32_t j = 0; j < d.n; j++) {
    d.xunit[j] = f.col[j] / beta;
    d.sunit[j] = 1 / (f.col[j] * gamma);
  }
  for (int32_t i = 0; i < d.m; i++) {
    d.yunit[i] = f.row[i] / gamma;
    d.rowunit[i] = 1 / (f.row[i] * beta);
  }
}

} // namespace

void hom_setup(sysenv& sys, const hs_problem& problem, const hs_param& param, hom_data& d) {
  d.m = problem.a.numrow;
  d.n = problem.a.numcol;
  d.cfix = problem.cfix;
  copy_columns(sys, problem, d);
  d.norma = largest(d.val);
  d.normb = std::max(largest(d.b), largest(d.u));
  d.normc = largest(d.c);
  hom_copyquadratic(sys, problem.q, d);
  factors f;
  f.row.reset(sys, d.m, 1.0);
  f.col.reset(sys, d.n, 1.0);
  f.span.reset(sys, d.m);
  for (buffer<double>* v : {&d.xunit, &d.sunit}) v->reset(sys, d.n);
  for (buffer<double>* v : {&d.yunit, &d.rowunit}) v->reset(sys, d.m);
  if (param.scaling) find_factors(d, f);
  apply_factors(f, param.scaling, param.heedq, d);
}

} // namespace tvn
