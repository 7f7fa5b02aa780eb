// Objective values and violations of a stored solution, recomputed from the problem alone.
//
// For a problem status that says infeasible the solution is a certificate, and the right-hand sides and costs count 0
// (factor f). Sums run in long double: these are the figures that a user judges a solution by. A NaN anywhere shows
// in the measure that it spoils. Cost of a full check: a few passes over A.
#include "tovan/api.h"
#include "tovan/convert.h"
#include "tovan/data.h"
#include "tovan/scratch.h"
#include "tovan/sol.h"

#include <cmath>

namespace tvn {

namespace {

const char label[] = "src/tovan/solinf";

// The larger of two, a NaN winning.
double worse(double a, double b) noexcept { return std::isnan(a) || b <= a ? a : b; }

double status_factor(const task& t, int32_t whichsol) noexcept {
  switch (t.sols.prosta[static_cast<size_t>(whichsol)]) {
  case TVN_PRO_STA_PRIM_INFEAS:
  case TVN_PRO_STA_DUAL_INFEAS:
  case TVN_PRO_STA_PRIM_AND_DUAL_INFEAS: return 0.0;
  default: return 1.0;
  }
}

bool is_certificate(const task& t, int32_t whichsol) noexcept {
  switch (t.sols.solsta[static_cast<size_t>(whichsol)]) {
  case TVN_SOL_STA_PRIM_INFEAS_CER:
  case TVN_SOL_STA_DUAL_INFEAS_CER:
  case TVN_SOL_STA_NEAR_PRIM_INFEAS_CER:
  case TVN_SOL_STA_NEAR_DUAL_INFEAS_CER: return true;
  default: return false;
  }
}

// One side of the problem with the part of a solution that belongs to it.
struct side_view {
  bound_arrays b;
  const double *x, *sl, *su;
};

side_view side_of(task& t, const sol_ptrs& s, int32_t accmode) noexcept {
  if (accmode == TVN_ACC_CON) return {side_bounds(t.prob, accmode), s.xc, s.slc, s.suc};
  return {side_bounds(t.prob, accmode), s.xx, s.slx, s.sux};
}

double bound_violation(const side_view& v, int32_t i, double f, bool normalize) noexcept {
  double worst = 0.0;
  if (bk_has_lower(v.b.bk[i])) {
    const double scale = normalize ? std::max(std::fabs(v.b.bl[i]), 1.0) : 1.0;
    worst = worse(worst, (f * v.b.bl[i] - v.x[i]) / scale);
  }
  if (bk_has_upper(v.b.bk[i])) {
    const double scale = normalize ? std::max(std::fabs(v.b.bu[i]), 1.0) : 1.0;
    worst = worse(worst, (v.x[i] - f * v.b.bu[i]) / scale);
  }
  return worst;
}

// sign: -1 when minimising, 1 when maximising.
double dual_bound_violation(const side_view& v, int32_t i, double sign) noexcept {
  double worst = worse(worse(0.0, sign * v.sl[i]), sign * v.su[i]);
  if (!bk_has_lower(v.b.bk[i])) worst = worse(worst, std::fabs(v.sl[i]));
  if (!bk_has_upper(v.b.bk[i])) worst = worse(worst, std::fabs(v.su[i]));
  return worst;
}

double dual_sign(const task& t) noexcept { return TVN_getoptobjsense(t) == TVN_OBJECTIVE_SENSE_MAXIMIZE ? 1.0 : -1.0; }

// Residual xc - A xx of every row and the largest term of each, or 1. A running sum is kept as an unevaluated pair of
// doubles, so that the terms of a row may come in any order without loss.
struct row_sums {
  scratch<double> high, low, scale; // [numcon]

