// The streams of tasks and environments: linking, flushing and writing.
//
// The work is done by misc/stream.h on the block of the handle; here stand the checks, the opening of files and the
// response codes. A file is opened before the old one is closed, so a name that cannot be opened changes nothing.
#include "tovan/task/streams.h"

#include "cpub/utf8.h"
#include "misc/outfmt.h"
#include "tovan/task/api.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/report.h"
#include "tovan/tables/version.h"

#include <cstdlib>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/streams";

template <class Owner> TVNrescodee finish(Owner& owner, int32_t whichstream, stream_code code) noexcept {
  if (code == stream_code::ok) return TVN_RES_OK;
  return report(owner, label, __LINE__, stream_rescode(code), whichstream);
}

bool is_stream(int32_t whichstream) noexcept { return whichstream >= 0 && whichstream < num_streams; }

TVNrescodee open_file(task& t, const char* name, file_mode mode, sysfile** out) {
  return TVN_fopentask(t, name, mode, false, out);
}

TVNrescodee open_file(env& e, const char* name, file_mode mode, sysfile** out) {
  if (!name) return report(e, label, __LINE__, TVN_RES_ERR_INVALID_FILE_NAME, "");
  sys_code code = sys_code::ok;
  *out = TVN_sysenv_fopen(*e.sys, name, mode, false, code);
  return code == sys_code::ok ? TVN_RES_OK : report(e, label, __LINE__, TVN_sysrestores(code), name);
}

// The file belongs to the stream once it is linked.
template <class Owner> TVNrescodee link_file(Owner& owner, int32_t whichstream, const char* filename, bool append) {
  if (!is_stream(whichstream)) return report(owner, label, __LINE__, TVN_RES_ERR_INVALID_STREAM, whichstream);
  sysfile* file = nullptr;
  const TVNrescodee bad = open_file(owner, filename, append ? file_mode::append : file_mode::write, &file);
  if (bad) return bad;
  const stream_code code = TVN_linkfiletostream(owner.streams, whichstream, file, append);
  if (code == stream_code::bad_stream || code == stream_code::mutex_lock) file_owner closes(file);
  return finish(owner, whichstream, code);
}

template <class Owner> TVNrescodee echo_arguments(Owner& owner, int32_t whichstream, const char* format, va_list args) {
  if (!format) return report(owner, label, __LINE__, TVN_RES_ERR_NULL_POINTER, "format");
  return finish(owner, whichstream, TVN_echostreamva(owner.streams, whichstream, format, args));
}

struct format_target {
  stream_block* block;
  int32_t whichstream;
};

void put_formatted(void* handle, std::string_view text) {
  const auto* target = static_cast<const format_target*>(handle);
  TVN_echostream(*target->block, target->whichstream, text);
}

} // namespace

TVNrescodee stream_rescode(stream_code code) noexcept {
  switch (code) {
  case stream_code::ok: return TVN_RES_OK;
  case stream_code::bad_stream: return TVN_RES_ERR_INVALID_STREAM;
  case stream_code::mutex_init: return TVN_RES_ERR_THREAD_MUTEX_INIT;
  case stream_code::mutex_lock: return TVN_RES_ERR_THREAD_MUTEX_LOCK;
  case stream_code::mutex_unlock: return TVN_RES_ERR_THREAD_MUTEX_UNLOCK;
  case stream_code::format: return TVN_RES_ERR_UNKNOWN;
  }
  return TVN_RES_ERR_UNKNOWN;
}

void echo(env& e, int32_t whichstream, const char* fmt, ...) noexcept {
  va_list args;
  va_start(args, fmt);
  TVN_echostreamva(e.streams, whichstream, fmt, args);
  va_end(args);
}

int64_t TVN_outfmtvatask(task& t, int32_t whichstream, const char* fmt, va_list args) noexcept {
  format_target target{&t.streams, whichstream};
  return TVN_outfmtva(put_formatted, &target, fmt, args);
}

