// Objective values and worst violations of a stored solution, for callers and for the information items.
//
// The figures of single items stand in solmeas.h. Cost of a full check: a few passes over A and the quadratic terms,
// one call of the user's functions.
#include "tovan/measures/solinf.h"
#include "tovan/data/nlfunc.h"
#include "tovan/measures/solmeas.h"
#include "tovan/task/api.h"

namespace tvn {

namespace {

const char label[] = "src/tovan/solinf";

// What a check looks at; released with its scope.
struct solution_check {
  task& t;
  measured_solution m;
  nonlinear_terms nl;

  solution_check(task& task_, int32_t whichsol) : t(task_), m(make_measured(task_, whichsol)) {}
};

// Readies a check of a defined solution with the terms that the measure counts.
TVNrescodee prepare(solution_check& c, nonlinear_kind kind) { return nonlinear_at(c.t, c.m, kind, c.nl); }

void primal_measures(solution_check& c, solution_measures& m) {
  const problem& p = c.t.prob;
  const sol_ptrs& s = c.m.s;
  m.primalobj = primal_objective(c.t, c.m, c.nl);
  for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
    const side_view v = side_of(c.t, s, accmode);
    for (int32_t i = 0; i < v.b.count; i++) m.maxpbi = worse(m.maxpbi, bound_violation(v, i, c.m.f, false));
  }
  row_sums rows(c.t, s, c.nl);
  for (int32_t i = 0; i < p.numcon; i++) m.maxpeqi = worse(m.maxpeqi, rows.residual(i));
  for (int32_t k = 0; k < p.numcone; k++) m.maxpcni = worse(m.maxpcni, cone_violation(p.cone, s.xx, k));
  if (!p.vartype.empty())
    for (int32_t j = 0; j < p.numvar; j++)
      if (p.vartype[j] == TVN_VAR_TYPE_INT) m.maxinti = worse(m.maxinti, integer_violation(s.xx[j]));
}

void dual_measures(solution_check& c, solution_measures& m) {
  const problem& p = c.t.prob;
  const sol_ptrs& s = c.m.s;
  m.dualobj = dual_objective(c.t, c.m, c.nl);
  for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
    const side_view v = side_of(c.t, s, accmode);
    for (int32_t i = 0; i < v.b.count; i++) m.maxdbi = worse(m.maxdbi, dual_bound_violation(v, i, c.m.sign));
  }
  for (int32_t i = 0; i < p.numcon; i++) m.maxdeqi = worse(m.maxdeqi, dual_row_residual(p, c.m, i, false));
  const sprmat_view a = TVN_sprmat_viewcols(get_a(c.t));
  for (int32_t j = 0; j < p.numvar; j++) m.maxdeqi = worse(m.maxdeqi, dual_column_residual(p, a, c.m, c.nl, j, false));
  if (s.snx)
    for (int32_t k = 0; k < p.numcone; k++) m.maxdcni = worse(m.maxdcni, cone_violation(p.cone, s.snx, k, -c.m.sign));
}

TVNrescodee check_measured(task& t, int32_t whichsol, int32_t accmode, int32_t num, const int32_t* sub,
                           const array_argument& out) {
  if (const TVNrescodee code = check_accmode(t, accmode)) return code;
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}, out})) return code;
  return TVN_checkindicies(t, "sub", 0, side_bounds(t.prob, accmode).count, num, sub);
}

TVNrescodee check_cones(task& t, int32_t whichsol, int32_t num, const int32_t* sub, const array_argument& out) {
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  if (const TVNrescodee code = check_arrays(t, label, __LINE__, num, {{sub, "sub"}, out})) return code;
  return TVN_checkindicies(t, "sub", 0, t.prob.numcone, num, sub);
}

TVNrescodee undefined_measure(task& t, const char* name) {
  return report(t, label, __LINE__, TVN_RES_ERR_INFEAS_UNDEFINED, name);
}

// One figure for each of the items sub[0 .. num - 1].
template <class Figure> TVNrescodee each_item(int32_t num, const int32_t* sub, double* out, Figure figure) {
  for (int32_t k = 0; k < num; k++) out[k] = figure(sub[k]);
  return TVN_RES_OK;
}

