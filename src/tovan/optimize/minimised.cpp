// See minimised.h.
#include "tovan/optimize/minimised.h"

namespace tvn {

namespace {

// A zero stays a positive one.
void negate(const double* from, int32_t num, double* to) noexcept {
  for (int32_t k = 0; k < num; k++) to[k] = 0.0 - from[k];
}

} // namespace

minimised_costs::minimised_costs(task& t, bool maximise) : maximize(maximise) {
  if (const qterms& terms = t.prob.q; has_qobj(t.prob))
    TVN_sym_fromtriplets(*t.sys, t.prob.numvar, terms.objend - terms.objbegin, terms.subi.data() + terms.objbegin,
                         terms.subj.data() + terms.objbegin, terms.val.data() + terms.objbegin, maximize ? -1 : 1, q);
  if (!maximize) return;
  c.reset(*t.sys, t.prob.numvar);
  cslack.reset(*t.sys, t.prob.numcon);
  negate(t.prob.c.data(), t.prob.numvar, c.data());
  negate(t.prob.cslack.data(), t.prob.numcon, cslack.data());
}

problem_view TVN_minimisedview(const task& t, const minimised_costs& costs, const sprmat_view& a) {
  const problem& p = t.prob;
  problem_view v;
  v.numcon = p.numcon;
  v.numvar = p.numvar;
  v.cfix = costs.maximize ? 0.0 - p.cfix : p.cfix;
  v.cslack = costs.maximize ? costs.cslack.data() : p.cslack.data();
  v.c = costs.maximize ? costs.c.data() : p.c.data();
  v.ptrb = a.ptrb;
  v.ptre = a.ptre;
  v.sub = a.sub;
  v.val = a.val;
  v.bkc = p.bkc.data();
  v.bkx = p.bkx.data();
  v.blc = p.blc.data();
  v.buc = p.buc.data();
  v.blx = p.blx.data();
  v.bux = p.bux.data();
  v.q = costs.q.view();
  v.cone = {p.numcone, p.cone.type.data(), p.cone.begin.data(), p.cone.end.data(), p.cone.members.data()};
  if (has_qcon(p)) v.qrow = {p.q.conbegin.data(), p.q.conend.data(), p.q.subi.data(), p.q.subj.data(), p.q.val.data()};
  return v;
}

void TVN_turnduals(const task& t, bool maximize, const solution_view& s) noexcept {
  const auto turn = [&](double* v, int32_t num) {
    for (int32_t k = 0; k < num; k++) v[k] = maximize ? 0.0 - v[k] : v[k] + 0.0;
  };
  for (double* v : {s.y, s.slc, s.suc}) turn(v, t.prob.numcon);
  for (double* v : {s.slx, s.sux}) turn(v, t.prob.numvar);
  if (s.snx) turn(s.snx, t.prob.numvar);
}

solution_view TVN_slotarrays(task& t, int32_t which) {
  const sol_ptrs p = TVN_getsolptrs(t, which);
  return {p.skc, p.skx, p.xc, p.xx, p.y, p.slc, p.suc, p.slx, p.sux, p.snx};
}

objective_cuts TVN_minimisedcuts(const task& t, bool maximize) {
  const auto& dv = t.params.dval;
  const double low = dv[TVN_DPAR_LOWER_OBJ_CUT], upp = dv[TVN_DPAR_UPPER_OBJ_CUT];
  const bool uselow = low > dv[TVN_DPAR_LOWER_OBJ_CUT_FINITE_TRH], useupp = upp < dv[TVN_DPAR_UPPER_OBJ_CUT_FINITE_TRH];
  const objective_cuts cuts{uselow, useupp, low, upp};
  return maximize ? cuts.negated() : cuts;
}

} // namespace tvn
