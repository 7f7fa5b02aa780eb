// Names of items: the pool, the maps and the exported functions. See names.h.
#include "tovan/task/names.h"

#include "tovan/task/api.h"

#include <charconv>

namespace tvn {

namespace {

const char label[] = "src/tovan/names";
constexpr int64_t chars_per_item = 17; // allowance of characters per item when the pool grows
constexpr int32_t objective = -1;      // the item that put_pool_name takes for the objective

const char* item_word(int32_t item) noexcept {
  switch (item) {
  case TVN_PI_VAR: return "variable";
  case TVN_PI_CON: return "constraint";
  default: return "cone";
  }
}

int32_t num_items(const task& t, int32_t item) noexcept {
  switch (item) {
  case TVN_PI_VAR: return t.prob.numvar;
  case TVN_PI_CON: return t.prob.numcon;
  default: return t.prob.numcone;
  }
}

int32_t max_items(const task& t, int32_t item) noexcept {
  switch (item) {
  case TVN_PI_VAR: return t.prob.maxnumvar;
  case TVN_PI_CON: return t.prob.maxnumcon;
  default: return t.prob.maxnumcone;
  }
}

int64_t all_items(const task& t) noexcept { return int64_t{t.prob.numvar} + t.prob.numcon + t.prob.numcone; }

int64_t all_capacity(const task& t) noexcept {
  return int64_t{t.prob.maxnumvar} + t.prob.maxnumcon + t.prob.maxnumcone;
}

// Visits the offset of the objective and of every item, in the order in which a packed pool holds their names.
template <class Offsets, class Visit> void each_offset(const task& t, Offsets& names, Visit visit) {
  visit(names.objoffset);
  for (int32_t item = 0; item < 3; item++)
    for (int32_t i = 0; i < num_items(t, item); i++) visit(names.offset[item][i]);
}

int64_t text_length(const char* s) noexcept { return static_cast<int64_t>(std::strlen(s)); }

// What the pool should be able to take beyond the name that found no room: names for the items without one.
int64_t growth(const task& t) noexcept {
  const name_stats s = TVN_getnamestats(t);
  const int64_t items = all_items(t) + 1, average = (s.numchars + items - 1) / items;
  const int64_t unnamed = s.numempty + all_capacity(t) - all_items(t);
  return std::max(unnamed * std::min(average, chars_per_item), s.poolsize / 8);
}

int64_t& offset_of(task& t, int32_t item, int32_t i) noexcept {
  return item == objective ? t.names.objoffset : t.names.offset[item][i];
}

// Room for a name of len characters that replaces the one at an offset, in place or at the end.
void room_for_name(task& t, int32_t item, int32_t i, int64_t len) {
  const namestore& n = t.names;
  if (len <= text_length(n.at(offset_of(t, item, i))) || len + 1 <= n.poolfree) return;
  TVN_chgnamespc(t, growth(t) + len + 1);
}

// Stores a name for which there is room.
void store_name(namestore& n, int64_t& offset, const char* name, int64_t len) noexcept {
  if (len == 0) {
    offset = 0;
    return;
  }
  if (len > text_length(n.at(offset))) {
    offset = n.poolsize - n.poolfree;
    n.poolfree -= len + 1;
  }
  std::memcpy(n.pool.data() + offset, name, static_cast<size_t>(len));
  n.pool[offset + len] = '\0';
}

TVNrescodee check_item(task& t, int32_t item, int32_t i) {
  return TVN_checkindexdbg(label, __LINE__, "", t, "i", item, i);
}

// Copies a name out; the buffer holds the empty string after a failure.
TVNrescodee copy_out(task& t, const char* text, int64_t maxlen, char* name) {
  const int64_t len = text_length(text);
  if (!name) return TVN_RES_OK;
  if (maxlen > 0) name[0] = '\0';
  if (len + 1 > maxlen)
    return report(t, label, __LINE__, TVN_RES_ERR_NAME_MAX_LEN, text, static_cast<int32_t>(len),
                  static_cast<int32_t>(std::min<int64_t>(maxlen, INT32_MAX)));
  std::memcpy(name, text, static_cast<size_t>(len) + 1);
  return TVN_RES_OK;
}

TVNrescodee get_text(task& t, const char* text, int64_t maxlen, int64_t* len, char* name) {
  if (len) *len = text_length(text);
  return copy_out(t, text, maxlen, name);
}

TVNrescodee get_text(task& t, const char* text, int64_t maxlen, int32_t* len, char* name) {
  int32_t len32 = 0;
  if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &len32, text_length(text))) return code;
  if (len) *len = len32;
  return copy_out(t, text, maxlen, name);
}

template <class Int>
TVNrescodee get_item_name(TVNtask_t task, int32_t item, int32_t i, int64_t maxlen, Int* len, char* name) noexcept {
  return api(task, [&](tvn::task& t) {
    if (const TVNrescodee code = check_item(t, item, i)) return code;
    return get_text(t, item_name(t, item, i), maxlen, len, name);
  });
}

} // namespace

