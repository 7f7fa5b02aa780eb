// The record stack: what each reduction leaves for its undo.
//
// A record lies in the byte store as its integers, then its reals, then, only when its sizes are not the default of its
// type, two counts; the type is stored negative in that case. Reading goes from the end of the store, so the sizes are
// always known. Only one record is open at a time. Cost: linear in the record.
#include "prslv/prslvint.h"

namespace tvn {

namespace {

constexpr const char* label = "src/prslv/prslvstk";

struct record_size {
  int64_t ints, reals;
};

record_size default_size(sysenv* sys, int32_t rtype) {
  switch (rtype) {
  case rt_droplow:
  case rt_dropupp: return {1, 1};
  case rt_consin: return {5, 6};
  case rt_confixlow:
  case rt_confixupr: return {2, 1};
  case rt_varrelaxlow:
  case rt_varrelaxupp: return {2, 1};
  case rt_varrelaxboth: return {2, 2};
  case rt_dupcon: return {6, 3};
  case rt_dupvar: return {4, 5};
  case rt_varslack: return {4, 7};
  default: break;
  }
  if (rtype < 1 || rtype >= rt_limit || rtype == 22)
    TVN_sysenv_stopdbg(sys, label, __LINE__, "Unknown reduction type rtype=%d", rtype);
  return {0, 0};
}

} // namespace

void TVN_prslv_beginpushstk(prslv_context& x, int32_t rtype) {
  TVN_ASSERT(x.sys, label, !x.stk.open);
  if (x.audit.fn) x.audit.fn(x.audit.handle, x, false, rtype, nullptr);
  x.stk.open = true;
  x.stk.ints.clear();
  x.stk.reals.clear();
}

void TVN_prslv_endpushstk(prslv_context& x, int32_t rtype) {
  prslv_stack& s = x.stk;
  TVN_ASSERT(x.sys, label, s.open);
  const record_size usual = default_size(x.sys, rtype), is{s.ints.size(), s.reals.size()};
  const bool plain = usual.ints == is.ints && usual.reals == is.reals;
  const auto si = static_cast<int64_t>(sizeof(int32_t)), sr = static_cast<int64_t>(sizeof(double));
  TVN_bsto_makeroom(s.store, is.ints * si + is.reals * sr + 2 * sr);
  s.type.push_back(plain ? rtype : -rtype);
  TVN_bsto_append(s.store, is.ints * si, s.ints.data());
  TVN_bsto_append(s.store, is.reals * sr, s.reals.data());
  if (!plain) TVN_bsto_append(s.store, static_cast<int64_t>(sizeof is), &is);
  s.open = false;
  x.stats->numred[static_cast<size_t>(rtype)]++;
}

void TVN_prslv_freestaging(prslv_context& x) noexcept {
  x.stk.ints = vec<int32_t>(*x.sys);
  x.stk.reals = vec<double>(*x.sys);
}

void TVN_prslv_initpopstk(prslv_context& x) noexcept {
  x.stk.poptype = x.stk.type.size();
  x.stk.popbyte = TVN_bsto_getsize(x.stk.store);
}

int32_t TVN_prslv_popstk(prslv_context& x) {
  prslv_stack& s = x.stk;
  if (s.poptype == 0) return 0;
  const int32_t stored = s.type[--s.poptype], rtype = std::abs(stored);
  record_size size = default_size(x.sys, rtype);
  if (stored < 0) {
    s.popbyte -= static_cast<int64_t>(sizeof size);
    TVN_bsto_get(s.store, s.popbyte, static_cast<int64_t>(sizeof size), &size);
  }
  s.ints.resize(size.ints);
  s.reals.resize(size.reals);
  const int64_t rbytes = size.reals * static_cast<int64_t>(sizeof(double)),
                ibytes = size.ints * static_cast<int64_t>(sizeof(int32_t));
  TVN_bsto_get(s.store, s.popbyte - rbytes, rbytes, s.reals.data());
  TVN_bsto_get(s.store, s.popbyte - rbytes - ibytes, ibytes, s.ints.data());
  s.popbyte -= rbytes + ibytes;
  return rtype;
}

int32_t TVN_prslv_getnumred(const prslv_context& ctx) { return static_cast<int32_t>(ctx.stk.type.size()); }

} // namespace tvn
