// Pages, and the copies to and from them. See bsto.h.
#include "cpub/bsto.h"

#include "cpub/sysfile.h"

#include <cstdio>

namespace tvn {

namespace {

constexpr char label[] = "src/cpub/bsto";
constexpr int64_t minlist = 1024; // entries of the page list

void grow_list(bsto& b, int64_t needed) {
  if (needed <= b.pages.size()) return;
  buffer<unsigned char*> fresh(*b.sys, std::max(needed, minlist));
  std::copy_n(b.pages.data(), b.numpages, fresh.data());
  b.pages.swap(fresh);
}

// Calls piece(page address, bytes) for the parts of a range, in order.
template <class F> void for_pieces(const bsto& b, int64_t offset, int64_t bytes, F piece) {
  while (bytes > 0) {
    const int64_t at = offset % b.pagesize;
    const int64_t n = std::min(bytes, b.pagesize - at);
    piece(b.pages[offset / b.pagesize] + at, n);
    offset += n;
    bytes -= n;
  }
}

} // namespace

bsto::~bsto() { TVN_bsto_delete(*this); }

void TVN_bsto_make(sysenv& sys, int64_t pagesize, bsto& b) {
  TVN_bsto_delete(b);
  b.sys = &sys;
  b.pagesize = std::max<int64_t>(pagesize, 1);
}

void TVN_bsto_delete(bsto& b) noexcept {
  // The newest first: the memory manager searches its list from there.
  for (int64_t k = b.numpages - 1; k >= 0; k--) b.sys->release(b.pages[k], label, __LINE__);
  b.pages.clear();
  b.numpages = b.size = 0;
}

void TVN_bsto_clear(bsto& b) noexcept { b.size = 0; }

void TVN_bsto_makeroom(bsto& b, int64_t bytes) {
  if (bytes > INT64_MAX - b.size) throw out_of_memory{};
  const int64_t needed = (b.size + bytes) / b.pagesize + 1;
  grow_list(b, needed);
  while (b.numpages < needed) {
    auto* page = static_cast<unsigned char*>(b.sys->alloc(static_cast<size_t>(b.pagesize), label, __LINE__));
    std::memset(page, 0, static_cast<size_t>(b.pagesize));
    b.pages[b.numpages++] = page;
  }
}

void TVN_bsto_append(bsto& b, int64_t bytes, const void* source) {
  if (bytes == 0) return;
  if (bytes > TVN_bsto_getmaxsize(b) - b.size) TVN_bsto_makeroom(b, bytes);
  const auto* from = static_cast<const unsigned char*>(source);
  for_pieces(b, b.size, bytes, [&](unsigned char* to, int64_t n) {
    std::memcpy(to, from, static_cast<size_t>(n));
    from += n;
  });
  b.size += bytes;
}

void TVN_bsto_get(const bsto& b, int64_t offset, int64_t bytes, void* target) {
  TVN_ASSERT(b.sys, label, offset >= 0 && bytes >= 0 && offset <= b.size && bytes <= b.size - offset);
  auto* to = static_cast<unsigned char*>(target);
  for_pieces(b, offset, bytes, [&](const unsigned char* from, int64_t n) {
    std::memcpy(to, from, static_cast<size_t>(n));
    to += n;
  });
}

sys_code TVN_bsto_writetodisk(const bsto& b) {
  sys_code code = sys_code::ok;
  for (int64_t k = 0; k + 1 < b.numpages; k++) {
    char name[40];
    std::snprintf(name, sizeof name, "page%d.out", static_cast<int>(k));
    sysfile* f = TVN_sysenv_fopen(*b.sys, name, file_mode::write, false, code);
    if (!f) break;
    TVN_sysenv_fwrite(*f, b.pages[k], b.pagesize, code);
    TVN_sysenv_fclose(&f, code);
  }
  return code;
}

} // namespace tvn