  row_sums(scratch_pool& pool, int32_t n) : high(pool, n, false), low(pool, n, false), scale(pool, n, false) {}
  double residual(int32_t i) noexcept { return std::fabs(high[i] + low[i]); }
};

void row_residuals(task& t, const sol_ptrs& s, row_sums& r) {
  const problem& p = t.prob;
  for (int32_t i = 0; i < p.numcon; i++) {
    r.high[i] = s.xc[i];
    r.low[i] = 0.0;
    r.scale[i] = std::max(1.0, std::fabs(s.xc[i]));
  }
  const sprmat_view a = TVN_sprmat_viewcols(get_a(t));
  for (int32_t j = 0; j < p.numvar; j++) {
    for (int64_t q = a.ptrb[j]; q < a.ptre[j]; q++) {
      const int32_t i = a.sub[q];
      const long double term = static_cast<long double>(a.val[q]) * s.xx[j];
      const long double sum = static_cast<long double>(r.high[i]) + r.low[i] - term;
      r.high[i] = static_cast<double>(sum);
      r.low[i] = static_cast<double>(sum - r.high[i]);
      r.scale[i] = std::max(r.scale[i], std::fabs(static_cast<double>(term)));
    }
  }
}

double dual_row_residual(const problem& p, const sol_ptrs& s, int32_t i, double f, bool normalize) noexcept {
  const double cost = f * p.cslack[i];
  const long double r = static_cast<long double>(cost) + s.y[i] - s.slc[i] + s.suc[i];
  double scale = 1.0;
  for (const double term : {cost, s.y[i], s.slc[i], s.suc[i]}) scale = std::max(scale, std::fabs(term));
  return std::fabs(static_cast<double>(r)) / (normalize ? scale : 1.0);
}

double dual_column_residual(const problem& p, const sprmat_view& a, const sol_ptrs& s, int32_t j, double f,
                            bool normalize) noexcept {
  const double cost = f * p.c[j], snx = s.snx ? s.snx[j] : 0.0;
  long double r = static_cast<long double>(cost) - s.slx[j] + s.sux[j] - snx;
  double scale = 1.0;
  for (const double term : {cost, s.slx[j], s.sux[j], snx}) scale = std::max(scale, std::fabs(term));
  for (int64_t q = a.ptrb[j]; q < a.ptre[j]; q++) {
    const long double term = static_cast<long double>(a.val[q]) * s.y[a.sub[q]];
    r -= term;
    scale = std::max(scale, std::fabs(static_cast<double>(term)));
  }
  return std::fabs(static_cast<double>(r)) / (normalize ? scale : 1.0);
}

double cone_violation(const cones& c, const double* x, int32_t k) noexcept {
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
  return worse(0.0, static_cast<double>(std::sqrt(squares) - head));
}

double integer_violation(double x) noexcept { return worse(0.0, std::min(std::ceil(x) - x, x - std::floor(x))); }

void primal_measures(task& t, int32_t whichsol, const sol_ptrs& s, solution_measures& m) {
  const problem& p = t.prob;
  const double f = status_factor(t, whichsol);
  for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
    const side_view v = side_of(t, s, accmode);
    for (int32_t i = 0; i < v.b.count; i++) m.maxpbi = worse(m.maxpbi, bound_violation(v, i, f, false));
  }
  row_sums rows(t.buffers, p.numcon);
  row_residuals(t, s, rows);
  for (int32_t i = 0; i < p.numcon; i++) m.maxpeqi = worse(m.maxpeqi, rows.residual(i));
  for (int32_t k = 0; k < p.numcone; k++) m.maxpcni = worse(m.maxpcni, cone_violation(p.cone, s.xx, k));
  if (!p.vartype.empty())
    for (int32_t j = 0; j < p.numvar; j++)
      if (p.vartype[j] == TVN_VAR_TYPE_INT) m.maxinti = worse(m.maxinti, integer_violation(s.xx[j]));
}

void dual_measures(task& t, int32_t whichsol, const sol_ptrs& s, solution_measures& m) {
  const problem& p = t.prob;
  const double f = status_factor(t, whichsol), sign = dual_sign(t);
  for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
    const side_view v = side_of(t, s, accmode);
    for (int32_t i = 0; i < v.b.count; i++) m.maxdbi = worse(m.maxdbi, dual_bound_violation(v, i, sign));
  }
  for (int32_t i = 0; i < p.numcon; i++) m.maxdeqi = worse(m.maxdeqi, dual_row_residual(p, s, i, f, false));
  const sprmat_view a = TVN_sprmat_viewcols(get_a(t));
  for (int32_t j = 0; j < p.numvar; j++) m.maxdeqi = worse(m.maxdeqi, dual_column_residual(p, a, s, j, f, false));
  if (s.snx)
    for (int32_t k = 0; k < p.numcone; k++) m.maxdcni = worse(m.maxdcni, cone_violation(p.cone, s.snx, k));
}

