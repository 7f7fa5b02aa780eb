// MD5 digest of a run of bytes (RFC 1321, Rivest 1992), for telling whether a locked block of memory has changed.
//
// A digest of 16 bytes costs about two nanoseconds a byte and nothing but the state record. It guards against stray
// writes, not against people: MD5 is broken as a signature.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tvn {

using md5_digest = std::array<unsigned char, 16>;

struct md5_state {
  uint64_t numbytes;      // taken so far
  uint32_t word[4];       // running digest
  unsigned char rest[64]; // the last numbytes % 64 bytes, not yet taken in
};

void TVN_md5_init(md5_state& s) noexcept;
void TVN_md5_append(md5_state& s, const void* bytes, size_t size) noexcept;
// The state must be made anew before it is used again.
void TVN_md5_finish(md5_state& s, md5_digest& digest) noexcept;

} // namespace tvn
