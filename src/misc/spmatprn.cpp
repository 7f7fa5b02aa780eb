// Compressed vectors: text for people and for other programs. See spmat.h.
#include "misc/spmat.h"

#include "cpub/sysfile.h"

#include <charconv>

namespace tvn {

namespace {

// Numbers with a blank behind each, the last one with a newline; free of the locale, and they read back as they were.
struct line_text {
  char text[96];
  char* at = text;
  template <class T> void add(T value) noexcept {
    at = std::to_chars(at, text + sizeof text - 1, value).ptr;
    *at++ = ' ';
  }
  std::string_view end() noexcept {
    at[-1] = '\n';
    return {text, static_cast<size_t>(at - text)};
  }
};

void write_entries(const spmat& a, sysfile& file, sys_code& result) noexcept {
  line_text head;
  head.add(a.vlen);
  head.add(a.nvec);
  head.add(TVN_spmat_getnz(a));
  TVN_sysenv_fputss(file, head.end(), result);
  for (int32_t j = 0; j < a.nvec; j++)
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      line_text line;
      line.add(a.sub[p]);
      line.add(j);
      line.add(a.val[p]);
      TVN_sysenv_fputss(file, line.end(), result);
    }
}

} // namespace

void TVN_spmat_printi(const spmat& a, int32_t j, text_sink sink, void* handle) noexcept {
  TVN_outfmt(sink, handle, "%i:", j);
  for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++)
    TVN_outfmt(sink, handle, " (%i, %{p}e)", a.sub[p], int32_t{8}, a.val[p]);
  TVN_outfmt(sink, handle, "\n");
}

void TVN_spmat_print(const spmat& a, const char* title, text_sink sink, void* handle) noexcept {
  TVN_outfmt(sink, handle, "%s: %i vectors of length %i, %l entries\n", title, a.nvec, a.vlen, TVN_spmat_getnz(a));
  for (int32_t j = 0; j < a.nvec; j++) TVN_spmat_printi(a, j, sink, handle);
}

void TVN_spmat_writetofile(const spmat& a, const char* filename, sys_code& result) {
  sysfile* file = TVN_sysenv_fopen(*a.sys, filename, file_mode::write, false, result);
  if (!file) return;
  write_entries(a, *file, result);
  TVN_sysenv_fclose(&file, result);
}

} // namespace tvn
