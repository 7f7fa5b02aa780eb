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

void TVN_prslv_pushbytes(prslv_stack& s, int64_t bytes, const void* record) {
  TVN_bsto_makeroom(s.store, s.items.size() + bytes);
  TVN_bsto_append(s.store, s.items.size(), s.items.data());
  TVN_bsto_append(s.store, bytes, record);
}

void TVN_prslv_endpushstk(prslv_context& x, int32_t rtype) {
  TVN_ASSERT(x.sys, label, x.stk.open);
  x.stk.type.push_back(rtype);
  x.stk.open = false;
  x.run.stats->numred[rtype]++;
}

void TVN_prslv_endsnapshots(prslv_stack& s) noexcept {
  s.numsnapshots = s.type.size();
  s.snapshotbytes = TVN_bsto_getsize(s.store);
  s.items.free(); // no other record is as long
}

void TVN_prslv_initpopstk(prslv_stack& s) noexcept {
  s.poptype = s.type.size();
  s.popbyte = TVN_bsto_getsize(s.store);
}

void TVN_prslv_initpopsnapshots(prslv_stack& s) noexcept {
  s.poptype = s.numsnapshots;
  s.popbyte = s.snapshotbytes;
}

int32_t TVN_prslv_popstk(prslv_stack& s) { return s.poptype > 0 ? s.type[--s.poptype] : 0; }

void TVN_prslv_popbytes(prslv_stack& s, int64_t bytes, void* record) {
  s.popbyte -= bytes;
  TVN_bsto_get(s.store, s.popbyte, bytes, record);
}

void TVN_prslv_popitems(prslv_stack& s, int64_t bytes) {
  s.items.resize(bytes);
  TVN_prslv_popbytes(s, bytes, s.items.data());
}

int32_t TVN_prslv_getnumred(const prslv_context& ctx) { return static_cast<int32_t>(ctx.stk.type.size()); }

} // namespace tvn