TVNrescodee check_measured(task& t, int32_t whichsol, int32_t accmode, int32_t num, const int32_t* sub) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}})) return code;
  return TVN_checkindicies(t, "sub", 0, side_bounds(t.prob, accmode).count, num, sub);
}

TVNrescodee check_cones(task& t, int32_t whichsol, int32_t num, const int32_t* sub) {
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}})) return code;
  return TVN_checkindicies(t, "sub", 0, t.prob.numcone, num, sub);
}

TVNrescodee undefined_measure(task& t, const char* name) {
  return report(t, label, __LINE__, TVN_RES_ERR_INFEAS_UNDEFINED, name);
}

TVNrescodee get_pbi(task& t, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* pbi,
                    bool normalize) {
  if (const TVNrescodee code = check_measured(t, whichsol, accmode, num, sub)) return code;
  const side_view v = side_of(t, TVN_getsolptrs(t, whichsol), accmode);
  const double f = status_factor(t, whichsol);
  for (int32_t k = 0; k < num; k++) pbi[k] = bound_violation(v, sub[k], f, normalize);
  return TVN_RES_OK;
}

TVNrescodee get_dbi(task& t, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* dbi) {
  if (const TVNrescodee code = check_measured(t, whichsol, accmode, num, sub)) return code;
  const side_view v = side_of(t, TVN_getsolptrs(t, whichsol), accmode);
  if (num > 0 && !v.sl) return undefined_measure(t, "dbi");
  for (int32_t k = 0; k < num; k++) dbi[k] = dual_bound_violation(v, sub[k], dual_sign(t));
  return TVN_RES_OK;
}

TVNrescodee get_peqi(task& t, int32_t whichsol, const int32_t* sub, int32_t num, double* peqi, bool normalize) {
  if (const TVNrescodee code = check_measured(t, whichsol, TVN_ACC_CON, num, sub)) return code;
  row_sums rows(t.buffers, t.prob.numcon);
  row_residuals(t, TVN_getsolptrs(t, whichsol), rows);
  for (int32_t k = 0; k < num; k++) peqi[k] = rows.residual(sub[k]) / (normalize ? rows.scale[sub[k]] : 1.0);
  return TVN_RES_OK;
}

TVNrescodee get_deqi(task& t, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* deqi,
                     bool normalize) {
  if (const TVNrescodee code = check_measured(t, whichsol, accmode, num, sub)) return code;
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  if (num > 0 && !s.y) return undefined_measure(t, "deqi");
  const double f = status_factor(t, whichsol);
  const sprmat_view a = TVN_sprmat_viewcols(get_a(t));
  for (int32_t k = 0; k < num; k++)
    deqi[k] = accmode == TVN_ACC_CON ? dual_row_residual(t.prob, s, sub[k], f, normalize)
                                     : dual_column_residual(t.prob, a, s, sub[k], f, normalize);
  return TVN_RES_OK;
}

template <class T> void put_out(T* out, T value) noexcept {
  if (out) *out = value;
}

} // namespace

double primal_objective(task& t, int32_t whichsol) {
  const problem& p = t.prob;
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  long double sum = is_certificate(t, whichsol) ? 0.0 : p.cfix;
  for (int32_t j = 0; j < p.numvar; j++) sum += static_cast<long double>(p.c[j]) * s.xx[j];
  return static_cast<double>(sum);
}

double dual_objective(task& t, int32_t whichsol) {
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  long double sum = is_certificate(t, whichsol) ? 0.0 : t.prob.cfix;
  for (const int32_t accmode : {TVN_ACC_CON, TVN_ACC_VAR}) {
    const side_view v = side_of(t, s, accmode);
    if (!v.sl) continue;
    for (int32_t i = 0; i < v.b.count; i++) {
      if (bk_has_lower(v.b.bk[i]) && v.sl[i] != 0.0) sum += static_cast<long double>(v.b.bl[i]) * v.sl[i];
      if (bk_has_upper(v.b.bk[i]) && v.su[i] != 0.0) sum -= static_cast<long double>(v.b.bu[i]) * v.su[i];
    }
  }
  return static_cast<double>(sum);
}

