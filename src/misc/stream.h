// The four numbered output streams of an environment or a task.
//
// Text written to a stream goes line by line to the user's function and to the linked file; text of the streams 1 to 3
// goes to stream 0 as well, so that every message, warning and error also stands in the log. A line longer than the
// buffer of 1024 bytes is delivered in pieces, never cutting a UTF-8 character: the started character waits for the
// next piece. A stream with neither function nor file drops its text. Nothing here allocates while it writes. With the
// multithread flag each stream's mutex, which is recursive, is held around each write to that stream.
#pragma once

#include "cpub/sysfile.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <pthread.h>

namespace tvn {

inline constexpr int32_t num_streams = 4; // 0 log, 1 messages, 2 errors, 3 warnings

using stream_fn = void (*)(void* handle, const char* text);

enum class stream_code : int32_t {
  ok = 0,
  bad_stream = 1,
  mutex_init = 2,
  mutex_lock = 3,
  mutex_unlock = 4,
  format = 5
};

struct stream {
  void* handle = nullptr;
  stream_fn func = nullptr;
  sysfile* file = nullptr;           // owned
  sys_code filestate = sys_code::ok; // first failure of the file; it is then left alone
  pthread_mutex_t mutex;
  std::array<char, 1024> held; // [0, used) is not yet delivered
  int32_t used = 0;
};

struct stream_block {
  std::array<char, 1024> label{}; // names the program in linked files, may be empty
  bool multithread = false;
  bool made = false;               // the mutexes exist
  std::atomic<int32_t> running{0}; // user functions that run now, on any thread
  std::array<stream, num_streams> streams;
};

stream_code TVN_makestreams(stream_block& block, const char* label, bool multithread) noexcept;
// Flushes and unlinks all streams and ends the mutexes. Nothing on a block that was never made.
void TVN_destroystreams(stream_block& block) noexcept;

// Whole texts; `text` need not end a line.
stream_code TVN_echostream(stream_block& block, int32_t which, std::string_view text) noexcept;
stream_code TVN_echostreamva(stream_block& block, int32_t which, const char* fmt, va_list args) noexcept
    __attribute__((format(printf, 3, 0)));
stream_code TVN_flushstream(stream_block& block, int32_t which) noexcept;

// A function that was linked before is flushed first.
stream_code TVN_linkfunctostream(stream_block& block, int32_t which, void* handle, stream_fn func) noexcept;
stream_code TVN_unlinkfuncfromstream(stream_block& block, int32_t which) noexcept;
// Takes over the open file and writes its first line. A file that was linked before is closed, with a closing line
// unless the new one is appended to.
stream_code TVN_linkfiletostream(stream_block& block, int32_t which, sysfile* file, bool append) noexcept;
stream_code TVN_unlinkfilefromstream(stream_block& block, int32_t which) noexcept;

// Length of the longest start of text that ends with a whole UTF-8 character.
int32_t whole_utf8(const char* text, int32_t len) noexcept;

} // namespace tvn
