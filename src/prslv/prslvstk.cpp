// The record stack: what each reduction leaves for its undo.
//
// In the byte store the items of a record lie before its fields: reading goes from the end of the store, and the fields
// tell how many items there are. What is read is what was written, because one struct says both. Only one record is
// open at a time. Cost: linear in the record.
#include "prslv/prslvstk.h"

namespace tvn {

namespace {

constexpr const char* label = "src/prslv/prslvstk";

} // namespace

void TVN_prslv_beginpushstk(prslv_context& x, int32_t rtype) {
  TVN_ASSERT(x.sys, label, !x.stk.open && rtype >= 1 && rtype < rt_limit);
  if (x.audit.fn && x.stk.numsnapshots > 0) x.audit.fn(x.audit.handle, x, false, rtype, nullptr);
  x.stk.open = true;
  x.stk.items.clear();
}

void TVN_prslv_pushbytes(prslv_context& x, int64_t bytes, const void* record) {
  prslv_stack& s = x.stk;
  TVN_bsto_makeroom(s.store, s.items.size() + bytes);
  TVN_bsto_append(s.store, s.items.size(), s.items.data());
  TVN_bsto_append(s.store, bytes, record);
}

void TVN_prslv_endpushstk(prslv_context& x, int32_t rtype) {
  TVN_ASSERT(x.sys, label, x.stk.open);
  x.stk.type.push_back(rtype);
  x.stk.open = false;
  x.stats->numred[static_cast<size_t>(rtype)]++;
}

void TVN_prslv_endsnapshots(prslv_context& x) noexcept {
  x.stk.numsnapshots = x.stk.type.size();
  x.stk.snapshotbytes = TVN_bsto_getsize(x.stk.store);
  x.stk.items.free(); // no other record is as long
}

void TVN_prslv_initpopstk(prslv_context& x) noexcept {
  x.stk.poptype = x.stk.type.size();
  x.stk.popbyte = TVN_bsto_getsize(x.stk.store);
}

void TVN_prslv_initpopsnapshots(prslv_context& x) noexcept {
  x.stk.poptype = x.stk.numsnapshots;
  x.stk.popbyte = x.stk.snapshotbytes;
}

int32_t TVN_prslv_popstk(prslv_context& x) {
  prslv_stack& s = x.stk;
  return s.poptype > 0 ? s.type[--s.poptype] : 0;
}

void TVN_prslv_popbytes(prslv_context& x, int64_t bytes, void* record) {
  x.stk.popbyte -= bytes;
  TVN_bsto_get(x.stk.store, x.stk.popbyte, bytes, record);
}

void TVN_prslv_popitems(prslv_context& x, int64_t bytes) {
  x.stk.items.resize(bytes);
  TVN_prslv_popbytes(x, bytes, x.stk.items.data());
}

int32_t TVN_prslv_getnumred(const prslv_context& ctx) { return static_cast<int32_t>(ctx.stk.type.size()); }

} // namespace tvn
