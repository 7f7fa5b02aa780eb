// Four rounds of sixteen steps on blocks of 64 bytes. See md5.h.
//
// Words are read and written byte by byte, lowest first, so that the digest is the same on any machine.
#include "cpub/md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tvn {
namespace {

constexpr size_t block_size = 64;

// floor(2^32 |sin(k + 1)|)
constexpr uint32_t sine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
constexpr int turn[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

uint32_t read_word(const unsigned char* p) noexcept {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

uint32_t mix(uint32_t round, uint32_t b, uint32_t c, uint32_t d) noexcept {
  switch (round) {
  case 0: return (b & c) | (~b & d);
  case 1: return (b & d) | (c & ~d);
  case 2: return b ^ c ^ d;
  default: return c ^ (b | ~d);
  }
}

void take_block(md5_state& s, const unsigned char* block) noexcept {
  constexpr uint32_t stride[4] = {1, 5, 3, 7}, start[4] = {0, 1, 5, 0};
  uint32_t x[16];
  for (size_t k = 0; k < 16; k++) x[k] = read_word(block + 4 * k);
  uint32_t a = s.word[0], b = s.word[1], c = s.word[2], d = s.word[3];
  for (uint32_t k = 0; k < 64; k++) {
    const uint32_t round = k / 16;
    const uint32_t sum = a + mix(round, b, c, d) + x[(start[round] + stride[round] * k) % 16] + sine[k];
    a = d;
    d = c;
    c = b;
    b += std::rotl(sum, turn[round][k % 4]);
  }
  s.word[0] += a;
  s.word[1] += b;
  s.word[2] += c;
  s.word[3] += d;
}

} // namespace

void TVN_md5_init(md5_state& s) noexcept { s = md5_state{0, {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, {}}; }

void TVN_md5_append(md5_state& s, const void* bytes, size_t size) noexcept {
  const auto* p = static_cast<const unsigned char*>(bytes);
  while (size > 0) {
    const size_t held = s.numbytes % block_size;
    const size_t n = std::min(size, block_size - held);
    if (n == block_size) {
      take_block(s, p);
    } else {
      std::memcpy(s.rest + held, p, n);
      if (held + n == block_size) take_block(s, s.rest);
    }
    s.numbytes += n;
    p += n;
    size -= n;
  }
}

void TVN_md5_finish(md5_state& s, md5_digest& digest) noexcept {
  static constexpr unsigned char padding[block_size] = {0x80};
  const uint64_t numbits = s.numbytes * 8;
  unsigned char tail[8];
  for (size_t k = 0; k < 8; k++) tail[k] = static_cast<unsigned char>(numbits >> (8 * k));
  const size_t held = s.numbytes % block_size;
  TVN_md5_append(s, padding, (held < 56 ? 56 : 120) - held);
  TVN_md5_append(s, tail, sizeof tail);
  for (size_t k = 0; k < digest.size(); k++) digest[k] = static_cast<unsigned char>(s.word[k / 4] >> (8 * (k % 4)));
}

} // namespace tvn
