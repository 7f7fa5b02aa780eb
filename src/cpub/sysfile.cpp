// Plain files on system descriptors with a buffer of ours, gzip files through zlib's gzopen family at level 9.
#include "cpub/sysfile.h"

#include "cpub/format.h"
#include "cpub/utf8.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace tvn {

namespace {
constexpr int64_t block_size = 1 << 16;
constexpr unsigned zlib_block = 1u << 18;
constexpr int64_t max_piece = 1 << 30; // zlib counts in 32 bits
} // namespace

struct sysfile {
  sysenv* sys = nullptr;
  int fd = -1;         // plain file, else -1
  gzFile gz = nullptr; // gzip file, else null
  bool writing = false;
  buffer<char> store; // read: bytes [pos, end) are not yet delivered; write: bytes [0, end) are not yet written
  int64_t pos = 0, end = 0;
};

namespace {

// Fails on directories, which the system lets one open for reading.
int open_descriptor(const char* name, file_mode mode) noexcept {
  int flags = O_RDONLY;
  // O_APPEND with a truncation too: a second handle on the same name then never writes into a hole.
  if (mode == file_mode::write) flags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
  if (mode == file_mode::append) flags = O_WRONLY | O_CREAT | O_APPEND;
  const int fd = ::open(name, flags | O_CLOEXEC, 0666);
  if (fd < 0) return -1;
  struct stat st;
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
    ::close(fd);
    return -1;
  }
  return fd;
}

void destroy(sysfile* f) noexcept {
  sysenv* sys = f->sys;
  f->~sysfile();
  sys->release(f, "src/cpub/sysfile", __LINE__);
}

int64_t read_plain(int fd, char* to, int64_t size, sys_code& result) noexcept {
  int64_t got = 0;
  while (got < size) {
    const ssize_t n = ::read(fd, to + got, static_cast<size_t>(size - got));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) result = sys_code::file_read;
    if (n <= 0) break;
    got += n;
  }
  return got;
}

int64_t read_gzip(gzFile gz, char* to, int64_t size, sys_code& result) noexcept {
  int64_t got = 0;
  while (got < size) {
    const int n = gzread(gz, to + got, static_cast<unsigned>(std::min(size - got, max_piece)));
    if (n > 0) got += n;
    if (n > 0 && got < size) continue;
    int code = Z_OK;
    gzerror(gz, &code); // Z_BUF_ERROR: the stream ends before its trailer
    if (n < 0 || (code != Z_OK && code != Z_STREAM_END)) result = sys_code::file_read;
    break;
  }
  return got;
}

int64_t read_raw(sysfile& f, char* to, int64_t size, sys_code& result) noexcept {
  return f.gz ? read_gzip(f.gz, to, size, result) : read_plain(f.fd, to, size, result);
}

bool write_plain(int fd, const char* from, int64_t size) noexcept {
  while (size > 0) {
    const ssize_t n = ::write(fd, from, static_cast<size_t>(size));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    from += n;
    size -= n;
  }
  return true;
}

bool write_gzip(gzFile gz, const char* from, int64_t size) noexcept {
  while (size > 0) {
    const int n = gzwrite(gz, from, static_cast<unsigned>(std::min(size, max_piece)));
    if (n <= 0) return false;
    from += n;
    size -= n;
  }
  return true;
}

void write_raw(sysfile& f, const char* from, int64_t size, sys_code& result) noexcept {
  if (!(f.gz ? write_gzip(f.gz, from, size) : write_plain(f.fd, from, size))) result = sys_code::file_write;
}

void drain(sysfile& f, sys_code& result) noexcept {
  write_raw(f, f.store.data(), f.end, result);
  f.end = 0;
}

// False at the end of the file.
bool refill(sysfile& f, sys_code& result) noexcept {
  f.pos = 0;
  f.end = read_raw(f, f.store.data(), f.store.size(), result);
  return f.end > 0;
}

// The name in the other encoding: a first pass finds its length, a second writes it.
template <class To, class From>
void convert_name(sysenv& sys, utf8_code (*codec)(int64_t, int64_t&, int64_t&, To*, const From*) noexcept,
                  const From* name, buffer<To>& to, sys_code& result) {
  if (result != sys_code::ok) return;
  int64_t len = 0, conv = 0;
  if (!name)
    result = sys_code::file_open;
  else if (codec(0, len, conv, nullptr, name) != utf8_code::ok)
    result = sys_code::invalid_file_name;
  if (result != sys_code::ok) return;
  to.reset(sys, len + 1);
  (void)codec(len + 1, len, conv, to.data(), name);
}

} // namespace

void TVN_sysenv_utf8towchar(sysenv& sys, const char* name, buffer<wchar_t>& wide, sys_code& result) {
  convert_name(sys, TVN_UTF8toWChar, name, wide, result);
}

sysfile* TVN_sysenv_wfopen(sysenv& sys, const wchar_t* name, file_mode mode, bool compressed, sys_code& result) {
  buffer<char> narrow;
  convert_name(sys, TVN_WCharToUTF8, name, narrow, result);
  return TVN_sysenv_fopen(sys, narrow.data(), mode, compressed, result);
}

