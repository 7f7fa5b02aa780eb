// Records: what each reduction leaves for its undo, pushed and popped by type.
//
// A record is a struct that stands in the file of its reduction and is known to nobody else. It names the types that it
// is pushed under (`types`) and, when it varies in length, what it holds beside its fields: `item`, and `numitems()` of
// them. A reduction that has nothing to undo pushes its type alone. One record is open at a time, from before the
// problem is changed.
#pragma once

#include "prslv/prslvint.h"

#include <algorithm>
#include <iterator>

namespace tvn {

void TVN_prslv_beginpushstk(prslv_context& x, int32_t rtype);
void TVN_prslv_endpushstk(prslv_context& x, int32_t rtype); // of nothing but the type
void TVN_prslv_endsnapshots(prslv_stack& s) noexcept;       // what stands is the input; the room of items is given back
void TVN_prslv_initpopstk(prslv_stack& s) noexcept;
void TVN_prslv_initpopsnapshots(prslv_stack& s) noexcept;
int32_t TVN_prslv_popstk(prslv_stack& s); // the type, 0 at the bottom; its record, if it has one, is popped next

void TVN_prslv_pushbytes(prslv_stack& s, int64_t bytes, const void* record);
void TVN_prslv_popbytes(prslv_stack& s, int64_t bytes, void* record);
void TVN_prslv_popitems(prslv_stack& s, int64_t bytes);

template <class R>
concept prslv_record = std::is_trivially_copyable_v<R> && requires {
  R::types;
};
template <class R>
concept prslv_long_record = prslv_record<R> && requires(const R& r) {
  typename R::item;
  r.numitems();
};

template <prslv_record R> void check_record(const prslv_stack& s, int32_t rtype) {
  TVN_ASSERT(s.store.sys, "src/prslv/prslvstk", std::ranges::find(R::types, rtype) != std::end(R::types));
}
template <class T> void push_item(prslv_stack& s, const T& item) {
  s.items.append(reinterpret_cast<const std::byte*>(&item), sizeof item);
}
template <prslv_record R> void TVN_prslv_endpushstk(prslv_context& x, int32_t rtype, const R& record) {
  check_record<R>(x.stk, rtype);
  int64_t bytes = 0;
  if constexpr (prslv_long_record<R>) bytes = record.numitems() * static_cast<int64_t>(sizeof(typename R::item));
  TVN_ASSERT(x.sys, "src/prslv/prslvstk", x.stk.items.size() == bytes);
  TVN_prslv_pushbytes(x.stk, sizeof record, &record);
  TVN_prslv_endpushstk(x, rtype);
}

// A record as popped. The items stand until the next one.
template <class R> struct prslv_popped {
  R fields;
  array_view<const typename R::item> items;
};
template <prslv_record R> auto TVN_prslv_poprecord(prslv_stack& s) {
  check_record<R>(s, s.type[s.poptype]);
  R record;
  TVN_prslv_popbytes(s, sizeof record, &record);
  if constexpr (prslv_long_record<R>) {
    using item = typename R::item;
    TVN_prslv_popitems(s, record.numitems() * static_cast<int64_t>(sizeof(item)));
    const auto* first = reinterpret_cast<const item*>(s.items.data());
    return prslv_popped<R>{record, {first, record.numitems()}};
  } else {
    return record;
  }
}

// The live entries of row i or column j, but that of a pivot, as items of the open record.
inline void push_row(const prslv_context& x, int32_t i, prslv_stack& s, int32_t except = -1) {
  for_row(x, i, [&](int32_t j, double a) {
    if (j != except) push_item(s, prslv_entry{j, a});
  });
}
inline void push_col(const prslv_context& x, int32_t j, prslv_stack& s, int32_t except = -1) {
  for_col(x, j, [&](int32_t i, double a) {
    if (i != except) push_item(s, prslv_entry{i, a});
  });
}

} // namespace tvn
