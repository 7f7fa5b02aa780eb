// Delivery of text to stream functions and files.
//
// Text enters a buffer of 1024 bytes and leaves it at a newline or when it is full, less a started UTF-8 character.
// It is copied out before the user's function sees it, so that the function may write again. A file that fails is left
// alone from then on: there is nobody to tell but the log itself.
#include "misc/stream.h"

#include "cpub/format.h"
#include "cpub/timer.h"

#include <cstdio>

namespace tvn {

int32_t whole_utf8(const char* text, int32_t len) noexcept {
  for (int32_t back = 1; back <= 3 && back <= len; back++) {
    const auto byte = static_cast<unsigned char>(text[len - back]);
    if ((byte & 0xC0) == 0x80) continue; // continuation
    const int32_t need = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    return need > back ? len - back : len;
  }
  return len; // not UTF-8: passed on as it is
}

namespace {

struct stream_lock {
  pthread_mutex_t* mutex = nullptr;
  stream_code code = stream_code::ok;
  stream_lock(stream_block& block, int32_t which) noexcept {
    if (!block.multithread) return;
    mutex = &block.streams[static_cast<size_t>(which)].mutex;
    if (pthread_mutex_lock(mutex) == 0) return;
    mutex = nullptr;
    code = stream_code::mutex_lock;
  }
  stream_lock(const stream_lock&) = delete;
  stream_lock& operator=(const stream_lock&) = delete;
  ~stream_lock() { release(); }
  stream_code release() noexcept {
    if (mutex && pthread_mutex_unlock(mutex) != 0) code = stream_code::mutex_unlock;
    mutex = nullptr;
    return code;
  }
};

bool is_stream(const stream_block& block, int32_t which) noexcept {
  return block.made && which >= 0 && which < num_streams;
}

void put_file(stream& s, std::string_view text) noexcept {
  if (!s.file) return;
  TVN_sysenv_fputss(*s.file, text, s.filestate);
  TVN_sysenv_fflush(*s.file, s.filestate);
}

// Delivers what is held, but for a started character unless `all`. The text is copied first, so that the user's
// function may write to the stream again, or link another one.
void TVN_redirect(stream_block& block, stream& s, bool all) noexcept {
  const int32_t len = all ? s.used : whole_utf8(s.held.data(), s.used);
  if (len == 0) return;
  char text[1025];
  std::memcpy(text, s.held.data(), static_cast<size_t>(len));
  text[len] = '\0';
  std::memmove(s.held.data(), s.held.data() + len, static_cast<size_t>(s.used - len));
  s.used -= len;
  if (s.func) {
    block.running.fetch_add(1, std::memory_order_relaxed);
    s.func(s.handle, text);
    block.running.fetch_sub(1, std::memory_order_relaxed);
  }
  put_file(s, {text, static_cast<size_t>(len)});
}

void put(stream_block& block, stream& s, std::string_view text) noexcept {
  if (!s.func && !s.file) return;
  while (!text.empty()) {
    const size_t newline = text.find('\n');
    const size_t room = s.held.size() - static_cast<size_t>(s.used);
    const size_t n = std::min(room, newline == std::string_view::npos ? text.size() : newline + 1);
    std::memcpy(s.held.data() + s.used, text.data(), n);
    s.used += static_cast<int32_t>(n);
    text.remove_prefix(n);
    if (s.held[static_cast<size_t>(s.used) - 1] == '\n' || s.used == static_cast<int32_t>(s.held.size()))
      TVN_redirect(block, s, false);
  }
}

stream_code put_locked(stream_block& block, int32_t which, std::string_view text) noexcept {
  stream_lock lock(block, which);
  if (lock.code != stream_code::ok) return lock.code;
  put(block, block.streams[static_cast<size_t>(which)], text);
  return lock.release();
}

const char* time_text(char (&to)[32]) noexcept { return TVN_sysenv_wctimetostr(TVN_sysenv_readwctime(), to); }

void close_file(stream_block& block, stream& s, bool withline) noexcept {
  if (!s.file) return;
  TVN_redirect(block, s, true);
  if (withline) {
    char now[32], line[64];
    std::snprintf(line, sizeof line, "\nFile closed: %s\n", time_text(now));
    put_file(s, line);
  }
  TVN_sysenv_fclose(&s.file, s.filestate);
  s.filestate = sys_code::ok;
}

// Kept apart so that the common call has a small frame. Text beyond 64 kB is cut rather than given memory.
__attribute__((noinline, format(printf, 3, 0))) stream_code echo_long(stream_block& block, int32_t which,
                                                                      const char* fmt, va_list args) noexcept {
  char large[65536];
  format_textva(large, sizeof large, fmt, args);
  return TVN_echostream(block, which, large);
}

} // namespace

stream_code TVN_makestreams(stream_block& block, const char* label, bool multithread) noexcept {
  std::snprintf(block.label.data(), block.label.size(), "%s", label ? label : "");
  block.multithread = multithread;
  pthread_mutexattr_t attr;
  if (pthread_mutexattr_init(&attr) != 0) return stream_code::mutex_init;
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  size_t made = 0;
  while (made < block.streams.size() && pthread_mutex_init(&block.streams[made].mutex, &attr) == 0) made++;
  pthread_mutexattr_destroy(&attr);
  block.made = made == block.streams.size();
  if (block.made) return stream_code::ok;
  while (made > 0) pthread_mutex_destroy(&block.streams[--made].mutex);
  return stream_code::mutex_init;
}

void TVN_destroystreams(stream_block& block) noexcept {
  if (!block.made) return;
  for (stream& s : block.streams) {
    TVN_redirect(block, s, true);
    close_file(block, s, true);
  }
  block.made = false; // only now: the functions may have written to each other's streams
  for (stream& s : block.streams) {
    close_file(block, s, true);
    s.func = nullptr;
    pthread_mutex_destroy(&s.mutex);
  }
}

stream_code TVN_echostream(stream_block& block, int32_t which, std::string_view text) noexcept {
  if (!is_stream(block, which)) return stream_code::bad_stream;
  const stream_code code = put_locked(block, which, text);
  if (code != stream_code::ok || which == 0) return code;
  return put_locked(block, 0, text);
}

stream_code TVN_echostreamva(stream_block& block, int32_t which, const char* fmt, va_list args) noexcept {
  char local[1024];
  va_list again;
  va_copy(again, args);
  const int len = format_textva(local, sizeof local, fmt, args);
  stream_code code = stream_code::format;
  if (len >= static_cast<int>(sizeof local)) {
    code = echo_long(block, which, fmt, again);
  } else if (len >= 0) {
    code = TVN_echostream(block, which, {local, static_cast<size_t>(len)});
  }
  va_end(again);
  return code;
}

stream_code TVN_flushstream(stream_block& block, int32_t which) noexcept {
  if (!is_stream(block, which)) return stream_code::bad_stream;
  stream_lock lock(block, which);
  if (lock.code == stream_code::ok) TVN_redirect(block, block.streams[static_cast<size_t>(which)], false);
  return lock.release();
}

stream_code TVN_linkfunctostream(stream_block& block, int32_t which, void* handle, stream_fn func) noexcept {
  if (!is_stream(block, which)) return stream_code::bad_stream;
  stream_lock lock(block, which);
  if (lock.code != stream_code::ok) return lock.code;
  stream& s = block.streams[static_cast<size_t>(which)];
  if (s.func) TVN_redirect(block, s, true);
  s.handle = handle;
  s.func = func;
  return lock.release();
}

stream_code TVN_unlinkfuncfromstream(stream_block& block, int32_t which) noexcept {
  return TVN_linkfunctostream(block, which, nullptr, nullptr);
}

stream_code TVN_linkfiletostream(stream_block& block, int32_t which, sysfile* file, bool append) noexcept {
  if (!is_stream(block, which)) return stream_code::bad_stream;
  stream_lock lock(block, which);
  if (lock.code != stream_code::ok) return lock.code;
  stream& s = block.streams[static_cast<size_t>(which)];
  close_file(block, s, !append);
  s.file = file;
  s.filestate = sys_code::ok;
  char now[32], line[1152];
  const char* by = block.label[0] ? " by " : "";
  std::snprintf(line, sizeof line, "\nFile %s at %s%s%s.\n", append ? "reopened" : "opened", time_text(now), by,
                block.label.data());
  put_file(s, line);
  return lock.release();
}

stream_code TVN_unlinkfilefromstream(stream_block& block, int32_t which) noexcept {
  if (!is_stream(block, which)) return stream_code::bad_stream;
  stream_lock lock(block, which);
  if (lock.code != stream_code::ok) return lock.code;
  close_file(block, block.streams[static_cast<size_t>(which)], true);
  return lock.release();
}

} // namespace tvn
