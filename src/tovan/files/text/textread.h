// Text of an open file in big blocks, for readers that go character by character.
//
// block[0] to block[end - 1] is text that was read; block[end] is 0, so that a scan for a class of characters needs no
// test for the end: it stops there and asks for more. What a reader still needs keeps its place relative to the text
// and moves to the front of the block; nothing is copied but that. Cost: linear in the text.
#pragma once

#include "cpub/sysfile.h"

namespace tvn {

struct text_input {
  sysenv* sys = nullptr;
  sysfile* file = nullptr;
  bool (*goeson)(void* handle) = nullptr; // called once a megabyte; the file ends where it answers false
  void* handle = nullptr;
  int64_t maxtoken = int64_t{1} << 30; // text that must be kept and fills such a block ends the reading
  sys_code state = sys_code::ok;
  buffer<char> block;
  int64_t end = 0;
  int64_t total = 0; // bytes read so far
  bool atend = false;
};

void open_input(text_input& in, sysenv& sys, sysfile& file);

// Text from position `keep` on moves to the front and more is read behind it; returns how far it moved, -1 when the
// file has no more (nothing moved then).
int64_t read_more(text_input& in, int64_t keep);

} // namespace tvn
