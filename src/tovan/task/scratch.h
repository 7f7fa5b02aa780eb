// Scratch memory of a task that is kept between calls, so that filling a problem item by item allocates nothing.
//
// One class per element size. A buffer is free (sorted by capacity) or in use; the zero flag says that every byte is 0,
// which the user of a zero buffer promises again when it goes back.
#pragma once

#include "cpub/buffer.h"

#include <array>

struct TVNtask;

namespace tvn {

using task = ::TVNtask;

struct scratch_record; // head of one buffer; its storage follows

struct scratch_class {
  scratch_record* free = nullptr; // ascending capacity
  scratch_record* inuse = nullptr;
};

struct scratch_pool {
  sysenv* sys = nullptr;
  numbered<scratch_class, 9> classes; // by element size in bytes
};

void TVN_makebuffers(sysenv& sys, scratch_pool& pool) noexcept;
void TVN_deletebuffers(scratch_pool& pool) noexcept;
// Null for a count of zero. Throws out_of_memory.
void* TVN_getbufdbg(const char* file, int line, scratch_pool& pool, int64_t count, int32_t elemsize, bool zeroed);
// Sized by the problem: concount * maxnumcon + varcount * maxnumvar elements.
void* TVN_getbufdbg2(const char* file, int line, task& t, int64_t concount, int64_t varcount, int32_t elemsize,
                     bool zeroed);
void TVN_putbuf(scratch_pool& pool, int32_t elemsize, bool iszero, void* ptr) noexcept;
// Free buffers go at once, those in use when they come back.
void TVN_markbuffersfordelete(scratch_pool& pool) noexcept;
// Buffers in all classes, free and in use.
int32_t count_buffers(const scratch_pool& pool) noexcept;

// A buffer for one scope.
template <class T> struct scratch {
  scratch(scratch_pool& pool, int64_t count, bool zeroed)
      : pool_(&pool), zeroed_(zeroed),
        ptr_(static_cast<T*>(TVN_getbufdbg("src/tovan/scratch", __LINE__, pool, count, sizeof(T), zeroed))) {}
  scratch(const scratch&) = delete;
  scratch& operator=(const scratch&) = delete;
  ~scratch() {
    if (ptr_) TVN_putbuf(*pool_, sizeof(T), zeroed_, ptr_);
  }
  T* data() noexcept { return ptr_; }
  T& operator[](int64_t k) noexcept { return ptr_[k]; }

private:
  scratch_pool* pool_;
  bool zeroed_;
  T* ptr_;
};

} // namespace tvn