TVNrescodee get_pbi(task& t, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* pbi,
                    bool normalize) {
  if (const TVNrescodee code = check_measured(t, whichsol, accmode, num, sub, {pbi, "pbi"})) return code;
  const measured_solution m = make_measured(t, whichsol);
  const side_view v = side_of(t, m.s, accmode);
  return each_item(num, sub, pbi, [&](int32_t i) { return bound_violation(v, i, m.f, normalize); });
}

TVNrescodee get_dbi(task& t, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* dbi) {
  if (const TVNrescodee code = check_measured(t, whichsol, accmode, num, sub, {dbi, "dbi"})) return code;
  const measured_solution m = make_measured(t, whichsol);
  const side_view v = side_of(t, m.s, accmode);
  if (num > 0 && !v.sl) return undefined_measure(t, "dbi");
  return each_item(num, sub, dbi, [&](int32_t i) { return dual_bound_violation(v, i, m.sign); });
}

TVNrescodee get_peqi(task& t, int32_t whichsol, const int32_t* sub, int32_t num, double* peqi, bool normalize) {
  if (const TVNrescodee code = check_measured(t, whichsol, TVN_ACC_CON, num, sub, {peqi, "peqi"})) return code;
  solution_check c(t, whichsol);
  if (const TVNrescodee code = prepare(c, nonlinear_kind::all)) return code;
  row_sums rows(t, c.m.s, c.nl);
  return each_item(num, sub, peqi, [&](int32_t i) { return rows.residual(i) / (normalize ? rows.scale[i] : 1.0); });
}

TVNrescodee get_deqi(task& t, int32_t whichsol, int32_t accmode, const int32_t* sub, int32_t num, double* deqi,
                     bool normalize) {
  if (const TVNrescodee code = check_measured(t, whichsol, accmode, num, sub, {deqi, "deqi"})) return code;
  solution_check c(t, whichsol);
  if (num > 0 && !c.m.s.y) return undefined_measure(t, "deqi");
  if (accmode == TVN_ACC_CON)
    return each_item(num, sub, deqi, [&](int32_t i) { return dual_row_residual(t.prob, c.m, i, normalize); });
  if (const TVNrescodee code = prepare(c, nonlinear_kind::user)) return code;
  const sprmat_view a = TVN_sprmat_viewcols(get_a(t));
  return each_item(num, sub, deqi, [&](int32_t j) { return dual_column_residual(t.prob, a, c.m, c.nl, j, normalize); });
}

// User functions do not stand beside cones in any problem that has a meaning here.
TVNrescodee prepare_whole(solution_check& c) {
  if (has_nlfunc(c.t) && c.t.prob.numcone > 0) return report(c.t, label, __LINE__, TVN_RES_ERR_MIXED_PROBLEM);
  return prepare(c, nonlinear_kind::all);
}

// An objective value of a defined solution, by the function that tells it.
template <class Objective>
TVNrescodee get_objective(task& t, int32_t whichsol, double* out, double start, Objective objective) {
  put_out(out, start);
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  solution_check c(t, whichsol);
  if (const TVNrescodee code = prepare_whole(c)) return code;
  put_out(out, objective(t, c.m, c.nl));
  return TVN_RES_OK;
}

// Where the figures of a slot go; no_item where it has none.
constexpr int32_t no_item = -1;
struct slot_items {
  int32_t primalobj, maxpbi, maxpcni, maxpeqi, maxinti, dualobj, maxdbi, maxdcni, maxdeqi;
  int32_t prosta, solsta;
};
constexpr slot_items items_of_slot[] = {
    {TVN_DINF_SOL_ITR_PRIMAL_OBJ, TVN_DINF_SOL_ITR_MAX_PBI, TVN_DINF_SOL_ITR_MAX_PCNI, TVN_DINF_SOL_ITR_MAX_PEQI,
     TVN_DINF_SOL_ITR_MAX_PINTI, TVN_DINF_SOL_ITR_DUAL_OBJ, TVN_DINF_SOL_ITR_MAX_DBI, TVN_DINF_SOL_ITR_MAX_DCNI,
     TVN_DINF_SOL_ITR_MAX_DEQI, TVN_IINF_SOL_ITR_PROSTA, TVN_IINF_SOL_ITR_SOLSTA},
    {TVN_DINF_SOL_BAS_PRIMAL_OBJ, TVN_DINF_SOL_BAS_MAX_PBI, no_item, TVN_DINF_SOL_BAS_MAX_PEQI,
     TVN_DINF_SOL_BAS_MAX_PINTI, TVN_DINF_SOL_BAS_DUAL_OBJ, TVN_DINF_SOL_BAS_MAX_DBI, no_item,
     TVN_DINF_SOL_BAS_MAX_DEQI, TVN_IINF_SOL_BAS_PROSTA, TVN_IINF_SOL_BAS_SOLSTA},
    {TVN_DINF_SOL_INT_PRIMAL_OBJ, TVN_DINF_SOL_INT_MAX_PBI, no_item, TVN_DINF_SOL_INT_MAX_PEQI,
     TVN_DINF_SOL_INT_MAX_PINTI, no_item, no_item, no_item, no_item, TVN_IINF_SOL_INT_PROSTA, TVN_IINF_SOL_INT_SOLSTA}};

} // namespace

