// Blocks of text for a file. See textwrite.h.
#include "tovan/files/text/textwrite.h"

#include "misc/numtext.h"
#include "tovan/task/log.h"

#include <charconv>

namespace tvn {

namespace {

constexpr int64_t block_size = 1 << 16;
constexpr int64_t callback_step = 16; // blocks

} // namespace

text_output::text_output(task& t_, sysfile& file_, int32_t callback_) : t(t_), file(file_), callback(callback_) {
  block.reset(*t.sys, block_size);
}

void flush(text_output& w) {
  TVN_sysenv_fwrite(w.file, w.block.data(), w.used, w.state);
  w.used = 0;
  if (++w.flushes % callback_step == 0 && w.code == TVN_RES_OK) w.code = call_callbacks(w.t, w.callback);
}

void put_big(text_output& w, std::string_view text) {
  flush(w);
  if (static_cast<int64_t>(text.size()) > w.block.size()) {
    TVN_sysenv_fwrite(w.file, text.data(), static_cast<int64_t>(text.size()), w.state);
    return;
  }
  std::memcpy(w.block.data(), text.data(), text.size());
  w.used = static_cast<int64_t>(text.size());
}

void put_number(text_output& w, double value) {
  char text[40];
  put(w, {text, static_cast<size_t>(put_shortest(text, value))});
}

void put_integer(text_output& w, int64_t value) {
  char text[24];
  put(w, {text, static_cast<size_t>(std::to_chars(text, text + sizeof text, value).ptr - text)});
}

} // namespace tvn
