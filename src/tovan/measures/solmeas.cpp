// Violations and objective values, item by item. See solmeas.h.
#include "tovan/measures/solmeas.h"

#include "misc/optdef.h"
#include "tovan/data/nlfunc.h"
#include "tovan/task/convert.h"

#include <cmath>

namespace tvn {

namespace {

bool says_infeasible(int32_t prosta) noexcept {
  return prosta == TVN_PRO_STA_PRIM_INFEAS || prosta == TVN_PRO_STA_DUAL_INFEAS ||
         prosta == TVN_PRO_STA_PRIM_AND_DUAL_INFEAS;
}

// Terms of one region at x: the value 0.5 x'Qx is returned, weight times Qx added to the gradient.
long double add_quadratic(const qterms& q, int64_t begin, int64_t end, const double* x, double weight,
                          double* gradient) noexcept {
  long double value = 0;
  for (int64_t p = begin; p < end; p++) {
    const int32_t i = q.subi[p], j = q.subj[p];
    const long double term = static_cast<long double>(q.val[p]) * x[i];
    value += i == j ? 0.5L * term * x[j] : term * x[j];
    gradient[j] += static_cast<double>(weight * term);
    if (i != j) gradient[i] += static_cast<double>(static_cast<long double>(weight) * q.val[p] * x[j]);
  }
  return value;
}

// The sum that nonlinear_terms tells, item by item as the terms come in.
struct lagrangian_sum {
  nonlinear_terms& nl;
  long double objective = 0, value = 0;

