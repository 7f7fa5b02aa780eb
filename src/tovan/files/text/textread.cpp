// Blocks of text from a file. See textread.h.
#include "tovan/files/text/textread.h"

namespace tvn {

namespace {

constexpr int64_t block_size = 1 << 18;
constexpr int64_t goeson_step = 1 << 20;

// False when what is kept fills the largest block.
bool make_room(text_input& in, int64_t keep) {
  const int64_t left = in.end - keep;
  if (2 * left < in.block.size()) {
    if (keep > 0) std::memmove(in.block.data(), in.block.data() + keep, static_cast<size_t>(left));
    return true;
  }
  if (left >= in.maxtoken) return false;
  buffer<char> larger(*in.sys, 2 * in.block.size());
  std::memcpy(larger.data(), in.block.data() + keep, static_cast<size_t>(left));
  in.block.swap(larger);
  return true;
}

} // namespace

void open_input(text_input& in, sysenv& sys, sysfile& file) {
  in.sys = &sys;
  in.file = &file;
  in.block.reset(sys, block_size);
  in.block[0] = '\0';
}

int64_t read_more(text_input& in, int64_t keep) {
  if (in.atend) return -1;
  if (!make_room(in, keep)) {
    in.state = sys_code::file_read;
    in.atend = true;
    return -1;
  }
  const int64_t left = in.end - keep, room = in.block.size() - 1 - left;
  const int64_t got = TVN_sysenv_fread(*in.file, in.block.data() + left, room, in.state);
  const bool asks = in.total / goeson_step != (in.total + got) / goeson_step || in.total == 0;
  in.total += got;
  in.end = left + got;
  in.atend = got < room || in.state != sys_code::ok;
  if (asks && in.goeson && !in.goeson(in.handle)) {
    in.end = left;
    in.atend = true;
  }
  in.block[in.end] = '\0';
  return keep;
}

} // namespace tvn