sysfile* TVN_sysenv_fopen(sysenv& sys, const char* name, file_mode mode, bool compressed, sys_code& result) {
  if (result != sys_code::ok) return nullptr;
  if (!name) {
    result = sys_code::file_open;
    return nullptr;
  }
  buffer<char> store(sys, block_size);
  auto* f = new (sys.alloc(sizeof(sysfile), "src/cpub/sysfile", __LINE__)) sysfile{};
  f->sys = &sys;
  f->store.swap(store);
  f->writing = mode != file_mode::read;
  f->fd = open_descriptor(name, mode);
  if (f->fd >= 0 && compressed) {
    f->gz = gzdopen(f->fd, mode == file_mode::read ? "rb" : mode == file_mode::write ? "wb9" : "ab9");
    if (f->gz) gzbuffer(f->gz, zlib_block);
    if (!f->gz) ::close(f->fd);
    f->fd = -1;
  }
  if (f->fd >= 0 || f->gz) return f;
  destroy(f);
  result = sys_code::file_open;
  return nullptr;
}

void TVN_sysenv_fclose(sysfile** file, sys_code& result) noexcept {
  sysfile* f = *file;
  *file = nullptr;
  if (!f) return;
  sys_code code = sys_code::ok;
  if (f->writing && f->end > 0) drain(*f, code);
  const bool closed = f->gz ? gzclose(f->gz) == Z_OK : ::close(f->fd) == 0;
  if (!closed && f->writing) code = sys_code::file_write;
  destroy(f);
  if (result == sys_code::ok) result = code;
}

int64_t TVN_sysenv_fread(sysfile& f, void* to, int64_t size, sys_code& result) noexcept {
  if (result != sys_code::ok || size <= 0) return 0;
  auto* out = static_cast<char*>(to);
  const int64_t held = std::min(size, f.end - f.pos);
  if (held > 0) std::memcpy(out, f.store.data() + f.pos, static_cast<size_t>(held));
  f.pos += held;
  if (held == size) return held;
  if (size - held >= f.store.size()) return held + read_raw(f, out + held, size - held, result);
  if (!refill(f, result)) return held;
  return held + TVN_sysenv_fread(f, out + held, std::min(size - held, f.end), result);
}

bool TVN_sysenv_fgets(sysfile& f, char* line, int64_t size, sys_code& result) noexcept {
  if (result != sys_code::ok || size < 2) return false;
  int64_t len = 0;
  while (len < size - 1) {
    if (f.pos == f.end && !refill(f, result)) break;
    const char* from = f.store.data() + f.pos;
    const int64_t room = std::min(size - 1 - len, f.end - f.pos);
    const void* newline = std::memchr(from, '\n', static_cast<size_t>(room));
    const int64_t n = newline ? static_cast<const char*>(newline) - from + 1 : room;
    std::memcpy(line + len, from, static_cast<size_t>(n));
    len += n;
    f.pos += n;
    if (newline) break;
  }
  line[len] = '\0';
  return len > 0;
}

void TVN_sysenv_frewind(sysfile& f, sys_code& result) noexcept {
  if (result != sys_code::ok) return;
  f.pos = f.end = 0;
  const bool done = f.gz ? gzrewind(f.gz) == 0 : ::lseek(f.fd, 0, SEEK_SET) == 0;
  if (!done) result = sys_code::file_read;
}

void TVN_sysenv_fwrite(sysfile& f, const void* from, int64_t size, sys_code& result) noexcept {
  if (result != sys_code::ok || size <= 0) return;
  if (f.end + size > f.store.size()) drain(f, result);
  if (size > f.store.size()) {
    if (result == sys_code::ok) write_raw(f, static_cast<const char*>(from), size, result);
    return;
  }
  std::memcpy(f.store.data() + f.end, from, static_cast<size_t>(size));
  f.end += size;
}

void TVN_sysenv_fputss(sysfile& f, std::string_view text, sys_code& result) noexcept {
  TVN_sysenv_fwrite(f, text.data(), static_cast<int64_t>(text.size()), result);
}

void TVN_sysenv_fputs(sysfile& f, const char* text, sys_code& result) noexcept { TVN_sysenv_fputss(f, text, result); }

void TVN_sysenv_fprintf(sysfile& f, sys_code& result, const char* fmt, ...) {
  if (result != sys_code::ok) return;
  char local[1024];
  va_list args;
  va_start(args, fmt);
  const int len = format_textva(local, sizeof local, fmt, args);
  va_end(args);
  if (len < static_cast<int>(sizeof local)) {
    if (len < 0) result = sys_code::file_write;
    TVN_sysenv_fwrite(f, local, len, result);
    return;
  }
  buffer<char> large(*f.sys, len + 1);
  va_start(args, fmt);
  format_textva(large.data(), static_cast<size_t>(len) + 1, fmt, args);
  va_end(args);
  TVN_sysenv_fwrite(f, large.data(), len, result);
}

void TVN_sysenv_fflush(sysfile& f, sys_code& result) noexcept {
  if (result != sys_code::ok || !f.writing) return;
  drain(f, result);
  if (f.gz && gzflush(f.gz, Z_SYNC_FLUSH) != Z_OK) result = sys_code::file_write;
}

} // namespace tvn
