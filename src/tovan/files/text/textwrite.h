// Text gathered in a block for a file that is being written.
//
// The first failure of the file or stop by the user holds; what follows costs nothing, so a writer tests once a line.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task/task.h"

namespace tvn {

struct text_output {
  task& t;
  sysfile& file;
  int32_t callback; // TVN_CALLBACK_* that is called once a megabyte
  sys_code state = sys_code::ok;
  TVNrescodee code = TVN_RES_OK; // a stop by the user
  buffer<char> block{};
  int64_t used = 0;
  int64_t flushes = 0;
  int64_t column = 0; // characters on the present line, as the functions below count them

  text_output(task& t_, sysfile& file_, int32_t callback_);
};

inline bool is_going(const text_output& w) noexcept { return w.code == TVN_RES_OK && w.state == sys_code::ok; }
void flush(text_output& w);
void put_big(text_output& w, std::string_view text); // any length

// Text without a line end.
inline void put(text_output& w, std::string_view text) {
  if (text.empty()) return; // its pointer may be null
  w.column += static_cast<int64_t>(text.size());
  if (w.used + static_cast<int64_t>(text.size()) > w.block.size()) return put_big(w, text);
  std::memcpy(w.block.data() + w.used, text.data(), text.size());
  w.used += static_cast<int64_t>(text.size());
}
// The end of a line with what stands before it.
inline void put_end(text_output& w, std::string_view text = {}) {
  put(w, text);
  put(w, "\n");
  w.column = 0;
}

// The shortest text that reads back to the same double.
void put_number(text_output& w, double value);
void put_integer(text_output& w, int64_t value);

// A name from a file as a C string for messages, cut to what they can hold.
struct c_name {
  char text[TVN_MAX_STR_LEN];
  explicit c_name(std::string_view name) noexcept {
    const size_t n = std::min(name.size(), sizeof text - 1);
    if (n > 0) std::memcpy(text, name.data(), n);
    text[n] = '\0';
  }
};

} // namespace tvn
