// Update of the primal simplex after a step: reduced costs and weights, values of the basics.
//
// Weights: devex (Forrest and Goldfarb 1992, reference framework), steepest edge (Goldfarb and Reid 1977) and its
// approximation that drops the product term.
#include "simplex/primal/pstate.h"

#include <cmath>

namespace tvn {

namespace {

constexpr double maxweight = 1e20;

bool is_method(const primal_state& s, int32_t base) {
  return s.price.method == base || s.price.method == base + sel_restrict;
}

// Norm of the entering column in the terms of the method: the weight that the entering variable should have.
double true_weight(const primal_state& s, int32_t q) {
  if (!is_method(s, sel_devex)) return 1 + s.ratio.colnorm;
  double sum = s.price.inframe[q] ? 1.0 : 0.0;
  for (int32_t p = 0; p < s.aq.count; p++) {
    const int32_t k = s.aq.idx[p];
    if (s.price.inframe[s.fac.head[k]]) sum += s.aq.val[k] * s.aq.val[k];
  }
  return std::max(sum, 1e-4);
}

// Product of column j with a dense row vector, on plain pointers.
struct column_product {
  explicit column_product(const primal_state& s, const spvec& v)
      : m(s.work.m), beg(s.work.colbeg.data()), sub(s.work.colsub.data()), val(s.work.colval.data()),
        row(v.val.data()) {}
  int32_t m;
  const int64_t* beg;
  const int32_t* sub;
  const double *val, *row;

  double operator()(int32_t j) const {
    if (j < m) return -row[j];
    double sum = 0;
    for (int64_t p = beg[j - m], e = beg[j - m + 1]; p < e; p++) sum += val[p] * row[sub[p]];
    return sum;
  }
};

// d -= theta alpha over the pivot row, weights by `grow(j, weight, alpha_j / pivot)`.
template <class Grow> void sweep_row(primal_state& s, double theta, double pivot, const Grow& grow) {
  const int32_t* const idx = s.alpha.idx.data();
  const double* const alpha = s.alpha.val.data();
  double *const d = s.d.data(), *const weight = s.price.weight.data();
  const uint8_t* const side = s.price.side.data();
  const double tols = s.tol.dual;
  for (int32_t p = 0, num = s.alpha.count; p < num; p++) {
    const int32_t j = idx[p];
    const double a = alpha[j];
    if (a == 0.0) continue;
    const double dj = d[j] - theta * a;
    d[j] = dj;
    weight[j] = std::min(grow(j, weight[j], a / pivot), maxweight);
    if (psimplex_isattractive(side[j], dj, tols) != ((side[j] & side_listed) != 0)) psimplex_movecandidate(s.price, j);
    psimplex_shortlist(s.price, j, dj, weight[j]);
  }
}

} // namespace

void psimplex_updateduals(primal_state& s, int32_t q, int32_t leaving, double pivot, double dq) {
  const double theta = dq / pivot;
  const double wq = true_weight(s, q);
  const bool weighted = !is_method(s, sel_full);
  if (weighted && s.price.weight[q] > 3 * wq) s.price.weighterrors++;
  s.alpha.val[q] = 0; // it leaves the row
  if (is_method(s, sel_se)) {
    const column_product product(s, s.tau);
    sweep_row(s, theta, pivot, [&](int32_t j, double w, double ratio) {
      const double square = ratio * ratio;
      return std::max(w - 2 * ratio * product(j) + square * wq, 1 + square);
    });
  } else if (weighted) {
    sweep_row(s, theta, pivot, [&](int32_t, double w, double ratio) { return std::max(w, ratio * ratio * wq); });
  } else {
    sweep_row(s, theta, pivot, [&](int32_t, double w, double) { return w; });
  }
  s.d[q] = 0;
  s.d[leaving] = -theta;
  if (weighted) s.price.weight[leaving] = std::min(std::max(wq / (pivot * pivot), 1.0), maxweight);
}

void psimplex_movebasics(primal_state& s, double sigma, double step) {
  s.inf.numchanged = 0;
  const bool watch = s.phase == 1;
  if (step == 0 && !watch) return;
  const double by = sigma * step;
  const int32_t *const idx = s.aq.idx.data(), *const head = s.fac.head.data();
  const double* const aq = s.aq.val.data();
  basic_entry* const basics = s.basics.data();
  double* const x = s.x.data();
  for (int32_t p = 0, num = s.aq.count; p < num; p++) {
    const int32_t k = idx[p];
    basic_entry& b = basics[k];
    b.x -= by * aq[k];
    x[head[k]] = b.x;
    if (!watch) continue;
    const int8_t now = b.lo - b.x > s.tolfeas ? -1 : b.x - b.up > s.tolfeas ? 1 : 0;
    if (now == s.infeas[k]) continue;
    s.inf.changed[s.inf.numchanged] = k;
    s.inf.delta[s.inf.numchanged++] = static_cast<int8_t>(now - s.infeas[k]);
    s.inf.num += (now != 0) - (s.infeas[k] != 0);
    s.infeas[k] = now;
  }
}

} // namespace tvn