  void add_objective(const measured_solution& m, long double v) noexcept {
    objective += v;
    value += m.f * v;
  }
  void add_row(const measured_solution& m, int32_t i, long double v) noexcept {
    nl.row[i] += static_cast<double>(v);
    if (m.s.y) value -= m.s.y[i] * v;
  }
};

void add_quadratic_terms(const problem& p, const measured_solution& m, lagrangian_sum& sum) noexcept {
  const qterms& q = p.q;
  double* gradient = sum.nl.gradient.data();
  sum.add_objective(m, add_quadratic(q, q.objbegin, q.objend, m.s.xx, m.f, gradient));
  if (q.conbegin.empty()) return;
  for (int32_t i = 0; i < p.numcon; i++)
    sum.add_row(m, i, add_quadratic(q, q.conbegin[i], q.conend[i], m.s.xx, m.s.y ? -m.s.y[i] : 0.0, gradient));
}

TVNrescodee add_user_terms(task& t, const measured_solution& m, lagrangian_sum& sum) {
  nl_values v;
  if (const TVNrescodee code = nl_evaluate(t, m.s.xx, v)) return code;
  sum.add_objective(m, v.objval);
  for (int32_t i = 0; i < t.prob.numcon; i++) sum.add_row(m, i, v.conval[i]);
  for (int32_t item = -1; item < t.prob.numcon; item++) {
    const double weight = item < 0 ? m.f : m.s.y ? -m.s.y[item] : 0.0;
    for (int64_t p = v.begin[item + 1]; p < v.begin[item + 2]; p++)
      sum.nl.gradient[v.grdsub[p]] += weight * v.grdval[p];
  }
  return TVN_RES_OK;
}

} // namespace

double worse(double a, double b) noexcept { return std::isnan(a) || b <= a ? a : b; }

measured_solution make_measured(task& t, int32_t whichsol) {
  measured_solution m;
  m.s = TVN_getsolptrs(t, whichsol);
  m.f = says_infeasible(t.sols.prosta[whichsol]) ? 0.0 : 1.0;
  m.sign = TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE ? 1.0 : -1.0;
  m.constant = is_certificate(t.sols.solsta[whichsol]) ? 0.0 : t.prob.cfix;
  return m;
}

TVNrescodee nonlinear_at(task& t, const measured_solution& m, nonlinear_kind kind, nonlinear_terms& nl) {
  const problem& p = t.prob;
  const bool quadratic = kind == nonlinear_kind::all && (has_qobj(p) || has_qcon(p));
  nl.any = (quadratic || has_nlfunc(t)) && p.numvar > 0;
  if (!nl.any) return TVN_RES_OK;
  nl.row.reset(*t.sys, p.numcon, 0.0);
  nl.gradient.reset(*t.sys, p.numvar, 0.0);
  lagrangian_sum sum{nl};
  if (quadratic) add_quadratic_terms(p, m, sum);
  if (has_nlfunc(t))
    if (const TVNrescodee code = add_user_terms(t, m, sum)) return code;
  for (int32_t j = 0; j < p.numvar; j++) sum.value -= static_cast<long double>(m.s.xx[j]) * nl.gradient[j];
  nl.objective = static_cast<double>(sum.objective);
  nl.lagrangian = static_cast<double>(sum.value);
  return TVN_RES_OK;
}

side_view side_of(task& t, const sol_ptrs& s, int32_t accmode) noexcept {
  if (accmode == TVN_ACC_CON) return {side_bounds(t.prob, accmode), s.xc, s.slc, s.suc};
  return {side_bounds(t.prob, accmode), s.xx, s.slx, s.sux};
}

double bound_violation(const side_view& v, int32_t i, double f, bool normalize) noexcept {
  double worst = 0.0;
  if (has_lower(v.b.bk[i])) {
    const double scale = normalize ? std::max(std::fabs(v.b.bl[i]), 1.0) : 1.0;
    worst = worse(worst, (f * v.b.bl[i] - v.x[i]) / scale);
  }
  if (has_upper(v.b.bk[i])) {
    const double scale = normalize ? std::max(std::fabs(v.b.bu[i]), 1.0) : 1.0;
    worst = worse(worst, (v.x[i] - f * v.b.bu[i]) / scale);
  }
  return worst;
}

double dual_bound_violation(const side_view& v, int32_t i, double sign) noexcept {
  double worst = worse(worse(0.0, sign * v.sl[i]), sign * v.su[i]);
  if (!has_lower(v.b.bk[i])) worst = worse(worst, std::fabs(v.sl[i]));
  if (!has_upper(v.b.bk[i])) worst = worse(worst, std::fabs(v.su[i]));
  return worst;
}

row_sums::row_sums(task& t, const sol_ptrs& s, const nonlinear_terms& nl)
    : high(t.buffers, t.prob.numcon, false), low(t.buffers, t.prob.numcon, false),
      scale(t.buffers, t.prob.numcon, false) {
  const problem& p = t.prob;
  for (int32_t i = 0; i < p.numcon; i++) {
    high[i] = s.xc[i];
    low[i] = 0.0;
    scale[i] = std::max(1.0, std::fabs(s.xc[i]));
    if (nl.any) subtract(i, nl.row[i]);
  }
  const sprmat_view a = TVN_sprmat_viewcols(get_a(t));
  for (int32_t j = 0; j < p.numvar; j++)
    for (int64_t q = a.ptrb[j]; q < a.ptre[j]; q++) subtract(a.sub[q], static_cast<long double>(a.val[q]) * s.xx[j]);
}

void row_sums::subtract(int32_t i, long double term) noexcept {
  const long double sum = static_cast<long double>(high[i]) + low[i] - term;
  high[i] = static_cast<double>(sum);
  low[i] = static_cast<double>(sum - high[i]);
  scale[i] = std::max(scale[i], std::fabs(static_cast<double>(term)));
}

double row_sums::residual(int32_t i) noexcept { return std::fabs(high[i] + low[i]); }

double dual_row_residual(const problem& p, const measured_solution& m, int32_t i, bool normalize) noexcept {
  const sol_ptrs& s = m.s;
  const double cost = m.f * p.cslack[i];
  const long double r = static_cast<long double>(cost) + s.y[i] - s.slc[i] + s.suc[i];
  double scale = 1.0;
  for (const double term : {cost, s.y[i], s.slc[i], s.suc[i]}) scale = std::max(scale, std::fabs(term));
  return std::fabs(static_cast<double>(r)) / (normalize ? scale : 1.0);
}

double dual_column_residual(const problem& p, const sprmat_view& a, const measured_solution& m,
                            const nonlinear_terms& nl, int32_t j, bool normalize) noexcept {
  const sol_ptrs& s = m.s;
  const double cost = m.f * p.c[j], d = nl.any ? nl.gradient[j] : 0.0, snx = s.snx ? s.snx[j] : 0.0;
  long double r = static_cast<long double>(cost) + d - s.slx[j] + s.sux[j] - snx;
  double scale = 1.0;
  for (const double term : {cost, d, s.slx[j], s.sux[j], snx}) scale = std::max(scale, std::fabs(term));
  for (int64_t q = a.ptrb[j]; q < a.ptre[j]; q++) {
    const long double term = static_cast<long double>(a.val[q]) * s.y[a.sub[q]];
    r -= term;
    scale = std::max(scale, std::fabs(static_cast<double>(term)));
  }
  return std::fabs(static_cast<double>(r)) / (normalize ? scale : 1.0);
}

double cone_violation(const cones& c, const double* x, int32_t k, double sign) noexcept {
  const int32_t* m = c.members.data() + c.begin[k];
  const int32_t len = c.end[k] - c.begin[k];
  const bool rotated = c.type[k] == TVN_CT_RQUAD;
  long double squares = 0, head = x[m[0]];
  for (int32_t q = rotated ? 2 : 1; q < len; q++) squares += static_cast<long double>(x[m[q]]) * x[m[q]];
  if (rotated) {
    const long double gap = static_cast<long double>(x[m[0]]) - x[m[1]];
    head = (static_cast<long double>(x[m[0]]) + x[m[1]]) / std::sqrt(2.0L);
    squares += 0.5L * gap * gap;
  }
  return worse(0.0, static_cast<double>(std::sqrt(squares) - sign * head));
}

double integer_violation(double x) noexcept { return worse(0.0, std::min(std::ceil(x) - x, x - std::floor(x))); }

double primal_objective(const task& t, const measured_solution& m, const nonlinear_terms& nl) noexcept {
  long double sum = static_cast<long double>(m.constant) + nl.objective;
  for (int32_t j = 0; j < t.prob.numvar; j++) sum += static_cast<long double>(t.prob.c[j]) * m.s.xx[j];
  return static_cast<double>(sum);
}

double dual_objective(task& t, const measured_solution& m, const nonlinear_terms& nl) noexcept {
  long double sum = static_cast<long double>(m.constant) + nl.lagrangian;
  for (const int32_t accmode : {TVN_ACC_CON, TVN_ACC_VAR}) {
    const side_view v = side_of(t, m.s, accmode);
    if (!v.sl) continue;
    for (int32_t i = 0; i < v.b.count; i++) {
      if (has_lower(v.b.bk[i]) && v.sl[i] != 0.0) sum += static_cast<long double>(v.b.bl[i]) * v.sl[i];
      if (has_upper(v.b.bk[i]) && v.su[i] != 0.0) sum -= static_cast<long double>(v.b.bu[i]) * v.su[i];
    }
  }
  return static_cast<double>(sum);
}

} // namespace tvn