const char* item_name(const task& t, int32_t item, int32_t i) noexcept { return t.names.at(t.names.offset[item][i]); }

const char* objective_name(const task& t) noexcept { return t.names.at(t.names.objoffset); }

name_stats TVN_getnamestats(const task& t) noexcept {
  name_stats s;
  s.poolsize = t.names.poolsize;
  s.poolfree = t.names.poolfree;
  each_offset(t, t.names, [&](int64_t offset) {
    const int64_t len = text_length(t.names.at(offset));
    s.numchars += len;
    s.numempty += len == 0;
    s.maxlen = std::max(s.maxlen, len);
  });
  s.numempty -= t.names.objoffset == 0; // the objective is no item
  return s;
}

void TVN_deletenamemap(namestore& names, int32_t item) noexcept { TVN_htbl_delete(names.map[item]); }

void TVN_makenamemap(task& t, int32_t item) {
  if (t.names.map[item].made()) return;
  htbl fresh;
  TVN_htbl_make(*t.sys, max_items(t, item), 1, fresh);
  const int64_t* offset = t.names.offset[item].data();
  for (int32_t i = 0; i < num_items(t, item); i++)
    if (offset[i] != 0) TVN_htbl_assign(fresh, offset, t.names.pool.data(), i);
  t.names.map[item] = std::move(fresh);
}

void TVN_chgnamespc(task& t, int64_t need) {
  namestore& n = t.names;
  int64_t used = 1;
  each_offset(t, n, [&](int64_t offset) { used += offset ? text_length(n.at(offset)) + 1 : 0; });
  const int64_t size = std::max(chars_per_item * all_capacity(t), need + used) + 1;
  buffer<char> pool(*t.sys, size);
  pool[0] = '\0';
  int64_t to = 1;
  each_offset(t, n, [&](int64_t& offset) {
    if (offset == 0) return;
    const int64_t len = text_length(n.at(offset)) + 1;
    std::memcpy(pool.data() + to, n.at(offset), static_cast<size_t>(len));
    offset = to;
    to += len;
  });
  for (int32_t item = 0; item < 3; item++) TVN_deletenamemap(n, item);
  n.pool.swap(pool);
  n.poolsize = size;
  n.poolfree = size - to;
}

TVNrescodee put_name(task& t, int32_t item, int32_t i, const char* name) {
  if (const TVNrescodee code = check_item(t, item, i)) return code;
  if (!name) return report(t, label, __LINE__, TVN_RES_ERR_NAME_IS_NULL);
  const int64_t len = text_length(name);
  room_for_name(t, item, i, len);
  TVN_makenamemap(t, item);
  namestore& n = t.names;
  htbl& map = n.map[item];
  buffer<int64_t>& offset = n.offset[item];
  int64_t other = -1;
  if (len > 0 && TVN_htbl_compute(map, offset.data(), n.at(0), name, other))
    return other == i ? TVN_RES_OK : report(t, label, __LINE__, TVN_RES_ERR_DUP_NAME, name, item_word(item));
  if (offset[i] != 0) TVN_htbl_unassign(map, offset.data(), n.at(0), i);
  store_name(n, offset[i], name, len);
  if (len > 0) TVN_htbl_assign(map, offset.data(), n.at(0), i);
  return TVN_RES_OK;
}

void append_name(task& t, int32_t item, int32_t i, std::string_view name) {
  const auto len = static_cast<int64_t>(name.size());
  room_for_name(t, item, i, len);
  TVN_deletenamemap(t.names, item);
  store_name(t.names, offset_of(t, item, i), name.data(), len);
}

TVNrescodee put_objname(task& t, const char* name) {
  if (!name) return report(t, label, __LINE__, TVN_RES_ERR_NAME_IS_NULL);
  const int64_t len = text_length(name);
  room_for_name(t, objective, 0, len);
  store_name(t.names, t.names.objoffset, name, len);
  return TVN_RES_OK;
}

int32_t find_name(task& t, int32_t item, const char* name) {
  if (*name == '\0') return -1;
  TVN_makenamemap(t, item);
  int64_t index = -1;
  TVN_htbl_compute(t.names.map[item], t.names.offset[item].data(), t.names.at(0), name, index);
  return static_cast<int32_t>(index);
}

void TVN_swapname(task& t, int32_t item, int32_t i, int32_t k) noexcept {
  TVN_deletenamemap(t.names, item);
  buffer<int64_t>& offset = t.names.offset[item];
  std::swap(offset[i], offset[k]);
}