int64_t TVN_outfmttask(task& t, int32_t whichstream, const char* fmt, ...) noexcept {
  va_list args;
  va_start(args, fmt);
  const int64_t result = TVN_outfmtvatask(t, whichstream, fmt, args);
  va_end(args);
  return result;
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_linkfunctotaskstream(TVNtask_t task, int32_t whichstream, void* handle, TVN_streamfunc func) {
  return api(task, [&](tvn::task& t) {
    return finish(t, whichstream, TVN_linkfunctostream(t.streams, whichstream, handle, func));
  });
}

TVNrescodee TVN_unlinkfuncfromtaskstream(TVNtask_t task, int32_t whichstream) {
  return api(task,
             [&](tvn::task& t) { return finish(t, whichstream, TVN_unlinkfuncfromstream(t.streams, whichstream)); });
}

TVNrescodee TVN_linkfunctoenvstream(TVNenv_t env, int32_t whichstream, void* handle, TVN_streamfunc func) {
  return api(env, [&](tvn::env& e) {
    return finish(e, whichstream, TVN_linkfunctostream(e.streams, whichstream, handle, func));
  });
}

TVNrescodee TVN_linkfiletotaskstream(TVNtask_t task, int32_t whichstream, const char* filename, int32_t append) {
  return api(task, [&](tvn::task& t) { return link_file(t, whichstream, filename, append != 0); });
}

TVNrescodee TVN_linkfiletoenvstream(TVNenv_t env, int32_t whichstream, const char* filename, int32_t append) {
  return api(env, [&](tvn::env& e) { return link_file(e, whichstream, filename, append != 0); });
}

TVNrescodee TVN_flushstreamtask(TVNtask_t task, int32_t whichstream) {
  return api(task, [&](tvn::task& t) { return finish(t, whichstream, TVN_flushstream(t.streams, whichstream)); });
}

TVNrescodee TVN_flushstreamenv(TVNenv_t env, int32_t whichstream) {
  return api(env, [&](tvn::env& e) { return finish(e, whichstream, TVN_flushstream(e.streams, whichstream)); });
}

TVNrescodee TVN_echotaskva(TVNtask_t task, int32_t whichstream, const char* format, va_list args) {
  return api(task, [&](tvn::task& t) { return echo_arguments(t, whichstream, format, args); });
}

TVNrescodee TVN_echoenvva(TVNenv_t env, int32_t whichstream, const char* format, va_list args) {
  return api(env, [&](tvn::env& e) { return echo_arguments(e, whichstream, format, args); });
}

TVNrescodee TVN_echotask(TVNtask_t task, int32_t whichstream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const TVNrescodee code = TVN_echotaskva(task, whichstream, format, args);
  va_end(args);
  return code;
}

TVNrescodee TVN_echoenv(TVNenv_t env, int32_t whichstream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const TVNrescodee code = TVN_echoenvva(env, whichstream, format, args);
  va_end(args);
  return code;
}

TVNrescodee TVN_echointro(TVNenv_t env, int32_t longver) {
  return api(env, [&](tvn::env& e) {
    echo(e, TVN_STREAM_LOG, "%s Version %d.%d.%d.%d (Build date: %s)\n", product_name, version_major, version_minor,
         version_build, version_revision, build_date);
    if (!longver) return TVN_RES_OK;
    const char* path = std::getenv("LD_LIBRARY_PATH");
    echo(e, TVN_STREAM_LOG, "Operating system variables\n");
    echo(e, TVN_STREAM_LOG, "%-20s: %s\n", "LD_LIBRARY_PATH", path ? path : "");
    return TVN_RES_OK;
  });
}

TVNrescodee TVN_utf8towchar(size_t outputlen, size_t* len, size_t* conv, wchar_t* output, const char* input) {
  if (!input || (!output && outputlen > 0)) return TVN_RES_ERR_NULL_POINTER;
  int64_t total = 0, done = 0;
  const utf8_code code = TVN_UTF8toWChar(static_cast<int64_t>(outputlen), total, done, output, input);
  if (len) *len = static_cast<size_t>(total);
  if (conv) *conv = static_cast<size_t>(done);
  return code == utf8_code::ok ? TVN_RES_OK : TVN_RES_ERR_INVALID_UTF8;
}

TVNrescodee TVN_wchartoutf8(size_t outputlen, size_t* len, size_t* conv, char* output, const wchar_t* input) {
  if (!input || (!output && outputlen > 0)) return TVN_RES_ERR_NULL_POINTER;
  int64_t total = 0, done = 0;
  const utf8_code code = TVN_WCharToUTF8(static_cast<int64_t>(outputlen), total, done, output, input);
  if (len) *len = static_cast<size_t>(total);
  if (conv) *conv = static_cast<size_t>(done);
  return code == utf8_code::ok ? TVN_RES_OK : TVN_RES_ERR_INVALID_WCHAR;
}
