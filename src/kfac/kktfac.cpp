// Analysis: the plan, the structure of its factor, and all the storage that factorisations and solves need.
#include "kfac/kktint.h"
#include "kfac/kktorder.h"

#include "cpub/timer.h"

#include <algorithm>
#include <limits>

namespace tvn {

namespace {

kktfac_code to_code(sfk_code code) noexcept {
  switch (code) {
  case sfk_code::ok: return kktfac_code::ok;
  case sfk_code::failed: return kktfac_code::space;
  case sfk_code::stopped: return kktfac_code::stopped;
  }
  return kktfac_code::failed;
}

sfk_code make_adat(kktfac& k, const kkt_plan& plan) {
  k.n = k.numrow;
  k.dense.reset(*k.sys, plan.numapart);
  int32_t num = 0;
  for (int32_t j = 0; j < k.numcol; j++)
    if (plan.apart[j]) k.dense[num++] = j;
  const sfk_code code =
      TVN_adat_sort(*k.sys, k.a, plan.apart.data(), k.structure.invp.data(), k.params.progress, k.ada);
  k.ada.val.reset(*k.sys, k.ada.row.size());
  k.local.reset(*k.sys, k.numrow);
  return code;
}

sfk_code make_sqdt(kktfac& k, const kkt_plan& plan) {
  k.n = k.numcol + k.numrow;
  k.sign.reset(*k.sys, k.n);
  for (int32_t i = 0; i < k.n; i++) k.sign[i] = i < k.numcol ? 1 : -1;
  k.place.reset(*k.sys, int64_t{k.numcol} + 1);
  std::copy_n(plan.pattern.beg.data(), int64_t{k.numcol} + 1, k.place.data());
  return sfk_code::ok;
}

// Equations of so many terms are summed apart.
void find_long(kktfac& k) {
  constexpr int32_t many = 4096; // the others keep 12 digits
  const int32_t n = k.numcol;
  buffer<int32_t> count(*k.sys, int64_t{n} + k.numrow, 0);
  for (int32_t j = 0; j < n; j++) {
    count[j] += static_cast<int32_t>(k.a.length(j));
    for (int64_t p = k.a.beg[j]; p < k.a.end[j]; p++) count[n + k.a.sub[p]]++;
    for (int64_t p = k.q.beg ? k.q.beg[j] : 0; k.q.beg && p < k.q.end[j]; p++) {
      count[j]++;
      count[k.q.sub[p]]++;
    }
  }
  int32_t num = 0;
  for (int32_t& c : count) c = c >= many ? num++ : -1;
  k.work.longsum.reset(*k.sys, num);
  k.work.shortsum.reset(*k.sys, num);
  k.longslot.clear();
  if (num > 0) k.longslot.swap(count);
}

void make_storage(kktfac& k, int32_t schurspc) {
  sysenv& sys = *k.sys;
  const matker ker = TVN_matker_make(k.params.isa);
  TVN_sfk_allocLval(sys, k.structure, ker, k.factor, k.params.numthr);
  k.maxtaken = schurspc - static_cast<int32_t>(k.dense.size());
  TVN_sc_create(sys, k.factor, schurspc + k.params.maxlow, k.schur);
  k.low.reset(sys, int64_t{k.params.maxlow} * k.numcol);
  k.sigma.reset(sys, k.params.maxlow);
  k.lowgiven.reset(sys, int64_t{k.params.maxlow} * k.numcol);
  k.sigmagiven.reset(sys, k.params.maxlow);
  for (buffer<double>* b : {&k.h, &k.hfac, &k.invh}) b->reset(sys, k.numcol);
  for (buffer<double>* b : {&k.d, &k.dfac}) b->reset(sys, k.numrow);
  for (buffer<double>* b : {&k.scale, &k.added}) b->reset(sys, k.n);
  int64_t last = 0;
  for (int32_t j = 0; k.q.beg && j < k.numcol; j++) last = std::max(last, k.q.end[j]);
  k.hoff.reset(sys, last);
  const int64_t all = int64_t{k.numcol} + k.numrow;
  for (buffer<double>* b : {&k.work.solution, &k.work.best, &k.work.rhs, &k.work.remainder, &k.work.correction})
    b->reset(sys, k.params.maxrhs * all);
  k.work.position.reset(sys, int64_t{k.params.maxrhs} * k.n);
  k.work.beside.reset(sys, int64_t{k.params.maxrhs} * k.schur.maxcol);
  k.work.residual.reset(sys, k.params.useprecision ? all : 0);
  k.work.basis.reset(sys, (kkt_directions + 1) * all);
  k.work.direction.reset(sys, kkt_directions * all);
  k.work.terms.reset(sys, 3 * int64_t{k.params.maxlow} * k.params.maxlow);
  k.work.front.reset(sys, TVN_sfk_worksize(k.structure, k.params.maxrhs));
}

void put_figures(const kkt_plan& plan, kktfac& k) noexcept {
  kktfac_info& f = k.info;
  f.form = plan.form;
  f.numdense = plan.numapart;
  f.numtries = plan.numtries;
  f.partitioned = plan.partitioned;
  f.nnzpattern = plan.pattern.sub.size();
  f.nnzl = k.structure.nnzl;
  f.fflops = k.structure.flops;
  f.adaflops = plan.form == kkt_form::adat ? 2 * plan.numprod : 0;
  const auto cols = static_cast<double>(plan.numapart);
  f.schurflops = cols * (2 * static_cast<double>(f.nnzl) + cols * k.n) + cols * cols * cols / 3;
  f.seconds = plan.seconds;
}

} // namespace

void TVN_kktfac_make(sysenv& sys, int32_t numrow, int32_t numcol, const kktfac_params& params, kktfac& k) {
  k = kktfac{};
  k.sys = &sys;
  k.numrow = numrow;
  k.numcol = numcol;
  k.params = params;
  k.params.maxrhs = std::clamp(params.maxrhs, 1, micro_wide);
}

kktfac_code kktfac_setup(kktfac& k, bool noneapart, double maxseconds) {
  sysenv& sys = *k.sys;
  const double start = TVN_sysenv_gettime();
  kkt_plan plan;
  sfk_code code = TVN_kktfac_order(sys, k.a, k.q, k.params, noneapart, plan);
  if (code != sfk_code::ok) return to_code(code);
  if (plan.seconds > maxseconds) return kktfac_code::space;
  const double ordered = TVN_sysenv_gettime();
  // What an earlier setup has left goes first: two factors need not stand side by side.
  k.ready = k.factored = false;
  k.factor = {};
  k.schur = {};
  k.ada = {};
  k.dense.clear();
  k.sign.clear();
  k.form = plan.form;
  // Columns of A D A' are gathered without places.
  const sfk_places places = k.form == kkt_form::adat ? sfk_places::diagonal : sfk_places::all;
  code = TVN_sfk_setupL(sys, plan.pattern.graph(), plan.perm.data(), k.params.progress, k.structure, places);
  if (code != sfk_code::ok) return to_code(code);
  code = k.form == kkt_form::adat ? make_adat(k, plan) : make_sqdt(k, plan);
  if (code != sfk_code::ok) return to_code(code);
  put_figures(plan, k);
  const int32_t schurspc = TVN_kktfac_schurspc(plan, k.numrow);
  plan = {}; // before the factor is taken
  make_storage(k, schurspc);
  k.info.ordertime += ordered - start;
  k.info.setuptime += TVN_sysenv_gettime() - ordered;
  k.ready = true;
  return kktfac_code::ok;
}

kktfac_code TVN_kktfac_autosetup(kktfac& k, const kkt_columns& a, const kkt_quadratic& q) {
  k.a = a;
  k.q = q;
  k.info = {};
  k.ready = k.factored = false;
  k.floor = {};
  k.trust = kktfac{}.trust;
  k.broughtin = {};
  int64_t size = int64_t{a.numcol} + a.numrow;
  for (int32_t j = 0; j < a.numcol; j++) size += a.length(j);
  k.large = size > 20000;
  find_long(k);
  return kktfac_setup(k, false, std::numeric_limits<double>::infinity());
}

} // namespace tvn