void TVN_permuteandremovenames(task& t, int32_t item, int32_t first, int32_t count, const int32_t* map,
                               int64_t* work) noexcept {
  buffer<int64_t>& offset = t.names.offset[item];
  TVN_deletenamemap(t.names, item);
  if (count > 0) std::copy_n(offset.data() + first, count, work);
  for (int32_t i = 0; i < count; i++)
    if (map[i] >= 0) offset[map[i]] = work[i];
}

TVNrescodee TVN_getnamex(task& t, int32_t item, int32_t i, int64_t maxlen, int64_t& len, char* name, bool generic) {
  if (const TVNrescodee code = check_item(t, item, i)) return code;
  if (!generic) return get_text(t, item_name(t, item, i), maxlen, &len, name);
  char text[16] = {item == TVN_PI_VAR ? 'x' : item == TVN_PI_CON ? 'c' : 'k'};
  std::to_chars(text + 1, text + sizeof text - 1, int64_t{i} + t.params.ival[TVN_IPAR_WRITE_GENERIC_NAMES_IO]);
  return get_text(t, text, maxlen, &len, name);
}

bool TVN_getwritename(const char* name, const char* badchars) noexcept {
  return name[std::strcspn(name, badchars)] != '\0' && !std::strchr(name, '"');
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_putname(TVNtask_t task, int32_t item, int32_t i, const char* name) {
  return api_change(task, [&](tvn::task& t) { return put_name(t, item, i, name); });
}

TVNrescodee TVN_getname(TVNtask_t task, int32_t item, int32_t i, int32_t maxlen, int32_t* len, char* name) {
  return get_item_name(task, item, i, maxlen, len, name);
}

TVNrescodee TVN_getname64(TVNtask_t task, int32_t item, int32_t i, int64_t maxlen, int64_t* len, char* name) {
  return get_item_name(task, item, i, maxlen, len, name);
}

TVNrescodee TVN_getnamex(TVNtask_t task, int32_t item, int32_t i, int32_t maxlen, int32_t* len, char* name,
                         int32_t generic) {
  return api(task, [&](tvn::task& t) {
    int64_t length = 0;
    const TVNrescodee code = TVN_getnamex(t, item, i, maxlen, length, name, generic != 0);
    if (!len) return code;
    const TVNrescodee wide = TVN_int64to32dbg(t, label, __LINE__, len, length);
    return code ? code : wide;
  });
}

TVNrescodee TVN_getnameapi64(TVNtask_t task, int32_t item, int32_t i, int64_t maxlen, char* name) {
  return get_item_name<int64_t>(task, item, i, maxlen, nullptr, name);
}

TVNrescodee TVN_getnamelen64(TVNtask_t task, int32_t item, int32_t i, int64_t* len) {
  return get_item_name(task, item, i, 0, len, nullptr);
}

TVNrescodee TVN_getconname(TVNtask_t task, int32_t i, int32_t maxlen, char* name) {
  return get_item_name<int32_t>(task, TVN_PI_CON, i, maxlen, nullptr, name);
}

TVNrescodee TVN_getvarname(TVNtask_t task, int32_t j, int32_t maxlen, char* name) {
  return get_item_name<int32_t>(task, TVN_PI_VAR, j, maxlen, nullptr, name);
}

TVNrescodee TVN_getnameindex(TVNtask_t task, int32_t item, const char* name, int32_t* asgn, int32_t* index) {
  return api(task, [&](tvn::task& t) {
    if (item < TVN_PI_VAR || item > TVN_PI_CONE) return report(t, label, __LINE__, TVN_RES_ERR_PRO_ITEM, item);
    if (!name) return report(t, label, __LINE__, TVN_RES_ERR_NAME_IS_NULL);
    const int32_t found = find_name(t, item, name);
    if (asgn) *asgn = found >= 0;
    if (index && found >= 0) *index = found;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_getmaxnamelen(TVNtask_t task, int32_t* maxlen) {
  return api(task, [&](tvn::task& t) {
    int32_t len = 0;
    if (const TVNrescodee code = TVN_int64to32dbg(t, label, __LINE__, &len, TVN_getnamestats(t).maxlen)) return code;
    if (maxlen) *maxlen = len;
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_putobjname(TVNtask_t task, const char* name) {
  return api_change(task, [&](tvn::task& t) { return put_objname(t, name); });
}

TVNrescodee TVN_getobjname(TVNtask_t task, int32_t maxlen, int32_t* len, char* name) {
  return api(task, [&](tvn::task& t) { return get_text(t, objective_name(t), maxlen, len, name); });
}

TVNrescodee TVN_puttaskname(TVNtask_t task, const char* name) {
  return api_change(task, [&](tvn::task& t) {
    if (!name) return report(t, label, __LINE__, TVN_RES_ERR_NAME_IS_NULL);
    t.taskname.assign(name);
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_gettaskname(TVNtask_t task, int32_t maxlen, int32_t* len, char* name) {
  return api(task, [&](tvn::task& t) { return get_text(t, t.taskname.c_str(), maxlen, len, name); });
}
