// Scratch memory of a task. See scratch.h.
#include "tovan/task/scratch.h"

#include "tovan/task/task.h"

#include <new>

namespace tvn {

struct scratch_record {
  int64_t capacity = 0; // elements
  bool marked = false;  // goes when it comes back
  bool iszero = false;
  void* storage = nullptr;
  scratch_record* next = nullptr;
};

namespace {

const char label[] = "src/tovan/scratch";

void insert_free(scratch_class& c, scratch_record* r) noexcept {
  scratch_record** link = &c.free;
  while (*link && (*link)->capacity < r->capacity) link = &(*link)->next;
  r->next = *link;
  *link = r;
}

void drop(scratch_pool& pool, scratch_record* r) noexcept {
  pool.sys->release(r->storage, label, __LINE__);
  pool.sys->release(r, label, __LINE__);
}

void drop_list(scratch_pool& pool, scratch_record*& list) noexcept {
  while (list) {
    scratch_record* r = list;
    list = r->next;
    drop(pool, r);
  }
}

// Gives a block back unless it found its owner.
struct block_owner {
  sysenv* sys;
  void* block;
  ~block_owner() {
    if (block) sys->release(block, label, __LINE__);
  }
};

scratch_record* make_record(const char* file, int line, scratch_pool& pool, int64_t count, int32_t elemsize,
                            bool zeroed) {
  const size_t bytes = checked_bytes(count, static_cast<size_t>(elemsize));
  block_owner storage{pool.sys, pool.sys->alloc(bytes, file, line)};
  auto* r = new (pool.sys->alloc(sizeof(scratch_record), file, line)) scratch_record{};
  r->storage = std::exchange(storage.block, nullptr);
  std::memset(r->storage, 0, bytes);
  r->capacity = count;
  r->iszero = zeroed;
  return r;
}

} // namespace

void TVN_makebuffers(sysenv& sys, scratch_pool& pool) noexcept { pool.sys = &sys; }

void TVN_deletebuffers(scratch_pool& pool) noexcept {
  for (scratch_class& c : pool.classes) {
    drop_list(pool, c.free);
    drop_list(pool, c.inuse);
  }
}

void* TVN_getbufdbg(const char* file, int line, scratch_pool& pool, int64_t count, int32_t elemsize, bool zeroed) {
  if (count == 0 || elemsize == 0) return nullptr;
  scratch_class& c = pool.classes[elemsize];
  scratch_record** link = &c.free;
  while (*link && ((*link)->capacity < count || (*link)->iszero != zeroed)) link = &(*link)->next;
  scratch_record* r = *link;
  if (r)
    *link = r->next;
  else
    r = make_record(file, line, pool, count, elemsize, zeroed);
  r->next = c.inuse;
  c.inuse = r;
  return r->storage;
}

void* TVN_getbufdbg2(const char* file, int line, task& t, int64_t concount, int64_t varcount, int32_t elemsize,
                     bool zeroed) {
  const int64_t count = concount * t.prob.maxnumcon + varcount * t.prob.maxnumvar;
  return TVN_getbufdbg(file, line, t.buffers, count, elemsize, zeroed);
}

void TVN_putbuf(scratch_pool& pool, int32_t elemsize, bool iszero, void* ptr) noexcept {
  scratch_class& c = pool.classes[elemsize];
  scratch_record** link = &c.inuse;
  while (*link && (*link)->storage != ptr) link = &(*link)->next;
  scratch_record* r = *link;
  TVN_ASSERT(pool.sys, label, r != nullptr);
  *link = r->next;
  if (r->marked) return drop(pool, r);
  r->iszero = iszero;
  insert_free(c, r);
}

void TVN_markbuffersfordelete(scratch_pool& pool) noexcept {
  for (scratch_class& c : pool.classes) {
    drop_list(pool, c.free);
    for (scratch_record* r = c.inuse; r; r = r->next) r->marked = true;
  }
}

int32_t count_buffers(const scratch_pool& pool) noexcept {
  int32_t n = 0;
  for (const scratch_class& c : pool.classes) {
    for (const scratch_record* r = c.free; r; r = r->next) n++;
    for (const scratch_record* r = c.inuse; r; r = r->next) n++;
  }
  return n;
}

} // namespace tvn
