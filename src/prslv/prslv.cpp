// Life of a context, its views, and the small things that all reductions use.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

constexpr const char* label = "src/prslv/prslv";

} // namespace

namespace {

void make_quadratic(sysenv& sys, const prslv_problem& p, prslv_quadratic& to) {
  const int32_t n = p.numvar;
  to.term.reset(sys, n, prslv_term::none);
  if (p.varterm) std::copy_n(p.varterm, n, to.term.data());
  if (!p.q.any()) return;
  to.diag.reset(sys, n, 0.0);
  to.beg.reset(sys, int64_t{n} + 1, 0);
  const auto each = [&](auto f) { // off the diagonal
    for (int32_t j = 0; j < n; j++)
      for (int64_t e = p.q.beg[j]; e < p.q.beg[j + 1]; e++)
        if (p.q.sub[e] != j && p.q.val[e] != 0) f(p.q.sub[e], j, p.q.val[e]);
  };
  const auto mark = [&](int32_t j) {
    if (to.term[j] == prslv_term::none) to.term[j] = prslv_term::objective;
  };
  for (int32_t j = 0; j < n; j++) {
    if (p.q.beg[j] == p.q.beg[j + 1] || p.q.sub[p.q.beg[j]] != j) continue; // the diagonal comes first
    to.diag[j] = p.q.val[p.q.beg[j]];
    if (to.diag[j] != 0) mark(j);
  }
  each([&](int32_t i, int32_t j, double) {
    mark(i);
    mark(j);
    to.beg[i]++;
    to.beg[j]++;
  });
  int64_t sum = 0;
  for (int64_t& b : to.beg) { // ends first: they are counted down
    sum += b;
    b = sum;
  }
  to.sub.reset(sys, sum);
  to.val.reset(sys, sum);
  each([&](int32_t i, int32_t j, double v) {
    to.sub[--to.beg[i]] = j;
    to.val[to.beg[i]] = v;
    to.sub[--to.beg[j]] = i;
    to.val[to.beg[j]] = v;
  });
}

void copy_cones(sysenv& sys, const prslv_problem& p, prslv_context& x) {
  prslv_cones& to = x.cone;
  if (!p.cone.any()) return;
  to.num = p.cone.num;
  for (auto* b : {&to.type, &to.beg, &to.end}) b->reset(sys, to.num);
  int64_t num = 0;
  for (int32_t k = 0; k < to.num; k++) num += p.cone.size(k);
  to.sub.reset(sys, num);
  int32_t at = 0;
  for (int32_t k = 0; k < to.num; k++) {
    to.type[k] = p.cone.type[k];
    to.beg[k] = at;
    for (int32_t q = 0; q < p.cone.size(k); q++) {
      const int32_t j = p.cone.members(k)[q];
      x.q.term[j] = prslv_term::cone;
      to.sub[at++] = j;
    }
    to.end[k] = at;
  }
}

} // namespace

void TVN_prslv_initparam(prslv_param& param) { param = prslv_param{}; }

prslv_context* TVN_prslv_make(sysenv& sys, const prslv_problem& problem) {
  void* place = sys.alloc(sizeof(prslv_context), label, __LINE__);
  auto* x = new (place) prslv_context;
  x->sys = &sys;
  x->p = problem;
  try {
    const int32_t m = problem.numcon, n = problem.numvar;
    x->conlive.reset(sys, m, 1);
    x->varlive.reset(sys, n, 1);
    x->conlin.reset(sys, m, 1);
    if (problem.conlin) std::copy_n(problem.conlin, m, x->conlin.data());
    make_quadratic(sys, problem, x->q);
    copy_cones(sys, problem, *x);
    for (auto* b : {&x->act.lower, &x->act.upper}) b->reset(sys, m, 0.0);
    for (auto* b : {&x->act.numlower, &x->act.numupper}) b->reset(sys, m, 0);
    TVN_prslv_initlist(sys, m, x->due.rows);
    TVN_prslv_initlist(sys, n, x->due.cols);
    x->rowmax.reset(sys, m, -1.0);
    TVN_prslv_initwork(sys, *x);
    x->stk.type.attach(sys);
    x->stk.items.attach(sys);
    x->tmp.pivotrows.attach(sys);
    x->cert.rows.attach(sys);
    x->cert.vals.attach(sys);
    TVN_bsto_make(sys, std::max<int64_t>(4096, 10 * std::max<int64_t>(m, n)), x->stk.store);
  } catch (const out_of_memory&) {
    TVN_prslv_delete(x);
    throw;
  }
  return x;
}

void TVN_prslv_delete(prslv_context* ctx) noexcept {
  if (!ctx) return;
  sysenv* sys = ctx->sys;
  ctx->~prslv_context();
  sys->release(ctx, label, __LINE__);
}