TVNrescodee solution_infeasibility(task& t, int32_t whichsol, solution_measures& m) {
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  const int32_t type = problem_type(t.prob);
  if (type == TVN_PROBTYPE_MIXED) return report(t, label, __LINE__, TVN_RES_ERR_MIXED_PROBLEM);
  if (type != TVN_PROBTYPE_LO && type != TVN_PROBTYPE_CONIC) return report(t, label, __LINE__, TVN_RES_ERR_INV_PROBLEM);
  m = solution_measures{};
  const sol_ptrs s = TVN_getsolptrs(t, whichsol);
  m.primalobj = primal_objective(t, whichsol);
  primal_measures(t, whichsol, s, m);
  if (whichsol == TVN_SOL_ITG) return TVN_RES_OK;
  m.dualobj = dual_objective(t, whichsol);
  dual_measures(t, whichsol, s, m);
  return TVN_RES_OK;
}

TVNrescodee TVN_updatesolutioninfo(task& t, int32_t whichsol) {
  solution_measures m;
  if (const TVNrescodee code = solution_infeasibility(t, whichsol, m)) return code;
  auto& d = t.info.dou;
  auto& n = t.info.intg;
  const auto k = static_cast<size_t>(whichsol);
  switch (whichsol) {
  case TVN_SOL_ITR:
    d[TVN_DINF_SOL_ITR_PRIMAL_OBJ] = m.primalobj;
    d[TVN_DINF_SOL_ITR_MAX_PBI] = m.maxpbi;
    d[TVN_DINF_SOL_ITR_MAX_PCNI] = m.maxpcni;
    d[TVN_DINF_SOL_ITR_MAX_PEQI] = m.maxpeqi;
    d[TVN_DINF_SOL_ITR_MAX_PINTI] = m.maxinti;
    d[TVN_DINF_SOL_ITR_DUAL_OBJ] = m.dualobj;
    d[TVN_DINF_SOL_ITR_MAX_DBI] = m.maxdbi;
    d[TVN_DINF_SOL_ITR_MAX_DCNI] = m.maxdcni;
    d[TVN_DINF_SOL_ITR_MAX_DEQI] = m.maxdeqi;
    n[TVN_IINF_SOL_ITR_PROSTA] = t.sols.prosta[k];
    n[TVN_IINF_SOL_ITR_SOLSTA] = t.sols.solsta[k];
    break;
  case TVN_SOL_BAS:
    d[TVN_DINF_SOL_BAS_PRIMAL_OBJ] = m.primalobj;
    d[TVN_DINF_SOL_BAS_MAX_PBI] = m.maxpbi;
    d[TVN_DINF_SOL_BAS_MAX_PEQI] = m.maxpeqi;
    d[TVN_DINF_SOL_BAS_MAX_PINTI] = m.maxinti;
    d[TVN_DINF_SOL_BAS_DUAL_OBJ] = m.dualobj;
    d[TVN_DINF_SOL_BAS_MAX_DBI] = m.maxdbi;
    d[TVN_DINF_SOL_BAS_MAX_DEQI] = m.maxdeqi;
    n[TVN_IINF_SOL_BAS_PROSTA] = t.sols.prosta[k];
    n[TVN_IINF_SOL_BAS_SOLSTA] = t.sols.solsta[k];
    break;
  default:
    d[TVN_DINF_SOL_INT_PRIMAL_OBJ] = m.primalobj;
    d[TVN_DINF_SOL_INT_MAX_PBI] = m.maxpbi;
    d[TVN_DINF_SOL_INT_MAX_PEQI] = m.maxpeqi;
    d[TVN_DINF_SOL_INT_MAX_PINTI] = m.maxinti;
    n[TVN_IINF_SOL_INT_PROSTA] = t.sols.prosta[k];
    n[TVN_IINF_SOL_INT_SOLSTA] = t.sols.solsta[k];
  }
  return TVN_RES_OK;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getprimalobj(TVNtask_t task, int32_t whichsol, double* primalobj) {
  return api(task, [&](tvn::task& t) {
    put_out(primalobj, -infinity);
    if (const TVNrescodee code = check_defined(t, whichsol)) return code;
    put_out(primalobj, primal_objective(t, whichsol));
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getdualobj(TVNtask_t task, int32_t whichsol, double* dualobj) {
  return api(task, [&](tvn::task& t) {
    put_out(dualobj, infinity);
    if (const TVNrescodee code = check_defined(t, whichsol)) return code;
    if (whichsol == TVN_SOL_ITG) return report(t, label, __LINE__, TVN_RES_ERR_NO_DUAL_FOR_ITG_SOL);
    put_out(dualobj, dual_objective(t, whichsol));
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getpbi(TVNtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* pbi,
                       int32_t normalize) {
  return api(task, [&](tvn::task& t) { return get_pbi(t, whichsol, accmode, sub, num, pbi, normalize != 0); });
}

TVNrescodee TVN_getdbi(TVNtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* dbi,
                       int32_t) {
  return api(task, [&](tvn::task& t) { return get_dbi(t, whichsol, accmode, sub, num, dbi); });
}

TVNrescodee TVN_getpeqi(TVNtask_t task, int32_t whichsol, const int32_t* sub, int32_t num, double* peqi,
                        int32_t normalize) {
  return api(task, [&](tvn::task& t) { return get_peqi(t, whichsol, sub, num, peqi, normalize != 0); });
}

TVNrescodee TVN_getdeqi(TVNtask_t task, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num,
                        double* deqi, int32_t normalize) {
  return api(task, [&](tvn::task& t) { return get_deqi(t, whichsol, accmode, sub, num, deqi, normalize != 0); });
}

TVNrescodee TVN_getpcni(TVNtask_t task, int32_t whichsol, const int32_t* sub, int32_t num, double* pcni) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_cones(t, whichsol, num, sub)) return code;
    const double* x = TVN_getsolptrs(t, whichsol).xx;
    for (int32_t k = 0; k < num; k++) pcni[k] = cone_violation(t.prob.cone, x, sub[k]);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getdcni(TVNtask_t task, int32_t whichsol, const int32_t* sub, int32_t num, double* dcni) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_cones(t, whichsol, num, sub)) return code;
    const double* s = TVN_getsolptrs(t, whichsol).snx;
    if (num > 0 && !s) return undefined_measure(t, "dcni");
    for (int32_t k = 0; k < num; k++) dcni[k] = cone_violation(t.prob.cone, s, sub[k]);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getinti(TVNtask_t task, int32_t whichsol, const int32_t* sub, int32_t num, double* inti) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_measured(t, whichsol, TVN_ACC_VAR, num, sub)) return code;
    const double* x = TVN_getsolptrs(t, whichsol).xx;
    if (t.prob.vartype.empty()) return TVN_RES_OK;
    for (int32_t k = 0; k < num; k++)
      if (t.prob.vartype[sub[k]] == TVN_VAR_TYPE_INT) inti[k] = integer_violation(x[sub[k]]);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getsolutioninf(TVNtask_t task, int32_t whichsol, int32_t* prosta, int32_t* solsta, double* primalobj,
                               double* maxpbi, double* maxpcni, double* maxpeqi, double* maxinti, double* dualobj,
                               double* maxdbi, double* maxdcni, double* maxdeqi) {
  return api(task, [&](tvn::task& t) {
    solution_measures m;
    if (const TVNrescodee code = solution_infeasibility(t, whichsol, m)) return code;
    put_out(prosta, t.sols.prosta[static_cast<size_t>(whichsol)]);
    put_out(solsta, t.sols.solsta[static_cast<size_t>(whichsol)]);
    put_out(primalobj, m.primalobj);
    put_out(maxpbi, m.maxpbi);
    put_out(maxpcni, m.maxpcni);
    put_out(maxpeqi, m.maxpeqi);
    put_out(maxinti, m.maxinti);
    put_out(dualobj, m.dualobj);
    put_out(maxdbi, m.maxdbi);
    put_out(maxdcni, m.maxdcni);
    put_out(maxdeqi, m.maxdeqi);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_updatesolutioninfo(TVNtask_t task, int32_t whichsol) {
  return api(task, [&](tvn::task& t) { return tvn::TVN_updatesolutioninfo(t, whichsol); });
}