TVNrescodee solution_infeasibility(task& t, int32_t whichsol, solution_measures& m) {
  if (const TVNrescodee code = check_defined(t, whichsol)) return code;
  solution_check c(t, whichsol);
  if (const TVNrescodee code = prepare_whole(c)) return code;
  m = solution_measures{};
  primal_measures(c, m);
  if (whichsol != TVN_SOL_ITG) dual_measures(c, m);
  return TVN_RES_OK;
}

TVNrescodee TVN_updatesolutioninfo(task& t, int32_t whichsol) {
  solution_measures m;
  if (const TVNrescodee code = solution_infeasibility(t, whichsol, m)) return code;
  const slot_items& to = items_of_slot[whichsol];
  for (const auto& [item, value] :
       {std::pair{to.primalobj, m.primalobj}, std::pair{to.maxpbi, m.maxpbi}, std::pair{to.maxpcni, m.maxpcni},
        std::pair{to.maxpeqi, m.maxpeqi}, std::pair{to.maxinti, m.maxinti}, std::pair{to.dualobj, m.dualobj},
        std::pair{to.maxdbi, m.maxdbi}, std::pair{to.maxdcni, m.maxdcni}, std::pair{to.maxdeqi, m.maxdeqi}})
    if (item != no_item) t.info.dou[item] = value;
  t.info.intg[to.prosta] = t.sols.prosta[whichsol];
  t.info.intg[to.solsta] = t.sols.solsta[whichsol];
  return TVN_RES_OK;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_getprimalobj(TVNtask_t task, int32_t whichsol, double* primalobj) {
  return api(task,
             [&](tvn::task& t) { return get_objective(t, whichsol, primalobj, -bound_infinity, primal_objective); });
}

TVNrescodee TVN_getdualobj(TVNtask_t task, int32_t whichsol, double* dualobj) {
  return api(task, [&](tvn::task& t) {
    if (whichsol != TVN_SOL_ITG || !TVN_solutiondef(t, whichsol))
      return get_objective(t, whichsol, dualobj, bound_infinity, dual_objective);
    put_out(dualobj, bound_infinity);
    return report(t, label, __LINE__, TVN_RES_ERR_NO_DUAL_FOR_ITG_SOL);
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
    if (const TVNrescodee code = check_cones(t, whichsol, num, sub, {pcni, "pcni"})) return code;
    const double* x = TVN_getsolptrs(t, whichsol).xx;
    for (int32_t k = 0; k < num; k++) pcni[k] = cone_violation(t.prob.cone, x, sub[k]);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getdcni(TVNtask_t task, int32_t whichsol, const int32_t* sub, int32_t num, double* dcni) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_cones(t, whichsol, num, sub, {dcni, "dcni"})) return code;
    const double* s = TVN_getsolptrs(t, whichsol).snx;
    if (num > 0 && !s) return undefined_measure(t, "dcni");
    const double sign = -make_measured(t, whichsol).sign;
    for (int32_t k = 0; k < num; k++) dcni[k] = cone_violation(t.prob.cone, s, sub[k], sign);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getinti(TVNtask_t task, int32_t whichsol, const int32_t* sub, int32_t num, double* inti) {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_measured(t, whichsol, TVN_ACC_VAR, num, sub, {inti, "inti"})) return code;
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
    put_out(prosta, t.sols.prosta[whichsol]);
    put_out(solsta, t.sols.solsta[whichsol]);
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