void TVN_prslv_keeprecords(prslv_context& x) noexcept {
  for (auto* l : {&x.row, &x.col}) {
    l->beg.clear();
    l->len.clear();
    l->cap.clear();
    l->sub.clear();
    l->val.clear();
    l->place.clear();
  }
  for (auto* b : {&x.act.lower, &x.act.upper, &x.tmp.rowwork, &x.tmp.colwork, &x.tmp.valwork, &x.dual.yl, &x.dual.yu,
                  &x.dual.tyl, &x.dual.tyu, &x.implied.lower, &x.implied.upper, &x.rowmax})
    b->clear();
  for (auto* b : {&x.connz, &x.varnz, &x.act.numlower, &x.act.numupper, &x.tmp.rowmark, &x.tmp.colmark, &x.tmp.subwork,
                  &x.implied.lowrow, &x.implied.upprow, &x.due.rows.item, &x.due.cols.item})
    b->clear();
  for (auto* b : {&x.conlin, &x.implied.held, &x.due.rows.in, &x.due.cols.in}) b->clear();
  x.tmp.pivotrows.free();
  x.q = {};
}

void TVN_prslv_putaudit(prslv_context& ctx, const prslv_audit& audit) { ctx.audit = audit; }
void TVN_prslv_putsink(prslv_context& ctx, const prslv_sink& sink) { ctx.sink = sink; }
const prslv_problem& TVN_prslv_getproblem(const prslv_context& ctx) { return ctx.p; }
bool TVN_prslv_conislive(const prslv_context& ctx, int32_t i) { return ctx.conlive[i] != 0; }
bool TVN_prslv_varislive(const prslv_context& ctx, int32_t j) { return ctx.varlive[j] != 0; }

cone_view TVN_prslv_getcones(const prslv_context& ctx) {
  const prslv_cones& c = ctx.cone;
  return {c.num, c.type.data(), c.beg.data(), c.end.data(), c.sub.data()};
}

int64_t TVN_prslv_getnz(const prslv_context& ctx) {
  int64_t nz = 0;
  for (int32_t j = 0; j < ctx.p.numvar; j++)
    if (ctx.varlive[j]) nz += ctx.varnz[j];
  return nz;
}

int32_t TVN_prslv_getasimple(const prslv_context& ctx, bool byrow, int32_t index, int32_t* sub, double* val) {
  int32_t num = 0;
  auto put = [&](int32_t k, double a) {
    sub[num] = k;
    val[num++] = a;
  };
  if (byrow)
    for_row(ctx, index, put);
  else
    for_col(ctx, index, put);
  const int32_t kept = byrow ? ctx.connz[index] : ctx.varnz[index];
  if (num != kept)
    TVN_sysenv_stopdbg(ctx.sys, label, __LINE__, "%s. %s[%d]: %d != %d", byrow ? "Constraint" : "Variable",
                       byrow ? "connz" : "varnz", index, kept, num);
  return num;
}

prslv_entry TVN_prslv_getconsin(const prslv_context& x, int32_t i) {
  for (int64_t p = x.row.beg[i], e = p + x.row.len[i]; p < e; p++)
    if (x.varlive[x.row.sub[p]]) return {x.row.sub[p], x.row.val[p]};
  TVN_sysenv_stopdbg(x.sys, label, __LINE__, "Constraint singleton not found i=%d\n", i);
}

prslv_entry TVN_prslv_getvarsin(const prslv_context& x, int32_t j) {
  for (int64_t p = x.col.beg[j], e = p + x.col.len[j]; p < e; p++)
    if (x.conlive[x.col.sub[p]]) return {x.col.sub[p], x.col.val[p]};
  TVN_sysenv_stopdbg(x.sys, label, __LINE__, "Variable singleton not found j=%d\n", j);
}

bool TVN_prslv_asked(prslv_run& run) {
  run.work = 0;
  run.stop = run.progress.fn && run.progress.fn(run.progress.handle, prslv_busy) != 0;
  return run.stop;
}

void TVN_prslv_initlist(sysenv& sys, int32_t n, prslv_list& l) {
  l.item.reset(sys, std::max(n, 1));
  l.in.reset(sys, n, 0);
  l.head = l.size = 0;
}

void TVN_prslv_emptylist(prslv_list& l) {
  while (TVN_prslv_poplist(l) >= 0) {}
}

void TVN_prslv_updatelist(prslv_list& l, int32_t i) {
  if (l.in[i]) return;
  l.in[i] = 1;
  l.item[(l.head + static_cast<int64_t>(l.size++)) % l.item.size()] = i;
}

int32_t TVN_prslv_poplist(prslv_list& l) {
  if (l.size == 0) return -1;
  const int32_t i = l.item[l.head];
  l.head = static_cast<int32_t>((l.head + int64_t{1}) % l.item.size());
  l.size--;
  l.in[i] = 0;
  return i;
}

} // namespace tvn
